// What the desktop would tell the model, for the screen tests: `TestDesktop { app: testApp }`
// with show(true) has the application active and its window shown, so that the conversation
// selected counts as looked at (and is marked read); show(false) goes back to nothing shown.

#include "shell/AppModel.h"

#include <QCoreApplication>
#include <QObject>
#include <QPointer>
#include <QtQml/qqml.h>

namespace brevio {
namespace {

class TestDesktop : public QObject {
    Q_OBJECT
    Q_PROPERTY(AppModel* app MEMBER app_)

public:
    using QObject::QObject;

    Q_INVOKABLE void show(bool shown) {
        if (!app_)
            return;
        app_->setMainWindow(shown, shown, false);
        app_->setApplicationActive(shown);
    }

private:
    QPointer<AppModel> app_;
};

} // namespace
} // namespace brevio

static void registerTestDesktop() {
    qmlRegisterType<brevio::TestDesktop>("BrevioTest", 1, 0, "TestDesktop");
}
Q_COREAPP_STARTUP_FUNCTION(registerTestDesktop)

#include "TestDesktop.moc"
