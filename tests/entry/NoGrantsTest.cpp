// A database user without grants gets a message from every command, the window and every export, never a crash.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <QApplication>
#include <QDialog>
#include <QTimer>
#include <functional>

#include "entry/ozn32lib.h"
#include "host/Connection.h"
#include "host/Database.h"
#include "host/Dialogs.h"
#include "host/FiderHHCalcParams.h"
#include "host/HostObjects.h"
#include "host/Tree.h"
#include "host/WindowService.h"
#include "support/TestSupport.h"

using namespace testing_support;

TEST(NoGrants, EveryCommandAndTheWindowAnswerWithAMessage)
{
    TempFolder folder;
    const QString db = NewDemoDatabase(folder);
    const QString book = folder.Path("book.xlsx");
    const QList<QStringList> commands = {
        {"stats", "--db", db},
        {"regime", "--db", db, "--node", "1", "--sample", "1", "--middle"},
        {"results", "--db", db, "--guid", "1", "--sample", "1", "--json"},
        {"normative", "--db", db, "--node", "1", "--level", "7", "--period", "1"},
        {"scheme", "export", "--db", db, "--node", "7", book},
        {"conductors", "export", book, "--db", db},
        {"substation", "add", "--db", db, "--name", "ТП-9"},
        {"--db", db},  // the main window
    };
    for (const QStringList& args : commands) {
        const AppOutcome o =
            RunApp(args, {{"ISC_USER", "NOBODY"}, {"ISC_PASSWORD", "nothing"}, {"QT_QPA_PLATFORM", "offscreen"}});
        EXPECT_EQ(o.code, 1) << args.join(' ').toStdString() << "\n" << o.err.toStdString();
        EXPECT_TRUE(o.err.contains("Нет прав на чтение таблицы «")) << args.join(' ').toStdString() << "\n"
                                                                    << o.err.toStdString();
    }
}

namespace {
struct Plugin {
    void* handle = dlopen(PluginPath().toLocal8Bit().constData(), RTLD_NOW | RTLD_LOCAL);
    template <class F> F get(const char* name) { return reinterpret_cast<F>(dlsym(handle, name)); }
    ~Plugin()
    {
        if (handle)
            dlclose(handle);
    }
};

// Closes a modal dialog if one comes up while `call` runs; says whether one did.
bool RunClosingModals(const std::function<void()>& call)
{
    bool shown = false;
    QTimer timer;
    timer.setInterval(10);
    QObject::connect(&timer, &QTimer::timeout, [&] {
        if (auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget()); dialog && dialog->isVisible()) {
            shown = true;
            dialog->done(host::mrCancel);
        }
    });
    timer.start();
    call();
    return shown;
}
}  // namespace

// A user the administrator gave the network tree and nothing else: every export answers with a window or a
// message that names the missing grant, and nothing is raised into the host.
TEST(NoGrants, EveryExportAnswersAUserWhoMayReadOnlyTheTree)
{
    TempFolder folder;
    const QString path = NewDemoDatabase(folder);
    auto admin = OpenDatabase(path);
    ToznFDConnection& c = *admin->GetDefaultConnection();
    for (const char* table : {"AOEnergo", "PES", "RES", "Centers", "Sections", "Fiders", "Nodes", "Transforms2",
                              "TransformsSS", "LVFiders", "NodeLinks"})
        Exec(c, Fmt("grant select on \"%1\" to TREEONLY", QString::fromLatin1(table)));
    const int year = IntScalar(c, "select min(\"Ident\") from \"SamplesDates\" where \"Period\"=1");
    const int lv = IntScalar(c, "select min(guid) from \"LVFiders\"");
    const int tp = IntScalar(c, Fmt("select \"OwnerGUID\" from \"LVFiders\" where guid=%1", lv));
    if (c.inTransaction())
        c.Commit();

    qputenv("ISC_USER", "TREEONLY");
    auto session = OpenDatabase(path);
    qunsetenv("ISC_USER");
    ASSERT_TRUE(session);
    SetCurrentDatabase(session.get());
    host::ScriptedDialogs dialogs;
    host::ScopedDialogs scope(&dialogs);
    QWidget main;
    host::windows().SetMainWindow(&main);
    qputenv("OZN3_SPREADSHEET", "");
    Plugin plugin;
    ASSERT_NE(plugin.handle, nullptr) << dlerror();

    TFiderHH fider(lv, "Л-1", tp);
    TOExport target;
    TWCalcHHParams middle;
    middle.SetSamplePeriod(year);
    TWCalcTmaxHHParams maximum;
    maximum.SetSamplePeriod(year);
    int32_t feeder = lv;
    QWidget owner;
    const QList<std::pair<const char*, std::function<void()>>> exports = {
        {"ShowSamplesWInput", [&] { plugin.get<ozn32::ShowSamplesWInput_t>("ShowSamplesWInput")(u"", 0); }},
        {"ShowSamplesTmaxInput", [&] { plugin.get<ozn32::ShowSamplesTmaxInput_t>("ShowSamplesTmaxInput")(u"", 0); }},
        {"ShowLVNormativMethodInput",
         [&] { plugin.get<ozn32::ShowLVNormativMethodInput_t>("ShowLVNormativMethodInput")(u"", 0); }},
        {"ShowLVFiders", [&] { plugin.get<ozn32::ShowLVFiders_t>("ShowLVFiders")(0, &feeder); }},
        {"RunLVNormativMethod",
         [&] { plugin.get<ozn32::RunLVNormativMethod_t>("RunLVNormativMethod")(session.get()); }},
        {"RunLVNormativMethodResults",
         [&] { plugin.get<ozn32::RunLVNormativMethodResults_t>("RunLVNormativMethodResults")(session.get()); }},
        {"ShowLVPESResults", [&] { plugin.get<ozn32::ShowLVPESResults_t>("ShowLVPESResults")(session.get(), tp); }},
        {"ShowLVPESResultsAll", [&] { plugin.get<ozn32::ShowLVPESResultsAll_t>("ShowLVPESResultsAll")(); }},
        {"ShowLVResultsGrid", [&] { plugin.get<ozn32::ShowLVResultsGrid_t>("ShowLVResultsGrid")(session.get(), tp); }},
        {"ShowLVUndersupplyReport",
         [&] { plugin.get<ozn32::ShowLVUndersupplyReport_t>("ShowLVUndersupplyReport")(year); }},
        {"DetailFrameCreate",
         [&] { plugin.get<ozn32::DetailFrameCreate_t>("DetailFrameCreate")(&owner, session->GetTree()->Find(lv), 0); }},
        {"ShowFiderHHResults", [&] { plugin.get<ozn32::ShowFiderHHResults_t>("ShowFiderHHResults")(&fider, 0); }},
        {"BuildFiderHHResults",
         [&] { plugin.get<ozn32::BuildFiderHHResults_t>("BuildFiderHHResults")(&fider, &target); }},
        {"GetLVMiddleRegim", [&] { plugin.get<ozn32::GetLVMiddleRegim_t>("GetLVMiddleRegim")(&middle); }},
        {"GetLVMaxRegim", [&] { plugin.get<ozn32::GetLVMaxRegim_t>("GetLVMaxRegim")(&maximum); }},
    };
    EXPECT_EQ(exports.size(), std::size(kOzn32ExportNames));
    for (const auto& [name, call] : exports) {
        dialogs.Clear();
        bool window = false;
        EXPECT_NO_THROW(window = RunClosingModals(call)) << name;
        const QStringList said = dialogs.Texts();
        EXPECT_TRUE(said.filter("Нет прав на").size() == said.size()) << name << ": " << said.join('\n').toStdString();
        EXPECT_TRUE(window || !said.isEmpty()) << name << " answered with nothing";
    }
    host::windows().SetMainWindow(nullptr);
    SetCurrentDatabase(nullptr);
    qunsetenv("OZN3_SPREADSHEET");
}
