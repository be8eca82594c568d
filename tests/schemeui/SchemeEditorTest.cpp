// The scheme editor of one LV feeder driven offscreen on a database of its own: what it shows of the
// stored scheme, edits that the checks refuse (nothing is stored), edits that replace the stored scheme,
// closing that never writes, and the regime calculation that offers to save first.
#include "app/SchemeEditor.h"

#include <QApplication>
#include <QComboBox>
#include <QListWidget>
#include <QMessageBox>
#include <QPushButton>
#include <algorithm>

#include "host/Dialogs.h"
#include "schemeui/SchemeUiFixture.h"
#include "support/TestWidgets.h"

using namespace schemeui;
using testing_support::CloseNextModal;
using testing_support::Fmt;

namespace {
const QString kFrom = QStringLiteral("Узел начала");
const QString kTo = QStringLiteral("Узел конца");
const QString kLength = QStringLiteral("Длина, км");
const QString kConductor = QStringLiteral("Марка провода");
const QString kPhases = QStringLiteral("Фазы");

class SchemeEditorUi : public SchemeUiTest {
protected:
    std::unique_ptr<SchemeEditor> Open(SchemeEditor::RunRegime run = {})
    {
        auto editor = std::make_unique<SchemeEditor>(*c_, kFider, QStringLiteral("Л-1"), kTp, kPeriod, std::move(run));
        editor->show();
        return editor;
    }
    static QTableWidget* Sections(SchemeEditor& e) { return e.findChild<QTableWidget*>("GridSections"); }
    static QTableWidget* Consumers(SchemeEditor& e) { return e.findChild<QTableWidget*>("GridConsumers"); }
    // Opens the list of a cell and returns it.
    static QComboBox* OpenList(QTableWidget* table, int row, const QString& caption)
    {
        const QModelIndex index = table->model()->index(row, Column(table, caption));
        table->setCurrentIndex(index);
        table->edit(index);
        return qobject_cast<QComboBox*>(table->indexWidget(index));
    }
    static QStringList Items(const QComboBox* combo)
    {
        QStringList items;
        for (int i = 0; i < combo->count(); ++i)
            items << combo->itemText(i);
        return items;
    }
};
}  // namespace

TEST_F(SchemeEditorUi, ShowsTheStoredSchemeWithListsForTheCodedColumns)
{
    auto editor = Open();
    EXPECT_EQ(editor->windowTitle(), "Схема линии 0,4 кВ — Л-1");
    EXPECT_FALSE(editor->Modified());
    QTableWidget* sections = Sections(*editor);
    QTableWidget* consumers = Consumers(*editor);
    ASSERT_TRUE(sections && consumers);
    // The workbook's columns without "Линия".
    EXPECT_EQ(Captions(sections),
              QStringList({"Узел начала", "Узел конца", "Длина, км", "Марка провода", "Марка нулевого провода", "Фазы",
                           "Вид", "Состояние", "Балансовая принадлежность", "Аппарат в узле конца"}));
    EXPECT_EQ(Captions(consumers).value(0), "Узел");
    EXPECT_FALSE(Captions(consumers).contains("Линия"));

    // Every stored section, by its far node.
    ASSERT_EQ(sections->rowCount(), 3);
    const struct {
        const char *to, *from, *length, *conductor;
    } expected[] = {{"Опора 1", "ТП", "0,05", "АСт-50"},  // numbers with the decimal comma
                    {"Опора 2", "Опора 1", "0,04", "АСт-35"},
                    {"Ввод 1", "Опора 1", "0,02", "АСт-35"}};
    for (const auto& e : expected) {
        const int r = RowOf(sections, kTo, e.to);
        ASSERT_GE(r, 0) << e.to;
        EXPECT_EQ(Text(sections, r, kFrom), e.from);
        EXPECT_EQ(Text(sections, r, kLength), e.length);
        EXPECT_EQ(Text(sections, r, kConductor), e.conductor);
        EXPECT_EQ(Text(sections, r, kPhases), "ABC");
    }
    // The consumer with the energy of the interval in kWh (1.2 thousand kWh stored).
    ASSERT_EQ(consumers->rowCount(), 1);
    EXPECT_EQ(Text(consumers, 0, "Узел"), "Ввод 1");
    EXPECT_EQ(Text(consumers, 0, "Наименование"), "Иванов");
    EXPECT_EQ(Text(consumers, 0, "Фаза"), "A");
    EXPECT_EQ(Text(consumers, 0, "Установленная мощность, кВт"), "5");
    EXPECT_EQ(Text(consumers, 0, "Электроэнергия, кВт·ч"), "1200");
    EXPECT_EQ(Text(consumers, 0, "cos φ"), "0,95");

    // The conductor list: an empty choice first, then the catalogue's 0.38 kV conductors.
    const int r = RowOf(sections, kTo, "Опора 2");
    QComboBox* list = OpenList(sections, r, kConductor);
    ASSERT_NE(list, nullptr);
    const QStringList items = Items(list);
    EXPECT_EQ(items.value(0), "");
    for (const char* name : {"АСт-35", "АСт-50", "КбТ-120"})
        EXPECT_TRUE(items.contains(name)) << name;
    EXPECT_EQ(list->currentText(), "АСт-35");
    // Choosing from the list changes the cell at once.
    const int cable = list->findText("КбТ-120");
    list->setCurrentIndex(cable);
    emit list->activated(cable);
    QApplication::processEvents();
    EXPECT_EQ(Text(sections, r, kConductor), "КбТ-120");
    EXPECT_TRUE(editor->Modified());

    QComboBox* phases = OpenList(sections, r, kPhases);
    ASSERT_NE(phases, nullptr);
    EXPECT_EQ(Items(phases), QStringList({"ABC", "AB", "BC", "CA", "A", "B", "C"}));
    QComboBox* phase = OpenList(consumers, 0, "Фаза");
    ASSERT_NE(phase, nullptr);
    EXPECT_EQ(Items(phase), QStringList({"A", "B", "C", "ABC"}));
    EXPECT_EQ(phase->currentText(), "A");
}

TEST_F(SchemeEditorUi, AProblemBlocksSavingAndNothingIsStored)
{
    const QString before = Stored(kFider);
    auto editor = Open();
    QTableWidget* sections = Sections(*editor);

    // A section added after "Опора 2" continues from it; its conductor is not in the catalogue.
    const int after = RowOf(sections, kTo, "Опора 2");
    sections->setCurrentCell(after, 0);
    editor->findChild<QPushButton*>("ButtonAddSection")->click();
    ASSERT_EQ(sections->rowCount(), 4);
    const int added = after + 1;
    EXPECT_EQ(Text(sections, added, kFrom), "Опора 2");
    SetText(sections, added, kTo, "Опора 3");
    SetText(sections, added, kLength, "0.03");
    SetText(sections, added, kConductor, "Нет-16");

    EXPECT_FALSE(editor->Save());
    // Rows numbered as the table shows them, columns by their captions.
    const QString cell = Fmt("Участки, строка %1, «Марка провода»:", added + 1);
    const QStringList problems = editor->Problems();
    ASSERT_EQ(problems.size(), 1) << problems.join('\n').toStdString();
    EXPECT_TRUE(problems[0].startsWith(cell)) << problems[0].toStdString();
    EXPECT_TRUE(problems[0].contains("Нет-16"));
    EXPECT_EQ(Stored(kFider), before);
    EXPECT_EQ(Db("select count(*) from \"LVNodes\" where \"Name\"='Опора 3'"), 0);
    EXPECT_TRUE(editor->Modified());
    EXPECT_EQ(sections->rowCount(), 4);

    // A click on the problem puts the cursor on its cell.
    auto* list = editor->findChild<QListWidget*>("ListProblems");
    ASSERT_TRUE(list->isVisible());
    sections->setCurrentCell(0, 0);
    emit list->itemClicked(list->item(0));
    EXPECT_EQ(sections->currentRow(), added);
    EXPECT_EQ(sections->currentColumn(), Column(sections, kConductor));

    // A known conductor, but "Опора 1" fed from "Опора 2": a loop cut off from the substation.
    SetText(sections, added, kConductor, "АСт-35");
    const int opora1 = RowOf(sections, kTo, "Опора 1");
    const int opora2 = RowOf(sections, kTo, "Опора 2");
    SetText(sections, opora1, kFrom, "Опора 2");
    EXPECT_FALSE(editor->Check());
    EXPECT_FALSE(editor->Save());
    const QString loopCell = Fmt("Участки, строка %1, «Узел начала»:", std::min(opora1, opora2) + 1);
    const QStringList loop = editor->Problems();
    EXPECT_TRUE(std::any_of(loop.begin(), loop.end(), [&](const QString& p) { return p.startsWith(loopCell); }))
        << loop.join('\n').toStdString();
    EXPECT_EQ(Stored(kFider), before);
    EXPECT_EQ(Db("select \"Node1\" from \"LVLines\" where \"Node2\"=301"), kFider);
}

TEST_F(SchemeEditorUi, AValidSaveReplacesTheStoredScheme)
{
    auto editor = Open();
    QTableWidget* sections = Sections(*editor);
    QTableWidget* consumers = Consumers(*editor);
    sections->setCurrentCell(RowOf(sections, kTo, "Опора 2"), 0);
    editor->AddSection();
    const int added = sections->currentRow();
    // The new section continues the current one with its conductor.
    EXPECT_EQ(Text(sections, added, kFrom), "Опора 2");
    EXPECT_EQ(Text(sections, added, kConductor), "АСт-35");
    SetText(sections, added, kTo, "Опора 3");
    SetText(sections, added, kLength, "0.03");
    SetText(sections, RowOf(sections, kTo, "Опора 1"), kLength, "0,06");  // either separator is taken
    editor->AddConsumer();
    const int consumer = consumers->currentRow();
    ASSERT_GE(consumer, 0);
    SetText(consumers, consumer, "Узел", "Опора 3");
    SetText(consumers, consumer, "Наименование", "Петров");
    SetText(consumers, consumer, "Фаза", "ABC");
    SetText(consumers, consumer, "Электроэнергия, кВт·ч", "2500");
    SetText(consumers, consumer, "cos φ", "0.9");

    EXPECT_TRUE(editor->Check()) << editor->Problems().join('\n').toStdString();
    ASSERT_TRUE(editor->Save()) << editor->Problems().join('\n').toStdString();
    EXPECT_FALSE(editor->Modified());
    EXPECT_TRUE(editor->Problems().isEmpty());

    EXPECT_EQ(Db("select count(*) from \"LVLines\" where \"OwnerGUID\"=300"), 4);
    EXPECT_EQ(Db("select count(*) from \"LVNodes\" where \"OwnerGUID\"=300"), 4);
    // Nodes whose names stay keep their keys; the new node hangs off "Опора 2".
    const int opora3 =
        static_cast<int>(Db("select \"GUID\" from \"LVNodes\" where \"OwnerGUID\"=300 and \"Name\"='Опора 3'"));
    EXPECT_EQ(Db(Fmt("select \"Node1\" from \"LVLines\" where \"Node2\"=%1", opora3)), kOpora2);
    EXPECT_DOUBLE_EQ(Db(Fmt("select \"LineLength\" from \"LVLines\" where \"Node2\"=%1", opora3)), 0.03);
    EXPECT_EQ(Db(Fmt("select \"ProvodPhase\" from \"LVLines\" where \"Node2\"=%1", opora3)), kA35);
    EXPECT_DOUBLE_EQ(Db("select \"LineLength\" from \"LVLines\" where \"Node2\"=301"), 0.06);
    EXPECT_DOUBLE_EQ(Db("select \"LineLength\" from \"LVLines\" where \"Node2\"=302"), 0.04);  // shown as 0,04
    EXPECT_EQ(Db("select \"Node1\" from \"LVLines\" where \"Node2\"=303"), kOpora1);
    // The new consumer with its energy of the interval (thousand kWh), and the old one as it was.
    EXPECT_EQ(Db(Fmt("select count(*) from \"LVNodes\" where \"GUID\"=%1 and \"ConsumerName\"='Петров'", opora3)), 1);
    EXPECT_DOUBLE_EQ(Db(Fmt("select \"Wa\" from \"LVWLoads\" where \"SampleIdent\"=1 and \"GUID\"=%1", opora3)), 2.5);
    EXPECT_DOUBLE_EQ(Db(Fmt("select \"CosFi\" from \"LVWLoads\" where \"SampleIdent\"=1 and \"GUID\"=%1", opora3)),
                     0.9);
    EXPECT_DOUBLE_EQ(Db("select \"Wa\" from \"LVWLoads\" where \"SampleIdent\"=1 and \"GUID\"=303"), 1.2);
    // The tables show the stored scheme.
    EXPECT_EQ(sections->rowCount(), 4);
    EXPECT_EQ(Text(sections, RowOf(sections, kTo, "Опора 3"), kFrom), "Опора 2");
    EXPECT_EQ(consumers->rowCount(), 2);
}

TEST_F(SchemeEditorUi, ClosingAsksAboutEditsAndNeverWrites)
{
    const QString before = Stored(kFider);
    {
        // Without edits it closes at once.
        host::ScriptedDialogs dialogs;
        host::ScopedDialogs scoped(&dialogs);
        auto editor = Open();
        EXPECT_TRUE(editor->close());
        EXPECT_TRUE(dialogs.Calls().isEmpty());
    }
    auto editor = Open();
    QTableWidget* sections = Sections(*editor);
    SetText(sections, RowOf(sections, kTo, "Опора 1"), kLength, "0.5");
    sections->setCurrentCell(RowOf(sections, kTo, "Ввод 1"), 0);
    editor->DeleteSection();
    ASSERT_EQ(sections->rowCount(), 2);
    ASSERT_TRUE(editor->Modified());

    QString question;
    CloseNextModal(QMessageBox::No, [&](QDialog* d) { question = qobject_cast<QMessageBox*>(d)->text(); });
    EXPECT_FALSE(editor->close());
    EXPECT_TRUE(question.contains("Л-1")) << question.toStdString();
    EXPECT_TRUE(editor->isVisible());
    EXPECT_EQ(sections->rowCount(), 2);

    bool asked = false;
    CloseNextModal(QMessageBox::Yes, [&](QDialog*) { asked = true; });
    EXPECT_TRUE(editor->findChild<QPushButton*>("ButtonClose") != nullptr);
    editor->findChild<QPushButton*>("ButtonClose")->click();
    EXPECT_TRUE(asked);
    EXPECT_FALSE(editor->isVisible());
    EXPECT_EQ(Stored(kFider), before);
    EXPECT_EQ(Db("select count(*) from \"LVNodes\" where \"GUID\"=303"), 1);
}

TEST_F(SchemeEditorUi, CalculationOffersToSaveFirstThenRunsTheFeeder)
{
    host::ScriptedDialogs dialogs;
    host::ScopedDialogs scoped(&dialogs);
    QList<int> runs;
    auto editor = Open([&](int fider) { runs << fider; });
    QTableWidget* sections = Sections(*editor);

    // Nothing to save: the feeder is calculated without a question.
    editor->findChild<QPushButton*>("ButtonCalculate")->click();
    EXPECT_EQ(runs, QList<int>({kFider}));
    EXPECT_TRUE(dialogs.Calls().isEmpty());

    // Cancelled: neither stored nor calculated.
    SetText(sections, RowOf(sections, kTo, "Опора 1"), kLength, "0.07");
    dialogs.AnswerMessage(host::mrCancel);
    editor->Calculate();
    EXPECT_EQ(runs.size(), 1);
    ASSERT_EQ(dialogs.Calls().size(), 1);
    EXPECT_EQ(dialogs.Calls()[0].icon, host::Icon::Question);
    EXPECT_DOUBLE_EQ(Db("select \"LineLength\" from \"LVLines\" where \"Node2\"=301"), 0.05);

    // Saved first, then calculated.
    dialogs.AnswerMessage(host::mrYes);
    editor->Calculate();
    EXPECT_EQ(runs, QList<int>({kFider, kFider}));
    EXPECT_DOUBLE_EQ(Db("select \"LineLength\" from \"LVLines\" where \"Node2\"=301"), 0.07);
    EXPECT_FALSE(editor->Modified());

    // A scheme that cannot be saved is not calculated.
    SetText(sections, RowOf(sections, kTo, "Опора 2"), kConductor, "Нет-16");
    dialogs.AnswerMessage(host::mrYes);
    editor->Calculate();
    EXPECT_EQ(runs.size(), 2);
    EXPECT_FALSE(editor->Problems().isEmpty());
    EXPECT_EQ(Db("select \"ProvodPhase\" from \"LVLines\" where \"Node2\"=302"), kA35);
}

TEST_F(SchemeEditorUi, DeletingEverySectionRemovesTheSchemeOnlyWhenTheUserAgrees)
{
    auto editor = Open();
    QTableWidget* sections = Sections(*editor);
    QTableWidget* consumers = Consumers(*editor);
    while (sections->rowCount() > 0) {
        sections->setCurrentCell(0, 0);
        editor->DeleteSection();
    }
    // A consumer with no section to hang on is not saved, and nothing is asked.
    EXPECT_FALSE(editor->Save());
    EXPECT_EQ(editor->Problems(),
              QStringList{"Абоненты: абоненты без участков не сохраняются: удалите их или добавьте участки"});
    const QString before = Stored(kFider);
    EXPECT_EQ(before, "3 nodes, 3 lines, 0.11 km");

    consumers->setCurrentCell(0, 0);
    editor->DeleteConsumer();
    host::ScriptedDialogs dialogs;
    host::ScopedDialogs scoped(&dialogs);
    dialogs.AnswerMessage(host::mrNo);
    EXPECT_FALSE(editor->Save());
    ASSERT_EQ(dialogs.Calls().size(), 1);
    EXPECT_TRUE(dialogs.Calls()[0].text.contains("не осталось участков"));
    EXPECT_EQ(Stored(kFider), before);

    dialogs.AnswerMessage(host::mrYes);
    EXPECT_TRUE(editor->Save());
    EXPECT_EQ(Db("select count(*) from \"LVNodes\" where \"OwnerGUID\"=300"), 0);
    EXPECT_EQ(Db("select count(*) from \"LVLines\" where \"OwnerGUID\"=300"), 0);
    // The consumer's data of the interval go with its node; the feeder itself stays.
    EXPECT_EQ(Db("select count(*) from \"LVWLoads\" where \"GUID\"=303"), 0);
    EXPECT_EQ(Db("select count(*) from \"LVConsumers\" where \"GUID\"=303"), 0);
    EXPECT_EQ(Db("select count(*) from \"LVFiders\" where \"GUID\"=300"), 1);
    EXPECT_FALSE(editor->Modified());
}

TEST_F(SchemeEditorUi, ANumberOutOfItsRangeIsNamedAsTheUserLeavesItsCell)
{
    const QString before = Stored(kFider);
    host::ScriptedDialogs dialogs;
    host::ScopedDialogs scoped(&dialogs);
    auto editor = Open();
    QTableWidget* sections = Sections(*editor);
    QTableWidget* consumers = Consumers(*editor);
    const int row = RowOf(sections, kTo, "Опора 1");
    SetText(sections, row, kLength, "-0,2");
    ASSERT_EQ(dialogs.Calls().size(), 1);
    EXPECT_EQ(dialogs.Calls()[0].text,
              Fmt("Значение не принято: Участки, строка %1, «Длина, км»: «-0,2» — число не меньше 0.\n"
                  "Исправьте его или закройте схему без сохранения.",
                  row + 1));
    EXPECT_EQ(Text(sections, row, kLength), "-0,2");  // the typed text stays, marked
    EXPECT_EQ(sections->item(row, Column(sections, kLength))->background().color(), QColor(0xFF, 0xC7, 0xCE));
    SetText(consumers, 0, "cos φ", "1,5");
    EXPECT_TRUE(dialogs.Texts().last().contains("«cos φ»: «1,5» — число больше 0 и не больше 1"))
        << dialogs.Texts().last().toStdString();
    // Saving refuses while they are there; corrected, the marks go.
    EXPECT_FALSE(editor->Save());
    EXPECT_EQ(Stored(kFider), before);
    SetText(sections, row, kLength, "0,2");
    EXPECT_EQ(sections->item(row, Column(sections, kLength))->background().style(), Qt::NoBrush);
}
