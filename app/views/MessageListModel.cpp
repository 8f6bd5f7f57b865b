#include "views/MessageListModel.h"

#include "views/ChatTexts.h"
#include "views/TextMatch.h"

#include <QRegularExpression>
#include <algorithm>

namespace brevio {

namespace {

QString deliveryKind(const Delivery& delivery) {
    switch (delivery.kind) {
    case Delivery::Kind::sending:
        return QStringLiteral("sending");
    case Delivery::Kind::sent:
        return QStringLiteral("sent");
    case Delivery::Kind::delivered:
        return QStringLiteral("delivered");
    case Delivery::Kind::read:
        return QStringLiteral("read");
    case Delivery::Kind::failed:
        return QStringLiteral("failed");
    }
    return {};
}

QString kindText(TimelineEntry::Kind kind) {
    switch (kind) {
    case TimelineEntry::Kind::day:
        return QStringLiteral("day");
    case TimelineEntry::Kind::unread:
        return QStringLiteral("unread");
    case TimelineEntry::Kind::message:
        return QStringLiteral("message");
    }
    return {};
}

// Contiguous runs of sorted row numbers, as (first, last) pairs.
QList<std::pair<int, int>> runs(QList<int> rows) {
    std::sort(rows.begin(), rows.end());
    QList<std::pair<int, int>> result;
    for (int row : rows) {
        if (!result.isEmpty() && result.back().second + 1 == row)
            result.back().second = row;
        else
            result.append({row, row});
    }
    return result;
}

} // namespace

MessageListModel::MessageListModel(QObject* parent) : QAbstractListModel(parent) {}

int MessageListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(rows_.size());
}

QHash<int, QByteArray> MessageListModel::roleNames() const {
    return {
        {KindRole, "kind"},
        {RowIDRole, "rowID"},
        {SeparatorRole, "separator"},
        {TextRole, "text"},
        {RichTextRole, "richText"},
        {AuthorRole, "author"},
        {AuthorIDRole, "authorID"},
        {MineRole, "mine"},
        {ShowsAuthorRole, "showsAuthor"},
        {ContinuesRole, "continues"},
        {TimeRole, "time"},
        {DeliveryRole, "delivery"},
        {DeliveryTextRole, "deliveryText"},
        {DeliverySymbolRole, "deliverySymbol"},
        {ShowsStatusRole, "showsStatus"},
        {FailureRole, "failure"},
        {SeqRole, "seq"},
        {PendingRole, "pending"},
        {EditedRole, "edited"},
        {DeletedRole, "deleted"},
        {DeletedTextRole, "deletedText"},
        {QuoteRole, "quote"},
        {ReactionsRole, "reactions"},
        {CanChangeRole, "canChange"},
        {CurrentMatchRole, "currentMatch"},
    };
}

QVariant MessageListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() < 0 || index.row() >= rows_.size())
        return {};
    const Row& row = rows_[index.row()];
    const TimelineMessage& m = row.entry.message;
    switch (role) {
    case KindRole:
        return kindText(row.entry.kind);
    case RowIDRole:
        return row.id;
    case SeparatorRole:
        return row.separator;
    case TextRole:
        return m.isDeleted ? QString() : m.text;
    case RichTextRole:
        return m.isDeleted ? QString() : richText(m.text, query_, style_, m.isMine);
    case AuthorRole:
        return row.author;
    case AuthorIDRole:
        return m.authorID;
    case MineRole:
        return m.isMine;
    case ShowsAuthorRole:
        return m.showsAuthor;
    case ContinuesRole:
        return m.continues;
    case TimeRole:
        return m.date.isValid() ? ChatTexts::timeOfDay(m.date, zone_) : QString();
    case DeliveryRole:
        return deliveryKind(m.delivery);
    case DeliveryTextRole:
        return ChatTexts::deliveryText(m.delivery);
    case DeliverySymbolRole:
        return ChatTexts::deliverySymbol(m.delivery);
    case ShowsStatusRole:
        return m.showsStatus;
    case FailureRole:
        return m.delivery.kind == Delivery::Kind::failed ? ChatTexts::failure(m.delivery.failure)
                                                         : QString();
    case SeqRole:
        return m.seq > 0 ? QString::number(m.seq) : QString();
    case PendingRole:
        return m.isPending();
    case EditedRole:
        return m.isEdited;
    case DeletedRole:
        return m.isDeleted;
    case DeletedTextRole:
        return m.isMine ? QStringLiteral("Hai eliminato questo messaggio")
                        : QStringLiteral("Messaggio eliminato");
    case QuoteRole: {
        if (!m.quote)
            return {};
        return QVariantMap{
            {QStringLiteral("seq"), QString::number(m.quote->seq)},
            {QStringLiteral("title"), ChatTexts::quoteTitle(row.quoteAuthor)},
            {QStringLiteral("text"),
             m.quote->deleted ? QStringLiteral("messaggio eliminato") : m.quote->text},
            {QStringLiteral("deleted"), m.quote->deleted},
        };
    }
    case ReactionsRole: {
        QVariantList list;
        for (const Reaction& r : m.reactions) {
            if (r.userIDs.isEmpty())
                continue;
            list.append(QVariantMap{
                {QStringLiteral("emoji"), r.emoji},
                {QStringLiteral("count"), int(r.userIDs.size())},
                {QStringLiteral("mine"), !myID_.isEmpty() && r.userIDs.contains(myID_)},
            });
        }
        // None: nothing rather than an empty list, which the list's rows would each turn into
        // a script object to be collected.
        return list.isEmpty() ? QVariant() : QVariant(list);
    }
    case CanChangeRole:
        return m.canChange;
    case CurrentMatchRole:
        return !currentMatch_.isEmpty() && row.id == currentMatch_;
    }
    return {};
}

MessageListModel::Row MessageListModel::makeRow(const TimelineEntry& entry, const NameOf& nameOf,
                                                const QDateTime& now) const {
    Row row;
    row.id = entry.id();
    row.entry = entry;
    switch (entry.kind) {
    case TimelineEntry::Kind::day:
        row.separator = ChatTexts::day(entry.day, now, zone_);
        break;
    case TimelineEntry::Kind::unread:
        row.separator = ChatTexts::unreadSeparator(entry.count);
        break;
    case TimelineEntry::Kind::message:
        row.author = nameOf(entry.message.authorID);
        if (entry.message.quote)
            row.quoteAuthor = nameOf(entry.message.quote->authorID);
        break;
    }
    return row;
}

void MessageListModel::setRows(const QList<TimelineEntry>& oldestFirst, const NameOf& nameOf,
                               const QDateTime& now) {
    replaceNewest(int(rows_.size()), oldestFirst, nameOf, now);
}

int MessageListModel::rowsOfNewestFrom(const QString& rowID) const {
    int row = rowOf(rowID);
    if (row < 0)
        return -1;
    // The separators above a message belong to it.
    while (row + 1 < rows_.size() && rows_[row + 1].entry.kind != TimelineEntry::Kind::message)
        ++row;
    return row + 1;
}

void MessageListModel::replaceNewest(int oldCount, const QList<TimelineEntry>& oldestFirst,
                                     const NameOf& nameOf, const QDateTime& now) {
    oldCount = std::clamp(oldCount, 0, int(rows_.size()));
    const bool whole = oldCount == rows_.size();
    QList<Row> next;
    next.reserve(oldestFirst.size());
    for (auto it = oldestFirst.crbegin(); it != oldestFirst.crend(); ++it)
        next.append(makeRow(*it, nameOf, now));

    // The first rows, as a conversation opens: nothing to compare them with.
    if (rows_.isEmpty()) {
        if (!next.isEmpty()) {
            beginInsertRows({}, 0, int(next.size()) - 1);
            rows_ = std::move(next);
            reindex();
            endInsertRows();
        }
        return;
    }

    QHash<QString, int> nextIndex;
    nextIndex.reserve(next.size());
    for (int i = 0; i < next.size(); ++i)
        nextIndex.insert(next[i].id, i);
    if (!whole)
        for (int i = 0; i < oldCount; ++i)
            index_.remove(rows_[i].id);

    // 1. Rows that went, from the far end so that earlier numbers stay right.
    QList<int> gone;
    for (int i = 0; i < oldCount; ++i)
        if (!nextIndex.contains(rows_[i].id))
            gone.append(i);
    const auto goneRuns = runs(gone);
    for (auto it = goneRuns.crbegin(); it != goneRuns.crend(); ++it) {
        beginRemoveRows({}, it->first, it->second);
        rows_.remove(it->first, it->second - it->first + 1);
        endRemoveRows();
    }
    int kept = oldCount - int(gone.size());

    // 2. The rows that stay must keep their order; if they do not (it should not happen), start
    // over rather than show a wrong order.
    int last = -1;
    bool ordered = true;
    for (int i = 0; i < kept; ++i) {
        const int at = nextIndex.value(rows_[i].id);
        if (at < last) {
            ordered = false;
            break;
        }
        last = at;
    }
    if (!ordered) {
        beginResetModel();
        rows_.remove(0, kept);
        rows_ = next + rows_;
        reindex();
        endResetModel();
        return;
    }

    // 3. New rows slot in where they belong; rows that stay are compared. Invariant: the first i
    // rows shown are next's first i, and rows [i, i + kept) are the kept rows not yet passed.
    QList<int> changed;
    int newestMessages = 0;
    const bool hadRows = !rows_.isEmpty();
    for (int i = 0; i < next.size();) {
        if (kept > 0 && rows_[i].id == next[i].id) {
            if (!(rows_[i] == next[i])) {
                rows_[i] = next[i];
                changed.append(i);
            }
            ++i;
            --kept;
            continue;
        }
        int end = i + 1;
        while (end < next.size() && !(kept > 0 && next[end].id == rows_[i].id))
            ++end;
        beginInsertRows({}, i, end - 1);
        rows_.insert(i, end - i, Row{});
        for (int k = i; k < end; ++k)
            rows_[k] = next[k];
        endInsertRows();
        if (i == 0 && hadRows)
            for (int k = 0; k < end; ++k)
                newestMessages += next[k].entry.kind == TimelineEntry::Kind::message &&
                                  !next[k].entry.message.isMine;
        i = end;
    }
    if (whole) {
        reindex();
    } else {
        // Positions count from the oldest row: the older rows kept theirs.
        const int size = int(rows_.size());
        for (int i = 0; i < next.size(); ++i)
            index_.insert(rows_[i].id, size - 1 - i);
    }
    emitChanged(changed);
    if (newestMessages > 0)
        Q_EMIT newestInserted(newestMessages);
}

void MessageListModel::setUnreadCount(qint64 count) {
    const int row = rowOf(QStringLiteral("unread"));
    if (row < 0 || rows_[row].entry.count == count)
        return;
    rows_[row].entry.count = count;
    rows_[row].separator = ChatTexts::unreadSeparator(count);
    emitChanged({row}, {SeparatorRole});
}

void MessageListModel::reindex() {
    index_.clear();
    index_.reserve(rows_.size());
    const int size = int(rows_.size());
    for (int i = 0; i < size; ++i)
        index_.insert(rows_[i].id, size - 1 - i);
}

void MessageListModel::emitChanged(const QList<int>& rows, const QList<int>& roles) {
    for (const auto& [first, last] : runs(rows))
        Q_EMIT dataChanged(index(first), index(last), roles);
}

int MessageListModel::rowOfSeq(qint64 seq) const {
    if (seq <= 0)
        return -1;
    for (int i = 0; i < rows_.size(); ++i) {
        const TimelineEntry& e = rows_[i].entry;
        if (e.kind == TimelineEntry::Kind::message && e.message.seq == seq)
            return i;
    }
    return -1;
}

void MessageListModel::setSearch(const QString& query, const QString& currentRowID) {
    const QString trimmed = query.trimmed();
    if (trimmed == query_ && currentRowID == currentMatch_)
        return;
    const QString previousMatch = currentMatch_;
    const bool queryChanged = trimmed != query_;
    query_ = trimmed;
    currentMatch_ = currentRowID;
    if (queryChanged && !rows_.isEmpty())
        Q_EMIT dataChanged(index(0), index(int(rows_.size()) - 1),
                           {RichTextRole, CurrentMatchRole});
    else
        emitChanged({rowOf(previousMatch), rowOf(currentRowID)}, {CurrentMatchRole});
}

void MessageListModel::setTextStyle(const TextStyle& style) {
    if (style == style_)
        return;
    style_ = style;
    if (!rows_.isEmpty())
        Q_EMIT dataChanged(index(0), index(int(rows_.size()) - 1), {RichTextRole});
}

QString MessageListModel::richText(const QString& text, const QString& query,
                                   const TextStyle& style, bool mine) {
    static const QRegularExpression links(
        QStringLiteral(R"((?:https?://|www\.)[^\s<>"]+[^\s<>"'.,;:!?)\]])"),
        QRegularExpression::CaseInsensitiveOption);
    struct Span {
        qsizetype start, end;
        QString href;
    };
    QList<Span> spans;
    for (auto it = links.globalMatch(text); it.hasNext();) {
        const auto match = it.next();
        QString href = match.captured();
        if (!href.startsWith(QStringLiteral("http"), Qt::CaseInsensitive))
            href.prepend(QStringLiteral("https://"));
        spans.append({match.capturedStart(), match.capturedEnd(), href});
    }
    const QList<TextMatch::Range> matches = TextMatch::find(text, query);
    // Nothing to mark up: the bubble shows the plain text, which lays out much faster.
    if (spans.isEmpty() && matches.isEmpty())
        return {};
    QList<bool> marked(text.size(), false);
    for (const TextMatch::Range& r : matches)
        for (qsizetype i = r.start; i < r.start + r.length; ++i)
            marked[i] = true;

    QString html;
    html.reserve(text.size() + 32);
    qsizetype span = 0;
    bool inLink = false, inMark = false;
    const auto openMark = [&] {
        html += QStringLiteral("<span style=\"color:") + style.highlightText +
                QStringLiteral(";background-color:") + style.highlight + QStringLiteral("\">");
        inMark = true;
    };
    const auto closeMark = [&] {
        html += QStringLiteral("</span>");
        inMark = false;
    };
    for (qsizetype i = 0; i <= text.size(); ++i) {
        // Closings first, then openings, so tags nest: <a><span>…</span></a>.
        const bool linkEnds = inLink && i == spans[span].end;
        if ((inMark && (i == text.size() || !marked[i])) || (inMark && linkEnds))
            closeMark();
        if (linkEnds) {
            html += QStringLiteral("</a>");
            inLink = false;
            ++span;
        }
        if (i == text.size())
            break;
        if (!inLink && span < spans.size() && i == spans[span].start) {
            html += QStringLiteral("<a style=\"color:") + (mine ? style.ownLink : style.link) +
                    QStringLiteral("\" href=\"") + spans[span].href.toHtmlEscaped() +
                    QStringLiteral("\">");
            inLink = true;
        }
        if (!inMark && marked[i])
            openMark();
        const QChar c = text.at(i);
        if (c == u'\n')
            html += QStringLiteral("<br>");
        else if (c == u'<')
            html += QStringLiteral("&lt;");
        else if (c == u'>')
            html += QStringLiteral("&gt;");
        else if (c == u'&')
            html += QStringLiteral("&amp;");
        else if (c == u'"')
            html += QStringLiteral("&quot;");
        else if (c == u' ' && i + 1 < text.size() && text.at(i + 1) == u' ')
            html += QStringLiteral("&nbsp;");
        else
            html += c;
    }
    return html;
}

} // namespace brevio
