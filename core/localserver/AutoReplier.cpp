#include "localserver/AutoReplier.h"

#include "localserver/PeerHub.h"
#include "localserver/ServerData.h"

namespace brevio {

namespace {
const char* const staffVoice[] = {
    "Ciao! Ci pensiamo noi, ti aggiorno a breve.",
    "Certo, controllo subito e ti faccio sapere.",
    "Ricevuto, lo mettiamo in lavorazione oggi.",
    "Fatto! Dimmi se adesso va tutto bene.",
    "Grazie a te, buona giornata!",
};
const char* const clientVoice[] = {
    "Perfetto, grazie mille!",
    "Ricevuto, ci sentiamo più tardi.",
    "Ottimo, procedete pure.",
    "Mi mandate anche un riepilogo per email?",
    "Va benissimo, grazie per la velocità!",
};
constexpr int voiceSize = 5;
} // namespace

AutoReplier::AutoReplier(ServerData& data, PeerHub& hub, Clock& clock)
    : data_(data), hub_(hub), clock_(clock) {}

AutoReplier::~AutoReplier() = default;

QString AutoReplier::text(Role voice, int turn) {
    const auto& texts = voice == Role::staff ? staffVoice : clientVoice;
    return QString::fromUtf8(texts[turn % voiceSize]);
}

std::optional<QString> AutoReplier::answererFor(const Conversation& conversation,
                                                const User& author) const {
    for (const QString& id : data_.participants(conversation)) {
        const User* user = data_.user(id);
        if (user && user->role != author.role && !hub_.hasPeer(id))
            return id;
    }
    return std::nullopt;
}

Conversation* AutoReplier::stillOpen(const QString& conversationID, const QString& userID) {
    Conversation* conversation = data_.conversation(conversationID);
    const User* user = data_.user(userID);
    return conversation && user && data_.takesPart(*user, *conversation) ? conversation : nullptr;
}

void AutoReplier::after(Duration delay, std::function<void()> step) {
    const quint64 key = nextTimer_++;
    timers_[key] = clock_.schedule(delay, [this, key, step = std::move(step)] {
        // Park this timer's handle; it is destroyed on a later step, not inside its callback.
        spent_.clear();
        if (const auto it = timers_.find(key); it != timers_.end()) {
            spent_.push_back(std::move(it->second));
            timers_.erase(it);
        }
        step();
    });
}

void AutoReplier::start(const QString& conversationID, qint64 seq, const QString& authorID) {
    const Conversation* conversation = data_.conversation(conversationID);
    const User* author = data_.user(authorID);
    if (!conversation || !author)
        return;
    const std::optional<QString> answerer = answererFor(*conversation, *author);
    if (!answerer)
        return;
    const QString who = *answerer;
    after(deliveredDelay, [this, conversationID, seq, who] {
        if (Conversation* open = stillOpen(conversationID, who)) {
            if (data_.recordReceipt(*open, who, seq, false, data_.now()))
                hub_.broadcast(*open, ServerFrame::delivered({conversationID, who, seq}));
        }
        after(readDelay, [this, conversationID, seq, who] {
            if (Conversation* open = stillOpen(conversationID, who)) {
                if (data_.recordReceipt(*open, who, seq, true, data_.now()))
                    hub_.broadcast(*open, ServerFrame::read({conversationID, who, seq}));
                hub_.broadcast(*open, ServerFrame::typing({conversationID, who, true}), 0, who);
            }
            after(replyDelay, [this, conversationID, who] {
                Conversation* open = stillOpen(conversationID, who);
                const User* user = data_.user(who);
                if (!open || !user)
                    return;
                int& turn = user->role == Role::staff ? staffTurn_ : clientTurn_;
                const QString reply = text(user->role, turn);
                turn = (turn + 1) % voiceSize;
                const QDateTime now = data_.now();
                const ChatMessage message =
                    data_.append(*open, who, data_.makeID(u"auto-"), reply, std::nullopt, now);
                hub_.broadcast(*open, ServerFrame::message({message}));
                if (data_.recordReceipt(*open, who, message.seq, true, now))
                    hub_.broadcast(*open, ServerFrame::read({conversationID, who, message.seq}));
            });
        });
    });
}

} // namespace brevio
