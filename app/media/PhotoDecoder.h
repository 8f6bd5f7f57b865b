#pragma once

#include <QByteArray>
#include <QImage>
#include <optional>

namespace brevio {

// A picture as its file stores it, and the EXIF orientation (1 to 8) the file asks it to be shown
// with. Only the orientation says how to turn it; the pixels are never turned.
struct DecodedPhoto {
    QImage image;
    int orientation = 1;
};

// Reads pictures from bytes: everything QImageReader has a plugin for, and HEIF/HEIC (and AVIF)
// through libheif. Safe on any thread.
namespace PhotoDecoder {

// The pixels as stored and the orientation: EXIF for the formats QImageReader reads, the rotation
// and mirror properties for HEIF. Nothing when the bytes are no picture we can read.
std::optional<DecodedPhoto> decode(const QByteArray& bytes);

// Upright for showing, the orientation applied in full (mirrors too), scaled down so that no side
// exceeds `maximumSide` (0: as it is). Nothing when the bytes are no picture we can read.
std::optional<QImage> decodeUpright(const QByteArray& bytes, int maximumSide = 0);

// Whether the bytes start like an ISO base media file of a still-image brand libheif reads.
bool isHeif(const QByteArray& bytes);

// The EXIF orientation (1 to 8) equal to the rotation ('irot') and mirror ('imir') properties of
// the primary image of a HEIF file, applied in their order; 1 when it has none or cannot be read.
int heifOrientation(const QByteArray& bytes);

// `image` turned to show as `orientation` asks, mirrors included.
QImage applyOrientation(const QImage& image, int orientation);

} // namespace PhotoDecoder

} // namespace brevio
