// Runs the tests of the core and the model inside a Qt application without windows, with its own configuration
// folder.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QTemporaryDir>

#include "support/TestSupport.h"

int main(int argc, char** argv)
{
    QTemporaryDir folder;
    testing_support::UseTestEnvironment(folder);
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
