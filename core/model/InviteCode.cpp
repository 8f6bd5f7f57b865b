#include "model/InviteCode.h"

#include "model/SystemRandom.h"

#include <QTextBoundaryFinder>

namespace brevio::InviteCode {

static_assert(alphabetSize == 31);

QString normalise(const QString& typed) {
    const QString upper = typed.toUpper();
    QString cleaned;
    cleaned.reserve(upper.size());
    for (const QChar c : upper) {
        if (!c.isSpace() && c != u'-')
            cleaned.append(c);
    }

    // A character never takes less than one UTF-16 unit, so a short text cannot hold eight.
    if (cleaned.size() < codeLength)
        return cleaned;

    // Count user-visible characters, not UTF-16 units, so that a pasted accented letter or emoji
    // is counted the way the user sees it.
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, cleaned);
    qsizetype half = -1;
    int count = 0;
    for (qsizetype at = finder.toNextBoundary(); at != -1; at = finder.toNextBoundary()) {
        if (++count > codeLength)
            return cleaned;
        if (count == codeLength / 2)
            half = at;
    }
    if (count != codeLength)
        return cleaned;
    return cleaned.left(half) + u'-' + cleaned.mid(half);
}

QString generate(const std::function<std::uint32_t(std::uint32_t)>& draw) {
    QString code;
    code.reserve(codeLength + 1);
    for (int i = 0; i < codeLength; ++i) {
        if (i == codeLength / 2)
            code.append(u'-');
        const std::uint32_t index = draw(alphabetSize);
        // A draw outside the range would be a broken source; wrap it rather than read past the
        // alphabet.
        code.append(QLatin1Char(alphabet[index % alphabetSize]));
    }
    return code;
}

QString generate() {
    return generate([](std::uint32_t bound) { return SystemRandom::uniform(bound); });
}

} // namespace brevio::InviteCode
