#pragma once

#include "model/Records.h"

#include <QString>
#include <QVariantMap>

namespace brevio {

// One person as the inspectors and the group editor list them: the user, whether they are online,
// and an optional line under the name.
struct PersonRow {
    User user;
    bool isOnline = false;
    QString detail;

    // The row for QML: userID, name, photo, online, detail.
    QVariantMap toVariant() const;
};

// Counts of people: "1 persona", otherwise the number followed by " persone".
QString peopleCount(qsizetype count);

// A date as the inspectors and the invite write it, in `zone`: "3 marzo 2026".
QString longDate(const QDateTime& moment, const QTimeZone& zone);

// Orders rows by name as people read them (case- and accent-insensitive), then by id.
void sortByName(QList<PersonRow>& rows);

} // namespace brevio
