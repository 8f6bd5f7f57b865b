#include "session/FileSessionStore.h"

#include "model/Json.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>
#include <expected>
#include <memory>

namespace brevio {

namespace {

constexpr QFileDevice::Permissions filePermissions =
    QFileDevice::ReadOwner | QFileDevice::WriteOwner;
constexpr QFileDevice::Permissions folderPermissions =
    QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner;

std::string encodeOutbox(const QList<PendingMessage>& outbox) {
    boost::json::array list;
    list.reserve(std::size_t(outbox.size()));
    for (const PendingMessage& pending : outbox)
        list.push_back(json::encode(pending));
    return json::serialize(list);
}

// Nothing for a missing file; an error text for a file that cannot be read or decoded.
std::expected<std::optional<QList<PendingMessage>>, QString> readOutbox(const QString& path) {
    QFile file(path);
    if (!file.exists())
        return std::nullopt;
    if (!file.open(QIODevice::ReadOnly))
        return std::unexpected(file.errorString());
    const QByteArray data = file.readAll();
    if (file.error() != QFileDevice::NoError)
        return std::unexpected(file.errorString());
    try {
        const boost::json::value value =
            json::parse(std::string_view(data.constData(), std::size_t(data.size())));
        return json::decodeList<PendingMessage>(value, "outbox");
    } catch (const std::exception& error) {
        return std::unexpected(QString::fromUtf8(error.what()));
    }
}

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

QString FileSessionStore::outboxPath(const QString& userID) const {
    return directory_ + QStringLiteral("/outbox-") + safeUserID(userID) + QStringLiteral(".json");
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

void FileSessionStore::report(StorageProblem problem) {
    QMetaObject::invokeMethod(
        this,
        [this, problem = std::move(problem)] {
            if (problemHandler_)
                problemHandler_(problem);
        },
        Qt::QueuedConnection);
}

bool FileSessionStore::writeFile(const QString& path, const FileWriter& produce) {
    auto failed = [&](const QString& detail) {
        report({StorageProblem::Kind::writeFailed, path, detail});
        return false;
    };
    if (!ensureDirectory())
        return failed(
            QStringLiteral("the folder %1 cannot be created or made private").arg(directory_));
    QSaveFile file(path);
    // Unbuffered: the parts are already large, another copy through a small buffer gains nothing.
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        return failed(file.errorString());
    // Narrow the temporary file before any byte goes in; the rename keeps the mode, so the file is
    // never visible with wider rights.
    if (!file.setPermissions(filePermissions)) {
        file.cancelWriting();
        return failed(file.errorString());
    }
    const bool written = produce([&](std::string_view part) {
        const auto size = static_cast<qint64>(part.size());
        return file.write(part.data(), size) == size;
    });
    if (!written) {
        const QString detail = file.errorString();
        file.cancelWriting();
        return failed(detail);
    }
    if (!file.commit())
        return failed(file.errorString());
    return true;
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

namespace {

// Nothing for a missing file; an error text for one that cannot be read or decoded.
std::expected<std::optional<ChatState>, QString> readStateFile(const QString& path) {
    // A saved state runs to tens of megabytes: decode straight from the mapped file instead of
    // copying it into memory first.
    QFile file(path);
    if (!file.exists())
        return std::nullopt;
    if (!file.open(QIODevice::ReadOnly))
        return std::unexpected(file.errorString());
    const qint64 size = file.size();
    if (size == 0)
        return std::unexpected(QStringLiteral("empty file"));
    Decoded<ChatState> decoded;
    if (const uchar* mapped = file.map(0, size)) {
        decoded = decodeChatState(
            std::string_view(reinterpret_cast<const char*>(mapped), static_cast<size_t>(size)));
        file.unmap(const_cast<uchar*>(mapped));
    } else {
        const QByteArray data = file.readAll();
        if (file.error() != QFileDevice::NoError)
            return std::unexpected(file.errorString());
        decoded =
            decodeChatState(std::string_view(data.constData(), static_cast<size_t>(data.size())));
    }
    if (!decoded)
        return std::unexpected(decoded.error);
    return std::move(decoded.value);
}

} // namespace

std::optional<ChatState> FileSessionStore::readState(const QString& userID) {
    auto state = readStateFile(statePath(userID));
    if (!state) {
        report({StorageProblem::Kind::unreadableState, statePath(userID), state.error()});
        state = std::optional<ChatState>();
    }
    auto outbox = readOutbox(outboxPath(userID));
    if (!outbox) {
        // The state's own copy of the outbox is the best there is.
        report({StorageProblem::Kind::unreadableOutbox, outboxPath(userID), outbox.error()});
        return std::move(*state);
    }
    if (*outbox) {
        if (!*state)
            *state = ChatState{};
        (*state)->outbox = std::move(**outbox);
    }
    return std::move(*state);
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

void FileSessionStore::saveOutbox(QList<PendingMessage> outbox, const QString& userID) {
    post([this, outbox = std::move(outbox), path = outboxPath(userID)] {
        const std::string text = encodeOutbox(outbox);
        writeFile(path, [&](const TextSink& sink) { return sink(text); });
    });
}

void FileSessionStore::deleteState(const QString& userID) {
    post([state = statePath(userID), outbox = outboxPath(userID)] {
        QFile::remove(state);
        QFile::remove(outbox);
    });
}

void FileSessionStore::flush() {
    runSync([] {});
}

void FileSessionStore::whenWritten(std::function<void()> done) {
    post([this, done = std::move(done)] {
        QMetaObject::invokeMethod(this, done, Qt::QueuedConnection);
    });
}

} // namespace brevio
