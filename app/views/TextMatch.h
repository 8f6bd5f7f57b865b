#pragma once

#include <QList>
#include <QString>

namespace brevio {

// Matching as people expect from a search field: case- and accent-insensitive ("perche" finds
// "Perché"), on the text as it is written.
namespace TextMatch {

// The text folded for comparison: decomposed, marks dropped, case folded. Folding keeps one
// character per character of `text` where it can, so positions found in the folded text point
// into the original; `positions` receives, for each folded character, its index in `text`.
QString fold(const QString& text, QList<qsizetype>* positions = nullptr);

// Whether `text` contains the trimmed `query`; an empty query matches nothing.
bool contains(const QString& text, const QString& query);

// Where the trimmed `query` occurs in `text`: start and length in `text`, in order, not
// overlapping.
struct Range {
    qsizetype start = 0;
    qsizetype length = 0;
    friend bool operator==(const Range&, const Range&) = default;
};
QList<Range> find(const QString& text, const QString& query);

} // namespace TextMatch
} // namespace brevio
