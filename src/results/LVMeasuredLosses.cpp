#include "results/LVMeasuredLosses.h"

#include <QHash>
#include <functional>

#include "host/NumericHelpers.h"
#include "host/Tree.h"

namespace {
bool given(double v) { return !isEmptyFloat(v); }
double sum(double a, double b) { return AC_SumFloat(a, b); }
double percent(double part, double whole)
{
    return given(part) && given(whole) && whole != 0 ? part / whole * 100 : EmptyFloat();
}
}  // namespace

TMeasuredSample::TMeasuredSample()
    : CosFi(EmptyFloat()), P(EmptyFloat()), Wa(EmptyFloat()), dP(EmptyFloat()), dW(EmptyFloat())
{
    U.fill(EmptyFloat());
    I.fill(EmptyFloat());
}

TMeasuredTotals::TMeasuredTotals() : P(EmptyFloat()), Wa(EmptyFloat()), dP(EmptyFloat()), dW(EmptyFloat())
{
    U.fill(EmptyFloat());
    I.fill(EmptyFloat());
    CosFi.fill(EmptyFloat());
}

double TMeasuredTotals::dPPercent() const { return percent(dP, P); }
double TMeasuredTotals::dWPercent() const { return percent(dW, Wa); }

TMeasuredAccumulator::TMeasuredAccumulator() : p_(EmptyFloat()), wa_(EmptyFloat()), dP_(EmptyFloat()), dW_(EmptyFloat())
{
    for (auto* a : {&uSum_, &iSum_, &uiCos_, &ui_})
        a->fill(EmptyFloat());
}

void TMeasuredAccumulator::Add(const TMeasuredSample& s)
{
    if (!given(s.dP)) {
        ++notMeasured_;  // not calculated yet
        return;
    }
    ++measured_;
    p_ = sum(p_, s.P);
    wa_ = sum(wa_, s.Wa);
    dP_ = sum(dP_, s.dP);
    dW_ = sum(dW_, s.dW);
    for (int k = 0; k < 3; ++k) {
        if (given(s.U[k])) {
            uSum_[k] = sum(uSum_[k], s.U[k]);
            ++uCount_[k];
        }
        iSum_[k] = sum(iSum_[k], s.I[k]);
        if (given(s.U[k]) && given(s.I[k]) && given(s.CosFi)) {
            const double ui = s.U[k] * s.I[k];
            ui_[k] = sum(ui_[k], ui);
            uiCos_[k] = sum(uiCos_[k], ui * s.CosFi);
        }
    }
}

void TMeasuredAccumulator::Add(const TMeasuredAccumulator& o)
{
    p_ = sum(p_, o.p_);
    wa_ = sum(wa_, o.wa_);
    dP_ = sum(dP_, o.dP_);
    dW_ = sum(dW_, o.dW_);
    for (int k = 0; k < 3; ++k) {
        uSum_[k] = sum(uSum_[k], o.uSum_[k]);
        uCount_[k] += o.uCount_[k];
        iSum_[k] = sum(iSum_[k], o.iSum_[k]);
        ui_[k] = sum(ui_[k], o.ui_[k]);
        uiCos_[k] = sum(uiCos_[k], o.uiCos_[k]);
    }
    measured_ += o.measured_;
    notMeasured_ += o.notMeasured_;
}

TMeasuredTotals TMeasuredAccumulator::Totals() const
{
    TMeasuredTotals t;
    t.P = p_;
    t.Wa = wa_;
    t.dP = dP_;
    t.dW = dW_;
    for (int k = 0; k < 3; ++k) {
        t.U[k] = uCount_[k] > 0 ? uSum_[k] / uCount_[k] : EmptyFloat();
        t.I[k] = iSum_[k];
        t.CosFi[k] = given(ui_[k]) && ui_[k] != 0 ? uiCos_[k] / ui_[k] : EmptyFloat();
    }
    t.Measured = measured_;
    t.NotMeasured = notMeasured_;
    return t;
}

std::vector<int> FeedersUnder(ToznListItemCommon* item)
{
    std::vector<int> feeders;
    std::function<void(ToznListItemCommon*)> walk = [&](ToznListItemCommon* i) {
        if (i->isLink())
            return;
        if (i->GetNodeType() == NodeType::LVFiders)
            feeders.push_back(i->GetIdent());
        for (int c = 0; c < i->GetCount(); ++c)
            walk(i->GetItems(c));
    };
    if (item)
        walk(item->Target());
    return feeders;
}

std::unique_ptr<TMeasuredNode> BuildMeasuredTree(ToznListItemCommon* item, const std::vector<TMeasuredSample>& samples)
{
    if (!item)
        return nullptr;
    QHash<int, const TMeasuredSample*> byFeeder;
    for (const TMeasuredSample& s : samples)
        byFeeder.insert(s.Feeder, &s);
    // Each node's totals are the sums of its children's; a feeder's, of its sample.
    std::function<std::unique_ptr<TMeasuredNode>(ToznListItemCommon*, TMeasuredNode*, TMeasuredAccumulator&)> build =
        [&](ToznListItemCommon* i, TMeasuredNode* parent, TMeasuredAccumulator& into) {
            auto node = std::make_unique<TMeasuredNode>();
            node->Level = HierarchyLevel(i->GetNodeType());
            node->GUID = i->GetIdent();
            node->Text = i->GetText();
            node->Parent = parent;
            TMeasuredAccumulator own;
            if (i->GetNodeType() == NodeType::LVFiders) {
                if (const TMeasuredSample* s = byFeeder.value(i->GetIdent()))
                    own.Add(*s);
                else
                    own.AddNotMeasured();
            }
            for (int c = 0; c < i->GetCount(); ++c) {
                ToznListItemCommon* child = i->GetItems(c);
                if (!child->isLink() && HierarchyLevel(child->GetNodeType()) >= 0)
                    node->Children.push_back(build(child, node.get(), own));
            }
            node->Totals = own.Totals();
            into.Add(own);
            return node;
        };
    TMeasuredAccumulator all;
    return build(item->Target(), nullptr, all);
}
