#pragma once

// Every text the chat view computes, in one place: plurals, counts, banners, strips and hints.

#include "model/Records.h"
#include "session/ConnectionStatus.h"
#include "state/Delivery.h"

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <QTimeZone>
#include <optional>

namespace brevio::ChatTexts {

// "1 messaggio non letto", "3 messaggi non letti".
QString unreadSeparator(qint64 count);
// "Marta sta scrivendo…", "Marta e Luca stanno scrivendo…", "Marta, Luca e Sara stanno
// scrivendo…"; nothing for nobody.
QString typing(const QStringList& names);
// "Torna in fondo", "Torna in fondo, 4 nuovi".
QString toBottom(qint64 newMessages);
// The day separator: "Oggi", "Ieri", "14 marzo", with the year when it is not this year.
QString day(const QDateTime& dayStart, const QDateTime& now, const QTimeZone& zone);
// A message's time of day, "09:41".
QString timeOfDay(const QDateTime& date, const QTimeZone& zone);

// Whole seconds until `until`, rounded up, never below 0.
qint64 secondsUntil(const QDateTime& until, const QDateTime& now);
// The banner above the composer; nothing while online.
std::optional<QString> banner(const ConnectionStatus& status, const QDateTime& now);
// The connection indicator's short label and its help text.
QString indicatorLabel(const ConnectionStatus& status);
QString indicatorHelp(const ConnectionStatus& status);

// "Troppo lungo: 4001 caratteri su 4000" past the limit, otherwise nothing.
std::optional<QString> tooLong(qsizetype length);
// The reply strip: "Risposta a Marta", or "Rispondi a te stesso" for one's own message.
QString replyStrip(const QString& authorName, bool ownMessage);
// "Risposta a Marta" above a quote.
QString quoteTitle(const QString& authorName);

// The hint of an empty conversation, by who looks at it and where.
QString emptyHint(bool viewerIsClient, bool isGroup);

// "2 di 5", or "Nessun risultato" without matches.
QString searchStatus(qsizetype current, qsizetype total);

// One line of message info for another participant.
QString receipt(const ReceiptEntry& entry, const QDateTime& now, const QTimeZone& zone);

// The delivery ticks' accessible text and symbol.
QString deliveryText(const Delivery& delivery);
QString deliverySymbol(const Delivery& delivery);
// "Non inviato: <reason>".
QString failure(const QString& reason);

} // namespace brevio::ChatTexts
