#include "localserver/MessageHandler.h"

#include "localserver/PeerHub.h"
#include "localserver/ServerData.h"
#include "localserver/ServerRules.h"
#include "model/MessageRules.h"
#include "model/ServerCode.h"

#include <algorithm>

namespace brevio {

namespace {

// The length rules shared by sending and editing; empty when the text is acceptable.
const QString* textProblem(const QString& text) {
    if (text.trimmed().isEmpty())
        return &ServerCode::badRequest;
    if (ServerRules::visibleLength(text) > maximumMessageLength)
        return &ServerCode::messageTooLong;
    return nullptr;
}

} // namespace

MessageHandler::MessageHandler(ServerData& data, PeerHub& hub) : data_(data), hub_(hub) {}

// The conversation if `me` may see it; otherwise refuses with "forbidden" and gives nothing.
Conversation* MessageHandler::visibleConversation(qint64 peerID, const ClientFrame& frame,
                                                  const User& me, const QString& conversationID) {
    Conversation* conversation = data_.conversation(conversationID);
    if (!conversation || !data_.takesPart(me, *conversation)) {
        hub_.refuse(peerID, frame, ServerCode::forbidden);
        return nullptr;
    }
    return conversation;
}

void MessageHandler::send(qint64 peerID, const ClientFrame& frame, const User& me,
                          const SendRequest& request) {
    Conversation* conversation = visibleConversation(peerID, frame, me, request.conversationID);
    if (!conversation)
        return;
    // A resend after a lost acknowledgement gets the stored message back, nothing new.
    if (const ChatMessage* stored = data_.sentByClientID(me.id, request.id)) {
        const Conversation* home = data_.conversation(stored->conversationID);
        if (!home || !data_.takesPart(me, *home))
            return hub_.refuse(peerID, frame, ServerCode::forbidden);
        return hub_.send(peerID, ServerFrame::ack({request.id, *stored}));
    }
    if (request.id.isEmpty() ||
        (request.replyToSeq && !data_.message(conversation->id, *request.replyToSeq)))
        return hub_.refuse(peerID, frame, ServerCode::badRequest);
    if (const QString* problem = textProblem(request.text))
        return hub_.refuse(peerID, frame, *problem);

    const QDateTime now = data_.now();
    const ChatMessage message =
        data_.append(*conversation, me.id, request.id, request.text, request.replyToSeq, now);
    hub_.send(peerID, ServerFrame::ack({request.id, message}));
    hub_.broadcast(*conversation, ServerFrame::message({message}), peerID);
    if (data_.recordReceipt(*conversation, me.id, message.seq, true, now))
        hub_.broadcast(*conversation, ServerFrame::read({conversation->id, me.id, message.seq}),
                       peerID);
    if (onMessage)
        onMessage(conversation->id, message.seq, me.id);
}

void MessageHandler::history(qint64 peerID, const ClientFrame& frame, const User& me,
                             const HistoryRequest& request) {
    const Conversation* conversation =
        visibleConversation(peerID, frame, me, request.conversationID);
    if (!conversation)
        return;
    const auto& all = data_.messages(conversation->id);
    const qint64 limit = std::clamp<qint64>(request.limit, 1, maximumPageSize);
    // The window (after, before) in seq numbers; seq n sits at index n - 1.
    const qint64 low = std::clamp<qint64>(request.after.value_or(0), 0, qint64(all.size()));
    const qint64 high = std::clamp<qint64>(request.before ? std::max<qint64>(*request.before, 1) - 1
                                                          : qint64(all.size()),
                                           0, qint64(all.size()));
    HistoryPage page{request.id, conversation->id, {}, false};
    if (low < high) {
        qint64 first = low, last = high; // indexes [first, last)
        if (request.after) {
            last = std::min(high, low + limit);
            page.hasMore = last < high;
        } else {
            first = std::max(low, high - limit);
            page.hasMore = first > low;
        }
        for (qint64 i = first; i < last; ++i)
            page.messages.append(all[std::size_t(i)]);
    }
    hub_.send(peerID, ServerFrame::history(std::move(page)));
}

// Message `seq` for its author to change: it exists, is not deleted, was written by `me` and
// is still inside the editing window. Refuses and gives nothing otherwise.
ChatMessage* MessageHandler::ownMessage(qint64 peerID, const ClientFrame& frame, const User& me,
                                        Conversation& conversation, qint64 seq) {
    ChatMessage* message = data_.message(conversation.id, seq);
    if (!message || message->isDeleted()) {
        hub_.refuse(peerID, frame, ServerCode::notFound);
        return nullptr;
    }
    if (message->authorID != me.id) {
        hub_.refuse(peerID, frame, ServerCode::forbidden);
        return nullptr;
    }
    if (Duration(message->sentAt.msecsTo(data_.now())) > messageChangeWindow) {
        hub_.refuse(peerID, frame, ServerCode::tooLate);
        return nullptr;
    }
    return message;
}

// Replies quote the message; keep their excerpts in step with it.
void MessageHandler::refreshQuotes(Conversation& conversation, const ChatMessage& quoted) {
    for (qint64 seq = quoted.seq + 1; seq <= conversation.lastSeq; ++seq) {
        ChatMessage* reply = data_.message(conversation.id, seq);
        if (!reply || !reply->reply || reply->reply->seq != quoted.seq)
            continue;
        reply->reply->text = quoted.text;
        reply->reply->deleted = quoted.isDeleted();
        data_.markChanged(conversation, *reply);
        hub_.broadcast(conversation, ServerFrame::messageUpdated({*reply}));
    }
}

void MessageHandler::finishChange(qint64 peerID, const QString& replyTo, Conversation& conversation,
                                  ChatMessage& message, bool quotesChange) {
    data_.markChanged(conversation, message);
    const ChatMessage copy = message;
    hub_.send(peerID, ServerFrame::ok({replyTo, conversation.id, copy}));
    hub_.broadcast(conversation, ServerFrame::messageUpdated({copy}), peerID);
    if (quotesChange)
        refreshQuotes(conversation, copy);
}

void MessageHandler::edit(qint64 peerID, const ClientFrame& frame, const User& me,
                          const EditRequest& request) {
    Conversation* conversation = visibleConversation(peerID, frame, me, request.conversationID);
    if (!conversation)
        return;
    ChatMessage* message = ownMessage(peerID, frame, me, *conversation, request.seq);
    if (!message)
        return;
    if (const QString* problem = textProblem(request.text))
        return hub_.refuse(peerID, frame, *problem);
    message->text = request.text;
    message->editedAt = data_.now();
    finishChange(peerID, request.id, *conversation, *message, true);
}

void MessageHandler::remove(qint64 peerID, const ClientFrame& frame, const User& me,
                            const DeleteRequest& request) {
    Conversation* conversation = visibleConversation(peerID, frame, me, request.conversationID);
    if (!conversation)
        return;
    ChatMessage* message = ownMessage(peerID, frame, me, *conversation, request.seq);
    if (!message)
        return;
    // The text goes with the message: nobody can read it back afterwards.
    message->text.clear();
    message->reactions.clear();
    message->deletedAt = data_.now();
    finishChange(peerID, request.id, *conversation, *message, true);
}

void MessageHandler::react(qint64 peerID, const ClientFrame& frame, const User& me,
                           const ReactRequest& request) {
    Conversation* conversation = visibleConversation(peerID, frame, me, request.conversationID);
    if (!conversation)
        return;
    ChatMessage* message = data_.message(conversation->id, request.seq);
    if (!message || message->isDeleted())
        return hub_.refuse(peerID, frame, ServerCode::notFound);
    if (request.emoji && !ServerRules::isUsableEmoji(*request.emoji))
        return hub_.refuse(peerID, frame, ServerCode::badRequest);

    // One reaction per person: setting one replaces the previous.
    QList<Reaction> reactions;
    for (Reaction reaction : message->reactions) {
        reaction.userIDs.removeAll(me.id);
        if (request.emoji && reaction.emoji == *request.emoji)
            reaction.userIDs.append(me.id);
        if (!reaction.userIDs.isEmpty())
            reactions.append(reaction);
    }
    if (request.emoji && std::none_of(reactions.begin(), reactions.end(),
                                      [&](auto& r) { return r.emoji == *request.emoji; }))
        reactions.append(Reaction{*request.emoji, {me.id}});
    if (reactions == message->reactions)
        return hub_.send(peerID, ServerFrame::ok({request.id, conversation->id, *message}));
    message->reactions = reactions;
    finishChange(peerID, request.id, *conversation, *message, false);
}

void MessageHandler::changes(qint64 peerID, const ClientFrame& frame, const User& me,
                             const ChangesRequest& request) {
    const Conversation* conversation =
        visibleConversation(peerID, frame, me, request.conversationID);
    if (!conversation)
        return;
    std::vector<const ChatMessage*> changed;
    for (const ChatMessage& message : data_.messages(conversation->id)) {
        if (message.revision > request.since)
            changed.push_back(&message);
    }
    std::sort(changed.begin(), changed.end(),
              [](auto* a, auto* b) { return a->revision < b->revision; });
    ChangesPage page{request.id, conversation->id, {}, false, conversation->revision};
    // Revisions are unique within a conversation, so cutting the page after the highest
    // revision it holds leaves nothing behind for the next request.
    if (changed.size() > std::size_t(maximumPageSize)) {
        changed.resize(std::size_t(maximumPageSize));
        page.hasMore = true;
        page.revision = changed.back()->revision;
    }
    for (const ChatMessage* message : changed)
        page.messages.append(*message);
    hub_.send(peerID, ServerFrame::changes(std::move(page)));
}

void MessageHandler::receipt(qint64 peerID, const ClientFrame& frame, const User& me,
                             const ReadRequest& request, bool isRead) {
    Conversation* conversation = visibleConversation(peerID, frame, me, request.conversationID);
    if (!conversation)
        return;
    if (!data_.recordReceipt(*conversation, me.id, request.seq, isRead, data_.now()))
        return;
    const qint64 seq =
        isRead ? conversation->reads.value(me.id) : conversation->delivered.value(me.id);
    const ReadEvent event{conversation->id, me.id, seq};
    hub_.broadcast(*conversation, isRead ? ServerFrame::read(event) : ServerFrame::delivered(event),
                   peerID);
}

void MessageHandler::delivered(qint64 peerID, const ClientFrame& frame, const User& me,
                               const ReadRequest& request) {
    receipt(peerID, frame, me, request, false);
}

void MessageHandler::read(qint64 peerID, const ClientFrame& frame, const User& me,
                          const ReadRequest& request) {
    receipt(peerID, frame, me, request, true);
}

void MessageHandler::typing(qint64 peerID, const ClientFrame& frame, const User& me,
                            const TypingRequest& request) {
    const Conversation* conversation =
        visibleConversation(peerID, frame, me, request.conversationID);
    if (!conversation)
        return;
    hub_.broadcast(*conversation, ServerFrame::typing({conversation->id, me.id, request.isTyping}),
                   0, me.id);
}

void MessageHandler::receipts(qint64 peerID, const ClientFrame& frame, const User& me,
                              const ReceiptsRequest& request) {
    const Conversation* conversation =
        visibleConversation(peerID, frame, me, request.conversationID);
    if (!conversation)
        return;
    const ChatMessage* message = data_.message(conversation->id, request.seq);
    if (!message)
        return hub_.refuse(peerID, frame, ServerCode::notFound);
    hub_.send(peerID, ServerFrame::receipts({request.id, conversation->id, message->seq,
                                             data_.receipts(*conversation, *message)}));
}

} // namespace brevio
