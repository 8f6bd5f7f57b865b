#include "PhotoSamples.h"
#include "media/PhotoCache.h"
#include "support/EventLoopWait.h"
#include "support/Printing.h"

#include <QHash>
#include <QTcpServer>
#include <QTcpSocket>
#include <gtest/gtest.h>
#include <memory>

namespace brevio {
namespace {

// A web server on the loopback address with fixed answers by path, counting the requests it gets.
// A path it does not know is answered 404; a "silent" path is never answered.
class PhotoServer : public QObject {
public:
    PhotoServer() {
        EXPECT_TRUE(server_.listen(QHostAddress::LocalHost));
        connect(&server_, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket* socket = server_.nextPendingConnection()) {
                socket->setParent(this);
                connect(socket, &QTcpSocket::readyRead, this, [this, socket] { read(socket); });
            }
        });
    }

    QUrl url(const QString& path) const {
        return QUrl(QStringLiteral("http://127.0.0.1:%1%2").arg(server_.serverPort()).arg(path));
    }

    QHash<QString, QByteArray> files;
    QSet<QString> silent;
    QHash<QString, int> requests;

private:
    void read(QTcpSocket* socket) {
        QByteArray& buffer = buffers_[socket];
        buffer += socket->readAll();
        if (!buffer.contains("\r\n\r\n"))
            return;
        const QList<QByteArray> requestLine = buffer.left(buffer.indexOf("\r\n")).split(' ');
        buffer.clear();
        const QString path = QString::fromLatin1(requestLine.value(1));
        ++requests[path];
        if (silent.contains(path))
            return;
        const bool found = files.contains(path);
        const QByteArray body = found ? files.value(path) : QByteArray("no such photo");
        socket->write((found ? "HTTP/1.1 200 OK\r\n" : "HTTP/1.1 404 Not Found\r\n") +
                      QByteArray("Content-Length: ") + QByteArray::number(body.size()) +
                      "\r\nConnection: close\r\n\r\n" + body);
        socket->disconnectFromHost();
    }

    QTcpServer server_;
    QHash<QTcpSocket*, QByteArray> buffers_;
};

PhotoSource web(const QUrl& url) {
    PhotoSource source;
    source.kind = PhotoSource::Kind::web;
    source.url = url;
    return source;
}

QByteArray png(int side, QColor colour) {
    QImage image(side, side, QImage::Format_RGB32);
    image.fill(colour);
    return test::encoded(image, "PNG");
}

// What one load handed back.
struct Outcome {
    std::optional<PhotoCache::Result> result;
    PhotoCache::Done done() {
        return [this](const PhotoCache::Result& r) { result = r; };
    }
    bool arrived() const { return result.has_value(); }
    bool ok() const { return result && result->has_value(); }
};

class PhotoCacheTest : public ::testing::Test {
protected:
    PhotoCache::Options options() {
        PhotoCache::Options o;
        o.now = [this] { return now; };
        return o;
    }
    bool settle(std::initializer_list<const Outcome*> outcomes) {
        return test::waitUntil([&] {
            for (const Outcome* o : outcomes)
                if (!o->arrived())
                    return false;
            return true;
        });
    }

    PhotoServer server;
    qint64 now = 1000;
};

TEST_F(PhotoCacheTest, RequestsForOnePhotoShareOneDownloadAndLaterOnesReuseIt) {
    server.files["/a.png"] = png(40, Qt::red);
    PhotoCache cache(options());
    QObject context;
    Outcome first, second, third;
    cache.load(web(server.url("/a.png")), &context, first.done());
    cache.load(web(server.url("/a.png")), &context, second.done());
    cache.load(web(server.url("/a.png")), &context, third.done());
    EXPECT_EQ(cache.loadsUnderWay(), 1);
    EXPECT_FALSE(first.arrived()); // never inside the call
    ASSERT_TRUE(settle({&first, &second, &third}));
    for (const Outcome* o : {&first, &second, &third}) {
        ASSERT_TRUE(o->ok());
        EXPECT_EQ(o->result->value().size(), QSize(40, 40));
        EXPECT_TRUE(test::near(o->result->value().pixelColor(20, 20), Qt::red, 2));
    }
    EXPECT_EQ(server.requests["/a.png"], 1);

    // Kept: at hand at once, and a new load does not go to the server.
    EXPECT_TRUE(cache.cached(web(server.url("/a.png"))).has_value());
    Outcome again;
    cache.load(web(server.url("/a.png")), &context, again.done());
    ASSERT_TRUE(settle({&again}));
    EXPECT_TRUE(again.ok());
    EXPECT_EQ(server.requests["/a.png"], 1);
}

TEST_F(PhotoCacheTest, DecodedPhotosStayWithinTheBudgetTheLeastRecentlyUsedGoingFirst) {
    for (const char* name : {"/a.png", "/b.png", "/c.png"})
        server.files[name] = png(64, Qt::blue);
    PhotoCache::Options o = options();
    const qint64 onePhoto = 64 * 64 * 4;
    o.maximumBytes = 2 * onePhoto + onePhoto / 2;
    PhotoCache cache(o);
    QObject context;
    const auto load = [&](const char* path) {
        Outcome outcome;
        cache.load(web(server.url(path)), &context, outcome.done());
        EXPECT_TRUE(settle({&outcome}));
        EXPECT_TRUE(outcome.ok()) << path;
    };
    load("/a.png");
    load("/b.png");
    EXPECT_EQ(cache.bytesHeld(), 2 * onePhoto);
    ASSERT_TRUE(cache.cached(web(server.url("/a.png")))); // a is now used more recently than b
    load("/c.png");
    EXPECT_EQ(cache.photosHeld(), 2);
    EXPECT_LE(cache.bytesHeld(), o.maximumBytes);
    EXPECT_TRUE(cache.cached(web(server.url("/a.png"))));
    EXPECT_FALSE(cache.cached(web(server.url("/b.png"))));
    EXPECT_TRUE(cache.cached(web(server.url("/c.png"))));
    // The kept one is not fetched again; the dropped one is, and now c is the one to go.
    load("/a.png");
    load("/b.png");
    EXPECT_EQ(server.requests["/a.png"], 1);
    EXPECT_EQ(server.requests["/b.png"], 2);
    EXPECT_TRUE(cache.cached(web(server.url("/a.png"))));
    EXPECT_FALSE(cache.cached(web(server.url("/c.png"))));
}

TEST_F(PhotoCacheTest, BigPhotosAreKeptScaledDown) {
    server.files["/big.png"] = png(1000, Qt::green);
    PhotoCache::Options o = options();
    o.maximumSide = 128;
    PhotoCache cache(o);
    QObject context;
    Outcome outcome;
    cache.load(web(server.url("/big.png")), &context, outcome.done());
    ASSERT_TRUE(settle({&outcome}));
    ASSERT_TRUE(outcome.ok());
    EXPECT_EQ(outcome.result->value().size(), QSize(128, 128));
    EXPECT_EQ(cache.bytesHeld(), 128 * 128 * 4);
}

TEST_F(PhotoCacheTest, AFailureIsRememberedForAWhileNotRetriedInALoop) {
    PhotoCache cache(options());
    QObject context;
    Outcome missing;
    cache.load(web(server.url("/gone.png")), &context, missing.done());
    ASSERT_TRUE(settle({&missing}));
    EXPECT_FALSE(missing.ok());
    EXPECT_EQ(server.requests["/gone.png"], 1);

    // Asked again at once (a list scrolling past it): the failure, without the server.
    now += 5000;
    Outcome soon;
    cache.load(web(server.url("/gone.png")), &context, soon.done());
    ASSERT_TRUE(settle({&soon}));
    EXPECT_FALSE(soon.ok());
    EXPECT_EQ(server.requests["/gone.png"], 1);

    // Once the failure has aged, it is tried again, and now it is there.
    now += std::chrono::milliseconds(PhotoCache::Options{}.failureMemory).count();
    server.files["/gone.png"] = png(8, Qt::red);
    Outcome later;
    cache.load(web(server.url("/gone.png")), &context, later.done());
    ASSERT_TRUE(settle({&later}));
    EXPECT_TRUE(later.ok());
    EXPECT_EQ(server.requests["/gone.png"], 2);
}

TEST_F(PhotoCacheTest, SilentServersOversizedAnswersAndNonPicturesFailCleanly) {
    server.silent.insert("/slow.png");
    server.files["/huge.png"] = QByteArray(64 * 1024, 'x');
    server.files["/text.png"] = "not a picture at all";
    PhotoCache::Options o = options();
    o.transferTimeout = std::chrono::milliseconds(300);
    o.maximumDownloadBytes = 16 * 1024;
    PhotoCache cache(o);
    QObject context;
    Outcome slow, huge, text, garbage, notPicture, nothing;
    cache.load(web(server.url("/slow.png")), &context, slow.done());
    cache.load(web(server.url("/huge.png")), &context, huge.done());
    cache.load(web(server.url("/text.png")), &context, text.done());
    cache.load(PhotoReference::resolve(QString("data:image/png;base64,@@not base64@@"), {}),
               &context, garbage.done());
    cache.load(PhotoReference::resolve(QString("data:image/png;base64,aGVsbG8="), {}), &context,
               notPicture.done());
    cache.load(PhotoSource{}, &context, nothing.done());
    ASSERT_TRUE(settle({&slow, &huge, &text, &garbage, &notPicture, &nothing}));
    for (const Outcome* o : {&slow, &huge, &text, &garbage, &notPicture, &nothing})
        EXPECT_FALSE(o->ok());
    EXPECT_EQ(cache.photosHeld(), 0);
    EXPECT_EQ(cache.loadsUnderWay(), 0);
}

TEST_F(PhotoCacheTest, InlinePhotosDecodeWithoutTheNetworkAndGoneContextsHearNothing) {
    PhotoCache cache(options());
    const QString reference =
        QStringLiteral("data:image/png;base64,") + QString::fromLatin1(png(20, Qt::red).toBase64());
    const PhotoSource source = PhotoReference::resolve(reference, {});
    bool heard = false;
    auto gone = std::make_unique<QObject>();
    cache.load(source, gone.get(), [&](const PhotoCache::Result&) { heard = true; });
    QObject context;
    Outcome kept;
    cache.load(source, &context, kept.done());
    gone.reset();
    ASSERT_TRUE(settle({&kept}));
    ASSERT_TRUE(kept.ok());
    EXPECT_EQ(kept.result->value().size(), QSize(20, 20));
    EXPECT_FALSE(heard);
    EXPECT_TRUE(server.requests.isEmpty());
}

} // namespace
} // namespace brevio
