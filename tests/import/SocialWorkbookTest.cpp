#include <gtest/gtest.h>

#include <QCheckBox>

#include "host/Database.h"
#include "host/Dialogs.h"
#include "host/NumericHelpers.h"
#include "host/SamplePeriods.h"
#include "host/XlsxReader.h"
#include "import/LVZamerSocial.h"
#include "import/ZamerSheets.h"
#include "import/xlsLVZamerSocialDLL.h"
#include "normative/LVNormativUnit.h"
#include "support/TestSupport.h"

using namespace testing_support;

namespace {
class Social : public DatabaseTest {
protected:
    void SetUp() override
    {
        OpenNew(true);
        for (const TSamplePeriodInfo& p : db_->GetSamplePeriods()->Items())
            if (p.Period == 1)
                years_.push_back(p);
        ASSERT_GE(years_.size(), 3u);
        tp_ = IntScalar(*c_, Fmt("select first 1 guid from \"LVWResultsB\" where "
                                 "\"SampleIdent\"=%1 order by guid",
                                 years_[0].Ident));
    }
    std::vector<TSamplePeriodInfo> years_;
    int tp_ = 0;
};
}  // namespace

TEST_F(Social, RecordsTakeTheNearestSchemeAndKeepItOnSaving)
{
    TDataAnaliz d;
    ASSERT_TRUE(d.ReadRecord(*c_, tp_, years_[0]));
    const int info = d.Info;
    EXPECT_FALSE(isEmptyFloat(d.Wa));
    EXPECT_FALSE(isEmptyFloat(d.deltaWa));
    // The same inputs give the model's numbers.
    TLVNormativSample0 model;
    model.Period = years_[0];
    model.SetWa(d.Wa);
    model.Setdp(d.dp);
    EXPECT_DOUBLE_EQ(d.k038(), model.k038());

    // The later years without their results: the scheme carries over, the energies start empty.
    Exec(*c_, Fmt("delete from \"LVWResultsB\" where guid=%1 and \"SampleIdent\" in (%2, %3)", tp_, years_[1].Ident,
                  years_[2].Ident));
    TDataAnaliz next;
    ASSERT_TRUE(next.ReadRecord(*c_, tp_, years_[1]));
    EXPECT_EQ(next.Info, info);
    EXPECT_TRUE(isEmptyFloat(next.Wa));
    EXPECT_EQ(next.T, -1);
    EXPECT_DOUBLE_EQ(next.dp, d.dp);
    next.Wa = 300;
    next.T = 8760;
    c_->StartTransaction(false);
    next.SaveRecord(*c_, tp_, years_[1].Ident);
    c_->Commit();
    EXPECT_EQ(Scalar(*c_, Fmt("select \"Info\" from \"LVWResultsB\" where guid=%1 and \"SampleIdent\"=%2", tp_,
                              years_[1].Ident)),
              info);
    EXPECT_EQ(next.Flags & TDataAnaliz::HasLoss, TDataAnaliz::HasLoss);
    // A changed scheme shared with the earlier year is written under a key of its own; the earlier year keeps
    // the inputs its result was calculated from.
    const double dpBefore = d.dp;
    next.dp = dpBefore / 2;
    c_->StartTransaction(false);
    next.SaveRecord(*c_, tp_, years_[1].Ident);
    c_->Commit();
    EXPECT_NE(next.Info, info);
    EXPECT_EQ(Scalar(*c_, Fmt("select \"Info\" from \"LVWResultsB\" where guid=%1 and \"SampleIdent\"=%2", tp_,
                              years_[1].Ident)),
              next.Info);
    EXPECT_DOUBLE_EQ(Scalar(*c_, Fmt("select \"dp\" from \"LVFidersB\" where \"Ident\"=%1", info)), dpBefore);
    EXPECT_DOUBLE_EQ(Scalar(*c_, Fmt("select \"dp\" from \"LVFidersB\" where \"Ident\"=%1", next.Info)), dpBefore / 2);
    EXPECT_EQ(Scalar(*c_, Fmt("select \"Info\" from \"LVWResultsB\" where guid=%1 and \"SampleIdent\"=%2", tp_,
                              years_[0].Ident)),
              info);
    Exec(*c_, Fmt("update \"LVWResultsB\" set \"Info\"=%1 where guid=%2 and \"SampleIdent\"=%3", info, tp_,
                  years_[1].Ident));

    // Earlier and later stored periods: the earlier one wins.
    Exec(*c_, Fmt("update \"LVWResultsB\" set \"Info\"=%1 where guid=%2 and \"SampleIdent\"=%3", info + 1000, tp_,
                  years_[1].Ident));
    Exec(*c_, Fmt("insert into \"LVFidersB\" (\"Ident\", \"dp\") values (%1, 0.25)", info + 1000));
    Exec(*c_, Fmt("delete from \"LVWResultsB\" where guid=%1 and \"SampleIdent\"=%2", tp_, years_[0].Ident));
    Exec(*c_, Fmt("insert into \"LVWResultsB\" (\"SampleIdent\", guid, \"Info\") values (%1, %2, %3)", years_[2].Ident,
                  tp_, info));
    TDataAnaliz middle;
    ASSERT_TRUE(middle.ReadRecord(*c_, tp_, years_[0]));  // only the later periods: the earliest of them
    EXPECT_EQ(middle.Info, info + 1000);
    Exec(*c_, Fmt("delete from \"LVWResultsB\" where guid=%1 and \"SampleIdent\"=%2", tp_, years_[1].Ident));
    Exec(*c_, Fmt("insert into \"LVWResultsB\" (\"SampleIdent\", guid, \"Info\") values (%1, %2, %3)", years_[0].Ident,
                  tp_, info + 1000));
    ASSERT_TRUE(middle.ReadRecord(*c_, tp_, years_[1]));  // 2023 before and 2025 after: 2023 wins
    EXPECT_EQ(middle.Info, info + 1000);

    // Supply below the busbars: flags 2 and 4.
    TDataAnaliz low;
    low.Wa = 10;
    low.Wa_bus = 20;
    low.Calculate();
    EXPECT_EQ(low.Flags, TDataAnaliz::HasLoss | TDataAnaliz::SupplyBelowBusbars);

    TNodeSocial node(1, "x");
    try {
        node.GetItem(0);
        FAIL() << "a missing child must be refused";
    } catch (const std::out_of_range& e) {
        EXPECT_STREQ(e.what(), "Не верный индекс");
    }
}

TEST_F(Social, RowsOfALevelEnergiesAndTheWorkbookRoundTrip)
{
    const int fider = IntScalar(*c_, Fmt("select \"OwnerGUID\" from \"Nodes\" where guid=%1", tp_));
    TNodeSocialHigh high;
    high.Open(*c_, fider, 5, years_[0]);
    ASSERT_GT(high.Count(), 1);
    const double lowSide = Scalar(*c_, Fmt("select count(*) from \"Nodes\" nod left join \"Transforms2\" t2 "
                                           "on t2.\"Ident\"=nod.\"Transf\" left join \"TransformsSS\" ts on "
                                           "ts.\"Ident\"=nod.\"Transf\" where nod.\"OwnerGUID\"=%1 and "
                                           "(t2.\"UnomH\"<1 or ts.\"UnomH1\"<1 or ts.\"UnomH2\"<1)",
                                           fider));
    EXPECT_EQ(high.Count(), lowSide);
    EXPECT_THROW(high.ChangePeriod(*c_, TSamplePeriodInfo{987654, "нет", 1, {}, {}, {}}), std::runtime_error);

    // Energies of a substation: no monthly values in the demo, the year's own medium-voltage result answers.
    high.FillEnergies(*c_, *db_->GetTree());
    const TNodeSocial& first = high.GetItem(0);
    const double wn = Scalar(*c_, Fmt("select sum(wn.\"Wa\") from \"WResultsN\" wn join \"MVResults\" mv on "
                                      "mv.\"Ident\"=wn.\"Ident\" where wn.guid=%1 and mv.\"SampleIdent\"=%2",
                                      first.GUID, years_[0].Ident));
    EXPECT_NEAR(first.Data.Wa, wn, 1e-9);
    EXPECT_TRUE(first.Edited);

    // The workbook: inputs in cells, derived values as formulas.
    const QString book = folder_.Path("social.xlsx");
    QString error;
    ASSERT_TRUE(high.WriteWorkbook(book, true, false, error)) << error.toStdString();
    const QString sheet = QString::fromUtf8(ReadZipEntry(book, "xl/worksheets/sheet1.xml"));
    EXPECT_TRUE(sheet.contains(",AE3+4*AH3+6/10*AK3,"));  // single-phase equivalent: columns 31, 34, 37
    EXPECT_TRUE(sheet.contains(",AE3+AF3,"));             // single-phase aluminium with its inputs
    EXPECT_TRUE(sheet.contains("7.78-2.67*L3-1.48*L3*L3)*(1.25+0.14*L3)"));
    EXPECT_TRUE(sheet.contains("IF(AND(ISNUMBER(D3),ISNUMBER(AV3),D3&lt;&gt;0)"));
    EXPECT_TRUE(sheet.contains("AV3/D3*100"));
    EXPECT_TRUE(sheet.contains("SQRT(3)"));
    // The inputs refuse what the model refuses, and only they are open to the user.
    EXPECT_TRUE(sheet.contains("<sheetProtection "));
    EXPECT_TRUE(sheet.contains("<dataValidation type=\"list\""));
    EXPECT_TRUE(sheet.contains("<formula1>\"400/230,220/127\"</formula1>"));
    EXPECT_TRUE(sheet.contains("<formula1>AND(ISNUMBER(N3),N3&gt;0,N3&lt;=1)</formula1>"));  // kзап in (0, 1]
    TXlsxWorkbook read;
    ASSERT_TRUE(read.Open(book, error));
    EXPECT_EQ(read.SheetNames(), QStringList({"ТП", "Параметры книги"}));
    EXPECT_EQ(read.Cell(0, 3, 8).toString(), "400/230");

    EXPECT_EQ(high.Save(*c_, TConflictChoice::Refuse).Written, high.Count());  // the energies filled mark every row
    EXPECT_NEAR(Scalar(*c_, Fmt("select \"Wa\" from \"LVWResultsB\" where guid=%1 and \"SampleIdent\"=%2", first.GUID,
                                years_[0].Ident)),
                wn, 1e-9);
    EXPECT_EQ(high.ReadWorkbook(book, error), 0);  // the workbook holds what was saved

    // A user's change in the workbook: the row is marked, saved with its results.
    const QString changed = folder_.Path("social2.xlsx");
    ASSERT_TRUE(high.WriteWorkbook(changed, true, true, error));
    TypeTextIntoCell(changed, 1, "L3", "0.5");
    // Values the model would not take are refused with their cells, and nothing of that workbook is taken:
    // hours beyond a year, a fractional count of lines, a cos φ above 1, a negative length, a fill factor of 0.
    TNodeSocialHigh wrong;
    wrong.Open(*c_, fider, 5, years_[0]);
    TDataAnaliz& bad = wrong.GetItem(0).Data;
    bad.T = 2000000000;
    bad.dp = 0.7;
    bad.NLines = 2.5;
    bad.CosFi = 1.5;
    bad.kzap = 0;
    wrong.GetItem(1).Data.Lengths[0] = -1;
    const QString refused = folder_.Path("social3.xlsx");
    ASSERT_TRUE(wrong.WriteWorkbook(refused, true, true, error));
    EXPECT_EQ(high.ReadWorkbook(refused, error), -1);
    for (const char* line : {"ячейка G3: «2000000000» — Расчетный период, ч: целое число часов от 1 до 8784",
                             "ячейка K3: «2.5» — Количество линий, шт.: целое число от 1",
                             "ячейка I3: «1.5» — Коэффициент мощности cosφ: число от 0 до 1",
                             "ячейка N3: «0» — Коэффициент заполнения графика, о.е.: число больше 0 и не больше 1",
                             "ячейка O4: «-1» — Магистраль, алюминиевые, км: число не меньше 0"})
        EXPECT_TRUE(error.contains(QString::fromUtf8(line))) << line << "\n" << error.toStdString();
    EXPECT_FALSE(high.GetItem(0).Edited);
    EXPECT_FALSE(high.GetItem(1).Edited);

    EXPECT_EQ(high.ReadWorkbook(changed, error), 1);
    EXPECT_EQ(high.Save(*c_, TConflictChoice::Refuse).Written, 1);
    TDataAnaliz back;
    ASSERT_TRUE(back.ReadRecord(*c_, first.GUID, years_[0]));
    EXPECT_DOUBLE_EQ(back.dp, 0.5);
    EXPECT_DOUBLE_EQ(back.k038Value, back.k038());
}

TEST_F(Social, FormOfTheWorkbook)
{
    SetCurrentDatabase(db_.get());
    host::ScriptedDialogs dialogs;
    host::ScopedDialogs scope(&dialogs);
    const int fider = IntScalar(*c_, Fmt("select \"OwnerGUID\" from \"Nodes\" where guid=%1", tp_));
    TxlsLVZamerSocialForm form;
    form.SetFileName(folder_.Path("form.xlsx"));
    form.SetParam(fider);
    ASSERT_TRUE(form.CanOpen());
    form.SelectInterval(years_[0].Ident);
    ASSERT_GT(form.Rows().Count(), 1);
    EXPECT_EQ(form.Rows().Level(), 5);
    form.FillEnergies();
    // The user is told where the energies came from.
    ASSERT_FALSE(dialogs.Texts().isEmpty());
    EXPECT_TRUE(dialogs.Texts().last().startsWith("Строк заполнено по источникам:\nТрансформация в сеть: "))
        << dialogs.Texts().last().toStdString();
    ASSERT_TRUE(form.WriteWorkbook());
    const QString captionsRow = QStringLiteral("<row r=\"1\" spans=\"1:52\" ht=\"90\" hidden=\"1\"");
    EXPECT_FALSE(
        QString::fromUtf8(ReadZipEntry(folder_.Path("form.xlsx"), "xl/worksheets/sheet1.xml")).contains(captionsRow));
    form.findChild<QCheckBox*>("cbCaptionns")->setChecked(false);
    ASSERT_TRUE(form.WriteWorkbook());
    EXPECT_TRUE(
        QString::fromUtf8(ReadZipEntry(folder_.Path("form.xlsx"), "xl/worksheets/sheet1.xml")).contains(captionsRow));
    form.SetReadOnly(true);
    EXPECT_FALSE(form.Save());
    form.SetReadOnly(false);
    EXPECT_TRUE(form.Save());
    EXPECT_EQ(form.Log().last().value, form.Rows().Count());
    ASSERT_TRUE(form.ReadWorkbook());
    EXPECT_EQ(form.Log().last().value, 0);

    // The user saves an edit in the spreadsheet: another level is shown only after a question, and
    // "Сохранить" reads the workbook before storing.
    TypeTextIntoCell(form.Workbook(), 1, "L3", "0.35");
    dialogs.AnswerMessage(host::mrNo);
    form.SelectLevel(6);
    EXPECT_EQ(form.Rows().Level(), 5);
    EXPECT_TRUE(dialogs.Texts().last().startsWith("Будут потеряны правки в книге"));
    EXPECT_TRUE(form.Save());
    EXPECT_DOUBLE_EQ(Scalar(*c_, Fmt("select f.\"dp\" from \"LVWResultsB\" r join \"LVFidersB\" f on "
                                     "f.\"Ident\"=r.\"Info\" where r.guid=%1 and r.\"SampleIdent\"=%2",
                                     form.Rows().GetItem(0).GUID, years_[0].Ident)),
                     0.35);
    EXPECT_FALSE(form.Save());  // nothing more to store, and the user is told so
    EXPECT_TRUE(dialogs.Texts().last().startsWith("Нет изменений для сохранения"));
    form.SelectLevel(6);  // the feeder's LV lines
    EXPECT_EQ(form.Rows().Count(), Scalar(*c_, Fmt("select count(*) from \"LVFiders\" lf join \"Nodes\" "
                                                   "nod on nod.guid=lf.\"OwnerGUID\" where "
                                                   "nod.\"OwnerGUID\"=%1",
                                                   fider)));
    EXPECT_EQ(form.Rows().Level(), 6);
    SetCurrentDatabase(nullptr);
}
