#pragma once

#include <QObject>
#include <QPointer>

class QQmlEngine;
class QQuickWindow;

namespace brevio {

class AppModel;

// The settings window (SettingsWindow.qml) beside the main one. It is made the first time it is
// asked for, so that starting costs nothing for it, and then shown and raised on each request (the
// model's settingsRequested, the tray's "Impostazioni…").
class SettingsView : public QObject {
    Q_OBJECT
public:
    SettingsView(QQmlEngine& engine, AppModel& model, QObject* parent = nullptr);
    ~SettingsView() override;

    // Shows the window, made if needed, in front. The tab shown stays the last one chosen.
    void show();
    // The window once made; null before.
    QQuickWindow* window() const { return window_; }

private:
    QQmlEngine& engine_;
    AppModel& model_;
    QPointer<QQuickWindow> window_;
};

} // namespace brevio
