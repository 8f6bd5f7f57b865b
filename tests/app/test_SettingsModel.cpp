#include "AppWorld.h"
#include "shell/Preferences.h"
#include "views/SettingsModel.h"

#include <QDir>
#include <QFile>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>

namespace brevio::test {
namespace {

// Preferences and the autostart entry go to a folder of the test's own.
class SettingsModelTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(config.isValid());
        hadConfig = qEnvironmentVariableIsSet("XDG_CONFIG_HOME");
        oldConfig = qgetenv("XDG_CONFIG_HOME");
        qputenv("XDG_CONFIG_HOME", config.path().toUtf8());
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, config.path());
    }
    void TearDown() override {
        if (hadConfig)
            qputenv("XDG_CONFIG_HOME", oldConfig);
        else
            qunsetenv("XDG_CONFIG_HOME");
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope,
                           qEnvironmentVariable("XDG_CONFIG_HOME", QDir::homePath() + "/.config"));
    }
    QTemporaryDir config;
    bool hadConfig = false;
    QByteArray oldConfig;
};

TEST_F(SettingsModelTest, TheAccountRowsFollowTheSession) {
    AppWorld world;
    SettingsModel settings;
    settings.setApp(world.model.get());
    EXPECT_FALSE(settings.signedIn());
    EXPECT_EQ(settings.userName(), QString());
    EXPECT_EQ(settings.roleText(), QString());

    QSignalSpy account(&settings, &SettingsModel::accountChanged);
    world.signIn(Role::staff);
    EXPECT_GT(account.count(), 0);
    const User& me = *world.model->session().state().me;
    ASSERT_TRUE(me.isAdmin) << "the seed's first staff member administers";
    EXPECT_TRUE(settings.signedIn());
    EXPECT_EQ(settings.userName(), world.account(Role::staff).name);
    EXPECT_EQ(settings.email(), world.account(Role::staff).email);
    EXPECT_EQ(settings.roleText(), QStringLiteral("Staff, amministratore"));
    EXPECT_EQ(settings.serverText(), QStringLiteral("ws://server.invalid/ws"));

    world.model->signOut();
    world.advance(std::chrono::seconds(3));
    EXPECT_FALSE(settings.signedIn());
    EXPECT_EQ(settings.userName(), QString());

    world.signIn(Role::client);
    EXPECT_EQ(settings.roleText(), QStringLiteral("Cliente"));
    EXPECT_EQ(settings.userName(), world.account(Role::client).name);
}

TEST_F(SettingsModelTest, ADemoShowsTheDemoInsteadOfAServerAndSigningOutEndsIt) {
    AppWorld world;
    SettingsModel settings;
    settings.setApp(world.model.get());
    world.model->startDemo(false);
    world.advance(Duration::zero());
    ASSERT_EQ(world.model->screen(), QStringLiteral("clientHome"));
    EXPECT_EQ(settings.serverText(), QStringLiteral("Demo su questo computer"));
    EXPECT_EQ(settings.roleText(), QStringLiteral("Cliente"));

    settings.signOut();
    world.advance(std::chrono::seconds(3));
    EXPECT_EQ(world.model->screen(), QStringLiteral("login"));
    EXPECT_FALSE(settings.signedIn());
}

TEST_F(SettingsModelTest, RoleTexts) {
    EXPECT_EQ(SettingsModel::roleText(true, true), QStringLiteral("Staff, amministratore"));
    EXPECT_EQ(SettingsModel::roleText(true, false), QStringLiteral("Staff"));
    EXPECT_EQ(SettingsModel::roleText(false, false), QStringLiteral("Cliente"));
    EXPECT_EQ(SettingsModel::roleText(false, true), QStringLiteral("Cliente"));
}

TEST_F(SettingsModelTest, TheSwitchesAreThePreferencesTheNotifierReadsAndStartOn) {
    SettingsModel settings;
    EXPECT_TRUE(settings.notificationsEnabled());
    EXPECT_TRUE(settings.notificationSound());
    EXPECT_TRUE(settings.notificationPreview());

    QSignalSpy changes(&settings, &SettingsModel::notificationPreferencesChanged);
    settings.setNotificationSound(false);
    settings.setNotificationPreview(false);
    settings.setNotificationPreview(false); // no change, no signal
    EXPECT_EQ(changes.count(), 2);
    EXPECT_EQ(preference("notificationSound"), QVariant(false));
    EXPECT_EQ(preference("notificationPreview"), QVariant(false));
    EXPECT_FALSE(preference("notificationsEnabled").isValid());

    settings.setNotificationsEnabled(false);
    EXPECT_FALSE(SettingsModel().notificationsEnabled()); // read back from the file
    settings.setNotificationsEnabled(true);
    EXPECT_EQ(preference("notificationsEnabled"), QVariant(true));
}

TEST_F(SettingsModelTest, TheBlockedStateFollowsTheModel) {
    AppWorld world;
    SettingsModel settings;
    settings.setApp(world.model.get());
    EXPECT_FALSE(settings.notificationsBlocked());
    QSignalSpy blocked(&settings, &SettingsModel::blockedChanged);
    world.model->setNotificationsBlocked(true);
    EXPECT_TRUE(settings.notificationsBlocked());
    EXPECT_EQ(blocked.count(), 1);
}

TEST_F(SettingsModelTest, TheNotificationPanelIsOpenedWhereOneIsKnown) {
    const auto finding = [](QStringList present) {
        return [present](const QString& name) {
            return present.contains(name) ? QStringLiteral("/usr/bin/") + name : QString();
        };
    };
    EXPECT_EQ(SettingsModel::notificationSettingsCommand(finding({"gnome-control-center"})),
              (QStringList{"/usr/bin/gnome-control-center", "notifications"}));
    EXPECT_EQ(SettingsModel::notificationSettingsCommand(finding({"systemsettings"})),
              (QStringList{"/usr/bin/systemsettings", "kcm_notifications"}));
    EXPECT_EQ(SettingsModel::notificationSettingsCommand(
                  finding({"systemsettings", "gnome-control-center"}))
                  .value(1),
              QStringLiteral("notifications"));
    EXPECT_TRUE(SettingsModel::notificationSettingsCommand(finding({})).isEmpty());
}

TEST_F(SettingsModelTest, ThePickerShowsTheThemesInOrderAndStoresTheChoice) {
    AppWorld world;
    SettingsModel settings;
    settings.setApp(world.model.get());
    EXPECT_EQ(settings.themeLabels(), (QStringList{"Automatico", "Chiaro", "Scuro"}));
    EXPECT_EQ(settings.themeIndex(), 0);
    QSignalSpy theme(&settings, &SettingsModel::themeChanged);
    settings.setThemeIndex(2);
    EXPECT_EQ(world.model->appTheme(), QStringLiteral("dark"));
    EXPECT_EQ(settings.themeIndex(), 2);
    EXPECT_EQ(preference("appTheme"), QVariant(QStringLiteral("dark")));
    EXPECT_EQ(theme.count(), 1);
    settings.setThemeIndex(7); // no such theme
    EXPECT_EQ(world.model->appTheme(), QStringLiteral("dark"));
    settings.setThemeIndex(1);
    EXPECT_EQ(world.model->appTheme(), QStringLiteral("light"));
}

TEST_F(SettingsModelTest, TheLoginSwitchWritesTheAutostartEntryAndReadsItBack) {
    AppWorld world;
    SettingsModel settings;
    settings.setApp(world.model.get());
    const QString entry = config.path() + "/autostart/brevio.desktop";
    EXPECT_FALSE(settings.launchesAtLogin());

    settings.setLaunchesAtLogin(true);
    EXPECT_TRUE(settings.launchesAtLogin());
    EXPECT_TRUE(settings.launchError().isEmpty());
    QFile file(entry);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_TRUE(file.readAll().contains(
        "\nExec=" + Autostart::execArgument(QCoreApplication::applicationFilePath()).toUtf8() +
        "\n"));
    file.close();

    // Removed behind the window's back: the tab reads it again when it appears.
    QFile::remove(entry);
    QSignalSpy launches(&settings, &SettingsModel::launchesAtLoginChanged);
    settings.refresh();
    EXPECT_FALSE(settings.launchesAtLogin());
    EXPECT_EQ(launches.count(), 1);

    settings.setLaunchesAtLogin(true);
    settings.setLaunchesAtLogin(false);
    EXPECT_FALSE(QFile::exists(entry));
    EXPECT_FALSE(settings.launchesAtLogin());
    EXPECT_EQ(settings.version(), world.model->version());
}

TEST_F(SettingsModelTest, AnEntryThatCannotBeWrittenSaysSo) {
    QFile blocker(config.path() + "/autostart");
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    SettingsModel settings;
    settings.setLaunchesAtLogin(true);
    EXPECT_FALSE(settings.launchesAtLogin());
    EXPECT_EQ(settings.launchError(), QStringLiteral("Non riesco a scrivere in ") + config.path() +
                                          QStringLiteral("/autostart/brevio.desktop."));
}

} // namespace
} // namespace brevio::test
