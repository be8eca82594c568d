// The worksheet of the generalised data: one row per element, the inputs in cells that refuse what the
// normative model refuses, and every derived value as a live formula that gives the model's own number.
//
// Each formula writer below says which rule of the model it reproduces. Inputs are read back only when every
// cell passes its rule, so the formulas may take an input cell as either empty or valid; they still wrap
// reads in N() where a stray text would otherwise turn the cell into an error. The value cached beside each
// formula is the model's (TLVNormativSample0 through TDataAnaliz::Model), so a spreadsheet that does not
// recalculate on opening shows the same numbers.
#include <QHash>
#include <cmath>
#include <functional>
#include <xlsxwriter.h>

#include "host/InputRanges.h"
#include "host/NumericHelpers.h"
#include "host/Progress.h"
#include "host/XlsxFile.h"
#include "host/XlsxReader.h"
#include "import/LVZamerSocial.h"
#include "import/SheetInputs.h"
#include "import/ZamerSheets.h"
#include "normative/LVNormativUnit.h"

using S = TLVNormativSample0;

namespace {
QByteArray utf8(const QString& s) { return s.toUtf8(); }
QString c(int column, int row) { return GetNameCell(column, row); }

// Worksheet columns.
enum Col {
    cNum = 1,
    cName,
    cGuid,
    cWa,
    cWaBus,
    cWaNet,
    cT,
    cUnom,
    cCosFi,
    cF,
    cNLines,
    cdp,
    cdn,
    ckzap,
    cLma,
    cLms,
    cLmm,
    cLmEkv,
    cL23a,
    cL23ia,
    cL23aSum,
    cL23s,
    cL23is,
    cL23sSum,
    cL23m,
    cL23im,
    cL23mSum,
    cL23Ekv,
    cL23iEkv,
    cL23EkvSum,
    cL1a,
    cL1ia,
    cL1aSum,
    cL1s,
    cL1is,
    cL1sSum,
    cL1m,
    cL1im,
    cL1mSum,
    cL1Ekv,
    cL1iEkv,
    cL1EkvSum,
    cLsum,
    cLavg,
    cLekv,
    cku,
    ck038,
    cdWa,
    cdWaProc,
    cdWaL,
    cSI,
    cLast = cSI,
    cWritten,  // hidden: the inputs as written
};
// The length inputs in the order of the model's lengths.
const int kLengthColumns[TDataAnaliz::LengthCount] = {cLma,   cLms, cLmm, cL23a, cL23s, cL23m, cL23ia, cL23is,
                                                      cL23im, cL1a, cL1s, cL1m,  cL1ia, cL1is, cL1im};
const char* const kUnomTexts[2] = {"400/230", "220/127"};

// Captions of the worksheet's columns.
QString caption(int column)
{
    static const QHash<int, QString> captions = [] {
        QHash<int, QString> h{{cNum, "№ п/п"},
                              {cName, "Наименование"},
                              {cGuid, "Код"},
                              {cWa, "Трансформация в сеть 0,4 кВ, тыс. кВт.ч"},
                              {cWaBus, "Полезный отпуск с шин, тыс. кВт.ч"},
                              {cWaNet, "Отпуск активной электроэнергии, тыс. кВт.ч"},
                              {cT, "Расчетный период, ч"},
                              {cUnom, "Номинальное напряжение, В"},
                              {cCosFi, "Коэффициент мощности cosφ"},
                              {cF, "Сечение головного участка, мм²"},
                              {cNLines, "Количество линий, шт."},
                              {cdp, "Доля энергии, отпускаемой населению, о.е."},
                              {cdn, "Доля электроэнергии на расстоянии 1-2 пролета от ТП, о.е."},
                              {ckzap, "Коэффициент заполнения графика, о.е."},
                              {cLmEkv, "Магистраль, эквивалентная, км"},
                              {cL23Ekv, "Двух- и трехфазные ответвления, эквивалентная, км"},
                              {cL23iEkv, "Ввода в здания от двух- и трехфазных, эквивалентная, км"},
                              {cL23EkvSum, "Двух- и трехфазные с вводами, эквивалентная, км"},
                              {cL1Ekv, "Однофазные ответвления, эквивалентная, км"},
                              {cL1iEkv, "Ввода в здания от однофазных, эквивалентная, км"},
                              {cL1EkvSum, "Однофазные с вводами, эквивалентная, км"},
                              {cLsum, "Суммарная длина линий, км"},
                              {cLavg, "Средняя длина линий, км"},
                              {cLekv, "Эквивалентная длина линии, км"},
                              {cku, "kU, о.е."},
                              {ck038, "k0.4, о.е."},
                              {cdWa, "Потери активной электроэнергии, тыс. кВт·ч"},
                              {cdWaProc, "Потери активной электроэнергии, %"},
                              {cdWaL, "Удельные потери электроэнергии, тыс. кВт·ч/км"},
                              {cSI, "Плотность тока, А/мм²"}};
        const char* groups[3] = {"Магистраль", "Двух- и трехфазные ответвления", "Однофазные ответвления"};
        const char* materials[3] = {"алюминиевые", "стальные", "медные"};
        for (int m = 0; m < 3; ++m) {
            h.insert(cLma + m, QStringLiteral("%1, %2, км").arg(groups[0], materials[m]));
            h.insert(cL23a + 3 * m, QStringLiteral("%1, %2, км").arg(groups[1], materials[m]));
            h.insert(cL23ia + 3 * m, QStringLiteral("Ввода в здания, %1, км").arg(materials[m]));
            h.insert(cL23aSum + 3 * m, QStringLiteral("%1 с вводами, %2, км").arg(groups[1], materials[m]));
            h.insert(cL1a + 3 * m, QStringLiteral("%1, %2, км").arg(groups[2], materials[m]));
            h.insert(cL1ia + 3 * m, QStringLiteral("Ввода в здания, %1, км").arg(materials[m]));
            h.insert(cL1aSum + 3 * m, QStringLiteral("%1 с вводами, %2, км").arg(groups[2], materials[m]));
        }
        return h;
    }();
    return captions.value(column);
}

// What each input cell accepts: the ranges in which the model takes a value as given. A value the model would
// drop (a cos φ of 1.5, a negative length) is refused instead, so that nothing the user typed is lost unseen.
struct Input {
    int column;
    TInputRule rule;
};
QString ruleText(int column, const QString& range) { return caption(column) + QStringLiteral(": ") + range; }
const std::vector<Input>& inputs()
{
    static const std::vector<Input> list = [] {
        // The hint of an empty cell follows the range.
        auto hinted = [](TInputRule rule, int column, const QString& empty) {
            rule.message = ruleText(column, rule.message + QStringLiteral("; пустая ячейка — ") + empty);
            return rule;
        };
        auto plain = [](TInputRule rule, int column) {
            rule.message = ruleText(column, rule.message);
            return rule;
        };
        const QString none = QStringLiteral("нет данных");
        std::vector<Input> l{
            {cWa, hinted(host::ranges::Energy(), cWa, none)},
            {cWaBus, hinted(host::ranges::Energy(), cWaBus, none)},
            {cT, plain(host::ranges::IntervalHours(), cT)},
            {cUnom, TInputRule::OneOf({kUnomTexts[0], kUnomTexts[1]},
                                      ruleText(cUnom, QStringLiteral("«400/230» или «220/127»")))},
            {cCosFi, hinted(host::ranges::Share(), cCosFi, none)},
            {cF, hinted(host::ranges::CrossSection(), cF, none)},
            {cNLines, plain(host::ranges::LineCount(), cNLines)},
            {cdp, hinted(host::ranges::Share(), cdp, none)},
            {cdn, hinted(host::ranges::Share(), cdn, none)},
            // The model divides by the fill factor: 0 has no loss to give.
            {ckzap, hinted(host::ranges::FillFactor(), ckzap, QStringLiteral("1/3 в формуле потерь"))},
        };
        for (int column : kLengthColumns)
            l.push_back({column, hinted(host::ranges::Length(), column, none)});
        return l;
    }();
    return list;
}

// Formula pieces. given(x): the cell holds a number; the model's "not given" is an empty cell.
QString isNumber(int column, int row) { return QStringLiteral("ISNUMBER(%1)").arg(c(column, row)); }
// A share of the model ([0, 1]) as the model takes it: given and within range.
QString share(int column, int row) { return QStringLiteral("ISNUMBER(%1),N(%1)>=0,N(%1)<=1").arg(c(column, row)); }
// The whole-number inputs as the model holds them (it keeps whole hours and lines).
QString whole(int column, int row) { return QStringLiteral("ROUND(N(%1),0)").arg(c(column, row)); }
QString roundedCell(int column, int row) { return QStringLiteral("ROUND(%1,0)").arg(c(column, row)); }

// The model's material equivalent of three length cells: nothing when none of them is given, else
// aluminium + 4 × steel + 0.6 × copper with an empty cell counting 0.
QString materialEquivalent(int aluminium, int steel, int copper, int row)
{
    return QStringLiteral("IF(OR(%1,%2,%3),%4+4*%5+6/10*%6,\"\")")
        .arg(isNumber(aluminium, row), isNumber(steel, row), isNumber(copper, row), c(aluminium, row), c(steel, row),
             c(copper, row));
}
// The same over cells that are themselves formulas, which answer an empty text where the model has nothing.
QString materialEquivalentOfTotals(int aluminium, int steel, int copper, int row)
{
    return QStringLiteral("IF(OR(%1,%2,%3),N(%4)+4*N(%5)+6/10*N(%6),\"\")")
        .arg(isNumber(aluminium, row), isNumber(steel, row), isNumber(copper, row), c(aluminium, row), c(steel, row),
             c(copper, row));
}
// The model's total of a kind and material: nothing when neither length is given, else their sum.
QString kindTotal(int line, int input, int row)
{
    return QStringLiteral("IF(OR(%1,%2),%3+%4,\"\")")
        .arg(isNumber(line, row), isNumber(input, row), c(line, row), c(input, row));
}

// Writes a derived cell: the formula with the model's value cached beside it (an empty text when the model
// has no value).
void writeDerived(lxw_worksheet* sheet, int row, int column, const QString& formula, double value, lxw_format* f)
{
    WriteFormulaWithValue(sheet, row, column, formula, value, f);
}

// The model's value of each derived column for a record.
double derivedValue(int column, const TDataAnaliz& d)
{
    S m = d.Model();
    auto given = [](double v) { return v < 0 ? EmptyFloat() : v; };
    switch (column) {
    case cWaNet: return given(m.WaNet());
    case cLmEkv: return given(m.GetLengths(3));
    case cL23aSum: return given(m.GetLengths(6));
    case cL23sSum: return given(m.GetLengths(9));
    case cL23mSum: return given(m.GetLengths(12));
    case cL23Ekv: return given(m.GetLengths(13));
    case cL23iEkv: return given(m.GetLengths(14));
    case cL23EkvSum: return given(m.GetLengths(15));
    case cL1aSum: return given(m.GetLengths(18));
    case cL1sSum: return given(m.GetLengths(21));
    case cL1mSum: return given(m.GetLengths(24));
    case cL1Ekv: return given(m.GetLengths(25));
    case cL1iEkv: return given(m.GetLengths(26));
    case cL1EkvSum: return given(m.GetLengths(27));
    case cLsum: return m.TotalLength();
    // Without a number of lines there is no average (the model's zero reads as a length).
    case cLavg: return m.GetNLines() >= 1 ? m.AverageLength() : EmptyFloat();
    case cLekv: return given(m.Lekv());
    case cku: return m.ku();
    case ck038: return given(m.k038());
    case cdWa: return given(m.deltaWa());
    case cdWaProc: return given(m.deltaWaPercent());
    case cdWaL: {
        const double loss = m.deltaWa(), total = m.TotalLength();
        return loss >= 0 && total != 0 ? loss / total : EmptyFloat();
    }
    case cSI: return given(m.CurrentDensity());
    default: return EmptyFloat();
    }
}
// The inputs of a record as its cells hold them.
TWrittenCells writtenCells(const TDataAnaliz& d)
{
    TWrittenCells cells{{cWa, d.Wa},
                        {cWaBus, d.Wa_bus},
                        {cT, d.T < 0 ? EmptyFloat() : double(d.T)},
                        {cUnom, QString::fromLatin1(kUnomTexts[d.Unom == 1 ? 1 : 0])},
                        {cCosFi, d.CosFi},
                        {cF, d.F},
                        {cNLines, d.NLines},
                        {cdp, d.dp},
                        {cdn, d.dn},
                        {ckzap, d.kzap}};
    for (int l = 0; l < TDataAnaliz::LengthCount; ++l)
        cells.insert(kLengthColumns[l], d.Lengths[l]);
    return cells;
}

// A record's inputs from the cells of a row; a cell that breaks its rule is named in the problems (null for
// values the program wrote itself).
TDataAnaliz parseInputs(TDataAnaliz d, const std::function<QVariant(int)>& cellOf, int row, QStringList* problems)
{
    QHash<int, TInputValue> values;
    for (const Input& in : inputs()) {
        const QVariant cell = cellOf(in.column);
        const TInputValue v = CheckInput(cell, in.rule);
        if (!v.problem.isEmpty() && problems)
            *problems << InputProblem(in.column, row, cell, in.rule);
        values.insert(in.column, v);
    }
    d.Wa = values[cWa].number;
    d.Wa_bus = values[cWaBus].number;
    d.T = isEmptyFloat(values[cT].number) ? -1 : static_cast<int>(values[cT].number);
    d.Unom = values[cUnom].text == QLatin1String(kUnomTexts[1]) ? 1 : 0;
    d.CosFi = values[cCosFi].number;
    d.F = values[cF].number;
    d.NLines = values[cNLines].number;
    d.dp = values[cdp].number;
    d.dn = values[cdn].number;
    d.kzap = values[ckzap].number;
    for (int l = 0; l < TDataAnaliz::LengthCount; ++l)
        d.Lengths[l] = values[kLengthColumns[l]].number;
    return d;
}
}  // namespace

QStringList TNodeSocialHigh::Differences(const TDataAnaliz& a, const TDataAnaliz& b)
{
    QStringList changes;
    const TWrittenCells from = writtenCells(a), to = writtenCells(b);
    for (int column = cWa; column <= cL1im; ++column) {
        if (!from.contains(column))
            continue;
        const QVariant x = from.value(column), y = to.value(column);
        if (x.typeId() == QMetaType::Double) {
            if (CompareFloat(x.toDouble(), y.toDouble()) != 0)
                changes << QStringLiteral("%1: %2 → %3")
                               .arg(caption(column), ShownValue(x.toDouble()), ShownValue(y.toDouble()));
        } else if (x.toString() != y.toString()) {
            changes << QStringLiteral("%1: %2 → %3").arg(caption(column), x.toString(), y.toString());
        }
    }
    return changes;
}

// Отпуск в сеть: the model's WaNet. Nothing without a transformation; the transformation less the supply from
// the busbars when that is above 0; nothing when the busbars take more than the transformation (the row is
// marked instead, flag 4).
QString TNodeSocialHigh::f_WaSum(int r)
{
    const QString wa = c(cWa, r), bus = c(cWaBus, r);
    return QStringLiteral("IF(AND(ISNUMBER(%1),N(%1)>=0),IF(N(%2)>0,IF(%1-%2>=0,%1-%2,\"\"),%1),\"\")").arg(wa, bus);
}
// Material equivalents of the main line and of the branch lines and building inputs taken apart.
QString TNodeSocialHigh::f_LmEkv(int r) { return materialEquivalent(cLma, cLms, cLmm, r); }
QString TNodeSocialHigh::f_L23Ekv(int r) { return materialEquivalent(cL23a, cL23s, cL23m, r); }
QString TNodeSocialHigh::f_L23iEkv(int r) { return materialEquivalent(cL23ia, cL23is, cL23im, r); }
QString TNodeSocialHigh::f_L1Ekv(int r) { return materialEquivalent(cL1a, cL1s, cL1m, r); }
QString TNodeSocialHigh::f_L1iEkv(int r) { return materialEquivalent(cL1ia, cL1is, cL1im, r); }
// L23 and L1 of the model: the material equivalent of the per-material totals (line plus building input).
QString TNodeSocialHigh::f_L23EkvSum(int r) { return materialEquivalentOfTotals(cL23aSum, cL23sSum, cL23mSum, r); }
QString TNodeSocialHigh::f_L1EkvSum(int r) { return materialEquivalentOfTotals(cL1aSum, cL1sSum, cL1mSum, r); }
// Per-material totals of a kind of branch: the line cell "+" the building-input cell.
QString TNodeSocialHigh::f_L23aSum(int r) { return kindTotal(cL23a, cL23ia, r); }
QString TNodeSocialHigh::f_L23sSum(int r) { return kindTotal(cL23s, cL23is, r); }
QString TNodeSocialHigh::f_L23mSum(int r) { return kindTotal(cL23m, cL23im, r); }
QString TNodeSocialHigh::f_L1aSum(int r) { return kindTotal(cL1a, cL1ia, r); }
QString TNodeSocialHigh::f_L1sSum(int r) { return kindTotal(cL1s, cL1is, r); }
QString TNodeSocialHigh::f_L1mSum(int r) { return kindTotal(cL1m, cL1im, r); }

// TotalLength: every length cell joined by "+" (empty cells count 0, as lengths not given do in the model).
QString TNodeSocialHigh::f_Lsum(int r)
{
    QStringList cells;
    for (int column : kLengthColumns)
        cells << c(column, r);
    return cells.join(QLatin1Char('+'));
}

// The total per line; nothing unless the number of lines is a whole number from 1.
QString TNodeSocialHigh::f_Lavg(int r)
{
    return QStringLiteral("IF(%1>=1,%2/%3,\"\")").arg(whole(cNLines, r), c(cLsum, r), roundedCell(cNLines, r));
}

// Lekv: nothing when none of the three equivalents is given, else Lm + 0.44 × L23 + 0.22 × L1.
QString TNodeSocialHigh::f_Lekv(int r)
{
    return QStringLiteral("IF(OR(%1,%2,%3),N(%4)+0.44*N(%5)+0.22*N(%6),\"\")")
        .arg(isNumber(cLmEkv, r), isNumber(cL23EkvSum, r), isNumber(cL1EkvSum, r), c(cLmEkv, r), c(cL23EkvSum, r),
             c(cL1EkvSum, r));
}

// ku: 3 for "220/127", 1 otherwise (an empty cell is the model's default, "400/230").
QString TNodeSocialHigh::f_ku(int r) { return QStringLiteral("IF(%1=\"220/127\",3,1)").arg(c(cUnom, r)); }

// k0.4: nothing without a share of the population within [0, 1]; the model's polynomial otherwise.
QString TNodeSocialHigh::f_k038(int r)
{
    const QString p = c(cdp, r);
    return QStringLiteral("IF(AND(%1),%2*(7.78-2.67*%3-1.48*%3*%3)*(1.25+0.14*%3),\"\")")
        .arg(share(cdp, r), c(cku, r), p);
}

// The loss, only when every precondition of the model holds: a net supply above 0, lines and hours from 1
// (whole), cos φ in (0, 1], a cross-section above 0, dn within [0, 1], k0.4 and Lekv given. Then
// k0.4 × w² / cos² φ × Lekv / (F × T / 24) × (2 kзап + 1) / (3 kзап) with w = net / lines × (1 − dn); a fill
// factor not given enters as the model's −1, that is the factor 1/3.
QString TNodeSocialHigh::f_dWa(int r)
{
    const QString net = c(cWaNet, r), cos = c(cCosFi, r), f = c(cF, r), dn = c(cdn, r), k = c(ck038, r),
                  lekv = c(cLekv, r), kzap = c(ckzap, r), lines = roundedCell(cNLines, r), t = roundedCell(cT, r);
    const QString conditions =
        QStringLiteral("N(%1)>0,%2>0,N(%3)>0,N(%3)<=1,N(%4)>0,%5>=1,%6,ISNUMBER(%7),ISNUMBER(%8)")
            .arg(net, whole(cNLines, r), cos, f, whole(cT, r), share(cdn, r), k, lekv);
    const QString w = QStringLiteral("(%1/%2*(1-%3))").arg(net, lines, dn);
    const QString fill = QStringLiteral("IF(AND(%1),(2*%2+1)/(3*%2),1/3)").arg(share(ckzap, r), kzap);
    return QStringLiteral("IF(AND(%1),%2*%3*%3/(%4*%4)*%5/(%6*%7/24)*%8,\"\")")
        .arg(conditions, k, w, cos, lekv, f, t, fill);
}

// The loss in per cent of the whole transformation (not of the net supply); 0 for a transformation within
// 1e-12 of zero.
QString TNodeSocialHigh::f_dWaProc(int r)
{
    const QString wa = c(cWa, r), loss = c(cdWa, r);
    return QStringLiteral("IF(AND(ISNUMBER(%1),ISNUMBER(%2),%1<>0),IF(%1<=1E-12,0,%2/%1*100),\"\")").arg(wa, loss);
}

// The loss per km of all lines; nothing without a loss or without lengths.
QString TNodeSocialHigh::f_dWaL(int r)
{
    return QStringLiteral("IF(AND(ISNUMBER(%1),ISNUMBER(%2),%1<>0),%2/%1,\"\")").arg(c(cLsum, r), c(cdWa, r));
}

// The current density of the head section, when hours and lines are whole numbers from 1, the cross-section
// is above 0, cos φ in (0, 1] and the net supply above 0. As in the model, a share dn not given enters as −1,
// so that the factor (1 − dn) is then 2.
QString TNodeSocialHigh::f_SI(int r)
{
    const QString net = c(cWaNet, r), f = c(cF, r), cos = c(cCosFi, r), dn = c(cdn, r);
    const QString conditions = QStringLiteral("%1>=1,%2>=1,N(%3)>0,N(%4)>0,N(%4)<=1,N(%5)>0")
                                   .arg(whole(cT, r), whole(cNLines, r), f, cos, net);
    const QString dnModel = QStringLiteral("IF(AND(%1),%2,-1)").arg(share(cdn, r), dn);
    return QStringLiteral("IF(AND(%1),%2*(1-%3)*1000/(SQRT(3)*IF(%4=\"220/127\",0.22,0.4)*%5*%6*%7*%8),\"\")")
        .arg(conditions, net, dnModel, c(cUnom, r), roundedCell(cT, r), roundedCell(cNLines, r), f, cos);
}

namespace {
using Formula = QString (*)(int);
const std::vector<std::pair<int, Formula>>& formulas()
{
    static const std::vector<std::pair<int, Formula>> list = {{cWaNet, &TNodeSocialHigh::f_WaSum},
                                                              {cLmEkv, &TNodeSocialHigh::f_LmEkv},
                                                              {cL23aSum, &TNodeSocialHigh::f_L23aSum},
                                                              {cL23sSum, &TNodeSocialHigh::f_L23sSum},
                                                              {cL23mSum, &TNodeSocialHigh::f_L23mSum},
                                                              {cL23Ekv, &TNodeSocialHigh::f_L23Ekv},
                                                              {cL23iEkv, &TNodeSocialHigh::f_L23iEkv},
                                                              {cL23EkvSum, &TNodeSocialHigh::f_L23EkvSum},
                                                              {cL1aSum, &TNodeSocialHigh::f_L1aSum},
                                                              {cL1sSum, &TNodeSocialHigh::f_L1sSum},
                                                              {cL1mSum, &TNodeSocialHigh::f_L1mSum},
                                                              {cL1Ekv, &TNodeSocialHigh::f_L1Ekv},
                                                              {cL1iEkv, &TNodeSocialHigh::f_L1iEkv},
                                                              {cL1EkvSum, &TNodeSocialHigh::f_L1EkvSum},
                                                              {cLsum, &TNodeSocialHigh::f_Lsum},
                                                              {cLavg, &TNodeSocialHigh::f_Lavg},
                                                              {cLekv, &TNodeSocialHigh::f_Lekv},
                                                              {cku, &TNodeSocialHigh::f_ku},
                                                              {ck038, &TNodeSocialHigh::f_k038},
                                                              {cdWa, &TNodeSocialHigh::f_dWa},
                                                              {cdWaProc, &TNodeSocialHigh::f_dWaProc},
                                                              {cdWaL, &TNodeSocialHigh::f_dWaL},
                                                              {cSI, &TNodeSocialHigh::f_SI}};
    return list;
}

// Which length columns the toolbar hides: the per-material ones, the building inputs.
bool hiddenLength(int col, bool materials, bool buildingInputs)
{
    const bool equivalent = col == cLmEkv || col == cL23Ekv || col == cL23iEkv || col == cL23EkvSum || col == cL1Ekv ||
                            col == cL1iEkv || col == cL1EkvSum;
    const bool input = col == cL23ia || col == cL23is || col == cL23im || col == cL1ia || col == cL1is ||
                       col == cL1im || col == cL23iEkv || col == cL1iEkv;
    return (!equivalent && !materials) || (input && !buildingInputs);
}

// The state of a row, shown by the colour of its name: the period's own stored result, only the scheme of
// another period, or a transformation below the supply from the busbars.
lxw_format* stateFormat(const TDataAnaliz& d, const TZamerFormats& f)
{
    if (!isEmptyFloat(d.Wa) && !isEmptyFloat(d.Wa_bus) && d.Wa < d.Wa_bus)
        return f.warning;
    return d.Stored ? f.name : f.notStored;
}
}  // namespace

bool TNodeSocialHigh::WriteWorkbook(const QString& file, bool materials, bool buildingInputs, QString& error) const
{
    host::Progress& progress = host::progress();
    progress.Start(QStringLiteral("Формирование файла Excel"), Count());
    TXlsxFile out(file);
    lxw_workbook* book = out.Open(error);
    if (!book) {
        progress.Finish();
        return false;
    }
    lxw_worksheet* sheet =
        workbook_add_worksheet(book, utf8(LevelNames().value(level_, QStringLiteral("Лист"))).constData());
    const TZamerFormats formats = AddZamerFormats(book, "0.###", "#,##0.000");
    for (int col = cNum; col <= cLast; ++col)
        WriteZamerHead(sheet, col, caption(col), formats.head);
    lxw_row_col_options hiddenRow = {1, 0, 0};
    worksheet_set_row_opt(sheet, 0, 90, nullptr, captionsShown_ ? nullptr : &hiddenRow);
    worksheet_set_column(sheet, cName - 1, cName - 1, 36, nullptr);
    worksheet_set_column(sheet, cGuid, cLast - 1, 11, nullptr);
    auto hide = [&](int col) {
        lxw_row_col_options hidden = {1, 0, 0};
        worksheet_set_column_opt(sheet, static_cast<lxw_col_t>(col - 1), static_cast<lxw_col_t>(col - 1), 11, nullptr,
                                 &hidden);
    };
    hide(cGuid);
    hide(cWritten);
    for (int col = cLma; col <= cL1EkvSum; ++col)
        if (hiddenLength(col, materials, buildingInputs))
            hide(col);
    worksheet_freeze_panes(sheet, FirstRow - 1, cName);
    for (int i = 0; i < Count(); ++i) {
        const TNodeSocial& n = GetItem(i);
        const TDataAnaliz& d = n.Data;
        const int row = FirstRow + i;
        const auto r = static_cast<lxw_row_t>(row - 1);
        auto number = [&](int col, double v) { WriteInputNumber(sheet, row, col, v, formats.value); };
        worksheet_write_number(sheet, r, cNum - 1, i + 1, formats.key);
        worksheet_write_string(sheet, r, cName - 1, utf8(n.Name).constData(), stateFormat(d, formats));
        worksheet_write_number(sheet, r, cGuid - 1, n.GUID, formats.key);
        number(cWa, d.Wa);
        number(cWaBus, d.Wa_bus);
        number(cT, d.T < 0 ? EmptyFloat() : d.T);
        worksheet_write_string(sheet, r, cUnom - 1, kUnomTexts[d.Unom == 1 ? 1 : 0], formats.value);
        number(cCosFi, d.CosFi);
        number(cF, d.F);
        number(cNLines, d.NLines);
        number(cdp, d.dp);
        number(cdn, d.dn);
        number(ckzap, d.kzap);
        for (int l = 0; l < TDataAnaliz::LengthCount; ++l)
            number(kLengthColumns[l], d.Lengths[l]);
        for (const auto& [col, formula] : formulas())
            writeDerived(sheet, row, col, formula(row), derivedValue(col, d), formats.computed);
        const TDataAnaliz& base = n.Edited && n.Base ? *n.Base : d;
        worksheet_write_string(sheet, r, cWritten - 1, utf8(WrittenCellsText(writtenCells(base))).constData(),
                               formats.key);
        progress.Step();
    }
    const int lastRow = FirstRow + Count() - 1;
    bool rules = true;
    for (const Input& in : inputs())
        rules = WriteInputRule(sheet, FirstRow, lastRow, in.column, in.rule) && rules;
    ProtectZamerSheet(sheet);
    WriteWorkbookIdentity(book, TWorkbookIdentity{QStringLiteral("social"), GUID, period_.Ident, level_});
    const bool written = rules ? out.Close(error) : false;
    if (!rules)
        error = QStringLiteral("Книга %1 не записана: правила ввода не помещаются в книгу").arg(file);
    progress.Finish();
    return written;
}

int TNodeSocialHigh::ReadWorkbook(const QString& file, QString& error)
{
    TXlsxWorkbook book;
    if (!book.Open(file, error))
        return -1;
    const QString sheetName = LevelNames().value(level_);
    const int sheet = book.SheetIndex(sheetName);
    if (sheet < 0) {
        error = QStringLiteral("В книге %1 нет листа \"%2\"").arg(file, sheetName);
        return -1;
    }
    // A workbook written for another period or other elements would put its values on the wrong rows.
    error = IdentityMismatch(book, TWorkbookIdentity{QStringLiteral("social"), GUID, period_.Ident, level_}, file);
    if (!error.isEmpty())
        return -1;
    QHash<int, TNodeSocial*> byGuid;
    for (int i = 0; i < Count(); ++i)
        byGuid.insert(GetItem(i).GUID, &GetItem(i));
    // Every row and input cell is checked first: a value the model would not take is refused with its cell, a
    // row that names no element shown with its row, and then nothing of the workbook is taken.
    QStringList problems;
    QHash<int, int> seen;
    struct Read {
        TNodeSocial* node;
        TDataAnaliz read, base;
    };
    std::vector<Read> rows;
    const QString keyCell = c(cGuid, 1).chopped(1);
    for (int row : book.RowNumbers(sheet)) {
        if (row < FirstRow)
            continue;
        const QVariant key = book.Cell(sheet, row, cGuid);
        const double guid = key.typeId() == QMetaType::Double ? key.toDouble() : EmptyFloat();
        if (isEmptyFloat(guid) || guid != std::floor(guid) || std::fabs(guid) >= 2147483647.0) {
            problems << QStringLiteral("строка %1: нет ключа строки (скрытая ячейка %2 пуста или изменена) — строка, "
                                       "добавленная в книгу или потерявшая ключ, не может быть сохранена")
                            .arg(row)
                            .arg(keyCell);
            continue;
        }
        TNodeSocial* node = byGuid.value(static_cast<int>(guid));
        if (!node) {
            problems << QStringLiteral("строка %1: нет такого элемента в книге (код %2)").arg(row).arg(guid, 0, 'f', 0);
            continue;
        }
        if (const auto it = seen.constFind(node->GUID); it != seen.cend()) {
            problems << QStringLiteral("строка %1: «%2» уже в строке %3").arg(row).arg(node->Name).arg(*it);
            continue;
        }
        seen.insert(node->GUID, row);
        TWrittenCells written;
        if (!ReadWrittenCells(book.Cell(sheet, row, cWritten), written)) {
            problems << QStringLiteral("строка %1: нет записанных значений строки (скрытая ячейка %2) — неизвестно, "
                                       "что в ней изменено; запишите книгу заново")
                            .arg(row)
                            .arg(c(cWritten, row));
            continue;
        }
        const TDataAnaliz read = parseInputs(
            node->Data, [&](int column) { return book.Cell(sheet, row, column); }, row, &problems);
        const TDataAnaliz base = parseInputs(
            node->Data, [&](int column) { return written.value(column); }, row, nullptr);
        rows.push_back({node, read, base});
    }
    if (!problems.isEmpty()) {
        error = ReadRefusal(file, problems);
        return -1;
    }
    int changed = 0;
    for (auto& [node, read, base] : rows) {
        if (Differences(base, read).isEmpty()) {
            // As written: nothing of the user's, whatever the database holds now; a row marked by an earlier
            // reading that the user put back is no longer to be saved.
            if (node->Edited && node->Base) {
                node->Data = *node->Base;
                node->Edited = false;
                node->Base.reset();
            }
            continue;
        }
        if (!node->Edited && Differences(node->Data, read).isEmpty())
            continue;  // the database holds the user's values already: nothing to store
        read.Calculate();
        node->Data = read;
        node->Base = base;
        changed += node->Edited ? 0 : 1;
        node->Edited = true;
    }
    return changed;
}
