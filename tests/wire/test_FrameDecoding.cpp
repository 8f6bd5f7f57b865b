#include "SampleFrames.h"

#include <gtest/gtest.h>

using namespace brevio;

namespace {

QString serverError(std::string_view text) {
    const auto decoded = wire::decodeServerFrame(text);
    EXPECT_FALSE(decoded.ok()) << "decoded: " << text;
    EXPECT_FALSE(decoded.error.isEmpty()) << text;
    return decoded.error;
}

QString clientError(std::string_view text) {
    const auto decoded = wire::decodeClientFrame(text);
    EXPECT_FALSE(decoded.ok()) << "decoded: " << text;
    EXPECT_FALSE(decoded.error.isEmpty()) << text;
    return decoded.error;
}

} // namespace

TEST(FrameDecodingTest, TypeMustBeAStringAndUnknownTypesDifferByDirection) {
    const auto poll = wire::decodeServerFrame(R"({"type":"poll","question":"?","options":[1,2]})");
    ASSERT_TRUE(poll.ok());
    EXPECT_EQ(*poll.value, ServerFrame::unknown("poll"));
    EXPECT_EQ(clientError(R"({"type":"poll","question":"?"})"), "Tipo sconosciuto: poll");

    // Case-sensitive: a capital letter makes a different, unknown word.
    const auto capital = wire::decodeServerFrame(R"({"type":"Welcome"})");
    ASSERT_TRUE(capital.ok());
    EXPECT_EQ(capital.value->type, ServerFrame::Type::unknown);
    EXPECT_EQ(capital.value->as<UnknownFrame>()->type, "Welcome");
    EXPECT_EQ(clientError(R"({"type":"Logout"})"), "Tipo sconosciuto: Logout");
    EXPECT_EQ(clientError(R"({"type":""})"), "Tipo sconosciuto: ");
    // A server-only word is unknown to the server side and the other way round.
    EXPECT_EQ(clientError(R"({"type":"welcome"})"), "Tipo sconosciuto: welcome");
    EXPECT_EQ(wire::decodeServerFrame(R"({"type":"logout"})").value->type,
              ServerFrame::Type::unknown);
    EXPECT_EQ(wire::decodeServerFrame(R"({"type":"delete"})").value->type,
              ServerFrame::Type::unknown);
    // "remove" is only this code's name for the case; on the wire it is "delete".
    EXPECT_EQ(clientError(R"({"type":"remove","id":"r","conversationID":"c","seq":1})"),
              "Tipo sconosciuto: remove");

    // The type itself must be a string.
    EXPECT_EQ(serverError(R"({"code":"forbidden"})"), "Chiave mancante: \"type\" in frame");
    EXPECT_EQ(serverError(R"({"type":null})"), "Chiave mancante: \"type\" in frame");
    EXPECT_EQ(serverError(R"({"type":7})"), "Tipo errato per \"type\": atteso una stringa");
    EXPECT_EQ(clientError(R"({"type":["send"]})"), "Tipo errato per \"type\": atteso una stringa");
    EXPECT_EQ(clientError(R"({})"), "Chiave mancante: \"type\" in frame");
}

TEST(FrameDecodingTest, OptionalFieldsReadAsAbsentWhenMissingOrNullAndLayoutIsFree) {
    const auto error = wire::decodeServerFrame(R"({"type":"error","code":"session_expired"})");
    ASSERT_TRUE(error.ok()) << error.error.toStdString();
    EXPECT_EQ(*error.value->as<ServerError>(),
              (ServerError{std::nullopt, "session_expired", std::nullopt, std::nullopt}));
    const auto nulls = wire::decodeServerFrame(
        R"({"type":"error","code":"x","replyTo":null,"message":null,"minimumBuild":null})");
    ASSERT_TRUE(nulls.ok());
    EXPECT_EQ(*nulls.value->as<ServerError>(),
              (ServerError{std::nullopt, "x", std::nullopt, std::nullopt}));

    const auto react = wire::decodeClientFrame(
        R"({"type":"react","id":"r","conversationID":"c","seq":4,"emoji":null})");
    ASSERT_TRUE(react.ok());
    EXPECT_FALSE(react.value->as<ReactRequest>()->emoji.has_value());

    // Key order and whitespace are free.
    const auto spaced = wire::decodeClientFrame(
        " {\n \"seq\" : 4 ,\t\"conversationID\":\"c\", \"type\" : \"read\" }\r\n");
    ASSERT_TRUE(spaced.ok());
    EXPECT_EQ(*spaced.value, ClientFrame::read({"c", 4}));
    // A duplicate key keeps its last value.
    const auto duplicate = wire::decodeClientFrame(
        R"({"type":"read","conversationID":"a","conversationID":"b","seq":1})");
    ASSERT_TRUE(duplicate.ok());
    EXPECT_EQ(duplicate.value->as<ReadRequest>()->conversationID, "b");
}

TEST(FrameDecodingTest, MissingOrWrongFieldsNameTheKey) {
    EXPECT_EQ(clientError(R"({"type":"send","id":"c","conversationID":"k"})"),
              "Chiave mancante: \"text\" in send");
    EXPECT_EQ(clientError(R"({"type":"login","email":"e","password":"p"})"),
              "Chiave mancante: \"client\" in login");
    EXPECT_EQ(
        clientError(R"({"type":"login","email":"e","password":"p","client":{"protocolVersion":3,
                             "version":"1","build":"5","device":"d"}})"),
        "Tipo errato per \"build\": atteso un intero");
    EXPECT_EQ(clientError(R"({"type":"typing","conversationID":"c","isTyping":"yes"})"),
              "Tipo errato per \"isTyping\": atteso un booleano");
    EXPECT_EQ(
        serverError(R"({"type":"history","replyTo":"r","conversationID":"c","hasMore":false})"),
        "Chiave mancante: \"messages\" in history");
    EXPECT_EQ(serverError(R"({"type":"message","message":{"id":"m","clientID":"c",
                             "conversationID":"k","seq":1,"authorID":"a","sentAt":"2025-03-14"}})"),
              "Data non valida: 2025-03-14");
    EXPECT_EQ(serverError(R"({"type":"user","user":{"id":"u","name":"N","role":"admin"}})"),
              "Valore sconosciuto per \"role\": admin");
    EXPECT_EQ(serverError(R"({"type":"read","conversationID":"c","userID":"u","seq":1.5})"),
              "Valore non intero o fuori dai 64 bit per \"seq\"");
    EXPECT_EQ(serverError(R"({"type":"read","conversationID":"c","userID":"u",
                             "seq":99999999999999999999})"),
              "Valore non intero o fuori dai 64 bit per \"seq\"");
}

TEST(FrameDecodingTest, MalformedInputIsRefusedNotCrashedOn) {
    const std::string nested = std::string(100000, '[') + std::string(100000, ']');
    const std::string nestedInType = R"({"type":"welcome","me":)" + std::string(5000, '{');
    const std::string hugeNumber = R"({"type":"read","conversationID":"c","userID":"u","seq":1)" +
                                   std::string(5000, '0') + "}";
    const std::string_view inputs[] = {
        "",
        " ",
        "null",
        "true",
        "42",
        R"("type")",
        R"([{"type":"logout"}])",
        R"({"type":"logout")",
        R"({"type":"logout"}})",
        R"({"type":"logout"} {"type":"logout"})",
        R"({"type":"logout",})",
        R"({type:"logout"})",
        "{\"type\":\"log\xffout\"}",
        "{\"type\":\"logout\",\"x\":\"\xc3\x28\"}",
        R"({"type":"logout","x":"\ud83d"})",
        std::string_view("{\"type\":\"logout\"}\0", 18),
        "\xef\xbb\xbf{\"type\":\"logout\"}", // a byte-order mark is not JSON
        nested,
        nestedInType,
        hugeNumber,
    };
    for (std::string_view text : inputs) {
        EXPECT_FALSE(wire::decodeServerFrame(text).ok()) << text.substr(0, 80);
        EXPECT_FALSE(wire::decodeClientFrame(text).ok()) << text.substr(0, 80);
    }
    EXPECT_TRUE(clientError("[1,2]").startsWith("Atteso un oggetto JSON"));
    EXPECT_TRUE(serverError("{\"type\":").startsWith("JSON non valido"));
    // After all that, this thread's decoder still works.
    EXPECT_TRUE(wire::decodeClientFrame(R"({"type":"logout"})").ok());
}

TEST(FrameDecodingTest, LargeWelcomeDecodesAfterSmallFrames) {
    // The per-thread arena grows between frames; a small frame before and after a large one must
    // not see anything of it.
    Welcome big = *samples::serverFrames().front().as<Welcome>();
    for (int i = 0; i < 3000; ++i) {
        Conversation c = samples::conversation(i % 2 == 0);
        c.id = "conv-" + QString::number(i);
        big.conversations.append(c);
    }
    const ServerFrame bigFrame = ServerFrame::welcome(big);
    const ServerFrame small = ServerFrame::presence({"u-1", true});
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(*wire::decodeServerFrame(wire::encode(small)).value, small);
        const auto decoded = wire::decodeServerFrame(wire::encode(bigFrame));
        ASSERT_TRUE(decoded.ok());
        EXPECT_EQ(*decoded.value, bigFrame);
    }
}
