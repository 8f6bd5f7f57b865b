// Writes the application's screens as PNGs: the real main window (Main.qml) with the real model,
// brought into each state the way a user would get there, in the light and the dark theme.
// Run under Xvfb by scripts/screenshots.sh.

#include "localserver/DemoSeed.h"
#include "localserver/LocalServer.h"
#include "session/FileSessionStore.h"
#include "shell/AppModel.h"
#include "shell/Preferences.h"
#include "shell/Rendering.h"
#include "support/EventLoopWait.h"
#include "support/FaultyEndpoint.h"
#include "support/QuietDesktop.h"
#include "transport/LocalTransport.h"
#include "views/ChatViewModel.h"
#include "views/GroupEditorModel.h"
#include "views/InviteSheetModel.h"
#include "views/LoginForm.h"

#include <QApplication>
#include <QCursor>
#include <QDir>
#include <QQmlApplicationEngine>
#include <QQmlContext>
#include <QQuickItem>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QScreen>
#include <QTemporaryDir>
#include <QtQml/qqmlextensionplugin.h>
#include <cstdio>

Q_IMPORT_QML_PLUGIN(BrevioPlugin)

using namespace brevio;
using brevio::test::NoBadge;
using brevio::test::NoNotifications;

namespace {

// Connections that never come up: a restored session stays on the connecting screen.
struct Unreachable final : ChatTransport {
    std::expected<std::shared_ptr<TransportConnection>, ChatError> connect(const QUrl&) override {
        return std::unexpected(ChatError::unreachable());
    }
};

class Shooter {
public:
    Shooter(QString directory, bool dark) : directory_(std::move(directory)), dark_(dark) {}

    // A window over `model`; `prepare` runs once the screen is up, before the picture.
    void shoot(AppModel& model, const QString& name,
               const std::function<void(QQuickWindow&)>& prepare = {}) {
        QQmlApplicationEngine engine;
        engine.addImportPath(QStringLiteral("qrc:/qt/qml"));
        engine.setInitialProperties({{QStringLiteral("app"), QVariant::fromValue(&model)}});
        engine.load(QUrl(QStringLiteral("qrc:/qt/qml/Brevio/Main.qml")));
        auto* window = qobject_cast<QQuickWindow*>(engine.rootObjects().value(0));
        if (!window)
            return;
        window->show();
        test::waitUntil([&] { return window->isExposed(); }, std::chrono::seconds(5));
        // The pointer off the window: nothing shows its hover state.
        QCursor::setPos(window->screen(), window->screen()->geometry().bottomRight());
        settle();
        if (prepare) {
            prepare(*window);
            settle();
        }
        const QString path = QDir(directory_)
                                 .filePath(name + (dark_ ? QStringLiteral("-dark.png")
                                                         : QStringLiteral("-light.png")));
        window->grabWindow().save(path);
        std::printf("%s\n", qPrintable(path));
    }

    static void settle() {
        QElapsedTimer waited;
        waited.start();
        test::waitUntil([&] { return waited.elapsed() > 400; });
    }

private:
    QString directory_;
    bool dark_;
};

// The login screen's form, wherever the loader put the screen.
LoginForm* formBelow(QQuickItem* item) {
    if (auto* form = qvariant_cast<LoginForm*>(item->property("form")))
        return form;
    for (QQuickItem* child : item->childItems())
        if (LoginForm* form = formBelow(child))
            return form;
    return nullptr;
}
LoginForm* formIn(QQuickWindow& window) {
    return formBelow(window.contentItem());
}

// The first item named `name` below `item`.
QQuickItem* itemNamed(QQuickItem* item, const QString& name) {
    if (item->objectName() == name)
        return item;
    for (QQuickItem* child : item->childItems())
        if (QQuickItem* found = itemNamed(child, name))
            return found;
    return nullptr;
}
ChatViewModel* chatIn(QQuickWindow& window) {
    QQuickItem* view = itemNamed(window.contentItem(), QStringLiteral("chatView"));
    return view ? qvariant_cast<ChatViewModel*>(view->property("chat")) : nullptr;
}
// The id of the conversation titled `title`.
QString conversationTitled(AppModel& model, const QString& title) {
    for (const Conversation& c : model.session().state().conversations)
        if (c.title == title)
            return c.id;
    return {};
}
// The seq the server gave the message `clientID` sent, once `session` holds it; 0 if it never came.
qint64 acceptedSeq(const ChatSession& session, const QString& conversationID,
                   const QString& clientID) {
    qint64 seq = 0;
    test::waitUntil(
        [&] {
            for (const ChatMessage& m : session.state().messages.value(conversationID))
                if (m.clientID == clientID)
                    seq = m.seq;
            return seq > 0;
        },
        std::chrono::seconds(10));
    return seq;
}
// Sends `text` and deletes it again once the server has it.
void sendAndDelete(ChatSession& session, const QString& conversationID, const QString& text) {
    const qint64 seq = acceptedSeq(session, conversationID, session.send(conversationID, text));
    bool deleted = false;
    session.deleteMessage(conversationID, seq, [&](auto) { deleted = true; });
    test::waitUntil([&] { return deleted; }, std::chrono::seconds(10));
}

// The row id of the newest message whose text contains `text`.
QString rowWithText(ChatViewModel& chat, const QString& text) {
    MessageListModel& rows = *chat.messages();
    for (int row = 0; row < rows.rowCount(); ++row)
        if (rows.data(rows.index(row), MessageListModel::TextRole).toString().contains(text))
            return rows.rowID(row);
    return {};
}

// The invite sheet's result for a client company, and the group editor with two people chosen,
// over the staff demo.
void shootSheets(Shooter& shooter, AppModel& model) {
    const QString direct = conversationTitled(model, QStringLiteral("Panificio Orlandi"));
    model.selectConversation(direct);
    const auto company = model.session().state().conversations.value(direct).clientID;
    model.setProperty("inviteClientID", company.value_or(QString()));
    model.setProperty("isInviteSheetPresented", true);
    shooter.shoot(model, QStringLiteral("invite-result"), [](QQuickWindow& w) {
        auto* sheet = w.findChild<InviteSheetModel*>();
        if (!sheet)
            return;
        sheet->setName(QStringLiteral("Lia Orlandi"));
        sheet->setEmail(QStringLiteral("lia.orlandi@example.org"));
        sheet->create();
        test::waitUntil([&] { return sheet->hasInvite(); }, std::chrono::seconds(10));
        sheet->copyToClipboard = {};
        sheet->copyMessage();
    });
    model.setProperty("isInviteSheetPresented", false);

    model.setProperty("isNewGroupRequested", true);
    shooter.shoot(model, QStringLiteral("group-editor"), [](QQuickWindow& w) {
        for (auto* editor : w.findChildren<GroupEditorModel*>()) {
            if (!editor->isCreating())
                continue;
            editor->setName(QStringLiteral("Consegne di dicembre"));
            const QList<PersonRow> offered = editor->offered();
            for (qsizetype i = 0; i < std::min<qsizetype>(2, offered.size()); ++i)
                editor->toggle(offered[i].user.id);
        }
    });
    model.setProperty("isNewGroupRequested", false);

    // The inspectors beside a client's conversation and beside a group.
    model.setProperty("showsInspector", true);
    shooter.shoot(model, QStringLiteral("inspector-client"));
    model.selectConversation(conversationTitled(model, QString::fromUtf8(DemoSeed::groupTitle)));
    shooter.shoot(model, QStringLiteral("inspector-group"));
    model.setProperty("showsInspector", false);
}

// The staff's home with nothing open and with the list searched by a message's text, then the
// client's home, over the demos.
void shootHomes(Shooter& shooter, AppModel& model) {
    model.startDemo(true);
    test::waitUntil([&] { return model.screen() == QStringLiteral("staffHome"); },
                    std::chrono::seconds(10));
    model.selectConversation(QString());
    shooter.shoot(model, QStringLiteral("home-staff-none"));
    shooter.shoot(model, QStringLiteral("home-staff-search"), [](QQuickWindow& w) {
        if (QQuickItem* field = itemNamed(w.contentItem(), QStringLiteral("listSearchField")))
            field->setProperty("text", QStringLiteral("driver"));
    });
    model.startDemo(false);
    test::waitUntil([&] { return model.screen() == QStringLiteral("clientHome"); },
                    std::chrono::seconds(10));
    shooter.shoot(model, QStringLiteral("home-client"));
}

// The settings window on each of its tabs, over the staff demo; the notifications tab also as it
// looks when nothing can show notifications.
void shootSettings(const QString& directory, bool dark, AppModel& model) {
    const auto shootTab = [&](int tab, const QString& name) {
        QQmlApplicationEngine engine;
        engine.addImportPath(QStringLiteral("qrc:/qt/qml"));
        engine.setInitialProperties({{QStringLiteral("app"), QVariant::fromValue(&model)},
                                     {QStringLiteral("currentTab"), tab}});
        engine.load(QUrl(QStringLiteral("qrc:/qt/qml/Brevio/SettingsWindow.qml")));
        auto* window = qobject_cast<QQuickWindow*>(engine.rootObjects().value(0));
        if (!window)
            return;
        window->show();
        test::waitUntil([&] { return window->isExposed(); }, std::chrono::seconds(5));
        QCursor::setPos(window->screen(), window->screen()->geometry().bottomRight());
        Shooter::settle();
        const QString path = QDir(directory).filePath(
            name + (dark ? QStringLiteral("-dark.png") : QStringLiteral("-light.png")));
        window->grabWindow().save(path);
        std::printf("%s\n", qPrintable(path));
    };
    shootTab(0, QStringLiteral("settings-account"));
    shootTab(1, QStringLiteral("settings-notifications"));
    model.setNotificationsBlocked(true);
    shootTab(1, QStringLiteral("settings-notifications-blocked"));
    model.setNotificationsBlocked(false);
    shootTab(2, QStringLiteral("settings-general"));
}

} // namespace

int main(int argc, char** argv) {
    Rendering::apply(); // drawn as the program draws on this machine
    QApplication app(argc, argv);
    QQuickStyle::setStyle(QStringLiteral("Fusion"));
    const QString directory = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral(".");
    QDir().mkpath(directory);

    RealClock clock;
    NoNotifications notifications;
    NoBadge badge;
    Unreachable unreachable;
    const auto parts = [&](ChatTransport& transport, SessionStore* store) {
        return AppParts{
            .clock = clock,
            .transport = transport,
            .store = store,
            .clientInfo = ClientInfo::current(),
            .notifications = notifications,
            .badge = badge,
            .makeDemo =
                [&clock] {
                    return std::make_unique<DemoWorld>(clock, DemoWorld::Threading::callerThread);
                },
        };
    };

    for (const bool dark : {false, true}) {
        // The theme the user chose, as the settings store it.
        preferences().setValue(QStringLiteral("appTheme"),
                               dark ? QStringLiteral("dark") : QStringLiteral("light"));
        Shooter shooter(directory, dark);
        {
            AppModel model(parts(unreachable, nullptr));
            shooter.shoot(model, QStringLiteral("login-signin"));
            shooter.shoot(model, QStringLiteral("login-request"),
                          [](QQuickWindow& w) { formIn(w)->setMode(LoginForm::Request); });
            shooter.shoot(model, QStringLiteral("login-invite"), [](QQuickWindow& w) {
                formIn(w)->setMode(LoginForm::Invite);
                formIn(w)->showsAdvanced = true;
                Q_EMIT formIn(w)->fieldsChanged();
            });
            shooter.shoot(model, QStringLiteral("login-error"), [](QQuickWindow& w) {
                LoginForm* form = formIn(w);
                form->email = QStringLiteral("marta@example.com");
                form->password = QStringLiteral("password");
                form->serverText = QStringLiteral("ws://127.0.0.1:9/ws");
                Q_EMIT form->fieldsChanged();
                form->submit();
                test::waitUntil([&] { return !form->isWorking(); }, std::chrono::seconds(10));
            });
        }
        {
            // Signed in on this computer, the server out of reach, nothing saved yet.
            QTemporaryDir home;
            FileSessionStore store(home.path());
            store.saveCredentials(
                SessionCredentials{QUrl(QStringLiteral("wss://chat.brevio.app/ws")),
                                   QStringLiteral("token"), QStringLiteral("u-1")});
            store.flush();
            AppModel model(parts(unreachable, &store));
            model.session().restore();
            shooter.shoot(model, QStringLiteral("connecting"));
        }
        {
            // A server that no longer takes this build.
            LocalServer::Options options;
            options.minimumBuild = 1000000;
            auto server = std::make_shared<LocalServer>(options, clock);
            server->seedDemo();
            LocalTransport transport(server);
            AppModel model(parts(transport, nullptr));
            model.session().signIn(QUrl(QStringLiteral("ws://127.0.0.1:8787/ws")),
                                   server->seededAccounts().front().email,
                                   QString::fromLatin1(LocalServer::demoPassword), {});
            test::waitUntil([&] { return model.screen() == QStringLiteral("upgrade"); },
                            std::chrono::seconds(10));
            shooter.shoot(model, QStringLiteral("upgrade"));
        }
        {
            AppModel model(parts(unreachable, nullptr));
            model.startDemo(true);
            test::waitUntil([&] { return model.screen() == QStringLiteral("staffHome"); },
                            std::chrono::seconds(10));
            QStringList ids = model.session().state().conversations.keys();
            ids.sort();
            model.selectConversation(ids.value(0));
            shooter.shoot(model, QStringLiteral("home-staff"));

            // A group: names and pictures beside the runs, a quote, reactions, ticks.
            model.selectConversation(
                conversationTitled(model, QString::fromUtf8(DemoSeed::groupTitle)));
            shooter.shoot(model, QStringLiteral("chat-group"));

            // A client's conversation: an edited message, a quote, the delivery ticks.
            model.selectConversation(
                conversationTitled(model, QStringLiteral("Studio Bassi Architetti")));
            shooter.shoot(model, QStringLiteral("chat-direct"));

            // Searching while answering a message; a draft past the length limit.
            model.selectConversation(
                conversationTitled(model, QStringLiteral("Panificio Orlandi")));
            shooter.shoot(model, QStringLiteral("chat-search"), [](QQuickWindow& w) {
                ChatViewModel* chat = chatIn(w);
                if (!chat)
                    return;
                itemNamed(w.contentItem(), QStringLiteral("chatView"))
                    ->setProperty("searchOpen", true);
                chat->setSearchQuery(QStringLiteral("menù"));
                chat->replyTo(rowWithText(*chat, QStringLiteral("Perfetto, grazie!")));
            });
            model.selectConversation(conversationTitled(model, QStringLiteral("Ferramenta Conti")));
            shooter.shoot(model, QStringLiteral("chat-too-long"), [](QQuickWindow& w) {
                if (QQuickItem* field = itemNamed(w.contentItem(), QStringLiteral("composerField")))
                    field->setProperty("text", QStringLiteral("Ecco il riepilogo. ").repeated(211));
            });

            model.selectConversation(
                conversationTitled(model, QStringLiteral("Agriturismo Le Querce")));
            shooter.shoot(model, QStringLiteral("chat-empty"));
        }
        {
            AppModel model(parts(unreachable, nullptr));
            model.startDemo(true);
            test::waitUntil([&] { return model.screen() == QStringLiteral("staffHome"); },
                            std::chrono::seconds(10));
            shootSheets(shooter, model);
            shootSettings(directory, dark, model);
        }
        {
            AppModel model(parts(unreachable, nullptr));
            shootHomes(shooter, model);
        }
        {
            // A client's conversation on a server of the demo's people, with a member of staff
            // signed in beside: messages deleted by either side, a message the server refused,
            // the staff member typing; then the connection lost while the server is out of reach.
            auto server =
                std::make_shared<LocalServer>(LocalServer::Options{.autoReply = false}, clock);
            server->seedDemo();
            const QList<LocalServer::SeededAccount> accounts = server->seededAccounts();
            auto endpoint = std::make_shared<test::FaultyEndpoint>(server);
            LocalTransport transport(endpoint);
            AppParts clientParts = parts(transport, nullptr);
            // The next attempt well after the picture, so that it shows the wait.
            clientParts.settings.backoff = {.base = 20, .maximum = 20, .jitter = 0};
            AppModel model(clientParts);
            const QUrl address(QStringLiteral("ws://127.0.0.1:8787/ws"));
            const QString password = QString::fromLatin1(LocalServer::demoPassword);
            model.session().signIn(address, accounts.value(1).email, password, {});
            ChatSession staff(clock, transport, nullptr, ClientInfo::current());
            staff.signIn(address, accounts.value(0).email, password, {});
            test::waitUntil(
                [&] {
                    return model.screen() == QStringLiteral("clientHome") &&
                           staff.status().isOnline() && model.session().status().isOnline();
                },
                std::chrono::seconds(10));
            const QString direct = conversationTitled(model, QStringLiteral("Panificio Orlandi"));
            model.selectConversation(direct);

            sendAndDelete(staff, direct,
                          QStringLiteral("Giulia, il listino che ti ho mandato è quello vecchio."));
            sendAndDelete(model.session(), direct,
                          QStringLiteral("Scusa, ho scritto nella chat sbagliata."));
            acceptedSeq(staff, direct,
                        staff.send(direct, QStringLiteral("Ecco il listino giusto: lo trovi in "
                                                          "allegato alla mail di stamattina.")));
            // Giulia has read it (her window would have been in front).
            test::waitUntil(
                [&] {
                    return model.session().state().messages.value(direct).size() ==
                           staff.state().messages.value(direct).size();
                },
                std::chrono::seconds(10));
            model.session().markRead(direct);
            endpoint->refuseNextMessage(QStringLiteral("rate_limited"));
            model.session().send(direct, QStringLiteral("Grazie! Lo stampo per il negozio."));
            test::waitUntil(
                [&] {
                    const auto outbox = model.session().state().outbox;
                    return !outbox.isEmpty() && outbox.constFirst().failure.has_value();
                },
                std::chrono::seconds(10));
            shooter.shoot(model, QStringLiteral("chat-client"), [&](QQuickWindow& w) {
                staff.typing(direct);
                test::waitUntil([&] { return chatIn(w) && !chatIn(w)->typingText().isEmpty(); },
                                std::chrono::seconds(10));
            });

            // Marta's typing lapses before the connection goes.
            test::waitUntil([&] { return model.session().state().typingUsers(direct).isEmpty(); },
                            std::chrono::seconds(15));
            endpoint->setReachable(false);
            endpoint->dropAll();
            test::waitUntil([&] { return model.session().status().isWaiting(); },
                            std::chrono::seconds(10));
            shooter.shoot(model, QStringLiteral("chat-client-offline"));
        }
    }
    return 0;
}
