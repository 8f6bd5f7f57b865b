#include "localserver/Gatekeeper.h"

#include "localserver/PeerHub.h"
#include "localserver/ServerData.h"
#include "localserver/ServerRules.h"
#include "model/InviteCode.h"
#include "model/MessageRules.h"
#include "model/ServerCode.h"
#include "model/SignUpRules.h"

namespace brevio {

namespace {
constexpr int protocolVersion = 3;
constexpr int maximumNameLength = 80;
constexpr int maximumCompanyNameLength = 120;
} // namespace

Gatekeeper::Gatekeeper(const LocalServer::Options& options, ServerData& data, PeerHub& hub,
                       PasswordHasher& hasher, Clock& clock)
    : options_(options), data_(data), hub_(hub), hasher_(hasher),
      accounts_(clock, failuresPerAccount, failureWindow),
      addresses_(clock, failuresPerAddress, failureWindow) {}

void Gatekeeper::refuse(qint64 peerID, const QString& code) {
    ServerError error;
    error.code = code;
    hub_.send(peerID, ServerFrame::error(std::move(error)));
}

bool Gatekeeper::acceptsClient(qint64 peerID, const ClientInfo& client) {
    if (client.protocolVersion == protocolVersion && client.build >= options_.minimumBuild)
        return true;
    ServerError error;
    error.code = ServerCode::upgradeRequired;
    error.minimumBuild = options_.minimumBuild;
    hub_.send(peerID, ServerFrame::error(std::move(error)));
    return false;
}

QString Gatekeeper::address(qint64 peerID) {
    const PeerHub::Peer* peer = hub_.peer(peerID);
    return peer ? peer->address : QString();
}

void Gatekeeper::signIn(qint64 peerID, const QString& userID, const QString& token) {
    PeerHub::Peer& peer = *hub_.peer(peerID);
    const std::optional<QString> previous = peer.userID;
    peer.userID = userID;
    peer.token = token;
    data_.tokens[token] = userID;
    if (previous && *previous != userID)
        hub_.userLeft(*previous);

    const User& me = *data_.user(userID);
    Welcome welcome;
    welcome.token = token;
    welcome.me = me;
    welcome.organization = options_.organization;
    welcome.users = data_.usersVisibleTo(me);
    welcome.clients = data_.clientsVisibleTo(me);
    welcome.conversations = data_.conversationsVisibleTo(me);
    for (const User& user : welcome.users) {
        if (hub_.isOnline(user.id))
            welcome.online.append(user.id);
    }
    hub_.send(peerID, ServerFrame::welcome(std::move(welcome)));
    hub_.broadcastPresence(userID, true, peerID);
}

void Gatekeeper::login(qint64 peerID, const LoginRequest& request) {
    if (!acceptsClient(peerID, request.client))
        return;
    // E-mails without an account count too, so the answers never tell whether one exists.
    const QString account = request.email.trimmed().toLower();
    const QString from = address(peerID);
    if (accounts_.isBlocked(account) || (!from.isEmpty() && addresses_.isBlocked(from)))
        return refuse(peerID, ServerCode::rateLimited);
    const Account* stored = data_.accountByEmail(request.email);
    bool valid = false;
    if (stored) {
        valid = hasher_.verify(request.password, stored->passwordRecord);
    } else {
        if (decoyRecord_.isEmpty())
            decoyRecord_ = hasher_.hash(QStringLiteral("nessun account"));
        hasher_.verify(request.password, decoyRecord_);
    }
    if (!valid) {
        accounts_.recordFailure(account);
        if (!from.isEmpty())
            addresses_.recordFailure(from);
        return refuse(peerID, ServerCode::invalidCredentials);
    }
    accounts_.reset(account);
    signIn(peerID, stored->user.id, ServerRules::newToken());
}

void Gatekeeper::resume(qint64 peerID, const ResumeRequest& request) {
    if (!acceptsClient(peerID, request.client))
        return;
    const auto it = data_.tokens.find(request.token);
    if (it == data_.tokens.end() || !data_.user(it->second))
        return refuse(peerID, ServerCode::sessionExpired);
    signIn(peerID, it->second, request.token);
}

void Gatekeeper::redeem(qint64 peerID, const RedeemRequest& request) {
    if (!acceptsClient(peerID, request.client))
        return;
    const QString from = address(peerID);
    if (!from.isEmpty() && addresses_.isBlocked(from))
        return refuse(peerID, ServerCode::rateLimited);
    const auto it = data_.invites.find(InviteCode::normalise(request.code));
    if (it == data_.invites.end() || it->second.used || data_.now() > it->second.invite.expiresAt) {
        if (!from.isEmpty())
            addresses_.recordFailure(from); // guessing codes is throttled like guessing passwords
        return refuse(peerID, ServerCode::invalidInvite);
    }
    const QString name = request.name.trimmed();
    if (!ServerRules::isStrongPassword(request.password))
        return refuse(peerID, ServerCode::weakPassword);
    if (name.isEmpty() || ServerRules::visibleLength(name) > maximumNameLength)
        return refuse(peerID, ServerCode::badRequest);
    if (data_.isEmailInUse(it->second.invite.email))
        return refuse(peerID, ServerCode::emailInUse);

    it->second.used = true;
    const Invite& invite = it->second.invite;
    User user;
    user.name = name;
    user.email = invite.email;
    user.role = Role::client;
    user.clientID = invite.clientID;
    const User& created = data_.addAccount(user, hasher_.hash(request.password));
    hub_.broadcastUser(created);
    signIn(peerID, created.id, ServerRules::newToken());
}

void Gatekeeper::signup(qint64 peerID, const SignUpRequest& request) {
    if (!acceptsClient(peerID, request.client))
        return;
    const QString name = request.name.trimmed();
    const QString companyName = request.companyName.value_or(QString()).trimmed();
    const QString email = request.email.trimmed();
    const QString text = request.text.trimmed();
    // `website` is a field people never see; only automated form fillers put something in it.
    if (name.isEmpty() || ServerRules::visibleLength(name) > maximumNameLength ||
        ServerRules::visibleLength(companyName) > maximumCompanyNameLength ||
        !SignUpRules::isValidEmail(email) || !request.website.isEmpty())
        return refuse(peerID, ServerCode::badRequest);
    if (!ServerRules::isStrongPassword(request.password))
        return refuse(peerID, ServerCode::weakPassword);
    if (data_.isEmailInUse(email))
        return refuse(peerID, ServerCode::emailInUse);
    if (ServerRules::visibleLength(text) > maximumMessageLength)
        return refuse(peerID, ServerCode::messageTooLong);

    const QDateTime now = data_.now();
    const ClientCompany& company = data_.addClient(companyName.isEmpty() ? name : companyName,
                                                   QStringLiteral("Richiesta senza invito del ") +
                                                       now.toString(QStringLiteral("dd/MM/yyyy")) +
                                                       QStringLiteral(": email non verificata."));
    User user;
    user.name = name;
    user.email = email;
    user.role = Role::client;
    user.clientID = company.id;
    const QString userID = data_.addAccount(user, hasher_.hash(request.password)).id;
    Conversation& direct = *data_.directConversation(company.id);
    std::optional<ChatMessage> first;
    if (!text.isEmpty()) {
        first = data_.append(direct, userID, data_.makeID(u"signup-"), text, std::nullopt, now);
        data_.recordReceipt(direct, userID, first->seq, true, now);
    }
    // Staff learn of the applicant before the applicant's own peer is bound to it.
    hub_.broadcastUser(*data_.user(userID));
    hub_.broadcastClient(company);
    hub_.broadcast(direct, ServerFrame::conversation({direct}));
    if (first) {
        hub_.broadcast(direct, ServerFrame::message({*first}));
        hub_.broadcast(direct, ServerFrame::read({direct.id, userID, first->seq}));
    }
    signIn(peerID, userID, ServerRules::newToken());
    if (first && onMessage)
        onMessage(direct.id, first->seq, userID);
}

void Gatekeeper::logout(qint64 peerID) {
    PeerHub::Peer* peer = hub_.peer(peerID);
    if (!peer)
        return;
    if (peer->token)
        data_.tokens.erase(*peer->token);
    const std::optional<QString> userID = peer->userID;
    peer->userID.reset();
    peer->token.reset();
    if (userID)
        hub_.userLeft(*userID);
}

} // namespace brevio
