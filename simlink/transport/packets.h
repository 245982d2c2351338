// simlink/transport/packets.h — the bytes of the packets this client sends: their ids, sizes and field
// order, and the little-endian writer and reader both ends of the wire use (the simulator double parses
// the same layouts with PacketReader).
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

namespace scwire {

inline constexpr uint32_t kProtocolVersion = 35;  // the Prepar3D v5 client's protocol
inline constexpr size_t kHeadSize = 16;           // size, version, id, send serial
inline constexpr size_t kRecvHeadSize = 12;       // size, version, id of a message from the simulator

// The Open packet's constants behind the name: 0, the product tag "P3D" (0x50334400), the client
// library's major version 5 and its minor 3, then 8 reserved bytes.
inline constexpr uint32_t kOpenProductTag = 0x50334400;
inline constexpr uint32_t kOpenLibraryMajor = 5;
inline constexpr uint32_t kOpenLibraryMinor = 3;

enum PacketId : uint32_t {
    kOpen = 0xF0000001,
    kMapClientEventToSimEvent = 0xF0000004,
    kTransmitClientEvent = 0xF0000005,
    kAddClientEventToNotificationGroup = 0xF0000007,
    kSetNotificationGroupPriority = 0xF0000009,
    kAddToDataDefinition = 0xF000000C,
    kClearDataDefinition = 0xF000000D,
    kRequestDataOnSimObject = 0xF000000E,
    kRequestDataOnSimObjectType = 0xF000000F,
    kSetDataOnSimObject = 0xF0000010,
    kSubscribeToSystemEvent = 0xF0000017,
    kUnsubscribeFromSystemEvent = 0xF0000018,
    kAICreateNonATCAircraft = 0xF0000029,
    kAIReleaseControl = 0xF000002B,
    kAIRemoveObject = 0xF000002C,
    kAISetAircraftFlightPlan = 0xF000002D,
};

// Fixed total sizes, head included (SetDataOnSimObject: the fixed part, data follows).
inline constexpr size_t kSizeOpen = 296;
inline constexpr size_t kSizeMapClientEvent = 276;
inline constexpr size_t kSizeTransmitClientEvent = 36;
inline constexpr size_t kSizeAddToGroup = 28;
inline constexpr size_t kSizeSetGroupPriority = 24;
inline constexpr size_t kSizeAddToDataDefinition = 544;
inline constexpr size_t kSizeClearDataDefinition = 20;
inline constexpr size_t kSizeRequestData = 48;
inline constexpr size_t kSizeRequestDataByType = 32;
inline constexpr size_t kSizeSetDataFixed = 36;
inline constexpr size_t kSizeSubscribe = 276;
inline constexpr size_t kSizeUnsubscribe = 20;
inline constexpr size_t kSizeAICreate = 344;
inline constexpr size_t kSizeAIReleaseControl = 24;
inline constexpr size_t kSizeAIRemoveObject = 24;
inline constexpr size_t kSizeAISetFlightPlan = 284;

inline void gf_putU32(uint8_t* p, uint32_t v) {
    p[0] = static_cast<uint8_t>(v);
    p[1] = static_cast<uint8_t>(v >> 8);
    p[2] = static_cast<uint8_t>(v >> 16);
    p[3] = static_cast<uint8_t>(v >> 24);
}
inline uint32_t gf_getU32(const uint8_t* p) {
    return static_cast<uint32_t>(p[0]) | static_cast<uint32_t>(p[1]) << 8 | static_cast<uint32_t>(p[2]) << 16 |
           static_cast<uint32_t>(p[3]) << 24;
}

// Appends fields to a byte vector; the first four bytes (the size) are filled in by finish().
class PacketWriter {
public:
    explicit PacketWriter(std::vector<uint8_t>& out) : out_(out), start_(out.size()) {}
    void u32(uint32_t v) {
        // Grown in place: a range insert from a small local array, once inlined, makes GCC 12 (-O3) see a
        // copy into a region of size 0 (-Wstringop-overflow) where there is none.
        const size_t at = out_.size();
        out_.resize(at + 4);
        gf_putU32(out_.data() + at, v);
    }
    void i64(int64_t v) {
        uint64_t u = static_cast<uint64_t>(v);
        for (int i = 0; i < 8; ++i) out_.push_back(static_cast<uint8_t>(u >> (8 * i)));
    }
    void f32(float v) {
        uint32_t u;
        std::memcpy(&u, &v, 4);
        u32(u);
    }
    void f64(double v) {
        int64_t u;
        std::memcpy(&u, &v, 8);
        i64(u);
    }
    void bytes(const void* p, size_t n) {
        const auto* b = static_cast<const uint8_t*>(p);
        out_.insert(out_.end(), b, b + n);
    }
    void zeros(size_t n) { out_.insert(out_.end(), n, 0); }
    // A NUL-terminated text in a field of n bytes, zero-filled. The caller has checked that it fits.
    void text(std::string_view s, size_t n) {
        size_t k = s.size() < n ? s.size() : n - 1;
        bytes(s.data(), k);
        zeros(n - k);
    }
    size_t size() const { return out_.size() - start_; }
    // Writes the total size into the first field.
    void finish() { gf_putU32(out_.data() + start_, static_cast<uint32_t>(size())); }

private:
    std::vector<uint8_t>& out_;
    size_t start_;
};

// Reads little-endian fields from a bounded span; reading past the end sets failed() and yields zeros.
class PacketReader {
public:
    PacketReader(const uint8_t* p, size_t n) : p_(p), n_(n) {}
    uint32_t u32() {
        if (!need(4)) return 0;
        uint32_t v = gf_getU32(p_ + pos_);
        pos_ += 4;
        return v;
    }
    int64_t i64() {
        if (!need(8)) return 0;
        uint64_t v = 0;
        for (int i = 7; i >= 0; --i) v = v << 8 | p_[pos_ + i];
        pos_ += 8;
        return static_cast<int64_t>(v);
    }
    float f32() {
        uint32_t u = u32();
        float v;
        std::memcpy(&v, &u, 4);
        return v;
    }
    double f64() {
        int64_t u = i64();
        double v;
        std::memcpy(&v, &u, 8);
        return v;
    }
    // A fixed field of n bytes: the text up to its first NUL (or all n bytes).
    std::string_view text(size_t n) {
        if (!need(n)) return {};
        const char* s = reinterpret_cast<const char*>(p_ + pos_);
        size_t k = 0;
        while (k < n && s[k] != 0) ++k;
        pos_ += n;
        return {s, k};
    }
    const uint8_t* take(size_t n) {
        if (!need(n)) return nullptr;
        const uint8_t* r = p_ + pos_;
        pos_ += n;
        return r;
    }
    size_t position() const { return pos_; }
    size_t remaining() const { return n_ - pos_; }
    bool failed() const { return failed_; }

private:
    bool need(size_t k) {
        if (failed_ || n_ - pos_ < k) {
            failed_ = true;
            return false;
        }
        return true;
    }
    const uint8_t* p_;
    size_t n_;
    size_t pos_ = 0;
    bool failed_ = false;
};

}  // namespace scwire
