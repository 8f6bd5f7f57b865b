#include "shell/platform/LauncherBadge.h"

#include <QDBusMessage>
#include <QVariantMap>
#include <algorithm>
#include <utility>

namespace brevio {

LauncherBadge::LauncherBadge(QDBusConnection bus, QString objectPath)
    : bus_(std::move(bus)), objectPath_(std::move(objectPath)) {}

void LauncherBadge::setCount(qint64 count) {
    count = std::max<qint64>(count, 0);
    if (sent_ == count || !bus_.isConnected())
        return;
    QDBusMessage update = QDBusMessage::createSignal(
        objectPath_, QStringLiteral("com.canonical.Unity.LauncherEntry"), QStringLiteral("Update"));
    update << QStringLiteral("application://brevio.desktop")
           << QVariantMap{{QStringLiteral("count"), QVariant::fromValue<qint64>(count)},
                          {QStringLiteral("count-visible"), count > 0}};
    // The first call always goes out: a launcher may still show a count from an earlier run.
    if (bus_.send(update))
        sent_ = count;
}

} // namespace brevio
