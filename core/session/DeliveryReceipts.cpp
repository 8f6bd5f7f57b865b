#include "session/DeliveryReceipts.h"

#include <algorithm>

namespace brevio {

DeliveryReceipts::DeliveryReceipts(Clock& clock, const ChatState& state, Post post)
    : clock_(clock), state_(state), post_(std::move(post)) {}

void DeliveryReceipts::noteMessages(const QList<ChatMessage>& messages) {
    for (const ChatMessage& message : messages) {
        if (!state_.me || state_.me->id != message.authorID)
            note(message.conversationID);
    }
}

void DeliveryReceipts::note(const QString& conversationID) {
    due_.insert(conversationID);
    if (task_)
        return;
    // The timer belongs to this object: destroying it cancels the batch.
    task_ = clock_.schedule(batchDelay, [this] { send(); });
}

void DeliveryReceipts::connected() {
    told_.clear();
    for (auto it = state_.conversations.cbegin(); it != state_.conversations.cend(); ++it) {
        if (dueSeq(it.key()) > 0)
            due_.insert(it.key());
    }
    if (!due_.isEmpty())
        note(*due_.cbegin());
}

void DeliveryReceipts::forget(const QString& conversationID) {
    due_.remove(conversationID);
    told_.remove(conversationID);
}

void DeliveryReceipts::clear() {
    task_.reset();
    due_.clear();
    told_.clear();
}

qint64 DeliveryReceipts::dueSeq(const QString& conversationID) const {
    const auto conversation = state_.conversations.constFind(conversationID);
    if (conversation == state_.conversations.cend() || !state_.me)
        return 0;
    const auto loaded = state_.messages.constFind(conversationID);
    const qint64 last =
        loaded == state_.messages.cend() || loaded->isEmpty() ? 0 : loaded->last().seq;
    const qint64 seq = std::max(conversation->lastSeq, last);
    if (conversation->delivered.value(state_.me->id, 0) >= seq ||
        told_.value(conversationID, 0) >= seq)
        return 0;
    return seq;
}

void DeliveryReceipts::send() {
    task_.reset();
    QStringList due(due_.cbegin(), due_.cend());
    due.sort();
    for (const QString& id : due) {
        const qint64 seq = dueSeq(id);
        if (seq <= 0) {
            due_.remove(id);
            continue;
        }
        // Offline, the conversation stays due and goes with the next batch.
        if (!post_(ClientFrame::delivered({id, seq})))
            return;
        due_.remove(id);
        told_.insert(id, seq);
    }
}

} // namespace brevio
