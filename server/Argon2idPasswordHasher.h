#pragma once

#include "localserver/PasswordHasher.h"

#include <cstddef>

namespace brevio {

// Memory-hard password storage for the network-facing server. The stored record is the standard
// "$argon2id$v=19$m=...,t=...,p=1$salt$hash" text, so parameters can be raised later without
// invalidating existing records: verify() reads them from the record itself.
class Argon2idPasswordHasher final : public PasswordHasher {
public:
    // At least 19 MiB of memory and two passes; lower values are raised to these.
    static constexpr unsigned long long minimumOpsLimit = 2;
    static constexpr std::size_t minimumMemLimit = 19u * 1024u * 1024u;

    explicit Argon2idPasswordHasher(unsigned long long opsLimit = minimumOpsLimit,
                                    std::size_t memLimit = minimumMemLimit);

    // Empty when the hash could not be computed (out of memory); such a record never verifies.
    QByteArray hash(const QString& password) override;
    // False for a wrong password and for anything that is not an argon2id record.
    bool verify(const QString& password, const QByteArray& stored) override;

private:
    unsigned long long opsLimit_;
    std::size_t memLimit_;
};

} // namespace brevio
