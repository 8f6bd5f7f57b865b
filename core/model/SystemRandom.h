#pragma once

#include <QByteArray>
#include <QString>
#include <cstdint>

namespace brevio::SystemRandom {

// Bytes from the operating system's generator (getrandom), for tokens, salts and codes.
QByteArray bytes(int count);
std::uint64_t next64();
// Uniform in [0, bound) by rejection sampling, without modulo bias. bound must be > 0.
std::uint32_t uniform(std::uint32_t bound);
// Uniform in [0, 1): 53 random bits scaled by 2^-53.
double unit();
// A fresh random UUID in lower-case text form.
QString uuid();

} // namespace brevio::SystemRandom
