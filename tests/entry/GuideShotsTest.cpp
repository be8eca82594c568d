#include <gtest/gtest.h>

#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>

#include "support/TestSupport.h"

using namespace testing_support;

namespace {
QSize sizeOf(const QJsonValue& v) { return {v.toArray().at(0).toInt(), v.toArray().at(1).toInt()}; }
}  // namespace

// The pictures of the user's guide are taken by the application itself on a 1366×768 screen: every everyday
// window opens, fits the screen, leaves its list or table room to work in and has no English caption of the
// toolkit.
TEST(GuideShots, EveryEverydayWindowFitsA1366x768ScreenAndSpeaksRussian)
{
    TempFolder folder;
    const QString database = NewDemoDatabase(folder);
    QProcess app;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("QT_QPA_PLATFORM", Fmt("offscreen:configfile=%1/../docs/screen-1366x768.json", OZN3_TEST_DATA));
    env.insert("OZN3_CONFIG_DIR", folder.Path("config"));  // no window sizes of an earlier run
    app.setProcessEnvironment(env);
    app.start(AppPath(), {"guide-shots", "--db", database, "--out", folder.Path("shots")});
    ASSERT_TRUE(app.waitForFinished(240000));
    const QString out = QString::fromUtf8(app.readAllStandardOutput());
    EXPECT_EQ(app.exitCode(), 0) << out.toStdString() << app.readAllStandardError().toStdString();

    const QStringList expected{
        "01-main.png",         "02-feeders.png",           "03-measurements-w.png",   "04-generalised-data.png",
        "05-normative.png",    "06-regime-parameters.png", "07-balance.png",          "14-drawing.png",
        "08-results-grid.png", "09-results-report.png",    "10-calculation-menu.png", "11-scheme-editor.png",
        "12-undersupply.png",  "13-conductors.png"};
    const QRegularExpression toolkitEnglish(
        "\\b(Cancel|Close|Open|Save|Apply|Yes|No|Help|Discard|Reset|Abort|Retry|Ignore|January|Monday)\\b");
    QStringList files;
    for (const QString& line : out.split('\n', Qt::SkipEmptyParts)) {
        const QJsonObject shot = QJsonDocument::fromJson(line.toUtf8()).object();
        ASSERT_FALSE(shot.contains("problem")) << shot.value("problem").toString().toStdString();
        const QString file = shot.value("file").toString();
        files << file;
        const QSize window = sizeOf(shot.value("window")), content = sizeOf(shot.value("content"));
        SCOPED_TRACE(file.toStdString());
        EXPECT_LE(window.width(), 1366);
        EXPECT_LE(window.height(), 768);
        EXPECT_GE(content.width(), 300);
        EXPECT_GE(content.height(), 200);
        const QImage picture(folder.Path("shots/" + file));
        EXPECT_EQ(picture.size(), window);
        for (const QJsonValue& text : shot.value("texts").toArray())
            EXPECT_FALSE(toolkitEnglish.match(text.toString()).hasMatch()) << text.toString().toStdString();
    }
    EXPECT_EQ(files, expected);
}
