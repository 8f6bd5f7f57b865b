#pragma once

#include "views/PersonRow.h"

#include <QObject>
#include <QPointer>
#include <QSet>
#include <QString>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>
#include <optional>

namespace brevio {

class AppModel;

// The group editor: a new group (name and people), or more people for an existing group
// (`conversationID` set). Offers staff and client users, without the user and the group's
// members, filtered by a search over names and companies.
class GroupEditorModel : public QObject {
    Q_OBJECT
    QML_ELEMENT

    Q_PROPERTY(AppModel* app READ app WRITE setApp NOTIFY appChanged)
    // Empty: a new group; otherwise the group that gets more people.
    Q_PROPERTY(QString conversationID READ conversationID WRITE setConversationID NOTIFY
                   conversationIDChanged)
    Q_PROPERTY(bool isCreating READ isCreating NOTIFY conversationIDChanged)
    Q_PROPERTY(QString title READ title NOTIFY conversationIDChanged)
    Q_PROPERTY(QString confirmLabel READ confirmLabel NOTIFY conversationIDChanged)
    Q_PROPERTY(QString name READ name WRITE setName NOTIFY formChanged)
    Q_PROPERTY(QString search READ search WRITE setSearch NOTIFY formChanged)
    // PersonRow maps plus `selected`, for the people the search keeps.
    Q_PROPERTY(QVariantList candidates READ candidates NOTIFY formChanged)
    // Shown instead of the list when it is empty.
    Q_PROPERTY(QString emptyText READ emptyText NOTIFY formChanged)
    Q_PROPERTY(QString selectionText READ selectionText NOTIFY formChanged)
    Q_PROPERTY(int selectedCount READ selectedCount NOTIFY formChanged)
    Q_PROPERTY(bool canConfirm READ canConfirm NOTIFY formChanged)
    Q_PROPERTY(bool working READ working NOTIFY workingChanged)
    Q_PROPERTY(QString error READ error NOTIFY errorChanged)

public:
    explicit GroupEditorModel(QObject* parent = nullptr);

    AppModel* app() const { return app_; }
    void setApp(AppModel* app);
    QString conversationID() const { return conversationID_; }
    void setConversationID(const QString& conversationID);
    bool isCreating() const { return conversationID_.isEmpty(); }
    QString title() const;
    QString confirmLabel() const;
    QString name() const { return name_; }
    void setName(const QString& name);
    QString search() const { return search_; }
    void setSearch(const QString& search);

    // Everyone who may be added, before the search.
    QList<PersonRow> offered() const;
    // Those the search keeps, by name.
    QList<PersonRow> candidateRows() const;
    QVariantList candidates() const;
    QString emptyText() const;
    QString selectionText() const;
    int selectedCount() const { return int(selected_.size()); }
    const QSet<QString>& selected() const { return selected_; }
    bool canConfirm() const;
    bool working() const { return working_; }
    QString error() const { return error_.value_or(QString()); }

    Q_INVOKABLE void toggle(const QString& userID);
    Q_INVOKABLE bool isSelected(const QString& userID) const { return selected_.contains(userID); }
    // Creates the group (then selects it) or adds the chosen people.
    Q_INVOKABLE void confirm();
    // An empty form (the same mode).
    Q_INVOKABLE void reset();

Q_SIGNALS:
    void appChanged();
    void conversationIDChanged();
    void formChanged();
    void workingChanged();
    void errorChanged();
    // The server made the group, or added the people: the sheet closes.
    void created(const QString& conversationID);
    void added();

private:
    void setWorking(bool working);
    void setError(std::optional<QString> error);

    QPointer<AppModel> app_;
    QString conversationID_;
    QString name_;
    QString search_;
    QSet<QString> selected_;
    bool working_ = false;
    std::optional<QString> error_;
    quint64 attempt_ = 0;
};

} // namespace brevio
