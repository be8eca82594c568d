#include "host/profiles/ProfileStore.h"

#include <QSet>
#include <cmath>

#include "host/Connection.h"
#include "host/Dialogs.h"
#include "host/Meters.h"
#include "host/SamplePeriods.h"
#include "host/fider/Scheme038.h"
#include "host/profiles/ProfileSql.h"
#include "host/scheme/SchemeBook.h"

namespace profiles {

namespace {
QString S(const char* sql) { return QString::fromUtf8(sql); }
QString Columns(const char* sql) { return S(sql).arg(S(ProfileSql::kColumns)); }
QVariant num(double v) { return std::isfinite(v) ? QVariant(v) : QVariant(QMetaType(QMetaType::Double)); }

QString KindText(TProfileKind kind)
{
    switch (kind) {
    case TProfileKind::Consumer: return QStringLiteral("абонента");
    case TProfileKind::Head: return QStringLiteral("головного счетчика линии");
    default: return QStringLiteral("типа нагрузки");
    }
}
}  // namespace

bool ProfileOfRow(const TFDQuery& q, TStoredProfile& p, QString& problem)
{
    p.FiderGuid = q.Int(QStringLiteral("FiderGUID"));
    p.Kind = static_cast<TProfileKind>(std::clamp(q.Int(QStringLiteral("Kind")), 0, 2));
    p.Guid = q.Int(QStringLiteral("GUID"));
    p.Series.Start = MinuteOf(q.Value(QStringLiteral("Start")).toDateTime());
    p.Series.StepMinutes = q.Int(QStringLiteral("StepMinutes"));
    const int steps = q.Int(QStringLiteral("Steps"));
    const bool active = DecodeValues(q.Value(QStringLiteral("Active")).toByteArray(), p.Series.Active);
    const QByteArray reactive = q.Value(QStringLiteral("Reactive")).toByteArray();
    const bool reactiveOk =
        reactive.isEmpty() ? (p.Series.Reactive.clear(), true) : DecodeValues(reactive, p.Series.Reactive);
    if (!active || !reactiveOk || p.Series.Steps() != steps ||
        (p.Series.HasReactive() && static_cast<int>(p.Series.Reactive.size()) != steps) ||
        !IsStepMinutes(p.Series.StepMinutes)) {
        problem = QStringLiteral("график %1 %2 поврежден").arg(KindText(p.Kind)).arg(p.Guid);
        return false;
    }
    return true;
}

std::vector<TProfileInterval> ReadIntervals(ToznFDConnection& connection)
{
    return GuardedRead(connection, [&] {
        std::vector<TProfileInterval> list;
        auto q = connection.NewQuery();
        q->SetSQLText(S(ProfileSql::kIntervals));
        for (q->Open(); !q->Eof(); q->Next()) {
            const QDateTime d1 = q->Value(QStringLiteral("SampleDate1")).toDateTime();
            const QDateTime d2 = q->Value(QStringLiteral("SampleDate2")).toDateTime();
            if (!d1.isValid() || !d2.isValid() || !(d1 < d2))
                continue;
            list.push_back({q->Int(QStringLiteral("Ident")), q->Str(QStringLiteral("Name")).trimmed(), MinuteOf(d1),
                            MinuteOf(d2)});
        }
        return list;
    });
}

bool ReadProfileTargets(ToznFDConnection& connection, int nodeGuid, TProfileTargets& targets, QString& error)
{
    return GuardedRead(connection, [&] {
        auto q = connection.NewQuery();
        q->SetSQLText(S(ProfileSql::kSubstation));
        q->ParamByName(QStringLiteral("GUID"), nodeGuid);
        q->Open();
        if (q->Eof()) {
            error = QStringLiteral("%1 — не ТП").arg(nodeGuid);
            return false;
        }
        std::vector<fider::TFiderHHInfo> fiders;
        q->SetSQLText(S(ProfileSql::kFidersOf));
        q->ParamByName(QStringLiteral("GUID"), nodeGuid);
        for (q->Open(); !q->Eof(); q->Next()) {
            fider::TFiderHHInfo f;
            f.Guid = q->Int(QStringLiteral("GUID"));
            f.Name = q->Str(QStringLiteral("Name"));
            fiders.push_back(f);
        }
        QSet<int> objects;
        q->SetSQLText(S(ProfileSql::kNodesOf));
        for (fider::TFiderHHInfo& f : fiders) {
            targets.AddFider(f.Guid, f.Name);
            objects.insert(f.Guid);
            q->ParamByName(QStringLiteral("GUID"), f.Guid);
            QSet<int> consumers;
            for (q->Open(); !q->Eof(); q->Next()) {
                fider::TNode038 n;
                n.Guid = q->Int(QStringLiteral("GUID"));
                n.Name = q->Str(QStringLiteral("Name"));
                f.Nodes.push_back(n);
                if (q->Int(QStringLiteral("Kind"), 4) == static_cast<int>(fider::TNodeKind::Consumer))
                    consumers.insert(n.Guid);
            }
            const QHash<int, QString> names = scheme::BookNodeNames(f);
            for (const fider::TNode038& n : f.Nodes) {
                targets.AddNode(f.Guid, n.Guid, names.value(n.Guid), consumers.contains(n.Guid));
                objects.insert(n.Guid);
            }
        }
        const QHash<int, TMeter> meters = LoadMeters(connection);
        for (auto it = meters.cbegin(); it != meters.cend(); ++it)
            if (objects.contains(it.key()))
                targets.AddMeter(it->Name, it.key());
            else
                targets.AddMeter(it->Name, -it.key());  // known, but not under this substation
        return true;
    });
}

std::vector<const TStoredProfile*> TProfileStore::Existing(int sampleIdent, const std::vector<TStoredProfile>& profiles)
{
    return GuardedRead(connection_, [&] {
        std::vector<const TStoredProfile*> existing;
        auto q = connection_.NewQuery();
        q->SetSQLText(S(ProfileSql::kKeysOfFider));
        int fider = -1;
        QSet<qint64> stored;
        for (const TStoredProfile& p : profiles) {
            if (p.FiderGuid != fider) {
                fider = p.FiderGuid;
                stored.clear();
                q->ParamByName(QStringLiteral("SampleIdent"), sampleIdent)
                    .ParamByName(QStringLiteral("FiderGUID"), fider);
                for (q->Open(); !q->Eof(); q->Next())
                    stored.insert((qint64(q->Int(QStringLiteral("Kind"))) << 32) |
                                  quint32(q->Int(QStringLiteral("GUID"))));
            }
            if (stored.contains((qint64(p.Kind) << 32) | quint32(p.Guid)))
                existing.push_back(&p);
        }
        return existing;
    });
}

void TProfileStore::Save(int sampleIdent, const std::vector<TStoredProfile>& profiles)
{
    TScopedLockTimeout timeout(connection_);
    // In the caller's transaction when one is open; in one of its own otherwise.
    const bool own = !connection_.inTransaction();
    if (own)
        connection_.StartTransaction(false);
    try {
        auto q = connection_.NewQuery();
        q->SetSQLText(S(ProfileSql::kStore));
        for (const TStoredProfile& p : profiles) {
            const TProfileSeries& s = p.Series;
            q->ParamByName(QStringLiteral("SampleIdent"), sampleIdent)
                .ParamByName(QStringLiteral("FiderGUID"), p.FiderGuid)
                .ParamByName(QStringLiteral("Kind"), static_cast<int>(p.Kind))
                .ParamByName(QStringLiteral("GUID"), p.Guid)
                .ParamByName(QStringLiteral("Start"), TimeOfMinute(s.Start))
                .ParamByName(QStringLiteral("StepMinutes"), s.StepMinutes)
                .ParamByName(QStringLiteral("Steps"), s.Steps())
                .ParamByName(QStringLiteral("Wa"), num(s.SumActive()))
                .ParamByName(QStringLiteral("Wr"), num(s.SumReactive()))
                .ParamByName(QStringLiteral("Active"), EncodeValues(s.Active, s.Decimals))
                .ParamByName(QStringLiteral("Reactive"), s.HasReactive()
                                                             ? QVariant(EncodeValues(s.Reactive, s.Decimals))
                                                             : QVariant(QMetaType(QMetaType::QByteArray)));
            q->ExecSQL();
        }
        if (own)
            connection_.Commit();
    } catch (...) {
        if (own)
            connection_.Rollback();
        throw;
    }
}

namespace {
std::vector<TStoredProfile> readAll(TFDQuery& q, QStringList& problems)
{
    std::vector<TStoredProfile> list;
    for (q.Open(); !q.Eof(); q.Next()) {
        TStoredProfile p;
        QString problem;
        if (ProfileOfRow(q, p, problem))
            list.push_back(std::move(p));
        else
            problems << problem;
    }
    return list;
}
}  // namespace

std::vector<TStoredProfile> TProfileStore::ReadFider(int sampleIdent, int fiderGuid, QStringList& problems)
{
    return GuardedRead(connection_, [&] {
        auto q = connection_.NewQuery();
        q->SetSQLText(Columns(ProfileSql::kOfFider));
        q->ParamByName(QStringLiteral("SampleIdent"), sampleIdent).ParamByName(QStringLiteral("FiderGUID"), fiderGuid);
        return readAll(*q, problems);
    });
}

std::vector<TStoredProfile> TProfileStore::ReadTypical(int sampleIdent, QStringList& problems)
{
    return GuardedRead(connection_, [&] {
        auto q = connection_.NewQuery();
        q->SetSQLText(Columns(ProfileSql::kTypical));
        q->ParamByName(QStringLiteral("SampleIdent"), sampleIdent);
        return readAll(*q, problems);
    });
}

void TProfileStore::Count(int sampleIdent, int nodeGuid, int& consumers, int& heads)
{
    consumers = heads = 0;
    GuardedRead(connection_, [&] {
        auto q = connection_.NewQuery();
        q->SetSQLText(S(ProfileSql::kCounts));
        q->ParamByName(QStringLiteral("SampleIdent"), sampleIdent).ParamByName(QStringLiteral("GUID"), nodeGuid);
        for (q->Open(); !q->Eof(); q->Next())
            (q->Value(0).toInt() == static_cast<int>(TProfileKind::Head) ? heads : consumers) = q->Value(1).toInt();
    });
}

QString TProfileLoad::Summary() const
{
    int step = 0;
    bool mixed = false;
    for (const TStoredProfile& p : Check.Profiles) {
        mixed = mixed || (step && step != p.Series.StepMinutes);
        step = p.Series.StepMinutes;
    }
    return QStringLiteral("Загружены графики за %1: абонентов %2, головных счетчиков %3 (шаг %4 мин), строк %5%6")
        .arg(Check.Interval.Text())
        .arg(Consumers)
        .arg(Heads)
        .arg(mixed ? QStringLiteral("разный") : QString::number(step))
        .arg(Check.Lines)
        .arg(Replaced ? QStringLiteral("; заменено прежних: %1").arg(Replaced) : QString())
        .prepend(Created.isEmpty() ? QString() : QStringLiteral("Создан интервал «%1»\n").arg(Created));
}

QStringList TProfileLoad::Problems() const
{
    QStringList list;
    if (!Error.isEmpty())
        list << Error;
    list << Check.ProblemTexts();
    for (const QString& title : Existing)
        list << QStringLiteral("%1: график за %2 уже есть в базе").arg(title, Check.Interval.Text());
    return list;
}

TProfileLoad LoadProfileFile(ToznFDConnection& connection, const QString& file, int nodeGuid, int sampleIdent,
                             bool replace)
{
    TProfileLoad load;
    try {
        TProfileTargets targets;
        if (!ReadProfileTargets(connection, nodeGuid, targets, load.Error))
            return load;
        load.Check = ReadProfileFile(file, targets, ReadIntervals(connection), sampleIdent);
        // A file of one calendar month or year that no interval holds is checked against that interval, which is
        // made when the file is stored, as the measurement workbooks do: a new database has none.
        int month = 0, year = 0;
        if (load.Check.NoInterval) {
            const QDate first = TimeOfMinute(load.Check.FirstStep).date(),
                        last = TimeOfMinute(load.Check.LastStep).date();
            if (first.year() == last.year()) {
                year = first.year();
                month = first.month() == last.month() ? first.month() : 0;
                const QDate start(year, month ? month : 1, 1);
                const QDate end = month ? start.addMonths(1) : start.addYears(1);
                std::vector<TProfileInterval> intervals{{-1, SamplePeriodName(year, month),
                                                         MinuteOf(QDateTime(start, QTime(0, 0))),
                                                         MinuteOf(QDateTime(end, QTime(0, 0)))}};
                load.Check = ReadProfileFile(file, targets, intervals, -1);
            }
        }
        if (!load.Check.Ok())
            return load;
        TProfileStore store(connection);
        const std::vector<const TStoredProfile*> existing =
            store.Existing(load.Check.Interval.Ident, load.Check.Profiles);
        load.Replaced = static_cast<int>(existing.size());
        if (!replace)
            for (const TStoredProfile* p : existing)
                load.Existing << targets.At(targets.TargetOf(p->Guid, p->Kind)).Title;
        if (!load.Existing.isEmpty())
            return load;
        if (load.Check.Interval.Ident < 0) {
            QString error;
            load.Check.Interval.Ident = CreateSamplePeriod(connection, year, month, error);
            if (!load.Check.Interval.Ident) {
                load.Error = error;
                return load;
            }
            load.Created = load.Check.Interval.Name;
        }
        store.Save(load.Check.Interval.Ident, load.Check.Profiles);
        for (const TStoredProfile& p : load.Check.Profiles)
            ++(p.Kind == TProfileKind::Head ? load.Heads : load.Consumers);
        load.Stored = true;
    } catch (const EDatabaseError& e) {
        load.Error = QStringLiteral("Ошибка базы данных: %1").arg(e.Text());
        load.Stored = false;
    }
    return load;
}

TProfileLoad LoadProfileFileAsking(ToznFDConnection& connection, const QString& file, int nodeGuid, int sampleIdent)
{
    TProfileLoad load = LoadProfileFile(connection, file, nodeGuid, sampleIdent, false);
    if (load.Stored || load.Existing.isEmpty() || !load.Check.Ok() || !load.Error.isEmpty())
        return load;
    constexpr int kNamed = 10;
    QString names = load.Existing.mid(0, kNamed).join(QStringLiteral(", "));
    if (load.Existing.size() > kNamed)
        names += QStringLiteral(" и еще %1").arg(load.Existing.size() - kNamed);
    if (!host::AskYesNo(QStringLiteral("Графики нагрузки за %1 уже есть в базе: %2.\nЗаменить их графиками из файла?")
                            .arg(load.Check.Interval.Text(), names)))
        return load;
    return LoadProfileFile(connection, file, nodeGuid, load.Check.Interval.Ident, true);
}

}  // namespace profiles
