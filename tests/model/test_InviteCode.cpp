#include "model/InviteCode.h"
#include "support/Printing.h"

#include <QRegularExpression>
#include <QSet>
#include <gtest/gtest.h>

using namespace brevio;

namespace {

TEST(InviteCodeNormalise, EightCharactersBecomeTwoGroupsOfFour) {
    EXPECT_EQ(InviteCode::normalise("abcd efgh"), "ABCD-EFGH");
    EXPECT_EQ(InviteCode::normalise("ab-cd-ef-gh"), "ABCD-EFGH");
    EXPECT_EQ(InviteCode::normalise(" \tAbCd\n-\u00a0eFgH\r\n"), "ABCD-EFGH");
    EXPECT_EQ(InviteCode::normalise("ABCD-EFGH"), "ABCD-EFGH");
    EXPECT_EQ(InviteCode::normalise("--abcdefgh--"), "ABCD-EFGH");
    // Symbols outside the alphabet are the server's to refuse.
    EXPECT_EQ(InviteCode::normalise("il0o1xy!"), "IL0O-1XY!");
}

TEST(InviteCodeNormalise, OtherLengthsComeBackCleanedOnly) {
    EXPECT_EQ(InviteCode::normalise("abc"), "ABC");
    EXPECT_EQ(InviteCode::normalise("ab-c d"), "ABCD");
    EXPECT_EQ(InviteCode::normalise("abcdefg"), "ABCDEFG");
    EXPECT_EQ(InviteCode::normalise("abcd-efghj"), "ABCDEFGHJ");
    EXPECT_EQ(InviteCode::normalise(" - \n"), "");
    EXPECT_EQ(InviteCode::normalise(""), "");
}

TEST(InviteCodeNormalise, CountsCharactersAsTheUserSeesThem) {
    // "e" + combining acute, and an emoji outside the BMP: one character each.
    EXPECT_EQ(InviteCode::normalise(QString::fromUtf8("abcdefge\u0301")),
              QString::fromUtf8("ABCD-EFGE\u0301"));
    EXPECT_EQ(InviteCode::normalise(QString::fromUtf8("abcd\U0001F600fgh")),
              QString::fromUtf8("ABCD-\U0001F600FGH"));
    EXPECT_EQ(InviteCode::normalise(QString::fromUtf8("abcdefg\U0001F600\U0001F600")),
              QString::fromUtf8("ABCDEFG\U0001F600\U0001F600"));
}

TEST(InviteCodeGenerate, MapsEachDrawToItsSymbolInCanonicalForm) {
    QList<std::uint32_t> bounds;
    std::uint32_t next = 0;
    const QString code = InviteCode::generate([&](std::uint32_t bound) {
        bounds.append(bound);
        const std::uint32_t value = next;
        next = next == 0 ? 30 : next - 1; // 0, 30, 29, 28, ...
        return value;
    });
    EXPECT_EQ(code, "A987-6543");
    EXPECT_EQ(bounds, QList<std::uint32_t>(8, 31));
}

TEST(InviteCodeGenerate, SystemCodesAreCanonicalAndUseTheWholeAlphabet) {
    const QRegularExpression canonical(QStringLiteral("^[A-HJKMNP-Z2-9]{4}-[A-HJKMNP-Z2-9]{4}$"));
    QSet<QChar> seen;
    // 8000 draws: a symbol that is never drawn by chance has probability (30/31)^8000, about
    // 1e-114, so a missing symbol means the draw is broken.
    for (int i = 0; i < 1000; ++i) {
        const QString code = InviteCode::generate();
        ASSERT_TRUE(canonical.match(code).hasMatch()) << code.toStdString();
        EXPECT_EQ(InviteCode::normalise(code.toLower()), code);
        for (const QChar c : code)
            seen.insert(c);
    }
    seen.remove(u'-');
    EXPECT_EQ(seen.size(), InviteCode::alphabetSize);
}

} // namespace
