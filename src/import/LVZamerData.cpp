#include "import/LVZamerData.h"

#include <QHash>
#include <QSet>
#include <cmath>
#include <functional>

#include "host/Connection.h"
#include "host/InitOZN.h"
#include "host/Meters.h"
#include "host/NumericHelpers.h"
#include "host/Tree.h"
#include "import/ImportSql.h"
#include "import/LVZamerColumns.h"
#include "import/ZamerSheets.h"

namespace {
using R = TLVZamerRecord;
using Consumer = TLVZamerConsumer;
const char* const kPhases[3] = {"A", "B", "C"};

// The energy column holds the substation's own energy or the sum of a feeder's.
double& energy(R& r) { return r.TypeRec == R::TP ? r.W : r.W_sum; }

quint64 objectKey(int kind, int guid) { return (static_cast<quint64>(kind) << 32) | static_cast<quint32>(guid); }

// Hours and other whole numbers: NULL when not given, or when too large for the column (never wrapped).
QVariant whole(double value)
{
    if (isEmptyFloat(value) || !(std::fabs(value) < 2147483647.0))
        return QVariant();
    return QVariant(static_cast<int>(std::lround(value)));
}

void bindPhases(TFDQuery& q, const R& r, bool withMax)
{
    for (int p = 0; p < 3; ++p) {
        const QString ph = QString::fromLatin1(kPhases[p]);
        q.ParamFloat(QStringLiteral("U") + ph, r.U[p]).ParamFloat(QStringLiteral("I") + ph, r.I[p]);
        if (withMax)
            q.ParamFloat(QStringLiteral("Imax") + ph, r.Imax[p]);
        q.ParamFloat(QStringLiteral("CosFi") + ph, r.CosFi[p]);
    }
}

void phasesOf(R& r)
{
    const std::array<double, 3>* triplets[4] = {&r.U, &r.I, &r.Imax, &r.CosFi};
    for (int t = 0; t < 4; ++t)
        r.Phases[t] = std::none_of(triplets[t]->begin(), triplets[t]->end(), [](double v) { return isEmptyFloat(v); });
}
}  // namespace

TLVZamerRecord::TLVZamerRecord()
    : Unom(EmptyFloat()), W(EmptyFloat()), W_bus(EmptyFloat()), W_sum(EmptyFloat()), T(EmptyFloat()), Kdp(EmptyFloat()),
      Kzap(EmptyFloat()), sqrKfg(EmptyFloat()), Temperature(EmptyFloat()), Tmax(EmptyFloat()), Tau(EmptyFloat())
{
    for (auto* a : {&U, &I, &Imax, &CosFi})
        a->fill(EmptyFloat());
}

TLVZamerConsumer::TLVZamerConsumer()
    : W_sum(EmptyFloat()), Wr(EmptyFloat()), CosFi(EmptyFloat()), Pust(EmptyFloat()), Pz(EmptyFloat()),
      Pi(EmptyFloat()), I(EmptyFloat()), Param1(EmptyFloat()), Param2(EmptyFloat()), KindCosFi(EmptyFloat())
{
}

bool ApplyZamerSwitch(std::array<bool, 3>& switches, int clicked)
{
    if (clicked < 0 || clicked > 2)
        return false;
    std::array<bool, 3> next = switches;
    next[clicked] = !next[clicked];
    if (clicked == 2 && next[2])
        next[1] = false;
    if (clicked == 1 && next[1])
        next[2] = false;
    if (!next[0] && !next[1] && !next[2])
        return false;  // the clicked switch stays on
    switches = next;
    return true;
}

int TLVZamerData::Pending() const
{
    int pending = 0;
    for (const R& r : records_)
        pending += r.EditRec ? 1 : 0;
    for (const Consumer& c : consumers_)
        pending += c.EditRec ? 1 : 0;
    return pending;
}

void TLVZamerData::Load(ToznFDConnection& connection, ToznListItemCommon* item, int sampleIdent, int hours,
                        bool withLines, bool withConsumers)
{
    records_.clear();
    consumers_.clear();
    loadTypes_.clear();
    notes_.clear();
    base_.clear();
    consumerBase_.clear();
    feeders_.clear();
    withConsumers_ = withConsumers;
    withLines_ = withLines;
    object_ = item ? item->Target()->GetIdent() : 0;
    sampleIdent_ = sampleIdent;
    hours_ = hours;
    defaultKzap_ = Init()->GetDefaultKzap();
    defaultCosFi_ = Init()->GetDefaultCosFi();
    if (!item)
        return;
    // The substations under the item in the tree's order (a substation shown twice counts once), each
    // followed by its LV feeders.
    std::function<void(ToznListItemCommon*)> walk = [&](ToznListItemCommon* i) {
        if (i->isLink())
            return;
        const int type = i->GetNodeType();
        if (type == NodeType::Nodes || (type == NodeType::LVFiders && withLines)) {
            R r;
            r.TypeRec = type == NodeType::Nodes ? R::TP : R::Line;
            r.Guid = i->GetIdent();
            r.Name = i->GetText();
            r.Unom = i->GetUnom();
            r.MeterName = i->GetMeterName();
            records_.push_back(r);
        }
        if (type == NodeType::LVFiders) {
            feeders_.append(i->GetIdent());
            return;
        }
        for (int c = 0; c < i->GetCount(); ++c)
            walk(i->GetItems(c));
    };
    walk(item->Target());
    for (size_t n = 0; n < records_.size(); ++n) {
        records_[n].Num = static_cast<int>(n) + 1;
        records_[n].NumStr = FirstRow + static_cast<int>(n);
    }
    if (withConsumers)
        consumers_ = ReadConsumers(connection, loadTypes_);
    ReadStored(connection, records_);
    ReadMeters(connection, records_, consumers_);
}

void TLVZamerData::ReadMeters(ToznFDConnection& connection, std::vector<R>& records,
                              std::vector<Consumer>& consumers) const
{
    // The register of meters names the meter of every row and its state.
    const QHash<int, TMeter> meters = LoadMeters(connection);
    for (R& r : records)
        if (const auto it = meters.constFind(r.Guid); it != meters.cend()) {
            r.MeterName = it->Name;
            r.ST = it->State;
        }
    for (Consumer& c : consumers)
        if (const auto it = meters.constFind(c.Guid); it != meters.cend()) {
            c.MeterName = it->Name;
            c.ST = it->State;
        }
}

void TLVZamerData::ReadStored(ToznFDConnection& connection, std::vector<R>& records) const
{
    QHash<quint64, size_t> index;
    for (size_t n = 0; n < records.size(); ++n)
        index.insert(objectKey(records[n].TypeRec, records[n].Guid), n);
    auto find = [&](int kind, int guid) -> R* {
        const auto it = index.constFind(objectKey(kind, guid));
        return it == index.cend() ? nullptr : &records[*it];
    };
    auto phases = [](const TFDQuery& q, R& r, bool withMax) {
        for (int p = 0; p < 3; ++p) {
            const QString ph = QString::fromLatin1(kPhases[p]);
            r.U[p] = q.Float(QStringLiteral("U") + ph);
            r.I[p] = q.Float(QStringLiteral("I") + ph);
            if (withMax)
                r.Imax[p] = q.Float(QStringLiteral("Imax") + ph);
            r.CosFi[p] = q.Float(QStringLiteral("CosFi") + ph);
        }
    };
    // The peak-load tables keep the same values for substations and feeders.
    auto peak = [&](const TFDQuery& q, R& r) {
        r.inBase = true;
        energy(r) = q.Float(QStringLiteral("Wa"));
        phases(q, r, false);
        for (auto [field, name] : {std::pair{&R::T, "T"},
                                   {&R::Tau, "Tau"},
                                   {&R::Kzap, "Kzap"},
                                   {&R::Tmax, "Tmax"},
                                   {&R::Kdp, "Kdp"},
                                   {&R::Temperature, "Temperature"}})
            r.*field = q.Float(QString::fromLatin1(name));
    };
    GuardedRead(connection, [&] {
        auto q = connection.NewQuery();
        if (kind_ == TLVZamerKind::Tmax) {
            q->SetSQLText(QString::fromUtf8(ImportSql::kTransformerTypes));
            for (q->Open(); !q->Eof(); q->Next())
                if (R* r = find(R::TP, q->Int(QStringLiteral("GUID"))))
                    r->TypeTp = q->Str(QStringLiteral("TypeTR"));
            for (auto [sql, kind] : {std::pair{ImportSql::kPTPInfo, R::TP}, {ImportSql::kLVPSamples, R::Line}}) {
                q->SetSQLText(QString::fromUtf8(sql));
                q->ParamByName(QStringLiteral("Ident"), sampleIdent_);
                for (q->Open(); !q->Eof(); q->Next())
                    if (R* r = find(kind, q->Int(QStringLiteral("GUID"))))
                        peak(*q, *r);
            }
            return;
        }
        q->SetSQLText(QString::fromUtf8(ImportSql::kTPInfo));
        q->ParamByName(QStringLiteral("Ident"), sampleIdent_);
        for (q->Open(); !q->Eof(); q->Next())
            if (R* r = find(R::TP, q->Int(QStringLiteral("GUID")))) {
                r->inBase = true;
                r->W_bus = q->Float(QStringLiteral("Wa_bus"));
                phases(*q, *r, true);
                r->Kdp = q->Float(QStringLiteral("Kdp"));
                r->Temperature = q->Float(QStringLiteral("Temperature"));
            }
        q->SetSQLText(QString::fromUtf8(ImportSql::kWLoads));
        q->ParamByName(QStringLiteral("Ident"), sampleIdent_);
        for (q->Open(); !q->Eof(); q->Next())
            if (R* r = find(R::TP, q->Int(QStringLiteral("GUID")))) {
                r->inBase = true;
                r->W = q->Float(QStringLiteral("Wa"));
                r->T = q->Float(QStringLiteral("T"));
                r->Kzap = q->Float(QStringLiteral("Kzap"));
                r->sqrKfg = q->Float(QStringLiteral("sqrKfg"));
            }
        q->SetSQLText(QString::fromUtf8(ImportSql::kLVWSamples));
        q->ParamByName(QStringLiteral("Ident"), sampleIdent_);
        for (q->Open(); !q->Eof(); q->Next())
            if (R* r = find(R::Line, q->Int(QStringLiteral("GUID")))) {
                r->inBase = true;
                r->W_sum = q->Float(QStringLiteral("Wa"));
                r->T = q->Float(QStringLiteral("T"));
                phases(*q, *r, true);
                r->Kdp = q->Float(QStringLiteral("Kdp"));
                r->Kzap = q->Float(QStringLiteral("Kzap"));
                r->sqrKfg = q->Float(QStringLiteral("sqrKfg"));
                r->Temperature = q->Float(QStringLiteral("Temperature"));
            }
    });
    for (R& r : records) {
        if (isEmptyFloat(r.T) && hours_ > 0)
            r.T = hours_;  // the interval's hours unless the row has its own
        phasesOf(r);
    }
}

QStringList TLVZamerData::Differences(const R& from, const R& to) const
{
    QStringList changes;
    for (const zamer::Column& c : zamer::ValueColumns(kind_)) {
        if (c.busbars && from.TypeRec != R::TP)
            continue;
        R a = from, b = to;
        if (CompareFloat(c.field(a), c.field(b)) != 0)
            changes << QStringLiteral("%1: %2 → %3").arg(c.caption, ShownValue(c.field(a)), ShownValue(c.field(b)));
    }
    if (from.MeterName != to.MeterName)
        changes << QStringLiteral("Счетчик: «%1» → «%2»").arg(from.MeterName, to.MeterName);
    if (kind_ == TLVZamerKind::W && from.ST != to.ST)
        changes << QStringLiteral("Состояние счетчика: «%1» → «%2»")
                       .arg(MeterStateNames().value(from.ST), MeterStateNames().value(to.ST));
    return changes;
}

QStringList TLVZamerData::Differences(const Consumer& from, const Consumer& to) const
{
    QStringList changes;
    for (const zamer::ConsumerColumn& c : zamer::ConsumerColumns(kind_)) {
        Consumer a = from, b = to;
        if (CompareFloat(c.field(a), c.field(b)) != 0)
            changes << QStringLiteral("%1: %2 → %3").arg(c.caption, ShownValue(c.field(a)), ShownValue(c.field(b)));
    }
    if (from.MeterName != to.MeterName)
        changes << QStringLiteral("Счетчик: «%1» → «%2»").arg(from.MeterName, to.MeterName);
    if (kind_ == TLVZamerKind::Tmax && from.LoadType != to.LoadType)
        changes << QStringLiteral("Вид нагрузки: «%1» → «%2»")
                       .arg(loadTypes_.value(from.LoadType), loadTypes_.value(to.LoadType));
    return changes;
}

R TLVZamerData::WrittenBase(const R& r) const { return r.EditRec ? base_.value(objectKey(r.TypeRec, r.Guid), r) : r; }

Consumer TLVZamerData::WrittenBase(const Consumer& c) const { return c.EditRec ? consumerBase_.value(c.Guid, c) : c; }

QStringList TLVZamerData::PendingChanges(const R& r) const
{
    const auto it = base_.constFind(objectKey(r.TypeRec, r.Guid));
    return r.EditRec && it != base_.cend() ? Differences(*it, r) : QStringList();
}

QStringList TLVZamerData::PendingChanges(const Consumer& c) const
{
    const auto it = consumerBase_.constFind(c.Guid);
    return c.EditRec && it != consumerBase_.cend() ? Differences(*it, c) : QStringList();
}

QStringList TLVZamerData::ConflictsWith(const std::vector<R>& records, const std::vector<Consumer>& consumers) const
{
    QStringList conflicts;
    for (size_t n = 0; n < records_.size(); ++n) {
        const R& r = records_[n];
        const auto base = base_.constFind(objectKey(r.TypeRec, r.Guid));
        if (!r.EditRec || base == base_.cend())
            continue;
        const QStringList changed = Differences(*base, records[n]);
        if (!changed.isEmpty())
            conflicts << QStringLiteral("%1 (%2): в базе после записи книги %3")
                             .arg(r.Name.trimmed())
                             .arg(r.Guid)
                             .arg(changed.join(QStringLiteral("; ")));
    }
    QHash<int, const Consumer*> now;
    for (const Consumer& c : consumers)
        now.insert(c.Guid, &c);
    for (const Consumer& c : consumers_) {
        const auto base = consumerBase_.constFind(c.Guid);
        if (!c.EditRec || base == consumerBase_.cend())
            continue;
        const Consumer* stored = now.value(c.Guid);
        const QStringList changed =
            stored ? Differences(*base, *stored) : QStringList{QStringLiteral("абонент удален")};
        if (!changed.isEmpty())
            conflicts << QStringLiteral("%1 (%2): в базе после записи книги %3")
                             .arg(c.Name)
                             .arg(c.Guid)
                             .arg(changed.join(QStringLiteral("; ")));
    }
    return conflicts;
}

void TLVZamerData::ReadNow(ToznFDConnection& connection, std::vector<R>& records,
                           std::vector<Consumer>& consumers) const
{
    records.clear();
    records.reserve(records_.size());
    for (const R& r : records_) {
        R fresh;
        fresh.TypeRec = r.TypeRec;
        fresh.Guid = r.Guid;
        fresh.Name = r.Name;
        fresh.Num = r.Num;
        fresh.NumStr = r.NumStr;
        fresh.Unom = r.Unom;
        fresh.TypeTp = r.TypeTp;
        records.push_back(fresh);
    }
    QHash<int, QString> loadTypes;
    consumers.clear();
    if (withConsumers_)
        consumers = ReadConsumers(connection, loadTypes);
    ReadStored(connection, records);
    ReadMeters(connection, records, consumers);
}

QStringList TLVZamerData::Conflicts(ToznFDConnection& connection) const
{
    if (base_.isEmpty() && consumerBase_.isEmpty())
        return {};
    std::vector<R> records;
    std::vector<Consumer> consumers;
    ReadNow(connection, records, consumers);
    return ConflictsWith(records, consumers);
}

void TLVZamerData::KeepDatabaseValues(const std::vector<R>& now, const std::vector<Consumer>& consumersNow)
{
    for (size_t n = 0; n < records_.size(); ++n) {
        R& r = records_[n];
        const quint64 key = objectKey(r.TypeRec, r.Guid);
        const auto base = base_.constFind(key);
        if (!r.EditRec || base == base_.cend() || Differences(*base, now[n]).isEmpty())
            continue;
        r = now[n];  // the database's values stay; the user's row is given up
        base_.remove(key);
    }
    QHash<int, const Consumer*> byGuid;
    for (const Consumer& c : consumersNow)
        byGuid.insert(c.Guid, &c);
    for (Consumer& c : consumers_) {
        const auto base = consumerBase_.constFind(c.Guid);
        if (!c.EditRec || base == consumerBase_.cend())
            continue;
        const Consumer* stored = byGuid.value(c.Guid);
        if (stored && Differences(*base, *stored).isEmpty())
            continue;
        if (stored) {
            const int numStr = c.NumStr, num = c.Num;
            c = *stored;
            c.NumStr = numStr;
            c.Num = num;
            c.KindCosFi = base->KindCosFi;
        } else {
            c.EditRec = false;
        }
        consumerBase_.remove(c.Guid);
    }
}

TWorkbookSave TLVZamerData::Save(ToznFDConnection& connection, TConflictChoice choice)
{
    TWorkbookSave result;
    TScopedLockTimeout limit(connection);
    connection.StartTransaction(false);
    const std::vector<R> recordsBefore = records_;
    const std::vector<Consumer> consumersBefore = consumers_;
    const auto baseBefore = base_;
    const auto consumerBaseBefore = consumerBase_;
    try {
        // Compared inside the transaction that writes, so that nothing changes between the two.
        if (!base_.isEmpty() || !consumerBase_.isEmpty()) {
            std::vector<R> now;
            std::vector<Consumer> consumersNow;
            ReadNow(connection, now, consumersNow);
            result.Conflicts = ConflictsWith(now, consumersNow);
            if (!result.Conflicts.isEmpty() && choice == TConflictChoice::Refuse) {
                connection.Rollback();
                return result;
            }
            if (!result.Conflicts.isEmpty() && choice == TConflictChoice::KeepDatabase)
                KeepDatabaseValues(now, consumersNow);
        }
        result.Written = kind_ == TLVZamerKind::W ? SaveEnergy(connection) : SavePeak(connection);
        result.Written += SaveConsumers(connection);
        // Every row written registers its meter, as the user left it.
        for (const R& r : records_)
            if (r.EditRec)
                SaveMeter(connection, r.Guid, TMeter{r.MeterName, r.ST});
        for (const Consumer& c : consumers_)
            if (c.EditRec)
                SaveMeter(connection, c.Guid, TMeter{c.MeterName, c.ST});
        connection.Commit();
    } catch (...) {
        connection.Rollback();
        // Nothing was stored: the table is as it was before.
        records_ = recordsBefore;
        consumers_ = consumersBefore;
        base_ = baseBefore;
        consumerBase_ = consumerBaseBefore;
        throw;
    }
    result.Stored = true;
    for (R& r : records_)
        if (r.EditRec) {
            r.EditRec = false;
            r.EditT = false;
            r.inBase = true;
        }
    for (Consumer& c : consumers_)
        if (c.EditRec) {
            c.EditRec = false;
            c.inBase = true;
        }
    base_.clear();
    consumerBase_.clear();
    notes_.clear();
    return result;
}

int TLVZamerData::SaveEnergy(ToznFDConnection& connection)
{
    auto tpInfo = connection.NewQuery(), loads = connection.NewQuery(), samples = connection.NewQuery();
    tpInfo->SetSQLText(QString::fromUtf8(ImportSql::kSaveTPInfo));
    loads->SetSQLText(QString::fromUtf8(ImportSql::kSaveWLoads));
    samples->SetSQLText(QString::fromUtf8(ImportSql::kSaveLVWSamples));
    int written = 0;
    // The tables in their order: substations' measurements, their loads, then the feeders'.
    for (const R& r : records_)
        if (r.EditRec && r.TypeRec == R::TP) {
            tpInfo->ParamByName(QStringLiteral("SampleIdent"), sampleIdent_)
                .ParamByName(QStringLiteral("GUID"), r.Guid);
            tpInfo->ParamFloat(QStringLiteral("Wa_bus"), r.W_bus);
            bindPhases(*tpInfo, r, true);
            tpInfo->ParamFloat(QStringLiteral("Kdp"), r.Kdp).ParamFloat(QStringLiteral("Temperature"), r.Temperature);
            tpInfo->ExecSQL();
        }
    for (const R& r : records_)
        if (r.EditRec && r.TypeRec == R::TP) {
            loads->ParamByName(QStringLiteral("SampleIdent"), sampleIdent_).ParamByName(QStringLiteral("GUID"), r.Guid);
            loads->ParamFloat(QStringLiteral("Wa"), r.W).ParamByName(QStringLiteral("T"), whole(r.T));
            loads->ParamFloat(QStringLiteral("Kzap"), r.Kzap).ParamFloat(QStringLiteral("sqrKfg"), r.sqrKfg);
            loads->ExecSQL();
            ++written;
        }
    for (const R& r : records_)
        if (r.EditRec && r.TypeRec == R::Line) {
            samples->ParamByName(QStringLiteral("SampleIdent"), sampleIdent_)
                .ParamByName(QStringLiteral("GUID"), r.Guid);
            samples->ParamFloat(QStringLiteral("Wa"), r.W_sum).ParamByName(QStringLiteral("T"), whole(r.T));
            bindPhases(*samples, r, true);
            samples->ParamFloat(QStringLiteral("Kdp"), r.Kdp).ParamFloat(QStringLiteral("Kzap"), r.Kzap);
            samples->ParamFloat(QStringLiteral("sqrKfg"), r.sqrKfg);
            samples->ParamFloat(QStringLiteral("Temperature"), r.Temperature);
            samples->ExecSQL();
            ++written;
        }
    return written;
}

int TLVZamerData::SavePeak(ToznFDConnection& connection)
{
    // Substations, then feeders: each kind has one table of the same values.
    auto tp = connection.NewQuery(), line = connection.NewQuery();
    tp->SetSQLText(QString::fromUtf8(ImportSql::kSavePTPInfo));
    line->SetSQLText(QString::fromUtf8(ImportSql::kSaveLVPSamples));
    int written = 0;
    for (auto [kind, q] : {std::pair{R::TP, tp.get()}, {R::Line, line.get()}})
        for (R& r : records_)
            if (r.EditRec && r.TypeRec == kind) {
                q->ParamByName(QStringLiteral("SampleIdent"), sampleIdent_).ParamByName(QStringLiteral("GUID"), r.Guid);
                bindPhases(*q, r, false);
                q->ParamFloat(QStringLiteral("Kdp"), r.Kdp).ParamFloat(QStringLiteral("Wa"), energy(r));
                q->ParamByName(QStringLiteral("T"), whole(r.T)).ParamFloat(QStringLiteral("Tau"), r.Tau);
                q->ParamFloat(QStringLiteral("Kzap"), r.Kzap).ParamByName(QStringLiteral("Tmax"), whole(r.Tmax));
                q->ParamFloat(QStringLiteral("Temperature"), r.Temperature);
                q->ExecSQL();
                ++written;
            }
    return written;
}

void TLVZamerData::ChangeInterval(int sampleIdent, int hours)
{
    for (R& r : records_) {
        // Hours the user left at the old interval's follow the new one; hours of their own stay.
        if (!isEmptyFloat(r.T) && CompareFloat(r.T, hours_) == 0)
            r.T = hours;
        // What the table carries over is the new interval's until the user changes it: rows with values are
        // to be saved there.
        bool any = false;
        for (const zamer::Column& c : zamer::ValueColumns(kind_))
            any = any || (&c.field(r) != &r.T && !isEmptyFloat(c.field(r)));
        r.EditRec = any;
        r.inBase = false;
    }
    for (Consumer& c : consumers_) {
        bool any = false;
        for (const zamer::ConsumerColumn& col : zamer::ConsumerColumns(kind_))
            any = any || !isEmptyFloat(col.field(c));
        c.EditRec = any;
        c.inBase = false;
    }
    sampleIdent_ = sampleIdent;
    hours_ = hours;
    // Moved to another interval with the user's consent to replace what is stored there: nothing to compare.
    base_.clear();
    consumerBase_.clear();
}

std::vector<Consumer> TLVZamerData::ReadConsumers(ToznFDConnection& connection, QHash<int, QString>& loadTypes) const
{
    const QSet<int> under(feeders_.begin(), feeders_.end());
    std::vector<Consumer> consumers;
    QHash<int, size_t> index;
    GuardedRead(connection, [&] {
        auto q = connection.NewQuery();
        q->SetSQLText(QString::fromUtf8(ImportSql::kConsumers));
        q->ParamByName(QStringLiteral("Ident"), sampleIdent_);
        for (q->Open(); !q->Eof(); q->Next()) {
            Consumer c;
            c.OwnerGuid = q->Int(QStringLiteral("OwnerGUID"));
            if (!under.contains(c.OwnerGuid))
                continue;
            c.Guid = q->Int(QStringLiteral("GUID"));
            c.Name = q->Str(QStringLiteral("Name"));
            c.Pust = q->Float(QStringLiteral("Pust"));
            c.FlagPu = q->Int(QStringLiteral("flagPu"));
            index.insert(c.Guid, consumers.size());
            consumers.push_back(c);
        }
        // The load kind of each feeder gives its consumers' cos φ when they have none of their own.
        QHash<int, double> kindCos;
        q->SetSQLText(QString::fromUtf8(ImportSql::kFeederLoadCos));
        for (q->Open(); !q->Eof(); q->Next())
            kindCos.insert(q->Int(QStringLiteral("GUID")), q->Float(QStringLiteral("CosFi")));
        for (Consumer& c : consumers)
            c.KindCosFi = kindCos.value(c.OwnerGuid, EmptyFloat());
        q->SetSQLText(QString::fromUtf8(ImportSql::kLoadTypes));
        for (q->Open(); !q->Eof(); q->Next())
            loadTypes.insert(q->Int(QStringLiteral("Ident")), q->Str(QStringLiteral("Name")));
        q->SetSQLText(QString::fromUtf8(kind_ == TLVZamerKind::W ? ImportSql::kLVWLoads : ImportSql::kLVPLoads));
        q->ParamByName(QStringLiteral("Ident"), sampleIdent_);
        for (q->Open(); !q->Eof(); q->Next()) {
            const auto it = index.constFind(q->Int(QStringLiteral("GUID")));
            if (it == index.cend())
                continue;
            Consumer& c = consumers[*it];
            c.inBase = true;
            c.W_sum = q->Float(QStringLiteral("Wa"));
            c.Wr = q->Float(QStringLiteral("Wr"));
            c.CosFi = q->Float(QStringLiteral("CosFi"));
            if (kind_ == TLVZamerKind::Tmax) {
                for (auto [field, name] : {std::pair{&Consumer::Pz, "Pz"},
                                           {&Consumer::Pi, "Pi"},
                                           {&Consumer::I, "I"},
                                           {&Consumer::Param1, "Param1"},
                                           {&Consumer::Param2, "Param2"}})
                    c.*field = q->Float(QString::fromLatin1(name));
                c.LoadType = q->Int(QStringLiteral("LoadType"));
            }
        }
    });
    for (size_t n = 0; n < consumers.size(); ++n) {
        consumers[n].Num = static_cast<int>(n) + 1;
        consumers[n].NumStr = FirstRow + static_cast<int>(n);
    }
    return consumers;
}

int TLVZamerData::SaveConsumers(ToznFDConnection& connection)
{
    auto loads = connection.NewQuery(), consumers = connection.NewQuery();
    loads->SetSQLText(
        QString::fromUtf8(kind_ == TLVZamerKind::W ? ImportSql::kSaveLVWLoads : ImportSql::kSaveLVPLoads));
    consumers->SetSQLText(QString::fromUtf8(ImportSql::kSaveConsumer));
    int written = 0;
    // The loads first, then the consumers' own values.
    for (const Consumer& c : consumers_) {
        if (!c.EditRec)
            continue;
        loads->ParamByName(QStringLiteral("SampleIdent"), sampleIdent_).ParamByName(QStringLiteral("GUID"), c.Guid);
        loads->ParamFloat(QStringLiteral("Wa"), c.W_sum).ParamFloat(QStringLiteral("Wr"), c.Wr);
        loads->ParamFloat(QStringLiteral("CosFi"), c.CosFi);
        if (kind_ == TLVZamerKind::Tmax) {
            loads->ParamFloat(QStringLiteral("Pz"), c.Pz).ParamFloat(QStringLiteral("Pi"), c.Pi);
            loads->ParamFloat(QStringLiteral("I"), c.I).ParamByName(QStringLiteral("LoadType"), c.LoadType);
            loads->ParamFloat(QStringLiteral("Param1"), c.Param1).ParamFloat(QStringLiteral("Param2"), c.Param2);
        }
        loads->ExecSQL();
        ++written;
    }
    if (kind_ == TLVZamerKind::W)
        for (const Consumer& c : consumers_)
            if (c.EditRec) {
                consumers->ParamByName(QStringLiteral("SampleIdent"), sampleIdent_)
                    .ParamByName(QStringLiteral("GUID"), c.Guid);
                consumers->ParamFloat(QStringLiteral("Pust"), c.Pust)
                    .ParamByName(QStringLiteral("flagPu"), isEmptyFloat(c.Pust) ? 0 : 1);
                consumers->ExecSQL();
            }
    return written;
}

QList<int> TLVZamerData::PeriodsWithData(ToznFDConnection& connection, TLVZamerKind kind)
{
    return GuardedRead(connection, [&] {
        QList<int> periods;
        auto q = connection.NewQuery();
        q->SetSQLText(
            QString::fromUtf8(kind == TLVZamerKind::W ? ImportSql::kPeriodsWithW : ImportSql::kPeriodsWithTmax));
        for (q->Open(); !q->Eof(); q->Next())
            periods << q->Int(QStringLiteral("SampleIdent"));
        return periods;
    });
}

QStringList TLVZamerData::StoredIn(ToznFDConnection& connection, int sampleIdent) const
{
    const QSet<int> stored = GuardedRead(connection, [&] {
        QSet<int> guids;
        auto q = connection.NewQuery();
        q->SetSQLText(QString::fromUtf8(kind_ == TLVZamerKind::W ? ImportSql::kStoredW : ImportSql::kStoredTmax));
        q->ParamByName(QStringLiteral("Ident"), sampleIdent);
        for (q->Open(); !q->Eof(); q->Next())
            guids.insert(q->Int(QStringLiteral("GUID")));
        return guids;
    });
    QStringList names;
    for (const R& r : records_)
        if (stored.contains(r.Guid))
            names << r.Name;
    for (const Consumer& c : consumers_)
        if (stored.contains(c.Guid))
            names << c.Name;
    return names;
}
