#include "session/SessionCredentials.h"

#include <boost/json/object.hpp>
#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>

namespace brevio {

namespace {

std::optional<QString> stringField(const boost::json::object& object, std::string_view key) {
    const auto* value = object.if_contains(key);
    if (!value || !value->is_string())
        return std::nullopt;
    const auto& text = value->get_string();
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

} // namespace

std::string SessionCredentials::toJson() const {
    boost::json::object object;
    object["server"] = server.toString(QUrl::FullyEncoded).toStdString();
    object["token"] = token.toStdString();
    object["userID"] = userID.toStdString();
    return boost::json::serialize(object);
}

std::optional<SessionCredentials> SessionCredentials::fromJson(std::string_view text) {
    boost::system::error_code error;
    const boost::json::value value = boost::json::parse(text, error);
    if (error || !value.is_object())
        return std::nullopt;
    const auto& object = value.get_object();
    auto server = stringField(object, "server");
    auto token = stringField(object, "token");
    auto userID = stringField(object, "userID");
    if (!server || !token || !userID)
        return std::nullopt;
    QUrl url(*server, QUrl::StrictMode);
    if (!url.isValid() || url.scheme().isEmpty() || url.host().isEmpty())
        return std::nullopt;
    return SessionCredentials{std::move(url), std::move(*token), std::move(*userID)};
}

} // namespace brevio
