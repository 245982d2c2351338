#include "frame/core/zipreader.h"

#include <cstdio>
#include <memory>
#include <system_error>

#include <zip.h>

namespace fs = std::filesystem;

ZipReader::ZipReader(const fs::path& file, ZipLimits limits) : limits_(limits) {
    int error = 0;
    archive_ = zip_open(file.string().c_str(), ZIP_RDONLY, &error);
}

ZipReader::~ZipReader() {
    if (archive_) zip_discard(archive_);  // read only: nothing to write back
}

int64_t ZipReader::entryCount() const { return archive_ ? zip_get_num_entries(archive_, 0) : 0; }

std::string ZipReader::entryName(int64_t index) const {
    const char* name = archive_ ? zip_get_name(archive_, static_cast<zip_uint64_t>(index), ZIP_FL_ENC_GUESS) : nullptr;
    return name ? name : "";
}

template <class Sink>
ZipRead ZipReader::lf_inflate(int64_t index, Sink&& sink) {
    if (!archive_) return ZipRead::Failed;
    zip_stat_t st;
    zip_stat_init(&st);
    if (zip_stat_index(archive_, static_cast<zip_uint64_t>(index), 0, &st) != 0) return ZipRead::Failed;
    if ((st.valid & ZIP_STAT_SIZE) && st.size > limits_.entryBytes) return ZipRead::TooLarge;
    std::unique_ptr<zip_file_t, int (*)(zip_file_t*)> entry(
        zip_fopen_index(archive_, static_cast<zip_uint64_t>(index), 0), zip_fclose);
    if (!entry) return ZipRead::Failed;
    if (chunk_.empty()) chunk_.resize(0x80000);
    uint64_t inflated = 0;
    for (;;) {
        const zip_int64_t n = zip_fread(entry.get(), chunk_.data(), chunk_.size());
        if (n < 0) return ZipRead::Failed;
        if (n == 0) return ZipRead::Ok;
        inflated += static_cast<uint64_t>(n);
        total_ += static_cast<uint64_t>(n);
        if (inflated > limits_.entryBytes || total_ > limits_.totalBytes) return ZipRead::TooLarge;
        if (!sink(chunk_.data(), static_cast<size_t>(n))) return ZipRead::Failed;
    }
}

ZipRead ZipReader::read(int64_t index, std::string& out) {
    out.clear();
    const ZipRead r = lf_inflate(index, [&out](const char* data, size_t n) {
        out.append(data, n);
        return true;
    });
    if (r != ZipRead::Ok) out.clear();
    return r;
}

ZipRead ZipReader::extractTo(int64_t index, const fs::path& file) {
    ZipRead r = ZipRead::Failed;
    {
        std::unique_ptr<FILE, int (*)(FILE*)> out(std::fopen(file.string().c_str(), "wb"), std::fclose);
        if (!out) return ZipRead::Failed;
        r = lf_inflate(index, [&out](const char* data, size_t n) { return std::fwrite(data, 1, n, out.get()) == n; });
        if (r == ZipRead::Ok && std::fflush(out.get()) != 0) r = ZipRead::Failed;
    }
    std::error_code ec;
    if (r != ZipRead::Ok) fs::remove(file, ec);
    return r;
}

bool gf_zipNameStaysInside(const std::string& name) {
    if (name.empty() || name.front() == '/' || name.find('\\') != std::string::npos ||
        name.find(':') != std::string::npos)
        return false;
    size_t start = 0;
    for (;;) {
        const size_t slash = name.find('/', start);
        const std::string part = name.substr(start, slash == std::string::npos ? std::string::npos : slash - start);
        if (part == "..") return false;
        if (part.empty() && slash != std::string::npos && slash + 1 != name.size()) return false;
        if (slash == std::string::npos) return true;
        start = slash + 1;
    }
}
