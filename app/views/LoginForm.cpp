#include "views/LoginForm.h"

#include "model/ChatError.h"
#include "model/InviteCode.h"
#include "model/MessageRules.h"
#include "model/ServerAddress.h"
#include "model/ServerCode.h"
#include "model/SignUpRules.h"
#include "shell/AppConfig.h"
#include "shell/AppModel.h"
#include "shell/DemoWorld.h"

namespace brevio {

namespace {
constexpr int minimumPasswordLength = 8;
} // namespace

LoginForm::LoginForm(QObject* parent) : QObject(parent) {}

void LoginForm::setApp(AppModel* app) {
    if (app_ == app)
        return;
    app_ = app;
    resetServerText();
    Q_EMIT appChanged();
}

void LoginForm::setMode(Mode mode) {
    if (mode == mode_)
        return;
    // The fields stay as typed: the modes share e-mail, name and passwords.
    mode_ = mode;
    Q_EMIT modeChanged();
}

QString LoginForm::modeLabel(Mode mode) {
    switch (mode) {
    case SignIn:
        return QStringLiteral("Accedi");
    case Request:
        return QStringLiteral("Nuova richiesta");
    case Invite:
        return QStringLiteral("Ho un invito");
    }
    return {};
}

QString LoginForm::submitTitle() const {
    switch (mode_) {
    case SignIn:
        return QStringLiteral("Accedi");
    case Request:
        return QStringLiteral("Invia la richiesta");
    case Invite:
        return QStringLiteral("Crea il mio account");
    }
    return {};
}

QString LoginForm::serverHelp() {
    return QStringLiteral("Lascia quello che c'è, salvo indicazioni dello staff. Per il server di "
                          "prova su questo computer: ") +
           QLatin1String(AppConfig::localTestServer);
}

QString LoginForm::privacyNote() {
    return QStringLiteral("Inviando la richiesta crei un account cliente. <a href=\"%1\">"
                          "Informativa sulla privacy</a>")
        .arg(QLatin1String(AppConfig::privacyPage));
}

void LoginForm::resetServerText() {
    const std::optional<QUrl> server = app_ ? app_->session().server() : std::nullopt;
    if (!server || server->scheme() == DemoWorld::address().scheme())
        serverText = QString::fromLatin1(AppConfig::defaultServer);
    else
        serverText = ServerAddress::display(*server);
    Q_EMIT fieldsChanged();
}

std::optional<QString> LoginForm::validate() const {
    if (!ServerAddress::normalise(serverText))
        return QStringLiteral("L'indirizzo del server non è valido.");
    if (mode_ == Request) {
        if (!SignUpRules::isValidEmail(email.trimmed()))
            return QStringLiteral("Controlla l'indirizzo email.");
        if (text.trimmed().size() > maximumMessageLength)
            return ChatError::server(ServerCode::messageTooLong).description();
    }
    if (mode_ == Request || mode_ == Invite) {
        if (newPassword.size() < minimumPasswordLength)
            return QStringLiteral("La password deve avere almeno 8 caratteri.");
        if (newPassword != confirmation)
            return QStringLiteral("Le due password non coincidono.");
    }
    return std::nullopt;
}

void LoginForm::submit() {
    if (isWorking_ || !app_)
        return;
    if (auto problem = validate()) {
        setError(std::move(problem));
        return;
    }
    const QUrl server = *ServerAddress::normalise(serverText);
    setWorking(true);
    setError(std::nullopt);
    app_->leaveDemo();

    const quint64 attempt = ++attempt_;
    QPointer<LoginForm> self(this);
    auto done = [self, attempt](std::expected<void, ChatError> result) {
        if (!self || attempt != self->attempt_)
            return;
        self->setWorking(false);
        if (!result)
            self->setError(result.error().description());
    };
    ChatSession& session = app_->session();
    // Passwords are taken as typed: a space may be part of one.
    switch (mode_) {
    case SignIn:
        session.signIn(server, email.trimmed(), password, done);
        break;
    case Request: {
        SignUpRequest request;
        request.name = name.trimmed();
        request.email = email.trimmed();
        if (!company.trimmed().isEmpty())
            request.companyName = company.trimmed();
        request.password = newPassword;
        request.text = text.trimmed();
        session.signUp(server, std::move(request), done);
        break;
    }
    case Invite:
        session.redeem(server, InviteCode::normalise(code), name.trimmed(), newPassword, done);
        break;
    }
}

void LoginForm::setWorking(bool working) {
    if (working == isWorking_)
        return;
    isWorking_ = working;
    Q_EMIT workingChanged();
}

void LoginForm::setError(std::optional<QString> message) {
    if (message == errorMessage_)
        return;
    errorMessage_ = std::move(message);
    Q_EMIT errorMessageChanged();
}

} // namespace brevio
