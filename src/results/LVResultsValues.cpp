#include "results/LVResultsValues.h"

#include "host/NumericHelpers.h"
#include "results/LVResultsColumns.h"
#include "results/UnitLVResultsTree.h"

namespace {
double column(const std::vector<TLVResultColumn>& columns, const TLVResultRecord& r, int n, int count)
{
    // Column 0 is the nominal voltage; numbers start after it.
    if (n < 1 || n > count || n >= static_cast<int>(columns.size()))
        return EmptyFloat();
    return columns[n].Value(r);
}

}  // namespace

double ValuesW_Pes(const TLVResultRecord& r, int n) { return column(EnergyColumns(), r, n, r.Mode == 2 ? 50 : 49); }

double ValuesP_Pes(const TLVResultRecord& r, int n) { return column(PowerColumns(), r, n, 48); }

double ValuesP_off(const TLVResultRecord& r, int n)
{
    if (n >= 1 && n <= 48)
        return ValuesP_Pes(r, n);
    auto v = [&](int field, int variant) { return r.GetValue(field, variant); };
    auto sum = [&](int a, int b) { return AC_SumFloat(ValuesP_off(r, a), ValuesP_off(r, b)); };
    // A group of nine numbers from `base` for one quantity: on/off/both on balance 0, the same on 4,
    // then both balances.
    auto group = [&](int base, int onField, int offField) {
        const int k = n - base;
        switch (k) {
        case 0: return v(onField, VariantOnBalance);
        case 1: return v(offField, VariantOnBalance);
        case 2: return sum(base, base + 1);
        case 3: return v(onField, VariantOffBalance);
        case 4: return v(offField, VariantOffBalance);
        case 5: return sum(base + 3, base + 4);
        case 6: return sum(base, base + 3);
        case 7: return sum(base + 1, base + 4);
        default: return sum(base + 6, base + 7);
        }
    };
    if (n >= 49 && n <= 57)
        return group(49, bfLsumP, bfLsumP_off);
    if (n >= 58 && n <= 66)
        return group(58, bfLsumC, bfLsumC_off);
    if (n >= 76 && n <= 84)
        return group(76, bfNLineP, bfNLineP_off);
    if (n >= 85 && n <= 93)
        return group(85, bfNLineC, bfNLineC_off);
    switch (n) {
    case 67: return sum(49, 58);
    case 68: return sum(50, 59);
    case 69: return sum(67, 68);
    case 70: return sum(52, 61);
    case 71: return sum(53, 62);
    case 72: return sum(70, 71);
    case 73: return sum(55, 64);
    case 74: return sum(56, 65);
    case 75: return sum(73, 74);
    case 94: return sum(76, 85);
    case 95: return sum(77, 86);
    case 96: return sum(94, 95);
    case 97: return sum(82, 91);
    case 98: return sum(83, 92);
    default: return EmptyFloat();
    }
}

double ValuesW_off(const TLVResultRecord& r, int n)
{
    if (r.Mode == 2)
        return n >= 1 && n <= 50 ? ValuesW_Pes(r, n) : ValuesP_off(r, n - 5);
    return n >= 1 && n <= 49 ? ValuesW_Pes(r, n) : ValuesP_off(r, n - 4);
}

double ValuesW_T1(const TLVResultRecord& r, int kind, int n) { return ValuesW_Pes(r.OfKind(kind), n); }

double ValuesP_T1(const TLVResultRecord& r, int kind, int n) { return ValuesP_Pes(r.OfKind(kind), n); }

namespace {
double received(const TLVResultRecord& r, int kind, int field, double (*table)(const TLVResultRecord&, int, int))
{
    if (kind == 0 || kind > 5)
        return EmptyFloat();
    if (kind == 1 || kind == 2)
        return table(r, kind, kind + 8);
    // Kind 3 reads its own balance rows. Kinds 4 and 5 read the received power of the whole balance, the energy
    // one included: that is the figure the coefficient Кн/м and the reports compare with.
    return kind == 3 ? r.GetValue(field, 3) : r.GetValue(bfPgen, VariantTotal);
}
}  // namespace

double deltaPgen(const TLVResultRecord& r, int kind) { return received(r, kind, bfPgen, &ValuesP_T1); }

double deltaWgen(const TLVResultRecord& r, int kind) { return received(r, kind, bfWa_gen, &ValuesW_T1); }

double Rekv(const TLVResultRecord& r)
{
    const double loss = r.GetValue(bfdP, VariantTotal), current = r.Igu();
    if (isEmptyFloat(loss) || isEmptyFloat(current) || current == 0)
        return EmptyFloat();
    return loss * 1000 / (3 * current * current);
}
