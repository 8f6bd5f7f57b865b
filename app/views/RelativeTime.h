#pragma once

// Dates and times as the screens write them, in the user's time zone: day labels ("Oggi",
// "Ieri", "14 marzo", "14 marzo 2025"), moments ("alle 09:41", "ieri alle 09:41") and the short
// time of a conversation's last message in the list.

#include <QDateTime>
#include <QString>
#include <QTimeZone>

namespace brevio::RelativeTime {

// "Oggi", "Ieri", otherwise the date: "14 marzo", with the year when it is not this year.
QString day(const QDateTime& date, const QDateTime& now, const QTimeZone& zone);
// The time of day, "09:41".
QString timeOfDay(const QDateTime& date, const QTimeZone& zone);
// "alle 09:41" today, "ieri alle 09:41" yesterday, otherwise "14 marzo alle 09:41" (with the
// year when it is not this year).
QString moment(const QDateTime& date, const QDateTime& now, const QTimeZone& zone);
// The short time beside a conversation: "09:41" today, "Ieri", otherwise "14 mar" (with the year
// when it is not this year).
QString listTime(const QDateTime& date, const QDateTime& now, const QTimeZone& zone);
// The first moment of the day after the one `now` falls on, in `zone` (days are 23 or 25 hours
// long when the clocks change): when the texts above must be written again.
QDateTime nextDayStart(const QDateTime& now, const QTimeZone& zone);

} // namespace brevio::RelativeTime
