#include "normative/LVNormativMethodCalcUnit.h"

#include <QElapsedTimer>

#include "host/Connection.h"
#include "host/Database.h"
#include "host/Tree.h"
#include "normative/LVNormativMethodDBUnit.h"

namespace {
// Log lines travel to the main thread in packets, twice a second. Each packet is committed before it goes: a
// line that says an element is saved is never ahead of the database, even for a run killed outright, and rows
// another user waits for are held half a second at most. (A commit costs the statements their preparation and
// the disk a flush: a packet every 200 lines took the batch from 34 k to 7 k elements a second.)
constexpr int kLinesPerPost = 5000;
constexpr int kPostEveryMs = 500;
}  // namespace

TCalcThread::TCalcThread(QObject* context, TCalcEvents events, TfdbDatabase* database, TfdbTree* tree, int startIdent,
                         int levelCode, const TSamplePeriodInfo& period)
    : context_(context), events_(std::move(events)), database_(database), tree_(tree), startIdent_(startIdent),
      levelCode_(levelCode), period_(period)
{
}

int TCalcThread::NodeTypeOfLevel(int levelCode)
{
    switch (levelCode) {
    case 1: return NodeType::AOEnergo;
    case 2: return NodeType::PES;
    case 3: return NodeType::RES;
    case 4: return NodeType::Centers;
    case 6: return NodeType::Fiders;
    case 7: return NodeType::Nodes;
    default: return 0;
    }
}

void TCalcThread::Post(std::function<void()> f)
{
    QMetaObject::invokeMethod(context_, std::move(f), Qt::QueuedConnection);
}

void TCalcThread::Collect(ToznListItemCommon* item, int target, std::vector<ToznListItemCommon*>& list)
{
    if (isInterruptionRequested())
        return;
    // Every item of the level is calculated where it stands: a substation shown again under another feeder
    // (a link) is calculated and logged there too.
    if (item->GetNodeType() == target) {
        list.push_back(item);
    } else if (item->GetNodeType() < target) {
        for (int i = 0; i < item->GetCount() && !isInterruptionRequested(); ++i)
            Collect(item->GetItems(i), target, list);
    }
}

std::vector<ToznListItemCommon*> TCalcThread::BuildList()
{
    std::vector<ToznListItemCommon*> list;
    const int target = NodeTypeOfLevel(levelCode_);
    ToznListItemCommon* start = tree_->Find(startIdent_);
    if (!start || target == 0)
        return list;
    start = start->Target();
    if (target >= start->GetNodeType())
        Collect(start, target, list);
    return list;
}

namespace {
constexpr int kSaveAttempts = 3;

// The savepoint statements of an element, prepared once for the run (prepared each time, they cost more than
// the element's own writes).
class TElementSavepoint {
public:
    explicit TElementSavepoint(ToznFDConnection& c)
        : set_(Prepared(c, "savepoint \"Element\"")), release_(Prepared(c, "release savepoint \"Element\" only")),
          undo_(Prepared(c, "rollback to savepoint \"Element\""))
    {
    }
    void Set() { set_->ExecSQL(); }
    void Release() { release_->ExecSQL(); }
    void Undo() { undo_->ExecSQL(); }

private:
    static std::unique_ptr<TFDQuery> Prepared(ToznFDConnection& c, const char* sql)
    {
        auto q = c.NewQuery();
        q->SetSQLText(QString::fromLatin1(sql));
        return q;
    }
    std::unique_ptr<TFDQuery> set_, release_, undo_;
};

// Saves one element all or nothing: under a savepoint when it takes several statements (a single statement
// is undone by the engine when it fails). Rows that another user changed or holds are tried again in a fresh
// transaction (what is saved so far is committed first) a few times; then the element is left with the
// reason and the batch goes on. Other errors end the batch as before.
QString SaveElement(ToznFDConnection& c, TElementSavepoint& savepoint, bool severalStatements,
                    const std::function<void()>& save, bool& stopped)
{
    stopped = false;
    for (int attempt = 1;; ++attempt) {
        if (severalStatements)
            savepoint.Set();
        try {
            save();
            if (severalStatements)
                savepoint.Release();
            return {};
        } catch (const EStopped&) {
            if (severalStatements)
                savepoint.Undo();
            stopped = true;
            return {};
        } catch (const EDatabaseError& e) {
            if (severalStatements)
                savepoint.Undo();
            if (!IsConflict(e))
                throw;
            if (attempt == kSaveAttempts)
                return QStringLiteral("Не сохранено: данные элемента изменяет другой пользователь (%1)").arg(e.Text());
            c.Commit();
            QThread::msleep(100 * attempt);
            c.StartTransaction(false);
        }
    }
}
}  // namespace

void TCalcThread::run()
{
    QString error;
    std::unique_ptr<ToznFDConnection> connection;
    // Lines since the last commit; `saved` marks the elements whose results are in them.
    struct Line {
        QString element, message;
        bool saved;
    };
    QList<Line> lines;
    int stored = 0;
    QString lastStored;
    QElapsedTimer sincePost;
    sincePost.start();
    auto postLines = [&] {
        if (lines.isEmpty())
            return;
        QList<QPair<QString, QString>> packet;
        for (const Line& l : lines) {
            packet.append({l.element, l.message});
            if (l.saved) {
                ++stored;
                lastStored = l.element;
            }
        }
        Post([log = events_.Log, packet] {
            if (log)
                for (const auto& [element, message] : packet)
                    log(element, message);
        });
        lines.clear();
        sincePost.restart();
    };
    // The commit first, the lines after it, the next transaction last: a line never claims what a failed
    // commit lost, and a failure to start the next transaction keeps the lines of what is committed.
    bool commitFailed = false;
    auto commit = [&] {
        try {
            connection->Commit();
        } catch (...) {
            commitFailed = true;
            throw;
        }
    };
    auto commitAndPost = [&] {
        commit();
        postLines();
        connection->StartTransaction(false);
    };
    try {
        Post([e = events_] {
            if (e.Status)
                e.Status(QStringLiteral("Формируем список для расчета..."));
        });
        const std::vector<ToznListItemCommon*> list = BuildList();
        if (!list.empty()) {
            const int n = static_cast<int>(list.size());
            Post([e = events_, n] {
                if (e.Count)
                    e.Count(n);
            });
            connection = database_->NewConnection();
            connection->SetLockTimeout(lockTimeoutMs_, [this] { return isInterruptionRequested(); });
            TLVNormativeStore store(*connection);
            store.Preload(period_);
            connection->StartTransaction(false);
            TElementSavepoint savepoint(*connection);
            TLVNormativSampleCalc sample;
            for (ToznListItemCommon* item : list) {
                if (isInterruptionRequested())
                    break;
                const int ident = item->Target()->GetIdent();
                QString text = QStringLiteral("%1:%2").arg(ident).arg(item->GetText());
                if (item->isLink() && item->Parent())
                    text += QStringLiteral(" (ссылка в %1)").arg(item->Parent()->GetText());
                sample.Ident = ident;
                store.Load(sample, ident, period_);
                const auto outcome = sample.Classify();
                QString message = TLVNormativSample0::OutcomeMessage(outcome);
                bool saved = false;
                if (outcome == TLVNormativSample0::Outcome::Saved) {
                    bool stopped = false;
                    const QString failure = SaveElement(
                        *connection, savepoint, store.SavesInputs(sample), [&] { store.Save(sample, period_.Ident); },
                        stopped);
                    if (stopped)
                        break;
                    if (!failure.isEmpty())
                        message = failure;
                    saved = failure.isEmpty();
                }
                lines.append({text, message, saved});
                ++processed_;
                if (lines.size() >= kLinesPerPost || sincePost.elapsed() >= kPostEveryMs)
                    commitAndPost();
            }
            commit();
            postLines();
        }
    } catch (const std::exception& e) {
        error = QString::fromUtf8(e.what());
        // What was saved before the error is kept when the database takes the commit; when it does not, the
        // lines since the last commit say that their elements are not saved.
        bool committed = !commitFailed;
        try {
            if (committed && connection && connection->inTransaction())
                connection->Commit();
        } catch (const std::exception&) {
            committed = false;
        }
        if (!committed)
            for (Line& l : lines)
                if (l.saved) {
                    l.saved = false;
                    l.message = QStringLiteral("Не сохранено: ошибка базы данных");
                }
        postLines();
        error +=
            lastStored.isEmpty()
                ? QStringLiteral("\nСохранено элементов: 0")
                : QStringLiteral("\nСохранено элементов: %1; последний сохраненный: %2").arg(stored).arg(lastStored);
    }
    postLines();
    connection.reset();
    const int processed = processed_;
    Post([e = events_, processed, error] {
        if (e.Finish)
            e.Finish(processed, error);
    });
}
