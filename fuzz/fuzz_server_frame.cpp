#include "RoundTrip.h"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    brevio::fuzz::checkRoundTrip<brevio::ServerFrame>(data, size, brevio::wire::decodeServerFrame);
    return 0;
}
