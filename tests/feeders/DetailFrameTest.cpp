#include <gtest/gtest.h>

#include <QAbstractItemDelegate>
#include <QComboBox>
#include <QStyledItemDelegate>
#include <QTableWidget>
#include <cmath>
#include <map>

#include "feeders/Detail038Data.h"
#include "feeders/DetailFixture.h"
#include "feeders/DetailFrame038Unit.h"
#include "host/Database.h"
#include "host/InitOZN.h"
#include "host/NumericHelpers.h"
#include "host/Progress.h"
#include "host/Tree.h"
#include "host/fider/RegimeBatch.h"
#include "support/TestSupport.h"

using namespace testing_support;
using namespace Detail038;

namespace {
int count(const std::vector<Row>& rows, const QString& expression)
{
    int n = 0;
    for (const Row& r : rows)
        n += Matches(r, expression) ? 1 : 0;
    return n;
}

const Row& named(const std::vector<Row>& rows, const QString& name)
{
    for (const Row& r : rows)
        if (r.Value("Name") == name)
            return r;
    static const Row none;
    ADD_FAILURE() << name.toStdString();
    return none;
}
}  // namespace

TEST_F(Detail, SchemeElementsTheirKindsStatesOwnersAndTheRunsValues)
{
    const Scheme scheme = Load(*c_, kFeeder, ident_);
    const std::vector<Row>& nodes = scheme.Rows[Nodes];
    const std::vector<Row>& sections = scheme.Rows[Sections];
    ASSERT_EQ(nodes.size(), 6u);
    EXPECT_EQ(nodes[0].DevType, "Центр питания");
    EXPECT_TRUE(nodes[0].Value("Name").toString().startsWith("ТП: "));
    EXPECT_EQ(count(nodes, "DevType='Отпайка'"), 1);
    EXPECT_EQ(count(nodes, "ClassName='TSwitchGear038'"), 1);
    EXPECT_EQ(count(nodes, "ClassName='TAbonentNode038'"), 2);
    EXPECT_EQ(named(nodes, "Рубильник").State, "Отключен");
    const Row& ivanov = named(nodes, "Ввод 1");
    EXPECT_EQ(ivanov.Owner, "Потребителя") << "the section that feeds it is the consumer's";
    EXPECT_EQ(ivanov.Value("ConsumerName"), "Иванов");
    EXPECT_EQ(ivanov.Value("Phases"), "B");
    ASSERT_EQ(sections.size(), 5u);
    EXPECT_EQ(count(sections, "ClassName='TConnect038' or ClassName='TExConnect'"), 1);
    EXPECT_EQ(count(sections, "DevType='Воздушная линия'"), 3);
    EXPECT_EQ(count(sections, "DevType='Кабельная линия'"), 1);
    EXPECT_EQ(sections[0].Value("NodeN").toString(), nodes[0].Value("Name").toString());
    EXPECT_EQ(sections[0].Value("SortIndexN").toInt(), 0);
    EXPECT_EQ(named(sections, "Кабель").Value("MarkaN"), "АВБбШв-120");

    // Voltages and currents are the stored run's: the same numbers the calculation gave.
    const Row& pole1 = named(nodes, "Опора 1");
    const double stored = Scalar(*c_, Fmt("select \"UB\" from \"LVPResultsN\" where \"Ident\"=%1 and "
                                          "guid=900001",
                                          ident_));
    EXPECT_DOUBLE_EQ(pole1.Value("UB").toDouble(), stored);
    EXPECT_DOUBLE_EQ(stored, run_.Power.Nodes[1].U[1]);
    EXPECT_LT(stored, 230);
    const Row& drop = named(sections, "Ввод 1");
    EXPECT_EQ(drop.Value("IA").toString(), "+NAN") << "a single-phase section has no phase A";
    EXPECT_NEAR(drop.Value("IB").toDouble(), drop.Value("IN").toDouble(), 1e-9);
    EXPECT_GT(drop.Value("dP").toDouble(), 0);
    // Behind the open switch: no voltage, no current.
    EXPECT_EQ(named(nodes, "Ввод 2").Value("U").toString(), "+NAN");
    EXPECT_EQ(named(sections, "Кабель").Value("I").toString(), "+NAN");

    // Without a run of its own the same scheme shows no values.
    Exec(*c_, Fmt("delete from \"LVResults\" where \"Ident\"=%1", ident_));
    const Scheme bare = Load(*c_, kFeeder);
    EXPECT_EQ(named(bare.Rows[Nodes], "Опора 1").Value("U").toString(), "+NAN");
    EXPECT_EQ(bare.Rows[Sections].size(), 5u);
}

TEST(DetailRules, ColoursFiltersPresetsAndKeys)
{
    EXPECT_EQ(RowColour("Отключен", "На балансе"), Disconnected);
    EXPECT_EQ(RowColour("Включен", ""), OnBalance);
    EXPECT_EQ(RowColour("Включен", "Не на балансе"), OffBalance);
    EXPECT_EQ(RowColour("Включен", "Потребителя"), ConsumerOwned);
    EXPECT_EQ(RowColour("Включен", "ССП"), SSP);
    EXPECT_EQ(RowColour("Включен", "Чужая сеть"), Disconnected);  // an unknown owner looks switched off

    Row r{"TLine038", "Кабельная линия", "Включен", "", {}};
    EXPECT_TRUE(Matches(r, ""));
    EXPECT_TRUE(Matches(r, "ClassName='TLine038'"));
    EXPECT_FALSE(Matches(r, "DevType='Воздушная линия'"));
    EXPECT_TRUE(Matches(r, "ClassName='TConnect038' or DevType='Кабельная линия'"));

    // Hiding repeated and empty columns: the empty meter column and a copy of an earlier column go.
    std::vector<Row> rows(2, Row{"TNode038", "Опора", "Включен", "На балансе", {}});
    rows[0].Values = {{"Name", "A"}, {"U", 220.0}, {"dU", 220.0}, {"SortIndex", 1}};
    rows[1].Values = {{"Name", "B"}, {"U", "+NAN"}, {"dU", "+NAN"}, {"SortIndex", 2}};
    auto field = [](const char* name) {
        const auto& columns = Columns(Nodes);
        return static_cast<size_t>(
            std::find_if(columns.begin(), columns.end(), [&](const Column& c) { return c.Field == name; }) -
            columns.begin());
    };
    const std::vector<bool> all = PresetVisibility(Nodes, PresetProfi, false, rows);
    const std::vector<bool> lean = PresetVisibility(Nodes, PresetProfi, true, rows);
    EXPECT_TRUE(all[field("MeterNumber")]);
    EXPECT_FALSE(lean[field("MeterNumber")]);
    EXPECT_TRUE(lean[field("U")]);
    EXPECT_FALSE(lean[field("dU")]);  // the same cells as the voltage
    EXPECT_TRUE(lean[field("Name")]);
    EXPECT_FALSE(PresetVisibility(Nodes, PresetPower, false, rows)[field("DevType")]);
    EXPECT_EQ(ColumnKey(Nodes, "Name", "Width"), "Узлы_Name\\Width");
    EXPECT_EQ(ColumnKey(Sections, "I", "Order"), "Участки_I\\Order");
}

TEST_F(Detail, FrameFiltersColoursAndKeepsItsSettings)
{
    ToznListItemCommon* item = db_->GetTree()->Find(kFeeder);
    ASSERT_NE(item, nullptr);
    RecordingProgress progress;
    host::SetProgress(&progress);
    auto frame = std::make_unique<TDetail038Frame>(nullptr, *c_, item, ident_);
    host::SetProgress(nullptr);
    const QStringList steps = {"Заполнение таблиц данных \"Узлы\"",
                               "Заполнение таблиц данных \"Участки\"",
                               "Формирование дерева настройки столбцов...",
                               "Применение настроек видимости столбцов...",
                               "Применение видимости таблиц...",
                               "Применение видимости ветвей дерева...",
                               "Применение: Скрыть колонки отсутствующих устройств...",
                               "Задание ширины колонок ...",
                               "Задание настроек цветов ..."};
    EXPECT_EQ(progress.texts, steps);

    EXPECT_EQ(frame->NodeCount(), 6);
    // Numbers show with the decimal comma, every number of a column with as many decimals, and still sort as
    // numbers.
    QTableWidget* sections = frame->Grid(Sections);
    int length = 0;
    while (length < sections->columnCount() && sections->horizontalHeaderItem(length)->text() != "Длина, км")
        ++length;
    ASSERT_LT(length, sections->columnCount());
    const QModelIndex cell = sections->model()->index(0, length);
    EXPECT_EQ(cell.data().typeId(), QMetaType::Double);
    const std::map<QString, QString> lengths = {
        {"Пролет 1", "0,040"}, {"Перемычка", "0,000"}, {"Пролет 2", "0,040"}, {"Ввод 1", "0,020"}, {"Кабель", "0,020"}};
    for (int r = 0; r < sections->rowCount(); ++r)
        EXPECT_EQ(frame->ShownText(Sections, r, length), lengths.at(sections->item(r, 0)->text()))
            << sections->item(r, 0)->text().toStdString();
    // A voltage column shows one decimal in every row that has a value.
    QTableWidget* nodeGrid = frame->Grid(Nodes);
    int u = 0;
    while (u < nodeGrid->columnCount() && nodeGrid->horizontalHeaderItem(u)->text() != "Напряжение, В")
        ++u;
    ASSERT_LT(u, nodeGrid->columnCount());
    int voltages = 0;
    for (int r = 0; r < nodeGrid->rowCount(); ++r) {
        const QString text = frame->ShownText(Nodes, r, u);
        if (text.isEmpty())
            continue;
        ++voltages;
        EXPECT_EQ(text.size() - text.indexOf(QLatin1Char(0x2c)), 2) << text.toStdString();
        EXPECT_NEAR(QString(text).replace(',', '.').toDouble(), nodeGrid->item(r, u)->data(Qt::DisplayRole).toDouble(),
                    0.05 + 1e-9);
    }
    EXPECT_EQ(voltages, 4) << "the centre, the tap, the switch and the consumer fed from the tap";
    EXPECT_EQ(frame->SectionCount(), 5);
    const std::pair<const char*, int> filters[] = {{"Узлы", 6},
                                                   {"Центр питания", 1},
                                                   {"Абоненты", 2},
                                                   {"Коммутационные аппараты", 1},
                                                   {"Отпайки", 1},
                                                   {"Участки", 5},
                                                   {"Соединительные линии", 1},
                                                   {"Воздушные линии", 3},
                                                   {"Кабельные линии", 1},
                                                   {"Воздушные и кабельные линии", 4}};
    for (const auto& [item, visible] : filters) {
        ASSERT_TRUE(frame->SelectFilter(item)) << item;
        const Table table = QString(item) == "Участки" || QString(item).contains("линии") ? Sections : Nodes;
        EXPECT_EQ(frame->VisibleRows(table), visible) << item;
    }
    EXPECT_FALSE(frame->SelectFilter("Трансформаторы"));

    // A value the run does not have is an empty cell, not "+NAN".
    int emptyNumbers = 0;
    for (Table table : {Nodes, Sections}) {
        QTableWidget* grid = frame->Grid(table);
        for (int r = 0; r < grid->rowCount(); ++r)
            for (int c = 1; c < grid->columnCount(); ++c) {
                EXPECT_NE(grid->item(r, c)->text(), "+NAN");
                emptyNumbers += grid->item(r, c)->text().isEmpty() ? 1 : 0;
            }
    }
    EXPECT_GT(emptyNumbers, 0);

    // The consumer's row is painted in the consumers' colour, the open switch in the disconnected one.
    QTableWidget* nodes = frame->Grid(Nodes);
    int consumer = -1, gear = -1;
    for (int r = 0; r < nodes->rowCount(); ++r) {
        if (nodes->item(r, 0)->text() == "Ввод 1")
            consumer = r;
        if (nodes->item(r, 0)->text() == "Рубильник")
            gear = r;
    }
    ASSERT_GE(gear, 0);
    EXPECT_EQ(nodes->item(gear, 0)->foreground().color(), frame->ColourOf(Disconnected));
    ASSERT_GE(consumer, 0);
    EXPECT_EQ(nodes->item(consumer, 0)->foreground().color(), frame->ColourOf(ConsumerOwned));
    frame->SetColour(ConsumerOwned, QColor(Qt::red));
    EXPECT_EQ(nodes->item(consumer, 0)->foreground().color(), QColor(Qt::red));

    // Width and visibility of a column and the colours come back in the next frame.
    nodes->setColumnWidth(0, 233);
    nodes->setColumnHidden(1, true);
    frame.reset();
    EXPECT_EQ(Init(true)->LoadStrParam(kSettingsName, "Узлы_Name\\Width"), "233");
    TDetail038Frame again(nullptr, *c_, item, ident_);
    EXPECT_EQ(again.Grid(Nodes)->columnWidth(0), 233);
    EXPECT_TRUE(again.Grid(Nodes)->isColumnHidden(1));
    EXPECT_EQ(again.ColourOf(ConsumerOwned), QColor(Qt::red));
}
