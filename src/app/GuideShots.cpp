#include "app/GuideShots.h"

#include <QAbstractButton>
#include <QAbstractScrollArea>
#include <QApplication>
#include <QDialog>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QGroupBox>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPointer>
#include <QTabBar>
#include <QTableWidget>
#include <QTimer>
#include <QTreeView>
#include <functional>

#include "app/MainWindow.h"
#include "host/Database.h"
#include "host/Tree.h"
#include "host/TreeModel.h"

namespace {
constexpr int kSettleMs = 400;           // a window is pictured once it has stood this long
constexpr int kWindowWaitMs = 60000;     // a command whose window does not come in this time has failed
constexpr int kCommandLimitMs = 180000;  // a command still running after this is stopped

QString plain(QString caption) { return caption.remove(QLatin1Char('&')); }

QAction* menuCommand(QMainWindow& window, const QString& caption)
{
    for (QAction* top : window.menuBar()->actions())
        if (top->menu())
            for (QAction* action : top->menu()->actions())
                if (plain(action->text()) == caption)
                    return action;
    return nullptr;
}

// The widget the user works in: the largest visible list, table, tree or page of the window; a dialog of boxes
// alone is its own content.
QWidget* contentOf(QWidget* window)
{
    QWidget* largest = nullptr;
    int area = 0;
    for (QAbstractScrollArea* view : window->findChildren<QAbstractScrollArea*>()) {
        if (!view->isVisibleTo(window) || view->window() != window)
            continue;
        const int a = view->width() * view->height();
        if (a > area) {
            area = a;
            largest = view;
        }
    }
    return largest ? largest : window;
}

QStringList textsOf(QWidget* window)
{
    QStringList texts{window->windowTitle()};
    auto add = [&](const QString& text) {
        if (!text.trimmed().isEmpty())
            texts << plain(text);
    };
    for (QAbstractButton* b : window->findChildren<QAbstractButton*>())
        if (b->isVisibleTo(window))
            add(b->text());
    for (QLabel* l : window->findChildren<QLabel*>())
        if (l->isVisibleTo(window))
            add(l->text());
    for (QGroupBox* g : window->findChildren<QGroupBox*>())
        if (g->isVisibleTo(window))
            add(g->title());
    for (QTabBar* t : window->findChildren<QTabBar*>())
        if (t->isVisibleTo(window))
            for (int i = 0; i < t->count(); ++i)
                add(t->tabText(i));
    return texts;
}

bool isWindowOfItsOwn(QWidget* w)
{
    const Qt::WindowType type = w->windowType();
    return w->isVisible() && (type == Qt::Window || type == Qt::Dialog) && !qobject_cast<QMenu*>(w);
}

QList<QWidget*> openWindows()
{
    QList<QWidget*> open;
    for (QWidget* w : QApplication::topLevelWidgets())
        if (isWindowOfItsOwn(w))
            open << w;
    return open;
}

// Waits with the events going on.
void pause(int ms)
{
    QEventLoop loop;
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    loop.exec();
}

// Closes a window as OK (accept) or as Escape; a window that is not a dialog is closed.
void close(QWidget* window, bool accept)
{
    if (auto* dialog = qobject_cast<QDialog*>(window))
        accept ? dialog->done(QDialog::Accepted) : dialog->reject();
    else if (window)
        window->close();
}

class ShotTaker {
public:
    ShotTaker(const QString& folder, TGuideShots& out) : folder_(folder), out_(out) {}

    void Picture(QWidget* window, const QString& file)
    {
        TGuideShot shot;
        shot.File = file;
        shot.Title = window->windowTitle();
        shot.Window = window->size();
        if (QWidget* content = contentOf(window))
            shot.Content = content->size();
        shot.Texts = textsOf(window);
        if (!window->grab().save(QDir(folder_).filePath(file), "PNG"))
            out_.Problems << QStringLiteral("%1: не удалось записать рисунок").arg(file);
        out_.Shots << shot;
    }

    // One window a command opens: its picture, and whether it is closed by OK (true) or as by Escape.
    struct Expected {
        QString File;
        bool Accept = false;
        std::function<void(QWidget*)> Prepare = {};  // what the user does in the window before the picture
    };

    // Runs a command of the main window and pictures the windows it opens, in order. A window beyond those
    // expected, or a message in place of one, is a problem and is closed; so is everything still open when the
    // command has run too long.
    void Run(QMainWindow& main, const QString& command, QList<Expected> expected)
    {
        QAction* action = menuCommand(main, command);
        if (!action) {
            out_.Problems << QStringLiteral("нет команды «%1»").arg(command);
            return;
        }
        QList<QPointer<QWidget>> before;
        for (QWidget* w : openWindows())
            before << w;
        auto isNew = [&](QWidget* w) { return !before.contains(w); };
        QEventLoop loop;
        QPointer<QWidget> current;
        QElapsedTimer seen, waited, total;
        waited.start();
        total.start();
        bool returned = false, givenUp = false;
        QTimer poll;
        poll.setInterval(50);
        QObject::connect(&poll, &QTimer::timeout, [&] {
            if (total.hasExpired(kCommandLimitMs) && !givenUp) {
                givenUp = true;
                out_.Problems << QStringLiteral("«%1»: команда не завершилась, окна закрыты").arg(command);
                expected.clear();
                for (QWidget* w : openWindows())
                    if (isNew(w))
                        close(w, false);
            }
            if (givenUp && total.hasExpired(2 * kCommandLimitMs)) {
                loop.quit();
                return;
            }
            if (!current)
                for (QWidget* w : openWindows())
                    if (isNew(w)) {
                        current = w;
                        seen.start();
                        break;
                    }
            if (!current) {
                if (!expected.isEmpty() && waited.hasExpired(kWindowWaitMs)) {
                    out_.Problems << QStringLiteral("«%1»: окно %2 не открылось").arg(command, expected.first().File);
                    expected.clear();
                }
                if (expected.isEmpty() && returned)
                    loop.quit();
                return;
            }
            if (seen.elapsed() < kSettleMs)
                return;
            const QPointer<QWidget> window = current;
            current = nullptr;
            before << window;
            waited.restart();
            if (auto* box = qobject_cast<QMessageBox*>(window.data())) {
                // A message in place of the window: the command failed where the user would see why.
                out_.Problems << QStringLiteral("«%1»: сообщение «%2»").arg(command, box->text());
                close(box, false);
                return;
            }
            if (expected.isEmpty()) {
                out_.Problems << QStringLiteral("«%1»: лишнее окно «%2»").arg(command, window->windowTitle());
                close(window, false);
                return;
            }
            const Expected next = expected.takeFirst();
            if (next.Prepare) {
                next.Prepare(window);
                pause(kSettleMs);
            }
            if (!window) {
                out_.Problems << QStringLiteral("«%1»: окно %2 закрылось само").arg(command, next.File);
                return;
            }
            Picture(window, next.File);
            close(window, next.Accept);
        });
        poll.start();
        // The command runs inside the loop, so that the modal windows it opens run their own loops in it.
        QTimer::singleShot(0, &loop, [&] {
            action->trigger();
            returned = true;
        });
        loop.exec();
        poll.stop();
        pause(100);
    }

private:
    QString folder_;
    TGuideShots& out_;
};

// Chooses an item in a network tree of the window, opening its owners.
void selectIn(QWidget* window, ToznListItemCommon* item)
{
    for (QTreeView* view : window->findChildren<QTreeView*>()) {
        auto* model = dynamic_cast<TreeModel*>(view->model());
        if (!model)
            continue;
        const QModelIndex index = model->IndexOf(item);
        for (QModelIndex up = index.parent(); up.isValid(); up = up.parent())
            view->expand(up);
        view->setCurrentIndex(index);
        view->scrollTo(index);
    }
}

// The first district of the network with a substation of at least two LV feeders.
struct Example {
    ToznListItemCommon* District = nullptr;
    ToznListItemCommon* Substation = nullptr;
    ToznListItemCommon* Feeder = nullptr;
};

void findExample(ToznListItemCommon* item, Example& found, ToznListItemCommon* district)
{
    if (found.Feeder || item->isLink())
        return;
    if (item->GetNodeType() == NodeType::RES)
        district = item;
    if (item->GetNodeType() == NodeType::Nodes && district && item->GetCount() >= 2 &&
        item->GetItems(0)->GetNodeType() == NodeType::LVFiders) {
        found = {district, item, item->GetItems(0)};
        return;
    }
    for (int i = 0; i < item->GetCount(); ++i)
        findExample(item->GetItems(i), found, district);
}
}  // namespace

TGuideShots TakeGuideShots(MainWindow& window, const QString& folder)
{
    TGuideShots out;
    QDir().mkpath(folder);
    TfdbTree* tree = CurrentDatabase()->GetTree();
    Example example;
    for (int i = 0; i < tree->GetCount(); ++i)
        findExample(tree->GetItems(i), example, nullptr);
    auto* view = window.findChild<QTreeView*>(QStringLiteral("NetworkTree"));
    if (!example.Feeder || !view) {
        out.Problems << QStringLiteral("в сети нет района с ТП и линиями 0,4 кВ");
        return out;
    }
    auto select = [&](ToznListItemCommon* item) { selectIn(&window, item); };
    window.show();
    pause(kSettleMs);
    ShotTaker taker(folder, out);
    using E = ShotTaker::Expected;

    // The district opened down to a feeder, with the feeder's scheme beside the tree.
    select(example.Feeder);
    if (QAction* detail = menuCommand(window, QStringLiteral("Схема 0,38 кВ линии")))
        detail->trigger();
    pause(kSettleMs);
    taker.Picture(&window, QStringLiteral("01-main.png"));

    taker.Run(window, QStringLiteral("Линии 0,38 кВ ТП..."), {E{QStringLiteral("02-feeders.png")}});
    select(example.Substation);
    taker.Run(window, QStringLiteral("Замеры W (книга Excel)..."), {E{QStringLiteral("03-measurements-w.png")}});
    taker.Run(window, QStringLiteral("Обобщенные данные нормативного метода (книга Excel)..."),
              {E{QStringLiteral("04-generalised-data.png")}});
    taker.Run(window, QStringLiteral("Нормативный метод..."),
              {E{QStringLiteral("05-normative.png"), false, [&](QWidget* w) { selectIn(w, example.Substation); }}});
    // The regime of the feeder: its parameters accepted, the calculation runs and its balance opens.
    select(example.Feeder);
    taker.Run(window, QStringLiteral("Расчет режима средних нагрузок..."),
              {E{QStringLiteral("06-regime-parameters.png"), true}, E{QStringLiteral("07-balance.png")}});
    // The drawing beside the tree coloured by the voltages of that run, with the voltage along the line to the
    // last node of the scheme.
    select(example.Feeder);
    window.FollowTree();
    pause(kSettleMs);
    if (QWidget* frame = window.DetailFrame())
        if (auto* nodes = frame->findChild<QTableWidget*>(QStringLiteral("GridNodes")); nodes && nodes->rowCount() > 0)
            nodes->setCurrentCell(nodes->rowCount() - 1, 0);
    pause(kSettleMs);
    taker.Picture(&window, QStringLiteral("14-drawing.png"));
    select(example.District);
    taker.Run(window, QStringLiteral("Таблица результатов 0,4 кВ..."), {E{QStringLiteral("08-results-grid.png")}});
    taker.Run(window, QStringLiteral("Результаты по электрическим сетям..."),
              {E{QStringLiteral("09-results-report.png")}});
    taker.Run(window, QStringLiteral("Расчеты сети 0,4 кВ..."), {E{QStringLiteral("10-calculation-menu.png")}});
    select(example.Feeder);
    taker.Run(window, QStringLiteral("Схема линии 0,4 кВ"), {E{QStringLiteral("11-scheme-editor.png")}});
    select(example.District);
    taker.Run(window, QStringLiteral("Недоотпуск по линиям 0,4 кВ..."), {E{QStringLiteral("12-undersupply.png")}});
    taker.Run(window, QStringLiteral("Провода…"), {E{QStringLiteral("13-conductors.png")}});
    return out;
}
