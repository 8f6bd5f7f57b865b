#include "views/ChatViewModel.h"
#include "views/AppBinding.h"

#include "model/MessageRules.h"
#include "shell/AppModel.h"
#include "views/ChatTexts.h"
#include "views/TextMatch.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QTimeZone>

namespace brevio {

namespace {

QVariantMap action(const QString& id, const QString& text, const QString& symbol = {}) {
    return {{QStringLiteral("action"), id},
            {QStringLiteral("text"), text},
            {QStringLiteral("symbol"), symbol}};
}

} // namespace

ChatViewModel::ChatViewModel(QObject* parent) : QObject(parent) {
    connect(&messages_, &MessageListModel::modelReset, this, &ChatViewModel::rowsChanged);
}

ChatViewModel::~ChatViewModel() = default;

ChatSession* ChatViewModel::session() const {
    return app_ ? &app_->session() : nullptr;
}

void ChatViewModel::setApp(AppModel* app) {
    if (!rebindApp(this, app_, app))
        return;
    if (app_) {
        connect(app_, &AppModel::stateChanged, this, &ChatViewModel::refreshRows);
        connect(app_, &AppModel::statusChanged, this, &ChatViewModel::refreshBanner);
        connect(app_, &AppModel::sessionReplaced, this, &ChatViewModel::attach);
    }
    attach();
    Q_EMIT appChanged();
}

void ChatViewModel::attach() {
    if (ChatSession* s = session()) {
        connect(s, &ChatSession::loadingHistoryChanged, this, &ChatViewModel::loadingChanged,
                Qt::UniqueConnection);
        messages_.setMyID(s->state().me ? s->state().me->id : QString());
    }
    reload();
    refreshBanner();
    // The indicator and `online` follow the session even when its banner text stays the same
    // (none while online).
    Q_EMIT bannerChanged();
}

void ChatViewModel::setConversationID(const QString& conversationID) {
    if (conversationID_ == conversationID)
        return;
    // The draft of the conversation left stays in the application model.
    if (ChatSession* s = session(); s && !conversationID_.isEmpty())
        s->stopTyping(conversationID_);
    conversationID_ = conversationID;
    reload();
}

// Opening a conversation: the unread separator stays where the user's read mark was now.
void ChatViewModel::reload() {
    feed_.forget();
    unreadAfter_.reset();
    resetComposer();
    searchQuery_.clear();
    matches_.clear();
    currentMatch_ = -1;
    messages_.setSearch({}, {});
    currentMatchID_.clear();
    infoRows_.clear();
    if (ChatSession* s = session(); s && !conversationID_.isEmpty()) {
        const ChatState& state = s->state();
        const auto conversation = state.conversations.constFind(conversationID_);
        if (state.me && conversation != state.conversations.cend() &&
            state.unreadCount(conversationID_) > 0)
            unreadAfter_ = conversation->reads.value(state.me->id, 0);
        draft_ = app_->draftFor(conversationID_);
    }
    refreshRows();
    Q_EMIT conversationChanged();
    Q_EMIT draftChanged();
    Q_EMIT composerChanged();
    Q_EMIT draftReplaced();
    Q_EMIT searchChanged();
    Q_EMIT infoChanged();
}

void ChatViewModel::refreshRows() {
    ChatSession* s = session();
    if (!s || conversationID_.isEmpty()) {
        feed_.forget();
        messages_.setRows({}, {}, {});
        messageCount_ = 0;
        Q_EMIT rowsChanged();
        refreshTyping();
        return;
    }
    const ChatState& state = s->state();
    messages_.setMyID(state.me ? state.me->id : QString());
    const QDateTime now = app_->clock().now();
    messages_.setZone(zone_);
    feed_.update(state, conversationID_, unreadAfter_, now, zone_, [&state](const QString& userID) {
        const auto user = state.users.constFind(userID);
        if (user != state.users.cend() && !user->name.isEmpty())
            return user->name;
        if (state.me && state.me->id == userID)
            return state.me->name;
        return QStringLiteral("Utente");
    });
    messageCount_ = int(feed_.messageCount());
    // An edit whose message went (deleted, the conversation lost) ends.
    if (editing_ && messages_.rowOfSeq(*editing_) < 0)
        cancelComposer();
    Q_EMIT rowsChanged();
    refreshTyping();
    refreshSearch();
}

void ChatViewModel::refreshTyping() {
    QString text;
    if (ChatSession* s = session(); s && !conversationID_.isEmpty()) {
        const ChatState& state = s->state();
        QStringList names;
        for (const QString& id : state.typingUsers(conversationID_))
            names.append(state.users.value(id).name.isEmpty() ? QStringLiteral("Utente")
                                                              : state.users.value(id).name);
        text = ChatTexts::typing(names);
    }
    if (text != typingText_) {
        typingText_ = text;
        Q_EMIT typingChanged();
    }
}

// ---- The conversation -----------------------------------------------------------------------

QString ChatViewModel::title() const {
    ChatSession* s = session();
    return s ? s->state().conversations.value(conversationID_).title : QString();
}

bool ChatViewModel::isGroup() const {
    ChatSession* s = session();
    return s && s->state().conversations.value(conversationID_).kind == ConversationKind::group;
}

QString ChatViewModel::emptyHint() const {
    ChatSession* s = session();
    const bool client = s && s->state().me && s->state().me->role == Role::client;
    return ChatTexts::emptyHint(client, isGroup());
}

bool ChatViewModel::hasOlder() const {
    ChatSession* s = session();
    return s && s->state().hasOlder(conversationID_);
}

bool ChatViewModel::loadingOlder() const {
    ChatSession* s = session();
    return s && s->loadingHistory().contains(
                    ChatSession::historyKey(conversationID_, HistoryDirection::older(0)));
}

// ---- Composer -------------------------------------------------------------------------------

void ChatViewModel::setDraft(const QString& text) {
    if (text == draft_)
        return;
    draft_ = text;
    ChatSession* s = session();
    if (!editing_ && app_ && !conversationID_.isEmpty()) {
        app_->setDraft(conversationID_, text);
        if (s) {
            if (text.isEmpty())
                s->stopTyping(conversationID_);
            else
                s->typing(conversationID_);
        }
    }
    Q_EMIT draftChanged();
}

QString ChatViewModel::tooLongText() const {
    return ChatTexts::tooLong(draft_.size()).value_or(QString());
}

bool ChatViewModel::canSubmit() const {
    return !draft_.trimmed().isEmpty() && draft_.size() <= maximumMessageLength && session() &&
           !conversationID_.isEmpty();
}

QString ChatViewModel::replyText() const {
    return replyTo_ ? ChatTexts::replyStrip(replyAuthor_, replyIsMine_) : QString();
}

QString ChatViewModel::placeholder() const {
    return editing_ ? QStringLiteral("Correggi il messaggio")
                    : QStringLiteral("Scrivi un messaggio");
}

QString ChatViewModel::submitHelp() const {
    return editing_ ? QStringLiteral("Salva la modifica (Invio)")
                    : QStringLiteral("Invia (Invio). Per andare a capo: Alt+Invio.");
}

bool ChatViewModel::submit() {
    if (!canSubmit())
        return false;
    ChatSession* s = session();
    const QString text = draft_.trimmed();
    if (editing_) {
        const qint64 seq = *editing_;
        const auto* message = messageAt(messages_.rowID(messages_.rowOfSeq(seq)));
        if (message && message->text == text) {
            cancelComposer(); // nothing changed: nothing to save
            return true;
        }
        QPointer<ChatViewModel> self(this);
        s->edit(conversationID_, seq, text, [self](std::expected<void, ChatError> result) {
            if (self && !result)
                self->report(QStringLiteral("modificare il messaggio"),
                             result.error().description());
        });
        cancelComposer();
        return true;
    }
    if (s->send(conversationID_, text, replyTo_).isEmpty())
        return false;
    s->stopTyping(conversationID_);
    replyTo_.reset();
    draft_.clear();
    app_->setDraft(conversationID_, QString());
    Q_EMIT draftChanged();
    Q_EMIT draftReplaced();
    Q_EMIT composerChanged();
    return true;
}

const TimelineMessage* ChatViewModel::messageAt(const QString& rowID) const {
    const int row = messages_.rowOf(rowID);
    if (row < 0)
        return nullptr;
    const TimelineEntry& e = messages_.entry(row);
    return e.kind == TimelineEntry::Kind::message ? &e.message : nullptr;
}

void ChatViewModel::replyTo(const QString& rowID) {
    const TimelineMessage* m = messageAt(rowID);
    if (!m || m->isPending() || m->isDeleted)
        return;
    if (editing_)
        cancelComposer();
    replyTo_ = m->seq;
    replyIsMine_ = m->isMine;
    replyAuthor_ =
        messages_.data(messages_.index(messages_.rowOf(rowID)), MessageListModel::AuthorRole)
            .toString();
    Q_EMIT composerChanged();
}

void ChatViewModel::startEditing(const QString& rowID) {
    const TimelineMessage* m = messageAt(rowID);
    if (!m || !m->canChange)
        return;
    replyTo_.reset();
    editing_ = m->seq;
    draft_ = m->text;
    Q_EMIT composerChanged();
    Q_EMIT draftChanged();
    Q_EMIT draftReplaced();
}

void ChatViewModel::cancelComposer() {
    const bool wasEditing = editing_.has_value();
    replyTo_.reset();
    editing_.reset();
    if (wasEditing) {
        // Back to the draft the user had before editing.
        draft_ = app_ && !conversationID_.isEmpty() ? app_->draftFor(conversationID_) : QString();
        Q_EMIT draftChanged();
        Q_EMIT draftReplaced();
    }
    Q_EMIT composerChanged();
}

void ChatViewModel::resetComposer() {
    replyTo_.reset();
    editing_.reset();
    draft_.clear();
}

// ---- Message actions ------------------------------------------------------------------------

QVariantList ChatViewModel::actions(const QString& rowID) const {
    QVariantList list;
    const TimelineMessage* m = messageAt(rowID);
    if (!m || m->isDeleted)
        return list;
    if (m->delivery.kind == Delivery::Kind::failed) {
        list.append(action(QStringLiteral("retry"), QStringLiteral("Riprova a inviare")));
        list.append(action(QStringLiteral("copy"), QStringLiteral("Copia il testo")));
        // The bubble's own button, for the keyboard too.
        list.append(action(QStringLiteral("discard"), QStringLiteral("Elimina")));
        return list;
    }
    if (!m->isPending()) {
        list.append(action(QStringLiteral("react"), QStringLiteral("Reagisci"),
                           QStringLiteral("face.smiling")));
        // Taking one's reaction back is a tap on it under the bubble; the menu offers it as well.
        const QString myID =
            session() && session()->state().me ? session()->state().me->id : QString();
        const bool reacted =
            std::any_of(m->reactions.cbegin(), m->reactions.cend(),
                        [&](const Reaction& r) { return r.userIDs.contains(myID); });
        if (reacted)
            list.append(action(QStringLiteral("unreact"), QStringLiteral("Togli la reazione")));
        list.append(action(QStringLiteral("reply"), QStringLiteral("Rispondi"),
                           QStringLiteral("arrowshape.turn.up.left.fill")));
    }
    list.append(action(QStringLiteral("copy"), QStringLiteral("Copia il testo")));
    if (m->canChange)
        list.append(action(QStringLiteral("edit"), QStringLiteral("Modifica")));
    if (m->isMine && !m->isPending())
        list.append(action(QStringLiteral("info"), QStringLiteral("Info messaggio…")));
    if (m->canChange)
        list.append(action(QStringLiteral("delete"), QStringLiteral("Elimina per tutti…")));
    return list;
}

QString ChatViewModel::textOf(const QString& rowID) const {
    const TimelineMessage* m = messageAt(rowID);
    return m && !m->isDeleted ? m->text : QString();
}

void ChatViewModel::copyText(const QString& rowID) const {
    const QString text = textOf(rowID);
    if (!text.isEmpty())
        QGuiApplication::clipboard()->setText(text);
}

void ChatViewModel::react(const QString& rowID, const QString& emoji) {
    const TimelineMessage* m = messageAt(rowID);
    ChatSession* s = session();
    if (!m || !s || m->isPending() || m->isDeleted)
        return;
    QPointer<ChatViewModel> self(this);
    s->react(conversationID_, m->seq,
             emoji.isEmpty() ? std::nullopt : std::optional<QString>(emoji),
             [self](std::expected<void, ChatError> result) {
                 if (self && !result)
                     self->report(QStringLiteral("aggiungere la reazione"),
                                  result.error().description());
             });
}

void ChatViewModel::deleteForEveryone(const QString& rowID) {
    const TimelineMessage* m = messageAt(rowID);
    ChatSession* s = session();
    if (!m || !s || !m->canChange)
        return;
    QPointer<ChatViewModel> self(this);
    s->deleteMessage(conversationID_, m->seq, [self](std::expected<void, ChatError> result) {
        if (self && !result)
            self->report(QStringLiteral("eliminare il messaggio"), result.error().description());
    });
}

void ChatViewModel::report(const QString& what, const QString& error) {
    Q_EMIT failed(QStringLiteral("Non è stato possibile ") + what + QStringLiteral(". ") + error);
}

void ChatViewModel::retry(const QString& rowID) {
    const TimelineMessage* m = messageAt(rowID);
    if (m && m->isPending() && session())
        session()->retrySend(m->clientID);
}

void ChatViewModel::discard(const QString& rowID) {
    const TimelineMessage* m = messageAt(rowID);
    if (m && m->isPending() && session())
        session()->discardPending(m->clientID);
}

void ChatViewModel::loadOlder() {
    if (ChatSession* s = session(); s && !conversationID_.isEmpty())
        s->loadOlder(conversationID_);
}

int ChatViewModel::rowOfSeq(const QString& seq) const {
    return messages_.rowOfSeq(seq.toLongLong());
}

QStringList ChatViewModel::reactionPalette() {
    return {QStringLiteral("👍"), QStringLiteral("❤️"), QStringLiteral("😂"),
            QStringLiteral("😮"), QStringLiteral("😢"),      QStringLiteral("🙏")};
}

void ChatViewModel::requestInfo(const QString& rowID) {
    const TimelineMessage* m = messageAt(rowID);
    ChatSession* s = session();
    infoRows_.clear();
    if (!m || !s || m->isPending()) {
        infoLoading_ = false;
        Q_EMIT infoChanged();
        return;
    }
    infoLoading_ = true;
    const quint64 attempt = ++infoAttempt_;
    Q_EMIT infoChanged();
    QPointer<ChatViewModel> self(this);
    const QString conversationID = conversationID_;
    s->receipts(
        conversationID, m->seq,
        [self, attempt, conversationID](std::expected<QList<ReceiptEntry>, ChatError> r) {
            if (!self || self->infoAttempt_ != attempt)
                return;
            self->infoLoading_ = false;
            if (!r) {
                self->infoRows_ = {
                    QVariantMap{{QStringLiteral("name"), QString()},
                                {QStringLiteral("status"),
                                 QStringLiteral("Non è stato possibile leggere le conferme. ") +
                                     r.error().description()}}};
                Q_EMIT self->infoChanged();
                return;
            }
            const ChatState& state = self->session()->state();
            const QDateTime now = self->app_->clock().now();
            const QTimeZone zone = self->zone_;
            QList<ReceiptEntry> entries = *r;
            // Everyone else in the conversation has a line, with or without a receipt.
            for (const QString& id : state.otherParticipants(conversationID)) {
                const bool listed =
                    std::any_of(entries.cbegin(), entries.cend(),
                                [&](const ReceiptEntry& e) { return e.userID == id; });
                if (!listed)
                    entries.append({id, std::nullopt, std::nullopt});
            }
            const QString myID = state.me ? state.me->id : QString();
            for (const ReceiptEntry& e : entries) {
                if (e.userID == myID)
                    continue;
                const QString name = state.users.value(e.userID).name;
                self->infoRows_.append(QVariantMap{
                    {QStringLiteral("name"), name.isEmpty() ? QStringLiteral("Utente") : name},
                    {QStringLiteral("status"), ChatTexts::receipt(e, now, zone)},
                });
            }
            if (self->infoRows_.isEmpty())
                self->infoRows_.append(
                    QVariantMap{{QStringLiteral("name"), QString()},
                                {QStringLiteral("status"),
                                 QStringLiteral("Nessun altro in questa conversazione.")}});
            Q_EMIT self->infoChanged();
        });
}

// ---- Search ---------------------------------------------------------------------------------

void ChatViewModel::setSearchQuery(const QString& query) {
    if (query == searchQuery_)
        return;
    searchQuery_ = query;
    currentMatch_ = -1;
    refreshSearch();
}

void ChatViewModel::refreshSearch() {
    const QString current =
        currentMatch_ >= 0 && currentMatch_ < matches_.size() ? matches_[currentMatch_] : QString();
    matches_.clear();
    if (!searchQuery_.trimmed().isEmpty()) {
        for (int row = 0; row < messages_.rowCount(); ++row) {
            const TimelineEntry& e = messages_.entry(row);
            if (e.kind == TimelineEntry::Kind::message && !e.message.isDeleted &&
                TextMatch::contains(e.message.text, searchQuery_))
                matches_.append(messages_.rowID(row));
        }
    }
    if (searchAfterLoad_ && !current.isEmpty()) {
        // After "Cerca più indietro": step to the first older match the new page brought.
        const int at = int(matches_.indexOf(current));
        currentMatch_ = at >= 0 && at + 1 < matches_.size() ? at + 1 : at;
        searchAfterLoad_ = false;
    } else {
        const int at = current.isEmpty() ? -1 : int(matches_.indexOf(current));
        currentMatch_ = at >= 0 ? at : (matches_.isEmpty() ? -1 : 0);
    }
    showMatch();
}

void ChatViewModel::showMatch() {
    const QString id =
        currentMatch_ >= 0 && currentMatch_ < matches_.size() ? matches_[currentMatch_] : QString();
    messages_.setSearch(searchQuery_, id);
    Q_EMIT searchChanged();
    if (id != currentMatchID_) {
        currentMatchID_ = id;
        Q_EMIT currentMatchChanged();
    }
}

QString ChatViewModel::searchStatus() const {
    if (searchQuery_.trimmed().isEmpty())
        return {};
    return ChatTexts::searchStatus(currentMatch_ + 1, matches_.size());
}

int ChatViewModel::currentMatchRow() const {
    if (currentMatch_ < 0 || currentMatch_ >= matches_.size())
        return -1;
    return messages_.rowOf(matches_[currentMatch_]);
}

void ChatViewModel::previousMatch() {
    if (currentMatch_ + 1 >= matches_.size())
        return;
    ++currentMatch_;
    showMatch();
}

void ChatViewModel::nextMatch() {
    if (currentMatch_ <= 0)
        return;
    --currentMatch_;
    showMatch();
}

void ChatViewModel::searchOlder() {
    if (!hasOlder())
        return;
    searchAfterLoad_ = currentMatch_ >= 0;
    loadOlder();
}

void ChatViewModel::closeSearch() {
    searchQuery_.clear();
    searchAfterLoad_ = false;
    refreshSearch();
}

// ---- Connection and reading -----------------------------------------------------------------

void ChatViewModel::refreshBanner() {
    bannerTick_.reset();
    ChatSession* s = session();
    const ConnectionStatus status = s ? s->status() : ConnectionStatus::online();
    const QDateTime now = app_ ? app_->clock().now() : QDateTime::currentDateTimeUtc();
    const QString text = ChatTexts::banner(status, now).value_or(QString());
    if (status.isWaiting() && ChatTexts::secondsUntil(status.until, now) > 0) {
        // Refresh when the shown number of seconds goes down.
        const qint64 left = now.msecsTo(status.until);
        const qint64 toNextSecond = left % 1000 == 0 ? 1000 : left % 1000;
        QPointer<ChatViewModel> self(this);
        bannerTick_ = app_->clock().schedule(Duration(toNextSecond), [self] {
            if (self)
                self->refreshBanner();
        });
    }
    if (text != bannerText_) {
        bannerText_ = text;
        Q_EMIT bannerChanged();
    }
}

bool ChatViewModel::bannerOffersRetry() const {
    ChatSession* s = session();
    return s && s->status().isWaiting();
}

bool ChatViewModel::bannerOffline() const {
    ChatSession* s = session();
    return s && s->status().isOffline();
}

QString ChatViewModel::indicatorLabel() const {
    ChatSession* s = session();
    return s ? ChatTexts::indicatorLabel(s->status()) : QString();
}

QString ChatViewModel::indicatorHelp() const {
    ChatSession* s = session();
    return s ? ChatTexts::indicatorHelp(s->status()) : QString();
}

bool ChatViewModel::online() const {
    ChatSession* s = session();
    return s && s->status().isOnline();
}

void ChatViewModel::retryNow() {
    if (app_)
        app_->retryNow();
}

void ChatViewModel::newestShown() {
    if (!app_ || conversationID_.isEmpty())
        return;
    if (app_->visibleConversation() == conversationID_ &&
        app_->session().state().unreadCount(conversationID_) > 0)
        app_->markVisibleConversationRead();
}

QString ChatViewModel::toBottomText(int newMessages) const {
    return ChatTexts::toBottom(newMessages);
}

} // namespace brevio
