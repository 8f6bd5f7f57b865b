#pragma once

#include <QLocalServer>
#include <QLockFile>
#include <QObject>
#include <QPointer>
#include <QStringList>
#include <chrono>
#include <optional>

class QLocalSocket;

namespace brevio {

// One running program per data folder: a later start hands its arguments to the running one,
// which brings its window forward, and leaves. The running program answers on a local socket
// named after the data folder (two homes, as end-to-end tests use, never meet). A lock file beside
// the socket makes "nobody answers, so I listen" one step: of two programs starting together
// exactly one listens, and a socket left by a killed program is replaced.
//
// claim() may run before the application object that listen() needs, so a second start never
// asks for a display.
class SingleInstance : public QObject {
    Q_OBJECT
public:
    enum class Claim {
        // Nobody answers: this program is the one; the lock is held until listen().
        first,
        // The running program took the arguments.
        forwarded,
        // A program is there but did not acknowledge in time, or another start holds the lock.
        unanswered,
    };

    // `name` is a local socket name; a path places the socket there.
    explicit SingleInstance(QString name, QObject* parent = nullptr);
    ~SingleInstance() override;

    // The socket name for a data folder: in `runtimeDir` when there is one, otherwise bare (the
    // system's temporary folder).
    static QString nameFor(const QString& dataFolder, const QString& runtimeDir);
    // nameFor() the session's data folder and $XDG_RUNTIME_DIR.
    static QString forThisUser();

    Claim claim(const QStringList& arguments,
                std::chrono::milliseconds wait = std::chrono::milliseconds(5000));
    // Answers later starts from now on. False (and the reason in errorString()) when the socket
    // cannot be made; the program then runs without the check.
    bool listen();

    QString name() const { return name_; }
    QString errorString() const { return error_; }

    // The message a later start sends, and how the running program reads it: the arguments, or
    // nothing for anything else.
    static QByteArray activationMessage(const QStringList& arguments);
    static std::optional<QStringList> readActivation(const QByteArray& line);

Q_SIGNALS:
    // A later start asked for the window, with its command line.
    void activationRequested(const QStringList& arguments);

private:
    void serve(QLocalSocket* socket);

    QString name_;
    QLockFile lock_;
    // Belongs to the application object, so it closes before the event loop goes.
    QPointer<QLocalServer> server_;
    QString error_;
};

} // namespace brevio
