// The bubble's picture, the one drawing every bubble of a look is stretched from: the corner
// toward the sender cut straight, the other corners round, the border inside the edge, and the
// drawing at the screen's pixel density.

#include "views/BubbleShape.h"

#include <QColor>
#include <QPainter>
#include <gtest/gtest.h>

namespace brevio {
namespace {

BubbleShape::Look look(bool mine, bool cuts, qreal border = 0, qreal dpr = 1) {
    BubbleShape::Look l;
    l.color = QColor(0x2A, 0x63, 0xD4);
    l.borderColor = QColor(0xE3, 0xE6, 0xEA);
    l.borderWidth = border;
    l.radius = 12;
    l.cut = 6;
    l.cutsCorner = cuts;
    l.isMine = mine;
    l.devicePixelRatio = dpr;
    return l;
}

int alphaAt(const QImage& image, int x, int y) {
    return qAlpha(image.pixel(x, y));
}
// Covered, or left out, but for the edge's antialiasing.
bool covered(const QImage& image, int x, int y) {
    return alphaAt(image, x, y) >= 250;
}
bool clear(const QImage& image, int x, int y) {
    return alphaAt(image, x, y) <= 40;
}

TEST(BubbleShape, TheCutCornerIsTowardTheSenderAndStraight) {
    // 25 x 25: radius 12 each side of one middle pixel. The pixel (23, 19) lies inside a 45° cut of
    // 6 at the bottom right but outside a round corner of 12 there.
    const QImage mineCut = BubbleShape::picture(look(true, true));
    ASSERT_EQ(mineCut.size(), QSize(25, 25));
    EXPECT_TRUE(covered(mineCut, 23, 19)) << "cut straight, not rounded";
    EXPECT_TRUE(clear(mineCut, 24, 24)) << "the tip is cut away";
    EXPECT_TRUE(clear(mineCut, 1, 19)) << "the far corner stays round";
    EXPECT_TRUE(clear(mineCut, 0, 24));
    EXPECT_EQ(mineCut.pixelColor(12, 12), QColor(0x2A, 0x63, 0xD4));

    const QImage mineRound = BubbleShape::picture(look(true, false));
    EXPECT_TRUE(clear(mineRound, 23, 19)) << "without the cut every corner is round";
    EXPECT_TRUE(clear(mineRound, 24, 24));

    // Others' bubbles: the same drawing mirrored.
    const QImage othersCut = BubbleShape::picture(look(false, true));
    EXPECT_TRUE(covered(othersCut, 1, 19));
    EXPECT_TRUE(clear(othersCut, 0, 24));
    EXPECT_TRUE(clear(othersCut, 23, 19));
    for (int y = 0; y < 25; ++y)
        for (int x = 0; x < 25; ++x)
            ASSERT_NEAR(alphaAt(othersCut, x, y), alphaAt(mineCut, 24 - x, y), 8) << x << "," << y;
}

TEST(BubbleShape, TheBorderRunsInsideTheEdgeAndAlongTheCut) {
    const QImage bordered = BubbleShape::picture(look(false, true, 1));
    EXPECT_EQ(bordered.pixelColor(12, 0), QColor(0xE3, 0xE6, 0xEA)) << "the top edge";
    EXPECT_EQ(bordered.pixelColor(0, 12), QColor(0xE3, 0xE6, 0xEA)) << "the side";
    EXPECT_EQ(bordered.pixelColor(12, 12), QColor(0x2A, 0x63, 0xD4)) << "the inside";
    EXPECT_EQ(bordered.pixelColor(12, 1), QColor(0x2A, 0x63, 0xD4));
    // Along the cut (bottom left, others' side) the outermost opaque pixels are the border's.
    int y = 24;
    while (y > 0 && alphaAt(bordered, 5, y) < 255)
        --y;
    const QColor edge = bordered.pixelColor(5, y);
    EXPECT_GT(edge.red(), 0xC0) << "the cut's edge is drawn in the border's colour, not the fill";
}

TEST(BubbleShape, DrawnAtThePixelDensityOfTheScreen) {
    const QImage sharp = BubbleShape::picture(look(true, true, 0, 2));
    EXPECT_EQ(sharp.size(), QSize(50, 50));
    EXPECT_EQ(sharp.devicePixelRatio(), 2);
    EXPECT_TRUE(covered(sharp, 47, 39));
    EXPECT_TRUE(clear(sharp, 49, 49));
    const QImage fractional = BubbleShape::picture(look(true, true, 0, 1.25));
    EXPECT_EQ(fractional.size(), QSize(32, 32)) << "25 × 1.25 rounded up";
}

// Stretched over a bubble as the software renderer draws it, at 1x, 2x and 1.25x: each corner's
// pixels are the picture's own, the middle and the edges its fill. (Qt's own software nine-patch
// took its margins in logical pixels out of a picture of device pixels: at 2x a corner showed
// half of itself.)
TEST(BubbleShape, StretchedTheCornersStayAsDrawnAtAnyPixelDensity) {
    for (const qreal dpr : {1.0, 2.0, 1.25}) {
        SCOPED_TRACE(dpr);
        const QImage picture = BubbleShape::picture(look(true, true, 0, dpr));
        const QSizeF logical(120, 60);
        QImage bubble((logical * dpr).toSize(), QImage::Format_ARGB32_Premultiplied);
        bubble.setDevicePixelRatio(dpr);
        bubble.fill(Qt::transparent);
        {
            QPainter painter(&bubble);
            BubbleShape::paintStretched(painter, QRectF(QPointF(0, 0), logical), picture, 12);
        }
        const int corner = int(12 * dpr); // whole device pixels of the corner
        const int right = bubble.width() - corner;
        const int bottom = bubble.height() - corner;
        const int pictureRight = picture.width() - corner;
        const int pictureBottom = picture.height() - corner;
        int differences = 0;
        for (int y = 0; y < corner; ++y) {
            for (int x = 0; x < corner; ++x) {
                differences += bubble.pixel(x, y) != picture.pixel(x, y);
                differences += bubble.pixel(right + x, y) != picture.pixel(pictureRight + x, y);
                differences += bubble.pixel(x, bottom + y) != picture.pixel(x, pictureBottom + y);
                differences += bubble.pixel(right + x, bottom + y) !=
                               picture.pixel(pictureRight + x, pictureBottom + y);
            }
        }
        // At 1.25x the corner ends inside a device pixel, which the edge's stretch may cover.
        EXPECT_LE(differences, dpr == 1.25 ? 4 * corner : 0);
        const QColor fill(0x2A, 0x63, 0xD4);
        EXPECT_EQ(bubble.pixelColor(bubble.width() / 2, bubble.height() / 2), fill) << "middle";
        EXPECT_EQ(bubble.pixelColor(bubble.width() / 2, 1), fill) << "top edge";
        EXPECT_EQ(bubble.pixelColor(1, bubble.height() / 2), fill) << "side";
        EXPECT_TRUE(clear(bubble, bubble.width() - 1, bubble.height() - 1)) << "the cut";
        EXPECT_TRUE(clear(bubble, 0, 0)) << "a round corner";
    }
}

} // namespace
} // namespace brevio
