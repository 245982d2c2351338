// common/geo.h — positions on the earth and the helpers that measure between them.
// Degrees in, degrees out; bearings and angle differences in radians.
#pragma once

struct LatLon {
    double lat = 0.0;  // degrees, north positive
    double lon = 0.0;  // degrees, east positive
};

// Earth radius in nm as the haversine factor: 2 * 3437.746770784939 nm.
constexpr double kHaversineNm = 6875.493541569878;
// Feet to radians of arc on the same sphere: 1 / (3437.746770784939 nm * 6076.11548556 ft/nm).
constexpr double kFeetPerNm = 6076.11549;  // feet in a nautical mile
constexpr double kFeetToRadians = 4.787404208238998e-8;
constexpr double kPi = 3.14159265358979323846;
constexpr double kTwoPi = 2.0 * kPi;
constexpr double kDegToRad = kPi / 180.0;
constexpr double kRadToDeg = 180.0 / kPi;

// Great-circle distance in nautical miles (haversine).
double gf_distanceNm(LatLon a, LatLon b);
// Initial true bearing from a to b, radians in [0, 2 pi).
double gf_bearing(LatLon a, LatLon b);
// The point reached from origin along bearing (radians) after distanceFeet; longitude in [-180, 180].
LatLon gf_destinationPoint(LatLon origin, double bearing, double distanceFeet);
// Signed shortest turn from `from` to `to`, radians in [-pi, pi].
double gf_angleDiff(double from, double to);
// The simulator and the service deliver about zero before they know a position:
// latitude 0..0.0009 and longitude 0..0.05, bounds included, is no position yet.
bool gf_isNullBox(double lat, double lon);
inline bool gf_isNullBox(LatLon p) { return gf_isNullBox(p.lat, p.lon); }
// value +/- value * percent / 100, sign at random; value itself when percent <= 0.
double gf_jitter(double value, double percent);
