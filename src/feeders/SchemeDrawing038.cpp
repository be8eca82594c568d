#include "feeders/SchemeDrawing038.h"

#include <QHash>
#include <algorithm>
#include <cmath>

#include "feeders/SchemeLayout038.h"
#include "host/NumericHelpers.h"
#include "host/fider/Topology038.h"

namespace feeders {

namespace {
using namespace fider;

const double kEmpty = EmptyFloat();

bool known(double v) { return std::isfinite(v); }

// Linear interpolation of colours between stops (value, colour), the ends held beyond the stops.
TRgb interpolate(const std::vector<std::pair<double, TRgb>>& stops, double value)
{
    if (value <= stops.front().first)
        return stops.front().second;
    for (size_t k = 1; k < stops.size(); ++k) {
        if (value > stops[k].first)
            continue;
        const auto [v0, c0] = stops[k - 1];
        const auto [v1, c1] = stops[k];
        const double t = (value - v0) / (v1 - v0);
        TRgb out = 0;
        for (int shift : {16, 8, 0}) {
            const double a = (c0 >> shift) & 0xFF, b = (c1 >> shift) & 0xFF;
            out |= static_cast<TRgb>(std::lround(a + (b - a) * t)) << shift;
        }
        return out;
    }
    return stops.back().second;
}

// The phase of a voltage colouring; -1 for the phase farthest from the nominal.
int phaseOf(TDrawColour colour)
{
    switch (colour) {
    case TDrawColour::VoltageA: return 0;
    case TDrawColour::VoltageB: return 1;
    case TDrawColour::VoltageC: return 2;
    default: return -1;
    }
}

bool isVoltage(TDrawColour colour) { return colour != TDrawColour::Loading && colour != TDrawColour::Losses; }

// The deviation (%) of the phase chosen, or of the phase farthest from the nominal; empty without a voltage.
double deviationOf(const std::array<double, 3>& u, double nominal, int phase)
{
    double worst = kEmpty;
    for (int k = 0; k < 3; ++k) {
        if ((phase >= 0 && k != phase) || !known(u[k]))
            continue;
        const double d = (u[k] - nominal) / nominal * 100;
        if (!known(worst) || std::fabs(d) > std::fabs(worst))
            worst = d;
    }
    return worst;
}

// The heading of every node's feeding section, which nodes feed others, and the side of each node's heading
// with fewer of the sections leaving it: its name goes there.
void placeLabels(TSchemeDrawing038& d)
{
    const int n = static_cast<int>(d.Nodes.size());
    std::vector<int> right(n, 0), left(n, 0);
    for (int i = 1; i < n; ++i) {
        TDrawNode& node = d.Nodes[i];
        const QPointF v = node.Position - d.Nodes[node.Parent].Position;
        node.Heading = std::atan2(v.y(), v.x());
        d.Nodes[node.Parent].Leaf = false;
    }
    for (int i = 1; i < n; ++i) {
        const TDrawNode& node = d.Nodes[i];
        const TDrawNode& parent = d.Nodes[node.Parent];
        const QPointF v = node.Position - parent.Position;
        const double cross = std::cos(parent.Heading) * v.y() - std::sin(parent.Heading) * v.x();
        (cross > 0 ? right : left)[node.Parent] += 1;
    }
    for (int i = 0; i < n; ++i)
        d.Nodes[i].LabelSide = right[i] <= left[i] ? 1 : -1;
}

QString percent(double v)
{
    const QString sign = v > 0 ? QStringLiteral("+") : v < 0 ? QStringLiteral("−") : QString();
    return sign + FormatFloat(QStringLiteral("0.#"), std::fabs(v)) + QStringLiteral(" %");
}
}  // namespace

QString DrawColourName(TDrawColour colour)
{
    switch (colour) {
    case TDrawColour::Voltage: return QStringLiteral("Напряжение (худшая фаза)");
    case TDrawColour::VoltageA: return QStringLiteral("Напряжение фазы A");
    case TDrawColour::VoltageB: return QStringLiteral("Напряжение фазы B");
    case TDrawColour::VoltageC: return QStringLiteral("Напряжение фазы C");
    case TDrawColour::Loading: return QStringLiteral("Загрузка участков (ток)");
    default: return QStringLiteral("Потери мощности");
    }
}

QString DrawColourWord(TDrawColour colour)
{
    switch (colour) {
    case TDrawColour::Voltage: return QStringLiteral("voltage");
    case TDrawColour::VoltageA: return QStringLiteral("voltage-a");
    case TDrawColour::VoltageB: return QStringLiteral("voltage-b");
    case TDrawColour::VoltageC: return QStringLiteral("voltage-c");
    case TDrawColour::Loading: return QStringLiteral("loading");
    default: return QStringLiteral("losses");
    }
}

std::optional<TDrawColour> DrawColourFromWord(const QString& word)
{
    for (int c = 0; c < kDrawColourCount; ++c)
        if (DrawColourWord(static_cast<TDrawColour>(c)) == word.trimmed().toLower())
            return static_cast<TDrawColour>(c);
    return std::nullopt;
}

TRgb VoltageColour(double deviation)
{
    if (!known(deviation))
        return kNoResult;
    if (deviation < -kGostVoltageLimit)
        return 0x8B0000;
    if (deviation > kGostVoltageLimit)
        return 0x7B3294;
    return interpolate({{0, 0x1A9850}, {5, 0xD9B300}, {7.5, 0xF46D43}, {kGostVoltageLimit, 0xD73027}},
                       std::fabs(deviation));
}

TRgb ScaleColour(double share)
{
    if (!known(share))
        return kNoResult;
    return interpolate({{0, 0x4575B4}, {0.5, 0xD9B300}, {1, 0xD73027}}, share);
}

TRgb OwnerColour(TBalanceOwner owner)
{
    switch (owner) {
    case TBalanceOwner::OnBalance: return 0x000000;
    case TBalanceOwner::NotOnBalance: return 0x0000C0;
    case TBalanceOwner::ConsumerOwned: return 0x007000;
    case TBalanceOwner::SSO: return 0x800080;
    default: return 0x804000;
    }
}

TRgb PhaseColour(TPhaseSet phases)
{
    switch (phases) {
    case PhaseA: return 0xC89B00;
    case PhaseB: return 0x1A9850;
    case PhaseC: return 0xD73027;
    default: return 0x303030;
    }
}

TDrawNode::TDrawNode() : U{kEmpty, kEmpty, kEmpty}, Deviation(kEmpty) {}

TDrawSection::TDrawSection() : I{kEmpty, kEmpty, kEmpty, kEmpty}, Imax(kEmpty), dP(kEmpty) {}

QString TDrawSection::Label() const
{
    const QString length = FormatFloat(QStringLiteral("0.000"), Length) + QStringLiteral(" км");
    return Conductor.isEmpty() ? length : Conductor + QStringLiteral(", ") + length;
}

TSchemeDrawing038 TSchemeDrawing038::Build(const Detail038::FeederState& state, TDrawColour colour)
{
    TSchemeDrawing038 d;
    const TFiderHHInfo& f = state.Fider;
    const Detail038::RunValues& run = state.Run;
    d.FeederGuid = state.Guid;
    d.Title = state.SubstationName.isEmpty() ? state.FeederName
                                             : state.SubstationName + QStringLiteral(", ") + state.FeederName;
    d.HasRun = run.ident > 0;
    d.Equivalent = f.Equivalent;
    d.NominalVoltage = f.NominalPhaseVoltage();
    if (d.HasRun)
        d.Subtitle = QStringLiteral("Расчет режима %1 нагрузок: %2")
                         .arg(run.regime == 1 ? QStringLiteral("максимальных") : QStringLiteral("средних"),
                              run.sampleName.isEmpty() ? QString::number(run.sample) : run.sampleName);
    else
        d.Subtitle = QStringLiteral("Режим не рассчитан: схема без результатов");
    if (d.Equivalent)
        d.Subtitle += QStringLiteral("; своей схемы у линии нет, показана схема по ее параметрам");

    const TFiderTopology topology = TFiderTopology::Build(f);
    d.Problems = topology.Problems;
    QHash<int, const TAbonentNode038*> consumerAt;
    for (const TAbonentNode038& a : f.Consumers)
        consumerAt.insert(a.NodeGuid, &a);

    const int n = topology.Count();
    const std::vector<QPointF> points = RadialTreeLayout(topology.Parent);
    d.Nodes.resize(n);
    TDrawNode& centre = d.Nodes[0];
    centre.Guid = state.Guid;
    centre.Name = state.CentreName.isEmpty() ? d.Title : state.CentreName;
    centre.Kind = TNodeKind::SupplyCentre;
    centre.U = run.centre;
    for (int pos = 1; pos < n; ++pos) {
        const TNode038& sn = f.Nodes[topology.SchemeNode[pos]];
        const TLine038& line = f.Lines[topology.Line[pos]];
        TDrawNode& node = d.Nodes[pos];
        node.Guid = sn.Guid;
        node.SchemeNode = topology.SchemeNode[pos];
        node.Parent = topology.Parent[pos];
        node.Section = pos - 1;
        node.Name = sn.Name;
        node.Kind = sn.Kind;
        node.Position = points[pos];
        node.Energised = topology.Energised[pos] != 0;
        node.Open = sn.Kind == TNodeKind::SwitchGear && !sn.SwitchedOn;
        node.Owner = line.Owner;
        node.Phases = topology.Phases[pos];
        if (const TAbonentNode038* consumer = consumerAt.value(sn.Guid)) {
            node.Consumer = true;
            node.ConsumerName = consumer->Name;
            node.Phases = consumer->Phases;
            if (consumer->Owner)
                node.Owner = *consumer->Owner;
        } else if (sn.Kind == TNodeKind::Consumer) {
            node.Consumer = true;
        }
        node.Distance = d.Nodes[node.Parent].Distance + (known(line.Length) ? line.Length : 0);
        if (f.Equivalent) {
            node.U = run.lowest3;  // the run keeps the end's voltages as the feeder's lowest
        } else if (auto it = run.nodes.constFind(sn.Guid); it != run.nodes.constEnd()) {
            node.U = {it->at(1), it->at(2), it->at(3)};
        }

        TDrawSection s;
        s.Guid = line.Guid;
        s.SchemeLine = topology.Line[pos];
        s.From = node.Parent;
        s.To = pos;
        s.Name = line.Name;
        s.Kind = line.Kind;
        if (!line.IsLink())
            s.Conductor = line.Phase.Known ? ConductorName(line.Phase)
                                           : (line.Phase.Ident ? QString::number(line.Phase.Ident) : QString());
        s.Length = line.Length;
        s.Phases = line.Phases;
        s.SwitchedOn = line.SwitchedOn;
        s.Energised = node.Energised;
        s.Owner = line.Owner;
        if (auto it = run.sections.constFind(line.Guid); it != run.sections.constEnd() && !f.Equivalent) {
            s.Imax = it->at(0);
            s.dP = it->at(2);
            s.I = {it->at(3), it->at(4), it->at(5), it->at(6)};
        }
        d.Sections.push_back(s);
    }
    placeLabels(d);
    d.Recolour(colour);
    return d;
}

void TSchemeDrawing038::Recolour(TDrawColour colour)
{
    Colour = colour;
    const int phase = phaseOf(colour);
    Legend = {};
    if (isVoltage(colour)) {
        bool any = false;
        for (TDrawNode& node : Nodes) {
            node.Deviation = deviationOf(node.U, NominalVoltage, phase);
            node.Colour = !node.Energised ? kDeEnergised : VoltageColour(node.Deviation);
            any = any || (node.Energised && known(node.Deviation));
        }
        for (TDrawSection& s : Sections)
            s.Colour = !s.Energised ? kDeEnergised : VoltageColour(Nodes[s.To].Deviation);
        Legend.Title =
            QStringLiteral("Отклонение напряжения %1 от номинального %2 В")
                .arg(phase < 0 ? QStringLiteral("худшей фазы") : QStringLiteral("фазы ") + QLatin1Char("ABC"[phase]),
                     FormatFloat(QStringLiteral("0.#"), NominalVoltage));
        Legend.Low = -1.5 * kGostVoltageLimit;
        Legend.High = 1.5 * kGostVoltageLimit;
        for (double v : {-kGostVoltageLimit, -kGostVoltageLimit / 2, 0.0, kGostVoltageLimit / 2, kGostVoltageLimit})
            Legend.Marks.push_back({v, percent(v)});
        Legend.Empty = !any;
        return;
    }
    const bool loading = colour == TDrawColour::Loading;
    auto valueOf = [loading](const TDrawSection& s) { return loading ? s.Imax : s.dP; };
    double high = 0;
    bool any = false;
    for (const TDrawSection& s : Sections)
        if (s.Energised && known(valueOf(s))) {
            high = std::max(high, valueOf(s));
            any = true;
        }
    for (TDrawNode& node : Nodes) {
        node.Deviation = deviationOf(node.U, NominalVoltage, -1);
        node.Colour = node.Energised ? kNoResult : kDeEnergised;
    }
    for (TDrawSection& s : Sections) {
        const double v = valueOf(s);
        s.Colour = !s.Energised ? kDeEnergised : !known(v) ? kNoResult : ScaleColour(high > 0 ? v / high : 0);
    }
    Legend.Title = loading ? QStringLiteral("Наибольший ток фазы участка, А") : QStringLiteral("Потери мощности, кВт");
    Legend.Low = 0;
    Legend.High = high > 0 ? high : 1;
    const QString pattern = loading ? QStringLiteral("0.#") : QStringLiteral("0.###");
    for (double share : {0.0, 0.5, 1.0})
        Legend.Marks.push_back({share * Legend.High, FormatFloat(pattern, share * high)});
    Legend.Empty = !any;
}

QRectF TSchemeDrawing038::Bounds() const
{
    if (Nodes.empty())
        return {};
    double left = Nodes.front().Position.x(), right = left, top = Nodes.front().Position.y(), bottom = top;
    for (const TDrawNode& node : Nodes) {
        left = std::min(left, node.Position.x());
        right = std::max(right, node.Position.x());
        top = std::min(top, node.Position.y());
        bottom = std::max(bottom, node.Position.y());
    }
    return QRectF(QPointF(left, top), QPointF(right, bottom));
}

int TSchemeDrawing038::NodeIndex(int guid) const
{
    for (size_t i = 0; i < Nodes.size(); ++i)
        if (Nodes[i].Guid == guid)
            return static_cast<int>(i);
    return -1;
}

int TSchemeDrawing038::SectionIndex(int guid) const
{
    for (size_t i = 0; i < Sections.size(); ++i)
        if (Sections[i].Guid == guid)
            return static_cast<int>(i);
    return -1;
}

std::vector<TProfilePoint> TSchemeDrawing038::VoltageAlong(int node) const
{
    std::vector<TProfilePoint> path;
    for (int at = node; at >= 0 && at < static_cast<int>(Nodes.size()); at = Nodes[at].Parent) {
        const TDrawNode& n = Nodes[at];
        path.push_back({at, n.Name, n.Distance, n.U});
        if (at == 0)
            break;
    }
    std::reverse(path.begin(), path.end());
    return path;
}

}  // namespace feeders
