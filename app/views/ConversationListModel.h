#pragma once

#include "state/ChatState.h"

#include <QAbstractListModel>
#include <QCollator>
#include <QHash>
#include <QPointer>
#include <QTimeZone>
#include <QtQml/qqmlregistration.h>
#include <memory>
#include <string>
#include <vector>

namespace brevio {

class AppModel;
class Timer;

// The staff's conversations, newest last message first (ties by title), filtered ("Tutte", "Da
// leggere", "Gruppi") and searched, with every text a row and the list's empty states show.
//
// Each refresh compares every conversation with what its row was made from and rebuilds only the
// rows that differ; the shown rows are then diffed against the new order, so a live message that
// brings a conversation to the top is one moved row and a changed preview, never a reset. Search
// keeps each conversation's folded names and loaded message texts until they change, and a query
// that only grows looks again only at the conversations the shorter one found.
class ConversationListModel : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT

    Q_PROPERTY(AppModel* app READ app WRITE setApp NOTIFY appChanged)
    // 0 "Tutte", 1 "Da leggere", 2 "Gruppi".
    Q_PROPERTY(int filter READ filter WRITE setFilter NOTIFY filterChanged)
    Q_PROPERTY(QStringList filterLabels READ filterLabels CONSTANT)
    Q_PROPERTY(QString search READ search WRITE setSearch NOTIFY searchChanged)
    Q_PROPERTY(QString searchPrompt READ searchPrompt CONSTANT)
    Q_PROPERTY(int count READ count NOTIFY countChanged)
    // The empty state shown instead of the rows; isEmpty false while rows are shown.
    Q_PROPERTY(bool isEmpty READ isEmpty NOTIFY emptyChanged)
    Q_PROPERTY(QString emptyTitle READ emptyTitle NOTIFY emptyChanged)
    Q_PROPERTY(QString emptyText READ emptyText NOTIFY emptyChanged)
    Q_PROPERTY(QString emptyDetail READ emptyDetail NOTIFY emptyChanged)
    Q_PROPERTY(QString emptySymbol READ emptySymbol NOTIFY emptyChanged)
    // Without any conversation the empty state offers inviting the first client.
    Q_PROPERTY(bool emptyOffersInvite READ emptyOffersInvite NOTIFY emptyChanged)
    Q_PROPERTY(int selectedRow READ selectedRow NOTIFY selectionChanged)
    // The inspector button's help, by the kind of the selected conversation.
    Q_PROPERTY(QString inspectorHelp READ inspectorHelp NOTIFY selectionChanged)
    Q_PROPERTY(bool selectedIsGroup READ selectedIsGroup NOTIFY selectionChanged)

public:
    enum class Filter { all = 0, unread = 1, groups = 2 };

    enum Role {
        IDRole = Qt::UserRole + 1,
        TitleRole,
        CompanyRole,
        PreviewRole,
        PreviewKindRole, // "text", "deleted", "none" or "typing"
        TimeRole,
        TimeAccessibleRole,
        BadgeRole,
        BadgeAccessibleRole,
        UnreadRole,
        IsGroupRole,
        AvatarIDRole,
        AvatarNameRole,
        AvatarPhotoRole,
        OnlineRole,
        SelectedRole,
        AccessibleNameRole,
    };

    // What one row shows.
    struct Row {
        QString id;
        QString title;
        QString company;
        QString preview;
        QString previewKind;
        QString time;
        QString timeAccessible;
        qint64 unread = 0;
        bool isGroup = false;
        QString avatarID;
        QString avatarPhoto;
        bool online = false;
        friend bool operator==(const Row&, const Row&) = default;
    };

    explicit ConversationListModel(QObject* parent = nullptr);
    ~ConversationListModel() override;

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    AppModel* app() const;
    void setApp(AppModel* app);
    int filter() const { return int(filter_); }
    void setFilter(int filter);
    static QStringList filterLabels();
    QString search() const { return search_; }
    void setSearch(const QString& search);
    static QString searchPrompt() { return QStringLiteral("Cerca persone, gruppi e messaggi"); }
    int count() const { return int(shown_.size()); }
    bool isEmpty() const { return shown_.empty(); }
    QString emptyTitle() const;
    QString emptyText() const;
    QString emptyDetail() const;
    QString emptySymbol() const;
    bool emptyOffersInvite() const { return shown_.empty() && entries_.isEmpty(); }
    int selectedRow() const { return rowOf(selected_); }
    QString inspectorHelp() const;
    bool selectedIsGroup() const;

    Q_INVOKABLE QString idAt(int row) const;
    Q_INVOKABLE int rowOf(const QString& conversationID) const;
    // The id of the shown conversation with this title; empty when none is shown.
    Q_INVOKABLE QString idForTitle(const QString& title) const;
    const Row& row(int index) const;

    // Without an application model (tests, benchmarks): the state to show, at `now`. The state
    // must stay alive while the filter or the search may change.
    void refresh(const ChatState& state, const QDateTime& now);
    void setSelectedID(const QString& conversationID);
    void setZone(const QTimeZone& zone) { zone_ = zone; }

    // The badge's text: nothing below 1, the number up to 99, then "99+".
    static QString badgeText(qint64 unread);
    // "3 da leggere"; nothing below 1.
    static QString badgeAccessibleText(qint64 unread);
    // The one-line preview of a conversation and its kind ("text", "deleted", "none", "typing").
    static std::pair<QString, QString> preview(const std::optional<ChatMessage>& last,
                                               const QString& myID, const QStringList& typingNames);

Q_SIGNALS:
    void appChanged();
    void filterChanged();
    void searchChanged();
    void countChanged();
    void emptyChanged();
    void selectionChanged();

private:
    struct Entry;
    void refreshFromApp();
    void scheduleDayChange(const QDateTime& now);
    bool makeRow(Entry& e, const Conversation& c, const ChatState& state, const QDateTime& now);
    bool passesFilter(const Entry& e) const;
    bool matchesSearch(Entry& e, const ChatState& state);
    void foldNames(Entry& e, const ChatState& state);
    void foldMessages(Entry& e, const ChatState& state);
    void scheduleWarmUp();
    void warmUpSlice();
    bool lessThan(const Entry* a, const Entry* b) const;
    // The shown rows again after the filter or the search changed.
    void reorder(const ChatState& state);
    void showRows(std::vector<Entry*> next, const QSet<Entry*>& changed);

    QPointer<AppModel> app_;
    Filter filter_ = Filter::all;
    QString search_;
    bool searching_ = false; // the trimmed search is not empty
    std::string needle_;     // the folded search, UTF-8
    std::string lastNeedle_; // the needle the entries' `matches` were computed for
    QString selected_;
    QString myID_;
    QTimeZone zone_ = QTimeZone::systemTimeZone();
    QCollator collator_;

    QHash<QString, Entry*> entries_;
    std::vector<std::unique_ptr<Entry>> storage_;
    std::vector<Entry*> ordered_; // every conversation, in list order
    std::vector<Entry*> shown_;   // those passing the filter and the search
    // Copies of the state's people, to tell cheaply whether they changed since the last refresh.
    QHash<QString, User> users_;
    QHash<QString, ClientCompany> clients_;
    QSet<QString> online_;
    QSet<QString> onlineCompanies_;
    QDate today_;
    std::unique_ptr<Timer> dayChange_;
    std::unique_ptr<Timer> warmUp_;
    size_t warmCursor_ = 0;
    quint64 pass_ = 0;
    const ChatState* state_ = nullptr; // during a refresh
};

} // namespace brevio
