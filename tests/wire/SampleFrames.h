#pragma once

// One or more frames of every case in both directions, with optional fields both set and left
// out, for the round-trip tests.

#include "support/TestClient.h"
#include "wire/Frames.h"

#include <vector>

namespace brevio::samples {

inline QDateTime at(qint64 ms) {
    return QDateTime::fromMSecsSinceEpoch(ms, Qt::UTC);
}

inline ChatMessage message(qint64 seq, bool full) {
    ChatMessage m;
    m.id = "m-" + QString::number(seq);
    m.clientID = "c-" + QString::number(seq);
    m.conversationID = "conv-1";
    m.seq = seq;
    m.authorID = "u-1";
    m.text = QString::fromUtf8("Buongiorno, è arrivato il preventivo? 📎");
    m.sentAt = at(1'741'944'413'589 + seq);
    if (full) {
        m.replyToSeq = seq - 1;
        m.reply = QuotedMessage{seq - 1, "u-2", "Vi mando il preventivo", false};
        m.editedAt = at(1'741'944'500'000);
        m.deletedAt = at(1'741'944'600'000);
        m.reactions = {Reaction{QString::fromUtf8("👍"), {"u-2", "u-3"}}};
        m.revision = 3;
    }
    return m;
}

inline Conversation conversation(bool group) {
    Conversation c;
    c.id = group ? "g-1" : "d-1";
    c.kind = group ? ConversationKind::group : ConversationKind::direct;
    if (group)
        c.memberIDs = QStringList{"u-1", "u-2", "u-5"};
    else
        c.clientID = "acme";
    c.title = group ? "Progetto Alfa" : "Acme S.r.l.";
    c.lastSeq = 12;
    if (group)
        c.lastMessage = message(12, true);
    c.reads = {{"u-1", 12}, {"u-2", 10}};
    c.delivered = {{"u-1", 12}, {"u-2", 12}};
    c.revision = 4;
    return c;
}

inline User staffUser() {
    return User{"u-1",        "Anna Neri", "anna@example.com",           Role::staff,
                std::nullopt, true,        "data:image/jpeg;base64,AAAA"};
}

inline User clientUser() {
    return User{"u-2", "Bruno Russo", std::nullopt, Role::client, "acme", false, std::nullopt};
}

inline std::vector<ClientFrame> clientFrames() {
    return {
        ClientFrame::login({"anna@example.com", "segreta", test::testClient(512)}),
        ClientFrame::resume({"tok-123", test::testClient(512)}),
        ClientFrame::redeem({"ABCD-EFGH", "Carla", "pw", test::testClient(512)}),
        ClientFrame::signup({"Dario", "dario@example.com", "Dario SpA", "pw", "Vorrei un account",
                             "https://example.com", test::testClient(512)}),
        ClientFrame::signup(
            {"Dario", "dario@example.com", std::nullopt, "pw", "", "", test::testClient(512)}),
        ClientFrame::send({"c-1", "conv-1", "Ciao", std::nullopt}),
        ClientFrame::send({"c-2", "conv-1", "Rispondo", 41}),
        ClientFrame::history({"r-1", "conv-1", std::nullopt, 100, 50}),
        ClientFrame::history({"r-2", "conv-1", 7, std::nullopt, 50}),
        ClientFrame::edit({"r-3", "conv-1", 5, "corretto"}),
        ClientFrame::remove({"r-4", "conv-1", 5}),
        ClientFrame::react({"r-5", "conv-1", 5, QString::fromUtf8("😂")}),
        ClientFrame::react({"r-6", "conv-1", 5, std::nullopt}),
        ClientFrame::changes({"r-7", "conv-1", 9}),
        ClientFrame::delivered({"conv-1", 12}),
        ClientFrame::read({"conv-1", 12}),
        ClientFrame::typing({"conv-1", true}),
        ClientFrame::receipts({"r-8", "conv-1", 12}),
        ClientFrame::setAvatar({"r-9", "data:image/jpeg;base64,/9j/4AAQ"}),
        ClientFrame::setAvatar({"r-10", std::nullopt}),
        ClientFrame::createInvite({"r-11", "acme", std::nullopt, "Elena", "elena@example.com"}),
        ClientFrame::createInvite(
            {"r-12", std::nullopt, "Nuova Srl", "Elena", "elena@example.com"}),
        ClientFrame::updateClient({"r-13", "acme", "Acme Group", "Paga a 60 giorni"}),
        ClientFrame::updateClient({"r-14", "acme", std::nullopt, std::nullopt}),
        ClientFrame::createGroup({"r-15", "Progetto", {"u-1", "u-2"}}),
        ClientFrame::createGroup({"r-16", "Vuoto", {}}),
        ClientFrame::updateGroup({"r-17", "g-1", "Nuovo nome", QStringList{"u-7"}, QStringList{}}),
        ClientFrame::updateGroup({"r-18", "g-1", std::nullopt, std::nullopt, std::nullopt}),
        ClientFrame::logout(),
    };
}

inline std::vector<ServerFrame> serverFrames() {
    Welcome welcome{"tok-abc",
                    staffUser(),
                    "Studio Verdi",
                    {staffUser(), clientUser()},
                    {ClientCompany{"acme", "Acme S.r.l.", "note", at(1'600'000'000'000)},
                     ClientCompany{"beta", "Beta", std::nullopt, at(1'600'000'000'001)}},
                    {conversation(false), conversation(true)},
                    {"u-1", "u-2"}};
    return {
        ServerFrame::welcome(welcome),
        ServerFrame::welcome(Welcome{"t", clientUser(), "O", {}, {}, {}, {}}),
        ServerFrame::ack({"c-1", message(13, false)}),
        ServerFrame::message({message(14, true)}),
        ServerFrame::messageUpdated({message(14, false)}),
        ServerFrame::history({"r-1", "conv-1", {message(1, true), message(2, false)}, true}),
        ServerFrame::history({"r-1", "conv-1", {}, false}),
        ServerFrame::changes({"r-7", "conv-1", {message(3, true)}, false, 17}),
        ServerFrame::delivered({"conv-1", "u-2", 12}),
        ServerFrame::read({"conv-1", "u-2", 11}),
        ServerFrame::typing({"conv-1", "u-2", false}),
        ServerFrame::presence({"u-2", true}),
        ServerFrame::conversation({conversation(true)}),
        ServerFrame::conversationRemoved({"g-1"}),
        ServerFrame::receipts(
            {"r-8",
             "conv-1",
             12,
             {ReceiptEntry{"u-2", at(1000), at(2000)}, ReceiptEntry{"u-3", at(1000), std::nullopt},
              ReceiptEntry{"u-4", std::nullopt, std::nullopt}}}),
        ServerFrame::client({ClientCompany{"acme", "Acme", std::nullopt, at(5)}}),
        ServerFrame::user({clientUser()}),
        ServerFrame::invite(
            {"r-11", Invite{"ABCD-EFGH", "acme", "Elena", "elena@example.com", at(9)}}),
        ServerFrame::ok({"r-3", std::nullopt, std::nullopt}),
        ServerFrame::ok({"r-15", "g-2", message(1, false)}),
        ServerFrame::error({"r-3", "forbidden", "Non consentito", std::nullopt}),
        ServerFrame::error({std::nullopt, "upgrade_required", std::nullopt, 600}),
        ServerFrame::unknown("poll"),
    };
}

} // namespace brevio::samples
