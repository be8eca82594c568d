#include "normative/LVNormativMethodCalcUnit.h"

#include <QCloseEvent>
#include <QElapsedTimer>
#include <QFile>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QSaveFile>
#include <QTableWidget>
#include <QTextStream>
#include <QVBoxLayout>

#include "host/Connection.h"
#include "host/Database.h"
#include "host/Dialogs.h"
#include "host/OutputFiles.h"
#include "host/Tree.h"
#include "host/WindowPlace.h"
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

TLVNormativMethodCalcForm::TLVNormativMethodCalcForm(QWidget* owner) : QDialog(owner)
{
    setObjectName(QStringLiteral("LVNormativMethodCalcForm"));
    setWindowTitle(QStringLiteral("Расчет потерь электроэнергии"));
    KeepWindowPlace(*this, QStringLiteral("LVNormativMethodCalcForm"), QSize(760, 520));
    auto* layout = new QVBoxLayout(this);
    status_ = new QLabel(QStringLiteral("Инициализация расчета..."), this);
    status_->setObjectName(QStringLiteral("lblStatus"));
    layout->addWidget(status_);
    bar_ = new QProgressBar(this);
    bar_->setObjectName(QStringLiteral("ProgressBar"));
    bar_->setRange(0, 0);
    layout->addWidget(bar_);
    log_ = new QTableWidget(0, 2, this);
    log_->setObjectName(QStringLiteral("GridLog"));
    log_->setHorizontalHeaderLabels({QStringLiteral("GUID: Наименование элемента сети"),
                                     QStringLiteral("Результат обработки данных для элемента сети")});
    log_->horizontalHeader()->setStretchLastSection(true);
    // Names of elements run long ("12345: ТП-221 мкр. Северный"): their column is wide, and a cell cut short has
    // its text as a tip.
    log_->setColumnWidth(0, 340);
    log_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    layout->addWidget(log_);
    auto* buttons = new QHBoxLayout;
    save_ = new QPushButton(QStringLiteral("Сохранить"), this);
    save_->setObjectName(QStringLiteral("btnSave"));
    save_->setEnabled(false);
    stop_ = new QPushButton(QStringLiteral("Прервать"), this);
    stop_->setObjectName(QStringLiteral("btnStop"));
    buttons->addStretch();
    buttons->addWidget(save_);
    buttons->addWidget(stop_);
    layout->addLayout(buttons);
    connect(save_, &QPushButton::clicked, this, &TLVNormativMethodCalcForm::SaveLog);
    connect(stop_, &QPushButton::clicked, this, [this] {
        if (Running())
            thread_->requestInterruption();
        else
            reject();
    });
}

TLVNormativMethodCalcForm::~TLVNormativMethodCalcForm() { StopAndWait(); }

void TLVNormativMethodCalcForm::Start(TfdbDatabase* database, int startIdent, int levelCode,
                                      const TSamplePeriodInfo& period)
{
    TCalcEvents events;
    events.Status = [this](const QString& text) { status_->setText(text); };
    events.Count = [this](int n) {
        bar_->setRange(0, n);
        bar_->setValue(0);
    };
    events.Log = [this](const QString& element, const QString& message) {
        const int row = log_->rowCount();
        log_->insertRow(row);
        for (const auto& [column, text] : {std::pair{0, element}, std::pair{1, message}}) {
            auto* item = new QTableWidgetItem(text);
            item->setToolTip(text);
            log_->setItem(row, column, item);
        }
        bar_->setValue(row + 1);
        status_->setText(element);
    };
    events.Finish = [this](int processed, const QString& error) { Finished(processed, error); };
    thread_ = new TCalcThread(this, events, database, database->GetTree(), startIdent, levelCode, period);
    thread_->start();
}

bool TLVNormativMethodCalcForm::Running() const { return thread_ && thread_->isRunning(); }

int TLVNormativMethodCalcForm::LogCount() const { return log_->rowCount(); }

QStringList TLVNormativMethodCalcForm::LogLines() const
{
    QStringList lines;
    for (int r = 0; r < log_->rowCount(); ++r)
        lines << log_->item(r, 0)->text() + QStringLiteral(" - ") + log_->item(r, 1)->text();
    return lines;
}

void TLVNormativMethodCalcForm::StopAndWait()
{
    if (thread_) {
        thread_->requestInterruption();
        thread_->wait();
    }
}

void TLVNormativMethodCalcForm::Finished(int, const QString& error)
{
    StopAndWait();
    stop_->setText(QStringLiteral("Выход"));
    bar_->hide();
    save_->setEnabled(log_->rowCount() > 0);
    if (error.isEmpty())
        host::dialogs().Message(host::AppCaption(),
                                QStringLiteral("Обработано %1 элементов сети").arg(log_->rowCount()),
                                host::Icon::Information, host::Buttons::Ok);
    else
        host::dialogs().Message(host::AppCaption(), QStringLiteral("Ошибка при выполнении расчета\n") + error,
                                host::Icon::Information, host::Buttons::Ok);
    emit CalculationFinished();
}

void TLVNormativMethodCalcForm::SaveLog()
{
    const QString file =
        host::dialogs().SaveFileName(QStringLiteral("Сохранить список на диск"),
                                     QStringLiteral("Текстовый документ|*.txt"), QStringLiteral("txt"), QString());
    if (file.isEmpty())
        return;
    QString error;
    if (!host::CheckOutputPath(file, error)) {
        host::ShowWarning(error);
        return;
    }
    QSaveFile out(file);
    if (out.open(QIODevice::WriteOnly | QIODevice::Text)) {
        QTextStream stream(&out);
        for (const QString& line : LogLines())
            stream << line << '\n';
        stream.flush();
        if (out.commit()) {
            host::ShowInformation(QStringLiteral("Результаты работы сохранены в файл: ") + file);
            return;
        }
    }
    host::ShowWarning(QStringLiteral("Не удалось записать файл %1").arg(file));
}

void TLVNormativMethodCalcForm::reject()
{
    StopAndWait();
    QDialog::reject();
}

void TLVNormativMethodCalcForm::closeEvent(QCloseEvent* event)
{
    StopAndWait();
    QDialog::closeEvent(event);
}
