#include "localserver/ServerRules.h"
#include "localserver/Sha256PasswordHasher.h"

#include <QCryptographicHash>
#include <gtest/gtest.h>

using namespace brevio;

TEST(Sha256PasswordHasher, StoresASaltedDigestThatOnlyTheRightPasswordMatchesIntact) {
    Sha256PasswordHasher hasher;
    const QByteArray first = hasher.hash(QStringLiteral("corda5678"));
    const QByteArray second = hasher.hash(QStringLiteral("corda5678"));
    EXPECT_NE(first, second); // fresh salt each time
    EXPECT_TRUE(hasher.verify(QStringLiteral("corda5678"), first));
    EXPECT_TRUE(hasher.verify(QStringLiteral("corda5678"), second));
    EXPECT_FALSE(hasher.verify(QStringLiteral("corda5679"), first));
    EXPECT_FALSE(hasher.verify(QString(), first));

    // The digest is SHA-256 over the salt bytes followed by the UTF-8 password.
    const QList<QByteArray> parts = first.split('$');
    ASSERT_EQ(parts.size(), 3);
    const QByteArray salt = QByteArray::fromBase64(parts[1]);
    EXPECT_EQ(salt.size(), 16);
    EXPECT_EQ(QByteArray::fromBase64(parts[2]),
              QCryptographicHash::hash(salt + QByteArray("corda5678"), QCryptographicHash::Sha256));
    const QByteArray accented = hasher.hash(QStringLiteral("però1234"));
    EXPECT_TRUE(hasher.verify(QStringLiteral("però1234"), accented));
    EXPECT_FALSE(hasher.verify(QStringLiteral("pero1234"), accented));

    // Malformed records never verify.
    const QByteArray good = hasher.hash(QStringLiteral("x"));
    for (const QByteArray& record :
         {QByteArray(), QByteArray("sha256$"), QByteArray("sha256$$"), good.left(good.size() - 4),
          good + "$extra", QByteArray("argon2$") + good.mid(7), QByteArray("sha256$***$***")})
        EXPECT_FALSE(hasher.verify(QStringLiteral("x"), record)) << record.toStdString();
}

TEST(ServerRules, CountsWhatPeopleSeeAsCharacters) {
    EXPECT_EQ(ServerRules::visibleLength(QString()), 0);
    EXPECT_EQ(ServerRules::visibleLength(QStringLiteral("ciao")), 4);
    EXPECT_EQ(ServerRules::visibleLength(QStringLiteral("👍🏽")), 1);
    EXPECT_EQ(ServerRules::visibleLength(QStringLiteral("e\u0301")), 1); // e + combining accent
    EXPECT_FALSE(ServerRules::isStrongPassword(QStringLiteral("1234567")));
    EXPECT_TRUE(ServerRules::isStrongPassword(QStringLiteral("12345678")));
    EXPECT_FALSE(ServerRules::isStrongPassword(QStringLiteral("👍👍👍👍"))); // 8 units, 4 characters
}

TEST(ServerRules, AcceptsOneEmojiPerReaction) {
    for (const QString& emoji :
         {QStringLiteral("👍"), QStringLiteral("❤️"), QStringLiteral("🇮🇹"),
          QStringLiteral("1️⃣"), QStringLiteral("👨‍👩‍👧")})
        EXPECT_TRUE(ServerRules::isUsableEmoji(emoji)) << emoji.toStdString();
    for (const QString& text : {QStringLiteral(""), QStringLiteral("a"), QStringLiteral("?"),
                                QStringLiteral("\n"), QStringLiteral("👍 "), QStringLiteral("👍👎")})
        EXPECT_FALSE(ServerRules::isUsableEmoji(text)) << text.toStdString();
}

TEST(ServerRules, TokensAreFreshAndUrlSafe) {
    const QString a = ServerRules::newToken();
    EXPECT_EQ(a.size(), 43);
    EXPECT_NE(a, ServerRules::newToken());
    const auto decoded = QByteArray::fromBase64Encoding(
        a.toLatin1(), QByteArray::Base64UrlEncoding | QByteArray::AbortOnBase64DecodingErrors);
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded.decoded.size(), 32);
}
