#pragma once

// The real brevio-server as a child process on the loopback address, with the address and the
// demo accounts it prints at start.

#include <QList>
#include <QProcess>
#include <QStringList>
#include <QUrl>

namespace brevio::test {

class ServerProcess {
public:
    struct Account {
        QString email;
        QString role;
        QString password;
    };

    ServerProcess() = default;
    ServerProcess(const ServerProcess&) = delete;
    ServerProcess& operator=(const ServerProcess&) = delete;
    ~ServerProcess();

    // Starts the program on 127.0.0.1 with a free port and reads its address and accounts.
    // False (with `failure` set) when it does not come up.
    bool start(const QStringList& extraArguments = {});

    // The first seeded account with `role` ("staff" or "client"), skipping `skip` of them.
    std::optional<Account> account(const QString& role, int skip = 0) const;

    QUrl url;
    QList<Account> accounts;
    QString failure;

private:
    QProcess process_;
};

} // namespace brevio::test
