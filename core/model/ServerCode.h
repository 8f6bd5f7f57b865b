#pragma once

#include <QString>

// The machine codes a server answers with in an "error" frame. Every layer names them through
// these constants: the error texts, the local server that sends them, the session that reacts to
// the fatal ones and the listener that refuses a frame it cannot read.
namespace brevio::ServerCode {

inline const QString notAuthenticated = QStringLiteral("not_authenticated");
inline const QString invalidCredentials = QStringLiteral("invalid_credentials");
inline const QString sessionExpired = QStringLiteral("session_expired");
inline const QString upgradeRequired = QStringLiteral("upgrade_required");
inline const QString invalidInvite = QStringLiteral("invalid_invite");
inline const QString weakPassword = QStringLiteral("weak_password");
inline const QString emailInUse = QStringLiteral("email_in_use");
inline const QString badRequest = QStringLiteral("bad_request");
inline const QString forbidden = QStringLiteral("forbidden");
inline const QString notFound = QStringLiteral("not_found");
inline const QString tooLate = QStringLiteral("too_late");
inline const QString messageTooLong = QStringLiteral("message_too_long");
inline const QString imageInvalid = QStringLiteral("image_invalid");
inline const QString rateLimited = QStringLiteral("rate_limited");

} // namespace brevio::ServerCode
