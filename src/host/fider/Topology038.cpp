#include "host/fider/Topology038.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace fider {

// The empty value of the host (a quiet NaN), without a call across the library for each use.
constexpr double kEmpty = std::numeric_limits<double>::quiet_NaN();

namespace {
QString lineName(const TLine038& l)
{
    return l.Name.trimmed().isEmpty() ? QStringLiteral("Участок %1").arg(l.Guid)
                                      : QStringLiteral("Участок «%1»").arg(l.Name.trimmed());
}

QString nodeName(const TFiderHHInfo& f, int schemeNode)
{
    if (schemeNode < 0)
        return QStringLiteral("центр питания");
    const TNode038& n = f.Nodes[schemeNode];
    return n.Name.trimmed().isEmpty() ? QStringLiteral("узел %1").arg(n.Guid)
                                      : QStringLiteral("узел «%1»").arg(n.Name.trimmed());
}

// GUID -> slot, open addressing with linear probing; a negative slot marks an empty cell.
class SlotTable {
public:
    void Reset(int count)
    {
        size_t size = 16;
        while (size < 2 * static_cast<size_t>(count))
            size *= 2;
        mask_ = size - 1;
        cells_.assign(size, {0, -1});
    }
    bool Insert(int guid, int slot)
    {
        for (size_t i = hash(guid);; i = (i + 1) & mask_) {
            if (cells_[i].second < 0) {
                cells_[i] = {guid, slot};
                return true;
            }
            if (cells_[i].first == guid)
                return false;
        }
    }
    int Find(int guid) const
    {
        for (size_t i = hash(guid);; i = (i + 1) & mask_) {
            if (cells_[i].second < 0)
                return -1;
            if (cells_[i].first == guid)
                return cells_[i].second;
        }
    }

private:
    size_t hash(int guid) const { return (static_cast<uint32_t>(guid) * 2654435761u) & mask_; }
    std::vector<std::pair<int, int>> cells_;
    size_t mask_ = 0;
};

struct Scratch {
    SlotTable slotTable;
    std::vector<int> ends, offsets, adjacent, fill, positionOf;
    std::vector<uint8_t> lineUsed;
    std::vector<double> distance;
};

// Not inlined: the compiler would look the thread-local object up again at every use in the caller.
[[gnu::noinline]] Scratch& ScratchOfThread()
{
    thread_local Scratch scratch;
    return scratch;
}

void checkLine(const TLine038& l, QStringList& problems)
{
    if (!std::isfinite(l.Length) || l.Length < 0)
        problems << lineName(l) + QStringLiteral(": неверная длина");
    if (l.Phases == 0 || l.Phases > PhasesABC)
        problems << lineName(l) + QStringLiteral(": не заданы фазы");
    if (l.IsLink())
        return;
    if (!l.Phase.Known)
        problems << lineName(l) + QStringLiteral(": не задана марка провода или её нет в справочнике");
    else if (!l.Neutral.Known)
        problems << lineName(l) + QStringLiteral(": не задана марка нулевого провода или её нет в справочнике");
}
}  // namespace

TFiderTopology TFiderTopology::Build(const TFiderHHInfo& f)
{
    TFiderTopology t;
    const int nodeCount = static_cast<int>(f.Nodes.size());
    const int lineCount = static_cast<int>(f.Lines.size());
    const int centre = nodeCount;  // the supply centre's slot among the scheme's nodes
    // Working lists kept by the thread from feeder to feeder, so that a feeder costs no allocations.
    Scratch& scratch = ScratchOfThread();
    // Slots by GUID in an open-addressed table of twice the nodes, cheaper than a general hash here.
    SlotTable& slotTable = scratch.slotTable;
    slotTable.Reset(nodeCount + 1);
    for (int i = 0; i < nodeCount; ++i) {
        if (f.Nodes[i].Kind == TNodeKind::SupplyCentre || f.Nodes[i].Guid == f.Guid) {
            t.Problems
                << QStringLiteral("%1 отмечен как центр питания: центр питания линии — шины ТП").arg(nodeName(f, i));
            continue;
        }
        if (!slotTable.Insert(f.Nodes[i].Guid, i))
            t.Problems << QStringLiteral("%1 записан в схеме дважды").arg(nodeName(f, i));
    }
    slotTable.Insert(f.Guid, centre);
    auto slotOf = [&slotTable](int guid) { return slotTable.Find(guid); };

    // Adjacency of the slots through the sections (compressed rows).
    std::vector<int>& ends = scratch.ends;
    std::vector<int>& offsets = scratch.offsets;
    std::vector<int>& adjacent = scratch.adjacent;
    ends.assign(2 * lineCount, -1);
    offsets.assign(nodeCount + 2, 0);
    adjacent.assign(2 * lineCount, 0);
    for (int l = 0; l < lineCount; ++l) {
        const TLine038& line = f.Lines[l];
        checkLine(line, t.Problems);
        const int a = slotOf(line.Node1), b = slotOf(line.Node2);
        if (a < 0 || b < 0) {
            t.Problems << lineName(line) +
                              QStringLiteral(": узел %1 не найден в схеме").arg(a < 0 ? line.Node1 : line.Node2);
            continue;
        }
        if (a == b) {
            t.Problems << lineName(line) + QStringLiteral(" начинается и кончается в одном узле");
            continue;
        }
        ends[2 * l] = a;
        ends[2 * l + 1] = b;
        ++offsets[a + 1];
        ++offsets[b + 1];
    }
    for (int s = 0; s <= nodeCount; ++s)
        offsets[s + 1] += offsets[s];
    std::vector<int>& fill = scratch.fill;
    fill.assign(offsets.begin(), offsets.end() - 1);
    for (int l = 0; l < lineCount; ++l)
        if (ends[2 * l] >= 0) {
            adjacent[fill[ends[2 * l]]++] = l;
            adjacent[fill[ends[2 * l + 1]]++] = l;
        }

    // Breadth-first from the supply centre: a node reached a second time closes a loop.
    std::vector<int>& positionOf = scratch.positionOf;
    std::vector<uint8_t>& lineUsed = scratch.lineUsed;
    positionOf.assign(nodeCount + 1, -1);
    lineUsed.assign(lineCount, 0);
    t.Parent.reserve(nodeCount + 1);
    t.Line.reserve(nodeCount + 1);
    t.SchemeNode.reserve(nodeCount + 1);
    auto add = [&](int slot, int parent, int line) {
        positionOf[slot] = t.Count();
        t.Parent.push_back(parent);
        t.Line.push_back(line);
        t.SchemeNode.push_back(slot == centre ? -1 : slot);
    };
    add(centre, -1, -1);
    for (int pos = 0; pos < t.Count(); ++pos) {
        const int slot = t.SchemeNode[pos] < 0 ? centre : t.SchemeNode[pos];
        for (int k = offsets[slot]; k < offsets[slot + 1]; ++k) {
            const int l = adjacent[k];
            if (lineUsed[l])
                continue;
            lineUsed[l] = 1;
            const int other = ends[2 * l] == slot ? ends[2 * l + 1] : ends[2 * l];
            if (positionOf[other] >= 0) {
                t.Problems << lineName(f.Lines[l]) + QStringLiteral(" замыкает кольцо: %1 питается дважды")
                                                         .arg(nodeName(f, other == centre ? -1 : other));
                continue;
            }
            add(other, pos, l);
        }
    }
    for (int l = 0; l < lineCount; ++l)
        if (!lineUsed[l] && ends[2 * l] >= 0) {
            t.Unreached.push_back(l);
            t.Problems << lineName(f.Lines[l]) + QStringLiteral(" не связан с центром питания");
        }

    // Phases and energisation follow the tree from the centre.
    const int n = t.Count();
    t.Phases.assign(n, 0);
    t.Energised.assign(n, 0);
    t.Phases[0] = PhasesABC;
    t.Energised[0] = 1;
    for (int pos = 1; pos < n; ++pos) {
        const int p = t.Parent[pos];
        const TLine038& line = f.Lines[t.Line[pos]];
        if ((line.Phases & ~t.Phases[p] & PhasesABC) != 0)
            t.Problems << lineName(line) + QStringLiteral(": фазы %1, а к нему подходят только %2")
                                               .arg(PhasesText(line.Phases), PhasesText(t.Phases[p]));
        t.Phases[pos] = line.Phases & t.Phases[p];
        const int parentNode = t.SchemeNode[p];
        const bool parentCuts =
            parentNode >= 0 && f.Nodes[parentNode].Kind == TNodeKind::SwitchGear && !f.Nodes[parentNode].SwitchedOn;
        t.Energised[pos] = t.Energised[p] && line.SwitchedOn && !parentCuts;
    }

    // Consumers and the phases they hang on.
    t.ConsumerNode.assign(f.Consumers.size(), -1);
    for (size_t c = 0; c < f.Consumers.size(); ++c) {
        const TAbonentNode038& a = f.Consumers[c];
        auto who = [&a] { return QStringLiteral("Абонент «%1»").arg(a.Name.trimmed()); };
        const int slot = slotOf(a.NodeGuid);
        if (slot < 0 || slot == centre || positionOf[slot] < 0) {
            t.Problems << who() + (slot < 0 || slot == centre
                                       ? QStringLiteral(": узел %1 не найден в схеме").arg(a.NodeGuid)
                                       : QStringLiteral(" не связан с центром питания"));
            continue;
        }
        const int pos = positionOf[slot];
        t.ConsumerNode[c] = pos;
        if (a.Phases == 0 || (a.Phases & ~t.Phases[pos] & PhasesABC) != 0)
            t.Problems << who() + QStringLiteral(" подключен к фазам %1, а %2 несет только %3")
                                      .arg(PhasesText(a.Phases), lineName(f.Lines[t.Line[pos]]).toLower(),
                                           PhasesText(t.Phases[pos]));
    }

    // The main line: the farthest energised node reached through three-phase sections.
    t.OnMainLine.assign(n, 0);
    std::vector<double>& distance = scratch.distance;
    distance.assign(n, -1);
    distance[0] = 0;
    int farthest = 0;
    for (int pos = 1; pos < n; ++pos) {
        const int p = t.Parent[pos];
        const TLine038& line = f.Lines[t.Line[pos]];
        if (distance[p] < 0 || !t.Energised[pos] || t.Phases[pos] != PhasesABC)
            continue;
        distance[pos] = distance[p] + (std::isfinite(line.Length) ? line.Length : 0);
        if (distance[pos] > distance[farthest])
            farthest = pos;
    }
    t.MainLineLength = distance[farthest];
    for (int pos = farthest; pos > 0; pos = t.Parent[pos]) {
        t.OnMainLine[pos] = 1;
        if (t.Parent[pos] == 0)
            t.HeadEnd = t.Line[pos];
    }
    for (int pos = 1; pos < n; ++pos) {
        if (!t.Energised[pos] || t.OnMainLine[pos])
            continue;
        const double length = f.Lines[t.Line[pos]].Length;
        if (!std::isfinite(length))
            continue;
        (PhaseCount(t.Phases[pos]) >= 2 ? t.Length23 : t.Length1) += length;
    }
    return t;
}

}  // namespace fider
