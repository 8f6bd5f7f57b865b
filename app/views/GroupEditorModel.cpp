#include "views/GroupEditorModel.h"
#include "views/AppBinding.h"

#include "shell/AppModel.h"
#include "views/TextMatch.h"

namespace brevio {

GroupEditorModel::GroupEditorModel(QObject* parent) : QObject(parent) {}

void GroupEditorModel::setApp(AppModel* app) {
    if (!rebindApp(this, app_, app))
        return;
    if (app_) {
        connect(app_, &AppModel::stateChanged, this, [this] {
            // People who became members meanwhile are no longer offered nor chosen.
            const auto offers = offered();
            QSet<QString> still;
            for (const PersonRow& row : offers)
                still.insert(row.user.id);
            selected_.intersect(still);
            Q_EMIT formChanged();
        });
        connect(app_, &AppModel::sessionReplaced, this, &GroupEditorModel::reset);
    }
    Q_EMIT appChanged();
    reset();
}

void GroupEditorModel::setConversationID(const QString& conversationID) {
    if (conversationID == conversationID_)
        return;
    conversationID_ = conversationID;
    Q_EMIT conversationIDChanged();
    reset();
}

QString GroupEditorModel::title() const {
    return isCreating() ? QStringLiteral("Nuovo gruppo") : QStringLiteral("Aggiungi persone");
}

QString GroupEditorModel::confirmLabel() const {
    return isCreating() ? QStringLiteral("Crea gruppo") : QStringLiteral("Aggiungi");
}

void GroupEditorModel::setName(const QString& name) {
    if (name == name_)
        return;
    name_ = name;
    Q_EMIT formChanged();
}

void GroupEditorModel::setSearch(const QString& search) {
    if (search == search_)
        return;
    search_ = search;
    Q_EMIT formChanged();
}

QList<PersonRow> GroupEditorModel::offered() const {
    QList<PersonRow> rows;
    if (!app_)
        return rows;
    const ChatState& state = app_->session().state();
    QStringList members;
    if (!isCreating()) {
        const auto group = state.conversations.constFind(conversationID_);
        if (group != state.conversations.cend())
            members = group->memberIDs.value_or(QStringList());
    }
    for (const User& user : state.users) {
        if ((state.me && state.me->id == user.id) || members.contains(user.id))
            continue;
        QString detail = QStringLiteral("Staff");
        if (user.role == Role::client) {
            const auto company = state.clients.constFind(user.clientID.value_or(QString()));
            detail = company != state.clients.cend() ? QStringLiteral("Cliente · ") + company->name
                                                     : QStringLiteral("Cliente");
        }
        rows.append({user, state.online.contains(user.id), detail});
    }
    sortByName(rows);
    return rows;
}

QList<PersonRow> GroupEditorModel::candidateRows() const {
    QList<PersonRow> rows = offered();
    if (search_.trimmed().isEmpty())
        return rows;
    rows.removeIf([this](const PersonRow& row) {
        return !TextMatch::contains(row.user.name, search_) &&
               !TextMatch::contains(row.detail, search_);
    });
    return rows;
}

QVariantList GroupEditorModel::candidates() const {
    QVariantList list;
    for (const PersonRow& row : candidateRows()) {
        QVariantMap map = row.toVariant();
        map.insert(QStringLiteral("selected"), selected_.contains(row.user.id));
        list.append(map);
    }
    return list;
}

QString GroupEditorModel::emptyText() const {
    if (offered().isEmpty())
        return QStringLiteral("Nessuno da aggiungere");
    if (candidateRows().isEmpty())
        return QStringLiteral("Nessun risultato per «") + search_.trimmed() + QStringLiteral("»");
    return {};
}

QString GroupEditorModel::selectionText() const {
    return selected_.size() == 1
               ? QStringLiteral("1 persona scelta")
               : QString::number(selected_.size()) + QStringLiteral(" persone scelte");
}

bool GroupEditorModel::canConfirm() const {
    if (!app_ || working_ || selected_.isEmpty())
        return false;
    return !isCreating() || !name_.trimmed().isEmpty();
}

void GroupEditorModel::toggle(const QString& userID) {
    if (working_)
        return;
    if (selected_.contains(userID)) {
        selected_.remove(userID);
    } else {
        const auto offers = offered();
        const bool offeredNow = std::any_of(
            offers.begin(), offers.end(), [&](const PersonRow& r) { return r.user.id == userID; });
        if (!offeredNow)
            return;
        selected_.insert(userID);
    }
    Q_EMIT formChanged();
}

void GroupEditorModel::confirm() {
    if (!canConfirm())
        return;
    // In the order the list shows them.
    QStringList ids;
    for (const PersonRow& row : offered()) {
        if (selected_.contains(row.user.id))
            ids.append(row.user.id);
    }
    setError(std::nullopt);
    setWorking(true);
    const quint64 attempt = ++attempt_;
    QPointer<GroupEditorModel> self(this);
    // The answer of this attempt, if it is still the current one: the error stays in the form,
    // success goes on with `done`.
    const auto answered = [self, attempt](const auto& result, auto done) {
        if (!self || attempt != self->attempt_)
            return;
        self->setWorking(false);
        if (!result)
            self->setError(result.error().description());
        else
            done(*self);
    };
    if (isCreating()) {
        app_->session().createGroup(name_.trimmed(), ids,
                                    [answered](std::expected<QString, ChatError> result) {
                                        answered(result, [&](GroupEditorModel& editor) {
                                            if (editor.app_)
                                                editor.app_->selectConversation(*result);
                                            Q_EMIT editor.created(*result);
                                        });
                                    });
    } else {
        app_->session().addMembers(
            conversationID_, ids, [answered](std::expected<void, ChatError> result) {
                answered(result, [](GroupEditorModel& editor) { Q_EMIT editor.added(); });
            });
    }
}

void GroupEditorModel::reset() {
    ++attempt_;
    name_.clear();
    search_.clear();
    selected_.clear();
    setWorking(false);
    setError(std::nullopt);
    Q_EMIT formChanged();
}

void GroupEditorModel::setWorking(bool working) {
    if (working == working_)
        return;
    working_ = working;
    Q_EMIT workingChanged();
    Q_EMIT formChanged();
}

void GroupEditorModel::setError(std::optional<QString> error) {
    if (error == error_)
        return;
    error_ = std::move(error);
    Q_EMIT errorChanged();
}

} // namespace brevio
