#include "ServerOptions.h"

#include <QHostAddress>
#include <algorithm>
#include <cmath>
#include <optional>

namespace brevio {

namespace {

// Long enough for any real invite, short enough for every date arithmetic on it.
constexpr Duration maximumInviteLifetime = std::chrono::years(100);

// "HOST:PORT" with an IPv4 address, "localhost", or a bracketed IPv6 address.
std::expected<void, QString> parseListen(const QString& text, ServerOptions& options) {
    const auto bad = [&] {
        return std::unexpected(QStringLiteral("--listen expects HOST:PORT (e.g. 127.0.0.1:8787), "
                                              "got \"%1\"")
                                   .arg(text));
    };
    QString host;
    QString port;
    if (text.startsWith(u'[')) {
        const qsizetype close = text.indexOf(u']');
        if (close < 0 || text.mid(close + 1, 1) != QStringLiteral(":"))
            return bad();
        host = text.mid(1, close - 1);
        port = text.mid(close + 2);
        if (QHostAddress(host).protocol() != QAbstractSocket::IPv6Protocol)
            return bad();
    } else {
        const qsizetype colon = text.lastIndexOf(u':');
        if (colon <= 0)
            return bad();
        host = text.left(colon);
        port = text.mid(colon + 1);
        if (host != QStringLiteral("localhost") &&
            QHostAddress(host).protocol() != QAbstractSocket::IPv4Protocol)
            return bad();
    }
    bool ok = false;
    const uint number = port.toUInt(&ok, 10);
    // toUInt accepts a leading "+" and blanks; a port is plain digits.
    if (!ok || number > 65535 || port.isEmpty() ||
        !std::all_of(port.begin(), port.end(), [](QChar c) { return c.isDigit(); }))
        return bad();
    options.host = host;
    options.port = static_cast<quint16>(number);
    return {};
}

} // namespace

std::expected<ServerOptions, QString> ServerOptions::parse(const QStringList& arguments) {
    ServerOptions options;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        QString name = arguments[i];
        std::optional<QString> inlineValue;
        if (name.startsWith(QStringLiteral("--")) && name.contains(u'=')) {
            const qsizetype eq = name.indexOf(u'=');
            inlineValue = name.mid(eq + 1);
            name = name.left(eq);
        }
        const auto takeValue = [&]() -> std::expected<QString, QString> {
            if (inlineValue)
                return *inlineValue;
            if (i + 1 >= arguments.size())
                return std::unexpected(name + QStringLiteral(" needs a value"));
            return arguments[++i];
        };
        const auto noValue = [&]() -> std::expected<void, QString> {
            if (inlineValue)
                return std::unexpected(name + QStringLiteral(" takes no value"));
            return {};
        };

        if (name == QStringLiteral("--help") || name == QStringLiteral("-h")) {
            if (auto r = noValue(); !r)
                return std::unexpected(r.error());
            options.help = true;
        } else if (name == QStringLiteral("--no-auto-reply")) {
            if (auto r = noValue(); !r)
                return std::unexpected(r.error());
            options.autoReply = false;
        } else if (name == QStringLiteral("--listen")) {
            auto value = takeValue();
            if (!value)
                return std::unexpected(value.error());
            if (auto r = parseListen(*value, options); !r)
                return std::unexpected(r.error());
        } else if (name == QStringLiteral("--seed")) {
            auto value = takeValue();
            if (!value)
                return std::unexpected(value.error());
            if (*value == QStringLiteral("demo"))
                options.seed = Seed::demo;
            else if (*value == QStringLiteral("none"))
                options.seed = Seed::none;
            else
                return std::unexpected(
                    QStringLiteral("--seed expects demo or none, got \"%1\"").arg(*value));
        } else if (name == QStringLiteral("--min-build")) {
            auto value = takeValue();
            if (!value)
                return std::unexpected(value.error());
            bool ok = false;
            const qlonglong build = value->toLongLong(&ok, 10);
            if (!ok || build < 0)
                return std::unexpected(
                    QStringLiteral("--min-build expects a whole number >= 0, got \"%1\"")
                        .arg(*value));
            options.minimumBuild = build;
        } else if (name == QStringLiteral("--invite-lifetime")) {
            auto value = takeValue();
            if (!value)
                return std::unexpected(value.error());
            bool ok = false;
            // Whole milliseconds, at least one, and few enough that no date arithmetic overflows.
            const double milliseconds = std::round(value->toDouble(&ok) * 1000.0);
            if (!ok || !(milliseconds >= 1 && milliseconds <= maximumInviteLifetime.count()))
                return std::unexpected(QStringLiteral("--invite-lifetime expects a number of "
                                                      "seconds from 0.001 to %1, got \"%2\"")
                                           .arg(maximumInviteLifetime.count() / 1000)
                                           .arg(*value));
            options.inviteLifetime = Duration(qint64(milliseconds));
        } else {
            return std::unexpected(QStringLiteral("unknown option \"%1\" (see --help)").arg(name));
        }
    }
    return options;
}

QString ServerOptions::usage() {
    return QStringLiteral(
        "Usage: brevio-server [options]\n"
        "\n"
        "Runs the chat server on a WebSocket at ws://HOST:PORT/ws.\n"
        "\n"
        "Options:\n"
        "  --listen HOST:PORT        address to listen on (default 127.0.0.1:8787); port 0 picks "
        "a\n"
        "                            free port; an IPv6 host is written in brackets: [::1]:8787\n"
        "  --seed demo|none          start with the demo accounts and conversations (default) or\n"
        "                            with nothing\n"
        "  --min-build N             refuse clients whose build number is below N (default 0)\n"
        "  --no-auto-reply           the demo people do not answer messages\n"
        "  --invite-lifetime SECONDS how long a new invite code stays valid (default 604800)\n"
        "  -h, --help                show this help and exit\n"
        "\n"
        "Once listening, the server prints its address and, with the demo seed, one line per\n"
        "account: e-mail, role (staff or client) and password. SIGINT or SIGTERM closes every\n"
        "connection normally and exits.\n");
}

QString ServerOptions::url(quint16 actualPort) const {
    const bool ipv6 = host.contains(u':');
    return QStringLiteral("ws://%1:%2/ws")
        .arg(ipv6 ? QStringLiteral("[%1]").arg(host) : host)
        .arg(actualPort);
}

} // namespace brevio
