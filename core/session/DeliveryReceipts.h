#pragma once

#include "model/Clock.h"
#include "state/ChatState.h"
#include "wire/Frames.h"

#include <QHash>
#include <QSet>
#include <functional>

namespace brevio {

// Delivered receipts of a session: conversations become due as messages of others arrive, and one
// batch a short while after the first of them tells the server, one frame per conversation. A
// conversation is due until the server has the receipt: its own mark in the state (from the
// welcome and from events) or a frame sent on the current connection.
class DeliveryReceipts {
public:
    static constexpr Duration batchDelay{250};

    // `post` puts a frame on the live connection and is false when there is none.
    using Post = std::function<bool(ClientFrame)>;

    DeliveryReceipts(Clock& clock, const ChatState& state, Post post);
    DeliveryReceipts(const DeliveryReceipts&) = delete;
    DeliveryReceipts& operator=(const DeliveryReceipts&) = delete;

    // Messages arrived; those of others make their conversation due.
    void noteMessages(const QList<ChatMessage>& messages);
    void note(const QString& conversationID);
    // A new connection has been told nothing yet: whatever the server lacks is due.
    void connected();
    // The conversation is gone.
    void forget(const QString& conversationID);
    // Signed out: nothing is due any more.
    void clear();

private:
    // The seq a receipt would carry now; 0 when none is due.
    qint64 dueSeq(const QString& conversationID) const;
    void send();

    Clock& clock_;
    const ChatState& state_;
    Post post_;
    QSet<QString> due_;
    TimerHandle task_;
    // The highest seq told on the current connection, by conversation.
    QHash<QString, qint64> told_;
};

} // namespace brevio
