#pragma once

#include <QObject>
#include <QPointer>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

namespace brevio {

class AppModel;
struct ChatState;

// The client's home: the title, whether the staff is online, the conversations the client has
// (the company's one with the staff first, then its groups) and the account menu. While it is
// shown, one of them is always the selected conversation, the company's by default.
class ClientHomeModel : public QObject {
    Q_OBJECT
    QML_ELEMENT

    Q_PROPERTY(AppModel* app READ app WRITE setApp NOTIFY appChanged)
    Q_PROPERTY(QString title READ title CONSTANT)
    Q_PROPERTY(QString statusText READ statusText NOTIFY changed)
    Q_PROPERTY(bool staffOnline READ staffOnline NOTIFY changed)
    Q_PROPERTY(bool hasConversation READ hasConversation NOTIFY changed)
    // [{conversationID, title, badge, badgeAccessible}], the company's conversation first.
    Q_PROPERTY(QVariantList conversations READ conversations NOTIFY changed)
    Q_PROPERTY(QString emptyTitle READ emptyTitle CONSTANT)
    Q_PROPERTY(QString emptyText READ emptyText CONSTANT)
    Q_PROPERTY(QString emptySymbol READ emptySymbol CONSTANT)
    Q_PROPERTY(QString accountMenuTitle READ accountMenuTitle CONSTANT)
    Q_PROPERTY(QString accountMenuSymbol READ accountMenuSymbol CONSTANT)
    Q_PROPERTY(QString settingsText READ settingsText CONSTANT)
    Q_PROPERTY(QString signOutText READ signOutText CONSTANT)

public:
    explicit ClientHomeModel(QObject* parent = nullptr);

    AppModel* app() const;
    void setApp(AppModel* app);

    static QString title() { return QStringLiteral("Brevio"); }
    QString statusText() const { return statusText(staffOnline_); }
    static QString statusText(bool staffOnline);
    bool staffOnline() const { return staffOnline_; }
    bool hasConversation() const { return !conversations_.isEmpty(); }
    QVariantList conversations() const { return conversations_; }
    static QString emptyTitle() { return QStringLiteral("Nessuna conversazione"); }
    static QString emptyText() {
        return QStringLiteral("Il tuo account non è ancora collegato a una conversazione. "
                              "Contatta lo staff.");
    }
    static QString emptySymbol() { return QStringLiteral("bubble.left.and.bubble.right"); }
    static QString accountMenuTitle() { return QStringLiteral("Il tuo account"); }
    static QString accountMenuSymbol() { return QStringLiteral("person.crop.circle"); }
    static QString settingsText() { return QStringLiteral("Foto profilo e impostazioni…"); }
    static QString signOutText() { return QStringLiteral("Esci dall'account"); }

    // Whether any staff member other than the user is online.
    static bool isStaffOnline(const ChatState& state);
    // The client's conversations in the order the home shows them.
    static QStringList conversationOrder(const ChatState& state);

Q_SIGNALS:
    void appChanged();
    void changed();

private:
    void refresh();

    QPointer<AppModel> app_;
    bool staffOnline_ = false;
    QVariantList conversations_;
};

} // namespace brevio
