#include "model/ServerAddress.h"
#include "support/Printing.h"

#include <gtest/gtest.h>

using namespace brevio;

namespace {

// The normalised address as text, or "invalid".
QString normalised(const QString& typed) {
    const std::optional<QUrl> url = ServerAddress::normalise(typed);
    return url ? url->toString(QUrl::FullyEncoded) : QStringLiteral("invalid");
}

TEST(ServerAddressNormalise, FillsInSchemeAndDefaultPathAndKeepsWhatWasTyped) {
    const std::pair<const char*, const char*> cases[] = {
        {"  chat.example.com \n", "wss://chat.example.com/ws"},
        {"\tchat.example.com:8443\r\n", "wss://chat.example.com:8443/ws"},
        {"127.0.0.1:9000", "wss://127.0.0.1:9000/ws"},
        {"[::1]:9000", "wss://[::1]:9000/ws"},
        {"http://chat.example.com", "ws://chat.example.com/ws"},
        {"HTTPS://chat.example.com/", "wss://chat.example.com/ws"},
        {"Ws://localhost:8080", "ws://localhost:8080/ws"},
        {"wss://chat.example.com/ws", "wss://chat.example.com/ws"},
        {"wss://chat.example.com/brevio/socket", "wss://chat.example.com/brevio/socket"},
        {"wss://chat.example.com/ws/", "wss://chat.example.com/ws/"},
        {"https://chat.example.com//", "wss://chat.example.com//"},
        {"ws://ops@chat.example.com:81?tenant=7#top",
         "ws://ops@chat.example.com:81/ws?tenant=7#top"},
        {"wss://chat.example.com/a%20b", "wss://chat.example.com/a%20b"},
    };
    for (const auto& [typed, expected] : cases)
        EXPECT_EQ(normalised(QString::fromUtf8(typed)), QString::fromUtf8(expected)) << typed;
}

TEST(ServerAddressNormalise, RefusesWhatCannotBeAServer) {
    for (const char* typed :
         {"", "   \n", "chat example.com", "wss://chat.example.com/a b", "ftp://chat.example.com",
          "file:///etc/passwd", "://chat.example.com", "wss://", "wss:///ws", "wss://:8443/ws",
          "https://user@/ws", "wss://chat.example.com:99999", "wss://chat.example.com:port",
          // The tolerant parser would quietly encode these into some other address.
          "wss://chat.example.com/%zz", "wss://chat.example.com/a\tb", "wss://chat.example.com/{x}",
          "wss://chat\texample.com", "wss://chat.exa|mple.com", "wss://[zz]/ws"}) {
        EXPECT_EQ(normalised(QString::fromUtf8(typed)), "invalid") << typed;
    }
}

TEST(ServerAddressDisplay, ShortFormOnlyForTheSecureDefaultPath) {
    auto shown = [](const char* url) {
        return ServerAddress::display(QUrl(QString::fromUtf8(url), QUrl::StrictMode));
    };
    EXPECT_EQ(shown("wss://chat.example.com/ws"), "chat.example.com");
    EXPECT_EQ(shown("wss://chat.example.com:8443/ws"), "chat.example.com:8443");
    EXPECT_EQ(shown("wss://ops@chat.example.com/ws?tenant=7"), "ops@chat.example.com?tenant=7");
    EXPECT_EQ(shown("ws://chat.example.com/ws"), "ws://chat.example.com/ws");
    EXPECT_EQ(shown("wss://chat.example.com/brevio"), "wss://chat.example.com/brevio");
    EXPECT_EQ(shown("wss://chat.example.com/ws/"), "wss://chat.example.com/ws/");
    EXPECT_EQ(ServerAddress::display(QUrl()), "");
}

TEST(ServerAddressDisplay, ShowsWhatTheUserTypedForADefaultAddress) {
    for (const char* typed :
         {"chat.example.com", "chat.example.com:8443", "https://chat.example.com"}) {
        const std::optional<QUrl> url = ServerAddress::normalise(QString::fromUtf8(typed));
        ASSERT_TRUE(url) << typed;
        const QString expected = QString::fromUtf8(typed).remove(QStringLiteral("https://"));
        EXPECT_EQ(ServerAddress::display(*url), expected);
    }
    EXPECT_EQ(ServerAddress::display(*ServerAddress::normalise("http://localhost:8080")),
              "ws://localhost:8080/ws");
}

TEST(ServerAddressDisplay, RetypingWhatIsShownGivesTheSameAddress) {
    for (const char* typed :
         {"chat.example.com", "chat.example.com:8443", "[::1]:9000", "ws://[fe80::1]:81",
          "wss://chat.example.com/brevio%20socket", "wss://chat.example.com/café/ws",
          "wss://chàt.example.com", "ws://chat.example.com/a%2Fb", "ops@chat.example.com",
          "wss://chat.example.com/ws?tenant=a%20b&lang=%C3%A8", "chat.example.com?q=è#top%20x",
          "ws://chat.example.com:81/ws?x=%25"}) {
        const std::optional<QUrl> url = ServerAddress::normalise(QString::fromUtf8(typed));
        ASSERT_TRUE(url) << typed;
        const QString shown = ServerAddress::display(*url);
        const std::optional<QUrl> again = ServerAddress::normalise(shown);
        ASSERT_TRUE(again) << typed << " shown as " << shown.toStdString();
        EXPECT_EQ(again->toString(QUrl::FullyEncoded), url->toString(QUrl::FullyEncoded))
            << typed << " shown as " << shown.toStdString();
    }
    EXPECT_EQ(ServerAddress::display(*ServerAddress::normalise("wss://chat.example.com/a%20b")),
              "wss://chat.example.com/a%20b");
}

} // namespace
