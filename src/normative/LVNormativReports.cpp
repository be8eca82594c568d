#include "normative/LVNormativReports.h"

#include <QHash>
#include <QSet>
#include <algorithm>
#include <functional>

#include "host/Connection.h"
#include "host/NumericHelpers.h"
#include "host/Tree.h"
#include "normative/LVNormativMethodDBUnit.h"
#include "normative/LVNormativUnit.h"
#include "normative/NormativeSql.h"

namespace {
const QString kEnergy = QStringLiteral("#,##0.000");
const QString kShare = QStringLiteral("#,##0.00");
const QString kCount = QStringLiteral("#,##0");
const QString kCoefficient = QStringLiteral("0.###");

QString number(double value, const QString& pattern) { return value < 0 ? QString() : FormatFloat(pattern, value); }

QString range(const TRange& r, const QString& pattern)
{
    if (!r.isSet() || r.upper < 0)
        return {};
    if (r.isSingle() || r.lower < 0)
        return FormatFloat(pattern, r.upper);
    return FormatFloat(pattern, r.lower) + QLatin1Char('-') + FormatFloat(pattern, r.upper);
}

double ratio(double a, double b, double factor) { return a < 0 || b <= 0 ? -1 : a / b * factor; }

QString table(const QStringList& rows)
{
    return QStringLiteral("<table border='1' cellspacing='0' cellpadding='3'>") + rows.join(QString()) +
           QStringLiteral("</table>");
}

QString row(const QString& caption, const QString& value)
{
    return QStringLiteral("<tr><td>%1</td><td align='right'>%2</td></tr>").arg(caption.toHtmlEscaped(), value);
}
}  // namespace

QString NormativeLevelName(int nodeType)
{
    switch (nodeType) {
    case NodeType::AOEnergo: return QStringLiteral("АО");
    case NodeType::PES: return QStringLiteral("ПЭС");
    case NodeType::RES: return QStringLiteral("РЭС");
    case NodeType::Centers: return QStringLiteral("ЦП");
    case NodeType::Fiders: return QStringLiteral("Фидер");
    case NodeType::Nodes: return QStringLiteral("ТП");
    case NodeType::LVFiders: return QStringLiteral("Линии");
    default: return {};
    }
}

QList<int> PeriodsWithResults(ToznFDConnection& connection)
{
    return GuardedRead(connection, [&] {
        QList<int> periods;
        auto q = connection.NewQuery();
        q->SetSQLText(QString::fromUtf8(NormativeSql::kPeriodsWithResults));
        for (q->Open(); !q->Eof(); q->Next())
            periods << q->Int(QStringLiteral("SampleIdent"));
        return periods;
    });
}

std::vector<TSamplePeriodInfo> MonthsOf(const TSamplePeriodInfo& period, const std::vector<TSamplePeriodInfo>& all)
{
    std::vector<TSamplePeriodInfo> months;
    for (const TSamplePeriodInfo& p : all)
        if (p.Period == 4 && p.SampleDate1 >= period.SampleDate1 && p.SampleDate2 <= period.SampleDate2)
            months.push_back(p);
    std::sort(months.begin(), months.end(),
              [](const TSamplePeriodInfo& a, const TSamplePeriodInfo& b) { return a.SampleDate1 < b.SampleDate1; });
    return months;
}

TNormativeSummary::TNormativeSummary(ToznFDConnection& connection, ToznListItemCommon* item,
                                     const TSamplePeriodInfo& period, const TSummaryScope& scope)
{
    if (!item || period.isEmpty())
        return;
    const bool overPeriods = !scope.Periods.empty();
    const std::vector<TSamplePeriodInfo> periods = overPeriods ? scope.Periods : std::vector{period};
    QHash<const TLVBResultsCommon*, int> types;
    QSet<const TLVBResultsCommon*> elements;  // the elements' nodes and those of their periods
    GuardedRead(connection, [&] {
        // The elements stored in each period, read with their schemes at once.
        std::vector<QSet<int>> stored(periods.size());
        std::vector<std::unique_ptr<TLVNormativeStore>> stores;
        QSet<int> anyStored;
        auto q = connection.NewQuery();
        q->SetSQLText(QString::fromUtf8(NormativeSql::kStoredElements));
        for (size_t p = 0; p < periods.size(); ++p) {
            q->ParamByName(QStringLiteral("SampleIdent"), periods[p].Ident);
            for (q->Open(); !q->Eof(); q->Next())
                stored[p].insert(q->Int(QStringLiteral("GUID")));
            anyStored.unite(stored[p]);
            stores.push_back(std::make_unique<TLVNormativeStore>(connection));
            if (!stored[p].isEmpty())
                stores.back()->Preload(periods[p]);
        }
        auto result = [&](ToznListItemCommon* i, size_t p, const QString& name) {
            TLVNormativSample0 sample;
            sample.Period = periods[p];
            sample.Ident = i->GetIdent();
            stores[p]->Load(sample, i->GetIdent(), periods[p]);
            return std::make_unique<TLVBResultsCommon>(name, sample);
        };
        auto element = [&](ToznListItemCommon* i) {
            ++elements_;
            std::unique_ptr<TLVBResultsCommon> node;
            if (!overPeriods) {
                node = result(i, 0, i->GetText());
            } else {
                // The element over the periods: the results flagged, so that hours add up and lines do not.
                node = std::make_unique<TLVBResultsCommon>(i->GetText());
                for (size_t p = 0; p < periods.size(); ++p) {
                    if (!stored[p].contains(i->GetIdent()))
                        continue;
                    auto month = result(i, p, periods[p].Name);
                    month->SetFlag(true);
                    elements.insert(month.get());
                    node->Lengths = month->Lengths;
                    node->AddChild(std::move(month));
                }
            }
            types.insert(node.get(), i->GetNodeType());
            elements.insert(node.get());
            return node;
        };
        // A substation shown again under another feeder is counted where it belongs only.
        std::function<void(ToznListItemCommon*, TLVBResultsCommon&)> build = [&](ToznListItemCommon* i,
                                                                                 TLVBResultsCommon& parent) {
            if (i->isLink())
                return;
            if (anyStored.contains(i->GetIdent())) {
                parent.AddChild(element(i));
                return;
            }
            if (i->GetNodeType() == NodeType::Sections) {
                for (int c = 0; c < i->GetCount(); ++c)
                    build(i->GetItems(c), parent);
                return;
            }
            auto node = std::make_unique<TLVBResultsCommon>(i->GetText());
            for (int c = 0; c < i->GetCount(); ++c)
                build(i->GetItems(c), *node);
            if (node->ChildCount() > 0) {
                types.insert(node.get(), i->GetNodeType());
                parent.AddChild(std::move(node));
            }
        };
        ToznListItemCommon* target = item->Target();
        if (anyStored.contains(target->GetIdent()) && !scope.BelowOnly) {
            root_ = element(target);
        } else {
            root_ = std::make_unique<TLVBResultsCommon>(target->GetText());
            types.insert(root_.get(), target->GetNodeType());
            for (int c = 0; c < target->GetCount(); ++c)
                build(target->GetItems(c), *root_);
            if (root_->ChildCount() == 0)
                root_.reset();
        }
    });
    if (!root_)
        return;
    root_->CalcSums();
    std::function<void(const TLVBResultsCommon&, int)> list = [&](const TLVBResultsCommon& n, int depth) {
        const int type = types.value(&n);
        rows_.push_back({depth, NormativeLevelName(type), type, &n, elements.contains(&n)});
        for (int c = 0; c < n.ChildCount(); ++c)
            list(*n.Child(c), depth + 1);
    };
    list(*root_, 0);
}

TNormativeSummary::~TNormativeSummary() = default;

QString NormativeReportHtml(ToznFDConnection& connection, ToznListItemCommon* item, const TSamplePeriodInfo& period,
                            const TSummaryScope& scope)
{
    if (!item)
        return {};
    TNormativeSummary summary(connection, item, period, scope);
    const TLVBResultsCommon* r = summary.Root();
    // The owners of the item by their level.
    QHash<int, QString> owners;
    for (ToznListItemCommon* i = item->Target(); i; i = i->Parent())
        owners.insert(i->GetNodeType(), i->GetText());
    QString transformer;
    if (item->Target()->GetNodeType() == NodeType::Nodes)
        transformer = GuardedRead(connection, [&] {
            auto q = connection.NewQuery();
            q->SetSQLText(QString::fromUtf8(NormativeSql::kTransformerOfNode));
            q->ParamByName(QStringLiteral("GUID"), item->Target()->GetIdent());
            q->Open();
            return q->Eof() ? QString() : q->Str(QStringLiteral("TypeTR"));
        });
    QStringList rows;
    rows << row(QStringLiteral("АО Энерго"), owners.value(NodeType::AOEnergo).toHtmlEscaped())
         << row(QStringLiteral("Электрические сети"), owners.value(NodeType::PES).toHtmlEscaped())
         << row(QStringLiteral("Район электрических сетей"), owners.value(NodeType::RES).toHtmlEscaped())
         << row(QStringLiteral("Центр питания"), owners.value(NodeType::Centers).toHtmlEscaped())
         << row(QStringLiteral("Наименование фидера"), owners.value(NodeType::Fiders).toHtmlEscaped())
         << row(QStringLiteral("Трансформаторная подстанция"), owners.value(NodeType::Nodes).toHtmlEscaped())
         << row(QStringLiteral("Тип трансформатора, кВ·А"), transformer.toHtmlEscaped())
         << row(QStringLiteral("Абонент"), owners.value(NodeType::LVFiders).toHtmlEscaped());
    if (r) {
        const double net = r->Wa < 0 ? -1 : r->Wa - (r->Wa_bus < 0 ? 0 : r->Wa_bus);
        const TLengthValues& l = r->Lengths;
        const double total = l[28].upper;
        // The current density is that of a single element; an aggregate of several has none.
        TLVNormativSample0 single;
        single.Period = period;
        r->SetSample(single);
        const double density = summary.ElementCount() == 1 ? single.CurrentDensity() : -1;
        rows << row(QStringLiteral("Трансформация в сеть 0,4 кВ, тыс. кВт.ч"), number(r->Wa, kEnergy))
             << row(QStringLiteral("Полезный отпуск с шин, тыс. кВт.ч"), number(r->Wa_bus, kEnergy))
             << row(QStringLiteral("Отпуск активной электроэнергии в сеть, тыс. кВт·ч"), number(net, kEnergy))
             << row(QStringLiteral("Расчетный период, часов"), range(r->T, kCount))
             << row(QStringLiteral("Номинальное напряжение, В"), r->VoltageText())
             << row(QStringLiteral("Коэффициент мощности головного участка"),
                    range(r->Params[TLVBResultsCommon::CosFi], kCoefficient))
             << row(QStringLiteral("Сечение головного участка, мм²"),
                    range(r->Params[TLVBResultsCommon::F], kCoefficient))
             << row(QStringLiteral("Количество линий, шт"), range(r->NLines, kCount))
             << row(QStringLiteral("Доля электроэнергии, отпускаемой населению, о.е."),
                    range(r->Params[TLVBResultsCommon::Dp], kCoefficient))
             << row(QStringLiteral("Доля электроэнергии, потребляемая на расстоянии 1-2 пролета от ТП, о.е."),
                    range(r->Params[TLVBResultsCommon::Dn], kCoefficient))
             << row(QStringLiteral("Коэффициент заполнения графика, о.е."),
                    range(r->Params[TLVBResultsCommon::Kzap], kCoefficient))
             << row(QStringLiteral("Длина магистрали, км"), l.GetLengths(3))
             << row(QStringLiteral("Длина двухфазных и трехфазных ответвлений, км"), l.GetLengths(13))
             << row(QStringLiteral("    ввода в здания, км"), l.GetLengths(14))
             << row(QStringLiteral("Длина однофазных ответвлений, км"), l.GetLengths(25))
             << row(QStringLiteral("    ввода в здания, км"), l.GetLengths(26))
             << row(QStringLiteral("Эквивалентная длина линии, км"), l.GetLengths(30))
             << row(QStringLiteral("kU, о.е."), range(r->Params[TLVBResultsCommon::Ku], kCoefficient))
             << row(QStringLiteral("k0.4, о.е."), range(r->Params[TLVBResultsCommon::K038], kCoefficient))
             << row(QStringLiteral("Потери активной электроэнергии, тыс. кВт·ч"), number(r->DeltaWa, kEnergy))
             << row(QStringLiteral("Потери активной электроэнергии, %"), number(ratio(r->DeltaWa, r->Wa, 100), kShare))
             << row(QStringLiteral("Удельные потери электроэнергии, тыс. кВт·ч/км"),
                    number(ratio(r->DeltaWa, total, 1), kEnergy))
             << row(QStringLiteral("Плотность тока, А/мм²"), number(density, kShare))
             << row(QStringLiteral("Суммарная длина линий, км"), l.GetLengths(28))
             << row(QStringLiteral("Средняя длина линий, км"), l.GetLengths(29));
    }
    return QStringLiteral("<html><body><h3>%1</h3>")
               .arg((QStringLiteral("Обобщенные данные: ") + item->GetText() + QStringLiteral(" за ") + period.Name)
                        .toHtmlEscaped()) +
           table(rows) + QStringLiteral("</body></html>");
}

QString NormativeSummaryHtml(const TNormativeSummary& summary, bool detailed)
{
    QStringList rows;
    rows << QStringLiteral("<tr class='head'><th rowspan='2'>Уровень</th><th rowspan='2'>Наименование</th>"
                           "<th rowspan='2'>Длина магистрали, км</th>"
                           "<th rowspan='2'>Длина двухфазных и трехфазных ответвлений, км</th>"
                           "<th rowspan='2'>Длина однофазных ответвлений, км</th>"
                           "<th colspan='3'>Потери электроэнергии</th></tr>"
                           "<tr class='head'><th>тыс. кВт·ч</th><th>%</th><th>тыс. кВт·ч/км</th></tr>");
    for (const TNormativeSummaryRow& r : summary.Rows()) {
        const TLVBResultsCommon& n = *r.Node;
        // The general view leaves out the elements themselves; the detailed one shows them too.
        if (!detailed && r.Element && r.Depth > 0)
            continue;
        const QString cls = !r.Element ? QStringLiteral(" class='level%1'").arg(r.NodeType) : QString();
        rows << QStringLiteral("<tr%1><td>%2</td><td>%3%4</td><td align='right'>%5</td><td align='right'>%6</td>"
                               "<td align='right'>%7</td><td align='right'>%8</td><td align='right'>%9</td>"
                               "<td align='right'>%10</td></tr>")
                    .arg(cls, r.LevelName, QString(r.Depth * 2, QChar(0x00A0)), n.Name().toHtmlEscaped(),
                         n.Lengths.GetLengths(3), n.Lengths.GetLengths(15), n.Lengths.GetLengths(27),
                         number(n.DeltaWa, kEnergy), number(ratio(n.DeltaWa, n.Wa, 100), kShare))
                    .arg(number(ratio(n.DeltaWa, n.Lengths[28].upper, 1), kEnergy));
    }
    return table(rows);
}

QString NormativeReportFileName(const QString& element, const QString& period)
{
    QString name = QStringLiteral("Обобщенные ") + element + QStringLiteral(" за ") + period;
    static const QString forbidden = QStringLiteral("\\/:*?\"<>|");
    for (QChar& c : name)
        if (forbidden.contains(c))
            c = QLatin1Char('_');
    return name + QStringLiteral(".xls");
}
