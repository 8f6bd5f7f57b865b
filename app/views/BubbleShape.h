#pragma once

#include <QColor>
#include <QImage>
#include <QPainter>
#include <QQuickItem>
#include <QtQml/qqmlregistration.h>
#include <optional>

namespace brevio {

// A bubble's outline: a rounded rectangle whose corner toward the sender (bottom right for one's
// own, bottom left for others') is cut off at 45° when `cutsCorner` is set, with an optional
// border. One scene-graph node a bubble: each look is drawn once into a small picture that a
// nine-patch node stretches, so a long list costs one node a bubble and a handful of drawings.
class BubbleShape : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT

    Q_PROPERTY(bool isMine READ isMine WRITE setIsMine NOTIFY lookChanged)
    Q_PROPERTY(bool cutsCorner READ cutsCorner WRITE setCutsCorner NOTIFY lookChanged)
    Q_PROPERTY(qreal radius READ radius WRITE setRadius NOTIFY lookChanged)
    Q_PROPERTY(qreal cut READ cut WRITE setCut NOTIFY lookChanged)
    Q_PROPERTY(QColor color READ color WRITE setColor NOTIFY lookChanged)
    Q_PROPERTY(QColor borderColor READ borderColor WRITE setBorderColor NOTIFY lookChanged)
    Q_PROPERTY(qreal borderWidth READ borderWidth WRITE setBorderWidth NOTIFY lookChanged)

public:
    // Everything that decides the picture.
    struct Look {
        QColor color = Qt::white;
        QColor borderColor = Qt::white;
        qreal borderWidth = 0;
        qreal radius = 12;
        qreal cut = 6;
        bool cutsCorner = false;
        bool isMine = false;
        qreal devicePixelRatio = 1;
        friend bool operator==(const Look&, const Look&) = default;
        friend size_t qHash(const Look& look, size_t seed);
    };

    explicit BubbleShape(QQuickItem* parent = nullptr);

    // The look drawn at its smallest: 2 × radius + 1 logical pixels a side, the middle row and
    // column being what the nine-patch stretches; its device pixel ratio set.
    static QImage picture(const Look& look);
    // `picture` stretched over `bounds` (logical pixels) as the nine-patch does: the corners, up
    // to `corner` logical pixels (half the smaller side at most), as drawn; the edges stretched
    // along; the middle filled. For the software renderer, whose own nine-patch takes its
    // margins in logical pixels from a picture of device pixels.
    static void paintStretched(QPainter& painter, const QRectF& bounds, const QImage& picture,
                               qreal corner);

    bool isMine() const { return look_.isMine; }
    void setIsMine(bool mine) { change(look_.isMine, mine); }
    bool cutsCorner() const { return look_.cutsCorner; }
    void setCutsCorner(bool cuts) { change(look_.cutsCorner, cuts); }
    qreal radius() const { return look_.radius; }
    void setRadius(qreal radius) { change(look_.radius, radius); }
    qreal cut() const { return look_.cut; }
    void setCut(qreal cut) { change(look_.cut, cut); }
    QColor color() const { return look_.color; }
    void setColor(const QColor& color) { change(look_.color, color); }
    QColor borderColor() const { return look_.borderColor; }
    void setBorderColor(const QColor& color) { change(look_.borderColor, color); }
    qreal borderWidth() const { return look_.borderWidth; }
    void setBorderWidth(qreal width) { change(look_.borderWidth, width); }

Q_SIGNALS:
    void lookChanged();

protected:
    QSGNode* updatePaintNode(QSGNode* old, UpdatePaintNodeData*) override;
    void geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) override;

private:
    template <typename T> void change(T& field, const T& value) {
        if (field == value)
            return;
        field = value;
        update();
        Q_EMIT lookChanged();
    }

    Look look_;
    // The look of the node's picture or texture (render thread).
    std::optional<Look> drawn_;
};

} // namespace brevio
