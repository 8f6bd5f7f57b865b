#pragma once

#include "model/Clock.h"
#include "views/MessageListModel.h"
#include "views/TimelineFeed.h"

#include <QObject>
#include <QPointer>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>
#include <optional>

namespace brevio {

class AppModel;
class ChatSession;

// Everything one conversation's chat view decides: its rows, the composer (draft, reply, edit,
// the length limit), the message actions, search, message info, the connection banner and
// reading. The view binds to it and calls it; it talks to the session the application shows.
class ChatViewModel : public QObject {
    Q_OBJECT
    QML_ELEMENT

    Q_PROPERTY(AppModel* app READ app WRITE setApp NOTIFY appChanged)
    Q_PROPERTY(QString conversationID READ conversationID WRITE setConversationID NOTIFY
                   conversationChanged)
    Q_PROPERTY(MessageListModel* messages READ messages CONSTANT)
    // The theme's colours for what the bubbles' HTML draws: search matches and links.
    Q_PROPERTY(QString highlightColor READ highlightColor WRITE setHighlightColor)
    Q_PROPERTY(QString highlightTextColor READ highlightTextColor WRITE setHighlightTextColor)
    Q_PROPERTY(QString linkColor READ linkColor WRITE setLinkColor)
    Q_PROPERTY(QString ownLinkColor READ ownLinkColor WRITE setOwnLinkColor)

    // The conversation
    Q_PROPERTY(QString title READ title NOTIFY conversationChanged)
    Q_PROPERTY(bool isGroup READ isGroup NOTIFY conversationChanged)
    Q_PROPERTY(bool isEmpty READ isEmpty NOTIFY rowsChanged)
    Q_PROPERTY(QString emptyHint READ emptyHint NOTIFY conversationChanged)
    Q_PROPERTY(bool hasOlder READ hasOlder NOTIFY rowsChanged)
    Q_PROPERTY(bool loadingOlder READ loadingOlder NOTIFY loadingChanged)
    Q_PROPERTY(QString typingText READ typingText NOTIFY typingChanged)
    // The row of the unread separator when the conversation was opened, or -1.
    Q_PROPERTY(int unreadRow READ unreadRow NOTIFY rowsChanged)

    // The composer
    Q_PROPERTY(QString draft READ draft WRITE setDraft NOTIFY draftChanged)
    Q_PROPERTY(QString tooLongText READ tooLongText NOTIFY draftChanged)
    Q_PROPERTY(bool canSubmit READ canSubmit NOTIFY draftChanged)
    Q_PROPERTY(bool replying READ replying NOTIFY composerChanged)
    Q_PROPERTY(QString replyText READ replyText NOTIFY composerChanged)
    Q_PROPERTY(bool editing READ editing NOTIFY composerChanged)
    Q_PROPERTY(QString placeholder READ placeholder NOTIFY composerChanged)
    Q_PROPERTY(QString submitHelp READ submitHelp NOTIFY composerChanged)

    // Search
    Q_PROPERTY(QString searchQuery READ searchQuery WRITE setSearchQuery NOTIFY searchChanged)
    Q_PROPERTY(int matchCount READ matchCount NOTIFY searchChanged)
    Q_PROPERTY(QString searchStatus READ searchStatus NOTIFY searchChanged)
    Q_PROPERTY(int currentMatchRow READ currentMatchRow NOTIFY searchChanged)
    // The row id of the match being looked at; changes only when another match is (the list
    // scrolls to it then, not when rows come in around it).
    Q_PROPERTY(QString currentMatchID READ currentMatchID NOTIFY currentMatchChanged)

    // Message info
    Q_PROPERTY(QVariantList infoRows READ infoRows NOTIFY infoChanged)
    Q_PROPERTY(bool infoLoading READ infoLoading NOTIFY infoChanged)

    // Connection
    Q_PROPERTY(QString bannerText READ bannerText NOTIFY bannerChanged)
    Q_PROPERTY(bool bannerOffersRetry READ bannerOffersRetry NOTIFY bannerChanged)
    Q_PROPERTY(bool bannerOffline READ bannerOffline NOTIFY bannerChanged)
    Q_PROPERTY(QString indicatorLabel READ indicatorLabel NOTIFY bannerChanged)
    Q_PROPERTY(QString indicatorHelp READ indicatorHelp NOTIFY bannerChanged)
    Q_PROPERTY(bool online READ online NOTIFY bannerChanged)

public:
    explicit ChatViewModel(QObject* parent = nullptr);
    ~ChatViewModel() override;

    AppModel* app() const { return app_; }
    void setApp(AppModel* app);
    QString conversationID() const { return conversationID_; }
    void setConversationID(const QString& conversationID);
    MessageListModel* messages() { return &messages_; }
    QString highlightColor() const { return style_.highlight; }
    void setHighlightColor(const QString& color) {
        setStyle(&MessageListModel::TextStyle::highlight, color);
    }
    QString highlightTextColor() const { return style_.highlightText; }
    void setHighlightTextColor(const QString& color) {
        setStyle(&MessageListModel::TextStyle::highlightText, color);
    }
    QString linkColor() const { return style_.link; }
    void setLinkColor(const QString& color) { setStyle(&MessageListModel::TextStyle::link, color); }
    QString ownLinkColor() const { return style_.ownLink; }
    void setOwnLinkColor(const QString& color) {
        setStyle(&MessageListModel::TextStyle::ownLink, color);
    }

    QString title() const;
    bool isGroup() const;
    bool isEmpty() const { return messageCount_ == 0; }
    QString emptyHint() const;
    bool hasOlder() const;
    bool loadingOlder() const;
    QString typingText() const { return typingText_; }
    int unreadRow() const { return messages_.rowOf(QStringLiteral("unread")); }

    QString draft() const { return draft_; }
    void setDraft(const QString& text);
    QString tooLongText() const;
    bool canSubmit() const;
    bool replying() const { return replyTo_.has_value(); }
    QString replyText() const;
    bool editing() const { return editing_.has_value(); }
    QString placeholder() const;
    QString submitHelp() const;

    QString searchQuery() const { return searchQuery_; }
    void setSearchQuery(const QString& query);
    int matchCount() const { return int(matches_.size()); }
    QString searchStatus() const;
    int currentMatchRow() const;
    QString currentMatchID() const { return currentMatchID_; }

    QVariantList infoRows() const { return infoRows_; }
    bool infoLoading() const { return infoLoading_; }

    QString bannerText() const { return bannerText_; }
    bool bannerOffersRetry() const;
    bool bannerOffline() const;
    QString indicatorLabel() const;
    QString indicatorHelp() const;
    bool online() const;

    // ---- Composer -----------------------------------------------------------------------------
    // Sends the draft (as a reply when replying) or saves the edit; false when refused (empty,
    // too long, nothing to save).
    Q_INVOKABLE bool submit();
    Q_INVOKABLE void replyTo(const QString& rowID);
    Q_INVOKABLE void startEditing(const QString& rowID);
    // Drops the reply or the edit in progress (Esc); the edit's text leaves the field.
    Q_INVOKABLE void cancelComposer();

    // ---- Message actions ----------------------------------------------------------------------
    // The context menu of a row, in order: [{action, text, symbol}]; empty for a deleted message.
    Q_INVOKABLE QVariantList actions(const QString& rowID) const;
    Q_INVOKABLE QString textOf(const QString& rowID) const;
    Q_INVOKABLE void copyText(const QString& rowID) const;
    // With an empty emoji the user's reaction goes.
    Q_INVOKABLE void react(const QString& rowID, const QString& emoji);
    Q_INVOKABLE void deleteForEveryone(const QString& rowID);
    Q_INVOKABLE void retry(const QString& rowID);
    Q_INVOKABLE void discard(const QString& rowID);
    Q_INVOKABLE void loadOlder();
    // The row of a quoted message ("Vai al messaggio"), or -1 when it is not loaded.
    Q_INVOKABLE int rowOfSeq(const QString& seq) const;
    Q_INVOKABLE void requestInfo(const QString& rowID);
    static QStringList reactionPalette();
    Q_INVOKABLE QStringList palette() const { return reactionPalette(); }

    // ---- Search -------------------------------------------------------------------------------
    Q_INVOKABLE void previousMatch(); // older
    Q_INVOKABLE void nextMatch();     // newer
    // Loads an older page; the search runs again when it comes.
    Q_INVOKABLE void searchOlder();
    Q_INVOKABLE void closeSearch();

    // ---- Connection and reading ---------------------------------------------------------------
    Q_INVOKABLE void retryNow();
    // The view shows the newest messages: read them when the conversation is the visible one.
    Q_INVOKABLE void newestShown();
    Q_INVOKABLE QString toBottomText(int newMessages) const;

Q_SIGNALS:
    void appChanged();
    void conversationChanged();
    void rowsChanged();
    void loadingChanged();
    void typingChanged();
    void draftChanged();
    void composerChanged();
    void searchChanged();
    void currentMatchChanged();
    void infoChanged();
    void bannerChanged();
    // An action failed: the alert's text, beginning "Non è stato possibile".
    void failed(const QString& message);
    // The edit strip took the message's text: the field shows it.
    void draftReplaced();

private:
    ChatSession* session() const;
    void setStyle(QString MessageListModel::TextStyle::*field, const QString& color) {
        style_.*field = color;
        messages_.setTextStyle(style_);
    }
    const TimelineMessage* messageAt(const QString& rowID) const;
    void attach();
    void reload();
    void refreshRows();
    void refreshTyping();
    void refreshBanner();
    void refreshSearch();
    void showMatch(); // tells the list and the view which match is current
    void resetComposer();
    void report(const QString& what, const QString& error);

    QPointer<AppModel> app_;
    QString conversationID_;
    MessageListModel messages_;
    TimelineFeed feed_{messages_};
    const QTimeZone zone_ = QTimeZone::systemTimeZone();
    std::optional<qint64> unreadAfter_;
    int messageCount_ = 0;
    QString typingText_;

    QString draft_;
    std::optional<qint64> replyTo_;
    QString replyAuthor_;
    bool replyIsMine_ = false;
    std::optional<qint64> editing_;

    QString searchQuery_;
    QStringList matches_; // row ids, newest first
    int currentMatch_ = -1;
    bool searchAfterLoad_ = false;
    QString currentMatchID_;

    QVariantList infoRows_;
    bool infoLoading_ = false;
    quint64 infoAttempt_ = 0;

    QString bannerText_;
    TimerHandle bannerTick_;
    MessageListModel::TextStyle style_;
};

} // namespace brevio
