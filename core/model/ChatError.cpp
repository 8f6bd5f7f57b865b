#include "model/ChatError.h"

#include "model/MessageRules.h"
#include "model/ServerCode.h"

namespace brevio {

namespace {

// Known server codes have a fixed text; the server's own message is then ignored, so the user
// always reads the same Italian sentence whatever language or wording the server uses.
std::optional<QString> fixedServerText(const QString& code) {
    struct Entry {
        const QString& code;
        const char16_t* text;
    };
    static const Entry table[] = {
        {ServerCode::invalidCredentials, u"Email o password non corretti."},
        {ServerCode::invalidInvite,
         u"Il codice di invito non è valido, è già stato usato o è scaduto."},
        {ServerCode::weakPassword, u"La password deve avere almeno 8 caratteri."},
        {ServerCode::emailInUse, u"Esiste già un account con questa email."},
        {ServerCode::sessionExpired, u"La sessione è scaduta: accedi di nuovo."},
        {ServerCode::notAuthenticated, u"Devi prima accedere."},
        {ServerCode::forbidden, u"Non hai i permessi per questa operazione."},
        {ServerCode::notFound, u"Elemento non trovato."},
        {ServerCode::upgradeRequired,
         u"Questa versione di Brevio non è più supportata: installa l'ultima."},
        {ServerCode::rateLimited, u"Troppi tentativi. Riprova tra qualche minuto."},
        {ServerCode::tooLate, u"I messaggi si possono modificare o eliminare solo entro 24 ore."},
        {ServerCode::badRequest, u"Richiesta non valida."},
    };
    // The text states the limit without asking the server.
    if (code == ServerCode::messageTooLong)
        return QStringLiteral("Il messaggio è troppo lungo (al massimo %1 caratteri).")
            .arg(maximumMessageLength);
    for (const Entry& entry : table) {
        if (code == entry.code) // exact and case-sensitive
            return QString::fromUtf16(entry.text);
    }
    return std::nullopt;
}

QString serverText(const QString& code, const std::optional<QString>& message) {
    if (auto fixed = fixedServerText(code))
        return *fixed;
    // A blank message would leave the user with nothing to read, so it counts as none.
    if (message && !message->trimmed().isEmpty())
        return *message;
    return QStringLiteral("Errore del server (") + code + QStringLiteral(").");
}

} // namespace

QString ChatError::description() const {
    switch (kind) {
    case Kind::server:
        return serverText(code, message);
    case Kind::unreachable:
        return QStringLiteral(
            "Il server non risponde. Controlla la connessione e l'indirizzo del server.");
    case Kind::timeout:
        return QStringLiteral("Il server non ha risposto in tempo. Riprova.");
    case Kind::notConnected:
        return QStringLiteral("Non sei collegato al server.");
    case Kind::unexpectedReply:
        return QStringLiteral("Il server ha risposto in modo inatteso.");
    case Kind::invalidServerAddress:
        return QStringLiteral("L'indirizzo del server non è valido.");
    }
    // Only reachable with a Kind value outside the enumeration.
    return QStringLiteral("Il server ha risposto in modo inatteso.");
}

} // namespace brevio
