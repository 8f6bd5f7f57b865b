#pragma once

// The saved state the session and start-up benchmarks read and write: 500 conversations of 200
// messages each (about 32 MB on disk), with reactions and reply quotes here and there.

#include "state/ChatState.h"

namespace brevio::bench {

inline constexpr int conversationCount = 500;
inline constexpr int messagesPerConversation = 200;
inline const QString userID = QStringLiteral("u-staff-001");

inline ChatState bigState() {
    ChatState state;
    const QDateTime start(QDate(2025, 1, 7), QTime(8, 0), Qt::UTC);
    User me{userID,
            QStringLiteral("Sara Conti"),
            QStringLiteral("sara.conti@ardena.example"),
            Role::staff,
            std::nullopt,
            true,
            std::nullopt};
    state.me = me;
    state.organization = QStringLiteral("Ardena");
    state.users.insert(me.id, me);
    const QString text = QStringLiteral(
        "Buongiorno, vi scrivo per il preventivo del cantiere: ci servono le misure aggiornate "
        "entro venerdì, grazie mille e buona giornata!");
    for (int c = 0; c < conversationCount; ++c) {
        const QString clientID = QStringLiteral("k-%1").arg(c, 4, 10, QLatin1Char('0'));
        const QString personID = QStringLiteral("u-client-%1").arg(c, 4, 10, QLatin1Char('0'));
        state.clients.insert(clientID, ClientCompany{clientID, QStringLiteral("Azienda %1").arg(c),
                                                     QStringLiteral("Note interne"), start});
        state.users.insert(personID,
                           User{personID, QStringLiteral("Cliente %1").arg(c), std::nullopt,
                                Role::client, clientID, false, std::nullopt});
        Conversation conversation;
        conversation.id = QStringLiteral("c-%1").arg(c, 4, 10, QLatin1Char('0'));
        conversation.clientID = clientID;
        conversation.title = QStringLiteral("Azienda %1").arg(c);
        conversation.revision = messagesPerConversation;
        QList<ChatMessage> list;
        list.reserve(messagesPerConversation);
        for (int m = 1; m <= messagesPerConversation; ++m) {
            ChatMessage message;
            message.id = QStringLiteral("m-%1-%2").arg(c).arg(m);
            message.clientID = QStringLiteral("cid-%1-%2").arg(c).arg(m);
            message.conversationID = conversation.id;
            message.seq = m;
            message.authorID = m % 2 ? personID : userID;
            message.text = text;
            message.sentAt = start.addSecs(qint64(c) * 600 + m * 37);
            message.revision = m;
            if (m % 10 == 0)
                message.reactions.append(Reaction{QStringLiteral("👍"), {userID}});
            if (m % 25 == 0) {
                message.replyToSeq = m - 1;
                message.reply = QuotedMessage{m - 1, personID, QStringLiteral("Citazione"), false};
            }
            list.append(message);
        }
        conversation.lastSeq = messagesPerConversation;
        conversation.lastMessage = list.last();
        conversation.reads.insert(userID, messagesPerConversation);
        conversation.reads.insert(personID, messagesPerConversation - 3);
        conversation.delivered.insert(personID, messagesPerConversation);
        state.conversations.insert(conversation.id, conversation);
        state.messages.insert(conversation.id, list);
        state.revisions.insert(conversation.id, messagesPerConversation);
    }
    return state;
}

} // namespace brevio::bench
