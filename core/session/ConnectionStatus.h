#pragma once

#include <QDateTime>

namespace brevio {

// The state of the live connection as the interface shows it.
struct ConnectionStatus {
    enum class Kind {
        waiting,    // disconnected; a reconnect is scheduled at `until`
        offline,    // no connection and none scheduled
        connecting, // connecting or authenticating
        online,     // connected and authenticated
    };

    Kind kind = Kind::offline;
    QDateTime until; // only for `waiting`

    static ConnectionStatus waiting(QDateTime until) { return {Kind::waiting, std::move(until)}; }
    static ConnectionStatus offline() { return {Kind::offline, {}}; }
    static ConnectionStatus connecting() { return {Kind::connecting, {}}; }
    static ConnectionStatus online() { return {Kind::online, {}}; }

    bool isWaiting() const { return kind == Kind::waiting; }
    bool isOffline() const { return kind == Kind::offline; }
    bool isConnecting() const { return kind == Kind::connecting; }
    bool isOnline() const { return kind == Kind::online; }

    // The date only counts for `waiting`.
    friend bool operator==(const ConnectionStatus& a, const ConnectionStatus& b) {
        return a.kind == b.kind && (a.kind != Kind::waiting || a.until == b.until);
    }
};

} // namespace brevio
