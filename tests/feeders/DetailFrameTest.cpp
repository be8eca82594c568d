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
#include "support/TestSupport.h"

using namespace testing_support;
using namespace Detail038;

namespace {
class Detail : public ::testing::Test {
protected:
    void SetUp() override
    {
        db_ = OpenDatabase(NewDemoDatabase(folder_));
        c_ = db_->GetDefaultConnection();
        feeder_ = static_cast<int>(Scalar(*c_, "select first 1 \"OwnerGUID\" from \"LVNodes\" order by guid"));
        // Pole 2 gets a branch to a new node, and a connecting line without a conductor follows it.
        const int pole2 = static_cast<int>(Scalar(
            *c_,
            QStringLiteral("select guid from \"LVNodes\" where \"OwnerGUID\"=%1 and \"TabOrder\"=2").arg(feeder_)));
        Exec(*c_, QStringLiteral("insert into \"LVNodes\" values (900001, 'Опора 2/1', %1, 5)").arg(feeder_));
        Exec(*c_, QStringLiteral("insert into \"LVNodes\" values (900002, 'Ввод', %1, 6)").arg(feeder_));
        Exec(*c_, QStringLiteral("insert into \"LVLines\" (guid, \"OwnerGUID\", \"Node1\", \"Node2\", \"Info\", "
                                 "\"LineLength\", \"Kpl\", \"Phase\", \"ProvodPhase\", \"TabOrder\") values "
                                 "(900003, %1, %2, 900001, 'Ответвление', 0.05, 1, 1, 644, 5)")
                      .arg(feeder_)
                      .arg(pole2));
        Exec(*c_, QStringLiteral("insert into \"LVLines\" (guid, \"OwnerGUID\", \"Node1\", \"Node2\", \"Info\", "
                                 "\"LineLength\", \"Kpl\", \"Phase\", \"ProvodPhase\", \"TabOrder\") values "
                                 "(900004, %1, 900001, 900002, 'Перемычка', 0, 1, 1, 0, 6)")
                      .arg(feeder_));
        // A voltage calculated at the first pole in the latest result.
        latest_ = static_cast<int>(Scalar(*c_, QStringLiteral("select first 1 mv.\"Ident\" from \"LVResults\" mv join "
                                                              "\"SamplesDates\" sd on sd.\"Ident\"=mv.\"SampleIdent\" "
                                                              "where mv.guid=%1 order by sd.\"SampleDate2\" desc")
                                                   .arg(feeder_)));
        const int pole1 = static_cast<int>(Scalar(
            *c_,
            QStringLiteral("select guid from \"LVNodes\" where \"OwnerGUID\"=%1 and \"TabOrder\"=1").arg(feeder_)));
        Exec(*c_, QStringLiteral("insert into \"LVPResultsN\" values (%1, %2, 215)").arg(latest_).arg(pole1));
    }
    TempFolder folder_;
    std::unique_ptr<TfdbDatabase> db_;
    ToznFDConnection* c_ = nullptr;
    int feeder_ = 0, latest_ = 0;
};

int count(const std::vector<Row>& rows, const QString& expression)
{
    int n = 0;
    for (const Row& r : rows)
        n += Matches(r, expression) ? 1 : 0;
    return n;
}
}  // namespace

TEST_F(Detail, SchemeElementsTheirKindsAndValues)
{
    const Scheme scheme = Load(*c_, feeder_);
    const std::vector<Row>& nodes = scheme.Rows[Nodes];
    const std::vector<Row>& sections = scheme.Rows[Sections];
    // Centre, switching device, four poles, the branch's two nodes, the consumer.
    ASSERT_EQ(nodes.size(), 9u);
    EXPECT_EQ(nodes[0].DevType, "Центр питания");
    EXPECT_TRUE(nodes[0].Value("Name").toString().startsWith("ТП: "));
    EXPECT_EQ(count(nodes, "DevType='Отпайка'"), 1);
    EXPECT_EQ(count(nodes, "ClassName='TSwitchGear038'"), 1);
    EXPECT_EQ(count(nodes, "ClassName='TAbonentNode038'"), 1);
    EXPECT_EQ(sections.size(), 6u);
    EXPECT_EQ(count(sections, "ClassName='TConnect038' or ClassName='TExConnect'"), 1);
    EXPECT_EQ(count(sections, "ClassName='TLine038'"), 5);
    EXPECT_EQ(count(sections, "DevType='Воздушная линия'") + count(sections, "DevType='Кабельная линия'"), 5);
    // The first section starts at the centre and keeps its order of nodes.
    EXPECT_EQ(sections[0].Value("NodeN").toString(), nodes[0].Value("Name").toString());
    EXPECT_EQ(sections[0].Value("SortIndexN").toInt(), 0);

    // Voltages: the calculated one with its deviation from the centre; a missing value shows as "+NAN".
    const double centre = Scalar(*c_, QStringLiteral("select (\"UA\"+\"UB\"+\"UC\")/3 from \"LVResults\" where "
                                                     "\"Ident\"=%1")
                                          .arg(latest_));
    const Row* pole1 = nullptr;
    for (const Row& r : nodes)
        if (r.Value("Name") == "Опора 1")
            pole1 = &r;
    ASSERT_NE(pole1, nullptr);
    EXPECT_DOUBLE_EQ(pole1->Value("U").toDouble(), 215);
    EXPECT_NEAR(pole1->Value("dU").toDouble(), (centre - 215) / centre * 100, 1e-9);
    EXPECT_EQ(nodes.back().Value("U").toString(), "+NAN");
    EXPECT_EQ(sections[0].Value("I").toString(), "+NAN");
    EXPECT_EQ(sections.back().Value("Cable").toString(), "Нет");
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
    ToznListItemCommon* item = db_->GetTree()->Find(feeder_);
    ASSERT_NE(item, nullptr);
    RecordingProgress progress;
    host::SetProgress(&progress);
    auto frame = std::make_unique<TDetail038Frame>(nullptr, *c_, item, 0);
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

    EXPECT_EQ(frame->NodeCount(), 9);
    // Numbers show with the decimal comma and still sort as numbers.
    QTableWidget* sections = frame->Grid(Sections);
    const int length = 10;  // "Длина, км"
    ASSERT_EQ(sections->horizontalHeaderItem(length)->text(), "Длина, км");
    const QModelIndex cell = sections->model()->index(0, length);
    auto* delegate = qobject_cast<QStyledItemDelegate*>(sections->itemDelegate());
    ASSERT_NE(delegate, nullptr);
    EXPECT_EQ(delegate->displayText(cell.data(), QLocale()), FormatFloat("0.###", cell.data().toDouble()));
    EXPECT_TRUE(delegate->displayText(cell.data(), QLocale()).contains(','));
    EXPECT_EQ(cell.data().typeId(), QMetaType::Double);
    EXPECT_EQ(frame->SectionCount(), 6);
    const std::pair<const char*, int> filters[] = {{"Узлы", 9},
                                                   {"Центр питания", 1},
                                                   {"Абоненты", 1},
                                                   {"Коммутационные аппараты", 1},
                                                   {"Отпайки", 1},
                                                   {"Участки", 6},
                                                   {"Соединительные линии", 1},
                                                   {"Воздушные и кабельные линии", 5}};
    for (const auto& [item, visible] : filters) {
        ASSERT_TRUE(frame->SelectFilter(item)) << item;
        const Table table = QString(item) == "Участки" || QString(item).contains("линии") ? Sections : Nodes;
        EXPECT_EQ(frame->VisibleRows(table), visible) << item;
    }
    EXPECT_FALSE(frame->SelectFilter("Трансформаторы"));

    // The consumer's row is painted in the consumers' colour.
    QTableWidget* nodes = frame->Grid(Nodes);
    int consumer = -1;
    for (int r = 0; r < nodes->rowCount(); ++r)
        if (nodes->item(r, 2)->text() == "TAbonentNode038")
            consumer = r;
    ASSERT_GE(consumer, 0);
    EXPECT_EQ(nodes->item(consumer, 0)->foreground().color(), frame->ColourOf(ConsumerOwned));
    frame->SetColour(ConsumerOwned, QColor(Qt::red));
    EXPECT_EQ(nodes->item(consumer, 0)->foreground().color(), QColor(Qt::red));

    // Width and visibility of a column and the colours come back in the next frame.
    nodes->setColumnWidth(0, 233);
    nodes->setColumnHidden(1, true);
    frame.reset();
    EXPECT_EQ(Init(true)->LoadStrParam(kSettingsName, "Узлы_Name\\Width"), "233");
    TDetail038Frame again(nullptr, *c_, item, 0);
    EXPECT_EQ(again.Grid(Nodes)->columnWidth(0), 233);
    EXPECT_TRUE(again.Grid(Nodes)->isColumnHidden(1));
    EXPECT_EQ(again.ColourOf(ConsumerOwned), QColor(Qt::red));
}
