#pragma once

// The property both fuzz targets check: a frame that decodes re-encodes to text that decodes to
// the same frame, and encoding is stable from then on. A refused input must
// come with a reason.

#include "wire/Frames.h"

#include <cstdio>
#include <cstdlib>

namespace brevio::fuzz {

[[noreturn]] inline void fail(const char* what, const std::string& text) {
    std::fprintf(stderr, "round trip broken: %s\n  re-encoded: %.2000s\n", what, text.c_str());
    std::abort();
}

template <class Frame, class Decode>
void checkRoundTrip(const unsigned char* data, std::size_t size, Decode decode) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const Decoded<Frame> first = decode(text);
    if (!first.ok()) {
        if (first.error.isEmpty())
            fail("refused without a reason", std::string(text));
        return;
    }
    const std::string encoded = wire::encode(*first.value);
    const Decoded<Frame> second = decode(encoded);
    if (!second.ok())
        fail(qPrintable("re-encoded frame refused: " + second.error), encoded);
    if (!(*second.value == *first.value))
        fail("decoded value differs", encoded);
    if (wire::encode(*second.value) != encoded)
        fail("encoding not stable", encoded);
}

} // namespace brevio::fuzz
