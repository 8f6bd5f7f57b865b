#pragma once

#include "session/ReplyTable.h"
#include "state/ChatState.h"
#include "wire/Frames.h"

#include <QHash>
#include <QSet>
#include <functional>

namespace brevio {

// Bringing conversations up to date: history pages asked for by the views or to fill a hole, and
// the changes of every conversation after each connection, with the history requests in flight
// published as keys ("<conversation id>|older", "<conversation id>|newer") so that the same kind
// of request never runs twice for a conversation.
class HistorySync {
public:
    static constexpr qint64 pageSize = 100;

    struct Hooks {
        // Whether a request can go out now.
        std::function<bool()> canRequest;
        // Sends a request; its completion runs with the reply or the error.
        std::function<void(ClientFrame, const QString& id, ReplyTable::Completion)> request;
        // A page was merged into the state.
        std::function<void(const QList<ChatMessage>& messages)> merged;
        // The set of keys in flight changed.
        std::function<void()> loadingChanged;
    };

    HistorySync(ChatState& state, Hooks hooks);
    HistorySync(const HistorySync&) = delete;
    HistorySync& operator=(const HistorySync&) = delete;

    // Latest and newer share a key on purpose: they must never run together.
    static QString key(const QString& conversationID, const HistoryDirection& direction);
    const QSet<QString>& loading() const { return loading_; }

    // One page; nothing when a request with the same key is in flight or none can go out.
    void load(const QString& conversationID, HistoryDirection direction);
    // The page before the first loaded message (the latest page when none is loaded).
    void loadOlder(const QString& conversationID);
    // A new connection: conversations with loaded messages ask for their changes, the others
    // with messages on the server for their latest page.
    void synchronize();
    // The connection is gone and the replies with it: forget every request.
    void abandon();

private:
    struct HistoryRequestInfo {
        QString conversationID;
        HistoryDirection direction;
    };
    struct ChangesRequestInfo {
        QString conversationID;
        qint64 since = 0;
    };

    void historyResult(const QString& id, ReplyTable::Result result);
    void requestChanges(const QString& conversationID, qint64 since);
    void changesResult(const QString& id, ReplyTable::Result result);
    // Messages the changes could not place after the loaded list (a hole) come as newer pages.
    void catchUp(const QString& conversationID);
    void setLoading(QSet<QString> keys);

    ChatState& state_;
    Hooks hooks_;
    QSet<QString> loading_;
    QHash<QString, HistoryRequestInfo> historyRequests_;
    QHash<QString, ChangesRequestInfo> changesRequests_;
};

} // namespace brevio
