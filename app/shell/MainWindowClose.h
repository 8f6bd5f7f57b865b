#pragma once

#include <QEvent>
#include <QObject>
#include <QWindow>
#include <functional>

namespace brevio {

// What closing the main window does. While Brevio has an icon in the desktop's tray, the window
// only goes away and Brevio stays running and connected (the tray brings the window back);
// without one, closing the window quits. The settings window never quits anything.
class MainWindowClose : public QObject {
public:
    // `keepsRunning` is asked at each close; `quit` ends the application.
    MainWindowClose(QWindow& window, std::function<bool()> keepsRunning, std::function<void()> quit)
        : keepsRunning_(std::move(keepsRunning)), quit_(std::move(quit)) {
        window.installEventFilter(this);
    }

    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Close && !(keepsRunning_ && keepsRunning_()))
            quit_();
        return QObject::eventFilter(watched, event);
    }

private:
    std::function<bool()> keepsRunning_;
    std::function<void()> quit_;
};

} // namespace brevio
