// simlink/transport/framer.h — cuts the simulator's byte stream into messages.
// Owned by the session's reader; no lock of its own.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

inline constexpr uint32_t kDefaultMaxReceiveSize = 41088;   // bytes: largest message unless the cfg raises it
inline constexpr size_t kReceiveChunk = 2048;               // bytes: the buffer's first size and its growth step
inline constexpr size_t kReceiveBufferLimit = 1024 * 1024;  // bytes: the buffer never grows beyond 1 MiB

class ReceiveFramer {
public:
    using Sink = std::function<void(std::vector<uint8_t>&&)>;

    explicit ReceiveFramer(uint32_t maxReceiveSize = kDefaultMaxReceiveSize);

    // Where the next read may put its bytes (never empty while the framer is healthy), then commit the count.
    uint8_t* writable();
    size_t writableSize() const;
    // Takes out every whole message; false once the stream broke the rules (see error()).
    bool commit(size_t n, const Sink& sink);
    // Copies the bytes in, in as many steps as the buffer needs.
    bool feed(const uint8_t* data, size_t n, const Sink& sink);

    bool failed() const { return !error_.empty(); }
    const std::string& error() const { return error_; }
    size_t bufferSize() const { return buffer_.size(); }

private:
    bool extract(const Sink& sink);
    bool compact(bool always = false);
    std::vector<uint8_t> buffer_;
    size_t begin_ = 0;  // first byte not yet taken out
    size_t end_ = 0;    // one past the last byte read
    uint32_t maxReceiveSize_;
    std::string error_;
    bool inPadding_ = false;  // inside a run of zero bytes between messages
};
