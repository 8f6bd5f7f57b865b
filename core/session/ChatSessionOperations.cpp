// The operations a signed-in session offers the views, and how it applies what the server sends.

#include "session/ChatSession.h"

#include "model/SystemRandom.h"

#include <QPointer>
#include <algorithm>

namespace brevio {

namespace {

std::expected<void, ChatError> expectOk(const ServerFrame& frame) {
    if (frame.type == ServerFrame::Type::ok)
        return {};
    return std::unexpected(ChatError::unexpectedReply());
}

} // namespace

bool ChatSession::isMine(const ChatMessage& message) const {
    return state_.me && state_.me->id == message.authorID;
}

void ChatSession::raise(const SessionEvent& event) {
    if (onEvent_)
        onEvent_(event);
}

template <class T>
void ChatSession::ask(ClientFrame frame, const QString& id, Done<T> done,
                      std::function<std::expected<T, ChatError>(const ServerFrame&)> onReply) {
    QPointer<ChatSession> self(this);
    request(
        std::move(frame), id,
        [self, done = std::move(done), onReply = std::move(onReply)](ReplyTable::Result result) {
            if (!self)
                return;
            if (!result) {
                self->complete(done, std::expected<T, ChatError>(std::unexpected(result.error())));
                return;
            }
            self->complete(done, onReply(*result));
        });
}

// ---- Sending ------------------------------------------------------------------------------------

QString ChatSession::send(const QString& conversationID, const QString& text,
                          std::optional<qint64> replyToSeq) {
    PendingMessage pending{SystemRandom::uuid(), conversationID, text,
                           clock_.now(),         std::nullopt,   replyToSeq};
    if (!state_.appendPending(pending))
        return {};
    publishState();
    saving_.schedule(); // the outbox survives a restart
    stopTyping(conversationID);
    if (status_.isOnline())
        transmit(pending);
    return pending.clientID;
}

void ChatSession::transmit(const PendingMessage& pending) {
    const QString clientID = pending.clientID;
    QPointer<ChatSession> self(this);
    // The client id doubles as the request id, so a resend after a lost ack is recognised by the
    // server as the same message.
    request(ClientFrame::send({clientID, pending.conversationID, pending.text, pending.replyToSeq}),
            clientID, [self, clientID](ReplyTable::Result result) {
                if (self)
                    self->handleSendResult(clientID, std::move(result));
            });
}

void ChatSession::handleSendResult(const QString& clientID, ReplyTable::Result result) {
    if (result && result->type == ServerFrame::Type::ack) {
        const ChatMessage& message = result->as<Ack>()->message;
        // insert() retires the pending copy (a conversation removed meanwhile took it along).
        const InsertResult inserted = state_.insert(message);
        publishState();
        afterInsert(message, inserted, false);
        saving_.schedule();
        return;
    }
    const ChatError error = result ? ChatError::unexpectedReply() : result.error();
    // Lost with the connection: the entry stays unsent and goes out again at the next attach.
    if (error.kind == ChatError::Kind::notConnected)
        return;
    const auto entry =
        std::find_if(state_.outbox.cbegin(), state_.outbox.cend(),
                     [&](const PendingMessage& p) { return p.clientID == clientID; });
    if (entry == state_.outbox.cend())
        return;
    QStringList failed{clientID};
    if (error.kind == ChatError::Kind::timeout) {
        // The server may never have had it. Whatever was written after it in the conversation
        // waits with it for the user's retry, or the next connection would send those first.
        for (auto later = entry + 1; later != state_.outbox.cend(); ++later) {
            if (later->conversationID == entry->conversationID && !later->failure)
                failed.append(later->clientID);
        }
    }
    for (const QString& id : failed)
        state_.setFailure(id, error.description());
    publishState();
    saving_.schedule();
}

bool ChatSession::retrySend(const QString& clientID) {
    const auto it = std::find_if(state_.outbox.cbegin(), state_.outbox.cend(),
                                 [&](const PendingMessage& p) { return p.clientID == clientID; });
    if (it == state_.outbox.cend())
        return false;
    PendingMessage pending = *it;
    if (pending.failure) {
        state_.setFailure(clientID, std::nullopt);
        pending.failure.reset();
        publishState();
        saving_.schedule();
    }
    if (status_.isOnline())
        transmit(pending);
    return true;
}

bool ChatSession::discardPending(const QString& clientID) {
    if (!state_.removePending(clientID))
        return false;
    publishState();
    saving_.schedule();
    return true;
}

// The reply to an edit, delete or reaction: "ok", usually carrying the changed message, which is
// merged at once so the change shows before the broadcast arrives.
std::expected<void, ChatError> ChatSession::applyChangeReply(const QPointer<ChatSession>& self,
                                                             const ServerFrame& frame) {
    const ChatMessage* message = nullptr;
    if (const auto* ok = frame.as<OKReply>(); ok && ok->message)
        message = &*ok->message;
    else if (frame.type == ServerFrame::Type::messageUpdated)
        message = &frame.as<MessageEvent>()->message;
    else if (frame.type != ServerFrame::Type::ok)
        return std::unexpected(ChatError::unexpectedReply());
    if (message && self) {
        self->state_.applyUpdate(*message);
        self->publishState();
        self->saving_.schedule();
    }
    return {};
}

void ChatSession::edit(const QString& conversationID, qint64 seq, const QString& text,
                       Done<void> done) {
    const QString id = SystemRandom::uuid();
    QPointer<ChatSession> self(this);
    ask<void>(ClientFrame::edit({id, conversationID, seq, text}), id, std::move(done),
              [self](const ServerFrame& frame) { return applyChangeReply(self, frame); });
}

void ChatSession::deleteMessage(const QString& conversationID, qint64 seq, Done<void> done) {
    const QString id = SystemRandom::uuid();
    QPointer<ChatSession> self(this);
    ask<void>(ClientFrame::remove({id, conversationID, seq}), id, std::move(done),
              [self](const ServerFrame& frame) { return applyChangeReply(self, frame); });
}

void ChatSession::react(const QString& conversationID, qint64 seq, std::optional<QString> emoji,
                        Done<void> done) {
    const QString id = SystemRandom::uuid();
    QPointer<ChatSession> self(this);
    ask<void>(ClientFrame::react({id, conversationID, seq, std::move(emoji)}), id, std::move(done),
              [self](const ServerFrame& frame) { return applyChangeReply(self, frame); });
}

// ---- History and changes ------------------------------------------------------------------------

void ChatSession::loadHistory(const QString& conversationID, HistoryDirection direction) {
    history_.load(conversationID, direction);
}

void ChatSession::loadOlder(const QString& conversationID) {
    history_.loadOlder(conversationID);
}

// ---- Receipts, read marks, typing ---------------------------------------------------------------

void ChatSession::markRead(const QString& conversationID) {
    const std::optional<qint64> seq = state_.markRead(conversationID);
    if (!seq)
        return;
    publishState();
    saving_.schedule();
    post(ClientFrame::read({conversationID, *seq}));
}

void ChatSession::typing(const QString& conversationID) {
    typing_.keystroke(conversationID);
}

void ChatSession::stopTyping(const QString& conversationID) {
    typing_.stop(conversationID);
}

void ChatSession::receipts(const QString& conversationID, qint64 seq,
                           Done<QList<ReceiptEntry>> done) {
    const QString id = SystemRandom::uuid();
    ask<QList<ReceiptEntry>>(
        ClientFrame::receipts({id, conversationID, seq}), id, std::move(done),
        [](const ServerFrame& frame) -> std::expected<QList<ReceiptEntry>, ChatError> {
            if (const auto* reply = frame.as<ReceiptsReply>())
                return reply->entries;
            return std::unexpected(ChatError::unexpectedReply());
        });
}

// ---- Organisation -------------------------------------------------------------------------------

void ChatSession::createInvite(std::optional<QString> clientID, std::optional<QString> companyName,
                               const QString& name, const QString& email, Done<Invite> done) {
    const QString id = SystemRandom::uuid();
    ask<Invite>(
        ClientFrame::createInvite({id, std::move(clientID), std::move(companyName), name, email}),
        id, std::move(done), [](const ServerFrame& frame) -> std::expected<Invite, ChatError> {
            if (const auto* created = frame.as<InviteCreated>())
                return created->invite;
            return std::unexpected(ChatError::unexpectedReply());
        });
}

void ChatSession::updateClient(const QString& clientID, std::optional<QString> name,
                               std::optional<QString> notes, Done<void> done) {
    const QString id = SystemRandom::uuid();
    QPointer<ChatSession> self(this);
    ask<void>(ClientFrame::updateClient({id, clientID, std::move(name), std::move(notes)}), id,
              std::move(done), [self](const ServerFrame& frame) -> std::expected<void, ChatError> {
                  if (const auto* event = frame.as<ClientEvent>()) {
                      if (self) {
                          self->state_.upsertClient(event->client);
                          self->publishState();
                          self->saving_.schedule();
                      }
                      return {};
                  }
                  // With "ok" the new record arrives as a "client" event.
                  return expectOk(frame);
              });
}

void ChatSession::createGroup(const QString& name, const QStringList& memberIDs,
                              Done<QString> done) {
    const QString id = SystemRandom::uuid();
    ask<QString>(ClientFrame::createGroup({id, name, memberIDs}), id, std::move(done),
                 [](const ServerFrame& frame) -> std::expected<QString, ChatError> {
                     const auto* ok = frame.as<OKReply>();
                     if (!ok || !ok->conversationID)
                         return std::unexpected(ChatError::unexpectedReply());
                     return *ok->conversationID;
                 });
}

void ChatSession::updateGroup(const QString& conversationID, std::optional<QString> name,
                              std::optional<QStringList> add, std::optional<QStringList> remove,
                              Done<void> done) {
    const QString id = SystemRandom::uuid();
    // The changed record (or its removal) follows as a "conversation" or "conversationRemoved"
    // event.
    ask<void>(ClientFrame::updateGroup(
                  {id, conversationID, std::move(name), std::move(add), std::move(remove)}),
              id, std::move(done), expectOk);
}

void ChatSession::renameGroup(const QString& conversationID, const QString& name, Done<void> done) {
    updateGroup(conversationID, name, std::nullopt, std::nullopt, std::move(done));
}

void ChatSession::addMembers(const QString& conversationID, const QStringList& userIDs,
                             Done<void> done) {
    updateGroup(conversationID, std::nullopt, userIDs, std::nullopt, std::move(done));
}

void ChatSession::removeMembers(const QString& conversationID, const QStringList& userIDs,
                                Done<void> done) {
    updateGroup(conversationID, std::nullopt, std::nullopt, userIDs, std::move(done));
}

void ChatSession::leaveGroup(const QString& conversationID, Done<void> done) {
    if (!state_.me) {
        complete(done, std::unexpected(ChatError::notConnected()));
        return;
    }
    removeMembers(conversationID, {state_.me->id}, std::move(done));
}

void ChatSession::setAvatar(std::optional<QString> image, Done<void> done) {
    const QString id = SystemRandom::uuid();
    // The new user record follows as a "user" event.
    ask<void>(ClientFrame::setAvatar({id, std::move(image)}), id, std::move(done), expectOk);
}

// ---- Server events ------------------------------------------------------------------------------

void ChatSession::afterInsert(const ChatMessage& message, const InsertResult& result, bool live) {
    if (result.kind == InsertResult::Kind::gap)
        history_.load(message.conversationID, HistoryDirection::newer(result.after));
    const bool fresh =
        result.kind == InsertResult::Kind::added || result.kind == InsertResult::Kind::gap;
    if (live && fresh && !isMine(message)) {
        receipts_.note(message.conversationID);
        raise(SessionEvent::incoming(message));
    }
}

void ChatSession::applyEvent(const ServerFrame& frame) {
    switch (frame.type) {
    case ServerFrame::Type::message: {
        const ChatMessage& message = frame.as<MessageEvent>()->message;
        const InsertResult result = state_.insert(message);
        publishState();
        saving_.schedule();
        afterInsert(message, result, true);
        break;
    }
    case ServerFrame::Type::messageUpdated:
        state_.applyUpdate(frame.as<MessageEvent>()->message);
        publishState();
        saving_.schedule();
        break;
    case ServerFrame::Type::delivered:
    case ServerFrame::Type::read: {
        const ReadEvent& event = *frame.as<ReadEvent>();
        if (frame.type == ServerFrame::Type::read)
            state_.advanceRead(event.conversationID, event.userID, event.seq);
        else
            state_.advanceDelivered(event.conversationID, event.userID, event.seq);
        publishState();
        saving_.schedule();
        break;
    }
    case ServerFrame::Type::typing: {
        // Typing and presence are never saved, so they schedule no write.
        const TypingEvent& event = *frame.as<TypingEvent>();
        typing_.remote(event.conversationID, event.userID, event.isTyping);
        publishState();
        break;
    }
    case ServerFrame::Type::presence: {
        const PresenceEvent& event = *frame.as<PresenceEvent>();
        state_.setOnline(event.userID, event.online);
        publishState();
        break;
    }
    case ServerFrame::Type::conversation:
        state_.upsertConversation(frame.as<ConversationEvent>()->conversation);
        publishState();
        saving_.schedule();
        break;
    case ServerFrame::Type::conversationRemoved: {
        const QString id = frame.as<ConversationRemovedEvent>()->conversationID;
        state_.removeConversation(id);
        typing_.forget(id);
        receipts_.forget(id);
        publishState();
        saving_.schedule();
        raise(SessionEvent::removed(id));
        break;
    }
    case ServerFrame::Type::client:
        state_.upsertClient(frame.as<ClientEvent>()->client);
        publishState();
        saving_.schedule();
        break;
    case ServerFrame::Type::user:
        state_.upsertUser(frame.as<UserEvent>()->user);
        publishState();
        saving_.schedule();
        break;
    default:
        break; // unknown types, and replies nobody waits for
    }
}

} // namespace brevio
