#pragma once

#include "state/Timeline.h"

#include <QAbstractListModel>
#include <QHash>
#include <QTimeZone>
#include <QtQml/qqmlregistration.h>
#include <functional>

namespace brevio {

// The rows of one conversation for a bottom-to-top list: index 0 is the newest row. Each update
// is diffed against the rows shown by their stable identities, so a new message is one inserted
// row, an older page rows added at the far end, an edit one changed row; nothing is reset.
class MessageListModel : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("each chat view owns its list")

public:
    enum Role {
        KindRole = Qt::UserRole + 1, // "day", "unread" or "message"
        RowIDRole,
        SeparatorRole, // the day or unread separator's text
        TextRole,
        RichTextRole, // the text as HTML when it has links or search matches, otherwise ""
        AuthorRole,
        AuthorIDRole,
        MineRole,
        ShowsAuthorRole,
        ContinuesRole,
        TimeRole,
        DeliveryRole, // "sending", "sent", "delivered", "read" or "failed"
        DeliveryTextRole,
        DeliverySymbolRole,
        ShowsStatusRole,
        FailureRole, // "Non inviato: <reason>" for a failed message
        SeqRole,     // as text; "" for an outbox entry
        PendingRole,
        EditedRole,
        DeletedRole,
        DeletedTextRole,
        QuoteRole,     // {seq, title, text, deleted} or nothing
        ReactionsRole, // [{emoji, count, mine}]
        CanChangeRole,
        CurrentMatchRole,
    };

    // The colours written into a bubble's HTML, from the theme.
    struct TextStyle {
        QString highlight = QStringLiteral("#FFE58A");     // a search match's background
        QString highlightText = QStringLiteral("#1B1D21"); // and its text
        QString link = QStringLiteral("#2F6FEB");          // links in others' bubbles
        QString ownLink = QStringLiteral("#FFFFFF");       // links in one's own
        friend bool operator==(const TextStyle&, const TextStyle&) = default;
    };

    // The author names the rows show; "Utente" for an unknown person.
    using NameOf = std::function<QString(const QString& userID)>;

    explicit MessageListModel(QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    // Replaces the rows (oldest first, as the timeline gives them) by changing only what differs.
    void setRows(const QList<TimelineEntry>& oldestFirst, const NameOf& nameOf,
                 const QDateTime& now);
    void setZone(const QTimeZone& zone) { zone_ = zone; }
    void setMyID(const QString& myID) { myID_ = myID; }
    // Highlights `query` in every message and marks the row `currentRowID` as the current match.
    void setSearch(const QString& query, const QString& currentRowID);
    void setTextStyle(const TextStyle& style);
    // Replaces only the newest `oldCount` rows by the rows of `oldestFirst` (the newest part of
    // the timeline), diffed in the same way; the older rows stay as they are.
    void replaceNewest(int oldCount, const QList<TimelineEntry>& oldestFirst, const NameOf& nameOf,
                       const QDateTime& now);
    // How many of the newest rows belong to the row `rowID` and those after it (its separators
    // included), or -1 when it is not shown.
    int rowsOfNewestFrom(const QString& rowID) const;
    // The unread separator's count, when it lies outside the rows being replaced.
    void setUnreadCount(qint64 count);

    // The row of an identity, or -1.
    int rowOf(const QString& rowID) const {
        const int position = index_.value(rowID, -1);
        return position < 0 ? -1 : int(rows_.size()) - 1 - position;
    }
    // The row showing the message with this seq, or -1.
    int rowOfSeq(qint64 seq) const;
    const TimelineEntry& entry(int row) const { return rows_[row].entry; }
    QString rowID(int row) const { return rows_[row].id; }

    // HTML for a message text: escaped, line breaks kept, web addresses as links (in the style's
    // link colour), matches of `query` highlighted; "" when it has neither links nor matches.
    static QString richText(const QString& text, const QString& query, const TextStyle& style,
                            bool mine);

Q_SIGNALS:
    // Messages of others came in at the newest end (counted for the "new messages" label).
    void newestInserted(int count);

private:
    struct Row {
        QString id;
        TimelineEntry entry;
        QString separator;
        QString author;
        QString quoteAuthor;
        friend bool operator==(const Row&, const Row&) = default;
    };
    Row makeRow(const TimelineEntry& entry, const NameOf& nameOf, const QDateTime& now) const;
    void reindex();
    void emitChanged(const QList<int>& rows, const QList<int>& roles = {});

    QList<Row> rows_; // newest first
    // Identity → position counted from the oldest row, so that rows arriving at the newest end
    // move nobody's.
    QHash<QString, int> index_;
    QTimeZone zone_ = QTimeZone::systemTimeZone();
    QString myID_;
    QString query_;
    QString currentMatch_;
    TextStyle style_;
};

} // namespace brevio
