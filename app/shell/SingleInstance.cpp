#include "shell/SingleInstance.h"

#include "session/FileSessionStore.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDeadlineTimer>
#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocalServer>
#include <QLocalSocket>

namespace brevio {

namespace {

// A message longer than this is not ours.
constexpr qsizetype maximumMessage = 64 * 1024;
const QByteArray acknowledgement = QByteArrayLiteral("ok\n");

QString lockPath(const QString& name) {
    return QDir::isAbsolutePath(name)
               ? name + QStringLiteral(".lock")
               : QDir(QDir::tempPath()).filePath(name + QStringLiteral(".lock"));
}

// Reads up to the first newline; false when the deadline passes or the peer leaves first.
bool readLine(QLocalSocket& socket, QByteArray& line, const QDeadlineTimer& deadline) {
    while (!socket.canReadLine()) {
        if (socket.state() != QLocalSocket::ConnectedState || deadline.hasExpired())
            return false;
        socket.waitForReadyRead(int(std::max<qint64>(1, deadline.remainingTime())));
    }
    line = socket.readLine();
    return true;
}

} // namespace

SingleInstance::SingleInstance(QString name, QObject* parent)
    : QObject(parent), name_(std::move(name)), lock_(lockPath(name_)) {
    // Only a dead owner makes the lock stale: a slow start keeps it however long it takes.
    lock_.setStaleLockTime(0);
}

SingleInstance::~SingleInstance() {
    delete server_.data();
}

QString SingleInstance::nameFor(const QString& dataFolder, const QString& runtimeDir) {
    const QByteArray key = QDir::cleanPath(QDir(dataFolder).absolutePath()).toUtf8();
    const QString base =
        QStringLiteral("brevio-") +
        QString::fromLatin1(
            QCryptographicHash::hash(key, QCryptographicHash::Sha256).toHex().left(16));
    if (runtimeDir.isEmpty())
        return base;
    const QString path = QDir(runtimeDir).filePath(base);
    // A socket's path has a short limit (108 bytes with its terminator); past it the temporary
    // folder does.
    return path.toLocal8Bit().size() < 100 ? path : base;
}

QString SingleInstance::forThisUser() {
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    return nameFor(FileSessionStore::defaultDirectory(),
                   !runtime.isEmpty() && QFileInfo(runtime).isDir() ? runtime : QString());
}

QByteArray SingleInstance::activationMessage(const QStringList& arguments) {
    const QJsonObject message{{QStringLiteral("activate"), QJsonArray::fromStringList(arguments)}};
    return QJsonDocument(message).toJson(QJsonDocument::Compact) + '\n';
}

std::optional<QStringList> SingleInstance::readActivation(const QByteArray& line) {
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(line.trimmed(), &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return std::nullopt;
    const QJsonValue value = document.object().value(QStringLiteral("activate"));
    if (!value.isArray())
        return std::nullopt;
    QStringList arguments;
    for (const QJsonValue& argument : value.toArray()) {
        if (!argument.isString())
            return std::nullopt;
        arguments.append(argument.toString());
    }
    return arguments;
}

SingleInstance::Claim SingleInstance::claim(const QStringList& arguments,
                                            std::chrono::milliseconds wait) {
    const QDeadlineTimer deadline(wait);
    // Asking and taking the name happen under the lock, so two starts cannot both find it free.
    if (!lock_.tryLock(wait)) {
        error_ = QStringLiteral("another start of the program holds %1").arg(lock_.fileName());
        return Claim::unanswered;
    }
    QLocalSocket socket;
    socket.connectToServer(name_);
    if (!socket.waitForConnected(int(std::max<qint64>(1, deadline.remainingTime())))) {
        // Nobody there: whatever is left at the name belonged to a program that died.
        QLocalServer::removeServer(name_);
        return Claim::first;
    }
    lock_.unlock();
    socket.write(activationMessage(arguments));
    QByteArray answer;
    const bool answered =
        socket.waitForBytesWritten(int(std::max<qint64>(1, deadline.remainingTime()))) &&
        readLine(socket, answer, deadline) && answer == acknowledgement;
    socket.disconnectFromServer();
    if (!answered) {
        error_ = QStringLiteral("the running program did not answer");
        return Claim::unanswered;
    }
    return Claim::forwarded;
}

bool SingleInstance::listen() {
    server_ = new QLocalServer(QCoreApplication::instance());
    server_->setSocketOptions(QLocalServer::UserAccessOption);
    bool listening = server_->listen(name_);
    if (!listening && server_->serverError() == QAbstractSocket::AddressInUseError) {
        QLocalServer::removeServer(name_);
        listening = server_->listen(name_);
    }
    if (lock_.isLocked())
        lock_.unlock();
    if (!listening) {
        error_ = server_->errorString();
        delete server_.data();
        return false;
    }
    connect(server_, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket* socket = server_->nextPendingConnection())
            serve(socket);
    });
    return true;
}

void SingleInstance::serve(QLocalSocket* socket) {
    connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
    connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
        if (!socket->canReadLine()) {
            if (socket->bytesAvailable() > maximumMessage) {
                socket->abort();
                socket->deleteLater();
            }
            return;
        }
        const std::optional<QStringList> arguments =
            readActivation(socket->readLine(maximumMessage));
        if (!arguments) {
            socket->abort();
            socket->deleteLater();
            return;
        }
        // Acknowledged first: the caller leaves while the window comes forward.
        socket->write(acknowledgement);
        socket->flush();
        socket->disconnectFromServer();
        Q_EMIT activationRequested(*arguments);
    });
}

} // namespace brevio
