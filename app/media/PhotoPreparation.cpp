#include "media/PhotoPreparation.h"

#include "media/PhotoDecoder.h"

#include <QBuffer>
#include <QFile>
#include <QFutureWatcher>
#include <QImageWriter>
#include <QPainter>
#include <QTransform>
#include <QtConcurrent/QtConcurrentRun>

namespace brevio::PhotoPreparation {

namespace {

// Far above any photo a camera writes; a bigger file is not read into memory at all.
constexpr qint64 maximumFileBytes = 128ll * 1024 * 1024;

} // namespace

QString unreadableText() {
    return QStringLiteral("Questa immagine non si apre: prova con una foto JPEG, PNG o HEIC.");
}

int rotationDegrees(int orientation) {
    switch (orientation) {
    case 3:
    case 4:
        return 180;
    case 6:
    case 7:
        return 90;
    case 5:
    case 8:
        return 270;
    default:
        return 0;
    }
}

QImage squareFor(const QImage& image, int orientation) {
    const int edge = std::min(image.width(), image.height());
    const QRect square((image.width() - edge) / 2, (image.height() - edge) / 2, edge, edge);
    // Scaling the square first keeps the quarter turn exact.
    QImage scaled =
        image.copy(square).scaled(side, side, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    if (const int degrees = rotationDegrees(orientation))
        scaled = scaled.transformed(QTransform().rotate(degrees));

    QImage canvas(side, side, QImage::Format_RGB32);
    canvas.fill(Qt::white);
    QPainter painter(&canvas);
    painter.drawImage(0, 0, scaled);
    painter.end();
    return canvas;
}

Result prepare(const QByteArray& bytes) {
    const auto photo = PhotoDecoder::decode(bytes);
    if (!photo || photo->image.width() < 1 || photo->image.height() < 1)
        return std::unexpected(unreadableText());
    const QImage square = squareFor(photo->image, photo->orientation);

    QByteArray jpeg;
    QBuffer buffer(&jpeg);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, "jpeg");
    writer.setQuality(jpegQuality);
    if (!writer.write(square) || jpeg.isEmpty())
        return std::unexpected(unreadableText());
    return jpeg;
}

Result prepareFile(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || file.size() > maximumFileBytes)
        return std::unexpected(unreadableText());
    const QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError)
        return std::unexpected(unreadableText());
    return prepare(bytes);
}

void start(const QString& path, QObject* context, std::function<void(Result)> done) {
    // The watcher belongs to the context: when the context goes, so does the watcher and with it
    // the call.
    auto* watcher = new QFutureWatcher<Result>(context);
    QObject::connect(watcher, &QFutureWatcher<Result>::finished, watcher,
                     [watcher, done = std::move(done)] {
                         const Result result = watcher->result();
                         watcher->deleteLater();
                         done(result);
                     });
    watcher->setFuture(QtConcurrent::run(prepareFile, path));
}

} // namespace brevio::PhotoPreparation
