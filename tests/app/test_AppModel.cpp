#include "AppWorld.h"

#include <QSignalSpy>

namespace brevio::test {
namespace {

TEST(AppModelVisibleConversation, OnlyTheSelectedConversationOnScreenInAnActiveApplication) {
    AppWorld world;
    world.signIn(Role::staff);
    const QString id = world.someConversation();
    ASSERT_FALSE(id.isEmpty());
    world.model->selectConversation(id);

    struct Case {
        bool active, exists, visible, minimised;
    };
    for (int bits = 0; bits < 16; ++bits) {
        const Case c{bool(bits & 1), bool(bits & 2), bool(bits & 4), bool(bits & 8)};
        world.model->setApplicationActive(c.active);
        world.model->setMainWindow(c.exists, c.visible, c.minimised);
        const bool expected = c.active && c.exists && c.visible && !c.minimised;
        EXPECT_EQ(world.model->visibleConversation().has_value(), expected)
            << "active " << c.active << " exists " << c.exists << " visible " << c.visible
            << " minimised " << c.minimised;
    }

    world.showWindow();
    EXPECT_EQ(world.model->visibleConversation(), id);
    world.model->selectConversation(QStringLiteral("not-a-conversation"));
    EXPECT_EQ(world.model->visibleConversation(), std::nullopt);
    world.model->selectConversation(QString());
    EXPECT_EQ(world.model->selectedConversationID(), std::nullopt);
}

TEST(AppModelVisibleConversation, NothingIsVisibleWhileSignedOut) {
    AppWorld world;
    world.showWindow();
    world.model->selectConversation(QStringLiteral("c1"));
    EXPECT_EQ(world.model->visibleConversation(), std::nullopt);
    EXPECT_EQ(world.model->screen(), QStringLiteral("login"));
}

TEST(AppModelNotifications, AMinimisedWindowGetsANotificationAndReadsOnlyWhenShownAgain) {
    AppWorld world;
    world.signIn(Role::staff);
    Correspondent client(world, Role::client);
    const QString id = client.sharedWith(world.model->session());
    ASSERT_FALSE(id.isEmpty());
    world.model->selectConversation(id);
    world.model->setApplicationActive(true);
    world.model->setMainWindow(true, true, true);
    const qint64 unreadBefore = world.model->session().state().unreadCount(id);

    client.session.send(id, QStringLiteral("Il preventivo è pronto?"));
    world.advance(Duration::zero());

    ASSERT_EQ(world.notifications.posted.size(), 1u);
    const auto& posted = world.notifications.posted.front();
    EXPECT_EQ(posted.title, world.account(Role::client).name);
    EXPECT_EQ(posted.body, QStringLiteral("Il preventivo è pronto?"));
    EXPECT_EQ(posted.conversationID, id);
    EXPECT_EQ(world.model->session().state().unreadCount(id), unreadBefore + 1);
    EXPECT_EQ(world.badge.counts.back(), world.model->session().state().totalUnread());

    world.model->setMainWindow(true, true, false); // un-minimised
    world.advance(Duration::zero());
    EXPECT_EQ(world.model->session().state().unreadCount(id), 0);
    EXPECT_TRUE(world.notifications.withdrawn.contains(id));
}

TEST(AppModelNotifications, TheConversationInFrontIsReadAndNotAnnounced) {
    AppWorld world;
    world.signIn(Role::staff);
    Correspondent client(world, Role::client);
    const QString id = client.sharedWith(world.model->session());
    world.model->selectConversation(id);
    world.showWindow();

    client.session.send(id, QStringLiteral("Eccomi"));
    world.advance(Duration::zero());

    EXPECT_TRUE(world.notifications.posted.empty());
    EXPECT_EQ(world.model->session().state().unreadCount(id), 0);
}

TEST(AppModelNotifications, AGroupMessageIsTitledByTheGroupAndSubtitledByItsAuthor) {
    AppWorld world;
    world.signIn(Role::staff);
    // A client who is in the staff member's group.
    std::unique_ptr<Correspondent> member;
    QString group;
    for (const auto& account : world.server->seededAccounts()) {
        if (account.role != Role::client)
            continue;
        member = std::make_unique<Correspondent>(world, account.email);
        for (const Conversation& c : member->session.state().conversations)
            if (c.kind == ConversationKind::group)
                group = c.id;
        if (!group.isEmpty())
            break;
    }
    ASSERT_FALSE(group.isEmpty());
    ASSERT_TRUE(world.model->session().state().conversations.contains(group));

    member->session.send(group, QStringLiteral("Sopralluogo domani alle 9"));
    world.advance(Duration::zero());

    ASSERT_EQ(world.notifications.posted.size(), 1u);
    const auto& posted = world.notifications.posted.front();
    EXPECT_EQ(posted.title, world.model->session().state().conversations.value(group).title);
    EXPECT_EQ(posted.subtitle, member->session.state().me->name);
    EXPECT_EQ(posted.body, QStringLiteral("Sopralluogo domani alle 9"));
}

TEST(AppModelNotifications, AClickOnTheSelectedConversationKeepsTheSelectionAndStillReads) {
    AppWorld world;
    world.signIn(Role::staff);
    Correspondent client(world, Role::client);
    const QString id = client.sharedWith(world.model->session());
    world.model->selectConversation(id);
    world.model->setApplicationActive(false); // looking elsewhere
    world.model->setMainWindow(true, true, false);
    client.session.send(id, QStringLiteral("Ci sei?"));
    world.advance(Duration::zero());
    ASSERT_EQ(world.notifications.posted.size(), 1u);

    QSignalSpy selection(world.model.get(), &AppModel::selectionChanged);
    // The click activates the application before the answer arrives.
    world.model->openMainWindow = [&] {
        ++world.windowOpened;
        world.model->setApplicationActive(true);
    };
    world.notifications.onOpen(id);
    world.advance(Duration::zero());

    EXPECT_EQ(selection.count(), 0);
    EXPECT_EQ(world.windowOpened, 1);
    EXPECT_EQ(world.model->session().state().unreadCount(id), 0);
}

TEST(AppModelNotifications, AClickOnAnotherConversationSelectsItAndAReplyIsSentThere) {
    AppWorld world;
    world.signIn(Role::staff);
    Correspondent client(world, Role::client);
    const QString id = client.sharedWith(world.model->session());
    QString other;
    for (const QString& c : world.model->session().state().conversations.keys())
        if (c != id)
            other = c;
    world.model->selectConversation(other);
    world.showWindow();

    world.notifications.onReply(id, QStringLiteral("Arrivo subito"));
    world.advance(Duration::zero());
    const auto& messages = client.session.state().messages.value(id);
    ASSERT_FALSE(messages.isEmpty());
    EXPECT_EQ(messages.back().text, QStringLiteral("Arrivo subito"));
    EXPECT_EQ(messages.back().replyToSeq, std::nullopt);
    EXPECT_EQ(world.model->selectedConversationID(), other); // a reply does not open anything

    world.notifications.onOpen(id);
    EXPECT_EQ(world.model->selectedConversationID(), id);
    EXPECT_EQ(world.windowOpened, 1);
    EXPECT_EQ(world.notifications.activations, 1);
}

TEST(AppModelDemo, ADemoRoundTripGivesBackTheSameSignedInSessionAndLeaksNothing) {
    AppWorld world;
    world.signIn(Role::staff);
    ChatSession* real = &world.model->session();
    world.model->selectConversation(world.someConversation());
    world.model->setDraft(world.someConversation(), QStringLiteral("bozza vera"));
    QSignalSpy replaced(world.model.get(), &AppModel::sessionReplaced);

    world.model->startDemo(false);
    world.advance(Duration::zero());
    EXPECT_TRUE(world.model->isDemo());
    EXPECT_EQ(world.model->liveSession(), real);
    EXPECT_EQ(world.model->screen(), QStringLiteral("clientHome"));
    EXPECT_EQ(world.model->selectedConversationID(), std::nullopt);
    EXPECT_TRUE(world.model->drafts().isEmpty());
    world.model->selectConversation(world.someConversation());
    world.model->setDraft(world.someConversation(), QStringLiteral("bozza demo"));

    // A second demo replaces the first; the real session stays kept.
    world.model->startDemo(true);
    world.advance(Duration::zero());
    EXPECT_EQ(world.model->screen(), QStringLiteral("staffHome"));
    EXPECT_EQ(world.model->liveSession(), real);
    EXPECT_EQ(world.demosMade, 2);

    world.model->leaveDemo();
    world.advance(Duration::zero());
    EXPECT_EQ(&world.model->session(), real);
    EXPECT_EQ(world.model->liveSession(), nullptr);
    EXPECT_FALSE(world.model->isDemo());
    EXPECT_TRUE(real->phase().isSignedIn());
    EXPECT_TRUE(real->status().isOnline());
    EXPECT_EQ(world.model->selectedConversationID(), std::nullopt);
    EXPECT_TRUE(world.model->drafts().isEmpty());
    EXPECT_EQ(replaced.count(), 3);

    world.model->leaveDemo(); // no demo: nothing happens
    EXPECT_EQ(replaced.count(), 3);
}

TEST(AppModelDemo, ADemoFromTheLoginScreenReturnsToTheLoginScreen) {
    AppWorld world;
    world.model->startDemo(true);
    world.advance(Duration::zero());
    EXPECT_EQ(world.model->screen(), QStringLiteral("staffHome"));
    EXPECT_EQ(world.model->session().server(), DemoWorld::address());
    world.model->leaveDemo();
    EXPECT_EQ(world.model->screen(), QStringLiteral("login"));
}

TEST(AppModelBadge, TheBadgeFollowsTheUnreadTotalAndZeroShowsNothing) {
    EXPECT_EQ(AppModel::badgeText(0), QString());
    EXPECT_EQ(AppModel::badgeText(-3), QString());
    EXPECT_EQ(AppModel::badgeText(1), QStringLiteral("1"));
    EXPECT_EQ(AppModel::badgeText(1234), QStringLiteral("1234"));

    AppWorld world;
    world.signIn(Role::staff);
    const ChatState& state = world.model->session().state();
    ASSERT_GT(state.totalUnread(), 0) << "the demo seed leaves something unread";
    EXPECT_EQ(world.badge.counts.back(), state.totalUnread());
    world.showWindow();
    for (const QString& id : state.conversations.keys()) {
        world.model->selectConversation(id);
        world.advance(Duration::zero());
    }
    EXPECT_EQ(world.badge.counts.back(), 0);
}

TEST(AppModelReconnect, ReachabilityAndWakeWhileOnlineOpenNoConnection) {
    AppWorld world;
    world.signIn(Role::staff);
    const std::size_t peers = world.endpoint->registered();
    world.model->networkReachable();
    world.model->woke();
    world.advance(std::chrono::seconds(1));
    EXPECT_EQ(world.endpoint->registered(), peers);
    EXPECT_TRUE(world.model->session().status().isOnline());

    // Offline and waiting to reconnect: waking connects at once.
    world.endpoint->dropAll();
    world.advance(Duration::zero());
    ASSERT_TRUE(world.model->session().status().isWaiting());
    world.model->woke();
    world.advance(Duration::zero());
    EXPECT_TRUE(world.model->session().status().isOnline());
    EXPECT_EQ(world.endpoint->registered(), peers + 1);
}

TEST(AppModelScreens, TheScreenFollowsThePhaseAndTheRole) {
    AppWorld world;
    QSignalSpy screens(world.model.get(), &AppModel::screenChanged);
    EXPECT_EQ(world.model->screen(), QStringLiteral("login"));
    world.signIn(Role::client);
    EXPECT_EQ(world.model->screen(), QStringLiteral("clientHome"));
    EXPECT_GE(screens.count(), 1);
    world.model->signOut();
    world.advance(std::chrono::seconds(3));
    EXPECT_EQ(world.model->screen(), QStringLiteral("login"));
    EXPECT_FALSE(world.model->sessionExpired());
    EXPECT_EQ(world.model->connectionWord(), QStringLiteral("non collegato"));
    EXPECT_TRUE(world.model->upgradeText().startsWith(QStringLiteral("Questa versione (1.0) non")));
}

} // namespace
} // namespace brevio::test
