#include <gtest/gtest.h>

#include <cmath>

#include "common/geo.h"
#include "common/random.h"

namespace {
constexpr LatLon kZurich{47.4647, 8.5492};     // LSZH
constexpr LatLon kAmsterdam{52.3086, 4.7639};  // EHAM
constexpr LatLon kJfk{40.6398, -73.7789};
constexpr LatLon kLhr{51.4700, -0.4543};
}  // namespace

TEST(GeoDistance, KnownCityPairs) {
    // Great-circle distances on the 3437.75 nm sphere.
    EXPECT_NEAR(gf_distanceNm(kJfk, kLhr), 2994.0, 6.0);
    EXPECT_NEAR(gf_distanceNm(kZurich, kAmsterdam), 325.0, 3.0);
    EXPECT_DOUBLE_EQ(gf_distanceNm(kZurich, kZurich), 0.0);
    // One minute of latitude is one nautical mile on this sphere.
    EXPECT_NEAR(gf_distanceNm({10.0, 20.0}, {10.0 + 1.0 / 60.0, 20.0}), 1.0, 1e-3);
    // Antipodes do not produce NaN.
    EXPECT_NEAR(gf_distanceNm({0, 0}, {0, 180}), kPi * 3437.746770784939, 1e-6);
}

TEST(GeoBearing, CardinalDirectionsAndRange) {
    EXPECT_NEAR(gf_bearing({0, 0}, {1, 0}), 0.0, 1e-9);
    EXPECT_NEAR(gf_bearing({0, 0}, {0, 1}), kPi / 2, 1e-9);
    EXPECT_NEAR(gf_bearing({0, 0}, {-1, 0}), kPi, 1e-9);
    EXPECT_NEAR(gf_bearing({0, 0}, {0, -1}), 3 * kPi / 2, 1e-9);
    // JFK to LHR leaves to the north east, about 51 degrees.
    EXPECT_NEAR(gf_bearing(kJfk, kLhr) * kRadToDeg, 51.4, 0.5);
}

TEST(GeoDestination, RoundTripWithDistanceAndBearing) {
    const double feet = 10.0 * 6076.11548556;  // 10 nm
    const LatLon p = gf_destinationPoint(kZurich, 1.0, feet);
    EXPECT_NEAR(gf_distanceNm(kZurich, p), 10.0, 1e-6);
    EXPECT_NEAR(gf_bearing(kZurich, p), 1.0, 1e-3);
}

TEST(GeoDestination, LongitudeWrapsAtTheDateLine) {
    const LatLon p = gf_destinationPoint({0.0, 179.9}, kPi / 2, 20.0 * 6076.11548556);
    EXPECT_GE(p.lon, -180.0);
    EXPECT_LE(p.lon, 180.0);
    EXPECT_NEAR(p.lon, -179.7667, 1e-3);  // 179.9 + 20/60 = 180.2333
}

TEST(GeoAngleDiff, ShortestSignedTurn) {
    EXPECT_NEAR(gf_angleDiff(0.1, 0.3), 0.2, 1e-12);
    EXPECT_NEAR(gf_angleDiff(0.3, 0.1), -0.2, 1e-12);
    // Across north: 350 deg to 10 deg is +20 deg, not -340.
    EXPECT_NEAR(gf_angleDiff(350 * kDegToRad, 10 * kDegToRad), 20 * kDegToRad, 1e-12);
    EXPECT_NEAR(gf_angleDiff(10 * kDegToRad, 350 * kDegToRad), -20 * kDegToRad, 1e-12);
    EXPECT_LE(std::fabs(gf_angleDiff(0, 7 * kPi)), kPi + 1e-12);
}

TEST(GeoNullBox, BoundsIncluded) {
    EXPECT_TRUE(gf_isNullBox(0.0, 0.0));
    EXPECT_TRUE(gf_isNullBox(0.0009, 0.05));
    EXPECT_FALSE(gf_isNullBox(0.00091, 0.0));
    EXPECT_FALSE(gf_isNullBox(0.0, 0.0501));
    EXPECT_FALSE(gf_isNullBox(-0.0001, 0.0));
    EXPECT_FALSE(gf_isNullBox(kZurich));
}

TEST(Jitter, EitherSideWithEqualChanceAndNoneWithoutPercent) {
    gf_seedRandom(42);
    int up = 0, down = 0;
    for (int i = 0; i < 2000; ++i) {
        const double v = gf_jitter(100.0, 10.0);
        if (v == 110.0)
            ++up;
        else if (v == 90.0)
            ++down;
        else
            FAIL() << "jitter gave " << v;
    }
    EXPECT_GT(up, 900);
    EXPECT_GT(down, 900);
    EXPECT_EQ(gf_jitter(100.0, 0.0), 100.0);
    EXPECT_EQ(gf_jitter(100.0, -5.0), 100.0);
}

TEST(Random, SeededGeneratorRepeats) {
    gf_seedRandom(7);
    const int a = gf_randomInt(0, 1'000'000);
    gf_seedRandom(7);
    EXPECT_EQ(gf_randomInt(0, 1'000'000), a);
}
