#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

namespace brevio::PictureCheck {

// Recognises a picture without decoding it: PNG, JPEG, GIF, WebP or HEIC, by signature and a
// walk over the container's structure (chunk lengths and checksums, markers, boxes) with sane
// dimensions. Gives the MIME subtype ("png", "jpeg", "gif", "webp", "heic"), or nothing.
std::optional<QString> pictureType(const QByteArray& data);

} // namespace brevio::PictureCheck
