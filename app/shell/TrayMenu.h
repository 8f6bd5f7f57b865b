#pragma once

#include <QImage>
#include <QList>
#include <QSize>
#include <QString>

namespace brevio {

class AppModel;

// One line of the tray's menu: what it says, whether it can be chosen and what choosing it does.
struct TrayEntry {
    enum class Action {
        none,             // a line that only informs (the connection word, "nothing to read")
        separator,        // a rule between groups
        openConversation, // opens `conversationID` in the main window
        openWindow,       // brings the main window forward
        openSettings,     // opens the settings window
        quit,             // quits the application
    };

    QString text;
    // Right of the text: a conversation's "3 nuovi".
    QString detail;
    bool enabled = false;
    Action action = Action::none;
    QString conversationID;

    friend bool operator==(const TrayEntry&, const TrayEntry&) = default;
};

// A conversation with something to read, as the menu lists it.
struct TrayConversation {
    QString id;
    QString title;
    qint64 unread = 0;
};

// What the tray shows, read from the model.
struct TrayState {
    bool signedIn = false;
    QString connectionWord;
    // Newest message first.
    QList<TrayConversation> unread;
    qint64 unreadTotal = 0;

    static TrayState of(const AppModel& model);
};

// "1 nuovo", "3 nuovi".
QString newCountText(qint64 count);

// The menu, top to bottom: the connection word (or, signed out, only "Non hai effettuato
// l'accesso"), the conversations with something to read (or "Nessun messaggio da leggere"), then
// "Apri Brevio", "Impostazioni…" and "Esci da Brevio".
QList<TrayEntry> trayMenu(const TrayState& state);

// Does what choosing `entry` does: opens its conversation (selected, the window forward, read),
// brings the window forward, asks for the settings, or quits the application.
void chooseTrayEntry(AppModel& model, const TrayEntry& entry);

// The number drawn on the icon: the unread total, nothing at 0.
QString trayIconText(qint64 unread);
// The tray's tooltip: "Brevio", and what there is to read.
QString trayToolTip(const TrayState& state);

// The icon at one size: two speech bubbles, drawn as outlines when nothing is unread, filled with
// the unread total written over them otherwise. `dark` draws for a dark panel.
QImage trayIconImage(qint64 unread, QSize size, bool dark);

} // namespace brevio
