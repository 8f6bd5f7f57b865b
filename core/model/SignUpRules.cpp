#include "model/SignUpRules.h"

#include <QRegularExpression>
#include <QTextBoundaryFinder>

namespace brevio::SignUpRules {

namespace {

// Counts user-visible characters, stopping as soon as the limit is passed so that a huge paste
// costs no more than a short one.
bool fitsLength(const QString& text, qsizetype limit) {
    // A character takes at least one UTF-16 unit: short texts need no segmentation.
    if (text.size() <= limit)
        return true;
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype count = 0;
    while (finder.toNextBoundary() != -1) {
        if (++count > limit)
            return false;
    }
    return true;
}

const QRegularExpression& emailPattern() {
    // One compiled copy per thread: the rule may be called from any thread, and a shared
    // QRegularExpression is only reentrant. Unicode properties make \s cover no-break and other
    // Unicode spaces, not only ASCII ones.
    thread_local const QRegularExpression pattern(
        QRegularExpression::anchoredPattern(QStringLiteral(R"([^\s@]+@[^\s@]+\.[^\s@]+)")),
        QRegularExpression::UseUnicodePropertiesOption);
    return pattern;
}

} // namespace

bool isValidEmail(const QString& email) {
    if (!fitsLength(email, maximumEmailLength))
        return false;
    return emailPattern().match(email).hasMatch();
}

} // namespace brevio::SignUpRules
