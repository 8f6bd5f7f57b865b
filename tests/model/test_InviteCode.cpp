#include "model/InviteCode.h"
#include "support/Printing.h"

#include <QRegularExpression>
#include <QSet>
#include <gtest/gtest.h>

using namespace brevio;

namespace {

TEST(InviteCodeNormalise, EightCharactersBecomeTwoGroupsOfFourOtherLengthsAreOnlyCleaned) {
    const std::pair<const char*, const char*> cases[] = {
        {"abcd efgh", "ABCD-EFGH"},
        {"ab-cd-ef-gh", "ABCD-EFGH"},
        {" \tAbCd\n-\u00a0eFgH\r\n", "ABCD-EFGH"},
        {"ABCD-EFGH", "ABCD-EFGH"},
        {"--abcdefgh--", "ABCD-EFGH"},
        {"il0o1xy!", "IL0O-1XY!"}, // symbols outside the alphabet are the server's to refuse
        {"abc", "ABC"},
        {"ab-c d", "ABCD"},
        {"abcdefg", "ABCDEFG"},
        {"abcd-efghj", "ABCDEFGHJ"},
        {" - \n", ""},
        {"", ""},
        // Characters as the user sees them: "e" + combining acute, an emoji outside the BMP.
        {"abcdefge\u0301", "ABCD-EFGE\u0301"},
        {"abcd\U0001F600fgh", "ABCD-\U0001F600FGH"},
        {"abcdefg\U0001F600\U0001F600", "ABCDEFG\U0001F600\U0001F600"},
    };
    for (const auto& [typed, expected] : cases)
        EXPECT_EQ(InviteCode::normalise(QString::fromUtf8(typed)), QString::fromUtf8(expected))
            << typed;
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
