#pragma once

#include "model/Clock.h"
#include "session/ChatSession.h"
#include "shell/DemoWorld.h"
#include "shell/platform/Badge.h"
#include "shell/platform/Notifications.h"

#include <QHash>
#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>
#include <functional>
#include <memory>
#include <optional>

namespace brevio {

// What the model needs from the desktop and the process, so that tests can hand in fakes.
struct AppParts {
    Clock& clock;             // the main thread's clock (sessions' timers)
    ChatTransport& transport; // connections to real servers
    SessionStore* store = nullptr;
    ClientInfo clientInfo;
    Notifications& notifications;
    Badge& badge;
    // A fresh demo server each time a demo starts.
    std::function<std::unique_ptr<DemoWorld>()> makeDemo;
    SessionSettings settings = {};
};

// The one object the application's screens share. It owns the session they show (and the real
// one, kept aside while a demo runs), the state of the interface that must outlive a view
// (selection, drafts, sheet requests), and the glue to the desktop: notifications, the launcher
// badge, window and application activation, reachability and wake. Main thread only.
class AppModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("the application creates its one model")

    // The screen the main window shows: "login", "restoring" (the saved state is being read: a
    // blank window for a moment), "connecting", "upgrade", "staffHome" or "clientHome".
    Q_PROPERTY(QString screen READ screen NOTIFY screenChanged)
    Q_PROPERTY(bool sessionExpired READ sessionExpired NOTIFY screenChanged)
    Q_PROPERTY(bool isDemo READ isDemo NOTIFY sessionReplaced)
    Q_PROPERTY(QString version READ version CONSTANT)
    // The screens use the dark palette; follows the stored choice and the desktop live.
    Q_PROPERTY(bool darkTheme READ darkTheme NOTIFY themeChanged)
    // The stored choice: "system", "light" or "dark".
    Q_PROPERTY(QString appTheme READ appTheme WRITE setAppTheme NOTIFY themeChanged)
    // The session's server address, against which avatars resolve photos that are server paths.
    Q_PROPERTY(QString serverOrigin READ serverOrigin NOTIFY serverOriginChanged)
    Q_PROPERTY(QString upgradeText READ upgradeText CONSTANT)
    Q_PROPERTY(QString userName READ userName NOTIFY stateChanged)
    Q_PROPERTY(QString organization READ organization NOTIFY stateChanged)
    Q_PROPERTY(int unreadTotal READ unreadTotal NOTIFY stateChanged)
    Q_PROPERTY(QString connectionWord READ connectionWord NOTIFY statusChanged)
    Q_PROPERTY(QString selectedConversationID READ selectedConversationIDText WRITE
                   selectConversation NOTIFY selectionChanged)
    Q_PROPERTY(bool isInviteSheetPresented MEMBER isInviteSheetPresented_ NOTIFY sheetsChanged)
    Q_PROPERTY(bool isNewGroupRequested MEMBER isNewGroupRequested_ NOTIFY sheetsChanged)
    Q_PROPERTY(QString inviteClientID MEMBER inviteClientID_ NOTIFY sheetsChanged)
    Q_PROPERTY(bool showsInspector MEMBER showsInspector_ NOTIFY sheetsChanged)
    // No notification server answers on the desktop (set by main() from the notifier).
    Q_PROPERTY(bool notificationsBlocked READ notificationsBlocked WRITE setNotificationsBlocked
                   NOTIFY notificationsBlockedChanged)

public:
    explicit AppModel(AppParts parts, QObject* parent = nullptr);
    ~AppModel() override;

    ChatSession& session() { return *session_; }
    const ChatSession& session() const { return *session_; }
    // The server session while a demo runs.
    ChatSession* liveSession() { return liveSession_.get(); }
    // The main thread's clock, shared with the views' timers.
    Clock& clock() const { return clock_; }

    QString screen() const;
    bool sessionExpired() const;
    bool isDemo() const { return session_->isDemo(); }
    QString version() const { return clientInfo_.version; }
    QString upgradeText() const;
    QString userName() const;
    QString organization() const;
    int unreadTotal() const;
    QString connectionWord() const;

    // ---- Interface state ----------------------------------------------------------------------
    const std::optional<QString>& selectedConversationID() const { return selected_; }
    QString selectedConversationIDText() const { return selected_.value_or(QString()); }
    Q_INVOKABLE void selectConversation(const QString& conversationID);
    Q_INVOKABLE QString draftFor(const QString& conversationID) const;
    Q_INVOKABLE void setDraft(const QString& conversationID, const QString& text);
    const QHash<QString, QString>& drafts() const { return drafts_; }
    // The last invite made in this run for each client company (the server never lists them);
    // forgotten with the session.
    void rememberInvite(const Invite& invite);
    std::optional<Invite> inviteFor(const QString& clientID) const;

    // ---- What the desktop tells the model -----------------------------------------------------
    void setApplicationActive(bool active);
    // The main window: whether it exists, is visible and is minimised.
    void setMainWindow(bool exists, bool visible, bool minimised);
    // Shows the main window again (raised, un-minimised, re-created when closed); set by main().
    std::function<void()> openMainWindow;

    // The conversation the user is looking at: the selected one while the application is active,
    // the main window exists, is visible and not minimised, and the session is signed in and holds
    // it.
    std::optional<QString> visibleConversation() const;
    Q_INVOKABLE void markVisibleConversationRead();
    Q_INVOKABLE void bringMainWindowForward();
    // The network is reachable again, or the computer woke: reconnect now if offline.
    void networkReachable();
    void woke();
    // The window came forward, the application became active, the window was un-minimised.
    void windowActivated();
    // Quitting: everything reaches the disk.
    void aboutToQuit();

    // ---- Operations the screens call ----------------------------------------------------------
    // Starts a demo signed in as a staff member or a client; the real session is kept aside.
    Q_INVOKABLE void startDemo(bool asStaff);
    // Back to the real session; nothing when no demo runs.
    Q_INVOKABLE void leaveDemo();
    Q_INVOKABLE void signOut();
    Q_INVOKABLE void retryNow();
    // Sends a text into a conversation; false when it was refused (empty, unknown conversation).
    Q_INVOKABLE bool sendText(const QString& conversationID, const QString& text);
    Q_INVOKABLE void openDownloadPage();
    // Asks for the settings window (it lives beside the main window).
    Q_INVOKABLE void openSettings() { Q_EMIT settingsRequested(); }
    bool notificationsBlocked() const { return notificationsBlocked_; }
    void setNotificationsBlocked(bool blocked) {
        if (blocked != notificationsBlocked_) {
            notificationsBlocked_ = blocked;
            Q_EMIT notificationsBlockedChanged();
        }
    }

    // Whether the screens use the dark palette: the "appTheme" preference ("light", "dark"),
    // otherwise what the desktop wants.
    bool darkTheme() const { return prefersDark(appTheme_, desktopDark_); }
    static bool prefersDark(const QString& stored, bool desktopIsDark);
    QString appTheme() const { return appTheme_; }
    // Stores the choice; a text that names no theme is ignored.
    void setAppTheme(const QString& theme);
    // What the desktop wants (its colour scheme, or its palette); the palette's at start.
    void setDesktopDark(bool dark);
    bool desktopDark() const { return desktopDark_; }
    // Whether the application palette's window is darker than its text.
    static bool paletteIsDark();

    QString serverOrigin() const;

    // The launcher badge's text for an unread total: nothing for 0.
    static QString badgeText(qint64 unread);

Q_SIGNALS:
    void screenChanged();
    void sessionReplaced();
    void stateChanged();
    void statusChanged();
    void selectionChanged();
    void sheetsChanged();
    void invitesChanged();
    // A demo could not be started (its sign-in failed): the text to show.
    void demoFailed(const QString& message);
    void settingsRequested();
    void notificationsBlockedChanged();
    void themeChanged();
    void serverOriginChanged();

private:
    std::unique_ptr<ChatSession> makeSession(ChatTransport& transport, SessionStore* store,
                                             bool isDemo);
    void wire(ChatSession& session);
    // Makes `session` the one the screens show, wired, and tells them.
    void showSession(std::unique_ptr<ChatSession> session);
    void unwire(ChatSession& session);
    void handleEvent(const SessionEvent& event);
    void updateBadge();
    void sessionStateChanged();

    Clock& clock_;
    ChatTransport& transport_;
    SessionStore* const store_;
    const ClientInfo clientInfo_;
    Notifications& notifications_;
    Badge& badge_;
    std::function<std::unique_ptr<DemoWorld>()> makeDemo_;
    const SessionSettings settings_;

    std::unique_ptr<DemoWorld> demo_;
    std::unique_ptr<ChatSession> session_;
    std::unique_ptr<ChatSession> liveSession_;

    std::optional<QString> selected_;
    QHash<QString, QString> drafts_;
    QHash<QString, Invite> invites_;
    bool isInviteSheetPresented_ = false;
    bool isNewGroupRequested_ = false;
    QString inviteClientID_;
    bool showsInspector_ = false;

    bool applicationActive_ = false;
    bool windowExists_ = false;
    bool windowVisible_ = false;
    bool windowMinimised_ = false;
    quint64 demoAttempt_ = 0;
    QString lastScreen_;
    QString appTheme_;
    bool desktopDark_ = false;
    bool notificationsBlocked_ = false;
};

} // namespace brevio
