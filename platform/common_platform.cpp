// The parts of the platform layer that are the same on every system: the overrides tests install.
#include <mutex>

#include "platform/platform.h"

namespace {
std::mutex g_overrideLock;
std::filesystem::path g_appDataOverride;
std::filesystem::path g_documentsOverride;
std::filesystem::path g_programDataOverride;
RegistryReader g_registryOverride = nullptr;
}  // namespace

std::filesystem::path gf_platformAppDataDefault();  // implemented per system
std::filesystem::path gf_platformDocumentsDefault();
std::filesystem::path gf_platformProgramDataDefault();
std::optional<std::string> gf_platformReadRegistry(const std::string& subKey, const std::string& valueName,
                                                   RegistryHive hive);

namespace {
// A folder a test has put in place of the system's, or the system's own.
std::filesystem::path lf_folderOr(const std::filesystem::path& chosen, std::filesystem::path (*system)()) {
    {
        std::lock_guard lock(g_overrideLock);
        if (!chosen.empty()) return chosen;
    }
    return system();
}
void lf_setOverride(std::filesystem::path& chosen, const std::filesystem::path& folder) {
    std::lock_guard lock(g_overrideLock);
    chosen = folder;
}
}  // namespace

void gf_setAppDataOverride(const std::filesystem::path& folder) { lf_setOverride(g_appDataOverride, folder); }
void gf_setDocumentsOverride(const std::filesystem::path& folder) { lf_setOverride(g_documentsOverride, folder); }
void gf_setProgramDataOverride(const std::filesystem::path& folder) { lf_setOverride(g_programDataOverride, folder); }
std::filesystem::path gf_appDataFolder() { return lf_folderOr(g_appDataOverride, gf_platformAppDataDefault); }
std::filesystem::path gf_documentsFolder() { return lf_folderOr(g_documentsOverride, gf_platformDocumentsDefault); }
std::filesystem::path gf_programDataFolder() {
    return lf_folderOr(g_programDataOverride, gf_platformProgramDataDefault);
}

void gf_setRegistryOverride(RegistryReader reader) {
    std::lock_guard lock(g_overrideLock);
    g_registryOverride = reader;
}

std::optional<std::string> gf_readRegistryString(const std::string& subKey, const std::string& valueName,
                                                 RegistryHive hive) {
    RegistryReader reader;
    {
        std::lock_guard lock(g_overrideLock);
        reader = g_registryOverride;
    }
    if (reader) return reader(subKey, valueName);
    return gf_platformReadRegistry(subKey, valueName, hive);
}

std::filesystem::path gf_utf8Path(std::string_view utf8) {
    return std::filesystem::path(std::u8string(reinterpret_cast<const char8_t*>(utf8.data()), utf8.size()));
}
