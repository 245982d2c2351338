#include "simlink/transport/framer.h"

#include <algorithm>
#include <cstring>

#include <fmt/format.h>

#include "simlink/transport/packets.h"

ReceiveFramer::ReceiveFramer(uint32_t maxReceiveSize) : buffer_(kReceiveChunk), maxReceiveSize_(maxReceiveSize) {}

uint8_t* ReceiveFramer::writable() { return buffer_.data() + end_; }
size_t ReceiveFramer::writableSize() const { return failed() ? 0 : buffer_.size() - end_; }

bool ReceiveFramer::feed(const uint8_t* data, size_t n, const Sink& sink) {
    while (n > 0) {
        if (failed()) return false;
        size_t k = std::min(n, writableSize());
        std::memcpy(writable(), data, k);
        if (!commit(k, sink)) return false;
        data += k;
        n -= k;
    }
    return !failed();
}

bool ReceiveFramer::commit(size_t n, const Sink& sink) {
    if (failed()) return false;
    end_ += n;
    return extract(sink);
}

// After each read: hand on every whole message, then make sure the next read has room.
bool ReceiveFramer::extract(const Sink& sink) {
    for (;;) {
        size_t have = end_ - begin_;
        if (have == 0) {
            begin_ = end_ = 0;
            return true;
        }
        // A size of 0 starts padding: zero bytes are stepped over up to the next non-zero byte. Padding
        // normally comes in whole words, so a message whose size has a zero low byte (256, 512, ...) may
        // start up to three bytes before that non-zero byte.
        if (inPadding_ || (have >= 4 && scwire::gf_getU32(buffer_.data() + begin_) == 0)) {
            size_t q = begin_;
            while (q < end_ && buffer_[q] == 0) ++q;
            if (q == end_) {
                begin_ += (have / 4) * 4;  // keep the word phase of the padding
                inPadding_ = true;
                if (begin_ == end_) begin_ = end_ = 0;
                return compact();
            }
            size_t candidate = begin_ + ((q - begin_) / 4) * 4;
            if (candidate < q) {
                // Both readings are possible: the word boundary wins if it gives a whole plausible head
                // (size within limits, a message id below 256).
                if (end_ - candidate < scwire::kRecvHeadSize) return compact();
                uint32_t size = scwire::gf_getU32(buffer_.data() + candidate);
                uint32_t id = scwire::gf_getU32(buffer_.data() + candidate + 8);
                if (size >= scwire::kRecvHeadSize && size <= maxReceiveSize_ && id < 256) q = candidate;
            }
            begin_ = q;
            inPadding_ = false;
            continue;
        }
        if (have < 4) return compact();
        uint32_t size = scwire::gf_getU32(buffer_.data() + begin_);
        if (size < 4) {
            error_ = fmt::format("message size {} is below the smallest possible", size);
            return false;
        }
        if (size > maxReceiveSize_) {
            error_ = fmt::format("message size {} is above the limit of {}", size, maxReceiveSize_);
            return false;
        }
        if (have >= size) {
            sink(std::vector<uint8_t>(buffer_.begin() + begin_, buffer_.begin() + begin_ + size));
            begin_ += size;
            continue;
        }
        // The message is incomplete: make room for the rest of it.
        if (size > buffer_.size() - begin_) {
            compact(true);
            while (buffer_.size() < size) {
                if (buffer_.size() + kReceiveChunk > kReceiveBufferLimit) {
                    error_ = fmt::format("message size {} needs more than the 1 MiB buffer", size);
                    return false;
                }
                buffer_.resize(buffer_.size() + kReceiveChunk);
            }
        }
        return true;
    }
}

// Moves the bytes in hand to the start of the buffer when the tail is full.
bool ReceiveFramer::compact(bool always) {
    if (begin_ > 0 && (always || end_ == buffer_.size() || begin_ == end_)) {
        size_t have = end_ - begin_;
        std::memmove(buffer_.data(), buffer_.data() + begin_, have);
        begin_ = 0;
        end_ = have;
    }
    return true;
}
