#include "media/PhotoReference.h"

namespace brevio {

QString PhotoSource::key() const {
    switch (kind) {
    case Kind::none:
        return {};
    case Kind::inlineData:
        return QStringLiteral("data:") + QString::fromLatin1(base64);
    case Kind::web:
        return url.toString(QUrl::FullyEncoded);
    }
    return {};
}

namespace PhotoReference {

QUrl serverAddress(const QString& path, const QUrl& serverOrigin) {
    if (!serverOrigin.isValid() || serverOrigin.host().isEmpty())
        return {};
    QUrl url;
    url.setScheme(serverOrigin.scheme().compare(u"ws", Qt::CaseInsensitive) == 0
                      ? QStringLiteral("http")
                      : QStringLiteral("https"));
    url.setHost(serverOrigin.host());
    url.setPort(serverOrigin.port());
    // A path on a host must start at its root.
    url.setPath(path.startsWith(u'/') ? path : u'/' + path);
    return url.isValid() ? url : QUrl();
}

PhotoSource resolve(const std::optional<QString>& reference, const QUrl& serverOrigin) {
    PhotoSource source;
    if (!reference || reference->isEmpty())
        return source;
    const QString& text = *reference;
    // Schemes are case-insensitive wherever an address is read.
    if (text.startsWith(u"data:", Qt::CaseInsensitive)) {
        const qsizetype comma = text.indexOf(u',');
        if (comma < 0)
            return source;
        source.kind = PhotoSource::Kind::inlineData;
        source.base64 = QStringView(text).sliced(comma + 1).toLatin1();
        return source;
    }
    if (text.startsWith(u"https://", Qt::CaseInsensitive) ||
        text.startsWith(u"http://", Qt::CaseInsensitive)) {
        const QUrl url(text);
        if (url.isValid() && !url.host().isEmpty()) {
            source.kind = PhotoSource::Kind::web;
            source.url = url;
        }
        return source;
    }
    const QUrl url = serverAddress(text, serverOrigin);
    if (!url.isEmpty()) {
        source.kind = PhotoSource::Kind::web;
        source.url = url;
    }
    return source;
}

} // namespace PhotoReference

} // namespace brevio
