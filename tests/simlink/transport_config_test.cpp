// SimConnect.cfg: sections, the folders in their order, and what SimConnect_Open makes of them.
#include "simlink/transport/config.h"
#include "simlink/transport/session.h"
#include "support/fixture.h"
#include "transport_support.h"

namespace {

class TransportConfig : public TransportTest {
protected:
    void SetUp() override {
        TransportTest::SetUp();
        gf_setSimConnectCfgFolders({root_ / "public", root_ / "documents", root_});
    }
};

TEST_F(TransportConfig, LaterFoldersOverrideEarlierOnesKeyByKey) {
    writeFile("public/SimConnect.cfg",
              "; the machine's settings\n[SimConnect]\nProtocol=IPv6\nAddress=sim-pc\nPort=500\nDisableNagle=1\n"
              "[SimConnect.2]\nProtocol=Pipe\nPort=Custom\n");
    writeFile("documents/SimConnect.cfg", "[simconnect]\r\nPORT = 501\r\nMaxReceiveSize=65536\r\n");
    writeFile("SimConnect.cfg",
              "[SimConnect.1]\nProtocol=IPv4\nAddress=127.0.0.1\nPort=4500\n[SimConnect]\nAddress=.\n");
    SimConnectConfig cfg;
    ASSERT_TRUE(gf_readSimConnectConfig(0, cfg));
    EXPECT_EQ(cfg.protocol, ScProtocol::IPv6);
    EXPECT_EQ(cfg.address, ".");
    EXPECT_EQ(cfg.port, "501");
    EXPECT_EQ(cfg.maxReceiveSize, 65536u);
    EXPECT_TRUE(cfg.disableNagle);
    ASSERT_TRUE(gf_readSimConnectConfig(1, cfg));
    EXPECT_EQ(cfg.protocol, ScProtocol::IPv4);
    EXPECT_EQ(cfg.address, "127.0.0.1");
    EXPECT_EQ(cfg.port, "4500");
    ASSERT_TRUE(gf_readSimConnectConfig(2, cfg));
    EXPECT_EQ(cfg.protocol, ScProtocol::Pipe);
    EXPECT_EQ(cfg.port, "Custom");
    EXPECT_FALSE(gf_readSimConnectConfig(7, cfg));
}

TEST_F(TransportConfig, MaxReceiveSizeOnlyRaisesTheLimitAndBadValuesAreNamed) {
    writeFile("SimConnect.cfg", "[SimConnect]\nMaxReceiveSize=1000\nProtocol=Carrier pigeon\n");
    SimConnectConfig cfg;
    ASSERT_TRUE(gf_readSimConnectConfig(0, cfg));
    EXPECT_EQ(cfg.maxReceiveSize, 41088u);
    EXPECT_EQ(cfg.protocol, ScProtocol::Auto);
    EXPECT_TRUE(logHas("unknown Protocol \"Carrier pigeon\""));
    writeFile("SimConnect.cfg", "[SimConnect]\nMaxReceiveSize=lots\n");
    ASSERT_TRUE(gf_readSimConnectConfig(0, cfg));
    EXPECT_EQ(cfg.maxReceiveSize, 41088u);
    EXPECT_TRUE(logHas("MaxReceiveSize \"lots\""));
}

// The bytes of a text in UTF-16, as Notepad saves "Unicode" (little endian) and "Unicode big endian".
std::string lf_utf16(const std::u16string& text, bool bigEndian, bool mark) {
    std::string out = mark ? (bigEndian ? "\xFE\xFF" : "\xFF\xFE") : "";
    for (char16_t c : text) {
        const char hi = static_cast<char>(c >> 8), lo = static_cast<char>(c & 0xFF);
        out += bigEndian ? std::string{hi, lo} : std::string{lo, hi};
    }
    return out;
}

TEST_F(TransportConfig, Utf16AndUtf8WithAMarkAreReadLikePlainText) {
    const std::u16string text = u"[SimConnect]\r\nProtocol=IPv4\r\nAddress=Z\u00FCrich-\u738B\r\nPort=5010\r\n";
    const std::pair<const char*, std::string> files[] = {
        {"UTF-16 LE with mark", lf_utf16(text, false, true)},
        {"UTF-16 BE with mark", lf_utf16(text, true, true)},
        {"UTF-16 LE without mark", lf_utf16(text, false, false)},
        {"UTF-8 with mark", "\xEF\xBB\xBF[SimConnect]\nProtocol=IPv4\nAddress=Z\xC3\xBCrich-\xE7\x8E\x8B\nPort=5010\n"},
    };
    for (const auto& [name, bytes] : files) {
        writeFile("SimConnect.cfg", bytes);
        SimConnectConfig cfg;
        ASSERT_TRUE(gf_readSimConnectConfig(0, cfg)) << name;
        EXPECT_EQ(cfg.protocol, ScProtocol::IPv4) << name;
        EXPECT_EQ(cfg.address, "Z\xC3\xBCrich-\xE7\x8E\x8B") << name;  // both bytes of a character count
        EXPECT_EQ(cfg.port, "5010") << name;
    }
}

TEST_F(TransportConfig, BrokenUtf16IsNamedInTheLogAndIgnored) {
    // A lone high surrogate, and an odd byte at the end.
    const std::pair<const char*, std::string> files[] = {
        {"lone surrogate", lf_utf16(u"[SimConnect]\r\nPort=5010\r\n", false, true) + std::string("\x00\xD8", 2)},
        {"odd length", lf_utf16(u"[SimConnect]\r\nPort=5010\r\n", false, true) + "x"},
    };
    for (const auto& [name, bytes] : files) {
        writeFile("SimConnect.cfg", bytes);
        SimConnectConfig cfg;
        EXPECT_TRUE(gf_readSimConnectConfig(0, cfg)) << name;  // index 0 falls back to the defaults
        EXPECT_EQ(cfg.port, "") << name;
        EXPECT_TRUE(logHas("SimConnect.cfg\" looks like UTF-16 text but is not")) << name;
    }
}

TEST_F(TransportConfig, OpenWithAMissingSectionIsABadArgument) {
    HANDLE h = nullptr;
    EXPECT_EQ(SimConnect_Open(&h, "ZARK_P3D", nullptr, 0, nullptr, 4), E_INVALIDARG);
    EXPECT_EQ(h, nullptr);
    EXPECT_TRUE(logHas("no section [SimConnect.4]"));
}

TEST_F(TransportConfig, NothingToTryIsLoggedOnceAndFails) {
#ifdef _WIN32
    GTEST_SKIP() << "Windows always has the simulator's local named pipe to try";
#endif
    HANDLE h = nullptr;
    EXPECT_EQ(SimConnect_Open(&h, "ZARK_P3D", nullptr, 0, nullptr, 0), E_FAIL);
    EXPECT_EQ(SimConnect_Open(&h, "ZARK_P3D", nullptr, 0, nullptr, 0), E_FAIL);
    const std::string note = "SimConnect: nothing to connect to";
    const auto count = [&] {
        const std::string log = logText();
        size_t n = 0;
        for (size_t at = log.find(note); at != std::string::npos; at = log.find(note, at + 1)) ++n;
        return n;
    };
    EXPECT_EQ(count(), 1u);
    {  // a connection between two outages: the second is told again
        RecordingServer server;
        InProcessScope scope(server);
        ASSERT_EQ(SimConnect_Open(&h, "ZARK_P3D", nullptr, 0, nullptr, 0), S_OK);
        SimConnect_Close(h);
    }
    EXPECT_EQ(SimConnect_Open(&h, "ZARK_P3D", nullptr, 0, nullptr, 0), E_FAIL);
    EXPECT_EQ(count(), 2u);
}

}  // namespace
