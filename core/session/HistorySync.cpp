#include "session/HistorySync.h"

#include "model/SystemRandom.h"

#include <algorithm>

namespace brevio {

namespace {

qint64 lastLoadedSeq(const ChatState& state, const QString& conversationID) {
    const auto it = state.messages.constFind(conversationID);
    return it == state.messages.cend() || it->isEmpty() ? 0 : it->last().seq;
}

} // namespace

HistorySync::HistorySync(ChatState& state, Hooks hooks) : state_(state), hooks_(std::move(hooks)) {}

QString HistorySync::key(const QString& conversationID, const HistoryDirection& direction) {
    return conversationID + (direction.kind == HistoryDirection::Kind::older
                                 ? QStringLiteral("|older")
                                 : QStringLiteral("|newer"));
}

void HistorySync::setLoading(QSet<QString> keys) {
    if (loading_ == keys)
        return;
    loading_ = std::move(keys);
    hooks_.loadingChanged();
}

void HistorySync::load(const QString& conversationID, HistoryDirection direction) {
    const QString pageKey = key(conversationID, direction);
    if (loading_.contains(pageKey) || !hooks_.canRequest() ||
        !state_.conversations.contains(conversationID))
        return;
    const QString id = SystemRandom::uuid();
    historyRequests_.insert(id, {conversationID, direction});
    QSet<QString> keys = loading_;
    keys.insert(pageKey);
    setLoading(std::move(keys));

    HistoryRequest page{id, conversationID, std::nullopt, std::nullopt, pageSize};
    if (direction.kind == HistoryDirection::Kind::newer)
        page.after = direction.seq;
    else if (direction.kind == HistoryDirection::Kind::older)
        page.before = direction.seq;
    // The replies belong to the session, which owns this object and drops them unanswered when
    // it goes.
    hooks_.request(ClientFrame::history(std::move(page)), id,
                   [this, id](ReplyTable::Result result) { historyResult(id, std::move(result)); });
}

void HistorySync::loadOlder(const QString& conversationID) {
    const qint64 first = [&]() -> qint64 {
        const auto it = state_.messages.constFind(conversationID);
        return it == state_.messages.cend() || it->isEmpty() ? 0 : it->first().seq;
    }();
    load(conversationID, first > 0 ? HistoryDirection::older(first) : HistoryDirection::latest());
}

void HistorySync::historyResult(const QString& id, ReplyTable::Result result) {
    // Gone from the table: the request was abandoned with its connection, and a newer request
    // may own the key by now.
    const auto it = historyRequests_.constFind(id);
    if (it == historyRequests_.cend())
        return;
    const HistoryRequestInfo info = *it;
    historyRequests_.erase(it);
    QSet<QString> keys = loading_;
    keys.remove(key(info.conversationID, info.direction));
    setLoading(std::move(keys));
    if (!result || result->type != ServerFrame::Type::history)
        return; // the view may ask again

    const HistoryPage& page = *result->as<HistoryPage>();
    const qint64 before = lastLoadedSeq(state_, info.conversationID);
    state_.mergeHistory(info.conversationID, page.messages, page.hasMore,
                        info.direction.reachesBack());
    hooks_.merged(page.messages);
    // A newer page that did not reach the end: keep going, as long as each page moves forward.
    if (info.direction.kind == HistoryDirection::Kind::newer && page.hasMore) {
        const qint64 last = lastLoadedSeq(state_, info.conversationID);
        if (last > std::max(before, info.direction.seq))
            load(info.conversationID, HistoryDirection::newer(last));
    }
}

void HistorySync::requestChanges(const QString& conversationID, qint64 since) {
    const QString id = SystemRandom::uuid();
    changesRequests_.insert(id, {conversationID, since});
    hooks_.request(ClientFrame::changes({id, conversationID, since}), id,
                   [this, id](ReplyTable::Result result) { changesResult(id, std::move(result)); });
}

void HistorySync::changesResult(const QString& id, ReplyTable::Result result) {
    const auto it = changesRequests_.constFind(id);
    if (it == changesRequests_.cend())
        return;
    const ChangesRequestInfo info = *it;
    changesRequests_.erase(it);
    if (!result || result->type != ServerFrame::Type::changes)
        return;

    const ChangesPage& page = *result->as<ChangesPage>();
    const std::optional<qint64> missingAfter =
        state_.mergeChanges(info.conversationID, page.messages, page.revision);
    hooks_.merged(page.messages);
    if (page.hasMore && page.revision > info.since)
        requestChanges(info.conversationID, page.revision);
    else if (missingAfter)
        load(info.conversationID, HistoryDirection::newer(*missingAfter));
    else
        catchUp(info.conversationID);
}

void HistorySync::catchUp(const QString& conversationID) {
    const auto conversation = state_.conversations.constFind(conversationID);
    if (conversation == state_.conversations.cend())
        return;
    const qint64 last = lastLoadedSeq(state_, conversationID);
    if (last > 0 && conversation->lastSeq > last)
        load(conversationID, HistoryDirection::newer(last));
}

void HistorySync::synchronize() {
    QStringList ids = state_.conversations.keys();
    ids.sort();
    for (const QString& id : ids) {
        if (lastLoadedSeq(state_, id) > 0)
            requestChanges(id, state_.revisions.value(id, 0));
        else if (state_.conversations.value(id).lastSeq > 0)
            load(id, HistoryDirection::latest());
    }
}

void HistorySync::abandon() {
    historyRequests_.clear();
    changesRequests_.clear();
    setLoading({});
}

} // namespace brevio
