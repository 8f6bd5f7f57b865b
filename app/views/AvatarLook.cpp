#include "views/AvatarLook.h"

#include <QStringView>
#include <cstdint>

namespace brevio {

namespace {

// The first letter or digit of `word` with the marks that follow it ("E" and a combining acute).
QString firstLetter(QStringView word) {
    for (qsizetype at = 0; at < word.size();) {
        char32_t point = word[at].unicode();
        qsizetype length = 1;
        if (word[at].isHighSurrogate() && at + 1 < word.size() && word[at + 1].isLowSurrogate()) {
            point = QChar::surrogateToUcs4(word[at], word[at + 1]);
            length = 2;
        }
        if (QChar::isLetterOrNumber(point)) {
            qsizetype end = at + length;
            while (end < word.size() && word[end].isMark())
                ++end;
            return word.sliced(at, end - at).toString();
        }
        at += length;
    }
    return {};
}

} // namespace

QString AvatarLook::initialsOf(const QString& name) {
    QString initials;
    int taken = 0;
    for (qsizetype at = 0; at < name.size() && taken < 2;) {
        while (at < name.size() && name[at].isSpace())
            ++at;
        qsizetype end = at;
        while (end < name.size() && !name[end].isSpace())
            ++end;
        const QString letter = firstLetter(QStringView(name).sliced(at, end - at));
        if (!letter.isEmpty()) {
            initials += letter;
            ++taken;
        }
        at = end;
    }
    return initials.toUpper();
}

int AvatarLook::hueIndexOf(const QString& id) {
    // 32-bit FNV-1a.
    std::uint32_t hash = 2166136261u;
    for (const char byte : id.toUtf8()) {
        hash ^= std::uint8_t(byte);
        hash *= 16777619u;
    }
    return int(hash % hues.size());
}

} // namespace brevio
