#pragma once

#include "localserver/LocalServer.h"
#include "wire/Frames.h"

namespace brevio {

class PeerHub;
class ServerData;

// The requests of signed-in peers about people and the organisation: one's own picture, invites,
// client companies and groups. Everything but the picture and leaving a group is for staff.
// Every check comes before the first change, so a refused request changes nothing.
class OrganisationHandler {
public:
    OrganisationHandler(const LocalServer::Options& options, ServerData& data, PeerHub& hub);

    void setAvatar(qint64 peerID, const ClientFrame& frame, const User& me,
                   const SetAvatarRequest& request);
    void createInvite(qint64 peerID, const ClientFrame& frame, const User& me,
                      const InviteRequest& request);
    void updateClient(qint64 peerID, const ClientFrame& frame, const User& me,
                      const UpdateClientRequest& request);
    // Members who meet for the first time in a group get each other's records before the group.
    void createGroup(qint64 peerID, const ClientFrame& frame, const User& me,
                     const CreateGroupRequest& request);
    void updateGroup(qint64 peerID, const ClientFrame& frame, const User& me,
                     const UpdateGroupRequest& request);

private:
    const LocalServer::Options& options_;
    ServerData& data_;
    PeerHub& hub_;
};

} // namespace brevio
