#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <QUrl>
#include <QtQml/qqmlregistration.h>
#include <optional>

namespace brevio {

class AppModel;

// The signed-in user's profile photo: a chosen picture is prepared off the main thread (the
// largest centred square, 512 by 512, turned upright, JPEG) and sent through the session; "remove"
// clears it. One operation at a time; a failure shows its text and leaves the photo as it was.
class ProfilePhotoEditor : public QObject {
    Q_OBJECT
    QML_ELEMENT

    Q_PROPERTY(AppModel* app READ app WRITE setApp NOTIFY appChanged)
    // The file chooser is open (the view says so).
    Q_PROPERTY(bool picking READ picking WRITE setPicking NOTIFY pickingChanged)
    Q_PROPERTY(bool working READ working NOTIFY workingChanged)
    // What went wrong last; empty when nothing did.
    Q_PROPERTY(QString error READ errorText NOTIFY errorChanged)
    // The signed-in user, for the avatar the editor shows.
    Q_PROPERTY(QString userID READ userID NOTIFY userChanged)
    Q_PROPERTY(QString userName READ userName NOTIFY userChanged)
    Q_PROPERTY(QString photo READ photo NOTIFY userChanged)
    Q_PROPERTY(bool hasPhoto READ hasPhoto NOTIFY userChanged)

public:
    explicit ProfilePhotoEditor(QObject* parent = nullptr);

    AppModel* app() const { return app_; }
    void setApp(AppModel* app);
    bool picking() const { return picking_; }
    void setPicking(bool picking);
    bool working() const { return working_; }
    const std::optional<QString>& error() const { return error_; }
    QString errorText() const { return error_.value_or(QString()); }
    QString userID() const;
    QString userName() const;
    QString photo() const;
    bool hasPhoto() const { return !photo().isEmpty(); }

    // Prepares the picture in this local file and makes it the photo. Nothing while working.
    Q_INVOKABLE void choose(const QUrl& file);
    // Asks the session to remove the photo. Nothing while working.
    Q_INVOKABLE void remove();

Q_SIGNALS:
    void appChanged();
    void pickingChanged();
    void workingChanged();
    void errorChanged();
    void userChanged();

private:
    void setWorking(bool working);
    void setError(std::optional<QString> error);
    // Hands the image (or its removal) to the session of attempt `attempt`.
    void send(std::optional<QString> image, quint64 attempt);
    void sessionReplaced();

    QPointer<AppModel> app_;
    bool picking_ = false;
    bool working_ = false;
    std::optional<QString> error_;
    // Rises with every operation and every change of session: late answers of an older one are
    // dropped.
    quint64 attempt_ = 0;
};

} // namespace brevio
