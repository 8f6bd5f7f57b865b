#include "views/PersonRow.h"

#include "views/TextMatch.h"

#include <QLocale>
#include <QTimeZone>
#include <algorithm>

namespace brevio {

QVariantMap PersonRow::toVariant() const {
    return {
        {QStringLiteral("userID"), user.id},
        {QStringLiteral("name"), user.name},
        {QStringLiteral("photo"), user.avatar.value_or(QString())},
        {QStringLiteral("online"), isOnline},
        {QStringLiteral("detail"), detail},
    };
}

QString peopleCount(qsizetype count) {
    return count == 1 ? QStringLiteral("1 persona")
                      : QString::number(count) + QStringLiteral(" persone");
}

QString longDate(const QDateTime& moment, const QTimeZone& zone) {
    static const QLocale italian(QLocale::Italian, QLocale::Italy);
    return italian.toString(moment.toTimeZone(zone).date(), QStringLiteral("d MMMM yyyy"));
}

void sortByName(QList<PersonRow>& rows) {
    std::stable_sort(rows.begin(), rows.end(), [](const PersonRow& a, const PersonRow& b) {
        const int order =
            QString::compare(TextMatch::fold(a.user.name), TextMatch::fold(b.user.name));
        return order != 0 ? order < 0 : a.user.id < b.user.id;
    });
}

} // namespace brevio
