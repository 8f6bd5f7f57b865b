#include "Argon2idPasswordHasher.h"

#include <QRegularExpression>
#include <gtest/gtest.h>

using namespace brevio;

namespace {

struct Parameters {
    qint64 memoryKiB = 0, passes = 0, lanes = 0;
};

// The parameters written in a "$argon2id$v=19$m=..,t=..,p=..$salt$hash" record.
std::optional<Parameters> parametersOf(const QByteArray& record) {
    static const QRegularExpression form(QStringLiteral(
        R"(^\$argon2id\$v=19\$m=(\d+),t=(\d+),p=(\d+)\$[A-Za-z0-9+/]+\$[A-Za-z0-9+/]+$)"));
    const auto match = form.match(QString::fromLatin1(record));
    if (!match.hasMatch())
        return std::nullopt;
    return Parameters{match.captured(1).toLongLong(), match.captured(2).toLongLong(),
                      match.captured(3).toLongLong()};
}

TEST(Argon2idPasswordHasherTest, StoresAnArgon2idRecordOfAtLeastTheMinimumStrength) {
    Argon2idPasswordHasher hasher;
    const QByteArray record = hasher.hash(QStringLiteral("corda5678"));
    const auto parameters = parametersOf(record);
    ASSERT_TRUE(parameters) << record.toStdString();
    EXPECT_GE(parameters->memoryKiB, 19456);
    EXPECT_GE(parameters->passes, 2);
    EXPECT_GE(parameters->lanes, 1);

    // Fresh salt each time.
    EXPECT_NE(hasher.hash(QStringLiteral("corda5678")), record);

    // Weaker settings are raised to the minimum; stronger ones are kept.
    const auto raised =
        parametersOf(Argon2idPasswordHasher(1, 1024 * 1024).hash(QStringLiteral("x")));
    ASSERT_TRUE(raised);
    EXPECT_EQ(raised->memoryKiB, 19456);
    EXPECT_EQ(raised->passes, 2);
    Argon2idPasswordHasher stronger(3, 32u * 1024 * 1024);
    const QByteArray strongRecord = stronger.hash(QStringLiteral("x"));
    const auto strong = parametersOf(strongRecord);
    ASSERT_TRUE(strong);
    EXPECT_EQ(strong->memoryKiB, 32768);
    EXPECT_EQ(strong->passes, 3);
    // A record carries its own parameters: any instance verifies it.
    EXPECT_TRUE(hasher.verify(QStringLiteral("x"), strongRecord));
}

TEST(Argon2idPasswordHasherTest, VerifiesOnlyTheRightPasswordAgainstAnIntactRecord) {
    Argon2idPasswordHasher hasher;
    const QString password = QStringLiteral("pàssword €😀");
    const QByteArray record = hasher.hash(password);
    EXPECT_TRUE(hasher.verify(password, record));
    EXPECT_FALSE(hasher.verify(QStringLiteral("pàssword €"), record));
    EXPECT_FALSE(hasher.verify(QStringLiteral("Pàssword €😀"), record));
    EXPECT_FALSE(hasher.verify(QString(), record));

    QByteArray tampered = record;
    tampered[tampered.size() - 2] = tampered[tampered.size() - 2] == 'A' ? 'B' : 'A';
    EXPECT_FALSE(hasher.verify(password, tampered));
    QByteArray otherAlgorithm = record;
    otherAlgorithm.replace("$argon2id$", "$argon2i$");
    EXPECT_FALSE(hasher.verify(password, otherAlgorithm));
    EXPECT_FALSE(hasher.verify(password, record + QByteArray(1, '\0') + "x"));
    EXPECT_FALSE(hasher.verify(password, QByteArray()));
    EXPECT_FALSE(hasher.verify(password, QByteArray(200, 'a')));
    EXPECT_FALSE(hasher.verify(password, "$argon2id$v=19$m=19456,t=2,p=1$"));
}

} // namespace
