#include "localserver/DemoSeed.h"

#include "localserver/ServerData.h"

namespace brevio::DemoSeed {

namespace {

// Writes the story of each conversation; times are minutes before now.
class Seeder {
public:
    Seeder(ServerData& data, PasswordHasher& hasher)
        : data_(data), hasher_(hasher), now_(data.now()) {}

    QString person(const QString& name, const QString& email, Role role,
                   std::optional<QString> clientID = std::nullopt, bool isAdmin = false) {
        User user;
        user.name = name;
        user.email = email;
        user.role = role;
        user.clientID = std::move(clientID);
        user.isAdmin = isAdmin;
        const User& stored =
            data_.addAccount(user, hasher_.hash(QString::fromLatin1(LocalServer::demoPassword)));
        accounts.append({stored.id, email, name, role, stored.clientID});
        return stored.id;
    }

    // A company and its direct conversation, created `days` ago.
    QString company(const QString& name, std::optional<QString> notes, int days) {
        ClientCompany& company = data_.addClient(name, std::move(notes));
        company.createdAt = now_.addDays(-days);
        return company.id;
    }

    Conversation& direct(const QString& clientID) { return *data_.directConversation(clientID); }

    qint64 say(Conversation& conversation, const QString& authorID, const QString& text,
               int minutesAgo, std::optional<qint64> replyTo = std::nullopt) {
        const QDateTime at = ago(minutesAgo);
        const qint64 seq =
            data_.append(conversation, authorID, data_.makeID(u"seed-"), text, replyTo, at).seq;
        data_.recordReceipt(conversation, authorID, seq, true, at);
        return seq;
    }

    void delivered(Conversation& conversation, const QString& userID, qint64 seq, int minutesAgo) {
        data_.recordReceipt(conversation, userID, seq, false, ago(minutesAgo));
    }

    void read(Conversation& conversation, const QString& userID, qint64 seq, int minutesAgo) {
        data_.recordReceipt(conversation, userID, seq, true, ago(minutesAgo));
    }

    void react(Conversation& conversation, qint64 seq, const QString& emoji,
               const QStringList& userIDs) {
        ChatMessage& message = *data_.message(conversation.id, seq);
        message.reactions.append(Reaction{emoji, userIDs});
        data_.markChanged(conversation, message);
    }

    void edit(Conversation& conversation, qint64 seq, const QString& text, int minutesAgo) {
        ChatMessage& message = *data_.message(conversation.id, seq);
        message.text = text;
        message.editedAt = ago(minutesAgo);
        data_.markChanged(conversation, message);
    }

    void remove(Conversation& conversation, qint64 seq, int minutesAgo) {
        ChatMessage& message = *data_.message(conversation.id, seq);
        message.text.clear();
        message.deletedAt = ago(minutesAgo);
        data_.markChanged(conversation, message);
    }

    QList<LocalServer::SeededAccount> accounts;

private:
    QDateTime ago(int minutes) const { return now_.addSecs(-60 * qint64(minutes)); }

    ServerData& data_;
    PasswordHasher& hasher_;
    QDateTime now_;
};

} // namespace

QList<LocalServer::SeededAccount> fill(ServerData& data, PasswordHasher& hasher) {
    Seeder seed(data, hasher);
    const QString marta =
        seed.person(QStringLiteral("Marta Ferri"), QStringLiteral("marta.ferri@ardena.example"),
                    Role::staff, std::nullopt, true);

    const QString bakery = seed.company(
        QStringLiteral("Panificio Orlandi"),
        QStringLiteral("Sito e cassa. Chiamare dopo le 15: la mattina sono in laboratorio."), 120);
    const QString giulia =
        seed.person(QStringLiteral("Giulia Orlandi"),
                    QStringLiteral("giulia@panificioorlandi.example"), Role::client, bakery);
    const QString studio =
        seed.company(QStringLiteral("Studio Bassi Architetti"),
                     QStringLiteral("Contratto di assistenza annuale, rinnovo a settembre."), 200);
    const QString paolo =
        seed.person(QStringLiteral("Paolo Bassi"), QStringLiteral("paolo@studiobassi.example"),
                    Role::client, studio);
    const QString garage =
        seed.company(QStringLiteral("Officina Gatti"),
                     QStringLiteral("Gestionale in cloud, copia di sicurezza serale."), 45);
    const QString luca =
        seed.person(QStringLiteral("Luca Gatti"), QStringLiteral("luca@officinagatti.example"),
                    Role::client, garage);
    const QString hardware =
        seed.company(QStringLiteral("Ferramenta Conti"),
                     QStringLiteral("Due negozi: via Garibaldi e centro commerciale."), 80);
    const QString sara =
        seed.person(QStringLiteral("Sara Conti"), QStringLiteral("sara@ferramentaconti.example"),
                    Role::client, hardware);
    seed.company(QStringLiteral("Agriturismo Le Querce"), QString::fromUtf8(newClientNotes), 2);

    Conversation& withGiulia = seed.direct(bakery);
    seed.say(withGiulia, giulia,
             QStringLiteral("Buongiorno! Da stamattina il sito non mostra più il menù del sabato."),
             1570);
    seed.say(withGiulia, marta, QStringLiteral("Buongiorno Giulia, controllo subito."), 1562);
    const qint64 fixed = seed.say(
        withGiulia, marta,
        QStringLiteral("Era scaduto il collegamento al file del menù: l'ho rimesso a posto, "
                       "adesso si vede."),
        1541, 1);
    seed.read(withGiulia, giulia, fixed, 1535);
    const qint64 thanks = seed.say(withGiulia, giulia, QStringLiteral("Perfetto, grazie!"), 1530);
    seed.read(withGiulia, marta, thanks, 1529);
    seed.react(withGiulia, fixed, QStringLiteral("🙏"), {giulia});
    seed.react(withGiulia, thanks, QStringLiteral("❤️"), {marta});
    const qint64 till = seed.say(
        withGiulia, marta,
        QStringLiteral("Giulia, la settimana prossima aggiorniamo la cassa: ti va bene lunedì "
                       "pomeriggio?"),
        20);
    seed.delivered(withGiulia, giulia, till, 19);

    Conversation& withPaolo = seed.direct(studio);
    seed.say(withPaolo, paolo,
             QStringLiteral("Ciao Marta, la stampante dello studio non stampa più dal portatile "
                            "nuovo."),
             190);
    const qint64 remote = seed.say(
        withPaolo, marta,
        QStringLiteral("Ciao Paolo, ti mando un collegamento per l'assistenza remota."), 182);
    seed.edit(withPaolo, remote,
              QStringLiteral("Ciao Paolo, tra dieci minuti ti chiamo e ci colleghiamo da remoto."),
              180);
    seed.say(withPaolo, paolo, QStringLiteral("Va bene, sono in studio."), 178);
    const qint64 solved =
        seed.say(withPaolo, marta, QStringLiteral("Risolto: mancava il driver. Prova pure."), 131);
    seed.read(withPaolo, paolo, solved, 128);
    const qint64 works =
        seed.say(withPaolo, paolo, QStringLiteral("Funziona, grazie! 👍"), 125, solved);
    seed.read(withPaolo, marta, works, 124);
    seed.react(withPaolo, works, QStringLiteral("🎉"), {marta});

    Conversation& withLuca = seed.direct(garage);
    seed.say(withLuca, luca,
             QStringLiteral("Salve, ci servirebbe una copia di sicurezza dei dati del gestionale "
                            "ogni sera."),
             2890);
    const qint64 when = seed.say(
        withLuca, marta,
        QStringLiteral("Certo, la impostiamo questa settimana. Vi va bene alle 22?"), 2870);
    seed.say(withLuca, luca, QStringLiteral("Va benissimo."), 2850);
    const qint64 slip =
        seed.say(withLuca, luca,
                 QStringLiteral("La password del gestionale è quella del mese scorso."), 2849);
    seed.remove(withLuca, slip, 2848);
    seed.read(withLuca, marta, slip, 2840);
    const qint64 done = seed.say(
        withLuca, marta,
        QStringLiteral("Fatto: da stasera la copia parte da sola alle 22. Vi arriva un'email di "
                       "conferma."),
        2700, when);
    seed.read(withLuca, luca, done, 2690);

    Conversation& withSara = seed.direct(hardware);
    const qint64 ask = seed.say(
        withSara, sara,
        QStringLiteral("Ciao! Possiamo aggiungere un secondo account email per il negozio?"), 42);
    seed.read(withSara, marta, ask, 38);
    const qint64 answer = seed.say(
        withSara, marta, QStringLiteral("Sì, dimmi il nome che preferisci e lo creiamo oggi."), 37);
    seed.read(withSara, sara, answer, 30);
    const qint64 name = seed.say(
        withSara, sara, QStringLiteral("negozio@ferramentaconti.example andrebbe benissimo."), 12);
    seed.delivered(withSara, marta, name, 12);

    Conversation& site = data.addGroup(QString::fromUtf8(groupTitle), {marta, paolo, sara});
    seed.say(site, marta,
             QStringLiteral("Ho aperto questo gruppo per coordinare il cantiere di via Roma."),
             330);
    const qint64 question =
        seed.say(site, paolo,
                 QStringLiteral("Ottimo. Sara, riuscite a consegnare i materiali giovedì?"), 318);
    const qint64 yes =
        seed.say(site, sara, QStringLiteral("Sì, giovedì mattina entro le 10."), 300, question);
    const qint64 last = seed.say(site, paolo, QStringLiteral("Perfetto, avviso l'impresa."), 296);
    seed.react(site, yes, QStringLiteral("👍"), {paolo, marta});
    seed.read(site, sara, last, 295);
    seed.read(site, marta, last, 290);

    // People who look online in the demo; the rest come and go with real connections.
    data.simulatedOnline = {marta, paolo, sara};
    return seed.accounts;
}

} // namespace brevio::DemoSeed
