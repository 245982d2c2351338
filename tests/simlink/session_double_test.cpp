// The session against the simulator double: in process, with client, SimClient and simulator stepped
// together; and once over real TCP loopback against the double's executable.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <thread>

#ifndef _WIN32
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

#include "frame/core/message.h"
#include "frame/core/panel.h"
#include "frame/core/params.h"
#include "frame/core/runstate.h"
#include "session_support.h"
#include "simlink/transport/config.h"
#include "tools/simdouble/simdouble.h"

namespace {

// Puts the double behind the in-process transport and writes down every packet it is given.
class RecordedDouble : public InProcessServer {
public:
    explicit RecordedDouble(simdouble::SimDouble& sim) : sim_(sim) {}
    std::unique_ptr<InProcessConnection> connect(InProcessClient& client) override {
        return std::make_unique<Link>(*this, client);
    }
    std::vector<std::string> lines;
    uint32_t lastSerial = 0;

private:
    class Link : public InProcessConnection, public simdouble::Peer {
    public:
        Link(RecordedDouble& owner, InProcessClient& client) : owner_(owner), client_(&client) {
            id_ = owner_.sim_.addConnection(this);
        }
        ~Link() override {
            if (client_) owner_.sim_.removeConnection(id_);
        }
        void fromClient(const uint8_t* data, size_t n) override {
            owner_.lines.push_back(gf_describePacket(data, n, &owner_.lastSerial));
            owner_.sim_.receive(id_, data, n);
        }
        void clientClosed() override {
            client_ = nullptr;
            owner_.sim_.removeConnection(id_);
        }
        void send(const uint8_t* data, size_t n) override {
            if (client_) client_->toClient(data, n);
        }
        void close(bool) override {
            if (client_) client_->drop();
        }

    private:
        RecordedDouble& owner_;
        InProcessClient* client_;
        uint32_t id_ = 0;
    };
    simdouble::SimDouble& sim_;
};

class DoubleTest : public ZarkTest {
protected:
    void SetUp() override {
        ZarkTest::SetUp();
        SIM_INSTALL_PATH.current = "D:\\Lockheed Martin\\Prepar3D v5";
        scenario_.createDelayMs = 300;
        scenario_.titles = {"FSPXAI B738 Lufthansa"};
    }
    void TearDown() override {
        gf_resetSimlink();
        gf_setInProcessServer(nullptr);
        ZarkTest::TearDown();
    }
    void start() {
        sim_ = std::make_unique<simdouble::SimDouble>(scenario_);
        link_ = std::make_unique<RecordedDouble>(*sim_);
        gf_setInProcessServer(link_.get());
        ASSERT_TRUE(gf_openSimConnect());
    }
    // Simulator time and SimClient together, one millisecond at a time as the thread would turn.
    bool runMs(int64_t ms) {
        for (int64_t i = 0; i < ms; ++i) {
            sim_->advance(1);
            if (!gf_simClientStep()) return false;
        }
        return true;
    }
    // Runs until `done` holds, at most `ms` milliseconds of simulator time.
    bool runUntil(const std::function<bool()>& done, int64_t ms = 5000) {
        for (int64_t i = 0; i < ms && !done(); ++i)
            if (!runMs(1)) return false;
        return done();
    }
    std::vector<SimEvent> events_;
    bool eventOfKind(uint32_t kind) {
        for (const SimEvent& e : gf_takeSimEvents()) events_.push_back(e);
        for (const SimEvent& e : events_)
            if (e.kind == kind) return true;
        return false;
    }
    const SimEvent* firstOfKind(uint32_t kind) const {
        for (const SimEvent& e : events_)
            if (e.kind == kind) return &e;
        return nullptr;
    }

    simdouble::Scenario scenario_;
    std::unique_ptr<simdouble::SimDouble> sim_;
    std::unique_ptr<RecordedDouble> link_;
};

TEST_F(DoubleTest, TheDoubleAcceptsTheWholeSetupInItsOrder) {
    start();
    EXPECT_EQ(link_->lines, gf_expectedSetupLines());
    ASSERT_TRUE(runMs(100));
    EXPECT_TRUE(sim_->exceptions().empty()) << "every definition, mapping and group entry was understood";
    EXPECT_TRUE(panel.simConnected);
    EXPECT_EQ(panel.simText.get(), "Lockheed Martin Prepar3D v5 (5.4.9.28482)");
}

TEST_F(DoubleTest, AWrongSimulatorOrAMismatchEndsSimClient) {
    scenario_.applicationName = "KittyHawk";
    start();
    EXPECT_FALSE(runMs(10));
    EXPECT_NE(gf_messageLine().error.find("78"), std::string::npos) << gf_messageLine().error;
    gf_resetSimlink();
    gf_clearErrorAndMessage();
    scenario_.applicationName = "Lockheed Martin Prepar3D v5";
    scenario_.versionMismatch = true;
    start();
    EXPECT_FALSE(runMs(10));
    EXPECT_NE(gf_messageLine().error.find("95"), std::string::npos) << gf_messageLine().error;
}

TEST_F(DoubleTest, TheUserAircraftDrivesTheTickAndIsTracked) {
    start();
    gf_requestUserNames();
    gf_requestOnGroundEachSecond();
    ASSERT_TRUE(runUntil([] { return !user.userTitle.empty() && user.userHalfSpan.has_value(); }));
    EXPECT_EQ(user.userTitle, "Lockheed Martin C-130");
    EXPECT_EQ(user.userModel, "C130");
    UserSnapshot snapshot;
    gf_requestUserSnapshot(snapshot);
    ASSERT_TRUE(runUntil([] { return simlink.userObjectId != 0; }));
    gf_requestUserSnapshot(snapshot);
    EXPECT_NEAR(snapshot.latitude, 47.4647, 1e-9);
    EXPECT_NEAR(snapshot.longitude, 8.5492, 1e-9);
    EXPECT_EQ(simlink.userObjectId, scenario_.userObjectId);
    EXPECT_EQ(user.simEpoch.load() / 86400, 1767268800 / 86400) << "the simulated day";
    run.tickPending = false;
    ASSERT_TRUE(runUntil([] { return run.tickPending.load(); }, 1100)) << "a tick within a simulated second";
    EXPECT_TRUE(user.userOnGroundKnown);
    EXPECT_TRUE(user.userOnGround);
    ASSERT_TRUE(runMs(1000));
    EXPECT_NEAR(simlink.frameRate, 30.0f, 0.5f) << "refreshed every 30th frame";
}

TEST_F(DoubleTest, AnObjectIsCreatedFrozenMovedAndRemoved) {
    start();
    UserSnapshot snapshot;
    gf_requestUserSnapshot(snapshot);
    ASSERT_TRUE(runUntil([] { return simlink.userObjectId != 0; }));

    CreateRequest request;
    request.initPosition = {47.4600, 8.5500, 1416.0, 0.0, 0.0, 120.0, 1, 0};
    request.tail = "SWR12A";
    request.title = "FSPXAI B738 Lufthansa";
    request.hexid = 0x4B1815;
    gf_queueCreate(request);
    CreateRequest unknown = request;
    unknown.title = "No Such Livery";
    unknown.tail = "EZS99";
    unknown.hexid = 0x4B1816;
    gf_queueCreate(unknown);

    ASSERT_TRUE(runUntil([] { return simQueues.addedObjects.size() == 1; }));
    gf_requestAircraftInRange();
    ASSERT_TRUE(runUntil([this] { return eventOfKind(kSimLiveCreated) && eventOfKind(kSimCreateFailed); }));
    const SimEvent created = *firstOfKind(kSimLiveCreated);
    EXPECT_EQ(created.hexid, 0x4B1815u);
    EXPECT_EQ(firstOfKind(kSimCreateFailed)->hexid, 0x4B1816u);
    ASSERT_TRUE(runMs(100));
    const simdouble::SimObject* object = sim_->object(created.objectId);
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(object->tail, "SWR12A");
    EXPECT_TRUE(object->released);
    EXPECT_TRUE(object->freezeLatLon && object->freezeAltitude && object->freezeAttitude);

    PositionUpdate p;
    p.objectId = created.objectId;
    p.latitude = 47.4610;
    p.longitude = 8.5510;
    p.altitude = 1416.0;
    p.heading = 2.0;
    gf_pushPosition(p);
    lf_swapOutboundPositions();
    ASSERT_TRUE(runMs(50));
    EXPECT_NEAR(sim_->object(created.objectId)->latitude, 47.4610, 1e-9);
    EXPECT_NEAR(sim_->object(created.objectId)->longitude, 8.5510, 1e-9);

    gf_queueRemove(created.objectId);
    ASSERT_TRUE(runUntil([this] { return eventOfKind(kSimRemoved); }));
    EXPECT_EQ(firstOfKind(kSimRemoved)->objectId, created.objectId);
    EXPECT_NE(sim_->object(created.objectId)->removedMs, -1);
}

#ifndef _WIN32
// The double's executable, serving on a free loopback port; ended with the test.
class DoubleProcess {
public:
    explicit DoubleProcess(const std::filesystem::path& exe) {
        int fds[2];
        if (pipe(fds) != 0) return;
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, fds[1], 1);
        posix_spawn_file_actions_addclose(&actions, fds[0]);
        const std::string path = exe.string();
        char* argv[] = {const_cast<char*>(path.c_str()), const_cast<char*>("--port"), const_cast<char*>("0"), nullptr};
        const bool spawned = posix_spawn(&pid_, path.c_str(), &actions, nullptr, argv, environ) == 0;
        posix_spawn_file_actions_destroy(&actions);
        close(fds[1]);
        if (!spawned) {
            pid_ = -1;
            close(fds[0]);
            return;
        }
        // The first line names the IPv4 port: "simdouble: "..." listening on [127.0.0.1]:PORT".
        out_ = fdopen(fds[0], "r");
        char line[512];
        if (out_ && fgets(line, sizeof line, out_)) {
            const std::string text(line);
            const auto at = text.find("[127.0.0.1]:");
            if (at != std::string::npos) port = std::atoi(text.c_str() + at + 12);
        }
    }
    ~DoubleProcess() {
        if (pid_ > 0) {
            kill(pid_, SIGTERM);
            int status = 0;
            waitpid(pid_, &status, 0);
        }
        if (out_) fclose(out_);
    }
    int port = 0;

private:
    pid_t pid_ = -1;
    FILE* out_ = nullptr;
};

#endif

class TcpSessionTest : public ZarkTest {
protected:
    void TearDown() override {
        gf_resetSimlink();
        gf_setSimConnectCfgFolders({});
        ZarkTest::TearDown();
    }
    // Real time passes on a real connection: wait for `done`, at most `seconds`.
    static bool waitFor(const std::function<bool()>& done, int seconds = 10) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
        while (!done()) {
            if (std::chrono::steady_clock::now() > deadline) return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        return true;
    }
    std::vector<SimEvent> events_;
    const SimEvent* kindSeen(uint32_t kind) {
        for (const SimEvent& e : gf_takeSimEvents()) events_.push_back(e);
        for (const SimEvent& e : events_)
            if (e.kind == kind) return &e;
        return nullptr;
    }
};

#ifdef _WIN32
TEST_F(TcpSessionTest, ARunOverLoopbackAgainstTheDoublesExecutable) {
    GTEST_SKIP() << "starts the double's executable with posix_spawn; under Windows the transport tests serve "
                    "TCP and the named pipe from the double in process";
}
#else
TEST_F(TcpSessionTest, ARunOverLoopbackAgainstTheDoublesExecutable) {
    const std::filesystem::path exe = gf_binaryDir() / "tools" / "simdouble" / "simdouble";
    if (!std::filesystem::exists(exe)) GTEST_SKIP() << "build the target simdouble first";
    DoubleProcess simulator(exe);
    ASSERT_GT(simulator.port, 0);
    writeFile("SimConnect.cfg",
              fmt::format("[SimConnect]\nProtocol=IPv4\nAddress=127.0.0.1\nPort={}\n", simulator.port));
    gf_setSimConnectCfgFolders({root_});
    SIM_INSTALL_PATH.current = "D:\\Lockheed Martin\\Prepar3D v5";

    gf_startSimClient();
    ASSERT_TRUE(waitFor([] { return panel.simConnected.load(); })) << logText();
    EXPECT_EQ(run.activeThreads, 1);
    gf_requestOnGroundEachSecond();
    ASSERT_TRUE(waitFor([] { return run.tickPending.load(); }));
    ASSERT_TRUE(waitFor([] {
        UserSnapshot snapshot;
        gf_requestUserSnapshot(snapshot);
        return simlink.userObjectId != 0;
    }));

    CreateRequest request;
    request.initPosition = {47.4600, 8.5500, 1416.0, 0.0, 0.0, 120.0, 1, 0};
    request.tail = "SWR12A";
    request.title = "FSPXAI B738 Swiss";
    request.hexid = 0x4B1815;
    gf_queueCreate(request);
    const SimEvent* created = nullptr;
    ASSERT_TRUE(waitFor([&] {
        gf_requestAircraftInRange();
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        created = kindSeen(kSimLiveCreated);
        return created != nullptr;
    }));
    const uint32_t objectId = created->objectId;
    EXPECT_GT(objectId, simlink.userObjectId.load());
    EXPECT_EQ(created->hexid, 0x4B1815u);

    gf_queueRemove(objectId);
    const SimEvent* removed = nullptr;
    ASSERT_TRUE(waitFor([&] { return (removed = kindSeen(kSimRemoved)) != nullptr; }));
    EXPECT_EQ(removed->objectId, objectId);

    run.exitInProgress = true;  // as the exit does before it stops SimClient
    gf_stopSimClient();
    EXPECT_FALSE(panel.simConnected);
    EXPECT_EQ(simlink.hSimConnect, nullptr);
    EXPECT_EQ(run.activeThreads, 0);
    EXPECT_TRUE(exitRequests_.empty());
}
#endif

}  // namespace
