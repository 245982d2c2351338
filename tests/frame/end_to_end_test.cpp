// The real executable against both doubles over loopback: a short run from start to the close button.
// Linux drives it: the Windows build's ZARK_P3D.exe runs here under Wine (ZARK_E2E_WINDOWS_BUILD).
#include <gtest/gtest.h>

#ifdef _WIN32
TEST(EndToEnd, ARunAgainstBothDoublesFromStartToTheCloseButton) {
    GTEST_SKIP() << "the doubles are Linux executables: the Linux build runs this test against ZARK_P3D.exe "
                    "under Wine (ZARK_E2E_WINDOWS_BUILD)";
}
#else
#include <netinet/in.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <regex>
#include <sstream>
#include <thread>

#include "support/fixture.h"

extern char** environ;

namespace fs = std::filesystem;
using namespace std::chrono_literals;

namespace {

int lf_freePort() {
    const int s = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ::bind(s, reinterpret_cast<sockaddr*>(&a), sizeof a);
    socklen_t len = sizeof a;
    ::getsockname(s, reinterpret_cast<sockaddr*>(&a), &len);
    ::close(s);
    return ntohs(a.sin_port);
}

std::string lf_read(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

// Starts a program in `dir` with extra environment entries; its output goes to `out`.
pid_t lf_spawn(const fs::path& dir, const std::vector<std::string>& args, const std::vector<std::string>& env,
               const fs::path& out) {
    const pid_t pid = fork();
    if (pid == 0) {
        ::chdir(dir.c_str());
        FILE* f = std::fopen(out.c_str(), "w");
        if (f) {
            ::dup2(fileno(f), 1);
            ::dup2(fileno(f), 2);
        }
        for (const std::string& e : env) ::putenv(const_cast<char*>(e.c_str()));
        std::vector<char*> argv;
        for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
        argv.push_back(nullptr);
        ::execv(argv[0], argv.data());
        _exit(127);
    }
    return pid;
}

int lf_waitExit(pid_t pid, std::chrono::seconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    int status = 0;
    while (std::chrono::steady_clock::now() < end) {
        if (::waitpid(pid, &status, WNOHANG) == pid) return WIFEXITED(status) ? WEXITSTATUS(status) : -2;
        std::this_thread::sleep_for(50ms);
    }
    ::kill(pid, SIGKILL);
    ::waitpid(pid, &status, 0);
    return -3;
}

}  // namespace

// The Windows build named by ZARK_E2E_WINDOWS_BUILD, if any: then the program is its ZARK_P3D.exe under
// Wine ($WINE and $WINEPREFIX of scripts/wine-env.sh), against the same Linux doubles.
fs::path lf_windowsBuild() {
    const char* dir = std::getenv("ZARK_E2E_WINDOWS_BUILD");
    return dir && *dir ? fs::path(dir) : fs::path();
}

// The roaming app-data folder of the Wine prefix's user.
fs::path lf_wineAppData() {
    const char* prefix = std::getenv("WINEPREFIX");
    if (!prefix) return {};
    for (const auto& user : fs::directory_iterator(fs::path(prefix) / "drive_c" / "users"))
        if (user.path().filename() != "Public") return user.path() / "AppData" / "Roaming";
    return {};
}

// Lays out an install folder, starts both doubles and the program; the test decides when to close it.
// Under Wine the install folder's name has a space and a letter outside ASCII, as users' folders do.
class EndToEnd : public ::testing::Test {
protected:
    void start(const std::string& license) {
        bin_ = gf_binaryDir();
        windows_ = lf_windowsBuild();
        const fs::path zark = windows_.empty() ? bin_ / "ZARK_P3D" : windows_ / "ZARK_P3D.exe";
        const fs::path simdouble = bin_ / "tools" / "simdouble" / "simdouble";
        const fs::path trafficdouble = bin_ / "tools" / "trafficdouble" / "trafficdouble";
        for (const fs::path& p : {zark, simdouble, trafficdouble}) ASSERT_TRUE(fs::exists(p)) << p;
        const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
        const std::string stem = windows_.empty() ? "zark-e2e-" : "zark e2e Z\xC3\xBCrich-";
        dir_ = fs::temp_directory_path() / (stem + std::to_string(::getpid()) + "-" + info->name());
        appData_ = windows_.empty() ? dir_ / "appdata" : lf_wineAppData();
        ASSERT_FALSE(appData_.empty()) << "no Wine prefix (WINEPREFIX)";
        fs::remove_all(dir_);
        fs::remove_all(appData_ / "ZARK_P3D");
        fs::create_directories(dir_ / "docs");
        fs::create_directories(appData_ / "ZARK_P3D");
        fs::create_directories(dir_ / "Prepar3D v5" / "Scenery");
        fs::copy(bin_ / "install" / "input", dir_ / "input", fs::copy_options::recursive);
        fs::copy(bin_ / "install" / "output", dir_ / "output", fs::copy_options::recursive);
        const int simPort = lf_freePort();
        rtPort_ = lf_freePort();
        std::ofstream(dir_ / "SimConnect.cfg")
            << "[SimConnect]\nProtocol=IPv4\nAddress=127.0.0.1\nPort=" << simPort << "\n";
        std::ofstream(dir_ / "RealTrafficKey.json") << "{\"license\": \"" << license << "\"}\n";
        // Wine shows the Linux file system as drive Z:.
        const std::string simPath = (windows_.empty() ? "" : "Z:") + (dir_ / "Prepar3D v5").string();
        // The liveries come from the install's LiveriesScanned.xml: no scan of the (empty) simulator.
        std::ofstream(appData_ / "ZARK_P3D" / "parameters.xml")
            << "<?xml version=\"1.0\"?>\n<parameters>\n\t<parameter name=\"SIM_INSTALL_PATH\" value=\"" << simPath
            << "\" />\n\t<parameter name=\"SCAN_LIVERIES\" value=\"false\" />\n</parameters>\n";
        sim_ = lf_spawn(dir_,
                        {simdouble.string(), "--scenario", (gf_sourceDir() / "data/demo/simulator_lszh.json").string(),
                         "--port", std::to_string(simPort), "--export", (dir_ / "record.json").string()},
                        {}, dir_ / "simdouble.out");
        rt_ = lf_spawn(dir_,
                       {trafficdouble.string(), "--port", std::to_string(rtPort_), "--scenario",
                        (gf_sourceDir() / "data/tracks/LSZH_scenario.json").string(), "--rrl", "1000"},
                       {}, dir_ / "trafficdouble.out");
        std::this_thread::sleep_for(500ms);
        const std::string url = "ZARK_RT_URL=http://127.0.0.1:" + std::to_string(rtPort_);
        const std::string xdg = "XDG_CONFIG_HOME=" + (dir_ / "appdata").string();
        const std::string noUpdates = "ZARK_UPDATE_URL=http://127.0.0.1:9/downloads/";  // nothing listens there
        if (windows_.empty())
            program_ = lf_spawn(dir_, {zark.string()}, {url, xdg, noUpdates}, dir_ / "zark.out");
        else
            program_ = lf_spawn(dir_, {lf_wine(), zark.string()}, {url, noUpdates}, dir_ / "zark.out");
    }
    static std::string lf_wine() {
        const char* wine = std::getenv("WINE");
        return wine ? wine : "/usr/lib/wine/wine64";
    }
    // The close button: SIGINT to the headless Linux program, a WM_CLOSE to the window under Wine.
    void pressClose() {
        if (windows_.empty()) {
            ::kill(program_, SIGINT);
            return;
        }
        // A Wine process can fail to start while Wine still updates its prefix: a second try then.
        int code = -1;
        for (int attempt = 0; attempt < 3 && code != 0; ++attempt) {
            const pid_t closer =
                lf_spawn(dir_, {lf_wine(), (windows_ / "tools" / "closewindow" / "closewindow.exe").string()}, {},
                         dir_ / "closewindow.out");
            code = lf_waitExit(closer, 60s);
        }
        EXPECT_EQ(code, 0) << lf_read(dir_ / "closewindow.out");
    }
    // Waits until the log holds `text` (at most `limit`); returns the log.
    std::string waitForLog(const std::string& text, std::chrono::seconds limit) {
        std::string log;
        const auto until = std::chrono::steady_clock::now() + limit;
        while (std::chrono::steady_clock::now() < until) {
            log = lf_read(dir_ / "Log.txt");
            if (log.find(text) != std::string::npos) break;
            std::this_thread::sleep_for(200ms);
        }
        return log;
    }
    // Ends the doubles; returns the traffic double's request log.
    std::string stopDoubles() {
        ::kill(sim_, SIGINT);
        lf_waitExit(sim_, 10s);
        const pid_t curl =
            lf_spawn(dir_, {"/usr/bin/curl", "-s", "http://127.0.0.1:" + std::to_string(rtPort_) + "/control/requests"},
                     {}, dir_ / "requests.json");
        lf_waitExit(curl, 10s);
        ::kill(rt_, SIGTERM);
        lf_waitExit(rt_, 10s);
        return lf_read(dir_ / "requests.json");
    }
    void TearDown() override {
        if (!HasFailure() && !dir_.empty()) fs::remove_all(dir_);
        if (!HasFailure() && !windows_.empty() && !appData_.empty()) fs::remove_all(appData_ / "ZARK_P3D");
    }
    fs::path bin_, dir_, windows_, appData_;
    int rtPort_ = 0;
    pid_t sim_ = 0, rt_ = 0, program_ = 0;
};

TEST_F(EndToEnd, ARunAgainstBothDoublesFromStartToTheCloseButton) {
    start("end-to-end-key");
    std::string log = waitForLog("Traffic Reader connected", 40s);
    std::this_thread::sleep_for(5s);  // ticks and snapshots
    const long long closedAt =
        std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch()).count();
    pressClose();
    const int code = lf_waitExit(program_, 40s);
    const std::string requests = stopDoubles();
    const fs::path dir = dir_;
    log = lf_read(dir / "Log.txt");
    EXPECT_EQ(code, 0) << lf_read(dir / "zark.out");
    for (const char* line : {"Prepar3D v5 (5.4.9.28482) connected", "SimConnect: User aircraft model: A320",
                             "Authenticated at RT server", "Weather Reader connected", "Traffic Reader connected"})
        EXPECT_NE(log.find(line), std::string::npos) << line << "\n" << log;
    // The exit sequence, in its order.
    size_t at = 0;
    for (const char* step : {"Close window button clicked, closing ZARK_P3D ...", "Exiting: USER CLOSED SIM",
                             "User closed ZARK_P3D", "ZARK_P3D ends at "}) {
        at = log.find(step, at);
        ASSERT_NE(at, std::string::npos) << step;
    }
    EXPECT_EQ(log.find("Error "), std::string::npos) << log;
    // The simulator's folder is found under its real name, letters outside ASCII and the code page too.
    EXPECT_EQ(log.find("Stock airports path does not exist"), std::string::npos) << log;

    // The service saw traffic requests and the logout.
    const nlohmann::json seen = nlohmann::json::parse(requests.empty() ? "[]" : requests, nullptr, false);
    ASSERT_TRUE(seen.is_array()) << requests;
    int traffic = 0, deauth = 0;
    for (const auto& r : seen) {
        if (r.value("path", "") == "/v4/traffic" && r.value("status", 0) == 200) ++traffic;
        if (r.value("path", "") == "/v4/deauth") ++deauth;
        EXPECT_FALSE(r.value("too_fast", false)) << r.dump();  // never faster than rrl
    }
    EXPECT_GE(traffic, 2);
    EXPECT_EQ(deauth, 1);

    // The time of the last visit of the service is kept for the next start, and it is not in the future.
    const std::string params = lf_read(appData_ / "ZARK_P3D" / "parameters.xml");
    std::smatch m;
    ASSERT_TRUE(std::regex_search(params, m, std::regex("name=\"LAST_EPOCH_TIME\" value=\"(\\d+)\""))) << params;
    const long long stored = std::stoll(m[1].str());
    const long long now =
        std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch()).count();
    EXPECT_LE(stored, now);
    EXPECT_GE(stored, closedAt);  // written at the logout, not only when the loop began

    // Nothing of ours is left in the simulator.
    const nlohmann::json record = nlohmann::json::parse(lf_read(dir / "record.json"), nullptr, false);
    ASSERT_TRUE(record.is_object());
    for (const auto& o : record["objects"])
        if (o.value("id", 0) != 1) {
            EXPECT_GE(o.value("removedMs", -1), 0) << o.dump();
        }
}

TEST_F(EndToEnd, ARefusedLoginEndsTheRunWithASystemError) {
    start("EXPIRED-KEY");  // the service refuses it with 402
    const std::string log = waitForLog(" ends at ", 60s);
    const int code = lf_waitExit(program_, 20s);
    stopDoubles();
    EXPECT_EQ(code, 0);
    EXPECT_NE(log.find("The RealTraffic service refused the login with status 402"), std::string::npos) << log;
    EXPECT_NE(log.find("Exiting: SYSTEM ERROR"), std::string::npos) << log;
    EXPECT_EQ(log.find("Traffic Reader connected"), std::string::npos);
}

// A flight loaded in the simulator restarts the run after its countdown of 30 seconds; the next run opens
// a session of its own, serves ticks and offers traffic again, and the close button then ends the process.
TEST_F(EndToEnd, AFlightLoadRestartsTheRunAndTheNextRunServesTrafficAgain) {
    start("end-to-end-key");
    const auto count = [](const std::string& text, const std::string& what) {
        size_t n = 0;
        for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++n;
        return n;
    };
    const std::string connected = "Traffic Reader connected";
    waitForLog(connected, 40s);
    std::this_thread::sleep_for(5s);  // ticks and snapshots of the first run
    ::kill(sim_, SIGUSR1);            // the user loads a flight
    std::string log;
    const auto until = std::chrono::steady_clock::now() + 90s;
    while (count(log, connected) < 2 && std::chrono::steady_clock::now() < until) {
        std::this_thread::sleep_for(500ms);
        log = lf_read(dir_ / "Log.txt");
    }
    EXPECT_EQ(count(log, connected), 2u) << log;  // goes on to the close either way: nothing is left running
    std::this_thread::sleep_for(5s);              // the second run's ticks and snapshots
    ::kill(program_, SIGINT);
    const int code = lf_waitExit(program_, 40s);
    stopDoubles();
    log = lf_read(dir_ / "Log.txt");
    EXPECT_EQ(code, 0) << lf_read(dir_ / "zark.out");
    EXPECT_NE(log.find("New file loaded"), std::string::npos);
    EXPECT_NE(log.find("Exiting: RESTART\n"), std::string::npos);
    EXPECT_NE(log.find("Exiting: USER CLOSED SIM\n"), std::string::npos);
    EXPECT_EQ(log.find("request ac gnd/air fails"), std::string::npos) << log;
    const std::regex served("This run served (\\d+) ticks? and offered (\\d+) traffic records?");
    std::vector<std::pair<int, int> > runs;
    for (std::sregex_iterator it(log.begin(), log.end(), served), end; it != end; ++it)
        runs.emplace_back(std::stoi((*it)[1].str()), std::stoi((*it)[2].str()));
    ASSERT_EQ(runs.size(), 2u) << log;
    for (const auto& [ticks, offered] : runs) {
        EXPECT_GT(ticks, 0) << log;
        EXPECT_GT(offered, 0) << log;
    }
}
#endif
