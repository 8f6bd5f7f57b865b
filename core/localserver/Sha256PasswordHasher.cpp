#include "localserver/Sha256PasswordHasher.h"

#include "model/SystemRandom.h"

#include <QCryptographicHash>
#include <QList>

namespace brevio {

namespace {
constexpr char prefix[] = "sha256$";

// Compares without an early exit, so the time taken does not tell how many bytes matched.
bool equalInConstantTime(const QByteArray& a, const QByteArray& b) {
    if (a.size() != b.size())
        return false;
    unsigned char difference = 0;
    for (qsizetype i = 0; i < a.size(); ++i)
        difference |= static_cast<unsigned char>(a[i] ^ b[i]);
    return difference == 0;
}
} // namespace

QByteArray Sha256PasswordHasher::digest(const QByteArray& salt, const QString& password) {
    QCryptographicHash sha(QCryptographicHash::Sha256);
    sha.addData(salt);
    sha.addData(password.toUtf8());
    return sha.result();
}

QByteArray Sha256PasswordHasher::hash(const QString& password) {
    const QByteArray salt = SystemRandom::bytes(saltLength);
    return QByteArray(prefix) + salt.toBase64() + '$' + digest(salt, password).toBase64();
}

bool Sha256PasswordHasher::verify(const QString& password, const QByteArray& stored) {
    if (!stored.startsWith(prefix))
        return false;
    const QList<QByteArray> parts = stored.mid(qsizetype(sizeof(prefix) - 1)).split('$');
    if (parts.size() != 2)
        return false;
    const auto salt =
        QByteArray::fromBase64Encoding(parts[0], QByteArray::AbortOnBase64DecodingErrors);
    const auto expected =
        QByteArray::fromBase64Encoding(parts[1], QByteArray::AbortOnBase64DecodingErrors);
    if (!salt || !expected || salt.decoded.size() != saltLength || expected.decoded.size() != 32)
        return false;
    return equalInConstantTime(digest(salt.decoded, password), expected.decoded);
}

} // namespace brevio
