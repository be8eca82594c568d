// The exports as the host calls them: loaded with dlopen, entered by name.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <QComboBox>
#include <QDialog>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTabBar>
#include <QTabWidget>
#include <QTextBrowser>
#include <QTreeView>
#include <QWidget>
#include <cmath>

#include "entry/ozn32lib.h"
#include "host/AppLog.h"
#include "host/Database.h"
#include "host/Dialogs.h"
#include "host/FiderHHCalcParams.h"
#include "host/HostObjects.h"
#include "host/InitOZN.h"
#include "host/SamplePeriods.h"
#include "host/SamplesTreeBox.h"
#include "host/TemplateForms.h"
#include "host/Tree.h"
#include "host/TreeModel.h"
#include "host/WindowService.h"
#include "support/TestWidgets.h"

using namespace testing_support;

namespace {

struct Plugin {
    void* handle = dlopen(PluginPath().toLocal8Bit().constData(), RTLD_NOW | RTLD_LOCAL);
    template <class F> F get(const char* name) { return reinterpret_cast<F>(dlsym(handle, name)); }
    ~Plugin()
    {
        if (handle)
            dlclose(handle);
    }
};

Plugin& plugin()
{
    static Plugin p;
    return p;
}

QStringList trace()
{
    QStringList lines;
    for (const auto& l : TxlsZamerShablonForm::Trace())
        lines << Fmt("%1|%2|%3", l.text, l.kind, l.value);
    return lines;
}

// A demo database as the host's current one, a main window, scripted dialogs and a chosen spreadsheet.
class Frames : public DatabaseTest {
protected:
    void SetUp() override
    {
        ASSERT_NE(plugin().handle, nullptr) << dlerror();
        OpenNew(true);
        SetCurrentDatabase(db_.get());
        host::SetDialogs(&dialogs_);
        main_.show();
        host::windows().SetMainWindow(&main_);
        host::windows().ClearHistory();
        TxlsZamerShablonForm::Trace().clear();
        SetSpreadsheet(true);
    }
    void TearDown() override
    {
        SetCurrentDatabase(nullptr);
        host::SetDialogs(nullptr);
        host::windows().SetMainWindow(nullptr);
        qunsetenv("OZN3_SPREADSHEET");
    }
    static void SetSpreadsheet(bool installed) { qputenv("OZN3_SPREADSHEET", installed ? "true" : ""); }
    int AnyLVFider()
    {
        auto q = db_->GetDefaultConnection()->NewQuery();
        q->SetSQLText("select first 1 \"GUID\", \"OwnerGUID\" from \"LVFiders\" order by \"GUID\"");
        q->Open();
        node_ = q->Int("OwnerGUID");
        return q->Int("GUID");
    }
    int YearPeriod() { return db_->GetSamplePeriods()->GetItems(0).Ident; }

    host::ScriptedDialogs dialogs_;
    QWidget main_;
    int node_ = 0;
};

}  // namespace

TEST_F(Frames, AllFifteenExportsAndTheDebuggerNamesResolve)
{
    for (const char* name : kOzn32ExportNames)
        EXPECT_NE(dlsym(plugin().handle, name), nullptr) << name;
    EXPECT_NE(dlsym(plugin().handle, "dbkFCallWrapperAddr"), nullptr);
    EXPECT_NE(dlsym(plugin().handle, "__dbk_fcall_wrapper"), nullptr);
    EXPECT_EQ(std::size(kOzn32ExportNames), 15u);
}

TEST_F(Frames, ImportLeftOpenInTheSpreadsheetKeepsItInFront)
{
    auto show = plugin().get<ozn32::ShowSamplesWInput_t>("ShowSamplesWInput");
    bool readOnly = true;
    QString pane, status;
    CloseNextModal(host::mrNo, [&](QDialog* d) {
        readOnly = qobject_cast<TxlsCustomMenuForm*>(d)->ReadOnly();
        pane = d->findChild<QPlainTextEdit*>("memoLog")->toPlainText();
        status = d->findChild<QLabel*>("lblMainWindowHidden")->text();
    });
    show(u"", 77);
    EXPECT_FALSE(readOnly);  // the demo user holds right 12
    // The frame's trace is the application's; the user reads why the main window is gone and when it returns.
    EXPECT_FALSE(pane.contains("step")) << pane.toStdString();
    EXPECT_TRUE(status.contains("Главное окно") && status.contains("вернется")) << status.toStdString();
    QFile log(host::ApplicationLogPath());
    ASSERT_TRUE(log.open(QIODevice::ReadOnly));
    EXPECT_TRUE(QString::fromUtf8(log.readAll()).contains("step1.ShowLVSamplesWInput -1 -1"));
    EXPECT_EQ(trace(), QStringList({"step1.ShowLVSamplesWInput|-1|-1", "step1a.AFileName=|-1|-1",
                                    "step2.CanOpenTreeView|1|1", "step3.ShowModal|4|7"}));
    EXPECT_EQ(host::windows().History(), QStringList({"SetWindowPos(main,top,0x93)", "SetWindowPos(main,bottom,0x53)",
                                                      "SetForegroundWindow(none)"}));
}

TEST_F(Frames, ImportClosedNormallyBringsTheHostBack)
{
    db_->SetUserRight(db_->UserName(), 13, false);
    auto show = plugin().get<ozn32::ShowSamplesTmaxInput_t>("ShowSamplesTmaxInput");
    bool readOnly = false;
    CloseNextModal(host::mrCancel, [&](QDialog* d) { readOnly = qobject_cast<TxlsCustomMenuForm*>(d)->ReadOnly(); });
    show(u"", 0);
    EXPECT_TRUE(readOnly);
    EXPECT_EQ(trace().first(), "step1.ShowLVSamplesTmaxInput|-1|-1");
    EXPECT_EQ(trace().last(), "step3.ShowModal|4|2");
    EXPECT_EQ(host::windows().History(), QStringList({"SetWindowPos(main,top,0x93)", "SetWindowPos(main,top,0x43)",
                                                      "SetActiveWindow(main)", "SetForegroundWindow(main)"}));
    EXPECT_TRUE(main_.isVisible());
}

TEST_F(Frames, ImportWithoutASpreadsheetApplicationTouchesNoWindows)
{
    SetSpreadsheet(false);
    auto show = plugin().get<ozn32::ShowLVNormativMethodInput_t>("ShowLVNormativMethodInput");
    CloseNextModal(host::mrNo);
    show(u"", 0);
    EXPECT_EQ(trace().first(), "step1.ShowLVSocialInput|-1|-1");
    EXPECT_EQ(trace().last(), "step3.ShowModal|4|7");
    EXPECT_TRUE(host::windows().History().isEmpty());
}

TEST_F(Frames, ImportThatCannotOpenIsNeverShown)
{
    TempFolder other;
    auto empty = OpenDatabase(NewSchemaDatabase(other));  // no network: no tree to open
    SetCurrentDatabase(empty.get());
    auto show = plugin().get<ozn32::ShowSamplesWInput_t>("ShowSamplesWInput");
    show(u"", 0);
    const QStringList lines = trace();
    EXPECT_EQ(lines.last(), "step2.CanOpenTreeView|1|0");
    for (const QString& line : lines)
        EXPECT_FALSE(line.startsWith("step3.ShowModal"));
    SetCurrentDatabase(db_.get());
}

TEST_F(Frames, ImportStopsQuietlyOnAMissingWorkbookOrDatabase)
{
    auto show = plugin().get<ozn32::ShowSamplesWInput_t>("ShowSamplesWInput");
    const QString missing = folder_.Path("нет.xlsx");
    show(reinterpret_cast<const char16_t*>(missing.utf16()), 0);
    EXPECT_TRUE(trace().isEmpty());
    ASSERT_EQ(dialogs_.Calls().size(), 1);
    EXPECT_TRUE(dialogs_.Calls()[0].text.startsWith("Файл не найден"));
    SetCurrentDatabase(nullptr);
    show(u"", 0);
    EXPECT_TRUE(trace().isEmpty());
}

TEST_F(Frames, FeederEditorFindsTheNodeOfAnLVFeeder)
{
    auto show = plugin().get<ozn32::ShowLVFiders_t>("ShowLVFiders");
    int32_t lv = AnyLVFider();
    QString title;
    CloseNextModal(host::mrOk, [&](QDialog* d) { title = d->windowTitle(); });
    EXPECT_EQ(show(0, &lv), host::mrOk);
    EXPECT_TRUE(title.startsWith("Линии 0,38 кВ: ТП-")) << title.toStdString();
    EXPECT_FALSE(db_->GetDefaultConnection()->inTransaction());

    int32_t unknown = 987654;
    EXPECT_EQ(show(0, &unknown), 0);  // node stays 0: not shown
    EXPECT_EQ(unknown, 987654);
    CloseNextModal(host::mrCancel);
    int32_t none = 0;
    EXPECT_EQ(show(node_, &none), host::mrCancel);
    EXPECT_FALSE(db_->GetDefaultConnection()->inTransaction());
}

TEST_F(Frames, NormativeMethodRoutesByRightZero)
{
    auto run = plugin().get<ozn32::RunLVNormativMethod_t>("RunLVNormativMethod");
    bool inputVisible = false;
    auto inspect = [&](QDialog* d) { inputVisible = d->findChild<QTabWidget*>("PageControl")->isTabVisible(0); };
    CloseNextModal(host::mrCancel, inspect);
    EXPECT_EQ(run(db_.get()), host::mrCancel);
    EXPECT_TRUE(inputVisible);

    db_->SetUserRight(db_->UserName(), 0, true);
    CloseNextModal(host::mrCancel, inspect);
    run(db_.get());
    EXPECT_FALSE(inputVisible);
    auto results = plugin().get<ozn32::RunLVNormativMethodResults_t>("RunLVNormativMethodResults");
    inputVisible = true;
    db_->SetUserRight(db_->UserName(), 0, false);
    CloseNextModal(host::mrCancel, inspect);
    results(db_.get());
    EXPECT_FALSE(inputVisible);
}

TEST_F(Frames, RegimeDialogWithoutPeriodAndAfterCancelLeavesParametersAlone)
{
    auto middle = plugin().get<ozn32::GetLVMiddleRegim_t>("GetLVMiddleRegim");
    TWCalcHHParams params;
    params.SetWa(150);
    EXPECT_EQ(middle(&params), host::mrCancel);
    ASSERT_EQ(dialogs_.Calls().size(), 1);
    EXPECT_EQ(dialogs_.Calls()[0].text, "Не задан период");

    const int year = YearPeriod();
    params.SetSamplePeriod(year);
    int shownPeriod = 0;
    auto switchPeriod = [&](QDialog* d) {
        auto* box = d->findChild<TSamplesTreeBox*>("ComboSamplesDates");
        shownPeriod = box->CurrentIdent();
        // Another interval of the tree: a month of the year shown when it has months.
        QList<int> others;
        for (const auto& [top, months] : box->Shape())
            others << (top == shownPeriod ? months : QList<int>()) << top;
        others.removeAll(shownPeriod);
        ASSERT_FALSE(others.isEmpty());
        box->SetCurrentIdent(others.first());
    };
    // Edits, a level copied in: all discarded by cancel.
    CloseNextModal(host::mrCancel, [&](QDialog* d) {
        switchPeriod(d);
        auto* wa = d->findChild<QLineEdit*>("EditWa");
        wa->setText("999");
        emit wa->editingFinished();
        d->findChild<QTabBar*>("TabLevels")->setCurrentIndex(2);
        d->findChild<QMenu*>("SetMenu")->actions().at(1)->trigger();  // "Все"
    });
    EXPECT_EQ(middle(&params), host::mrCancel);
    EXPECT_EQ(shownPeriod, year);
    EXPECT_EQ(params.GetSamplePeriod(), year);
    EXPECT_DOUBLE_EQ(params.GetWa(), 150);

    auto maximum = plugin().get<ozn32::GetLVMaxRegim_t>("GetLVMaxRegim");
    TWCalcTmaxHHParams tmax;
    tmax.SetSamplePeriod(year);
    tmax.SetTmax(3000);
    CloseNextModal(host::mrOk, switchPeriod);
    EXPECT_EQ(maximum(&tmax), host::mrOk);
    EXPECT_NE(tmax.GetSamplePeriod(), year);  // accepted: the edited copy came back
    // The 3000 hours were the former interval's: the new one has nothing stored and no measurement.
    EXPECT_TRUE(std::isnan(tmax.Current().Tmax)) << tmax.Current().Tmax;
}

TEST_F(Frames, PesResultsFollowTheSpreadsheetAndParameter131)
{
    auto show = plugin().get<ozn32::ShowLVPESResults_t>("ShowLVPESResults");
    AnyLVFider();
    QString shown;
    auto name = [&](QDialog* d) { shown = d->objectName(); };
    CloseNextModal(host::mrCancel, name);
    show(db_.get(), node_);
    EXPECT_EQ(shown, "frmPesResultsLV");
    Init()->SetParam(InitParam::PesResultsWithSpreadsheet, false);
    CloseNextModal(host::mrCancel, name);
    show(db_.get(), node_);
    EXPECT_EQ(shown, "frmPesResultsLV32");
    Init()->SetParam(InitParam::PesResultsWithSpreadsheet, true);
    SetSpreadsheet(false);
    CloseNextModal(host::mrCancel, name);
    show(db_.get(), node_);
    EXPECT_EQ(shown, "frmLVResultsGrid");

    EXPECT_EQ(show(db_.get(), 987654), 0);
    EXPECT_EQ(dialogs_.Texts(), QStringList({"Не найден GUID"}));
}

TEST_F(Frames, CalculationMenuBringsTheHostWindowBack)
{
    auto all = plugin().get<ozn32::ShowLVPESResultsAll_t>("ShowLVPESResultsAll");
    CloseNextModal(host::mrCancel);
    all();
    const QStringList h = host::windows().History();
    ASSERT_GE(h.size(), 5);
    EXPECT_EQ(h.first(), "SetWindowPos(main,top,0x93)");
    EXPECT_TRUE(h.contains("ShowWindow(main,5)"));
    EXPECT_EQ(h.mid(h.indexOf("ShowWindow(main,5)"), 4),
              QStringList({"ShowWindow(main,5)", "SetWindowPos(main,top,0x43)", "SetActiveWindow(main)",
                           "SetForegroundWindow(main)"}));
    EXPECT_FALSE(db_->GetDefaultConnection()->inTransaction());
}

TEST_F(Frames, CalculationMenuReportsOnTheChosenSubstationOrLine)
{
    auto all = plugin().get<ozn32::ShowLVPESResultsAll_t>("ShowLVPESResultsAll");
    const int line = AnyLVFider();
    QStringList titles, texts;
    CloseNextModal(host::mrCancel, [&](QDialog* menu) {
        auto* view = menu->findChild<QTreeView*>();
        auto* model = qobject_cast<TreeModel*>(view->model());
        ASSERT_NE(model, nullptr);
        auto report = [&](int guid) {
            view->setCurrentIndex(model->IndexOf(db_->GetTree()->Find(guid)));
            CloseNextModal(host::mrCancel, [&](QDialog* d) {
                titles << d->windowTitle();
                texts << d->findChild<QTextBrowser*>()->toPlainText();
            });
            menu->findChild<QPushButton*>("btnReport")->click();
        };
        report(node_);
        report(line);
        // Above the substations there is nothing to report on.
        view->setCurrentIndex(model->index(0, 0));
        menu->findChild<QPushButton*>("btnReport")->click();
    });
    all();
    auto q = db_->GetDefaultConnection()->NewQuery();
    q->SetSQLText(Fmt(R"(select n."Name" as "Node", f."Name" from "LVFiders" f
        join "Nodes" n on n.GUID = f."OwnerGUID" where f.GUID = %1)",
                      line));
    q->Open();
    ASSERT_EQ(titles.size(), 2);
    EXPECT_EQ(titles[0], "Отчет по ТП " + q->Str("Node"));
    EXPECT_TRUE(texts[0].contains("Итого по ТП"));
    EXPECT_TRUE(texts[0].contains(q->Str("Name")));  // its lines are listed
    EXPECT_EQ(titles[1], "Отчет по линии " + q->Str("Name"));
    EXPECT_TRUE(texts[1].contains("Дата замера"));
    EXPECT_EQ(dialogs_.Texts(), QStringList({"Отчет строится по ТП или по линии 0,4 кВ: выберите ее в дереве"}));
    EXPECT_FALSE(db_->GetDefaultConnection()->inTransaction());
}

TEST_F(Frames, FeederBalanceNeedsTheHostsExportObject)
{
    auto build = plugin().get<ozn32::BuildFiderHHResults_t>("BuildFiderHHResults");
    TFiderHH fider(AnyLVFider(), "Л-1 ул. Ленина", node_);
    TOExport target;
    build(&fider, &target);
    EXPECT_EQ(target.Title(), "Баланс линии Л-1 ул. Ленина за 2025г.");  // the latest results
    ASSERT_GT(target.Rows().size(), 50u);
    EXPECT_EQ(target.Rows().front().first(), "Показатель");
    EXPECT_EQ(target.Rows()[1].first(), "Номинальное напряжение, кВ");
    EXPECT_EQ(target.Rows()[2].first(), "Прием электроэнергии в сеть, тыс. кВт·ч");
    EXPECT_FALSE(target.Rows()[2].at(1).isEmpty());
    TFiderHH notAnExport(1, "x", 0);
    EXPECT_THROW(build(&fider, &notAnExport), EInvalidCast);

    auto show = plugin().get<ozn32::ShowFiderHHResults_t>("ShowFiderHHResults");
    CloseNextModal(host::mrOk);
    EXPECT_EQ(show(&fider, 0), host::mrOk);
    auto undersupply = plugin().get<ozn32::ShowLVUndersupplyReport_t>("ShowLVUndersupplyReport");
    CloseNextModal(host::mrCancel);
    EXPECT_EQ(undersupply(5), host::mrCancel);
}

TEST_F(Frames, DetailFrameBelongsToItsOwner)
{
    auto create = plugin().get<ozn32::DetailFrameCreate_t>("DetailFrameCreate");
    ToznListItemCommon* lv = nullptr;
    TfdbTree* tree = db_->GetTree();
    auto q = db_->GetDefaultConnection()->NewQuery();
    q->SetSQLText("select first 1 \"OwnerGUID\" from \"LVNodes\"");
    q->Open();
    lv = tree->Find(q->Int("OwnerGUID"));
    ASSERT_NE(lv, nullptr);
    auto* owner = new QWidget;
    QWidget* frame = create(owner, lv, 0);
    ASSERT_NE(frame, nullptr);
    EXPECT_EQ(frame->parent(), owner);
    EXPECT_EQ(frame->objectName(), "Detail038Frame");
    delete owner;  // the owner frees the frame
}
