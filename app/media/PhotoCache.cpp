#include "media/PhotoCache.h"

#include "media/PhotoDecoder.h"

#include <QCoreApplication>
#include <QFutureWatcher>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QtConcurrent/QtConcurrentRun>

namespace brevio {

namespace {

// Failures are remembered by source; past this many the expired ones are dropped.
constexpr qsizetype failuresBeforePruning = 256;

PhotoCache::Result decodePhoto(const QByteArray& data, bool base64, int maximumSide) {
    QByteArray bytes = data;
    if (base64) {
        auto decoded =
            QByteArray::fromBase64Encoding(data, QByteArray::AbortOnBase64DecodingErrors);
        if (!decoded)
            return std::unexpected(QStringLiteral("the inline photo is not base64"));
        bytes = std::move(decoded.decoded);
    }
    auto image = PhotoDecoder::decodeUpright(bytes, maximumSide);
    if (!image)
        return std::unexpected(QStringLiteral("the photo is no picture we can read"));
    return *image;
}

} // namespace

PhotoCache::PhotoCache(QObject* parent) : PhotoCache(Options{}, parent) {}

PhotoCache::PhotoCache(Options options, QObject* parent)
    : QObject(parent), options_(std::move(options)), images_(options_.maximumBytes) {}

PhotoCache::~PhotoCache() = default;

PhotoCache& PhotoCache::shared() {
    static QPointer<PhotoCache> instance;
    if (!instance)
        instance = new PhotoCache(QCoreApplication::instance());
    return *instance;
}

qint64 PhotoCache::now() const {
    if (options_.now)
        return options_.now();
    return std::chrono::duration_cast<std::chrono::milliseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

QNetworkAccessManager& PhotoCache::network() {
    if (!network_) {
        network_ = new QNetworkAccessManager(this);
        network_->setTransferTimeout(int(options_.transferTimeout.count()));
    }
    return *network_;
}

std::optional<QImage> PhotoCache::cached(const PhotoSource& source) {
    if (source.isNone())
        return std::nullopt;
    if (const QImage* image = images_.object(source.key()))
        return *image;
    return std::nullopt;
}

void PhotoCache::later(QObject* context, Done done, Result result) {
    QMetaObject::invokeMethod(
        this,
        [context = QPointer<QObject>(context), done = std::move(done), result = std::move(result)] {
            if (context)
                done(result);
        },
        Qt::QueuedConnection);
}

void PhotoCache::load(const PhotoSource& source, QObject* context, Done done) {
    if (source.isNone()) {
        later(context, std::move(done), std::unexpected(QStringLiteral("no photo")));
        return;
    }
    const QString key = source.key();
    if (const QImage* image = images_.object(key)) {
        later(context, std::move(done), *image);
        return;
    }
    const auto failed = failedUntil_.constFind(key);
    if (failed != failedUntil_.cend()) {
        if (now() < *failed) {
            later(context, std::move(done), std::unexpected(QStringLiteral("failed recently")));
            return;
        }
        failedUntil_.erase(failed);
    }
    auto pending = waiting_.find(key);
    if (pending != waiting_.end()) {
        pending->append({context, std::move(done)});
        return;
    }
    waiting_.insert(key, {{context, std::move(done)}});
    if (source.kind == PhotoSource::Kind::inlineData)
        decode(key, source.base64, true);
    else
        download(key, source.url);
}

void PhotoCache::download(const QString& key, const QUrl& url) {
    QNetworkRequest request(url);
    request.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    QNetworkReply* reply = network().get(request);
    const qint64 limit = options_.maximumDownloadBytes;
    connect(reply, &QNetworkReply::downloadProgress, reply,
            [reply, limit](qint64 received, qint64) {
                if (received > limit)
                    reply->abort();
            });
    connect(reply, &QNetworkReply::finished, this, [this, key, reply] { downloaded(key, reply); });
}

void PhotoCache::downloaded(const QString& key, QNetworkReply* reply) {
    reply->deleteLater();
    if (reply->error() != QNetworkReply::NoError) {
        finish(key, std::unexpected(reply->errorString()));
        return;
    }
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (status != 0 && (status < 200 || status >= 300)) {
        finish(key, std::unexpected(QStringLiteral("HTTP %1").arg(status)));
        return;
    }
    decode(key, reply->readAll(), false);
}

void PhotoCache::decode(const QString& key, QByteArray bytes, bool base64) {
    auto* watcher = new QFutureWatcher<Result>(this);
    connect(watcher, &QFutureWatcher<Result>::finished, this, [this, key, watcher] {
        watcher->deleteLater();
        finish(key, watcher->result());
    });
    watcher->setFuture(
        QtConcurrent::run(decodePhoto, std::move(bytes), base64, options_.maximumSide));
}

void PhotoCache::finish(const QString& key, const Result& result) {
    if (result) {
        const qint64 cost = std::max<qint64>(1, result->sizeInBytes());
        images_.insert(key, new QImage(*result), cost);
    } else {
        if (failedUntil_.size() >= failuresBeforePruning) {
            const qint64 at = now();
            failedUntil_.removeIf([at](const auto& entry) { return entry.value() <= at; });
        }
        failedUntil_.insert(key, now() + options_.failureMemory.count());
    }
    const QList<Waiter> waiters = waiting_.take(key);
    for (const Waiter& waiter : waiters)
        if (waiter.context)
            waiter.done(result);
}

} // namespace brevio
