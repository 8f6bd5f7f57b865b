#include "SampleFrames.h"

#include <BuildInfo.h>
#include <QSet>
#include <boost/json/parse.hpp>
#include <gtest/gtest.h>
#include <set>

using namespace brevio;
namespace js = boost::json;

namespace {

std::set<std::string> keysOf(const std::string& text) {
    const js::value v = js::parse(text);
    std::set<std::string> keys;
    for (const auto& kv : v.as_object())
        keys.emplace(kv.key());
    return keys;
}

std::string typeOf(const std::string& text) {
    return std::string(js::parse(text).at("type").as_string());
}

} // namespace

TEST(FramesTest, EveryClientFrameRoundTrips) {
    std::set<ClientFrame::Type> seen;
    for (const ClientFrame& frame : samples::clientFrames()) {
        const std::string text = wire::encode(frame);
        const auto decoded = wire::decodeClientFrame(text);
        ASSERT_TRUE(decoded.ok()) << text << "\n" << decoded.error.toStdString();
        EXPECT_EQ(*decoded.value, frame) << text;
        EXPECT_EQ(typeOf(text), typeName(frame.type).toStdString());
        seen.insert(frame.type);
    }
    EXPECT_EQ(seen.size(), 20u); // every case is covered
}

TEST(FramesTest, EveryServerFrameRoundTrips) {
    std::set<ServerFrame::Type> seen;
    for (const ServerFrame& frame : samples::serverFrames()) {
        const std::string text = wire::encode(frame);
        const auto decoded = wire::decodeServerFrame(text);
        ASSERT_TRUE(decoded.ok()) << text << "\n" << decoded.error.toStdString();
        EXPECT_EQ(*decoded.value, frame) << text;
        if (frame.type != ServerFrame::Type::unknown) {
            EXPECT_EQ(typeOf(text), typeName(frame.type).toStdString());
        }
        seen.insert(frame.type);
    }
    EXPECT_EQ(seen.size(), 19u);
}

TEST(FramesTest, TypeStringsAreTheCaseNames) {
    EXPECT_EQ(typeName(ClientFrame::Type::remove), "delete");
    EXPECT_EQ(typeName(ClientFrame::Type::setAvatar), "setAvatar");
    EXPECT_EQ(typeName(ClientFrame::Type::logout), "logout");
    EXPECT_EQ(typeName(ServerFrame::Type::messageUpdated), "messageUpdated");
    EXPECT_EQ(typeName(ServerFrame::Type::conversationRemoved), "conversationRemoved");
    EXPECT_EQ(typeOf(wire::encode(ServerFrame::invite({"r", {}}))), "invite");
    // The unknown frame carries its own word and writes it back.
    EXPECT_EQ(typeOf(wire::encode(ServerFrame::unknown("poll"))), "poll");
}

TEST(FramesTest, LayoutIsFlatWithOptionalKeysLeftOut) {
    EXPECT_EQ(keysOf(wire::encode(ClientFrame::send({"c-1", "conv", "Ciao", std::nullopt}))),
              (std::set<std::string>{"type", "id", "conversationID", "text"}));
    EXPECT_EQ(keysOf(wire::encode(ClientFrame::send({"c-1", "conv", "Ciao", 3}))),
              (std::set<std::string>{"type", "id", "conversationID", "text", "replyToSeq"}));
    EXPECT_EQ(keysOf(wire::encode(ClientFrame::react({"r", "conv", 4, std::nullopt}))),
              (std::set<std::string>{"type", "id", "conversationID", "seq"}));
    EXPECT_EQ(
        keysOf(wire::encode(ClientFrame::history({"r", "conv", std::nullopt, std::nullopt, 50}))),
        (std::set<std::string>{"type", "id", "conversationID", "limit"}));
    EXPECT_EQ(wire::encode(ClientFrame::logout()), R"({"type":"logout"})");
    EXPECT_EQ(keysOf(wire::encode(
                  ServerFrame::error({std::nullopt, "forbidden", std::nullopt, std::nullopt}))),
              (std::set<std::string>{"type", "code"}));

    // The payload is beside "type", and records nest under their own key.
    const js::value login =
        js::parse(wire::encode(ClientFrame::login({"a@b.c", "pw", test::testClient(512)})));
    EXPECT_EQ(login.at("email"), js::value("a@b.c"));
    EXPECT_EQ(login.at("client").at("protocolVersion"), js::value(3));
    EXPECT_EQ(login.at("client").at("build"), js::value(512));
    const js::value ack =
        js::parse(wire::encode(ServerFrame::ack({"c-1", samples::message(2, false)})));
    EXPECT_EQ(ack.at("replyTo"), js::value("c-1"));
    EXPECT_EQ(ack.at("message").at("seq"), js::value(2));
}

TEST(FramesTest, FramesCompareAndHashByValueAndSharedPayloadsByType) {
    const std::string delivered = wire::encode(ClientFrame::delivered({"conv", 7}));
    const std::string read = wire::encode(ClientFrame::read({"conv", 7}));
    EXPECT_EQ(keysOf(delivered), keysOf(read));
    EXPECT_EQ(wire::decodeClientFrame(delivered).value->type, ClientFrame::Type::delivered);
    EXPECT_EQ(wire::decodeClientFrame(read).value->type, ClientFrame::Type::read);
    EXPECT_NE(ClientFrame::delivered({"conv", 7}), ClientFrame::read({"conv", 7}));

    const auto serverRead =
        wire::decodeServerFrame(R"({"type":"read","conversationID":"c","userID":"u","seq":3})");
    const auto serverDelivered = wire::decodeServerFrame(
        R"({"type":"delivered","conversationID":"c","userID":"u","seq":3})");
    ASSERT_TRUE(serverRead.ok() && serverDelivered.ok());
    EXPECT_EQ(serverRead.value->type, ServerFrame::Type::read);
    EXPECT_EQ(serverDelivered.value->type, ServerFrame::Type::delivered);
    EXPECT_EQ(*serverRead.value->as<ReadEvent>(), *serverDelivered.value->as<ReadEvent>());
    EXPECT_NE(qHash(*serverRead.value, 0), qHash(*serverDelivered.value, 0));

    QSet<ServerFrame> server;
    for (const ServerFrame& f : samples::serverFrames())
        server.insert(f);
    for (const ServerFrame& f : samples::serverFrames())
        server.insert(f); // equal copies collapse
    EXPECT_EQ(server.size(), qsizetype(samples::serverFrames().size()));
    // A field deep inside a welcome changes the hash.
    ServerFrame a = samples::serverFrames().front();
    ServerFrame b = a;
    std::get<Welcome>(b.payload).conversations[1].lastMessage->reactions[0].userIDs.append("u-9");
    EXPECT_NE(qHash(a, 0), qHash(b, 0));
    EXPECT_NE(a, b);
}

TEST(FramesTest, RequestIDsAndReplyTargets) {
    EXPECT_EQ(ClientFrame::send({"c-1", "conv", "x", std::nullopt}).requestID(), "c-1");
    EXPECT_EQ(ClientFrame::updateGroup({"r-9", "g", {}, {}, {}}).requestID(), "r-9");
    EXPECT_EQ(ClientFrame::remove({"r-4", "conv", 1}).requestID(), "r-4");
    EXPECT_TRUE(ClientFrame::read({"conv", 1}).requestID().isEmpty());
    EXPECT_TRUE(ClientFrame::login({"e", "p", {}}).requestID().isEmpty());
    EXPECT_TRUE(ClientFrame::logout().requestID().isEmpty());

    EXPECT_EQ(ServerFrame::ack({"c-1", {}}).replyTo(), "c-1");
    EXPECT_EQ(ServerFrame::invite({"r-11", {}}).replyTo(), "r-11");
    EXPECT_EQ(ServerFrame::receipts({"r-8", "conv", 1, {}}).replyTo(), "r-8");
    EXPECT_EQ(ServerFrame::error({"r-3", "forbidden", {}, {}}).replyTo(), "r-3");
    EXPECT_EQ(ServerFrame::error({std::nullopt, "session_expired", {}, {}}).replyTo(),
              std::nullopt);
    EXPECT_EQ(ServerFrame::message({}).replyTo(), std::nullopt);
    EXPECT_EQ(ServerFrame::unknown("ack").replyTo(), std::nullopt);
}

TEST(ClientInfoTest, BuildNumberIsADecimalIntegerOrZero) {
    EXPECT_EQ(ClientInfo::parseBuild(u"512"), 512);
    EXPECT_EQ(ClientInfo::parseBuild(u"+42"), 42);
    EXPECT_EQ(ClientInfo::parseBuild(u"-7"), -7);
    EXPECT_EQ(ClientInfo::parseBuild(u"007"), 7);
    EXPECT_EQ(ClientInfo::parseBuild(u"9223372036854775807"), std::numeric_limits<qint64>::max());
    EXPECT_EQ(ClientInfo::parseBuild(u"-9223372036854775808"), std::numeric_limits<qint64>::min());
    for (const char16_t* bad : {u"", u"+", u"-", u"1.2", u"1.2.3", u" 5", u"5 ", u"0x10", u"12a",
                                u"++1", u"9223372036854775808", u"99999999999999999999", u"٣"})
        EXPECT_EQ(ClientInfo::parseBuild(bad), 0) << QString::fromUtf16(bad).toStdString();
}

TEST(ClientInfoTest, CurrentDescribesThisBuild) {
    const ClientInfo info = ClientInfo::current();
    EXPECT_EQ(info.protocolVersion, 3);
    EXPECT_EQ(info.version, QString::fromUtf8(build::version));
    EXPECT_EQ(info.build, ClientInfo::parseBuild(QString::fromUtf8(build::buildNumber)));
    EXPECT_FALSE(info.device.trimmed().isEmpty());
}
