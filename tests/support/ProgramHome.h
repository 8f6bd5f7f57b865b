#pragma once

// The environment for running the real program in a home of its own: every folder it uses (data,
// preferences, cache, the private runtime folder of the single-instance socket) under `home`, its
// test driver listening at `driverSocket(home)`, and a real window on the X server.

#include <QDir>
#include <QFile>
#include <QProcessEnvironment>
#include <QString>

namespace brevio::test {

inline QString driverSocket(const QString& home) {
    return home + QStringLiteral("/driver");
}

inline QProcessEnvironment programEnvironment(const QString& home) {
    const QString runtime = home + QStringLiteral("/runtime");
    QDir().mkpath(runtime);
    QFile::setPermissions(runtime, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("HOME"), home);
    environment.insert(QStringLiteral("XDG_DATA_HOME"), home + QStringLiteral("/data"));
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), home + QStringLiteral("/config"));
    environment.insert(QStringLiteral("XDG_CACHE_HOME"), home + QStringLiteral("/cache"));
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), runtime);
    environment.insert(QStringLiteral("BREVIO_TEST_DRIVER"), driverSocket(home));
    environment.remove(QStringLiteral("QT_QPA_PLATFORM"));
    return environment;
}

} // namespace brevio::test
