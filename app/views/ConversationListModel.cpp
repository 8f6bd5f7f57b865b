#include "views/ConversationListModel.h"
#include "views/AppBinding.h"

#include "shell/AppModel.h"
#include "views/ChatTexts.h"
#include "views/RelativeTime.h"
#include "views/TextMatch.h"

#include <QElapsedTimer>

#include <algorithm>
#include <cstring>
#include <limits>

namespace brevio {

namespace {

constexpr qint64 noMessage = std::numeric_limits<qint64>::min();
// Beyond this many moves the list is reset instead: cheaper than moving most of its rows.
constexpr int maxMoves = 64;

// Appends `text` folded as TextMatch::fold folds it, a character at a time, as UTF-8: ASCII
// lowered in place, other characters through a table filled on first sight, surrogate pairs as
// they are and halves of pairs left out (they would turn into "?").
void appendFolded(std::string& out, const QString& text) {
    thread_local QHash<char16_t, std::string> table;
    const auto* p = reinterpret_cast<const char16_t*>(text.constData());
    const qsizetype n = text.size();
    for (qsizetype i = 0; i < n; ++i) {
        const char16_t c = p[i];
        if (c < 0x80) {
            out += char(c >= u'A' && c <= u'Z' ? c + 32 : c);
            continue;
        }
        if (QChar::isHighSurrogate(c)) {
            if (i + 1 < n && QChar::isLowSurrogate(p[i + 1])) {
                const char32_t code = QChar::surrogateToUcs4(c, p[i + 1]);
                out += char(0xF0 | (code >> 18));
                out += char(0x80 | ((code >> 12) & 0x3F));
                out += char(0x80 | ((code >> 6) & 0x3F));
                out += char(0x80 | (code & 0x3F));
                ++i;
            }
            continue;
        }
        if (QChar::isLowSurrogate(c))
            continue;
        auto it = table.find(c);
        if (it == table.end())
            it = table.insert(c, TextMatch::fold(QString(QChar(c))).toStdString());
        out += *it;
    }
}

std::string foldedUtf8(const QString& text) {
    std::string out;
    out.reserve(size_t(text.size()));
    appendFolded(out, text);
    return out;
}

bool containsNeedle(const std::string& haystack, const std::string& needle) {
    return !needle.empty() && haystack.size() >= needle.size() &&
           memmem(haystack.data(), haystack.size(), needle.data(), needle.size()) != nullptr;
}

QString oneLine(QString text) {
    for (QChar& c : text)
        if (c == u'\n' || c == u'\r' || c == u'\t')
            c = u' ';
    return text.trimmed();
}

// What a row and its place depend on, besides the people (compared as a whole).
struct Stamp {
    qint64 revision = -1;
    qint64 lastSeq = -1;
    qint64 lastMessageSeq = -1;
    qint64 lastMessageRevision = -1;
    bool lastDeleted = false;
    qint64 unread = -1;
    ConversationKind kind = ConversationKind::direct;
    qsizetype members = -1;
    friend bool operator==(const Stamp&, const Stamp&) = default;
};

Stamp stampOf(const Conversation& c, const ChatState& state) {
    Stamp s;
    s.revision = c.revision;
    s.lastSeq = c.lastSeq;
    if (c.lastMessage) {
        s.lastMessageSeq = c.lastMessage->seq;
        s.lastMessageRevision = c.lastMessage->revision;
        s.lastDeleted = c.lastMessage->isDeleted();
    }
    s.unread = state.unreadCount(c.id);
    s.kind = c.kind;
    s.members = c.memberIDs ? c.memberIDs->size() : -1;
    return s;
}

// What the folded message texts were made from.
struct MessagesStamp {
    qsizetype size = -1;
    qint64 first = -1;
    qint64 last = -1;
    qint64 revision = -1;
    const void* data = nullptr;
    friend bool operator==(const MessagesStamp&, const MessagesStamp&) = default;
};

} // namespace

struct ConversationListModel::Entry {
    Row row;
    Stamp stamp;
    QString title;
    std::optional<QString> clientID;
    QStringList typers;
    qint64 sortKey = noMessage;
    quint64 seen = 0;
    quint64 nextMark = 0;
    quint64 shownMark = 0;
    bool known = false;
    // Search: folded names (title, company or members) and loaded message texts, one per line.
    bool namesKnown = false;
    std::string names;
    MessagesStamp messagesStamp;
    std::string messages;
    bool matchKnown = false;
    bool matches = false;
};

ConversationListModel::ConversationListModel(QObject* parent) : QAbstractListModel(parent) {
    collator_.setLocale(QLocale(QLocale::Italian, QLocale::Italy));
    collator_.setCaseSensitivity(Qt::CaseInsensitive);
    collator_.setNumericMode(true);
}

ConversationListModel::~ConversationListModel() = default;

int ConversationListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(shown_.size());
}

QHash<int, QByteArray> ConversationListModel::roleNames() const {
    return {
        {IDRole, "conversationID"},
        {TitleRole, "title"},
        {CompanyRole, "company"},
        {PreviewRole, "preview"},
        {PreviewKindRole, "previewKind"},
        {TimeRole, "time"},
        {TimeAccessibleRole, "timeAccessible"},
        {BadgeRole, "badge"},
        {BadgeAccessibleRole, "badgeAccessible"},
        {UnreadRole, "unread"},
        {IsGroupRole, "isGroup"},
        {AvatarIDRole, "avatarID"},
        {AvatarNameRole, "avatarName"},
        {AvatarPhotoRole, "avatarPhoto"},
        {OnlineRole, "online"},
        {SelectedRole, "selected"},
        {AccessibleNameRole, "accessibleName"},
    };
}

QVariant ConversationListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() < 0 || index.row() >= int(shown_.size()))
        return {};
    const Row& r = shown_[size_t(index.row())]->row;
    switch (role) {
    case IDRole:
        return r.id;
    case TitleRole:
        return r.title;
    case CompanyRole:
        return r.company;
    case PreviewRole:
        return r.preview;
    case PreviewKindRole:
        return r.previewKind;
    case TimeRole:
        return r.time;
    case TimeAccessibleRole:
        return r.timeAccessible;
    case BadgeRole:
        return badgeText(r.unread);
    case BadgeAccessibleRole:
        return badgeAccessibleText(r.unread);
    case UnreadRole:
        return int(std::min<qint64>(r.unread, std::numeric_limits<int>::max()));
    case IsGroupRole:
        return r.isGroup;
    case AvatarIDRole:
        return r.avatarID;
    case AvatarNameRole:
        return r.title;
    case AvatarPhotoRole:
        return r.avatarPhoto;
    case OnlineRole:
        return r.online;
    case SelectedRole:
        return !selected_.isEmpty() && r.id == selected_;
    case AccessibleNameRole: {
        QStringList parts{r.title, r.preview};
        if (!r.timeAccessible.isEmpty())
            parts.append(r.timeAccessible);
        if (r.unread > 0)
            parts.append(badgeAccessibleText(r.unread));
        return parts.join(QStringLiteral(", "));
    }
    }
    return {};
}

// ---- Texts ------------------------------------------------------------------------------------

QStringList ConversationListModel::filterLabels() {
    return {QStringLiteral("Tutte"), QStringLiteral("Da leggere"), QStringLiteral("Gruppi")};
}

QString ConversationListModel::badgeText(qint64 unread) {
    if (unread < 1)
        return {};
    if (unread > 99)
        return QStringLiteral("99+");
    return QString::number(unread);
}

QString ConversationListModel::badgeAccessibleText(qint64 unread) {
    if (unread < 1)
        return {};
    return QString::number(unread) + QStringLiteral(" da leggere");
}

std::pair<QString, QString> ConversationListModel::preview(const std::optional<ChatMessage>& last,
                                                           const QString& myID,
                                                           const QStringList& typingNames) {
    if (!typingNames.isEmpty())
        return {ChatTexts::typing(typingNames), QStringLiteral("typing")};
    if (!last)
        return {QStringLiteral("Nessun messaggio"), QStringLiteral("none")};
    if (last->isDeleted())
        return {!myID.isEmpty() && last->authorID == myID
                    ? QStringLiteral("Hai eliminato questo messaggio")
                    : QStringLiteral("Messaggio eliminato"),
                QStringLiteral("deleted")};
    return {oneLine(last->text), QStringLiteral("text")};
}

QString ConversationListModel::emptyTitle() const {
    if (!shown_.empty())
        return {};
    if (entries_.isEmpty())
        return QStringLiteral("Nessuna conversazione");
    const bool filterLeavesSome = std::any_of(ordered_.begin(), ordered_.end(),
                                              [this](Entry* e) { return passesFilter(*e); });
    if (!filterLeavesSome && filter_ == Filter::unread)
        return QStringLiteral("Tutto letto");
    if (!filterLeavesSome && filter_ == Filter::groups)
        return QStringLiteral("Nessun gruppo");
    return QStringLiteral("Nessun risultato per “") + search_.trimmed() + QStringLiteral("”");
}

QString ConversationListModel::emptyText() const {
    const QString title = emptyTitle();
    if (title.isEmpty())
        return {};
    if (title == QStringLiteral("Nessuna conversazione"))
        return QStringLiteral("Invita il primo cliente: riceverà un codice per accedere.");
    if (title == QStringLiteral("Tutto letto"))
        return QStringLiteral("Nessun messaggio da leggere.");
    if (title == QStringLiteral("Nessun gruppo"))
        return QStringLiteral("Non fai parte di nessun gruppo.");
    return QStringLiteral("Controlla l'ortografia o prova con una nuova ricerca.");
}

QString ConversationListModel::emptyDetail() const {
    if (emptyTitle() == QStringLiteral("Nessun gruppo"))
        return QStringLiteral("Crea un gruppo con colleghi e clienti, anche di aziende diverse.");
    return {};
}

QString ConversationListModel::emptySymbol() const {
    const QString title = emptyTitle();
    if (title.isEmpty())
        return {};
    if (title == QStringLiteral("Nessuna conversazione"))
        return QStringLiteral("person.2");
    if (title == QStringLiteral("Tutto letto"))
        return QStringLiteral("checkmark.circle");
    if (title == QStringLiteral("Nessun gruppo"))
        return QStringLiteral("person.3");
    return QStringLiteral("magnifyingglass");
}

bool ConversationListModel::selectedIsGroup() const {
    const Entry* e = entries_.value(selected_);
    return e && e->row.isGroup;
}

QString ConversationListModel::inspectorHelp() const {
    return selectedIsGroup() ? QStringLiteral("Mostra o nascondi i membri del gruppo")
                             : QStringLiteral("Mostra o nascondi la scheda del cliente");
}

QString ConversationListModel::idAt(int row) const {
    return row >= 0 && row < int(shown_.size()) ? shown_[size_t(row)]->row.id : QString();
}

int ConversationListModel::rowOf(const QString& conversationID) const {
    if (conversationID.isEmpty())
        return -1;
    for (size_t i = 0; i < shown_.size(); ++i)
        if (shown_[i]->row.id == conversationID)
            return int(i);
    return -1;
}

QString ConversationListModel::idForTitle(const QString& title) const {
    for (const Entry* e : shown_)
        if (e->row.title == title)
            return e->row.id;
    return {};
}

const ConversationListModel::Row& ConversationListModel::row(int index) const {
    return shown_[size_t(index)]->row;
}

// ---- Inputs -----------------------------------------------------------------------------------

AppModel* ConversationListModel::app() const {
    return app_;
}

void ConversationListModel::setApp(AppModel* app) {
    if (!rebindApp(this, app_, app))
        return;
    if (app_) {
        connect(app_, &AppModel::stateChanged, this, &ConversationListModel::refreshFromApp);
        connect(app_, &AppModel::sessionReplaced, this, &ConversationListModel::refreshFromApp);
        connect(app_, &AppModel::selectionChanged, this,
                [this] { setSelectedID(app_->selectedConversationIDText()); });
        selected_ = app_->selectedConversationIDText();
        refreshFromApp();
    }
    Q_EMIT appChanged();
}

void ConversationListModel::refreshFromApp() {
    if (!app_)
        return;
    const QDateTime now = app_->clock().now();
    refresh(app_->session().state(), now);
    scheduleDayChange(now);
    warmCursor_ = 0;
    scheduleWarmUp();
}

void ConversationListModel::scheduleDayChange(const QDateTime& now) {
    if (!app_ || dayChange_)
        return;
    const qint64 wait = now.msecsTo(RelativeTime::nextDayStart(now, zone_));
    QPointer<ConversationListModel> self(this);
    dayChange_ = app_->clock().schedule(Duration(wait), [self] {
        if (!self)
            return;
        self->dayChange_.reset();
        self->refreshFromApp();
    });
}

void ConversationListModel::setSelectedID(const QString& conversationID) {
    if (selected_ == conversationID)
        return;
    const int before = rowOf(selected_);
    selected_ = conversationID;
    const int after = rowOf(selected_);
    for (int r : {before, after})
        if (r >= 0)
            Q_EMIT dataChanged(index(r), index(r), {SelectedRole});
    Q_EMIT selectionChanged();
}

void ConversationListModel::setFilter(int filter) {
    filter = std::clamp(filter, 0, 2);
    if (filter == int(filter_))
        return;
    filter_ = Filter(filter);
    Q_EMIT filterChanged();
    if (state_ || app_)
        reorder(app_ ? app_->session().state() : *state_);
}

void ConversationListModel::setSearch(const QString& search) {
    if (search == search_)
        return;
    search_ = search;
    searching_ = !search.trimmed().isEmpty();
    needle_ = foldedUtf8(search.trimmed());
    Q_EMIT searchChanged();
    if (needle_ != lastNeedle_) {
        // A longer query finds a subset of what the shorter found, a shorter a superset: only
        // the others need looking at again.
        const bool narrower =
            !lastNeedle_.empty() && needle_.find(lastNeedle_) != std::string::npos;
        const bool wider = !needle_.empty() && lastNeedle_.find(needle_) != std::string::npos;
        for (const auto& e : storage_) {
            if (!e->matchKnown)
                continue;
            if ((narrower && !e->matches) || (wider && e->matches))
                continue;
            e->matchKnown = false;
        }
        lastNeedle_ = needle_;
    }
    if (state_ || app_)
        reorder(app_ ? app_->session().state() : *state_);
}

// ---- Rows -------------------------------------------------------------------------------------

bool ConversationListModel::makeRow(Entry& e, const Conversation& c, const ChatState& state,
                                    const QDateTime& now) {
    QStringList typers;
    if (!state.typing.isEmpty())
        typers = state.typingUsers(c.id);
    const Stamp stamp = stampOf(c, state);
    if (e.known && stamp == e.stamp && typers == e.typers && c.title == e.title &&
        c.clientID == e.clientID)
        return false;
    e.known = true;
    e.stamp = stamp;
    e.typers = typers;
    e.title = c.title;
    e.clientID = c.clientID;
    e.namesKnown = false;
    e.matchKnown = false;

    Row r;
    r.id = c.id;
    r.title = c.title;
    r.isGroup = c.kind == ConversationKind::group;
    if (!r.isGroup && c.clientID)
        r.company = state.clients.value(*c.clientID).name;
    QStringList typingNames;
    for (const QString& id : typers) {
        const auto it = state.users.constFind(id);
        typingNames.append(it != state.users.cend() ? it->name : QStringLiteral("Utente"));
    }
    const QString myID = state.me ? state.me->id : QString();
    std::tie(r.preview, r.previewKind) = preview(c.lastMessage, myID, typingNames);
    if (c.lastMessage && c.lastMessage->sentAt.isValid()) {
        r.time = RelativeTime::listTime(c.lastMessage->sentAt, now, zone_);
        r.timeAccessible = RelativeTime::moment(c.lastMessage->sentAt, now, zone_);
    }
    e.sortKey = c.lastMessage && c.lastMessage->sentAt.isValid()
                    ? c.lastMessage->sentAt.toMSecsSinceEpoch()
                    : noMessage;
    r.unread = stamp.unread;
    r.avatarID = r.isGroup ? c.id : c.clientID.value_or(c.id);
    r.online = !r.isGroup && c.clientID && onlineCompanies_.contains(*c.clientID);
    if (r == e.row)
        return false;
    e.row = std::move(r);
    return true;
}

bool ConversationListModel::passesFilter(const Entry& e) const {
    if (filter_ == Filter::unread && e.row.unread < 1)
        return false;
    if (filter_ == Filter::groups && !e.row.isGroup)
        return false;
    return true;
}

namespace {

MessagesStamp messagesStampOf(const ChatState& state, const QString& id, qint64 revision) {
    const auto lit = state.messages.constFind(id);
    if (lit == state.messages.cend() || lit->isEmpty())
        return {};
    return {lit->size(), lit->constFirst().seq, lit->constLast().seq, revision, lit->constData()};
}

} // namespace

void ConversationListModel::foldNames(Entry& e, const ChatState& state) {
    if (e.namesKnown)
        return;
    const auto cit = state.conversations.constFind(e.row.id);
    QString names = e.row.title;
    if (cit != state.conversations.cend()) {
        if (e.row.isGroup) {
            for (const QString& id : cit->memberIDs.value_or(QStringList()))
                names += u'\n' + state.users.value(id).name;
        } else {
            names += u'\n' + e.row.company;
        }
    }
    e.names = foldedUtf8(names);
    e.namesKnown = true;
}

void ConversationListModel::foldMessages(Entry& e, const ChatState& state) {
    const MessagesStamp ms = messagesStampOf(state, e.row.id, e.stamp.revision);
    if (ms == e.messagesStamp)
        return;
    e.messages.clear();
    const auto lit = state.messages.constFind(e.row.id);
    if (lit != state.messages.cend())
        for (const ChatMessage& m : *lit)
            if (!m.isDeleted()) {
                appendFolded(e.messages, m.text);
                e.messages += '\n';
            }
    e.messagesStamp = ms;
    e.matchKnown = false;
}

bool ConversationListModel::matchesSearch(Entry& e, const ChatState& state) {
    if (!searching_)
        return true;
    // A search of nothing but marks or spaces inside finds nothing.
    if (needle_.empty())
        return false;
    // Loaded messages that changed without the row (an older page) make the answer stale.
    if (messagesStampOf(state, e.row.id, e.stamp.revision) != e.messagesStamp)
        e.matchKnown = false;
    if (e.matchKnown)
        return e.matches;
    foldNames(e, state);
    if (!containsNeedle(e.names, needle_))
        foldMessages(e, state);
    e.matchKnown = true;
    e.matches = containsNeedle(e.names, needle_) || containsNeedle(e.messages, needle_);
    return e.matches;
}

void ConversationListModel::scheduleWarmUp() {
    if (!app_ || warmUp_)
        return;
    QPointer<ConversationListModel> self(this);
    warmUp_ = app_->clock().schedule(Duration(0), [self] {
        if (!self)
            return;
        self->warmUp_.reset();
        self->warmUpSlice();
    });
}

void ConversationListModel::warmUpSlice() {
    if (!app_)
        return;
    // A few milliseconds at a time, so the first keystroke of a search finds the texts folded.
    const ChatState& state = app_->session().state();
    QElapsedTimer slice;
    slice.start();
    while (warmCursor_ < storage_.size() && slice.elapsed() < 4) {
        Entry& e = *storage_[warmCursor_++];
        foldNames(e, state);
        foldMessages(e, state);
    }
    if (warmCursor_ < storage_.size())
        scheduleWarmUp();
}

bool ConversationListModel::lessThan(const Entry* a, const Entry* b) const {
    if (a->sortKey != b->sortKey)
        return a->sortKey > b->sortKey;
    const int byTitle = collator_.compare(a->row.title, b->row.title);
    if (byTitle != 0)
        return byTitle < 0;
    return a->row.id < b->row.id;
}

void ConversationListModel::refresh(const ChatState& state, const QDateTime& now) {
    state_ = &state;
    ++pass_;
    // A new day, another user or other people: every row is made again.
    const QDate today = now.toTimeZone(zone_).date();
    const QString myID = state.me ? state.me->id : QString();
    const bool peopleChanged = !users_.isSharedWith(state.users) ||
                               !clients_.isSharedWith(state.clients) || online_ != state.online;
    const bool everything = today != today_ || myID != myID_ || peopleChanged;
    if (peopleChanged) {
        users_ = state.users;
        clients_ = state.clients;
        online_ = state.online;
        onlineCompanies_.clear();
        for (const QString& id : state.online) {
            const auto it = state.users.constFind(id);
            if (it != state.users.cend() && it->clientID)
                onlineCompanies_.insert(*it->clientID);
        }
    }
    today_ = today;
    myID_ = myID;

    QSet<Entry*> changed;
    bool added = false;
    for (auto it = state.conversations.cbegin(); it != state.conversations.cend(); ++it) {
        Entry*& slot = entries_[it.key()];
        if (!slot) {
            storage_.push_back(std::make_unique<Entry>());
            slot = storage_.back().get();
            added = true;
        } else if (everything) {
            slot->known = false;
        }
        slot->seen = pass_;
        const qint64 sortKey = slot->sortKey;
        if (makeRow(*slot, *it, state, now) || sortKey != slot->sortKey)
            changed.insert(slot);
    }
    bool removed = false;
    for (auto it = entries_.begin(); it != entries_.end();) {
        if ((*it)->seen != pass_) {
            removed = true;
            it = entries_.erase(it);
        } else {
            ++it;
        }
    }
    if (removed) {
        std::erase_if(ordered_, [this](Entry* e) { return e->seen != pass_; });
    }
    // The list order: a few changed rows find their new places; many are sorted again.
    if (added || changed.size() > 32) {
        ordered_.clear();
        ordered_.reserve(size_t(entries_.size()));
        for (Entry* e : std::as_const(entries_))
            ordered_.push_back(e);
        std::sort(ordered_.begin(), ordered_.end(),
                  [this](const Entry* a, const Entry* b) { return lessThan(a, b); });
    } else if (!changed.isEmpty()) {
        std::erase_if(ordered_, [&](Entry* e) { return changed.contains(e); });
        for (Entry* e : std::as_const(changed))
            ordered_.insert(
                std::lower_bound(ordered_.begin(), ordered_.end(), e,
                                 [this](const Entry* a, const Entry* b) { return lessThan(a, b); }),
                e);
    }

    std::vector<Entry*> next;
    next.reserve(ordered_.size());
    for (Entry* e : ordered_)
        if (passesFilter(*e) && matchesSearch(*e, state))
            next.push_back(e);
    const bool wasEmpty = shown_.empty();
    // Rows of conversations that went leave the view in the diff; their entries live until then.
    const quint64 refreshPass = pass_;
    showRows(std::move(next), changed);
    if (removed || wasEmpty || shown_.empty())
        Q_EMIT emptyChanged();
    // The storage of conversations that went.
    if (removed)
        std::erase_if(storage_, [refreshPass](const std::unique_ptr<Entry>& e) {
            return e->seen != refreshPass;
        });
}

void ConversationListModel::reorder(const ChatState& state) {
    std::vector<Entry*> next;
    next.reserve(ordered_.size());
    for (Entry* e : ordered_)
        if (passesFilter(*e) && matchesSearch(*e, state))
            next.push_back(e);
    showRows(std::move(next), {});
    Q_EMIT emptyChanged();
}

void ConversationListModel::showRows(std::vector<Entry*> next, const QSet<Entry*>& changed) {
    const int countBefore = int(shown_.size());
    const int selectedBefore = rowOf(selected_);
    ++pass_;
    const quint64 mark = pass_;
    // `seen` keeps the refresh's pass; the diff marks with its own number.
    for (Entry* e : next)
        e->nextMark = mark;

    // 1. Rows that leave, in runs from the end.
    for (int i = int(shown_.size()) - 1; i >= 0;) {
        if (shown_[size_t(i)]->nextMark == mark) {
            --i;
            continue;
        }
        int first = i;
        while (first > 0 && shown_[size_t(first - 1)]->nextMark != mark)
            --first;
        beginRemoveRows({}, first, i);
        shown_.erase(shown_.begin() + first, shown_.begin() + i + 1);
        endRemoveRows();
        i = first - 1;
    }

    for (Entry* e : shown_)
        e->shownMark = mark;

    // 2. Count the moves the forward pass needs among the rows that stay (rows coming in do not
    // change their order); too many and the view is reset instead.
    {
        std::vector<Entry*> plan = shown_;
        std::vector<Entry*> target;
        target.reserve(next.size());
        for (Entry* e : next)
            if (e->shownMark == mark)
                target.push_back(e);
        int moves = 0;
        for (size_t i = 0; i < target.size() && moves <= maxMoves; ++i) {
            if (plan[i] == target[i])
                continue;
            const auto at = std::find(plan.begin() + std::ptrdiff_t(i), plan.end(), target[i]);
            std::rotate(plan.begin() + std::ptrdiff_t(i), at, at + 1);
            ++moves;
        }
        if (moves > maxMoves) {
            beginResetModel();
            shown_ = std::move(next);
            endResetModel();
            Q_EMIT countChanged();
            Q_EMIT selectionChanged();
            return;
        }
    }

    // 3. The forward pass: invariant, the first i shown rows are next's first i.
    for (size_t i = 0; i < next.size();) {
        if (i < shown_.size() && shown_[i] == next[i]) {
            ++i;
            continue;
        }
        if (next[i]->shownMark == mark) {
            const auto at = std::find(shown_.begin() + std::ptrdiff_t(i), shown_.end(), next[i]);
            const int from = int(at - shown_.begin());
            beginMoveRows({}, from, from, {}, int(i));
            std::rotate(shown_.begin() + std::ptrdiff_t(i), at, at + 1);
            endMoveRows();
            ++i;
            continue;
        }
        // A run of rows that were not shown.
        size_t end = i + 1;
        while (end < next.size() && next[end]->shownMark != mark)
            ++end;
        beginInsertRows({}, int(i), int(end - 1));
        shown_.insert(shown_.begin() + std::ptrdiff_t(i), next.begin() + std::ptrdiff_t(i),
                      next.begin() + std::ptrdiff_t(end));
        endInsertRows();
        i = end;
    }

    // 4. Rows shown before and after whose texts changed.
    if (!changed.isEmpty())
        for (size_t i = 0; i < shown_.size(); ++i)
            if (changed.contains(shown_[i]))
                Q_EMIT dataChanged(index(int(i)), index(int(i)));
    if (int(shown_.size()) != countBefore)
        Q_EMIT countChanged();
    if (rowOf(selected_) != selectedBefore)
        Q_EMIT selectionChanged();
}

} // namespace brevio
