#include "localserver/OrganisationHandler.h"

#include "localserver/PeerHub.h"
#include "localserver/PictureCheck.h"
#include "localserver/ServerData.h"
#include "localserver/ServerRules.h"
#include "model/InviteCode.h"
#include "model/ServerCode.h"
#include "model/SignUpRules.h"

namespace brevio {

namespace {

constexpr int maximumTitleLength = 120;

// A company's or a group's name: something besides blanks, and not too long once trimmed.
bool isAcceptableTitle(const QString& title) {
    const QString trimmed = title.trimmed();
    return !trimmed.isEmpty() && ServerRules::visibleLength(trimmed) <= maximumTitleLength;
}

} // namespace

OrganisationHandler::OrganisationHandler(const LocalServer::Options& options, ServerData& data,
                                         PeerHub& hub)
    : options_(options), data_(data), hub_(hub) {}

void OrganisationHandler::setAvatar(qint64 peerID, const ClientFrame& frame, const User& me,
                                    const SetAvatarRequest& request) {
    std::optional<QString> avatar;
    if (request.image && !request.image->isEmpty()) {
        avatar = PictureCheck::avatarReference(*request.image, LocalServer::maximumAvatarBytes);
        if (!avatar)
            return hub_.refuse(peerID, frame, ServerCode::imageInvalid);
    }
    User& stored = data_.account(me.id)->user;
    stored.avatar = avatar;
    // The record first, so the caller's state holds it by the time the reply arrives.
    hub_.broadcastUser(stored);
    hub_.send(peerID, ServerFrame::ok({frame.requestID(), std::nullopt, std::nullopt}));
}

void OrganisationHandler::createInvite(qint64 peerID, const ClientFrame& frame, const User& me,
                                       const InviteRequest& request) {
    if (me.role != Role::staff)
        return hub_.refuse(peerID, frame, ServerCode::forbidden);
    const QString name = request.name.trimmed();
    const QString email = request.email.trimmed();
    const QString companyName = request.companyName.value_or(QString()).trimmed();
    if (name.isEmpty() || !SignUpRules::isValidEmail(email) ||
        (!request.clientID && companyName.isEmpty()) ||
        ServerRules::visibleLength(companyName) > maximumTitleLength)
        return hub_.refuse(peerID, frame, ServerCode::badRequest);
    if (data_.isEmailInUse(email))
        return hub_.refuse(peerID, frame, ServerCode::emailInUse);
    if (request.clientID && !data_.client(*request.clientID))
        return hub_.refuse(peerID, frame, ServerCode::notFound);

    QString clientID;
    if (request.clientID) {
        clientID = *request.clientID;
    } else {
        const ClientCompany& company = data_.addClient(companyName, std::nullopt);
        clientID = company.id;
        hub_.broadcastClient(company);
        const Conversation& direct = *data_.directConversation(clientID);
        hub_.broadcast(direct, ServerFrame::conversation({direct}));
    }
    QString code;
    do {
        code = InviteCode::generate();
    } while (data_.invites.contains(code));
    const QDateTime expiresAt = data_.now().addMSecs(options_.inviteLifetime.count());
    const Invite invite{code, clientID, name, email, expiresAt};
    data_.invites[code] = StoredInvite{invite, false};
    hub_.send(peerID, ServerFrame::invite({request.id, invite}));
}

void OrganisationHandler::updateClient(qint64 peerID, const ClientFrame& frame, const User& me,
                                       const UpdateClientRequest& request) {
    if (me.role != Role::staff)
        return hub_.refuse(peerID, frame, ServerCode::forbidden);
    ClientCompany* company = data_.client(request.clientID);
    if (!company)
        return hub_.refuse(peerID, frame, ServerCode::notFound);
    if (request.name && !isAcceptableTitle(*request.name))
        return hub_.refuse(peerID, frame, ServerCode::badRequest);

    ClientCompany changed = *company;
    if (request.name)
        changed.name = request.name->trimmed();
    if (request.notes) // empty notes clear them
        changed.notes = request.notes->isEmpty() ? std::nullopt : request.notes;
    if (changed != *company) {
        *company = changed;
        hub_.broadcastClient(*company);
        Conversation& direct = *data_.directConversation(company->id);
        if (direct.title != company->name) {
            direct.title = company->name;
            data_.bump(direct);
            hub_.broadcast(direct, ServerFrame::conversation({direct}));
        }
    }
    hub_.send(peerID, ServerFrame::ok({request.id, std::nullopt, std::nullopt}));
}

void OrganisationHandler::createGroup(qint64 peerID, const ClientFrame& frame, const User& me,
                                      const CreateGroupRequest& request) {
    if (me.role != Role::staff)
        return hub_.refuse(peerID, frame, ServerCode::forbidden);
    if (!isAcceptableTitle(request.name) || request.memberIDs.isEmpty())
        return hub_.refuse(peerID, frame, ServerCode::badRequest);
    for (const QString& id : request.memberIDs) {
        if (!data_.user(id))
            return hub_.refuse(peerID, frame, ServerCode::notFound);
    }
    // The creator is always a member: the group opens in their list at once.
    QStringList members{me.id};
    for (const QString& id : request.memberIDs) {
        if (!members.contains(id))
            members.append(id);
    }
    const PeerHub::Acquaintances before = hub_.acquaintances(members);
    const Conversation& group = data_.addGroup(request.name.trimmed(), members);
    hub_.introduce(members, before);
    hub_.broadcast(group, ServerFrame::conversation({group}));
    hub_.send(peerID, ServerFrame::ok({request.id, group.id, std::nullopt}));
}

void OrganisationHandler::updateGroup(qint64 peerID, const ClientFrame& frame, const User& me,
                                      const UpdateGroupRequest& request) {
    Conversation* group = data_.conversation(request.conversationID);
    const bool isGroup = group && group->kind == ConversationKind::group;
    if (me.role != Role::staff) {
        // A client may only leave a group it belongs to; it learns nothing of other groups.
        const bool leaves = isGroup && data_.takesPart(me, *group) && !request.name &&
                            (!request.add || request.add->isEmpty()) && request.remove &&
                            *request.remove == QStringList{me.id};
        if (!leaves)
            return hub_.refuse(peerID, frame, ServerCode::forbidden);
    } else if (!isGroup) {
        return hub_.refuse(peerID, frame, ServerCode::notFound);
    }
    if (request.name && !isAcceptableTitle(*request.name))
        return hub_.refuse(peerID, frame, ServerCode::badRequest);
    for (const QString& id : request.add.value_or(QStringList())) {
        if (!data_.user(id))
            return hub_.refuse(peerID, frame, ServerCode::notFound);
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
    const PeerHub::Acquaintances acquainted = hub_.acquaintances(members);
    if (request.name)
        group->title = request.name->trimmed();
    group->memberIDs = members;
    if (group->title != before.title || group->memberIDs != before.memberIDs) {
        data_.bump(*group);
        hub_.introduce(members, acquainted);
        hub_.broadcast(*group, ServerFrame::conversation({*group}));
        // Removed members were in the old list; only their peers get the removal.
        for (const QString& id : removed) {
            Conversation only = before;
            only.memberIDs = QStringList{id};
            hub_.broadcast(only, ServerFrame::conversationRemoved({group->id}));
        }
    }
    hub_.send(peerID, ServerFrame::ok({request.id, group->id, std::nullopt}));
}

} // namespace brevio
