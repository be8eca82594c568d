#include "results/UnitLVResultsTree.h"

#include <QHash>
#include <QSet>
#include <algorithm>
#include <cmath>

#include "host/Connection.h"
#include "host/NumericHelpers.h"
#include "host/Progress.h"
#include "results/LVBalance.h"
#include "results/LVResultsReading.h"
#include "results/UnitLVResults.h"

namespace {
// Values that add up over feeders; the others are kept as means (hours as the longest).
bool additive(int field)
{
    switch (field) {
    case rfIA:
    case rfIB:
    case rfIC:
    case rfImaxA:
    case rfImaxB:
    case rfImaxC:
    case rfLm:
    case rfL23:
    case rfL1:
    case rfHeadEndLength:
    case rfdWdop:
    case rfdPdop: return true;
    default: return false;
    }
}

bool inVariant(int balance, int variant)
{
    if (variant == VariantTotal)
        return true;
    if (variant == VariantOffBalance)
        return balance != 0;
    return balance == variant;
}

}  // namespace

TLVBalanceBlock::TLVBalanceBlock() { Values.fill(EmptyFloat()); }

void TLVBalanceBlock::Add(const TLVBalanceBlock& other)
{
    for (int f = 0; f < BlockFieldCount; ++f)
        Values[f] = AC_SumFloat(Values[f], other.Values[f]);
}

TLVResultCustom::TLVResultCustom() : Unom(EmptyFloat()), Normative(EmptyFloat()) {}

double TLVResultCustom::GetValue(int, int) const { return EmptyFloat(); }
double TLVResultCustom::GetValueLVResult(int) const { return EmptyFloat(); }

double TLVResultCustom::dUmax() const
{
    double result = EmptyFloat();
    for (int p = 0; p < 3; ++p) {
        const double u = GetValueLVResult(rfUA + p), u2 = GetValueLVResult(rfU2A + p);
        if (isEmptyFloat(u) || isEmptyFloat(u2) || u == 0)
            continue;
        const double loss = (u - u2) / u * 100;
        result = isEmptyFloat(result) ? loss : std::max(result, loss);
    }
    return result;
}

std::optional<double> TLVResultCustom::Summed(int) const { return std::nullopt; }

bool TLVResultCustom::HasBlocks(int) const { return false; }

QString TLVResultCustom::MethodName() const
{
    switch (Mode) {
    case 2: return QStringLiteral("Метод числа часов наибольших потерь");
    case 0: return QStringLiteral("Метод средних нагрузок");
    default: return QStringLiteral("Различные методы");
    }
}

double TLVResultCustom::Kzap() const
{
    // The fill factor the run used, where it keeps it.
    if (const double stored = GetValueLVResult(rfKzap); !isEmptyFloat(stored))
        return stored;
    if (Mode == 2) {
        const double w = GetValue(bfWa_gen, VariantTotal), p = GetValue(bfPgen, VariantTotal),
                     t = GetValueLVResult(rfT);
        if (isEmptyFloat(w) || isEmptyFloat(p) || isEmptyFloat(t) || p == 0 || t == 0)
            return EmptyFloat();
        return w / p / t * 1000;
    }
    const double s = GetValueLVResult(rfSqrKfg);
    if (isEmptyFloat(s) || 3 * s - 2 == 0)
        return EmptyFloat();
    return 1 / (3 * s - 2);
}

double TLVResultCustom::Tau() const
{
    // The τ the run's energy was computed with, where it keeps it.
    if (const double stored = GetValueLVResult(rfTau); !isEmptyFloat(stored))
        return stored;
    const double k = Kzap();
    return isEmptyFloat(k) ? EmptyFloat() : (k + 2 * k * k) / 3;
}

double TLVResultCustom::Tmax() const
{
    if (const double stored = GetValueLVResult(rfTmax); !isEmptyFloat(stored))
        return stored;
    const double k = Kzap(), t = GetValueLVResult(rfT);
    return isEmptyFloat(k) || isEmptyFloat(t) ? EmptyFloat() : k * t;
}

double TLVResultCustom::Percent(double a, double b)
{
    if (isEmptyFloat(a) || isEmptyFloat(b) || b == 0)
        return EmptyFloat();
    return a / b * 100;
}

double TLVResultCustom::deltaPline(int variant) const
{
    const double loss = GetValue(bfdP, variant);
    const double length = AC_SumFloat(GetValue(bfLsumP, variant), GetValue(bfLsumC, variant));
    return isEmptyFloat(loss) || isEmptyFloat(length) || length == 0 ? EmptyFloat() : loss / length;
}

double TLVResultCustom::deltaWline(int variant) const
{
    const double loss = GetValue(bfdWa, variant);
    const double length = AC_SumFloat(GetValue(bfLsumP, variant), GetValue(bfLsumC, variant));
    return isEmptyFloat(loss) || isEmptyFloat(length) || length == 0 ? EmptyFloat() : loss / length;
}

double TLVResultCustom::Igu() const
{
    double sum = EmptyFloat();
    int n = 0;
    for (int p = 0; p < 3; ++p) {
        const double i = GetValueLVResult(rfIA + p);
        if (!isEmptyFloat(i)) {
            sum = AC_SumFloat(sum, i);
            ++n;
        }
    }
    return n == 0 ? EmptyFloat() : sum / n;
}

double TLVResultCustom::Lekv() const
{
    const double lm = GetValueLVResult(rfLm), l23 = GetValueLVResult(rfL23), l1 = GetValueLVResult(rfL1);
    if (isEmptyFloat(lm) && isEmptyFloat(l23) && isEmptyFloat(l1))
        return EmptyFloat();
    return AC_SumFloat(AC_SumFloat(lm, isEmptyFloat(l23) ? l23 : 0.44 * l23), isEmptyFloat(l1) ? l1 : 0.22 * l1);
}

double TLVResultCustom::GetValueZero(int field, int variant) const
{
    const double v = GetValue(field, variant);
    return isEmptyFloat(v) || v == -1 ? 0 : v;
}

TLVResultRow::TLVResultRow() : Unom(EmptyFloat())
{
    Result.fill(EmptyFloat());
    Block.fill(EmptyFloat());
}

TLVResultRecord::TLVResultRecord()
{
    sums_.fill(EmptyFloat());
    derived_.fill(EmptyFloat());
}

void TLVResultRecord::ReadRow(const TLVResultRow& row, bool firstRowOfResult)
{
    // A feeder reached through two districts comes twice with the same blocks: each is kept once.
    for (const TLVBalanceBlock& b : blocks_)
        if (b.Balance == row.Balance && b.RES == row.RES)
            return;
    TLVBalanceBlock& block = blocks_.emplace_back();
    block.Balance = row.Balance;
    block.RES = row.RES;
    block.Values = row.Block;
    if (!firstRowOfResult)
        return;
    ++results_;
    TypeTR = row.TypeTR;
    Unom = row.Unom;
    Owners = {row.NodGuid, row.RES, 0};
    for (int f = 0; f < ResultFieldCount; ++f) {
        sums_[f] = row.Result[f];
        counts_[f] = isEmptyFloat(row.Result[f]) ? 0 : 1;
    }
    Mode = isEmptyFloat(sums_[rfSqrKfg]) ? 2 : 0;
}

void TLVResultRecord::AddRecord(const TLVResultRecord& other)
{
    for (const TLVBalanceBlock& b : other.blocks_) {
        auto it = std::find_if(blocks_.begin(), blocks_.end(),
                               [&](const TLVBalanceBlock& x) { return x.Balance == b.Balance && x.RES == b.RES; });
        if (it == blocks_.end())
            blocks_.push_back(b);
        else
            it->Add(b);
    }
    for (int f = 0; f < ResultFieldCount; ++f) {
        if (f == rfT)
            sums_[f] = isEmptyFloat(sums_[f])
                           ? other.sums_[f]
                           : (isEmptyFloat(other.sums_[f]) ? sums_[f] : std::max(sums_[f], other.sums_[f]));
        else
            sums_[f] = AC_SumFloat(sums_[f], other.sums_[f]);
        counts_[f] += other.counts_[f];
    }
    if (results_ == 0) {
        Unom = other.Unom;
        Mode = other.Mode;
    } else {
        if (CompareFloat(Unom, other.Unom) != 0)
            Unom = EmptyFloat();
        if (other.results_ > 0 && Mode != other.Mode)
            Mode = -1;
    }
    results_ += other.results_;
    if (TypeTR.isEmpty())
        TypeTR = other.TypeTR;
    const std::array<double, DerivedCount> added = other.DerivedValues();
    for (int i = 0; i < DerivedCount; ++i)
        derived_[i] = AC_SumFloat(derived_[i], added[i]);
    derivedSummed_ = true;
}

std::array<double, DerivedCount> TLVResultRecord::DerivedValues() const
{
    using namespace results;
    std::array<double, DerivedCount> v;
    v[dvActualW] = ActualLosses(*this, Measure::Energy);
    v[dvActualP] = ActualLosses(*this, Measure::Power);
    v[dvImbalanceW] = Imbalance(*this, Measure::Energy);
    v[dvImbalanceP] = Imbalance(*this, Measure::Power);
    v[dvNonTechnicalW] = NonTechnical(*this, Measure::Energy);
    v[dvNonTechnicalP] = NonTechnical(*this, Measure::Power);
    return v;
}

QList<int> TLVResultRecord::Districts() const
{
    QList<int> districts;
    for (const TLVBalanceBlock& b : blocks_)
        if (!districts.contains(b.RES))
            districts << b.RES;
    return districts;
}

TLVResultRecord TLVResultRecord::PartOfDistrict(int res, bool withRunValues) const
{
    TLVResultRecord part = *this;
    part.resIdx_ = -1;
    part.resList_.clear();
    std::erase_if(part.blocks_, [res](const TLVBalanceBlock& b) { return b.RES != res; });
    if (!withRunValues) {
        part.sums_.fill(EmptyFloat());
        part.counts_.fill(0);
    }
    part.Owners.RES = res;
    part.derivedSummed_ = false;
    part.derived_ = part.DerivedValues();
    part.derivedSummed_ = true;
    return part;
}

void TLVResultRecord::FinishResult(int mainRes)
{
    // Кн/м of the run: the relative power loss (per cent of the head power) over the greatest relative voltage
    // loss (per cent), as the feeder editor relates them.
    const double lossShare = Percent(GetValue(bfdP, VariantTotal), GetValue(bfPgen, VariantTotal));
    const double du = dUmax();
    sums_[rfKsv] = isEmptyFloat(lossShare) || isEmptyFloat(du) || du <= 0 ? EmptyFloat() : lossShare / du;
    counts_[rfKsv] = isEmptyFloat(sums_[rfKsv]) ? 0 : 1;
    // The derived quantities of a result are those of its parts by district, as each district's tree shows them.
    const QList<int> districts = Districts();
    if (!districts.contains(mainRes))
        mainRes = districts.value(0);
    derived_.fill(EmptyFloat());
    for (int res : districts) {
        const TLVResultRecord part = PartOfDistrict(res, res == mainRes);
        for (int i = 0; i < DerivedCount; ++i)
            derived_[i] = AC_SumFloat(derived_[i], part.derived_[i]);
    }
    derivedSummed_ = true;
}

std::optional<double> TLVResultRecord::Summed(int which) const
{
    // A district's view of a feeder works its values out from that district's blocks.
    if (!derivedSummed_ || resIdx_ >= 0 || which < 0 || which >= DerivedCount)
        return std::nullopt;
    return derived_[which];
}

bool TLVResultRecord::HasBlocks(int variant) const
{
    return std::any_of(blocks_.begin(), blocks_.end(),
                       [variant](const TLVBalanceBlock& b) { return inVariant(b.Balance, variant); });
}

void TLVResultRecord::BuildResList()
{
    resList_.clear();
    resIdx_ = -1;
    if (Level != 7)
        return;
    for (int i = 0; i < static_cast<int>(blocks_.size()); ++i) {
        const int res = blocks_[i].RES;
        auto it = std::find_if(resList_.begin(), resList_.end(), [&](const ResBlock& r) { return r.RES == res; });
        if (it == resList_.end())
            resList_.push_back({res, {i}});
        else
            it->rows.push_back(i);
    }
}

void TLVResultRecord::ClearResIdx()
{
    if (resIdx_ < 0)
        return;
    resIdx_ = -1;
    Owners.RES = wholeRes_;
}

double TLVResultRecord::GetValue(int field, int variant) const
{
    if (field < 0 || field >= BlockFieldCount)
        return EmptyFloat();
    double sum = EmptyFloat();
    auto add = [&](const TLVBalanceBlock& b) {
        if (inVariant(b.Balance, variant))
            sum = AC_SumFloat(sum, b.Values[field]);
    };
    if (resIdx_ >= 0 && resIdx_ < static_cast<int>(resList_.size()))
        for (int i : resList_[resIdx_].rows)
            add(blocks_[i]);
    else
        for (const TLVBalanceBlock& b : blocks_)
            add(b);
    return sum;
}

double TLVResultRecord::GetValueLVResult(int field) const
{
    if (field < 0 || field >= ResultFieldCount || counts_[field] == 0)
        return EmptyFloat();
    if (additive(field) || field == rfT)
        return sums_[field];
    return sums_[field] / counts_[field];
}

int TLVResultRecord::CountRes() const
{
    if (Level != 7 || resList_.size() <= 1)
        return 1;
    return static_cast<int>(resList_.size()) - 1;
}

TOwnersRes TLVResultRecord::GetOwnersRes(int index) const
{
    if (Level == 7 && index >= 0 && index < static_cast<int>(resList_.size()))
        return {Owners.Owner, resList_[index].RES, Owners.Tail};
    return Owners;
}

void TLVResultRecord::SetResIdx(int index)
{
    if (Level != 7 || resList_.empty() || index < 0 || index >= static_cast<int>(resList_.size()))
        return;
    if (resIdx_ < 0)
        wholeRes_ = Owners.RES;
    resIdx_ = index;
    Owners.RES = resList_[index].RES;
}

TLVResultRecord TLVResultRecord::OfKind(int kind) const
{
    TLVResultRecord copy = *this;
    copy.resIdx_ = -1;
    copy.resList_.clear();
    copy.derivedSummed_ = false;
    std::erase_if(copy.blocks_, [kind](const TLVBalanceBlock& b) { return !inVariant(b.Balance, kind); });
    return copy;
}

TLVResultRecord TLVResultRecord::LastBlockOnly() const
{
    TLVResultRecord copy = *this;
    copy.resIdx_ = -1;
    copy.resList_.clear();
    copy.derivedSummed_ = false;
    if (!copy.blocks_.empty())
        copy.blocks_.erase(copy.blocks_.begin(), copy.blocks_.end() - 1);
    return copy;
}

TMasRES TLVResultRecord::GetMasRES() const
{
    TMasRES mas;
    if (CountRes() >= 2) {
        for (int i = 0; i < CountRes(); ++i)
            mas.append({Owners.Owner, resList_[i].RES, -1});
    } else {
        mas.append({Owners.Owner, Owners.RES, -1});
    }
    return mas;
}

void TIdentLV::AddRecord(const TLVResultRecord& record, int level)
{
    for (const TLVBalanceBlock& b : record.Blocks()) {
        const std::pair<int, int> pair{b.Balance, b.RES};
        if (level < 7 && std::find(pairs_.begin(), pairs_.end(), pair) != pairs_.end())
            continue;  // a repeated pair: the block already present stands for it
        pairs_.push_back(pair);
    }
    record_.AddRecord(record);
}

TIdentLV& TLVFiderIdents::Ident(int ident)
{
    for (const auto& i : idents_)
        if (i->Ident() == ident)
            return *i;
    idents_.push_back(std::make_unique<TIdentLV>(ident));
    return *idents_.back();
}

void TLVFiderIdents::AddSum(TLVResultRecord& sum) const
{
    for (const auto& i : idents_)
        sum.AddRecord(i->Record());
}

TLVFiderIdents& TFiders_LV::Owned(int fiderGuid)
{
    // Each feeder stands once in the list, so the index finds the entry a search of the list would.
    const TLVFiderIdents*& entry = byGuid_[fiderGuid];
    if (!entry) {
        owned_.push_back(std::make_unique<TLVFiderIdents>(fiderGuid));
        entry = owned_.back().get();
        items_.push_back(entry);
    }
    return const_cast<TLVFiderIdents&>(*entry);
}

TLVFiderIdents& TFiders_LV::AddRecord(int fiderGuid, int ident, const TLVResultRecord& record, int level)
{
    TLVFiderIdents& entry = Owned(fiderGuid);
    entry.Ident(ident).AddRecord(record, level);
    return entry;
}

void TFiders_LV::AddLeaf(const TLVFiderIdents& leaf)
{
    // A feeder split over districts has a leaf under each: the parts are disjoint, each is taken once.
    if (leaves_.contains(&leaf))
        return;
    leaves_.insert(&leaf);
    items_.push_back(&leaf);
}

TLVFiderIdents& TFiders_LV::AddLVFider(int fiderGuid, int ident, const TLVResultRecord& record)
{
    return AddRecord(fiderGuid, ident, record.LastBlockOnly(), 7);
}

void TFiders_LV::AddSum(TLVResultRecord& sum) const
{
    for (const TLVFiderIdents* f : items_)
        f->AddSum(sum);
}

TPesResultsLV::TPesResultsLV(int level, int guid, const QString& text, TPesResultsLV* parent)
    : level_(level), guid_(guid), text_(text), parent_(parent)
{
    record_.Level = level;
    record_.Name = text;
}

TPesResultsLV* TPesResultsLV::FindGUID(int guid) const { return childByGuid_.value(guid, nullptr); }

TPesResultsLV* TPesResultsLV::FindNodeByAdress(const QList<int>& path)
{
    TPesResultsLV* node = this;
    for (int guid : path) {
        node = node->FindGUID(guid);
        if (!node)
            return nullptr;
    }
    return node;
}

TPesResultsLV* TPesResultsLV::FindExcelRow(int row)
{
    if (row <= 0)
        return nullptr;
    if (ExcelRow == row)
        return this;
    for (const auto& c : children_)
        if (TPesResultsLV* found = c->FindExcelRow(row))
            return found;
    return nullptr;
}

TPesResultsLV* TPesResultsLV::ParentNode(int level) const
{
    TPesResultsLV* node = parent_;
    while (node && level >= 0 && node->level_ != level)
        node = node->parent_;
    return node;
}

TPesResultsLV* TPesResultsLV::Ensure(int level, int guid, const QString& text)
{
    if (TPesResultsLV* found = FindGUID(guid))
        return found;
    children_.push_back(std::make_unique<TPesResultsLV>(level, guid, text, this));
    childByGuid_.insert(guid, children_.back().get());
    return children_.back().get();
}

int TPesResultsLV::CountRecords() const
{
    int n = 1;
    for (const auto& c : children_)
        n += c->CountRecords();
    return n;
}

void TPesResultsLV::Clear()
{
    children_.clear();
    childByGuid_.clear();
    fiderIdents_.reset();
    fidersLV_.reset();
    record_ = TLVResultRecord();
    record_.Level = level_;
    record_.Name = text_;
}

void TPesResultsLV::Assign(const TPesResultsLV& other)
{
    level_ = other.level_;
    guid_ = other.guid_;
    text_ = other.text_;
    record_ = other.record_;
    ExcelRow = other.ExcelRow;
}

void TPesResultsLV::AssignFull(const TPesResultsLV& other)
{
    Clear();
    Assign(other);
    CopyChilds(other);
}

void TPesResultsLV::CopyChilds(const TPesResultsLV& other)
{
    for (const auto& c : other.children_) {
        auto copy = std::make_unique<TPesResultsLV>(c->level_, c->guid_, c->text_, this);
        copy->AssignFull(*c);
        copy->parent_ = this;
        if (!childByGuid_.contains(copy->guid_))
            childByGuid_.insert(copy->guid_, copy.get());
        children_.push_back(std::move(copy));
    }
}

void TPesResultsLV::SetNormative(const QHash<int, double>& byGuid)
{
    QSet<int> counted;
    SetNormative(byGuid, counted);
}

void TPesResultsLV::SetNormative(const QHash<int, double>& byGuid, QSet<int>& counted)
{
    double sum = EmptyFloat();
    for (const auto& c : children_) {
        c->SetNormative(byGuid, counted);
        sum = AC_SumFloat(sum, c->record_.Normative);
    }
    // A substation whose feeders are balanced by two districts stands under both: its value counts once.
    const auto own = byGuid.constFind(guid_);
    if (own == byGuid.constEnd())
        record_.Normative = sum;
    else if (!counted.contains(guid_)) {
        counted.insert(guid_);
        record_.Normative = *own;
    } else
        record_.Normative = EmptyFloat();
}

void TPesResultsLV::FillChilds()
{
    ChildRows.clear();
    for (const auto& c : children_)
        if (c->ExcelRow > 0)
            ChildRows.append(c->ExcelRow);
}

void TPesResultsLV::SumRecords()
{
    if (children_.empty())
        return;
    TLVResultRecord sum;
    sum.Level = level_;
    sum.Name = text_;
    sum.Period = record_.Period;
    for (const auto& c : children_) {
        c->SumRecords();
        sum.AddRecord(c->record_);
    }
    if (level_ < 7)
        record_ = sum;
}

void TPesResultsLV::AddResult(TLVPendingResult& result, const QHash<int, QString>& names)
{
    const std::array<int, 8>& path = result.path;
    auto districtName = [&](int res) { return QStringLiteral("РЭС «%1»").arg(names.value(res)); };
    // The path from the object down to its LV feeder, created as needed.
    TPesResultsLV* leaf = this;
    for (int level = level_ + 1; level <= 7; ++level) {
        const bool created = !leaf->FindGUID(path[level]);
        leaf = leaf->Ensure(level, path[level], names.value(path[level]));
        if (level <= 1 && !leaf->fidersLV_)
            leaf->fidersLV_ = std::make_unique<TFiders_LV>();
        // A supply centre of another district stands under this one for a part of a feeder balanced here.
        if (created && level == 3 && level_ <= 2 && path[2] != result.ownerRes && result.ownerRes != 0)
            leaf->note_ = QStringLiteral("ЦП %1").arg(districtName(result.ownerRes));
    }
    if (result.districts.size() > 1 && leaf->note_.isEmpty()) {
        QStringList others;
        for (int res : result.districts)
            if (level_ > 2 || res != path[2])
                others << districtName(res);
        leaf->note_ = (level_ > 2 ? QStringLiteral("общая линия: %1") : QStringLiteral("общая линия, часть также в %1"))
                          .arg(others.join(QStringLiteral(", ")));
    }
    TLVResultRecord& record = result.record;
    record.Level = 7;
    if (!leaf->fiderIdents_)
        leaf->fiderIdents_ = std::make_unique<TLVFiderIdents>(leaf->guid_);
    leaf->fiderIdents_->Ident(result.ident).AddRecord(record, 7);
    leaf->record_.AddRecord(record);
    leaf->record_.Owners = record.Owners;
    leaf->record_.TypeTR = record.TypeTR;
    // Ancestors of level 0 and 1 list each leaf once, with the results it holds.
    for (TPesResultsLV* a = leaf->parent_; a; a = a->parent_)
        if (a->fidersLV_)
            a->fidersLV_->AddLeaf(*leaf->fiderIdents_);
}

bool TPesResultsLV::Open(ToznFDConnection& connection, int guid, int calcType, const QDateTime& sd1,
                         const QDateTime& sd2, int period, QString& error)
{
    Clear();
    guid_ = guid;
    level_ = FindLevelLV(connection, guid);
    if (level_ < 0) {
        error = QStringLiteral("Не найден GUID");
        level_ = 0;
        return false;
    }
    record_.Level = level_;
    TLVResultsReading reading =
        ReadResultsLV(connection, level_, guid, calcType, sd1, sd2, period, [this](const QString& text) {
            if (report_)
                report_(text);
            else
                host::progress().SetText(text);
        });
    Build(level_, guid, reading.Names.value(guid), reading.Results, reading.RowCount, reading.Names);
    return true;
}

void TPesResultsLV::Build(int level, int guid, const QString& text, std::vector<TLVPendingResult>& results,
                          int rowCount, const QHash<int, QString>& names)
{
    Clear();
    level_ = level;
    guid_ = guid;
    text_ = text;
    record_.Level = level;
    record_.Name = text;
    auto progress = [this](const QString& text) {
        if (report_)
            report_(text);
        else
            host::progress().SetText(text);
    };
    progress(QStringLiteral("3.Пробег по SQL+заполнение"));
    if (level_ <= 1)
        fidersLV_ = std::make_unique<TFiders_LV>();
    int reported = 0;
    for (TLVPendingResult& r : results) {
        if (r.lastRow - reported >= 5000 || r.lastRow == rowCount) {
            reported = r.lastRow;
            progress(QStringLiteral("Заполнение данных: %1 из %2").arg(r.lastRow).arg(rowCount));
        }
        if (r.record.ResultCount() == 0)
            continue;
        AddResult(r, names);
    }
    results.clear();
    progress(QStringLiteral("Обработка данных (сортировка)"));
    ForEach([](TPesResultsLV& n) {
        if (n.level_ == 7)
            n.record_.BuildResList();
    });
    SumRecords();
}

void TPesResultsLV::AddSum(const std::array<bool, 8>& visibleRows)
{
    if (HasFeederSum(visibleRows))
        record_ = FeederSum();
}

bool TPesResultsLV::HasFeederSum(const std::array<bool, 8>& visibleRows) const
{
    return level_ <= 1 && !parent_ && fidersLV_ && visibleRows[7];
}

TLVResultRecord TPesResultsLV::FeederSum() const
{
    TLVResultRecord sum;
    sum.Level = level_;
    sum.Name = text_;
    if (fidersLV_)
        fidersLV_->AddSum(sum);
    // What the feeders do not carry stays the node's own.
    sum.Normative = record_.Normative;
    sum.Owners = record_.Owners;
    sum.Period = record_.Period;
    sum.TypeTR = record_.TypeTR;
    return sum;
}

int TPesResultsLV::TypeNodeResult(const std::array<bool, 8>& visibleRows) const
{
    int flags = 0;
    if (!parent_)
        flags |= 1;
    if (visibleRows[level_])
        flags |= 4;
    int below = 0;
    for (int l = level_ + 1; l <= 7; ++l)
        below += visibleRows[l] ? 1 : 0;
    if (below == 0)
        flags |= 2;
    if (below == 1)
        flags |= 8;
    if (below >= 1)
        flags |= 16;
    return flags;
}

QString TPesResultsLV::Formula(const QString& word, int column, QChar separator,
                               const std::array<bool, 8>& visibleRows) const
{
    if (ChildRows.isEmpty())
        return {};
    if (ChildRows.size() == 1)
        return GetNameCell(column, ChildRows.first());
    if (TypeNodeResult(visibleRows) & 8)
        return word + GetNameCell(column, ChildRows.first()) + QLatin1Char(':') +
               GetNameCell(column, ChildRows.last()) + QLatin1Char(')');
    QStringList cells;
    for (int row : ChildRows)
        cells << GetNameCell(column, row);
    return word + cells.join(separator) + QLatin1Char(')');
}

QString TPesResultsLV::fSum(int column, QChar separator, const std::array<bool, 8>& visibleRows) const
{
    return Formula(QStringLiteral("SUM("), column, separator, visibleRows);
}

QString TPesResultsLV::fAvg(int column, QChar separator, const std::array<bool, 8>& visibleRows) const
{
    return Formula(QStringLiteral("AVERAGE("), column, separator, visibleRows);
}

QString TPesResultsLV::fMax(int column, QChar separator, const std::array<bool, 8>& visibleRows) const
{
    return Formula(QStringLiteral("MAX("), column, separator, visibleRows);
}
