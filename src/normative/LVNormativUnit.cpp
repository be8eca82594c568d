#include "normative/LVNormativUnit.h"

#include <QStringList>
#include <cmath>

#include "host/InitOZN.h"
#include "host/InputRanges.h"
#include "host/NumericHelpers.h"

const char* const TLVNormativSample0::LengthNames[LengthCount] = {"Lma",  "Lms",   "Lmm",   "L23a",  "L23s",
                                                                  "L23m", "L23ia", "L23is", "L23im", "L1a",
                                                                  "L1s",  "L1m",   "L1ia",  "L1is",  "L1im"};

namespace {
constexpr double kNotGiven = -1;
constexpr double kRecompute = -2;

double positive(double v) { return std::max(v, 0.0); }
// The ranges in which the model takes a value as given are those the forms and the workbook check.
bool inUnitRange(double v)
{
    static const TInputRule share = host::ranges::Share();
    return share.Accepts(v);
}
bool crossSection(double v)
{
    static const TInputRule rule = host::ranges::CrossSection();
    return rule.Accepts(v);
}

// Two numbers the same for the setters: equal doubles, or equal integers.
bool same(double a, double b) { return CompareFloat(a, b) == 0; }
bool same(int a, int b) { return a == b; }
}  // namespace

TLVNormativSample0::TLVNormativSample0() { Clear(); }

TLVNormativSample0::~TLVNormativSample0() = default;

void TLVNormativSample0::Clear()
{
    wa_ = waBus_ = kNotGiven;
    const double hours = std::round((Period.EndDays() - Period.StartDays()) * 24);
    t_ = hours < 1e-12 ? 8760 : static_cast<int>(hours);
    unom_ = 0;
    cosFi_ = Init()->GetDefaultCosFi();
    f_ = kNotGiven;
    nLines_ = 1;
    dp_ = dn_ = kNotGiven;
    kzap_ = Init()->GetDefaultKzap();
    lengths_.fill(kNotGiven);
    Info = 0;
    deltaWaCache_ = kRecompute;
}

template <class T> void TLVNormativSample0::Store(T& field, T value)
{
    if (same(field, value))
        return;
    field = value;
    deltaWaCache_ = kRecompute;
    DoChange();
}

void TLVNormativSample0::DoChange()
{
    ++changes_;
    if (OnChange)
        OnChange();
}

void TLVNormativSample0::SetWa(double value) { Store(wa_, value); }
void TLVNormativSample0::SetWa_bus(double value) { Store(waBus_, value); }
void TLVNormativSample0::SetT(int value) { Store(t_, value > 0 ? value : -1); }
void TLVNormativSample0::SetUnom(int code) { Store(unom_, code); }
void TLVNormativSample0::SetCosFi(double value) { Store(cosFi_, inUnitRange(value) ? value : kNotGiven); }
void TLVNormativSample0::SetF(double value) { Store(f_, crossSection(value) ? value : kNotGiven); }
void TLVNormativSample0::SetNLines(int value) { Store(nLines_, value > 0 ? value : -1); }
void TLVNormativSample0::Setdn(double value) { Store(dn_, inUnitRange(value) ? value : kNotGiven); }
void TLVNormativSample0::Setkzap(double value) { Store(kzap_, inUnitRange(value) ? value : kNotGiven); }
void TLVNormativSample0::SetLength(Length which, double value) { Store(lengths_[which], value); }

void TLVNormativSample0::Setdp(double value)
{
    const double stored = inUnitRange(value) ? value : kNotGiven;
    if (same(dp_, stored))
        return;
    dp_ = stored;
    DoDpChange();
    deltaWaCache_ = kRecompute;
    DoChange();
}

void TLVNormativSample0::ClearGroup(Group group, std::initializer_list<Length> fields)
{
    // The aluminium line field of a group gets -2, the others -1; readers treat both as missing.
    for (Length l : fields)
        lengths_[l] = l == *fields.begin() ? kRecompute : kNotGiven;
    deltaWaCache_ = kRecompute;
    ++changes_;
    DoGroupChange(group);
}

void TLVNormativSample0::ClearMainLine() { ClearGroup(Group::MainLine, {Lma, Lms, Lmm}); }

void TLVNormativSample0::ClearBranches23() { ClearGroup(Group::Branches23, {L23a, L23s, L23m, L23ia, L23is, L23im}); }

void TLVNormativSample0::ClearBranches1() { ClearGroup(Group::Branches1, {L1a, L1s, L1m, L1ia, L1is, L1im}); }

double TLVNormativSample0::KindTotal(double line, double input)
{
    if (line < 0 && input < 0)
        return kNotGiven;
    return positive(line) + positive(input);
}

double TLVNormativSample0::MaterialEquivalent(double aluminium, double steel, double copper)
{
    if (aluminium < 0 && steel < 0 && copper < 0)
        return kNotGiven;
    // Aluminium is the reference conductor: steel counts four times, copper 0.6 times.
    return positive(aluminium) + 4 * positive(steel) + 0.6 * positive(copper);
}

double TLVNormativSample0::LengthTotal(Length line, Length input) const
{
    return KindTotal(lengths_[line], lengths_[input]);
}

double TLVNormativSample0::WaNet() const
{
    if (wa_ < 0)
        return kNotGiven;
    return waBus_ > 0 ? wa_ - waBus_ : wa_;
}

double TLVNormativSample0::Lm() const { return MaterialEquivalent(lengths_[Lma], lengths_[Lms], lengths_[Lmm]); }

double TLVNormativSample0::L23() const
{
    return MaterialEquivalent(LengthTotal(L23a, L23ia), LengthTotal(L23s, L23is), LengthTotal(L23m, L23im));
}

double TLVNormativSample0::L1() const
{
    return MaterialEquivalent(LengthTotal(L1a, L1ia), LengthTotal(L1s, L1is), LengthTotal(L1m, L1im));
}

double TLVNormativSample0::Lekv() const
{
    const double lm = Lm(), l23 = L23(), l1 = L1();
    if (lm < 0 && l23 < 0 && l1 < 0)
        return kNotGiven;
    return positive(lm) + 0.44 * positive(l23) + 0.22 * positive(l1);
}

double TLVNormativSample0::ku() const { return unom_ == 1 ? 3.0 : 1.0; }

double TLVNormativSample0::k038() const
{
    if (dp_ < 0)
        return kNotGiven;
    return ku() * (7.78 - 2.67 * dp_ - 1.48 * dp_ * dp_) * (1.25 + 0.14 * dp_);
}

double TLVNormativSample0::deltaWa()
{
    if (deltaWaCache_ != kRecompute)
        return deltaWaCache_;
    double result = kNotGiven;
    const double waNet = WaNet(), k = k038(), lekv = Lekv();
    // The order of the tests is the model's own; kzap is deliberately not among them.
    if (waNet > 0 && nLines_ > 0 && cosFi_ >= 0 && f_ > 0 && t_ >= 1 && dn_ >= 0 && k >= 0 && lekv >= 0 && cosFi_ > 0) {
        const double w = waNet / nLines_ * (1 - dn_);
        const double d = f_ * t_ / 24;
        result = k * w * w / (cosFi_ * cosFi_) * lekv / d * (2 * kzap_ + 1) / (3 * kzap_);
    }
    deltaWaCache_ = result;
    return result;
}

double TLVNormativSample0::deltaWaPercent()
{
    const double loss = deltaWa();
    if (loss < 0)
        return kNotGiven;
    if (wa_ <= 1e-12)
        return 0;
    // The base is the whole transformation, not the net supply.
    return loss / wa_ * 100;
}

double TLVNormativSample0::CurrentDensity() const
{
    const double waNet = WaNet();
    if (t_ < 1 || nLines_ < 1 || f_ <= 0 || cosFi_ <= 0 || waNet <= 0)
        return kNotGiven;
    const double u = unom_ == 1 ? 0.22 : 0.4;
    return waNet * (1 - dn_) * 1000 / (std::sqrt(3.0) * t_ * u * nLines_ * f_ * cosFi_);
}

double TLVNormativSample0::TotalLength() const
{
    double total = 0;
    for (double l : lengths_)
        if (l > 0)
            total += l;
    return total;
}

double TLVNormativSample0::AverageLength() const { return nLines_ < 1 ? 0 : TotalLength() / nLines_; }

double TLVNormativSample0::GetLengths(int index) const
{
    switch (index) {
    case 0: return lengths_[Lma];
    case 1: return lengths_[Lms];
    case 2: return lengths_[Lmm];
    case 3: return Lm();
    case 4: return lengths_[L23a];
    case 5: return lengths_[L23ia];
    case 6: return LengthTotal(L23a, L23ia);
    case 7: return lengths_[L23s];
    case 8: return lengths_[L23is];
    case 9: return LengthTotal(L23s, L23is);
    case 10: return lengths_[L23m];
    case 11: return lengths_[L23im];
    case 12: return LengthTotal(L23m, L23im);
    case 13: return MaterialEquivalent(lengths_[L23a], lengths_[L23s], lengths_[L23m]);
    case 14: return MaterialEquivalent(lengths_[L23ia], lengths_[L23is], lengths_[L23im]);
    case 15: return L23();
    case 16: return lengths_[L1a];
    case 17: return lengths_[L1ia];
    case 18: return LengthTotal(L1a, L1ia);
    case 19: return lengths_[L1s];
    case 20: return lengths_[L1is];
    case 21: return LengthTotal(L1s, L1is);
    case 22: return lengths_[L1m];
    case 23: return lengths_[L1im];
    case 24: return LengthTotal(L1m, L1im);
    case 25: return MaterialEquivalent(lengths_[L1a], lengths_[L1s], lengths_[L1m]);
    case 26: return MaterialEquivalent(lengths_[L1ia], lengths_[L1is], lengths_[L1im]);
    case 27: return L1();
    case 28: return TotalLength();
    case 29: return AverageLength();
    case 30: return Lekv();
    default: return kNotGiven;
    }
}

double TLVNormativSample0::MaterialTotal(Material material) const
{
    static constexpr Length lines[3][5] = {
        {L23a, L23ia, L1a, L1ia, Lma}, {L23s, L23is, L1s, L1is, Lms}, {L23m, L23im, L1m, L1im, Lmm}};
    const Length* l = lines[material];
    const double sum = positive(LengthTotal(l[0], l[1])) + positive(LengthTotal(l[2], l[3])) + positive(lengths_[l[4]]);
    return sum == 0 ? kNotGiven : sum;
}

TLVNormativSample0::Outcome TLVNormativSample0::Classify()
{
    const double loss = deltaWa(), percent = deltaWaPercent();
    if (loss > 0 && percent < 100)
        return Outcome::Saved;
    if (percent >= 100)
        return Outcome::Over100;
    if (Info != 0 && Lm() > 0)
        return Outcome::NoSupply;
    return Outcome::NotEnoughData;
}

QString TLVNormativSample0::OutcomeMessage(Outcome outcome)
{
    switch (outcome) {
    case Outcome::Saved: return QStringLiteral("Расчет выполнен");
    case Outcome::Over100: return QStringLiteral("Расчет не сохранен. Потери электроэнергии превышают 100%");
    case Outcome::NoSupply: return QStringLiteral("Расчет не выполнен. Отсутствует отпуск в сеть");
    default: return QStringLiteral("Расчет не выполнен. Недостаточно исходных данных");
    }
}
