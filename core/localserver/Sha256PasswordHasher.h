#pragma once

#include "localserver/PasswordHasher.h"

namespace brevio {

// Salted SHA-256: fast, for the in-process demo whose accounts vanish at quit. The record is
// "sha256$" + base64(16-byte salt) + "$" + base64(SHA-256(salt + UTF-8 password)).
class Sha256PasswordHasher final : public PasswordHasher {
public:
    static constexpr int saltLength = 16;

    QByteArray hash(const QString& password) override;
    // False for a wrong password and for a record that is not of this form.
    bool verify(const QString& password, const QByteArray& stored) override;

    // The digest itself, exposed so the record format can be checked against a known salt.
    static QByteArray digest(const QByteArray& salt, const QString& password);
};

} // namespace brevio
