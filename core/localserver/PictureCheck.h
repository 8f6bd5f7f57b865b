#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

namespace brevio::PictureCheck {

// Recognises a picture without decoding it: PNG, JPEG, GIF, WebP or HEIC, by signature and a
// walk over the container's structure (chunk lengths and checksums, markers, boxes) with sane
// dimensions. Gives the MIME subtype ("png", "jpeg", "gif", "webp", "heic"), or nothing.
std::optional<QString> pictureType(const QByteArray& data);

// The stored form of an uploaded picture, "data:image/<type>;base64,<data>", from bare base64
// text or a whole "data:" address. Nothing when the text is not base64, decodes to no bytes or to
// more than `maximumBytes`, or is not a recognised picture.
std::optional<QString> avatarReference(const QString& image, qsizetype maximumBytes);

} // namespace brevio::PictureCheck
