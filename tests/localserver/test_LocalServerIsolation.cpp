#include "ServerHarness.h"

using namespace brevio;
using namespace brevio::test;

namespace {

// Two signed-in people who ask for what they may not see, and three bystanders (one per other
// company) who must hear nothing of it.
class LocalServerIsolation : public ::testing::Test {
protected:
    LocalServerIsolation() {
        const QString site = ServerHarness::conversationTitled(staff.welcome, "Cantiere via Roma");
        studio = ServerHarness::conversationTitled(staff.welcome, "Studio Bassi Architetti");
        bakery = ServerHarness::conversationTitled(staff.welcome, "Panificio Orlandi");
        // A group the staff member made and then left: staff may manage it but not read it.
        const ServerFrame created =
            staff.request(ClientFrame::createGroup({QStringLiteral("g"),
                                                    QStringLiteral("Riservato"),
                                                    {paolo.welcome.me.id, luca.welcome.me.id}}));
        privateGroup = *created.as<OKReply>()->conversationID;
        paolo.request(ClientFrame::send(
            {QStringLiteral("p1"), privateGroup, QStringLiteral("Solo noi"), std::nullopt}));
        staff.request(ClientFrame::updateGroup({QStringLiteral("leave"), privateGroup, std::nullopt,
                                                std::nullopt, QStringList{staff.welcome.me.id}}));
        hidden[&client] = {studio, site, QStringLiteral("sconosciuta")};
        hidden[&staff] = {privateGroup, QStringLiteral("sconosciuta")};
        for (auto* peer : {&staff, &client, &paolo, &luca, &sara})
            peer->take();
    }

    // Every conversation frame, aimed at one conversation.
    static std::vector<ClientFrame> framesFor(const QString& conversationID) {
        const QString c = conversationID;
        return {
            ClientFrame::send({QStringLiteral("s"), c, QStringLiteral("ciao"), std::nullopt}),
            ClientFrame::history({QStringLiteral("h"), c, std::nullopt, std::nullopt, 50}),
            ClientFrame::edit({QStringLiteral("e"), c, 1, QStringLiteral("x")}),
            ClientFrame::remove({QStringLiteral("d"), c, 1}),
            ClientFrame::react({QStringLiteral("r"), c, 1, QStringLiteral("👍")}),
            ClientFrame::react({QStringLiteral("r0"), c, 1, std::nullopt}),
            ClientFrame::changes({QStringLiteral("c"), c, 0}),
            ClientFrame::delivered({c, 1}),
            ClientFrame::read({c, 1}),
            ClientFrame::typing({c, true}),
            ClientFrame::receipts({QStringLiteral("q"), c, 1}),
        };
    }

    // Sends `frame` and checks: one "forbidden" answer to its id, no state change, silence for
    // everybody else.
    void expectForbidden(ServerHarness::Peer& peer, const ClientFrame& frame) {
        SCOPED_TRACE(typeName(frame.type).toStdString());
        const std::string before = h.server.stateSnapshot();
        const auto frames = peer.exchange(frame);
        ASSERT_EQ(frames.size(), 1u);
        EXPECT_EQ(errorCode(frames[0]), "forbidden");
        const QString id = frame.requestID();
        EXPECT_EQ(frames[0].replyTo(), id.isEmpty() ? std::nullopt : std::optional(id));
        EXPECT_EQ(h.server.stateSnapshot(), before);
        for (auto* other : {&staff, &client, &paolo, &luca, &sara}) {
            if (other != &peer) {
                EXPECT_TRUE(other->take().empty());
            }
        }
    }

    ServerHarness h;
    ServerHarness::Peer staff = h.signIn(h.email(QStringLiteral("Marta Ferri")));
    ServerHarness::Peer client = h.signIn(h.email(QStringLiteral("Giulia Orlandi")));
    ServerHarness::Peer paolo = h.signIn(h.email(QStringLiteral("Paolo Bassi")));
    ServerHarness::Peer luca = h.signIn(h.email(QStringLiteral("Luca Gatti")));
    ServerHarness::Peer sara = h.signIn(h.email(QStringLiteral("Sara Conti")));
    QString studio, bakery, privateGroup;
    std::map<ServerHarness::Peer*, QStringList> hidden;
};

} // namespace

TEST_F(LocalServerIsolation, EveryConversationFrameOnAHiddenConversationIsForbidden) {
    for (auto* peer : {&client, &staff}) {
        for (const QString& conversationID : hidden[peer]) {
            SCOPED_TRACE(conversationID.toStdString());
            for (const ClientFrame& frame : framesFor(conversationID))
                expectForbidden(*peer, frame);
        }
    }
    // The same frames are served where the sender takes part, so the refusals above are about
    // visibility and nothing else.
    EXPECT_TRUE(client.request(framesFor(bakery)[1]).as<HistoryPage>());
    EXPECT_TRUE(staff.request(framesFor(studio)[1]).as<HistoryPage>());
}

TEST_F(LocalServerIsolation, StaffOnlyRequestsAreForbiddenToClients) {
    const QString ownCompany = *client.welcome.me.clientID;
    const QString site = ServerHarness::conversationTitled(paolo.welcome, "Cantiere via Roma");
    for (const ClientFrame& frame : {
             ClientFrame::createInvite({QStringLiteral("i"), ownCompany, std::nullopt,
                                        QStringLiteral("Amica"), QStringLiteral("a@b.it")}),
             ClientFrame::updateClient({QStringLiteral("u"), ownCompany, QStringLiteral("X"),
                                        QStringLiteral("note mie")}),
             ClientFrame::createGroup(
                 {QStringLiteral("g"), QStringLiteral("G"), {client.welcome.me.id}}),
             ClientFrame::updateGroup({QStringLiteral("n"), site, QStringLiteral("Nuovo nome"),
                                       std::nullopt, std::nullopt}),
             ClientFrame::updateGroup({QStringLiteral("a"), site, std::nullopt,
                                       QStringList{client.welcome.me.id}, std::nullopt}),
             ClientFrame::updateGroup({QStringLiteral("x"), site, std::nullopt, std::nullopt,
                                       QStringList{sara.welcome.me.id}}),
         })
        expectForbidden(paolo, frame);
    // A member may leave a group by itself.
    const ServerFrame left = paolo.request(ClientFrame::updateGroup(
        {QStringLiteral("l"), site, std::nullopt, std::nullopt, QStringList{paolo.welcome.me.id}}));
    EXPECT_TRUE(left.as<OKReply>());
    for (auto* peer : {&staff, &sara})
        peer->take();
    expectForbidden(paolo, framesFor(site)[1]);
}

TEST_F(LocalServerIsolation, ClientsSeeNamesNotEmailsAndNeverNotes) {
    const Welcome& w = paolo.welcome;
    QStringList names;
    for (const User& user : w.users) {
        names.append(user.name);
        EXPECT_EQ(user.email.has_value(), user.id == w.me.id) << user.name.toStdString();
    }
    names.sort();
    EXPECT_EQ(names, (QStringList{"Marta Ferri", "Paolo Bassi", "Sara Conti"})); // via the group
    ASSERT_EQ(w.clients.size(), 1);
    EXPECT_EQ(w.clients[0].id, *w.me.clientID);
    EXPECT_FALSE(w.clients[0].notes);
    EXPECT_EQ(w.conversations.size(), 2); // its company's and the group
    for (const Conversation& conversation : w.conversations) {
        EXPECT_TRUE(conversation.kind == ConversationKind::group ||
                    conversation.clientID == w.me.clientID);
    }
    ASSERT_EQ(staff.welcome.clients.size(), 5);
    EXPECT_TRUE(std::all_of(staff.welcome.clients.begin(), staff.welcome.clients.end(),
                            [](const ClientCompany& c) { return c.notes.has_value(); }));
    EXPECT_TRUE(std::all_of(staff.welcome.users.begin(), staff.welcome.users.end(),
                            [](const User& u) { return u.email.has_value(); }));
}

TEST_F(LocalServerIsolation, LiveEventsKeepNotesAndEmailsToThoseAllowed) {
    // The first payload of type T among frames, if any.
    auto first = []<class T>(const std::vector<ServerFrame>& frames) -> std::optional<T> {
        for (const auto& frame : frames) {
            if (const auto* payload = frame.as<T>())
                return *payload;
        }
        return std::nullopt;
    };
    auto clientEvent = [&](const std::vector<ServerFrame>& frames) {
        return first.template operator()<ClientEvent>(frames);
    };
    auto userEvent = [&](const std::vector<ServerFrame>& frames) {
        return first.template operator()<UserEvent>(frames);
    };

    const QString company = *paolo.welcome.me.clientID;
    const auto toStaff = staff.exchange(
        ClientFrame::updateClient({QStringLiteral("u"), company, QStringLiteral("Studio Bassi"),
                                   QStringLiteral("Paga in ritardo")}));
    ASSERT_TRUE(clientEvent(toStaff));
    EXPECT_EQ(clientEvent(toStaff)->client.notes, "Paga in ritardo");
    EXPECT_EQ(toStaff.back().type, ServerFrame::Type::ok);
    const auto toPaolo = clientEvent(paolo.take());
    ASSERT_TRUE(toPaolo);
    EXPECT_EQ(toPaolo->client.name, "Studio Bassi");
    EXPECT_FALSE(toPaolo->client.notes);
    EXPECT_FALSE(clientEvent(client.take()));
    EXPECT_FALSE(clientEvent(luca.take()));

    // A user record reaches clients without its e-mail; the owner gets its own whole.
    const auto toSara = userEvent(sara.exchange(ClientFrame::setAvatar({QStringLiteral("a"), {}})));
    ASSERT_TRUE(toSara);
    EXPECT_TRUE(toSara->user.email);
    const auto seenByPaolo = userEvent(paolo.take());
    ASSERT_TRUE(seenByPaolo);
    EXPECT_EQ(seenByPaolo->user.name, "Sara Conti");
    EXPECT_FALSE(seenByPaolo->user.email);
    EXPECT_TRUE(userEvent(staff.take())->user.email);
    EXPECT_FALSE(userEvent(client.take())); // Giulia shares no conversation with Sara
    EXPECT_FALSE(userEvent(luca.take()));

    // Messages and typing stay inside the conversation.
    client.request(ClientFrame::send({QStringLiteral("m"), bakery,
                                      QStringLiteral("Solo per lo "
                                                     "staff"),
                                      std::nullopt}));
    client.send(ClientFrame::typing({bakery, true}));
    EXPECT_FALSE(staff.take().empty());
    for (auto* other : {&paolo, &luca, &sara})
        EXPECT_TRUE(other->take().empty());
}

TEST_F(LocalServerIsolation, NewGroupMembersMeetByNameBeforeTheGroupArrives) {
    // The names in the "user" records a member received, all of which must come before the
    // group's "conversation" frame and none of which may carry an e-mail.
    auto introduced = [](ServerHarness::Peer& peer) {
        QStringList names;
        bool conversation = false;
        for (const ServerFrame& frame : peer.take()) {
            if (frame.as<ConversationEvent>()) {
                conversation = true;
            } else if (const auto* event = frame.as<UserEvent>()) {
                EXPECT_FALSE(conversation) << "after the group: " << event->user.name.toStdString();
                EXPECT_FALSE(event->user.email) << event->user.name.toStdString();
                names.append(event->user.name);
            }
        }
        EXPECT_TRUE(conversation);
        names.sort();
        return names;
    };
    auto userRecords = [](const std::vector<ServerFrame>& frames) {
        return std::count_if(frames.begin(), frames.end(),
                             [](const ServerFrame& frame) { return frame.as<UserEvent>(); });
    };

    // Giulia and Paolo share nothing yet; Paolo and Luca already share the private group.
    const auto created =
        staff.exchange(ClientFrame::createGroup({QStringLiteral("g2"),
                                                 QStringLiteral("Fornitori"),
                                                 {client.welcome.me.id, paolo.welcome.me.id}}));
    EXPECT_EQ(userRecords(created), 0); // staff know everybody already
    const QString group = *created.back().as<OKReply>()->conversationID;
    EXPECT_EQ(introduced(client), QStringList{"Paolo Bassi"});
    EXPECT_EQ(introduced(paolo), QStringList{"Giulia Orlandi"});
    EXPECT_TRUE(luca.take().empty());
    EXPECT_TRUE(sara.take().empty());

    const auto added = staff.exchange(ClientFrame::updateGroup(
        {QStringLiteral("u"), group, std::nullopt,
         QStringList{luca.welcome.me.id, sara.welcome.me.id}, std::nullopt}));
    EXPECT_EQ(userRecords(added), 0);
    EXPECT_EQ(introduced(client), (QStringList{"Luca Gatti", "Sara Conti"}));
    EXPECT_EQ(introduced(paolo), QStringList{}); // knows Luca and Sara from other groups
    EXPECT_EQ(introduced(luca), (QStringList{"Giulia Orlandi", "Sara Conti"}));
    EXPECT_EQ(introduced(sara), (QStringList{"Giulia Orlandi", "Luca Gatti"}));
}
