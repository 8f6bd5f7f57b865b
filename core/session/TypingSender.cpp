#include "session/TypingSender.h"

#include <algorithm>

namespace brevio {

TypingSender::TypingSender(Clock& clock, ChatState& state, Post post, std::function<void()> changed)
    : clock_(clock), state_(state), post_(std::move(post)), changed_(std::move(changed)) {}

void TypingSender::keystroke(const QString& conversationID) {
    const QDateTime now = clock_.now();
    const auto sent = sentAt_.constFind(conversationID);
    if (sent == sentAt_.cend() || Duration(sent->msecsTo(now)) >= resendInterval) {
        if (post_(ClientFrame::typing({conversationID, true})))
            sentAt_.insert(conversationID, now);
    }
    // The timers belong to this object: destroying it, or replacing a timer, cancels them.
    stopTasks_[conversationID] =
        clock_.schedule(autoStop, [this, conversationID] { stop(conversationID); });
}

void TypingSender::stop(const QString& conversationID) {
    const bool signalled = sentAt_.remove(conversationID) > 0;
    stopTasks_.erase(conversationID);
    // Only a typing mark the others were actually shown needs taking back.
    if (signalled)
        post_(ClientFrame::typing({conversationID, false}));
}

void TypingSender::forget(const QString& conversationID) {
    sentAt_.remove(conversationID);
    stopTasks_.erase(conversationID);
}

void TypingSender::clear() {
    stopTasks_.clear();
    sentAt_.clear();
}

void TypingSender::remote(const QString& conversationID, const QString& userID, bool isTyping) {
    if (isTyping)
        state_.setTyping(conversationID, userID, clock_.now().addMSecs(remoteLife.count()));
    else
        state_.clearTyping(conversationID, userID);
    schedulePrune();
}

void TypingSender::schedulePrune() {
    if (pruneTask_)
        return;
    const std::optional<QDateTime> earliest = state_.earliestTypingExpiry();
    if (!earliest)
        return;
    const Duration wait =
        std::max(Duration(clock_.now().msecsTo(*earliest)) + pruneMargin, pruneMinimum);
    pruneTask_ = clock_.schedule(wait, [this] {
        pruneTask_.reset();
        if (state_.pruneTyping(clock_.now()))
            changed_();
        schedulePrune();
    });
}

} // namespace brevio
