#pragma once

#include "model/Records.h"
#include "wire/Frames.h"

#include <functional>

namespace brevio {

class PeerHub;
class ServerData;

// The requests of signed-in peers about messages: sending, editing, deleting, reacting, pages of
// history and changes, delivered and read marks, typing and receipt queries. Every check comes
// before the first change, so a refused request changes nothing.
class MessageHandler {
public:
    static constexpr int maximumPageSize = 200;

    MessageHandler(ServerData& data, PeerHub& hub);

    // Told of every message sent, for the automatic reply.
    std::function<void(const QString& conversationID, qint64 seq, const QString& authorID)>
        onMessage;

    void send(qint64 peerID, const ClientFrame& frame, const User& me, const SendRequest& request);
    void history(qint64 peerID, const ClientFrame& frame, const User& me,
                 const HistoryRequest& request);
    void edit(qint64 peerID, const ClientFrame& frame, const User& me, const EditRequest& request);
    void remove(qint64 peerID, const ClientFrame& frame, const User& me,
                const DeleteRequest& request);
    void react(qint64 peerID, const ClientFrame& frame, const User& me,
               const ReactRequest& request);
    void changes(qint64 peerID, const ClientFrame& frame, const User& me,
                 const ChangesRequest& request);
    void delivered(qint64 peerID, const ClientFrame& frame, const User& me,
                   const ReadRequest& request);
    void read(qint64 peerID, const ClientFrame& frame, const User& me, const ReadRequest& request);
    void typing(qint64 peerID, const ClientFrame& frame, const User& me,
                const TypingRequest& request);
    void receipts(qint64 peerID, const ClientFrame& frame, const User& me,
                  const ReceiptsRequest& request);

private:
    Conversation* visibleConversation(qint64 peerID, const ClientFrame& frame, const User& me,
                                      const QString& conversationID);
    ChatMessage* ownMessage(qint64 peerID, const ClientFrame& frame, const User& me,
                            Conversation& conversation, qint64 seq);
    void refreshQuotes(Conversation& conversation, const ChatMessage& quoted);
    void finishChange(qint64 peerID, const QString& replyTo, Conversation& conversation,
                      ChatMessage& message, bool quotesChange);
    void receipt(qint64 peerID, const ClientFrame& frame, const User& me,
                 const ReadRequest& request, bool isRead);

    ServerData& data_;
    PeerHub& hub_;
};

} // namespace brevio
