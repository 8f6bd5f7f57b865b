#pragma once

#include <QString>
#include <functional>
#include <optional>

namespace brevio {

// What the application model asks of the desktop's notifications. Notifier implements it over
// D-Bus; tests of the model use a fake.
class Notifications {
public:
    virtual ~Notifications() = default;
    // Reads the server's capabilities and subscribes to its signals, once; a second call does
    // nothing.
    virtual void activate() = 0;
    virtual bool isActive() const = 0;
    // One notification per conversation: a newer one replaces the conversation's previous one.
    virtual void notify(const QString& title, const std::optional<QString>& subtitle,
                        const QString& body, const QString& conversationID) = 0;
    // Withdraws what is shown for that conversation.
    virtual void withdraw(const QString& conversationID) = 0;

    // Both run on the main thread.
    std::function<void(const QString& conversationID, const QString& text)> onReply;
    std::function<void(const QString& conversationID)> onOpen;
};

} // namespace brevio
