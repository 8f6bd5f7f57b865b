#include "FrameEncoder.h"

namespace brevio {

bool FrameEncoder::isShared(ServerFrame::Type type) {
    using T = ServerFrame::Type;
    switch (type) {
    case T::message:
    case T::messageUpdated:
    case T::delivered:
    case T::read:
    case T::typing:
    case T::presence:
    case T::conversation:
    case T::conversationRemoved:
    case T::client:
    case T::user:
        return true;
    default:
        return false;
    }
}

QString FrameEncoder::encode(const ServerFrame& frame) {
    if (capacity_ == 0 || !isShared(frame.type))
        return QString::fromStdString(wire::encode(frame));

    // Hashing and comparing a frame cost a fraction of encoding it.
    const std::size_t key = qHash(frame) ^ std::size_t(frame.type);
    const auto found = entries_.find(key);
    if (found != entries_.end() && found->second.frame == frame) {
        ++hits_;
        return found->second.text;
    }
    ++misses_;
    QString text = QString::fromStdString(wire::encode(frame));
    if (found != entries_.end()) {
        found->second = Entry{frame, text};
        return text;
    }
    entries_.emplace(key, Entry{frame, text});
    insertionOrder_.push_back(key);
    if (insertionOrder_.size() > capacity_) {
        entries_.erase(insertionOrder_.front());
        insertionOrder_.pop_front();
    }
    return text;
}

} // namespace brevio
