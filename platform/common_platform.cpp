// The parts of the platform layer that are the same on every system: the overrides tests install.
#include <mutex>

#include "platform/platform.h"

namespace {
std::mutex g_overrideLock;
std::filesystem::path g_appDataOverride;
RegistryReader g_registryOverride = nullptr;
}  // namespace

std::filesystem::path gf_platformAppDataDefault();  // implemented per system
std::optional<std::string> gf_platformReadRegistry(const std::string& subKey, const std::string& valueName,
                                                   RegistryHive hive);

void gf_setAppDataOverride(const std::filesystem::path& folder) {
    std::lock_guard lock(g_overrideLock);
    g_appDataOverride = folder;
}

std::filesystem::path gf_appDataFolder() {
    {
        std::lock_guard lock(g_overrideLock);
        if (!g_appDataOverride.empty()) return g_appDataOverride;
    }
    return gf_platformAppDataDefault();
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
