// tests/parking/parking_fixture.h — an install folder with the world airport table and the stock files
// of Zurich, Paris CDG and Toulouse (built from data/tracks by tools/mkairports), and a user aircraft that
// the test puts where it wants.
#pragma once

#include <filesystem>
#include <string>

#include "airports/airport_table.h"
#include "airports/state.h"
#include "common/geo.h"
#include "engine/act.h"
#include "frame/core/folders.h"
#include "simlink/user.h"
#include "support/fixture.h"

class ParkAirportTest : public ZarkTest {
protected:
    void SetUp() override {
        ZarkTest::SetUp();
        namespace fs = std::filesystem;
        const fs::path install = gf_binaryDir() / "install";
        fs::create_directories("input");
        fs::copy_file(install / folders::airportsXml, folders::airportsXml);
        fs::create_directories("airports/archive/stock");
        for (const char* icao : {"LSZH", "LFPG", "LFBO"}) {
            const fs::path file = fs::path("airports/archive/stock") / (std::string(icao) + ".xml");
            fs::copy_file(install / file, file);
        }
        gf_makeFolders();
        gf_clearAirportTable();
        ASSERT_TRUE(gf_readAirports());
    }
    void TearDown() override {
        gf_clearAirportTable();
        ZarkTest::TearDown();
    }

    // The user aircraft as the engine thread's copy of its snapshot shows it.
    static void userAt(LatLon p, bool onGround, double agl = 0.0) {
        user.userSnapshot.latitude = p.lat;
        user.userSnapshot.longitude = p.lon;
        user.userSnapshot.agl = agl;
        user.userOnGround = onGround;
        user.userOnGroundKnown = true;
    }
    static const Stand* stand(const std::string& name) {
        for (const Stand& s : airports.stands)
            if (s.name == name) return &s;
        return nullptr;
    }
    // A live aircraft of Swiss with registration and callsign.
    static Act swiss(uint32_t hexid, const std::string& reg, const std::string& callsign) {
        Act a;
        a.hexid = hexid;
        a.reg = reg;
        a.callsign = callsign;
        a.airline = "SWR";
        a.model = "A320";
        a.halfSpan = 17.0 / 1852.0;
        a.state = ActState::Live;
        return a;
    }
};
