#include "views/ChatTexts.h"

#include "model/MessageRules.h"
#include "views/RelativeTime.h"

#include <QLocale>

namespace brevio::ChatTexts {

namespace {

// "alle 09:41", "ieri alle 09:41", "14 marzo alle 09:41".
QString momentPhrase(const QDateTime& date, const QDateTime& now, const QTimeZone& zone) {
    return RelativeTime::moment(date, now, zone);
}

} // namespace

QString unreadSeparator(qint64 count) {
    if (count == 1)
        return QStringLiteral("1 messaggio non letto");
    return QString::number(count) + QStringLiteral(" messaggi non letti");
}

QString typing(const QStringList& names) {
    if (names.isEmpty())
        return {};
    if (names.size() == 1)
        return names.front() + QStringLiteral(" sta scrivendo…");
    const QString joined = names.mid(0, names.size() - 1).join(QStringLiteral(", ")) +
                           QStringLiteral(" e ") + names.back();
    return joined + QStringLiteral(" stanno scrivendo…");
}

QString toBottom(qint64 newMessages) {
    if (newMessages <= 0)
        return QStringLiteral("Torna in fondo");
    return QStringLiteral("Torna in fondo, ") + QString::number(newMessages) +
           QStringLiteral(" nuovi");
}

QString day(const QDateTime& dayStart, const QDateTime& now, const QTimeZone& zone) {
    return RelativeTime::day(dayStart, now, zone);
}

QString timeOfDay(const QDateTime& date, const QTimeZone& zone) {
    return RelativeTime::timeOfDay(date, zone);
}

qint64 secondsUntil(const QDateTime& until, const QDateTime& now) {
    const qint64 ms = now.msecsTo(until);
    if (ms <= 0)
        return 0;
    return (ms + 999) / 1000;
}

std::optional<QString> banner(const ConnectionStatus& status, const QDateTime& now) {
    switch (status.kind) {
    case ConnectionStatus::Kind::online:
        return std::nullopt;
    case ConnectionStatus::Kind::connecting:
        return QStringLiteral("Collegamento al server…");
    case ConnectionStatus::Kind::offline:
        return QStringLiteral("Non collegato al server.");
    case ConnectionStatus::Kind::waiting:
        return QStringLiteral("Connessione persa. Nuovo tentativo tra ") +
               QString::number(secondsUntil(status.until, now)) + QStringLiteral(" s.");
    }
    return std::nullopt;
}

QString indicatorLabel(const ConnectionStatus& status) {
    switch (status.kind) {
    case ConnectionStatus::Kind::online:
        return QStringLiteral("Collegato");
    case ConnectionStatus::Kind::connecting:
        return QStringLiteral("Collegamento…");
    case ConnectionStatus::Kind::offline:
        return QStringLiteral("Non collegato");
    case ConnectionStatus::Kind::waiting:
        return QStringLiteral("Riconnessione…");
    }
    return {};
}

QString indicatorHelp(const ConnectionStatus& status) {
    if (status.isOnline())
        return QStringLiteral("Collegato al server: i messaggi arrivano in tempo reale.");
    return QStringLiteral("I messaggi scritti adesso partono appena torna la connessione.");
}

std::optional<QString> tooLong(qsizetype length) {
    if (length <= maximumMessageLength)
        return std::nullopt;
    return QStringLiteral("Troppo lungo: ") + QString::number(length) +
           QStringLiteral(" caratteri su ") + QString::number(maximumMessageLength);
}

QString replyStrip(const QString& authorName, bool ownMessage) {
    if (ownMessage)
        return QStringLiteral("Rispondi a te stesso");
    return quoteTitle(authorName);
}

QString quoteTitle(const QString& authorName) {
    return QStringLiteral("Risposta a ") + authorName;
}

QString emptyHint(bool viewerIsClient, bool isGroup) {
    if (viewerIsClient)
        return QStringLiteral("Scrivi qui: lo staff ti risponde appena possibile.");
    if (isGroup)
        return QStringLiteral("Scrivi il primo messaggio del gruppo.");
    return QStringLiteral("Scrivi il primo messaggio a questo cliente.");
}

QString searchStatus(qsizetype current, qsizetype total) {
    if (total <= 0)
        return QStringLiteral("Nessun risultato");
    return QString::number(current) + QStringLiteral(" di ") + QString::number(total);
}

QString receipt(const ReceiptEntry& entry, const QDateTime& now, const QTimeZone& zone) {
    if (entry.readAt)
        return QStringLiteral("Letto ") + momentPhrase(*entry.readAt, now, zone);
    if (entry.deliveredAt)
        return QStringLiteral("Ricevuto, non ancora letto");
    return QStringLiteral("Non ancora ricevuto");
}

QString deliveryText(const Delivery& delivery) {
    switch (delivery.kind) {
    case Delivery::Kind::sending:
        return QStringLiteral("Invio in corso");
    case Delivery::Kind::sent:
        return QStringLiteral("Inviato");
    case Delivery::Kind::delivered:
        return QStringLiteral("Consegnato");
    case Delivery::Kind::read:
        return QStringLiteral("Letto");
    case Delivery::Kind::failed:
        return QStringLiteral("Non inviato");
    }
    return {};
}

QString deliverySymbol(const Delivery& delivery) {
    switch (delivery.kind) {
    case Delivery::Kind::sending:
        return QStringLiteral("clock");
    case Delivery::Kind::sent:
        return QStringLiteral("checkmark");
    case Delivery::Kind::delivered:
    case Delivery::Kind::read:
        return QStringLiteral("checkmark.double");
    case Delivery::Kind::failed:
        return QStringLiteral("exclamationmark.circle.fill");
    }
    return {};
}

QString failure(const QString& reason) {
    return QStringLiteral("Non inviato: ") + reason;
}

} // namespace brevio::ChatTexts
