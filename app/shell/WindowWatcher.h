#pragma once

#include <QObject>
#include <QPointer>
#include <QWindow>

namespace brevio {

class AppModel;

// Tells the model what the desktop does with the application and its main window: activation,
// visibility, minimising. The model decides from that whether a conversation is on screen.
class WindowWatcher : public QObject {
    Q_OBJECT
public:
    WindowWatcher(AppModel& model, QObject* parent = nullptr);

    // The main window, or null once it is gone.
    void watch(QWindow* window);
    // Shows, un-minimises and raises the watched window.
    void bringForward();

private:
    void report();

    AppModel& model_;
    QPointer<QWindow> window_;
};

} // namespace brevio
