#pragma once

#include "model/Records.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <QTimeZone>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>
#include <functional>
#include <optional>

namespace brevio {

class AppModel;

// The invite sheet: the company (an existing client, or a new one by name), the person's name and
// e-mail; once the server made the invite, the result with its code and a message ready to send.
class InviteSheetModel : public QObject {
    Q_OBJECT
    QML_ELEMENT

    Q_PROPERTY(AppModel* app READ app WRITE setApp NOTIFY appChanged)
    // Maps {id, name}: the client companies by name, then the new-company choice.
    Q_PROPERTY(QVariantList companies READ companies NOTIFY companiesChanged)
    // A company's id, or `newCompanyChoice`.
    Q_PROPERTY(QString companyChoice READ companyChoice WRITE setCompanyChoice NOTIFY formChanged)
    Q_PROPERTY(int companyIndex READ companyIndex NOTIFY formChanged)
    Q_PROPERTY(bool isNewCompany READ isNewCompany NOTIFY formChanged)
    Q_PROPERTY(QString companyName READ companyName WRITE setCompanyName NOTIFY formChanged)
    Q_PROPERTY(QString name READ name WRITE setName NOTIFY formChanged)
    Q_PROPERTY(QString email READ email WRITE setEmail NOTIFY formChanged)
    Q_PROPERTY(bool canCreate READ canCreate NOTIFY formChanged)
    Q_PROPERTY(bool isWorking READ isWorking NOTIFY workingChanged)
    Q_PROPERTY(QString errorMessage READ errorMessage NOTIFY errorChanged)
    // The result, once there is an invite.
    Q_PROPERTY(bool hasInvite READ hasInvite NOTIFY inviteChanged)
    Q_PROPERTY(QString code READ code NOTIFY inviteChanged)
    Q_PROPERTY(QString resultText READ resultText NOTIFY inviteChanged)
    Q_PROPERTY(QString message READ message NOTIFY inviteChanged)
    Q_PROPERTY(bool copied READ copied NOTIFY copiedChanged)
    Q_PROPERTY(QString copyLabel READ copyLabel NOTIFY copiedChanged)
    Q_PROPERTY(QString copySymbol READ copySymbol NOTIFY copiedChanged)

public:
    static constexpr char newCompanyChoice[] = "new";

    explicit InviteSheetModel(QObject* parent = nullptr);

    AppModel* app() const { return app_; }
    void setApp(AppModel* app);

    QVariantList companies() const;
    QString companyChoice() const { return companyChoice_; }
    void setCompanyChoice(const QString& choice);
    int companyIndex() const;
    bool isNewCompany() const { return companyChoice_ == QLatin1String(newCompanyChoice); }
    QString companyName() const { return companyName_; }
    void setCompanyName(const QString& text);
    QString name() const { return name_; }
    void setName(const QString& text);
    QString email() const { return email_; }
    void setEmail(const QString& text);
    bool canCreate() const;
    bool isWorking() const { return working_; }
    QString errorMessage() const { return error_.value_or(QString()); }

    const std::optional<Invite>& invite() const { return invite_; }
    bool hasInvite() const { return invite_.has_value(); }
    QString code() const { return invite_ ? invite_->code : QString(); }
    QString resultText() const;
    QString message() const;
    bool copied() const { return copied_; }
    QString copyLabel() const;
    QString copySymbol() const;

    // Where dates are written; the desktop's zone unless a test says otherwise.
    void setTimeZone(const QTimeZone& zone) { zone_ = zone; }
    // Puts a text on the clipboard; the application's clipboard unless a test says otherwise.
    std::function<void(const QString&)> copyToClipboard;

    // Back to an empty form, the company preselected from the model's `inviteClientID`.
    Q_INVOKABLE void reset();
    Q_INVOKABLE void create();
    Q_INVOKABLE void copyMessage();

    // The message for the invited person, ready to send.
    static QString inviteMessage(const Invite& invite, const QString& organization,
                                 const QTimeZone& zone);

Q_SIGNALS:
    void appChanged();
    void companiesChanged();
    void formChanged();
    void workingChanged();
    void errorChanged();
    void inviteChanged();
    void copiedChanged();

private:
    QList<ClientCompany> sortedCompanies() const;
    void setWorking(bool working);
    void setError(std::optional<QString> error);

    QPointer<AppModel> app_;
    QString companyChoice_;
    QString companyName_;
    QString name_;
    QString email_;
    bool working_ = false;
    std::optional<QString> error_;
    std::optional<Invite> invite_;
    bool copied_ = false;
    quint64 attempt_ = 0;
    QTimeZone zone_ = QTimeZone::systemTimeZone();
};

} // namespace brevio
