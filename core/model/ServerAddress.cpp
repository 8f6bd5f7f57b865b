#include "model/ServerAddress.h"

namespace brevio::ServerAddress {

std::optional<QUrl> normalise(const QString& typed) {
    const QString trimmed = typed.trimmed();
    if (trimmed.isEmpty() || trimmed.contains(u' '))
        return std::nullopt;

    // A bare host or host:port is taken as a secure address.
    const QString text = trimmed.contains(u"://") ? trimmed : QStringLiteral("wss://") + trimmed;

    // Strict parsing: the tolerant mode would silently percent-encode stray characters such as
    // tabs in the path or a lone "%", turning a typing mistake into a different address.
    QUrl url(text, QUrl::StrictMode);
    if (!url.isValid())
        return std::nullopt;

    const QString scheme = url.scheme().toLower();
    if (scheme == u"ws" || scheme == u"wss")
        url.setScheme(scheme);
    else if (scheme == u"http")
        url.setScheme(QStringLiteral("ws"));
    else if (scheme == u"https")
        url.setScheme(QStringLiteral("wss"));
    else
        return std::nullopt;

    if (url.host().isEmpty())
        return std::nullopt;

    // Only an absent or root path means "the default endpoint"; any other path is a deployment
    // behind a prefix and stays as typed.
    const QString path = url.path(QUrl::FullyEncoded);
    if (path.isEmpty() || path == u"/")
        url.setPath(QStringLiteral("/ws"));

    if (!url.isValid())
        return std::nullopt;
    return url;
}

QString display(const QUrl& url) {
    // Always the encoded form: a decoded one ("a b", a bare "%") is refused by normalise() when the
    // user types what was shown back into the login form.
    const QString full = url.toString(QUrl::FullyEncoded);
    if (!url.isValid() || url.scheme() != u"wss" || url.path(QUrl::FullyEncoded) != u"/ws")
        return full;

    // Without scheme and path what is left reads "//host:port" (plus user, query or fragment if
    // any); dropping every "//" leaves the short form.
    QUrl rest = url;
    rest.setScheme(QString());
    rest.setPath(QString());
    return rest.toString(QUrl::FullyEncoded).remove(QStringLiteral("//"));
}

} // namespace brevio::ServerAddress
