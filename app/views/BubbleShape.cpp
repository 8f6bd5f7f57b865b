#include "BubbleShape.h"

#include <QHash>
#include <QMutex>
#include <QPainter>
#include <QPainterPath>
#include <QQuickWindow>
#include <QSGNinePatchNode>
#include <QSGRenderNode>
#include <QSGRendererInterface>
#include <cmath>

namespace brevio {

size_t qHash(const BubbleShape::Look& look, size_t seed) {
    return qHashMulti(seed, look.color.rgba(), look.borderColor.rgba(), look.borderWidth,
                      look.radius, look.cut, look.cutsCorner, look.isMine, look.devicePixelRatio);
}

namespace {

// The outline of `rect` with corners of `radius`; the bottom right one cut off by `cut` instead.
QPainterPath outline(const QRectF& rect, qreal radius, qreal cut) {
    const qreal d = 2 * radius;
    QPainterPath path;
    path.moveTo(rect.left() + radius, rect.top());
    path.arcTo(QRectF(rect.right() - d, rect.top(), d, d), 90, -90);
    if (cut > 0) {
        path.lineTo(rect.right(), rect.bottom() - cut);
        path.lineTo(rect.right() - cut, rect.bottom());
    } else {
        path.arcTo(QRectF(rect.right() - d, rect.bottom() - d, d, d), 0, -90);
    }
    path.arcTo(QRectF(rect.left(), rect.bottom() - d, d, d), 270, -90);
    path.arcTo(QRectF(rect.left(), rect.top(), d, d), 180, -90);
    path.closeSubpath();
    return path;
}

} // namespace

namespace {

// The pictures drawn so far, by look: a list shows a handful of looks, each drawn once. Nine-patch
// nodes own their textures, so each node makes its own texture from the shared picture, in the
// scene graph's atlas: the bubbles of a screen share one texture and draw in one batch.
QImage cachedPicture(const BubbleShape::Look& look) {
    static QMutex mutex; // render threads of several windows
    static QHash<BubbleShape::Look, QImage> pictures;
    QMutexLocker lock(&mutex);
    auto found = pictures.find(look);
    if (found == pictures.end())
        found = pictures.insert(look, BubbleShape::picture(look));
    return *found;
}

// The software renderer's node: the picture stretched with QPainter (see paintStretched).
class SoftwareBubbleNode : public QSGRenderNode {
public:
    explicit SoftwareBubbleNode(QQuickWindow* window) : window_(window) {}

    void setPicture(const QImage& picture) {
        picture_ = picture;
        markDirty(DirtyMaterial);
    }
    void setBounds(const QRectF& bounds, qreal corner) {
        if (bounds == bounds_ && corner == corner_)
            return;
        bounds_ = bounds;
        corner_ = corner;
        markDirty(DirtyMaterial);
    }

    StateFlags changedStates() const override { return {}; }
    RenderingFlags flags() const override { return BoundedRectRendering; }
    QRectF rect() const override { return bounds_; }
    void render(const RenderState* state) override {
        auto* painter = static_cast<QPainter*>(window_->rendererInterface()->getResource(
            window_, QSGRendererInterface::PainterResource));
        if (!painter)
            return;
        // The clip first: it is given in the window's coordinates.
        if (const QRegion* clip = state->clipRegion(); clip && !clip->isEmpty())
            painter->setClipRegion(*clip, Qt::ReplaceClip);
        painter->setTransform(matrix()->toTransform());
        painter->setOpacity(inheritedOpacity());
        BubbleShape::paintStretched(*painter, bounds_, picture_, corner_);
    }

private:
    QQuickWindow* window_;
    QImage picture_;
    QRectF bounds_;
    qreal corner_ = 0;
};

} // namespace

void BubbleShape::paintStretched(QPainter& painter, const QRectF& bounds, const QImage& picture,
                                 qreal corner) {
    const qreal dpr = picture.devicePixelRatio();
    const QSizeF side = QSizeF(picture.size()) / dpr;
    corner = std::min({corner, bounds.width() / 2, bounds.height() / 2, (side.width() - 1) / 2});
    // Logical x and y of the target's and the picture's four stops, the picture's in its pixels.
    const qreal tx[4] = {bounds.left(), bounds.left() + corner, bounds.right() - corner,
                         bounds.right()};
    const qreal ty[4] = {bounds.top(), bounds.top() + corner, bounds.bottom() - corner,
                         bounds.bottom()};
    const qreal sx[4] = {0, corner * dpr, (side.width() - corner) * dpr, side.width() * dpr};
    const qreal sy[4] = {0, corner * dpr, (side.height() - corner) * dpr, side.height() * dpr};
    const bool smooth = painter.renderHints().testFlag(QPainter::SmoothPixmapTransform);
    painter.setRenderHint(QPainter::SmoothPixmapTransform, false);
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 3; ++column) {
            const QRectF target(QPointF(tx[column], ty[row]), QPointF(tx[column + 1], ty[row + 1]));
            const QRectF source(QPointF(sx[column], sy[row]), QPointF(sx[column + 1], sy[row + 1]));
            if (target.isEmpty() || source.isEmpty())
                continue;
            painter.drawImage(target, picture, source);
        }
    }
    painter.setRenderHint(QPainter::SmoothPixmapTransform, smooth);
}

BubbleShape::BubbleShape(QQuickItem* parent) : QQuickItem(parent) {
    setFlag(ItemHasContents);
}

QImage BubbleShape::picture(const Look& look) {
    const qreal side = 2 * look.radius + 1;
    const int pixels = int(std::ceil(side * look.devicePixelRatio));
    QImage image(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    image.setDevicePixelRatio(look.devicePixelRatio);

    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    if (!look.isMine) // the cut toward the sender: bottom left for others' bubbles
        painter.setTransform(QTransform(-1, 0, 0, 1, side, 0));
    const QRectF rect(0, 0, side, side);
    const qreal cut = look.cutsCorner ? look.cut : 0;
    const qreal border = look.borderWidth;
    if (border > 0) {
        painter.setBrush(look.borderColor);
        painter.drawPath(outline(rect, look.radius, cut));
    }
    // Inside the border, the cut runs parallel to the outer one.
    const qreal innerCut = cut > 0 ? std::max<qreal>(0, cut - border * (2 - M_SQRT2)) : 0;
    painter.setBrush(look.color);
    painter.drawPath(outline(rect.adjusted(border, border, -border, -border),
                             std::max<qreal>(0, look.radius - border), innerCut));
    return image;
}

QSGNode* BubbleShape::updatePaintNode(QSGNode* old, UpdatePaintNodeData*) {
    if (width() <= 0 || height() <= 0) {
        delete old;
        return nullptr;
    }
    Look look = look_;
    look.devicePixelRatio = window()->effectiveDevicePixelRatio();
    // A bubble smaller than its corners keeps what fits of them.
    const qreal across = std::min({look.radius, width() / 2, height() / 2});

    if (window()->rendererInterface()->graphicsApi() == QSGRendererInterface::Software) {
        auto* node = static_cast<SoftwareBubbleNode*>(old);
        if (!node) {
            node = new SoftwareBubbleNode(window());
            drawn_.reset();
        }
        if (drawn_ != look) {
            node->setPicture(cachedPicture(look));
            drawn_ = look;
        }
        node->setBounds(boundingRect(), across);
        return node;
    }

    auto* node = static_cast<QSGNinePatchNode*>(old);
    if (!node) {
        node = window()->createNinePatchNode();
        drawn_.reset();
    }
    if (drawn_ != look) {
        node->setTexture(window()->createTextureFromImage(cachedPicture(look),
                                                          QQuickWindow::TextureCanUseAtlas));
        drawn_ = look;
    }
    node->setBounds(boundingRect());
    node->setDevicePixelRatio(look.devicePixelRatio);
    node->setPadding(across, across, across, across);
    node->update();
    return node;
}

void BubbleShape::geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) {
    QQuickItem::geometryChange(newGeometry, oldGeometry);
    if (newGeometry.size() != oldGeometry.size())
        update();
}

} // namespace brevio
