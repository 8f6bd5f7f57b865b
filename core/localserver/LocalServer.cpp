#include "localserver/LocalServer.h"

#include "localserver/AutoReplier.h"
#include "localserver/DemoSeed.h"
#include "localserver/Gatekeeper.h"
#include "localserver/MessageHandler.h"
#include "localserver/OrganisationHandler.h"
#include "localserver/PeerHub.h"
#include "localserver/ServerData.h"
#include "localserver/Sha256PasswordHasher.h"
#include "model/ServerCode.h"

#include <QMetaObject>

namespace brevio {

// The server's parts, wired together; the handlers own nothing but what they are given.
struct LocalServer::Impl {
    Impl(const Options& options, Clock& clock, std::unique_ptr<PasswordHasher> passwordHasher)
        : options(options), hasher(passwordHasher ? std::move(passwordHasher)
                                                  : std::make_unique<Sha256PasswordHasher>()),
          data(clock), hub(data), gatekeeper(options, data, hub, *hasher, clock),
          messages(data, hub), organisation(options, data, hub), replier(data, hub, clock) {
        const auto autoReply = [this](const QString& conversationID, qint64 seq,
                                      const QString& authorID) {
            if (this->options.autoReply)
                replier.start(conversationID, seq, authorID);
        };
        gatekeeper.onMessage = autoReply;
        messages.onMessage = autoReply;
    }

    const Options& options;
    std::unique_ptr<PasswordHasher> hasher;
    ServerData data;
    PeerHub hub;
    Gatekeeper gatekeeper;
    MessageHandler messages;
    OrganisationHandler organisation;
    AutoReplier replier; // last: its timers go first

    void handle(qint64 peerID, const ClientFrame& frame) {
        if (!hub.peer(peerID))
            return; // disconnected meanwhile
        const auto reject = [&] { hub.refuse(peerID, frame, ServerCode::badRequest); };
        switch (frame.type) {
        case ClientFrame::Type::login:
            if (const auto* r = frame.as<LoginRequest>())
                return gatekeeper.login(peerID, *r);
            return reject();
        case ClientFrame::Type::resume:
            if (const auto* r = frame.as<ResumeRequest>())
                return gatekeeper.resume(peerID, *r);
            return reject();
        case ClientFrame::Type::redeem:
            if (const auto* r = frame.as<RedeemRequest>())
                return gatekeeper.redeem(peerID, *r);
            return reject();
        case ClientFrame::Type::signup:
            if (const auto* r = frame.as<SignUpRequest>())
                return gatekeeper.signup(peerID, *r);
            return reject();
        case ClientFrame::Type::logout:
            return gatekeeper.logout(peerID);
        default:
            break;
        }
        const User* signedIn = hub.userOf(peerID);
        if (!signedIn)
            return hub.refuse(peerID, frame, ServerCode::notAuthenticated);
        const User me = *signedIn; // a copy: handlers may change the stored record
        // Calls the handler's method with the frame's request, whose type the method names.
        const auto run =
            [&]<class Handler, class Request>(
                Handler& handler,
                void (Handler::*method)(qint64, const ClientFrame&, const User&, const Request&)) {
                if (const auto* request = frame.as<Request>())
                    (handler.*method)(peerID, frame, me, *request);
                else
                    reject();
            };
        switch (frame.type) {
        case ClientFrame::Type::send:
            return run(messages, &MessageHandler::send);
        case ClientFrame::Type::history:
            return run(messages, &MessageHandler::history);
        case ClientFrame::Type::edit:
            return run(messages, &MessageHandler::edit);
        case ClientFrame::Type::remove:
            return run(messages, &MessageHandler::remove);
        case ClientFrame::Type::react:
            return run(messages, &MessageHandler::react);
        case ClientFrame::Type::changes:
            return run(messages, &MessageHandler::changes);
        case ClientFrame::Type::delivered:
            return run(messages, &MessageHandler::delivered);
        case ClientFrame::Type::read:
            return run(messages, &MessageHandler::read);
        case ClientFrame::Type::typing:
            return run(messages, &MessageHandler::typing);
        case ClientFrame::Type::receipts:
            return run(messages, &MessageHandler::receipts);
        case ClientFrame::Type::setAvatar:
            return run(organisation, &OrganisationHandler::setAvatar);
        case ClientFrame::Type::createInvite:
            return run(organisation, &OrganisationHandler::createInvite);
        case ClientFrame::Type::updateClient:
            return run(organisation, &OrganisationHandler::updateClient);
        case ClientFrame::Type::createGroup:
            return run(organisation, &OrganisationHandler::createGroup);
        case ClientFrame::Type::updateGroup:
            return run(organisation, &OrganisationHandler::updateGroup);
        default:
            return reject();
        }
    }
};

// LocalServer -------------------------------------------------------------------------------------

LocalServer::LocalServer(Options options, Clock& clock, std::unique_ptr<PasswordHasher> hasher,
                         QObject* parent)
    : QObject(parent), options_(std::move(options)),
      d(std::make_unique<Impl>(options_, clock, std::move(hasher))) {}

LocalServer::~LocalServer() = default;

void LocalServer::cancelPendingAnswers() {
    d->replier.cancelAll();
}

void LocalServer::seedDemo() {
    const QList<SeededAccount> accounts = DemoSeed::fill(d->data, *d->hasher);
    std::lock_guard lock(seededMutex_);
    seeded_ = accounts;
}

QList<LocalServer::SeededAccount> LocalServer::seededAccounts() const {
    std::lock_guard lock(seededMutex_);
    return seeded_;
}

LocalEndpoint::PeerLink LocalServer::registerPeer(const QString& address) {
    const qint64 peerID = nextPeerID_++;
    auto frames = std::make_shared<FrameQueue<ServerFrame>>();
    QMetaObject::invokeMethod(
        this, [this, peerID, frames, address] { addPeer(peerID, frames, address); },
        Qt::QueuedConnection);
    return PeerLink{peerID, frames};
}

void LocalServer::deliver(qint64 peerID, ClientFrame frame) {
    QMetaObject::invokeMethod(
        this, [this, peerID, frame = std::move(frame)] { handle(peerID, frame); },
        Qt::QueuedConnection);
}

void LocalServer::disconnectPeer(qint64 peerID) {
    QMetaObject::invokeMethod(
        this, [this, peerID] { removePeer(peerID); }, Qt::QueuedConnection);
}

void LocalServer::addPeer(qint64 peerID, std::shared_ptr<FrameQueue<ServerFrame>> frames,
                          QString address) {
    d->hub.add(peerID, std::move(frames), std::move(address));
}

void LocalServer::removePeer(qint64 peerID) {
    d->hub.remove(peerID);
}

void LocalServer::handle(qint64 peerID, const ClientFrame& frame) {
    d->handle(peerID, frame);
}

std::string LocalServer::stateSnapshot() const {
    return d->data.snapshot();
}

} // namespace brevio
