#include "Argon2idPasswordHasher.h"

#include <algorithm>
#include <mutex>
#include <sodium.h>
#include <stdexcept>

namespace brevio {

namespace {

void initialiseSodium() {
    static std::once_flag once;
    std::call_once(once, [] {
        // sodium_init() only fails when no system random source can be opened; hashing without one
        // would produce predictable salts, so refuse to start.
        if (sodium_init() < 0)
            throw std::runtime_error("libsodium could not be initialised");
    });
}

} // namespace

Argon2idPasswordHasher::Argon2idPasswordHasher(unsigned long long opsLimit, std::size_t memLimit)
    : opsLimit_(std::max(opsLimit, minimumOpsLimit)),
      memLimit_(std::max(memLimit, minimumMemLimit)) {
    initialiseSodium();
}

QByteArray Argon2idPasswordHasher::hash(const QString& password) {
    const QByteArray utf8 = password.toUtf8();
    char out[crypto_pwhash_STRBYTES];
    if (crypto_pwhash_str_alg(out, utf8.constData(), static_cast<unsigned long long>(utf8.size()),
                              opsLimit_, memLimit_, crypto_pwhash_ALG_ARGON2ID13) != 0)
        return {};
    return QByteArray(out);
}

bool Argon2idPasswordHasher::verify(const QString& password, const QByteArray& stored) {
    // crypto_pwhash_str_verify wants a NUL-terminated record that fits its buffer; it picks the
    // algorithm from the prefix, so insist on argon2id rather than accept an argon2i record.
    if (stored.isEmpty() || stored.size() >= crypto_pwhash_STRBYTES ||
        !stored.startsWith("$argon2id$") || stored.contains('\0'))
        return false;
    char record[crypto_pwhash_STRBYTES] = {};
    std::copy(stored.begin(), stored.end(), record);
    const QByteArray utf8 = password.toUtf8();
    return crypto_pwhash_str_verify(record, utf8.constData(),
                                    static_cast<unsigned long long>(utf8.size())) == 0;
}

} // namespace brevio
