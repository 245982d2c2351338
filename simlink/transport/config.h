// simlink/transport/config.h — where the simulator listens: SimConnect.cfg, read by a small INI reader.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "simlink/transport/framer.h"

// The index that ignores SimConnect.cfg and connects to this machine.
inline constexpr uint32_t SIMCONNECT_CFG_LOCAL_INDEX = 0xFFFFFFFFu;

enum class ScProtocol { Auto, IPv4, IPv6, Pipe };

// One section of SimConnect.cfg, keys missing from every file keep these defaults.
struct SimConnectConfig {
    ScProtocol protocol = ScProtocol::Auto;
    std::string address;                               // empty: this machine
    std::string port;                                  // TCP port, or the pipe's name
    uint32_t maxReceiveSize = kDefaultMaxReceiveSize;  // bytes; a value only counts if it raises the limit
    bool disableNagle = false;
};

// The folders searched for SimConnect.cfg, earliest first; a later file overrides an earlier one.
// Windows: the public documents, the user's documents, the current directory. Linux: the user's
// documents and the current directory. A test may replace the list (an empty list restores it).
std::vector<std::filesystem::path> gf_simConnectCfgFolders();
void gf_setSimConnectCfgFolders(const std::vector<std::filesystem::path>& folders);

// "SimConnect" for index 0, else "SimConnect.<index>".
std::string gf_simConnectSectionName(uint32_t index);

// The keys of one section of an INI file, names lower-cased; nullopt when the file or section is absent.
// Section and key names compare without case, as the Windows profile functions do; ';' and '#' start
// a comment line; values are trimmed.
std::optional<std::map<std::string, std::string>> gf_readIniSection(const std::filesystem::path& file,
                                                                    const std::string& section);

// Reads the configuration of an index from all folders. False (out untouched beyond defaults) when the
// index is above 0 and no folder has its section; index 0 without any file gives the defaults.
bool gf_readSimConnectConfig(uint32_t index, SimConnectConfig& out);

const char* gf_protocolName(ScProtocol p);

// The Prepar3D version (5 or 6) that SimConnect_Open looks for where SimConnect.cfg names no port: its
// pipe "Lockheed Martin Prepar3D v<N>\SimConnect" and the ports in the registry key
// "SOFTWARE\Lockheed Martin\Prepar3D v<N>". Any other value counts as 5. The simulator link sets it before
// it opens a session; the transport's reset makes it 5.
void gf_setSimConnectSimVersion(int32_t version);
int32_t gf_simConnectSimVersion();

// One attempt of the connect chain: a named pipe (`port` holds the pipe's name) or a socket of one family.
struct ConnectStep {
    enum Kind { Pipe, IPv6, IPv4 } kind;
    std::string host;
    std::string port;  // empty for a socket: no port known, the step is left out
};
// The attempts of SimConnect_Open for a configuration, in order, with the defaults of the simulator
// version `simVersion` where the configuration names no port.
std::vector<ConnectStep> gf_connectChain(const SimConnectConfig& cfg, int32_t simVersion);
