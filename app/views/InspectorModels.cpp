#include "views/InspectorModels.h"
#include "views/AppBinding.h"

#include "shell/AppModel.h"

#include <QTimeZone>

namespace brevio {

namespace {

QVariantList toVariants(const QList<PersonRow>& rows) {
    QVariantList list;
    list.reserve(rows.size());
    for (const PersonRow& row : rows)
        list.append(row.toVariant());
    return list;
}

} // namespace

// ---- Client inspector ---------------------------------------------------------------------------

ClientInspectorModel::ClientInspectorModel(QObject* parent) : QObject(parent) {}

ClientInspectorModel::~ClientInspectorModel() {
    // Notes typed just before the pane closes still reach the server.
    if (timer_)
        save();
}

void ClientInspectorModel::setApp(AppModel* app) {
    if (app_ == app)
        return;
    if (timer_)
        save(); // the notes typed for the model left
    rebindApp(this, app_, app);
    if (app_) {
        connect(app_, &AppModel::stateChanged, this, &ClientInspectorModel::stateChanged);
        connect(app_, &AppModel::invitesChanged, this, &ClientInspectorModel::changed);
        connect(app_, &AppModel::sessionReplaced, this, [this] {
            // The notes belonged to the old session's account.
            timer_.reset();
            ++generation_;
            saving_ = false;
            loadedClient_.clear();
            load();
        });
    }
    Q_EMIT appChanged();
    load();
}

void ClientInspectorModel::setConversationID(const QString& conversationID) {
    if (conversationID == conversationID_)
        return;
    if (timer_)
        save();
    conversationID_ = conversationID;
    Q_EMIT conversationIDChanged();
    load();
}

QString ClientInspectorModel::clientID() const {
    if (!app_)
        return {};
    const auto& conversations = app_->session().state().conversations;
    const auto found = conversations.constFind(conversationID_);
    if (found == conversations.cend() || found->kind != ConversationKind::direct)
        return {};
    return found->clientID.value_or(QString());
}

void ClientInspectorModel::load() {
    const QString client = clientID();
    if (client != loadedClient_) {
        loadedClient_ = client;
        dirty_ = false;
        saveError_.reset();
        const auto& clients =
            app_ ? app_->session().state().clients : QHash<QString, ClientCompany>();
        const auto found = clients.constFind(client);
        notes_ = found != clients.cend() ? found->notes.value_or(QString()) : QString();
        Q_EMIT notesChanged();
    }
    Q_EMIT changed();
}

void ClientInspectorModel::stateChanged() {
    // Another staff member's notes show up unless the user has unsaved changes of their own.
    if (!dirty_ && !timer_ && !saving_ && clientID() == loadedClient_ && app_) {
        const auto& clients = app_->session().state().clients;
        const auto found = clients.constFind(loadedClient_);
        const QString stored =
            found != clients.cend() ? found->notes.value_or(QString()) : QString();
        if (stored != notes_) {
            notes_ = stored;
            Q_EMIT notesChanged();
        }
    }
    load();
}

QString ClientInspectorModel::companyName() const {
    if (!app_)
        return {};
    const auto& clients = app_->session().state().clients;
    const auto found = clients.constFind(clientID());
    return found != clients.cend() ? found->name : QStringLiteral("Cliente");
}

QString ClientInspectorModel::sinceText() const {
    if (!app_)
        return {};
    const auto& clients = app_->session().state().clients;
    const auto found = clients.constFind(clientID());
    if (found == clients.cend() || !found->createdAt.isValid())
        return {};
    return QStringLiteral("Cliente dal ") + longDate(found->createdAt, QTimeZone::systemTimeZone());
}

QList<PersonRow> ClientInspectorModel::personRows() const {
    QList<PersonRow> rows;
    const QString client = clientID();
    if (!app_ || client.isEmpty())
        return rows;
    const ChatState& state = app_->session().state();
    for (const User& user : state.users) {
        if (user.role == Role::client && user.clientID == client)
            rows.append({user, state.online.contains(user.id), user.email.value_or(QString())});
    }
    sortByName(rows);
    return rows;
}

QVariantList ClientInspectorModel::people() const {
    return toVariants(personRows());
}

QString ClientInspectorModel::inviteState() const {
    if (!app_)
        return {};
    const QString client = clientID();
    const auto invite = app_->inviteFor(client);
    if (!invite) {
        return personRows().isEmpty() ? QStringLiteral("Nessuno dell'azienda può ancora accedere.")
                                      : QString();
    }
    for (const PersonRow& row : personRows()) {
        if (row.user.email && row.user.email->compare(invite->email, Qt::CaseInsensitive) == 0)
            return row.user.name + QStringLiteral(" ha attivato l'invito.");
    }
    if (invite->expiresAt <= app_->clock().now()) {
        return QStringLiteral("L'invito è scaduto il ") +
               longDate(invite->expiresAt, QTimeZone::systemTimeZone()) + QLatin1Char('.');
    }
    return QStringLiteral("Nessuno ha ancora attivato l'invito.");
}

QString ClientInspectorModel::inviteButton() const {
    if (!app_)
        return {};
    const bool invitedBefore = app_->inviteFor(clientID()) || !personRows().isEmpty();
    return invitedBefore ? QStringLiteral("Invita un'altra persona…")
                         : QStringLiteral("Crea un invito…");
}

void ClientInspectorModel::editNotes(const QString& text) {
    if (!app_ || loadedClient_.isEmpty() || text == notes_)
        return;
    notes_ = text;
    dirty_ = true;
    timer_ = app_->clock().schedule(saveDelay, [this] { save(); });
    Q_EMIT notesChanged();
}

void ClientInspectorModel::save() {
    timer_.reset();
    if (!app_ || loadedClient_.isEmpty() || !dirty_)
        return;
    const quint64 generation = ++generation_;
    const QString text = notes_;
    saving_ = true;
    QPointer<ClientInspectorModel> self(this);
    app_->session().updateClient(loadedClient_, std::nullopt, text,
                                 [self, generation, text](std::expected<void, ChatError> result) {
                                     if (!self || generation != self->generation_)
                                         return;
                                     self->saving_ = false;
                                     if (result) {
                                         self->saveError_.reset();
                                         self->dirty_ = self->notes_ != text;
                                     } else {
                                         self->saveError_ = QStringLiteral("Note non salvate: ") +
                                                            result.error().description();
                                     }
                                     Q_EMIT self->notesChanged();
                                 });
    if (self)
        Q_EMIT notesChanged();
}

void ClientInspectorModel::openInvite() {
    const QString client = clientID();
    if (!app_ || client.isEmpty())
        return;
    app_->setProperty("inviteClientID", client);
    app_->setProperty("isInviteSheetPresented", true);
}

// ---- Organisation inspector ---------------------------------------------------------------------

OrganizationInspectorModel::OrganizationInspectorModel(QObject* parent) : QObject(parent) {}

void OrganizationInspectorModel::setApp(AppModel* app) {
    if (!rebindApp(this, app_, app))
        return;
    if (app_) {
        connect(app_, &AppModel::stateChanged, this, &OrganizationInspectorModel::changed);
        connect(app_, &AppModel::sessionReplaced, this, &OrganizationInspectorModel::changed);
    }
    Q_EMIT appChanged();
    Q_EMIT changed();
}

QString OrganizationInspectorModel::organization() const {
    return app_ ? app_->organization() : QString();
}

QList<PersonRow> OrganizationInspectorModel::staffRows() const {
    QList<PersonRow> rows;
    if (!app_)
        return rows;
    const ChatState& state = app_->session().state();
    for (const User& user : state.users) {
        if (user.role == Role::staff) {
            rows.append({user, state.online.contains(user.id),
                         user.isAdmin ? QStringLiteral("Amministratore") : QString()});
        }
    }
    sortByName(rows);
    return rows;
}

QVariantList OrganizationInspectorModel::staff() const {
    return toVariants(staffRows());
}

QString OrganizationInspectorModel::countText() const {
    return peopleCount(staffRows().size());
}

QString OrganizationInspectorModel::onlineText() const {
    const auto rows = staffRows();
    return QString::number(std::count_if(rows.begin(), rows.end(),
                                         [](const PersonRow& row) { return row.isOnline; })) +
           QStringLiteral(" online");
}

// ---- Group inspector ----------------------------------------------------------------------------

GroupInspectorModel::GroupInspectorModel(QObject* parent) : QObject(parent) {}

void GroupInspectorModel::setApp(AppModel* app) {
    if (!rebindApp(this, app_, app))
        return;
    ++attempt_;
    setWorking(false);
    setError(std::nullopt);
    if (app_) {
        connect(app_, &AppModel::stateChanged, this, &GroupInspectorModel::changed);
        connect(app_, &AppModel::sessionReplaced, this, [this] {
            ++attempt_;
            setWorking(false);
            setError(std::nullopt);
            Q_EMIT changed();
        });
    }
    Q_EMIT appChanged();
    Q_EMIT changed();
}

void GroupInspectorModel::setConversationID(const QString& conversationID) {
    if (conversationID == conversationID_)
        return;
    conversationID_ = conversationID;
    ++attempt_;
    setWorking(false);
    setError(std::nullopt);
    Q_EMIT conversationIDChanged();
    Q_EMIT changed();
}

const Conversation* GroupInspectorModel::group() const {
    if (!app_)
        return nullptr;
    const auto& conversations = app_->session().state().conversations;
    const auto found = conversations.constFind(conversationID_);
    if (found == conversations.cend() || found->kind != ConversationKind::group)
        return nullptr;
    return &*found;
}

QString GroupInspectorModel::name() const {
    const Conversation* conversation = group();
    return conversation ? conversation->title : QString();
}

bool GroupInspectorModel::canManage() const {
    if (!app_ || !group())
        return false;
    const auto& me = app_->session().state().me;
    return me && me->role == Role::staff;
}

QList<PersonRow> GroupInspectorModel::memberRows() const {
    QList<PersonRow> rows;
    const Conversation* conversation = group();
    if (!conversation)
        return rows;
    const ChatState& state = app_->session().state();
    for (const QString& id : conversation->memberIDs.value_or(QStringList())) {
        User user = state.users.value(id);
        if (user.id.isEmpty()) {
            user.id = id;
            user.name = QStringLiteral("Utente");
        }
        QString detail;
        if (state.me && state.me->id == id) {
            detail = QStringLiteral("Tu");
        } else if (user.role == Role::staff) {
            detail = QStringLiteral("Staff");
        } else {
            const auto company = state.clients.constFind(user.clientID.value_or(QString()));
            detail = company != state.clients.cend() ? company->name : QStringLiteral("Cliente");
        }
        rows.append({user, state.online.contains(id), detail});
    }
    sortByName(rows);
    return rows;
}

QVariantList GroupInspectorModel::members() const {
    QVariantList list;
    const bool manage = canManage();
    const auto& me = app_ ? app_->session().state().me : std::optional<User>();
    for (const PersonRow& row : memberRows()) {
        QVariantMap map = row.toVariant();
        map.insert(QStringLiteral("removeLabel"),
                   QStringLiteral("Togli ") + row.user.name + QStringLiteral(" dal gruppo"));
        map.insert(QStringLiteral("removable"), manage && (!me || me->id != row.user.id));
        list.append(map);
    }
    return list;
}

QString GroupInspectorModel::countText() const {
    const Conversation* conversation = group();
    return conversation ? peopleCount(conversation->memberIDs.value_or(QStringList()).size())
                        : QString();
}

QString GroupInspectorModel::leaveText() const {
    return QStringLiteral("Non vedrai più i messaggi di ") + name() +
           QStringLiteral(". Solo lo staff può aggiungerti di nuovo.");
}

void GroupInspectorModel::rename(const QString& name) {
    const QString trimmed = name.trimmed();
    if (!canManage() || working_ || trimmed.isEmpty() || trimmed == this->name()) {
        Q_EMIT changed(); // the field shows the stored name again
        return;
    }
    const QString id = conversationID_;
    run([id, trimmed](ChatSession& session, auto done) {
        session.renameGroup(id, trimmed, std::move(done));
    });
}

void GroupInspectorModel::removeMember(const QString& userID) {
    if (!canManage() || working_)
        return;
    const QString id = conversationID_;
    run([id, userID](ChatSession& session, auto done) {
        session.removeMembers(id, {userID}, std::move(done));
    });
}

void GroupInspectorModel::leave() {
    if (!group() || working_)
        return;
    const QString id = conversationID_;
    QPointer<AppModel> app = app_;
    run([id](ChatSession& session, auto done) { session.leaveGroup(id, std::move(done)); },
        [this, app, id] {
            if (app && app->selectedConversationIDText() == id)
                app->selectConversation(QString());
            Q_EMIT left();
        });
}

void GroupInspectorModel::clearError() {
    setError(std::nullopt);
}

void GroupInspectorModel::run(
    std::function<void(ChatSession&, std::function<void(std::expected<void, ChatError>)>)>
        operation,
    std::function<void()> onSuccess) {
    if (!app_)
        return;
    setError(std::nullopt);
    setWorking(true);
    const quint64 attempt = ++attempt_;
    QPointer<GroupInspectorModel> self(this);
    operation(app_->session(), [self, attempt, onSuccess = std::move(onSuccess)](
                                   std::expected<void, ChatError> result) {
        if (!self || attempt != self->attempt_)
            return;
        self->setWorking(false);
        if (!result) {
            self->setError(result.error().description());
            Q_EMIT self->changed();
            return;
        }
        Q_EMIT self->changed();
        if (onSuccess)
            onSuccess();
    });
}

void GroupInspectorModel::setWorking(bool working) {
    if (working == working_)
        return;
    working_ = working;
    Q_EMIT workingChanged();
}

void GroupInspectorModel::setError(std::optional<QString> error) {
    if (error == error_)
        return;
    error_ = std::move(error);
    Q_EMIT errorChanged();
}

} // namespace brevio
