#pragma once

#include <QString>
#include <QUrl>
#include <optional>
#include <string>
#include <string_view>

namespace brevio {

// What a later launch needs to resume without asking for the password: the server the user signed
// in to, the session token of its welcome and the user's id.
struct SessionCredentials {
    QUrl server;
    QString token;
    QString userID;

    friend bool operator==(const SessionCredentials&, const SessionCredentials&) = default;

    // The JSON object {"server", "token", "userID"} as compact UTF-8 text.
    std::string toJson() const;
    // Nothing for malformed JSON, a missing or non-string field, or a server that is not a URL.
    static std::optional<SessionCredentials> fromJson(std::string_view text);
};

} // namespace brevio
