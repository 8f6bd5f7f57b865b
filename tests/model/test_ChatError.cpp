#include "model/ChatError.h"
#include "support/Printing.h"

#include <QSet>
#include <gtest/gtest.h>

using namespace brevio;

namespace {

const QStringList knownCodes = {
    "invalid_credentials", "invalid_invite",    "weak_password", "email_in_use",
    "session_expired",     "not_authenticated", "forbidden",     "not_found",
    "message_too_long",    "upgrade_required",  "rate_limited",  "too_late",
    "bad_request",
};

TEST(ChatError, KnownCodesShowTheirOwnFixedTextWhateverTheServerSays) {
    QSet<QString> texts;
    for (const QString& code : knownCodes) {
        SCOPED_TRACE(code.toStdString());
        const QString plain = ChatError::server(code).description();
        EXPECT_EQ(ChatError::server(code, QStringLiteral("Something went wrong")).description(),
                  plain);
        EXPECT_EQ(ChatError::server(code, QString()).description(), plain);
        EXPECT_FALSE(plain.startsWith(u"Errore del server")) << "code missing from the table";
        texts.insert(plain);
    }
    EXPECT_EQ(texts.size(), knownCodes.size()) << "two codes share a text";

    EXPECT_EQ(ChatError::server("too_late", QStringLiteral("edit window closed")).description(),
              QStringLiteral("I messaggi si possono modificare o eliminare solo entro 24 ore."));
    EXPECT_EQ(ChatError::server("message_too_long", QStringLiteral("max 10")).description(),
              QStringLiteral("Il messaggio è troppo lungo (al massimo 4000 caratteri)."));
    EXPECT_EQ(ChatError::server("invalid_invite").description(),
              QStringLiteral("Il codice di invito non è valido, è già stato usato o è scaduto."));
}

TEST(ChatError, UnknownCodesFallBackToTheServerMessageThenToTheCode) {
    EXPECT_EQ(ChatError::server("boom").description(), QStringLiteral("Errore del server (boom)."));
    EXPECT_EQ(ChatError::server("boom", QStringLiteral("  Quota superata  ")).description(),
              QStringLiteral("  Quota superata  "));
    // The comparison is case-sensitive: an upper-case variant is not the known code.
    EXPECT_EQ(ChatError::server("FORBIDDEN", QStringLiteral("Vietato")).description(),
              QStringLiteral("Vietato"));
    EXPECT_EQ(ChatError::server("Forbidden").description(),
              QStringLiteral("Errore del server (Forbidden)."));
    // A blank message would leave the user with an empty error line.
    EXPECT_EQ(ChatError::server("boom", QString()).description(),
              QStringLiteral("Errore del server (boom)."));
    EXPECT_EQ(ChatError::server("boom", QStringLiteral(" \n")).description(),
              QStringLiteral("Errore del server (boom)."));
    EXPECT_EQ(ChatError::server(QString()).description(), QStringLiteral("Errore del server ()."));
}

} // namespace
