#include "model/SignUpRules.h"

#include <gtest/gtest.h>

using namespace brevio;

namespace {

// local@domain.it with the local part padded so the whole address is `length` characters long.
QString addressOfLength(int length, const QString& filler = QStringLiteral("a")) {
    const QString domain = QStringLiteral("@example.it");
    return filler.repeated(length - domain.size()) + domain;
}

TEST(SignUpRulesEmail, AcceptsOneLocalPartAnAtAndADottedDomainAndNothingElse) {
    // The rule is deliberately loose: "a@b..c" passes.
    for (const char* text :
         {"a@b.c", "giulia.bianchi+lavoro@studio-rossi.example.it", "a@b..c", "perché@società.it"})
        EXPECT_TRUE(SignUpRules::isValidEmail(QString::fromUtf8(text))) << text;
    for (const char* text : {"", "a", "a@b", "a@localhost", "@b.c", "a@.c", "a@b.", "a@@b.c",
                             "a@b@c.d", "a b@c.d", "a@b.c d", " a@b.c", "a@b.c ", "a@b.c\n",
                             "\na@b.c", "a\t@b.c", "a\u00a0b@c.d", "a@b\u2003.c", "mario.rossi"}) {
        EXPECT_FALSE(SignUpRules::isValidEmail(QString::fromUtf8(text))) << '"' << text << '"';
    }
}

TEST(SignUpRulesEmail, LimitsTheLengthToTwoHundredFiftyFourCharacters) {
    EXPECT_TRUE(SignUpRules::isValidEmail(addressOfLength(254)));
    EXPECT_FALSE(SignUpRules::isValidEmail(addressOfLength(255)));
    EXPECT_FALSE(SignUpRules::isValidEmail(addressOfLength(100000)));

    // Characters, not UTF-16 units: a decomposed "è" or an emoji counts once.
    const QString decomposed = QString::fromUtf8("e\u0300");
    const QString emoji = QString::fromUtf8("\U0001F600");
    ASSERT_GT(addressOfLength(254, decomposed).size(), 254);
    EXPECT_TRUE(SignUpRules::isValidEmail(addressOfLength(254, decomposed)));
    EXPECT_FALSE(SignUpRules::isValidEmail(addressOfLength(255, decomposed)));
    EXPECT_TRUE(SignUpRules::isValidEmail(addressOfLength(254, emoji)));
    EXPECT_FALSE(SignUpRules::isValidEmail(addressOfLength(255, emoji)));
}

} // namespace
