#include "state/ChatState.h"

#include <algorithm>
#include <utility>

namespace brevio {

namespace {

bool bySeq(const ChatMessage& a, const ChatMessage& b) {
    return a.seq < b.seq;
}

// Index of the message with `seq` in an ascending list, or -1.
qsizetype indexOfSeq(const QList<ChatMessage>& list, qint64 seq) {
    auto it = std::lower_bound(list.cbegin(), list.cend(), seq,
                               [](const ChatMessage& m, qint64 s) { return m.seq < s; });
    return it != list.cend() && it->seq == seq ? it - list.cbegin() : -1;
}

void raiseMark(SeqMarks& marks, const QString& userID, qint64 seq) {
    auto it = marks.find(userID);
    if (it == marks.end())
        marks.insert(userID, seq);
    else if (*it < seq)
        *it = seq;
}

// Takes from `other` whatever is further along than `into`: lastSeq with its lastMessage, a newer
// copy of the same last message, and every read and delivered mark. Keeps the monotone fields of a
// conversation from moving back when a record is replaced.
void keepFurthest(Conversation& into, const Conversation& other) {
    if (other.lastSeq > into.lastSeq) {
        into.lastSeq = other.lastSeq;
        into.lastMessage = other.lastMessage;
    } else if (other.lastSeq == into.lastSeq && other.lastMessage &&
               other.lastMessage->seq == into.lastSeq &&
               (!into.lastMessage || (into.lastMessage->seq == other.lastMessage->seq &&
                                      into.lastMessage->revision < other.lastMessage->revision))) {
        into.lastMessage = other.lastMessage;
    }
    for (auto it = other.reads.cbegin(); it != other.reads.cend(); ++it)
        raiseMark(into.reads, it.key(), it.value());
    for (auto it = other.delivered.cbegin(); it != other.delivered.cend(); ++it)
        raiseMark(into.delivered, it.key(), it.value());
}

// The conversation summary follows a message: a higher seq becomes the last message, and a copy
// of the same last message replaces it when its revision is not lower.
void followSummary(Conversation& c, const ChatMessage& message) {
    if (c.lastSeq < message.seq) {
        c.lastSeq = message.seq;
        c.lastMessage = message;
    } else if (c.lastMessage && c.lastMessage->seq == message.seq &&
               c.lastMessage->revision <= message.revision) {
        c.lastMessage = message;
    }
}

// Sorts a page by seq and keeps one copy per seq: the one with the highest revision, the later
// one on a tie.
void sortAndDedupe(QList<ChatMessage>& page) {
    std::stable_sort(page.begin(), page.end(), bySeq);
    qsizetype out = 0;
    for (qsizetype i = 0; i < page.size(); ++i) {
        if (out > 0 && page[out - 1].seq == page[i].seq) {
            if (page[i].revision >= page[out - 1].revision)
                page[out - 1] = std::move(page[i]);
        } else {
            if (out != i)
                page[out] = std::move(page[i]);
            ++out;
        }
    }
    page.resize(out);
}

// Merges an ascending, duplicate-free page into an ascending list; on a shared seq the copy with
// the higher revision stays (the page's on a tie).
QList<ChatMessage> mergeSorted(QList<ChatMessage>&& loaded, QList<ChatMessage>&& page) {
    QList<ChatMessage> out;
    out.reserve(loaded.size() + page.size());
    // Moving out of a list that is shared (e.g. with a copy being saved) would first detach it;
    // copying from the const view is cheaper then.
    const bool moveLoaded = loaded.isDetached();
    const QList<ChatMessage>& cl = loaded;
    qsizetype i = 0, j = 0;
    auto takeLoaded = [&] {
        if (moveLoaded)
            out.append(std::move(loaded[i]));
        else
            out.append(cl[i]);
        ++i;
    };
    while (i < cl.size() && j < page.size()) {
        if (cl[i].seq < page[j].seq) {
            takeLoaded();
        } else if (page[j].seq < cl[i].seq) {
            out.append(std::move(page[j++]));
        } else {
            if (page[j].revision >= cl[i].revision) {
                out.append(std::move(page[j]));
                ++i;
            } else {
                takeLoaded();
            }
            ++j;
        }
    }
    while (i < cl.size())
        takeLoaded();
    while (j < page.size())
        out.append(std::move(page[j++]));
    return out;
}

} // namespace

// ---- Helpers ----

// Messages keep their own copies of the conversation and author ids otherwise; sharing the map
// keys' strings saves several allocations per stored message.
void ChatState::internIDs(ChatMessage& message, const QString& conversationKey) const {
    message.conversationID = conversationKey;
    if (auto u = users.constFind(message.authorID); u != users.cend())
        message.authorID = u.key();
    if (message.reply) {
        if (auto u = users.constFind(message.reply->authorID); u != users.cend())
            message.reply->authorID = u.key();
    }
}

void ChatState::retirePending(const ChatMessage& message) {
    if (!me || message.authorID != me->id || outbox.isEmpty())
        return;
    const bool present = std::any_of(outbox.cbegin(), outbox.cend(), [&](const PendingMessage& p) {
        return p.clientID == message.clientID;
    });
    if (present)
        outbox.removeIf([&](const PendingMessage& p) { return p.clientID == message.clientID; });
}

void ChatState::restoreMessages(const QString& conversationID, QList<ChatMessage> list) {
    auto cit = conversations.find(conversationID);
    if (cit == conversations.end())
        return;
    const QString key = cit.key();
    list.removeIf([&](const ChatMessage& m) { return m.conversationID != key; });
    if (list.isEmpty())
        return;
    for (ChatMessage& m : list)
        internIDs(m, key);
    if (!std::is_sorted(list.cbegin(), list.cend(), bySeq) ||
        std::adjacent_find(list.cbegin(), list.cend(), [](const auto& a, const auto& b) {
            return a.seq == b.seq;
        }) != list.cend())
        sortAndDedupe(list);
    if (cit->lastSeq < list.constLast().seq) {
        cit->lastSeq = list.constLast().seq;
        cit->lastMessage = list.constLast();
    }
    messages.insert(key, std::move(list));
}

void ChatState::dropConversationData(const QString& conversationID) {
    messages.remove(conversationID);
    historyStart.remove(conversationID);
    revisions.remove(conversationID);
    typing.remove(conversationID);
    outbox.removeIf([&](const PendingMessage& p) { return p.conversationID == conversationID; });
}

// ---- Server events ----

InsertResult ChatState::insert(ChatMessage message) {
    auto cit = conversations.find(message.conversationID);
    if (cit == conversations.end())
        return InsertResult::unknownConversation();
    const QString key = cit.key();
    internIDs(message, key);

    // The outbox, the summary and the marks move even when the message itself is not stored.
    retirePending(message);
    Conversation& c = cit.value();
    followSummary(c, message);
    raiseMark(c.reads, message.authorID, message.seq);
    raiseMark(c.delivered, message.authorID, message.seq);

    if (auto t = typing.find(key); t != typing.end()) {
        t->remove(message.authorID);
        if (t->isEmpty())
            typing.erase(t);
    }

    auto lit = messages.find(key);
    if (lit == messages.end() || lit->isEmpty()) {
        messages.insert(key, QList<ChatMessage>{std::move(message)});
        return InsertResult::added();
    }
    QList<ChatMessage>& list = *lit;
    const qint64 lastSeq = list.constLast().seq;
    if (message.seq > lastSeq + 1)
        return InsertResult::gap(lastSeq);
    if (message.seq == lastSeq + 1) {
        list.append(std::move(message));
        return InsertResult::added();
    }
    if (message.seq < list.constFirst().seq)
        return InsertResult::older();
    const qsizetype i = indexOfSeq(list, message.seq);
    if (i >= 0 && message.revision >= list.at(i).revision)
        list[i] = std::move(message);
    return InsertResult::duplicate();
}

void ChatState::applyUpdate(ChatMessage message) {
    auto cit = conversations.find(message.conversationID);
    if (cit == conversations.end())
        return;
    const QString key = cit.key();
    internIDs(message, key);
    Conversation& c = cit.value();
    c.revision = std::max(c.revision, message.revision);
    if (c.lastMessage && c.lastMessage->seq == message.seq &&
        c.lastMessage->revision <= message.revision)
        c.lastMessage = message;

    auto lit = messages.constFind(key);
    if (lit == messages.cend())
        return;
    const qsizetype i = indexOfSeq(*lit, message.seq);
    if (i >= 0 && lit->at(i).revision <= message.revision)
        messages[key][i] = std::move(message);
}

void ChatState::applyWelcome(const Welcome& welcome) {
    if (me && me->id != welcome.me.id)
        *this = ChatState{};

    me = welcome.me;
    organization = welcome.organization;
    users.clear();
    users.reserve(welcome.users.size());
    for (const User& u : welcome.users)
        users.insert(u.id, u);
    clients.clear();
    clients.reserve(welcome.clients.size());
    for (const ClientCompany& c : welcome.clients)
        clients.insert(c.id, c);
    online = QSet<QString>(welcome.online.cbegin(), welcome.online.cend());

    QSet<QString> listed;
    listed.reserve(welcome.conversations.size());
    for (const Conversation& incoming : welcome.conversations) {
        const QString& id = incoming.id;
        listed.insert(id);

        auto lit = messages.constFind(id);
        const bool hasLoaded = lit != messages.cend() && !lit->isEmpty();
        auto rit = revisions.constFind(id);
        // Loaded messages or a synced revision beyond the server's: what we loaded is not
        // what the server now has.
        const bool loadedBeyond = (hasLoaded && lit->constLast().seq > incoming.lastSeq) ||
                                  (rit != revisions.cend() && *rit > incoming.revision);

        auto cit = conversations.find(id);
        if (cit == conversations.end()) {
            conversations.insert(id, incoming);
        } else if (loadedBeyond || cit->lastSeq > incoming.lastSeq) {
            // The server went back: its summary is the truth (a preview or an unread count of
            // messages it no longer has would never go away), and only what lies beyond it goes.
            *cit = incoming;
            if (loadedBeyond) {
                messages.remove(id);
                historyStart.remove(id);
            }
        } else {
            Conversation merged = incoming;
            keepFurthest(merged, *cit);
            *cit = std::move(merged);
        }

        auto loaded = messages.constFind(id);
        if (loaded == messages.cend() || loaded->isEmpty())
            revisions.insert(id, incoming.revision);
    }

    // Conversations the user no longer sees: nothing of them may linger, above all no outbox
    // entry that would be sent again at every connection and refused every time.
    QStringList gone;
    for (auto it = conversations.cbegin(); it != conversations.cend(); ++it) {
        if (!listed.contains(it.key()))
            gone.append(it.key());
    }
    for (const QString& id : gone)
        removeConversation(id);
}

void ChatState::mergeHistory(const QString& conversationID, QList<ChatMessage> page, bool hasMore,
                             bool reachedBack) {
    auto cit = conversations.find(conversationID);
    if (cit == conversations.end())
        return;
    const QString key = cit.key();

    page.removeIf([&](const ChatMessage& m) { return m.conversationID != key; });
    for (ChatMessage& m : page) {
        internIDs(m, key);
        retirePending(m);
    }
    sortAndDedupe(page);

    auto lit = messages.find(key);
    if (!page.isEmpty()) {
        if (lit == messages.end() || lit->isEmpty()) {
            lit = messages.insert(key, std::move(page));
        } else if (page.constFirst().seq > lit->constLast().seq) {
            lit->append(std::move(page));
        } else {
            *lit = mergeSorted(std::move(*lit), std::move(page));
        }
    }

    const QList<ChatMessage>* merged = lit != messages.end() && !lit->isEmpty() ? &*lit : nullptr;
    if (merged) {
        Conversation& c = cit.value();
        const ChatMessage& last = merged->constLast();
        if (last.seq >= c.lastSeq) {
            c.lastSeq = last.seq;
            if (!(c.lastMessage && c.lastMessage->seq == last.seq &&
                  c.lastMessage->revision > last.revision))
                c.lastMessage = last;
        }
    }
    if (reachedBack && !hasMore)
        historyStart.insert(key, merged ? merged->constFirst().seq : 1);
}

std::optional<qint64> ChatState::mergeChanges(const QString& conversationID,
                                              const QList<ChatMessage>& page, qint64 revision) {
    auto cit = conversations.find(conversationID);
    if (cit == conversations.end())
        return std::nullopt;
    const QString key = cit.key();

    QList<ChatMessage> sorted;
    sorted.reserve(page.size());
    for (const ChatMessage& m : page) {
        if (m.conversationID == key) {
            retirePending(m);
            sorted.append(m);
        }
    }
    sortAndDedupe(sorted);

    std::optional<qint64> gapAfter;
    for (ChatMessage& m : sorted) {
        internIDs(m, key);
        Conversation& c = cit.value();
        c.revision = std::max(c.revision, m.revision);
        followSummary(c, m);
        raiseMark(c.reads, m.authorID, m.seq);
        raiseMark(c.delivered, m.authorID, m.seq);

        auto lit = messages.find(key);
        if (lit == messages.end() || lit->isEmpty())
            continue; // nothing loaded yet: the latest page will bring it
        const qint64 lastSeq = lit->constLast().seq;
        if (m.seq > lastSeq) {
            // New since the last sync: appended when it follows on, otherwise only the summary
            // moved and the caller fetches what lies between.
            if (!gapAfter && m.seq == lastSeq + 1)
                lit->append(std::move(m));
            else if (!gapAfter)
                gapAfter = lastSeq;
            continue;
        }
        const qsizetype i = indexOfSeq(*lit, m.seq);
        if (i >= 0 && lit->at(i).revision <= m.revision)
            (*lit)[i] = std::move(m);
    }
    revisions.insert(key, revision);
    return gapAfter;
}

// ---- Outbox ----

bool ChatState::appendPending(PendingMessage pending) {
    auto cit = conversations.constFind(pending.conversationID);
    if (cit == conversations.cend())
        return false;
    const bool taken = std::any_of(outbox.cbegin(), outbox.cend(), [&](const PendingMessage& p) {
        return p.clientID == pending.clientID;
    });
    if (taken)
        return false;
    pending.conversationID = cit.key();
    outbox.append(std::move(pending));
    return true;
}

bool ChatState::setFailure(const QString& clientID, std::optional<QString> failure) {
    for (qsizetype i = 0; i < outbox.size(); ++i) {
        if (outbox.at(i).clientID == clientID) {
            if (outbox.at(i).failure != failure)
                outbox[i].failure = std::move(failure);
            return true;
        }
    }
    return false;
}

bool ChatState::removePending(const QString& clientID) {
    return outbox.removeIf([&](const PendingMessage& p) { return p.clientID == clientID; }) > 0;
}

// ---- Marks, typing, presence ----

std::optional<qint64> ChatState::markRead(const QString& conversationID) {
    if (!me)
        return std::nullopt;
    auto cit = conversations.constFind(conversationID);
    auto lit = messages.constFind(conversationID);
    if (cit == conversations.cend() || lit == messages.cend() || lit->isEmpty())
        return std::nullopt;
    const qint64 s = lit->constLast().seq;
    if (cit->reads.value(me->id, 0) >= s)
        return std::nullopt;
    conversations[conversationID].reads.insert(me->id, s);
    return s;
}

void ChatState::advanceRead(const QString& conversationID, const QString& userID, qint64 seq) {
    auto cit = conversations.constFind(conversationID);
    if (cit == conversations.cend() || cit->reads.value(userID, 0) >= seq)
        return;
    conversations[conversationID].reads.insert(userID, seq);
}

void ChatState::advanceDelivered(const QString& conversationID, const QString& userID, qint64 seq) {
    auto cit = conversations.constFind(conversationID);
    if (cit == conversations.cend() || cit->delivered.value(userID, 0) >= seq)
        return;
    conversations[conversationID].delivered.insert(userID, seq);
}

void ChatState::setTyping(const QString& conversationID, const QString& userID,
                          const QDateTime& until) {
    auto cit = conversations.constFind(conversationID);
    if (cit == conversations.cend() || (me && me->id == userID))
        return;
    typing[cit.key()].insert(userID, until);
}

void ChatState::clearTyping(const QString& conversationID, const QString& userID) {
    auto t = typing.find(conversationID);
    if (t == typing.end())
        return;
    t->remove(userID);
    if (t->isEmpty())
        typing.erase(t);
}

bool ChatState::pruneTyping(const QDateTime& now) {
    bool removed = false;
    for (auto t = typing.begin(); t != typing.end();) {
        removed |= t->removeIf([&](const auto& mark) { return mark.value() <= now; }) > 0;
        if (t->isEmpty())
            t = typing.erase(t);
        else
            ++t;
    }
    return removed;
}

std::optional<QDateTime> ChatState::earliestTypingExpiry() const {
    std::optional<QDateTime> earliest;
    for (const TypingMarks& marks : typing) {
        for (const QDateTime& until : marks) {
            if (!earliest || until < *earliest)
                earliest = until;
        }
    }
    return earliest;
}

QStringList ChatState::typingUsers(const QString& conversationID) const {
    QStringList ids = typing.value(conversationID).keys();
    ids.sort();
    return ids;
}

void ChatState::setOnline(const QString& userID, bool isOnline) {
    if (isOnline)
        online.insert(userID);
    else
        online.remove(userID);
}

// ---- Records ----

void ChatState::upsertConversation(Conversation conversation) {
    auto cit = conversations.find(conversation.id);
    if (cit == conversations.end()) {
        const QString id = conversation.id;
        conversations.insert(id, std::move(conversation));
        return;
    }
    if (conversation.revision >= cit->revision) {
        keepFurthest(conversation, *cit);
        *cit = std::move(conversation);
    } else {
        // A stale record: its title and members are old, but its marks may still be news.
        keepFurthest(*cit, conversation);
    }
}

void ChatState::removeConversation(const QString& conversationID) {
    conversations.remove(conversationID);
    dropConversationData(conversationID);
}

void ChatState::upsertClient(ClientCompany client) {
    const QString id = client.id;
    clients.insert(id, std::move(client));
}

void ChatState::upsertUser(User user) {
    if (me && me->id == user.id)
        me = user;
    const QString id = user.id;
    users.insert(id, std::move(user));
}

} // namespace brevio
