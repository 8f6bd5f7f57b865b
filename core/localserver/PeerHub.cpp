#include "localserver/PeerHub.h"

#include "localserver/ServerData.h"

#include <algorithm>

namespace brevio {

PeerHub::~PeerHub() {
    for (auto& [id, peer] : peers_)
        peer.frames->finish();
}

void PeerHub::add(qint64 peerID, std::shared_ptr<FrameQueue<ServerFrame>> frames, QString address) {
    peers_[peerID] = Peer{std::move(frames), std::move(address), std::nullopt, std::nullopt};
}

void PeerHub::remove(qint64 peerID) {
    const auto it = peers_.find(peerID);
    if (it == peers_.end())
        return;
    const std::optional<QString> userID = it->second.userID;
    it->second.frames->finish();
    peers_.erase(it);
    if (userID)
        userLeft(*userID);
}

PeerHub::Peer* PeerHub::peer(qint64 peerID) {
    const auto it = peers_.find(peerID);
    return it == peers_.end() ? nullptr : &it->second;
}

const User* PeerHub::userOf(qint64 peerID) const {
    const auto it = peers_.find(peerID);
    if (it == peers_.end() || !it->second.userID)
        return nullptr;
    return data_.user(*it->second.userID);
}

void PeerHub::send(qint64 peerID, ServerFrame frame) {
    if (Peer* found = peer(peerID))
        found->frames->push(std::move(frame));
}

void PeerHub::refuse(qint64 peerID, const ClientFrame& request, const QString& code) {
    ServerError error;
    const QString id = request.requestID();
    if (!id.isEmpty())
        error.replyTo = id;
    error.code = code;
    send(peerID, ServerFrame::error(std::move(error)));
}

// Calls f(peerID, peer, viewer) for every signed-in peer.
template <class F> void PeerHub::forEachViewer(F&& f) {
    for (auto& [id, peer] : peers_) {
        if (!peer.userID)
            continue;
        if (const User* viewer = data_.user(*peer.userID))
            f(id, peer, *viewer);
    }
}

void PeerHub::broadcast(const Conversation& conversation, const ServerFrame& frame,
                        qint64 exceptPeer, const QString& exceptUser) {
    const Participation participation(conversation);
    forEachViewer([&](qint64 id, Peer& peer, const User& viewer) {
        if (id != exceptPeer && viewer.id != exceptUser && participation.includes(viewer))
            peer.frames->push(frame);
    });
}

void PeerHub::broadcastUser(const User& user) {
    forEachViewer([&](qint64, Peer& peer, const User& viewer) {
        if (data_.canSeeUser(viewer, user))
            peer.frames->push(ServerFrame::user({data_.userAsSeenBy(viewer, user)}));
    });
}

void PeerHub::broadcastClient(const ClientCompany& company) {
    forEachViewer([&](qint64, Peer& peer, const User& viewer) {
        if (data_.canSeeClient(viewer, company.id))
            peer.frames->push(ServerFrame::client({data_.clientAsSeenBy(viewer, company)}));
    });
}

PeerHub::Acquaintances PeerHub::acquaintances(const QStringList& userIDs) const {
    Acquaintances known;
    for (const QString& viewerID : userIDs) {
        const User* viewer = data_.user(viewerID);
        if (!viewer || !hasPeer(viewerID))
            continue;
        auto& seen = known[viewerID];
        for (const QString& otherID : userIDs) {
            const User* other = data_.user(otherID);
            if (other && data_.canSeeUser(*viewer, *other))
                seen.insert(otherID);
        }
    }
    return known;
}

void PeerHub::introduce(const QStringList& userIDs, const Acquaintances& before) {
    static const std::set<QString> nobody;
    forEachViewer([&](qint64, Peer& peer, const User& viewer) {
        if (!userIDs.contains(viewer.id))
            return;
        const auto known = before.find(viewer.id);
        const std::set<QString>& seen = known == before.end() ? nobody : known->second;
        for (const QString& otherID : userIDs) {
            const User* other = data_.user(otherID);
            if (other && otherID != viewer.id && !seen.contains(otherID) &&
                data_.canSeeUser(viewer, *other))
                peer.frames->push(ServerFrame::user({data_.userAsSeenBy(viewer, *other)}));
        }
    });
}

bool PeerHub::hasPeer(const QString& userID) const {
    return std::any_of(peers_.begin(), peers_.end(),
                       [&](const auto& entry) { return entry.second.userID == userID; });
}

bool PeerHub::isOnline(const QString& userID) const {
    return data_.simulatedOnline.contains(userID) || hasPeer(userID);
}

void PeerHub::broadcastPresence(const QString& userID, bool online, qint64 exceptPeer) {
    const User* user = data_.user(userID);
    if (!user)
        return;
    forEachViewer([&](qint64 id, Peer& peer, const User& viewer) {
        if (id != exceptPeer && data_.canSeeUser(viewer, *user))
            peer.frames->push(ServerFrame::presence({userID, online}));
    });
}

void PeerHub::userLeft(const QString& userID) {
    if (!isOnline(userID))
        broadcastPresence(userID, false);
}

} // namespace brevio
