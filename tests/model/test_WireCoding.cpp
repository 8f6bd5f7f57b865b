#include "model/WireCoding.h"

#include <QTimeZone>
#include <gtest/gtest.h>

using namespace brevio;

namespace {

QDateTime utc(int y, int mo, int d, int h, int mi, int s, int ms) {
    return QDateTime(QDate(y, mo, d), QTime(h, mi, s, ms), Qt::UTC);
}

} // namespace

TEST(WireCodingTest, WritesUtcWithMillisecondsAndClampsWhatIsOutOfRange) {
    EXPECT_EQ(WireCoding::encodeDate(utc(2025, 3, 14, 9, 26, 53, 589)), "2025-03-14T09:26:53.589Z");
    EXPECT_EQ(WireCoding::encodeDate(utc(2025, 3, 14, 9, 26, 53, 0)), "2025-03-14T09:26:53.000Z");
    // A local time with an offset is written as the same instant in UTC.
    const QDateTime rome(QDate(2025, 1, 1), QTime(0, 30), QTimeZone(3600));
    EXPECT_EQ(WireCoding::encodeDateUtf8(rome), "2024-12-31T23:30:00.000Z");
    // Before the epoch the day and the time of day must not be off by one.
    EXPECT_EQ(WireCoding::encodeDate(QDateTime::fromMSecsSinceEpoch(-1, Qt::UTC)),
              "1969-12-31T23:59:59.999Z");
    // Out of range and invalid dates are clamped to something a reader still accepts.
    EXPECT_EQ(WireCoding::encodeDate(utc(10000, 1, 1, 0, 0, 0, 0)), "9999-12-31T23:59:59.999Z");
    EXPECT_EQ(WireCoding::encodeDate(utc(-5, 1, 1, 0, 0, 0, 0)), "0000-01-01T00:00:00.000Z");
    const QString invalid = WireCoding::encodeDate(QDateTime());
    EXPECT_EQ(invalid, "1970-01-01T00:00:00.000Z");
    EXPECT_TRUE(WireCoding::decodeDate(invalid.toStdString()).has_value());
}

TEST(WireCodingTest, WriterAgreesWithQtAcrossTheCalendar) {
    // Steps of a prime number of milliseconds cover every month, leap day and time of day from
    // year 1 to 9999; Qt's own ISO writer is the independent reference.
    const qint64 first = utc(1, 1, 1, 0, 0, 0, 0).toMSecsSinceEpoch();
    const qint64 last = utc(9999, 12, 31, 23, 59, 59, 999).toMSecsSinceEpoch();
    const qint64 step = 86'400'000LL * 11 + 3'723'457;
    int checked = 0;
    for (qint64 ms = first; ms <= last; ms += step, ++checked) {
        const QDateTime date = QDateTime::fromMSecsSinceEpoch(ms, Qt::UTC);
        const QString text = WireCoding::encodeDate(date);
        ASSERT_EQ(text, date.toString(Qt::ISODateWithMs)) << ms;
        const auto back = WireCoding::decodeDate(text.toStdString());
        ASSERT_TRUE(back.has_value()) << text.toStdString();
        ASSERT_EQ(back->toMSecsSinceEpoch(), ms) << text.toStdString();
    }
    EXPECT_GT(checked, 300'000);
}

TEST(WireCodingTest, ReadsWithAndWithoutFractionCheckingTheCalendar) {
    const QDateTime expected = utc(2025, 3, 14, 9, 26, 53, 589);
    EXPECT_EQ(WireCoding::decodeDate("2025-03-14T09:26:53.589Z"), expected);
    EXPECT_EQ(WireCoding::decodeDate("2025-03-14T09:26:53Z"), utc(2025, 3, 14, 9, 26, 53, 0));
    // Any number of fraction digits; precision is kept to the millisecond, extra digits dropped.
    EXPECT_EQ(WireCoding::decodeDate("2025-03-14T09:26:53.5Z"), utc(2025, 3, 14, 9, 26, 53, 500));
    EXPECT_EQ(WireCoding::decodeDate("2025-03-14T09:26:53.58Z"), utc(2025, 3, 14, 9, 26, 53, 580));
    EXPECT_EQ(WireCoding::decodeDate("2025-03-14T09:26:53.589999999Z"), expected);
    EXPECT_EQ(WireCoding::decodeDate("2025-03-14T09:26:53." + std::string(5000, '9') + "Z"),
              utc(2025, 3, 14, 9, 26, 53, 999));
    const auto decoded = WireCoding::decodeDate("2025-03-14T09:26:53.589Z");
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded->timeSpec(), Qt::UTC);

    // The calendar is checked: leap days, month lengths.
    EXPECT_TRUE(WireCoding::decodeDate("2024-02-29T00:00:00Z"));
    EXPECT_TRUE(WireCoding::decodeDate("2000-02-29T00:00:00Z"));
    EXPECT_FALSE(WireCoding::decodeDate("2023-02-29T00:00:00Z"));
    EXPECT_FALSE(WireCoding::decodeDate("1900-02-29T00:00:00Z"));
    EXPECT_FALSE(WireCoding::decodeDate("2025-04-31T00:00:00Z"));
    EXPECT_TRUE(WireCoding::decodeDate("2025-12-31T23:59:59.999Z"));
    EXPECT_TRUE(WireCoding::decodeDate("0000-01-01T00:00:00Z"));
}

TEST(WireCodingTest, RefusesEverythingElse) {
    const char* bad[] = {
        "",
        "2025-03-14",                   // a bare date
        "2025-03-14T09:26:53",          // no zone
        "2025-03-14T09:26:53.589",      // no zone
        "2025-03-14T09:26:53+01:00",    // an offset
        "2025-03-14T09:26:53.589+0000", // an offset
        "2025-03-14 09:26:53Z",         // a space for T
        "2025-03-14t09:26:53Z",         // lower-case t
        "2025-03-14T09:26:53z",         // lower-case z
        "2025-03-14T24:00:00Z",         // end of day written as 24:00
        "2025-03-14T23:60:00Z",         // minute 60
        "2025-03-14T23:59:60Z",         // leap second
        "2025-13-01T00:00:00Z",         // month 13
        "2025-00-01T00:00:00Z",         // month 0
        "2025-01-00T00:00:00Z",         // day 0
        "2025-01-32T00:00:00Z",         // day 32
        "2025-03-14T09:26:53.Z",        // a dot without digits
        "2025-03-14T09:26:53.58aZ",     // a letter in the fraction
        "2025-03-14T09:26:53,589Z",     // a comma for the dot
        "2025-3-14T09:26:53Z",          // one-digit month
        "+2025-03-14T09:26:53Z",        // a signed year
        "12025-03-14T09:26:53Z",        // five-digit year
        "2025-03-14T9:26:53Z",          // one-digit hour
        " 2025-03-14T09:26:53Z",        // leading blank
        "2025-03-14T09:26:53Z ",        // trailing blank
        "2025-03-14T09:26:53ZZ",        // doubled zone
        "2025-03-14T09:26:53\xd9\xa3Z", // an Arabic-Indic digit
        "\xd9\xa2\xd9\xa0\xd9\xa2\xd9\xa5-03-14T09:26:53Z",
        "2025-03-14T09:26:5\x00Z",
    };
    for (const char* text : bad)
        EXPECT_FALSE(WireCoding::decodeDate(text)) << "accepted: " << text;
    // An embedded NUL must not end the text early.
    EXPECT_FALSE(WireCoding::decodeDate(std::string_view("2025-03-14T09:26:53Z\0", 21)));
}

TEST(WireCodingTest, ErrorTextQuotesTheInput) {
    EXPECT_EQ(WireCoding::invalidDateText("2025-03-14"), "Data non valida: 2025-03-14");
    EXPECT_EQ(WireCoding::invalidDateText("l\xc3\xb9ned\xc3\xac"),
              QString::fromUtf8("Data non valida: lùnedì"));
}
