#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>
#include <optional>

namespace brevio {

// Where a user's photo comes from, resolved from the text the server keeps in the user's record.
struct PhotoSource {
    enum class Kind { none, inlineData, web };

    Kind kind = Kind::none;
    // inlineData: the base64 text after the first comma, still encoded.
    QByteArray base64;
    // web: the address to load it from.
    QUrl url;

    bool isNone() const { return kind == Kind::none; }
    // Tells photos apart in the cache: the same key is the same picture.
    QString key() const;

    friend bool operator==(const PhotoSource&, const PhotoSource&) = default;
};

namespace PhotoReference {

// None (or empty): no photo. "data:": the inline picture after the first comma (no comma: no
// photo). "http://" or "https://": that address. Anything else is a path on the chat server:
// `serverOrigin` with "ws" turned into "http", any other scheme into "https", and the path set to
// the reference (no usable origin: no photo).
PhotoSource resolve(const std::optional<QString>& reference, const QUrl& serverOrigin);

// The web address a server path stands for, or an empty URL without a usable origin.
QUrl serverAddress(const QString& path, const QUrl& serverOrigin);

} // namespace PhotoReference

} // namespace brevio
