#include "endtoend/ServerProcess.h"

#include "support/EventLoopWait.h"

namespace brevio::test {

namespace {
const QString serverProgram = QStringLiteral(BREVIO_SERVER_EXE);
} // namespace

ServerProcess::~ServerProcess() {
    if (process_.state() != QProcess::NotRunning) {
        process_.kill();
        process_.waitForFinished();
    }
}

bool ServerProcess::start(const QStringList& extraArguments) {
    process_.start(serverProgram, QStringList{"--listen", "127.0.0.1:0"} + extraArguments);
    if (!process_.waitForStarted()) {
        failure = QStringLiteral("cannot start ") + serverProgram;
        return false;
    }
    // The address line, then one "e-mail role password" line per seeded account, all at once.
    QStringList lines;
    const bool done = waitUntil([&] {
        while (process_.canReadLine())
            lines << QString::fromUtf8(process_.readLine()).trimmed();
        return (!lines.isEmpty() && process_.bytesAvailable() == 0 && lines.size() > 1) ||
               process_.state() == QProcess::NotRunning;
    });
    if (!done || lines.isEmpty() || process_.state() == QProcess::NotRunning) {
        failure = QStringLiteral("the server printed: ") + lines.join(u'\n') +
                  QString::fromUtf8(process_.readAllStandardError());
        return false;
    }
    url = QUrl(lines.takeFirst());
    for (const QString& line : lines) {
        const QStringList fields = line.split(u' ');
        if (fields.size() == 3)
            accounts.append({fields[0], fields[1], fields[2]});
    }
    return url.isValid();
}

std::optional<ServerProcess::Account> ServerProcess::account(const QString& role, int skip) const {
    for (const Account& account : accounts)
        if (account.role == role && skip-- == 0)
            return account;
    return std::nullopt;
}

} // namespace brevio::test
