// libFuzzer: the double's packet parser must survive any client stream, after a valid Open or without.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "simlink/transport/packets.h"
#include "tools/simdouble/simdouble.h"

namespace {
struct NullPeer final : simdouble::Peer {
    size_t bytes = 0;
    bool closed = false;
    void send(const uint8_t*, size_t n) override { bytes += n; }
    void close(bool) override { closed = true; }
};
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    simdouble::Scenario scenario;
    scenario.createDelayMs = 0;
    simdouble::SimDouble sim(scenario);
    NullPeer peer;
    uint32_t c = sim.addConnection(&peer);
    if (size > 0 && (data[0] & 1)) {
        std::vector<uint8_t> open;
        scwire::PacketWriter w(open);
        w.u32(0);
        w.u32(scwire::kProtocolVersion);
        w.u32(scwire::kOpen);
        w.u32(1);
        w.text("fuzz", 256);
        w.zeros(24);
        w.finish();
        sim.receive(c, open.data(), open.size());
    }
    sim.receive(c, data, size);
    sim.advance(50);
    sim.removeConnection(c);
    return 0;
}
