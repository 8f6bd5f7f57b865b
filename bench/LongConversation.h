#pragma once

// The long conversation the chat view's benchmarks read: a staff member and a client, messages
// 173 s apart, two in three by the client, a reaction on every seventeenth.

#include "state/ChatState.h"

namespace brevio::bench {

inline const QString staffID = QStringLiteral("u-staff");
inline const QString clientID = QStringLiteral("u-client");

inline const QStringList& conversationTexts() {
    static const QStringList texts{
        QStringLiteral("Buongiorno, le invio il preventivo aggiornato."),
        QStringLiteral("Grazie, lo guardo subito."),
        QStringLiteral("Perfetto, ci sentiamo domani mattina per la firma del contratto?"),
        QStringLiteral("Ok!"),
        QStringLiteral("La fattura di febbraio risulta ancora da saldare, può verificare?"),
    };
    return texts;
}

// Message `seq` of `conversationID`, sent `seq` × 173 s after `start`.
inline ChatMessage conversationMessage(const QString& conversationID, qint64 seq,
                                       const QDateTime& start) {
    ChatMessage m;
    m.id = QStringLiteral("m%1").arg(seq);
    m.clientID = QStringLiteral("cid-%1").arg(seq);
    m.conversationID = conversationID;
    m.seq = seq;
    m.authorID = seq % 3 ? clientID : staffID;
    m.text = conversationTexts()[int(seq % conversationTexts().size())];
    m.sentAt = start.addSecs(seq * 173);
    m.revision = seq;
    if (seq % 17 == 0)
        m.reactions.append(Reaction{QStringLiteral("👍"), {staffID}});
    return m;
}

} // namespace brevio::bench
