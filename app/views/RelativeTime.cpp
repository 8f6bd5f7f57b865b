#include "views/RelativeTime.h"

#include <QLocale>

namespace brevio::RelativeTime {

namespace {

const QLocale& italian() {
    static const QLocale locale(QLocale::Italian, QLocale::Italy);
    return locale;
}

QDate localDate(const QDateTime& date, const QTimeZone& zone) {
    return date.toTimeZone(zone).date();
}

QString date(const QDate& when, const QDate& today, bool shortMonth) {
    const bool thisYear = when.year() == today.year();
    const QString format =
        shortMonth ? (thisYear ? QStringLiteral("d MMM") : QStringLiteral("d MMM yyyy"))
                   : (thisYear ? QStringLiteral("d MMMM") : QStringLiteral("d MMMM yyyy"));
    return italian().toString(when, format);
}

} // namespace

QString day(const QDateTime& dateTime, const QDateTime& now, const QTimeZone& zone) {
    const QDate when = localDate(dateTime, zone);
    const QDate today = localDate(now, zone);
    if (when == today)
        return QStringLiteral("Oggi");
    if (when == today.addDays(-1))
        return QStringLiteral("Ieri");
    return date(when, today, false);
}

QString timeOfDay(const QDateTime& dateTime, const QTimeZone& zone) {
    return dateTime.toTimeZone(zone).time().toString(QStringLiteral("HH:mm"));
}

QString moment(const QDateTime& dateTime, const QDateTime& now, const QTimeZone& zone) {
    const QDate when = localDate(dateTime, zone);
    const QDate today = localDate(now, zone);
    const QString time = timeOfDay(dateTime, zone);
    if (when == today)
        return QStringLiteral("alle ") + time;
    if (when == today.addDays(-1))
        return QStringLiteral("ieri alle ") + time;
    return date(when, today, false) + QStringLiteral(" alle ") + time;
}

QString listTime(const QDateTime& dateTime, const QDateTime& now, const QTimeZone& zone) {
    const QDate when = localDate(dateTime, zone);
    const QDate today = localDate(now, zone);
    if (when == today)
        return timeOfDay(dateTime, zone);
    if (when == today.addDays(-1))
        return QStringLiteral("Ieri");
    return date(when, today, true);
}

QDateTime nextDayStart(const QDateTime& now, const QTimeZone& zone) {
    const QDate tomorrow = localDate(now, zone).addDays(1);
    return QDateTime(tomorrow, QTime(0, 0), zone).toUTC();
}

} // namespace brevio::RelativeTime
