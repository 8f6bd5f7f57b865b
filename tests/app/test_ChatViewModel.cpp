// The chat view's model against a seeded local server in virtual time: composing, replying,
// editing, the actions a message allows, the unread separator and reading, search, message info,
// typing and the connection banner.

#include "AppWorld.h"
#include "views/ChatViewModel.h"

#include <QSignalSpy>

namespace brevio::test {
namespace {

using namespace std::chrono_literals;

// Staff signed in and looking at a direct conversation a client writes in.
struct ChatWorld {
    // A lost connection is tried again after exactly 3 s.
    static SessionSettings settings() {
        SessionSettings s;
        s.backoff = Backoff{3.0, 30.0, 0.0};
        return s;
    }
    ChatWorld() {
        world.signIn(Role::staff);
        conversation = client.sharedWith(world.model->session());
        chat.setApp(world.model.get());
    }
    void open() {
        world.model->selectConversation(conversation);
        chat.setConversationID(conversation);
    }
    void clientSays(const QString& text) {
        client.session.send(conversation, text);
        world.advance(0ms);
    }
    QString rowOfText(const QString& text) const {
        const MessageListModel& list = *const_cast<ChatViewModel&>(chat).messages();
        for (int row = 0; row < list.rowCount(); ++row)
            if (list.entry(row).kind == TimelineEntry::Kind::message &&
                list.entry(row).message.text == text)
                return list.rowID(row);
        return {};
    }
    // The session's copy of the message with this text.
    std::optional<ChatMessage> stored(const QString& text) const {
        for (const ChatMessage& m : world.model->session().state().messages.value(conversation))
            if (m.text == text)
                return m;
        return std::nullopt;
    }
    QStringList actionNames(const QString& rowID) const {
        QStringList names;
        for (const QVariant& a : chat.actions(rowID))
            names.append(a.toMap().value("text").toString());
        return names;
    }

    AppWorld world{settings()};
    Correspondent client{world, Role::client};
    QString conversation;
    ChatViewModel chat;
};

TEST(ChatViewComposer, SendsUpTo4000CharactersAndKeepsDraftsPerConversation) {
    ChatWorld w;
    w.open();
    w.chat.setDraft(QString(4001, u'a'));
    EXPECT_EQ(w.chat.tooLongText(), "Troppo lungo: 4001 caratteri su 4000");
    EXPECT_FALSE(w.chat.canSubmit());
    EXPECT_FALSE(w.chat.submit());

    w.chat.setDraft(QString(4000, u'a'));
    EXPECT_EQ(w.chat.tooLongText(), "");
    ASSERT_TRUE(w.chat.submit());
    w.world.advance(0ms);
    EXPECT_TRUE(w.stored(QString(4000, u'a')));
    EXPECT_EQ(w.chat.draft(), "");
    EXPECT_EQ(w.world.model->draftFor(w.conversation), "");
    EXPECT_EQ(w.chat.messages()->entry(0).message.text, QString(4000, u'a'));

    // A draft waits in the application model while another conversation is open.
    w.chat.setDraft("bozza");
    QString other;
    for (const QString& id : w.world.model->session().state().conversations.keys())
        if (id != w.conversation)
            other = id;
    w.chat.setConversationID(other);
    EXPECT_EQ(w.chat.draft(), "");
    w.chat.setConversationID(w.conversation);
    EXPECT_EQ(w.chat.draft(), "bozza");
    EXPECT_FALSE(w.chat.submit() && w.chat.draft() == "bozza");
}

TEST(ChatViewComposer, RepliesQuoteTheMessageAndEditsSaveThroughTheSession) {
    ChatWorld w;
    w.open();
    w.clientSays("Quando arriva il preventivo?");
    w.chat.replyTo(w.rowOfText("Quando arriva il preventivo?"));
    EXPECT_EQ(w.chat.replyText(), "Risposta a " + w.world.account(Role::client).name);
    w.chat.setDraft("Domani mattina");
    ASSERT_TRUE(w.chat.submit());
    w.world.advance(0ms);
    EXPECT_FALSE(w.chat.replying());
    const auto answer = w.stored("Domani mattina");
    ASSERT_TRUE(answer);
    ASSERT_TRUE(answer->reply.has_value());
    EXPECT_EQ(answer->reply->text, "Quando arriva il preventivo?");

    const QString own = w.rowOfText("Domani mattina");
    w.chat.replyTo(own);
    EXPECT_EQ(w.chat.replyText(), "Rispondi a te stesso");

    // Editing replaces the reply and the draft; Esc gives the draft back.
    w.chat.setDraft("una bozza");
    w.chat.startEditing(own);
    EXPECT_TRUE(w.chat.editing());
    EXPECT_FALSE(w.chat.replying());
    EXPECT_EQ(w.chat.placeholder(), "Correggi il messaggio");
    EXPECT_EQ(w.chat.submitHelp(), "Salva la modifica (Invio)");
    EXPECT_EQ(w.chat.draft(), "Domani mattina");
    w.chat.cancelComposer();
    EXPECT_EQ(w.chat.draft(), "una bozza");
    EXPECT_EQ(w.chat.placeholder(), "Scrivi un messaggio");

    w.chat.startEditing(own);
    w.chat.setDraft("Domani pomeriggio");
    ASSERT_TRUE(w.chat.submit());
    w.world.advance(0ms);
    EXPECT_TRUE(w.stored("Domani pomeriggio"));
    EXPECT_EQ(w.chat.draft(), "una bozza");
    EXPECT_EQ(w.world.model->draftFor(w.conversation), "una bozza");
}

TEST(ChatViewActions, TheMenuOffersWhatTheMessageStillAllows) {
    ChatWorld w;
    w.open();
    w.clientSays("Buongiorno");
    w.chat.setDraft("Salve");
    w.chat.submit();
    w.world.advance(0ms);
    const QString own = w.rowOfText("Salve");
    EXPECT_EQ(w.actionNames(own), QStringList({"Reagisci", "Rispondi", "Copia il testo", "Modifica",
                                               "Info messaggio…", "Elimina per tutti…"}));
    EXPECT_EQ(w.actionNames(w.rowOfText("Buongiorno")),
              QStringList({"Reagisci", "Rispondi", "Copia il testo"}));

    // A day later the message can no longer be changed.
    w.world.advance(25h);
    w.chat.setConversationID({});
    w.open();
    EXPECT_EQ(w.actionNames(w.rowOfText("Salve")),
              QStringList({"Reagisci", "Rispondi", "Copia il testo", "Info messaggio…"}));

    // Deleted for everyone: nothing left to do.
    w.chat.setDraft("Da togliere");
    w.chat.submit();
    w.world.advance(0ms);
    w.chat.deleteForEveryone(w.rowOfText("Da togliere"));
    w.world.advance(0ms);
    EXPECT_FALSE(w.stored("Da togliere"));
    const MessageListModel& list = *w.chat.messages();
    EXPECT_TRUE(list.entry(0).message.isDeleted);
    EXPECT_TRUE(w.chat.actions(list.rowID(0)).isEmpty());
}

TEST(ChatViewActions, AFailedDeleteIsReportedAndReactionsGoBothWays) {
    ChatWorld w;
    w.open();
    w.chat.setDraft("Salve");
    w.chat.submit();
    w.world.advance(0ms);
    const QString own = w.rowOfText("Salve");

    w.chat.react(own, "👍");
    w.world.advance(0ms);
    ASSERT_EQ(w.stored("Salve")->reactions.size(), 1);
    const QVariantList chips =
        w.chat.messages()
            ->data(w.chat.messages()->index(0), MessageListModel::ReactionsRole)
            .toList();
    ASSERT_EQ(chips.size(), 1);
    EXPECT_TRUE(chips[0].toMap()["mine"].toBool());
    EXPECT_EQ(w.actionNames(own).mid(0, 3),
              QStringList({"Reagisci", "Togli la reazione", "Rispondi"}));
    w.chat.react(own, "");
    w.world.advance(0ms);
    EXPECT_TRUE(w.stored("Salve")->reactions.isEmpty());

    QSignalSpy failed(&w.chat, &ChatViewModel::failed);
    w.world.endpoint->dropAll();
    w.world.advance(0ms);
    w.chat.deleteForEveryone(own);
    w.world.advance(0ms);
    ASSERT_EQ(failed.count(), 1);
    EXPECT_TRUE(
        failed[0][0].toString().startsWith("Non è stato possibile eliminare il messaggio."));
}

TEST(ChatViewReading, TheUnreadSeparatorStaysWhereTheMarkWasAndReadingNeedsTheWindow) {
    ChatWorld w;
    w.clientSays("Uno");
    w.clientSays("Due");
    w.open();
    ASSERT_GE(w.chat.unreadRow(), 0);
    const MessageListModel& list = *w.chat.messages();
    EXPECT_EQ(list.data(list.index(w.chat.unreadRow()), MessageListModel::SeparatorRole),
              "2 messaggi non letti");

    // The window is not on screen: shown rows are not read.
    w.chat.newestShown();
    w.world.advance(0ms);
    EXPECT_EQ(w.world.model->session().state().unreadCount(w.conversation), 2);

    w.world.showWindow();
    w.chat.newestShown();
    w.world.advance(0ms);
    EXPECT_EQ(w.world.model->session().state().unreadCount(w.conversation), 0);
    // Read, but the separator stays until the conversation is opened again.
    EXPECT_GE(w.chat.unreadRow(), 0);
    w.chat.setConversationID({});
    w.open();
    EXPECT_EQ(w.chat.unreadRow(), -1);
}

TEST(ChatViewSearch, FindsLoadedMessagesWithoutCaseOrAccentsAndStepsThroughThem) {
    ChatWorld w;
    w.open();
    w.clientSays("Perché no?");
    w.clientSays("altro");
    w.clientSays("perche sì");
    w.chat.setSearchQuery(" PERCHE ");
    EXPECT_EQ(w.chat.matchCount(), 2);
    EXPECT_EQ(w.chat.searchStatus(), "1 di 2");
    EXPECT_EQ(w.chat.currentMatchRow(), w.chat.messages()->rowOf(w.rowOfText("perche sì")));
    w.chat.previousMatch();
    EXPECT_EQ(w.chat.searchStatus(), "2 di 2");
    EXPECT_EQ(w.chat.currentMatchRow(), w.chat.messages()->rowOf(w.rowOfText("Perché no?")));
    w.chat.previousMatch(); // already the oldest
    EXPECT_EQ(w.chat.searchStatus(), "2 di 2");
    w.chat.nextMatch();
    EXPECT_EQ(w.chat.searchStatus(), "1 di 2");

    // A new match keeps the one being looked at.
    w.chat.previousMatch();
    w.clientSays("e perché?");
    EXPECT_EQ(w.chat.matchCount(), 3);
    EXPECT_EQ(w.chat.searchStatus(), "3 di 3");

    w.chat.setSearchQuery("zzz");
    EXPECT_EQ(w.chat.searchStatus(), "Nessun risultato");
    EXPECT_EQ(w.chat.currentMatchRow(), -1);
    w.chat.closeSearch();
    EXPECT_EQ(w.chat.searchStatus(), "");
}

TEST(ChatViewInfo, ReceiptsNameEveryoneElseInTheConversation) {
    ChatWorld w;
    w.open();
    w.chat.setDraft("Letto?");
    w.chat.submit();
    w.world.advance(0ms);
    w.client.session.markRead(w.conversation);
    w.world.advance(0ms);

    w.chat.requestInfo(w.rowOfText("Letto?"));
    EXPECT_TRUE(w.chat.infoLoading());
    w.world.advance(0ms);
    EXPECT_FALSE(w.chat.infoLoading());
    const QVariantList rows = w.chat.infoRows();
    ASSERT_FALSE(rows.isEmpty());
    bool clientRead = false;
    for (const QVariant& row : rows) {
        const QVariantMap r = row.toMap();
        if (r["name"] == w.world.account(Role::client).name)
            clientRead = r["status"].toString().startsWith("Letto alle ");
        else
            EXPECT_TRUE(r["status"] == "Non ancora ricevuto" ||
                        r["status"] == "Ricevuto, non ancora letto")
                << r["status"].toString().toStdString();
    }
    EXPECT_TRUE(clientRead);
}

TEST(ChatViewPresence, TypingNamesAndTheBannerCountingDown) {
    ChatWorld w;
    w.open();
    w.client.session.typing(w.conversation);
    w.world.advance(0ms);
    EXPECT_EQ(w.chat.typingText(), w.world.account(Role::client).name + " sta scrivendo…");
    EXPECT_EQ(w.chat.bannerText(), "");
    EXPECT_EQ(w.chat.indicatorLabel(), "Collegato");

    w.world.endpoint->dropAll();
    w.world.advance(0ms);
    const ConnectionStatus status = w.world.model->session().status();
    ASSERT_TRUE(status.isWaiting());
    EXPECT_TRUE(w.chat.bannerOffersRetry());
    EXPECT_EQ(w.chat.bannerText(), "Connessione persa. Nuovo tentativo tra 3 s.");

    // The text follows the clock down, one second at a time.
    w.world.advance(1ms);
    EXPECT_EQ(w.chat.bannerText(), "Connessione persa. Nuovo tentativo tra 3 s.");
    w.world.advance(999ms);
    EXPECT_EQ(w.chat.bannerText(), "Connessione persa. Nuovo tentativo tra 2 s.");
    w.world.advance(1000ms);
    EXPECT_EQ(w.chat.bannerText(), "Connessione persa. Nuovo tentativo tra 1 s.");
    w.world.advance(1000ms); // the reconnect comes on time
    EXPECT_EQ(w.chat.bannerText(), "");
    EXPECT_EQ(w.chat.indicatorLabel(), "Collegato");

    // "Riprova ora" does not wait.
    w.world.endpoint->dropAll();
    w.world.advance(0ms);
    EXPECT_FALSE(w.chat.bannerText().isEmpty());
    w.chat.retryNow();
    w.world.advance(0ms);
    EXPECT_EQ(w.chat.bannerText(), "");
}

} // namespace
} // namespace brevio::test
