// Writes the application's screens as PNGs: the real main window (Main.qml) with the real model,
// brought into each state the way a user would get there, in the light and the dark theme.
// Run under Xvfb by scripts/screenshots.sh.

#include "localserver/DemoSeed.h"
#include "localserver/LocalServer.h"
#include "session/FileSessionStore.h"
#include "shell/AppModel.h"
#include "shell/Preferences.h"
#include "support/EventLoopWait.h"
#include "support/QuietDesktop.h"
#include "transport/LocalTransport.h"
#include "views/ChatViewModel.h"
#include "views/LoginForm.h"

#include <QApplication>
#include <QDir>
#include <QQmlApplicationEngine>
#include <QQmlContext>
#include <QQuickItem>
#include <QQuickStyle>
#include <QQuickWindow>
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
// The row id of the newest message whose text contains `text`.
QString rowWithText(ChatViewModel& chat, const QString& text) {
    MessageListModel& rows = *chat.messages();
    for (int row = 0; row < rows.rowCount(); ++row)
        if (rows.data(rows.index(row), MessageListModel::TextRole).toString().contains(text))
            return rows.rowID(row);
    return {};
}

} // namespace

int main(int argc, char** argv) {
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
    }
    return 0;
}
