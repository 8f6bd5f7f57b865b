#include "shell/Autostart.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace brevio {

Autostart::Autostart(QString executable) : executable_(std::move(executable)) {
    if (executable_.isEmpty())
        executable_ = QCoreApplication::applicationFilePath();
}

QString Autostart::entryPath() {
    QString config = qEnvironmentVariable("XDG_CONFIG_HOME");
    // Only an absolute path counts; anything else means the default.
    if (config.isEmpty() || QDir::isRelativePath(config))
        config = QDir::homePath() + QStringLiteral("/.config");
    return config + QStringLiteral("/autostart/brevio.desktop");
}

QString Autostart::execArgument(const QString& path) {
    bool plain = true;
    for (const QChar c : path)
        if (!(c.isLetterOrNumber() || c == QLatin1Char('/') || c == QLatin1Char('.') ||
              c == QLatin1Char('-') || c == QLatin1Char('_') || c == QLatin1Char('+')))
            plain = false;
    if (plain)
        return path;
    // Inside double quotes the characters ", `, $ and \ are escaped with a backslash; a desktop
    // entry's string rules double every backslash once more.
    QString quoted;
    for (const QChar c : path) {
        if (c == QLatin1Char('"') || c == QLatin1Char('`') || c == QLatin1Char('$'))
            quoted += QStringLiteral("\\\\");
        else if (c == QLatin1Char('\\'))
            quoted += QStringLiteral("\\\\\\");
        else if (c == QLatin1Char('%'))
            quoted += QLatin1Char('%');
        quoted += c;
    }
    return QLatin1Char('"') + quoted + QLatin1Char('"');
}

QString Autostart::entryContents(const QString& executable) {
    return QStringLiteral("[Desktop Entry]\n"
                          "Type=Application\n"
                          "Name=Brevio\n"
                          "Comment=La chat con i clienti\n"
                          "Exec=") +
           execArgument(executable) +
           QStringLiteral("\n"
                          "Icon=brevio\n"
                          "Terminal=false\n"
                          "Categories=Network;Chat;\n"
                          "X-GNOME-Autostart-enabled=true\n");
}

bool Autostart::isEnabled() const {
    QFile file(entryPath());
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return false;
    while (!file.atEnd()) {
        const QByteArray line = file.readLine().trimmed();
        if (line == "Hidden=true" || line == "X-GNOME-Autostart-enabled=false")
            return false;
    }
    return true;
}

bool Autostart::setEnabled(bool enabled) {
    const QString path = entryPath();
    if (!enabled)
        return !QFileInfo::exists(path) || QFile::remove(path);
    if (!QDir().mkpath(QFileInfo(path).absolutePath()))
        return false;
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Text))
        return false;
    file.write(entryContents(executable_).toUtf8());
    return file.commit();
}

} // namespace brevio
