#pragma once

#include <QByteArray>
#include <QImage>
#include <QObject>
#include <QString>
#include <expected>
#include <functional>

namespace brevio {

// Turns the picture the user chose into the profile photo the server keeps: the largest centred
// square, 512 by 512 pixels, turned by its orientation, as a JPEG.
namespace PhotoPreparation {

using Result = std::expected<QByteArray, QString>;

inline constexpr int side = 512;
inline constexpr int jpegQuality = 85;

// What the user reads when a picture cannot be used.
QString unreadableText();

// The quarter turns (in degrees, clockwise on screen) a photo with this EXIF orientation is drawn
// with. Mirrored orientations are turned like their unmirrored neighbours and never flipped back:
// a mirror-image selfie stays as the camera stored it.
int rotationDegrees(int orientation);

// The largest centred square of `image`, scaled to side by side and turned by `orientation`, with
// 8-bit RGB channels (transparency shows white).
QImage squareFor(const QImage& image, int orientation);

// The JPEG bytes for a picture's bytes, or the text to show. Any thread.
Result prepare(const QByteArray& bytes);
// The same for a file; a missing or unreadable file is a picture that cannot be read.
Result prepareFile(const QString& path);

// Prepares the file on a worker thread and hands the result to `done` on `context`'s thread.
// Nothing is called once `context` is gone.
void start(const QString& path, QObject* context, std::function<void(Result)> done);

} // namespace PhotoPreparation

} // namespace brevio
