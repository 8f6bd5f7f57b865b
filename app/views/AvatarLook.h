#pragma once

#include <QColor>
#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>
#include <array>

namespace brevio {

// How an avatar without a photo looks: the initials of the name, white on one of eight hues that
// the user's (or group's) id picks, the same on every computer and at every start.
class AvatarLook : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    using QObject::QObject;

    // Each keeps white initials readable (at least 4.5:1) in both themes.
    static constexpr std::array<QRgb, 8> hues = {0xC62828, 0xB45309, 0x2E7D32, 0x0B7285,
                                                 0x2B6CB0, 0x5F3DC4, 0x7B1FA2, 0xB83280};

    // The first letter of each of the first two words, upper case: "anna maria rossi" is "AM".
    // Words without a letter or digit are skipped; nothing when no word has one.
    static QString initialsOf(const QString& name);
    // The hue for an id: a fixed hash of its UTF-8 bytes (never qHash, which is seeded per run).
    static int hueIndexOf(const QString& id);

    Q_INVOKABLE QString initials(const QString& name) const { return initialsOf(name); }
    Q_INVOKABLE QColor background(const QString& id) const {
        return QColor(hues[size_t(hueIndexOf(id))]);
    }
};

} // namespace brevio
