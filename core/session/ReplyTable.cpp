#include "session/ReplyTable.h"

namespace brevio {

bool ReplyTable::add(const QString& id, Completion completion) {
    if (entries_.contains(id))
        return false;
    TimerHandle timer = clock_.schedule(timeout_, [this, id] {
        auto it = entries_.find(id);
        if (it == entries_.end())
            return;
        Completion expired = std::move(it->second.completion);
        entries_.erase(it);
        expired(std::unexpected(ChatError::timeout()));
    });
    entries_.emplace(id, Entry{std::move(completion), std::move(timer)});
    return true;
}

bool ReplyTable::resolve(const QString& id, Result result) {
    auto it = entries_.find(id);
    if (it == entries_.end())
        return false;
    Completion completion = std::move(it->second.completion);
    entries_.erase(it);
    completion(std::move(result));
    return true;
}

std::vector<ReplyTable::Completion> ReplyTable::takeAll() {
    std::vector<Completion> completions;
    completions.reserve(entries_.size());
    for (auto& [id, entry] : entries_)
        completions.push_back(std::move(entry.completion));
    entries_.clear();
    return completions;
}

} // namespace brevio
