// libFuzzer: the client's receive framing must survive any byte stream, cut into any reads.
#include <cstddef>
#include <cstdint>

#include "simlink/transport/framer.h"
#include "simlink/transport/packets.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2) return 0;
    // The first byte picks the read size, so that messages arrive split in every way.
    const size_t step = 1 + data[0] % 97;
    ReceiveFramer framer(kDefaultMaxReceiveSize);
    size_t total = 0;
    auto sink = [&](std::vector<uint8_t>&& m) {
        if (m.size() < 4 || scwire::gf_getU32(m.data()) != m.size()) __builtin_trap();
        total += m.size();
    };
    for (size_t pos = 1; pos < size && !framer.failed(); pos += step) {
        size_t n = size - pos < step ? size - pos : step;
        framer.feed(data + pos, n, sink);
    }
    if (total > size) __builtin_trap();
    return 0;
}
