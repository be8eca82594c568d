// Runs the tests inside an offscreen Qt application with its own configuration folder.
#include <gtest/gtest.h>

#include <QApplication>
#include <QTemporaryDir>

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QTemporaryDir config;
    qputenv("OZN3_CONFIG_DIR", config.path().toLocal8Bit());
    QApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
