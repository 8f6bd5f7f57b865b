#include "shell/SettingsView.h"

#include "shell/AppModel.h"

#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickWindow>

namespace brevio {

SettingsView::SettingsView(QQmlEngine& engine, AppModel& model, QObject* parent)
    : QObject(parent), engine_(engine), model_(model) {
    connect(&model_, &AppModel::settingsRequested, this, &SettingsView::show);
}

SettingsView::~SettingsView() {
    delete window_.data();
}

void SettingsView::show() {
    if (!window_) {
        QQmlComponent component(&engine_,
                                QUrl(QStringLiteral("qrc:/qt/qml/Brevio/SettingsWindow.qml")));
        QObject* made = component.createWithInitialProperties(
            {{QStringLiteral("app"), QVariant::fromValue(&model_)}});
        window_ = qobject_cast<QQuickWindow*>(made);
        if (!window_) {
            delete made;
            return;
        }
        QQmlEngine::setObjectOwnership(window_, QQmlEngine::CppOwnership);
    }
    if (window_->windowStates().testFlag(Qt::WindowMinimized))
        window_->setWindowStates(window_->windowStates() & ~Qt::WindowMinimized);
    window_->show();
    window_->raise();
    window_->requestActivate();
}

} // namespace brevio
