#include "support/Printing.h"
#include "views/AvatarLook.h"

#include <QSet>
#include <cmath>
#include <gtest/gtest.h>

namespace brevio {
namespace {

TEST(AvatarLookTest, InitialsAreTheFirstLettersOfUpToTwoWordsInUpperCase) {
    EXPECT_EQ(AvatarLook::initialsOf("anna maria rossi"), "AM");
    EXPECT_EQ(AvatarLook::initialsOf("Bruno"), "B");
    EXPECT_EQ(AvatarLook::initialsOf("  carla\t\tbianchi\n"), "CB");
    EXPECT_EQ(AvatarLook::initialsOf(""), "");
    EXPECT_EQ(AvatarLook::initialsOf("   "), "");
    // Punctuation and symbols are passed over; a word without a letter is not a word.
    EXPECT_EQ(AvatarLook::initialsOf("(Anna) - rossi"), "AR");
    EXPECT_EQ(AvatarLook::initialsOf(QString::fromUtf8("\xF0\x9F\x98\x80 team 42")), "T4");
    EXPECT_EQ(AvatarLook::initialsOf("!!!"), "");
    // Accents stay with their letter, composed or not; letters outside the BMP stay whole.
    EXPECT_EQ(AvatarLook::initialsOf(QString::fromUtf8("élodie durand")), QString::fromUtf8("ÉD"));
    EXPECT_EQ(AvatarLook::initialsOf(QString::fromUtf8("e\xCC\x81lodie")),
              QString::fromUtf8("E\xCC\x81"));
    EXPECT_EQ(AvatarLook::initialsOf(QString::fromUtf8("李 小龙")), QString::fromUtf8("李小"));
    EXPECT_EQ(AvatarLook::initialsOf(QString::fromUtf8("\xF0\x90\x90\x80x y")),
              QString::fromUtf8("\xF0\x90\x90\x80Y")); // Deseret capital letter
}

double luminance(QRgb rgb) {
    const auto channel = [](int value) {
        const double c = value / 255.0;
        return c <= 0.03928 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * channel(qRed(rgb)) + 0.7152 * channel(qGreen(rgb)) +
           0.0722 * channel(qBlue(rgb));
}

TEST(AvatarLookTest, TheHueIsStableAcrossRunsSpreadAndKeepsWhiteInitialsReadable) {
    // Fixed values: a hash seeded per run would give everyone a new colour at every start.
    EXPECT_EQ(AvatarLook::hueIndexOf("u1"), 3);
    EXPECT_EQ(AvatarLook::hueIndexOf("a7f3c2e0-staff"), 5);
    EXPECT_EQ(AvatarLook::hueIndexOf("u1"), AvatarLook::hueIndexOf(QString("u") + "1"));
    QSet<int> used;
    for (int i = 0; i < 100; ++i) {
        const int hue = AvatarLook::hueIndexOf(QStringLiteral("user-%1").arg(i));
        ASSERT_GE(hue, 0);
        ASSERT_LT(hue, 8);
        used.insert(hue);
    }
    EXPECT_EQ(used.size(), 8);
    for (const QRgb hue : AvatarLook::hues) {
        const double contrast = 1.05 / (luminance(hue) + 0.05);
        EXPECT_GE(contrast, 4.5) << QColor(hue).name().toStdString();
    }
    AvatarLook look;
    EXPECT_EQ(look.background("u1"), QColor(AvatarLook::hues[3]));
}

} // namespace
} // namespace brevio
