#include <gtest/gtest.h>

#include <QAbstractItemDelegate>
#include <QComboBox>
#include <QStyledItemDelegate>
#include <QTableWidget>

#include "feeders/Detail038Data.h"
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
// A feeder of the test's own under a demo substation, calculated and stored:
//   centre -Пролет 1- Опора 1 (tap) -перемычка- Рубильник (off) -Пролет 2- Опора 2 -кабель- Ввод 2 (three-phase)
//                      Опора 1 -Ввод 1 (phase B, the consumer's own)- Ввод 1
class Detail : public DatabaseTest {
protected:
    void SetUp() override
    {
        OpenNew(true);
        year_ = IntScalar(*c_, "select min(\"Ident\") from \"SamplesDates\" where \"Period\"=1");
        const int tp = IntScalar(*c_, "select first 1 \"OwnerGUID\" from \"LVFiders\" order by guid");
        const QStringList sql = {
            Fmt("insert into \"LVFiders\" (guid, \"Name\", \"OwnerGUID\", \"TypeLoad\", \"Unom\") values "
                "(%1, 'Л-9 Опытная', %2, 1, 0.38)",
                kFeeder, tp),
            "insert into \"LVNodes\" (guid, \"Name\", \"OwnerGUID\", \"TabOrder\", \"Kind\") values "
            "(900001, 'Опора 1', 900000, 1, 1)",
            "insert into \"LVNodes\" (guid, \"Name\", \"OwnerGUID\", \"TabOrder\", \"Kind\", \"State\") values "
            "(900002, 'Рубильник', 900000, 2, 3, 0)",
            "insert into \"LVNodes\" (guid, \"Name\", \"OwnerGUID\", \"TabOrder\") values (900003, 'Опора 2', 900000, "
            "3)",
            "insert into \"LVNodes\" (guid, \"Name\", \"OwnerGUID\", \"TabOrder\", \"Kind\", \"Phases\", "
            "\"ConsumerName\") values (900004, 'Ввод 1', 900000, 4, 2, 'B', 'Иванов')",
            "insert into \"LVNodes\" (guid, \"Name\", \"OwnerGUID\", \"TabOrder\", \"Kind\", \"ConsumerName\") "
            "values (900005, 'Ввод 2', 900000, 5, 2, 'Мастерская')",
            "insert into \"LVLines\" (guid, \"OwnerGUID\", \"Node1\", \"Node2\", \"Info\", \"LineLength\", "
            "\"ProvodPhase\", \"TabOrder\") values (900011, 900000, 900000, 900001, 'Пролет 1', 0.04, 644, 1)",
            "insert into \"LVLines\" (guid, \"OwnerGUID\", \"Node1\", \"Node2\", \"Info\", \"LineLength\", "
            "\"ProvodPhase\", \"TabOrder\") values (900012, 900000, 900001, 900002, 'Перемычка', 0, 0, 2)",
            "insert into \"LVLines\" (guid, \"OwnerGUID\", \"Node1\", \"Node2\", \"Info\", \"LineLength\", "
            "\"ProvodPhase\", \"TabOrder\") values (900013, 900000, 900002, 900003, 'Пролет 2', 0.04, 644, 3)",
            "insert into \"LVLines\" (guid, \"OwnerGUID\", \"Node1\", \"Node2\", \"Info\", \"LineLength\", "
            "\"ProvodPhase\", \"TabOrder\", \"Phases\", \"Owner\") values "
            "(900014, 900000, 900001, 900004, 'Ввод 1', 0.02, 640, 4, 'B', 2)",
            "insert into \"LVLines\" (guid, \"OwnerGUID\", \"Node1\", \"Node2\", \"Info\", \"LineLength\", "
            "\"ProvodPhase\", \"ProvodNull\", \"TabOrder\") values "
            "(900015, 900000, 900003, 900005, 'Кабель', 0.02, 660, 661, 5)",
            Fmt("insert into \"LVWLoads\" (\"SampleIdent\", guid, \"Wa\") values (%1, 900004, 4)", year_),
            Fmt("insert into \"LVWLoads\" (\"SampleIdent\", guid, \"Wa\") values (%1, 900005, 20)", year_),
        };
        for (const QString& statement : sql)
            Exec(*c_, statement);
        db_->GetTree()->CreateFiderHH(tp, kFeeder, 0, "Л-9 Опытная", unom_);
        fider::TRegimeRequest request;
        request.SampleIdent = year_;
        request.Mode = fider::TLoadMode::Loads;
        fider::TRegimeBatchEvents events;
        events.Stored = [this](const fider::TFiderJob&, const fider::TCalcWInfoHHCommon& run, int ident) {
            run_ = run;
            ident_ = ident;
        };
        ASSERT_EQ(fider::RunRegimeBatch(*db_, {kFeeder}, request, events).Calculated, 1);
    }
    static constexpr int kFeeder = 900000;
    int year_ = 0, ident_ = 0;
    double unom_ = 0.38;
    fider::TCalcWInfoHHCommon run_;
};

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
    // Numbers show with the decimal comma and still sort as numbers.
    QTableWidget* sections = frame->Grid(Sections);
    int length = 0;
    while (length < sections->columnCount() && sections->horizontalHeaderItem(length)->text() != "Длина, км")
        ++length;
    ASSERT_LT(length, sections->columnCount());
    const QModelIndex cell = sections->model()->index(0, length);
    auto* delegate = qobject_cast<QStyledItemDelegate*>(sections->itemDelegate());
    ASSERT_NE(delegate, nullptr);
    EXPECT_EQ(delegate->displayText(cell.data(), QLocale()), FormatFloat("0.###", cell.data().toDouble()));
    EXPECT_TRUE(delegate->displayText(cell.data(), QLocale()).contains(','));
    EXPECT_EQ(cell.data().typeId(), QMetaType::Double);
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
