#include <QGuiApplication>
#include <gtest/gtest.h>

// The application's models need a QGuiApplication (palettes, windows); tests run offscreen.
int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
