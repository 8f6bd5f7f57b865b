#include "wire/Requests.h"

#include "model/Hashing.h"

#include <BuildInfo.h>
#include <QSysInfo>
#include <limits>

namespace brevio {

ClientInfo ClientInfo::current() {
    ClientInfo info;
    info.version = QString::fromUtf8(build::version);
    if (info.version.isEmpty())
        info.version = QStringLiteral("?");
    info.build = parseBuild(QString::fromUtf8(build::buildNumber));
    // The name the machine goes by on the network is what its owner recognises; without one,
    // the operating system's name still tells the user's devices apart better than nothing.
    info.device = QSysInfo::machineHostName().trimmed();
    if (info.device.isEmpty())
        info.device = QSysInfo::prettyProductName().trimmed();
    if (info.device.isEmpty())
        info.device = QStringLiteral("Computer");
    return info;
}

qint64 ClientInfo::parseBuild(QStringView text) {
    qsizetype i = 0;
    bool negative = false;
    if (!text.isEmpty() && (text[0] == u'+' || text[0] == u'-')) {
        negative = text[0] == u'-';
        i = 1;
    }
    if (i == text.size())
        return 0;
    // Accumulate the magnitude; the negative range reaches one further than the positive one.
    const quint64 limit = quint64(std::numeric_limits<qint64>::max()) + (negative ? 1 : 0);
    quint64 magnitude = 0;
    for (; i < text.size(); ++i) {
        const char16_t c = text[i].unicode();
        if (c < u'0' || c > u'9')
            return 0;
        const unsigned digit = unsigned(c - u'0');
        if (magnitude > (limit - digit) / 10)
            return 0;
        magnitude = magnitude * 10 + digit;
    }
    return negative ? qint64(0 - magnitude) : qint64(magnitude);
}

using hashing::hashFields;

size_t qHash(const ClientInfo& v, size_t seed) noexcept {
    return hashFields(seed, v.protocolVersion, v.version, v.build, v.device);
}
size_t qHash(const LoginRequest& v, size_t seed) noexcept {
    return hashFields(seed, v.email, v.password, v.client);
}
size_t qHash(const ResumeRequest& v, size_t seed) noexcept {
    return hashFields(seed, v.token, v.client);
}
size_t qHash(const RedeemRequest& v, size_t seed) noexcept {
    return hashFields(seed, v.code, v.name, v.password, v.client);
}
size_t qHash(const SignUpRequest& v, size_t seed) noexcept {
    return hashFields(seed, v.name, v.email, v.companyName, v.password, v.text, v.website,
                      v.client);
}
size_t qHash(const SendRequest& v, size_t seed) noexcept {
    return hashFields(seed, v.id, v.conversationID, v.text, v.replyToSeq);
}
size_t qHash(const EditRequest& v, size_t seed) noexcept {
    return hashFields(seed, v.id, v.conversationID, v.seq, v.text);
}
size_t qHash(const DeleteRequest& v, size_t seed) noexcept {
    return hashFields(seed, v.id, v.conversationID, v.seq);
}
size_t qHash(const ReactRequest& v, size_t seed) noexcept {
    return hashFields(seed, v.id, v.conversationID, v.seq, v.emoji);
}
size_t qHash(const ChangesRequest& v, size_t seed) noexcept {
    return hashFields(seed, v.id, v.conversationID, v.since);
}
size_t qHash(const HistoryRequest& v, size_t seed) noexcept {
    return hashFields(seed, v.id, v.conversationID, v.after, v.before, v.limit);
}
size_t qHash(const ReadRequest& v, size_t seed) noexcept {
    return hashFields(seed, v.conversationID, v.seq);
}
size_t qHash(const TypingRequest& v, size_t seed) noexcept {
    return hashFields(seed, v.conversationID, v.isTyping);
}
size_t qHash(const InviteRequest& v, size_t seed) noexcept {
    return hashFields(seed, v.id, v.clientID, v.companyName, v.name, v.email);
}
size_t qHash(const UpdateClientRequest& v, size_t seed) noexcept {
    return hashFields(seed, v.id, v.clientID, v.name, v.notes);
}
size_t qHash(const ReceiptsRequest& v, size_t seed) noexcept {
    return hashFields(seed, v.id, v.conversationID, v.seq);
}
size_t qHash(const SetAvatarRequest& v, size_t seed) noexcept {
    return hashFields(seed, v.id, v.image);
}
size_t qHash(const CreateGroupRequest& v, size_t seed) noexcept {
    return hashFields(seed, v.id, v.name, v.memberIDs);
}
size_t qHash(const UpdateGroupRequest& v, size_t seed) noexcept {
    return hashFields(seed, v.id, v.conversationID, v.name, v.add, v.remove);
}

} // namespace brevio
