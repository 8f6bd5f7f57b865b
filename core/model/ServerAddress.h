#pragma once

#include <QString>
#include <QUrl>
#include <optional>

namespace brevio::ServerAddress {

// From what the user typed to a ws/wss URL (path "/ws" when none), or nothing when invalid.
std::optional<QUrl> normalise(const QString& typed);

// The short form shown in the interface: host[:port] for wss with path /ws, else the whole URL;
// percent-encoded, so that typing it back normalises to the same address.
QString display(const QUrl& url);

} // namespace brevio::ServerAddress
