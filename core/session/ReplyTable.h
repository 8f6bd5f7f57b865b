#pragma once

#include "model/ChatError.h"
#include "model/Clock.h"
#include "wire/Frames.h"

#include <QString>
#include <expected>
#include <functional>
#include <map>
#include <vector>

namespace brevio {

// The requests that wait for their reply, by request id. Each entry carries its own time-out
// timer: when it fires first, the entry goes and the caller gets ChatError::timeout(); a reply
// that comes after that finds nothing and is dropped by the caller.
class ReplyTable {
public:
    using Result = std::expected<ServerFrame, ChatError>;
    using Completion = std::function<void(Result)>;

    ReplyTable(Clock& clock, Duration timeout) : clock_(clock), timeout_(timeout) {}
    ReplyTable(const ReplyTable&) = delete;
    ReplyTable& operator=(const ReplyTable&) = delete;

    // Registers a request; false (and nothing registered) when one with that id already waits.
    bool add(const QString& id, Completion completion);
    bool contains(const QString& id) const { return entries_.contains(id); }
    // Completes the request waiting for `id`; false when none does (a late or unknown reply).
    bool resolve(const QString& id, Result result);
    // Removes every waiting request and hands back their completions, in id order.
    std::vector<Completion> takeAll();

    std::size_t size() const { return entries_.size(); }
    Duration timeout() const { return timeout_; }

private:
    struct Entry {
        Completion completion;
        TimerHandle timer;
    };

    Clock& clock_;
    Duration timeout_;
    std::map<QString, Entry> entries_;
};

} // namespace brevio
