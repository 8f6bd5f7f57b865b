#pragma once

#include "wire/Frames.h"

#include <QString>
#include <cstddef>
#include <deque>

namespace brevio {

// Turns server frames into the text sent on the socket. A broadcast hands every member's queue its
// own copy of one frame, so the recent event frames are remembered with their text and a repeat is
// answered from memory instead of being encoded once per member. Replies and welcomes are unique
// to their peer and always encoded afresh. Used on one thread only.
class FrameEncoder {
public:
    explicit FrameEncoder(std::size_t capacity = 16) : capacity_(capacity) {}

    QString encode(const ServerFrame& frame);

    std::size_t hits() const { return hits_; }
    std::size_t misses() const { return misses_; }

private:
    struct Entry {
        ServerFrame frame;
        QString text;
    };

    static bool isShared(ServerFrame::Type type);

    std::size_t capacity_;
    std::deque<Entry> recent_; // most recent first
    std::size_t hits_ = 0;
    std::size_t misses_ = 0;
};

} // namespace brevio
