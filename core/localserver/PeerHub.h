#pragma once

#include "transport/FrameQueue.h"
#include "wire/Frames.h"

#include <map>
#include <memory>
#include <set>

namespace brevio {

class ServerData;

// The connected peers of the server and the rules of who receives which frame. A peer is
// signed in once it carries a user id whose account exists.
class PeerHub {
public:
    struct Peer {
        std::shared_ptr<FrameQueue<ServerFrame>> frames;
        QString address;
        std::optional<QString> userID;
        std::optional<QString> token;
    };

    explicit PeerHub(ServerData& data) : data_(data) {}
    // Ends every peer's queue, so their connections see the server go.
    ~PeerHub();

    void add(qint64 peerID, std::shared_ptr<FrameQueue<ServerFrame>> frames, QString address);
    // Finishes the peer's queue and tells the others if its user went offline.
    void remove(qint64 peerID);
    Peer* peer(qint64 peerID);
    // The signed-in user of a peer, or nullptr.
    const User* userOf(qint64 peerID) const;

    void send(qint64 peerID, ServerFrame frame);
    // An error to the peer, answering the request's id when it has one.
    void refuse(qint64 peerID, const ClientFrame& request, const QString& code);
    // To every signed-in peer whose user takes part in `conversation`, leaving out one peer
    // and every peer of one user.
    void broadcast(const Conversation& conversation, const ServerFrame& frame,
                   qint64 exceptPeer = 0, const QString& exceptUser = {});
    // The user's record to every peer allowed to see that user, trimmed for each viewer.
    void broadcastUser(const User& user);
    // The company's record to staff (with notes) and to the company's own people (without).
    void broadcastClient(const ClientCompany& company);
    // Which of `userIDs` each signed-in one of them may see now. Taken before a group changes,
    // so that introduce() can tell what the change made visible.
    using Acquaintances = std::map<QString, std::set<QString>>;
    Acquaintances acquaintances(const QStringList& userIDs) const;
    // To each signed-in one of `userIDs`, the records of the others it may see now and could not
    // see `before`, trimmed for it.
    void introduce(const QStringList& userIDs, const Acquaintances& before);

    // A user counts as online when simulated so or signed in on some peer.
    bool hasPeer(const QString& userID) const;
    bool isOnline(const QString& userID) const;
    void broadcastPresence(const QString& userID, bool online, qint64 exceptPeer = 0);
    // After a peer stopped speaking for `userID`: announces it offline if that was the last.
    void userLeft(const QString& userID);

private:
    template <class F> void forEachViewer(F&& f);

    ServerData& data_;
    std::map<qint64, Peer> peers_;
};

} // namespace brevio
