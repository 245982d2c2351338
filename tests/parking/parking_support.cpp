#include "parking_support.h"

#include <filesystem>

#include "airports/state.h"
#include "engine/state.h"
#include "frame/core/params.h"
#include "liveries/dbase.h"
#include "liveries/liveries_file.h"
#include "liveries/state.h"
#include "parking/calculation.h"
#include "parking/state.h"

namespace fs = std::filesystem;

void ParkingTest::SetUp() {
    ZarkTest::SetUp();
    const fs::path install = gf_binaryDir() / "install";
    fs::create_directories("airports/archive/stock");
    fs::create_directories("input");
    fs::copy_file(install / "airports/archive/stock/LSZH.xml", "airports/archive/stock/LSZH.xml");
    fs::copy_file(install / "input/dbase.xml", "input/dbase.xml");
    gf_readDbase();
    liveries.liveryList = {{kGenericAirline, "A320", "Generic A320", "", 0, false},
                           {kGenericAirline, "B77W", "Generic B77W", "", 0, false}};
    gf_processScannedLiveries();
    gf_reserveEngineTables();
    airports.parkIcao = "LSZH";
    QualityPair q;
    ASSERT_EQ(gf_readApf(q, "airports/archive/stock/LSZH.xml"), "");
    setNow({3, 20});
    MAX_FIT.current = 0;
}

Stand& ParkingTest::stand(const std::string& name) {
    for (Stand& s : airports.stands)
        if (s.name == name) return s;
    ADD_FAILURE() << "no stand " << name;
    return airports.stands.front();
}

ParkPos& ParkingTest::addOption(Stand& s, const std::string& cs1, const std::string& cs2, uint32_t day,
                                std::initializer_list<uint32_t> halfHours, const std::string& type, bool soft) {
    ParkPos o;
    o.airl = cs1.substr(0, 3);
    o.type = type;
    o.cs1 = cs1;
    o.cs2 = cs2;
    o.day = day;
    for (const uint32_t h : halfHours) o.hh |= uint64_t{1} << h;
    o.optId = static_cast<uint32_t>(s.options.size() + 1);
    o.soft = soft;
    s.options.push_back(o);
    return s.options.back();
}

void ParkingTest::setNow(TimeOfWeek t) { gf_storeTimeOfWeek(t); }

void ParkingTest::createAll() {
    while (!parking.chosenPositions.empty()) gf_placeNextStatic();
    engine.staticCreationQueue.clear();
    uint32_t objectId = 5000;
    for (ParkedAc& p : engine.parked)
        if (p.state == ActState::Creating) {
            p.state = ActState::Live;
            p.objectId = ++objectId;
        }
}
