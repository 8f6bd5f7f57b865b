#include "model/SystemRandom.h"
#include "support/Printing.h"

#include <QList>
#include <QRegularExpression>
#include <QSet>
#include <gtest/gtest.h>

using namespace brevio;

namespace {

// Hands out the given 32-bit words in order and counts how many were taken.
struct Script {
    QList<std::uint32_t> words;
    int taken = 0;
    std::function<std::uint32_t()> source() {
        return [this] { return words.at(taken++); };
    }
};

TEST(SystemRandomUniform, RejectsTheSurplusBelowTwoToThe32ModBound) {
    // 2^32 mod 31 = 4: the words 0 to 3 would make 0 to 3 more likely, so they are drawn again.
    Script small{{0, 1, 2, 3, 4}};
    EXPECT_EQ(SystemRandom::uniform(31, small.source()), 4u);
    EXPECT_EQ(small.taken, 5);

    Script top{{0xFFFFFFFFu}};
    EXPECT_EQ(SystemRandom::uniform(31, top.source()), 0xFFFFFFFFu % 31);
    EXPECT_EQ(top.taken, 1);

    // Three quarters of the range: a quarter of all words is surplus.
    const std::uint32_t bound = 3u << 30;
    Script large{{(1u << 30) - 1, 1u << 30, 5}};
    EXPECT_EQ(SystemRandom::uniform(bound, large.source()), 1u << 30);
    EXPECT_EQ(large.taken, 2);
    Script wrap{{0xFFFFFFFFu}};
    EXPECT_EQ(SystemRandom::uniform(bound, wrap.source()), 0xFFFFFFFFu - bound);

    // A power of two divides 2^32: nothing is rejected.
    Script even{{0, 7}};
    EXPECT_EQ(SystemRandom::uniform(8, even.source()), 0u);
    EXPECT_EQ(even.taken, 1);

    // Bounds of one and zero need no draw at all.
    Script none;
    EXPECT_EQ(SystemRandom::uniform(1, none.source()), 0u);
    EXPECT_EQ(SystemRandom::uniform(0, none.source()), 0u);
    EXPECT_EQ(none.taken, 0);
    EXPECT_EQ(SystemRandom::uniform(1), 0u);
}

TEST(SystemRandomUniform, SystemDrawsStayBelowTheBound) {
    for (const std::uint32_t bound : {2u, 3u, 31u, (1u << 31) + 1, 0xFFFFFFFFu}) {
        for (int i = 0; i < 2000; ++i)
            ASSERT_LT(SystemRandom::uniform(bound), bound) << bound;
    }
}

TEST(SystemRandomUnit, UsesTheTop53BitsAndNeverReachesOne) {
    EXPECT_EQ(SystemRandom::unitFromBits(0), 0.0);
    EXPECT_EQ(SystemRandom::unitFromBits(0x7FF), 0.0);
    EXPECT_EQ(SystemRandom::unitFromBits(1u << 11), 0x1.0p-53);
    EXPECT_EQ(SystemRandom::unitFromBits(1ull << 63), 0.5);
    EXPECT_EQ(SystemRandom::unitFromBits(~0ull), 1.0 - 0x1.0p-53);
    for (int i = 0; i < 2000; ++i) {
        const double u = SystemRandom::unit();
        ASSERT_GE(u, 0.0);
        ASSERT_LT(u, 1.0);
    }
}

TEST(SystemRandomUuid, StampsVersionFourAndTheVariant) {
    EXPECT_EQ(SystemRandom::uuidFromBytes(QByteArray(16, '\0')),
              "00000000-0000-4000-8000-000000000000");
    EXPECT_EQ(SystemRandom::uuidFromBytes(QByteArray(16, '\xff')),
              "ffffffff-ffff-4fff-bfff-ffffffffffff");
    EXPECT_EQ(SystemRandom::uuidFromBytes(QByteArray::fromHex("000102030405060708090a0b0c0d0e0f")),
              "00010203-0405-4607-8809-0a0b0c0d0e0f");
    EXPECT_EQ(SystemRandom::uuidFromBytes(QByteArray(15, '\0')), "");
    EXPECT_EQ(SystemRandom::uuidFromBytes(QByteArray(17, '\0')), "");

    const QRegularExpression v4(
        QStringLiteral("^[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}$"));
    QSet<QString> seen;
    for (int i = 0; i < 100; ++i) {
        const QString id = SystemRandom::uuid();
        ASSERT_TRUE(v4.match(id).hasMatch()) << id.toStdString();
        seen.insert(id);
    }
    EXPECT_EQ(seen.size(), 100); // 122 random bits each: a repeat means the source is broken
}

TEST(SystemRandomBytes, ReturnsExactlyWhatWasAskedFor) {
    EXPECT_TRUE(SystemRandom::bytes(0).isEmpty());
    EXPECT_TRUE(SystemRandom::bytes(-3).isEmpty());
    // Above 256 bytes getrandom may answer in parts; the result must still be complete.
    const QByteArray big = SystemRandom::bytes(1 << 20);
    ASSERT_EQ(big.size(), 1 << 20);
    // An untouched (zeroed) tail would show as a run of zeros far longer than chance allows.
    EXPECT_NE(big.right(64), QByteArray(64, '\0'));
    EXPECT_NE(SystemRandom::bytes(32), SystemRandom::bytes(32));
}

} // namespace
