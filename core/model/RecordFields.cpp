#include "model/FieldList.h"

// The records' JSON: each record's field list, and the coders instantiated for the records.

namespace brevio::json {

namespace {

void writeValue(TextWriter& out, const QString& v) {
    out.string(v);
}
void writeValue(TextWriter& out, const QDateTime& v) {
    out.date(v);
}
void writeValue(TextWriter& out, qint64 v) {
    out.number(v);
}
void writeValue(TextWriter& out, bool v) {
    out.boolean(v);
}
void writeValue(TextWriter& out, Role v) {
    out.string(toString(v));
}
void writeValue(TextWriter& out, ConversationKind v) {
    out.string(toString(v));
}
void writeValue(TextWriter& out, const SeqMarks& v) {
    out.raw("{");
    for (auto it = v.cbegin(); it != v.cend(); ++it) {
        if (it != v.cbegin())
            out.raw(",");
        out.string(it.key());
        out.raw(":");
        out.number(it.value());
    }
    out.raw("}");
}
template <class T> void writeValue(TextWriter& out, const T& record) {
    write(out, record);
}
template <class T> void writeValue(TextWriter& out, const QList<T>& list) {
    out.raw("[");
    for (qsizetype i = 0; i < list.size(); ++i) {
        if (i > 0)
            out.raw(",");
        writeValue(out, list[i]);
    }
    out.raw("]");
}

// Into text, in the order of the list; an absent optional writes nothing, as put() does.
class TextFields {
public:
    explicit TextFields(TextWriter& out) : out_(out) {}

    template <class T> void operator()(std::string_view key, const T& v) {
        out_.raw(first_ ? "{\"" : ",\"");
        first_ = false;
        out_.raw(key);
        out_.raw("\":");
        writeValue(out_, v);
    }
    template <class T> void operator()(std::string_view key, const T& v, OrDefault) {
        (*this)(key, v);
    }
    template <OptionalField T> void operator()(std::string_view key, const T& v) {
        if (v)
            (*this)(key, *v);
    }
    void close() { out_.raw(first_ ? "{}" : "}"); }

private:
    TextWriter& out_;
    bool first_ = true;
};

} // namespace

template <class Record> void write(TextWriter& out, const Record& v) {
    TextFields f(out);
    FieldList<Record>::fields(f, v);
    f.close();
}

// ---- Records ---------------------------------------------------------------------------------

template <> struct FieldList<User> {
    static constexpr std::string_view name = "User";
    template <class Visit, class R> static void fields(Visit& visit, R& r) {
        visit("id", r.id);
        visit("name", r.name);
        visit("email", r.email);
        visit("role", r.role);
        visit("clientID", r.clientID);
        visit("isAdmin", r.isAdmin, orDefault);
        visit("avatar", r.avatar);
    }
};

template <> struct FieldList<ClientCompany> {
    static constexpr std::string_view name = "ClientCompany";
    template <class Visit, class R> static void fields(Visit& visit, R& r) {
        visit("id", r.id);
        visit("name", r.name);
        visit("notes", r.notes);
        visit("createdAt", r.createdAt);
    }
};

template <> struct FieldList<QuotedMessage> {
    static constexpr std::string_view name = "QuotedMessage";
    template <class Visit, class R> static void fields(Visit& visit, R& r) {
        visit("seq", r.seq);
        visit("authorID", r.authorID);
        visit("text", r.text, orDefault);
        visit("deleted", r.deleted, orDefault);
    }
};

template <> struct FieldList<Reaction> {
    static constexpr std::string_view name = "Reaction";
    template <class Visit, class R> static void fields(Visit& visit, R& r) {
        visit("emoji", r.emoji);
        visit("userIDs", r.userIDs);
    }
};

template <> struct FieldList<ChatMessage> {
    static constexpr std::string_view name = "ChatMessage";
    template <class Visit, class R> static void fields(Visit& visit, R& r) {
        visit("id", r.id);
        visit("clientID", r.clientID);
        visit("conversationID", r.conversationID);
        visit("seq", r.seq);
        visit("authorID", r.authorID);
        visit("text", r.text, orDefault);
        visit("sentAt", r.sentAt);
        visit("replyToSeq", r.replyToSeq);
        visit("reply", r.reply);
        visit("editedAt", r.editedAt);
        visit("deletedAt", r.deletedAt);
        visit("reactions", r.reactions, orDefault);
        visit("revision", r.revision, orDefault);
    }
};

template <> struct FieldList<Conversation> {
    static constexpr std::string_view name = "Conversation";
    template <class Visit, class R> static void fields(Visit& visit, R& r) {
        visit("id", r.id);
        visit("kind", r.kind, orDefault);
        visit("clientID", r.clientID);
        visit("title", r.title);
        visit("memberIDs", r.memberIDs);
        visit("lastSeq", r.lastSeq);
        visit("lastMessage", r.lastMessage);
        visit("reads", r.reads, orDefault);
        visit("delivered", r.delivered, orDefault);
        visit("revision", r.revision, orDefault);
    }
};

template <> struct FieldList<ReceiptEntry> {
    static constexpr std::string_view name = "ReceiptEntry";
    template <class Visit, class R> static void fields(Visit& visit, R& r) {
        visit("userID", r.userID);
        visit("deliveredAt", r.deliveredAt);
        visit("readAt", r.readAt);
    }
};

template <> struct FieldList<PendingMessage> {
    static constexpr std::string_view name = "PendingMessage";
    template <class Visit, class R> static void fields(Visit& visit, R& r) {
        visit("clientID", r.clientID);
        visit("conversationID", r.conversationID);
        visit("text", r.text);
        visit("createdAt", r.createdAt);
        visit("failure", r.failure);
        visit("replyToSeq", r.replyToSeq);
    }
};

template <> struct FieldList<Invite> {
    static constexpr std::string_view name = "Invite";
    template <class Visit, class R> static void fields(Visit& visit, R& r) {
        visit("code", r.code);
        visit("clientID", r.clientID);
        visit("name", r.name);
        visit("email", r.email);
        visit("expiresAt", r.expiresAt);
    }
};

// ---- The records' instances -----------------------------------------------------------------

#define BREVIO_RECORD_CODERS(Record)                                                               \
    template boost::json::value encode(const Record&, storage_ptr);                                \
    template Record decode<Record>(const boost::json::value&);                                     \
    template void write(TextWriter&, const Record&);

BREVIO_RECORD_CODERS(User)
BREVIO_RECORD_CODERS(ClientCompany)
BREVIO_RECORD_CODERS(QuotedMessage)
BREVIO_RECORD_CODERS(Reaction)
BREVIO_RECORD_CODERS(ChatMessage)
BREVIO_RECORD_CODERS(Conversation)
BREVIO_RECORD_CODERS(ReceiptEntry)
BREVIO_RECORD_CODERS(PendingMessage)
BREVIO_RECORD_CODERS(Invite)

#undef BREVIO_RECORD_CODERS

} // namespace brevio::json
