#include "model/SystemRandom.h"

#include <QUuid>
#include <QtGlobal>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sys/random.h>

namespace brevio::SystemRandom {

namespace {

// Reads from /dev/urandom; only used when the kernel lacks getrandom(2).
bool fillFromDevice(char* out, std::size_t size) {
    std::FILE* device = std::fopen("/dev/urandom", "rbe");
    if (!device)
        return false;
    const std::size_t read = std::fread(out, 1, size, device);
    std::fclose(device);
    return read == size;
}

void fill(void* buffer, std::size_t size) {
    char* out = static_cast<char*>(buffer);
    while (size > 0) {
        // Requests above 256 bytes may come back short, and a signal may interrupt a blocking
        // call before the pool is ready: keep asking for the rest.
        const ssize_t got = ::getrandom(out, size, 0);
        if (got > 0) {
            out += got;
            size -= static_cast<std::size_t>(got);
            continue;
        }
        if (got < 0 && (errno == EINTR || errno == EAGAIN))
            continue;
        if (got < 0 && errno == ENOSYS && fillFromDevice(out, size))
            return;
        // Without the system generator no secure token can be made, and handing out predictable
        // bytes would be worse than stopping.
        qFatal("SystemRandom: the system random generator failed (%s)", std::strerror(errno));
    }
}

std::uint32_t next32() {
    std::uint32_t value;
    fill(&value, sizeof value);
    return value;
}

} // namespace

QByteArray bytes(int count) {
    if (count <= 0)
        return {};
    QByteArray out(count, Qt::Uninitialized);
    fill(out.data(), static_cast<std::size_t>(count));
    return out;
}

std::uint64_t next64() {
    std::uint64_t value;
    fill(&value, sizeof value);
    return value;
}

std::uint32_t uniform(std::uint32_t bound, const std::function<std::uint32_t()>& next32) {
    if (bound <= 1)
        return 0;
    // 2^32 mod bound: words below it are the surplus that would make small results more likely
    // after the modulo, so they are drawn again. At most half of the words are ever rejected.
    const std::uint32_t threshold = (std::uint32_t{0} - bound) % bound;
    for (;;) {
        const std::uint32_t word = next32();
        if (word >= threshold)
            return word % bound;
    }
}

std::uint32_t uniform(std::uint32_t bound) {
    return uniform(bound, next32);
}

double unitFromBits(std::uint64_t bits) {
    // 53 bits fit a double's mantissa exactly, so the result is never rounded up to 1.
    return static_cast<double>(bits >> 11) * 0x1.0p-53;
}

double unit() {
    return unitFromBits(next64());
}

QString uuidFromBytes(QByteArray raw) {
    if (raw.size() != 16)
        return {};
    raw[6] = static_cast<char>((static_cast<unsigned char>(raw[6]) & 0x0F) | 0x40);
    raw[8] = static_cast<char>((static_cast<unsigned char>(raw[8]) & 0x3F) | 0x80);
    return QUuid::fromRfc4122(raw).toString(QUuid::WithoutBraces);
}

QString uuid() {
    return uuidFromBytes(bytes(16));
}

} // namespace brevio::SystemRandom
