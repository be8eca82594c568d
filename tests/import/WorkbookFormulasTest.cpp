// The measurement and generalised-data workbooks as a spreadsheet sees them: LibreOffice recalculates every
// formula of a written workbook, and each value must be what the calculation itself gives for the row's
// inputs, empty where the calculation has no value. One LibreOffice start per workbook kind.
#include <gtest/gtest.h>

#include <QHash>
#include <cmath>
#include <random>

#include "host/Database.h"
#include "host/InitOZN.h"
#include "host/NumericHelpers.h"
#include "host/Tree.h"
#include "host/XlsxReader.h"
#include "import/LVZamerData.h"
#include "import/LVZamerSocial.h"
#include "normative/LVNormativUnit.h"
#include "support/TestSupport.h"

using namespace testing_support;

namespace {
// Column numbers by caption (row 1), so that the test finds each quantity as the user does.
QHash<QString, int> ColumnsByCaption(const QString& workbook, int sheet)
{
    TXlsxWorkbook book;
    QString error;
    EXPECT_TRUE(book.Open(workbook, error)) << error.toStdString();
    QHash<QString, int> columns;
    for (int c = 1; c <= 80; ++c)
        if (const QVariant v = book.Cell(sheet, 1, c); v.isValid())
            columns.insert(v.toString(), c);
    return columns;
}

// A recalculated cell against the expected value: both empty, or equal to 1e-12 relative.
void ExpectCell(const QHash<QString, QVariant>& recalculated, const QHash<QString, CachedFormula>& written,
                const QString& address, double expected, const std::string& what)
{
    const QVariant theirs = recalculated.value(address);
    const CachedFormula mine = written.value(address);
    ASSERT_FALSE(mine.formula.isEmpty()) << what << " " << address.toStdString() << " is not a formula";
    const std::string where = what + " " + address.toStdString() + " =" + mine.formula.toStdString();
    if (isEmptyFloat(expected)) {
        EXPECT_TRUE(theirs.typeId() != QMetaType::Double && theirs.toString().isEmpty())
            << where << ": LibreOffice gives " << theirs.toString().toStdString();
        EXPECT_TRUE(mine.value.typeId() != QMetaType::Double && mine.value.toString().isEmpty())
            << where << ": cached " << mine.value.toString().toStdString();
        return;
    }
    const double tolerance = 1e-12 * std::max(1.0, std::fabs(expected));
    ASSERT_EQ(theirs.typeId(), QMetaType::Double)
        << where << ": LibreOffice gives " << theirs.toString().toStdString() << ", expected " << expected;
    EXPECT_NEAR(theirs.toDouble(), expected, tolerance) << where;
    ASSERT_EQ(mine.value.typeId(), QMetaType::Double) << where << ": nothing cached";
    EXPECT_NEAR(mine.value.toDouble(), expected, tolerance) << where << " (cached)";
}

// One element of the generalised data: what the user typed, NaN for an empty cell.
struct SocialInputs {
    double Wa, Wa_bus, T, CosFi, F, NLines, dp, dn, kzap;
    int Unom;
    std::array<double, 15> L;
};

// The normative model fed through its own setters, as the batch calculation feeds it: an empty cell is the
// model's "not given" (-1).
TLVNormativSample0 ModelOf(const SocialInputs& in)
{
    auto v = [](double x) { return std::isnan(x) ? -1.0 : x; };
    TLVNormativSample0 m;
    m.Clear();
    m.SetWa(v(in.Wa));
    m.SetWa_bus(v(in.Wa_bus));
    m.SetT(std::isnan(in.T) ? -1 : static_cast<int>(in.T));
    m.SetUnom(in.Unom);
    m.SetCosFi(v(in.CosFi));
    m.SetF(v(in.F));
    m.SetNLines(std::isnan(in.NLines) ? -1 : static_cast<int>(in.NLines));
    m.Setdp(v(in.dp));
    m.Setdn(v(in.dn));
    m.Setkzap(v(in.kzap));
    for (int i = 0; i < 15; ++i)
        m.SetLength(static_cast<TLVNormativSample0::Length>(i), v(in.L[i]));
    return m;
}

std::vector<SocialInputs> SocialEdgeRows()
{
    const double e = EmptyFloat();
    // Lengths in the model's order: Lma Lms Lmm, L23a L23s L23m, L23ia L23is L23im, L1a L1s L1m, L1ia L1is L1im.
    const std::array<double, 15> some = {1.2, 0.1, 0.05, 0.8, e, 0.2, 0.1, e, e, 1.5, 0.3, e, 0.4, e, 0.02};
    const std::array<double, 15> none = {e, e, e, e, e, e, e, e, e, e, e, e, e, e, e};
    std::array<double, 15> inputsOnly = none;
    inputsOnly[6] = 0.3;   // L23ia only: the two/three-phase equivalent comes from a building input alone
    inputsOnly[13] = 0.2;  // L1is
    std::array<double, 15> zeros = none;
    zeros[0] = 0;
    std::vector<SocialInputs> rows = {
        {250, 20, 8760, 0.92, 50, 1, 0.6, 0.1, 0.5, 0, some},       // everything given
        {250, 20, 8760, 0.92, 50, 3, 0.6, 0.1, 0.5, 0, some},       // three lines share the supply
        {250, 20, 8760, 0.92, 50, 1, 0.6, 0.1, 0.5, 0, none},       // no lengths at all: no loss
        {250, 20, 8760, 0.92, 50, 1, 0.6, 0.1, e, 0, some},         // fill factor not given: the factor 1/3
        {250, 20, 8760, 0.92, 50, 1, 0.6, e, 0.5, 0, some},         // dn not given: no loss, density doubled
        {10, 20, 8760, 0.92, 50, 1, 0.6, 0.1, 0.5, 0, some},        // the busbars take more than the transformation
        {250, e, 744, 0.92, 50, 2, 0.6, 0.1, 0.5, 0, some},         // no supply from the busbars
        {250, 0, 744, 0.92, 50, 2, 0.6, 0.1, 0.5, 0, some},         // busbars 0: the whole transformation
        {250, 20, 8760, 0.92, 50, 1, 0.6, 0.1, 0.5, 1, some},       // 220/127: ku = 3, U = 0.22
        {250, 20, 8760, 0, 50, 1, 0.6, 0.1, 0.5, 0, some},          // cos φ 0: no loss, no density
        {250, 20, 8760, 1, 50, 1, 0, 0, 1, 0, some},                // cos φ 1, dp 0, dn 0, kзап 1
        {250, 20, 8760, 0.9, 50, 1, 1, 1, 0.3, 0, some},            // dp 1, dn 1: no energy passes the first spans
        {250, 20, 8760, 0.9, 50, 1, e, 0.1, 0.3, 0, some},          // dp not given: no k0.4
        {250, 20, e, 0.9, 50, 1, 0.5, 0.1, 0.3, 0, some},           // hours not given
        {250, 20, 8760, 0.9, e, 1, 0.5, 0.1, 0.3, 0, some},         // cross-section not given
        {250, 20, 8760, 0.9, 50, e, 0.5, 0.1, 0.3, 0, some},        // lines not given: no average, no loss
        {0, e, 8760, 0.9, 50, 1, 0.5, 0.1, 0.3, 0, some},           // no transformation
        {e, 5, 8760, 0.9, 50, 1, 0.5, 0.1, 0.3, 0, some},           // busbars alone
        {1e-13, e, 8760, 0.9, 50, 1, 0.5, 0.1, 0.3, 0, some},       // a transformation within 1e-12 of 0
        {120, e, 8760, 0.85, 35, 1, 0.4, 0.2, 0.6, 0, inputsOnly},  // building inputs only
        {120, e, 8760, 0.85, 35, 1, 0.4, 0.2, 0.6, 0, zeros},       // a main line of length 0
        {e, e, e, e, e, e, e, e, e, 0, none},                       // an empty row
    };
    // Random rows: every input empty now and then, the rest within the ranges the workbook accepts.
    std::mt19937 random(20261124);
    std::uniform_real_distribution<double> unit(0, 1);
    auto maybe = [&](double v) { return unit(random) < 0.15 ? e : v; };
    for (int i = 0; i < 40; ++i) {
        SocialInputs r{};
        r.Wa = maybe(unit(random) * 900);
        r.Wa_bus = maybe(unit(random) * 200);
        r.T = maybe(std::round(1 + unit(random) * 8783));
        r.CosFi = maybe(unit(random));
        r.F = maybe(10 + unit(random) * 230);
        r.NLines = maybe(std::round(1 + unit(random) * 9));
        r.dp = maybe(unit(random));
        r.dn = maybe(unit(random));
        r.kzap = maybe(0.05 + unit(random) * 0.95);
        r.Unom = unit(random) < 0.3 ? 1 : 0;
        for (double& l : r.L)
            l = unit(random) < 0.4 ? e : std::round(unit(random) * 3000) / 1000;
        rows.push_back(r);
    }
    return rows;
}
}  // namespace

TEST(WorkbookFormulas, GeneralisedDataAgreesWithTheNormativeModelInLibreOffice)
{
    TempFolder folder;
    const std::vector<SocialInputs> rows = SocialEdgeRows();
    TNodeSocialHigh sheet;
    for (size_t i = 0; i < rows.size(); ++i) {
        const SocialInputs& in = rows[i];
        TNodeSocial& n = sheet.Add(1000 + static_cast<int>(i), Fmt("ТП-%1", i + 1));
        TDataAnaliz& d = n.Data;
        d.Wa = in.Wa;
        d.Wa_bus = in.Wa_bus;
        d.T = std::isnan(in.T) ? -1 : static_cast<int>(in.T);
        d.Unom = in.Unom;
        d.CosFi = in.CosFi;
        d.F = in.F;
        d.NLines = in.NLines;
        d.dp = in.dp;
        d.dn = in.dn;
        d.kzap = in.kzap;
        for (int l = 0; l < 15; ++l)
            d.Lengths[l] = in.L[l];
    }
    const QString book = folder.Path("social.xlsx");
    QString error;
    ASSERT_TRUE(sheet.WriteWorkbook(book, true, true, error)) << error.toStdString();
    const QHash<QString, int> column = ColumnsByCaption(book, 0);
    const QHash<QString, QVariant> recalculated = RecalculatedCells(book, 1);
    const QHash<QString, CachedFormula> written = WorksheetCells(book, 1);
    ASSERT_FALSE(recalculated.isEmpty());
    // The quantities of the model, each found by the caption of its column.
    using Q = std::function<double(TLVNormativSample0&)>;
    auto given = [](double v) { return v < 0 ? EmptyFloat() : v; };
    const std::vector<std::pair<QString, Q>> quantities = {
        {"Отпуск активной электроэнергии, тыс. кВт.ч", [&](auto& m) { return given(m.WaNet()); }},
        {"Магистраль, эквивалентная, км", [&](auto& m) { return given(m.Lm()); }},
        {"Двух- и трехфазные с вводами, эквивалентная, км", [&](auto& m) { return given(m.L23()); }},
        {"Однофазные с вводами, эквивалентная, км", [&](auto& m) { return given(m.L1()); }},
        {"Эквивалентная длина линии, км", [&](auto& m) { return given(m.Lekv()); }},
        {"kU, о.е.", [](auto& m) { return m.ku(); }},
        {"k0.4, о.е.", [&](auto& m) { return given(m.k038()); }},
        {"Потери активной электроэнергии, тыс. кВт·ч", [&](auto& m) { return given(m.deltaWa()); }},
        {"Потери активной электроэнергии, %", [&](auto& m) { return given(m.deltaWaPercent()); }},
        {"Плотность тока, А/мм²", [&](auto& m) { return given(m.CurrentDensity()); }},
        {"Суммарная длина линий, км", [](auto& m) { return m.TotalLength(); }},
        {"Средняя длина линий, км",
         [](auto& m) { return m.GetNLines() >= 1 ? m.TotalLength() / m.GetNLines() : EmptyFloat(); }},
        {"Удельные потери электроэнергии, тыс. кВт·ч/км",
         [](auto& m) {
             return m.deltaWa() >= 0 && m.TotalLength() > 0 ? m.deltaWa() / m.TotalLength() : EmptyFloat();
         }},
        {"Двух- и трехфазные ответвления с вводами, алюминиевые, км", [&](auto& m) { return given(m.GetLengths(6)); }},
        {"Двух- и трехфазные ответвления с вводами, стальные, км", [&](auto& m) { return given(m.GetLengths(9)); }},
        {"Двух- и трехфазные ответвления с вводами, медные, км", [&](auto& m) { return given(m.GetLengths(12)); }},
        {"Однофазные ответвления с вводами, алюминиевые, км", [&](auto& m) { return given(m.GetLengths(18)); }},
        {"Однофазные ответвления с вводами, стальные, км", [&](auto& m) { return given(m.GetLengths(21)); }},
        {"Однофазные ответвления с вводами, медные, км", [&](auto& m) { return given(m.GetLengths(24)); }},
        {"Двух- и трехфазные ответвления, эквивалентная, км", [&](auto& m) { return given(m.GetLengths(13)); }},
        {"Ввода в здания от двух- и трехфазных, эквивалентная, км", [&](auto& m) { return given(m.GetLengths(14)); }},
        {"Однофазные ответвления, эквивалентная, км", [&](auto& m) { return given(m.GetLengths(25)); }},
        {"Ввода в здания от однофазных, эквивалентная, км", [&](auto& m) { return given(m.GetLengths(26)); }},
    };
    int compared = 0, losses = 0;
    for (size_t i = 0; i < rows.size(); ++i) {
        TLVNormativSample0 m = ModelOf(rows[i]);
        losses += m.deltaWa() > 0 ? 1 : 0;
        const int row = TNodeSocialHigh::FirstRow + static_cast<int>(i);
        for (const auto& [name, quantity] : quantities) {
            ASSERT_TRUE(column.contains(name)) << name.toStdString();
            ExpectCell(recalculated, written, GetNameCell(column.value(name), row), quantity(m),
                       "row " + std::to_string(i + 1) + " «" + name.toStdString() + "»");
            ++compared;
        }
    }
    EXPECT_EQ(compared, static_cast<int>(rows.size() * quantities.size()));
    EXPECT_GE(losses, 15);  // the rows reach the loss, not only its refusals
    // Every formula of the sheet is among those compared or caches what LibreOffice computes.
    EXPECT_EQ(ExpectFormulasAsRecalculated(book, 1), static_cast<int>(rows.size() * 23));
}

namespace {
// The measurement workbooks, filled from the demo network and then given the rows of the test.
class MeasurementFormulas : public DatabaseTest {
protected:
    void SetUp() override
    {
        OpenNew(true);
        tp_ = IntScalar(*c_, "select first 1 nod.guid from \"Nodes\" nod where exists (select 1 from "
                             "\"LVFiders\" lf where lf.\"OwnerGUID\"=nod.guid) order by 1");
        sample_ = IntScalar(*c_, "select max(\"Ident\") from \"SamplesDates\" where \"Period\"=1");
        defaultKzap_ = Init()->GetDefaultKzap();
        defaultCos_ = Init()->GetDefaultCosFi();
    }

    // Records of the test after the loaded ones, each a copy of the first with its own ident.
    static TLVZamerRecord& AddRecord(TLVZamerData& data, int kind)
    {
        TLVZamerRecord r;
        r.TypeRec = kind;
        r.Guid = 900000 + static_cast<int>(data.Records().size());
        r.Name = Fmt("Строка %1", data.Records().size() + 1);
        r.Num = static_cast<int>(data.Records().size()) + 1;
        r.NumStr = TLVZamerData::FirstRow + static_cast<int>(data.Records().size());
        data.Records().push_back(r);
        return data.Records().back();
    }
    static TLVZamerConsumer& AddConsumer(TLVZamerData& data)
    {
        TLVZamerConsumer c;
        c.Guid = 800000 + static_cast<int>(data.Consumers().size());
        c.Name = Fmt("Абонент %1", data.Consumers().size() + 1);
        c.Num = static_cast<int>(data.Consumers().size()) + 1;
        c.NumStr = TLVZamerData::FirstRow + static_cast<int>(data.Consumers().size());
        data.Consumers().push_back(c);
        return data.Consumers().back();
    }

    // The consumers of the test: energies, cos φ and load kinds given and missing in turn.
    void FillConsumers(TLVZamerData& data)
    {
        data.Consumers().clear();
        const double e = EmptyFloat();
        struct In {
            double w, wr, cos, kind;
        };
        const In rows[] = {{12.5, 4, 0.95, e}, {12.5, e, 0.8, e}, {12.5, e, e, 0.85}, {12.5, e, e, e},
                           {e, e, e, e},       {0, 3, 0.9, e},    {e, 2, e, 0.7},     {7, 0, e, e},
                           {3, 1.5, 1, 0.9},   {40, e, 0.5, 0.8}};
        for (const In& in : rows) {
            TLVZamerConsumer& c = AddConsumer(data);
            c.W_sum = in.w;
            c.Wr = in.wr;
            c.CosFi = in.cos;
            c.KindCosFi = in.kind;
        }
    }

    // cos φ the calculation takes for a consumer without usable energies, worked out by hand.
    double CosTaken(const TLVZamerConsumer& c) const
    {
        if (!isEmptyFloat(c.CosFi) && c.CosFi > 0 && c.CosFi <= 1)
            return c.CosFi;
        if (!isEmptyFloat(c.KindCosFi))
            return c.KindCosFi;
        return defaultCos_;
    }
    void ExpectConsumers(const QString& book, const TLVZamerData& data)
    {
        const QHash<QString, QVariant> recalculated = RecalculatedCells(book, 2);
        const QHash<QString, CachedFormula> written = WorksheetCells(book, 2);
        const QHash<QString, int> column = ColumnsByCaption(book, 1);
        auto z = [](double v) { return isEmptyFloat(v) ? 0.0 : v; };
        for (const TLVZamerConsumer& c : data.Consumers()) {
            const std::string what = "consumer " + c.Name.toStdString();
            const double w = z(c.W_sum), wr = z(c.Wr), cos = CosTaken(c);
            ExpectCell(recalculated, written, GetNameCell(column.value("S, тыс. кВ·А·ч"), c.NumStr), std::hypot(w, wr),
                       what + " S");
            ExpectCell(recalculated, written, GetNameCell(column.value("Wr по cosφ, тыс. квар·ч"), c.NumStr),
                       w * std::sqrt(1 - cos * cos) / cos, what + " Wr");
            const bool byEnergies = w > 0 && !isEmptyFloat(c.Wr);
            ExpectCell(recalculated, written, GetNameCell(column.value("cosφ по W и Wr"), c.NumStr),
                       byEnergies ? w / std::hypot(w, wr) : cos, what + " cos");
        }
        EXPECT_EQ(ExpectFormulasAsRecalculated(book, 2), static_cast<int>(data.Consumers().size() * 3));
    }

    int tp_ = 0, sample_ = 0;
    double defaultKzap_ = 0, defaultCos_ = 0;
};

// τ / T of a fill factor, by hand.
double TauOf(double k) { return k * (1 + 2 * k) / 3; }
}  // namespace

TEST_F(MeasurementFormulas, EnergyWorkbookAgreesWithTheCalculationInLibreOffice)
{
    TLVZamerData data(TLVZamerKind::W);
    data.Load(*c_, db_->GetTree()->Find(tp_), sample_, 8760, true, true);
    ASSERT_GE(data.Records().size(), 2u);
    const double e = EmptyFloat();
    struct In {
        double w, t, kzap, kf2;
        std::array<double, 3> i;
    };
    const In rows[] = {
        {120, 8760, 0.45, e, {50, 60, 70}},  // fill factor only
        {120, e, 0.45, e, {50, 60, e}},      // hours of the interval; a phase current missing: no mean
        {120, 744, e, 1.4, {1, 2, 3}},       // form factor only: the fill factor comes from it
        {120, 744, 0.7, 1.4, {e, e, e}},     // both: the form factor decides
        {e, 8760, e, e, {10, 10, 10}},       // no energy, no curve: the default fill factor
        {0, 1, 1, e, {0, 0, 0}},             // one hour, a flat load
        {55.5, 8784, 0.05, e, {e, 1, 2}},    // a leap year
        {3, e, e, 1, {5, 5, 5}},             // Kф² of 1
    };
    for (const In& in : rows) {
        TLVZamerRecord& r = AddRecord(data, TLVZamerRecord::Line);
        r.W_sum = in.w;
        r.T = in.t;
        r.Kzap = in.kzap;
        r.sqrKfg = in.kf2;
        r.I = in.i;
        r.Phases[1] = !std::isnan(in.i[0]) && !std::isnan(in.i[1]) && !std::isnan(in.i[2]);
    }
    FillConsumers(data);
    const QString book = folder_.Path("w.xlsx");
    QString error;
    ASSERT_TRUE(data.WriteWorkbook(book, error)) << error.toStdString();
    const QHash<QString, QVariant> recalculated = RecalculatedCells(book, 1);
    const QHash<QString, CachedFormula> written = WorksheetCells(book, 1);
    const QHash<QString, int> column = ColumnsByCaption(book, 0);
    for (const TLVZamerRecord& r : data.Records()) {
        const std::string what = "row " + r.Name.toStdString();
        const double w = r.TypeRec == TLVZamerRecord::TP ? r.W : r.W_sum;
        const double t = std::isnan(r.T) ? 8760 : r.T;
        const bool allI = !std::isnan(r.I[0]) && !std::isnan(r.I[1]) && !std::isnan(r.I[2]);
        ExpectCell(recalculated, written, GetNameCell(column.value("Iср, А"), r.NumStr),
                   allI ? (r.I[0] + r.I[1] + r.I[2]) / 3 : e, what + " Iср");
        ExpectCell(recalculated, written, GetNameCell(column.value("Pср, кВт"), r.NumStr),
                   std::isnan(w) ? 0 : w * 1000 / t, what + " Pср");
        const double k = !std::isnan(r.sqrKfg) ? 1 / (3 * r.sqrKfg - 2) : !std::isnan(r.Kzap) ? r.Kzap : defaultKzap_;
        ExpectCell(recalculated, written, GetNameCell(column.value("τ, о.е."), r.NumStr), TauOf(k), what + " τ");
    }
    EXPECT_EQ(ExpectFormulasAsRecalculated(book, 1), static_cast<int>(data.Records().size() * 3));
    ExpectConsumers(book, data);
}

TEST_F(MeasurementFormulas, PeakLoadWorkbookAgreesWithTheCalculationInLibreOffice)
{
    TLVZamerData data(TLVZamerKind::Tmax);
    data.Load(*c_, db_->GetTree()->Find(tp_), sample_, 8760, true, true);
    const double e = EmptyFloat();
    struct In {
        double wa, t, tau, kzap, tmax;
    };
    const In rows[] = {
        {80, 8760, 2500, 0.4, 4000},  // τ given: it decides
        {80, e, 2500, e, e},          // τ with the interval's hours
        {80, 744, e, 0.4, 300},       // the fill factor next
        {80, 744, e, e, 300},         // then Tmax / T
        {e, 8760, e, e, e},           // nothing: the default fill factor
        {0, 8760, 0, e, 0},           // τ of 0
        {5, 2, 2, 1, 2},              // τ equal to the hours: a flat load
    };
    for (const In& in : rows) {
        TLVZamerRecord& r = AddRecord(data, TLVZamerRecord::Line);
        r.W_sum = in.wa;
        r.T = in.t;
        r.Tau = in.tau;
        r.Kzap = in.kzap;
        r.Tmax = in.tmax;
    }
    FillConsumers(data);
    const QString book = folder_.Path("tmax.xlsx");
    QString error;
    ASSERT_TRUE(data.WriteWorkbook(book, error)) << error.toStdString();
    const QHash<QString, QVariant> recalculated = RecalculatedCells(book, 1);
    const QHash<QString, CachedFormula> written = WorksheetCells(book, 1);
    const QHash<QString, int> column = ColumnsByCaption(book, 0);
    for (const TLVZamerRecord& r : data.Records()) {
        const std::string what = "row " + r.Name.toStdString();
        const double t = std::isnan(r.T) ? 8760 : r.T;
        const double wa = r.TypeRec == TLVZamerRecord::TP ? r.W : r.W_sum;
        ExpectCell(recalculated, written, GetNameCell(column.value("Pср, кВт"), r.NumStr),
                   std::isnan(wa) ? 0 : wa * 1000 / t, what + " Pср");
        // The fill factor whose τ is the given one: the positive root of 2k² + k − 3 τ/T = 0.
        const double byTau = std::isnan(r.Tau) ? e : (std::sqrt(1 + 24 * r.Tau / t) - 1) / 4;
        ExpectCell(recalculated, written, GetNameCell(column.value("Kзап по τ, о.е."), r.NumStr), byTau,
                   what + " Kзап по τ");
        const double tauRel = !std::isnan(r.Tau)    ? r.Tau / t
                              : !std::isnan(r.Kzap) ? TauOf(r.Kzap)
                              : !std::isnan(r.Tmax) ? TauOf(r.Tmax / t)
                                                    : TauOf(defaultKzap_);
        ExpectCell(recalculated, written, GetNameCell(column.value("τ, о.е."), r.NumStr), tauRel, what + " τ");
    }
    EXPECT_EQ(ExpectFormulasAsRecalculated(book, 1), static_cast<int>(data.Records().size() * 4));
    ExpectConsumers(book, data);
}
