#include "views/AvatarImage.h"

#include "media/PhotoCache.h"

#include <QPainter>
#include <QQuickWindow>

namespace brevio {

AvatarImage::AvatarImage(QQuickItem* parent) : QQuickPaintedItem(parent) {
    setAntialiasing(true);
    setOpaquePainting(false);
}

void AvatarImage::setReference(const QString& reference) {
    if (reference == reference_)
        return;
    reference_ = reference;
    Q_EMIT referenceChanged();
    reload();
}

void AvatarImage::setServerOrigin(const QString& origin) {
    if (origin == serverOrigin_)
        return;
    serverOrigin_ = origin;
    Q_EMIT serverOriginChanged();
    reload();
}

void AvatarImage::reload() {
    const std::optional<QString> reference =
        reference_.isEmpty() ? std::nullopt : std::optional<QString>(reference_);
    PhotoSource source = PhotoReference::resolve(reference, QUrl(serverOrigin_));
    if (source == source_ && (ready() || loading_))
        return;
    source_ = std::move(source);
    const quint64 request = ++request_;
    if (source_.isNone()) {
        show({});
        setLoading(false);
        return;
    }
    if (auto image = PhotoCache::shared().cached(source_)) {
        show(*image);
        setLoading(false);
        return;
    }
    // The previous person's photo must not stay up while this one loads.
    show({});
    setLoading(true);
    PhotoCache::shared().load(source_, this, [this, request](const PhotoCache::Result& result) {
        if (request != request_)
            return; // the reference changed meanwhile
        show(result ? *result : QImage());
        setLoading(false);
    });
}

void AvatarImage::show(const QImage& image) {
    const bool wasReady = ready();
    image_ = image;
    update();
    if (wasReady != ready())
        Q_EMIT readyChanged();
}

void AvatarImage::setLoading(bool loading) {
    if (loading == loading_)
        return;
    loading_ = loading;
    Q_EMIT loadingChanged();
}

void AvatarImage::paint(QPainter* painter) {
    if (image_.isNull() || width() <= 0 || height() <= 0)
        return;
    const qreal ratio = window() ? window()->effectiveDevicePixelRatio() : 1.0;
    const QSize pixels = (QSizeF(width(), height()) * ratio).toSize().expandedTo(QSize(1, 1));
    if (drawn_.size() != pixels || drawnFrom_ != image_.cacheKey()) {
        // The largest centred square of the photo, scaled once per size, not at every frame.
        const int edge = std::min(image_.width(), image_.height());
        const QRect square((image_.width() - edge) / 2, (image_.height() - edge) / 2, edge, edge);
        drawn_ =
            image_.copy(square).scaled(pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        drawnFrom_ = image_.cacheKey();
    }
    QBrush brush(drawn_);
    brush.setTransform(QTransform::fromScale(1 / ratio, 1 / ratio));
    painter->setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    painter->setPen(Qt::NoPen);
    painter->setBrush(brush);
    painter->drawEllipse(QRectF(0, 0, width(), height()));
}

} // namespace brevio
