#pragma once

#include <QObject>
#include <QPointer>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

namespace brevio {

class AppModel;

// The conversations the first home screen lists, newest first. Rebuilt whenever the session's
// state or the selection changes.
class HomeSummary : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(AppModel* app READ app WRITE setApp NOTIFY appChanged)
    Q_PROPERTY(QVariantList conversations READ conversations NOTIFY changed)

public:
    explicit HomeSummary(QObject* parent = nullptr);

    AppModel* app() const { return app_; }
    void setApp(AppModel* app);
    const QVariantList& conversations() const { return conversations_; }

Q_SIGNALS:
    void appChanged();
    void changed();

private:
    void rebuild();

    QPointer<AppModel> app_;
    QVariantList conversations_;
};

} // namespace brevio
