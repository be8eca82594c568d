#include "host/fider/Scheme038.h"

#include <algorithm>
#include <cmath>

#include "host/NumericHelpers.h"
#include "host/fider/Topology038.h"

namespace fider {

namespace {
const char* const kOwnerTexts[kBalanceOwnerCount] = {"На балансе", "Не на балансе", "Потребителя", "ССО", "ССП"};
}

QString OwnerText(TBalanceOwner owner) { return QString::fromUtf8(kOwnerTexts[static_cast<int>(owner)]); }

std::optional<TBalanceOwner> OwnerFromText(const QString& text)
{
    const QString t = text.trimmed();
    for (int i = 0; i < kBalanceOwnerCount; ++i)
        if (t.compare(QString::fromUtf8(kOwnerTexts[i]), Qt::CaseInsensitive) == 0)
            return static_cast<TBalanceOwner>(i);
    return std::nullopt;
}

std::optional<TBalanceOwner> OwnerFromCode(int code)
{
    if (code < 0 || code >= kBalanceOwnerCount)
        return std::nullopt;
    return static_cast<TBalanceOwner>(code);
}

QString SectionKindText(TSectionKind kind)
{
    switch (kind) {
    case TSectionKind::Overhead: return QStringLiteral("Воздушная линия");
    case TSectionKind::Cable: return QStringLiteral("Кабельная линия");
    default: return QStringLiteral("Соединительная линия");
    }
}

QString NodeKindText(TNodeKind kind)
{
    switch (kind) {
    case TNodeKind::SupplyCentre: return QStringLiteral("Центр питания");
    case TNodeKind::TapPoint: return QStringLiteral("Отпайка");
    case TNodeKind::Consumer: return QStringLiteral("Абонент");
    case TNodeKind::SwitchGear: return QStringLiteral("Коммутационный аппарат");
    default: return QStringLiteral("Опора");
    }
}

int PhaseCount(TPhaseSet phases) { return (phases & 1) + ((phases >> 1) & 1) + ((phases >> 2) & 1); }

QString PhasesText(TPhaseSet phases)
{
    QString text;
    if (phases & PhaseA)
        text += QLatin1Char('A');
    if (phases & PhaseB)
        text += QLatin1Char('B');
    if (phases & PhaseC)
        text += QLatin1Char('C');
    return text;
}

std::optional<TPhaseSet> PhasesFromText(const QString& text)
{
    const QString t = text.trimmed().toUpper();
    if (t.isEmpty())
        return PhasesABC;
    TPhaseSet set = 0;
    for (const QChar c : t) {
        TPhaseSet bit = 0;
        // Cyrillic А, В, С look the same as the Latin letters and are typed as often.
        if (c == QLatin1Char('A') || c == QChar(0x0410))
            bit = PhaseA;
        else if (c == QLatin1Char('B') || c == QChar(0x0412))
            bit = PhaseB;
        else if (c == QLatin1Char('C') || c == QChar(0x0421))
            bit = PhaseC;
        if (!bit || (set & bit))
            return std::nullopt;
        set |= bit;
    }
    return set;
}

QString ConductorName(const QString& marka, double f)
{
    return f > 0 ? QStringLiteral("%1-%2").arg(marka.trimmed(), FormatFloat(QStringLiteral("0.#"), f))
                 : marka.trimmed();
}

QString TNode038::ClassName() const
{
    switch (Kind) {
    case TNodeKind::SupplyCentre: return QStringLiteral("TSourceNode038");
    case TNodeKind::Consumer: return QStringLiteral("TAbonentNode038");
    case TNodeKind::SwitchGear: return QStringLiteral("TSwitchGear038");
    default: return QStringLiteral("TNode038");
    }
}

bool TAbonentNode038::HasEnergy() const { return !isEmptyFloat(Wa) && Wa > 0; }

QString TLine038::ClassName() const
{
    return Kind == TSectionKind::Connecting ? QStringLiteral("TConnect038") : QStringLiteral("TLine038");
}

double TFiderHHInfo::NominalPhaseVoltage() const { return Unom > 0 && Unom < 0.3 ? 127.0 : 230.0; }

double TFiderHHInfo::GetLength() const
{
    double sum = 0;
    for (const TLine038& l : Lines)
        if (std::isfinite(l.Length))
            sum += l.Length;
    return sum;
}

const TLine038* TFiderHHInfo::GetHeadEnd() const
{
    const TFiderTopology topology = TFiderTopology::Build(*this);
    return topology.HeadEnd >= 0 ? &Lines[topology.HeadEnd] : nullptr;
}

double TFiderHHInfo::GetHeadEndLength() const
{
    const TLine038* head = GetHeadEnd();
    return head ? head->Length : EmptyFloat();
}

double TFiderHHInfo::GetHeadEndSize() const
{
    const TLine038* head = GetHeadEnd();
    return head && head->Phase.Known ? head->Phase.F : EmptyFloat();
}

std::vector<std::pair<int, int>> TFiderHHInfo::GetBalancesList() const
{
    return GetBalancesList(TFiderTopology::Build(*this));
}

std::vector<std::pair<int, int>> TFiderHHInfo::GetBalancesList(const TFiderTopology& topology) const
{
    std::vector<std::pair<int, int>> list;
    auto add = [&list](int res, int kind) {
        if (std::find(list.begin(), list.end(), std::pair{res, kind}) == list.end())
            list.push_back({res, kind});
    };
    if (topology.HeadEnd >= 0)
        add(ResOf(Lines[topology.HeadEnd]), BalanceKind(Lines[topology.HeadEnd].Owner));
    else
        add(Res, kBalanceOn);
    for (const TLine038& line : Lines)
        add(ResOf(line), BalanceKind(line.Owner));
    for (size_t c = 0; c < Consumers.size() && c < topology.ConsumerNode.size(); ++c) {
        const int pos = topology.ConsumerNode[c];
        if (pos <= 0)
            continue;
        const TLine038& feeding = Lines[topology.Line[pos]];
        add(ResOf(feeding), BalanceKind(Consumers[c].Owner.value_or(feeding.Owner)));
    }
    std::sort(list.begin(), list.end());
    return list;
}

}  // namespace fider
