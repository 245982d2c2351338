// tools/updatedouble/double.h — an HTTP stand-in for the update server, for tests and the demo. It serves a
// downloads/ tree by plain GET and can be told to misbehave per path: cut a file off half-way, answer an
// error status, put another first line in a version file, or stall.
#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace httplib {
class Server;
}

namespace udbl {

enum class FaultKind { Truncate, Status, VersionLine, Stall };

// A fault hits every GET of `path` (below downloads/, e.g. "dbase/dbase.xml"), `count` times (-1: always).
struct Fault {
    std::string path;
    FaultKind kind = FaultKind::Status;
    int32_t status = 404;     // Status
    std::string versionLine;  // VersionLine: the whole body served instead
    int32_t stallMs = 0;      // Stall: real milliseconds before answering (cut short by stop())
    int32_t count = -1;
};
// "path:truncate", "path:404", "path:500", "path:version=TEXT", "path:stall=MS"; throws on anything else.
Fault gf_parseFault(const std::string& text);

class UpdateDouble {
public:
    explicit UpdateDouble(std::filesystem::path root);  // the folder that holds downloads/
    ~UpdateDouble();
    UpdateDouble(const UpdateDouble&) = delete;
    UpdateDouble& operator=(const UpdateDouble&) = delete;

    int start(int port = 0, const std::string& host = "127.0.0.1");  // 0: any free port; returns the port
    void stop();
    std::string baseUrl() const;  // "http://127.0.0.1:<port>/downloads/"

    void addFault(Fault f);
    void clearFaults();
    std::vector<std::string> requests() const;  // paths below downloads/, in order of arrival

private:
    void lf_install();
    bool lf_takeFault(const std::string& path, Fault& out);

    std::filesystem::path root_;
    std::unique_ptr<httplib::Server> server_;
    std::thread thread_;
    int port_ = 0;
    std::atomic<bool> stopping_{false};
    mutable std::mutex lock_;  // the two lists below
    std::vector<Fault> faults_;
    std::vector<std::string> requests_;
};

// Versions of the items of a tree.
struct TreeVersions {
    std::string program = "9.3.0", dbase = "1.0.0", aig = "1.0.0", archive = "22.0.1";
};
// Writes a zip file of (entry name, content) pairs.
void gf_writeZip(const std::filesystem::path& file, const std::vector<std::pair<std::string, std::string>>& entries);
// Makes <out>/downloads/ from an install folder: its input/dbase.xml and input/AIG-regcodes.xml, an
// archive.zip of its airports/archive/*/*.xml (entry names from "archive/"), archive notes, version files,
// and an installer zip of the program version.
void gf_makeDownloadsTree(const std::filesystem::path& install, const std::filesystem::path& out,
                          const TreeVersions& versions);

}  // namespace udbl
