#include "host/fider/RegimeStore.h"

#include <QDateTime>
#include <QHash>
#include <QSet>
#include <cmath>

#include "host/Connection.h"
#include "host/NumericHelpers.h"
#include "host/fider/RegimeSql.h"

namespace fider {

namespace {
// A feeder set below this size is read feeder by feeder with indexed statements.
constexpr int kPerFeederLimit = 40;

// Reads the regime values of a row by the columns a statement has, matching names once per statement.
class ValuesReader {
public:
    explicit ValuesReader(const TFDQuery& q)
    {
        for (int c = 0; c < q.FieldCount(); ++c)
            for (int f = 0; f < static_cast<int>(TParamField::Count); ++f)
                if (q.FieldName(c).compare(ParamColumnName(static_cast<TParamField>(f)), Qt::CaseInsensitive) == 0)
                    columns_.push_back({static_cast<TParamField>(f), c});
    }
    TLVCalcValues Read(const TFDQuery& q) const
    {
        TLVCalcValues v;
        for (const auto& [field, column] : columns_) {
            const QVariant value = q.Value(column);
            v.Field(field) = value.isNull() ? EmptyFloat() : value.toDouble();
        }
        return v;
    }

private:
    std::vector<std::pair<TParamField, int>> columns_;
};

struct ConsumerData {
    QString name;
    double pust = EmptyFloat();
    double wa = EmptyFloat(), wr = EmptyFloat(), cos = EmptyFloat();
    bool hasLoad = false;
};

struct FiderRow {
    TFiderHHInfo info;
    int provodPhase = 0, provodNull = 0;
    double lineLength = EmptyFloat(), cosFi = EmptyFloat();
    QString consumerName, switchName;
};

class ReadRun {
public:
    ReadRun(ToznFDConnection& c, const QList<int>& fiders, const TRegimeRequest& r)
        : c_(c), fiders_(fiders), request_(r), perFeeder_(fiders.size() <= kPerFeederLimit)
    {
        for (int g : fiders)
            wanted_.insert(g);
    }

    // Runs a reading statement for the wanted feeders: one execution per feeder, or one for all.
    template <class Bind, class Row>
    void Rows(const char* sql, const char* filter, const char* all, Bind&& bind, Row&& row)
    {
        auto q = c_.NewQuery();
        q->SetSQLText(QString::fromUtf8(sql).arg(QString::fromUtf8(perFeeder_ ? filter : all)));
        if (!perFeeder_) {
            bind(*q);
            for (q->Open(); !q->Eof(); q->Next())
                row(*q);
            return;
        }
        for (int g : fiders_) {
            bind(*q);
            q->ParamByName(QStringLiteral("GUID"), g);
            for (q->Open(); !q->Eof(); q->Next())
                row(*q);
        }
    }
    void BindSample(TFDQuery& q) { q.ParamByName(QStringLiteral("SampleIdent"), request_.SampleIdent); }

    void Conductors()
    {
        auto q = c_.NewQuery();
        q->SetSQLText(QString::fromUtf8(RegimeSql::kConductors));
        for (q->Open(); !q->Eof(); q->Next()) {
            const TConductor p = ConductorOfRow(*q);
            conductors_.insert(p.Ident, p);
        }
    }

    TConductor Conductor(int ident) const
    {
        TConductor p = conductors_.value(ident);
        p.Ident = ident;
        return p;
    }

    void Fiders()
    {
        Rows(
            RegimeSql::kFiders, RegimeSql::kFilterFider, "", [](TFDQuery&) {},
            [&](TFDQuery& q) {
                const int guid = q.Int(QStringLiteral("GUID"));
                if (!wanted_.contains(guid))
                    return;
                FiderRow& f = fiders[guid];
                f.info.Guid = guid;
                f.info.Name = q.Str(QStringLiteral("Name"));
                f.info.NodeGuid = q.Int(QStringLiteral("OwnerGUID"));
                f.info.Res = q.Int(QStringLiteral("RES"));
                const double unom = q.Float(QStringLiteral("Unom"));
                f.info.Unom = isEmptyFloat(unom) ? 0.38 : unom;
                f.info.LoadKindCosFi = q.Float(QStringLiteral("LoadCos"));
                f.info.LoadKind = q.Int(QStringLiteral("TypeLoad"));
                f.provodPhase = q.Int(QStringLiteral("ProvodPhase"));
                f.provodNull = q.Int(QStringLiteral("ProvodNull"));
                f.lineLength = q.Float(QStringLiteral("LineLength"));
                f.cosFi = q.Float(QStringLiteral("CosFi"));
                f.consumerName = q.Str(QStringLiteral("ConsumerName")).trimmed();
                f.switchName = q.Str(QStringLiteral("SwitchGName")).trimmed();
            });
    }

    void Schemes()
    {
        Rows(
            RegimeSql::kNodes, RegimeSql::kFilterNodes, "", [](TFDQuery&) {},
            [&](TFDQuery& q) {
                const auto it = fiders.find(q.Int(QStringLiteral("OwnerGUID")));
                if (it == fiders.end())
                    return;
                TNode038 n;
                n.Guid = q.Int(QStringLiteral("GUID"));
                n.Name = q.Str(QStringLiteral("Name"));
                n.Kind = static_cast<TNodeKind>(std::clamp(q.Int(QStringLiteral("Kind"), 4), 0, 4));
                n.SwitchedOn = q.Int(QStringLiteral("State"), 1) != 0;
                it->info.Nodes.push_back(n);
                if (n.Kind != TNodeKind::Consumer)
                    return;
                TAbonentNode038 a;
                a.NodeGuid = n.Guid;
                a.Name = q.Str(QStringLiteral("ConsumerName")).trimmed();
                nodeNames.insert(n.Guid, n.Name);
                const auto phases = PhasesFromText(q.Str(QStringLiteral("Phases")));
                if (!phases)
                    problems[it->info.Guid] << QStringLiteral("Абонент «%1»: неверные фазы «%2»")
                                                   .arg(a.Name, q.Str(QStringLiteral("Phases")));
                a.Phases = phases.value_or(PhasesABC);
                if (!q.IsNull(QStringLiteral("Owner"))) {
                    a.Owner = OwnerFromCode(q.Int(QStringLiteral("Owner")));
                    if (!a.Owner)
                        problems[it->info.Guid] << QStringLiteral("Абонент «%1»: неизвестная балансовая "
                                                                  "принадлежность %2")
                                                       .arg(a.Name)
                                                       .arg(q.Int(QStringLiteral("Owner")));
                }
                a.Wa = a.Wr = a.CosFi = a.Pust = EmptyFloat();
                it->info.Consumers.push_back(a);
            });
        Rows(
            RegimeSql::kLines, RegimeSql::kFilterLines, "", [](TFDQuery&) {},
            [&](TFDQuery& q) {
                const auto it = fiders.find(q.Int(QStringLiteral("OwnerGUID")));
                if (it == fiders.end())
                    return;
                it->info.Lines.push_back(Line(q, problems[it->info.Guid]));
            });
    }

    TLine038 Line(const TFDQuery& q, QStringList& problems) const
    {
        TLine038 l;
        l.Guid = q.Int(QStringLiteral("GUID"));
        l.Name = q.Str(QStringLiteral("Info"));
        l.Node1 = q.Int(QStringLiteral("Node1"));
        l.Node2 = q.Int(QStringLiteral("Node2"));
        l.Length = q.Float(QStringLiteral("LineLength"));
        const int phase = q.Int(QStringLiteral("ProvodPhase"));
        const int neutral = q.Int(QStringLiteral("ProvodNull"));
        l.Phase = Conductor(phase);
        l.Neutral = neutral ? Conductor(neutral) : l.Phase;
        const QString name = l.Name.trimmed().isEmpty() ? QString::number(l.Guid) : l.Name.trimmed();
        if (q.IsNull(QStringLiteral("Kind")))
            l.Kind = phase == 0      ? TSectionKind::Connecting
                     : l.Phase.Cable ? TSectionKind::Cable
                                     : TSectionKind::Overhead;
        else if (const int kind = q.Int(QStringLiteral("Kind")); kind >= 0 && kind <= 2)
            l.Kind = static_cast<TSectionKind>(kind);
        else
            problems << QStringLiteral("Участок «%1»: неизвестный вид участка %2").arg(name).arg(kind);
        const auto phases = PhasesFromText(q.Str(QStringLiteral("Phases")));
        if (!phases)
            problems << QStringLiteral("Участок «%1»: неверные фазы «%2»").arg(name, q.Str(QStringLiteral("Phases")));
        l.Phases = phases.value_or(PhasesABC);
        l.SwitchedOn = q.Int(QStringLiteral("State"), 1) != 0;
        const auto owner = OwnerFromCode(q.Int(QStringLiteral("Owner"), 0));
        if (!owner)
            problems << QStringLiteral("Участок «%1»: неизвестная балансовая принадлежность %2")
                            .arg(name)
                            .arg(q.Int(QStringLiteral("Owner")));
        l.Owner = owner.value_or(TBalanceOwner::OnBalance);
        l.Res = q.Int(QStringLiteral("RES"));
        return l;
    }

    void Loads()
    {
        auto bindSample = [this](TFDQuery& q) { BindSample(q); };
        auto load = [this](bool maximum) {
            return [this, maximum](TFDQuery& q) {
                ConsumerData& d = consumers[q.Int(QStringLiteral("GUID"))];
                if (d.hasLoad && !maximum)
                    return;  // the maximum-load regime's own loads were read first
                d.wa = q.Float(QStringLiteral("Wa"));
                d.wr = q.Float(QStringLiteral("Wr"));
                d.cos = q.Float(QStringLiteral("CosFi"));
                d.hasLoad = true;
            };
        };
        if (request_.Regime == TRegimeKind::Maximum)
            Rows(RegimeSql::kPLoads, RegimeSql::kFilterLoads, RegimeSql::kAllLoads, bindSample, load(true));
        Rows(RegimeSql::kWLoads, RegimeSql::kFilterLoads, RegimeSql::kAllLoads, bindSample, load(false));
        Rows(RegimeSql::kConsumers, RegimeSql::kFilterConsumers, RegimeSql::kAllConsumers, bindSample,
             [this](TFDQuery& q) {
                 ConsumerData& d = consumers[q.Int(QStringLiteral("GUID"))];
                 d.name = q.Str(QStringLiteral("Name")).trimmed();
                 d.pust = q.Float(QStringLiteral("Pust"));
             });
    }

    void Parameters()
    {
        auto bindSample = [this](TFDQuery& q) { BindSample(q); };
        std::unique_ptr<ValuesReader> reader;
        auto into = [&reader](QHash<int, TLVCalcValues>& target) {
            return [&reader, &target](TFDQuery& q) {
                if (!reader)
                    reader = std::make_unique<ValuesReader>(q);
                target.insert(q.Int(QStringLiteral("GUID")), reader->Read(q));
            };
        };
        Rows(
            RegimeSql::kStoredParams, RegimeSql::kFilterStoredParams, "",
            [this](TFDQuery& q) {
                BindSample(q);
                q.ParamByName(QStringLiteral("Regime"), static_cast<int>(request_.Regime));
            },
            [&](TFDQuery& q) {
                into(stored)(q);
                if (!q.IsNull(QStringLiteral("SampleType")))
                    storedTypes.insert(q.Int(QStringLiteral("GUID")), q.Int(QStringLiteral("SampleType")));
            });
        reader.reset();
        Rows(RegimeSql::kLineSamples, RegimeSql::kFilterLineSamples, "", bindSample, into(lineSamples));
        reader.reset();
        // The substations' rows are few and keyed by the substation: always read whole.
        auto q = c_.NewQuery();
        q->SetSQLText(QString::fromUtf8(RegimeSql::kTPSamples).arg(QString()));
        BindSample(*q);
        for (q->Open(); !q->Eof(); q->Next())
            into(tpSamples)(*q);
    }

    // A feeder without a scheme of its own: one section of its parameters with its load at the end.
    void Equivalent(TFiderJob& job, const FiderRow& row)
    {
        TFiderHHInfo& f = job.Fider;
        f.Equivalent = true;
        if (row.provodPhase == 0 || !std::isfinite(row.lineLength) || row.lineLength <= 0) {
            job.Problems << QStringLiteral("Нет схемы линии, а для расчета без схемы не заданы марка провода и "
                                           "длина линии");
            return;
        }
        TNode038 end;
        end.Guid = -1;
        end.Name = row.consumerName.isEmpty() ? QStringLiteral("Нагрузка линии") : row.consumerName;
        end.Kind = TNodeKind::Consumer;
        f.Nodes.push_back(end);
        TLine038 line;
        line.Guid = -1;
        line.Name = f.Name;
        line.Node1 = f.Guid;
        line.Node2 = end.Guid;
        line.Length = row.lineLength;
        line.Phase = Conductor(row.provodPhase);
        line.Neutral = row.provodNull ? Conductor(row.provodNull) : line.Phase;
        line.Kind = line.Phase.Cable ? TSectionKind::Cable : TSectionKind::Overhead;
        f.Lines.push_back(line);
        TAbonentNode038 load;
        load.NodeGuid = end.Guid;
        load.Name = end.Name;
        load.Wa = job.Settings.FiderWa;  // the energy supplied is all the feeder's consumption known
        load.Wr = EmptyFloat();
        load.CosFi = row.cosFi;
        load.Pust = EmptyFloat();
        f.Consumers.push_back(load);
    }

    std::vector<TFiderJob> Jobs(double hours, double defaultKzap, double defaultCos)
    {
        std::vector<TFiderJob> jobs;
        jobs.reserve(fiders_.size());
        for (int guid : fiders_) {
            const auto it = fiders.find(guid);
            if (it == fiders.end())
                continue;
            TFiderJob job;
            job.Fider = std::move(it->info);
            job.Problems = problems.value(guid);
            for (TAbonentNode038& a : job.Fider.Consumers) {
                const ConsumerData d = consumers.value(a.NodeGuid);
                // The scheme's name of the consumer, else the interval's list, else the node's name.
                if (a.Name.isEmpty())
                    a.Name = d.name.isEmpty() ? nodeNames.value(a.NodeGuid) : d.name;
                a.Wa = d.wa;
                a.Wr = d.wr;
                a.CosFi = d.cos;
                a.Pust = d.pust;
            }
            TFiderParamSources sources;
            if (stored.contains(guid))
                sources.Stored = stored.value(guid);
            if (storedTypes.contains(guid))
                sources.StoredSampleType = storedTypes.value(guid);
            sources.Line = lineSamples.value(guid);
            sources.Substation = tpSamples.value(job.Fider.NodeGuid);
            job.Settings =
                ResolveSettings(request_, sources, hours, job.Fider.NominalPhaseVoltage(), defaultKzap, defaultCos);
            if (job.Fider.Nodes.empty() && job.Fider.Lines.empty())
                Equivalent(job, *it);
            jobs.push_back(std::move(job));
            fiders.erase(it);
        }
        return jobs;
    }

    QHash<int, FiderRow> fiders;
    QHash<int, QStringList> problems;
    QHash<int, ConsumerData> consumers;
    QHash<int, QString> nodeNames;
    QHash<int, TLVCalcValues> stored, lineSamples, tpSamples;
    QHash<int, int> storedTypes;

private:
    ToznFDConnection& c_;
    const QList<int>& fiders_;
    const TRegimeRequest& request_;
    bool perFeeder_;
    QSet<int> wanted_;
    QHash<int, TConductor> conductors_;
};
}  // namespace

TRegimeReader::TRegimeReader(ToznFDConnection& connection, double defaultKzap, double defaultCosFi)
    : connection_(connection), defaultKzap_(defaultKzap), defaultCosFi_(defaultCosFi)
{
}

TConductor ConductorOfRow(const TFDQuery& q)
{
    TConductor p;
    p.Ident = q.Int(QStringLiteral("Ident"));
    p.Marka = q.Str(QStringLiteral("Marka")).trimmed();
    p.F = q.Float(QStringLiteral("F"));
    p.R0 = q.Float(QStringLiteral("R0"));
    p.X0 = q.Float(QStringLiteral("X0"));
    p.Cable = q.Int(QStringLiteral("CableFlags")) != 0;
    if (!std::isfinite(p.X0))
        p.X0 = 0;
    p.Known = std::isfinite(p.R0) && p.R0 >= 0 && p.X0 >= 0;
    return p;
}

double TRegimeReader::IntervalHours(int sampleIdent)
{
    return GuardedRead(connection_, [&] {
        auto q = connection_.NewQuery();
        q->SetSQLText(QString::fromUtf8(RegimeSql::kInterval));
        q->ParamByName(QStringLiteral("Ident"), sampleIdent);
        q->Open();
        if (q->Eof())
            return 0.0;
        const QDateTime d1 = q->Value(QStringLiteral("SampleDate1")).toDateTime();
        const QDateTime d2 = q->Value(QStringLiteral("SampleDate2")).toDateTime();
        return d1.isValid() && d2.isValid() ? std::round(d1.secsTo(d2) / 3600.0) : 0.0;
    });
}

std::vector<TFiderJob> TRegimeReader::Read(const QList<int>& fiders, const TRegimeRequest& request)
{
    const double hours = IntervalHours(request.SampleIdent);
    return GuardedRead(connection_, [&] {
        ReadRun run(connection_, fiders, request);
        run.Conductors();
        run.Fiders();
        run.Schemes();
        run.Loads();
        run.Parameters();
        return run.Jobs(hours, defaultKzap_, defaultCosFi_);
    });
}

}  // namespace fider
