#include "views/InviteSheetModel.h"
#include "views/AppBinding.h"

#include "shell/AppConfig.h"
#include "shell/AppModel.h"
#include "views/PersonRow.h"
#include "views/TextMatch.h"

#include <QClipboard>
#include <QGuiApplication>
#include <algorithm>

namespace brevio {

InviteSheetModel::InviteSheetModel(QObject* parent) : QObject(parent) {
    copyToClipboard = [](const QString& text) {
        if (auto* clipboard = QGuiApplication::clipboard())
            clipboard->setText(text);
    };
}

void InviteSheetModel::setApp(AppModel* app) {
    if (!rebindApp(this, app_, app))
        return;
    if (app_) {
        connect(app_, &AppModel::stateChanged, this, &InviteSheetModel::companiesChanged);
        connect(app_, &AppModel::stateChanged, this, &InviteSheetModel::formChanged);
        connect(app_, &AppModel::sessionReplaced, this, &InviteSheetModel::reset);
    }
    Q_EMIT appChanged();
    reset();
}

QList<ClientCompany> InviteSheetModel::sortedCompanies() const {
    QList<ClientCompany> list;
    if (!app_)
        return list;
    list = app_->session().state().clients.values();
    std::sort(list.begin(), list.end(), [](const ClientCompany& a, const ClientCompany& b) {
        const int order = QString::compare(TextMatch::fold(a.name), TextMatch::fold(b.name));
        return order != 0 ? order < 0 : a.id < b.id;
    });
    return list;
}

QVariantList InviteSheetModel::companies() const {
    QVariantList list;
    for (const ClientCompany& company : sortedCompanies())
        list.append(QVariantMap{{QStringLiteral("id"), company.id},
                                {QStringLiteral("name"), company.name}});
    list.append(QVariantMap{{QStringLiteral("id"), QString::fromLatin1(newCompanyChoice)},
                            {QStringLiteral("name"), QStringLiteral("Nuova azienda…")}});
    return list;
}

int InviteSheetModel::companyIndex() const {
    const auto list = sortedCompanies();
    for (qsizetype i = 0; i < list.size(); ++i) {
        if (list[i].id == companyChoice_)
            return int(i);
    }
    return int(list.size()); // the new-company choice
}

void InviteSheetModel::setCompanyChoice(const QString& choice) {
    if (choice == companyChoice_)
        return;
    companyChoice_ = choice;
    Q_EMIT formChanged();
}

void InviteSheetModel::setCompanyName(const QString& text) {
    if (text == companyName_)
        return;
    companyName_ = text;
    Q_EMIT formChanged();
}

void InviteSheetModel::setName(const QString& text) {
    if (text == name_)
        return;
    name_ = text;
    Q_EMIT formChanged();
}

void InviteSheetModel::setEmail(const QString& text) {
    if (text == email_)
        return;
    email_ = text;
    Q_EMIT formChanged();
}

bool InviteSheetModel::canCreate() const {
    if (!app_ || working_ || name_.trimmed().isEmpty() || email_.trimmed().isEmpty())
        return false;
    if (isNewCompany())
        return !companyName_.trimmed().isEmpty();
    return app_->session().state().clients.contains(companyChoice_);
}

void InviteSheetModel::reset() {
    ++attempt_;
    const QString preselected = app_ ? app_->property("inviteClientID").toString() : QString();
    companyChoice_ = app_ && app_->session().state().clients.contains(preselected)
                         ? preselected
                         : QString::fromLatin1(newCompanyChoice);
    companyName_.clear();
    name_.clear();
    email_.clear();
    invite_.reset();
    copied_ = false;
    setWorking(false);
    setError(std::nullopt);
    Q_EMIT companiesChanged();
    Q_EMIT formChanged();
    Q_EMIT inviteChanged();
    Q_EMIT copiedChanged();
}

void InviteSheetModel::create() {
    if (!canCreate())
        return;
    std::optional<QString> clientID;
    std::optional<QString> company;
    if (isNewCompany())
        company = companyName_.trimmed();
    else
        clientID = companyChoice_;
    setError(std::nullopt);
    setWorking(true);
    const quint64 attempt = ++attempt_;
    QPointer<InviteSheetModel> self(this);
    app_->session().createInvite(clientID, company, name_.trimmed(), email_.trimmed(),
                                 [self, attempt](std::expected<Invite, ChatError> result) {
                                     if (!self || attempt != self->attempt_)
                                         return;
                                     self->setWorking(false);
                                     if (!result) {
                                         self->setError(result.error().description());
                                         return;
                                     }
                                     self->invite_ = *result;
                                     if (self->app_)
                                         self->app_->rememberInvite(*result);
                                     Q_EMIT self->inviteChanged();
                                 });
}

QString InviteSheetModel::resultText() const {
    if (!invite_)
        return {};
    return QStringLiteral("Manda a ") + invite_->name +
           QStringLiteral(" questo codice. Si usa una volta sola e vale fino al ") +
           longDate(invite_->expiresAt, zone_);
}

QString InviteSheetModel::message() const {
    if (!invite_)
        return {};
    return inviteMessage(*invite_, app_ ? app_->organization() : QString(), zone_);
}

QString InviteSheetModel::inviteMessage(const Invite& invite, const QString& organization,
                                        const QTimeZone& zone) {
    const QString expiry = longDate(invite.expiresAt, zone);
    return QStringLiteral("Ciao ") + invite.name +
           QStringLiteral(", ti abbiamo attivato Brevio, la chat diretta con ") + organization +
           QStringLiteral(".\n\n") + QStringLiteral("1. Apri ") +
           QLatin1String(AppConfig::webClient) +
           QStringLiteral(" dal browser, oppure installa l'app per computer: ") +
           QLatin1String(AppConfig::desktopInstaller) + QLatin1Char('\n') +
           QStringLiteral("2. Scegli «Ho un codice di invito».\n") +
           QStringLiteral("3. Scrivi il codice ") + invite.code +
           QStringLiteral(" e scegli la tua password.\n\n") +
           QStringLiteral("Il codice vale fino al ") + expiry;
}

void InviteSheetModel::copyMessage() {
    if (!invite_)
        return;
    if (copyToClipboard)
        copyToClipboard(message());
    if (!copied_) {
        copied_ = true;
        Q_EMIT copiedChanged();
    }
}

QString InviteSheetModel::copyLabel() const {
    return copied_ ? QStringLiteral("Copiato") : QStringLiteral("Copia il messaggio");
}

QString InviteSheetModel::copySymbol() const {
    return copied_ ? QStringLiteral("checkmark") : QStringLiteral("doc.on.doc");
}

void InviteSheetModel::setWorking(bool working) {
    if (working == working_)
        return;
    working_ = working;
    Q_EMIT workingChanged();
    Q_EMIT formChanged();
}

void InviteSheetModel::setError(std::optional<QString> error) {
    if (error == error_)
        return;
    error_ = std::move(error);
    Q_EMIT errorChanged();
}

} // namespace brevio
