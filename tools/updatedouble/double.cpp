#include "tools/updatedouble/double.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include <fmt/format.h>
#include <httplib.h>
#include <zip.h>

namespace udbl {
namespace fs = std::filesystem;

namespace {
std::string lf_readAll(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

void lf_writeAll(const fs::path& file, const std::string& content) {
    fs::create_directories(file.parent_path());
    std::ofstream out(file, std::ios::binary);
    out << content;
    if (!out) throw std::runtime_error("updatedouble: cannot write " + file.string());
}
}  // namespace

Fault gf_parseFault(const std::string& text) {
    const size_t colon = text.find(':');
    if (colon == std::string::npos || colon == 0) throw std::invalid_argument("fault without path: " + text);
    Fault f;
    f.path = text.substr(0, colon);
    const std::string what = text.substr(colon + 1);
    if (what == "truncate") {
        f.kind = FaultKind::Truncate;
    } else if (what.rfind("version=", 0) == 0) {
        f.kind = FaultKind::VersionLine;
        f.versionLine = what.substr(8);
    } else if (what.rfind("stall=", 0) == 0) {
        f.kind = FaultKind::Stall;
        f.stallMs = std::stoi(what.substr(6));
    } else {
        f.kind = FaultKind::Status;
        f.status = std::stoi(what);
    }
    return f;
}

UpdateDouble::UpdateDouble(fs::path root) : root_(std::move(root)), server_(std::make_unique<httplib::Server>()) {
    lf_install();
}

UpdateDouble::~UpdateDouble() { stop(); }

int UpdateDouble::start(int port, const std::string& host) {
    port_ = port == 0 ? server_->bind_to_any_port(host) : (server_->bind_to_port(host, port) ? port : -1);
    if (port_ <= 0) throw std::runtime_error(fmt::format("updatedouble: cannot listen on {}:{}", host, port));
    thread_ = std::thread([this] { server_->listen_after_bind(); });
    // the socket already listens; wait for the accept loop so that an early stop() reaches it
    while (!server_->is_running()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return port_;
}

void UpdateDouble::stop() {
    stopping_ = true;
    server_->stop();
    if (thread_.joinable()) thread_.join();
}

std::string UpdateDouble::baseUrl() const { return fmt::format("http://127.0.0.1:{}/downloads/", port_); }

void UpdateDouble::addFault(Fault f) {
    std::lock_guard lock(lock_);
    faults_.push_back(std::move(f));
}

void UpdateDouble::clearFaults() {
    std::lock_guard lock(lock_);
    faults_.clear();
}

std::vector<std::string> UpdateDouble::requests() const {
    std::lock_guard lock(lock_);
    return requests_;
}

bool UpdateDouble::lf_takeFault(const std::string& path, Fault& out) {
    std::lock_guard lock(lock_);
    requests_.push_back(path);
    for (Fault& f : faults_) {
        if (f.path != path || f.count == 0) continue;
        if (f.count > 0) --f.count;
        out = f;
        return true;
    }
    return false;
}

void UpdateDouble::lf_install() {
    server_->Get(R"(/downloads/(.*))", [this](const httplib::Request& req, httplib::Response& res) {
        const std::string path = req.matches[1];
        Fault fault;
        const bool faulty = lf_takeFault(path, fault);
        if (faulty && fault.kind == FaultKind::Status) {
            res.status = fault.status;
            res.set_content(fmt::format("<html>error {}</html>", fault.status), "text/html");
            return;
        }
        if (faulty && fault.kind == FaultKind::VersionLine) {
            res.set_content(fault.versionLine, "application/json");
            return;
        }
        if (faulty && fault.kind == FaultKind::Stall) {
            const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(fault.stallMs);
            while (!stopping_ && std::chrono::steady_clock::now() < until)
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        const fs::path file = root_ / "downloads" / path;
        if (path.find("..") != std::string::npos || !fs::is_regular_file(file)) {
            res.status = 404;
            res.set_content("<html>not found</html>", "text/html");
            return;
        }
        auto body = std::make_shared<std::string>(lf_readAll(file));
        if (faulty && fault.kind == FaultKind::Truncate) {
            // The length announces the whole file, the connection ends at its half.
            const size_t half = body->size() / 2;
            res.set_content_provider(body->size(), "application/octet-stream",
                                     [body, half](size_t offset, size_t, httplib::DataSink& sink) {
                                         if (offset >= half) return false;
                                         sink.write(body->data() + offset, half - offset);
                                         return true;
                                     });
            return;
        }
        res.set_content(*body, "application/octet-stream");
    });
}

void gf_writeZip(const fs::path& file, const std::vector<std::pair<std::string, std::string>>& entries) {
    fs::create_directories(file.parent_path());
    int error = 0;
    zip_t* archive = zip_open(file.string().c_str(), ZIP_CREATE | ZIP_TRUNCATE, &error);
    if (!archive) throw std::runtime_error("updatedouble: cannot create " + file.string());
    for (const auto& [name, content] : entries) {
        // libzip reads the buffer at zip_close: it must live until then, so it is copied into a source it frees.
        void* copy = std::malloc(content.size() + 1);
        std::memcpy(copy, content.data(), content.size());
        zip_source_t* source = zip_source_buffer(archive, copy, content.size(), 1);
        if (!source || zip_file_add(archive, name.c_str(), source, ZIP_FL_OVERWRITE | ZIP_FL_ENC_UTF_8) < 0) {
            if (source) zip_source_free(source);
            zip_discard(archive);
            throw std::runtime_error("updatedouble: cannot add " + name);
        }
    }
    if (zip_close(archive) != 0) {
        zip_discard(archive);
        throw std::runtime_error("updatedouble: cannot write " + file.string());
    }
}

void gf_makeDownloadsTree(const fs::path& install, const fs::path& out, const TreeVersions& v) {
    const fs::path d = out / "downloads";
    lf_writeAll(d / "release/version_P3D.json", v.program + "\n");
    gf_writeZip(d / fmt::format("release/setup_ZARK_P3D_v{}.zip", v.program),
                {{"install_new_version.exe", "installer of version " + v.program + "\n"}});
    lf_writeAll(d / "dbase/version.json", v.dbase + "\n");
    lf_writeAll(d / "dbase/dbase.xml", lf_readAll(install / "input/dbase.xml"));
    lf_writeAll(d / "aig/version.json", v.aig + "\n");
    lf_writeAll(d / "aig/AIG-regcodes.xml", lf_readAll(install / "input/AIG-regcodes.xml"));
    std::vector<std::pair<std::string, std::string>> entries;
    const fs::path archive = install / "airports/archive";
    if (fs::exists(archive))
        for (const auto& e : fs::recursive_directory_iterator(archive))
            if (e.is_regular_file() && e.path().extension() == ".xml")
                entries.emplace_back("archive/" + fs::relative(e.path(), archive).generic_string(),
                                     lf_readAll(e.path()));
    std::sort(entries.begin(), entries.end());
    lf_writeAll(d / "archive/p3d/version.json", v.archive + "\n");
    gf_writeZip(d / "archive/p3d/archive.zip", entries);
    lf_writeAll(d / "docs/P3D_archive.txt", fmt::format("Archive {}: {} airport files\n", v.archive, entries.size()));
    std::string csv = "file,bytes\n";
    for (const auto& [name, content] : entries) csv += fmt::format("{},{}\n", name, content.size());
    lf_writeAll(d / "docs/P3D_archive.csv", csv);
}

}  // namespace udbl
