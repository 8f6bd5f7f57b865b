#include "shell/AppModel.h"

#include "shell/AppConfig.h"
#include "shell/AppTheme.h"
#include "shell/Preferences.h"

#include "model/MessageRules.h"
#include <QGuiApplication>
#include <QPalette>

#include <QDesktopServices>
#include <QPointer>
#include <QUrl>
#include <limits>

namespace brevio {

AppModel::AppModel(AppParts parts, QObject* parent)
    : QObject(parent), clock_(parts.clock), transport_(parts.transport), store_(parts.store),
      clientInfo_(std::move(parts.clientInfo)), notifications_(parts.notifications),
      badge_(parts.badge), makeDemo_(std::move(parts.makeDemo)), settings_(parts.settings),
      appTheme_(toString(appThemeFrom(preference(QStringLiteral("appTheme")).toString())
                             .value_or(AppTheme::system))),
      desktopDark_(paletteIsDark()) {
    session_ = makeSession(transport_, store_, false);
    wire(*session_);

    // The notifier's answers; the model may be gone when a late answer comes.
    QPointer<AppModel> self(this);
    notifications_.onReply = [self](const QString& conversationID, const QString& text) {
        if (self)
            self->session_->send(conversationID, text);
    };
    notifications_.onOpen = [self](const QString& conversationID) {
        if (!self)
            return;
        if (self->selected_ != conversationID)
            self->selectConversation(conversationID);
        self->bringMainWindowForward();
        self->markVisibleConversationRead();
    };
    notifications_.activate();
    lastScreen_ = screen();
}

AppModel::~AppModel() {
    notifications_.onReply = nullptr;
    notifications_.onOpen = nullptr;
    // The demo session goes before its server, the server session last.
    session_.reset();
    demo_.reset();
    liveSession_.reset();
}

std::unique_ptr<ChatSession> AppModel::makeSession(ChatTransport& transport, SessionStore* store,
                                                   bool isDemo) {
    SessionSettings settings = settings_;
    settings.isDemo = isDemo;
    return std::make_unique<ChatSession>(clock_, transport, store, clientInfo_, settings);
}

void AppModel::wire(ChatSession& session) {
    QPointer<AppModel> self(this);
    session.setOnEvent([self](const SessionEvent& event) {
        if (self)
            self->handleEvent(event);
    });
    connect(&session, &ChatSession::phaseChanged, this, &AppModel::sessionStateChanged);
    connect(&session, &ChatSession::signOutReasonChanged, this, &AppModel::sessionStateChanged);
    connect(&session, &ChatSession::stateChanged, this, &AppModel::sessionStateChanged);
    connect(&session, &ChatSession::statusChanged, this, &AppModel::statusChanged);
    connect(&session, &ChatSession::serverChanged, this, &AppModel::serverOriginChanged);
}

void AppModel::unwire(ChatSession& session) {
    session.setOnEvent({});
    disconnect(&session, nullptr, this, nullptr);
}

void AppModel::sessionStateChanged() {
    const QString now = screen();
    if (now != lastScreen_) {
        lastScreen_ = now;
        Q_EMIT screenChanged();
    }
    // Signing out leaves nothing selected.
    if (selected_ && !session_->phase().isSignedIn()) {
        selected_.reset();
        Q_EMIT selectionChanged();
    }
    updateBadge();
    Q_EMIT stateChanged();
}

// ---- Published ------------------------------------------------------------------------------

QString AppModel::screen() const {
    const SessionPhase& phase = session_->phase();
    if (phase.isUpgradeRequired())
        return QStringLiteral("upgrade");
    if (phase.isSignedOut())
        return QStringLiteral("login");
    if (session_->isRestoring())
        return QStringLiteral("restoring");
    const auto& me = session_->state().me;
    if (!me)
        return QStringLiteral("connecting");
    return me->role == Role::staff ? QStringLiteral("staffHome") : QStringLiteral("clientHome");
}

bool AppModel::sessionExpired() const {
    return session_->signOutReason() == SignOutReason::sessionExpired;
}

QString AppModel::upgradeText() const {
    return QStringLiteral("Questa versione (") + version() +
           QStringLiteral(") non è più supportata dal server. Installa l'ultima versione e "
                          "riapri l'app.");
}

QString AppModel::userName() const {
    const auto& me = session_->state().me;
    return me ? me->name : QString();
}

QString AppModel::organization() const {
    return session_->state().organization;
}

int AppModel::unreadTotal() const {
    return int(std::min<qint64>(session_->state().totalUnread(), std::numeric_limits<int>::max()));
}

QString AppModel::connectionWord() const {
    switch (session_->status().kind) {
    case ConnectionStatus::Kind::online:
        return QStringLiteral("collegato");
    case ConnectionStatus::Kind::connecting:
        return QStringLiteral("collegamento…");
    case ConnectionStatus::Kind::offline:
        return QStringLiteral("non collegato");
    case ConnectionStatus::Kind::waiting:
        return QStringLiteral("riconnessione…");
    }
    return {};
}

bool AppModel::prefersDark(const QString& stored, bool desktopIsDark) {
    if (stored == QLatin1String("dark"))
        return true;
    if (stored == QLatin1String("light"))
        return false;
    return desktopIsDark;
}

bool AppModel::paletteIsDark() {
    const QPalette palette = QGuiApplication::palette();
    return palette.color(QPalette::Window).lightness() <
           palette.color(QPalette::WindowText).lightness();
}

void AppModel::setAppTheme(const QString& theme) {
    if (!appThemeFrom(theme) || theme == appTheme_)
        return;
    appTheme_ = theme;
    preferences().setValue(QStringLiteral("appTheme"), theme);
    Q_EMIT themeChanged();
}

void AppModel::setDesktopDark(bool dark) {
    if (dark == desktopDark_)
        return;
    const bool wasDark = darkTheme();
    desktopDark_ = dark;
    if (darkTheme() != wasDark)
        Q_EMIT themeChanged();
}

QString AppModel::serverOrigin() const {
    const auto& server = session_->server();
    return server ? server->toString() : QString();
}

QString AppModel::badgeText(qint64 unread) {
    return unread > 0 ? QString::number(unread) : QString();
}

// ---- Interface state ------------------------------------------------------------------------

void AppModel::selectConversation(const QString& conversationID) {
    std::optional<QString> next;
    if (!conversationID.isEmpty())
        next = conversationID;
    if (next == selected_)
        return;
    selected_ = next;
    Q_EMIT selectionChanged();
    markVisibleConversationRead();
}

QString AppModel::draftFor(const QString& conversationID) const {
    return drafts_.value(conversationID);
}

void AppModel::setDraft(const QString& conversationID, const QString& text) {
    if (text.isEmpty())
        drafts_.remove(conversationID);
    else
        drafts_.insert(conversationID, text);
}

void AppModel::rememberInvite(const Invite& invite) {
    invites_.insert(invite.clientID, invite);
    Q_EMIT invitesChanged();
}

std::optional<Invite> AppModel::inviteFor(const QString& clientID) const {
    const auto found = invites_.constFind(clientID);
    if (found == invites_.cend())
        return std::nullopt;
    return *found;
}

// ---- Desktop --------------------------------------------------------------------------------

void AppModel::setApplicationActive(bool active) {
    if (active == applicationActive_)
        return;
    applicationActive_ = active;
    if (active)
        markVisibleConversationRead();
}

void AppModel::setMainWindow(bool exists, bool visible, bool minimised) {
    const bool wasShown = windowExists_ && windowVisible_ && !windowMinimised_;
    windowExists_ = exists;
    windowVisible_ = visible;
    windowMinimised_ = minimised;
    if (!wasShown && exists && visible && !minimised)
        markVisibleConversationRead();
}

std::optional<QString> AppModel::visibleConversation() const {
    if (!selected_ || !applicationActive_ || !windowExists_ || !windowVisible_ || windowMinimised_)
        return std::nullopt;
    if (!session_->phase().isSignedIn() || !session_->state().conversations.contains(*selected_))
        return std::nullopt;
    return selected_;
}

void AppModel::markVisibleConversationRead() {
    const auto visible = visibleConversation();
    if (!visible)
        return;
    session_->markRead(*visible);
    if (notifications_.isActive())
        notifications_.withdraw(*visible);
}

void AppModel::bringMainWindowForward() {
    if (openMainWindow)
        openMainWindow();
}

void AppModel::networkReachable() {
    session_->retryNow();
}

void AppModel::woke() {
    session_->retryNow();
}

void AppModel::windowActivated() {
    markVisibleConversationRead();
}

void AppModel::aboutToQuit() {
    session_->flush();
    if (liveSession_)
        liveSession_->flush();
}

// ---- Notifications --------------------------------------------------------------------------

void AppModel::handleEvent(const SessionEvent& event) {
    const ChatState& state = session_->state();
    if (event.kind == SessionEvent::Kind::removed) {
        notifications_.withdraw(event.conversationID);
        drafts_.remove(event.conversationID);
        if (selected_ == event.conversationID) {
            selected_.reset();
            Q_EMIT selectionChanged();
        }
        return;
    }
    const ChatMessage& message = event.message;
    if (visibleConversation() == message.conversationID) {
        // On screen: read, not announced.
        markVisibleConversationRead();
        return;
    }
    const QString fallback = QStringLiteral("Brevio");
    const auto author = state.users.constFind(message.authorID);
    const QString authorName =
        author != state.users.cend() && !author->name.isEmpty() ? author->name : QString();
    const auto conversation = state.conversations.constFind(message.conversationID);
    QString title;
    std::optional<QString> subtitle;
    if (conversation != state.conversations.cend() &&
        conversation->kind == ConversationKind::group) {
        title = conversation->title.isEmpty() ? fallback : conversation->title;
        if (!authorName.isEmpty())
            subtitle = authorName;
    } else {
        title = authorName.isEmpty() ? fallback : authorName;
    }
    notifications_.notify(title, subtitle, message.text, message.conversationID);
}

void AppModel::updateBadge() {
    badge_.setCount(session_->state().totalUnread());
}

// ---- Operations -----------------------------------------------------------------------------

void AppModel::startDemo(bool asStaff) {
    if (!makeDemo_)
        return;
    if (session_->isDemo()) {
        // A demo replaces a demo; the kept server session stays kept.
        unwire(*session_);
        session_.reset();
        demo_.reset();
    } else {
        unwire(*session_);
        liveSession_ = std::move(session_);
    }
    selected_.reset();
    drafts_.clear();
    demo_ = makeDemo_();
    showSession(makeSession(demo_->transport(), nullptr, true));

    const auto account = demo_->account(asStaff ? Role::staff : Role::client);
    const quint64 attempt = ++demoAttempt_;
    QPointer<AppModel> self(this);
    session_->signIn(DemoWorld::address(), account.email,
                     QString::fromLatin1(LocalServer::demoPassword),
                     [self, attempt](std::expected<void, ChatError> result) {
                         if (!self || attempt != self->demoAttempt_ || result)
                             return;
                         Q_EMIT self->demoFailed(result.error().description());
                     });
}

void AppModel::leaveDemo() {
    if (!session_->isDemo() || !liveSession_)
        return;
    ++demoAttempt_;
    unwire(*session_);
    session_->flush();
    session_.reset();
    demo_.reset();
    selected_.reset();
    drafts_.clear();
    showSession(std::move(liveSession_));
}

void AppModel::showSession(std::unique_ptr<ChatSession> session) {
    session_ = std::move(session);
    invites_.clear();
    wire(*session_);
    Q_EMIT sessionReplaced();
    Q_EMIT serverOriginChanged();
    Q_EMIT selectionChanged();
    sessionStateChanged();
    Q_EMIT statusChanged();
}

void AppModel::signOut() {
    session_->signOut();
}

void AppModel::retryNow() {
    session_->retryNow();
}

bool AppModel::sendText(const QString& conversationID, const QString& text) {
    const QString trimmed = text.trimmed();
    if (trimmed.isEmpty() || trimmed.size() > maximumMessageLength)
        return false;
    return !session_->send(conversationID, trimmed).isEmpty();
}

void AppModel::openDownloadPage() {
    QDesktopServices::openUrl(QUrl(QString::fromLatin1(AppConfig::downloadPage)));
}

} // namespace brevio
