// frame/core/zipreader.h — reading the entries of a downloaded zip archive (libzip), guarded against
// entries that would write outside their folder and against archives that inflate without end.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

struct zip;

// The most an archive may give: an airport file is a few hundred kB, the whole archive well below 1 GB;
// the installer is one entry of some tens of MB.
struct ZipLimits {
    uint64_t entryBytes = 256ull << 20;  // one entry, uncompressed
    uint64_t totalBytes = 4ull << 30;    // all entries read from one archive
};

enum class ZipRead { Ok, TooLarge, Failed };

// An archive open for reading, closed by scope.
class ZipReader {
public:
    ZipReader(const std::filesystem::path& file, ZipLimits limits);
    ~ZipReader();
    ZipReader(const ZipReader&) = delete;
    ZipReader& operator=(const ZipReader&) = delete;

    bool isOpen() const { return archive_ != nullptr; }
    int64_t entryCount() const;
    std::string entryName(int64_t index) const;
    // Reads a whole entry into `out`, counting the bytes really inflated against both limits (a declared
    // size can lie). TooLarge leaves `out` empty.
    ZipRead read(int64_t index, std::string& out);
    // Streams an entry into a binary file in chunks of 0x80000 bytes; TooLarge and Failed remove the file.
    ZipRead extractTo(int64_t index, const std::filesystem::path& file);
    bool budgetSpent() const { return total_ > limits_.totalBytes; }

private:
    template <class Sink>
    ZipRead lf_inflate(int64_t index, Sink&& sink);
    zip* archive_ = nullptr;
    ZipLimits limits_;
    uint64_t total_ = 0;       // bytes inflated so far from this archive
    std::vector<char> chunk_;  // one read of 0x80000 bytes, made once per archive, not per entry
};

// True when an entry's name is a plain relative path that stays inside the folder it is unpacked into:
// no root, no drive, no backslash, no "..", no empty part.
bool gf_zipNameStaysInside(const std::string& name);
