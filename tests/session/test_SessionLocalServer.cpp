// End to end through the in-process transport and the local server, in virtual time.

#include "LocalWorld.h"

using namespace std::chrono_literals;

namespace brevio::test {
namespace {

TEST(SessionLocalServer, StaffAndClientSignInToTheDemo) {
    LocalWorld world;
    ChatSession& staff = world.signIn(world.staff().email);
    ChatSession& client = world.signIn(world.clientAccount(0).email);
    EXPECT_EQ(staff.state().me->role, Role::staff);
    EXPECT_EQ(client.state().me->role, Role::client);
    EXPECT_TRUE(staff.status().isOnline());
    EXPECT_TRUE(client.status().isOnline());
    // Staff see every company, a client only its own.
    EXPECT_EQ(staff.state().clients.size(), 5);
    EXPECT_EQ(client.state().clients.size(), 1);
    // The latest page of each conversation came with the attach.
    const QString direct = directConversation(client.state(), *world.clientAccount(0).clientID);
    ASSERT_FALSE(direct.isEmpty());
    EXPECT_FALSE(messagesOf(client, direct).isEmpty());
    EXPECT_EQ(messagesOf(client, direct).last().seq, client.state().conversations[direct].lastSeq);
    EXPECT_TRUE(staff.state().online.contains(client.state().me->id));

    // A wrong password is the server's refusal, worded by the client.
    ChatSession& wrong = world.make();
    Outcome<void> out;
    wrong.signIn(world.url, world.staff().email, "sbagliata", out.done());
    world.advance(0ms);
    ASSERT_EQ(out.calls, 1);
    EXPECT_EQ(out.result->error().description(), "Email o password non corretti.");
    EXPECT_TRUE(wrong.phase().isSignedOut());
}

TEST(SessionLocalServer, AMessageIsAnsweredAutomaticallyWithReceiptsAndTyping) {
    LocalWorld world;
    ChatSession& client = world.signIn(world.clientAccount(1).email);
    const QString conversation =
        directConversation(client.state(), *world.clientAccount(1).clientID);
    const qint64 before = client.state().conversations[conversation].lastSeq;

    client.send(conversation, "Il server di posta non risponde da stamattina.");
    world.advance(0ms);
    EXPECT_TRUE(client.state().outbox.isEmpty());
    const ChatMessage mine = messagesOf(client, conversation).last();
    EXPECT_EQ(mine.seq, before + 1);
    EXPECT_EQ(client.state().delivery(mine.seq, conversation), Delivery::sent());

    world.advance(500ms);
    EXPECT_EQ(client.state().delivery(mine.seq, conversation), Delivery::delivered());
    world.advance(900ms);
    EXPECT_EQ(client.state().delivery(mine.seq, conversation), Delivery::read());
    EXPECT_EQ(client.state().typingUsers(conversation).size(), 1);
    world.advance(2000ms);
    const ChatMessage reply = messagesOf(client, conversation).last();
    EXPECT_EQ(reply.seq, mine.seq + 1);
    EXPECT_NE(reply.authorID, client.state().me->id);
    EXPECT_TRUE(client.state().typingUsers(conversation).isEmpty());
    ASSERT_EQ(world.events[0].size(), 1u);
    EXPECT_EQ(world.events[0][0].kind, SessionEvent::Kind::incoming);
    EXPECT_EQ(world.events[0][0].message.text, reply.text);

    // The delivered receipt for the reply went out 0.25 s later and the server recorded it.
    world.advance(250ms);
    Outcome<QList<ReceiptEntry>> receipts;
    // Ask as the author of the reply would: the staff session sees the client's receipt.
    ChatSession& staff = world.signIn(world.staff().email);
    staff.receipts(conversation, reply.seq, receipts.done());
    world.advance(0ms);
    ASSERT_TRUE(receipts.result && receipts.result->has_value());
    bool deliveredToClient = false;
    for (const ReceiptEntry& entry : **receipts.result)
        deliveredToClient |= entry.userID == client.state().me->id && entry.deliveredAt.has_value();
    EXPECT_TRUE(deliveredToClient);
}

TEST(SessionLocalServer, EditDeleteAndReactReachEveryMember) {
    LocalWorld world(false);
    ChatSession& staff = world.signIn(world.staff().email);
    ChatSession& client = world.signIn(world.clientAccount(0).email);
    const QString conversation =
        directConversation(client.state(), *world.clientAccount(0).clientID);

    staff.send(conversation, "Prima versione");
    world.advance(0ms);
    const qint64 seq = messagesOf(staff, conversation).last().seq;
    ASSERT_EQ(messagesOf(client, conversation).last().text, "Prima versione");

    Outcome<void> edited, reacted, deleted;
    staff.edit(conversation, seq, "Seconda versione", edited.done());
    world.advance(0ms);
    client.react(conversation, seq, QString::fromUtf8("👍"), reacted.done());
    world.advance(0ms);
    ASSERT_TRUE(edited.result && edited.result->has_value());
    ASSERT_TRUE(reacted.result && reacted.result->has_value());
    for (ChatSession* s : {&staff, &client}) {
        const ChatMessage m = messagesOf(*s, conversation).last();
        EXPECT_EQ(m.text, "Seconda versione");
        EXPECT_TRUE(m.isEdited());
        ASSERT_EQ(m.reactions.size(), 1);
        EXPECT_EQ(m.reactions[0].userIDs, QStringList{client.state().me->id});
    }
    // Only the author may delete.
    Outcome<void> refused;
    client.deleteMessage(conversation, seq, refused.done());
    world.advance(0ms);
    EXPECT_EQ(*refused.result, std::unexpected(ChatError::server("forbidden")));
    staff.deleteMessage(conversation, seq, deleted.done());
    world.advance(0ms);
    ASSERT_TRUE(deleted.result && deleted.result->has_value());
    EXPECT_TRUE(messagesOf(client, conversation).last().isDeleted());
    EXPECT_TRUE(messagesOf(staff, conversation).last().isDeleted());

    // A day later the edit window has closed.
    Outcome<void> late;
    staff.send(conversation, "Vecchio");
    world.advance(24h + 1s);
    staff.edit(conversation, messagesOf(staff, conversation).last().seq, "Nuovo", late.done());
    world.advance(0ms);
    EXPECT_EQ(*late.result, std::unexpected(ChatError::server("too_late")));
}

TEST(SessionLocalServer, HistoryComesInPagesOfAHundred) {
    LocalWorld world(false);
    ChatSession& writer = world.signIn(world.staff().email);
    const QString conversation =
        directConversation(writer.state(), *world.clientAccount(2).clientID);
    const qint64 seeded = writer.state().conversations[conversation].lastSeq;
    for (int i = 1; i <= 250; ++i)
        writer.send(conversation, QStringLiteral("Messaggio %1").arg(i));
    world.advance(0ms);
    const qint64 total = seeded + 250;
    ASSERT_EQ(writer.state().conversations[conversation].lastSeq, total);

    ChatSession& reader = world.signIn(world.clientAccount(2).email);
    ASSERT_EQ(messagesOf(reader, conversation).size(), 100);
    EXPECT_EQ(messagesOf(reader, conversation).first().seq, total - 99);
    EXPECT_TRUE(reader.state().hasOlder(conversation));

    reader.loadOlder(conversation);
    reader.loadOlder(conversation); // the same key is in flight: one request
    EXPECT_EQ(reader.loadingHistory(), QSet<QString>{conversation + "|older"});
    world.advance(0ms);
    EXPECT_TRUE(reader.loadingHistory().isEmpty());
    ASSERT_EQ(messagesOf(reader, conversation).size(), 200);
    reader.loadOlder(conversation);
    world.advance(0ms);
    const QList<ChatMessage> all = messagesOf(reader, conversation);
    ASSERT_EQ(all.size(), total);
    EXPECT_EQ(all.first().seq, 1);
    EXPECT_FALSE(reader.state().hasOlder(conversation));
    for (qsizetype i = 1; i < all.size(); ++i)
        ASSERT_EQ(all[i].seq, all[i - 1].seq + 1);
}

TEST(SessionLocalServer, AReconnectBringsTheChangesAndSendsTheOutboxOnce) {
    LocalWorld world(false);
    ChatSession& staff = world.signIn(world.staff().email);
    ChatSession& client = world.signIn(world.clientAccount(0).email);
    const QString conversation =
        directConversation(client.state(), *world.clientAccount(0).clientID);
    staff.send(conversation, "Da correggere");
    world.advance(0ms);
    const qint64 seq = messagesOf(staff, conversation).last().seq;

    // The server drops both connections; while they are away, things happen.
    world.endpoint->dropAll();
    world.advance(0ms);
    EXPECT_TRUE(client.status().isWaiting());
    EXPECT_TRUE(staff.status().isWaiting());
    const QString offline = client.send(conversation, "Scritto senza rete");
    EXPECT_EQ(client.state().outbox.size(), 1);

    ChatSession& colleague = world.signIn(world.staff().email); // a second device of the staff
    Outcome<void> edited;
    colleague.edit(conversation, seq, "Corretto", edited.done());
    colleague.send(conversation, "Nuovo mentre eri via");
    world.advance(0ms);
    ASSERT_TRUE(edited.result && edited.result->has_value());

    world.advance(2s); // the first reconnect is due within 1.2 s
    ASSERT_TRUE(client.status().isOnline());
    ASSERT_TRUE(staff.status().isOnline());
    EXPECT_TRUE(client.state().outbox.isEmpty());
    const QList<ChatMessage> seen = messagesOf(client, conversation);
    EXPECT_EQ(countText(seen, "Corretto"), 1);
    EXPECT_EQ(countText(seen, "Da correggere"), 0);
    EXPECT_EQ(countText(seen, "Nuovo mentre eri via"), 1);
    EXPECT_EQ(countText(seen, "Scritto senza rete"), 1);
    EXPECT_EQ(countText(messagesOf(staff, conversation), "Scritto senza rete"), 1);
    EXPECT_EQ(seen.last().clientID, offline);
    for (qsizetype i = 1; i < seen.size(); ++i)
        ASSERT_EQ(seen[i].seq, seen[i - 1].seq + 1);
}

TEST(SessionLocalServer, AnInviteIsRedeemedAndTheFirstMessageArrives) {
    LocalWorld world(false);
    ChatSession& staff = world.signIn(world.staff().email);
    // The seeded company that has no user yet.
    QString company;
    for (const ClientCompany& c : staff.state().clients) {
        bool hasUser = false;
        for (const User& u : staff.state().users)
            hasUser |= u.clientID == c.id;
        if (!hasUser)
            company = c.id;
    }
    ASSERT_FALSE(company.isEmpty());
    Outcome<Invite> invite;
    staff.createInvite(company, std::nullopt, "Ilaria Neri", "ilaria@nuova.example", invite.done());
    world.advance(0ms);
    ASSERT_TRUE(invite.result && invite.result->has_value());
    EXPECT_EQ((*invite.result)->clientID, company);

    ChatSession& newcomer = world.make();
    Outcome<void> redeemed;
    newcomer.redeem(world.url, (*invite.result)->code, "Ilaria Neri", "password-sicura",
                    redeemed.done());
    world.advance(0ms);
    ASSERT_TRUE(redeemed.result && redeemed.result->has_value());
    EXPECT_TRUE(newcomer.phase().isSignedIn());
    EXPECT_EQ(newcomer.state().me->clientID, company);
    const QString conversation = directConversation(newcomer.state(), company);
    ASSERT_FALSE(conversation.isEmpty());
    newcomer.send(conversation, "Buongiorno, sono Ilaria.");
    world.advance(0ms);
    EXPECT_EQ(countText(messagesOf(staff, conversation), "Buongiorno, sono Ilaria."), 1);

    // The same code a second time is refused.
    ChatSession& again = world.make();
    Outcome<void> twice;
    again.redeem(world.url, (*invite.result)->code, "Altro", "password-sicura", twice.done());
    world.advance(0ms);
    EXPECT_EQ(*twice.result, std::unexpected(ChatError::server("invalid_invite")));
}

TEST(SessionLocalServer, ASignUpRequestOpensAConversationWithTheStaff) {
    LocalWorld world(false);
    ChatSession& staff = world.signIn(world.staff().email);
    const qsizetype companies = staff.state().clients.size();
    ChatSession& applicant = world.make();
    Outcome<void> out;
    applicant.signUp(world.url,
                     SignUpRequest{"Marco Gialli",
                                   "marco@gialli.example",
                                   QString("Gialli Snc"),
                                   "password-sicura",
                                   "Vorrei un preventivo.",
                                   {},
                                   {}},
                     out.done());
    world.advance(0ms);
    ASSERT_TRUE(out.result && out.result->has_value());
    ASSERT_TRUE(applicant.phase().isSignedIn());
    const QString company = *applicant.state().me->clientID;
    const QString conversation = directConversation(applicant.state(), company);
    EXPECT_EQ(countText(messagesOf(applicant, conversation), "Vorrei un preventivo."), 1);
    EXPECT_EQ(staff.state().clients.size(), companies + 1);
    EXPECT_TRUE(staff.state().clients[company].notes->startsWith("Richiesta senza invito del "));
    EXPECT_EQ(countText(messagesOf(staff, conversation), "Vorrei un preventivo."), 1);

    ChatSession& weak = world.make();
    Outcome<void> refused;
    weak.signUp(world.url, SignUpRequest{"A", "a@b.example", {}, "corta", "x", {}, {}},
                refused.done());
    world.advance(0ms);
    EXPECT_EQ(refused.result->error().description(), "La password deve avere almeno 8 caratteri.");
}

TEST(SessionLocalServer, GroupsAreCreatedRenamedAndLeft) {
    LocalWorld world(false);
    ChatSession& staff = world.signIn(world.staff().email);
    ChatSession& first = world.signIn(world.clientAccount(0).email);
    ChatSession& second = world.signIn(world.clientAccount(1).email);
    const QString firstID = first.state().me->id;
    const QString secondID = second.state().me->id;

    Outcome<QString> created;
    staff.createGroup("Progetto ponte", {firstID, secondID}, created.done());
    world.advance(0ms);
    ASSERT_TRUE(created.result && created.result->has_value());
    const QString group = **created.result;
    for (ChatSession* s : {&staff, &first, &second}) {
        ASSERT_TRUE(s->state().conversations.contains(group));
        EXPECT_EQ(s->state().conversations[group].title, "Progetto ponte");
    }
    first.send(group, "Ciao a tutti");
    world.advance(0ms);
    EXPECT_EQ(countText(messagesOf(second, group), "Ciao a tutti"), 1);

    Outcome<void> renamed, removed, left, forbidden;
    staff.renameGroup(group, "Ponte nord", renamed.done());
    world.advance(0ms);
    EXPECT_EQ(second.state().conversations[group].title, "Ponte nord");
    first.renameGroup(group, "Mio", forbidden.done());
    world.advance(0ms);
    EXPECT_EQ(*forbidden.result, std::unexpected(ChatError::server("forbidden")));

    staff.removeMembers(group, {secondID}, removed.done());
    world.advance(0ms);
    ASSERT_TRUE(removed.result && removed.result->has_value());
    EXPECT_FALSE(second.state().conversations.contains(group));
    EXPECT_FALSE(second.state().messages.contains(group));
    ASSERT_FALSE(world.events[2].empty());
    EXPECT_EQ(world.events[2].back(), SessionEvent::removed(group));

    first.leaveGroup(group, left.done());
    world.advance(0ms);
    ASSERT_TRUE(left.result && left.result->has_value());
    EXPECT_FALSE(first.state().conversations.contains(group));
    EXPECT_EQ(staff.state().conversations[group].memberIDs->contains(firstID), false);
}

TEST(SessionLocalServer, AvatarAndCompanyUpdatesComeBackAsRecords) {
    LocalWorld world(false);
    ChatSession& staff = world.signIn(world.staff().email);
    ChatSession& client = world.signIn(world.clientAccount(0).email);
    // A 1×1 PNG.
    const QString png = QStringLiteral("iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAYAAAAfFcSJAAAADUlEQVR42mP"
                                       "8z8BQDwAEhQGAhKmMIQAAAABJRU5ErkJggg==");
    Outcome<void> avatar, badAvatar, company;
    client.setAvatar(png, avatar.done());
    client.setAvatar(QStringLiteral("bm9uIMOoIHVuJ2ltbWFnaW5l"), badAvatar.done());
    staff.updateClient(*world.clientAccount(0).clientID, QString("Nome nuovo"),
                       QString("Paga a 30 giorni"), company.done());
    world.advance(0ms);
    ASSERT_TRUE(avatar.result && avatar.result->has_value());
    EXPECT_EQ(*badAvatar.result, std::unexpected(ChatError::server("image_invalid")));
    ASSERT_TRUE(company.result && company.result->has_value());
    const QString me = client.state().me->id;
    EXPECT_TRUE(staff.state().users[me].avatar.has_value());
    EXPECT_TRUE(client.state().users[me].avatar.has_value());
    EXPECT_EQ(staff.state().clients[*world.clientAccount(0).clientID].notes, "Paga a 30 giorni");
    EXPECT_EQ(client.state().clients[*world.clientAccount(0).clientID].name, "Nome nuovo");
    // Notes are for staff only.
    EXPECT_FALSE(client.state().clients[*world.clientAccount(0).clientID].notes.has_value());
}

} // namespace
} // namespace brevio::test
