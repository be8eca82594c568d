// The application with metering profiles, driven offscreen as a user would: a file of meters' readings loaded
// from the substation's menu, the regime dialog's "По графикам нагрузки" on one feeder leading to its results
// window with the pictures and the methods, its workbook, the group run's comparison table, and the regime
// dialog's own loading of a file.
#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QChart>
#include <QChartView>
#include <QComboBox>
#include <QDialog>
#include <QFile>
#include <QLineEdit>
#include <QLineSeries>
#include <QMenuBar>
#include <QPushButton>
#include <QScatterSeries>
#include <QTabWidget>
#include <QTableWidget>
#include <QTimer>
#include <QTreeView>
#include <cmath>

#include "app/MainWindow.h"
#include "app/PluginLoader.h"
#include "feeders/CalcParamsMiddle.h"
#include "host/Database.h"
#include "host/Dialogs.h"
#include "host/FiderHHCalcParams.h"
#include "host/HostObjects.h"
#include "host/Meters.h"
#include "host/Tree.h"
#include "host/TreeModel.h"
#include "results/PesResultsLVUnit.h"
#include "support/MainWindowFixture.h"
#include "support/TestSupport.h"

using namespace testing_support;

namespace {
// The regime dialog answered with "По графикам нагрузки".
constexpr int kByProfiles = 2;
class ProfileWindow : public MainWindowTest {
protected:
    ToznFDConnection& C() { return *db_->GetDefaultConnection(); }
};

// A year of 2025 by hours for two meters: "M-1" steady 1 kWh, "M-2" 3 kWh from 18:00 to 22:00, else 0.5 kWh.
QString WriteMeters(const QString& file)
{
    QFile f(file);
    f.open(QIODevice::WriteOnly);
    f.write("Счетчик;Дата и время;кВт·ч\n");
    QDateTime t(QDate(2025, 1, 1), QTime(0, 0), Qt::UTC);
    for (int h = 0; h < 8760; ++h, t = t.addSecs(3600)) {
        const QByteArray time = t.toString("dd.MM.yyyy HH:mm").toUtf8();
        const int hour = h % 24;
        f.write("M-1;" + time + ";1\n");
        f.write("M-2;" + time + ";" + (hour >= 18 && hour < 22 ? "3" : "0,5") + "\n");
    }
    return file;
}
}  // namespace

TEST_F(ProfileWindow, ProfilesFromTheSubstationMenuThenTheFeederByProfilesWithItsPicturesAndMethods)
{
    // A feeder with a scheme, two of its consumers given meters of the register.
    const int feeder = IntScalar(C(), R"(select first 1 n."OwnerGUID" from "LVNodes" n where n."Kind"=2
        group by n."OwnerGUID" having count(*) >= 3 order by n."OwnerGUID")");
    const int substation = IntScalar(C(), Fmt(R"(select "OwnerGUID" from "LVFiders" where
        "GUID"=%1)",
                                              feeder));
    const int first = IntScalar(C(), Fmt(R"(select min("GUID") from "LVNodes" where
        "OwnerGUID"=%1 and "Kind"=2)",
                                         feeder));
    const int second = IntScalar(C(), Fmt(R"(select min("GUID") from "LVNodes" where
        "OwnerGUID"=%1 and "Kind"=2 and "GUID">%2)",
                                          feeder, first));
    C().StartTransaction(false);
    SaveMeter(C(), first, {QStringLiteral("M-1"), 1});
    SaveMeter(C(), second, {QStringLiteral("M-2"), 1});
    C().Commit();
    const QString file = WriteMeters(folder_.Path("показания.csv"));
    window_->ChooseProfileFile = [&] { return file; };

    // From the substation's menu; the demo's own profiles of these consumers, if any, are replaced on yes.
    Select(substation);
    QAction* load = MenuAction(*window_, "Загрузить графики нагрузки…");
    ASSERT_NE(load, nullptr);
    dialogs_.AnswerMessage(host::mrYes);
    load->trigger();
    ASSERT_FALSE(dialogs_.Texts().isEmpty());
    EXPECT_TRUE(dialogs_.Texts().last().contains("Загружены графики за «2025г.»"))
        << dialogs_.Texts().join('\n').toStdString();
    EXPECT_DOUBLE_EQ(Scalar(C(), Fmt(R"(select "Wa" from "LVProfiles" where "GUID"=%1 and "Kind"=0)", first)), 8760.0);
    // 4 hours of 3 and 20 of 0.5 a day: 22 kWh a day.
    EXPECT_DOUBLE_EQ(Scalar(C(), Fmt(R"(select "Wa" from "LVProfiles" where "GUID"=%1 and "Kind"=0)", second)),
                     365 * 22.0);

    // The feeder by profiles from the regime dialog: stored as a run of its own mode, then its window.
    Select(feeder);
    auto answers = std::make_unique<ModalAnswers>(kByProfiles);
    int points = 0, tabs = 0;
    double peakY = 0, largestY = 0;
    QString methodsText;
    answers->inspect = [&](QDialog* dialog) {
        if (dialog->objectName() != "LVResultBalancesFider")
            return;
        auto* pages = dialog->findChild<QTabWidget*>("PagesResults");
        if (!pages)
            return;
        tabs = pages->count();
        auto* head = dialog->findChild<QChartView*>("ChartHeadPower");
        if (head) {
            for (QAbstractSeries* s : head->chart()->series()) {
                if (auto* line = qobject_cast<QLineSeries*>(s); line && !qobject_cast<QScatterSeries*>(s)) {
                    points = line->count();
                    for (const QPointF& p : line->points())
                        largestY = std::max(largestY, p.y());
                }
                if (auto* peak = qobject_cast<QScatterSeries*>(s); peak && peak->count() == 1)
                    peakY = peak->at(0).y();
            }
        }
        if (auto* methods = dialog->findChild<QTableWidget*>("GridMethods"))
            methodsText = methods->item(0, 1)->text();
    };
    QAction* middle = MenuAction(*window_, "Расчет режима средних нагрузок...");
    ASSERT_NE(middle, nullptr);
    middle->trigger();
    EXPECT_TRUE(answers->seen.contains("frmCalcParamsMiddle"));
    EXPECT_TRUE(answers->seen.contains("LVResultBalancesFider")) << answers->seen.join(',').toStdString();
    answers.reset();
    const int sample = window_->SelectedPeriod();
    const QString run = Fmt(R"( from "LVResults" where "GUID"=%1 and "SampleIdent"=%2)", feeder, sample);
    ASSERT_EQ(Scalar(C(), "select count(*)" + run), 1);
    EXPECT_EQ(Scalar(C(), R"(select "LoadMode")" + run), 3);
    const double stored = Scalar(C(), Fmt(R"(select p."dWa" from "LVProfileRuns" p join "LVResults" r on
        r."Ident"=p."Ident" where r."GUID"=%1 and r."SampleIdent"=%2)",
                                          feeder, sample));
    EXPECT_EQ(tabs, 4);  // the balance, the drawing, the load curve, the methods
    EXPECT_EQ(points, 8760);
    EXPECT_GT(largestY, 0);
    EXPECT_FLOAT_EQ(peakY, largestY);  // the marked step is the one of greatest head power
    EXPECT_EQ(methodsText, QString::number(stored, 'f', 3));

    // The feeder's workbook: its balance sheets, then the steps, their charts and the methods, whose errors are
    // formulas LibreOffice recalculates to the window's values.
    TFiderHH fider(feeder, QStringLiteral("Л"), substation);
    TLVResultBalancesFider balances(&fider, sample);
    ASSERT_TRUE(balances.Load(C()));
    const QString book = folder_.Path("линия.xlsx");
    QString error;
    ASSERT_TRUE(balances.SaveWorkbook(book, error)) << error.toStdString();
    EXPECT_FALSE(ReadZipEntry(book, "xl/charts/chart1.xml").isEmpty());
    EXPECT_EQ(ExpectFormulasAsRecalculated(book, 5), 2);
    const QString steps = QString::fromUtf8(ReadZipEntry(book, "xl/worksheets/sheet3.xml"));
    EXPECT_EQ(steps.count("<row "), 8761);

    // The substation by profiles: its feeders' comparison over the tree comes up as a table.
    Select(substation);
    ModalAnswers group(kByProfiles);
    QString firstRow;
    group.inspect = [&](QDialog* dialog) {
        if (dialog->objectName() != "ComparisonTable")
            return;
        if (auto* table = dialog->findChild<QTableWidget*>())
            firstRow = table->item(0, 0) ? table->item(0, 0)->text() : QString();
    };
    dialogs_.Clear();
    middle->trigger();
    EXPECT_TRUE(group.seen.contains("ComparisonTable")) << group.seen.join(',').toStdString();
    EXPECT_EQ(firstRow.trimmed(), db_->GetTree()->Find(substation)->GetText());
}

TEST_F(ProfileWindow, TheRegimeDialogOffersTheModeAndLoadsAFileForItsFeeder)
{
    const int feeder = IntScalar(C(), R"(select first 1 n."OwnerGUID" from "LVNodes" n where n."Kind"=2
        group by n."OwnerGUID" having count(*) >= 2 order by n."OwnerGUID" desc)");
    const int node = IntScalar(C(), Fmt(R"(select min("GUID") from "LVNodes" where
        "OwnerGUID"=%1 and "Kind"=2)",
                                        feeder));
    C().StartTransaction(false);
    SaveMeter(C(), node, {QStringLiteral("M-1"), 1});
    C().Commit();
    const QString file = WriteMeters(folder_.Path("m1.csv"));
    QFile::remove(file);
    QFile f(file);
    f.open(QIODevice::WriteOnly);
    f.write("Счетчик;Дата и время;кВт·ч\n");
    QDateTime t(QDate(2025, 1, 1), QTime(0, 0), Qt::UTC);
    for (int h = 0; h < 8760; ++h, t = t.addSecs(3600))
        f.write("M-1;" + t.toString("dd.MM.yyyy HH:mm").toUtf8() + ";2\n");
    f.close();

    TWCalcHHParams params;
    params.SetFiderGUID(feeder);
    params.SetSamplePeriod(window_->SelectedPeriod());
    TfrmCalcParamsMiddle form;
    form.SetParams(&params);
    ASSERT_TRUE(form.Prepare());
    auto* modes = form.findChild<QComboBox*>("ComboSampleType");
    ASSERT_EQ(modes->count(), 3);
    EXPECT_EQ(modes->itemText(2), "По графикам нагрузки");
    auto* button = form.findChild<QPushButton*>("btnLoadProfiles");
    ASSERT_NE(button, nullptr);
    EXPECT_TRUE(button->isEnabled());
    dialogs_.AnswerFile(file);
    dialogs_.AnswerMessage(host::mrYes);  // replace what the demo has, if it has
    button->click();
    EXPECT_EQ(params.GetSampleType(), 2);
    EXPECT_EQ(modes->currentIndex(), 2);
    EXPECT_EQ(form.Box("EditWa")->text(), "Расчет");  // the energy comes from the profiles and the head meter
    EXPECT_DOUBLE_EQ(Scalar(C(), Fmt(R"(select "Wa" from "LVProfiles" where "GUID"=%1 and "Kind"=0 and
        "SampleIdent"=%2)",
                                     node, window_->SelectedPeriod())),
                     17520.0);

    // A group of feeders has no one substation to load into.
    TWCalcHHParams group;
    group.SetSamplePeriod(window_->SelectedPeriod());
    TfrmCalcParamsMiddle groupForm;
    groupForm.SetParams(&group);
    ASSERT_TRUE(groupForm.Prepare());
    EXPECT_FALSE(groupForm.findChild<QPushButton*>("btnLoadProfiles")->isEnabled());
}
