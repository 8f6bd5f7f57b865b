#pragma once

#include <QObject>

namespace brevio {

// Says when the network becomes reachable again, through the system's reachability backend. A
// machine without one says nothing: the session's own reconnect schedule still brings it back.
class NetworkWatcher : public QObject {
    Q_OBJECT
public:
    explicit NetworkWatcher(QObject* parent = nullptr);

Q_SIGNALS:
    void reachable();
};

} // namespace brevio
