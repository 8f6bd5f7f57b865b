#pragma once

// Small builders for chat state tests: a staff member "me" of an organization with one client
// company, a direct conversation with it and a group.

#include "state/ChatState.h"
#include "state/Timeline.h"
#include "support/Printing.h"

#include <ostream>

namespace brevio {

inline void PrintTo(const InsertResult& r, std::ostream* os) {
    static const char* names[] = {"gap", "added", "duplicate", "older", "unknownConversation"};
    *os << names[int(r.kind)];
    if (r.kind == InsertResult::Kind::gap)
        *os << "(after: " << r.after << ")";
}

inline void PrintTo(const Delivery& d, std::ostream* os) {
    static const char* names[] = {"failed", "sending", "sent", "delivered", "read"};
    *os << names[int(d.kind)];
    if (d.kind == Delivery::Kind::failed)
        *os << "(" << d.failure.toStdString() << ")";
}

namespace test {

inline QDateTime base() {
    return QDateTime(QDate(2025, 3, 14), QTime(9, 0), Qt::UTC);
}

inline User staffUser(const QString& id) {
    User u;
    u.id = id;
    u.name = "Staff " + id;
    u.role = Role::staff;
    return u;
}

inline User clientUser(const QString& id, const QString& company) {
    User u;
    u.id = id;
    u.name = "Cliente " + id;
    u.role = Role::client;
    u.clientID = company;
    return u;
}

inline Conversation direct(const QString& id, const QString& company, qint64 lastSeq = 0) {
    Conversation c;
    c.id = id;
    c.kind = ConversationKind::direct;
    c.clientID = company;
    c.title = "Azienda " + company;
    c.lastSeq = lastSeq;
    return c;
}

inline Conversation group(const QString& id, const QStringList& members, qint64 lastSeq = 0) {
    Conversation c;
    c.id = id;
    c.kind = ConversationKind::group;
    c.title = "Gruppo " + id;
    c.memberIDs = members;
    c.lastSeq = lastSeq;
    return c;
}

// A message sent `seq` minutes after base() unless a date is given.
inline ChatMessage message(const QString& conversationID, qint64 seq, const QString& authorID,
                           qint64 revision = 0, std::optional<QDateTime> sentAt = std::nullopt) {
    ChatMessage m;
    m.id = QStringLiteral("m-%1-%2").arg(conversationID).arg(seq);
    m.clientID = QStringLiteral("c-%1-%2").arg(conversationID).arg(seq);
    m.conversationID = conversationID;
    m.seq = seq;
    m.authorID = authorID;
    m.text = QStringLiteral("testo %1").arg(seq);
    m.sentAt = sentAt.value_or(base().addSecs(seq * 60));
    m.revision = revision;
    return m;
}

inline QList<ChatMessage> range(const QString& conversationID, qint64 from, qint64 to,
                                const QString& authorID = QStringLiteral("ann")) {
    QList<ChatMessage> out;
    for (qint64 s = from; s <= to; ++s)
        out.append(message(conversationID, s, authorID));
    return out;
}

inline PendingMessage pendingMessage(const QString& clientID, const QString& conversationID,
                                     std::optional<QString> failure = std::nullopt) {
    PendingMessage p;
    p.clientID = clientID;
    p.conversationID = conversationID;
    p.text = "in uscita " + clientID;
    p.createdAt = base().addSecs(3600);
    p.failure = std::move(failure);
    return p;
}

// "me" (staff), "sara" (staff colleague), clients "ann" and "bob" of company "acme", client
// "zoe" of company "beta"; conversation "d" is acme's direct one, "g" a group of me, ann, zoe.
inline Welcome welcomeFor(const User& me) {
    Welcome w;
    w.token = "tok";
    w.me = me;
    w.organization = "Studio Rossi";
    w.users = {staffUser("me"), staffUser("sara"), clientUser("ann", "acme"),
               clientUser("bob", "acme"), clientUser("zoe", "beta")};
    ClientCompany acme;
    acme.id = "acme";
    acme.name = "Acme";
    acme.createdAt = base();
    ClientCompany beta;
    beta.id = "beta";
    beta.name = "Beta";
    beta.createdAt = base();
    w.clients = {acme, beta};
    w.conversations = {direct("d", "acme"), group("g", {"me", "ann", "zoe"})};
    return w;
}

inline ChatState signedInState(const QString& meID = QStringLiteral("me")) {
    ChatState s;
    Welcome w = welcomeFor(staffUser(meID));
    if (meID != "me") {
        for (User& u : w.users) {
            if (u.id == meID)
                w.me = u;
        }
    }
    s.applyWelcome(w);
    return s;
}

inline QList<qint64> seqsOf(const QList<ChatMessage>& list) {
    QList<qint64> out;
    for (const ChatMessage& m : list)
        out.append(m.seq);
    return out;
}

} // namespace test
} // namespace brevio
