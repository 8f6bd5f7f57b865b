#include "AppWorld.h"
#include "shell/AppConfig.h"
#include "views/GroupEditorModel.h"
#include "views/InviteSheetModel.h"

#include <QSignalSpy>
#include <gtest/gtest.h>

namespace brevio::test {
namespace {

using namespace std::chrono_literals;

class SheetTest : public ::testing::Test {
protected:
    void SetUp() override { world.signIn(Role::staff); }
    const ChatState& state() const { return world.model->session().state(); }
    QString groupConversation() const {
        for (const Conversation& c : state().conversations)
            if (c.kind == ConversationKind::group)
                return c.id;
        return {};
    }
    AppWorld world;
};

// ---- Invite sheet -------------------------------------------------------------------------------

TEST(InviteMessage, IsWrittenWordForWord) {
    const Invite invite{QStringLiteral("KQ7M-P2XD"), QStringLiteral("c1"),
                        QStringLiteral("Giulia Ferri"), QStringLiteral("giulia@example.org"),
                        QDateTime(QDate(2026, 3, 3), QTime(23, 30), Qt::UTC)};
    const QString expected = QStringLiteral(
        "Ciao Giulia Ferri, ti abbiamo attivato Brevio, la chat diretta con Ardena.\n"
        "\n"
        "1. Apri https://web.brevio.app dal browser, oppure installa l'app per computer: "
        "https://brevio.app/download/linux\n"
        "2. Scegli «Ho un codice di invito».\n"
        "3. Scrivi il codice KQ7M-P2XD e scegli la tua password.\n"
        "\n"
        "Il codice vale fino al 3 marzo 2026");
    const QString message =
        InviteSheetModel::inviteMessage(invite, QStringLiteral("Ardena"), QTimeZone::utc());
    EXPECT_EQ(message.toUtf8(), expected.toUtf8());
    // The date is the one where the user is: in Rome that moment is already the 4th.
    EXPECT_TRUE(
        InviteSheetModel::inviteMessage(invite, QStringLiteral("Ardena"), QTimeZone("Europe/Rome"))
            .endsWith(QStringLiteral("fino al 4 marzo 2026")));
    EXPECT_TRUE(QString::fromLatin1(AppConfig::webClient).startsWith(u"https://"));
    EXPECT_TRUE(QString::fromLatin1(AppConfig::desktopInstaller).startsWith(u"https://"));
}

TEST_F(SheetTest, InviteSheetPreselectsTheCompanyCreatesTheInviteAndCopiesTheMessage) {
    const auto client = world.account(Role::client);
    // Opened from nowhere: a new company.
    InviteSheetModel fresh;
    fresh.setApp(world.model.get());
    EXPECT_TRUE(fresh.isNewCompany());
    const QVariantList companies = fresh.companies();
    EXPECT_EQ(companies.size(), state().clients.size() + 1);
    EXPECT_EQ(companies.last().toMap()["name"].toString(), QStringLiteral("Nuova azienda…"));
    EXPECT_EQ(fresh.companyIndex(), companies.size() - 1);

    // Opened for a company: that one is chosen.
    world.model->setProperty("inviteClientID", *client.clientID);
    InviteSheetModel sheet;
    sheet.setTimeZone(QTimeZone::utc());
    QStringList clipboard;
    sheet.copyToClipboard = [&](const QString& text) { clipboard.append(text); };
    sheet.setApp(world.model.get());
    EXPECT_EQ(sheet.companyChoice(), *client.clientID);
    EXPECT_FALSE(sheet.isNewCompany());
    EXPECT_EQ(companies.value(sheet.companyIndex()).toMap()["id"].toString(), *client.clientID);

    EXPECT_FALSE(sheet.canCreate());
    sheet.setName(QStringLiteral(" Marta Galli "));
    sheet.setEmail(QStringLiteral("marta.galli@example.org"));
    EXPECT_TRUE(sheet.canCreate());
    sheet.create();
    EXPECT_TRUE(sheet.isWorking());
    EXPECT_FALSE(sheet.canCreate());
    world.advance(0ms);
    EXPECT_FALSE(sheet.isWorking());
    ASSERT_TRUE(sheet.hasInvite()) << sheet.errorMessage().toStdString();
    const Invite invite = *sheet.invite();
    EXPECT_EQ(invite.clientID, *client.clientID);
    EXPECT_EQ(invite.name, QStringLiteral("Marta Galli"));
    EXPECT_EQ(sheet.code(), invite.code);
    EXPECT_EQ(sheet.resultText(),
              QStringLiteral("Manda a Marta Galli questo codice. Si usa una volta sola e vale "
                             "fino al ") +
                  QLocale(QLocale::Italian)
                      .toString(invite.expiresAt.toUTC().date(), QStringLiteral("d MMMM yyyy")));
    EXPECT_EQ(sheet.message(),
              InviteSheetModel::inviteMessage(invite, state().organization, QTimeZone::utc()));
    EXPECT_TRUE(sheet.message().contains(QStringLiteral("la chat diretta con ") +
                                         state().organization + QStringLiteral(".\n")));
    EXPECT_EQ(world.model->inviteFor(*client.clientID), invite);

    EXPECT_FALSE(sheet.copied());
    EXPECT_EQ(sheet.copyLabel(), QStringLiteral("Copia il messaggio"));
    EXPECT_EQ(sheet.copySymbol(), QStringLiteral("doc.on.doc"));
    sheet.copyMessage();
    EXPECT_TRUE(sheet.copied());
    EXPECT_EQ(sheet.copyLabel(), QStringLiteral("Copiato"));
    EXPECT_EQ(sheet.copySymbol(), QStringLiteral("checkmark"));
    EXPECT_EQ(clipboard, QStringList{sheet.message()});

    // Opened again: an empty form.
    sheet.reset();
    EXPECT_FALSE(sheet.hasInvite());
    EXPECT_FALSE(sheet.copied());
    EXPECT_TRUE(sheet.name().isEmpty());
}

TEST_F(SheetTest, InviteForANewCompanyMakesTheCompany) {
    InviteSheetModel sheet;
    sheet.setApp(world.model.get());
    sheet.setName(QStringLiteral("Pietro Sala"));
    sheet.setEmail(QStringLiteral("pietro@example.org"));
    EXPECT_FALSE(sheet.canCreate()); // the new company needs its name
    sheet.setCompanyName(QStringLiteral("Serramenti Sala"));
    sheet.create();
    world.advance(0ms);
    ASSERT_TRUE(sheet.hasInvite()) << sheet.errorMessage().toStdString();
    const ClientCompany company = state().clients.value(sheet.invite()->clientID);
    EXPECT_EQ(company.name, QStringLiteral("Serramenti Sala"));
}

TEST_F(SheetTest, InviteRefusalsShowTheirTextAndKeepTheForm) {
    const auto client = world.account(Role::client);
    InviteSheetModel sheet;
    sheet.setApp(world.model.get());
    sheet.setCompanyChoice(*client.clientID);
    sheet.setName(QStringLiteral("Doppione"));
    sheet.setEmail(client.email); // already has an account
    sheet.create();
    world.advance(0ms);
    EXPECT_FALSE(sheet.hasInvite());
    EXPECT_FALSE(sheet.isWorking());
    EXPECT_EQ(sheet.errorMessage(),
              ChatError::server(QStringLiteral("email_in_use")).description());
    EXPECT_EQ(sheet.errorMessage(), QStringLiteral("Esiste già un account con questa email."));
    EXPECT_EQ(sheet.name(), QStringLiteral("Doppione"));
    EXPECT_EQ(sheet.email(), client.email);
    EXPECT_EQ(sheet.companyChoice(), *client.clientID);

    // Offline it fails at once, cleanly.
    world.model->session().suspend();
    sheet.setEmail(QStringLiteral("nuovo@example.org"));
    sheet.create();
    world.advance(0ms);
    EXPECT_FALSE(sheet.isWorking());
    EXPECT_FALSE(sheet.hasInvite());
    EXPECT_EQ(sheet.errorMessage(), ChatError::notConnected().description());
    EXPECT_EQ(sheet.name(), QStringLiteral("Doppione"));
}

// ---- Group editor -------------------------------------------------------------------------------

TEST_F(SheetTest, GroupEditorOffersStaffAndClientsButNotMembersAndCountsTheChoice) {
    GroupEditorModel editor;
    editor.setApp(world.model.get());
    EXPECT_TRUE(editor.isCreating());
    EXPECT_EQ(editor.title(), QStringLiteral("Nuovo gruppo"));
    EXPECT_EQ(editor.confirmLabel(), QStringLiteral("Crea gruppo"));

    // Everyone but the user, each marked as staff or as a client of a company.
    const QString me = state().me->id;
    qsizetype others = 0;
    for (const User& u : state().users)
        others += u.id != me ? 1 : 0;
    const auto offered = editor.offered();
    EXPECT_EQ(offered.size(), others);
    for (const PersonRow& row : offered) {
        EXPECT_NE(row.user.id, me);
        if (row.user.role == Role::staff) {
            EXPECT_EQ(row.detail, QStringLiteral("Staff"));
        } else {
            EXPECT_EQ(row.detail, QStringLiteral("Cliente · ") +
                                      state().clients.value(*row.user.clientID).name);
        }
    }
    EXPECT_TRUE(editor.emptyText().isEmpty());

    // The search finds people by company, whatever the case and accents.
    const auto client = world.account(Role::client);
    const QString company = state().clients.value(*client.clientID).name;
    editor.setSearch(company.toUpper());
    ASSERT_FALSE(editor.candidateRows().isEmpty());
    for (const PersonRow& row : editor.candidateRows())
        EXPECT_EQ(row.user.clientID, client.clientID);
    editor.setSearch(QStringLiteral("zzzz"));
    EXPECT_TRUE(editor.candidateRows().isEmpty());
    EXPECT_EQ(editor.emptyText(), QStringLiteral("Nessun risultato per «zzzz»"));
    editor.setSearch(QString());

    EXPECT_EQ(editor.selectionText(), QStringLiteral("0 persone scelte"));
    editor.toggle(offered[0].user.id);
    EXPECT_EQ(editor.selectionText(), QStringLiteral("1 persona scelta"));
    editor.toggle(offered[1].user.id);
    EXPECT_EQ(editor.selectionText(), QStringLiteral("2 persone scelte"));
    EXPECT_TRUE(editor.candidates()[0].toMap()["selected"].toBool());
    editor.toggle(offered[1].user.id);
    EXPECT_EQ(editor.selectionText(), QStringLiteral("1 persona scelta"));
    editor.toggle(me); // not offered: not chosen
    EXPECT_EQ(editor.selectedCount(), 1);
    EXPECT_FALSE(editor.canConfirm()); // no name yet
    editor.setName(QStringLiteral("   "));
    EXPECT_FALSE(editor.canConfirm());

    // Adding to a group: its members are not offered.
    const QString group = groupConversation();
    editor.setConversationID(group);
    EXPECT_EQ(editor.title(), QStringLiteral("Aggiungi persone"));
    EXPECT_EQ(editor.confirmLabel(), QStringLiteral("Aggiungi"));
    EXPECT_EQ(editor.selectedCount(), 0);
    const QStringList members = state().conversations[group].memberIDs.value_or(QStringList());
    for (const PersonRow& row : editor.offered())
        EXPECT_FALSE(members.contains(row.user.id)) << row.user.name.toStdString();
    EXPECT_EQ(editor.offered().size(), others + 1 - members.size());

    // Everyone added: nobody is left to offer.
    for (const PersonRow& row : editor.offered())
        editor.toggle(row.user.id);
    QSignalSpy added(&editor, &GroupEditorModel::added);
    editor.confirm();
    world.advance(0ms);
    EXPECT_EQ(added.count(), 1);
    EXPECT_TRUE(editor.offered().isEmpty());
    EXPECT_EQ(editor.selectedCount(), 0);
    EXPECT_EQ(editor.emptyText(), QStringLiteral("Nessuno da aggiungere"));
}

TEST_F(SheetTest, GroupEditorCreatesTheGroupAndSelectsIt) {
    GroupEditorModel editor;
    editor.setApp(world.model.get());
    const auto offered = editor.offered();
    ASSERT_GE(offered.size(), 2);
    editor.setName(QStringLiteral("  Ufficio tecnico  "));
    editor.toggle(offered[0].user.id);
    editor.toggle(offered[1].user.id);
    ASSERT_TRUE(editor.canConfirm());
    QSignalSpy created(&editor, &GroupEditorModel::created);
    editor.confirm();
    EXPECT_TRUE(editor.working());
    world.advance(0ms);
    ASSERT_EQ(created.count(), 1);
    const QString id = created.first().first().toString();
    ASSERT_TRUE(state().conversations.contains(id));
    const Conversation group = state().conversations[id];
    EXPECT_EQ(group.title, QStringLiteral("Ufficio tecnico"));
    EXPECT_TRUE(group.memberIDs->contains(offered[0].user.id));
    EXPECT_TRUE(group.memberIDs->contains(offered[1].user.id));
    EXPECT_EQ(world.model->selectedConversationIDText(), id);
}

TEST_F(SheetTest, GroupEditorRefusalsShowTheirTextAndKeepTheForm) {
    GroupEditorModel editor;
    editor.setApp(world.model.get());
    const QString pick = editor.offered()[0].user.id;
    const QString longName(121, QLatin1Char('x'));
    editor.setName(longName);
    editor.toggle(pick);
    QSignalSpy created(&editor, &GroupEditorModel::created);
    editor.confirm();
    world.advance(0ms);
    EXPECT_EQ(created.count(), 0);
    EXPECT_FALSE(editor.working());
    EXPECT_EQ(editor.error(), ChatError::server(QStringLiteral("bad_request")).description());
    EXPECT_EQ(editor.name(), longName);
    EXPECT_TRUE(editor.isSelected(pick));

    world.model->session().suspend();
    editor.setName(QStringLiteral("Breve"));
    editor.confirm();
    world.advance(0ms);
    EXPECT_EQ(editor.error(), ChatError::notConnected().description());
    EXPECT_TRUE(editor.isSelected(pick));
    EXPECT_EQ(created.count(), 0);
}

} // namespace
} // namespace brevio::test
