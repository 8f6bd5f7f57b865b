#include "ServerHarness.h"

#include <QRegularExpression>

using namespace brevio;
using namespace brevio::test;

namespace {

const QString marta = QStringLiteral("Marta Ferri");
const QString giulia = QStringLiteral("Giulia Orlandi");
const QString luca = QStringLiteral("Luca Gatti");

RedeemRequest redeemRequest(const QString& code, const QString& password = demoPassword) {
    return {code, QStringLiteral("Anna Neri"), password, testClient()};
}

SignUpRequest signUpRequest(const QString& email, const QString& text = QStringLiteral("Aiuto")) {
    return {QStringLiteral("Carlo Rossi"),
            email,
            QStringLiteral("Rossi Impianti"),
            demoPassword,
            text,
            QString(),
            testClient()};
}

// An invite for the new-client company of the demo, made by the staff member.
Invite makeInvite(ServerHarness& h, const QString& email) {
    auto staff = h.signIn(h.email(marta));
    QString clientID;
    for (const auto& company : staff.welcome.clients) {
        if (company.name == QStringLiteral("Agriturismo Le Querce"))
            clientID = company.id;
    }
    const ServerFrame reply = staff.request(ClientFrame::createInvite(
        {QStringLiteral("inv"), clientID, std::nullopt, QStringLiteral("Anna Neri"), email}));
    EXPECT_TRUE(reply.as<InviteCreated>()) << errorCode(reply).toStdString();
    return reply.as<InviteCreated>() ? reply.as<InviteCreated>()->invite : Invite{};
}

} // namespace

TEST(LocalServerSignIn, OldClientsMustUpgradeEvenWithTheRightPassword) {
    LocalServer::Options options = ServerHarness::quiet();
    options.minimumBuild = 50;
    ServerHarness h(options);
    const QString email = h.email(marta);
    const std::pair<qint64, qint64> refused[] = {{2, 100}, {3, 49}, {4, 100}};
    for (const auto& [protocol, build] : refused) {
        auto peer = h.connect();
        const ClientInfo client = testClient(build, protocol);
        for (const ClientFrame& frame :
             {ClientFrame::login({email, demoPassword, client}),
              ClientFrame::resume({QStringLiteral("x"), client}),
              ClientFrame::redeem(
                  {QStringLiteral("ABCD-EFGH"), QStringLiteral("A"), demoPassword, client}),
              ClientFrame::signup({QStringLiteral("A"),
                                   QStringLiteral("a@b.it"),
                                   {},
                                   demoPassword,
                                   {},
                                   {},
                                   client})}) {
            const auto frames = peer.exchange(frame);
            ASSERT_EQ(frames.size(), 1u);
            const auto* error = frames[0].as<ServerError>();
            ASSERT_TRUE(error);
            EXPECT_EQ(error->code, "upgrade_required");
            EXPECT_EQ(error->minimumBuild, 50);
            EXPECT_FALSE(error->replyTo);
        }
    }
    auto peer = h.connect();
    const auto frames = peer.exchange(ClientFrame::login({email, demoPassword, testClient(50)}));
    ASSERT_EQ(frames.size(), 1u);
    EXPECT_TRUE(frames[0].as<Welcome>());
}

TEST(LocalServerSignIn, RequestsBeforeSignInAreNotAuthenticated) {
    ServerHarness h;
    auto peer = h.connect();
    const auto history = peer.exchange(
        ClientFrame::history({QStringLiteral("req-1"), QStringLiteral("d1"), {}, {}, 50}));
    ASSERT_EQ(history.size(), 1u);
    EXPECT_EQ(errorCode(history[0]), "not_authenticated");
    EXPECT_EQ(history[0].replyTo(), "req-1");
    // A frame without a request id is refused without one.
    const auto read = peer.exchange(ClientFrame::read({QStringLiteral("d1"), 1}));
    ASSERT_EQ(read.size(), 1u);
    EXPECT_EQ(errorCode(read[0]), "not_authenticated");
    EXPECT_FALSE(read[0].replyTo());
}

TEST(LocalServerSignIn, LoginIssuesFreshUrlSafeTokensThatOutliveThePeer) {
    ServerHarness h;
    const QString email = h.email(giulia);
    auto wrong = h.connect();
    for (const auto& [address, password] :
         {std::pair{email, QStringLiteral("sbagliata")},
          std::pair{QStringLiteral("nessuno@esempio.it"), demoPassword}}) {
        const auto frames = wrong.exchange(ClientFrame::login({address, password, testClient()}));
        ASSERT_EQ(frames.size(), 1u);
        EXPECT_EQ(errorCode(frames[0]), "invalid_credentials");
    }

    auto first = h.signIn(QStringLiteral("  ") + email.toUpper());
    auto second = h.signIn(email);
    const QRegularExpression urlSafe(QStringLiteral("^[A-Za-z0-9_-]{43}$"));
    EXPECT_TRUE(urlSafe.match(first.welcome.token).hasMatch()) << first.welcome.token.toStdString();
    EXPECT_NE(first.welcome.token, second.welcome.token);
    EXPECT_EQ(first.welcome.me.email, email);
    EXPECT_EQ(first.welcome.organization, "Ardena");

    first.disconnect();
    EXPECT_TRUE(first.isFinished());
    auto again = h.connect();
    auto frames = again.exchange(ClientFrame::resume({first.welcome.token, testClient()}));
    ASSERT_EQ(frames.size(), 1u);
    ASSERT_TRUE(frames[0].as<Welcome>());
    EXPECT_EQ(frames[0].as<Welcome>()->token, first.welcome.token);

    // Logout ends this session and its token, not the other one.
    again.send(ClientFrame::logout());
    frames = again.exchange(
        ClientFrame::history({QStringLiteral("h"), first.welcome.conversations[0].id, {}, {}, 5}));
    EXPECT_EQ(errorCode(frames.at(0)), "not_authenticated");
    frames = again.exchange(ClientFrame::resume({first.welcome.token, testClient()}));
    EXPECT_EQ(errorCode(frames.at(0)), "session_expired");
    frames = again.exchange(ClientFrame::resume({second.welcome.token, testClient()}));
    EXPECT_TRUE(frames.at(0).as<Welcome>());
}

TEST(LocalServerSignIn, SigningInAgainOnTheSamePeerSwitchesOnlyOnSuccess) {
    ServerHarness h;
    auto peer = h.signIn(h.email(marta));
    const QString bakery = ServerHarness::conversationTitled(peer.welcome, "Panificio Orlandi");
    const QString garage = ServerHarness::conversationTitled(peer.welcome, "Officina Gatti");

    auto frames =
        peer.exchange(ClientFrame::login({h.email(giulia), QStringLiteral("no"), testClient()}));
    EXPECT_EQ(errorCode(frames.at(0)), "invalid_credentials");
    EXPECT_TRUE(peer.request(ClientFrame::history({QStringLiteral("a"), garage, {}, {}, 5}))
                    .as<HistoryPage>());

    frames = peer.exchange(ClientFrame::login({h.email(giulia), demoPassword, testClient()}));
    ASSERT_TRUE(frames.at(0).as<Welcome>());
    EXPECT_EQ(frames[0].as<Welcome>()->me.name, giulia);
    EXPECT_EQ(
        errorCode(peer.request(ClientFrame::history({QStringLiteral("b"), garage, {}, {}, 5}))),
        "forbidden");
    EXPECT_TRUE(peer.request(ClientFrame::history({QStringLiteral("c"), bakery, {}, {}, 5}))
                    .as<HistoryPage>());
}

TEST(LocalServerSignIn, PresenceFollowsConnectionsAndStaysWithinWhatEachMaySee) {
    ServerHarness h;
    auto staff = h.signIn(h.email(marta));
    auto other = h.signIn(h.email(luca));
    auto client = h.signIn(h.email(giulia));
    const QString giuliaID = client.welcome.me.id;
    EXPECT_TRUE(client.welcome.online.contains(staff.welcome.me.id));
    EXPECT_FALSE(client.welcome.online.contains(other.welcome.me.id)); // another company

    auto presenceOf = [&](ServerHarness::Peer& peer) {
        std::vector<PresenceEvent> events;
        for (const auto& frame : peer.take()) {
            if (const auto* presence = frame.as<PresenceEvent>();
                presence && presence->userID == giuliaID)
                events.push_back(*presence);
        }
        return events;
    };
    auto seen = presenceOf(staff);
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_TRUE(seen[0].online);
    EXPECT_TRUE(presenceOf(other).empty());

    client.disconnect();
    seen = presenceOf(staff);
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_FALSE(seen[0].online);
}

TEST(LocalServerSignIn, AnInviteIsRedeemedOnceWithItsRulesUntilItExpires) {
    ServerHarness h;
    const Invite invite = makeInvite(h, QStringLiteral("anna@querce.example"));
    const Invite unused = makeInvite(h, QStringLiteral("bruno@querce.example"));
    EXPECT_EQ(invite.expiresAt, h.clock.now().addSecs(604800));
    auto peer = h.connect();
    const std::string before = h.server.stateSnapshot();
    const std::pair<RedeemRequest, const char*> refused[] = {
        {redeemRequest(invite.code, QStringLiteral("1234567")), "weak_password"},
        {{invite.code, QStringLiteral("   "), demoPassword, testClient()}, "bad_request"},
        {redeemRequest(QStringLiteral("ZZZZ-ZZZZ")), "invalid_invite"},
    };
    for (const auto& [request, code] : refused) {
        const auto frames = peer.exchange(ClientFrame::redeem(request));
        ASSERT_EQ(frames.size(), 1u);
        EXPECT_EQ(errorCode(frames[0]), code);
    }
    EXPECT_EQ(h.server.stateSnapshot(), before);

    // Typed in lower case with blanks, at the last valid moment.
    h.clock.advance(std::chrono::seconds(604800));
    QString typed = invite.code.toLower();
    typed.replace(u'-', QStringLiteral(" "));
    auto frames = peer.exchange(ClientFrame::redeem(redeemRequest(typed)));
    ASSERT_TRUE(frames.at(0).as<Welcome>());
    const User me = frames[0].as<Welcome>()->me;
    EXPECT_EQ(me.email, "anna@querce.example");
    EXPECT_EQ(me.role, Role::client);
    EXPECT_EQ(me.clientID, invite.clientID);

    frames = h.connect().exchange(ClientFrame::redeem(redeemRequest(invite.code)));
    EXPECT_EQ(errorCode(frames.at(0)), "invalid_invite");
    EXPECT_TRUE(h.signIn(QStringLiteral("anna@querce.example")).welcome.me.id == me.id);

    // A millisecond after its last valid moment, the other invite is refused.
    h.clock.advance(std::chrono::milliseconds(1));
    frames = h.connect().exchange(ClientFrame::redeem(redeemRequest(unused.code)));
    EXPECT_EQ(errorCode(frames.at(0)), "invalid_invite");
}

TEST(LocalServerSignIn, SignUpRefusalsChangeNothing) {
    ServerHarness h;
    auto peer = h.connect();
    const std::string before = h.server.stateSnapshot();
    SignUpRequest shortPassword = signUpRequest(QStringLiteral("carlo@rossi.example"));
    shortPassword.password = QStringLiteral("1234567");
    SignUpRequest noName = signUpRequest(QStringLiteral("carlo@rossi.example"));
    noName.name = QStringLiteral("  ");
    SignUpRequest longName = noName;
    longName.name = QString(81, u'x');
    SignUpRequest robot = signUpRequest(QStringLiteral("carlo@rossi.example"));
    robot.website = QStringLiteral("http://spam.example");
    const std::pair<SignUpRequest, const char*> refused[] = {
        {shortPassword, "weak_password"},
        {signUpRequest(h.email(giulia).toUpper()), "email_in_use"},
        {signUpRequest(QStringLiteral("carlo@rossi")), "bad_request"},
        {noName, "bad_request"},
        {longName, "bad_request"},
        {robot, "bad_request"},
        {signUpRequest(QStringLiteral("carlo@rossi.example"), QString(4001, u'a')),
         "message_too_long"},
    };
    for (const auto& [request, code] : refused) {
        const auto frames = peer.exchange(ClientFrame::signup(request));
        ASSERT_EQ(frames.size(), 1u);
        EXPECT_EQ(errorCode(frames[0]), code) << request.email.toStdString();
    }
    EXPECT_EQ(h.server.stateSnapshot(), before);
}

TEST(LocalServerSignIn, SignUpOpensACompanyAndConversationThatStaffSeeAtOnce) {
    ServerHarness h;
    auto staff = h.signIn(h.email(marta));
    auto peer = h.connect();
    const QString text(4000, u'a');
    const auto frames = peer.exchange(
        ClientFrame::signup(signUpRequest(QStringLiteral("carlo@rossi.example"), text)));
    ASSERT_EQ(frames.size(), 1u);
    const auto* welcome = frames[0].as<Welcome>();
    ASSERT_TRUE(welcome);
    ASSERT_EQ(welcome->conversations.size(), 1);
    ASSERT_TRUE(welcome->conversations[0].lastMessage);
    EXPECT_EQ(welcome->conversations[0].lastMessage->text, text);
    ASSERT_EQ(welcome->clients.size(), 1);
    EXPECT_EQ(welcome->clients[0].name, "Rossi Impianti");
    EXPECT_FALSE(welcome->clients[0].notes); // notes are for staff

    std::vector<ServerFrame::Type> types;
    std::optional<ClientCompany> company;
    for (const auto& frame : staff.take()) {
        types.push_back(frame.type);
        if (const auto* event = frame.as<ClientEvent>())
            company = event->client;
    }
    using T = ServerFrame::Type;
    for (const T type : {T::user, T::client, T::conversation, T::message, T::read, T::presence})
        EXPECT_NE(std::find(types.begin(), types.end(), type), types.end()) << int(type);
    ASSERT_TRUE(company);
    EXPECT_EQ(company->notes, "Richiesta senza invito del 14/03/2025: email non verificata.");
}

namespace {

// A wrong password from a new address each time, so that only the account's count can lock.
ServerFrame failLogin(ServerHarness& h, const QString& email, int attempt) {
    auto peer = h.connect(QStringLiteral("10.0.%1.%2").arg(attempt / 200).arg(attempt % 200));
    const auto frames =
        peer.exchange(ClientFrame::login({email, QStringLiteral("sbagliata"), testClient()}));
    return frames.at(0);
}

} // namespace

TEST(LocalServerSignIn, TheTenthFailedLoginLocksTheAccountForTenMinutesFromThen) {
    ServerHarness h;
    const QString email = h.email(giulia);
    // Nine failures over fifteen minutes, never ten minutes apart, all count.
    for (int attempt = 0; attempt < 9; ++attempt) {
        h.clock.advance(std::chrono::seconds(100));
        EXPECT_EQ(errorCode(failLogin(h, email, attempt)), "invalid_credentials");
    }
    h.clock.advance(std::chrono::minutes(9)); // now 24 minutes in
    EXPECT_EQ(errorCode(failLogin(h, email, 9)), "invalid_credentials");
    // The right password does not help until ten minutes after the tenth, from any address.
    auto peer = h.connect(QStringLiteral("10.1.0.1"));
    const auto login = ClientFrame::login({email, demoPassword, testClient()});
    EXPECT_EQ(errorCode(peer.exchange(login).at(0)), "rate_limited");
    h.clock.advance(std::chrono::seconds(599));
    EXPECT_EQ(errorCode(peer.exchange(login).at(0)), "rate_limited");
    h.clock.advance(std::chrono::seconds(1));
    EXPECT_TRUE(peer.exchange(login).at(0).as<Welcome>());
    // Other accounts were never affected.
    EXPECT_EQ(h.signIn(h.email(luca)).welcome.me.name, luca);
}

TEST(LocalServerSignIn, FailuresAreForgottenAfterTenQuietMinutesOrASuccess) {
    ServerHarness h;
    const QString email = h.email(giulia);
    for (int attempt = 0; attempt < 9; ++attempt)
        failLogin(h, email, attempt);
    h.clock.advance(std::chrono::minutes(10));
    for (int attempt = 9; attempt < 18; ++attempt)
        EXPECT_EQ(errorCode(failLogin(h, email, attempt)), "invalid_credentials");
    h.signIn(email); // nine failures since the pause: a success starts the count again
    for (int attempt = 18; attempt < 27; ++attempt)
        EXPECT_EQ(errorCode(failLogin(h, email, attempt)), "invalid_credentials");
    EXPECT_EQ(h.signIn(email).welcome.me.name, giulia);
}

TEST(LocalServerSignIn, OneAddressLocksItselfOnlyAfterManyFailures) {
    ServerHarness h;
    const QString address = QStringLiteral("192.0.2.7");
    auto peer = h.connect(address);
    // Ten failures on one account lock that account, not the others behind the same address.
    for (int attempt = 0; attempt < 10; ++attempt)
        peer.exchange(ClientFrame::login({h.email(giulia), QStringLiteral("x"), testClient()}));
    EXPECT_EQ(
        errorCode(
            peer.exchange(ClientFrame::login({h.email(giulia), demoPassword, testClient()})).at(0)),
        "rate_limited");
    EXPECT_EQ(h.signIn(h.email(luca), demoPassword, address).welcome.me.name, luca);

    // Guessing across accounts and invite codes counts against the address; wrong codes count
    // against no account.
    for (int attempt = 10; attempt < 100; ++attempt) {
        const ClientFrame frame =
            attempt % 2
                ? ClientFrame::redeem(redeemRequest(QStringLiteral("ZZZZ-Z%1").arg(attempt)))
                : ClientFrame::login(
                      {QStringLiteral("x%1@a.it").arg(attempt), QStringLiteral("p"), testClient()});
        EXPECT_NE(errorCode(peer.exchange(frame).at(0)), "rate_limited") << attempt;
    }
    auto frames = peer.exchange(ClientFrame::login({h.email(luca), demoPassword, testClient()}));
    EXPECT_EQ(errorCode(frames.at(0)), "rate_limited");
    frames = peer.exchange(ClientFrame::redeem(redeemRequest(QStringLiteral("ABCD-EFGH"))));
    EXPECT_EQ(errorCode(frames.at(0)), "rate_limited");
    EXPECT_EQ(h.signIn(h.email(luca), demoPassword, QStringLiteral("192.0.2.8")).welcome.me.name,
              luca);
    h.clock.advance(std::chrono::minutes(10));
    EXPECT_EQ(h.signIn(h.email(luca), demoPassword, address).welcome.me.name, luca);
}
