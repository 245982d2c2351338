// An aircraft with a route gets a plan document that the simulator takes; the file lives as long as its
// object, and the folder goes at the end of the run.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "engine/flightplans.h"
#include "engine/records.h"
#include "engine/state.h"
#include "engine_support.h"
#include "liveries/dbase.h"
#include "support/fixture.h"
#include "tools/harness/harness.h"

namespace fs = std::filesystem;

namespace {

class FlightPlanTest : public EngineTest {
protected:
    // The harness reads the real database, which outlives a reset as it outlives a restart.
    void TearDown() override {
        gf_clearDbase();
        EngineTest::TearDown();
    }
    // A text stream ends the lines in the system's way: CR LF on Windows.
    std::string readText(const fs::path& p) const {
        std::string text = readFile(p);
        std::erase(text, '\r');
        return text;
    }
};

TEST_F(FlightPlanTest, TheDocumentNamesTheRouteAndFliesAirlinersOnInstruments) {
    struct Case {
        ModelCategory category;
        const char* type;
    };
    const Case cases[] = {{ModelCategory::Light, "VFR"},    {ModelCategory::Buzjets, "IFR"},
                          {ModelCategory::Large, "IFR"},    {ModelCategory::Heavy, "IFR"},
                          {ModelCategory::HighPerf, "VFR"}, {ModelCategory::Rotorcraft, "VFR"}};
    Act act;
    act.from = "LSZH";
    act.to = "LFPG";
    for (const Case& c : cases) {
        act.category = c.category;
        ASSERT_TRUE(gf_writeFlightPlan("plan.pln", act));
        EXPECT_EQ(readText("plan.pln"),
                  std::string("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                              "<SimBase.Document Type=\"AceXML\" version=\"4,3\">\"\n"
                              "<FlightPlan.FlightPlan>\n<FPType>") +
                      c.type +
                      "</FPType>\n<DepartureID>LSZH</DepartureID>\n<DestinationID>LFPG</DestinationID>\n"
                      "</FlightPlan.FlightPlan>\n</SimBase.Document>\n");
    }
    EXPECT_FALSE(gf_writeFlightPlan("no/such/folder/plan.pln", act));
}

TEST_F(FlightPlanTest, NoRouteNoPlanAndARefusedPlanLeavesTheAircraftFlying) {
    ASSERT_TRUE(gf_makeFlightPlanFolder());
    EXPECT_EQ(engine.flightPlanFolder, appData_ / "ZARK_P3D" / "orig_dest");
    struct Case {
        const char* from;
        const char* to;
        bool tried;
    };
    const Case cases[] = {{"", "", false}, {"LSZH", "", false}, {"", "LFPG", false}, {"LSZH", "LFPG", true}};
    uint32_t objectId = 40;
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.from) + "->" + c.to);
        ++objectId;
        Act& act = liveAct(record(0x4b1000 + objectId, 1000.0, 10), ActPhase::Airborne, objectId);
        act.from = c.from;
        act.to = c.to;
        lf_giveFlightPlan(act);
        // No session here: the simulator can't take it.
        EXPECT_FALSE(act.hasPlanFile);
        EXPECT_EQ(fs::exists(engine.flightPlanFolder / (std::to_string(objectId) + ".pln")), c.tried);
        EXPECT_EQ(logHas("creating a flight plan failed !"), c.tried) << logText();
    }
    EXPECT_TRUE(gf_removeFlightPlanFolder());
    EXPECT_FALSE(fs::exists(engine.flightPlanFolder));
    EXPECT_TRUE(fs::exists(appData_ / "ZARK_P3D"));
}

TEST_F(FlightPlanTest, TheSimulatorHoldsThePlanOfEachObjectWithARouteUntilTheObjectGoes) {
    harness::Harness h(harness::gf_zurichOptions(gf_sourceDir(), gf_binaryDir()));
    ASSERT_TRUE(gf_makeFlightPlanFolder());
    ASSERT_TRUE(h.start());
    const auto withPlan = [&h] {
        size_t n = 0;
        for (const simdouble::SimObject* o : h.aiObjects()) n += o->flightPlan.empty() ? 0 : 1;
        return n;
    };
    ASSERT_TRUE(h.runUntil([&] { return withPlan() >= 2; }, 5 * 60 * 1000));
    for (const simdouble::SimObject* o : h.aiObjects()) {
        if (o->flightPlan.empty()) continue;
        SCOPED_TRACE(o->tail);
        EXPECT_EQ(fs::path(o->flightPlan), engine.flightPlanFolder / (std::to_string(o->id) + ".pln"));
        const Act* act = gf_findActByObject(o->id);
        ASSERT_NE(act, nullptr);
        EXPECT_TRUE(act->hasPlanFile);
        EXPECT_NE(readFile(o->flightPlan).find("<DestinationID>" + act->to + "</DestinationID>"), std::string::npos);
    }
    ASSERT_TRUE(h.removeAllAndSettle());
    // Each object's removal took its file along; the folder stays until the end of the run.
    EXPECT_TRUE(fs::is_empty(engine.flightPlanFolder));
    EXPECT_FALSE(logHas("creating a flight plan failed !")) << logText();
}

}  // namespace
