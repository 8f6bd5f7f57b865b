#pragma once

#include <QByteArray>
#include <QString>
#include <cstdint>
#include <functional>

namespace brevio::SystemRandom {

// Bytes from the operating system's generator (getrandom), for tokens, salts and codes. Safe to
// call from any thread.
QByteArray bytes(int count);
std::uint64_t next64();
// Uniform in [0, bound) by rejection sampling, without modulo bias. bound must be > 0 (0 gives 0).
std::uint32_t uniform(std::uint32_t bound);
// Uniform in [0, 1): 53 random bits scaled by 2^-53.
double unit();
// A fresh random (version 4) UUID in lower-case text form.
QString uuid();

// The pure steps behind the functions above, with the randomness supplied.
// Rejection sampling over 32-bit words from `next32`.
std::uint32_t uniform(std::uint32_t bound, const std::function<std::uint32_t()>& next32);
// The top 53 bits of `bits` scaled into [0, 1).
double unitFromBits(std::uint64_t bits);
// Stamps version 4 and the RFC 4122 variant on 16 bytes and writes them as lower-case text;
// an empty string when `raw` is not 16 bytes long.
QString uuidFromBytes(QByteArray raw);

} // namespace brevio::SystemRandom
