#include <QCoreApplication>
#include <gtest/gtest.h>

// Under LeakSanitizer: the system TLS library keeps allocations for the life of the process once
// Qt's network backend has loaded it. They are not ours to free.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libcrypto.so\n";
}

// Every test program gets a QCoreApplication, so code that needs an event loop (sockets, queued
// calls, the real clock) works the same way it does in the application.
int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
