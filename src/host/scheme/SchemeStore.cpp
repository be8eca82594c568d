#include "host/scheme/SchemeStore.h"

#include <QHash>
#include <QSet>
#include <algorithm>
#include <cmath>
#include <map>

#include "host/Connection.h"
#include "host/NumericHelpers.h"
#include "host/fider/RegimeStore.h"

namespace scheme {

using namespace fider;

namespace {
const char* kCatalogue =
    R"(select p."Ident", p."Marka", p."F", p."R0", p."X0", coalesce(t."CableFlags", 0) as "CableFlags"
    from "Provods" p join "ProvodTypes" t on t."Ident"=p."ProvodType" where t."Unom" between 0.379 and 0.381)";
const char* kSubstation = R"(select nod."Name", coalesce(t2."UnomH", ts."UnomH1") as "UnomH" from "Nodes" nod
    left join "Transforms2" t2 on t2."Ident"=nod."Transf" left join "TransformsSS" ts on ts."Ident"=nod."Transf"
    where nod."GUID"=:GUID)";
const char* kInterval = R"(select "Name" from "SamplesDates" where "Ident"=:Ident)";
const char* kFiders = R"(select lf."GUID", lf."Name",
    (select count(*) from "LVLines" l where l."OwnerGUID"=lf."GUID") as "Sections"
    from "LVFiders" lf where lf."OwnerGUID"=:GUID order by lf."GUID")";
const char* kNewGuids = R"(select gen_id("GUIDGen", %1) from rdb$database)";
const char* kInsertFider =
    R"(insert into "LVFiders" ("GUID", "Name", "OwnerGUID", "Unom") values (:GUID, :Name, :Owner, :Unom))";
const char* kOldNodes = R"(select n."GUID", n."Name", n."Kind" from "LVNodes" n where n."OwnerGUID"=:GUID)";
const char* kOldLines = R"(select l."GUID", l."Node2", l."Info" from "LVLines" l where l."OwnerGUID"=:GUID)";
const char* kDeleteLines = R"(delete from "LVLines" where "OwnerGUID"=:GUID)";
const char* kDeleteNodes = R"(delete from "LVNodes" where "OwnerGUID"=:GUID)";
// The data of a node of every interval, when the node leaves the scheme or stops being a consumer.
const char* kNodeDataOfFider[] = {
    R"(delete from "LVConsumers" c where c."GUID" in (select n."GUID" from "LVNodes" n where n."OwnerGUID"=:GUID))",
    R"(delete from "LVWLoads" w where w."GUID" in (select n."GUID" from "LVNodes" n where n."OwnerGUID"=:GUID))",
    R"(delete from "LVPLoads" w where w."GUID" in (select n."GUID" from "LVNodes" n where n."OwnerGUID"=:GUID))"};
const char* kDeleteNodeData[] = {R"(delete from "LVConsumers" where "GUID"=:GUID)",
                                 R"(delete from "LVWLoads" where "GUID"=:GUID)",
                                 R"(delete from "LVPLoads" where "GUID"=:GUID)"};
const char* kInsertNode = R"(insert into "LVNodes" ("GUID", "Name", "OwnerGUID", "TabOrder", "Kind", "State", "Phases",
    "ConsumerName", "Owner") values (:GUID, :Name, :Owner, :TabOrder, :Kind, :State, :Phases, :ConsumerName, :Balance))";
const char* kInsertLine =
    R"(insert into "LVLines" ("GUID", "OwnerGUID", "Node1", "Node2", "Info", "LineLength", "Phase",
    "ProvodPhase", "TabOrder", "Kind", "Phases", "ProvodNull", "State", "Owner")
    values (:GUID, :Owner, :Node1, :Node2, :Info, :LineLength, :Phase, :ProvodPhase, :TabOrder, :Kind, :Phases,
    :ProvodNull, :State, :Balance))";
const char* kStoreConsumer = R"(update or insert into "LVConsumers" ("SampleIdent", "GUID", "Name", "OwnerGUID", "Pust")
    values (:SampleIdent, :GUID, :Name, :Owner, :Pust) matching ("SampleIdent", "GUID"))";
const char* kStoreLoad = R"(update or insert into "LVWLoads" ("SampleIdent", "GUID", "Wa", "CosFi")
    values (:SampleIdent, :GUID, :Wa, :CosFi) matching ("SampleIdent", "GUID"))";
const char* kDeleteLoad = R"(delete from "LVWLoads" where "SampleIdent"=:SampleIdent and "GUID"=:GUID)";
const char* kLVFidersOf =
    R"(select lf."GUID" from "LVFiders" lf where lf."OwnerGUID"=:GUID order by lf."Name", lf."GUID")";
const char* kIsLVFider = R"(select lf."GUID" from "LVFiders" lf where lf."GUID"=:GUID)";

QString S(const char* sql) { return QString::fromUtf8(sql); }
QVariant Null() { return QVariant(QMetaType(QMetaType::Int)); }
QVariant NullText() { return QVariant(QMetaType(QMetaType::QString)); }

struct StoredFider {
    int guid = 0;
    QString name;
    int sections = 0;
};

// A feeder of the workbook and the stored feeder it goes into (guid 0: a new one).
struct Target {
    const TFiderScheme* scheme;
    StoredFider stored;
};

class Importer {
public:
    Importer(ToznFDConnection& c, const TImportOptions& o, TImportSummary& summary) : c_(c), o_(o), summary_(summary) {}

    // Checks against the database; fills the targets.
    void Plan(const TCheckedBook& book, std::vector<TBookProblem>& problems)
    {
        auto q = c_.NewQuery();
        q->SetSQLText(S(kSubstation));
        q->ParamByName(QStringLiteral("GUID"), o_.NodeGuid);
        q->Open();
        if (q->Eof()) {
            problems.push_back(
                {QString(), 0, 0, QStringLiteral("ТП с идентификатором %1 не найдена").arg(o_.NodeGuid)});
            return;
        }
        const double unomH = q->Float(QStringLiteral("UnomH"));
        unom_ = !isEmptyFloat(unomH) && unomH < 0.3 ? 0.22 : 0.38;
        if (o_.SampleIdent) {
            q->SetSQLText(S(kInterval));
            q->ParamByName(QStringLiteral("Ident"), o_.SampleIdent);
            q->Open();
            if (q->Eof())
                problems.push_back({QString(), 0, 0, QStringLiteral("Интервал %1 не найден").arg(o_.SampleIdent)});
        }
        QHash<QString, std::vector<StoredFider>> stored;
        q->SetSQLText(S(kFiders));
        q->ParamByName(QStringLiteral("GUID"), o_.NodeGuid);
        for (q->Open(); !q->Eof(); q->Next())
            stored[NameKey(q->Str(QStringLiteral("Name")))].push_back(
                {q->Int(QStringLiteral("GUID")), q->Str(QStringLiteral("Name")), q->Int(QStringLiteral("Sections"))});
        const QString sheet = QString::fromUtf8(kSectionsSheet);
        for (const TFiderScheme& f : book.Fiders) {
            const std::vector<StoredFider> same = stored.value(NameKey(f.Name));
            if (same.size() > 1) {
                problems.push_back({sheet, f.FirstRow, SFider + 1,
                                    QStringLiteral("в ТП %1 линий с именем «%2»; переименуйте их в базе")
                                        .arg(same.size())
                                        .arg(f.Name)});
                continue;
            }
            const StoredFider s = same.empty() ? StoredFider{} : same.front();
            if (s.sections > 0 && !o_.Replace)
                problems.push_back({sheet, f.FirstRow, SFider + 1,
                                    QStringLiteral("у линии «%1» уже есть схема в базе (участков: %2); она не "
                                                   "заменяется без согласия на замену")
                                        .arg(f.Name)
                                        .arg(s.sections)});
            targets_.push_back({&f, s});
        }
    }

    void Store()
    {
        for (const Target& t : targets_)
            StoreFider(t);
    }

private:
    // Keys come from the generator a block at a time: one round trip per feeder rather than per row.
    void ReserveGuids(int count)
    {
        auto q = c_.NewQuery();
        q->SetSQLText(S(kNewGuids).arg(count));
        q->Open();
        const int last = q->Value(0).toInt();
        nextGuid_ = last - count + 1;
        lastGuid_ = last;
    }
    int NewGuid()
    {
        if (nextGuid_ > lastGuid_)
            ReserveGuids(64);
        return nextGuid_++;
    }

    void Exec(const char* sql, const QVariantHash& values)
    {
        auto& q = statements_[sql];
        if (!q) {
            q = c_.NewQuery();
            q->SetSQLText(S(sql));
        }
        for (auto it = values.begin(); it != values.end(); ++it)
            q->ParamByName(it.key(), it.value());
        q->ExecSQL();
    }

    void StoreFider(const Target& t)
    {
        const TFiderScheme& f = *t.scheme;
        int fider = t.stored.guid;
        ReserveGuids(2 * static_cast<int>(f.Sections.size()) + 1);
        ++summary_.Fiders;
        if (!fider) {
            fider = NewGuid();
            Exec(kInsertFider, {{"GUID", fider}, {"Name", f.Name}, {"Owner", o_.NodeGuid}, {"Unom", unom_}});
            ++summary_.NewFiders;
            summary_.NewFiderList.push_back({fider, f.Name, unom_});
        } else if (t.stored.sections > 0) {
            summary_.Replaced << f.Name;
        }
        summary_.FiderGuids << fider;
        // What stays of the former scheme: nodes by name, sections by their far node.
        QHash<QString, int> oldNodes;
        QSet<int> oldConsumers;
        QHash<int, std::pair<int, QString>> oldLines;  // far node -> section, its name
        auto q = c_.NewQuery();
        q->SetSQLText(S(kOldNodes));
        q->ParamByName(QStringLiteral("GUID"), fider);
        for (q->Open(); !q->Eof(); q->Next()) {
            oldNodes.insert(NameKey(q->Str(QStringLiteral("Name"))), q->Int(QStringLiteral("GUID")));
            if (q->Int(QStringLiteral("Kind"), -1) == static_cast<int>(TNodeKind::Consumer))
                oldConsumers.insert(q->Int(QStringLiteral("GUID")));
        }
        q->SetSQLText(S(kOldLines));
        q->ParamByName(QStringLiteral("GUID"), fider);
        for (q->Open(); !q->Eof(); q->Next())
            oldLines.insert(q->Int(QStringLiteral("Node2")),
                            {q->Int(QStringLiteral("GUID")), q->Str(QStringLiteral("Info"))});
        Exec(kDeleteLines, {{"GUID", fider}});
        Exec(kDeleteNodes, {{"GUID", fider}});

        QHash<QString, int> guids{{NameKey(QString::fromUtf8(kSupplyCentre)), fider}};
        QHash<QString, const TSchemeConsumer*> consumers;
        for (const TSchemeConsumer& a : f.Consumers)
            consumers.insert(NameKey(a.Node), &a);
        QHash<QString, int> children;
        for (const TSchemeSection& s : f.Sections)
            ++children[NameKey(s.From)];
        QSet<int> keptConsumers, reused;
        int order = 0;
        for (const TSchemeSection& s : f.Sections) {
            const QString key = NameKey(s.To);
            const bool known = oldNodes.contains(key);
            const int node = known ? oldNodes.take(key) : NewGuid();
            if (known)
                reused.insert(node);
            guids.insert(key, node);
            const TSchemeConsumer* a = consumers.value(key);
            TNodeKind kind = s.Device             ? TNodeKind::SwitchGear
                             : a                  ? TNodeKind::Consumer
                             : children[key] >= 2 ? TNodeKind::TapPoint
                                                  : TNodeKind::Plain;
            ++order;
            Exec(kInsertNode, {{"GUID", node},
                               {"Name", s.To},
                               {"Owner", fider},
                               {"TabOrder", order},
                               {"Kind", static_cast<int>(kind)},
                               {"State", s.Device ? QVariant(*s.Device ? 1 : 0) : Null()},
                               {"Phases", a ? QVariant(PhasesText(a->Phases)) : NullText()},
                               {"ConsumerName", a ? QVariant(a->Name) : NullText()},
                               {"Balance", a && a->Owner ? QVariant(static_cast<int>(*a->Owner)) : Null()}});
            ++summary_.Nodes;
            if (a) {
                keptConsumers.insert(node);
                StoreLoads(*a, node, fider);
            }
            const auto old = oldLines.take(node);
            const QString info = old.first ? old.second : QStringLiteral("%1 - %2").arg(s.From, s.To);
            Exec(kInsertLine,
                 {{"GUID", old.first ? old.first : NewGuid()},
                  {"Owner", fider},
                  {"Node1", guids.value(NameKey(s.From))},
                  {"Node2", node},
                  {"Info", info},
                  {"LineLength", s.Length},
                  {"Phase", PhaseCount(s.Phases)},
                  {"ProvodPhase", s.Phase},
                  {"TabOrder", order},
                  {"Kind", static_cast<int>(s.Kind)},
                  {"Phases", PhasesText(s.Phases)},
                  {"ProvodNull", s.Neutral ? QVariant(s.Neutral) : Null()},
                  {"State", s.SwitchedOn ? 1 : 0},
                  {"Balance", s.Owner == TBalanceOwner::OnBalance ? Null() : QVariant(static_cast<int>(s.Owner))}});
            ++summary_.Sections;
        }
        // Nodes that left the scheme take their consumers' data of every interval with them; so do those
        // that are no longer consumers.
        for (int gone : oldNodes)
            for (const char* sql : kDeleteNodeData)
                Exec(sql, {{"GUID", gone}});
        for (int node : reused)
            if (oldConsumers.contains(node) && !keptConsumers.contains(node))
                for (const char* sql : kDeleteNodeData)
                    Exec(sql, {{"GUID", node}});
        summary_.Consumers += static_cast<int>(f.Consumers.size());
    }

    void StoreLoads(const TSchemeConsumer& a, int node, int fider)
    {
        if (!o_.SampleIdent)
            return;
        Exec(kStoreConsumer, {{"SampleIdent", o_.SampleIdent},
                              {"GUID", node},
                              {"Name", a.Name},
                              {"Owner", fider},
                              {"Pust", isEmptyFloat(a.Pust) ? QVariant(QMetaType(QMetaType::Double)) : a.Pust}});
        if (isEmptyFloat(a.Energy) && isEmptyFloat(a.CosFi)) {
            Exec(kDeleteLoad, {{"SampleIdent", o_.SampleIdent}, {"GUID", node}});
            return;
        }
        const auto value = [](double v) {
            return isEmptyFloat(v) ? QVariant(QMetaType(QMetaType::Double)) : QVariant(v);
        };
        Exec(kStoreLoad, {{"SampleIdent", o_.SampleIdent},
                          {"GUID", node},
                          {"Wa", value(isEmptyFloat(a.Energy) ? EmptyFloat() : a.Energy / 1000.0)},
                          {"CosFi", value(a.CosFi)}});
        ++summary_.Loads;
    }

    ToznFDConnection& c_;
    const TImportOptions& o_;
    TImportSummary& summary_;
    double unom_ = 0.38;
    int nextGuid_ = 1, lastGuid_ = 0;
    std::vector<Target> targets_;
    std::map<const char*, std::unique_ptr<TFDQuery>> statements_;
};
}  // namespace

TConductorCatalogue ReadCatalogue(ToznFDConnection& connection)
{
    return GuardedRead(connection, [&] {
        TConductorCatalogue catalogue;
        auto q = connection.NewQuery();
        q->SetSQLText(S(kCatalogue));
        for (q->Open(); !q->Eof(); q->Next())
            catalogue.Add(ConductorOfRow(*q));
        return catalogue;
    });
}

QString TImportSummary::ToString() const
{
    QString text = QStringLiteral("Загружено: линий %1 (новых %2), узлов %3, участков %4, абонентов %5")
                       .arg(Fiders)
                       .arg(NewFiders)
                       .arg(Nodes)
                       .arg(Sections)
                       .arg(Consumers);
    if (Loads)
        text += QStringLiteral(", нагрузок интервала %1").arg(Loads);
    if (!Replaced.isEmpty())
        text += QStringLiteral("\nЗаменены схемы линий: %1").arg(Replaced.join(QStringLiteral(", ")));
    for (const QString& w : Warnings)
        text += QLatin1Char('\n') + w;
    return text;
}

bool TSchemeStore::Import(const TSchemeBook& book, const TImportOptions& options, TImportSummary& summary,
                          std::vector<TBookProblem>& problems)
{
    summary = {};
    const TCheckedBook checked = CheckSchemeBook(book, ReadCatalogue(connection_));
    problems.insert(problems.end(), checked.Problems.begin(), checked.Problems.end());
    if (!problems.empty())
        return false;
    if (!options.SampleIdent &&
        std::any_of(checked.Fiders.begin(), checked.Fiders.end(), [](const TFiderScheme& f) { return f.HasLoads(); }))
        summary.Warnings << QStringLiteral("Мощности, энергии и cos φ абонентов не сохранены: не указан интервал");
    Importer importer(connection_, options, summary);
    bool started = false;  // a transaction of the caller's is not ours to end
    TScopedLockTimeout limit(connection_);
    try {
        connection_.StartTransaction();
        started = true;
        importer.Plan(checked, problems);
        if (problems.empty())
            importer.Store();
        if (!problems.empty()) {
            connection_.Rollback();
            return false;
        }
        connection_.Commit();
    } catch (const EDatabaseError& e) {
        if (started && connection_.inTransaction())
            connection_.Rollback();
        problems.push_back({QString(), 0, 0, QStringLiteral("Схема не сохранена: %1").arg(e.Text())});
        const QStringList warnings = summary.Warnings;
        summary = {};
        summary.Warnings = warnings;
        return false;
    }
    return true;
}

QStringList TSchemeStore::FidersWithSchemes(const TSchemeBook& book, int nodeGuid)
{
    QSet<QString> named;
    for (const TBookRow& r : book.Sections)
        named.insert(NameKey(r.Cell(SFider)));
    return GuardedRead(connection_, [&] {
        QStringList names;
        auto q = connection_.NewQuery();
        q->SetSQLText(S(kFiders));
        q->ParamByName(QStringLiteral("GUID"), nodeGuid);
        for (q->Open(); !q->Eof(); q->Next())
            if (q->Int(QStringLiteral("Sections")) > 0 && named.contains(NameKey(q->Str(QStringLiteral("Name")))))
                names << q->Str(QStringLiteral("Name"));
        return names;
    });
}

bool TSchemeStore::ClearScheme(int fiderGuid, QString& error)
{
    return TryWrite(connection_, QStringLiteral("Схема не удалена: %1"), error, [&] {
        auto q = connection_.NewQuery();
        for (const char* sql : kNodeDataOfFider) {
            q->SetSQLText(S(sql));
            q->ParamByName(QStringLiteral("GUID"), fiderGuid);
            q->ExecSQL();
        }
        for (const char* sql : {kDeleteLines, kDeleteNodes}) {
            q->SetSQLText(S(sql));
            q->ParamByName(QStringLiteral("GUID"), fiderGuid);
            q->ExecSQL();
        }
    });
}

bool TSchemeStore::Export(int guid, int sampleIdent, TSchemeBook& book, QString& error)
{
    QList<int> fiders;
    bool substation = false;
    GuardedRead(connection_, [&] {
        auto q = connection_.NewQuery();
        q->SetSQLText(S(kIsLVFider));
        q->ParamByName(QStringLiteral("GUID"), guid);
        q->Open();
        if (!q->Eof()) {
            fiders << guid;
            return;
        }
        q->SetSQLText(S(kSubstation));
        q->ParamByName(QStringLiteral("GUID"), guid);
        q->Open();
        substation = !q->Eof();
        q->SetSQLText(S(kLVFidersOf));
        q->ParamByName(QStringLiteral("GUID"), guid);
        for (q->Open(); !q->Eof(); q->Next())
            fiders << q->Int(QStringLiteral("GUID"));
    });
    if (fiders.isEmpty() && !substation) {
        error = QStringLiteral("%1 — не ТП и не линия 0,4 кВ").arg(guid);
        return false;
    }
    TRegimeRequest request;
    request.SampleIdent = sampleIdent;
    std::vector<TFiderHHInfo> schemes;
    for (TFiderJob& job : TRegimeReader(connection_, 0.5, 0.9).Read(fiders, request))
        schemes.push_back(std::move(job.Fider));
    book = BookFromFiders(schemes);
    return true;
}

}  // namespace scheme
