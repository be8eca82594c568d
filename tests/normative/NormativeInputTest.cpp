#include <gtest/gtest.h>

#include <QComboBox>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTabWidget>
#include <QTextBrowser>
#include <QToolButton>
#include <QTreeView>
#include <tuple>

#include "host/Database.h"
#include "host/Dialogs.h"
#include "host/EditConstraints.h"
#include "host/NumericHelpers.h"
#include "host/SamplePeriods.h"
#include "host/Tree.h"
#include "host/TreeModel.h"
#include "import/LVZamerSocial.h"
#include "normative/LVNormativInputPage.h"
#include "normative/LVNormativMethod02Unit.h"
#include "normative/LVNormativMethod04Unit.h"
#include "normative/LVNormativReports.h"
#include "support/TestSupport.h"

using namespace testing_support;

namespace {
class Input : public DatabaseTest {
protected:
    void SetUp() override
    {
        OpenNew(true);
        for (const TSamplePeriodInfo& p : db_->GetSamplePeriods()->Items())
            if (p.Name == "2023г.")
                year_ = p;
        form_.reset(TLVNormativMethodForm1::CreateForm<TLVNormativMethodForm4>(nullptr, db_.get()));
        form_->SetFullRun(true);
        EXPECT_TRUE(form_->SetPeriod(year_.Ident));
        page_ = form_->InputPage();
    }
    void Select(int guid)
    {
        auto* model = static_cast<TreeModel*>(form_->Tree()->model());
        form_->Tree()->setCurrentIndex(model->IndexOf(db_->GetTree()->Find(guid)));
    }
    void Type(const char* editor, const QString& text)
    {
        QLineEdit* e = page_->Editor(editor);
        e->setText(text);
        emit e->editingFinished();
    }
    double Stored(const char* column, int guid)
    {
        return Scalar(*c_, Fmt("select \"%1\" from \"LVWResultsB\" where guid=%2 and \"SampleIdent\"=%3", column, guid,
                               year_.Ident));
    }
    TSamplePeriodInfo year_;
    std::unique_ptr<TLVNormativMethodForm4> form_;
    TLVNormativInputPage* page_ = nullptr;
    host::ScriptedDialogs dialogs_;
    host::ScopedDialogs scope_{&dialogs_};
};
}  // namespace

TEST_F(Input, StoredInputsAreShownEditedRecalculatedAndSaved)
{
    const int tp = IntScalar(*c_, Fmt("select first 1 guid from \"LVWResultsB\" where "
                                      "\"SampleIdent\"=%1 order by guid",
                                      year_.Ident));
    Select(tp);
    ASSERT_TRUE(page_->isEnabled());
    EXPECT_EQ(page_->Editor("EditWa")->text(), FormatFloat("0.######", Stored("Wa", tp)));
    EXPECT_EQ(page_->ResultText("ResdeltaWa"), FormatFloat("#,##0.000", Stored("deltaWa", tp)));
    EXPECT_FALSE(page_->Modified());
    EXPECT_FALSE(page_->findChild<QPushButton*>("btnSave")->isEnabled());
    EXPECT_TRUE(page_->findChild<QPushButton*>("btnDelete")->isEnabled());

    // Every edit recalculates at once.
    Type("EditWa", "300");
    EXPECT_DOUBLE_EQ(page_->Sample().GetWa(), 300);
    EXPECT_TRUE(page_->Modified());
    EXPECT_TRUE(page_->findChild<QPushButton*>("btnSave")->isEnabled());
    EXPECT_EQ(page_->ResultText("ResdeltaWa"), FormatFloat("#,##0.000", page_->Sample().deltaWa()));
    EXPECT_EQ(page_->Editor("EditWaNet")->text(), FormatFloat("0.######", page_->Sample().WaNet()));
    Type("LineL23a", "0,25");  // a branch entered apart from its building inputs
    Type("EditL23ia", "0,05");
    EXPECT_EQ(page_->Editor("EditL23a")->text(), FormatFloat("0.######", TLVNormativSample0::KindTotal(0.25, 0.05)));

    // Leaving the element: cancelling the question keeps it and its edits.
    const int other = IntScalar(*c_, Fmt("select first 1 guid from \"LVWResultsB\" where "
                                         "\"SampleIdent\"=%1 and guid>%2 order by guid",
                                         year_.Ident, tp));
    dialogs_.AnswerMessage(host::mrCancel);
    Select(other);
    EXPECT_EQ(dialogs_.Texts().last(), "Сохранить исходные данные и результаты расчета?");
    EXPECT_EQ(TreeModel::Item(form_->Tree()->currentIndex())->GetIdent(), tp);
    EXPECT_DOUBLE_EQ(page_->Sample().GetWa(), 300);
    // Closing the form asks the same; cancel keeps it open with the edits.
    dialogs_.AnswerMessage(host::mrCancel);
    form_->reject();
    EXPECT_EQ(form_->result(), 0);
    EXPECT_TRUE(page_->Modified());

    page_->findChild<QPushButton*>("btnSave")->click();
    EXPECT_DOUBLE_EQ(Stored("Wa", tp), 300);
    EXPECT_DOUBLE_EQ(Stored("deltaWa", tp), page_->Sample().deltaWa());
    EXPECT_FALSE(page_->Modified());

    // Inputs out of range: the field keeps the typed text, the user is warned and may keep the stored data.
    Type("EditWa", "310");
    Type("Editdp", "2");
    EXPECT_EQ(page_->Editor("Editdp")->text(), "2");
    EXPECT_TRUE(page_->Constraints().isContraint(page_->Editor("Editdp")));
    EXPECT_EQ(dialogs_.Texts().last(), "Значение не принято: «Доля энергии, отпускаемой населению, о.е.»: «2» — "
                                       "число от 0 до 1.\nИсправьте его или отмените правку.");
    dialogs_.AnswerMessage(host::mrNo);
    EXPECT_FALSE(page_->Save());
    EXPECT_EQ(dialogs_.Texts().last(), "Ошибка в исходных данных. Результаты расчета сохранены не будут!");
    EXPECT_DOUBLE_EQ(Stored("Wa", tp), 300);
    page_->Cancel();
    EXPECT_DOUBLE_EQ(page_->Sample().GetWa(), 300);

    // Deleting after confirmation.
    dialogs_.AnswerMessage(host::mrYes);
    EXPECT_TRUE(page_->Delete());
    EXPECT_EQ(dialogs_.Texts().last(), "Удалить исходные данные и результаты расчета?");
    EXPECT_EQ(
        Scalar(*c_, Fmt("select count(*) from \"LVWResultsB\" where guid=%1 and \"SampleIdent\"=%2", tp, year_.Ident)),
        0);
}

TEST_F(Input, EnergyFromTheElementsSourcesInTheirOrder)
{
    const int tp = IntScalar(*c_, "select first 1 lf.\"OwnerGUID\" from \"LVFiders\" lf join "
                                  "\"LVResults\" mv on mv.guid=lf.guid order by 1");
    auto period = [&](const QString& name) {
        for (const TSamplePeriodInfo& p : db_->GetSamplePeriods()->Items())
            if (p.Name == name)
                return p.Ident;
        ADD_FAILURE() << name.toStdString();
        return 0;
    };
    auto fill = [&] {
        page_->findChild<QToolButton*>("btnCalcWa")->click();
        return dialogs_.Texts().value(dialogs_.Texts().size() - 1);
    };
    // No measurement and no medium-voltage result of the substation: what its LV lines received in the regime
    // calculation of the year.
    for (const char* table : {"WResultsN", "WLoads", "LVWTPInfo"})
        Exec(*c_, Fmt("delete from \"%1\" where guid=%2", table, tp));
    Select(tp);
    QString told = fill();
    const double received = Scalar(*c_, Fmt("select sum(wa.\"Wa_gen\") from \"LVWResultsAdd\" wa join "
                                            "\"LVResults\" mv on mv.\"Ident\"=wa.\"Ident\" join "
                                            "\"LVFiders\" lf on lf.guid=mv.guid where lf.\"OwnerGUID\"=%1 "
                                            "and mv.\"SampleIdent\"=%2",
                                            tp, year_.Ident));
    ASSERT_GT(received, 0);
    EXPECT_NEAR(page_->Sample().GetWa(), received, 1e-9);
    EXPECT_LT(page_->Sample().GetWa_bus(), 0);
    EXPECT_EQ(told, "Трансформация в сеть: расчет режима линий 0,4 кВ элемента за период\n"
                    "Полезный отпуск с шин: нет данных");
    EXPECT_TRUE(page_->Modified());
    // The generalised-data workbook's button takes the same energy from the same source and says so.
    auto workbookEnergy = [&](QStringList* told = nullptr) {
        TNodeSocialHigh rows;
        rows.Open(*c_, tp, 5, year_);
        const QStringList sources = rows.FillEnergies(*c_, *db_->GetTree());
        if (told)
            *told = sources;
        for (int i = 0; i < rows.Count(); ++i)
            if (rows.GetItem(i).GUID == tp)
                return std::pair{rows.GetItem(i).Data.Wa, rows.GetItem(i).Data.Wa_bus};
        ADD_FAILURE() << "no row of the substation";
        return std::pair{0.0, 0.0};
    };
    QStringList sources;
    EXPECT_NEAR(workbookEnergy(&sources).first, received, 1e-9);
    EXPECT_EQ(sources, QStringList({"Трансформация в сеть: расчет режима линий 0,4 кВ элемента за период: 1"}));

    // The substation's own W measurements come first: the months inside the year before the year's own row;
    // the busbar supply from its 0.4 kV measurements, where only ordinary rows count.
    const int january = period("Январь 2023"), february = period("Февраль 2023");
    for (auto [ident, wa] : {std::pair{year_.Ident, 500.0}, {january, 40.0}, {february, 60.5}})
        Exec(*c_, Fmt("insert into \"WLoads\" (\"SampleIdent\", guid, \"SampleType\", \"Wa\") "
                      "values (%1, %2, 0, %3)",
                      ident, tp, wa));
    for (auto [ident, type, bus] : {std::tuple{year_.Ident, 0, 12.5}, {january, 1, 99.0}})
        Exec(*c_, Fmt("insert into \"LVWTPInfo\" (\"SampleIdent\", guid, \"TypeCalc\", \"Wa_bus\") "
                      "values (%1, %2, %3, %4)",
                      ident, tp, type, bus));
    told = fill();
    EXPECT_DOUBLE_EQ(page_->Sample().GetWa(), 100.5);
    EXPECT_DOUBLE_EQ(page_->Sample().GetWa_bus(), 12.5);
    EXPECT_EQ(told, "Трансформация в сеть: замеры W ТП, сумма за месяцы периода\n"
                    "Полезный отпуск с шин: замеры на шинах 0,4 кВ ТП за период");
    // The generalised-data workbook fills the same energies for the substation.
    EXPECT_EQ(workbookEnergy(), std::pair(100.5, 12.5));
    Exec(*c_, Fmt("delete from \"WLoads\" where guid=%1 and \"SampleIdent\"<>%2", tp, year_.Ident));
    told = fill();
    EXPECT_DOUBLE_EQ(page_->Sample().GetWa(), 500);
    EXPECT_TRUE(told.startsWith("Трансформация в сеть: замеры W ТП за период\n")) << told.toStdString();

    // Without editing rights nothing is asked on closing.
    form_->SetFullRun(false);
    const int asked = dialogs_.Texts().size();
    form_->reject();
    EXPECT_EQ(form_->result(), QDialog::Rejected);
    EXPECT_EQ(dialogs_.Texts().size(), asked);
}

TEST_F(Input, ReportSummaryAndRewritingOfAFeedersSubstations)
{
    // A 6(10) kV feeder with substations that have stored normative results.
    const int fider = static_cast<int>(
        Scalar(*c_, Fmt("select first 1 nod.\"OwnerGUID\" from \"LVWResultsB\" b join \"Nodes\" nod on "
                        "nod.guid=b.guid where b.\"SampleIdent\"=%1 group by nod.\"OwnerGUID\" "
                        "having count(*) > 1 order by 1",
                        year_.Ident)));
    const QString under = Fmt("from \"LVWResultsB\" b join \"Nodes\" nod on nod.guid=b.guid where "
                              "nod.\"OwnerGUID\"=%1 and b.\"SampleIdent\"=%2",
                              fider, year_.Ident);
    ToznListItemCommon* item = db_->GetTree()->Find(fider);
    ASSERT_NE(item, nullptr);
    const TNormativeSummary summary(*c_, item, year_);
    ASSERT_NE(summary.Root(), nullptr);
    EXPECT_EQ(summary.ElementCount(), Scalar(*c_, "select count(*) " + under));
    EXPECT_NEAR(summary.Root()->DeltaWa, Scalar(*c_, "select sum(b.\"deltaWa\") " + under), 1e-6);
    EXPECT_NEAR(summary.Root()->Wa, Scalar(*c_, "select sum(b.\"Wa\") " + under), 1e-6);
    ASSERT_EQ(summary.Rows().size(), static_cast<size_t>(summary.ElementCount() + 1));
    EXPECT_EQ(summary.Rows()[0].LevelName, "Фидер");
    EXPECT_EQ(summary.Rows()[1].LevelName, "ТП");
    EXPECT_EQ(summary.Rows()[1].Depth, 1);

    const QString report = NormativeReportHtml(*c_, item, year_);
    EXPECT_TRUE(report.contains("<td>Наименование фидера</td><td align='right'>" + item->GetText().toHtmlEscaped()));
    EXPECT_TRUE(report.contains("<td>Потери активной электроэнергии, тыс. кВт·ч</td><td align='right'>" +
                                FormatFloat("#,##0.000", summary.Root()->DeltaWa) + "</td>"));
    // The current density belongs to a single substation only.
    EXPECT_TRUE(report.contains("<td>Плотность тока, А/мм²</td><td align='right'></td>"));
    ToznListItemCommon* tp = db_->GetTree()->Find(IntScalar(*c_, "select first 1 b.guid " + under));
    const QString single = NormativeReportHtml(*c_, tp, year_);
    EXPECT_FALSE(single.contains("<td>Плотность тока, А/мм²</td><td align='right'></td>"));
    EXPECT_FALSE(single.contains("<td>Тип трансформатора, кВ·А</td><td align='right'></td>"));

    // The form's pages: the report saved for the spreadsheet, the summary general or detailed.
    Select(fider);
    const QString saved = form_->SaveReport(folder_.Path(""));
    ASSERT_FALSE(saved.isEmpty());
    EXPECT_TRUE(QFileInfo(saved).fileName().startsWith("Обобщенные " + item->GetText() + " за 2023г."));
    EXPECT_TRUE(saved.endsWith(".xls"));
    form_->SetDetailed(false);
    EXPECT_FALSE(form_->SummaryHtml().contains(tp->GetText().toHtmlEscaped()));
    form_->SetDetailed(true);
    EXPECT_TRUE(form_->SummaryHtml().contains(tp->GetText().toHtmlEscaped()));
    TLVNormativMethodForm4::SetLegendColour(4, QColor(0x12, 0x34, 0x56));  // "Заголовок Фидер"
    EXPECT_TRUE(form_->SummaryHtml().contains("bgcolor='#123456'"));

    // Rewriting the feeder's own data from the aggregate of its substations, offered in editing mode only.
    auto* rewrite = form_->findChild<QPushButton*>("btnRewrite");
    EXPECT_FALSE(rewrite->isHidden());
    dialogs_.AnswerMessage(host::mrYes);
    ASSERT_TRUE(form_->RewriteData());
    EXPECT_EQ(dialogs_.Texts().last(), "Переписать данные по " + item->GetText() + "?");
    auto rewritten = [&] {
        EXPECT_NEAR(Stored("Wa", fider), Scalar(*c_, "select sum(b.\"Wa\") " + under), 1e-6);
        EXPECT_NEAR(Stored("Wa_bus", fider), Scalar(*c_, "select sum(b.\"Wa_bus\") " + under), 1e-6);
        // The equivalent length is the sum of the substations' stored ones, the lines and main lines summed.
        EXPECT_NEAR(Stored("Lekv", fider), Scalar(*c_, "select sum(b.\"Lekv\") " + under), 1e-9);
        const QString scheme = QStringLiteral("select f.\"%1\" from \"LVFidersB\" f join \"LVWResultsB\" r on "
                                              "r.\"Info\"=f.\"Ident\" where r.guid=%2 and r.\"SampleIdent\"=%3");
        const QString schemes =
            "select sum(iif(f.\"%1\" > 0, f.\"%1\", 0)) from \"LVFidersB\" f join \"LVWResultsB\" b "
            "on b.\"Info\"=f.\"Ident\" join \"Nodes\" nod on nod.guid=b.guid where nod.\"OwnerGUID\"=" +
            QString::number(fider) + " and b.\"SampleIdent\"=" + QString::number(year_.Ident);
        for (const char* column : {"NLines", "Lma", "L23a", "L23ia", "L1a", "L1ia"})
            EXPECT_NEAR(Scalar(*c_, scheme.arg(column).arg(fider).arg(year_.Ident)), Scalar(*c_, schemes.arg(column)),
                        1e-9)
                << column;
        EXPECT_GT(Stored("deltaWa", fider), 0);  // complete inputs: the loss is calculated
    };
    rewritten();
    // Once more: the substations below are summed again, not the feeder's own result.
    dialogs_.AnswerMessage(host::mrYes);
    ASSERT_TRUE(form_->RewriteData());
    rewritten();
    form_->SetFullRun(false);
    EXPECT_TRUE(rewrite->isHidden());
}

TEST_F(Input, SaveAsksOnlyForRefusedFieldsStoresNoRefusedResultAndDeleteLeavesNothing)
{
    const int tp = IntScalar(*c_, Fmt("select first 1 guid from \"LVWResultsB\" where "
                                      "\"SampleIdent\"=%1 and \"deltaWa\" > 0 order by guid",
                                      year_.Ident));
    Select(tp);
    const double cos = page_->Sample().GetCosFi();
    EXPECT_EQ(page_->StoredText(), "Исходные данные за период сохранены");

    // Refused texts: a cos φ above 1, a negative length, a fractional number of lines or hours. Each is named with
    // its range, stays in its field, and the model keeps its value.
    const std::tuple<const char*, const char*, QString> refused[] = {
        {"EditCosFi", "1,5", "«Коэффициент мощности cosφ»: «1,5» — число от 0 до 1"},
        {"EditLma", "-2", "«Длина магистрали, км: алюминиевые»: «-2» — число не меньше 0"},
        {"EditNLines", "2,5", "«Количество линий, шт.»: «2,5» — целое число от 1"},
        {"EditT", "8760,5", "«Расчетный период, ч»: «8760,5» — целое число часов от 1 до 8784"}};
    const double lma = page_->Sample().GetLength(TLVNormativSample0::Lma);
    const int lines = page_->Sample().GetNLines(), hours = page_->Sample().GetT();
    for (const auto& [editor, text, message] : refused) {
        Type(editor, text);
        EXPECT_EQ(page_->Editor(editor)->text(), text);
        EXPECT_TRUE(page_->Constraints().isContraint(page_->Editor(editor))) << editor;
        EXPECT_TRUE(dialogs_.Texts().last().contains(message)) << dialogs_.Texts().last().toStdString();
    }
    EXPECT_DOUBLE_EQ(page_->Sample().GetCosFi(), cos);
    EXPECT_DOUBLE_EQ(page_->Sample().GetLength(TLVNormativSample0::Lma), lma);
    EXPECT_EQ(page_->Sample().GetNLines(), lines);
    EXPECT_EQ(page_->Sample().GetT(), hours);
    EXPECT_EQ(page_->Constraints().Errors().size(), 4);
    // Another field edited: the refused ones keep their texts.
    Type("EditWa", "250");
    EXPECT_EQ(page_->Editor("EditCosFi")->text(), "1,5");
    // Leaving the same text again tells nothing new.
    const qsizetype told = dialogs_.Texts().size();
    Type("EditCosFi", "1,5");
    EXPECT_EQ(dialogs_.Texts().size(), told);

    // "Да" to the question: the inputs are stored as the model holds them, and no result.
    dialogs_.AnswerMessage(host::mrYes);
    ASSERT_TRUE(page_->Save());
    EXPECT_EQ(dialogs_.Texts().last(), "Ошибка в исходных данных. Результаты расчета сохранены не будут!");
    EXPECT_DOUBLE_EQ(Stored("Wa", tp), 250);
    EXPECT_EQ(Scalar(*c_, Fmt("select count(*) from \"LVWResultsB\" where guid=%1 and \"SampleIdent\"=%2 "
                              "and \"deltaWa\" is null and \"Lekv\" is null",
                              tp, year_.Ident)),
              1);
    const QString scheme = QStringLiteral("select f.\"%1\" from \"LVFidersB\" f join \"LVWResultsB\" r on "
                                          "r.\"Info\"=f.\"Ident\" where r.guid=%2 and r.\"SampleIdent\"=%3");
    EXPECT_DOUBLE_EQ(Scalar(*c_, scheme.arg("CosFi").arg(tp).arg(year_.Ident)), cos);
    EXPECT_FALSE(page_->Constraints().isContraint(page_->Editor("EditCosFi")));
    EXPECT_TRUE(page_->StoredText().contains("результаты расчета не сохранены: ошибка в исходных данных"));

    // Inputs the model takes but a loss it refuses (100 % of the supply or more): no question, and no result.
    const qsizetype asked = dialogs_.Calls().size();
    Type("Editdn", "0");
    Type("EditF", "1");
    Type("EditWa", "100000");
    const double percent = page_->Sample().deltaWaPercent();
    ASSERT_GE(percent, 100);
    EXPECT_EQ(page_->ResultText("LabelOutcome"), "Расчет не сохранен. Потери электроэнергии превышают 100%");
    ASSERT_TRUE(page_->Save());
    EXPECT_EQ(dialogs_.Calls().size(), asked);
    EXPECT_DOUBLE_EQ(Stored("Wa", tp), 100000);
    EXPECT_EQ(Scalar(*c_, Fmt("select count(*) from \"LVWResultsB\" where guid=%1 and \"SampleIdent\"=%2 "
                              "and \"deltaWa\" is null",
                              tp, year_.Ident)),
              1);

    // "Удалить": the element's row, its inputs and their cross-section table go, in one step.
    const int info = IntScalar(*c_, Fmt("select \"Info\" from \"LVWResultsB\" where "
                                        "guid=%1 and \"SampleIdent\"=%2",
                                        tp, year_.Ident));
    Exec(*c_, Fmt("insert into \"LVFidersBSections\" (\"Info\", \"Idx\", \"LenVL\", \"LenKL\") values "
                  "(%1, 0, 100, 0)",
                  info));
    ASSERT_EQ(Scalar(*c_, Fmt("select count(*) from \"LVWResultsB\" where \"Info\"=%1", info)), 1);
    dialogs_.AnswerMessage(host::mrYes);
    ASSERT_TRUE(page_->Delete());
    for (const QString& left : {Fmt("select count(*) from \"LVWResultsB\" where guid=%1 and "
                                    "\"SampleIdent\"=%2",
                                    tp, year_.Ident),
                                Fmt("select count(*) from \"LVFidersB\" where \"Ident\"=%1", info),
                                Fmt("select count(*) from \"LVFidersBSections\" where \"Info\"=%1", info)})
        EXPECT_EQ(Scalar(*c_, left), 0) << left.toStdString();
    // The page says that nothing is stored, and there is nothing more to delete.
    EXPECT_FALSE(page_->StoredForPeriod());
    EXPECT_FALSE(page_->findChild<QPushButton*>("btnDelete")->isEnabled());
    EXPECT_TRUE(page_->Editor("EditWa")->text().isEmpty());
    EXPECT_TRUE(page_->StoredText().contains("за период ничего не сохранено"));
    EXPECT_FALSE(page_->Delete());
}

TEST_F(Input, TheSummaryShowsWhatTheBatchStored)
{
    const int tp = IntScalar(*c_, Fmt("select first 1 guid from \"LVWResultsB\" where "
                                      "\"SampleIdent\"=%1 and \"deltaWa\" > 0 order by guid",
                                      year_.Ident));
    Select(tp);
    auto* view = form_->findChild<QTextBrowser*>("SummaryView");
    ASSERT_NE(view, nullptr);
    form_->Pages()->setCurrentWidget(view->parentWidget());
    const QString before = view->toPlainText();
    // The element's energy changes in the database while the summary is shown (another user, a workbook); the
    // batch calculates the element again.
    const double wa = Stored("Wa", tp);
    Exec(*c_,
         Fmt("update \"LVWResultsB\" set \"Wa\"=%1 where guid=%2 and \"SampleIdent\"=%3", wa * 1.5, tp, year_.Ident));
    ToznListItemCommon* feeder = db_->GetTree()->Find(tp)->Parent();
    while (feeder && feeder->GetNodeType() != NodeType::Fiders)
        feeder = feeder->Parent();
    ASSERT_NE(feeder, nullptr);
    form_->StartCalculation(feeder, 7);
    QElapsedTimer timer;
    timer.start();
    while (!dialogs_.Texts().join('\n').contains("Обработано") && timer.elapsed() < 60000)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
    QCoreApplication::processEvents();
    // Without choosing anything: the summary and the input page show what is stored now.
    const double loss = Stored("deltaWa", tp);
    EXPECT_NE(view->toPlainText(), before);
    EXPECT_TRUE(view->toPlainText().contains(FormatFloat("#,##0.000", loss))) << view->toPlainText().toStdString();
    EXPECT_DOUBLE_EQ(page_->Sample().GetWa(), wa * 1.5);
    EXPECT_EQ(page_->ResultText("ResdeltaWa"), FormatFloat("#,##0.000", loss));
}
