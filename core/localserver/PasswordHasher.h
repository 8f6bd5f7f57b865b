#pragma once

#include <QByteArray>
#include <QString>

namespace brevio {

// How the server turns a password into what it stores. The in-process demo uses a salted SHA-256
// (fast); the standalone server plugs in a memory-hard hash.
class PasswordHasher {
public:
    virtual ~PasswordHasher() = default;
    // A self-contained record of the password (salt and parameters included).
    virtual QByteArray hash(const QString& password) = 0;
    virtual bool verify(const QString& password, const QByteArray& stored) = 0;
};

} // namespace brevio
