#include "views/SettingsModel.h"
#include "views/AppBinding.h"

#include "shell/AppModel.h"
#include "shell/AppTheme.h"
#include "shell/Preferences.h"

#include <QProcess>
#include <QStandardPaths>

namespace brevio {

SettingsModel::SettingsModel(QObject* parent)
    : QObject(parent),
      notificationSettingsCommand_(notificationSettingsCommand(
          [](const QString& name) { return QStandardPaths::findExecutable(name); })) {
    launchesAtLogin_ = autostart_.isEnabled();
}

void SettingsModel::setApp(AppModel* app) {
    if (!rebindApp(this, app_, app))
        return;
    if (app_) {
        connect(app_, &AppModel::stateChanged, this, &SettingsModel::accountChanged);
        connect(app_, &AppModel::screenChanged, this, &SettingsModel::accountChanged);
        connect(app_, &AppModel::sessionReplaced, this, &SettingsModel::accountChanged);
        connect(app_, &AppModel::serverOriginChanged, this, &SettingsModel::accountChanged);
        connect(app_, &AppModel::themeChanged, this, &SettingsModel::themeChanged);
        connect(app_, &AppModel::notificationsBlockedChanged, this, &SettingsModel::blockedChanged);
    }
    Q_EMIT appChanged();
    Q_EMIT accountChanged();
    Q_EMIT themeChanged();
    Q_EMIT blockedChanged();
}

// ---- Account --------------------------------------------------------------------------------

// Signed in counts from the sign-in on, also while the server has not told who the user is yet:
// the rows stay empty until it does, the sign-out is there at once.
bool SettingsModel::signedIn() const {
    return app_ && app_->session().phase().isSignedIn();
}

namespace {
const User* me(const AppModel* app) {
    if (!app || !app->session().phase().isSignedIn() || !app->session().state().me)
        return nullptr;
    return &*app->session().state().me;
}
} // namespace

QString SettingsModel::userName() const {
    const User* user = me(app_);
    return user ? user->name : QString();
}

QString SettingsModel::email() const {
    const User* user = me(app_);
    return user ? user->email.value_or(QString()) : QString();
}

QString SettingsModel::roleText(bool staff, bool admin) {
    if (!staff)
        return QStringLiteral("Cliente");
    return admin ? QStringLiteral("Staff, amministratore") : QStringLiteral("Staff");
}

QString SettingsModel::roleText() const {
    const User* user = me(app_);
    return user ? roleText(user->role == Role::staff, user->isAdmin) : QString();
}

QString SettingsModel::serverText() const {
    if (!app_)
        return {};
    if (app_->isDemo())
        return demoServerText();
    const auto& server = app_->session().server();
    return server ? server->toString() : QString();
}

void SettingsModel::signOut() {
    if (app_)
        app_->signOut();
}

// ---- Notifications --------------------------------------------------------------------------

bool SettingsModel::flag(const QString& key) const {
    const QVariant value = preference(key);
    return !value.isValid() || value.toBool();
}

void SettingsModel::setFlag(const QString& key, bool on) {
    if (flag(key) == on)
        return;
    preferences().setValue(key, on);
    Q_EMIT notificationPreferencesChanged();
}

bool SettingsModel::notificationsEnabled() const {
    return flag(QStringLiteral("notificationsEnabled"));
}
void SettingsModel::setNotificationsEnabled(bool on) {
    setFlag(QStringLiteral("notificationsEnabled"), on);
}
bool SettingsModel::notificationSound() const {
    return flag(QStringLiteral("notificationSound"));
}
void SettingsModel::setNotificationSound(bool on) {
    setFlag(QStringLiteral("notificationSound"), on);
}
bool SettingsModel::notificationPreview() const {
    return flag(QStringLiteral("notificationPreview"));
}
void SettingsModel::setNotificationPreview(bool on) {
    setFlag(QStringLiteral("notificationPreview"), on);
}

bool SettingsModel::notificationsBlocked() const {
    return app_ && app_->notificationsBlocked();
}

QStringList SettingsModel::notificationSettingsCommand(const FindProgram& find) {
    if (const QString gnome = find(QStringLiteral("gnome-control-center")); !gnome.isEmpty())
        return {gnome, QStringLiteral("notifications")};
    if (const QString plasma = find(QStringLiteral("systemsettings")); !plasma.isEmpty())
        return {plasma, QStringLiteral("kcm_notifications")};
    return {};
}

void SettingsModel::openNotificationSettings() {
    if (!notificationSettingsCommand_.isEmpty())
        QProcess::startDetached(notificationSettingsCommand_.constFirst(),
                                notificationSettingsCommand_.mid(1));
}

// ---- General --------------------------------------------------------------------------------

QStringList SettingsModel::themeLabels() const {
    QStringList labels;
    for (const AppTheme theme : allAppThemes)
        labels.append(label(theme));
    return labels;
}

int SettingsModel::themeIndex() const {
    const AppTheme current =
        appThemeFrom(app_ ? app_->appTheme() : QString()).value_or(AppTheme::system);
    for (int i = 0; i < int(allAppThemes.size()); ++i)
        if (allAppThemes[size_t(i)] == current)
            return i;
    return 0;
}

void SettingsModel::setThemeIndex(int index) {
    if (!app_ || index < 0 || index >= int(allAppThemes.size()))
        return;
    app_->setAppTheme(toString(allAppThemes[size_t(index)]));
}

void SettingsModel::setLaunchesAtLogin(bool on) {
    const bool done = autostart_.setEnabled(on);
    launchesAtLogin_ = autostart_.isEnabled();
    launchError_ = done ? QString()
                        : QStringLiteral("Non riesco a scrivere in ") + Autostart::entryPath() +
                              QStringLiteral(".");
    Q_EMIT launchesAtLoginChanged();
}

QString SettingsModel::version() const {
    return app_ ? app_->version() : QString();
}

void SettingsModel::refresh() {
    const bool launches = autostart_.isEnabled();
    if (launches != launchesAtLogin_) {
        launchesAtLogin_ = launches;
        Q_EMIT launchesAtLoginChanged();
    }
    Q_EMIT notificationPreferencesChanged();
    Q_EMIT blockedChanged();
}

} // namespace brevio
