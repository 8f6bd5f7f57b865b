#include "model/JsonTextWriter.h"

#include "model/Utf8.h"
#include "model/WireCoding.h"

#include <charconv>

namespace brevio::json {

void TextWriter::string(QStringView text) {
    const char16_t* p = text.utf16();
    const qsizetype n = text.size();
    const std::size_t start = out_.size();
    // Room for the worst case (an escape is 6 bytes per UTF-16 unit), trimmed to what was written.
    out_.resize_and_overwrite(start + 2 + 6 * std::size_t(n), [&](char* buffer, std::size_t) {
        // The characters with a two-letter escape; other control characters become \u00XX.
        static constexpr std::string_view shortEscapes("\"\\\b\f\n\r\t");
        static constexpr std::string_view shortEscapeLetters("\"\\bfnrt");
        static constexpr char hex[] = "0123456789abcdef";
        auto* o = reinterpret_cast<unsigned char*>(buffer + start);
        *o++ = '"';
        for (qsizetype i = 0; i < n; ++i) {
            const char16_t c = p[i];
            if (c < 0x80) {
                if (c >= 0x20 && c != '"' && c != '\\') {
                    *o++ = static_cast<unsigned char>(c);
                    continue;
                }
                *o++ = '\\';
                if (const auto k = shortEscapes.find(char(c)); k != std::string_view::npos) {
                    *o++ = static_cast<unsigned char>(shortEscapeLetters[k]);
                } else {
                    *o++ = 'u';
                    *o++ = '0';
                    *o++ = '0';
                    *o++ = static_cast<unsigned char>(hex[c >> 4]);
                    *o++ = static_cast<unsigned char>(hex[c & 0xF]);
                }
            } else {
                o = putUtf8(p, n, i, o);
            }
        }
        *o++ = '"';
        return std::size_t(reinterpret_cast<char*>(o) - buffer);
    });
}

void TextWriter::number(qint64 n) {
    char text[24];
    const auto end = std::to_chars(text, text + sizeof text, n).ptr;
    out_.append(text, std::size_t(end - text));
}

void TextWriter::date(const QDateTime& date) {
    char text[WireCoding::encodedDateLength + 2];
    text[0] = '"';
    WireCoding::encodeDateTo(date, text + 1);
    text[sizeof text - 1] = '"';
    out_.append(text, sizeof text);
}

} // namespace brevio::json
