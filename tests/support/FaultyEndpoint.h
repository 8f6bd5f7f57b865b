#pragma once

// A LocalEndpoint in front of a real in-process server that fails the way a network and a busy
// server do, when told to: every connection dropped at once (the connection is lost), the server
// out of reach (a new connection ends at once, and never reaches it), and the next message
// refused with an error code instead of reaching the server. Thread-safe, like the interface.

#include "transport/LocalEndpoint.h"

#include <QString>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

namespace brevio::test {

class FaultyEndpoint final : public LocalEndpoint {
public:
    explicit FaultyEndpoint(std::shared_ptr<LocalEndpoint> server) : server_(std::move(server)) {}

    PeerLink registerPeer(const QString& address = {}) override {
        {
            std::lock_guard lock(mutex_);
            ++attempts_;
            if (!reachable_) {
                auto ended = std::make_shared<FrameQueue<ServerFrame>>();
                ended->finish();
                return {unreachablePeer, ended};
            }
        }
        PeerLink link = server_->registerPeer(address);
        std::lock_guard lock(mutex_);
        peers_[link.peerID] = link.frames;
        return link;
    }
    void deliver(qint64 peerID, ClientFrame frame) override {
        if (peerID == unreachablePeer)
            return;
        std::shared_ptr<FrameQueue<ServerFrame>> refusedTo;
        QString code;
        if (const auto* send = frame.as<SendRequest>()) {
            std::lock_guard lock(mutex_);
            if (refusal_) {
                code = *std::exchange(refusal_, std::nullopt);
                refusedTo = peers_[peerID];
            }
            if (refusedTo) {
                refusedTo->push(ServerFrame::error({send->id, code, std::nullopt, {}}));
                return;
            }
        }
        server_->deliver(peerID, std::move(frame));
    }
    void disconnectPeer(qint64 peerID) override {
        if (peerID == unreachablePeer)
            return;
        {
            std::lock_guard lock(mutex_);
            peers_.erase(peerID);
        }
        server_->disconnectPeer(peerID);
    }

    // Ends every connection so far from the server's side.
    void dropAll() {
        std::vector<qint64> peers;
        {
            std::lock_guard lock(mutex_);
            for (const auto& [peerID, frames] : peers_)
                peers.push_back(peerID);
            peers_.clear();
        }
        for (qint64 peerID : peers)
            server_->disconnectPeer(peerID);
    }
    // Out of reach, new connections end at once; back in reach, they are the server's again.
    void setReachable(bool reachable) {
        std::lock_guard lock(mutex_);
        reachable_ = reachable;
    }
    // Connections opened so far, whether they reached the server or not.
    int connectionAttempts() const {
        std::lock_guard lock(mutex_);
        return attempts_;
    }
    // The next message sent, by anyone, is answered with an error frame carrying `code`.
    void refuseNextMessage(const QString& code) {
        std::lock_guard lock(mutex_);
        refusal_ = code;
    }

private:
    static constexpr qint64 unreachablePeer = 0; // servers number their peers from 1

    const std::shared_ptr<LocalEndpoint> server_;
    mutable std::mutex mutex_;
    bool reachable_ = true;
    int attempts_ = 0;
    std::map<qint64, std::shared_ptr<FrameQueue<ServerFrame>>> peers_;
    std::optional<QString> refusal_;
};

} // namespace brevio::test
