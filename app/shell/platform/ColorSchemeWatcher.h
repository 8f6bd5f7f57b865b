#pragma once

#include <QDBusConnection>
#include <QDBusVariant>
#include <QObject>
#include <functional>
#include <optional>

namespace brevio {

// Whether the desktop wants dark windows: the XDG desktop portal's "color-scheme" setting, read
// once without waiting for it and followed through its SettingChanged signal. Until the portal
// answers, and when there is none or it has no preference, `fallback` decides (the application
// passes the palette's lightness). Main thread.
class ColorSchemeWatcher : public QObject {
    Q_OBJECT
public:
    ColorSchemeWatcher(QDBusConnection bus, std::function<bool()> fallback,
                       QObject* parent = nullptr);

    // What the portal's value means: 1 dark, 2 light, anything else (0 is "no preference") says
    // nothing. The value may come wrapped in variants, as the portal's Read answers it.
    static std::optional<bool> darkFromPortal(const QVariant& value);

    bool isDark() const { return portal_.value_or(fallbackDark_); }
    // The portal has said dark or light.
    bool followsPortal() const { return portal_.has_value(); }
    // Whether the first answer, or the failure to get one, is in.
    bool isSettled() const { return settled_; }

    // Asks the portal; the answer comes later. Once only.
    void start();
    // Asks `fallback` again (the palette changed). Done by itself when the application's palette
    // changes.
    void refreshFallback();

Q_SIGNALS:
    void darkChanged(bool dark);
    // The first answer, or the failure to get one, is in.
    void settled();

private Q_SLOTS:
    void settingChanged(const QString& group, const QString& key, const QDBusVariant& value);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void update(std::optional<bool> portal, bool fallbackDark);
    void settle();

    QDBusConnection bus_;
    std::function<bool()> fallback_;
    bool fallbackDark_ = false;
    std::optional<bool> portal_;
    bool started_ = false;
    bool settled_ = false;
    // A change signal came in: an older Read answer must not undo it.
    bool changedSinceRead_ = false;
};

} // namespace brevio
