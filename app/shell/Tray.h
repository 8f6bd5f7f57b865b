#pragma once

#include "shell/TrayMenu.h"

#include <QObject>
#include <QPointer>
#include <memory>

class QMenu;
class QSystemTrayIcon;

namespace brevio {

class AppModel;

// The icon in the desktop's tray (a StatusNotifier host or an XEmbed tray): it shows the unread
// total and carries a menu that reaches the conversations, the main window and the settings while
// the window is closed. Needs a QApplication.
class Tray : public QObject {
    Q_OBJECT
public:
    explicit Tray(AppModel& model, QObject* parent = nullptr);
    ~Tray() override;

    // Whether the desktop shows tray icons now.
    static bool isAvailable();
    // The icon is on the desktop's tray.
    bool isShown() const;

    // What the menu and the icon show now.
    const QList<TrayEntry>& entries() const { return entries_; }
    qint64 shownUnread() const { return state_.unreadTotal; }

    // Does what choosing the entry does.
    void choose(const TrayEntry& entry);

private:
    void update();
    void rebuildMenu();

    AppModel& model_;
    std::unique_ptr<QMenu> menu_;
    QSystemTrayIcon* icon_ = nullptr;
    TrayState state_;
    QList<TrayEntry> entries_;
    qint64 iconUnread_ = -1;
    bool iconDark_ = false;
};

} // namespace brevio
