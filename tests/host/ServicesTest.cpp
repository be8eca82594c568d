#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QWidget>
#include <cstdio>

#include "host/Dialogs.h"
#include "host/FiderHHCalcParams.h"
#include "host/NumericHelpers.h"
#include "host/Progress.h"
#include "host/Spreadsheet.h"
#include "host/TemplateForms.h"
#include "host/WindowService.h"
#include "support/TestSupport.h"

using namespace testing_support;

TEST(Dialogs, ScriptedDialogsRecordAndAnswer)
{
    host::ScriptedDialogs scripted;
    host::ScopedDialogs scope(&scripted);
    scripted.AnswerMessage(host::mrNo);
    EXPECT_FALSE(host::AskYesNo("Удалить линию \"Л-1\"?"));
    EXPECT_TRUE(host::AskYesNo("Ещё раз?"));  // no prepared answer: yes
    host::ShowWarning("Неверные данные");
    QString name = "старое";
    EXPECT_FALSE(host::dialogs().InputQuery("Создание новой линии ", "Введите имя новой линии", name));
    EXPECT_EQ(name, "старое");
    scripted.AnswerInput("Л-5");
    EXPECT_TRUE(host::dialogs().InputQuery("Создание новой линии ", "Введите имя новой линии", name));
    EXPECT_EQ(name, "Л-5");
    scripted.AnswerFile("/tmp/log.txt");
    EXPECT_EQ(host::dialogs().SaveFileName("Сохранить список на диск", "Текстовый документ|*.txt", "txt", {}),
              "/tmp/log.txt");

    ASSERT_EQ(scripted.Calls().size(), 6);
    EXPECT_EQ(scripted.Calls()[0].caption, "ОЗН 3");
    EXPECT_EQ(scripted.Calls()[0].icon, host::Icon::Question);
    EXPECT_EQ(scripted.Calls()[2].text, "Неверные данные");
    EXPECT_EQ(scripted.Calls()[2].icon, host::Icon::Warning);
    EXPECT_EQ(scripted.Calls()[3].kind, "input");
    EXPECT_EQ(scripted.Calls()[5].text, "Текстовый документ|*.txt");
    EXPECT_EQ(host::QtFilter("Текстовый документ|*.txt|Книга Excel|*.xlsx;*.xls"),
              "Текстовый документ (*.txt);;Книга Excel (*.xlsx *.xls)");
}

TEST(Progress, TerminalBarShowsCaptionCountAndText)
{
    std::FILE* sink = std::tmpfile();
    host::TerminalProgress bar(sink);
    bar.Start("Расчет", 4);
    bar.SetText("ТП-101");
    bar.Step();
    bar.Step();
    bar.SetPosition(4);
    EXPECT_EQ(bar.Line(), "Расчет [##############################] 4/4 ТП-101");
    bar.Finish();
    std::fclose(sink);

    host::SetProgress(&bar);
    EXPECT_EQ(&host::progress(), &bar);
    host::SetProgress(nullptr);
    host::progress().Start("тихо", 3);  // the silent one answers too
    host::progress().Step();
    EXPECT_EQ(host::progress().Position(), 1);
}

TEST(WindowService, HandOverIsCarriedOutAndRecorded)
{
    QWidget main;
    main.show();
    auto& w = host::windows();
    w.SetMainWindow(&main);
    w.ClearHistory();
    using namespace host::Placement;
    w.SetWindowPos(w.MainHandle(), Top, NoSize | NoMove | NoActivate | Hide);
    EXPECT_FALSE(main.isVisible());
    w.SetWindowPos(w.MainHandle(), Top, NoSize | NoMove | Show);
    EXPECT_TRUE(main.isVisible());
    w.SetForegroundWindow(w.MainHandle());
    EXPECT_EQ(w.History(),
              QStringList({"SetWindowPos(main,top,0x93)", "SetWindowPos(main,top,0x43)", "SetForegroundWindow(main)"}));
    w.SetMainWindow(nullptr);
}

TEST(Spreadsheet, ProgramNamedByTheEnvironmentOrNone)
{
    qputenv("OZN3_SPREADSHEET", "");
    EXPECT_FALSE(host::IsSpreadsheetInstalled());
    EXPECT_FALSE(host::OpenInSpreadsheet("/tmp/x.xlsx"));
    qputenv("OZN3_SPREADSHEET", "true");
    EXPECT_TRUE(host::IsSpreadsheetInstalled());
    EXPECT_TRUE(host::SpreadsheetProgram().endsWith("/true"));
    qputenv("OZN3_SPREADSHEET", "no-such-program-here");
    EXPECT_FALSE(host::IsSpreadsheetInstalled());

    // A spreadsheet that ends at once printing an error is a failure with what it printed; one that keeps
    // running, or hands the workbook over silently, has opened it.
    QTemporaryDir folder;
    auto script = [&](const char* name, const QByteArray& body) {
        const QString path = folder.filePath(QString::fromLatin1(name));
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("#!/bin/sh\n" + body + "\n");
        file.close();
        file.setPermissions(file.permissions() | QFileDevice::ExeOwner);
        return path;
    };
    QString error;
    qputenv("OZN3_SPREADSHEET", script("broken", "echo 'не удалось открыть дисплей' >&2; exit 1").toLocal8Bit());
    EXPECT_FALSE(host::OpenInSpreadsheet("/tmp/x.xlsx", error));
    EXPECT_TRUE(error.contains("не удалось открыть дисплей")) << error.toStdString();
    EXPECT_TRUE(error.contains("broken"));
    for (const char* quiet : {"exit 0", "sleep 3"}) {
        error.clear();
        qputenv("OZN3_SPREADSHEET", script("quiet", quiet).toLocal8Bit());
        EXPECT_TRUE(host::OpenInSpreadsheet("/tmp/x.xlsx", error)) << quiet << error.toStdString();
    }
    qunsetenv("OZN3_SPREADSHEET");

    // The workbooks opened there are named for what they hold, in the user's documents.
    const QString path = host::UserWorkbookPath("Замеры W", "ТП-221 мкр. \"Северный\"", "2026");
    EXPECT_EQ(QFileInfo(path).fileName(), "Замеры W — ТП-221 мкр. _Северный_ — 2026.xlsx");
    EXPECT_EQ(QFileInfo(path).dir().dirName(), "ОЗН 3");
    EXPECT_TRUE(QFileInfo(path).dir().exists());
    EXPECT_EQ(QFileInfo(host::UserWorkbookPath("Обобщенные данные", "ТП/5", "")).fileName(),
              "Обобщенные данные — ТП_5.xlsx");
}

TEST(TemplateForms, SenderFileAndLog)
{
    host::ScriptedDialogs scripted;
    host::ScopedDialogs scope(&scripted);
    TempFolder folder;
    QString empty;
    EXPECT_TRUE(VerifySenderFile(empty));
    QString missing = folder.Path("нет.xlsx");
    EXPECT_FALSE(VerifySenderFile(missing));
    QFile text(folder.Path("notes.txt"));
    ASSERT_TRUE(text.open(QIODevice::WriteOnly));
    text.close();
    QString wrongKind = text.fileName();
    EXPECT_FALSE(VerifySenderFile(wrongKind));
    QFile book(folder.Path("замеры.xlsx"));
    ASSERT_TRUE(book.open(QIODevice::WriteOnly));
    book.close();
    QString good = book.fileName();
    EXPECT_TRUE(VerifySenderFile(good));
    EXPECT_EQ(scripted.Calls().size(), 2);
    EXPECT_TRUE(scripted.Calls()[0].text.startsWith("Файл не найден"));

    qputenv("OZN3_SPREADSHEET", "true");
    TxlsZamerShablonForm form;
    EXPECT_TRUE(form.isBesideExcel());
    EXPECT_FALSE(form.CanOpen());  // no database is open
    form.AddLog("step1.Test", -1, -1);
    form.AddLog("step2.CanOpenTreeView", 1, 0);
    ASSERT_EQ(form.Log().size(), 2);
    EXPECT_EQ(form.Log()[1].text, "step2.CanOpenTreeView");
    EXPECT_EQ(form.Log()[1].kind, 1);
    EXPECT_EQ(form.Log()[1].value, 0);
    qputenv("OZN3_SPREADSHEET", "");
    TxlsZamerShablonForm alone;
    EXPECT_FALSE(alone.isBesideExcel());
    qunsetenv("OZN3_SPREADSHEET");
}

TEST(RegimeParams, CopiesLevelsAndNotifies)
{
    TWCalcHHParams params;
    int changes = 0;
    params.SetOnChange([&] { ++changes; });
    params.SetWa(120);
    params.SetWa(120);  // the same value changes nothing
    params.SetKzap(0.45);
    EXPECT_EQ(changes, 2);
    params.Values(TLVCalcLevel::TPGiven).Wa = 300;
    params.CopyFrom(TLVCalcLevel::TPGiven);
    EXPECT_DOUBLE_EQ(params.GetWa(), 300);
    EXPECT_TRUE(isEmptyFloat(params.Current().Kzap));  // the whole level is taken
    params.SetTmax(2500);
    params.CopyCurrentToLine();
    EXPECT_DOUBLE_EQ(params.Values(TLVCalcLevel::Line).Tmax, 2500);
    params.SetSamplePeriod(7);

    TWCalcHHParams copy(params);
    EXPECT_EQ(copy.GetSamplePeriod(), 7);
    EXPECT_TRUE(copy.Values(TLVCalcLevel::Line) == params.Values(TLVCalcLevel::Line));
    copy.SetWa(1);
    EXPECT_DOUBLE_EQ(params.GetWa(), 300);  // a copy is independent
    const int before = changes;
    params.Assign(copy);
    EXPECT_DOUBLE_EQ(params.GetWa(), 1);
    EXPECT_EQ(changes, before + 1);
}
