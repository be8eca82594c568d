#include "host/fider/RegimeJson.h"

#include <QDateTime>

#include "host/JsonLines.h"
#include "host/NumericHelpers.h"
#include "host/fider/ProfileRunFigures.h"

namespace fider {

namespace {
template <size_t N> QByteArray numbers(const std::array<double, N>& values)
{
    QByteArray text = "[";
    for (size_t i = 0; i < N; ++i)
        text += (i ? "," : "") + JsonNumber(values[i]);
    return text + ']';
}

QByteArray list(const std::vector<QByteArray>& items)
{
    QByteArray text = "[";
    for (size_t i = 0; i < items.size(); ++i)
        text += (i ? "," : "") + items[i];
    return text + ']';
}

QByteArray block(const TBalanceBlock& b)
{
    host::JsonObjectWriter w;
    w.Number("RES", b.Res).Number("Balance", b.Balance);
    w.Number("Pgen", b.Pgen).Number("Pcalc", b.Pcalc).Number("Pfakt", b.Pfakt).Number("dP", b.dP);
    w.Number("Qgen", b.Qgen).Number("Qcalc", b.Qcalc).Number("Qfakt", b.Qfakt).Number("dQ", b.dQ);
    w.Number("Wa_gen", b.Wa_gen).Number("Wacalc", b.Wacalc).Number("Wafakt", b.Wafakt).Number("dWa", b.dWa);
    w.Number("Wr_gen", b.Wr_gen).Number("Wrcalc", b.Wrcalc).Number("Wrfakt", b.Wrfakt).Number("dWr", b.dWr);
    w.Number("NAbonents", b.NAbonents).Number("NLineP", b.NLineP).Number("NLineP_off", b.NLineP_off);
    w.Number("NLineC", b.NLineC).Number("NLineC_off", b.NLineC_off);
    w.Number("LsumP", b.LsumP).Number("LsumP_off", b.LsumP_off).Number("LsumC", b.LsumC);
    w.Number("LsumC_off", b.LsumC_off);
    return w.Finish();
}

QByteArray figures(const TFiderFigures& g)
{
    host::JsonObjectWriter w;
    w.Number("T", g.T).Raw("U", numbers(g.U)).Raw("I", numbers(g.I)).Raw("Imax", numbers(g.Imax));
    w.Raw("CosFi", numbers(g.CosFi)).Raw("U2", numbers(g.U2));
    w.Number("Lm", g.Lm).Number("L23", g.L23).Number("L1", g.L1);
    w.Number("HeadEndLength", g.HeadEndLength).Number("HeadEndSize", g.HeadEndSize);
    w.Number("Krazv", g.Krazv).Number("Kdp", g.Kdp).Number("sqrKfg", g.SqrKfg).Number("Temperature", g.Temperature);
    w.Number("dPdop", g.dPdop).Number("dWdop", g.dWdop);
    w.Number("Kzap", g.Kzap).Number("Tau", g.Tau).Number("Tmax", g.Tmax);
    return w.Finish();
}
QByteArray profileFigures(const TProfileRunFigures& p)
{
    host::JsonObjectWriter w;
    w.Number("StepMinutes", p.StepMinutes).Number("Steps", p.Steps);
    w.Raw("Peak",
          host::JsonString(
              QDateTime::fromSecsSinceEpoch(p.PeakMinute * 60, Qt::UTC).toString(QStringLiteral("yyyy-MM-ddTHH:mm"))));
    w.Number("NProfile", p.NProfile).Number("NHead", p.NHead).Number("NTypical", p.NTypical);
    w.Number("NFlat", p.NFlat).Number("NNoLoad", p.NNoLoad).Raw("HeadMeter", p.HeadMeter ? "true" : "false");
    w.Number("HeadWa", p.HeadWa);
    w.Number("Umin", p.Umin).Number("UOut", p.UOut);
    w.Number("sqrKfg", p.SqrKfg).Number("Tmax", p.Tmax).Number("Tau", p.TauRel);
    w.Number("dWa", p.dWa).Number("dWaMiddle", p.dWaMiddle).Number("dWaMax", p.dWaMax);
    w.Number("ErrorMiddle", p.ErrorMiddle()).Number("ErrorMax", p.ErrorMax());
    return w.Finish();
}
}  // namespace

QByteArray RegimeJson(const TFiderHHInfo& f, const TCalcWInfoHHCommon& run, int ident)
{
    const TCalcPWResultsHH& p = run.Power;
    host::JsonObjectWriter w;
    w.Number("GUID", f.Guid).Raw("Name", host::JsonString(f.Name)).Number("SampleIdent", run.Settings.SampleIdent);
    w.Number("Ident", ident);
    w.Raw("Regime", run.Settings.Regime == TRegimeKind::Middle ? "\"middle\"" : "\"max\"");
    w.Raw("Mode", host::JsonString(LoadModeName(run.Settings.Mode)));
    w.Raw("Equivalent", f.Equivalent ? "true" : "false");
    w.Number("Sweeps", p.Sweeps);
    w.Number("HeadP", p.GetHeadP()).Number("HeadQ", p.GetHeadQ());
    w.Number("LoadP", p.LoadP).Number("LoadQ", p.LoadQ).Number("LossP", p.LossP).Number("LossQ", p.LossQ);
    // What the power balance leaves over: P at the head less the loads and the losses.
    w.Number("PowerBalanceResidual", p.GetHeadP() - p.LoadP - p.LossP);
    w.Number("Kdp", run.Settings.Kdp).Number("UnbalanceRatio", UnbalanceRatio(f, run));
    w.Raw("HeadI", numbers(p.HeadI)).Raw("HeadPphase", numbers(p.HeadP)).Raw("HeadQphase", numbers(p.HeadQ));
    w.Raw("LoadScale", numbers(p.LoadScale));
    w.Number("Supplied", p.Supplied).Number("NotSupplied", p.NotSupplied);
    std::vector<QByteArray> nodes, sections;
    for (size_t pos = 0; pos < p.Nodes.size(); ++pos) {
        const auto& n = p.Nodes[pos];
        host::JsonObjectWriter node;
        const bool centre = n.SchemeNode < 0;
        node.Number("GUID", centre ? f.Guid : f.Nodes[n.SchemeNode].Guid);
        node.Raw("Name", host::JsonString(centre ? QStringLiteral("ЦП") : f.Nodes[n.SchemeNode].Name));
        node.Raw("Energised", n.Energised ? "true" : "false").Raw("U", numbers(n.U));
        if (run.Profile)
            node.Number("Umin", n.Umin).Number("UOut", n.UOut);
        nodes.push_back(node.Finish());
        if (pos == 0)
            continue;
        const auto& s = p.Sections[pos];
        host::JsonObjectWriter section;
        section.Number("GUID", f.Lines[s.SchemeLine].Guid).Raw("Name", host::JsonString(f.Lines[s.SchemeLine].Name));
        section.Raw("Energised", s.Energised ? "true" : "false").Raw("I", numbers(s.I));
        section.Number("dU", s.dU).Number("dP", s.dP).Number("dQ", s.dQ);
        sections.push_back(section.Finish());
    }
    w.Raw("Nodes", list(nodes)).Raw("Sections", list(sections));
    std::vector<QByteArray> blocks;
    for (const TBalanceBlock& b : run.Blocks)
        blocks.push_back(block(b));
    w.Raw("Balance", list(blocks)).Raw("Figures", figures(run.Figures));
    if (run.Profile)
        w.Raw("Profiles", profileFigures(*run.Profile));
    return w.Finish();
}

QByteArray RefusedJson(const TFiderHHInfo& f, const QStringList& problems)
{
    std::vector<QByteArray> texts;
    for (const QString& p : problems)
        texts.push_back(host::JsonString(p));
    host::JsonObjectWriter w;
    w.Number("GUID", f.Guid).Raw("Name", host::JsonString(f.Name)).Raw("Problems", list(texts));
    return w.Finish();
}

}  // namespace fider
