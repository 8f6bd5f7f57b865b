#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <QtQml/qqmlregistration.h>
#include <optional>

namespace brevio {

class AppModel;

// The login screen's form: its three modes, the fields they share, the validation that runs
// before anything is sent, and the submit that leaves a running demo and asks the session. The
// view binds to it and owns one per appearance; nothing here is saved.
class LoginForm : public QObject {
    Q_OBJECT
    QML_ELEMENT

public:
    enum Mode { SignIn, Request, Invite };
    Q_ENUM(Mode)

private:
    Q_PROPERTY(AppModel* app READ app WRITE setApp NOTIFY appChanged)
    Q_PROPERTY(Mode mode READ mode WRITE setMode NOTIFY modeChanged)
    Q_PROPERTY(QString email MEMBER email NOTIFY fieldsChanged)
    Q_PROPERTY(QString password MEMBER password NOTIFY fieldsChanged)
    Q_PROPERTY(QString code MEMBER code NOTIFY fieldsChanged)
    Q_PROPERTY(QString name MEMBER name NOTIFY fieldsChanged)
    Q_PROPERTY(QString company MEMBER company NOTIFY fieldsChanged)
    Q_PROPERTY(QString text MEMBER text NOTIFY fieldsChanged)
    Q_PROPERTY(QString newPassword MEMBER newPassword NOTIFY fieldsChanged)
    Q_PROPERTY(QString confirmation MEMBER confirmation NOTIFY fieldsChanged)
    Q_PROPERTY(QString serverText MEMBER serverText NOTIFY fieldsChanged)
    Q_PROPERTY(bool showsAdvanced MEMBER showsAdvanced NOTIFY fieldsChanged)
    Q_PROPERTY(bool isWorking READ isWorking NOTIFY workingChanged)
    Q_PROPERTY(QString errorMessage READ errorMessage NOTIFY errorMessageChanged)
    Q_PROPERTY(QString submitTitle READ submitTitle NOTIFY modeChanged)
    Q_PROPERTY(QString serverHelp READ serverHelp CONSTANT)
    Q_PROPERTY(QString privacyNote READ privacyNote CONSTANT)

public:
    explicit LoginForm(QObject* parent = nullptr);

    // The fields, as typed.
    QString email, password, code, name, company, text, newPassword, confirmation, serverText;
    bool showsAdvanced = false;

    AppModel* app() const { return app_; }
    void setApp(AppModel* app);
    Mode mode() const { return mode_; }
    void setMode(Mode mode);
    bool isWorking() const { return isWorking_; }
    QString errorMessage() const { return errorMessage_.value_or(QString()); }
    QString submitTitle() const;
    static QString serverHelp();
    static QString privacyNote();
    static QString modeLabel(Mode mode);

    // The server field as the screen opens: the session's server, unless it is the demo's
    // pseudo-address or there is none; then the production server.
    Q_INVOKABLE void resetServerText();
    // The first rule the form breaks, in order, or nothing when it may be sent.
    std::optional<QString> validate() const;
    // Validates, then signs in, sends the request or redeems the invite. Nothing while working.
    Q_INVOKABLE void submit();
    // Shows a failure that happened elsewhere (a demo that could not start).
    Q_INVOKABLE void reportError(const QString& message) { setError(message); }

Q_SIGNALS:
    void appChanged();
    void modeChanged();
    void fieldsChanged();
    void workingChanged();
    void errorMessageChanged();

private:
    void setWorking(bool working);
    void setError(std::optional<QString> message);

    QPointer<AppModel> app_;
    Mode mode_ = SignIn;
    bool isWorking_ = false;
    std::optional<QString> errorMessage_;
    quint64 attempt_ = 0;
};

} // namespace brevio
