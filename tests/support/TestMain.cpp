// Runs the tests inside an offscreen Qt application with its own configuration folder.
#include <gtest/gtest.h>

#include <QApplication>
#include <QTemporaryDir>

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QTemporaryDir config;
    qputenv("OZN3_CONFIG_DIR", config.path().toLocal8Bit());
    // Workbooks written to be opened in the spreadsheet stay with the test run too.
    qputenv("OZN3_DOCUMENTS", config.path().toLocal8Bit());
    // The application's log of the tests and of the programs they start stays with the test run.
    if (qEnvironmentVariableIsEmpty("OZN3_LOG_FILE"))
        qputenv("OZN3_LOG_FILE", (config.path() + QStringLiteral("/ozn3.log")).toLocal8Bit());
    QApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
