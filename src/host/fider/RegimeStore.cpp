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

QVariant num(double v) { return std::isfinite(v) ? QVariant(v) : QVariant(); }

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
            TConductor p;
            p.Ident = q->Int(QStringLiteral("Ident"));
            p.Marka = q->Str(QStringLiteral("Marka"));
            p.F = q->Float(QStringLiteral("F"));
            p.R0 = q->Float(QStringLiteral("R0"));
            p.X0 = q->Float(QStringLiteral("X0"));
            p.Cable = q->Int(QStringLiteral("CableFlags")) != 0;
            if (!std::isfinite(p.X0))
                p.X0 = 0;  // a catalogue row without a reactance: resistance only
            p.Known = std::isfinite(p.R0) && p.R0 >= 0 && p.X0 >= 0;
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

TBlockInsert::TBlockInsert(ToznFDConnection& connection, const char* table, const std::vector<const char*>& columns,
                           int integerColumns, int rowsPerStatement)
    : connection_(connection), table_(QString::fromLatin1(table)), columns_(columns), integerColumns_(integerColumns),
      statements_(rowsPerStatement)
{
}

TBlockInsert::~TBlockInsert() = default;

TFDQuery& TBlockInsert::Statement(int rows)
{
    std::unique_ptr<TFDQuery>& q = statements_[rows - 1];
    if (q)
        return *q;
    // One row: insert into T (a, b) values (?, ?). More: execute block (p0_0 <type> = ?, ...) as begin
    // insert into T (a, b) values (:p0_0, :p0_1); ... end, every value its own parameter.
    QStringList quoted;
    for (const char* c : columns_)
        quoted << QStringLiteral("\"%1\"").arg(QString::fromLatin1(c));
    const QString insert =
        QStringLiteral("insert into \"%1\" (%2) values (%3)").arg(table_, quoted.join(QStringLiteral(", ")));
    QStringList parameters, body;
    for (int r = 0; r < rows; ++r) {
        QStringList values;
        for (int c = 0; c < static_cast<int>(columns_.size()); ++c) {
            if (rows == 1) {
                values << QStringLiteral("?");
                continue;
            }
            const QString name = QStringLiteral("p%1_%2").arg(r).arg(c);
            parameters << name + (c < integerColumns_ ? QStringLiteral(" integer = ?")
                                                      : QStringLiteral(" double precision = ?"));
            values << QLatin1Char(':') + name;
        }
        body << insert.arg(values.join(QStringLiteral(", ")));
    }
    q = connection_.NewQuery();
    q->SetSQLText(rows == 1 ? body.front()
                            : QStringLiteral("execute block (%1) as begin %2; end")
                                  .arg(parameters.join(QStringLiteral(", ")), body.join(QStringLiteral("; "))));
    return *q;
}

void TBlockInsert::Add(std::initializer_list<QVariant> row)
{
    buffered_.insert(buffered_.end(), row.begin(), row.end());
}

int TBlockInsert::Flush()
{
    const int width = static_cast<int>(columns_.size());
    const int rows = static_cast<int>(buffered_.size()) / width;
    for (int r = 0; r < rows;) {
        const int n = std::min(rows - r, static_cast<int>(statements_.size()));
        TFDQuery& q = Statement(n);
        for (int i = 0; i < n * width; ++i)
            q.ParamByIndex(i, buffered_[r * width + i]);
        q.ExecSQL();
        r += n;
    }
    buffered_.clear();
    return rows;
}

namespace {
std::vector<const char*> columnsOf(std::initializer_list<const char*> columns) { return columns; }
}  // namespace

TRegimeWriter::TRegimeWriter(ToznFDConnection& connection) : connection_(connection)
{
    auto prepare = [&](std::unique_ptr<TFDQuery>& q, const char* sql) {
        q = connection_.NewQuery();
        q->SetSQLText(QString::fromUtf8(sql));
    };
    prepare(deleteOthers_, RegimeSql::kDeleteOtherRuns);
    prepare(deleteRun_, RegimeSql::kDeleteRun);
    prepare(run_, RegimeSql::kInsertRun);
    // A run has a few balance rows and hundreds of node and section rows.
    pBlocks_ = std::make_unique<TBlockInsert>(
        connection_, "LVPResultsAdd",
        columnsOf({"Ident",      "RES",   "Balance", "NAbonents", "NLineP", "NLineP_off", "NLineC",
                   "NLineC_off", "Pcalc", "Pfakt",   "Pgen",      "Qcalc",  "Qfakt",      "Qgen",
                   "dP",         "dQ",    "LsumP",   "LsumP_off", "LsumC",  "LsumC_off"}),
        8, 4);
    wBlocks_ = std::make_unique<TBlockInsert>(connection_, "LVWResultsAdd",
                                              columnsOf({"Ident", "RES", "Balance", "Wacalc", "Wafakt", "Wa_gen",
                                                         "Wrcalc", "Wrfakt", "Wr_gen", "dWa", "dWr"}),
                                              3, 4);
    nodes_ = std::make_unique<TBlockInsert>(connection_, "LVPResultsN",
                                            columnsOf({"Ident", "GUID", "U", "UA", "UB", "UC", "dU"}), 2, 16);
    sections_ = std::make_unique<TBlockInsert>(
        connection_, "LVPResultsL", columnsOf({"Ident", "GUID", "I", "dU", "dP", "IA", "IB", "IC", "IN", "dQ"}), 2, 16);
}

TRegimeWriter::~TRegimeWriter() = default;

int TRegimeWriter::NextIdent()
{
    // Keys are taken from the generator in blocks, so that a run costs no extra statement.
    constexpr int kBlock = 500;
    if (nextIdent_ > lastIdent_) {
        if (!reserve_) {
            reserve_ = connection_.NewQuery();
            reserve_->SetSQLText(QString::fromUtf8(RegimeSql::kReserveIdents).arg(kBlock));
        }
        reserve_->Open();
        lastIdent_ = reserve_->Value(0).toInt();
        nextIdent_ = lastIdent_ - kBlock + 1;
    }
    return nextIdent_++;
}

int TRegimeWriter::Write(const TFiderHHInfo& f, const TCalcWInfoHHCommon& run, int calcType)
{
    // The new run is written first and the former one deleted last: when a statement fails, deleting the
    // new run (its rows go with it) leaves the feeder as it was.
    const int ident = NextIdent();
    const TRegimeSettings& s = run.Settings;
    try {
        WriteRun(f, run, calcType, ident);
        deleteOthers_->ParamByIndex(0, f.Guid).ParamByIndex(1, s.SampleIdent).ParamByIndex(2, calcType);
        deleteOthers_->ParamByIndex(3, ident);
        deleteOthers_->ExecSQL();
    } catch (...) {
        pBlocks_->Clear();
        wBlocks_->Clear();
        nodes_->Clear();
        sections_->Clear();
        deleteRun_->ParamByIndex(0, ident);
        deleteRun_->ExecSQL();
        throw;
    }
    if (sinceCommit_ >= 20000)
        Commit();
    return ident;
}

void TRegimeWriter::WriteRun(const TFiderHHInfo& f, const TCalcWInfoHHCommon& run, int calcType, int ident)
{
    const TRegimeSettings& s = run.Settings;
    const TFiderFigures& g = run.Figures;
    const std::initializer_list<QVariant> values = {ident,
                                                    f.Guid,
                                                    s.SampleIdent,
                                                    calcType,
                                                    static_cast<int>(std::lround(g.T)),
                                                    num(g.U[0]),
                                                    num(g.U[1]),
                                                    num(g.U[2]),
                                                    num(g.I[0]),
                                                    num(g.I[1]),
                                                    num(g.I[2]),
                                                    num(g.U2[0]),
                                                    num(g.U2[1]),
                                                    num(g.U2[2]),
                                                    num(g.CosFi[0]),
                                                    num(g.CosFi[1]),
                                                    num(g.CosFi[2]),
                                                    num(g.Imax[0]),
                                                    num(g.Imax[1]),
                                                    num(g.Imax[2]),
                                                    num(g.Kdp),
                                                    num(g.Krazv),
                                                    num(g.Lm),
                                                    num(g.L23),
                                                    num(g.L1),
                                                    num(g.HeadEndLength),
                                                    num(g.HeadEndSize),
                                                    num(g.Temperature),
                                                    num(g.dPdop),
                                                    num(g.dWdop),
                                                    num(g.SqrKfg),
                                                    static_cast<int>(s.Regime),
                                                    static_cast<int>(s.Mode)};
    int i = 0;
    for (const QVariant& v : values)
        run_->ParamByIndex(i++, v);
    run_->ExecSQL();
    int rows = 1;
    for (const TBalanceBlock& b : run.Blocks) {
        pBlocks_->Add({ident,        b.Res,        b.Balance,        b.NAbonents,  b.NLineP,
                       b.NLineP_off, b.NLineC,     b.NLineC_off,     num(b.Pcalc), num(b.Pfakt),
                       num(b.Pgen),  num(b.Qcalc), num(b.Qfakt),     num(b.Qgen),  num(b.dP),
                       num(b.dQ),    num(b.LsumP), num(b.LsumP_off), num(b.LsumC), num(b.LsumC_off)});
        wBlocks_->Add({ident, b.Res, b.Balance, num(b.Wacalc), num(b.Wafakt), num(b.Wa_gen), num(b.Wrcalc),
                       num(b.Wrfakt), num(b.Wr_gen), num(b.dWa), num(b.dWr)});
    }
    // Elements of a feeder without a scheme have no rows of their own to refer to.
    if (!f.Equivalent)
        for (size_t pos = 1; pos < run.Power.Nodes.size(); ++pos) {
            const auto& node = run.Power.Nodes[pos];
            if (!node.Energised)
                continue;
            double sum = 0, drop = EmptyFloat();
            int n = 0;
            for (int k = 0; k < 3; ++k)
                if (!std::isnan(node.U[k])) {
                    sum += node.U[k];
                    ++n;
                    const double d = (s.U[k] - node.U[k]) / s.U[k] * 100;
                    drop = std::isnan(drop) ? d : std::max(drop, d);
                }
            nodes_->Add({ident, f.Nodes[node.SchemeNode].Guid, num(n ? sum / n : EmptyFloat()), num(node.U[0]),
                         num(node.U[1]), num(node.U[2]), num(drop)});
            const auto& section = run.Power.Sections[pos];
            double largest = EmptyFloat();
            for (int k = 0; k < 3; ++k)
                if (!std::isnan(section.I[k]))
                    largest = std::isnan(largest) ? section.I[k] : std::max(largest, section.I[k]);
            sections_->Add({ident, f.Lines[section.SchemeLine].Guid, num(largest), num(section.dU), num(section.dP),
                            num(section.I[0]), num(section.I[1]), num(section.I[2]), num(section.I[3]),
                            num(section.dQ)});
        }
    rows += pBlocks_->Flush() + wBlocks_->Flush() + nodes_->Flush() + sections_->Flush();
    rows_ += rows;
    sinceCommit_ += rows;
}

void TRegimeWriter::Commit()
{
    // Our connection's retaining commit starts a new transaction: the statements prepare again.
    connection_.CommitRetaining();
    sinceCommit_ = 0;
}

}  // namespace fider
