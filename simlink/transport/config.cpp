#include "simlink/transport/config.h"

#include <algorithm>
#include <atomic>
#include <cctype>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <mutex>
#include <sstream>
#include <stdexcept>

#include <fmt/format.h>

#include "frame/core/log.h"
#include "platform/platform.h"

namespace fs = std::filesystem;

static std::mutex cfgFolderLock;                 // guards cfgFolderOverride
static std::vector<fs::path> cfgFolderOverride;  // set by tests
static std::atomic<int32_t> simVersion{5};       // whose pipe and registry ports stand in for a missing Port

static std::string lf_lower(std::string s) {
    for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

static std::string lf_trim(const std::string& s) {
    size_t b = s.find_first_not_of(" \t\r\n");
    if (b == std::string::npos) return {};
    size_t e = s.find_last_not_of(" \t\r\n");
    return s.substr(b, e - b + 1);
}

std::vector<fs::path> gf_simConnectCfgFolders() {
    {
        std::lock_guard lock(cfgFolderLock);
        if (!cfgFolderOverride.empty()) return cfgFolderOverride;
    }
    std::vector<fs::path> folders;
#ifdef _WIN32
    if (const char* pub = std::getenv("PUBLIC")) folders.push_back(fs::path(pub) / "Documents");
#endif
    folders.push_back(gf_documentsFolder());
    folders.push_back(fs::current_path());
    return folders;
}

void gf_setSimConnectCfgFolders(const std::vector<fs::path>& folders) {
    std::lock_guard lock(cfgFolderLock);
    cfgFolderOverride = folders;
}

std::string gf_simConnectSectionName(uint32_t index) {
    return index == 0 ? std::string("SimConnect") : fmt::format("SimConnect.{}", index);
}

// The whole file as UTF-8 text. Notepad saves "Unicode" as UTF-16 with a byte order mark, and the
// profile functions of Windows read such files, so they are taken too; UTF-16 without a mark is known by
// its zero bytes. nullopt (and a log line) for a file that cannot be read as text.
static std::optional<std::string> lf_readIniText(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    if (!in) return std::nullopt;
    std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    auto at = [&](size_t i) { return static_cast<unsigned char>(bytes[i]); };
    if (bytes.size() >= 3 && bytes.compare(0, 3, "\xEF\xBB\xBF") == 0) return bytes.substr(3);
    const bool markLE = bytes.size() >= 2 && at(0) == 0xFF && at(1) == 0xFE;
    const bool markBE = bytes.size() >= 2 && at(0) == 0xFE && at(1) == 0xFF;
    const bool bareLE = !markLE && !markBE && bytes.size() >= 2 && at(0) != 0 && at(1) == 0;
    if (!markLE && !markBE && !bareLE) return bytes;
    const size_t start = bareLE ? 0 : 2;
    std::u16string wide;
    wide.reserve(bytes.size() / 2);
    for (size_t i = start; i + 1 < bytes.size(); i += 2)
        wide.push_back(static_cast<char16_t>(markBE ? (at(i) << 8) | at(i + 1) : at(i) | (at(i + 1) << 8)));
    try {
        if ((bytes.size() - start) % 2 != 0) throw std::runtime_error("an odd number of bytes");
        return gf_utf16ToUtf8(wide);
    } catch (const std::exception& e) {
        gf_logf("SimConnect: \"{}\" looks like UTF-16 text but is not ({}), the file is ignored", file.string(),
                e.what());
        return std::nullopt;
    }
}

std::optional<std::map<std::string, std::string>> gf_readIniSection(const fs::path& file, const std::string& section) {
    const std::optional<std::string> text = lf_readIniText(file);
    if (!text) return std::nullopt;
    std::istringstream in(*text);
    const std::string wanted = lf_lower(section);
    std::optional<std::map<std::string, std::string>> result;
    bool inside = false;
    std::string line;
    while (std::getline(in, line)) {
        std::string t = lf_trim(line);
        if (t.empty() || t[0] == ';' || t[0] == '#') continue;
        if (t[0] == '[') {
            size_t close = t.find(']');
            std::string name =
                lf_lower(lf_trim(t.substr(1, close == std::string::npos ? std::string::npos : close - 1)));
            inside = name == wanted;
            if (inside && !result) result.emplace();
            continue;
        }
        if (!inside) continue;
        size_t eq = t.find('=');
        if (eq == std::string::npos) continue;
        std::string key = lf_lower(lf_trim(t.substr(0, eq)));
        // The first value of a key wins within one file, as with the profile functions.
        if (!key.empty()) result->emplace(key, lf_trim(t.substr(eq + 1)));
    }
    return result;
}

const char* gf_protocolName(ScProtocol p) {
    switch (p) {
        case ScProtocol::Auto: return "Auto";
        case ScProtocol::IPv4: return "IPv4";
        case ScProtocol::IPv6: return "IPv6";
        case ScProtocol::Pipe: return "Pipe";
    }
    return "?";
}

static void lf_applyKeys(const std::map<std::string, std::string>& keys, const fs::path& file, SimConnectConfig& out) {
    for (const auto& [key, value] : keys) {
        if (key == "protocol") {
            std::string v = lf_lower(value);
            if (v == "auto")
                out.protocol = ScProtocol::Auto;
            else if (v == "ipv4")
                out.protocol = ScProtocol::IPv4;
            else if (v == "ipv6")
                out.protocol = ScProtocol::IPv6;
            else if (v == "pipe")
                out.protocol = ScProtocol::Pipe;
            else
                gf_logf("SimConnect: unknown Protocol \"{}\" in \"{}\", Auto is taken", value, file.string());
        } else if (key == "address") {
            out.address = value;
        } else if (key == "port") {
            out.port = value;
        } else if (key == "maxreceivesize") {
            char* endp = nullptr;
            unsigned long v = std::strtoul(value.c_str(), &endp, 10);
            if (endp == value.c_str() || *endp != 0) {
                gf_logf("SimConnect: MaxReceiveSize \"{}\" in \"{}\" is no number, ignored", value, file.string());
            } else if (v > out.maxReceiveSize) {
                out.maxReceiveSize = static_cast<uint32_t>(std::min<unsigned long>(v, kReceiveBufferLimit));
            }
        } else if (key == "disablenagle") {
            out.disableNagle = std::strtol(value.c_str(), nullptr, 10) != 0;
        }
    }
}

bool gf_readSimConnectConfig(uint32_t index, SimConnectConfig& out) {
    out = SimConnectConfig{};
    if (index == SIMCONNECT_CFG_LOCAL_INDEX) return true;
    const std::string section = gf_simConnectSectionName(index);
    bool found = false;
    for (const fs::path& folder : gf_simConnectCfgFolders()) {
        fs::path file = folder / "SimConnect.cfg";
        auto keys = gf_readIniSection(file, section);
        if (!keys) continue;
        found = true;
        lf_applyKeys(*keys, file, out);
    }
    return found || index == 0;
}

void gf_setSimConnectSimVersion(int32_t version) { simVersion = version == 6 ? 6 : 5; }
int32_t gf_simConnectSimVersion() { return simVersion.load(); }

std::vector<ConnectStep> gf_connectChain(const SimConnectConfig& cfg, int32_t version) {
    const int32_t v = version == 6 ? 6 : 5;
    const std::string defaultPipe = fmt::format("Lockheed Martin Prepar3D v{}\\SimConnect", v);
    const std::string registryKey = fmt::format("SOFTWARE\\Lockheed Martin\\Prepar3D v{}", v);
    const auto registryPort = [&registryKey](const char* value) {
        return gf_readRegistryString(registryKey, value, RegistryHive::CurrentUser).value_or(std::string());
    };
    const bool local = cfg.address.empty() || cfg.address == ".";
    std::vector<ConnectStep> chain;
    if (cfg.protocol == ScProtocol::Auto || cfg.protocol == ScProtocol::Pipe)
        chain.push_back({ConnectStep::Pipe, local ? "." : cfg.address, cfg.port.empty() ? defaultPipe : cfg.port});
    // A pipe to a named host stays a pipe under "Pipe"; "Auto" goes on with sockets to that host.
    if (cfg.protocol != ScProtocol::Pipe || local) {
        const std::string port6 = cfg.port.empty() ? registryPort("SimConnect_Port_IPv6") : cfg.port;
        const std::string port4 = cfg.port.empty() ? registryPort("SimConnect_Port_IPv4") : cfg.port;
        if (cfg.protocol != ScProtocol::IPv4) chain.push_back({ConnectStep::IPv6, local ? "::1" : cfg.address, port6});
        chain.push_back({ConnectStep::IPv4, local ? "127.0.0.1" : cfg.address, port4});
        if (local) chain.push_back({ConnectStep::Pipe, ".", defaultPipe});
    }
    return chain;
}
