#include "shell/NetworkWatcher.h"

#include <QNetworkInformation>

namespace brevio {

NetworkWatcher::NetworkWatcher(QObject* parent) : QObject(parent) {
    if (!QNetworkInformation::loadBackendByFeatures(QNetworkInformation::Feature::Reachability))
        return;
    auto* info = QNetworkInformation::instance();
    connect(info, &QNetworkInformation::reachabilityChanged, this,
            [this](QNetworkInformation::Reachability reachability) {
                if (reachability == QNetworkInformation::Reachability::Online)
                    Q_EMIT reachable();
            });
}

} // namespace brevio
