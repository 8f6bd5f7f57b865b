#pragma once

#include "wire/Frames.h"

#include <QString>
#include <cstddef>
#include <deque>
#include <unordered_map>

namespace brevio {

// Turns server frames into the text sent on the socket. A broadcast hands every member's queue its
// own copy of one frame, so event frames are remembered with their text and a repeat is answered
// from memory instead of being encoded once per member. Lookup is by value (hash, then equality),
// so two frames share a text only when they are equal; frames that differ by audience (a company
// with or without its notes) never do. Replies and welcomes are unique to their peer and always
// encoded afresh. Used on one thread only.
class FrameEncoder {
public:
    // Enough for every member's backlog to replay the same frames while a burst is being drained;
    // the oldest entries are forgotten first.
    explicit FrameEncoder(std::size_t capacity = 4096) : capacity_(capacity) {}

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
    // One entry per hash: a collision with a different frame replaces the entry.
    std::unordered_map<std::size_t, Entry> entries_;
    std::deque<std::size_t> insertionOrder_;
    std::size_t hits_ = 0;
    std::size_t misses_ = 0;
};

} // namespace brevio
