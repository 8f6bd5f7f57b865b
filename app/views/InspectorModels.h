#pragma once

#include "model/Clock.h"
#include "session/ChatSession.h"
#include "views/PersonRow.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>
#include <optional>

namespace brevio {

class AppModel;

// The pane beside a client company's direct conversation: the company, its people, the staff's
// internal notes (saved by themselves a second after the last keystroke) and its invite.
class ClientInspectorModel : public QObject {
    Q_OBJECT
    QML_ELEMENT

    Q_PROPERTY(AppModel* app READ app WRITE setApp NOTIFY appChanged)
    Q_PROPERTY(QString conversationID READ conversationID WRITE setConversationID NOTIFY
                   conversationIDChanged)
    Q_PROPERTY(QString clientID READ clientID NOTIFY changed)
    Q_PROPERTY(QString companyName READ companyName NOTIFY changed)
    // "Cliente dal " and the day the company was made; empty when it is unknown.
    Q_PROPERTY(QString sinceText READ sinceText NOTIFY changed)
    // PersonRow maps (userID, name, photo, online, detail).
    Q_PROPERTY(QVariantList people READ people NOTIFY changed)
    Q_PROPERTY(QString notes READ notes NOTIFY notesChanged)
    // "Note non salvate: " and why, after a failed save; empty otherwise.
    Q_PROPERTY(QString saveError READ saveError NOTIFY notesChanged)
    Q_PROPERTY(bool savePending READ savePending NOTIFY notesChanged)
    Q_PROPERTY(QString inviteState READ inviteState NOTIFY changed)
    Q_PROPERTY(QString inviteButton READ inviteButton NOTIFY changed)

public:
    static constexpr Duration saveDelay{1000};

    explicit ClientInspectorModel(QObject* parent = nullptr);
    ~ClientInspectorModel() override;

    AppModel* app() const { return app_; }
    void setApp(AppModel* app);
    QString conversationID() const { return conversationID_; }
    void setConversationID(const QString& conversationID);

    QString clientID() const;
    QString companyName() const;
    QString sinceText() const;
    QVariantList people() const;
    QList<PersonRow> personRows() const;
    QString notes() const { return notes_; }
    QString saveError() const { return saveError_.value_or(QString()); }
    bool savePending() const { return timer_ != nullptr || saving_; }
    QString inviteState() const;
    QString inviteButton() const;

    // The user changed the notes: saved a second after the last such change.
    Q_INVOKABLE void editNotes(const QString& text);
    // Opens the invite sheet for this company.
    Q_INVOKABLE void openInvite();

Q_SIGNALS:
    void appChanged();
    void conversationIDChanged();
    void changed();
    void notesChanged();

private:
    void load();
    void stateChanged();
    // Sends the pending notes now (the timer fired, or the pane goes away).
    void save();

    QPointer<AppModel> app_;
    QString conversationID_;
    QString loadedClient_;
    QString notes_;
    // The notes differ from what the server has been told.
    bool dirty_ = false;
    bool saving_ = false;
    std::optional<QString> saveError_;
    TimerHandle timer_;
    quint64 generation_ = 0;
};

// The pane with nothing selected: the staff of the organisation.
class OrganizationInspectorModel : public QObject {
    Q_OBJECT
    QML_ELEMENT

    Q_PROPERTY(AppModel* app READ app WRITE setApp NOTIFY appChanged)
    Q_PROPERTY(QString organization READ organization NOTIFY changed)
    Q_PROPERTY(QVariantList staff READ staff NOTIFY changed)
    // The number of staff, "… persone", and how many are online, "… online".
    Q_PROPERTY(QString countText READ countText NOTIFY changed)
    Q_PROPERTY(QString onlineText READ onlineText NOTIFY changed)

public:
    explicit OrganizationInspectorModel(QObject* parent = nullptr);

    AppModel* app() const { return app_; }
    void setApp(AppModel* app);
    QString organization() const;
    QList<PersonRow> staffRows() const;
    QVariantList staff() const;
    QString countText() const;
    QString onlineText() const;

Q_SIGNALS:
    void appChanged();
    void changed();

private:
    QPointer<AppModel> app_;
};

// The pane beside a group: its name (staff rename it), its members (staff remove them), adding
// people and leaving.
class GroupInspectorModel : public QObject {
    Q_OBJECT
    QML_ELEMENT

    Q_PROPERTY(AppModel* app READ app WRITE setApp NOTIFY appChanged)
    Q_PROPERTY(QString conversationID READ conversationID WRITE setConversationID NOTIFY
                   conversationIDChanged)
    Q_PROPERTY(QString name READ name NOTIFY changed)
    Q_PROPERTY(bool canManage READ canManage NOTIFY changed)
    // PersonRow maps plus `removeLabel` ("Togli … dal gruppo") and `removable`.
    Q_PROPERTY(QVariantList members READ members NOTIFY changed)
    Q_PROPERTY(QString countText READ countText NOTIFY changed)
    Q_PROPERTY(QString leaveText READ leaveText NOTIFY changed)
    Q_PROPERTY(bool working READ working NOTIFY workingChanged)
    Q_PROPERTY(QString error READ error NOTIFY errorChanged)

public:
    explicit GroupInspectorModel(QObject* parent = nullptr);

    AppModel* app() const { return app_; }
    void setApp(AppModel* app);
    QString conversationID() const { return conversationID_; }
    void setConversationID(const QString& conversationID);

    QString name() const;
    bool canManage() const;
    QList<PersonRow> memberRows() const;
    QVariantList members() const;
    QString countText() const;
    QString leaveText() const;
    bool working() const { return working_; }
    QString error() const { return error_.value_or(QString()); }

    // Renames the group (staff); a blank or unchanged name does nothing.
    Q_INVOKABLE void rename(const QString& name);
    Q_INVOKABLE void removeMember(const QString& userID);
    // Leaves the group; once the server agrees the group is gone from the list and the selection.
    Q_INVOKABLE void leave();
    Q_INVOKABLE void clearError();

Q_SIGNALS:
    void appChanged();
    void conversationIDChanged();
    void changed();
    void workingChanged();
    void errorChanged();
    // The user left the group.
    void left();

private:
    const Conversation* group() const;
    void run(std::function<void(ChatSession&, std::function<void(std::expected<void, ChatError>)>)>
                 operation,
             std::function<void()> onSuccess = {});
    void setWorking(bool working);
    void setError(std::optional<QString> error);

    QPointer<AppModel> app_;
    QString conversationID_;
    bool working_ = false;
    std::optional<QString> error_;
    quint64 attempt_ = 0;
};

} // namespace brevio
