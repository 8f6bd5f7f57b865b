#pragma once

// Random but seeded sequences of server events thrown at a state, the checks that it stays sound
// and that nothing that only moves forward moved back. Shared by the state's own property test and
// by the views' tests that follow a state through such sequences.

#include "state/StateBuilders.h"

#include <QSet>
#include <gtest/gtest.h>
#include <random>

namespace brevio::test {

class Fuzzer {
public:
    explicit Fuzzer(unsigned seed) : rng_(seed) { state_ = signedInState(); }

    const ChatState& state() const { return state_; }
    ChatState& state() { return state_; }
    // One random event (with the checks made while applying it); what it was.
    std::string randomStep() {
        const ChatState before = state_;
        before_ = &before;
        wentBack_.clear();
        ownRetired_.clear();
        const std::string what = applyRandomOp();
        before_ = nullptr;
        ++step_;
        return what;
    }

    void run(int steps) {
        for (step_ = 0; step_ < steps; ++step_) {
            const ChatState before = state_;
            before_ = &before;
            wentBack_.clear();
            ownRetired_.clear();
            const std::string what = applyRandomOp();
            SCOPED_TRACE(what + " at step " + std::to_string(step_));
            checkSound();
            checkMonotone(before);
            if (::testing::Test::HasFailure())
                return;
        }
    }

private:
    int pick(int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng_); }
    bool chance(int percent) { return pick(1, 100) <= percent; }

    QString anyConversation() {
        static const QStringList ids{"d", "g", "h", "x"};
        return ids[pick(0, 3)];
    }
    QString anyAuthor() {
        static const QStringList ids{"me", "ann", "zoe", "bob"};
        return ids[pick(0, 3)];
    }
    qint64 lastSeqOf(const QString& c) const { return state_.conversations.value(c).lastSeq; }

    ChatMessage randomMessage(const QString& c, qint64 seq) {
        ChatMessage m = message(c, seq, anyAuthor(), pick(0, 6));
        m.text = QStringLiteral("r%1 s%2").arg(m.revision).arg(step_);
        // Mostly my own pending ids on my messages; now and then someone else's reuses one.
        if (!state_.outbox.isEmpty() && chance(m.authorID == "me" ? 60 : 10))
            m.clientID = state_.outbox[pick(0, int(state_.outbox.size()) - 1)].clientID;
        if (m.authorID == "me")
            ownRetired_.append({c, m.clientID});
        return m;
    }

    QList<ChatMessage> randomPage(const QString& c) {
        const qint64 top = std::max<qint64>(lastSeqOf(c), 5);
        const qint64 from = pick(1, int(top) + 3);
        const qint64 to = from + pick(-1, 12);
        QList<ChatMessage> page;
        for (qint64 s = from; s <= to; ++s)
            page.append(randomMessage(c, s));
        if (!page.isEmpty() && chance(30))
            page.append(randomMessage(c, page[pick(0, int(page.size()) - 1)].seq));
        std::shuffle(page.begin(), page.end(), rng_);
        return page;
    }

    std::string applyRandomOp() {
        const QString c = anyConversation();
        switch (pick(0, 11)) {
        case 0:
        case 1:
        case 2: {
            const ChatMessage m = randomMessage(c, std::max<qint64>(1, lastSeqOf(c) + pick(-4, 3)));
            const QList<ChatMessage> list = state_.messages.value(c);
            const InsertResult r = state_.insert(m);
            const QList<ChatMessage> after = state_.messages.value(c);
            switch (r.kind) {
            case InsertResult::Kind::added:
                EXPECT_EQ(after.size(), list.size() + 1);
                EXPECT_EQ(after.last().seq, m.seq);
                EXPECT_EQ(after.last().text, m.text);
                break;
            case InsertResult::Kind::gap:
                EXPECT_EQ(r.after, list.last().seq);
                EXPECT_GT(m.seq, r.after + 1);
                EXPECT_EQ(after, list);
                break;
            case InsertResult::Kind::older:
                EXPECT_LT(m.seq, list.first().seq);
                EXPECT_EQ(after, list);
                break;
            case InsertResult::Kind::duplicate:
                EXPECT_EQ(seqsOf(after), seqsOf(list));
                break;
            case InsertResult::Kind::unknownConversation:
                EXPECT_EQ(state_, *before_);
                return "insert";
            }
            // Whoever wrote it has delivered and read up to it, and stopped typing.
            const Conversation& conv = state_.conversations[c];
            EXPECT_GE(conv.lastSeq, m.seq);
            EXPECT_GE(conv.reads.value(m.authorID), m.seq);
            EXPECT_GE(conv.delivered.value(m.authorID), m.seq);
            EXPECT_FALSE(state_.typing.value(c).contains(m.authorID));
            if (m.authorID != "me") {
                EXPECT_EQ(state_.outbox, before_->outbox);
            }
            return "insert";
        }
        case 3: {
            const ChatMessage m = randomMessage(c, pick(1, int(lastSeqOf(c)) + 2));
            state_.applyUpdate(m);
            ownRetired_.clear(); // an update does not touch the outbox
            const QList<ChatMessage> list = before_->messages.value(c);
            const QList<ChatMessage> after = state_.messages.value(c);
            EXPECT_EQ(seqsOf(after), seqsOf(list));
            for (qsizetype i = 0; i < list.size(); ++i) {
                if (list[i].seq == m.seq && list[i].revision <= m.revision) {
                    EXPECT_EQ(after[i].text, m.text);
                }
            }
            if (state_.conversations.contains(c)) {
                const Conversation& conv = state_.conversations[c];
                EXPECT_GE(conv.revision, m.revision);
                if (conv.lastMessage && conv.lastMessage->seq == m.seq) {
                    EXPECT_GE(conv.lastMessage->revision, m.revision);
                }
            }
            return "applyUpdate";
        }
        case 4:
        case 5: {
            const QList<ChatMessage> page = randomPage(c);
            QSet<qint64> expected;
            for (const ChatMessage& m : state_.messages.value(c))
                expected.insert(m.seq);
            for (const ChatMessage& m : page)
                expected.insert(m.seq);
            const bool hasMore = chance(50);
            const bool reachedBack = chance(50);
            state_.mergeHistory(c, page, hasMore, reachedBack);
            if (state_.conversations.contains(c)) {
                const QList<qint64> seqs = seqsOf(state_.messages.value(c));
                EXPECT_EQ(QSet<qint64>(seqs.cbegin(), seqs.cend()), expected);
                // Only a page that reached back and found no more says where history begins.
                if (reachedBack && !hasMore) {
                    EXPECT_EQ(state_.historyStart.value(c), seqs.isEmpty() ? 1 : seqs.first());
                } else {
                    EXPECT_EQ(state_.historyStart.value(c, -1), before_->historyStart.value(c, -1));
                }
            }
            return "mergeHistory";
        }
        case 6: {
            QList<ChatMessage> page = randomPage(c);
            const qint64 revision = state_.revisions.value(c) + pick(0, 3);
            state_.mergeChanges(c, page, revision);
            if (state_.conversations.contains(c)) {
                EXPECT_EQ(state_.revisions.value(c), revision);
            }
            return "mergeChanges";
        }
        case 7: {
            applyRandomWelcome();
            ownRetired_.clear();
            return "welcome";
        }
        case 8: {
            ownRetired_.clear();
            PendingMessage p = pendingMessage(QStringLiteral("p%1").arg(nextClientID_++), c);
            const bool known = state_.conversations.contains(c);
            EXPECT_EQ(state_.appendPending(p), known);
            if (chance(30) && !state_.outbox.isEmpty())
                state_.setFailure(state_.outbox.last().clientID, QStringLiteral("rifiutato"));
            return "appendPending";
        }
        case 9: {
            ownRetired_.clear();
            const QString user = anyAuthor();
            const qint64 seq = pick(0, int(lastSeqOf(c)) + 2);
            if (chance(50))
                state_.advanceRead(c, user, seq);
            else
                state_.advanceDelivered(c, user, seq);
            const std::optional<qint64> read = state_.markRead(c);
            if (read) {
                EXPECT_EQ(*read, state_.messages.value(c).last().seq);
            }
            return "marks";
        }
        case 10: {
            ownRetired_.clear();
            if (chance(50)) {
                state_.setTyping(c, anyAuthor(), base().addSecs(pick(0, 10)));
            } else {
                state_.pruneTyping(base().addSecs(pick(0, 10)));
            }
            return "typing";
        }
        default: {
            ownRetired_.clear();
            if (chance(15) && c != "d") {
                state_.removeConversation(c);
                return "removeConversation";
            }
            Conversation conv = state_.conversations.contains(c) ? state_.conversations.value(c)
                                                                 : group(c, {"me", "ann", "zoe"});
            conv.lastSeq = std::max<qint64>(0, conv.lastSeq + pick(-3, 3));
            conv.revision = std::max<qint64>(0, conv.revision + pick(-2, 2));
            conv.reads.insert(anyAuthor(), pick(0, 20));
            conv.title = QStringLiteral("t%1").arg(step_);
            const std::optional<Conversation> stored =
                before_->conversations.contains(c) ? std::optional(before_->conversations[c])
                                                   : std::nullopt;
            state_.upsertConversation(conv);
            // A stale record brings marks, never its title.
            const bool stale = stored && stored->revision > conv.revision;
            EXPECT_EQ(state_.conversations[c].title, stale ? stored->title : conv.title);
            return "upsertConversation";
        }
        }
    }

    void applyRandomWelcome() {
        Welcome w = welcomeFor(*state_.me);
        w.conversations.clear();
        QSet<QString> dropped;
        for (const QString c : {"d", "g", "h"}) {
            if (c != QStringLiteral("d") && chance(20))
                continue; // no longer visible
            Conversation conv = state_.conversations.contains(c) ? state_.conversations.value(c)
                                                                 : group(c, {"me", "ann"});
            conv.lastSeq = std::max<qint64>(0, conv.lastSeq + pick(-3, 3));
            conv.revision = std::max<qint64>(0, state_.revisions.value(c) + pick(-2, 2));
            conv.reads.insert("ann", pick(0, 10));
            conv.title = QStringLiteral("w%1").arg(step_);
            w.conversations.append(conv);

            const QList<ChatMessage> loaded = state_.messages.value(c);
            if ((!loaded.isEmpty() && loaded.last().seq > conv.lastSeq) ||
                (state_.revisions.contains(c) && state_.revisions.value(c) > conv.revision))
                dropped.insert(c);
            if (dropped.contains(c) || lastSeqOf(c) > conv.lastSeq)
                wentBack_.insert(c);
        }
        state_.applyWelcome(w);
        QSet<QString> listed;
        for (const Conversation& conv : w.conversations) {
            const QString& c = conv.id;
            SCOPED_TRACE(c.toStdString());
            listed.insert(c);
            const Conversation& now = state_.conversations[c];
            if (wentBack_.contains(c)) {
                EXPECT_EQ(now, conv);
            } else {
                // The server's record, with whatever we hold further along.
                EXPECT_EQ(now.title, conv.title);
                EXPECT_GE(now.lastSeq, conv.lastSeq);
                for (auto m = conv.reads.cbegin(); m != conv.reads.cend(); ++m)
                    EXPECT_GE(now.reads.value(m.key()), *m);
            }
            if (dropped.contains(c)) {
                EXPECT_FALSE(state_.messages.contains(c));
                EXPECT_FALSE(state_.historyStart.contains(c));
            } else {
                EXPECT_EQ(state_.messages.value(c), before_->messages.value(c));
                EXPECT_EQ(state_.historyStart.value(c, -1), before_->historyStart.value(c, -1));
            }
            // With nothing held there is nothing to bring up to date.
            EXPECT_EQ(state_.revisions.value(c),
                      state_.messages.contains(c) ? before_->revisions.value(c) : conv.revision);
        }
        QList<PendingMessage> kept = before_->outbox;
        kept.removeIf([&](const PendingMessage& p) { return !listed.contains(p.conversationID); });
        EXPECT_EQ(state_.outbox, kept);
    }

    void checkSound() {
        const ChatState& s = state_;
        for (const QString& k : s.messages.keys())
            EXPECT_TRUE(s.conversations.contains(k)) << "messages of " << k.toStdString();
        for (const QString& k : s.historyStart.keys())
            EXPECT_TRUE(s.conversations.contains(k)) << "historyStart of " << k.toStdString();
        for (const QString& k : s.revisions.keys())
            EXPECT_TRUE(s.conversations.contains(k)) << "revision of " << k.toStdString();
        for (auto t = s.typing.cbegin(); t != s.typing.cend(); ++t) {
            EXPECT_TRUE(s.conversations.contains(t.key()));
            EXPECT_FALSE(t->isEmpty());
            EXPECT_FALSE(t->contains("me"));
        }
        for (auto it = s.messages.cbegin(); it != s.messages.cend(); ++it) {
            const QList<ChatMessage>& list = *it;
            ASSERT_FALSE(list.isEmpty()) << it.key().toStdString();
            for (qsizetype i = 0; i < list.size(); ++i) {
                EXPECT_EQ(list[i].conversationID, it.key());
                if (i > 0) {
                    ASSERT_LT(list[i - 1].seq, list[i].seq) << it.key().toStdString();
                }
            }
            EXPECT_GE(s.conversations.value(it.key()).lastSeq, list.last().seq);
        }
        QSet<QString> clientIDs;
        for (const PendingMessage& p : s.outbox) {
            EXPECT_TRUE(s.conversations.contains(p.conversationID));
            EXPECT_FALSE(clientIDs.contains(p.clientID));
            clientIDs.insert(p.clientID);
        }
        for (const auto& [c, clientID] : ownRetired_) {
            if (s.conversations.contains(c)) {
                EXPECT_FALSE(clientIDs.contains(clientID))
                    << "pending copy of " << clientID.toStdString();
            }
        }
    }

    void checkMonotone(const ChatState& before) {
        for (auto it = before.conversations.cbegin(); it != before.conversations.cend(); ++it) {
            const QString& c = it.key();
            if (!state_.conversations.contains(c) || wentBack_.contains(c))
                continue;
            const Conversation& now = state_.conversations[c];
            EXPECT_GE(now.lastSeq, it->lastSeq) << c.toStdString();
            for (auto m = it->reads.cbegin(); m != it->reads.cend(); ++m)
                EXPECT_GE(now.reads.value(m.key(), 0), *m)
                    << "read mark of " << m.key().toStdString();
            for (auto m = it->delivered.cbegin(); m != it->delivered.cend(); ++m)
                EXPECT_GE(now.delivered.value(m.key(), 0), *m);

            const QList<ChatMessage> older = before.messages.value(c);
            const QList<ChatMessage> newer = state_.messages.value(c);
            qsizetype j = 0;
            for (const ChatMessage& m : older) {
                while (j < newer.size() && newer[j].seq < m.seq)
                    ++j;
                ASSERT_TRUE(j < newer.size() && newer[j].seq == m.seq)
                    << "message " << m.seq << " of " << c.toStdString() << " was lost";
                EXPECT_GE(newer[j].revision, m.revision);
            }
        }
    }

    std::mt19937 rng_;
    ChatState state_;
    const ChatState* before_ = nullptr; // the state before the current step
    int step_ = 0;
    int nextClientID_ = 0;
    QSet<QString> wentBack_;
    QList<std::pair<QString, QString>> ownRetired_;
};

} // namespace brevio::test
