#include "FrameEncoder.h"

#include <algorithm>

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

    // Comparing two frames costs a fraction of encoding one; a broadcast's copies compare equal
    // field by field, and most non-matching entries differ already in their type.
    const auto found = std::find_if(recent_.begin(), recent_.end(),
                                    [&](const Entry& entry) { return entry.frame == frame; });
    if (found != recent_.end()) {
        ++hits_;
        QString text = found->text;
        if (found != recent_.begin()) {
            Entry entry = std::move(*found);
            recent_.erase(found);
            recent_.push_front(std::move(entry));
        }
        return text;
    }
    ++misses_;
    QString text = QString::fromStdString(wire::encode(frame));
    recent_.push_front(Entry{frame, text});
    if (recent_.size() > capacity_)
        recent_.pop_back();
    return text;
}

} // namespace brevio
