#include "results/LVResultsColumns.h"

#include <QSet>

#include "host/NumericHelpers.h"
#include "results/LVBalance.h"
#include "results/LVResultsValues.h"
#include "results/UnitLVResultsTree.h"

namespace {
using R = const TLVResultRecord&;
const QString kValue = QStringLiteral("#,##0.000");
const QString kShare = QStringLiteral("#,##0.00");

using namespace results;
constexpr Measure kE = Measure::Energy, kP = Measure::Power;
constexpr Part kR = Part::Reactive;
constexpr Basis kGiven = Basis::Given, kCalc = Basis::Calculated;

double V(R r, int field, int variant) { return BlockValue(r, field, variant); }
double sum(double a, double b) { return AC_SumFloat(a, b); }

void abonents(std::vector<TLVResultColumn>& c)
{
    const std::pair<const char*, int> parts[] = {{"0", VariantOnBalance}, {"4", VariantOffBalance}, {"", VariantTotal}};
    const char* captions[] = {"на балансе", "не на балансе", "всего"};
    for (int i = 0; i < 3; ++i) {
        const int variant = parts[i].second;
        c.push_back({QStringLiteral("NAbonents") + parts[i].first,
                     QStringLiteral("Количество абонентов|%1|штук").arg(QString::fromUtf8(captions[i])),
                     QStringLiteral("#,##0"), [variant](R r) { return V(r, bfNAbonents, variant); }});
    }
}

TLVResultColumn unom()
{
    return {"Unom", "Номинальное напряжение|кВ", kValue, [](R r) { return r.Unom; }};
}

// The head's phase values; the energy grid also shows the additional-loss factor after them.
void phases(std::vector<TLVResultColumn>& c, bool withKdp)
{
    const char* ph[] = {"A", "B", "C"};
    for (int p = 0; p < 3; ++p)
        c.push_back({QStringLiteral("U") + ph[p], QStringLiteral("Напряжение в центре питания|Фаза%1|B").arg(ph[p]),
                     kValue, [p](R r) { return r.GetValueLVResult(rfUA + p); }});
    for (int p = 0; p < 3; ++p)
        c.push_back({QStringLiteral("I") + ph[p], QStringLiteral("Измеренный ток г.у.|Фаза%1|A").arg(ph[p]), kValue,
                     [p](R r) { return r.GetValueLVResult(rfIA + p); }});
    for (int p = 0; p < 3; ++p)
        c.push_back({QStringLiteral("Imax") + ph[p], QStringLiteral("Максимальный ток г.у.|Фаза%1|A").arg(ph[p]),
                     kValue, [p](R r) { return r.GetValueLVResult(rfImaxA + p); }});
    for (int p = 0; p < 3; ++p)
        c.push_back({QStringLiteral("CosFi") + ph[p], QStringLiteral("Коэффициент мощности|Фаза%1|о.е.").arg(ph[p]),
                     kValue, [p](R r) { return r.GetValueLVResult(rfCosFiA + p); }});
    if (withKdp)
        c.push_back(
            {"Kdp", "Коэффициент дополнительных потерь|о.е.", kValue, [](R r) { return r.GetValueLVResult(rfKdp); }});
    c.push_back({"dUmax", "Максимальные потери напряжения|%", kValue, [](R r) { return r.dUmax(); }});
    c.push_back({"Krazv", "Коэффициент разветвления|о.е.", kValue, [](R r) { return r.GetValueLVResult(rfKrazv); }});
    c.push_back({"Ksv", "Коэффициент Кн/м|о.е.", kValue, [](R r) { return r.GetValueLVResult(rfKsv); }});
}

// The losses of one kind ("a" active / "r" reactive) per balance, with the active share in per cent.
void losses(std::vector<TLVResultColumn>& c, const QString& group, const QString& a, const QString& r,
            const QString& unitA, const QString& unitR, int fieldA, int fieldR, Measure m)
{
    const std::pair<const char*, int> parts[] = {{"0", VariantOnBalance}, {"4", VariantOffBalance}, {"", VariantTotal}};
    const char* captions[] = {"на балансе", "не на балансе", "всего"};
    for (int i = 0; i < 3; ++i) {
        const int variant = parts[i].second;
        const QString suffix = QString::fromLatin1(parts[i].first);
        const QString caption = group + QLatin1Char('|') + QString::fromUtf8(captions[i]) + QLatin1Char('|');
        c.push_back({a + suffix, caption + unitA, kValue, [=](R rec) { return V(rec, fieldA, variant); }});
        c.push_back({r + suffix, caption + unitR, kValue, [=](R rec) { return V(rec, fieldR, variant); }});
        c.push_back({a + suffix + "_P", caption + "%", kShare,
                     [=](R rec) { return ShareOfSupply(rec, m, V(rec, fieldA, variant)); }});
    }
}
}  // namespace

const std::vector<TLVResultColumn>& EnergyColumns()
{
    static const std::vector<TLVResultColumn> columns = [] {
        std::vector<TLVResultColumn> c;
        c.push_back(unom());
        c.push_back({"Wa_gen", "Прием электроэнергии в сеть|тыс. кВт·ч", kValue,
                     [](R r) { return V(r, bfWa_gen, VariantTotal); }});
        c.push_back({"Wr_gen", "Прием электроэнергии в сеть|тыс. квар·ч", kValue,
                     [](R r) { return V(r, bfWr_gen, VariantTotal); }});
        c.push_back({"WafactAll", "Отдача электроэнергии из сети|задано|тыс. кВт·ч", kValue,
                     [](R r) { return Outflow(r, kE, kGiven); }});
        c.push_back({"WrfactAll", "Отдача электроэнергии из сети|задано|тыс. квар·ч", kValue,
                     [](R r) { return Outflow(r, kE, kGiven, kR); }});
        c.push_back({"WacalcAll", "Отдача электроэнергии из сети|расчет|тыс. кВт·ч", kValue,
                     [](R r) { return Outflow(r, kE, kCalc); }});
        c.push_back({"WrcalcAll", "Отдача электроэнергии из сети|расчет|тыс. квар·ч", kValue,
                     [](R r) { return Outflow(r, kE, kCalc, kR); }});
        c.push_back({"WaoutAll", "Отпуск электроэнергии в сеть|задано|тыс. кВт·ч", kValue,
                     [](R r) { return Supply(r, kE, kGiven); }});
        c.push_back({"WroutAll", "Отпуск электроэнергии в сеть|задано|тыс. квар·ч", kValue,
                     [](R r) { return Supply(r, kE, kGiven, kR); }});
        c.push_back({"WaoutCalcAll", "Отпуск электроэнергии в сеть|расчет|тыс. кВт·ч", kValue,
                     [](R r) { return Supply(r, kE, kCalc); }});
        c.push_back({"WroutCalcAll", "Отпуск электроэнергии в сеть|расчет|тыс. квар·ч", kValue,
                     [](R r) { return Supply(r, kE, kCalc, kR); }});
        c.push_back({"T", "Расчетный период|часов", QStringLiteral("0"), [](R r) { return r.GetValueLVResult(rfT); }});
        c.push_back({"Kzap", "Коэффициент заполнения|о.е.", kValue, [](R r) { return r.Kzap(); }});
        c.push_back({"sqrKfg", "Квадрат коэффициента формы графика|о.е.", kValue,
                     [](R r) { return r.GetValueLVResult(rfSqrKfg); }});
        c.push_back({"Tau", "Относительное число часов наибольших потерь|о.е.", kValue, [](R r) { return r.Tau(); }});
        c.push_back({"Tmax", "Время использования максимума нагрузки|часов", kValue, [](R r) { return r.Tmax(); }});
        c.push_back({"Temperature", "Температура|°С", kValue, [](R r) { return r.GetValueLVResult(rfTemperature); }});
        phases(c, true);
        losses(c, "Нагрузочные потери электроэнергии в линиях", "dWa", "dWr", "тыс. кВт·ч", "тыс. квар·ч", bfdWa, bfdWr,
               kE);
        c.push_back(
            {"WaCalc", "Полезный отпуск расчетный|тыс. кВт·ч", kValue, [](R r) { return Useful(r, kE, kCalc); }});
        c.push_back(
            {"WrCalc", "Полезный отпуск расчетный|тыс. квар·ч", kValue, [](R r) { return Useful(r, kE, kCalc, kR); }});
        c.push_back(
            {"WaFact", "Полезный отпуск фактический|тыс. кВт·ч", kValue, [](R r) { return Useful(r, kE, kGiven); }});
        c.push_back({"WrFact", "Полезный отпуск фактический|тыс. квар·ч", kValue,
                     [](R r) { return Useful(r, kE, kGiven, kR); }});
        c.push_back({"dW", "Фактический небаланс|тыс. кВт·ч", kValue, [](R r) { return Imbalance(r, kE); }});
        c.push_back(
            {"dW_P", "Фактический небаланс|%", kShare, [](R r) { return ShareOfSupply(r, kE, Imbalance(r, kE)); }});
        c.push_back({"dWdop", "Допустимый небаланс|тыс. кВт·ч", kValue, [](R r) { return AllowedImbalance(r, kE); }});
        c.push_back({"dWdop_P", "Допустимый небаланс|%", kShare,
                     [](R r) { return ShareOfSupply(r, kE, AllowedImbalance(r, kE)); }});
        c.push_back({"dWtech", "Объем нетехнических потерь электроэнергии|тыс. кВт·ч", kValue,
                     [](R r) { return NonTechnical(r, kE); }});
        c.push_back({"dWtech_P", "Объем нетехнических потерь электроэнергии|%", kShare,
                     [](R r) { return ShareOfSupply(r, kE, NonTechnical(r, kE)); }});
        abonents(c);
        return c;
    }();
    return columns;
}

const std::vector<TLVResultColumn>& PowerColumns()
{
    static const std::vector<TLVResultColumn> columns = [] {
        std::vector<TLVResultColumn> c;
        c.push_back(unom());
        c.push_back({"Pgen", "Мощность головного участка  (прием)|кВт", kValue,
                     [](R r) { return V(r, bfPgen, VariantTotal); }});
        c.push_back({"Qgen", "Мощность головного участка  (прием)|квар", kValue,
                     [](R r) { return V(r, bfQgen, VariantTotal); }});
        // The energy unit on this power column is kept as the users know it.
        c.push_back({"PfactAll", "Отдача мощности из сети|задано|тыс. кВт·ч", kValue,
                     [](R r) { return Outflow(r, kP, kGiven); }});
        c.push_back({"QfactAll", "Отдача мощности из сети|задано|квар", kValue,
                     [](R r) { return Outflow(r, kP, kGiven, kR); }});
        c.push_back(
            {"PcalcAll", "Отдача мощности из сети|расчет|кВт", kValue, [](R r) { return Outflow(r, kP, kCalc); }});
        c.push_back(
            {"QcalcAll", "Отдача мощности из сети|расчет|квар", kValue, [](R r) { return Outflow(r, kP, kCalc, kR); }});
        c.push_back(
            {"PoutFactAll", "Отпуск мощности в сеть|задано|кВт", kValue, [](R r) { return Supply(r, kP, kGiven); }});
        c.push_back({"QoutFactAll", "Отпуск мощности в сеть|задано|квар", kValue,
                     [](R r) { return Supply(r, kP, kGiven, kR); }});
        c.push_back(
            {"PoutCalcAll", "Отпуск мощности в сеть|расчет|кВт", kValue, [](R r) { return Supply(r, kP, kCalc); }});
        c.push_back({"QoutCalcAll", "Отпуск мощности в сеть|расчет|квар", kValue,
                     [](R r) { return Supply(r, kP, kCalc, kR); }});
        c.push_back({"Temperature", "Температура|°С", kValue, [](R r) { return r.GetValueLVResult(rfTemperature); }});
        phases(c, false);
        losses(c, "Нагрузочные потери мощности в линиях", "dP", "dQ", "кВт", "квар", bfdP, bfdQ, kP);
        c.push_back(
            {"Pcalc", "Полезный отпуск мощности расчетный|кВт", kValue, [](R r) { return Useful(r, kP, kCalc); }});
        c.push_back(
            {"Qcalc", "Полезный отпуск мощности расчетный|квар", kValue, [](R r) { return Useful(r, kP, kCalc, kR); }});
        c.push_back(
            {"Pfact", "Полезный отпуск мощности фактический|кВт", kValue, [](R r) { return Useful(r, kP, kGiven); }});
        c.push_back({"Qfact", "Полезный отпуск мощности фактический|квар", kValue,
                     [](R r) { return Useful(r, kP, kGiven, kR); }});
        c.push_back({"dPfact", "Фактический небаланс мощности|кВт", kValue, [](R r) { return Imbalance(r, kP); }});
        c.push_back({"dPfact_P", "Фактический небаланс мощности|%", kShare,
                     [](R r) { return ShareOfSupply(r, kP, Imbalance(r, kP)); }});
        c.push_back({"dPdop", "Допустимый небаланс мощности|кВт", kValue, [](R r) { return AllowedImbalance(r, kP); }});
        c.push_back({"dPdop_P", "Допустимый небаланс мощности|%", kShare,
                     [](R r) { return ShareOfSupply(r, kP, AllowedImbalance(r, kP)); }});
        c.push_back(
            {"dPtech", "Объем нетехнических потерь мощности|кВт", kValue, [](R r) { return NonTechnical(r, kP); }});
        c.push_back({"dPtech_P", "Объем нетехнических потерь мощности|%", kShare,
                     [](R r) { return ShareOfSupply(r, kP, NonTechnical(r, kP)); }});
        abonents(c);
        return c;
    }();
    return columns;
}

const std::vector<TLVResultColumn>& LineColumns()
{
    static const std::vector<TLVResultColumn> columns = [] {
        std::vector<TLVResultColumn> c;
        struct Base {
            const char* name;
            const char* caption;
            const char* unit;
            int on, off;  // block fields of the switched-on and switched-off parts; -1 for the sum of P and C
            bool lengths;
        };
        const Base bases[] = {
            {"NLineP", "Количество воздушных участков", "штук", bfNLineP, bfNLineP_off, false},
            {"NLineC", "Количество кабельных участков", "штук", bfNLineC, bfNLineC_off, false},
            {"NLine", "Общее количество участков", "штук", -1, -1, false},
            {"LsumP", "Длина воздушных участков линии", "км", bfLsumP, bfLsumP_off, true},
            {"LsumC", "Длина кабельных участков линии", "км", bfLsumC, bfLsumC_off, true},
            {"Lsum", "Суммарная длина участков линии", "км", -1, -1, true},
        };
        const std::pair<const char*, int> balances[] = {
            {"", VariantTotal}, {"0", VariantOnBalance}, {"4", VariantOffBalance}};
        const char* balanceCaptions[] = {"всего|", "на балансе|", "не на балансе|"};
        const char* states[] = {"", "_off", "_all"};
        const char* stateCaptions[] = {"включенные|", "отключенные|", "всего|"};
        for (const Base& b : bases)
            for (int bi = 0; bi < 3; ++bi)
                for (int si = 0; si < 3; ++si) {
                    const int variant = balances[bi].second;
                    const int on = b.on, off = b.off, state = si;
                    const bool lengths = b.lengths;
                    auto part = [variant](R r, int field) { return V(r, field, variant); };
                    auto value = [=](R r) {
                        auto of = [&](int onField, int offField) {
                            if (state == 0)
                                return part(r, onField);
                            if (state == 1)
                                return part(r, offField);
                            return sum(part(r, onField), part(r, offField));
                        };
                        if (on >= 0)
                            return of(on, off);
                        return lengths ? sum(of(bfLsumP, bfLsumP_off), of(bfLsumC, bfLsumC_off))
                                       : sum(of(bfNLineP, bfNLineP_off), of(bfNLineC, bfNLineC_off));
                    };
                    c.push_back({QString::fromLatin1(b.name) + balances[bi].first + states[si],
                                 QString::fromUtf8(b.caption) + QLatin1Char('|') +
                                     QString::fromUtf8(balanceCaptions[bi]) + QString::fromUtf8(stateCaptions[si]) +
                                     QString::fromUtf8(b.unit),
                                 lengths ? kValue : QStringLiteral("#,##0"), value});
                }
        c.push_back({"HeadEndSize", "Сечение головного участка|мм²", kValue,
                     [](R r) { return r.GetValueLVResult(rfHeadEndSize); }});
        c.push_back({"HeadEndLength", "Длина головного участка|км", kValue,
                     [](R r) { return r.GetValueLVResult(rfHeadEndLength); }});
        c.push_back({"Lm", "Длина магистрали|км", kValue, [](R r) { return r.GetValueLVResult(rfLm); }});
        c.push_back({"L23", "Длина двухфазных и трехфазных ответвлений|км", kValue,
                     [](R r) { return r.GetValueLVResult(rfL23); }});
        c.push_back({"L1", "Длина однофазных ответвлений|км", kValue, [](R r) { return r.GetValueLVResult(rfL1); }});
        c.push_back({"Lekv", "Эквивалентная длина линии|км", kValue, [](R r) { return r.Lekv(); }});
        return c;
    }();
    return columns;
}

std::vector<const TLVResultColumn*> AllColumns()
{
    std::vector<const TLVResultColumn*> all;
    QSet<QString> seen;
    for (const auto* list : {&EnergyColumns(), &PowerColumns(), &LineColumns()})
        for (const TLVResultColumn& c : *list)
            if (!seen.contains(c.Field)) {
                seen.insert(c.Field);
                all.push_back(&c);
            }
    return all;
}
