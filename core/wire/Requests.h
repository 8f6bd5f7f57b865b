#pragma once

// Payloads of the frames a client sends. Field names are the JSON keys.

#include "model/Records.h"

namespace brevio {

struct ClientInfo {
    qint64 protocolVersion = 3;
    QString version;
    qint64 build = 0;
    QString device;

    // This build: version and build number from the build system, the machine's name.
    static ClientInfo current();
    // The bundle-style build number read as a decimal integer with an optional sign; 0 if invalid.
    static qint64 parseBuild(QStringView text);

    friend bool operator==(const ClientInfo&, const ClientInfo&) = default;
};

struct LoginRequest {
    QString email;
    QString password;
    ClientInfo client;
    friend bool operator==(const LoginRequest&, const LoginRequest&) = default;
};

struct ResumeRequest {
    QString token;
    ClientInfo client;
    friend bool operator==(const ResumeRequest&, const ResumeRequest&) = default;
};

struct RedeemRequest {
    QString code;
    QString name;
    QString password;
    ClientInfo client;
    friend bool operator==(const RedeemRequest&, const RedeemRequest&) = default;
};

struct SignUpRequest {
    QString name;
    QString email;
    std::optional<QString> companyName;
    QString password;
    QString text;
    QString website;
    ClientInfo client;
    friend bool operator==(const SignUpRequest&, const SignUpRequest&) = default;
};

struct SendRequest {
    QString id; // the pending message's client id
    QString conversationID;
    QString text;
    std::optional<qint64> replyToSeq;
    friend bool operator==(const SendRequest&, const SendRequest&) = default;
};

struct EditRequest {
    QString id;
    QString conversationID;
    qint64 seq = 0;
    QString text;
    friend bool operator==(const EditRequest&, const EditRequest&) = default;
};

struct DeleteRequest {
    QString id;
    QString conversationID;
    qint64 seq = 0;
    friend bool operator==(const DeleteRequest&, const DeleteRequest&) = default;
};

struct ReactRequest {
    QString id;
    QString conversationID;
    qint64 seq = 0;
    std::optional<QString> emoji; // absent removes the caller's reaction
    friend bool operator==(const ReactRequest&, const ReactRequest&) = default;
};

struct ChangesRequest {
    QString id;
    QString conversationID;
    qint64 since = 0;
    friend bool operator==(const ChangesRequest&, const ChangesRequest&) = default;
};

struct HistoryRequest {
    QString id;
    QString conversationID;
    std::optional<qint64> after;
    std::optional<qint64> before;
    qint64 limit = 100;
    friend bool operator==(const HistoryRequest&, const HistoryRequest&) = default;
};

// Used by both "delivered" and "read".
struct ReadRequest {
    QString conversationID;
    qint64 seq = 0;
    friend bool operator==(const ReadRequest&, const ReadRequest&) = default;
};

struct TypingRequest {
    QString conversationID;
    bool isTyping = false;
    friend bool operator==(const TypingRequest&, const TypingRequest&) = default;
};

struct InviteRequest {
    QString id;
    std::optional<QString> clientID;
    std::optional<QString> companyName;
    QString name;
    QString email;
    friend bool operator==(const InviteRequest&, const InviteRequest&) = default;
};

struct UpdateClientRequest {
    QString id;
    QString clientID;
    std::optional<QString> name;
    std::optional<QString> notes;
    friend bool operator==(const UpdateClientRequest&, const UpdateClientRequest&) = default;
};

struct ReceiptsRequest {
    QString id;
    QString conversationID;
    qint64 seq = 0;
    friend bool operator==(const ReceiptsRequest&, const ReceiptsRequest&) = default;
};

struct SetAvatarRequest {
    QString id;
    std::optional<QString> image; // base64 picture; absent clears the avatar
    friend bool operator==(const SetAvatarRequest&, const SetAvatarRequest&) = default;
};

struct CreateGroupRequest {
    QString id;
    QString name;
    QStringList memberIDs;
    friend bool operator==(const CreateGroupRequest&, const CreateGroupRequest&) = default;
};

struct UpdateGroupRequest {
    QString id;
    QString conversationID;
    std::optional<QString> name;
    std::optional<QStringList> add;
    std::optional<QStringList> remove;
    friend bool operator==(const UpdateGroupRequest&, const UpdateGroupRequest&) = default;
};

} // namespace brevio
