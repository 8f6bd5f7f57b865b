#include "AppWorld.h"
#include "shell/AppTheme.h"
#include "shell/Preferences.h"

#include <QDir>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace brevio::test {
namespace {

TEST(AppThemeTest, TheStoredChoiceAgainstTheDesktop) {
    struct Case {
        const char* stored;
        bool desktopDark;
        bool dark;
    };
    for (const Case c :
         {Case{"system", false, false}, Case{"system", true, true}, Case{"light", false, false},
          Case{"light", true, false}, Case{"dark", false, true}, Case{"dark", true, true},
          // Nothing stored, or something unknown, follows the desktop.
          Case{"", true, true}, Case{"Dark", false, false}}) {
        EXPECT_EQ(AppModel::prefersDark(c.stored, c.desktopDark), c.dark)
            << c.stored << " on a " << (c.desktopDark ? "dark" : "light") << " desktop";
    }
    for (const AppTheme theme : allAppThemes)
        EXPECT_EQ(appThemeFrom(toString(theme)), theme);
    EXPECT_EQ(appThemeFrom("automatic"), std::nullopt);
    EXPECT_EQ(label(AppTheme::system), "Automatico");
    EXPECT_EQ(label(AppTheme::light), "Chiaro");
    EXPECT_EQ(label(AppTheme::dark), "Scuro");
}

// The preferences go to a folder of the test's own.
class AppModelThemeTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(config.isValid());
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, config.path());
    }
    void TearDown() override {
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope,
                           qEnvironmentVariable("XDG_CONFIG_HOME", QDir::homePath() + "/.config"));
    }
    QTemporaryDir config;
};

TEST_F(AppModelThemeTest, TheThemeChangesLiveWithTheDesktopAndTheChoice) {
    AppWorld world;
    AppModel& model = *world.model;
    EXPECT_EQ(model.appTheme(), "system");
    model.setDesktopDark(false);
    QSignalSpy changes(&model, &AppModel::themeChanged);

    model.setDesktopDark(true);
    EXPECT_TRUE(model.darkTheme());
    EXPECT_EQ(changes.count(), 1);

    model.setAppTheme("light");
    EXPECT_FALSE(model.darkTheme());
    EXPECT_EQ(changes.count(), 2);
    EXPECT_EQ(preference("appTheme").toString(), "light");
    // The desktop no longer matters, and says so by not signalling.
    model.setDesktopDark(false);
    model.setDesktopDark(true);
    EXPECT_FALSE(model.darkTheme());
    EXPECT_EQ(changes.count(), 2);

    model.setAppTheme("purple"); // names no theme: ignored
    model.setAppTheme("light");  // no change
    EXPECT_EQ(model.appTheme(), "light");
    EXPECT_EQ(changes.count(), 2);

    model.setAppTheme("system");
    EXPECT_TRUE(model.darkTheme());
    EXPECT_EQ(changes.count(), 3);

    // The next start reads the stored choice.
    model.setAppTheme("dark");
    AppWorld again;
    EXPECT_EQ(again.model->appTheme(), "dark");
    again.model->setDesktopDark(false);
    EXPECT_TRUE(again.model->darkTheme());
}

TEST_F(AppModelThemeTest, AStoredTextThatNamesNoThemeIsSystem) {
    preferences().setValue("appTheme", "sepia");
    AppWorld world;
    EXPECT_EQ(world.model->appTheme(), "system");
}

TEST(AppModelOriginTest, TheServerOriginIsTheSessionsServer) {
    AppWorld world;
    QSignalSpy changes(world.model.get(), &AppModel::serverOriginChanged);
    EXPECT_EQ(world.model->serverOrigin(), "");
    world.signIn(Role::staff);
    EXPECT_EQ(world.model->serverOrigin(), world.url.toString());
    EXPECT_GE(changes.count(), 1);
    // A demo shows its own session, bound to the demo's address.
    const int before = int(changes.count());
    world.model->startDemo(true);
    world.advance(Duration::zero());
    EXPECT_GT(changes.count(), before);
    EXPECT_EQ(world.model->serverOrigin(), DemoWorld::address().toString());
}

} // namespace
} // namespace brevio::test
