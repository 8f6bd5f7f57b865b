#include "AppWorld.h"
#include "shell/AppConfig.h"
#include "views/LoginForm.h"

namespace brevio::test {
namespace {

const QString badServer = QStringLiteral("L'indirizzo del server non è valido.");
const QString badEmail = QStringLiteral("Controlla l'indirizzo email.");
const QString shortPassword = QStringLiteral("La password deve avere almeno 8 caratteri.");
const QString mismatch = QStringLiteral("Le due password non coincidono.");

// Fills a form so that every field would pass in the given mode.
void fillValid(LoginForm& form, LoginForm::Mode mode) {
    form.setMode(mode);
    form.serverText = QStringLiteral("ws://127.0.0.1:8787/ws");
    form.email = QStringLiteral("  anna@example.com ");
    form.text = QStringLiteral("Ci serve una mano con il sito.");
    form.name = QStringLiteral("Anna Neri");
    form.newPassword = form.confirmation = QStringLiteral("12345678");
}

TEST(LoginFormValidation, RulesApplyInOrderAndOnlyInTheirModes) {
    LoginForm request;
    fillValid(request, LoginForm::Request);
    EXPECT_EQ(request.validate(), std::nullopt);

    // Every rule broken at once: the server address is named first, then the e-mail, the text,
    // the password's length and last the confirmation.
    request.serverText = QStringLiteral("ftp://chat.example.com");
    request.email = QStringLiteral("anna@");
    request.text = QString(4001, u'x');
    request.newPassword = QStringLiteral("1234567");
    request.confirmation = QStringLiteral("different");
    EXPECT_EQ(request.validate(), badServer);
    request.serverText = QStringLiteral("chat.example.com");
    EXPECT_EQ(request.validate(), badEmail);
    request.email = QStringLiteral("anna@example.com");
    EXPECT_EQ(request.validate(),
              ChatError::server(QStringLiteral("message_too_long")).description());
    request.text = QStringLiteral("ok");
    EXPECT_EQ(request.validate(), shortPassword);
    request.newPassword = QStringLiteral("12345678");
    EXPECT_EQ(request.validate(), mismatch);

    // An invite checks the passwords but not the e-mail or the text.
    LoginForm invite;
    fillValid(invite, LoginForm::Invite);
    invite.email = QStringLiteral("not an address");
    invite.text = QString(5000, u'x');
    EXPECT_EQ(invite.validate(), std::nullopt);
    invite.confirmation = QStringLiteral("1234567");
    EXPECT_EQ(invite.validate(), mismatch);

    // Signing in has no rule beyond the server address.
    LoginForm signIn;
    fillValid(signIn, LoginForm::SignIn);
    signIn.email = QString();
    signIn.newPassword = QStringLiteral("1");
    EXPECT_EQ(signIn.validate(), std::nullopt);
    signIn.serverText = QString();
    EXPECT_EQ(signIn.validate(), badServer);
}

TEST(LoginFormValidation, TheLimitsSitExactlyAtTheirEdges) {
    LoginForm form;
    fillValid(form, LoginForm::Request);
    // Trimmed before counting: 4000 characters with white space around pass.
    form.text = QStringLiteral("\n  ") + QString(4000, u'a') + QStringLiteral("  \n");
    EXPECT_EQ(form.validate(), std::nullopt);
    form.text = QString(4001, u'a');
    EXPECT_EQ(form.validate(), ChatError::server(QStringLiteral("message_too_long")).description());

    form.text = QStringLiteral("ok");
    form.newPassword = form.confirmation = QStringLiteral("1234567");
    EXPECT_EQ(form.validate(), shortPassword);
    form.newPassword = form.confirmation = QStringLiteral("12345678");
    EXPECT_EQ(form.validate(), std::nullopt);
}

TEST(LoginFormModes, SwitchingModesKeepsWhatWasTypedAndRenamesTheButton) {
    LoginForm form;
    fillValid(form, LoginForm::SignIn);
    EXPECT_EQ(form.submitTitle(), QStringLiteral("Accedi"));
    form.password = QStringLiteral("segreta");
    form.setMode(LoginForm::Request);
    EXPECT_EQ(form.submitTitle(), QStringLiteral("Invia la richiesta"));
    form.setMode(LoginForm::Invite);
    EXPECT_EQ(form.submitTitle(), QStringLiteral("Crea il mio account"));
    form.setMode(LoginForm::SignIn);
    EXPECT_EQ(form.email, QStringLiteral("  anna@example.com "));
    EXPECT_EQ(form.password, QStringLiteral("segreta"));
    EXPECT_EQ(form.name, QStringLiteral("Anna Neri"));
    EXPECT_EQ(form.newPassword, QStringLiteral("12345678"));
    EXPECT_EQ(LoginForm::modeLabel(LoginForm::Request), QStringLiteral("Nuova richiesta"));
    EXPECT_TRUE(
        LoginForm::serverHelp().endsWith(QStringLiteral("computer: ws://127.0.0.1:8787/ws")));
}

TEST(LoginFormServer, TheFieldNeverShowsTheDemosPseudoAddress) {
    AppWorld world;
    LoginForm form;
    form.setApp(world.model.get());
    EXPECT_EQ(form.serverText, QLatin1String(AppConfig::defaultServer));

    world.model->startDemo(true);
    world.advance(Duration::zero());
    ASSERT_EQ(world.model->session().server(), DemoWorld::address());
    world.model->session().signOut();
    world.advance(std::chrono::seconds(3));
    form.resetServerText();
    EXPECT_EQ(form.serverText, QLatin1String(AppConfig::defaultServer));

    world.model->leaveDemo();
    world.signIn(Role::staff);
    form.resetServerText();
    EXPECT_EQ(form.serverText, QStringLiteral("ws://server.invalid/ws"));
}

TEST(LoginFormSubmit, AFailedSignInShowsTheErrorAndEnablesTheFormAgain) {
    AppWorld world;
    LoginForm form;
    form.setApp(world.model.get());
    form.serverText = QStringLiteral("ws://server.invalid/ws");
    form.email = world.account(Role::staff).email;
    form.password = QStringLiteral("sbagliata");
    form.submit();
    EXPECT_TRUE(form.isWorking());
    form.submit(); // ignored while working
    world.advance(Duration::zero());
    EXPECT_FALSE(form.isWorking());
    EXPECT_EQ(form.errorMessage(), QStringLiteral("Email o password non corretti."));
    EXPECT_EQ(world.model->screen(), QStringLiteral("login"));

    form.password = QString::fromLatin1(LocalServer::demoPassword);
    form.submit();
    EXPECT_EQ(form.errorMessage(), QString()); // cleared when a new attempt starts
    world.advance(Duration::zero());
    EXPECT_EQ(world.model->screen(), QStringLiteral("staffHome"));
}

TEST(LoginFormSubmit, AnInvalidFormSendsNothingAndASubmitLeavesTheDemo) {
    AppWorld world;
    LoginForm form;
    form.setApp(world.model.get());
    form.setMode(LoginForm::Invite);
    form.code = QStringLiteral("abcd efgh");
    form.newPassword = QStringLiteral("short");
    const std::size_t peers = world.endpoint->registered();
    form.submit();
    world.advance(Duration::zero());
    EXPECT_EQ(form.errorMessage(), shortPassword);
    EXPECT_FALSE(form.isWorking());
    EXPECT_EQ(world.endpoint->registered(), peers);

    world.model->startDemo(false);
    world.advance(Duration::zero());
    ASSERT_TRUE(world.model->isDemo());
    LoginForm signIn;
    signIn.setApp(world.model.get());
    signIn.serverText = QStringLiteral("ws://server.invalid/ws");
    signIn.email = world.account(Role::client).email;
    signIn.password = QString::fromLatin1(LocalServer::demoPassword);
    signIn.submit();
    EXPECT_FALSE(world.model->isDemo());
    world.advance(Duration::zero());
    EXPECT_EQ(world.model->screen(), QStringLiteral("clientHome"));
    EXPECT_EQ(world.model->session().server(), QUrl(QStringLiteral("ws://server.invalid/ws")));
}

} // namespace
} // namespace brevio::test
