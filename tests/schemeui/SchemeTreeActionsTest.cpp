// The main window's LV scheme commands offscreen: a workbook loaded into a substation (its new feeder in
// the tree), a refused replacement and a workbook with problems that store nothing, the stored schemes
// written out to a workbook, and the scheme editor and the conductor catalogue opened from the menus.
#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QFile>
#include <QListWidget>
#include <QMenuBar>
#include <QPushButton>
#include <QTreeView>

#include "app/ConductorDialog.h"
#include "app/MainWindow.h"
#include "app/SchemeEditor.h"
#include "host/Dialogs.h"
#include "host/Tree.h"
#include "host/TreeModel.h"
#include "host/scheme/SchemeBookFile.h"
#include "schemeui/SchemeUiFixture.h"
#include "support/MainWindowFixture.h"
#include "support/TestWidgets.h"

using namespace schemeui;
using testing_support::CloseNextModal;
using testing_support::Fmt;

namespace {
// A section row of the workbook: feeder, near and far node, length, conductor; the rest left empty.
scheme::TBookRow SectionRow(int row, const QString& fider, const QString& from, const QString& to,
                            const QString& length, const QString& conductor)
{
    QStringList cells{fider, from, to, length, conductor};
    while (cells.size() < scheme::SColumns)
        cells << QString();
    return {row, cells};
}

class SchemeTreeActions : public SchemeUiTest {
protected:
    void SetUp() override
    {
        SchemeUiTest::SetUp();
        // The scheme commands need no plug-in.
        window_ = std::make_unique<MainWindow>(db_.get(), &plugin_);
        window_->ChooseBookFile = [this](bool save, const QString& suggested) {
            asked_ << QStringLiteral("%1 %2")
                          .arg(save ? QStringLiteral("save") : QStringLiteral("open"), suggested)
                          .trimmed();
            return file_;
        };
        window_->show();
    }
    void TearDown() override
    {
        window_.reset();
        SchemeUiTest::TearDown();
    }
    QAction* Action(const QString& text) { return testing_support::MenuAction(*window_, text); }
    void Trigger(const QString& text)
    {
        QAction* a = Action(text);
        ASSERT_NE(a, nullptr) << text.toStdString();
        a->trigger();
    }
    QTreeView* Tree() { return window_->findChild<QTreeView*>("NetworkTree"); }
    void Select(int guid)
    {
        auto* model = qobject_cast<TreeModel*>(Tree()->model());
        Tree()->setCurrentIndex(model->IndexOf(db_->GetTree()->Find(guid)));
    }
    // Names of the items under the current item of the tree.
    QStringList ChildrenOfCurrent()
    {
        QStringList names;
        const QModelIndex current = Tree()->currentIndex();
        for (int r = 0; r < Tree()->model()->rowCount(current); ++r)
            names << Tree()->model()->index(r, 0, current).data().toString();
        return names;
    }
    // A new feeder «Л-5 Новая»: ТП -(АСт-50)- Опора 1 -(КбТ-120, cable)- Ввод, consumer «Сидоров» at Ввод.
    scheme::TSchemeBook NewFeederBook(const QString& firstLength)
    {
        scheme::TSchemeBook book;
        book.Sections.push_back(SectionRow(2, "Л-5 Новая", "ТП", "Опора 1", firstLength, "АСт-50"));
        book.Sections.push_back(SectionRow(3, "Л-5 Новая", "Опора 1", "Ввод", "0.02", "КбТ-120"));
        book.Consumers.push_back({2, {"Л-5 Новая", "Ввод", "Сидоров", "ABC", "10", "3000", "0.92", ""}});
        return book;
    }
    void Write(const scheme::TSchemeBook& book)
    {
        QString error;
        ASSERT_TRUE(scheme::WriteSchemeBook(file_, book, error)) << error.toStdString();
    }
    int NewFeeder() { return static_cast<int>(Db("select \"GUID\" from \"LVFiders\" where \"Name\"='Л-5 Новая'")); }

    host::ScriptedDialogs dialogs_;
    host::ScopedDialogs scoped_{&dialogs_};
    Ozn32Plugin plugin_;
    std::unique_ptr<MainWindow> window_;
    QString file_ = folder_.Path("Схема.xlsx");
    QStringList asked_;
};
}  // namespace

TEST_F(SchemeTreeActions, AWorkbookLoadsIntoTheSubstationItsFeederAppearsInTheTreeAndIsReplacedOnlyWhenAgreed)
{
    Write(NewFeederBook("0.05"));
    Select(kTp);
    Trigger("Загрузить схему 0,4 кВ из книги…");
    EXPECT_EQ(asked_, QStringList({"open"}));

    // The feeder under the substation, its scheme, and its consumer's energy of the selected interval.
    ASSERT_EQ(window_->SelectedPeriod(), kPeriod);
    ASSERT_EQ(Db("select count(*) from \"LVFiders\" where \"Name\"='Л-5 Новая' and \"OwnerGUID\"=200"), 1);
    const int fider = NewFeeder();
    EXPECT_EQ(Stored(fider), "2 nodes, 2 lines, 0.07 km");
    EXPECT_EQ(Db(Fmt("select l.\"ProvodPhase\" from \"LVLines\" l join \"LVNodes\" n on n.\"GUID\"=l.\"Node2\" "
                     "where n.\"OwnerGUID\"=%1 and n.\"Name\"='Ввод'",
                     fider)),
              kCable120);
    EXPECT_DOUBLE_EQ(Db(Fmt("select w.\"Wa\" from \"LVWLoads\" w join \"LVNodes\" n on n.\"GUID\"=w.\"GUID\" "
                            "where n.\"OwnerGUID\"=%1 and w.\"SampleIdent\"=1",
                            fider)),
                     3.0);
    ASSERT_FALSE(dialogs_.Calls().isEmpty());
    EXPECT_EQ(dialogs_.Calls().last().icon, host::Icon::Information);
    EXPECT_TRUE(dialogs_.Calls().last().text.contains("ТП-1")) << dialogs_.Calls().last().text.toStdString();
    // The old feeder's scheme is untouched.
    EXPECT_EQ(Stored(kFider), "3 nodes, 3 lines, 0.11 km");

    // The tree shows the new feeder under the substation, which stays selected.
    ToznListItemCommon* item = db_->GetTree()->Find(fider);
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(item->GetNodeType(), NodeType::LVFiders);
    EXPECT_EQ(item->Parent()->GetIdent(), kTp);
    ASSERT_NE(window_->SelectedItem(), nullptr);
    EXPECT_EQ(window_->SelectedItem()->GetIdent(), kTp);
    const QStringList children = ChildrenOfCurrent();
    EXPECT_TRUE(children.contains("Л-5 Новая")) << children.join(", ").toStdString();
    EXPECT_TRUE(children.contains("Л-1"));

    // The same feeder again with a longer first section: refused.
    Write(NewFeederBook("0.08"));
    dialogs_.Clear();
    dialogs_.AnswerMessage(host::mrNo);
    Trigger("Загрузить схему 0,4 кВ из книги…");
    ASSERT_EQ(dialogs_.Calls().size(), 1);
    EXPECT_EQ(dialogs_.Calls()[0].text, "Схемы линий «Л-5 Новая» уже есть в базе. Заменить их?");
    EXPECT_EQ(Stored(fider), "2 nodes, 2 lines, 0.07 km");

    // Agreed: the same feeder, its scheme replaced.
    dialogs_.Clear();
    dialogs_.AnswerMessage(host::mrYes);
    Select(kTp);
    Trigger("Загрузить схему 0,4 кВ из книги…");
    EXPECT_EQ(NewFeeder(), fider);
    EXPECT_EQ(Db("select count(*) from \"LVFiders\" where \"OwnerGUID\"=200"), 2);
    EXPECT_EQ(Stored(fider), "2 nodes, 2 lines, 0.1 km");
    EXPECT_EQ(dialogs_.Calls().last().icon, host::Icon::Information);
}

TEST_F(SchemeTreeActions, AWorkbookWithProblemsStoresNothing)
{
    scheme::TSchemeBook book;
    book.Sections.push_back(SectionRow(2, "Л-6", "ТП", "Опора 1", "0.05", "АСт-50"));
    book.Sections.push_back(SectionRow(3, "Л-6", "Опора 1", "Опора 2", "0.04", "Нет-16"));
    Write(book);
    const double lines = Db("select count(*) from \"LVLines\"");
    Select(kTp);

    QStringList shown;
    QString copied;
    CloseNextModal(QDialog::Accepted, [&](QDialog* d) {
        auto* list = d->findChild<QListWidget*>("ListProblems");
        for (int i = 0; list && i < list->count(); ++i)
            shown << list->item(i)->text();
        d->findChild<QPushButton*>("ButtonCopy")->click();
        copied = QApplication::clipboard()->text();
    });
    Trigger("Загрузить схему 0,4 кВ из книги…");
    ASSERT_EQ(shown.size(), 1);
    EXPECT_TRUE(shown[0].startsWith("Участки!E3:")) << shown[0].toStdString();
    EXPECT_TRUE(shown[0].contains("Нет-16"));
    EXPECT_EQ(copied, shown.join('\n'));
    EXPECT_EQ(Db("select count(*) from \"LVFiders\" where \"Name\"='Л-6'"), 0);
    EXPECT_EQ(Db("select count(*) from \"LVLines\""), lines);
    EXPECT_TRUE(dialogs_.Calls().isEmpty());
}

TEST_F(SchemeTreeActions, StoredSchemesGoOutToAWorkbookAndTheMenusOpenTheForms)
{
    Select(kTp);
    Trigger("Выгрузить схему 0,4 кВ в книгу…");
    EXPECT_EQ(asked_, QStringList({"save ТП-1.xlsx"}));
    ASSERT_TRUE(QFile::exists(file_));
    std::vector<scheme::TBookProblem> problems;
    const scheme::TSchemeBook book = scheme::ReadSchemeBookFile(file_, problems);
    EXPECT_TRUE(problems.empty());
    QStringList sections;
    for (const scheme::TBookRow& r : book.Sections)
        sections << QStringList{r.Cell(scheme::SFider), r.Cell(scheme::SFrom), r.Cell(scheme::STo),
                                r.Cell(scheme::SLength), r.Cell(scheme::SPhase)}
                        .join('|');
    sections.sort();
    EXPECT_EQ(sections, QStringList({"Л-1|Опора 1|Ввод 1|0.02|АСт-35", "Л-1|Опора 1|Опора 2|0.04|АСт-35",
                                     "Л-1|ТП|Опора 1|0.05|АСт-50"}));
    ASSERT_EQ(book.Consumers.size(), 1u);
    EXPECT_EQ(book.Consumers[0].Cell(scheme::CName), "Иванов");
    EXPECT_EQ(book.Consumers[0].Cell(scheme::CEnergy), "1200");

    // The editor of the selected feeder, once however often it is asked for.
    Select(kFider);
    Trigger("Схема линии 0,4 кВ");
    Trigger("Схема линии 0,4 кВ");
    const auto editors = window_->findChildren<SchemeEditor*>();
    ASSERT_EQ(editors.size(), 1);
    EXPECT_EQ(editors[0]->FiderGuid(), kFider);
    EXPECT_EQ(editors[0]->windowTitle(), "Схема линии 0,4 кВ — Л-1");
    EXPECT_TRUE(editors[0]->isVisible());
    EXPECT_EQ(editors[0]->findChild<QTableWidget*>("GridSections")->rowCount(), 3);

    // The conductor catalogue from "Справочники".
    QString title;
    int conductors = 0;
    CloseNextModal(QDialog::Rejected, [&](QDialog* d) {
        title = d->windowTitle();
        if (auto* table = d->findChild<QTableWidget*>("GridConductors"))
            conductors = table->rowCount();
    });
    Trigger("Провода…");
    EXPECT_EQ(title, "Справочник проводов");
    EXPECT_EQ(conductors, Db("select count(*) from \"Provods\""));
}
