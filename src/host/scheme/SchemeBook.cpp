#include "host/scheme/SchemeBook.h"

#include <QSet>
#include <algorithm>
#include <climits>
#include <cmath>

#include "host/InputRanges.h"
#include "host/NumericHelpers.h"
#include "host/TextLimits.h"
#include "host/fider/Topology038.h"

namespace scheme {

using namespace fider;

namespace {
const char* const kSectionCaptions[SColumns] = {"Линия",
                                                "Узел начала",
                                                "Узел конца",
                                                "Длина, км",
                                                "Марка провода",
                                                "Марка нулевого провода",
                                                "Фазы",
                                                "Вид",
                                                "Состояние",
                                                "Балансовая принадлежность",
                                                "Аппарат в узле конца"};
const char* const kConsumerCaptions[CColumns] = {"Линия",
                                                 "Узел",
                                                 "Наименование",
                                                 "Фаза",
                                                 "Установленная мощность, кВт",
                                                 "Электроэнергия, кВт·ч",
                                                 "cos φ",
                                                 "Балансовая принадлежность"};

QString u(const char* text) { return QString::fromUtf8(text); }
QString Key(const QString& name) { return NameKey(name); }
bool IsSupplyCentre(const QString& name) { return Key(name) == Key(u(kSupplyCentre)); }

int IndexOfText(const QStringList& texts, const QString& text)
{
    for (int i = 0; i < texts.size(); ++i)
        if (Key(texts.at(i)) == Key(text))
            return i;
    return -1;
}

// "CA" is how users write the pair of phases C and A.
QString SectionPhasesText(TPhaseSet phases)
{
    return phases == (PhaseA | PhaseC) ? QStringLiteral("CA") : PhasesText(phases);
}

bool IsSubset(TPhaseSet inner, TPhaseSet outer) { return (inner & ~outer) == 0; }

class Checker {
public:
    Checker(const TSchemeBook& book, const TConductorCatalogue& catalogue) : book_(book), catalogue_(catalogue) {}

    TCheckedBook Run()
    {
        for (const TBookRow& row : book_.Sections)
            if (!row.IsEmpty())
                Section(row);
        for (size_t f = 0; f < result_.Fiders.size(); ++f)
            Tree(f);
        for (const TBookRow& row : book_.Consumers)
            if (!row.IsEmpty())
                Consumer(row);
        return std::move(result_);
    }

private:
    struct FiderIndex {
        QHash<QString, int> byTo;        // far node name -> section position
        QHash<QString, int> consumerAt;  // node name -> row of its consumer
    };

    void Problem(const char* sheet, int row, int column, const QString& text)
    {
        result_.Problems.push_back({u(sheet), row, column + 1, text});
    }
    void SectionProblem(const TBookRow& r, int column, const QString& text)
    {
        Problem(kSectionsSheet, r.Row, column, text);
    }
    void ConsumerProblem(const TBookRow& r, int column, const QString& text)
    {
        Problem(kConsumersSheet, r.Row, column, text);
    }

    // A number of a cell; empty stays an empty float; a problem when it is not a number or below zero (the
    // range of lengths, powers and energies the forms and workbooks check).
    double Number(const TBookRow& r, int column, bool consumers, bool required, const QString& what)
    {
        static const TInputRule nonNegative = host::ranges::Length();
        double value = EmptyFloat();
        const QString text = r.Cell(column);
        auto problem = [&](const QString& t) {
            consumers ? ConsumerProblem(r, column, t) : SectionProblem(r, column, t);
        };
        if (!ParseBookNumber(text, value))
            problem(QStringLiteral("%1 «%2» не число").arg(what, text));
        else if (required && isEmptyFloat(value))
            problem(QStringLiteral("не указана %1").arg(what.toLower()));
        else if (!isEmptyFloat(value) && !nonNegative.Accepts(value))
            problem(QStringLiteral("%1 не может быть отрицательной (%2)").arg(what, text));
        else
            return value;
        return EmptyFloat();
    }

    int Conductor(const TBookRow& r, int column)
    {
        QString why;
        const auto c = catalogue_.Find(r.Cell(column), why);
        if (!c) {
            SectionProblem(r, column, why);
            return 0;
        }
        return c->Ident;
    }

    template <class T>
    std::optional<T> Coded(const TBookRow& r, int column, const QStringList& texts, T empty, const QString& what,
                           bool consumers = false)
    {
        const QString text = r.Cell(column);
        if (text.isEmpty())
            return empty;
        const int i = IndexOfText(texts, text);
        if (i >= 0)
            return static_cast<T>(i);
        const QString t =
            QStringLiteral("%1: «%2» нет в списке; допустимо: %3").arg(what, text, texts.join(QStringLiteral(", ")));
        consumers ? ConsumerProblem(r, column, t) : SectionProblem(r, column, t);
        return std::nullopt;
    }

    // A name that its column would not take.
    void CheckName(const TBookRow& r, int column, const host::TTextColumn& target, bool consumers)
    {
        const QString problem = host::TextProblem(r.Cell(column), target);
        if (!problem.isEmpty())
            consumers ? ConsumerProblem(r, column, problem) : SectionProblem(r, column, problem);
    }

    void Section(const TBookRow& r)
    {
        TSchemeSection s;
        s.Row = r.Row;
        const QString fider = r.Cell(SFider);
        CheckName(r, SFider, host::kLVFiderName, false);
        CheckName(r, SFrom, host::kLVNodeName, false);
        CheckName(r, STo, host::kLVNodeName, false);
        if (fider.isEmpty())
            SectionProblem(r, SFider, QStringLiteral("не указана линия"));
        s.From = r.Cell(SFrom).simplified();
        s.To = r.Cell(STo).simplified();
        if (s.From.isEmpty())
            SectionProblem(r, SFrom, QStringLiteral("не указан узел начала"));
        if (s.To.isEmpty())
            SectionProblem(r, STo, QStringLiteral("не указан узел конца"));
        else if (IsSupplyCentre(s.To))
            SectionProblem(r, STo,
                           QStringLiteral("«%1» — центр питания линии, он не может быть узлом конца").arg(s.To));
        else if (Key(s.To) == Key(s.From))
            SectionProblem(r, STo, QStringLiteral("участок начинается и кончается в узле «%1»").arg(s.To));
        s.Length = Number(r, SLength, false, true, QStringLiteral("Длина"));
        if (isEmptyFloat(s.Length))
            s.Length = 0;

        const auto kind = Coded(r, SKind, SectionKindTexts(), -1, QStringLiteral("Вид участка"));
        if (!r.Cell(SPhase).isEmpty())
            s.Phase = Conductor(r, SPhase);
        else if (kind != std::optional<int>(static_cast<int>(TSectionKind::Connecting)))
            SectionProblem(r, SPhase,
                           QStringLiteral("не указана марка провода (без провода бывает только "
                                          "соединительная линия)"));
        if (!r.Cell(SNeutral).isEmpty())
            s.Neutral = Conductor(r, SNeutral);
        const auto phases = PhasesFromText(r.Cell(SPhases));
        if (phases)
            s.Phases = *phases;
        else
            SectionProblem(r, SPhases,
                           QStringLiteral("фазы «%1» неизвестны; допустимо: %2")
                               .arg(r.Cell(SPhases), SectionPhaseTexts().join(QStringLiteral(", "))));
        if (kind && *kind >= 0)
            s.Kind = static_cast<TSectionKind>(*kind);
        else if (const TConductor* c = catalogue_.ByIdent(s.Phase))
            s.Kind = c->Cable ? TSectionKind::Cable : TSectionKind::Overhead;
        else if (r.Cell(SPhase).isEmpty())
            s.Kind = TSectionKind::Connecting;
        s.SwitchedOn = Coded(r, SState, StateTexts(), 0, QStringLiteral("Состояние")).value_or(0) == 0;
        s.Owner = Coded(r, SOwner, OwnerTexts(), TBalanceOwner::OnBalance, QStringLiteral("Балансовая принадлежность"))
                      .value_or(TBalanceOwner::OnBalance);
        if (!r.Cell(SDevice).isEmpty()) {
            const auto device = Coded(r, SDevice, StateTexts(), 0, QStringLiteral("Состояние аппарата"));
            if (device)
                s.Device = *device == 0;
        }
        if (fider.isEmpty())
            return;
        TFiderScheme& f = FiderOf(fider, r.Row);
        f.Sections.push_back(s);
    }

    TFiderScheme& FiderOf(const QString& name, int row)
    {
        const QString key = Key(name);
        auto it = fiderByKey_.find(key);
        if (it == fiderByKey_.end()) {
            it = fiderByKey_.insert(key, static_cast<int>(result_.Fiders.size()));
            TFiderScheme f;
            f.Name = name.simplified();
            f.FirstRow = row;
            result_.Fiders.push_back(f);
            index_.emplace_back();
        }
        return result_.Fiders[*it];
    }

    // The tree of one feeder: every far node once, every near node the supply centre or a far node, no
    // loops, and no phase that the section feeding the near node does not carry. Orders the sections.
    void Tree(size_t fiderIndex)
    {
        TFiderScheme& f = result_.Fiders[fiderIndex];
        FiderIndex& index = index_[fiderIndex];
        const int n = static_cast<int>(f.Sections.size());
        const auto row = [&](int i) {
            TBookRow r;
            r.Row = f.Sections[i].Row;
            return r;
        };
        for (int i = 0; i < n; ++i) {
            const TSchemeSection& s = f.Sections[i];
            if (s.To.isEmpty() || IsSupplyCentre(s.To))
                continue;
            const auto it = index.byTo.constFind(Key(s.To));
            if (it != index.byTo.constEnd())
                SectionProblem(row(i), STo,
                               QStringLiteral("узел «%1» уже есть в строке %2: узел питается дважды")
                                   .arg(s.To)
                                   .arg(f.Sections[*it].Row));
            else
                index.byTo.insert(Key(s.To), i);
        }
        std::vector<int> parent(n, -1);
        bool broken = false;
        for (int i = 0; i < n; ++i) {
            const TSchemeSection& s = f.Sections[i];
            if (s.From.isEmpty() || IsSupplyCentre(s.From))
                continue;
            const auto it = index.byTo.constFind(Key(s.From));
            if (it == index.byTo.constEnd()) {
                SectionProblem(row(i), SFrom,
                               QStringLiteral("узел начала «%1» не найден среди узлов конца линии «%2» и не ТП")
                                   .arg(s.From, f.Name));
                broken = true;
            } else {
                parent[i] = *it;
            }
        }
        // 0 not seen, 1 on the current path, 2 reaches the supply centre, 3 does not.
        std::vector<uint8_t> state(n, 0);
        for (int i = 0; i < n; ++i) {
            std::vector<int> path;
            int j = i;
            while (j >= 0 && state[j] == 0) {
                state[j] = 1;
                path.push_back(j);
                j = parent[j];
            }
            uint8_t outcome = j < 0 ? 2 : state[j] == 1 ? 3 : state[j];
            if (j >= 0 && state[j] == 1) {
                const auto start = std::find(path.begin(), path.end(), j);
                QStringList names;
                int first = f.Sections[j].Row;
                for (auto k = start; k != path.end(); ++k) {
                    names << f.Sections[*k].To;
                    first = std::min(first, f.Sections[*k].Row);
                }
                std::reverse(names.begin(), names.end());
                names << names.first();
                TBookRow r;
                r.Row = first;
                SectionProblem(
                    r, SFrom,
                    QStringLiteral("петля: узлы %1 не связаны с ТП")
                        .arg(QStringLiteral("«") + names.join(QStringLiteral("» → «")) + QStringLiteral("»")));
                broken = true;
            }
            for (int k : path)
                state[k] = outcome;
        }
        if (broken)
            return;
        for (int i = 0; i < n; ++i) {
            const int p = parent[i];
            if (p < 0 || IsSubset(f.Sections[i].Phases, f.Sections[p].Phases))
                continue;
            SectionProblem(row(i), SPhases,
                           QStringLiteral("фазы «%1» не подведены к узлу «%2»: участок строки %3 несёт «%4»")
                               .arg(SectionPhasesText(f.Sections[i].Phases), f.Sections[i].From)
                               .arg(f.Sections[p].Row)
                               .arg(SectionPhasesText(f.Sections[p].Phases)));
        }
        OrderFromCentre(f, parent, index);
    }

    // Breadth first from the supply centre, keeping the users' order among the sections of one node.
    static void OrderFromCentre(TFiderScheme& f, const std::vector<int>& parent, FiderIndex& index)
    {
        const int n = static_cast<int>(f.Sections.size());
        std::vector<std::vector<int>> children(n + 1);
        for (int i = 0; i < n; ++i)
            children[parent[i] < 0 ? n : parent[i]].push_back(i);
        std::vector<int> order;
        order.reserve(n);
        std::vector<int> queue{n};
        for (size_t q = 0; q < queue.size(); ++q)
            for (int c : children[queue[q]]) {
                order.push_back(c);
                queue.push_back(c);
            }
        std::vector<TSchemeSection> sorted;
        sorted.reserve(n);
        for (int i : order)
            sorted.push_back(f.Sections[i]);
        f.Sections = std::move(sorted);
        index.byTo.clear();
        for (int i = 0; i < n; ++i)
            index.byTo.insert(Key(f.Sections[i].To), i);
    }

    void Consumer(const TBookRow& r)
    {
        TSchemeConsumer a;
        a.Row = r.Row;
        a.Node = r.Cell(CNode).simplified();
        a.Name = r.Cell(CName).simplified();
        const QString fider = r.Cell(CFider);
        const auto fi = fiderByKey_.constFind(Key(fider));
        const int column = CFider;
        if (fider.isEmpty())
            ConsumerProblem(r, column, QStringLiteral("не указана линия"));
        else if (fi == fiderByKey_.constEnd())
            ConsumerProblem(r, column, QStringLiteral("линии «%1» нет на листе «%2»").arg(fider, u(kSectionsSheet)));
        if (a.Name.isEmpty())
            ConsumerProblem(r, CName, QStringLiteral("не указано наименование абонента"));
        CheckName(r, CName, host::kLVConsumerName, true);
        CheckName(r, CNode, host::kLVNodeName, true);
        const auto phases = PhasesFromText(r.Cell(CPhase));
        if (!phases || (PhaseCount(*phases) != 1 && *phases != PhasesABC))
            ConsumerProblem(r, CPhase,
                            QStringLiteral("фаза «%1» неизвестна; допустимо: %2")
                                .arg(r.Cell(CPhase), ConsumerPhaseTexts().join(QStringLiteral(", "))));
        else
            a.Phases = *phases;
        a.Pust = Number(r, CPust, true, false, QStringLiteral("Установленная мощность"));
        a.Energy = Number(r, CEnergy, true, false, QStringLiteral("Электроэнергия"));
        a.CosFi = Number(r, CCosFi, true, false, QStringLiteral("cos φ"));
        if (!isEmptyFloat(a.CosFi) && !host::ranges::PowerFactor().Accepts(a.CosFi)) {
            ConsumerProblem(r, CCosFi,
                            QStringLiteral("cos φ должен быть больше 0 и не больше 1 (%1)").arg(r.Cell(CCosFi)));
            a.CosFi = EmptyFloat();
        }
        if (!r.Cell(COwner).isEmpty())
            a.Owner = Coded(r, COwner, OwnerTexts(), TBalanceOwner::OnBalance,
                            QStringLiteral("Балансовая принадлежность"), true);
        if (a.Node.isEmpty()) {
            ConsumerProblem(r, CNode, QStringLiteral("не указан узел"));
            return;
        }
        if (fi == fiderByKey_.constEnd())
            return;
        TFiderScheme& f = result_.Fiders[*fi];
        FiderIndex& index = index_[*fi];
        if (IsSupplyCentre(a.Node)) {
            ConsumerProblem(r, CNode,
                            QStringLiteral("абонент не может быть подключен к самой ТП: добавьте участок "
                                           "(например, соединительную линию) до его узла"));
            return;
        }
        const auto si = index.byTo.constFind(Key(a.Node));
        if (si == index.byTo.constEnd()) {
            ConsumerProblem(r, CNode, QStringLiteral("узла «%1» нет среди узлов конца линии «%2»").arg(a.Node, f.Name));
            return;
        }
        const TSchemeSection& feeding = f.Sections[*si];
        if (feeding.Device)
            ConsumerProblem(r, CNode,
                            QStringLiteral("в узле «%1» коммутационный аппарат; абонента подключите к "
                                           "узлу за ним")
                                .arg(a.Node));
        if (const auto prior = index.consumerAt.constFind(Key(a.Node)); prior != index.consumerAt.constEnd())
            ConsumerProblem(r, CNode,
                            QStringLiteral("к узлу «%1» уже подключен абонент строки %2; у каждого абонента "
                                           "свой узел (ввод)")
                                .arg(a.Node)
                                .arg(*prior));
        else
            index.consumerAt.insert(Key(a.Node), r.Row);
        if (phases && !IsSubset(a.Phases, feeding.Phases))
            ConsumerProblem(r, CPhase,
                            QStringLiteral("фаза «%1» не подведена к узлу «%2»: участок строки %3 несёт «%4»")
                                .arg(PhasesText(a.Phases), a.Node)
                                .arg(feeding.Row)
                                .arg(SectionPhasesText(feeding.Phases)));
        f.Consumers.push_back(a);
    }

    const TSchemeBook& book_;
    const TConductorCatalogue& catalogue_;
    TCheckedBook result_;
    QHash<QString, int> fiderByKey_;
    std::vector<FiderIndex> index_;
};

QHash<int, QString> NodeNames(const TFiderHHInfo& f) { return BookNodeNames(f); }

QString NumberText(double value) { return isEmptyFloat(value) ? QString() : dotFloatToStr(value); }

QString ConductorText(const TConductor& c)
{
    if (!c.Ident)
        return {};
    return c.Known || !c.Marka.isEmpty() ? ConductorName(c) : QStringLiteral("#%1").arg(c.Ident);
}

void AddFider(TSchemeBook& book, const TFiderHHInfo& f, int& sectionRow, int& consumerRow)
{
    const QHash<int, QString> names = NodeNames(f);
    const auto nameOf = [&](int guid) { return names.value(guid, QStringLiteral("Узел [%1]").arg(guid)); };
    QHash<int, const TNode038*> nodes;
    for (const TNode038& n : f.Nodes)
        nodes.insert(n.Guid, &n);
    const TFiderTopology topology = TFiderTopology::Build(f);
    QHash<int, TPhaseSet> feedingPhases;
    const auto addSection = [&](const TLine038& l, int from, int to) {
        TBookRow r;
        r.Row = ++sectionRow;
        const TNode038* far = nodes.value(to);
        const bool device = far && far->Kind == TNodeKind::SwitchGear;
        const bool ownNeutral = l.Neutral.Ident == 0 || l.Neutral.Ident == l.Phase.Ident;
        r.Cells = QStringList{f.Name,
                              nameOf(from),
                              nameOf(to),
                              NumberText(std::isfinite(l.Length) ? l.Length : 0),
                              ConductorText(l.Phase),
                              ownNeutral ? QString() : ConductorText(l.Neutral),
                              SectionPhasesText(l.Phases),
                              SectionKindText(l.Kind),
                              StateTexts().at(l.SwitchedOn ? 0 : 1),
                              OwnerText(l.Owner),
                              device ? StateTexts().at(far->SwitchedOn ? 0 : 1) : QString()};
        book.Sections.push_back(r);
    };
    std::vector<uint8_t> written(f.Lines.size(), 0);
    for (int p = 1; p < topology.Count(); ++p) {
        const int li = topology.Line[p];
        if (li < 0)
            continue;
        const TLine038& l = f.Lines[li];
        const int to = topology.SchemeNode[p] >= 0 ? f.Nodes[topology.SchemeNode[p]].Guid : l.Node2;
        addSection(l, to == l.Node2 ? l.Node1 : l.Node2, to);
        written[li] = 1;
    }
    for (size_t i = 0; i < f.Lines.size(); ++i)  // what the tree did not reach, as it is stored
        if (!written[i])
            addSection(f.Lines[i], f.Lines[i].Node1, f.Lines[i].Node2);
    // Consumers in the order of their nodes from the supply centre; those on no node of the tree last.
    std::vector<size_t> order(f.Consumers.size());
    for (size_t i = 0; i < order.size(); ++i)
        order[i] = i;
    const auto position = [&](size_t i) {
        const int p = i < topology.ConsumerNode.size() ? topology.ConsumerNode[i] : -1;
        return p < 0 ? INT_MAX : p;
    };
    std::stable_sort(order.begin(), order.end(), [&](size_t a, size_t b) { return position(a) < position(b); });
    for (size_t i : order) {
        const TAbonentNode038& a = f.Consumers[i];
        TBookRow r;
        r.Row = ++consumerRow;
        // kWh to a millionth, so that the thousands of the database do not show their binary tails.
        const double kwh = isEmptyFloat(a.Wa) ? EmptyFloat() : std::round(a.Wa * 1e9) / 1e6;
        r.Cells = QStringList{f.Name,
                              nameOf(a.NodeGuid),
                              a.Name,
                              PhasesText(a.Phases),
                              NumberText(a.Pust),
                              NumberText(kwh),
                              NumberText(a.CosFi),
                              a.Owner ? OwnerText(*a.Owner) : QString()};
        book.Consumers.push_back(r);
    }
}
}  // namespace

QHash<int, QString> BookNodeNames(const TFiderHHInfo& f)
{
    QHash<int, QString> names;
    QSet<QString> taken{Key(u(kSupplyCentre))};
    names.insert(f.Guid, u(kSupplyCentre));
    for (const TNode038& n : f.Nodes) {
        QString name = n.Name.simplified();
        if (name.isEmpty() || taken.contains(Key(name)))
            name = QStringLiteral("%1 [%2]").arg(name.isEmpty() ? QStringLiteral("Узел") : name).arg(n.Guid);
        taken.insert(Key(name));
        names.insert(n.Guid, name);
    }
    return names;
}

QString SectionCaption(int column) { return u(kSectionCaptions[column]); }
QString ConsumerCaption(int column) { return u(kConsumerCaptions[column]); }

QStringList StateTexts() { return {QStringLiteral("Включен"), QStringLiteral("Отключен")}; }
QStringList SectionKindTexts()
{
    return {SectionKindText(TSectionKind::Overhead), SectionKindText(TSectionKind::Cable),
            SectionKindText(TSectionKind::Connecting)};
}
QStringList OwnerTexts()
{
    QStringList texts;
    for (int i = 0; i < kBalanceOwnerCount; ++i)
        texts << OwnerText(static_cast<TBalanceOwner>(i));
    return texts;
}
QStringList SectionPhaseTexts() { return {"ABC", "AB", "BC", "CA", "A", "B", "C"}; }
QStringList ConsumerPhaseTexts() { return {"A", "B", "C", "ABC"}; }

QString TBookProblem::ToString() const
{
    if (Sheet.isEmpty())
        return Text;
    if (Row <= 0)
        return QStringLiteral("%1: %2").arg(Sheet, Text);
    if (Column <= 0)
        return QStringLiteral("%1!%2: %3").arg(Sheet).arg(Row).arg(Text);
    return QStringLiteral("%1!%2: %3").arg(Sheet, GetNameCell(Column, Row), Text);
}

QStringList ProblemTexts(const std::vector<TBookProblem>& problems)
{
    QStringList texts;
    for (const TBookProblem& p : problems)
        texts << p.ToString();
    return texts;
}

bool TBookRow::IsEmpty() const
{
    return std::all_of(Cells.begin(), Cells.end(), [](const QString& c) { return c.trimmed().isEmpty(); });
}

QString TConductorCatalogue::Key(const QString& name)
{
    QString k = name.simplified().toCaseFolded();
    k.remove(QLatin1Char(' '));
    k.replace(QLatin1Char('.'), QLatin1Char(','));
    return k;
}

void TConductorCatalogue::Add(const TConductor& conductor)
{
    byIdent_.insert(conductor.Ident, static_cast<int>(conductors_.size()));
    byName_[Key(ConductorName(conductor))].push_back(static_cast<int>(conductors_.size()));
    conductors_.push_back(conductor);
}

std::optional<TConductor> TConductorCatalogue::Find(const QString& name, QString& why) const
{
    const auto it = byName_.constFind(Key(name));
    if (it == byName_.constEnd() || it->empty()) {
        why = QStringLiteral("марка «%1» не найдена в справочнике проводов").arg(name.simplified());
        return std::nullopt;
    }
    if (it->size() > 1) {
        why = QStringLiteral("марка «%1» неоднозначна: в справочнике проводов %2 таких проводов")
                  .arg(name.simplified())
                  .arg(it->size());
        return std::nullopt;
    }
    return conductors_[it->front()];
}

const TConductor* TConductorCatalogue::ByIdent(int ident) const
{
    const auto it = byIdent_.constFind(ident);
    return it == byIdent_.constEnd() ? nullptr : &conductors_[*it];
}

QStringList TConductorCatalogue::Names() const
{
    QStringList names;
    for (const TConductor& c : conductors_)
        names << ConductorName(c);
    names.removeDuplicates();
    std::sort(names.begin(), names.end(), [](const QString& a, const QString& b) { return KestCompareText(a, b) < 0; });
    return names;
}

bool TFiderScheme::HasLoads() const
{
    return std::any_of(Consumers.begin(), Consumers.end(), [](const TSchemeConsumer& a) {
        return !isEmptyFloat(a.Pust) || !isEmptyFloat(a.Energy) || !isEmptyFloat(a.CosFi);
    });
}

int TCheckedBook::SectionCount() const
{
    int n = 0;
    for (const TFiderScheme& f : Fiders)
        n += static_cast<int>(f.Sections.size());
    return n;
}

int TCheckedBook::ConsumerCount() const
{
    int n = 0;
    for (const TFiderScheme& f : Fiders)
        n += static_cast<int>(f.Consumers.size());
    return n;
}

TCheckedBook CheckSchemeBook(const TSchemeBook& book, const TConductorCatalogue& catalogue)
{
    return Checker(book, catalogue).Run();
}

TSchemeBook BookFromFiders(const std::vector<TFiderHHInfo>& fiders)
{
    TSchemeBook book;
    int sectionRow = 1, consumerRow = 1;
    for (const TFiderHHInfo& f : fiders)
        if (!f.Equivalent && !f.Lines.empty())
            AddFider(book, f, sectionRow, consumerRow);
    return book;
}

QString NameKey(const QString& name) { return name.simplified().toCaseFolded(); }

bool ParseBookNumber(const QString& text, double& value)
{
    const QString t = text.trimmed();
    if (t.isEmpty()) {
        value = EmptyFloat();
        return true;
    }
    return ParseFloat(t, value) && std::isfinite(value);
}

}  // namespace scheme
