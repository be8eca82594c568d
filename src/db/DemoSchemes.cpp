#include "db/DemoSchemes.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "host/NumericHelpers.h"

namespace db::demo {

using namespace fider;

namespace {
double round3(double v) { return std::round(v * 1000.0) / 1000.0; }

template <class T, size_t N> T pick(Random& random, const T (&items)[N]) { return items[random.Next() % N]; }

// A place where a service drop can hang: a pole and what its line carries.
struct Attach {
    int node;
    TPhaseSet phases;
    TBalanceOwner owner;
    int res;
};

class SchemeMaker {
public:
    SchemeMaker(Random& random, const std::function<int()>& newGuid, const SchemeRequest& request,
                const SchemeConductors& conductors)
        : r_(random), newGuid_(newGuid), q_(request), c_(conductors)
    {
        f_.Guid = request.fider;
        f_.Res = request.res;
        f_.Unom = request.unom;
        f_.LoadKindCosFi = request.loadKindCos;
    }

    TFiderHHInfo Make()
    {
        const int drops = std::max(3, q_.sections / 3);
        const int spans = std::max(4, q_.sections - drops);
        const int mainSpans = std::max(3, static_cast<int>(spans * 0.55));
        MainLine(mainSpans);
        Branches(spans - mainSpans);
        for (int d = 0; d < drops; ++d)
            Drop(d + 1);
        MarkTapPoints();
        return std::move(f_);
    }

private:
    int Node(const QString& name, TNodeKind kind = TNodeKind::Plain)
    {
        TNode038 n;
        n.Guid = newGuid_();
        n.Name = name;
        n.Kind = kind;
        f_.Nodes.push_back(n);
        return n.Guid;
    }

    TLine038& Line(int from, int to, const QString& name, double length, int provod, TPhaseSet phases)
    {
        TLine038 l;
        l.Guid = newGuid_();
        l.Name = name;
        l.Node1 = from;
        l.Node2 = to;
        l.Length = round3(length);
        l.Phases = phases;
        if (provod) {
            l.Phase = l.Neutral = c_.Get(provod);
            l.Kind = l.Phase.Cable ? TSectionKind::Cable : TSectionKind::Overhead;
        } else {
            l.Kind = TSectionKind::Connecting;
        }
        f_.Lines.push_back(l);
        return f_.Lines.back();
    }

    void MainLine(int spans)
    {
        const bool cable = r_.Chance(10);  // a town feeder laid in cable all the way
        const int mainProvods[] = {644, 645, 646, 650, 651};
        const int cableProvods[] = {660, 661};
        const int provod = cable ? pick(r_, cableProvods) : pick(r_, mainProvods);
        int previous = f_.Guid, pole = 0;
        if (!cable && r_.Chance(30)) {  // a cable from the substation to the first pole
            const int first = Node(QStringLiteral("Опора %1").arg(++pole));
            Line(previous, first, QStringLiteral("Кабель ТП - оп. 1"), r_.Uniform(0.03, 0.12), pick(r_, cableProvods),
                 PhasesABC);
            previous = first;
        }
        const int switchAt = r_.Chance(20) ? r_.Int(spans / 2, spans - 1) : -1;  // in the second half
        for (int s = 0; s < spans; ++s) {
            if (s == switchAt) {
                const int gear = Node(QStringLiteral("Рубильник Р-1"), TNodeKind::SwitchGear);
                f_.Nodes.back().SwitchedOn = !r_.Chance(15);
                Line(previous, gear, QStringLiteral("Перемычка к рубильнику"), 0.0, 0, PhasesABC);
                previous = gear;
            }
            const int node = Node(QStringLiteral("Опора %1").arg(++pole));
            Line(previous, node, QStringLiteral("Пролет %1-%2").arg(pole - 1).arg(pole), r_.Uniform(0.025, 0.05),
                 provod, PhasesABC);
            mainPoles_.push_back(node);
            attach_.push_back({node, PhasesABC, TBalanceOwner::OnBalance, 0});
            previous = node;
        }
    }

    void Branches(int spans)
    {
        const bool otherDistrict = r_.Chance(5);
        bool switchedOff = false;
        int branch = 0;
        while (spans > 0) {
            const int length = std::min(spans, r_.Int(2, 8));
            spans -= length;
            ++branch;
            const int from = mainPoles_[r_.Next() % std::max<size_t>(1, mainPoles_.size() - 1)];
            const bool three = r_.Chance(50);
            const TPhaseSet phases = three ? PhasesABC : static_cast<TPhaseSet>(1 << r_.Int(0, 2));
            const int threeProvods[] = {641, 642, 644, 650};
            const int oneProvods[] = {641, 642};
            const int provod = three ? pick(r_, threeProvods) : pick(r_, oneProvods);
            TBalanceOwner owner = TBalanceOwner::OnBalance;
            if (r_.Chance(12)) {
                const TBalanceOwner others[] = {TBalanceOwner::NotOnBalance, TBalanceOwner::SSO, TBalanceOwner::SSP,
                                                TBalanceOwner::ConsumerOwned};
                owner = pick(r_, others);
            }
            const int res = otherDistrict && branch == 1 ? q_.neighbourRes : 0;
            const bool off = !switchedOff && r_.Chance(8);
            switchedOff = switchedOff || off;
            int previous = from;
            for (int j = 1; j <= length; ++j) {
                const int node = Node(QStringLiteral("Опора %1/%2").arg(branch).arg(j));
                TLine038& l = Line(previous, node, QStringLiteral("Ответвление %1, пролет %2").arg(branch).arg(j),
                                   r_.Uniform(0.025, 0.045), provod, phases);
                l.Owner = owner;
                l.Res = res;
                l.SwitchedOn = !(off && j == 1);
                attach_.push_back({node, phases, owner, res});
                previous = node;
            }
        }
    }

    void Drop(int house)
    {
        const Attach at = attach_[r_.Next() % attach_.size()];
        const bool three = at.phases == PhasesABC && r_.Chance(20);
        TPhaseSet phases = at.phases;
        if (!three && at.phases == PhasesABC)
            phases = static_cast<TPhaseSet>(1 << r_.Int(0, 2));
        const int node = Node(QStringLiteral("Ввод д. %1").arg(house), TNodeKind::Consumer);
        TLine038& l = Line(at.node, node, QStringLiteral("Ответвление к вводу д. %1").arg(house),
                           r_.Uniform(0.01, 0.03), three ? 641 : 640, phases);
        l.Owner = r_.Chance(30) ? TBalanceOwner::ConsumerOwned : at.owner;
        l.Res = at.res;
        TAbonentNode038 a;
        a.NodeGuid = node;
        a.Name = QStringLiteral("%1, д. %2").arg(q_.street).arg(house);
        a.Phases = phases;
        const double scale = q_.unom < 0.3 ? 0.5 : 1.0;  // 220/127 V networks feed smaller loads
        a.Wa = round3((three ? r_.Uniform(6, 20) : r_.Uniform(1.8, 5.0)) * scale);
        a.Wr = EmptyFloat();
        a.CosFi = r_.Chance(10) ? EmptyFloat() : (three ? 0.85 : 0.95);
        a.Pust = three ? r_.Int(30, 80) : r_.Int(10, 15);
        f_.Consumers.push_back(a);
    }

    void MarkTapPoints()
    {
        QHash<int, int> degree;
        for (const TLine038& l : f_.Lines) {
            ++degree[l.Node1];
            ++degree[l.Node2];
        }
        for (TNode038& n : f_.Nodes)
            if (n.Kind == TNodeKind::Plain && degree.value(n.Guid) >= 3)
                n.Kind = TNodeKind::TapPoint;
    }

    Random& r_;
    const std::function<int()>& newGuid_;
    const SchemeRequest& q_;
    const SchemeConductors& c_;
    TFiderHHInfo f_;
    std::vector<int> mainPoles_;
    std::vector<Attach> attach_;
};
}  // namespace

TFiderHHInfo MakeScheme(Random& random, const std::function<int()>& newGuid, const SchemeRequest& request,
                        const SchemeConductors& conductors)
{
    return SchemeMaker(random, newGuid, request, conductors).Make();
}

}  // namespace db::demo
