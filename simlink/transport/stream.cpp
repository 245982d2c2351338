// A byte stream with one writer and one reader thread: the socket and pipe transports.
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

#include "simlink/transport/framer.h"
#include "simlink/transport/transport.h"

namespace {

constexpr auto kCloseDrainWait = std::chrono::milliseconds(100);  // what Close grants queued packets

class StreamTransport final : public Transport {
public:
    StreamTransport(std::unique_ptr<ByteLink> link, const char* name, Inbound& inbound, uint32_t maxReceiveSize)
        : link_(std::move(link)), name_(name), inbound_(inbound), framer_(maxReceiveSize) {
        writer_ = std::thread([this] { writerLoop(); });
        reader_ = std::thread([this] { readerLoop(); });
    }
    ~StreamTransport() override { close(); }

    void send(PacketBlock block) override {
        {
            std::lock_guard lock(lock_);
            if (stopping_ || broken_) return;
            queue_.push_back(std::move(block));
        }
        wake_.notify_one();
    }

    void close() override {
        {
            std::unique_lock lock(lock_);
            if (closed_) return;
            closed_ = true;
            drained_.wait_for(lock, kCloseDrainWait, [this] { return (queue_.empty() && !writing_) || broken_; });
            stopping_ = true;
        }
        wake_.notify_all();
        link_->shutdown();
        if (writer_.joinable()) writer_.join();
        if (reader_.joinable()) reader_.join();
    }

    const char* name() const override { return name_; }

private:
    // Takes every queued block at once and writes them as one piece: a frame's position updates leave
    // in one system call.
    void writerLoop() {
        std::vector<uint8_t> batch;
        for (;;) {
            std::deque<PacketBlock> blocks;
            {
                std::unique_lock lock(lock_);
                wake_.wait(lock, [this] { return stopping_ || !queue_.empty(); });
                if (queue_.empty()) return;  // stopping with nothing left
                blocks.swap(queue_);
                writing_ = true;
            }
            batch.clear();
            for (const PacketBlock& b : blocks) batch.insert(batch.end(), b->begin(), b->end());
            std::string error;
            bool ok = link_->writeAll(batch.data(), batch.size(), error);
            {
                std::lock_guard lock(lock_);
                writing_ = false;
                if (!ok) broken_ = true;
            }
            drained_.notify_all();
            if (!ok) {
                if (!stopping_) inbound_.onFailure("send failed: " + error);
                return;
            }
        }
    }

    void readerLoop() {
        auto sink = [this](std::vector<uint8_t>&& m) { inbound_.onMessage(std::move(m)); };
        for (;;) {
            // The stop is looked at before every read too: a link's shutdown() may come while this thread
            // is delivering a message, and a read begun after it could wait for ever.
            {
                std::lock_guard lock(lock_);
                if (stopping_) break;
            }
            std::string error;
            long n = link_->readSome(framer_.writable(), framer_.writableSize(), error);
            bool stopping;
            {
                std::lock_guard lock(lock_);
                stopping = stopping_;
            }
            if (n <= 0) {
                if (!stopping)
                    inbound_.onFailure(n == 0 ? "the simulator closed the connection" : "receive failed: " + error);
                break;
            }
            if (!framer_.commit(static_cast<size_t>(n), sink)) {
                inbound_.onFailure("protocol error: " + framer_.error());
                break;
            }
        }
        {
            std::lock_guard lock(lock_);
            broken_ = true;
        }
        drained_.notify_all();
        link_->shutdown();
    }

    std::unique_ptr<ByteLink> link_;
    const char* name_;
    Inbound& inbound_;
    ReceiveFramer framer_;  // reader thread only

    std::mutex lock_;  // guards queue_ and the flags
    std::condition_variable wake_;
    std::condition_variable drained_;
    std::deque<PacketBlock> queue_;
    bool writing_ = false;
    bool stopping_ = false;
    bool broken_ = false;
    bool closed_ = false;
    std::thread writer_;
    std::thread reader_;
};

}  // namespace

std::unique_ptr<Transport> gf_makeStreamTransport(std::unique_ptr<ByteLink> link, const char* name, Inbound& inbound,
                                                  uint32_t maxReceiveSize) {
    return std::make_unique<StreamTransport>(std::move(link), name, inbound, maxReceiveSize);
}
