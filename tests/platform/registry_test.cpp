// The registry reads of the simulator's settings, against keys the test writes into the system's own
// registry (Windows only; under Wine its registry). Linux has no registry: every read there is nullopt.
#ifdef _WIN32

#define WIN32_LEAN_AND_MEAN
#define NOMINMAX
#include <windows.h>

#include <string>

#include "platform/platform.h"
#include "support/fixture.h"

namespace {

const std::wstring kTestKey = L"SOFTWARE\\ZARK_P3D tests\\Registry";
const char* const kTestKeyText = "SOFTWARE\\ZARK_P3D tests\\Registry";

class Registry : public ZarkTest {
protected:
    void TearDown() override {
        for (HKEY root : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE}) RegDeleteTreeW(root, L"SOFTWARE\\ZARK_P3D tests");
        ZarkTest::TearDown();
    }
    // Writes a string value (REG_SZ, UTF-16 with its terminator) into the 64-bit view.
    static void write(HKEY root, const std::wstring& name, const std::wstring& value) {
        HKEY key = nullptr;
        ASSERT_EQ(
            RegCreateKeyExW(root, kTestKey.c_str(), 0, nullptr, 0, KEY_WRITE | KEY_WOW64_64KEY, nullptr, &key, nullptr),
            ERROR_SUCCESS);
        RegSetValueExW(key, name.c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()),
                       static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
        RegCloseKey(key);
    }
};

TEST_F(Registry, ReadsStringValuesOfBothHives) {
    write(HKEY_CURRENT_USER, L"SimConnect_Port_IPv4", L"500");
    write(HKEY_LOCAL_MACHINE, L"SetupPath", L"D:\\Prepar3D v5 Z\u00FCrich \u738B\\");
    EXPECT_EQ(gf_readRegistryString(kTestKeyText, "SimConnect_Port_IPv4", RegistryHive::CurrentUser), "500");
    EXPECT_EQ(gf_readRegistryString(kTestKeyText, "SetupPath", RegistryHive::LocalMachine),
              "D:\\Prepar3D v5 Z\xC3\xBCrich \xE7\x8E\x8B\\");
    // Each hive is its own: the key exists in both, the value only in the user's.
    EXPECT_EQ(gf_readRegistryString(kTestKeyText, "SimConnect_Port_IPv4", RegistryHive::LocalMachine), "");
}

TEST_F(Registry, AMissingValueIsEmptyAndAMissingKeyIsNothing) {
    write(HKEY_CURRENT_USER, L"Other", L"x");
    EXPECT_EQ(gf_readRegistryString(kTestKeyText, "SimConnect_Port_IPv6", RegistryHive::CurrentUser), "");
    EXPECT_EQ(gf_readRegistryString("SOFTWARE\\ZARK_P3D tests\\Absent", "Any", RegistryHive::CurrentUser),
              std::nullopt);
}

TEST_F(Registry, AValueOfAnotherTypeIsAnErrorWithItsCode) {
    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, kTestKey.c_str(), 0, nullptr, 0, KEY_WRITE | KEY_WOW64_64KEY, nullptr,
                              &key, nullptr),
              ERROR_SUCCESS);
    const DWORD number = 500;
    RegSetValueExW(key, L"Port", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), sizeof number);
    RegCloseKey(key);
    try {
        gf_readRegistryString(kTestKeyText, "Port", RegistryHive::CurrentUser);
        ADD_FAILURE() << "a DWORD was read as a string";
    } catch (const winreg::RegException& e) {
        EXPECT_EQ(e.ErrorCode(), ERROR_UNSUPPORTED_TYPE);
    }
}

}  // namespace

#endif
