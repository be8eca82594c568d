#include "feeders/Detail038Data.h"

#include <cmath>

#include "feeders/FeedersSql.h"
#include "host/Connection.h"
#include "host/NumericHelpers.h"
#include "host/fider/RegimeStore.h"
#include "host/fider/Topology038.h"

namespace Detail038 {

const QString kSettingsName = QStringLiteral("Detail038SettingsV2");
const QString kColoursKey = QStringLiteral("\\DetailColors");
const QString kPresetKey = QStringLiteral("\\Preset");
const QString kHideRepeatedKey = QStringLiteral("\\HideRepeated");
const QString kDrawColourKey = QStringLiteral("\\DrawColour");
const QString kSectionLabelsKey = QStringLiteral("\\SectionLabels");
const QString kSplittersKey = QStringLiteral("\\Splitters");

namespace {
const QString kOn = QStringLiteral("Включен");
const QString kOnBalance = QStringLiteral("На балансе");

QString fieldValue(const Row& row, const QString& field)
{
    if (field == QLatin1String("ClassName"))
        return row.ClassName;
    if (field == QLatin1String("DevType"))
        return row.DevType;
    if (field == QLatin1String("State"))
        return row.State;
    if (field == QLatin1String("Owner"))
        return row.Owner;
    return row.Values.value(field).toString();
}

Row element(const QString& className, const QString& devType, const QString& name, int sortIndex,
            const QString& owner = kOnBalance, int guid = 0)
{
    Row r{className, devType, kOn, owner, {}, guid};
    r.Values.insert(QStringLiteral("Name"), name);
    r.Values.insert(QStringLiteral("SortIndex"), sortIndex);
    return r;
}
}  // namespace

QString TableName(Table table) { return table == Nodes ? QStringLiteral("Узлы") : QStringLiteral("Участки"); }

QVariant Row::Value(const QString& field) const
{
    if (field == QLatin1String("ClassName") || field == QLatin1String("DevType") || field == QLatin1String("State") ||
        field == QLatin1String("Owner"))
        return fieldValue(*this, field);
    return Values.value(field);
}

const std::vector<Column>& Columns(Table table)
{
    //                      Field, Caption, Default, Profi, power losses, energy losses, decimals
    static const std::vector<Column> nodes = {
        {"Name", "Наименование", true, true, true, true},
        {"DevType", "Тип устройства", true, true, false, false},
        {"ClassName", "Класс элемента", false, true, false, false},
        {"State", "Состояние", true, true, false, false},
        {"Owner", "Балансовая принадлежность", true, true, false, false},
        {"ConsumerName", "Абонент", true, true, false, false},
        {"Phases", "Фазы", true, true, false, false},
        {"MeterNumber", "Номер счетчика", false, true, false, false},
        {"U", "Напряжение, В", true, true, true, false, 1},
        {"UA", "Напряжение фазы A, В", false, true, true, false, 1},
        {"UB", "Напряжение фазы B, В", false, true, true, false, 1},
        {"UC", "Напряжение фазы C, В", false, true, true, false, 1},
        {"dU", "Отклонение напряжения от центра питания, %", false, true, true, false, 2},
        {"SortIndex", "Порядок", false, true, false, false},
    };
    static const std::vector<Column> sections = {
        {"Name", "Наименование", true, true, true, true},
        {"DevType", "Тип устройства", true, true, false, false},
        {"ClassName", "Класс элемента", false, true, false, false},
        {"State", "Состояние", true, true, false, false},
        {"Owner", "Балансовая принадлежность", true, true, false, false},
        {"NodeN", "Начало участка", true, true, false, false},
        {"NodeK", "Конец участка", true, true, false, false},
        {"Marka", "Марка провода", true, true, false, false},
        {"MarkaN", "Марка нулевого провода", false, true, false, false},
        {"Cable", "Кабель", false, true, false, false},
        {"Phases", "Фазы", true, true, false, false},
        {"Length", "Длина, км", true, true, true, true, 3},
        {"I", "Ток, А", true, true, true, true, 1},
        {"IA", "Ток фазы A, А", false, true, true, false, 1},
        {"IB", "Ток фазы B, А", false, true, true, false, 1},
        {"IC", "Ток фазы C, А", false, true, true, false, 1},
        {"IN", "Ток нулевого провода, А", false, true, true, false, 1},
        {"dU", "Потери напряжения, %", false, true, true, false, 2},
        {"dP", "Потери мощности, кВт", true, true, true, true, 3},
        {"dQ", "Потери реактивной мощности, квар", false, true, true, false, 3},
        {"SortIndexN", "Порядок начала", false, true, false, false},
        {"SortIndexK", "Порядок конца", false, true, false, false},
    };
    return table == Nodes ? nodes : sections;
}

QString CellText(double value, int decimals)
{
    if (decimals < 0)
        return FormatFloat(QStringLiteral("0.###"), value);
    return FormatFloat(decimals == 0 ? QStringLiteral("0") : QStringLiteral("0.") + QString(decimals, QLatin1Char('0')),
                       value);
}

QVariant NumberCell(double value)
{
    if (std::isnan(value))
        return QStringLiteral("+NAN");
    return value;
}

namespace {
RunValues readRun(ToznFDConnection& connection, int feederGuid, int runIdent, int sampleIdent)
{
    RunValues run;
    auto q = connection.NewQuery();
    q->SetSQLText(QString::fromUtf8(runIdent > 0      ? FeedersSql::kDetailRun
                                    : sampleIdent > 0 ? FeedersSql::kDetailLatestOfSample
                                                      : FeedersSql::kDetailLatestResult));
    q->ParamByName(QStringLiteral("GUID"), feederGuid);
    if (runIdent > 0)
        q->ParamByName(QStringLiteral("Ident"), runIdent);
    else if (sampleIdent > 0)
        q->ParamByName(QStringLiteral("SampleIdent"), sampleIdent);
    q->Open();
    if (q->Eof())
        return run;
    run.ident = q->Int(QStringLiteral("Ident"));
    run.sample = q->Int(QStringLiteral("SampleIdent"));
    run.sampleName = q->Str(QStringLiteral("SampleName")).trimmed();
    run.regime = q->Int(QStringLiteral("Regime"));
    double sum = 0, lowest = EmptyFloat();
    int n = 0;
    for (int k = 0; k < 3; ++k) {
        run.centre[k] = q->Float(QStringLiteral("U") + QLatin1Char("ABC"[k]));
        if (!isEmptyFloat(run.centre[k])) {
            sum += run.centre[k];
            ++n;
        }
        const double u2 = q->Float(QStringLiteral("U2") + QLatin1Char("ABC"[k]));
        run.lowest3[k] = u2;
        if (!isEmptyFloat(u2) && (isEmptyFloat(lowest) || u2 < lowest))
            lowest = u2;
    }
    run.centreMean = n ? sum / n : EmptyFloat();
    run.lowest = lowest;
    q->SetSQLText(QString::fromUtf8(FeedersSql::kDetailNodeResults));
    q->ParamByName(QStringLiteral("Ident"), run.ident);
    for (q->Open(); !q->Eof(); q->Next())
        run.nodes.insert(q->Int(QStringLiteral("GUID")),
                         {q->Float(QStringLiteral("U")), q->Float(QStringLiteral("UA")), q->Float(QStringLiteral("UB")),
                          q->Float(QStringLiteral("UC")), q->Float(QStringLiteral("dU"))});
    q->SetSQLText(QString::fromUtf8(FeedersSql::kDetailLineResults));
    q->ParamByName(QStringLiteral("Ident"), run.ident);
    for (q->Open(); !q->Eof(); q->Next())
        run.sections.insert(q->Int(QStringLiteral("GUID")),
                            {q->Float(QStringLiteral("I")), q->Float(QStringLiteral("dU")),
                             q->Float(QStringLiteral("dP")), q->Float(QStringLiteral("IA")),
                             q->Float(QStringLiteral("IB")), q->Float(QStringLiteral("IC")),
                             q->Float(QStringLiteral("IN")), q->Float(QStringLiteral("dQ"))});
    return run;
}

// A node's voltage cells: the stored mean and phases, else (for the supply centre) the run's own.
void voltages(Row& r, const std::array<double, 5>& v, double centreMean)
{
    r.Values.insert(QStringLiteral("U"), NumberCell(v[0]));
    r.Values.insert(QStringLiteral("UA"), NumberCell(v[1]));
    r.Values.insert(QStringLiteral("UB"), NumberCell(v[2]));
    r.Values.insert(QStringLiteral("UC"), NumberCell(v[3]));
    double du = v[4];
    if (isEmptyFloat(du) && !isEmptyFloat(v[0]) && !isEmptyFloat(centreMean) && centreMean != 0)
        du = (centreMean - v[0]) / centreMean * 100;
    r.Values.insert(QStringLiteral("dU"), NumberCell(du));
}

const std::array<double, 5> kNoVoltage{EmptyFloat(), EmptyFloat(), EmptyFloat(), EmptyFloat(), EmptyFloat()};

// A feeder without a scheme of its own: the centre, its switching device and its load as the feeder
// editor keeps them; the load's voltage is the run's lowest.
void equivalentRows(Scheme& scheme, const QString& centreName, const QString& switchGear, const QString& consumer,
                    const RunValues& run, int feederGuid)
{
    std::vector<Row>& nodes = scheme.Rows[Nodes];
    Row head = element(QStringLiteral("TSourceNode038"), QStringLiteral("Центр питания"), centreName, 0, kOnBalance,
                       feederGuid);
    voltages(head, {run.centreMean, run.centre[0], run.centre[1], run.centre[2], EmptyFloat()}, run.centreMean);
    nodes.push_back(head);
    int order = 0;
    if (!switchGear.isEmpty()) {
        Row gear =
            element(QStringLiteral("TSwitchGear038"), QStringLiteral("Коммутационный аппарат"), switchGear, ++order);
        voltages(gear, {run.centreMean, run.centre[0], run.centre[1], run.centre[2], EmptyFloat()}, run.centreMean);
        nodes.push_back(gear);
    }
    if (!consumer.isEmpty()) {
        // The load is the end node of the equivalent scheme the calculation makes (GUID -1).
        Row load = element(QStringLiteral("TAbonentNode038"), QStringLiteral("Абонент"), consumer, ++order,
                           QStringLiteral("Потребителя"), -1);
        load.Values.insert(QStringLiteral("ConsumerName"), consumer);
        voltages(load, {run.lowest, EmptyFloat(), EmptyFloat(), EmptyFloat(), EmptyFloat()}, run.centreMean);
        nodes.push_back(load);
    }
}

QString markaOf(const fider::TConductor& c)
{
    if (!c.Known)
        return c.Ident ? QString::number(c.Ident) : QString();
    return fider::ConductorName(c);
}

void schemeRows(Scheme& scheme, const fider::TFiderHHInfo& f, const QString& centreName, const RunValues& run)
{
    using namespace fider;
    std::vector<Row>& nodes = scheme.Rows[Nodes];
    std::vector<Row>& sections = scheme.Rows[Sections];
    const TFiderTopology topology = TFiderTopology::Build(f);
    QHash<int, int> positionOf;  // scheme node index -> topology position
    for (int pos = 1; pos < topology.Count(); ++pos)
        positionOf.insert(topology.SchemeNode[pos], pos);
    QHash<int, const TAbonentNode038*> consumerAt;
    for (const TAbonentNode038& a : f.Consumers)
        consumerAt.insert(a.NodeGuid, &a);

    Row head =
        element(QStringLiteral("TSourceNode038"), QStringLiteral("Центр питания"), centreName, 0, kOnBalance, f.Guid);
    head.Values.insert(QStringLiteral("Phases"), QStringLiteral("ABC"));
    voltages(head, {run.centreMean, run.centre[0], run.centre[1], run.centre[2], EmptyFloat()}, run.centreMean);
    nodes.push_back(head);
    QHash<int, int> sortOf{{f.Guid, 0}};
    QHash<int, QString> nameOf{{f.Guid, centreName}};
    int order = 0;
    for (int i = 0; i < static_cast<int>(f.Nodes.size()); ++i) {
        const TNode038& n = f.Nodes[i];
        const int pos = positionOf.value(i, -1);
        // A node belongs to the owner of the section that feeds it; a consumer may have its own.
        const TLine038* feeding = pos > 0 ? &f.Lines[topology.Line[pos]] : nullptr;
        const TAbonentNode038* consumer = consumerAt.value(n.Guid);
        TBalanceOwner owner = feeding ? feeding->Owner : TBalanceOwner::OnBalance;
        if (consumer && consumer->Owner)
            owner = *consumer->Owner;
        const QString devType = n.Kind == TNodeKind::Plain ? QStringLiteral("Опора") : NodeKindText(n.Kind);
        Row r = element(n.ClassName(), devType, n.Name, ++order, OwnerText(owner), n.Guid);
        if (n.Kind == TNodeKind::SwitchGear && !n.SwitchedOn)
            r.State = QStringLiteral("Отключен");
        if (consumer)
            r.Values.insert(QStringLiteral("ConsumerName"), consumer->Name);
        const TPhaseSet phases = consumer ? consumer->Phases : pos > 0 ? topology.Phases[pos] : PhasesABC;
        r.Values.insert(QStringLiteral("Phases"), PhasesText(phases));
        voltages(r, run.nodes.value(n.Guid, kNoVoltage), run.centreMean);
        sortOf.insert(n.Guid, order);
        nameOf.insert(n.Guid, n.Name);
        nodes.push_back(r);
    }
    for (const TLine038& l : f.Lines) {
        Row s = element(l.ClassName(), SectionKindText(l.Kind), l.Name, 0, OwnerText(l.Owner), l.Guid);
        s.Values.remove(QStringLiteral("SortIndex"));
        if (!l.SwitchedOn)
            s.State = QStringLiteral("Отключен");
        s.Values.insert(QStringLiteral("NodeN"), nameOf.value(l.Node1));
        s.Values.insert(QStringLiteral("NodeK"), nameOf.value(l.Node2));
        s.Values.insert(QStringLiteral("SortIndexN"), sortOf.value(l.Node1));
        s.Values.insert(QStringLiteral("SortIndexK"), sortOf.value(l.Node2));
        s.Values.insert(QStringLiteral("Marka"), l.IsLink() ? QString() : markaOf(l.Phase));
        s.Values.insert(QStringLiteral("MarkaN"), l.IsLink() ? QString() : markaOf(l.Neutral));
        s.Values.insert(QStringLiteral("Cable"),
                        l.Kind == TSectionKind::Cable ? QStringLiteral("Да") : QStringLiteral("Нет"));
        s.Values.insert(QStringLiteral("Phases"), PhasesText(l.Phases));
        s.Values.insert(QStringLiteral("Length"), NumberCell(l.Length));
        const auto v = run.sections.value(l.Guid, {EmptyFloat(), EmptyFloat(), EmptyFloat(), EmptyFloat(), EmptyFloat(),
                                                   EmptyFloat(), EmptyFloat(), EmptyFloat()});
        const char* const fields[] = {"I", "dU", "dP", "IA", "IB", "IC", "IN", "dQ"};
        for (int k = 0; k < 8; ++k)
            s.Values.insert(QString::fromLatin1(fields[k]), NumberCell(v[k]));
        sections.push_back(s);
    }
}
}  // namespace

RunValues::RunValues()
    : centre{EmptyFloat(), EmptyFloat(), EmptyFloat()}, lowest3{EmptyFloat(), EmptyFloat(), EmptyFloat()},
      centreMean(EmptyFloat()), lowest(EmptyFloat())
{
}

FeederState Read(ToznFDConnection& connection, int feederGuid, int runIdent, int sampleIdent)
{
    FeederState state;
    state.Guid = feederGuid;
    state.Found = GuardedRead(connection, [&] {
        auto q = connection.NewQuery();
        q->SetSQLText(QString::fromUtf8(FeedersSql::kDetailFeeder));
        q->ParamByName(QStringLiteral("GUID"), feederGuid);
        q->Open();
        if (q->Eof())
            return false;
        // The feeder's own end is its substation's bus: the supply centre of the scheme.
        state.FeederName = q->Str(QStringLiteral("Name")).trimmed();
        state.SubstationName = q->Str(QStringLiteral("TPInfo")).trimmed();
        state.CentreName =
            QStringLiteral("ТП: ") + q->Str(QStringLiteral("TPInfo")) + QStringLiteral(" Линия ") + q->Str("Name");
        state.SwitchGear = q->Str(QStringLiteral("SwitchGName")).trimmed();
        state.Consumer = q->Str(QStringLiteral("ConsumerName")).trimmed();
        state.Run = readRun(connection, feederGuid, runIdent, sampleIdent);
        return true;
    });
    if (!state.Found)
        return state;
    // The scheme as the calculation reads it; its settings are not shown, so their defaults do not matter.
    fider::TRegimeRequest request;
    request.SampleIdent = state.Run.sample;
    std::vector<fider::TFiderJob> jobs = fider::TRegimeReader(connection, 0.5, 0.9).Read({feederGuid}, request);
    if (!jobs.empty())
        state.Fider = std::move(jobs.front().Fider);
    else
        state.Fider.Equivalent = true;
    state.Fider.Guid = feederGuid;
    return state;
}

Scheme Rows(FeederState state)
{
    Scheme scheme;
    if (state.Found) {
        if (state.Fider.Equivalent)
            equivalentRows(scheme, state.CentreName, state.SwitchGear, state.Consumer, state.Run, state.Guid);
        else
            schemeRows(scheme, state.Fider, state.CentreName, state.Run);
    }
    scheme.State = std::move(state);
    return scheme;
}

Scheme Load(ToznFDConnection& connection, int feederGuid, int runIdent)
{
    return Rows(Read(connection, feederGuid, runIdent));
}

const std::vector<Filter>& Filters()
{
    static const std::vector<Filter> filters = {
        {"Узлы", Nodes, {}, true},
        {"Центр питания", Nodes, "DevType='Центр питания'", false},
        {"Абоненты", Nodes, "ClassName='TAbonentNode038'", false},
        {"Коммутационные аппараты", Nodes, "ClassName='TSwitchGear038'", false},
        {"Отпайки", Nodes, "DevType='Отпайка'", false},
        {"Участки", Sections, {}, true},
        {"Воздушные и кабельные линии", Sections, "ClassName='TLine038'", false},
        {"Воздушные линии", Sections, "DevType='Воздушная линия'", false},
        {"Кабельные линии", Sections, "DevType='Кабельная линия'", false},
        {"Соединительные линии", Sections, "ClassName='TConnect038' or ClassName='TExConnect'", false},
    };
    return filters;
}

bool Matches(const Row& row, const QString& expression)
{
    if (expression.trimmed().isEmpty())
        return true;
    for (const QString& term : expression.split(QStringLiteral(" or "))) {
        const int eq = term.indexOf(QLatin1Char('='));
        if (eq < 0)
            continue;
        QString value = term.mid(eq + 1).trimmed();
        if (value.size() >= 2 && value.startsWith(QLatin1Char('\'')) && value.endsWith(QLatin1Char('\'')))
            value = value.mid(1, value.size() - 2);
        if (fieldValue(row, term.left(eq).trimmed()) == value)
            return true;
    }
    return false;
}

Colour RowColour(const QString& state, const QString& owner)
{
    if (state == QStringLiteral("Отключен"))
        return Disconnected;
    if (owner.isEmpty() || owner == kOnBalance)
        return OnBalance;
    if (owner == QStringLiteral("Не на балансе"))
        return OffBalance;
    if (owner == QStringLiteral("Потребителя"))
        return ConsumerOwned;
    if (owner == QStringLiteral("ССО"))
        return SSO;
    if (owner == QStringLiteral("ССП"))
        return SSP;
    return Disconnected;  // an owner the scheme does not know is shown as switched off
}

QString PresetName(Preset preset)
{
    switch (preset) {
    case PresetDefault: return QStringLiteral("По умолчанию");
    case PresetProfi: return QStringLiteral("Профи");
    case PresetPower: return QStringLiteral("Потери мощности");
    default: return QStringLiteral("Потери электроэнергии");
    }
}

std::vector<bool> PresetVisibility(Table table, Preset preset, bool hideRepeated, const std::vector<Row>& rows)
{
    const std::vector<Column>& columns = Columns(table);
    std::vector<bool> visible;
    for (const Column& c : columns) {
        switch (preset) {
        case PresetDefault: visible.push_back(c.Default); break;
        case PresetProfi: visible.push_back(c.PProfile); break;
        case PresetPower: visible.push_back(c.PMProfile); break;
        default: visible.push_back(c.PEProfile); break;
        }
    }
    if (!hideRepeated)
        return visible;
    auto cell = [&](size_t r, size_t c) { return rows[r].Value(columns[c].Field).toString(); };
    for (size_t c = 1; c < columns.size(); ++c) {  // the name column always stays
        if (!visible[c])
            continue;
        bool empty = true;
        for (size_t r = 0; r < rows.size() && empty; ++r)
            empty = cell(r, c).isEmpty() || cell(r, c) == QLatin1String("+NAN");
        bool repeated = false;
        for (size_t earlier = 0; earlier < c && !repeated && !rows.empty(); ++earlier) {
            if (!visible[earlier])
                continue;
            repeated = true;
            for (size_t r = 0; r < rows.size() && repeated; ++r)
                repeated = cell(r, c) == cell(r, earlier);
        }
        visible[c] = !empty && !repeated;
    }
    return visible;
}

QString ColumnKey(Table table, const QString& field, const char* what)
{
    return TableName(table) + QLatin1Char('_') + field + QLatin1Char('\\') + QLatin1String(what);
}
}  // namespace Detail038
