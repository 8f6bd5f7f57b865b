#pragma once

#include "state/ChatState.h"
#include "views/MessageListModel.h"

#include <QTimeZone>
#include <optional>
#include <vector>

namespace brevio {

// Keeps a MessageListModel on one conversation's timeline. Most changes to a long conversation
// touch only its newest rows (a live message, an acknowledged send, a receipt for the latest
// message): then only those rows are built and compared. Anything else (an edit far back, an older
// page, a welcome, a new day) rebuilds the whole list, which the model still diffs row by row.
class TimelineFeed {
public:
    explicit TimelineFeed(MessageListModel& model) : model_(model) {}

    // Brings the rows to the timeline of `conversationID`; true when only the newest part was
    // rebuilt.
    bool update(const ChatState& state, const QString& conversationID,
                std::optional<qint64> unreadAfter, const QDateTime& now, const QTimeZone& zone,
                const MessageListModel::NameOf& nameOf);
    // The next update rebuilds everything (another conversation, another session).
    void forget() { last_.reset(); }
    // Stored and outbox messages shown.
    qsizetype messageCount() const { return last_ ? last_->messageCount : 0; }

private:
    // What the rows of the older messages depend on besides the messages themselves.
    struct Shape {
        QString conversationID;
        std::optional<qint64> unreadAfter;
        QDate today;
        QString myID;
        DeliveryThresholds thresholds;
        qsizetype changeableFrom = 0; // first stored message still inside the change window
        size_t names = 0;             // the people's names the rows show as authors and in quotes
        // Equal but for the receipts' marks, which move only the ticks of the messages between
        // the old and the new mark.
        bool sameBesideMarks(const Shape& b) const {
            return conversationID == b.conversationID && unreadAfter == b.unreadAfter &&
                   today == b.today && myID == b.myID && thresholds.valid == b.thresholds.valid &&
                   changeableFrom == b.changeableFrom && names == b.names;
        }
    };
    struct Built {
        Shape shape;
        // Copies of the stored messages the rows were built from: they share their texts with the
        // state's, so keeping them is cheap and comparing an unchanged one is quick.
        std::vector<ChatMessage> stored;
        qsizetype messageCount = 0;
        qsizetype statusRow = -1;
        qsizetype firstUnread = -1;
    };

    static Shape shapeOf(const ChatState& state, const QString& conversationID,
                         std::optional<qint64> unreadAfter, const QDateTime& now,
                         const QTimeZone& zone);

    MessageListModel& model_;
    std::optional<Built> last_;
};

} // namespace brevio
