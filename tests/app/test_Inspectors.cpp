#include "AppWorld.h"
#include "views/InspectorModels.h"

#include <QSignalSpy>
#include <gtest/gtest.h>

namespace brevio::test {
namespace {

using namespace std::chrono_literals;

class InspectorTest : public ::testing::Test {
protected:
    void SetUp() override { world.signIn(Role::staff); }

    const ChatState& state() const { return world.model->session().state(); }
    // The direct conversation of the seeded client's company.
    QString clientConversation() const {
        const auto client = world.account(Role::client);
        for (const Conversation& c : state().conversations)
            if (c.kind == ConversationKind::direct && c.clientID == client.clientID)
                return c.id;
        return {};
    }
    // A company nobody of which has an account yet, and its conversation.
    QString emptyCompanyConversation() const {
        for (const Conversation& c : state().conversations) {
            if (c.kind != ConversationKind::direct || !c.clientID)
                continue;
            const bool hasUsers =
                std::any_of(state().users.begin(), state().users.end(),
                            [&](const User& u) { return u.clientID == c.clientID; });
            if (!hasUsers)
                return c.id;
        }
        return {};
    }
    QString groupConversation() const {
        for (const Conversation& c : state().conversations)
            if (c.kind == ConversationKind::group)
                return c.id;
        return {};
    }
    QString notesOf(const ChatState& s, const QString& clientID) const {
        return s.clients.value(clientID).notes.value_or(QString());
    }

    AppWorld world;
};

TEST_F(InspectorTest, ClientInspectorShowsTheCompanyItsPeopleAndItsInvite) {
    ClientInspectorModel inspector;
    inspector.setApp(world.model.get());
    inspector.setConversationID(clientConversation());
    const auto client = world.account(Role::client);
    const ClientCompany company = state().clients.value(*client.clientID);

    EXPECT_EQ(inspector.clientID(), company.id);
    EXPECT_EQ(inspector.companyName(), company.name);
    EXPECT_TRUE(inspector.sinceText().startsWith(QStringLiteral("Cliente dal ")))
        << inspector.sinceText().toStdString();
    EXPECT_EQ(inspector.notes(), company.notes.value_or(QString()));
    ASSERT_EQ(inspector.personRows().size(), 1);
    EXPECT_EQ(inspector.personRows()[0].user.id, client.userID);
    EXPECT_FALSE(inspector.personRows()[0].isOnline);
    EXPECT_EQ(inspector.inviteButton(), QStringLiteral("Invita un'altra persona…"));

    // The client comes online: the row is marked.
    QSignalSpy changed(&inspector, &ClientInspectorModel::changed);
    Correspondent person(world, Role::client);
    world.advance(0ms);
    EXPECT_GT(changed.count(), 0);
    EXPECT_TRUE(inspector.personRows()[0].isOnline);
    EXPECT_TRUE(inspector.people()[0].toMap().value("online").toBool());

    // A company without accounts asks for its first invite; once made, it waits for it.
    inspector.setConversationID(emptyCompanyConversation());
    ASSERT_FALSE(inspector.clientID().isEmpty());
    EXPECT_TRUE(inspector.personRows().isEmpty());
    EXPECT_EQ(inspector.inviteButton(), QStringLiteral("Crea un invito…"));
    world.model->rememberInvite({QStringLiteral("ABCD-EFGH"), inspector.clientID(),
                                 QStringLiteral("Nina Rota"), QStringLiteral("nina@example.org"),
                                 world.clock.now().addDays(7)});
    EXPECT_EQ(inspector.inviteState(), QStringLiteral("Nessuno ha ancora attivato l'invito."));
    EXPECT_EQ(inspector.inviteButton(), QStringLiteral("Invita un'altra persona…"));

    // An invite nobody used in time, and one that was used.
    world.model->rememberInvite({QStringLiteral("ABCD-EFGH"), inspector.clientID(),
                                 QStringLiteral("Nina Rota"), QStringLiteral("nina@example.org"),
                                 world.clock.now().addSecs(-1)});
    EXPECT_TRUE(inspector.inviteState().startsWith(QStringLiteral("L'invito è scaduto il ")))
        << inspector.inviteState().toStdString();
    const QString seededClient = clientConversation();
    inspector.setConversationID(seededClient);
    world.model->rememberInvite({QStringLiteral("WXYZ-2345"), inspector.clientID(), client.name,
                                 client.email.toUpper(), world.clock.now()});
    EXPECT_EQ(inspector.inviteState(), client.name + QStringLiteral(" ha attivato l'invito."));
    inspector.setConversationID(emptyCompanyConversation());

    // The invite buttons open the sheet for this company.
    inspector.openInvite();
    EXPECT_TRUE(world.model->property("isInviteSheetPresented").toBool());
    EXPECT_EQ(world.model->property("inviteClientID").toString(), inspector.clientID());

    // A group or nothing is no client.
    inspector.setConversationID(groupConversation());
    EXPECT_TRUE(inspector.clientID().isEmpty());
    EXPECT_EQ(inspector.companyName(), QStringLiteral("Cliente"));
}

TEST_F(InspectorTest, NotesAreSavedOnceASecondAfterTheLastEdit) {
    // Another window of the same staff member sees every update the server takes.
    Correspondent other(world, Role::staff);
    ClientInspectorModel inspector;
    inspector.setApp(world.model.get());
    inspector.setConversationID(clientConversation());
    const QString clientID = inspector.clientID();
    const QString before = notesOf(state(), clientID);
    // Every value the notes take on the other side.
    QStringList seen;
    QObject::connect(&other.session, &ChatSession::stateChanged, [&] {
        const QString notes = notesOf(other.session.state(), clientID);
        if (notes != (seen.isEmpty() ? before : seen.last()))
            seen.append(notes);
    });

    inspector.editNotes(QStringLiteral("P"));
    world.advance(400ms);
    inspector.editNotes(QStringLiteral("Paga"));
    world.advance(400ms);
    inspector.editNotes(QStringLiteral("Paga a 60 giorni"));
    EXPECT_EQ(inspector.notes(), QStringLiteral("Paga a 60 giorni"));
    EXPECT_TRUE(inspector.savePending());
    world.advance(999ms);
    EXPECT_EQ(notesOf(state(), clientID), before);
    EXPECT_TRUE(seen.isEmpty());

    world.advance(1ms);
    world.advance(0ms);
    EXPECT_EQ(notesOf(state(), clientID), QStringLiteral("Paga a 60 giorni"));
    EXPECT_EQ(seen, QStringList{QStringLiteral("Paga a 60 giorni")});
    EXPECT_FALSE(inspector.savePending());
    EXPECT_TRUE(inspector.saveError().isEmpty());

    // Nothing more goes out later.
    world.advance(5s);
    EXPECT_EQ(seen.size(), 1);
}

TEST_F(InspectorTest, AFailedSaveKeepsTheTextAndTheNextEditRetries) {
    ClientInspectorModel inspector;
    inspector.setApp(world.model.get());
    inspector.setConversationID(clientConversation());
    const QString clientID = inspector.clientID();
    const QString before = notesOf(state(), clientID);

    world.model->session().suspend();
    inspector.editNotes(QStringLiteral("Richiamare lunedì"));
    world.advance(1s);
    EXPECT_EQ(inspector.saveError(),
              QStringLiteral("Note non salvate: ") + ChatError::notConnected().description());
    EXPECT_EQ(inspector.notes(), QStringLiteral("Richiamare lunedì"));
    EXPECT_EQ(notesOf(state(), clientID), before);

    // Back online, the next edit saves and clears the error.
    world.model->retryNow();
    world.advance(0ms);
    ASSERT_TRUE(world.model->session().status().isOnline());
    inspector.editNotes(QStringLiteral("Richiamare lunedì mattina"));
    world.advance(1s);
    world.advance(0ms);
    EXPECT_TRUE(inspector.saveError().isEmpty());
    EXPECT_EQ(notesOf(state(), clientID), QStringLiteral("Richiamare lunedì mattina"));
}

TEST_F(InspectorTest, NotesPendingWhenThePaneMovesOnAreSavedAtOnce) {
    ClientInspectorModel inspector;
    inspector.setApp(world.model.get());
    inspector.setConversationID(clientConversation());
    const QString clientID = inspector.clientID();
    inspector.editNotes(QStringLiteral("Fattura in ritardo"));
    inspector.setConversationID(groupConversation());
    world.advance(0ms);
    EXPECT_EQ(notesOf(state(), clientID), QStringLiteral("Fattura in ritardo"));
    EXPECT_TRUE(inspector.notes().isEmpty());
}

TEST_F(InspectorTest, OrganizationInspectorCountsTheStaff) {
    OrganizationInspectorModel inspector;
    inspector.setApp(world.model.get());
    EXPECT_EQ(inspector.organization(), state().organization);
    qsizetype staff = 0;
    qsizetype online = 0;
    for (const User& u : state().users) {
        if (u.role == Role::staff) {
            ++staff;
            online += state().online.contains(u.id) ? 1 : 0;
        }
    }
    ASSERT_GT(staff, 0);
    EXPECT_EQ(inspector.staffRows().size(), staff);
    EXPECT_EQ(inspector.countText(), peopleCount(staff));
    EXPECT_EQ(inspector.onlineText(), QString::number(online) + QStringLiteral(" online"));
    EXPECT_EQ(peopleCount(1), QStringLiteral("1 persona"));
    EXPECT_EQ(peopleCount(2), QStringLiteral("2 persone"));
    EXPECT_EQ(peopleCount(0), QStringLiteral("0 persone"));
}

TEST_F(InspectorTest, GroupInspectorRenamesRemovesAndLeaves) {
    GroupInspectorModel inspector;
    inspector.setApp(world.model.get());
    const QString id = groupConversation();
    ASSERT_FALSE(id.isEmpty());
    world.model->selectConversation(id);
    inspector.setConversationID(id);
    EXPECT_TRUE(inspector.canManage());
    const QStringList members = state().conversations[id].memberIDs.value_or(QStringList());
    ASSERT_GE(members.size(), 3);
    EXPECT_EQ(inspector.countText(), peopleCount(members.size()));
    EXPECT_EQ(inspector.leaveText(),
              QStringLiteral("Non vedrai più i messaggi di ") + inspector.name() +
                  QStringLiteral(". Solo lo staff può aggiungerti di nuovo."));

    // Everyone but the user can be removed, each with its own label.
    const QString me = state().me->id;
    QString someone;
    for (const QVariant& v : inspector.members()) {
        const QVariantMap row = v.toMap();
        const bool mine = row["userID"].toString() == me;
        EXPECT_EQ(row["removable"].toBool(), !mine);
        EXPECT_EQ(row["removeLabel"].toString(), QStringLiteral("Togli ") + row["name"].toString() +
                                                     QStringLiteral(" dal gruppo"));
        if (!mine && someone.isEmpty())
            someone = row["userID"].toString();
    }

    inspector.rename(QStringLiteral("  Cantiere via Po  "));
    EXPECT_TRUE(inspector.working());
    world.advance(0ms);
    EXPECT_FALSE(inspector.working());
    EXPECT_EQ(inspector.name(), QStringLiteral("Cantiere via Po"));

    inspector.removeMember(someone);
    world.advance(0ms);
    EXPECT_TRUE(inspector.error().isEmpty());
    EXPECT_FALSE(state().conversations[id].memberIDs->contains(someone));
    EXPECT_EQ(inspector.countText(), peopleCount(members.size() - 1));

    QSignalSpy left(&inspector, &GroupInspectorModel::left);
    inspector.leave();
    world.advance(0ms);
    EXPECT_EQ(left.count(), 1);
    EXPECT_FALSE(state().conversations.contains(id));
    EXPECT_FALSE(world.model->selectedConversationID().has_value());
}

TEST_F(InspectorTest, GroupChangesWhileOfflineFailCleanly) {
    GroupInspectorModel inspector;
    inspector.setApp(world.model.get());
    const QString id = groupConversation();
    world.model->selectConversation(id);
    inspector.setConversationID(id);
    const Conversation before = state().conversations[id];

    world.model->session().suspend();
    const QString offline = ChatError::notConnected().description();
    // Removing members down to the last one, one by one: every attempt is refused the same way.
    for (const QString& member : before.memberIDs.value_or(QStringList())) {
        if (member == state().me->id)
            continue;
        inspector.removeMember(member);
        world.advance(0ms);
        EXPECT_FALSE(inspector.working());
        EXPECT_EQ(inspector.error(), offline);
    }
    inspector.rename(QStringLiteral("Altro nome"));
    world.advance(0ms);
    EXPECT_EQ(inspector.error(), offline);

    QSignalSpy left(&inspector, &GroupInspectorModel::left);
    inspector.leave();
    world.advance(0ms);
    EXPECT_EQ(inspector.error(), offline);
    EXPECT_EQ(left.count(), 0);
    EXPECT_EQ(state().conversations[id].memberIDs, before.memberIDs);
    EXPECT_EQ(inspector.name(), before.title);
    EXPECT_EQ(world.model->selectedConversationIDText(), id);
    inspector.clearError();
    EXPECT_TRUE(inspector.error().isEmpty());
}

TEST(ClientGroupInspector, AClientSeesTheMembersAndMayOnlyLeave) {
    AppWorld world;
    // A client who belongs to a group.
    QString id;
    for (const auto& account : world.server->seededAccounts()) {
        if (account.role != Role::client)
            continue;
        Correspondent probe(world, account.email);
        for (const Conversation& c : probe.session.state().conversations)
            if (c.kind == ConversationKind::group)
                id = c.id;
        if (!id.isEmpty()) {
            std::optional<std::expected<void, ChatError>> result;
            world.model->session().signIn(world.url, account.email,
                                          QString::fromLatin1(LocalServer::demoPassword),
                                          [&](std::expected<void, ChatError> r) { result = r; });
            world.advance(0ms);
            ASSERT_TRUE(result && result->has_value());
            break;
        }
    }
    ASSERT_FALSE(id.isEmpty());
    GroupInspectorModel inspector;
    inspector.setApp(world.model.get());
    inspector.setConversationID(id);
    EXPECT_FALSE(inspector.canManage());
    ASSERT_FALSE(inspector.members().isEmpty());
    for (const QVariant& row : inspector.members())
        EXPECT_FALSE(row.toMap()["removable"].toBool());
    const QString name = inspector.name();
    inspector.rename(QStringLiteral("Nome nuovo"));
    inspector.removeMember(inspector.memberRows().constFirst().user.id);
    world.advance(0ms);
    EXPECT_EQ(inspector.name(), name);
    EXPECT_FALSE(inspector.working());

    inspector.leave();
    world.advance(0ms);
    EXPECT_TRUE(inspector.error().isEmpty()) << inspector.error().toStdString();
    EXPECT_FALSE(world.model->session().state().conversations.contains(id));
}

} // namespace
} // namespace brevio::test
