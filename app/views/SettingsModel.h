#pragma once

#include "shell/Autostart.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QtQml/qqmlregistration.h>
#include <functional>

namespace brevio {

class AppModel;

// What the settings window shows and changes: the account, the notification switches, the look,
// starting at login and the version. Every text the window shows that depends on something is
// made here.
class SettingsModel : public QObject {
    Q_OBJECT
    QML_ELEMENT

    Q_PROPERTY(AppModel* app READ app WRITE setApp NOTIFY appChanged)

    // Account
    Q_PROPERTY(bool signedIn READ signedIn NOTIFY accountChanged)
    Q_PROPERTY(QString userName READ userName NOTIFY accountChanged)
    Q_PROPERTY(QString email READ email NOTIFY accountChanged)
    Q_PROPERTY(QString roleText READ roleText NOTIFY accountChanged)
    Q_PROPERTY(QString serverText READ serverText NOTIFY accountChanged)

    // Notifications: the preferences the notifier reads; missing means on.
    Q_PROPERTY(bool notificationsEnabled READ notificationsEnabled WRITE setNotificationsEnabled
                   NOTIFY notificationPreferencesChanged)
    Q_PROPERTY(bool notificationSound READ notificationSound WRITE setNotificationSound NOTIFY
                   notificationPreferencesChanged)
    Q_PROPERTY(bool notificationPreview READ notificationPreview WRITE setNotificationPreview NOTIFY
                   notificationPreferencesChanged)
    // No notification server answers: nothing the switches allow can be shown.
    Q_PROPERTY(bool notificationsBlocked READ notificationsBlocked NOTIFY blockedChanged)
    // The desktop has a notification settings panel we know how to open.
    Q_PROPERTY(bool canOpenNotificationSettings READ canOpenNotificationSettings CONSTANT)

    // General
    Q_PROPERTY(QStringList themeLabels READ themeLabels CONSTANT)
    Q_PROPERTY(int themeIndex READ themeIndex WRITE setThemeIndex NOTIFY themeChanged)
    Q_PROPERTY(bool launchesAtLogin READ launchesAtLogin WRITE setLaunchesAtLogin NOTIFY
                   launchesAtLoginChanged)
    // Why the last change of launchesAtLogin did not take; empty when it did.
    Q_PROPERTY(QString launchError READ launchError NOTIFY launchesAtLoginChanged)
    Q_PROPERTY(QString version READ version NOTIFY appChanged)

public:
    // Finds a program on PATH: its full path, or nothing.
    using FindProgram = std::function<QString(const QString& name)>;

    explicit SettingsModel(QObject* parent = nullptr);

    AppModel* app() const { return app_; }
    void setApp(AppModel* app);

    bool signedIn() const;
    QString userName() const;
    QString email() const;
    QString roleText() const;
    QString serverText() const;

    bool notificationsEnabled() const;
    void setNotificationsEnabled(bool on);
    bool notificationSound() const;
    void setNotificationSound(bool on);
    bool notificationPreview() const;
    void setNotificationPreview(bool on);
    bool notificationsBlocked() const;
    bool canOpenNotificationSettings() const { return !notificationSettingsCommand_.isEmpty(); }
    Q_INVOKABLE void openNotificationSettings();

    QStringList themeLabels() const;
    int themeIndex() const;
    void setThemeIndex(int index);
    bool launchesAtLogin() const { return launchesAtLogin_; }
    void setLaunchesAtLogin(bool on);
    QString launchError() const { return launchError_; }
    QString version() const;

    // Reads again what may have changed outside the window (the autostart entry, the switches),
    // as each tab appears.
    Q_INVOKABLE void refresh();
    // Signs out after the user confirmed.
    Q_INVOKABLE void signOut();

    // The role as the account tab writes it.
    static QString roleText(bool staff, bool admin);
    // The command that opens the desktop's notification settings, or nothing when none is known.
    static QStringList notificationSettingsCommand(const FindProgram& find);

    // The server row of a demo.
    static QString demoServerText() { return QStringLiteral("Demo su questo computer"); }

Q_SIGNALS:
    void appChanged();
    void accountChanged();
    void notificationPreferencesChanged();
    void blockedChanged();
    void themeChanged();
    void launchesAtLoginChanged();

private:
    bool flag(const QString& key) const;
    void setFlag(const QString& key, bool on);

    QPointer<AppModel> app_;
    Autostart autostart_;
    bool launchesAtLogin_ = false;
    QString launchError_;
    QStringList notificationSettingsCommand_;
};

} // namespace brevio
