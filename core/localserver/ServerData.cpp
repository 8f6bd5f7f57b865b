#include "localserver/ServerData.h"

#include "localserver/ServerRules.h"
#include "model/Json.h"
#include "model/WireCoding.h"

#include <boost/json.hpp>

namespace brevio {

ServerData::ServerData(Clock& clock) : clock_(clock) {}

QDateTime ServerData::now() const {
    return ServerRules::wholeMilliseconds(clock_.now());
}

QString ServerData::makeID(QStringView prefix) {
    return prefix.toString() + QString::number(nextID_++);
}

Account* ServerData::account(const QString& userID) {
    const auto it = accounts_.find(userID);
    return it == accounts_.end() ? nullptr : &it->second;
}

const Account* ServerData::account(const QString& userID) const {
    const auto it = accounts_.find(userID);
    return it == accounts_.end() ? nullptr : &it->second;
}

const Account* ServerData::accountByEmail(const QString& email) const {
    const auto it = emailIndex_.find(emailKey(email));
    return it == emailIndex_.end() ? nullptr : account(it->second);
}

const User* ServerData::user(const QString& userID) const {
    const Account* found = account(userID);
    return found ? &found->user : nullptr;
}

User& ServerData::addAccount(User user, QByteArray passwordRecord) {
    if (user.id.isEmpty())
        user.id = makeID(u"u");
    if (user.email)
        emailIndex_[emailKey(*user.email)] = user.id;
    const QString id = user.id;
    auto& stored = accounts_[id] = Account{std::move(user), std::move(passwordRecord)};
    return stored.user;
}

ClientCompany* ServerData::client(const QString& clientID) {
    const auto it = clients_.find(clientID);
    return it == clients_.end() ? nullptr : &it->second;
}

ClientCompany& ServerData::addClient(const QString& name, std::optional<QString> notes) {
    ClientCompany company{makeID(u"c"), name, std::move(notes), now()};
    Conversation direct;
    direct.id = makeID(u"d");
    direct.kind = ConversationKind::direct;
    direct.clientID = company.id;
    direct.title = name;
    directIndex_[company.id] = direct.id;
    messages_[direct.id];
    conversations_[direct.id] = std::move(direct);
    return clients_[company.id] = std::move(company);
}

Conversation* ServerData::directConversation(const QString& clientID) {
    const auto it = directIndex_.find(clientID);
    return it == directIndex_.end() ? nullptr : conversation(it->second);
}

Conversation* ServerData::conversation(const QString& conversationID) {
    const auto it = conversations_.find(conversationID);
    return it == conversations_.end() ? nullptr : &it->second;
}

Conversation& ServerData::addGroup(const QString& title, const QStringList& memberIDs) {
    Conversation group;
    group.id = makeID(u"g");
    group.kind = ConversationKind::group;
    group.title = title;
    group.memberIDs = memberIDs;
    group.revision = 1;
    messages_[group.id];
    return conversations_[group.id] = std::move(group);
}

const std::vector<ChatMessage>& ServerData::messages(const QString& conversationID) const {
    static const std::vector<ChatMessage> none;
    const auto it = messages_.find(conversationID);
    return it == messages_.end() ? none : it->second;
}

ChatMessage* ServerData::message(const QString& conversationID, qint64 seq) {
    const auto it = messages_.find(conversationID);
    if (it == messages_.end() || seq < 1 || seq > qint64(it->second.size()))
        return nullptr;
    return &it->second[std::size_t(seq - 1)];
}

const ChatMessage* ServerData::sentByClientID(const QString& authorID,
                                              const QString& clientID) const {
    const auto it = sentIndex_.find({authorID, clientID});
    if (it == sentIndex_.end())
        return nullptr;
    return &messages(it->second.first)[std::size_t(it->second.second - 1)];
}

namespace {

bool takesPartInDirect(const User& user, const Conversation& conversation) {
    if (user.role == Role::staff)
        return true;
    return user.clientID && conversation.clientID && *user.clientID == *conversation.clientID;
}

} // namespace

Participation::Participation(const Conversation& conversation) : conversation_(conversation) {
    if (conversation.kind == ConversationKind::group && conversation.memberIDs)
        members_ = QSet<QString>(conversation.memberIDs->cbegin(), conversation.memberIDs->cend());
}

bool Participation::includes(const User& user) const {
    if (conversation_.kind == ConversationKind::group)
        return members_.contains(user.id);
    return takesPartInDirect(user, conversation_);
}

bool ServerData::takesPart(const User& user, const Conversation& conversation) const {
    if (conversation.kind == ConversationKind::group)
        return conversation.memberIDs && conversation.memberIDs->contains(user.id);
    return takesPartInDirect(user, conversation);
}

QStringList ServerData::participants(const Conversation& conversation) const {
    const Participation participation(conversation);
    QStringList ids;
    for (const auto& [id, account] : accounts_) {
        if (participation.includes(account.user))
            ids.append(id);
    }
    return ids;
}

bool ServerData::canSeeUser(const User& viewer, const User& other) const {
    if (viewer.role == Role::staff || other.role == Role::staff || viewer.id == other.id)
        return true;
    if (viewer.clientID && other.clientID && *viewer.clientID == *other.clientID)
        return true;
    for (const auto& [id, conversation] : conversations_) {
        if (conversation.kind == ConversationKind::group && takesPart(viewer, conversation) &&
            takesPart(other, conversation))
            return true;
    }
    return false;
}

User ServerData::userAsSeenBy(const User& viewer, const User& other) const {
    User copy = other;
    if (viewer.role != Role::staff && viewer.id != other.id)
        copy.email.reset();
    return copy;
}

ClientCompany ServerData::clientAsSeenBy(const User& viewer, const ClientCompany& company) const {
    ClientCompany copy = company;
    if (viewer.role != Role::staff)
        copy.notes.reset();
    return copy;
}

bool ServerData::canSeeClient(const User& viewer, const QString& clientID) const {
    return viewer.role == Role::staff || (viewer.clientID && *viewer.clientID == clientID);
}

QList<User> ServerData::usersVisibleTo(const User& viewer) const {
    QList<User> users;
    for (const auto& [id, account] : accounts_) {
        if (canSeeUser(viewer, account.user))
            users.append(userAsSeenBy(viewer, account.user));
    }
    return users;
}

QList<ClientCompany> ServerData::clientsVisibleTo(const User& viewer) const {
    QList<ClientCompany> companies;
    for (const auto& [id, company] : clients_) {
        if (canSeeClient(viewer, id))
            companies.append(clientAsSeenBy(viewer, company));
    }
    return companies;
}

QList<Conversation> ServerData::conversationsVisibleTo(const User& viewer) const {
    QList<Conversation> visible;
    for (const auto& [id, conversation] : conversations_) {
        if (takesPart(viewer, conversation))
            visible.append(conversation);
    }
    return visible;
}

ChatMessage& ServerData::append(Conversation& conversation, const QString& authorID,
                                const QString& clientID, const QString& text,
                                std::optional<qint64> replyToSeq, const QDateTime& at) {
    auto& list = messages_[conversation.id];
    ChatMessage message;
    message.id = makeID(u"m");
    message.clientID = clientID;
    message.conversationID = conversation.id;
    message.seq = qint64(list.size()) + 1;
    message.authorID = authorID;
    message.text = text;
    message.sentAt = at;
    if (replyToSeq) {
        if (const ChatMessage* quoted = this->message(conversation.id, *replyToSeq)) {
            message.replyToSeq = replyToSeq;
            message.reply =
                QuotedMessage{quoted->seq, quoted->authorID, quoted->text, quoted->isDeleted()};
        }
    }
    message.revision = bump(conversation);
    list.push_back(std::move(message));
    ChatMessage& stored = list.back();
    conversation.lastSeq = stored.seq;
    conversation.lastMessage = stored;
    sentIndex_[{authorID, clientID}] = {conversation.id, stored.seq};
    return stored;
}

void ServerData::markChanged(Conversation& conversation, ChatMessage& message) {
    message.revision = bump(conversation);
    if (conversation.lastMessage && conversation.lastMessage->seq == message.seq)
        conversation.lastMessage = message;
}

bool ServerData::recordReceipt(Conversation& conversation, const QString& userID, qint64 seq,
                               bool isRead, const QDateTime& at) {
    seq = std::min(seq, conversation.lastSeq);
    auto& marks = isRead ? conversation.reads : conversation.delivered;
    if (seq <= 0 || seq <= marks.value(userID, 0))
        return false;
    marks[userID] = seq;
    if (isRead && conversation.delivered.value(userID, 0) < seq)
        conversation.delivered[userID] = seq;
    receiptLog.push_back(ReceiptStep{conversation.id, userID, isRead, seq, at});
    bump(conversation);
    return true;
}

QList<ReceiptEntry> ServerData::receipts(const Conversation& conversation,
                                         const ChatMessage& message) const {
    QList<ReceiptEntry> entries;
    for (const QString& userID : participants(conversation)) {
        if (userID == message.authorID)
            continue;
        ReceiptEntry entry{userID, std::nullopt, std::nullopt};
        // The earliest step that reaches the message; a read implies it was delivered.
        for (const ReceiptStep& step : receiptLog) {
            if (step.conversationID != conversation.id || step.userID != userID ||
                step.seq < message.seq)
                continue;
            if (!entry.deliveredAt || step.at < *entry.deliveredAt)
                entry.deliveredAt = step.at;
            if (step.isRead && (!entry.readAt || step.at < *entry.readAt))
                entry.readAt = step.at;
        }
        entries.append(entry);
    }
    return entries;
}

std::string ServerData::snapshot() const {
    namespace bj = boost::json;
    const auto text = [](const QString& s) { return bj::value(s.toStdString()); };
    bj::object root;
    bj::object accounts;
    for (const auto& [id, account] : accounts_) {
        accounts[id.toStdString()] = bj::object{
            {"user", json::encode(account.user)},
            {"password", account.passwordRecord.toStdString()},
        };
    }
    root["accounts"] = std::move(accounts);
    bj::object tokenObject;
    for (const auto& [token, userID] : tokens)
        tokenObject[token.toStdString()] = text(userID);
    root["tokens"] = std::move(tokenObject);
    bj::object clientObject;
    for (const auto& [id, company] : clients_)
        clientObject[id.toStdString()] = json::encode(company);
    root["clients"] = std::move(clientObject);
    bj::object conversationObject;
    for (const auto& [id, conversation] : conversations_) {
        bj::array list;
        for (const ChatMessage& message : messages(id))
            list.push_back(json::encode(message));
        conversationObject[id.toStdString()] =
            bj::object{{"conversation", json::encode(conversation)}, {"messages", list}};
    }
    root["conversations"] = std::move(conversationObject);
    bj::array steps;
    for (const ReceiptStep& step : receiptLog) {
        steps.push_back(bj::object{{"conversationID", text(step.conversationID)},
                                   {"userID", text(step.userID)},
                                   {"isRead", step.isRead},
                                   {"seq", step.seq},
                                   {"at", WireCoding::encodeDateUtf8(step.at)}});
    }
    root["receiptLog"] = std::move(steps);
    bj::object inviteObject;
    for (const auto& [code, stored] : invites)
        inviteObject[code.toStdString()] =
            bj::object{{"invite", json::encode(stored.invite)}, {"used", stored.used}};
    root["invites"] = std::move(inviteObject);
    bj::array online;
    for (const QString& id : simulatedOnline)
        online.push_back(text(id));
    root["simulatedOnline"] = std::move(online);
    return json::serialize(root);
}

} // namespace brevio
