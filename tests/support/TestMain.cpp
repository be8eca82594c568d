// Runs the tests inside an offscreen Qt application with its own configuration folder.
#include <gtest/gtest.h>

#include <QApplication>
#include <QTemporaryDir>

#include "support/TestSupport.h"

int main(int argc, char** argv)
{
    QTemporaryDir folder;
    testing_support::UseTestEnvironment(folder);
    QApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
