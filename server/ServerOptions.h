#pragma once

#include "model/Clock.h"

#include <QString>
#include <QStringList>
#include <expected>

namespace brevio {

// The command line of brevio-server.
struct ServerOptions {
    enum class Seed { demo, none };

    QString host = QStringLiteral("127.0.0.1");
    quint16 port = 8787; // 0 lets the system pick a free port
    Seed seed = Seed::demo;
    qint64 minimumBuild = 0;
    bool autoReply = true;
    Duration inviteLifetime = std::chrono::days(7);
    bool help = false; // --help was given: print usage() and exit

    // Parses the arguments after the program name. The error is one line, without the program name.
    static std::expected<ServerOptions, QString> parse(const QStringList& arguments);
    static QString usage();

    // "ws://host:port/ws", with brackets around an IPv6 host.
    QString url(quint16 actualPort) const;

    friend bool operator==(const ServerOptions&, const ServerOptions&) = default;
};

} // namespace brevio
