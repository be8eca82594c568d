#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QSet>
#include <QTableWidget>
#include <functional>

#include "host/Database.h"
#include "host/Dialogs.h"
#include "host/SamplePeriods.h"
#include "host/Tree.h"
#include "normative/LVNormativMethod04Unit.h"
#include "normative/LVNormativMethodCalcForm.h"
#include "support/TestSupport.h"

using namespace testing_support;

namespace {
struct BatchRun {
    QStringList log;
    int processed = -1;
    QString error;
};

// Runs a batch to its end on the main thread's event loop; cancelAfter stops it after that many lines.
BatchRun runBatch(TfdbDatabase& db, int start, int level, const TSamplePeriodInfo& period, int cancelAfter = -1,
                  int lockTimeoutMs = 0)
{
    BatchRun run;
    QObject context;
    TCalcThread* thread = nullptr;
    TCalcEvents events;
    events.Log = [&](const QString& element, const QString& message) {
        run.log << element + " - " + message;
        if (run.log.size() == cancelAfter)
            thread->requestInterruption();
    };
    events.Finish = [&](int processed, const QString& error) {
        run.processed = processed;
        run.error = error;
    };
    TCalcThread t(&context, events, &db, db.GetTree(), start, level, period);
    if (lockTimeoutMs > 0)
        t.SetLockTimeout(lockTimeoutMs);
    thread = &t;
    t.start();
    if (cancelAfter == 0)
        t.requestInterruption();
    QElapsedTimer timer;
    timer.start();
    while (run.processed < 0 && timer.elapsed() < 120000)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
    t.wait();
    return run;
}

// The elements a log names as saved, each once (a linked substation is logged twice).
int savedElements(const QStringList& log)
{
    QSet<QString> saved;
    for (const QString& line : log.filter(" - Расчет выполнен"))
        saved.insert(line.section(':', 0, 0));
    return static_cast<int>(saved.size());
}

class Batch : public DatabaseTest {
protected:
    void SetUp() override
    {
        OpenNew(true);
        firstYear_ = Year("2023г.");
        root_ = db_->GetTree()->GetItems(0)->GetIdent();
    }
    TSamplePeriodInfo Year(const QString& name)
    {
        for (const TSamplePeriodInfo& p : db_->GetSamplePeriods()->Items())
            if (p.Name == name)
                return p;
        ADD_FAILURE() << name.toStdString();
        return {};
    }

    TSamplePeriodInfo firstYear_;
    int root_ = 0;
};
}  // namespace

TEST_F(Batch, ListFollowsTheLevelTableAndTheDescendRule)
{
    TfdbTree* tree = db_->GetTree();
    QObject context;
    auto list = [&](int start, int level) {
        TCalcThread t(&context, {}, db_.get(), tree, start, level, firstYear_);
        return t.BuildList();
    };
    // Every substation where it stands: as itself and again where a feeder shows it as a link.
    int links = 0;
    std::function<void(ToznListItemCommon*)> countLinks = [&](ToznListItemCommon* i) {
        links += i->isLink() ? 1 : 0;
        for (int c = 0; c < i->GetCount(); ++c)
            countLinks(i->GetItems(c));
    };
    countLinks(tree->Find(root_));
    ASSERT_GT(links, 0) << "the demo network has no link item";
    EXPECT_EQ(list(root_, 7).size(), size_t(tree->CountOfType(NodeType::Nodes) + links));
    EXPECT_EQ(list(root_, 3).size(), size_t(tree->CountOfType(NodeType::RES)));
    EXPECT_EQ(list(root_, 1).size(), 1u);
    EXPECT_TRUE(list(root_, 5).empty());  // codes 0 and 5 name no level
    EXPECT_TRUE(list(root_, 0).empty());
    ToznListItemCommon* fider = tree->Find(list(root_, 6).front()->GetIdent());
    ToznListItemCommon* node = fider->GetItems(0);
    EXPECT_TRUE(list(node->GetIdent(), 6).empty());  // a start below the target collects nothing
    EXPECT_EQ(list(node->GetIdent(), 7).size(), 1u);
    EXPECT_EQ(list(fider->GetIdent(), 7).size(), size_t(fider->GetCount()));
    // A feeder holding a link: the linked substation is in the feeder's list as the link.
    for (ToznListItemCommon* f : list(root_, 6))
        for (int k = 0; k < f->GetCount(); ++k)
            if (f->GetItems(k)->isLink()) {
                auto items = list(f->GetIdent(), 7);
                EXPECT_NE(std::find(items.begin(), items.end(), f->GetItems(k)), items.end());
                return;
            }
    FAIL() << "no feeder holds a link item";
}

TEST_F(Batch, SavesWhatItCalculatesAndOverwritesOnRepeat)
{
    const BatchRun run = runBatch(*db_, root_, 7, firstYear_);
    EXPECT_TRUE(run.error.isEmpty());
    // Each substation, and again each one a feeder shows as a link, named so in the log.
    const QStringList linked = run.log.filter(QRegularExpression(R"(^\d+:ТП-.+ \(ссылка в Ф-.+\) - Расчет)"));
    const int nodes = db_->GetTree()->CountOfType(NodeType::Nodes);
    EXPECT_GT(linked.size(), 0);
    EXPECT_EQ(run.processed, nodes + linked.size());
    EXPECT_EQ(run.log.size(), nodes + linked.size());
    // A linked substation is logged with the result of the substation itself.
    for (const QString& line : linked) {
        const QString ident = line.section(':', 0, 0), result = line.section(" - ", 1);
        EXPECT_EQ(run.log.filter(QRegularExpression("^" + ident + ":[^(]+ - ")).value(0).section(" - ", 1), result)
            << line.toStdString();
    }
    const int saved = static_cast<int>(run.log.filter(" - Расчет выполнен").size());
    EXPECT_GT(saved, nodes / 2);
    EXPECT_TRUE(run.log.first().contains(QRegularExpression("^\\d+:ТП-\\d+ .+ - Расчет")));
    const QString rows = QStringLiteral("select count(*) from \"LVWResultsB\" where \"SampleIdent\"=%1");
    // Every stored row with a usable loss below 100 % was recalculated; the others stay as they were.
    const double before = Scalar(*c_, rows.arg(firstYear_.Ident));
    const BatchRun again = runBatch(*db_, root_, 7, firstYear_);
    EXPECT_EQ(again.log, run.log);
    EXPECT_EQ(Scalar(*c_, rows.arg(firstYear_.Ident)), before);

    // The next year without energies: the earlier schemes are found, nothing is saved.
    const TSamplePeriodInfo nextYear = Year("2024г.");
    ASSERT_EQ(nextYear.Period, 1);
    Exec(*c_, rows.arg(nextYear.Ident).replace("select count(*)", "delete"));
    const BatchRun next = runBatch(*db_, root_, 7, nextYear);
    QSet<QString> missing;
    for (const QString& line : next.log.filter(" - Расчет не выполнен. Отсутствует отпуск в сеть"))
        missing.insert(line.section(':', 0, 0));
    EXPECT_EQ(missing.size(), before);
    EXPECT_EQ(Scalar(*c_, rows.arg(nextYear.Ident)), 0);
}

TEST_F(Batch, AnElementAnotherUserHoldsIsLeftWithItsReasonAndTheOthersAreSaved)
{
    const BatchRun first = runBatch(*db_, root_, 7, firstYear_);
    ASSERT_TRUE(first.error.isEmpty());
    const QString held = first.log.filter(" - Расчет выполнен").first();
    const int guid = held.section(':', 0, 0).toInt();
    // Another user changes that element's result and has not committed yet.
    auto other = db_->NewConnection();
    other->StartTransaction();
    auto q = other->NewQuery();
    q->SetSQLText(
        Fmt("update \"LVWResultsB\" set \"Wa\"=\"Wa\" where guid=%1 and \"SampleIdent\"=%2", guid, firstYear_.Ident));
    q->ExecSQL();
    ASSERT_EQ(q->RowsAffected(), 1);

    QElapsedTimer timer;
    timer.start();
    const BatchRun run = runBatch(*db_, root_, 7, firstYear_, -1, 300);
    EXPECT_LT(timer.elapsed(), 30000);  // three short waits, not forever
    EXPECT_TRUE(run.error.isEmpty()) << run.error.toStdString();
    ASSERT_EQ(run.log.size(), first.log.size());
    for (int i = 0; i < run.log.size(); ++i)
        if (first.log[i] == held)
            EXPECT_TRUE(run.log[i].startsWith(held.section(" - ", 0, 0) +
                                              " - Не сохранено: данные элемента изменяет другой пользователь"))
                << run.log[i].toStdString();
        else
            EXPECT_EQ(run.log[i], first.log[i]);
    other->Rollback();
}

TEST_F(Batch, CancelledRunKeepsWhatWasSaved)
{
    auto q = c_->NewQuery();
    q->SetSQLText("update \"LVWResultsB\" set \"deltaWa\"=null");
    q->ExecSQL();
    // Stopped at once: the worker is still reading when the flag is set.
    const BatchRun run = runBatch(*db_, root_, 7, firstYear_, 0);
    EXPECT_TRUE(run.error.isEmpty());
    EXPECT_LT(run.log.size(), db_->GetTree()->CountOfType(NodeType::Nodes));
    EXPECT_EQ(run.processed, run.log.size());
    const int saved = savedElements(run.log);
    EXPECT_EQ(Scalar(*c_, "select count(*) from \"LVWResultsB\" where \"deltaWa\" is not null"), saved);
    // Stopped along the way: whatever was logged as saved is in the database.
    const BatchRun later = runBatch(*db_, root_, 7, firstYear_, 20);
    const int savedLater = savedElements(later.log);
    EXPECT_GE(later.log.size(), 20);
    EXPECT_EQ(Scalar(*c_, "select count(*) from \"LVWResultsB\" where \"deltaWa\" is not null"),
              std::max(saved, savedLater));
}

TEST_F(Batch, ProgressFormShowsTheRunAndSavesItsLog)
{
    host::ScriptedDialogs dialogs;
    host::ScopedDialogs scope(&dialogs);
    TLVNormativMethodCalcForm form;
    auto* stop = form.findChild<QPushButton*>("btnStop");
    auto* save = form.findChild<QPushButton*>("btnSave");
    auto* grid = form.findChild<QTableWidget*>("GridLog");
    EXPECT_EQ(form.findChild<QLabel*>("lblStatus")->text(), "Инициализация расчета...");
    EXPECT_EQ(grid->horizontalHeaderItem(0)->text(), "GUID: Наименование элемента сети");
    EXPECT_EQ(grid->horizontalHeaderItem(1)->text(), "Результат обработки данных для элемента сети");
    EXPECT_EQ(stop->text(), "Прервать");
    EXPECT_FALSE(save->isEnabled());

    ToznListItemCommon* fider = db_->GetTree()->Find(db_->GetTree()->GetItems(0)->GetIdent());
    while (fider->GetNodeType() != NodeType::Fiders)
        fider = fider->GetItems(0);
    form.Start(db_.get(), fider->GetIdent(), 7, firstYear_);
    QElapsedTimer timer;
    timer.start();
    while (dialogs.Calls().isEmpty() && timer.elapsed() < 60000)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
    ASSERT_EQ(dialogs.Calls().size(), 1);
    EXPECT_EQ(dialogs.Calls()[0].text, Fmt("Обработано %1 элементов сети", fider->GetCount()));
    EXPECT_EQ(dialogs.Calls()[0].icon, host::Icon::Information);
    EXPECT_EQ(stop->text(), "Выход");
    EXPECT_TRUE(save->isEnabled());
    EXPECT_EQ(grid->rowCount(), fider->GetCount());

    const QString file = folder_.Path("журнал.txt");
    dialogs.AnswerFile(file);
    save->click();
    ASSERT_EQ(dialogs.Calls().size(), 3);
    EXPECT_EQ(dialogs.Calls()[1].kind, "save");
    EXPECT_EQ(dialogs.Calls()[1].caption, "Сохранить список на диск");
    EXPECT_EQ(dialogs.Calls()[1].text, "Текстовый документ|*.txt");
    EXPECT_EQ(dialogs.Calls()[2].text, "Результаты работы сохранены в файл: " + file);
    QFile saved(file);
    ASSERT_TRUE(saved.open(QIODevice::ReadOnly));
    const QStringList lines = QString::fromUtf8(saved.readAll()).split('\n', Qt::SkipEmptyParts);
    EXPECT_EQ(lines, form.LogLines());
    EXPECT_TRUE(lines.first().contains(" - Расчет"));
}

TEST_F(Batch, HeadlessRunPrintsTheCountAndWritesTheLog)
{
    const QString log = folder_.Path("log.txt");
    const QString path = db_->ConnectionString();
    const int districts = db_->GetTree()->CountOfType(NodeType::RES);
    db_.reset();  // the embedded engine serves one process at a time
    const AppOutcome p = RunApp({"normative", "--db", path, "--node", QString::number(root_), "--level", "3",
                                 "--period", QString::number(firstYear_.Ident), "--log", log});
    EXPECT_EQ(p.code, 0) << p.err.toStdString();
    EXPECT_TRUE(p.out.contains(Fmt("Обработано %1 элементов сети", districts)));
    QFile f(log);
    ASSERT_TRUE(f.open(QIODevice::ReadOnly));
    EXPECT_EQ(QString::fromUtf8(f.readAll()).count('\n'), districts);

    const AppOutcome bad = RunApp({"normative", "--db", path, "--node", "1", "--level", "7", "--period", "9999"});
    EXPECT_NE(bad.code, 0);
    EXPECT_TRUE(bad.err.contains("Не найден расчетный период"));
}

TEST_F(Batch, NormativeFormOffersTheLevelMenuOnlyWhenEditing)
{
    host::ScriptedDialogs dialogs;
    host::ScopedDialogs scope(&dialogs);
    std::unique_ptr<TLVNormativMethodForm4> form(
        TLVNormativMethodForm1::CreateForm<TLVNormativMethodForm4>(nullptr, db_.get()));
    TfdbTree* tree = db_->GetTree();
    ToznListItemCommon* root = tree->GetItems(0);
    ToznListItemCommon* section = root;
    while (section->GetNodeType() != NodeType::Sections)
        section = section->GetItems(0);
    auto calcVisible = [&](ToznListItemCommon* item) {
        QMenu* menu = form->BuildContextMenu(item);
        QMenu* calc = menu->findChild<QMenu*>("itmCalc");
        const bool visible = calc->menuAction()->isVisible();
        QStringList captions;
        for (QAction* a : calc->actions())
            captions << a->text();
        EXPECT_EQ(captions, QStringList({"АО энерго", "Электрические сети", "Район электрических сетей",
                                         "Центр питания", "Фидер 6(10) кВ", "ТП"}));
        delete menu;
        return visible;
    };
    EXPECT_FALSE(calcVisible(root));  // view-only mode
    form->SetFullRun(true);
    EXPECT_TRUE(calcVisible(root));
    EXPECT_FALSE(calcVisible(section));  // a level the menu does not know
    EXPECT_EQ(TLVNormativMethodForm2::MenuLevel(section->Parent()), 4);
    EXPECT_EQ(TLVNormativMethodForm2::MenuLevel(section->GetItems(0)), 6);
}

// On a fresh demo network the form proposes a period whose batch finds the energies of the substations that
// have a scheme: none of them is refused for a missing supply.
TEST_F(Batch, ThePeriodTheFormProposesHasTheEnergiesItsBatchNeeds)
{
    std::unique_ptr<TLVNormativMethodForm4> form(
        TLVNormativMethodForm1::CreateForm<TLVNormativMethodForm4>(nullptr, db_.get()));
    const TSamplePeriodInfo proposed = form->Period();
    ASSERT_FALSE(proposed.isEmpty());
    const BatchRun run = runBatch(*db_, root_, 7, proposed);
    ASSERT_TRUE(run.error.isEmpty()) << run.error.toStdString();
    EXPECT_TRUE(run.log.filter(" - Расчет не выполнен. Отсутствует отпуск в сеть").isEmpty())
        << run.log.filter("Отсутствует").join('\n').toStdString();
    // Every substation with stored inputs for the period is calculated again.
    const int withInputs = static_cast<int>(
        Scalar(*c_, Fmt("select count(*) from \"LVWResultsB\" where \"SampleIdent\"=%1 and \"Wa\">0", proposed.Ident)));
    EXPECT_GE(savedElements(run.log), withInputs * 9 / 10);
    EXPECT_GT(withInputs, 100);
}

TEST(DemoNormative, InputsAreTheFeedersLossesRealisticAndStoredResultsWhatTheBatchStores)
{
    TempFolder folder;
    auto db = OpenDatabase(NewDemoDatabase(folder));
    ToznFDConnection& c = *db->GetDefaultConnection();
    const QString rows = "from \"LVWResultsB\" r join \"LVFidersB\" f on f.\"Ident\"=r.\"Info\" ";
    ASSERT_GT(Scalar(c, "select count(*) " + rows), 100);
    // As many lines as the substation has LV feeders; their lengths add up to the feeders' lengths; the head
    // cross-section between the thinnest and the thickest of the feeders' head conductors.
    EXPECT_EQ(Scalar(c, "select count(*) " + rows +
                            "where f.\"NLines\" <> (select count(*) from \"LVFiders\" l where l.\"OwnerGUID\"=r.guid)"),
              0);
    const QString feeders = "from \"LVFiders\" l join \"LVFidersA\" a on a.guid=l.guid join \"Provods\" p on "
                            "p.\"Ident\"=a.\"ProvodPhase\" where l.\"OwnerGUID\"=r.guid";
    EXPECT_EQ(Scalar(c, "select count(*) " + rows +
                            "where abs(f.\"Lma\"+f.\"L23a\"+f.\"L23ia\"+f.\"L1a\"+f.\"L1ia\" - "
                            "(select sum(a.\"LineLength\") " +
                            feeders + ")) > 0.006"),
              0);
    EXPECT_EQ(Scalar(c, "select count(*) " + rows + "where f.\"F\" < (select min(p.\"F\") " + feeders +
                            ") - 1e-9 or f.\"F\" > (select max(p.\"F\") " + feeders + ") + 1e-9"),
              0);
    // "Not given" is NULL, never a negative number.
    QStringList negative;
    for (const char* column :
         {"CosFi", "F",     "NLines", "dp",    "kzap", "dn",  "Lma", "Lms",  "Lmm",  "L23a", "L23s",
          "L23m",  "L23ia", "L23is",  "L23im", "L1a",  "L1s", "L1m", "L1ia", "L1is", "L1im"})
        negative << Fmt("f.\"%1\" < 0", column);
    EXPECT_EQ(Scalar(c, "select count(*) " + rows + "where " + negative.join(" or ")), 0);
    // Losses of real 0.38 kV networks: a few per cent to about 20 % of the supply.
    EXPECT_GE(Scalar(c, "select min(r.\"deltaWa\" / r.\"Wa\" * 100) " + rows), 2);
    EXPECT_LE(Scalar(c, "select max(r.\"deltaWa\" / r.\"Wa\" * 100) " + rows), 20);

    // A fresh batch over the whole utility changes no stored row.
    const QString snapshot = "select list(r.guid || ':' || r.\"SampleIdent\" || ':' || r.\"Info\" || ':' || "
                             "coalesce(r.\"Wa\", '') || ':' || coalesce(r.\"Lekv\", '') || ':' || "
                             "coalesce(r.\"k038\", '') || ':' || coalesce(r.\"deltaWa\", ''), ';') from (select * from "
                             "\"LVWResultsB\" order by guid, \"SampleIdent\") r";
    auto text = [&] {
        auto q = c.NewQuery();
        q->SetSQLText(snapshot);
        q->Open();
        return q->Str(QStringLiteral("LIST"));
    };
    const QString before = text();
    ASSERT_FALSE(before.isEmpty());
    const int utility = db->GetTree()->GetItems(0)->GetIdent();
    int saved = 0;
    for (const TSamplePeriodInfo& period : db->GetSamplePeriods()->Items())
        if (period.Period == 1) {
            const BatchRun run = runBatch(*db, utility, 7, period);
            ASSERT_TRUE(run.error.isEmpty()) << run.error.toStdString();
            saved += savedElements(run.log);
        }
    EXPECT_EQ(saved, Scalar(c, "select count(*) from \"LVWResultsB\""));
    EXPECT_EQ(text(), before);
}
