#pragma once

// The ClientInfo a test presents to a server.

#include "wire/Requests.h"

namespace brevio::test {

inline ClientInfo testClient(qint64 build = 100, qint64 protocolVersion = 3) {
    ClientInfo client;
    client.protocolVersion = protocolVersion;
    client.version = QStringLiteral("1.0");
    client.build = build;
    client.device = QStringLiteral("Banco di prova");
    return client;
}

} // namespace brevio::test
