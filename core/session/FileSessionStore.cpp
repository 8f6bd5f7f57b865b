#include "session/FileSessionStore.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>
#include <memory>

namespace brevio {

namespace {

constexpr QFileDevice::Permissions filePermissions =
    QFileDevice::ReadOwner | QFileDevice::WriteOwner;
constexpr QFileDevice::Permissions folderPermissions =
    QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner;

std::optional<QByteArray> readFile(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    QByteArray data = file.readAll();
    if (file.error() != QFileDevice::NoError)
        return std::nullopt;
    return data;
}

} // namespace

FileSessionStore::FileSessionStore(QString directory, QObject* parent)
    : QObject(parent), directory_(QDir::cleanPath(directory)) {
    thread_.setObjectName(QStringLiteral("com.ardenadev.brevio.store"));
    worker_ = new QObject;
    worker_->moveToThread(&thread_);
    thread_.start(QThread::LowPriority);
}

FileSessionStore::~FileSessionStore() {
    flush();
    thread_.quit();
    thread_.wait();
    delete worker_;
}

QString FileSessionStore::defaultDirectory() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
           QStringLiteral("/Brevio");
}

QString FileSessionStore::safeUserID(const QString& userID) {
    QString safe;
    safe.reserve(userID.size());
    // By code point, so letters outside the basic plane are kept whole; an unpaired surrogate
    // comes out as U+FFFD and is dropped.
    for (const char32_t c : userID.toUcs4()) {
        if (c == U'-' || QChar::isLetterOrNumber(c))
            safe.append(QString::fromUcs4(&c, 1));
    }
    return safe;
}

QString FileSessionStore::credentialsPath() const {
    return directory_ + QStringLiteral("/sessione.json");
}

QString FileSessionStore::statePath(const QString& userID) const {
    return directory_ + QStringLiteral("/chat-") + safeUserID(userID) + QStringLiteral(".json");
}

void FileSessionStore::runSync(const std::function<void()>& work) {
    if (QThread::currentThread() == &thread_) {
        work();
        return;
    }
    QMetaObject::invokeMethod(worker_, work, Qt::BlockingQueuedConnection);
}

void FileSessionStore::post(std::function<void()> work) {
    QMetaObject::invokeMethod(worker_, std::move(work), Qt::QueuedConnection);
}

bool FileSessionStore::ensureDirectory() const {
    // Create every missing folder of the path as 0700, then force the final one to 0700 even if
    // it existed with wider rights.
    const QStringList parts = directory_.split(QLatin1Char('/'));
    QString path;
    for (int i = 0; i < parts.size(); ++i) {
        if (i > 0)
            path += QLatin1Char('/');
        path += parts[i];
        if (path.isEmpty() || QFileInfo(path).isDir())
            continue;
        if (!QDir().mkdir(path, folderPermissions) && !QFileInfo(path).isDir())
            return false;
    }
    return QFile::setPermissions(directory_, folderPermissions);
}

bool FileSessionStore::writeFile(const QString& path, const FileWriter& produce) const {
    if (!ensureDirectory())
        return false;
    QSaveFile file(path);
    // Unbuffered: the parts are already large, another copy through a small buffer gains nothing.
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        return false;
    // Narrow the temporary file before any byte goes in; the rename keeps the mode, so the file is
    // never visible with wider rights.
    if (!file.setPermissions(filePermissions)) {
        file.cancelWriting();
        return false;
    }
    const bool written = produce([&](std::string_view part) {
        const auto size = static_cast<qint64>(part.size());
        return file.write(part.data(), size) == size;
    });
    if (!written) {
        file.cancelWriting();
        return false;
    }
    return file.commit();
}

std::optional<SessionCredentials> FileSessionStore::loadCredentials() {
    std::optional<SessionCredentials> result;
    runSync([&] {
        if (auto data = readFile(credentialsPath()))
            result =
                SessionCredentials::fromJson(std::string_view(data->constData(), data->size()));
    });
    return result;
}

void FileSessionStore::saveCredentials(const SessionCredentials& credentials) {
    post([this, text = credentials.toJson()] {
        writeFile(credentialsPath(), [&](const TextSink& sink) { return sink(text); });
    });
}

void FileSessionStore::deleteCredentials() {
    post([this] { QFile::remove(credentialsPath()); });
}

std::optional<ChatState> FileSessionStore::readState(const QString& userID) const {
    // A saved state runs to tens of megabytes: decode straight from the mapped file instead of
    // copying it into memory first.
    QFile file(statePath(userID));
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    const qint64 size = file.size();
    if (size == 0)
        return std::nullopt;
    if (const uchar* mapped = file.map(0, size)) {
        Decoded<ChatState> decoded = decodeChatState(
            std::string_view(reinterpret_cast<const char*>(mapped), static_cast<size_t>(size)));
        file.unmap(const_cast<uchar*>(mapped));
        return std::move(decoded.value);
    }
    const QByteArray data = file.readAll();
    if (file.error() != QFileDevice::NoError)
        return std::nullopt;
    Decoded<ChatState> decoded =
        decodeChatState(std::string_view(data.constData(), static_cast<size_t>(data.size())));
    return std::move(decoded.value);
}

std::optional<ChatState> FileSessionStore::loadState(const QString& userID) {
    std::optional<ChatState> result;
    runSync([&] { result = readState(userID); });
    return result;
}

void FileSessionStore::loadStateAsync(const QString& userID, StateLoaded done) {
    post([this, userID, done = std::move(done)] {
        auto result = std::make_shared<std::optional<ChatState>>(readState(userID));
        // Back to the store's own thread; dropped with this object if it is gone by then.
        QMetaObject::invokeMethod(
            this, [done, result] { done(std::move(*result)); }, Qt::QueuedConnection);
    });
}

void FileSessionStore::saveState(ChatState state, const QString& userID) {
    // The copy is cheap (shared containers); encoding it is not, so that happens on the store
    // thread, part by part straight into the file, and so does the release of the copy.
    auto shared = std::make_shared<ChatState>(std::move(state));
    post([this, shared, path = statePath(userID)]() mutable {
        writeFile(path, [&](const TextSink& sink) { return writeChatState(*shared, sink); });
        shared.reset();
    });
}

void FileSessionStore::deleteState(const QString& userID) {
    post([path = statePath(userID)] { QFile::remove(path); });
}

void FileSessionStore::flush() {
    runSync([] {});
}

} // namespace brevio
