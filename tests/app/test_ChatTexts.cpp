// The chat view's computed texts and its search matching.

#include "views/ChatTexts.h"
#include "views/TextMatch.h"

#include <gtest/gtest.h>

namespace brevio::test {
namespace {

const QTimeZone rome("Europe/Rome");

QDateTime at(const char* iso) {
    return QDateTime::fromString(QString::fromLatin1(iso), Qt::ISODate);
}

TEST(ChatTexts, CountsAndPlurals) {
    EXPECT_EQ(ChatTexts::unreadSeparator(1), "1 messaggio non letto");
    EXPECT_EQ(ChatTexts::unreadSeparator(2), "2 messaggi non letti");
    EXPECT_EQ(ChatTexts::typing({}), "");
    EXPECT_EQ(ChatTexts::typing({"Marta"}), "Marta sta scrivendo…");
    EXPECT_EQ(ChatTexts::typing({"Marta", "Luca"}), "Marta e Luca stanno scrivendo…");
    EXPECT_EQ(ChatTexts::typing({"Marta", "Luca", "Sara"}), "Marta, Luca e Sara stanno scrivendo…");
    EXPECT_EQ(ChatTexts::toBottom(0), "Torna in fondo");
    EXPECT_EQ(ChatTexts::toBottom(4), "Torna in fondo, 4 nuovi");
    EXPECT_EQ(ChatTexts::searchStatus(0, 0), "Nessun risultato");
    EXPECT_EQ(ChatTexts::searchStatus(2, 5), "2 di 5");
}

TEST(ChatTexts, TheLengthLimitAllows4000Characters) {
    EXPECT_EQ(ChatTexts::tooLong(4000), std::nullopt);
    EXPECT_EQ(ChatTexts::tooLong(4001), "Troppo lungo: 4001 caratteri su 4000");
}

TEST(ChatTexts, TheWaitingBannerRoundsUpAndNeverGoesBelowZero) {
    const QDateTime now = at("2026-03-14T10:00:00Z");
    EXPECT_EQ(ChatTexts::banner(ConnectionStatus::online(), now), std::nullopt);
    EXPECT_EQ(ChatTexts::banner(ConnectionStatus::connecting(), now), "Collegamento al server…");
    EXPECT_EQ(ChatTexts::banner(ConnectionStatus::offline(), now), "Non collegato al server.");
    EXPECT_EQ(ChatTexts::banner(ConnectionStatus::waiting(now.addMSecs(1500)), now),
              "Connessione persa. Nuovo tentativo tra 2 s.");
    EXPECT_EQ(ChatTexts::banner(ConnectionStatus::waiting(now.addSecs(3)), now),
              "Connessione persa. Nuovo tentativo tra 3 s.");
    EXPECT_EQ(ChatTexts::banner(ConnectionStatus::waiting(now.addSecs(-5)), now),
              "Connessione persa. Nuovo tentativo tra 0 s.");
    EXPECT_EQ(ChatTexts::indicatorLabel(ConnectionStatus::waiting(now)), "Riconnessione…");
    EXPECT_EQ(ChatTexts::indicatorHelp(ConnectionStatus::offline()),
              "I messaggi scritti adesso partono appena torna la connessione.");
}

TEST(ChatTexts, DaysAndReceiptsAreWrittenInTheUsersZone) {
    // 23:30 UTC on 13 March is already the 14th in Rome.
    const QDateTime now = at("2026-03-14T09:00:00Z");
    EXPECT_EQ(ChatTexts::day(at("2026-03-13T23:30:00Z"), now, rome), "Oggi");
    EXPECT_EQ(ChatTexts::day(at("2026-03-13T12:00:00Z"), now, rome), "Ieri");
    EXPECT_EQ(ChatTexts::day(at("2026-02-02T12:00:00Z"), now, rome), "2 febbraio");
    EXPECT_EQ(ChatTexts::day(at("2025-12-31T12:00:00Z"), now, rome), "31 dicembre 2025");

    EXPECT_EQ(ChatTexts::receipt({"u", at("2026-03-14T08:00:00Z"), at("2026-03-14T08:41:00Z")}, now,
                                 rome),
              "Letto alle 09:41");
    EXPECT_EQ(ChatTexts::receipt({"u", at("2026-03-13T08:00:00Z"), at("2026-03-13T08:41:00Z")}, now,
                                 rome),
              "Letto ieri alle 09:41");
    EXPECT_EQ(ChatTexts::receipt({"u", at("2026-03-13T08:00:00Z"), std::nullopt}, now, rome),
              "Ricevuto, non ancora letto");
    EXPECT_EQ(ChatTexts::receipt({"u", std::nullopt, std::nullopt}, now, rome),
              "Non ancora ricevuto");
}

TEST(ChatTexts, StripsAndHints) {
    EXPECT_EQ(ChatTexts::replyStrip("Marta", false), "Risposta a Marta");
    EXPECT_EQ(ChatTexts::replyStrip("Io", true), "Rispondi a te stesso");
    EXPECT_EQ(ChatTexts::emptyHint(true, true),
              "Scrivi qui: lo staff ti risponde appena possibile.");
    EXPECT_EQ(ChatTexts::emptyHint(false, true), "Scrivi il primo messaggio del gruppo.");
    EXPECT_EQ(ChatTexts::emptyHint(false, false), "Scrivi il primo messaggio a questo cliente.");
    EXPECT_EQ(ChatTexts::failure("troppo lungo"), "Non inviato: troppo lungo");
}

TEST(TextMatch, IgnoresCaseAndAccentsAndNeedsAQuery) {
    EXPECT_TRUE(TextMatch::contains("Perché no?", "PERCHE"));
    EXPECT_TRUE(TextMatch::contains("perche no", "  perché "));
    EXPECT_TRUE(TextMatch::contains("Città", "citta"));
    EXPECT_FALSE(TextMatch::contains("Perché no?", ""));
    EXPECT_FALSE(TextMatch::contains("Perché no?", "   "));
    EXPECT_FALSE(TextMatch::contains("Perché", "perchè no"));
}

TEST(TextMatch, RangesPointIntoTheOriginalText) {
    // The emoji takes two code units, the decomposed "é" one: positions must still line up.
    const QString text = QStringLiteral("😀 caffè e Caffe");
    const auto ranges = TextMatch::find(text, "caffe");
    ASSERT_EQ(ranges.size(), 2);
    EXPECT_EQ(text.mid(ranges[0].start, ranges[0].length), "caffè");
    EXPECT_EQ(text.mid(ranges[1].start, ranges[1].length), "Caffe");
    EXPECT_TRUE(TextMatch::find(text, "tè").isEmpty());
}

} // namespace
} // namespace brevio::test
