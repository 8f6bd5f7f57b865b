#include "shell/TrayMenu.h"

#include "shell/AppModel.h"

#include <QCoreApplication>
#include <QFont>
#include <QFontMetricsF>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>

namespace brevio {

TrayState TrayState::of(const AppModel& model) {
    TrayState state;
    const ChatSession& session = model.session();
    state.signedIn = session.phase().isSignedIn();
    state.connectionWord = model.connectionWord();
    if (!state.signedIn)
        return state;
    const ChatState& chat = session.state();
    QList<std::pair<const Conversation*, qint64>> unread;
    for (const Conversation& conversation : chat.conversations) {
        const qint64 count = chat.unreadCount(conversation.id);
        if (count > 0)
            unread.append({&conversation, count});
    }
    // As the conversation list orders them: the newest message first.
    const auto sentAt = [](const Conversation& c) {
        return c.lastMessage ? c.lastMessage->sentAt : QDateTime();
    };
    std::sort(unread.begin(), unread.end(), [&](const auto& a, const auto& b) {
        const QDateTime ta = sentAt(*a.first);
        const QDateTime tb = sentAt(*b.first);
        if (ta != tb)
            return ta > tb;
        return a.first->id < b.first->id;
    });
    for (const auto& [conversation, count] : unread) {
        state.unread.append({conversation->id, conversation->title, count});
        state.unreadTotal += count;
    }
    return state;
}

QString newCountText(qint64 count) {
    return count == 1 ? QStringLiteral("1 nuovo")
                      : QString::number(count) + QStringLiteral(" nuovi");
}

QList<TrayEntry> trayMenu(const TrayState& state) {
    using Action = TrayEntry::Action;
    QList<TrayEntry> entries;
    if (!state.signedIn) {
        entries.append({.text = QStringLiteral("Non hai effettuato l'accesso")});
    } else {
        entries.append({.text = state.connectionWord});
        entries.append({.action = Action::separator});
        for (const TrayConversation& conversation : state.unread)
            entries.append({.text = conversation.title,
                            .detail = newCountText(conversation.unread),
                            .enabled = true,
                            .action = Action::openConversation,
                            .conversationID = conversation.id});
        if (state.unread.isEmpty())
            entries.append({.text = QStringLiteral("Nessun messaggio da leggere")});
    }
    entries.append({.action = Action::separator});
    entries.append(
        {.text = QStringLiteral("Apri Brevio"), .enabled = true, .action = Action::openWindow});
    entries.append(
        {.text = QStringLiteral("Impostazioni…"), .enabled = true, .action = Action::openSettings});
    entries.append({.action = Action::separator});
    entries.append(
        {.text = QStringLiteral("Esci da Brevio"), .enabled = true, .action = Action::quit});
    return entries;
}

void chooseTrayEntry(AppModel& model, const TrayEntry& entry) {
    switch (entry.action) {
    case TrayEntry::Action::openConversation:
        model.selectConversation(entry.conversationID);
        model.bringMainWindowForward();
        model.markVisibleConversationRead();
        return;
    case TrayEntry::Action::openWindow:
        model.bringMainWindowForward();
        return;
    case TrayEntry::Action::openSettings:
        model.openSettings();
        return;
    case TrayEntry::Action::quit:
        QCoreApplication::quit();
        return;
    case TrayEntry::Action::none:
    case TrayEntry::Action::separator:
        return;
    }
}

QString trayIconText(qint64 unread) {
    return unread > 0 ? QString::number(unread) : QString();
}

QString trayToolTip(const TrayState& state) {
    if (!state.signedIn || state.unreadTotal <= 0)
        return QStringLiteral("Brevio");
    return QStringLiteral("Brevio: ") + newCountText(state.unreadTotal);
}

namespace {

// A speech bubble: a rounded body and a short tail at one of its lower corners.
QPainterPath bubble(const QRectF& body, bool tailRight) {
    const qreal radius = body.height() * 0.38;
    QPainterPath path;
    path.addRoundedRect(body, radius, radius);
    QPainterPath tail;
    const qreal w = body.height() * 0.34;
    if (tailRight) {
        const QPointF base(body.right() - radius * 0.9, body.bottom() - 1);
        tail.moveTo(base - QPointF(w * 0.6, 0));
        tail.lineTo(QPointF(body.right() - radius * 0.15, body.bottom() + w * 0.9));
        tail.lineTo(base + QPointF(w * 0.2, -w * 0.6));
    } else {
        const QPointF base(body.left() + radius * 0.9, body.bottom() - 1);
        tail.moveTo(base + QPointF(w * 0.6, 0));
        tail.lineTo(QPointF(body.left() + radius * 0.15, body.bottom() + w * 0.9));
        tail.lineTo(base - QPointF(w * 0.2, w * 0.6));
    }
    tail.closeSubpath();
    return path.united(tail);
}

} // namespace

QImage trayIconImage(qint64 unread, QSize size, bool dark) {
    QImage image(size.isValid() ? size : QSize(22, 22), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    const qreal side = std::min(image.width(), image.height());
    const QPointF origin((image.width() - side) / 2, (image.height() - side) / 2);
    // The panel's text colour, and the unread badge's (the theme's tokens).
    const QColor ink = dark ? QColor(0xE8, 0xEA, 0xED) : QColor(0x1B, 0x1D, 0x21);
    const QColor badge = dark ? QColor(0x3A, 0x6B, 0xD0) : QColor(0x2A, 0x63, 0xD4);

    const qreal pen = std::max<qreal>(1.0, side / 14.0);
    const qreal inset = pen / 2 + side * 0.02;
    const QRectF back(origin + QPointF(inset, inset), QSizeF(side * 0.62, side * 0.46));
    const QRectF front(origin + QPointF(side * 0.26, side * 0.30),
                       QSizeF(side * 0.74 - inset, side * 0.52));
    const QPainterPath backPath = bubble(back, false);
    const QPainterPath frontPath = bubble(front, true);

    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    if (unread <= 0) {
        painter.setPen(QPen(ink, pen, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter.setBrush(Qt::NoBrush);
        painter.drawPath(backPath.subtracted(frontPath));
        painter.drawPath(frontPath);
        return image;
    }
    painter.setPen(Qt::NoPen);
    painter.setBrush(ink);
    painter.drawPath(backPath.subtracted(frontPath));
    painter.setBrush(badge);
    painter.drawPath(frontPath);

    // The number in white, as large as the front bubble allows.
    const QString text = trayIconText(unread);
    QFont font;
    font.setBold(true);
    const QRectF room = front.adjusted(front.width() * 0.06, 0, -front.width() * 0.06, 0);
    qreal pixels = std::max<qreal>(1.0, room.height() * 0.8);
    for (; pixels > 1.0; pixels -= 0.5) {
        font.setPixelSize(std::max(1, int(pixels)));
        if (QFontMetricsF(font).horizontalAdvance(text) <= room.width())
            break;
    }
    font.setPixelSize(std::max(1, int(pixels)));
    painter.setFont(font);
    painter.setPen(Qt::white);
    painter.drawText(room, Qt::AlignCenter, text);
    return image;
}

} // namespace brevio
