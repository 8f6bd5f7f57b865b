#include "shell/WindowWatcher.h"

#include "shell/AppModel.h"

#include <QGuiApplication>

namespace brevio {

WindowWatcher::WindowWatcher(AppModel& model, QObject* parent) : QObject(parent), model_(model) {
    connect(qGuiApp, &QGuiApplication::applicationStateChanged, this,
            [this](Qt::ApplicationState state) {
                model_.setApplicationActive(state == Qt::ApplicationActive);
            });
    model_.setApplicationActive(QGuiApplication::applicationState() == Qt::ApplicationActive);
}

void WindowWatcher::watch(QWindow* window) {
    if (window_)
        disconnect(window_, nullptr, this, nullptr);
    window_ = window;
    if (window) {
        connect(window, &QWindow::visibilityChanged, this, &WindowWatcher::report);
        connect(window, &QWindow::windowStateChanged, this, &WindowWatcher::report);
        connect(window, &QWindow::activeChanged, this, [this] {
            report();
            if (window_ && window_->isActive())
                model_.windowActivated();
        });
        connect(window, &QObject::destroyed, this, &WindowWatcher::report);
    }
    report();
}

void WindowWatcher::report() {
    if (!window_) {
        model_.setMainWindow(false, false, false);
        return;
    }
    model_.setMainWindow(true, window_->isVisible(),
                         window_->windowStates().testFlag(Qt::WindowMinimized) ||
                             window_->visibility() == QWindow::Minimized);
}

void WindowWatcher::bringForward() {
    if (!window_)
        return;
    if (window_->windowStates().testFlag(Qt::WindowMinimized))
        window_->setWindowStates(window_->windowStates() & ~Qt::WindowMinimized);
    window_->show();
    window_->raise();
    window_->requestActivate();
}

} // namespace brevio
