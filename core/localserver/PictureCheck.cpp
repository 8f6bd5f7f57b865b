#include "localserver/PictureCheck.h"

#include <array>
#include <cstdint>
#include <cstring>

namespace brevio::PictureCheck {

namespace {

// Reads big- and little-endian integers with bounds checks; every reader stops at the end of data.
class Bytes {
public:
    explicit Bytes(const QByteArray& data) : data_(data) {}
    qsizetype size() const { return data_.size(); }
    bool has(qsizetype at, qsizetype count) const {
        return at >= 0 && count >= 0 && at <= data_.size() && count <= data_.size() - at;
    }
    std::uint8_t u8(qsizetype at) const { return static_cast<std::uint8_t>(data_[at]); }
    std::uint32_t be16(qsizetype at) const { return (u8(at) << 8) | u8(at + 1); }
    std::uint32_t be32(qsizetype at) const {
        return (std::uint32_t(u8(at)) << 24) | (u8(at + 1) << 16) | (u8(at + 2) << 8) | u8(at + 3);
    }
    std::uint32_t le16(qsizetype at) const { return u8(at) | (u8(at + 1) << 8); }
    std::uint32_t le24(qsizetype at) const { return le16(at) | (u8(at + 2) << 16); }
    std::uint32_t le32(qsizetype at) const { return le24(at) | (std::uint32_t(u8(at + 3)) << 24); }
    bool matches(qsizetype at, const char* text, qsizetype count) const {
        return has(at, count) && std::memcmp(data_.constData() + at, text, count) == 0;
    }
    QByteArrayView view(qsizetype at, qsizetype count) const {
        return QByteArrayView(data_.constData() + at, count);
    }

private:
    const QByteArray& data_;
};

constexpr std::uint32_t maximumSide = 1u << 16; // larger than any profile photo could need

bool saneSize(std::uint32_t width, std::uint32_t height) {
    return width > 0 && height > 0 && width <= maximumSide && height <= maximumSide;
}

std::uint32_t crc32(QByteArrayView bytes) {
    static const auto table = [] {
        std::array<std::uint32_t, 256> t{};
        for (std::uint32_t n = 0; n < 256; ++n) {
            std::uint32_t c = n;
            for (int k = 0; k < 8; ++k)
                c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
            t[n] = c;
        }
        return t;
    }();
    std::uint32_t c = 0xFFFFFFFFu;
    for (const char byte : bytes)
        c = table[(c ^ static_cast<std::uint8_t>(byte)) & 0xFF] ^ (c >> 8);
    return c ^ 0xFFFFFFFFu;
}

// Signature, a valid IHDR first, every chunk whole with a matching CRC, image data, IEND last.
bool isPng(const Bytes& b) {
    if (!b.matches(0, "\x89PNG\r\n\x1a\n", 8))
        return false;
    qsizetype at = 8;
    bool first = true, sawData = false;
    while (b.has(at, 12)) {
        const std::uint32_t length = b.be32(at);
        if (length > 0x7FFFFFFFu || !b.has(at + 8, qsizetype(length) + 4))
            return false;
        const QByteArrayView type = b.view(at + 4, 4);
        if (crc32(b.view(at + 4, qsizetype(length) + 4)) != b.be32(at + 8 + length))
            return false;
        if (first) {
            if (type != "IHDR" || length != 13 || !saneSize(b.be32(at + 8), b.be32(at + 12)))
                return false;
            const int depth = b.u8(at + 16), colour = b.u8(at + 17);
            const bool depthFits =
                (colour == 0 &&
                 (depth == 1 || depth == 2 || depth == 4 || depth == 8 || depth == 16)) ||
                (colour == 3 && (depth == 1 || depth == 2 || depth == 4 || depth == 8)) ||
                ((colour == 2 || colour == 4 || colour == 6) && (depth == 8 || depth == 16));
            if (!depthFits || b.u8(at + 18) != 0 || b.u8(at + 19) != 0 || b.u8(at + 20) > 1)
                return false;
            first = false;
        } else if (type == "IDAT") {
            sawData = true;
        } else if (type == "IEND") {
            return sawData;
        }
        at += 12 + qsizetype(length);
    }
    return false;
}

bool isStartOfFrame(int marker) {
    return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

// SOI, well-formed segments up to a frame header with sane dimensions and a scan, EOI at the end.
bool isJpeg(const Bytes& b) {
    if (!b.matches(0, "\xFF\xD8\xFF", 3) || b.size() < 4 || b.u8(b.size() - 2) != 0xFF ||
        b.u8(b.size() - 1) != 0xD9)
        return false;
    qsizetype at = 2;
    bool sawFrame = false;
    while (b.has(at, 4)) {
        if (b.u8(at) != 0xFF)
            return false;
        const int marker = b.u8(at + 1);
        if (marker == 0xFF) { // fill byte
            ++at;
            continue;
        }
        if (marker == 0x01 || (marker >= 0xD0 && marker <= 0xD7)) { // markers without length
            at += 2;
            continue;
        }
        const std::uint32_t length = b.be16(at + 2);
        if (length < 2 || !b.has(at + 2, length))
            return false;
        if (isStartOfFrame(marker)) {
            if (length < 8 || !b.has(at + 4, 6))
                return false;
            const int precision = b.u8(at + 4), components = b.u8(at + 9);
            if ((precision != 8 && precision != 12) || components < 1 || components > 4 ||
                length != 8 + 3u * components || !saneSize(b.be16(at + 7), b.be16(at + 5)))
                return false;
            sawFrame = true;
        } else if (marker == 0xDA) { // start of scan: entropy-coded data follows
            return sawFrame;
        }
        at += 2 + length;
    }
    return false;
}

// Header, logical screen with sane size, the global colour table inside the data, trailer last.
bool isGif(const Bytes& b) {
    if (!(b.matches(0, "GIF87a", 6) || b.matches(0, "GIF89a", 6)) || !b.has(0, 13))
        return false;
    if (!saneSize(b.le16(6), b.le16(8)))
        return false;
    const int flags = b.u8(10);
    const qsizetype table = (flags & 0x80) ? 3 * (qsizetype(2) << (flags & 7)) : 0;
    return b.has(13, table + 1) && b.u8(b.size() - 1) == 0x3B && b.size() > 13 + table + 1;
}

// RIFF container whose length fits the data, and a first chunk that is a VP8, VP8L or VP8X
// header with sane dimensions.
bool isWebp(const Bytes& b) {
    if (!b.matches(0, "RIFF", 4) || !b.matches(8, "WEBP", 4) || !b.has(12, 8))
        return false;
    const std::uint32_t riffLength = b.le32(4);
    if (riffLength < 12 || qsizetype(riffLength) + 8 > b.size())
        return false;
    const std::uint32_t chunkLength = b.le32(16);
    if (!b.has(20, chunkLength))
        return false;
    if (b.matches(12, "VP8 ", 4)) {
        return chunkLength >= 10 && b.matches(23, "\x9D\x01\x2A", 3) &&
               saneSize(b.le16(26) & 0x3FFF, b.le16(28) & 0x3FFF);
    }
    if (b.matches(12, "VP8L", 4)) {
        if (chunkLength < 5 || b.u8(20) != 0x2F)
            return false;
        const std::uint32_t bits = b.le32(21);
        return saneSize((bits & 0x3FFF) + 1, ((bits >> 14) & 0x3FFF) + 1) && (bits >> 29) == 0;
    }
    if (b.matches(12, "VP8X", 4))
        return chunkLength >= 10 && saneSize(b.le24(24) + 1, b.le24(27) + 1);
    return false;
}

// One box of an ISO media file: where its content starts and ends.
struct Box {
    QByteArrayView type;
    qsizetype content = 0;
    qsizetype end = 0;
};

std::optional<Box> boxAt(const Bytes& b, qsizetype at, qsizetype limit) {
    if (at + 8 > limit || !b.has(at, 8))
        return std::nullopt;
    qsizetype size = b.be32(at);
    qsizetype header = 8;
    if (size == 1) { // 64-bit size; a profile photo never needs the upper half
        if (at + 16 > limit || b.be32(at + 8) != 0)
            return std::nullopt;
        size = b.be32(at + 12);
        header = 16;
    } else if (size == 0) {
        size = limit - at;
    }
    if (size < header || at + size > limit)
        return std::nullopt;
    return Box{b.view(at + 4, 4), at + header, at + size};
}

// Finds the first child box of `type` inside [from, to), checking every sibling's length.
std::optional<Box> childBox(const Bytes& b, qsizetype from, qsizetype to, QByteArrayView type) {
    qsizetype at = from;
    while (at < to) {
        const auto box = boxAt(b, at, to);
        if (!box)
            return std::nullopt;
        if (box->type == type)
            return box;
        at = box->end;
    }
    return std::nullopt;
}

// An ISO media file with an HEIF brand, well-formed top-level boxes, and an image-size property
// (meta → iprp → ipco → ispe) with sane dimensions.
bool isHeic(const Bytes& b) {
    const auto ftyp = boxAt(b, 0, b.size());
    if (!ftyp || ftyp->type != "ftyp" || ftyp->end - ftyp->content < 8)
        return false;
    static const QByteArrayView brands[] = {"heic", "heix", "heim", "heis",
                                            "hevc", "hevx", "mif1", "msf1"};
    bool heif = false;
    for (qsizetype at = ftyp->content; at + 4 <= ftyp->end; at += 4) {
        if (at == ftyp->content + 4)
            continue; // minor version
        for (const auto brand : brands)
            heif = heif || b.view(at, 4) == brand;
    }
    if (!heif)
        return false;
    for (qsizetype at = ftyp->end; at < b.size();) {
        const auto box = boxAt(b, at, b.size());
        if (!box)
            return false;
        at = box->end;
    }
    const auto meta = childBox(b, ftyp->end, b.size(), "meta");
    if (!meta || meta->end - meta->content < 4)
        return false;
    const auto iprp = childBox(b, meta->content + 4, meta->end, "iprp"); // after version/flags
    const auto ipco = iprp ? childBox(b, iprp->content, iprp->end, "ipco") : std::nullopt;
    const auto ispe = ipco ? childBox(b, ipco->content, ipco->end, "ispe") : std::nullopt;
    return ispe && ispe->end - ispe->content >= 12 &&
           saneSize(b.be32(ispe->content + 4), b.be32(ispe->content + 8));
}

} // namespace

std::optional<QString> pictureType(const QByteArray& data) {
    const Bytes b(data);
    if (isPng(b))
        return QStringLiteral("png");
    if (isJpeg(b))
        return QStringLiteral("jpeg");
    if (isGif(b))
        return QStringLiteral("gif");
    if (isWebp(b))
        return QStringLiteral("webp");
    if (isHeic(b))
        return QStringLiteral("heic");
    return std::nullopt;
}

std::optional<QString> avatarReference(const QString& image, qsizetype maximumBytes) {
    QString encoded = image;
    if (encoded.startsWith(u"data:")) {
        const qsizetype comma = encoded.indexOf(u',');
        if (comma < 0)
            return std::nullopt;
        encoded = encoded.mid(comma + 1);
    }
    const auto decoded =
        QByteArray::fromBase64Encoding(encoded.toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
    const QByteArray& bytes = decoded.decoded;
    if (!decoded || bytes.isEmpty() || bytes.size() > maximumBytes)
        return std::nullopt;
    const std::optional<QString> type = pictureType(bytes);
    if (!type)
        return std::nullopt;
    return QStringLiteral("data:image/") + *type + QStringLiteral(";base64,") +
           QString::fromLatin1(bytes.toBase64());
}

} // namespace brevio::PictureCheck
