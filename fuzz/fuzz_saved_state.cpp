// The saved state read back from disk: whatever the file holds, decoding either refuses it with a
// reason or gives a state that writes out and reads back as itself, and writes the same text again.

#include "state/ChatState.h"

#include <cstdio>
#include <cstdlib>

namespace {

[[noreturn]] void fail(const char* what, const std::string& text) {
    std::fprintf(stderr, "saved state broken: %s\n  re-encoded: %.2000s\n", what, text.c_str());
    std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    using namespace brevio;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const Decoded<ChatState> first = decodeChatState(text);
    if (!first.ok()) {
        if (first.error.isEmpty())
            fail("refused without a reason", std::string(text));
        return 0;
    }
    const std::string encoded = encodeChatState(*first.value);
    const Decoded<ChatState> second = decodeChatState(encoded);
    if (!second.ok())
        fail(qPrintable("written state refused: " + second.error), encoded);
    if (!(*second.value == *first.value))
        fail("read back differently", encoded);
    if (encodeChatState(*second.value) != encoded)
        fail("writing not stable", encoded);
    return 0;
}
