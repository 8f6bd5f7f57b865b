#pragma once

// The real program as a child process in a window on the X server, with a home of its own: its
// data, settings and runtime folders live under `home`, so a restart on the same home finds what
// the last run left (the saved session, the outbox, a stale socket). The start-up probe's lines
// are collected; the window is driven through the program's test driver socket.

#include <QByteArray>
#include <QJsonArray>
#include <QJsonObject>
#include <QLocalSocket>
#include <QProcess>
#include <QStringList>
#include <expected>
#include <optional>

namespace brevio::test {

class AppProcess {
public:
    explicit AppProcess(QString home);
    AppProcess(const AppProcess&) = delete;
    AppProcess& operator=(const AppProcess&) = delete;
    ~AppProcess();

    // Starts the program and connects to its driver once the first screen is on. False, with
    // `failure` set, when it does not get that far.
    bool start();

    // Whether the probe printed `line` (a whole line), waiting for it.
    bool waitForLine(const QByteArray& line);
    bool isRunning() const { return process_.state() != QProcess::NotRunning; }
    // The program stops by itself (closing its window); false when it is still running.
    bool waitForExit();
    int exitCode() const { return process_.exitCode(); }
    QProcess::ExitStatus exitStatus() const { return process_.exitStatus(); }
    // SIGKILL: nothing of the program runs after it.
    void kill();
    // SIGTERM, as the desktop session ends programs.
    void terminate();

    // One driver command; the answer's value, or its error.
    std::expected<QJsonValue, QString> ask(const QJsonObject& command);
    std::expected<QJsonValue, QString> click(const QString& target,
                                             const std::optional<QString>& withText = {});
    std::expected<QJsonValue, QString> type(const QString& target, const QString& text);
    std::expected<QJsonValue, QString> key(const QString& target, const QString& key);
    std::expected<QJsonValue, QString> get(const QString& target, const QString& property);
    // The texts of the shown items of that name (a list's rows, the chat's messages).
    QStringList shownTexts(const QString& target);
    // Waits until one shown item of that name has `text`.
    bool waitForShownText(const QString& target, const QString& text);

    // The data folder the program saves into.
    QString dataFolder() const;
    // The outbox entries' texts in the saved outbox file(s), as on disk now.
    QStringList savedOutbox() const;
    // The saved state file(s) as on disk now.
    QByteArray savedState() const;

    QByteArray printed;
    QString failure;
    // The last error a driver command answered (or "no answer from the driver").
    QString lastError;

private:
    QString home_;
    QProcess process_;
    QLocalSocket driver_;
    QByteArray answers_;
};

} // namespace brevio::test
