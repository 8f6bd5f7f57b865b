#include "RoundTrip.h"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    brevio::fuzz::checkRoundTrip<brevio::ClientFrame>(data, size, brevio::wire::decodeClientFrame);
    return 0;
}
