#pragma once

#include <QObject>
#include <QPointer>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

namespace brevio {

class AppModel;

// What the first home screen shows: the conversations, newest first, and the latest messages of
// the selected one. Rebuilt whenever the session's state or the selection changes.
class HomeSummary : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(AppModel* app READ app WRITE setApp NOTIFY appChanged)
    Q_PROPERTY(QVariantList conversations READ conversations NOTIFY changed)
    Q_PROPERTY(QVariantList messages READ messages NOTIFY changed)
    Q_PROPERTY(QString title READ title NOTIFY changed)

public:
    static constexpr int shownMessages = 100;

    explicit HomeSummary(QObject* parent = nullptr);

    AppModel* app() const { return app_; }
    void setApp(AppModel* app);
    const QVariantList& conversations() const { return conversations_; }
    const QVariantList& messages() const { return messages_; }
    QString title() const { return title_; }

Q_SIGNALS:
    void appChanged();
    void changed();

private:
    void rebuild();

    QPointer<AppModel> app_;
    QVariantList conversations_;
    QVariantList messages_;
    QString title_;
};

} // namespace brevio
