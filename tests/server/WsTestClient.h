#pragma once

// A WebSocket client for driving the listener from tests: it records every message it receives as
// a decoded server frame and the close code it saw.

#include "support/EventLoopWait.h"
#include "support/TestClient.h"
#include "wire/Frames.h"

#include <QCoreApplication>
#include <QUrl>
#include <QWebSocket>
#include <functional>
#include <gtest/gtest.h>

namespace brevio::test {

class WsTestClient {
public:
    WsTestClient() {
        QObject::connect(&socket, &QWebSocket::textMessageReceived, [this](const QString& text) {
            const QByteArray utf8 = text.toUtf8();
            auto decoded = wire::decodeServerFrame(std::string_view(utf8.constData(), utf8.size()));
            if (decoded)
                frames.push_back(std::move(*decoded.value));
            else
                undecodable.push_back(text);
        });
        QObject::connect(&socket, &QWebSocket::disconnected, [this] {
            closed = true;
            closeCode = socket.closeCode();
        });
    }

    bool open(const QUrl& url) {
        socket.open(url);
        return waitUntil(
                   [&] { return socket.state() == QAbstractSocket::ConnectedState || closed; }) &&
               !closed;
    }

    void send(const ClientFrame& frame) {
        socket.sendTextMessage(QString::fromStdString(wire::encode(frame)));
    }

    // Waits for the first frame not yet taken that satisfies `match`, and takes it.
    std::optional<ServerFrame> take(const std::function<bool(const ServerFrame&)>& match) {
        std::optional<ServerFrame> found;
        waitUntil([&] {
            for (auto it = frames.begin(); it != frames.end(); ++it) {
                if (match(*it)) {
                    found = std::move(*it);
                    frames.erase(it);
                    return true;
                }
            }
            return closed;
        });
        return found;
    }

    std::optional<ServerFrame> takeReply(const QString& requestID) {
        return take([&](const ServerFrame& f) { return f.replyTo() == requestID; });
    }

    std::optional<ServerFrame> takeType(ServerFrame::Type type) {
        return take([&](const ServerFrame& f) { return f.type == type; });
    }

    // Signs in and returns the welcome.
    std::optional<Welcome> login(const QString& email, const QString& password) {
        send(ClientFrame::login(LoginRequest{email, password, testClient()}));
        auto frame = take([](const ServerFrame& f) {
            return f.type == ServerFrame::Type::welcome || f.type == ServerFrame::Type::error;
        });
        if (!frame || !frame->as<Welcome>())
            return std::nullopt;
        return *frame->as<Welcome>();
    }

    bool waitClosed() {
        return waitUntil([&] { return closed; });
    }

    QWebSocket socket;
    std::vector<ServerFrame> frames;
    QStringList undecodable;
    bool closed = false;
    QWebSocketProtocol::CloseCode closeCode = QWebSocketProtocol::CloseCodeNormal;
};

} // namespace brevio::test
