// The application's main window driven offscreen, as the window tests share it.
#pragma once
#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QMenuBar>
#include <QTimer>
#include <QTreeView>
#include <functional>
#include <memory>

#include "app/MainWindow.h"
#include "app/PluginLoader.h"
#include "host/Database.h"
#include "host/Dialogs.h"
#include "host/Tree.h"
#include "host/TreeModel.h"
#include "support/TestSupport.h"

namespace testing_support {

// The command of a window's menus by its text (without the accelerator's "&"); null when there is none.
inline QAction* MenuAction(QMainWindow& window, const QString& text)
{
    for (QAction* a : window.menuBar()->findChildren<QAction*>())
        if (QString(a->text()).remove(QLatin1Char('&')) == text)
            return a;
    return nullptr;
}

// Answers the modal windows as they come: the regime dialog with the mode given and OK, every other window looked
// at by `inspect` (with its name noted) and closed.
struct ModalAnswers {
    QStringList seen;
    int mode;
    std::function<void(QDialog*)> inspect;
    QTimer timer;
    explicit ModalAnswers(int regimeMode) : mode(regimeMode)
    {
        timer.setInterval(10);
        QObject::connect(&timer, &QTimer::timeout, [this] {
            auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
            if (!dialog || !dialog->isVisible() || dialog->inherits("QProgressDialog"))
                return;
            seen << dialog->objectName();
            if (auto* combo = dialog->findChild<QComboBox*>("ComboSampleType")) {
                combo->setCurrentIndex(mode);
                dialog->done(1);
                return;
            }
            if (inspect)
                inspect(dialog);
            dialog->done(2);
        });
        timer.start();
    }
};

// The main window on a fresh demo database, with the plug-in loaded and the dialogs scripted.
class MainWindowTest : public DatabaseTest {
protected:
    void SetUp() override
    {
        OpenNew(true);
        SetCurrentDatabase(db_.get());
        QString error;
        ASSERT_TRUE(plugin_.Load(PluginPath(), error)) << error.toStdString();
        window_ = std::make_unique<MainWindow>(db_.get(), &plugin_);
        window_->show();
    }
    void TearDown() override
    {
        window_.reset();
        plugin_.Unload();
        SetCurrentDatabase(nullptr);
    }
    void Select(int ident)
    {
        auto* view = window_->findChild<QTreeView*>("NetworkTree");
        view->setCurrentIndex(qobject_cast<TreeModel*>(view->model())->IndexOf(db_->GetTree()->Find(ident)));
    }
    host::ScriptedDialogs dialogs_;
    host::ScopedDialogs scoped_{&dialogs_};
    Ozn32Plugin plugin_;
    std::unique_ptr<MainWindow> window_;
};
}  // namespace testing_support
