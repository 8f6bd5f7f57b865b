#include "ServerHarness.h"

#include "localserver/DemoSeed.h"

using namespace brevio;
using namespace brevio::test;

TEST(DemoSeed, TheDemoOrganisationShowsEveryFeature) {
    ServerHarness h;
    const auto accounts = h.server.seededAccounts();
    ASSERT_EQ(accounts.size(), 5);
    EXPECT_EQ(accounts[0].role, Role::staff);
    auto staff = h.signIn(accounts[0].email);
    const Welcome& w = staff.welcome;
    EXPECT_TRUE(w.me.isAdmin);
    ASSERT_EQ(w.clients.size(), 5);

    int withoutPeople = 0, directs = 0, groups = 0;
    bool edited = false, deleted = false, reacted = false, replied = false, unread = false;
    for (const ClientCompany& company : w.clients) {
        const bool hasPeople = std::any_of(accounts.begin(), accounts.end(),
                                           [&](auto& a) { return a.clientID == company.id; });
        if (!hasPeople) {
            ++withoutPeople;
            EXPECT_EQ(company.notes, DemoSeed::newClientNotes);
        }
        EXPECT_LT(company.createdAt, h.clock.now());
    }
    for (const Conversation& conversation : w.conversations) {
        if (conversation.kind == ConversationKind::group) {
            ++groups;
            EXPECT_EQ(conversation.title, DemoSeed::groupTitle);
            EXPECT_EQ(conversation.memberIDs->size(), 3);
            EXPECT_TRUE(conversation.memberIDs->contains(w.me.id));
        } else {
            ++directs;
        }
        unread = unread || conversation.reads.value(w.me.id) < conversation.lastSeq;
        const ServerFrame page = staff.request(ClientFrame::history(
            {QStringLiteral("h"), conversation.id, std::nullopt, std::nullopt, 200}));
        for (const ChatMessage& message : page.as<HistoryPage>()->messages) {
            EXPECT_LT(message.sentAt, h.clock.now());
            EXPECT_GT(message.sentAt, h.clock.now().addDays(-3));
            edited = edited || message.isEdited();
            deleted = deleted || message.isDeleted();
            reacted = reacted || !message.reactions.isEmpty();
            replied = replied || message.reply.has_value();
        }
    }
    EXPECT_EQ(withoutPeople, 1);
    EXPECT_EQ(directs, 5);
    EXPECT_EQ(groups, 1);
    EXPECT_TRUE(edited && deleted && reacted && replied && unread);
    EXPECT_FALSE(w.online.isEmpty());

    // Every seeded account opens with the shared demo password.
    for (const auto& account : accounts)
        EXPECT_EQ(h.signIn(account.email).welcome.me.id, account.userID);
}
