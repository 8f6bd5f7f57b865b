#include "localserver/LocalServer.h"

#include "localserver/AutoReplier.h"
#include "localserver/DemoSeed.h"
#include "localserver/Gatekeeper.h"
#include "localserver/PeerHub.h"
#include "localserver/PictureCheck.h"
#include "localserver/ServerData.h"
#include "localserver/ServerRules.h"
#include "localserver/Sha256PasswordHasher.h"
#include "model/InviteCode.h"
#include "model/SignUpRules.h"

#include <QMetaObject>
#include <algorithm>

namespace brevio {

namespace {

constexpr int maximumTitleLength = 120;

const QString badRequest = QStringLiteral("bad_request");
const QString forbidden = QStringLiteral("forbidden");
const QString notFound = QStringLiteral("not_found");
const QString tooLate = QStringLiteral("too_late");
const QString messageTooLong = QStringLiteral("message_too_long");

bool isBlank(const QString& text) {
    return text.trimmed().isEmpty();
}

} // namespace

// The requests of signed-in peers. Every check comes before the first change, so a refused
// request changes nothing.
struct LocalServer::Impl {
    Impl(const Options& options, Clock& clock, std::unique_ptr<PasswordHasher> passwordHasher)
        : options(options), hasher(passwordHasher ? std::move(passwordHasher)
                                                  : std::make_unique<Sha256PasswordHasher>()),
          data(clock), hub(data), gatekeeper(options, data, hub, *hasher, clock),
          replier(data, hub, clock) {
        gatekeeper.onMessage = [this](const QString& conversationID, qint64 seq,
                                      const QString& authorID) {
            autoReply(conversationID, seq, authorID);
        };
    }

    const Options& options;
    std::unique_ptr<PasswordHasher> hasher;
    ServerData data;
    PeerHub hub;
    Gatekeeper gatekeeper;
    AutoReplier replier; // last: its timers go first

    void autoReply(const QString& conversationID, qint64 seq, const QString& authorID) {
        if (options.autoReply)
            replier.start(conversationID, seq, authorID);
    }

    // Messages --------------------------------------------------------------------------------

    // The conversation if `me` may see it; otherwise refuses with "forbidden" and gives nothing.
    Conversation* visibleConversation(qint64 peerID, const ClientFrame& frame, const User& me,
                                      const QString& conversationID) {
        Conversation* conversation = data.conversation(conversationID);
        if (!conversation || !data.takesPart(me, *conversation)) {
            hub.refuse(peerID, frame, forbidden);
            return nullptr;
        }
        return conversation;
    }

    // The length rules shared by sending and editing; empty when the text is acceptable.
    static const QString* textProblem(const QString& text) {
        if (isBlank(text))
            return &badRequest;
        if (ServerRules::visibleLength(text) > maximumTextLength)
            return &messageTooLong;
        return nullptr;
    }

    void sendMessage(qint64 peerID, const ClientFrame& frame, const User& me,
                     const SendRequest& request) {
        Conversation* conversation = visibleConversation(peerID, frame, me, request.conversationID);
        if (!conversation)
            return;
        // A resend after a lost acknowledgement gets the stored message back, nothing new.
        if (const ChatMessage* stored = data.sentByClientID(me.id, request.id)) {
            const Conversation* home = data.conversation(stored->conversationID);
            if (!home || !data.takesPart(me, *home))
                return hub.refuse(peerID, frame, forbidden);
            return hub.send(peerID, ServerFrame::ack({request.id, *stored}));
        }
        if (request.id.isEmpty() ||
            (request.replyToSeq && !data.message(conversation->id, *request.replyToSeq)))
            return hub.refuse(peerID, frame, badRequest);
        if (const QString* problem = textProblem(request.text))
            return hub.refuse(peerID, frame, *problem);

        const QDateTime now = data.now();
        const ChatMessage message =
            data.append(*conversation, me.id, request.id, request.text, request.replyToSeq, now);
        hub.send(peerID, ServerFrame::ack({request.id, message}));
        hub.broadcast(*conversation, ServerFrame::message({message}), peerID);
        if (data.recordReceipt(*conversation, me.id, message.seq, true, now))
            hub.broadcast(*conversation, ServerFrame::read({conversation->id, me.id, message.seq}),
                          peerID);
        autoReply(conversation->id, message.seq, me.id);
    }

    void history(qint64 peerID, const ClientFrame& frame, const User& me,
                 const HistoryRequest& request) {
        const Conversation* conversation =
            visibleConversation(peerID, frame, me, request.conversationID);
        if (!conversation)
            return;
        const auto& all = data.messages(conversation->id);
        const qint64 limit = std::clamp<qint64>(request.limit, 1, maximumPageSize);
        // The window (after, before) in seq numbers; seq n sits at index n - 1.
        const qint64 low = std::clamp<qint64>(request.after.value_or(0), 0, qint64(all.size()));
        const qint64 high = std::clamp<qint64>(
            request.before ? std::max<qint64>(*request.before, 1) - 1 : qint64(all.size()), 0,
            qint64(all.size()));
        HistoryPage page{request.id, conversation->id, {}, false};
        if (low < high) {
            qint64 first = low, last = high; // indexes [first, last)
            if (request.after) {
                last = std::min(high, low + limit);
                page.hasMore = last < high;
            } else {
                first = std::max(low, high - limit);
                page.hasMore = first > low;
            }
            for (qint64 i = first; i < last; ++i)
                page.messages.append(all[std::size_t(i)]);
        }
        hub.send(peerID, ServerFrame::history(std::move(page)));
    }

    // Message `seq` for its author to change: it exists, is not deleted, was written by `me` and
    // is still inside the editing window. Refuses and gives nothing otherwise.
    ChatMessage* ownMessage(qint64 peerID, const ClientFrame& frame, const User& me,
                            Conversation& conversation, qint64 seq) {
        ChatMessage* message = data.message(conversation.id, seq);
        if (!message || message->isDeleted()) {
            hub.refuse(peerID, frame, notFound);
            return nullptr;
        }
        if (message->authorID != me.id) {
            hub.refuse(peerID, frame, forbidden);
            return nullptr;
        }
        if (message->sentAt.msecsTo(data.now()) > editWindowSeconds * 1000) {
            hub.refuse(peerID, frame, tooLate);
            return nullptr;
        }
        return message;
    }

    // Replies quote the message; keep their excerpts in step with it.
    void refreshQuotes(Conversation& conversation, const ChatMessage& quoted) {
        for (qint64 seq = quoted.seq + 1; seq <= conversation.lastSeq; ++seq) {
            ChatMessage* reply = data.message(conversation.id, seq);
            if (!reply || !reply->reply || reply->reply->seq != quoted.seq)
                continue;
            reply->reply->text = quoted.text;
            reply->reply->deleted = quoted.isDeleted();
            data.markChanged(conversation, *reply);
            hub.broadcast(conversation, ServerFrame::messageUpdated({*reply}));
        }
    }

    void finishChange(qint64 peerID, const QString& replyTo, Conversation& conversation,
                      ChatMessage& message, bool quotesChange) {
        data.markChanged(conversation, message);
        const ChatMessage copy = message;
        hub.send(peerID, ServerFrame::ok({replyTo, conversation.id, copy}));
        hub.broadcast(conversation, ServerFrame::messageUpdated({copy}), peerID);
        if (quotesChange)
            refreshQuotes(conversation, copy);
    }

    void edit(qint64 peerID, const ClientFrame& frame, const User& me, const EditRequest& request) {
        Conversation* conversation = visibleConversation(peerID, frame, me, request.conversationID);
        if (!conversation)
            return;
        ChatMessage* message = ownMessage(peerID, frame, me, *conversation, request.seq);
        if (!message)
            return;
        if (const QString* problem = textProblem(request.text))
            return hub.refuse(peerID, frame, *problem);
        message->text = request.text;
        message->editedAt = data.now();
        finishChange(peerID, request.id, *conversation, *message, true);
    }

    void remove(qint64 peerID, const ClientFrame& frame, const User& me,
                const DeleteRequest& request) {
        Conversation* conversation = visibleConversation(peerID, frame, me, request.conversationID);
        if (!conversation)
            return;
        ChatMessage* message = ownMessage(peerID, frame, me, *conversation, request.seq);
        if (!message)
            return;
        // The text goes with the message: nobody can read it back afterwards.
        message->text.clear();
        message->reactions.clear();
        message->deletedAt = data.now();
        finishChange(peerID, request.id, *conversation, *message, true);
    }

    void react(qint64 peerID, const ClientFrame& frame, const User& me,
               const ReactRequest& request) {
        Conversation* conversation = visibleConversation(peerID, frame, me, request.conversationID);
        if (!conversation)
            return;
        ChatMessage* message = data.message(conversation->id, request.seq);
        if (!message || message->isDeleted())
            return hub.refuse(peerID, frame, notFound);
        if (request.emoji && !ServerRules::isUsableEmoji(*request.emoji))
            return hub.refuse(peerID, frame, badRequest);

        // One reaction per person: setting one replaces the previous.
        QList<Reaction> reactions;
        for (Reaction reaction : message->reactions) {
            reaction.userIDs.removeAll(me.id);
            if (request.emoji && reaction.emoji == *request.emoji)
                reaction.userIDs.append(me.id);
            if (!reaction.userIDs.isEmpty())
                reactions.append(reaction);
        }
        if (request.emoji && std::none_of(reactions.begin(), reactions.end(),
                                          [&](auto& r) { return r.emoji == *request.emoji; }))
            reactions.append(Reaction{*request.emoji, {me.id}});
        if (reactions == message->reactions)
            return hub.send(peerID, ServerFrame::ok({request.id, conversation->id, *message}));
        message->reactions = reactions;
        finishChange(peerID, request.id, *conversation, *message, false);
    }

    void changes(qint64 peerID, const ClientFrame& frame, const User& me,
                 const ChangesRequest& request) {
        const Conversation* conversation =
            visibleConversation(peerID, frame, me, request.conversationID);
        if (!conversation)
            return;
        std::vector<const ChatMessage*> changed;
        for (const ChatMessage& message : data.messages(conversation->id)) {
            if (message.revision > request.since)
                changed.push_back(&message);
        }
        std::sort(changed.begin(), changed.end(),
                  [](auto* a, auto* b) { return a->revision < b->revision; });
        ChangesPage page{request.id, conversation->id, {}, false, conversation->revision};
        // Revisions are unique within a conversation, so cutting the page after the highest
        // revision it holds leaves nothing behind for the next request.
        if (changed.size() > std::size_t(maximumPageSize)) {
            changed.resize(std::size_t(maximumPageSize));
            page.hasMore = true;
            page.revision = changed.back()->revision;
        }
        for (const ChatMessage* message : changed)
            page.messages.append(*message);
        hub.send(peerID, ServerFrame::changes(std::move(page)));
    }

    void receipt(qint64 peerID, const ClientFrame& frame, const User& me,
                 const ReadRequest& request, bool isRead) {
        Conversation* conversation = visibleConversation(peerID, frame, me, request.conversationID);
        if (!conversation)
            return;
        if (!data.recordReceipt(*conversation, me.id, request.seq, isRead, data.now()))
            return;
        const qint64 seq =
            isRead ? conversation->reads.value(me.id) : conversation->delivered.value(me.id);
        const ReadEvent event{conversation->id, me.id, seq};
        hub.broadcast(*conversation,
                      isRead ? ServerFrame::read(event) : ServerFrame::delivered(event), peerID);
    }

    void delivered(qint64 peerID, const ClientFrame& frame, const User& me,
                   const ReadRequest& request) {
        receipt(peerID, frame, me, request, false);
    }

    void read(qint64 peerID, const ClientFrame& frame, const User& me, const ReadRequest& request) {
        receipt(peerID, frame, me, request, true);
    }

    void typing(qint64 peerID, const ClientFrame& frame, const User& me,
                const TypingRequest& request) {
        const Conversation* conversation =
            visibleConversation(peerID, frame, me, request.conversationID);
        if (!conversation)
            return;
        hub.broadcast(*conversation,
                      ServerFrame::typing({conversation->id, me.id, request.isTyping}), 0, me.id);
    }

    void receipts(qint64 peerID, const ClientFrame& frame, const User& me,
                  const ReceiptsRequest& request) {
        const Conversation* conversation =
            visibleConversation(peerID, frame, me, request.conversationID);
        if (!conversation)
            return;
        const ChatMessage* message = data.message(conversation->id, request.seq);
        if (!message)
            return hub.refuse(peerID, frame, notFound);
        hub.send(peerID, ServerFrame::receipts({request.id, conversation->id, message->seq,
                                                data.receipts(*conversation, *message)}));
    }

    // Profile, invites, companies, groups -------------------------------------------------------

    void setAvatar(qint64 peerID, const ClientFrame& frame, const User& me,
                   const SetAvatarRequest& request) {
        std::optional<QString> avatar;
        if (request.image && !request.image->isEmpty()) {
            avatar = PictureCheck::avatarReference(*request.image, maximumAvatarBytes);
            if (!avatar)
                return hub.refuse(peerID, frame, QStringLiteral("image_invalid"));
        }
        User& stored = data.account(me.id)->user;
        stored.avatar = avatar;
        // The record first, so the caller's state holds it by the time the reply arrives.
        hub.broadcastUser(stored);
        hub.send(peerID, ServerFrame::ok({frame.requestID(), std::nullopt, std::nullopt}));
    }

    void createInvite(qint64 peerID, const ClientFrame& frame, const User& me,
                      const InviteRequest& request) {
        if (me.role != Role::staff)
            return hub.refuse(peerID, frame, forbidden);
        const QString name = request.name.trimmed();
        const QString email = request.email.trimmed();
        const QString companyName = request.companyName.value_or(QString()).trimmed();
        if (name.isEmpty() || !SignUpRules::isValidEmail(email) ||
            (!request.clientID && companyName.isEmpty()) ||
            ServerRules::visibleLength(companyName) > maximumTitleLength)
            return hub.refuse(peerID, frame, badRequest);
        if (data.isEmailInUse(email))
            return hub.refuse(peerID, frame, QStringLiteral("email_in_use"));
        if (request.clientID && !data.client(*request.clientID))
            return hub.refuse(peerID, frame, notFound);

        QString clientID;
        if (request.clientID) {
            clientID = *request.clientID;
        } else {
            const ClientCompany& company = data.addClient(companyName, std::nullopt);
            clientID = company.id;
            hub.broadcastClient(company);
            const Conversation& direct = *data.directConversation(clientID);
            hub.broadcast(direct, ServerFrame::conversation({direct}));
        }
        QString code;
        do {
            code = InviteCode::generate();
        } while (data.invites.contains(code));
        const QDateTime expiresAt = data.now().addMSecs(qint64(options.inviteLifetime * 1000.0));
        const Invite invite{code, clientID, name, email, expiresAt};
        data.invites[code] = StoredInvite{invite, false};
        hub.send(peerID, ServerFrame::invite({request.id, invite}));
    }

    void updateClient(qint64 peerID, const ClientFrame& frame, const User& me,
                      const UpdateClientRequest& request) {
        if (me.role != Role::staff)
            return hub.refuse(peerID, frame, forbidden);
        ClientCompany* company = data.client(request.clientID);
        if (!company)
            return hub.refuse(peerID, frame, notFound);
        if (request.name &&
            (isBlank(*request.name) ||
             ServerRules::visibleLength(request.name->trimmed()) > maximumTitleLength))
            return hub.refuse(peerID, frame, badRequest);

        ClientCompany changed = *company;
        if (request.name)
            changed.name = request.name->trimmed();
        if (request.notes) // empty notes clear them
            changed.notes = request.notes->isEmpty() ? std::nullopt : request.notes;
        if (changed != *company) {
            *company = changed;
            hub.broadcastClient(*company);
            Conversation& direct = *data.directConversation(company->id);
            if (direct.title != company->name) {
                direct.title = company->name;
                data.bump(direct);
                hub.broadcast(direct, ServerFrame::conversation({direct}));
            }
        }
        hub.send(peerID, ServerFrame::ok({request.id, std::nullopt, std::nullopt}));
    }

    void createGroup(qint64 peerID, const ClientFrame& frame, const User& me,
                     const CreateGroupRequest& request) {
        if (me.role != Role::staff)
            return hub.refuse(peerID, frame, forbidden);
        const QString name = request.name.trimmed();
        if (name.isEmpty() || ServerRules::visibleLength(name) > maximumTitleLength ||
            request.memberIDs.isEmpty())
            return hub.refuse(peerID, frame, badRequest);
        for (const QString& id : request.memberIDs) {
            if (!data.user(id))
                return hub.refuse(peerID, frame, notFound);
        }
        // The creator is always a member: the group opens in their list at once.
        QStringList members{me.id};
        for (const QString& id : request.memberIDs) {
            if (!members.contains(id))
                members.append(id);
        }
        const Conversation& group = data.addGroup(name, members);
        hub.broadcast(group, ServerFrame::conversation({group}));
        hub.send(peerID, ServerFrame::ok({request.id, group.id, std::nullopt}));
    }

    void updateGroup(qint64 peerID, const ClientFrame& frame, const User& me,
                     const UpdateGroupRequest& request) {
        Conversation* group = data.conversation(request.conversationID);
        const bool isGroup = group && group->kind == ConversationKind::group;
        if (me.role != Role::staff) {
            // A client may only leave a group it belongs to; it learns nothing of other groups.
            const bool leaves = isGroup && data.takesPart(me, *group) && !request.name &&
                                (!request.add || request.add->isEmpty()) && request.remove &&
                                *request.remove == QStringList{me.id};
            if (!leaves)
                return hub.refuse(peerID, frame, forbidden);
        } else if (!isGroup) {
            return hub.refuse(peerID, frame, notFound);
        }
        if (request.name &&
            (isBlank(*request.name) ||
             ServerRules::visibleLength(request.name->trimmed()) > maximumTitleLength))
            return hub.refuse(peerID, frame, badRequest);
        for (const QString& id : request.add.value_or(QStringList())) {
            if (!data.user(id))
                return hub.refuse(peerID, frame, notFound);
        }

        const Conversation before = *group;
        QStringList members = group->memberIDs.value_or(QStringList());
        for (const QString& id : request.add.value_or(QStringList())) {
            if (!members.contains(id))
                members.append(id);
        }
        QStringList removed;
        for (const QString& id : request.remove.value_or(QStringList())) {
            if (members.removeAll(id) > 0)
                removed.append(id);
        }
        if (request.name)
            group->title = request.name->trimmed();
        group->memberIDs = members;
        if (group->title != before.title || group->memberIDs != before.memberIDs) {
            data.bump(*group);
            hub.broadcast(*group, ServerFrame::conversation({*group}));
            // Removed members were in the old list; only their peers get the removal.
            for (const QString& id : removed) {
                Conversation only = before;
                only.memberIDs = QStringList{id};
                hub.broadcast(only, ServerFrame::conversationRemoved({group->id}));
            }
        }
        hub.send(peerID, ServerFrame::ok({request.id, group->id, std::nullopt}));
    }

    // Dispatch ------------------------------------------------------------------------------------

    void handle(qint64 peerID, const ClientFrame& frame) {
        if (!hub.peer(peerID))
            return; // disconnected meanwhile
        const auto reject = [&] { hub.refuse(peerID, frame, badRequest); };
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
            return hub.refuse(peerID, frame, QStringLiteral("not_authenticated"));
        const User me = *signedIn; // a copy: handlers may change the stored record
        const auto run = [&]<class Request>(auto handler) {
            if (const auto* request = frame.as<Request>())
                (this->*handler)(peerID, frame, me, *request);
            else
                reject();
        };
        switch (frame.type) {
        case ClientFrame::Type::send:
            return run.template operator()<SendRequest>(&Impl::sendMessage);
        case ClientFrame::Type::history:
            return run.template operator()<HistoryRequest>(&Impl::history);
        case ClientFrame::Type::edit:
            return run.template operator()<EditRequest>(&Impl::edit);
        case ClientFrame::Type::remove:
            return run.template operator()<DeleteRequest>(&Impl::remove);
        case ClientFrame::Type::react:
            return run.template operator()<ReactRequest>(&Impl::react);
        case ClientFrame::Type::changes:
            return run.template operator()<ChangesRequest>(&Impl::changes);
        case ClientFrame::Type::delivered:
            return run.template operator()<ReadRequest>(&Impl::delivered);
        case ClientFrame::Type::read:
            return run.template operator()<ReadRequest>(&Impl::read);
        case ClientFrame::Type::typing:
            return run.template operator()<TypingRequest>(&Impl::typing);
        case ClientFrame::Type::receipts:
            return run.template operator()<ReceiptsRequest>(&Impl::receipts);
        case ClientFrame::Type::setAvatar:
            return run.template operator()<SetAvatarRequest>(&Impl::setAvatar);
        case ClientFrame::Type::createInvite:
            return run.template operator()<InviteRequest>(&Impl::createInvite);
        case ClientFrame::Type::updateClient:
            return run.template operator()<UpdateClientRequest>(&Impl::updateClient);
        case ClientFrame::Type::createGroup:
            return run.template operator()<CreateGroupRequest>(&Impl::createGroup);
        case ClientFrame::Type::updateGroup:
            return run.template operator()<UpdateGroupRequest>(&Impl::updateGroup);
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
