#include "shell/MainWindowClose.h"

#include <QWindow>
#include <gtest/gtest.h>

namespace brevio {
namespace {

TEST(MainWindowClose, WithTheTrayShownClosingKeepsRunningAndTheWindowComesBack) {
    QWindow window;
    window.resize(200, 100);
    window.show();
    bool trayShown = true;
    int quits = 0;
    MainWindowClose closing(
        window, [&] { return trayShown; }, [&] { ++quits; });

    window.close();
    EXPECT_EQ(quits, 0);
    EXPECT_FALSE(window.isVisible());
    // The tray's "Apri Brevio" shows the same window again.
    window.show();
    EXPECT_TRUE(window.isVisible());

    // The tray went away (its host quit): now closing quits.
    trayShown = false;
    window.close();
    EXPECT_EQ(quits, 1);
}

TEST(MainWindowClose, BeforeTheTrayIsMadeClosingQuits) {
    QWindow window;
    window.show();
    int quits = 0;
    MainWindowClose closing(window, {}, [&] { ++quits; });
    window.close();
    EXPECT_EQ(quits, 1);
}

TEST(MainWindowClose, AnotherWindowClosingQuitsNothing) {
    QWindow main;
    QWindow settings;
    main.show();
    settings.show();
    int quits = 0;
    MainWindowClose closing(
        main, [] { return false; }, [&] { ++quits; });
    settings.close();
    EXPECT_EQ(quits, 0);
    EXPECT_TRUE(main.isVisible());
}

} // namespace
} // namespace brevio
