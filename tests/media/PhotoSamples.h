#pragma once

// Pictures the photo tests build themselves: a square of four coloured quarters inside a wider or
// taller frame, as JPEG with an EXIF orientation spliced in, as PNG, or as HEIC through libheif's
// encoder. Which quarter ends up where shows how a picture was turned.

#include <QBuffer>
#include <QByteArray>
#include <QColor>
#include <QImage>
#include <QPainter>
#include <array>
#include <cstring>
#include <libheif/heif.h>
#include <optional>

namespace brevio::test {

inline const QColor red(220, 30, 30), green(30, 180, 60), blue(30, 60, 220), yellow(240, 220, 30),
    frame(128, 128, 128);

// Clockwise from the top left: top left, top right, bottom right, bottom left.
using Corners = std::array<QColor, 4>;
inline const Corners stored = {red, green, yellow, blue};

// The corners after `quarterTurns` clockwise quarter turns.
inline Corners turned(int quarterTurns) {
    Corners out;
    for (int i = 0; i < 4; ++i)
        out[(i + quarterTurns) % 4] = stored[i];
    return out;
}

// A `width` by `height` picture: grey, with the largest centred square in four coloured quarters.
inline QImage quarters(int width, int height) {
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(frame);
    const int edge = std::min(width, height), half = edge / 2;
    const int x = (width - edge) / 2, y = (height - edge) / 2;
    QPainter painter(&image);
    painter.fillRect(x, y, half, half, stored[0]);
    painter.fillRect(x + half, y, edge - half, half, stored[1]);
    painter.fillRect(x + half, y + half, edge - half, edge - half, stored[2]);
    painter.fillRect(x, y + half, half, edge - half, stored[3]);
    return image;
}

inline QByteArray encoded(const QImage& image, const char* format, int quality = 95) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format, quality);
    return bytes;
}

// An APP1 segment holding an EXIF block whose only tag is the orientation.
inline QByteArray exifSegment(int orientation) {
    QByteArray tiff("MM\0\x2a\0\0\0\x08", 8);          // big-endian, first directory at 8
    tiff += QByteArray("\0\x01", 2);                   // one entry
    tiff += QByteArray("\x01\x12\0\x03\0\0\0\x01", 8); // Orientation, SHORT, count 1
    tiff += char(0);
    tiff += char(orientation);
    tiff += QByteArray(2, '\0'); // padding of the value
    tiff += QByteArray(4, '\0'); // no next directory
    const QByteArray payload = QByteArray("Exif\0\0", 6) + tiff;
    const int length = int(payload.size()) + 2;
    return QByteArray("\xFF\xE1", 2) + char(length >> 8) + char(length & 0xFF) + payload;
}

// The JPEG with the EXIF segment after its JFIF header.
inline QByteArray withOrientation(const QByteArray& jpeg, int orientation) {
    qsizetype at = 2; // after the start of image
    if (jpeg.size() > 4 && quint8(jpeg[2]) == 0xFF && quint8(jpeg[3]) == 0xE0)
        at = 4 + ((quint8(jpeg[4]) << 8) | quint8(jpeg[5]));
    QByteArray out = jpeg;
    out.insert(at, exifSegment(orientation));
    return out;
}

// HEIC with the rotation and mirror properties libheif writes for `orientation`; nothing when
// libheif has no HEVC encoder here.
inline std::optional<QByteArray> heicOf(const QImage& source, int orientation) {
    if (!heif_have_encoder_for_format(heif_compression_HEVC))
        return std::nullopt;
    const QImage rgb = source.convertToFormat(QImage::Format_RGB888);
    heif_context* context = heif_context_alloc();
    heif_encoder* encoder = nullptr;
    heif_image* image = nullptr;
    std::optional<QByteArray> out;
    if (heif_context_get_encoder_for_format(context, heif_compression_HEVC, &encoder).code ==
            heif_error_Ok &&
        heif_image_create(rgb.width(), rgb.height(), heif_colorspace_RGB,
                          heif_chroma_interleaved_RGB, &image)
                .code == heif_error_Ok &&
        heif_image_add_plane(image, heif_channel_interleaved, rgb.width(), rgb.height(), 8).code ==
            heif_error_Ok) {
        int stride = 0;
        uint8_t* plane = heif_image_get_plane(image, heif_channel_interleaved, &stride);
        for (int y = 0; y < rgb.height(); ++y)
            std::memcpy(plane + y * stride, rgb.constScanLine(y), size_t(rgb.width()) * 3);
        heif_encoder_set_lossy_quality(encoder, 90);
        heif_encoding_options* options = heif_encoding_options_alloc();
        options->image_orientation = heif_orientation(orientation);
        if (heif_context_encode_image(context, image, encoder, options, nullptr).code ==
            heif_error_Ok) {
            QByteArray bytes;
            heif_writer writer{
                1, [](heif_context*, const void* data, size_t size, void* sink) -> heif_error {
                    static_cast<QByteArray*>(sink)->append(static_cast<const char*>(data),
                                                           qsizetype(size));
                    return {heif_error_Ok, heif_suberror_Unspecified, "ok"};
                }};
            if (heif_context_write(context, &writer, &bytes).code == heif_error_Ok)
                out = bytes;
        }
        heif_encoding_options_free(options);
    }
    if (image)
        heif_image_release(image);
    if (encoder)
        heif_encoder_release(encoder);
    heif_context_free(context);
    return out;
}

// Whether two colours are the same within what lossy coding changes.
inline bool near(const QColor& a, const QColor& b, int tolerance = 40) {
    return std::abs(a.red() - b.red()) <= tolerance &&
           std::abs(a.green() - b.green()) <= tolerance &&
           std::abs(a.blue() - b.blue()) <= tolerance;
}

// The colours in the middle of each quarter of a square picture, clockwise from the top left.
inline Corners cornersOf(const QImage& image) {
    const int w = image.width(), h = image.height();
    return {image.pixelColor(w / 4, h / 4), image.pixelColor(3 * w / 4, h / 4),
            image.pixelColor(3 * w / 4, 3 * h / 4), image.pixelColor(w / 4, 3 * h / 4)};
}

inline bool sameCorners(const Corners& seen, const Corners& expected) {
    for (int i = 0; i < 4; ++i)
        if (!near(seen[i], expected[i]))
            return false;
    return true;
}

} // namespace brevio::test
