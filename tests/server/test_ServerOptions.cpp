#include "ServerOptions.h"

#include <gtest/gtest.h>

using namespace brevio;

namespace {

std::expected<ServerOptions, QString> parse(std::initializer_list<const char*> args) {
    QStringList list;
    for (const char* a : args)
        list << QString::fromUtf8(a);
    return ServerOptions::parse(list);
}

TEST(ServerOptionsTest, DefaultsAndEveryOption) {
    const auto defaults = parse({});
    ASSERT_TRUE(defaults);
    EXPECT_EQ(defaults->host, QStringLiteral("127.0.0.1"));
    EXPECT_EQ(defaults->port, 8787);
    EXPECT_EQ(defaults->seed, ServerOptions::Seed::demo);
    EXPECT_EQ(defaults->minimumBuild, 0);
    EXPECT_TRUE(defaults->autoReply);
    EXPECT_EQ(defaults->inviteLifetime, std::chrono::days(7));
    EXPECT_FALSE(defaults->help);
    EXPECT_EQ(defaults->url(8787), QStringLiteral("ws://127.0.0.1:8787/ws"));

    const auto all = parse({"--listen", "0.0.0.0:0", "--seed", "none", "--min-build", "42",
                            "--no-auto-reply", "--invite-lifetime", "3600.5"});
    ASSERT_TRUE(all) << all.error().toStdString();
    EXPECT_EQ(all->host, QStringLiteral("0.0.0.0"));
    EXPECT_EQ(all->port, 0);
    EXPECT_EQ(all->seed, ServerOptions::Seed::none);
    EXPECT_EQ(all->minimumBuild, 42);
    EXPECT_FALSE(all->autoReply);
    EXPECT_EQ(all->inviteLifetime, Duration(3600500));
    EXPECT_EQ(all->url(40123), QStringLiteral("ws://0.0.0.0:40123/ws"));

    // "--name=value" means the same as "--name value"; the last occurrence wins.
    EXPECT_EQ(parse({"--listen=127.0.0.1:9000", "--seed=none"}),
              parse({"--listen", "127.0.0.1:1", "--listen", "127.0.0.1:9000", "--seed", "none"}));

    const auto ipv6 = parse({"--listen", "[::1]:8000"});
    ASSERT_TRUE(ipv6);
    EXPECT_EQ(ipv6->host, QStringLiteral("::1"));
    EXPECT_EQ(ipv6->url(8000), QStringLiteral("ws://[::1]:8000/ws"));

    const auto local = parse({"--listen", "localhost:65535"});
    ASSERT_TRUE(local);
    EXPECT_EQ(local->port, 65535);

    EXPECT_TRUE(parse({"--help"})->help);
    EXPECT_TRUE(parse({"-h"})->help);
}

TEST(ServerOptionsTest, BadOptionsGiveOneLineNamingTheProblem) {
    const std::vector<std::pair<std::vector<const char*>, const char*>> cases = {
        {{"--port", "80"}, "--port"},
        {{"extra"}, "extra"},
        {{"--listen"}, "--listen"},
        {{"--listen", "127.0.0.1"}, "--listen"},
        {{"--listen", "127.0.0.1:"}, "--listen"},
        {{"--listen", ":8787"}, "--listen"},
        {{"--listen", "127.0.0.1:65536"}, "--listen"},
        {{"--listen", "127.0.0.1:+80"}, "--listen"},
        {{"--listen", "127.0.0.1:8o"}, "--listen"},
        {{"--listen", "999.0.0.1:80"}, "--listen"},
        {{"--listen", "example.org:80"}, "--listen"},
        {{"--listen", "::1:80"}, "--listen"},
        {{"--listen", "[::1]80"}, "--listen"},
        {{"--seed", "full"}, "--seed"},
        {{"--seed"}, "--seed"},
        {{"--min-build", "-1"}, "--min-build"},
        {{"--min-build", "12a"}, "--min-build"},
        {{"--invite-lifetime", "0"}, "--invite-lifetime"},
        {{"--invite-lifetime", "-5"}, "--invite-lifetime"},
        {{"--invite-lifetime", "nan"}, "--invite-lifetime"},
        {{"--invite-lifetime", "inf"}, "--invite-lifetime"},
        {{"--invite-lifetime", "0.0001"}, "--invite-lifetime"},
        {{"--invite-lifetime", "1e300"}, "--invite-lifetime"},
        {{"--no-auto-reply=yes"}, "--no-auto-reply"},
    };
    for (const auto& [args, named] : cases) {
        QStringList list;
        for (const char* a : args)
            list << QString::fromUtf8(a);
        const auto result = ServerOptions::parse(list);
        ASSERT_FALSE(result) << list.join(' ').toStdString();
        EXPECT_TRUE(result.error().contains(QString::fromUtf8(named)))
            << result.error().toStdString();
        EXPECT_FALSE(result.error().contains(u'\n'));
    }
}

} // namespace
