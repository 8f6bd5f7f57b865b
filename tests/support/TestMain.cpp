#include <QCoreApplication>
#include <gtest/gtest.h>

// Every test program gets a QCoreApplication, so code that needs an event loop (sockets, queued
// calls, the real clock) works the same way it does in the application.
int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
