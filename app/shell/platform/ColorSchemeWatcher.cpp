#include "shell/platform/ColorSchemeWatcher.h"

#include <QCoreApplication>
#include <QEvent>

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QMetaType>

namespace brevio {

namespace {

const QString portalService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString settingsInterface = QStringLiteral("org.freedesktop.portal.Settings");
const QString appearance = QStringLiteral("org.freedesktop.appearance");
const QString colorScheme = QStringLiteral("color-scheme");

// A portal that is being started by the bus may take a moment; the window shows meanwhile.
constexpr int readTimeoutMs = 10000;

} // namespace

ColorSchemeWatcher::ColorSchemeWatcher(QDBusConnection bus, std::function<bool()> fallback,
                                       QObject* parent)
    : QObject(parent), bus_(std::move(bus)), fallback_(std::move(fallback)),
      fallbackDark_(fallback_ ? fallback_() : false) {}

std::optional<bool> ColorSchemeWatcher::darkFromPortal(const QVariant& value) {
    QVariant inner = value;
    // Read answers a variant holding a variant; the signal carries one.
    for (int depth = 0; depth < 4 && inner.metaType() == QMetaType::fromType<QDBusVariant>();
         ++depth)
        inner = inner.value<QDBusVariant>().variant();
    switch (inner.metaType().id()) {
    case QMetaType::UInt:
    case QMetaType::Int:
    case QMetaType::UShort:
    case QMetaType::Short:
    case QMetaType::UChar:
    case QMetaType::ULongLong:
    case QMetaType::LongLong:
        break;
    default:
        return std::nullopt;
    }
    switch (inner.toLongLong()) {
    case 1:
        return true;
    case 2:
        return false;
    default:
        return std::nullopt;
    }
}

void ColorSchemeWatcher::start() {
    if (started_)
        return;
    started_ = true;
    if (QCoreApplication* app = QCoreApplication::instance())
        app->installEventFilter(this);
    if (!bus_.isConnected()) {
        // Said later, like any answer.
        QMetaObject::invokeMethod(this, &ColorSchemeWatcher::settle, Qt::QueuedConnection);
        return;
    }
    // Subscribed through the service name: the bus delivers the signal from its owner only.
    bus_.connect(portalService, portalPath, settingsInterface, QStringLiteral("SettingChanged"),
                 this, SLOT(settingChanged(QString, QString, QDBusVariant)));

    QDBusMessage read = QDBusMessage::createMethodCall(portalService, portalPath, settingsInterface,
                                                       QStringLiteral("Read"));
    read << appearance << colorScheme;
    auto* watcher = new QDBusPendingCallWatcher(bus_.asyncCall(read, readTimeoutMs), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this](QDBusPendingCallWatcher* call) {
                call->deleteLater();
                const QDBusMessage reply = call->reply();
                // No portal, no such setting, no answer in time: the fallback stays, quietly.
                if (!changedSinceRead_ && reply.type() == QDBusMessage::ReplyMessage &&
                    !reply.arguments().isEmpty())
                    update(darkFromPortal(reply.arguments().constFirst()), fallbackDark_);
                settle();
            });
}

bool ColorSchemeWatcher::eventFilter(QObject* watched, QEvent* event) {
    if (watched == QCoreApplication::instance() &&
        event->type() == QEvent::ApplicationPaletteChange)
        refreshFallback();
    return QObject::eventFilter(watched, event);
}

void ColorSchemeWatcher::refreshFallback() {
    update(portal_, fallback_ ? fallback_() : false);
}

void ColorSchemeWatcher::settingChanged(const QString& group, const QString& key,
                                        const QDBusVariant& value) {
    if (group != appearance || key != colorScheme)
        return;
    changedSinceRead_ = true;
    update(darkFromPortal(QVariant::fromValue(value)), fallbackDark_);
}

void ColorSchemeWatcher::update(std::optional<bool> portal, bool fallbackDark) {
    const bool wasDark = isDark();
    portal_ = portal;
    fallbackDark_ = fallbackDark;
    if (isDark() != wasDark)
        Q_EMIT darkChanged(isDark());
}

void ColorSchemeWatcher::settle() {
    if (settled_)
        return;
    settled_ = true;
    Q_EMIT settled();
}

} // namespace brevio
