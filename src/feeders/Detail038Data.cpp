#include "feeders/Detail038Data.h"

#include <cmath>

#include "feeders/FeedersSql.h"
#include "host/Connection.h"
#include "host/NumericHelpers.h"

namespace Detail038 {

const QString kSettingsName = QStringLiteral("Detail038SettingsV2");
const QString kColoursKey = QStringLiteral("\\DetailColors");

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
            const QString& owner = kOnBalance)
{
    Row r{className, devType, kOn, owner, {}};
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
    //                                   Field, Caption, Default, Profi, power losses, energy losses
    static const std::vector<Column> nodes = {
        {"Name", "Наименование", true, true, true, true},
        {"DevType", "Тип устройства", true, true, false, false},
        {"ClassName", "Класс элемента", false, true, false, false},
        {"State", "Состояние", true, true, false, false},
        {"Owner", "Балансовая принадлежность", true, true, false, false},
        {"MeterNumber", "Номер счетчика", false, true, false, false},
        {"U", "Напряжение, В", true, true, true, false},
        {"dU", "Отклонение напряжения от центра питания, %", false, true, true, false},
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
        {"Cable", "Кабель", false, true, false, false},
        {"Phases", "Число фаз", false, true, false, false},
        {"Length", "Длина, км", true, true, true, true},
        {"Kpl", "Коэффициент длины", false, true, false, false},
        {"I", "Ток, А", true, true, true, true},
        {"dU", "Потери напряжения, В", false, true, true, false},
        {"dP", "Потери мощности, кВт", true, true, true, true},
        {"SortIndexN", "Порядок начала", false, true, false, false},
        {"SortIndexK", "Порядок конца", false, true, false, false},
    };
    return table == Nodes ? nodes : sections;
}

QVariant NumberCell(double value)
{
    if (std::isnan(value))
        return QStringLiteral("+NAN");
    return value;
}

Scheme Load(ToznFDConnection& connection, int feederGuid)
{
    Scheme scheme;
    std::vector<Row>& nodes = scheme.Rows[Nodes];
    std::vector<Row>& sections = scheme.Rows[Sections];
    GuardedRead(connection, [&] {
        auto q = connection.NewQuery();
        q->SetSQLText(QString::fromUtf8(FeedersSql::kDetailFeeder));
        q->ParamByName(QStringLiteral("GUID"), feederGuid);
        q->Open();
        if (q->Eof())
            return;
        // The feeder's own end is its substation's bus: the supply centre of the scheme.
        const QString centre =
            QStringLiteral("ТП: ") + q->Str(QStringLiteral("TPInfo")) + QStringLiteral(" Линия ") + q->Str("Name");
        const QString switchGear = q->Str(QStringLiteral("SwitchGName")).trimmed();
        const QString consumer = q->Str(QStringLiteral("ConsumerName")).trimmed();

        // The latest ordinary calculation: the voltage at the centre and the results by element.
        int ident = 0;
        double centreU = EmptyFloat();
        QHash<int, double> nodeU;
        QHash<int, std::array<double, 3>> lineResults;
        q->SetSQLText(QString::fromUtf8(FeedersSql::kDetailLatestResult));
        q->ParamByName(QStringLiteral("GUID"), feederGuid);
        q->Open();
        if (!q->Eof()) {
            ident = q->Int(QStringLiteral("Ident"));
            double sum = 0;
            int n = 0;
            for (const char* phase : {"UA", "UB", "UC"})
                if (const double u = q->Float(QString::fromLatin1(phase)); !isEmptyFloat(u)) {
                    sum += u;
                    ++n;
                }
            centreU = n ? sum / n : EmptyFloat();
            q->SetSQLText(QString::fromUtf8(FeedersSql::kDetailNodeResults));
            q->ParamByName(QStringLiteral("Ident"), ident);
            for (q->Open(); !q->Eof(); q->Next())
                nodeU.insert(q->Int(QStringLiteral("GUID")), q->Float(QStringLiteral("U")));
            q->SetSQLText(QString::fromUtf8(FeedersSql::kDetailLineResults));
            q->ParamByName(QStringLiteral("Ident"), ident);
            for (q->Open(); !q->Eof(); q->Next())
                lineResults.insert(
                    q->Int(QStringLiteral("GUID")),
                    {q->Float(QStringLiteral("I")), q->Float(QStringLiteral("dU")), q->Float(QStringLiteral("dP"))});
        }

        auto voltage = [&](Row& r, double u) {
            r.Values.insert(QStringLiteral("U"), NumberCell(u));
            const bool known = !isEmptyFloat(u) && !isEmptyFloat(centreU) && centreU != 0;
            r.Values.insert(QStringLiteral("dU"), NumberCell(known ? (centreU - u) / centreU * 100 : EmptyFloat()));
        };
        Row head = element(QStringLiteral("TSourceNode038"), QStringLiteral("Центр питания"), centre, 0);
        voltage(head, centreU);
        nodes.push_back(head);
        QHash<int, int> sortOf{{feederGuid, 0}};
        QHash<int, QString> nameOf{{feederGuid, centre}};
        int order = 0;
        if (!switchGear.isEmpty()) {
            Row gear = element(QStringLiteral("TSwitchGear038"), QStringLiteral("Коммутационный аппарат"), switchGear,
                               ++order);
            voltage(gear, centreU);
            nodes.push_back(gear);
        }

        struct Line {
            int guid, n1, n2;
            QString info, marka;
            double length, kpl;
            int phases, provod, cableFlags;
        };
        std::vector<Line> lines;
        QHash<int, int> incident;
        q->SetSQLText(QString::fromUtf8(FeedersSql::kDetailLines));
        q->ParamByName(QStringLiteral("GUID"), feederGuid);
        for (q->Open(); !q->Eof(); q->Next()) {
            Line l{q->Int(QStringLiteral("GUID")),        q->Int(QStringLiteral("Node1")),
                   q->Int(QStringLiteral("Node2")),       q->Str(QStringLiteral("Info")),
                   q->Str(QStringLiteral("Marka")),       q->Float(QStringLiteral("LineLength")),
                   q->Float(QStringLiteral("Kpl")),       q->Int(QStringLiteral("Phase")),
                   q->Int(QStringLiteral("ProvodPhase")), q->Int(QStringLiteral("CableFlags"))};
            ++incident[l.n1];
            ++incident[l.n2];
            lines.push_back(l);
        }
        q->SetSQLText(QString::fromUtf8(FeedersSql::kDetailNodes));
        q->ParamByName(QStringLiteral("GUID"), feederGuid);
        for (q->Open(); !q->Eof(); q->Next()) {
            const int guid = q->Int(QStringLiteral("GUID"));
            // A node where the line branches is a tap point.
            const bool tap = incident.value(guid) >= 3;
            Row node = element(QStringLiteral("TNode038"), tap ? QStringLiteral("Отпайка") : QStringLiteral("Опора"),
                               q->Str(QStringLiteral("Name")), ++order);
            voltage(node, nodeU.value(guid, EmptyFloat()));
            sortOf.insert(guid, order);
            nameOf.insert(guid, q->Str(QStringLiteral("Name")));
            nodes.push_back(node);
        }
        if (!consumer.isEmpty()) {
            Row load = element(QStringLiteral("TAbonentNode038"), QStringLiteral("Абонент"), consumer, ++order,
                               QStringLiteral("Потребителя"));
            voltage(load, EmptyFloat());
            nodes.push_back(load);
        }

        for (const Line& l : lines) {
            const bool connection = l.provod == 0;  // no conductor: a connecting line
            const bool cable = !connection && l.cableFlags != 0;
            Row s = element(connection ? QStringLiteral("TConnect038") : QStringLiteral("TLine038"),
                            connection ? QStringLiteral("Соединительная линия")
                            : cable    ? QStringLiteral("Кабельная линия")
                                       : QStringLiteral("Воздушная линия"),
                            l.info, 0);
            s.Values.remove(QStringLiteral("SortIndex"));
            s.Values.insert(QStringLiteral("NodeN"), nameOf.value(l.n1));
            s.Values.insert(QStringLiteral("NodeK"), nameOf.value(l.n2));
            s.Values.insert(QStringLiteral("SortIndexN"), sortOf.value(l.n1));
            s.Values.insert(QStringLiteral("SortIndexK"), sortOf.value(l.n2));
            s.Values.insert(QStringLiteral("Marka"), l.marka);
            s.Values.insert(QStringLiteral("Cable"), cable ? QStringLiteral("Да") : QStringLiteral("Нет"));
            s.Values.insert(QStringLiteral("Phases"), l.phases);
            s.Values.insert(QStringLiteral("Length"), NumberCell(l.length));
            s.Values.insert(QStringLiteral("Kpl"), NumberCell(l.kpl));
            const auto results = lineResults.value(l.guid, {EmptyFloat(), EmptyFloat(), EmptyFloat()});
            s.Values.insert(QStringLiteral("I"), NumberCell(results[0]));
            s.Values.insert(QStringLiteral("dU"), NumberCell(results[1]));
            s.Values.insert(QStringLiteral("dP"), NumberCell(results[2]));
            sections.push_back(s);
        }
    });
    return scheme;
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
