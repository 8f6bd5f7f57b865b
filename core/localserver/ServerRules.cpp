#include "localserver/ServerRules.h"

#include "model/SystemRandom.h"

#include <QTextBoundaryFinder>

namespace brevio::ServerRules {

qsizetype visibleLength(const QString& text) {
    if (text.isEmpty())
        return 0;
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype count = 0;
    while (finder.toNextBoundary() != -1)
        ++count;
    return count;
}

bool isStrongPassword(const QString& password) {
    return visibleLength(password) >= 8;
}

bool isUsableEmoji(const QString& emoji) {
    if (emoji.isEmpty() || emoji.size() > 32 || visibleLength(emoji) != 1)
        return false;
    for (const QChar c : emoji) {
        if (c.isSpace() || c.category() == QChar::Other_Control)
            return false;
    }
    // A lone code point must be a symbol; a sequence (keycap, flag, ZWJ family, skin tone) is
    // accepted as one cluster.
    const auto points = emoji.toUcs4();
    if (points.size() == 1) {
        return QChar::category(points.front()) == QChar::Symbol_Other;
    }
    return true;
}

QString newToken() {
    const QByteArray raw = SystemRandom::bytes(32);
    return QString::fromLatin1(
        raw.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals));
}

QDateTime wholeMilliseconds(const QDateTime& moment) {
    return QDateTime::fromMSecsSinceEpoch(moment.toMSecsSinceEpoch(), Qt::UTC);
}

} // namespace brevio::ServerRules
