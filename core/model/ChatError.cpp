#include "model/ChatError.h"

namespace brevio {

namespace {

// The longest message the client lets through; the text states it without asking the server.
constexpr int maximumMessageLength = 4000;

// Known server codes have a fixed text; the server's own message is then ignored, so the user
// always reads the same Italian sentence whatever language or wording the server uses.
std::optional<QString> fixedServerText(const QString& code) {
    struct Entry {
        const char16_t* code;
        const char16_t* text;
    };
    static constexpr Entry table[] = {
        {u"invalid_credentials", u"Email o password non corretti."},
        {u"invalid_invite", u"Il codice di invito non è valido, è già stato usato o è scaduto."},
        {u"weak_password", u"La password deve avere almeno 8 caratteri."},
        {u"email_in_use", u"Esiste già un account con questa email."},
        {u"session_expired", u"La sessione è scaduta: accedi di nuovo."},
        {u"not_authenticated", u"Devi prima accedere."},
        {u"forbidden", u"Non hai i permessi per questa operazione."},
        {u"not_found", u"Elemento non trovato."},
        {u"upgrade_required",
         u"Questa versione di Brevio non è più supportata: installa l'ultima."},
        {u"rate_limited", u"Troppi tentativi. Riprova tra qualche minuto."},
        {u"too_late", u"I messaggi si possono modificare o eliminare solo entro 24 ore."},
        {u"bad_request", u"Richiesta non valida."},
    };
    if (code == u"message_too_long")
        return QStringLiteral("Il messaggio è troppo lungo (al massimo %1 caratteri).")
            .arg(maximumMessageLength);
    for (const Entry& entry : table) {
        if (code == QStringView(entry.code)) // exact and case-sensitive
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
