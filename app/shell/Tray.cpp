#include "shell/Tray.h"

#include "shell/AppModel.h"

#include <QIconEngine>
#include <QMenu>
#include <QPainter>
#include <QPixmap>
#include <QSystemTrayIcon>

namespace brevio {

namespace {

// Draws the icon at whatever size the tray asks for, so the number stays sharp.
class TrayIconEngine final : public QIconEngine {
public:
    TrayIconEngine(qint64 unread, bool dark) : unread_(unread), dark_(dark) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode, QIcon::State) override {
        painter->drawImage(rect, trayIconImage(unread_, rect.size(), dark_));
    }
    QPixmap pixmap(const QSize& size, QIcon::Mode, QIcon::State) override {
        return QPixmap::fromImage(trayIconImage(unread_, size, dark_));
    }
    QList<QSize> availableSizes(QIcon::Mode, QIcon::State) override {
        return {{16, 16}, {22, 22}, {24, 24}, {32, 32}, {48, 48}, {64, 64}};
    }
    QIconEngine* clone() const override { return new TrayIconEngine(unread_, dark_); }
    QString key() const override { return QStringLiteral("BrevioTray"); }

private:
    qint64 unread_;
    bool dark_;
};

// A menu text shows "&" as itself.
QString menuText(QString text) {
    return text.replace(QLatin1Char('&'), QStringLiteral("&&"));
}

} // namespace

Tray::Tray(AppModel& model, QObject* parent)
    : QObject(parent), model_(model), menu_(std::make_unique<QMenu>()),
      icon_(new QSystemTrayIcon(this)) {
    icon_->setContextMenu(menu_.get());
    // A click on the icon itself opens the window; the menu is on the other button.
    connect(icon_, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason r) {
        if (r == QSystemTrayIcon::Trigger || r == QSystemTrayIcon::DoubleClick)
            model_.bringMainWindowForward();
    });
    connect(&model_, &AppModel::stateChanged, this, &Tray::update);
    connect(&model_, &AppModel::statusChanged, this, &Tray::update);
    connect(&model_, &AppModel::screenChanged, this, &Tray::update);
    connect(&model_, &AppModel::sessionReplaced, this, &Tray::update);
    connect(&model_, &AppModel::themeChanged, this, &Tray::update);
    update();
    icon_->show();
}

Tray::~Tray() {
    icon_->hide();
}

bool Tray::isAvailable() {
    return QSystemTrayIcon::isSystemTrayAvailable();
}

bool Tray::isShown() const {
    return icon_->isVisible() && isAvailable();
}

void Tray::update() {
    state_ = TrayState::of(model_);
    const QList<TrayEntry> entries = trayMenu(state_);
    if (entries != entries_) {
        entries_ = entries;
        rebuildMenu();
    }
    const bool dark = model_.desktopDark();
    if (state_.unreadTotal != iconUnread_ || dark != iconDark_) {
        iconUnread_ = state_.unreadTotal;
        iconDark_ = dark;
        icon_->setIcon(QIcon(new TrayIconEngine(iconUnread_, iconDark_)));
    }
    // Each change goes out to the panel: only real ones.
    if (const QString tip = trayToolTip(state_); tip != icon_->toolTip())
        icon_->setToolTip(tip);
}

void Tray::rebuildMenu() {
    menu_->clear();
    for (const TrayEntry& entry : entries_) {
        if (entry.action == TrayEntry::Action::separator) {
            menu_->addSeparator();
            continue;
        }
        QString text = menuText(entry.text);
        if (!entry.detail.isEmpty())
            text += QLatin1Char('\t') + entry.detail;
        QAction* action = menu_->addAction(text);
        action->setEnabled(entry.enabled);
        if (entry.enabled)
            connect(action, &QAction::triggered, this, [this, entry] { choose(entry); });
    }
}

void Tray::choose(const TrayEntry& entry) {
    chooseTrayEntry(model_, entry);
}

} // namespace brevio
