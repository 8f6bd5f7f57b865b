#pragma once

#include "media/PhotoReference.h"

#include <QCache>
#include <QHash>
#include <QImage>
#include <QObject>
#include <QPointer>
#include <chrono>
#include <expected>
#include <functional>
#include <optional>

class QNetworkAccessManager;
class QNetworkReply;

namespace brevio {

// Photos of users, loaded once and kept decoded for every avatar that shows them. Web photos come
// through one QNetworkAccessManager; decoding runs on worker threads. Decoded photos are kept
// within a budget of bytes, the least recently used going first. Requests for a photo that is
// already on its way wait for that one load; a photo that could not be had is remembered for a
// while and not asked for again until then. Main thread only.
class PhotoCache : public QObject {
    Q_OBJECT
public:
    using Result = std::expected<QImage, QString>;
    using Done = std::function<void(const Result&)>;

    struct Options {
        // Decoded photos kept, in bytes of pixels.
        qint64 maximumBytes = 48ll * 1024 * 1024;
        // Photos are kept no bigger than this on either side: enough for the largest avatar on a
        // high-density screen.
        int maximumSide = 256;
        // How long a failure stands before the photo is asked for again.
        std::chrono::milliseconds failureMemory{std::chrono::minutes(2)};
        // A transfer that receives nothing for this long is given up.
        std::chrono::milliseconds transferTimeout{std::chrono::seconds(20)};
        // Bigger downloads are given up: no avatar needs them.
        qint64 maximumDownloadBytes = 8ll * 1024 * 1024;
        // Monotonic milliseconds; a steady clock when empty.
        std::function<qint64()> now;
    };

    explicit PhotoCache(QObject* parent = nullptr);
    explicit PhotoCache(Options options, QObject* parent = nullptr);
    ~PhotoCache() override;

    // The application's one cache, made on first use and gone with the application object.
    static PhotoCache& shared();

    // The photo when it is decoded and kept; it becomes the most recently used.
    std::optional<QImage> cached(const PhotoSource& source);
    // Loads the photo and hands it (or why not) to `done` on this thread, never inside this call,
    // and not at all once `context` is gone.
    void load(const PhotoSource& source, QObject* context, Done done);

    qint64 bytesHeld() const { return images_.totalCost(); }
    int photosHeld() const { return int(images_.count()); }
    // Loads under way: downloads and decodes, one per source.
    int loadsUnderWay() const { return int(waiting_.size()); }

private:
    struct Waiter {
        QPointer<QObject> context;
        Done done;
    };

    qint64 now() const;
    void later(QObject* context, Done done, Result result);
    void download(const QString& key, const QUrl& url);
    void downloaded(const QString& key, QNetworkReply* reply);
    void decode(const QString& key, QByteArray bytes, bool base64);
    void finish(const QString& key, const Result& result);
    QNetworkAccessManager& network();

    Options options_;
    QCache<QString, QImage> images_;
    QHash<QString, qint64> failedUntil_;
    QHash<QString, QList<Waiter>> waiting_;
    QNetworkAccessManager* network_ = nullptr;
};

} // namespace brevio
