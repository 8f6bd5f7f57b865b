#pragma once

// A LocalEndpoint that records every call. On its own it plays the server: each peer gets a frame
// queue the test fills (and that ends when the peer is disconnected). Given a real server, it
// passes every call on and only remembers which peers connected, so a test can drop them all.
// Thread-safe, like the interface.

#include "transport/LocalEndpoint.h"

#include <QStringList>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

namespace brevio::test {

class RecordingEndpoint final : public LocalEndpoint {
public:
    RecordingEndpoint() = default;
    explicit RecordingEndpoint(LocalEndpoint& server) : server_(&server) {}

    PeerLink registerPeer(const QString& address = {}) override {
        PeerLink link = server_ ? server_->registerPeer(address) : PeerLink{};
        std::lock_guard lock(mutex_);
        if (!server_)
            link = {nextPeer_++, std::make_shared<FrameQueue<ServerFrame>>()};
        addresses_.push_back(address);
        peers_.push_back(link.peerID);
        lastPeer_ = link.peerID;
        queues_[link.peerID] = link.frames;
        return link;
    }
    void deliver(qint64 peerID, ClientFrame frame) override {
        if (server_) {
            server_->deliver(peerID, std::move(frame));
            return;
        }
        std::lock_guard lock(mutex_);
        delivered_.emplace_back(peerID, std::move(frame));
    }
    void disconnectPeer(qint64 peerID) override {
        if (server_) {
            server_->disconnectPeer(peerID);
            return;
        }
        std::shared_ptr<FrameQueue<ServerFrame>> queue;
        {
            std::lock_guard lock(mutex_);
            disconnected_.push_back(peerID);
            queue = queues_[peerID];
        }
        if (queue)
            queue->finish();
    }

    // Ends every peer so far from the server's side.
    void dropAll() {
        std::vector<qint64> peers;
        {
            std::lock_guard lock(mutex_);
            peers.swap(peers_);
        }
        for (qint64 peer : peers) {
            if (server_)
                server_->disconnectPeer(peer);
            else
                disconnectPeer(peer);
        }
    }

    std::size_t registered() const {
        std::lock_guard lock(mutex_);
        return addresses_.size();
    }
    qint64 lastPeer() const {
        std::lock_guard lock(mutex_);
        return lastPeer_;
    }
    QStringList addresses() const {
        std::lock_guard lock(mutex_);
        return addresses_;
    }
    std::shared_ptr<FrameQueue<ServerFrame>> queue(qint64 peerID) const {
        std::lock_guard lock(mutex_);
        return queues_.at(peerID);
    }
    std::vector<std::pair<qint64, ClientFrame>> delivered() const {
        std::lock_guard lock(mutex_);
        return delivered_;
    }
    std::vector<qint64> disconnected() const {
        std::lock_guard lock(mutex_);
        return disconnected_;
    }

private:
    LocalEndpoint* const server_ = nullptr;
    mutable std::mutex mutex_;
    qint64 nextPeer_ = 1;
    qint64 lastPeer_ = 0;
    QStringList addresses_;
    std::vector<qint64> peers_; // not yet dropped
    std::map<qint64, std::shared_ptr<FrameQueue<ServerFrame>>> queues_;
    std::vector<std::pair<qint64, ClientFrame>> delivered_;
    std::vector<qint64> disconnected_;
};

} // namespace brevio::test
