#include "shell/Autostart.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace brevio {
namespace {

// Sets an environment variable for one test and puts back what was there.
class ScopedEnv {
public:
    ScopedEnv(const char* name, const QByteArray& value)
        : name_(name), had_(qEnvironmentVariableIsSet(name)), old_(qgetenv(name)) {
        qputenv(name, value);
    }
    ~ScopedEnv() {
        if (had_)
            qputenv(name_, old_);
        else
            qunsetenv(name_);
    }

private:
    const char* name_;
    bool had_;
    QByteArray old_;
};

QString read(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

TEST(Autostart, TheEntryIsWrittenAndRemovedInTheConfigFolder) {
    QTemporaryDir config;
    ASSERT_TRUE(config.isValid());
    ScopedEnv env("XDG_CONFIG_HOME", config.path().toUtf8());
    const QString path = config.path() + QStringLiteral("/autostart/brevio.desktop");
    EXPECT_EQ(Autostart::entryPath(), path);

    Autostart autostart(QStringLiteral("/opt/brevio/bin/brevio"));
    EXPECT_FALSE(autostart.isEnabled());
    ASSERT_TRUE(autostart.setEnabled(true)); // the autostart folder does not exist yet
    EXPECT_TRUE(autostart.isEnabled());
    EXPECT_EQ(read(path), QStringLiteral("[Desktop Entry]\n"
                                         "Type=Application\n"
                                         "Name=Brevio\n"
                                         "Comment=La chat con i clienti\n"
                                         "Exec=/opt/brevio/bin/brevio\n"
                                         "Icon=brevio\n"
                                         "Terminal=false\n"
                                         "Categories=Network;Chat;\n"
                                         "X-GNOME-Autostart-enabled=true\n"));

    // Twice on is one entry; off removes it; off again is no failure.
    ASSERT_TRUE(autostart.setEnabled(true));
    EXPECT_EQ(QDir(config.path() + QStringLiteral("/autostart")).entryList(QDir::Files).size(), 1);
    ASSERT_TRUE(autostart.setEnabled(false));
    EXPECT_FALSE(QFile::exists(path));
    EXPECT_FALSE(autostart.isEnabled());
    EXPECT_TRUE(autostart.setEnabled(false));
}

TEST(Autostart, WithoutTheVariableTheEntryGoesUnderHomeConfig) {
    QTemporaryDir home;
    ASSERT_TRUE(home.isValid());
    ScopedEnv homeEnv("HOME", home.path().toUtf8());
    {
        ScopedEnv env("XDG_CONFIG_HOME", QByteArray());
        EXPECT_EQ(Autostart::entryPath(), home.path() + "/.config/autostart/brevio.desktop");
        Autostart autostart(QStringLiteral("/usr/bin/brevio"));
        ASSERT_TRUE(autostart.setEnabled(true));
        EXPECT_TRUE(QFile::exists(home.path() + "/.config/autostart/brevio.desktop"));
    }
    // A relative value does not count either.
    ScopedEnv env("XDG_CONFIG_HOME", "relative/config");
    EXPECT_EQ(Autostart::entryPath(), home.path() + "/.config/autostart/brevio.desktop");
}

TEST(Autostart, AnEntryTurnedOffByTheDesktopDoesNotCount) {
    QTemporaryDir config;
    ScopedEnv env("XDG_CONFIG_HOME", config.path().toUtf8());
    Autostart autostart(QStringLiteral("/usr/bin/brevio"));
    ASSERT_TRUE(autostart.setEnabled(true));
    QFile file(Autostart::entryPath());
    ASSERT_TRUE(file.open(QIODevice::Append));
    file.write("Hidden=true\n");
    file.close();
    EXPECT_FALSE(autostart.isEnabled());
    // Turning it on again writes a fresh entry.
    ASSERT_TRUE(autostart.setEnabled(true));
    EXPECT_TRUE(autostart.isEnabled());
}

TEST(Autostart, TheProgramsPathIsQuotedWhenItNeedsIt) {
    EXPECT_EQ(Autostart::execArgument("/usr/bin/brevio"), "/usr/bin/brevio");
    EXPECT_EQ(Autostart::execArgument("/home/anna/My Apps/brevio"),
              "\"/home/anna/My Apps/brevio\"");
    // Inside quotes ", `, $ and \ take a backslash, which the entry's string rules double.
    EXPECT_EQ(Autostart::execArgument("/opt/a\"b/brevio"), "\"/opt/a\\\\\"b/brevio\"");
    EXPECT_EQ(Autostart::execArgument("/opt/$x/brevio"), "\"/opt/\\\\$x/brevio\"");
    EXPECT_EQ(Autostart::execArgument("/opt/a\\b/brevio"), "\"/opt/a\\\\\\\\b/brevio\"");
    // A percent sign is a field code unless doubled.
    EXPECT_EQ(Autostart::execArgument("/opt/100%/brevio"), "\"/opt/100%%/brevio\"");
    EXPECT_TRUE(Autostart::entryContents("/home/anna/My Apps/brevio")
                    .contains("\nExec=\"/home/anna/My Apps/brevio\"\n"));
}

TEST(Autostart, AFolderThatCannotBeMadeIsAFailure) {
    QTemporaryDir config;
    // A file where the autostart folder should be.
    QFile blocker(config.path() + "/autostart");
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    ScopedEnv env("XDG_CONFIG_HOME", config.path().toUtf8());
    Autostart autostart(QStringLiteral("/usr/bin/brevio"));
    EXPECT_FALSE(autostart.setEnabled(true));
    EXPECT_FALSE(autostart.isEnabled());
}

} // namespace
} // namespace brevio
