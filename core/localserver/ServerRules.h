#pragma once

#include <QDateTime>
#include <QString>

namespace brevio::ServerRules {

// Length as a person counts it: user-visible characters (grapheme clusters), so an emoji made of
// several code points counts once.
qsizetype visibleLength(const QString& text);

// At least 8 visible characters.
bool isStrongPassword(const QString& password);

// One emoji usable as a reaction: a single grapheme cluster, no white space or control
// characters, at most 32 UTF-16 units, and not a plain letter, digit or punctuation mark.
bool isUsableEmoji(const QString& emoji);

// 32 random bytes in URL-safe base64 without padding: 43 characters.
QString newToken();

// The moment cut to whole milliseconds, in UTC, so it survives the wire's text form unchanged.
QDateTime wholeMilliseconds(const QDateTime& moment);

} // namespace brevio::ServerRules
