#include "PhotoSamples.h"
#include "media/PhotoDecoder.h"
#include "media/PhotoPreparation.h"
#include "support/EventLoopWait.h"
#include "support/Printing.h"

#include <QFile>
#include <QTemporaryDir>
#include <QThreadPool>
#include <gtest/gtest.h>

namespace brevio {
namespace {

using test::Corners;

std::string describe(const Corners& corners) {
    std::string out;
    for (const QColor& c : corners)
        out += c.name().toStdString() + " ";
    return out;
}

// The prepared photo, decoded again: it must be a 512 by 512 JPEG.
QImage preparedImage(const QByteArray& input) {
    const auto result = PhotoPreparation::prepare(input);
    EXPECT_TRUE(result.has_value()) << (result ? "" : result.error().toStdString());
    if (!result)
        return {};
    EXPECT_TRUE(result->startsWith("\xFF\xD8\xFF")) << "not a JPEG";
    const QImage image = QImage::fromData(*result, "JPEG");
    EXPECT_EQ(image.size(), QSize(512, 512));
    return image;
}

// Stored corners clockwise from the top left: red, green, yellow, blue. Each orientation turns the
// square by its quarter turns and never mirrors it back.
const std::array<int, 8> quarterTurnsFor = {0, 0, 2, 2, 3, 1, 1, 3};

TEST(PhotoPreparationTest, EveryExifOrientationTurnsTheCentredSquareAndNeverMirrors) {
    // Stored as the camera wrote it: landscape pixels, with the frame left and right of the square.
    const QByteArray jpeg = test::encoded(test::quarters(400, 200), "JPEG");
    for (int orientation = 1; orientation <= 8; ++orientation) {
        SCOPED_TRACE(orientation);
        const QImage out = preparedImage(test::withOrientation(jpeg, orientation));
        const Corners seen = test::cornersOf(out);
        const Corners expected = test::turned(quarterTurnsFor[orientation - 1]);
        EXPECT_TRUE(test::sameCorners(seen, expected))
            << "seen " << describe(seen) << "expected " << describe(expected);
        // Only the square: no grey of the frame at the edges.
        for (const QPoint p : {QPoint(3, 256), QPoint(508, 256), QPoint(256, 3), QPoint(256, 508)})
            EXPECT_FALSE(test::near(out.pixelColor(p), test::frame, 20)) << p.x() << "," << p.y();
    }
}

TEST(PhotoPreparationTest, APortraitWithOrientationSixComesOutUprightAndSquare) {
    // The camera stores the portrait lying on its side and asks for a clockwise quarter turn: the
    // stored left column (red above blue) becomes the top row (blue, then red).
    const QImage out =
        preparedImage(test::withOrientation(test::encoded(test::quarters(300, 600), "JPEG"), 6));
    ASSERT_FALSE(out.isNull());
    const Corners seen = test::cornersOf(out);
    EXPECT_TRUE(test::near(seen[0], test::blue)) << describe(seen);
    EXPECT_TRUE(test::near(seen[1], test::red)) << describe(seen);
    EXPECT_TRUE(test::near(seen[2], test::green)) << describe(seen);
    EXPECT_TRUE(test::near(seen[3], test::yellow)) << describe(seen);
}

TEST(PhotoPreparationTest, SmallPicturesAndOtherFormatsComeOutAt512) {
    // A PNG has no EXIF here: drawn as stored, scaled up to the full size.
    const QImage out = preparedImage(test::encoded(test::quarters(30, 20), "PNG"));
    EXPECT_TRUE(test::sameCorners(test::cornersOf(out), test::stored))
        << describe(test::cornersOf(out));
    // Transparency lands on white, not black.
    QImage clear(16, 16, QImage::Format_ARGB32);
    clear.fill(Qt::transparent);
    const QImage white = preparedImage(test::encoded(clear, "PNG"));
    EXPECT_TRUE(test::near(white.pixelColor(256, 256), Qt::white, 8));
}

TEST(PhotoPreparationTest, WhatIsNoPictureGivesTheTextAndNoBytes) {
    const QString text = "Questa immagine non si apre: prova con una foto JPEG, PNG o HEIC.";
    EXPECT_EQ(PhotoPreparation::unreadableText(), text);
    const QByteArray jpeg = test::encoded(test::quarters(64, 64), "JPEG");
    const QByteArray bad[] = {
        QByteArray(),
        QByteArray("just some text, not a picture"),
        jpeg.left(20), // a header and nothing more
        QByteArray("\0\0\0\x18"
                   "ftypheic\0\0\0\0mif1heic",
                   24) + // HEIC that stops at its type
            QByteArray(200, '\x5a'),
        QByteArray("\x89PNG\r\n\x1a\n", 8) + QByteArray(64, '\0'), // a PNG signature, no image
    };
    for (const QByteArray& bytes : bad) {
        const auto result = PhotoPreparation::prepare(bytes);
        ASSERT_FALSE(result.has_value()) << bytes.left(16).toHex().toStdString();
        EXPECT_EQ(result.error(), text);
    }
    EXPECT_EQ(PhotoPreparation::prepareFile("/nonexistent/photo.jpg").error(), text);
}

// A JPEG whose frame header says 12,000 by 12,000: decoded scaled down (the data runs out early and
// the decoder fills in), never at full size, and prepared like any other picture.
TEST(PhotoPreparationTest, AHugePictureIsDecodedScaledDown) {
    QByteArray jpeg = test::encoded(test::quarters(64, 64), "JPEG");
    const qsizetype frame = jpeg.indexOf("\xFF\xC0");
    ASSERT_GT(frame, 0);
    // Height and width follow the marker, its length and the sample precision.
    for (const qsizetype at : {frame + 5, frame + 7}) {
        jpeg[at] = char(12000 >> 8);
        jpeg[at + 1] = char(12000 & 0xFF);
    }
    const auto decoded = PhotoDecoder::decode(jpeg);
    ASSERT_TRUE(decoded.has_value());
    EXPECT_LE(std::max(decoded->image.width(), decoded->image.height()), 2048);
    EXPECT_EQ(preparedImage(jpeg).size(), QSize(512, 512));
}

TEST(PhotoPreparationTest, HeicIsTurnedByItsRotationPropertyLikeExif) {
    const QImage picture = test::quarters(256, 128);
    if (!test::heicOf(picture, 1))
        GTEST_SKIP() << "libheif has no HEVC encoder here";
    for (int orientation = 1; orientation <= 8; ++orientation) {
        SCOPED_TRACE(orientation);
        const auto heic = test::heicOf(picture, orientation);
        ASSERT_TRUE(heic.has_value());
        ASSERT_TRUE(PhotoDecoder::isHeif(*heic));
        // The properties libheif wrote read back as the orientation it was given.
        EXPECT_EQ(PhotoDecoder::heifOrientation(*heic), orientation);

        // Decoded as stored, with the orientation beside it; libheif turns nothing itself.
        const auto decoded = PhotoDecoder::decode(*heic);
        ASSERT_TRUE(decoded.has_value());
        EXPECT_EQ(decoded->image.size(), picture.size());
        EXPECT_EQ(decoded->orientation, orientation);

        // Shown upright by libheif the same way as our own reading of the orientation shows it.
        const auto upright = PhotoDecoder::decodeUpright(*heic);
        ASSERT_TRUE(upright.has_value());
        const QImage ours = PhotoDecoder::applyOrientation(decoded->image, orientation);
        ASSERT_EQ(upright->size(), ours.size());
        for (const QPoint p : {QPoint(upright->width() / 2 - 32, upright->height() / 4),
                               QPoint(upright->width() / 2 + 32, upright->height() / 4),
                               QPoint(upright->width() / 2 - 32, 3 * upright->height() / 4),
                               QPoint(upright->width() / 2 + 32, 3 * upright->height() / 4)})
            EXPECT_TRUE(test::near(upright->pixelColor(p), ours.pixelColor(p)));

        // Prepared by the same table as a JPEG.
        const QImage out = preparedImage(*heic);
        EXPECT_TRUE(
            test::sameCorners(test::cornersOf(out), test::turned(quarterTurnsFor[orientation - 1])))
            << describe(test::cornersOf(out));
    }
    // Cut short, it is a picture that cannot be read.
    const auto heic = test::heicOf(picture, 6);
    EXPECT_EQ(PhotoPreparation::prepare(heic->left(heic->size() / 2)).error(),
              PhotoPreparation::unreadableText());
}

TEST(PhotoPreparationTest, StartPreparesOffTheCallersThreadAndAnswersOnIt) {
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString good = dir.filePath("photo.jpg"), bad = dir.filePath("notes.jpg");
    {
        QFile file(good);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(test::withOrientation(test::encoded(test::quarters(200, 100), "JPEG"), 3));
        QFile other(bad);
        ASSERT_TRUE(other.open(QIODevice::WriteOnly));
        other.write("shopping list");
    }
    QObject context;
    std::optional<PhotoPreparation::Result> first, second;
    QThread* answeredOn = nullptr;
    PhotoPreparation::start(good, &context, [&](PhotoPreparation::Result r) {
        answeredOn = QThread::currentThread();
        first = std::move(r);
    });
    PhotoPreparation::start(bad, &context, [&](PhotoPreparation::Result r) { second = r; });
    // Never inside the call.
    EXPECT_FALSE(first || second);
    ASSERT_TRUE(test::waitUntil([&] { return first && second; }));
    EXPECT_EQ(answeredOn, QThread::currentThread());
    ASSERT_TRUE(first->has_value());
    EXPECT_TRUE(test::sameCorners(test::cornersOf(QImage::fromData(**first)), test::turned(2)));
    EXPECT_EQ(second->error(), PhotoPreparation::unreadableText());

    // A context gone before the answer: nothing is called.
    bool called = false;
    auto* gone = new QObject;
    PhotoPreparation::start(good, gone, [&](PhotoPreparation::Result) { called = true; });
    delete gone;
    // Once the pool is idle the job has finished; its answer had nowhere to go.
    QThreadPool::globalInstance()->waitForDone();
    QCoreApplication::processEvents();
    EXPECT_FALSE(called);
}

} // namespace
} // namespace brevio
