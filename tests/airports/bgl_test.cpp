// The BGL reader against real add-on airports (checked by an independent decoder), the rules for
// stands it keeps or drops, and damaged files.
#include <cmath>
#include <fstream>
#include <map>
#include <numbers>
#include <sstream>

#include "airports/addon_scan.h"
#include "airports/bgl.h"
#include "airports/state.h"
#include "common/geo.h"
#include "support/fixture.h"
#include "tests/airports/bgl_builder.h"

namespace fs = std::filesystem;

namespace {

constexpr double kTwoPi = 2.0 * std::numbers::pi;

std::string lf_bytes(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

std::vector<BglAirport> lf_decode(const std::string& bytes, const std::string& path = "test.bgl") {
    std::vector<BglAirport> out;
    gf_decodeBglAirports(gf_bglWordsOf(bytes), path, [&](BglAirport& a) { out.push_back(a); });
    return out;
}

std::vector<std::string> lf_report() {
    const std::lock_guard lock(addonScan.reportLock);
    return addonScan.report;
}

bool lf_reportHas(const std::string& needle) {
    for (const std::string& l : lf_report())
        if (l.find(needle) != std::string::npos) return true;
    return false;
}

struct ExpectedRow {
    std::string icao, stand, kind;
    double lat, lon, headingDeg, radiusM;
};

// Rows of data/bgl/expected_stands.csv for one file.
std::vector<ExpectedRow> lf_expected(const std::string& file) {
    std::ifstream in(gf_sourceDir() / "data/bgl/expected_stands.csv");
    std::string line;
    std::getline(in, line);
    std::vector<ExpectedRow> rows;
    while (std::getline(in, line)) {
        std::vector<std::string> f;
        std::stringstream ss(line);
        for (std::string cell; std::getline(ss, cell, ',');) f.push_back(cell);
        if (f.size() != 8 || f[0] != file) continue;
        rows.push_back({f[1], f[2], f[7], std::stod(f[3]), std::stod(f[4]), std::stod(f[5]), std::stod(f[6])});
    }
    return rows;
}

TestAirport lf_withParkings(std::vector<TestParking> parkings, bool newForm = true) {
    TestAirport a;
    a.parkings = std::move(parkings);
    a.newForm = newForm;
    return a;
}

using BglTest = ZarkTest;

struct RealFile {
    const char* file;
    const char* icao;
    const char* name;
    int32_t altitudeFt;
    size_t stands;  // kept by the reader's rules
};

// Every stand the independent decoder lists, and that the rules keep, comes out with its name,
// position within 0.1 m, heading and radius; the rest are dropped.
TEST_F(BglTest, RealAddonAirportsGiveTheStandsOfAnIndependentDecoding) {
    const RealFile files[] = {
        {"KTST_TestAirport_v5.BGL", "KTST", "Testfield Regional", 654, 3},
        {"KTST_TestAirport_v6.bgl", "KTST", "Testfield Regional", 654, 3},
        {"LEAB_ADEP4_ARV187.bgl", "LEAB", "Albacete", 2300, 69},
        {"LEAB_ADEP5_ARV187.bgl", "LEAB", "Los Llanos", 2301, 69},
        {"LEAR_ADEX_ARV187.bgl", "LEAR", "Aerodromo de Argavirtual", 2461, 21},
        {"LEAR_ADEX_ARV187_GA.bgl", "LEAV", "Pista de aviaci\xc3\xb3n general de Argavirtual", 2461, 7},
        {"LEAB_ADEP5_ARV187_ALT.bgl", "LEAB", "Los Llanos", 2301, 0},
    };
    for (const RealFile& f : files) {
        SCOPED_TRACE(f.file);
        const fs::path path = gf_sourceDir() / "data/bgl" / f.file;
        ASSERT_TRUE(gf_bglHasAirports(path));
        const std::vector<BglAirport> airports = lf_decode(lf_bytes(path));
        ASSERT_EQ(airports.size(), 1u);
        const AirportFileData& a = airports[0].data;
        EXPECT_EQ(a.icao, f.icao);
        EXPECT_EQ(a.name, f.name);
        EXPECT_EQ(a.altitude, f.altitudeFt);
        std::map<std::string, const Stand*> byName;
        for (const Stand& s : a.stands) byName[s.name] = &s;
        size_t kept = 0;
        for (const ExpectedRow& r : lf_expected(f.file)) {
            const int type = r.kind == "heli" ? 0 : std::stoi(r.kind.substr(4));
            if (r.kind != "heli" && (type < 1 || type > 11 || r.radiusM <= 1.0 || r.radiusM >= 200.0)) {
                EXPECT_FALSE(byName.contains(r.stand)) << r.stand;
                continue;
            }
            ++kept;
            ASSERT_TRUE(byName.contains(r.stand)) << r.stand;
            const Stand& s = *byName[r.stand];
            EXPECT_LT(gf_distanceNm({s.latitude, s.longitude}, {r.lat, r.lon}) * 1852.0, 0.1) << r.stand;
            const double heading = r.headingDeg == 0.0 ? kTwoPi : r.headingDeg * std::numbers::pi / 180.0;
            EXPECT_NEAR(s.heading, heading, 1e-4) << r.stand;
            EXPECT_NEAR(s.radius / kMetresToNm, r.radiusM, 1e-3) << r.stand;
            EXPECT_EQ(s.heli, r.kind == "heli");
            EXPECT_EQ(s.ramp, type >= 1 && type < 8);
            EXPECT_EQ(s.cargo, type == 5);
        }
        EXPECT_EQ(kept, f.stands);
        EXPECT_EQ(a.stands.size(), f.stands);
    }
}

struct RuleCase {
    const char* what;
    TestAirport airport;
    std::vector<std::string> names;  // of the stands kept, in order
    const char* reportLine;          // a line the report must hold; "" none
};

TEST_F(BglTest, StandRulesOfTheParkingList) {
    const auto parking = [](uint32_t nameIndex, uint32_t number, float radius, uint32_t type = 8) {
        TestParking p;
        p.nameIndex = nameIndex;
        p.number = number;
        p.radius = radius;
        p.type = type;
        p.lat += number * 0.001;  // apart from each other
        return p;
    };
    TestParking withAirlines = parking(2, 5, 20);
    withAirlines.airlines = 3;
    TestParking nullBox = parking(10, 1, 20);
    nullBox.lat = 0.0005;
    nullBox.lon = 0.01;
    const std::vector<RuleCase> cases = {
        {"the widest of three stands of one id keeps it",
         lf_withParkings({parking(10, 12, 20), parking(10, 12, 30), parking(10, 12, 25)}),
         {"g12b", "g12", "g12a"},
         ""},
        {"radius limits are exclusive",
         lf_withParkings({parking(10, 1, 1.0f), parking(10, 2, 200.0f), parking(10, 3, 1.1f), parking(10, 4, 199.9f)}),
         {"g3", "g4"},
         "skipped position with radius 200.0 meters, in test.bgl"},
        {"name index 0 is the number alone; 12 and up a letter",
         lf_withParkings({parking(0, 7, 20), parking(12, 3, 20), parking(6, 9, 20)}),
         {"7", "A3", "sp9"},
         ""},
        {"types outside 1 to 11 are no stands",
         lf_withParkings({parking(10, 1, 20, 0), parking(10, 2, 20, 12)}),
         {},
         ""},
        {"the older form with airline codes behind the entries",
         lf_withParkings({withAirlines, parking(2, 6, 20)}, false),
         {"p5", "p6"},
         ""},
        {"more than six of one id",
         lf_withParkings(std::vector<TestParking>(8, parking(10, 1, 20))),
         {"g1", "g1a", "g1b", "g1c", "g1d", "g1e", "g1f"},
         "===> ===> Warning more then 6 the same ids g1, in test.bgl"},
        {"a position in the null box", lf_withParkings({nullBox}), {}, "incorrect (skipped)"},
    };
    for (const RuleCase& c : cases) {
        SCOPED_TRACE(c.what);
        gf_resetAirports();
        const std::vector<BglAirport> out = lf_decode(BglBuilder::file(c.airport));
        ASSERT_EQ(out.size(), 1u);
        std::vector<std::string> names;
        for (const Stand& s : out[0].data.stands) names.push_back(s.name);
        EXPECT_EQ(names, c.names);
        if (*c.reportLine) {
            EXPECT_TRUE(lf_reportHas(c.reportLine));
        }
    }
}

TEST_F(BglTest, AirportRecordFields) {
    TestAirport a;
    a.names = {std::string(50, 'N')};
    a.elevationMm = 3100000;  // 10171 ft: no airport is that high
    TestHelipad third;
    third.lat = 47.47;
    third.heading = 90.0f;
    a.helipads = {TestHelipad{}, TestHelipad{}, third};
    std::vector<BglAirport> out = lf_decode(BglBuilder::file(a));
    ASSERT_EQ(out.size(), 1u);
    EXPECT_EQ(out[0].data.name, std::string(45, 'N'));
    EXPECT_EQ(out[0].data.altitude, 0);
    ASSERT_EQ(out[0].data.stands.size(), 2u);  // the second helipad at the same spot is dropped
    EXPECT_EQ(out[0].helipads, 2);
    EXPECT_EQ(out[0].data.stands[0].name, "helipad1");
    EXPECT_DOUBLE_EQ(out[0].data.stands[0].heading, kTwoPi);
    EXPECT_NEAR(out[0].data.stands[0].radius / kMetresToNm, 10.0, 1e-9);
    EXPECT_EQ(out[0].data.stands[1].name, "helipad2");
    EXPECT_TRUE(lf_reportHas("double helipad LSZH (skipped)"));

    // Names that differ empty the name; a third one names the airport again.
    a.names = {"Kloten", "Zurich", "Zuerich"};
    EXPECT_EQ(lf_decode(BglBuilder::file(a))[0].data.name, "Zuerich");
    a.names = {"Kloten", "Zurich"};
    EXPECT_EQ(lf_decode(BglBuilder::file(a))[0].data.name, "");

    a.icao = "LSZ";  // three characters: not an airport to keep
    EXPECT_TRUE(lf_decode(BglBuilder::file(a)).empty());
}

// A file cut anywhere, or a record whose size points past the end, throws the reader's range error or
// decodes what lies before the cut, and never reads outside the file.
TEST_F(BglTest, DamagedFilesThrowARangeErrorAndNeverReadOutside) {
    const std::string whole = lf_bytes(gf_sourceDir() / "data/bgl/LEAB_ADEP5_ARV187.bgl");
    int thrown = 0;
    for (size_t cut = 0; cut < whole.size(); cut += 61) {
        try {
            const std::vector<BglAirport> out = lf_decode(whole.substr(0, cut));
            EXPECT_TRUE(out.empty() || out[0].data.stands.size() <= 69);
        } catch (const BglRangeError&) {
            ++thrown;
        }
    }
    EXPECT_GT(thrown, 500);  // a cut inside the airport data is reported, not passed over

    std::string longRecord = BglBuilder::file(lf_withParkings({TestParking{}}));
    const uint32_t huge = 0x7FFFFFF0;
    std::memcpy(longRecord.data() + 92 + 2, &huge, 4);
    EXPECT_THROW(lf_decode(longRecord), BglRangeError);

    std::string longList = BglBuilder::file(lf_withParkings({TestParking{}}));
    const uint16_t many = 4000;  // entries far beyond the file
    std::memcpy(longList.data() + 92 + 60 + 6, &many, 2);
    EXPECT_THROW(lf_decode(longList), BglRangeError);

    // The quick filter: too short, another header size, no airport section.
    writeFile("short.bgl", whole.substr(0, 40));
    std::string otherHeader = whole;
    otherHeader[4] = 60;
    writeFile("other.bgl", otherHeader);
    std::string noAirports = whole;
    for (size_t s = 0; s < 13; ++s) noAirports[56 + 20 * s] = 0x25;
    writeFile("none.bgl", noAirports);
    for (const char* f : {"short.bgl", "other.bgl", "none.bgl", "missing.bgl"}) EXPECT_FALSE(gf_bglHasAirports(f)) << f;
}

}  // namespace
