#pragma once

#include <QString>
#include <optional>

namespace brevio {

// The one error type the core reports. description() gives the Italian text the views show.
struct ChatError {
    enum class Kind {
        server,
        unreachable,
        timeout,
        notConnected,
        unexpectedReply,
        invalidServerAddress
    };

    Kind kind = Kind::unexpectedReply;
    QString code;                   // server only: the machine code, e.g. "forbidden"
    std::optional<QString> message; // server only: the server's own text, if it sent one

    static ChatError server(QString code, std::optional<QString> message = std::nullopt) {
        return {Kind::server, std::move(code), std::move(message)};
    }
    static ChatError unreachable() { return {Kind::unreachable, {}, {}}; }
    static ChatError timeout() { return {Kind::timeout, {}, {}}; }
    static ChatError notConnected() { return {Kind::notConnected, {}, {}}; }
    static ChatError unexpectedReply() { return {Kind::unexpectedReply, {}, {}}; }
    static ChatError invalidServerAddress() { return {Kind::invalidServerAddress, {}, {}}; }

    bool isServer(QStringView c) const { return kind == Kind::server && code == c; }

    // Fixed texts win over the server's message for every known code; an unknown code shows the
    // server's message, or "Errore del server (<code>)." when there is none. Never empty.
    QString description() const;

    friend bool operator==(const ChatError&, const ChatError&) = default;
};

} // namespace brevio
