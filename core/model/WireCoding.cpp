#include "model/WireCoding.h"

#include <algorithm>

// Dates are parsed and written by hand: QDateTime::fromString accepts far more than the protocol
// allows (a bare date, no zone, "24:00:00", a space for "T") and is slow on the hot path of a
// welcome frame, which carries thousands of dates.

namespace brevio::WireCoding {

namespace {

constexpr qint64 msPerDay = 86'400'000;

// Days since 1970-01-01 of a proleptic Gregorian date (valid for any year).
constexpr qint64 daysFromCivil(qint64 y, unsigned m, unsigned d) {
    y -= m <= 2;
    const qint64 era = (y >= 0 ? y : y - 399) / 400;
    const unsigned yoe = unsigned(y - era * 400);
    const unsigned doy = (153 * (m > 2 ? m - 3 : m + 9) + 2) / 5 + d - 1;
    const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + qint64(doe) - 719468;
}

struct Civil {
    qint64 year;
    unsigned month;
    unsigned day;
};

constexpr Civil civilFromDays(qint64 z) {
    z += 719468;
    const qint64 era = (z >= 0 ? z : z - 146096) / 146097;
    const unsigned doe = unsigned(z - era * 146097);
    const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const unsigned mp = (5 * doy + 2) / 153;
    const unsigned d = doy - (153 * mp + 2) / 5 + 1;
    const unsigned m = mp < 10 ? mp + 3 : mp - 9;
    return {qint64(yoe) + era * 400 + (m <= 2), m, d};
}

constexpr qint64 minMSecs = daysFromCivil(0, 1, 1) * msPerDay;
constexpr qint64 maxMSecs = daysFromCivil(9999, 12, 31) * msPerDay + msPerDay - 1;

static_assert(daysFromCivil(1970, 1, 1) == 0);
static_assert(daysFromCivil(2000, 3, 1) == 11017);
static_assert(civilFromDays(11017).year == 2000 && civilFromDays(11017).month == 3);

constexpr bool isLeap(unsigned y) {
    return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
}

constexpr unsigned daysInMonth(unsigned y, unsigned m) {
    constexpr unsigned days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return m == 2 && isLeap(y) ? 29 : days[m - 1];
}

inline bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// The value of `count` ASCII digits at `p`, or -1 if any is not a digit.
inline int digits(const char* p, int count) {
    int value = 0;
    for (int i = 0; i < count; ++i) {
        if (!isDigit(p[i]))
            return -1;
        value = value * 10 + (p[i] - '0');
    }
    return value;
}

inline void put(char* out, unsigned value, int width) {
    for (int i = width - 1; i >= 0; --i) {
        out[i] = char('0' + value % 10);
        value /= 10;
    }
}

} // namespace

void encodeDateTo(const QDateTime& date, char* out) {
    qint64 ms = date.isValid() ? date.toMSecsSinceEpoch() : 0;
    ms = std::clamp(ms, minMSecs, maxMSecs);
    // Floor division, so that dates before the epoch land on the right day.
    qint64 days = ms / msPerDay;
    qint64 rest = ms % msPerDay;
    if (rest < 0) {
        rest += msPerDay;
        --days;
    }
    const Civil c = civilFromDays(days);
    const auto msOfDay = unsigned(rest);
    put(out, unsigned(c.year), 4);
    out[4] = '-';
    put(out + 5, c.month, 2);
    out[7] = '-';
    put(out + 8, c.day, 2);
    out[10] = 'T';
    put(out + 11, msOfDay / 3'600'000, 2);
    out[13] = ':';
    put(out + 14, msOfDay / 60'000 % 60, 2);
    out[16] = ':';
    put(out + 17, msOfDay / 1000 % 60, 2);
    out[19] = '.';
    put(out + 20, msOfDay % 1000, 3);
    out[23] = 'Z';
}

std::string encodeDateUtf8(const QDateTime& date) {
    std::string text(encodedDateLength, '\0');
    encodeDateTo(date, text.data());
    return text;
}

QString encodeDate(const QDateTime& date) {
    char text[encodedDateLength];
    encodeDateTo(date, text);
    return QString::fromLatin1(text, qsizetype(encodedDateLength));
}

std::optional<qint64> decodeDateMSecs(std::string_view text) {
    // yyyy-MM-ddTHH:mm:ss then either "Z" or "." + at least one digit + "Z".
    const std::size_t n = text.size();
    if (n < 20 || text[n - 1] != 'Z')
        return std::nullopt;
    const char* p = text.data();
    if (p[4] != '-' || p[7] != '-' || p[10] != 'T' || p[13] != ':' || p[16] != ':')
        return std::nullopt;
    const int year = digits(p, 4);
    const int month = digits(p + 5, 2);
    const int day = digits(p + 8, 2);
    const int hour = digits(p + 11, 2);
    const int minute = digits(p + 14, 2);
    const int second = digits(p + 17, 2);
    if (year < 0 || month < 1 || month > 12 || day < 1 ||
        unsigned(day) > daysInMonth(unsigned(year), unsigned(month)) || hour < 0 || hour > 23 ||
        minute < 0 || minute > 59 || second < 0 || second > 59)
        return std::nullopt;

    int millis = 0;
    if (n != 20) {
        if (p[19] != '.' || n < 22)
            return std::nullopt;
        // Any number of fraction digits; only the first three count.
        int scale = 100;
        for (std::size_t i = 20; i < n - 1; ++i) {
            if (!isDigit(p[i]))
                return std::nullopt;
            millis += (p[i] - '0') * scale;
            scale /= 10;
        }
    }
    return daysFromCivil(year, unsigned(month), unsigned(day)) * msPerDay +
           ((hour * 60 + minute) * 60 + second) * qint64(1000) + millis;
}

std::optional<QDateTime> decodeDate(std::string_view text) {
    const auto ms = decodeDateMSecs(text);
    if (!ms)
        return std::nullopt;
    return QDateTime::fromMSecsSinceEpoch(*ms, Qt::UTC);
}

QString invalidDateText(std::string_view text) {
    return QStringLiteral("Data non valida: ") +
           QString::fromUtf8(text.data(), qsizetype(text.size()));
}

} // namespace brevio::WireCoding
