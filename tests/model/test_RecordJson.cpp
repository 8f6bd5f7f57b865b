#include "model/Json.h"

#include <QSet>
#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <gtest/gtest.h>
#include <set>

using namespace brevio;
namespace js = boost::json;

namespace {

QDateTime at(qint64 ms) {
    return QDateTime::fromMSecsSinceEpoch(ms, Qt::UTC);
}

ChatMessage fullMessage() {
    ChatMessage m;
    m.id = "m-1";
    m.clientID = "c-1";
    m.conversationID = "conv";
    m.seq = 42;
    m.authorID = "u-1";
    m.text = QString::fromUtf8("Ciao 👋 àèìòù \"quoted\" \\ \n tab\t");
    m.sentAt = at(1'741'944'413'589);
    m.replyToSeq = 41;
    m.reply = QuotedMessage{41, "u-2", "prima", true};
    m.editedAt = at(1'741'944'500'000);
    m.deletedAt = at(1'741'944'600'001);
    m.reactions = {Reaction{"👍", {"u-1", "u-2"}}, Reaction{"❤️", {}}};
    m.revision = 7;
    return m;
}

ChatMessage minimalMessage() {
    ChatMessage m;
    m.id = "m-2";
    m.clientID = "c-2";
    m.conversationID = "conv";
    m.seq = 1;
    m.authorID = "u-1";
    m.sentAt = at(0);
    return m;
}

Conversation fullConversation() {
    Conversation c;
    c.id = "g-1";
    c.kind = ConversationKind::group;
    c.clientID = "acme";
    c.title = "Progetto";
    c.memberIDs = QStringList{"u-1", "u-2"};
    c.lastSeq = 42;
    c.lastMessage = fullMessage();
    c.reads = {{"u-1", 42}, {"u-2", 40}};
    c.delivered = {{"u-1", 42}, {"u-2", 41}};
    c.revision = std::numeric_limits<qint64>::max();
    return c;
}

std::set<std::string> keysOf(const js::value& v) {
    std::set<std::string> keys;
    for (const auto& kv : v.as_object())
        keys.emplace(kv.key());
    return keys;
}

template <class T> T roundTrip(const T& value) {
    return json::decode<T>(json::parse(json::serialize(json::encode(value))));
}

// The text of a record written directly, without a value.
template <class T> std::string writtenText(const T& value) {
    std::string text;
    json::TextWriter out(text);
    json::write(out, value);
    return text;
}

template <class T> T decodeText(std::string_view text) {
    return json::decode<T>(json::parse(text));
}

// The DecodeError text of decoding `text` as T; fails the test if it decodes.
template <class T> std::string errorOf(std::string_view text) {
    try {
        decodeText<T>(text);
    } catch (const DecodeError& e) {
        return e.what();
    }
    ADD_FAILURE() << "decoded: " << text;
    return {};
}

} // namespace

TEST(RecordJsonTest, EveryRecordRoundTrips) {
    const User staff{"u-1", "Anna", "anna@example.com", Role::staff, std::nullopt, true, "data:x"};
    const User client{"u-2", "Bruno", std::nullopt, Role::client, "acme", false, std::nullopt};
    EXPECT_EQ(roundTrip(staff), staff);
    EXPECT_EQ(roundTrip(client), client);
    const ClientCompany company{"acme", "Acme", "note\nsu due righe", at(-86'400'000)};
    EXPECT_EQ(roundTrip(company), company);
    EXPECT_EQ(roundTrip(ClientCompany{"b", "B", std::nullopt, at(1)}),
              (ClientCompany{"b", "B", std::nullopt, at(1)}));
    EXPECT_EQ(roundTrip(fullMessage()), fullMessage());
    EXPECT_EQ(roundTrip(minimalMessage()), minimalMessage());
    EXPECT_EQ(roundTrip(fullConversation()), fullConversation());
    const Conversation direct{
        "d-1", ConversationKind::direct, "acme", "Acme", std::nullopt, 0, std::nullopt, {}, {}, 0};
    EXPECT_EQ(roundTrip(direct), direct);
    // An empty member list is present, not absent.
    Conversation emptyGroup = direct;
    emptyGroup.memberIDs = QStringList();
    EXPECT_EQ(roundTrip(emptyGroup).memberIDs, QStringList());
    const ReceiptEntry receipt{"u-2", at(1000), std::nullopt};
    EXPECT_EQ(roundTrip(receipt), receipt);
    const PendingMessage pending{"c-9", "conv", "testo", at(5), "Rifiutato", 3};
    EXPECT_EQ(roundTrip(pending), pending);
    const PendingMessage sending{"c-9", "conv", "", at(5), std::nullopt, std::nullopt};
    EXPECT_EQ(roundTrip(sending), sending);
    const Invite invite{"ABCD-EFGH", "acme", "Carla", "carla@example.com", at(99'999)};
    EXPECT_EQ(roundTrip(invite), invite);
}

TEST(RecordJsonTest, KeysAreTheFieldNamesAndAbsentOptionalsAreLeftOut) {
    EXPECT_EQ(keysOf(json::encode(minimalMessage())),
              (std::set<std::string>{"id", "clientID", "conversationID", "seq", "authorID", "text",
                                     "sentAt", "reactions", "revision"}));
    const js::value full = json::encode(fullMessage());
    EXPECT_EQ(keysOf(full).size(), 13u);
    EXPECT_EQ(full.at("sentAt"), js::value("2025-03-14T09:26:53.589Z"));
    EXPECT_EQ(full.at("reply").at("deleted"), js::value(true));
    EXPECT_EQ(json::encode(minimalMessage()).at("reactions"), js::array());

    const User user{"u", "N", std::nullopt, Role::staff, std::nullopt, false, std::nullopt};
    EXPECT_EQ(keysOf(json::encode(user)), (std::set<std::string>{"id", "name", "role", "isAdmin"}));
    EXPECT_EQ(json::encode(user).at("role"), js::value("staff"));

    const Conversation c{
        "d", ConversationKind::direct, std::nullopt, "T", std::nullopt, 3, std::nullopt, {}, {}, 0};
    const js::value encoded = json::encode(c);
    EXPECT_EQ(keysOf(encoded), (std::set<std::string>{"id", "kind", "title", "lastSeq", "reads",
                                                      "delivered", "revision"}));
    EXPECT_EQ(encoded.at("reads"), js::object());
    EXPECT_EQ(json::encode(fullConversation()).at("reads"), js::parse(R"({"u-1":42,"u-2":40})"));
    EXPECT_EQ(keysOf(json::encode(ReceiptEntry{"u", std::nullopt, std::nullopt})),
              std::set<std::string>{"userID"});
    // Nothing anywhere is written as null.
    EXPECT_EQ(json::serialize(json::encode(minimalMessage())).find("null"), std::string::npos);
}

TEST(RecordJsonTest, ReadingDefaultsApplyToMissingAndNullKeys) {
    const auto m = decodeText<ChatMessage>(
        R"({"id":"m","clientID":"c","conversationID":"k","seq":5,"authorID":"a",
            "sentAt":"2025-03-14T09:26:53Z"})");
    EXPECT_EQ(m.text, "");
    EXPECT_TRUE(m.reactions.isEmpty());
    EXPECT_EQ(m.revision, 0);
    EXPECT_FALSE(m.reply || m.replyToSeq || m.editedAt || m.deletedAt);

    const auto nulls = decodeText<ChatMessage>(
        R"({"id":"m","clientID":"c","conversationID":"k","seq":5,"authorID":"a",
            "sentAt":"2025-03-14T09:26:53Z","text":null,"reactions":null,"revision":null,
            "reply":null,"replyToSeq":null,"editedAt":null,"deletedAt":null})");
    EXPECT_EQ(nulls, m);

    const auto c = decodeText<Conversation>(R"({"id":"d","title":"T","lastSeq":0})");
    EXPECT_EQ(c.kind, ConversationKind::direct);
    EXPECT_TRUE(c.reads.isEmpty() && c.delivered.isEmpty());
    EXPECT_EQ(c.revision, 0);
    EXPECT_FALSE(c.memberIDs || c.lastMessage || c.clientID);
    EXPECT_EQ(decodeText<Conversation>(R"({"id":"d","title":"T","lastSeq":0,"kind":null})").kind,
              ConversationKind::direct);

    const auto u = decodeText<User>(R"({"id":"u","name":"N","role":"client","email":null})");
    EXPECT_FALSE(u.isAdmin);
    EXPECT_FALSE(u.email.has_value());

    const auto q = decodeText<QuotedMessage>(R"({"seq":3,"authorID":"a"})");
    EXPECT_EQ(q, (QuotedMessage{3, "a", "", false}));

    // Keys this version does not know are ignored.
    EXPECT_EQ(decodeText<Invite>(R"({"code":"C","clientID":"k","name":"N","email":"e",
                                      "expiresAt":"2025-01-01T00:00:00.000Z","extra":[1,{}]})")
                  .code,
              "C");
}

TEST(RecordJsonTest, MissingKeysWrongTypesAndUnknownValuesFailNamingTheKey) {
    EXPECT_EQ(errorOf<ChatMessage>(R"({"id":"m","clientID":"c","conversationID":"k","seq":5,
                                       "authorID":"a"})"),
              "Chiave mancante: \"sentAt\" in ChatMessage");
    // null for a required key is the same as a missing key.
    EXPECT_EQ(errorOf<ChatMessage>(R"({"id":"m","clientID":"c","conversationID":"k","seq":5,
                                       "authorID":"a","sentAt":null})"),
              "Chiave mancante: \"sentAt\" in ChatMessage");
    EXPECT_EQ(errorOf<Conversation>(R"({"id":"d","title":"T"})"),
              "Chiave mancante: \"lastSeq\" in Conversation");
    EXPECT_EQ(errorOf<Reaction>(R"({"emoji":"x"})"), "Chiave mancante: \"userIDs\" in Reaction");
    EXPECT_EQ(errorOf<PendingMessage>(R"({"clientID":"c","conversationID":"k",
                                          "createdAt":"2025-01-01T00:00:00Z"})"),
              "Chiave mancante: \"text\" in PendingMessage");
    EXPECT_EQ(errorOf<User>(R"({"id":"u","name":"N"})"), "Chiave mancante: \"role\" in User");
    EXPECT_EQ(errorOf<ReceiptEntry>(R"({"readAt":"2025-01-01T00:00:00Z"})"),
              "Chiave mancante: \"userID\" in ReceiptEntry");
    // A nested record fails the whole record.
    EXPECT_EQ(errorOf<Conversation>(R"({"id":"d","title":"T","lastSeq":1,
                                        "lastMessage":{"id":"m"}})"),
              "Chiave mancante: \"clientID\" in ChatMessage");
    EXPECT_EQ(errorOf<User>("[]"), "Atteso un oggetto JSON per User");

    // Wrong types and unknown values.
    EXPECT_EQ(errorOf<User>(R"({"id":"u","name":"N","role":"Staff"})"),
              "Valore sconosciuto per \"role\": Staff");
    EXPECT_EQ(errorOf<Conversation>(R"({"id":"d","title":"T","lastSeq":1,"kind":"channel"})"),
              "Valore sconosciuto per \"kind\": channel");
    EXPECT_EQ(errorOf<User>(R"({"id":7,"name":"N","role":"staff"})"),
              "Tipo errato per \"id\": atteso una stringa");
    EXPECT_EQ(errorOf<User>(R"({"id":"u","name":"N","role":"staff","isAdmin":1})"),
              "Tipo errato per \"isAdmin\": atteso un booleano");
    EXPECT_EQ(errorOf<Reaction>(R"({"emoji":"x","userIDs":["a",2]})"),
              "Tipo errato per \"userIDs\": atteso una stringa");
    EXPECT_EQ(errorOf<Conversation>(R"({"id":"d","title":"T","lastSeq":1,"reads":{"u":"5"}})"),
              "Tipo errato per \"reads\": atteso un intero");
    EXPECT_EQ(errorOf<Conversation>(R"({"id":"d","title":"T","lastSeq":1,"delivered":[]})"),
              "Tipo errato per \"delivered\": atteso un oggetto");
    EXPECT_EQ(errorOf<ClientCompany>(R"({"id":"a","name":"A","createdAt":"2025-03-14"})"),
              "Data non valida: 2025-03-14");
    EXPECT_EQ(errorOf<ClientCompany>(R"({"id":"a","name":"A","createdAt":1741944413})"),
              "Tipo errato per \"createdAt\": atteso una data");
}

TEST(RecordJsonTest, IntegersAreExactSixtyFourBit) {
    const auto quote = [](std::string_view seq) {
        return decodeText<QuotedMessage>(std::string(R"({"authorID":"a","seq":)") +
                                         std::string(seq) + "}")
            .seq;
    };
    EXPECT_EQ(quote("9223372036854775807"), std::numeric_limits<qint64>::max());
    EXPECT_EQ(quote("-9223372036854775808"), std::numeric_limits<qint64>::min());
    EXPECT_EQ(quote("9007199254740993"), 9007199254740993LL); // not representable as a double
    EXPECT_EQ(quote("-0"), 0);
    for (const char* bad : {"9223372036854775808", "18446744073709551615", "1e400",
                            "-9223372036854775809", "1.0", "1e2", "0.5"})
        EXPECT_THROW(quote(bad), DecodeError) << bad;
    for (const char* wrong : {"true", "\"5\"", "[]", "{}"})
        EXPECT_THROW(quote(wrong), DecodeError) << wrong;
    // An unsigned value built in memory is taken when it fits.
    EXPECT_EQ(json::decodeInt(js::value(std::uint64_t(12)), "seq"), 12);
    EXPECT_THROW(json::decodeInt(js::value(std::uint64_t(1) << 63), "seq"), DecodeError);
    // Written back exactly.
    EXPECT_EQ(json::serialize(
                  json::encode(QuotedMessage{std::numeric_limits<qint64>::min(), "a", "", false})),
              R"({"seq":-9223372036854775808,"authorID":"a","text":"","deleted":false})");
}

TEST(RecordJsonTest, ParseRefusesMalformedText) {
    const std::string_view bad[] = {
        "",
        "   ",
        "{",
        R"({"a":1,})",
        R"({"a":1} {"b":2})",
        "\"\xff\"",          // invalid UTF-8
        "\"\xc3\"",          // truncated sequence
        "\"\xed\xa0\x80\"",  // an encoded surrogate
        "\"\xc0\xaf\"",      // overlong encoding
        R"("\ud800")",       // lone surrogate escape
        R"("\udc00\ud800")", // reversed pair
        "NaN",
        "{'a':1}",
        std::string_view("{\"a\":1}\0", 8),
    };
    for (std::string_view text : bad)
        EXPECT_THROW(json::parse(text), DecodeError) << text;
    const std::string deep = std::string(40, '[') + std::string(40, ']');
    EXPECT_THROW(json::parse(deep), DecodeError);
    const std::string fine = std::string(20, '[') + std::string(20, ']');
    EXPECT_NO_THROW(json::parse(fine));
    try {
        json::parse("{\"a\":tru}");
        FAIL();
    } catch (const DecodeError& e) {
        EXPECT_TRUE(e.text().startsWith("JSON non valido alla posizione")) << e.what();
    }
}

TEST(RecordJsonTest, TextSurvivesUnicodeAndEscapes) {
    const QString tricky =
        QString::fromUtf8("𝄞 ñ 中文 \u200b") + QChar(0) + "\x01\x1f" + "</script>";
    const Reaction r{tricky, {tricky, ""}};
    EXPECT_EQ(roundTrip(r), r);
    const js::value v = json::parse(R"({"emoji":"\u00e8\ud83d\ude00","userIDs":[]})");
    EXPECT_EQ(json::decode<Reaction>(v).emoji, QString::fromUtf8("è😀"));
    // Every UTF-8 length boundary, against Qt's own encoder.
    const char32_t boundaries[] = {0x1,    0x7f,   0x80,   0x7ff,   0x800,   0xd7ff,
                                   0xe000, 0xfffd, 0xffff, 0x10000, 0x1f600, 0x10ffff};
    QString all;
    for (char32_t c : boundaries)
        all += QString::fromUcs4(&c, 1) + "x";
    const js::string utf8 = json::toJsonString(all);
    EXPECT_EQ(std::string_view(utf8), all.toUtf8().toStdString());
    EXPECT_EQ(json::toQString(utf8), all);
    // A lone surrogate held in a QString cannot become UTF-8; it is replaced, not dropped
    // silently into invalid output.
    const QString lone = QString("a") + QChar(0xd800) + "b";
    const std::string text = json::serialize(json::encode(Reaction{lone, {}}));
    EXPECT_NO_THROW(json::parse(text));
    EXPECT_EQ(json::decode<Reaction>(json::parse(text)).emoji,
              QString("a") + QChar(QChar::ReplacementCharacter) + "b");
    EXPECT_EQ(std::string_view(json::toJsonString(QString(QChar(0xdc00)) + QChar(0xd800))),
              "\xef\xbf\xbd\xef\xbf\xbd");
}

TEST(RecordJsonTest, DirectTextIsTheSerialisedValueByteForByte) {
    // Every character class the two writers could disagree on: each control character, the two
    // escaped printables, DEL, every UTF-8 length, pairs, lone and trailing surrogates.
    QString tricky = QString::fromUtf8("\"\\/\x7f àè 中文 😀 \u200b ");
    for (char16_t c = 0; c < 0x20; ++c)
        tricky += QChar(c);
    tricky += QChar(0xdc00) + QString("x") + QChar(0xd83d) + QString("y") + QChar(0xd800);

    ChatMessage message = fullMessage();
    message.text = tricky;
    message.reactions.append(Reaction{tricky, {tricky, ""}});
    Conversation conversation = fullConversation();
    conversation.lastMessage = message;
    conversation.reads.insert(tricky, -1);
    const Conversation bare{
        "d", ConversationKind::direct, std::nullopt, "", std::nullopt, 0, std::nullopt, {}, {}, 0};

    const auto same = [](const auto& record) {
        EXPECT_EQ(writtenText(record), json::serialize(json::encode(record)));
    };
    same(User{"u-1", tricky, "a@b.c", Role::staff, std::nullopt, true, "data:x"});
    same(User{"u-2", "B", std::nullopt, Role::client, "acme", false, std::nullopt});
    same(ClientCompany{"acme", tricky, std::nullopt, at(-86'400'000)});
    same(QuotedMessage{std::numeric_limits<qint64>::min(), "u", tricky, true});
    same(message);
    same(minimalMessage());
    same(conversation);
    same(bare);
    same(ReceiptEntry{"u-2", at(1000), std::nullopt});
    same(PendingMessage{"c-9", "conv", tricky, at(5), "Rifiutato", 3});
    same(Invite{"ABCD-EFGH", "acme", "Carla", "carla@example.com", at(99'999)});

    // Appends to what the buffer already holds.
    std::string text = "[";
    json::TextWriter out(text);
    out.string(QString());
    out.raw(",");
    out.number(-42);
    EXPECT_EQ(text, R"(["",-42)");
}

TEST(RecordJsonTest, ParserArenaIsReusedSafely) {
    json::Parser parser;
    QList<ChatMessage> many;
    for (int i = 0; i < 500; ++i) {
        ChatMessage m = fullMessage();
        m.seq = i;
        many.push_back(m);
    }
    const std::string big = json::serialize(json::encodeValue(many, {}));
    const std::string small = json::serialize(json::encode(minimalMessage()));

    // Big, small, a failure, then big again: each result is whole and independent of the last.
    EXPECT_EQ(json::decodeList<ChatMessage>(parser.parse(big), "messages"), many);
    EXPECT_EQ(json::decode<ChatMessage>(parser.parse(small)), minimalMessage());
    EXPECT_THROW(parser.parse(big.substr(0, big.size() / 2)), DecodeError);
    EXPECT_THROW(parser.parse(std::string(100, '[')), DecodeError);
    EXPECT_EQ(json::decodeList<ChatMessage>(parser.parse(big), "messages"), many);
    EXPECT_EQ(json::decode<ChatMessage>(parser.parse(small)), minimalMessage());
}

TEST(RecordJsonTest, HashCoversEveryField) {
    // Equal values hash alike; changing any one field changes the hash (with a fixed seed the
    // hash is deterministic, so a field left out of the hash shows up here).
    const User base{"u", "N", "e", Role::staff, "k", true, "a"};
    const size_t h = qHash(base, 0);
    EXPECT_EQ(qHash(User(base), 0), h);
    std::vector<User> variants(7, base);
    variants[0].id = "x";
    variants[1].name = "x";
    variants[2].email.reset();
    variants[3].role = Role::client;
    variants[4].clientID = "";
    variants[5].isAdmin = false;
    variants[6].avatar.reset();
    for (const User& v : variants)
        EXPECT_NE(qHash(v, 0), h);

    const ChatMessage m = fullMessage();
    std::vector<ChatMessage> messages(6, m);
    messages[0].sentAt = at(1);
    messages[1].reply->deleted = false;
    messages[2].reactions[0].userIDs.pop_back();
    messages[3].revision = 8;
    messages[4].deletedAt.reset();
    messages[5].replyToSeq.reset();
    for (const ChatMessage& v : messages)
        EXPECT_NE(qHash(v, 0), qHash(m, 0));

    Conversation c = fullConversation();
    const size_t ch = qHash(c, 0);
    c.reads["u-2"] = 41;
    EXPECT_NE(qHash(c, 0), ch);

    QSet<Invite> invites{Invite{"A", "k", "n", "e", at(1)}, Invite{"A", "k", "n", "e", at(1)},
                         Invite{"A", "k", "n", "e", at(2)}};
    EXPECT_EQ(invites.size(), 2);
    EXPECT_EQ((QSet<Role>{Role::staff, Role::client, Role::staff}).size(), 2);
}
