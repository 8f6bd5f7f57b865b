#pragma once

// UTF-16 to UTF-8, shared by the two JSON string writers (into a value, into text).

#include <QChar>
#include <QtGlobal>

namespace brevio::json {

// Writes the UTF-8 of the character that starts at p[i] (of n): one UTF-16 unit, or a surrogate
// pair, and then i moves to its second half. A lone surrogate becomes U+FFFD. Returns the new end.
inline unsigned char* putUtf8(const char16_t* p, qsizetype n, qsizetype& i, unsigned char* out) {
    char32_t c = p[i];
    if (c < 0x80) {
        *out++ = static_cast<unsigned char>(c);
        return out;
    }
    if (c < 0x800) {
        *out++ = static_cast<unsigned char>(0xC0 | (c >> 6));
        *out++ = static_cast<unsigned char>(0x80 | (c & 0x3F));
        return out;
    }
    if (QChar::isSurrogate(c)) {
        if (QChar::isHighSurrogate(c) && i + 1 < n && QChar::isLowSurrogate(p[i + 1]))
            c = QChar::surrogateToUcs4(char16_t(c), p[++i]);
        else
            c = QChar::ReplacementCharacter;
    }
    if (c >= 0x10000) {
        *out++ = static_cast<unsigned char>(0xF0 | (c >> 18));
        *out++ = static_cast<unsigned char>(0x80 | ((c >> 12) & 0x3F));
    } else {
        *out++ = static_cast<unsigned char>(0xE0 | (c >> 12));
    }
    *out++ = static_cast<unsigned char>(0x80 | ((c >> 6) & 0x3F));
    *out++ = static_cast<unsigned char>(0x80 | (c & 0x3F));
    return out;
}

} // namespace brevio::json
