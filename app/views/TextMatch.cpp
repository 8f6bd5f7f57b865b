#include "views/TextMatch.h"

namespace brevio::TextMatch {

QString fold(const QString& text, QList<qsizetype>* positions) {
    QString folded;
    folded.reserve(text.size());
    if (positions) {
        positions->clear();
        positions->reserve(text.size());
    }
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (c.isSurrogate() || c.unicode() < 0x80) {
            // Plain letters need no decomposition; surrogates pass through as they are.
            folded.append(c.toCaseFolded());
            if (positions)
                positions->append(i);
            continue;
        }
        if (c.unicode() == 0x00DF || c.unicode() == 0x1E9E) {
            // Sharp s folds to "ss", as "Strasse" is how people type "Straße".
            folded.append(QStringLiteral("ss"));
            if (positions)
                positions->append({i, i});
            continue;
        }
        const QString decomposed = QString(c).normalized(QString::NormalizationForm_KD);
        for (const QChar d : decomposed) {
            const auto category = d.category();
            if (category == QChar::Mark_NonSpacing || category == QChar::Mark_SpacingCombining ||
                category == QChar::Mark_Enclosing)
                continue;
            folded.append(d.toCaseFolded());
            if (positions)
                positions->append(i);
        }
    }
    return folded;
}

bool contains(const QString& text, const QString& query) {
    const QString needle = fold(query.trimmed());
    return !needle.isEmpty() && fold(text).contains(needle);
}

QList<Range> find(const QString& text, const QString& query) {
    QList<Range> ranges;
    const QString needle = fold(query.trimmed());
    if (needle.isEmpty())
        return ranges;
    QList<qsizetype> positions;
    const QString haystack = fold(text, &positions);
    qsizetype from = 0;
    while (true) {
        const qsizetype at = haystack.indexOf(needle, from);
        if (at < 0)
            break;
        const qsizetype last = at + needle.size() - 1;
        const qsizetype start = positions[at];
        const qsizetype end = positions[last] + 1;
        ranges.append({start, end - start});
        from = last + 1;
    }
    return ranges;
}

} // namespace brevio::TextMatch
