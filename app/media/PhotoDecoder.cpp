#include "media/PhotoDecoder.h"

#include <QBuffer>
#include <QImageReader>
#include <QList>
#include <QTransform>
#include <array>
#include <cstdint>
#include <cstring>
#include <libheif/heif.h>
#include <memory>

namespace brevio::PhotoDecoder {

namespace {

// Larger than any camera takes; keeps a hostile header from asking for gigabytes.
constexpr int maximumSide = 16384;
// Larger pictures are decoded scaled down to this side: far more than any use here needs.
constexpr int decodeSide = 2048;

// ---- Orientations as matrices -----------------------------------------------------------------
// Each orientation maps a stored pixel's position (x to the right, y down, origin at the centre)
// to where it shows: a signed permutation matrix {a, b, c, d} for x' = a x + b y, y' = c x + d y.

using Matrix = std::array<int, 4>;

constexpr std::array<Matrix, 8> exifMatrices = {{
    {1, 0, 0, 1},   // 1 as stored
    {-1, 0, 0, 1},  // 2 mirrored left to right
    {-1, 0, 0, -1}, // 3 turned half round
    {1, 0, 0, -1},  // 4 mirrored top to bottom
    {0, 1, 1, 0},   // 5 mirrored, then a quarter turn anticlockwise
    {0, -1, 1, 0},  // 6 a quarter turn clockwise
    {0, -1, -1, 0}, // 7 mirrored, then a quarter turn clockwise
    {0, 1, -1, 0},  // 8 a quarter turn anticlockwise
}};

Matrix multiply(const Matrix& after, const Matrix& before) {
    return {
        after[0] * before[0] + after[1] * before[2], after[0] * before[1] + after[1] * before[3],
        after[2] * before[0] + after[3] * before[2], after[2] * before[1] + after[3] * before[3]};
}

int orientationOf(const Matrix& m) {
    for (int i = 0; i < 8; ++i)
        if (exifMatrices[i] == m)
            return i + 1;
    return 1;
}

// QImageReader reports the EXIF orientation as a transformation; this is the way back.
int orientationOf(QImageIOHandler::Transformations t) {
    switch (int(t)) {
    case QImageIOHandler::TransformationMirror:
        return 2;
    case QImageIOHandler::TransformationRotate180:
        return 3;
    case QImageIOHandler::TransformationFlip:
        return 4;
    case QImageIOHandler::TransformationFlipAndRotate90:
        return 5;
    case QImageIOHandler::TransformationRotate90:
        return 6;
    case QImageIOHandler::TransformationMirrorAndRotate90:
        return 7;
    case QImageIOHandler::TransformationRotate270:
        return 8;
    default:
        return 1;
    }
}

// ---- HEIF boxes ---------------------------------------------------------------------------------

struct Box {
    QByteArrayView type;
    QByteArrayView body;
};

std::uint32_t be(QByteArrayView data, qsizetype at, int bytes) {
    std::uint32_t value = 0;
    for (int i = 0; i < bytes; ++i)
        value = (value << 8) | std::uint8_t(data[at + i]);
    return value;
}

// The boxes directly inside `data`, stopping at the first one that does not fit.
QList<Box> boxes(QByteArrayView data) {
    QList<Box> found;
    qsizetype at = 0;
    while (data.size() - at >= 8) {
        quint64 size = be(data, at, 4);
        qsizetype header = 8;
        if (size == 1) {
            if (data.size() - at < 16)
                break;
            size = (quint64(be(data, at + 8, 4)) << 32) | be(data, at + 12, 4);
            header = 16;
        } else if (size == 0) {
            size = quint64(data.size() - at);
        }
        if (size < quint64(header) || size > quint64(data.size() - at))
            break;
        found.append({data.sliced(at + 4, 4), data.sliced(at + header, qsizetype(size) - header)});
        at += qsizetype(size);
    }
    return found;
}

std::optional<QByteArrayView> child(QByteArrayView data, QByteArrayView type) {
    for (const Box& box : boxes(data))
        if (box.type == type)
            return box.body;
    return std::nullopt;
}

// The property indices (1-based into 'ipco') associated with `item`, in their order.
QList<int> associations(QByteArrayView ipma, std::uint32_t item) {
    if (ipma.size() < 8)
        return {};
    const int version = std::uint8_t(ipma[0]);
    const bool wideIndex = (std::uint8_t(ipma[3]) & 1) != 0;
    const std::uint32_t entries = be(ipma, 4, 4);
    qsizetype at = 8;
    for (std::uint32_t e = 0; e < entries; ++e) {
        const int idBytes = version < 1 ? 2 : 4;
        if (ipma.size() - at < idBytes + 1)
            return {};
        const std::uint32_t id = be(ipma, at, idBytes);
        const int count = std::uint8_t(ipma[at + idBytes]);
        at += idBytes + 1;
        const int indexBytes = wideIndex ? 2 : 1;
        if (ipma.size() - at < qsizetype(count) * indexBytes)
            return {};
        QList<int> indices;
        for (int i = 0; i < count; ++i) {
            const std::uint32_t raw = be(ipma, at, indexBytes);
            indices.append(int(raw & (wideIndex ? 0x7FFF : 0x7F)));
            at += indexBytes;
        }
        if (id == item)
            return indices;
    }
    return {};
}

// ---- Decoding -----------------------------------------------------------------------------------

struct HeifContextFree {
    void operator()(heif_context* c) const { heif_context_free(c); }
};
struct HeifHandleFree {
    void operator()(const heif_image_handle* h) const { heif_image_handle_release(h); }
};
struct HeifImageFree {
    void operator()(const heif_image* i) const { heif_image_release(i); }
};
struct HeifOptionsFree {
    void operator()(heif_decoding_options* o) const { heif_decoding_options_free(o); }
};

// The primary image, 8 bits per channel. With `asStored` the rotation, mirror and crop properties
// are left to the caller; otherwise libheif applies them.
QImage decodeHeif(const QByteArray& bytes, bool asStored) {
    std::unique_ptr<heif_context, HeifContextFree> context(heif_context_alloc());
    if (!context)
        return {};
    heif_context_set_maximum_image_size_limit(context.get(), maximumSide);
    if (heif_context_read_from_memory_without_copy(context.get(), bytes.constData(),
                                                   size_t(bytes.size()), nullptr)
            .code != heif_error_Ok)
        return {};
    heif_image_handle* rawHandle = nullptr;
    if (heif_context_get_primary_image_handle(context.get(), &rawHandle).code != heif_error_Ok)
        return {};
    std::unique_ptr<const heif_image_handle, HeifHandleFree> handle(rawHandle);

    std::unique_ptr<heif_decoding_options, HeifOptionsFree> options(heif_decoding_options_alloc());
    options->ignore_transformations = asStored ? 1 : 0;
    if (options->version >= 2)
        options->convert_hdr_to_8bit = 1;
    heif_image* rawImage = nullptr;
    if (heif_decode_image(handle.get(), &rawImage, heif_colorspace_RGB,
                          heif_chroma_interleaved_RGBA, options.get())
            .code != heif_error_Ok)
        return {};
    std::unique_ptr<const heif_image, HeifImageFree> image(rawImage);

    const int width = heif_image_get_width(image.get(), heif_channel_interleaved);
    const int height = heif_image_get_height(image.get(), heif_channel_interleaved);
    int stride = 0;
    const std::uint8_t* plane =
        heif_image_get_plane_readonly(image.get(), heif_channel_interleaved, &stride);
    if (!plane || width <= 0 || height <= 0 || stride < width * 4)
        return {};
    QImage out(width, height, QImage::Format_RGBA8888);
    if (out.isNull())
        return {};
    for (int y = 0; y < height; ++y)
        std::memcpy(out.scanLine(y), plane + qsizetype(y) * stride, size_t(width) * 4);
    return out;
}

QImage decodeWithReader(const QByteArray& bytes, bool asStored, int* orientation) {
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    reader.setAutoTransform(!asStored);
    reader.setDecideFormatFromContent(true);
    const QSize size = reader.size();
    if (size.isValid() && (size.width() > maximumSide || size.height() > maximumSide))
        return {};
    // A camera's 12,000 px picture is decoded straight at a size we can use: the JPEG decoder
    // scales while it decodes, so memory stays bounded; others are refused by the reader's own
    // allocation limit rather than filling the memory.
    if (size.isValid() && (size.width() > decodeSide || size.height() > decodeSide))
        reader.setScaledSize(size.scaled(decodeSide, decodeSide, Qt::KeepAspectRatio));
    if (orientation)
        *orientation = orientationOf(reader.transformation());
    QImage image = reader.read();
    return image.isNull() ? QImage() : image;
}

QImage scaledDown(QImage image, int side) {
    if (side <= 0 || (image.width() <= side && image.height() <= side))
        return image;
    return image.scaled(side, side, Qt::KeepAspectRatio, Qt::SmoothTransformation);
}

} // namespace

bool isHeif(const QByteArray& bytes) {
    if (bytes.size() < 12 || QByteArrayView(bytes).sliced(4, 4) != "ftyp")
        return false;
    const auto result = heif_check_filetype(reinterpret_cast<const std::uint8_t*>(bytes.data()),
                                            int(std::min<qsizetype>(bytes.size(), 1 << 20)));
    return result == heif_filetype_yes_supported || result == heif_filetype_maybe;
}

int heifOrientation(const QByteArray& bytes) {
    const auto meta = child(bytes, "meta");
    if (!meta || meta->size() < 4)
        return 1;
    const QByteArrayView inside = meta->sliced(4); // after the full box's version and flags
    const auto pitm = child(inside, "pitm");
    const auto iprp = child(inside, "iprp");
    if (!pitm || !iprp || pitm->size() < 6)
        return 1;
    const bool wideID = std::uint8_t((*pitm)[0]) >= 1;
    if (wideID && pitm->size() < 8)
        return 1;
    const std::uint32_t primary = be(*pitm, 4, wideID ? 4 : 2);
    const auto ipco = child(*iprp, "ipco");
    const auto ipma = child(*iprp, "ipma");
    if (!ipco || !ipma)
        return 1;
    const QList<Box> properties = boxes(*ipco);

    Matrix shown = exifMatrices[0];
    for (const int index : associations(*ipma, primary)) {
        if (index < 1 || index > properties.size())
            continue;
        const Box& property = properties[index - 1];
        if (property.body.isEmpty())
            continue;
        const int value = std::uint8_t(property.body[0]);
        if (property.type == "irot") {
            // Quarter turns anticlockwise.
            for (int turn = 0; turn < (value & 3); ++turn)
                shown = multiply(exifMatrices[7], shown);
        } else if (property.type == "imir") {
            // Axis 1 swaps left and right, axis 0 top and bottom: so libheif writes the mirrored
            // orientations and so it shows them, and what it shows upright is what we turn.
            shown = multiply((value & 1) ? exifMatrices[1] : exifMatrices[3], shown);
        }
    }
    return orientationOf(shown);
}

QImage applyOrientation(const QImage& image, int orientation) {
    // QImage turns by quarter turns exactly, pixel for pixel.
    const auto turned = [](const QImage& i, int degrees) {
        return i.transformed(QTransform().rotate(degrees));
    };
    switch (orientation) {
    case 2:
        return image.mirrored(true, false);
    case 3:
        return image.mirrored(true, true);
    case 4:
        return image.mirrored(false, true);
    case 5:
        return turned(image.mirrored(true, false), 270);
    case 6:
        return turned(image, 90);
    case 7:
        return turned(image.mirrored(true, false), 90);
    case 8:
        return turned(image, 270);
    default:
        return image;
    }
}

std::optional<DecodedPhoto> decode(const QByteArray& bytes) {
    if (bytes.isEmpty())
        return std::nullopt;
    DecodedPhoto photo;
    if (isHeif(bytes)) {
        photo.image = decodeHeif(bytes, true);
        photo.orientation = heifOrientation(bytes);
    } else {
        photo.image = decodeWithReader(bytes, true, &photo.orientation);
    }
    if (photo.image.isNull())
        return std::nullopt;
    return photo;
}

std::optional<QImage> decodeUpright(const QByteArray& bytes, int maximumSide) {
    if (bytes.isEmpty())
        return std::nullopt;
    QImage image =
        isHeif(bytes) ? decodeHeif(bytes, false) : decodeWithReader(bytes, false, nullptr);
    if (image.isNull())
        return std::nullopt;
    return scaledDown(std::move(image), maximumSide);
}

} // namespace brevio::PhotoDecoder
