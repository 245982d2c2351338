#include "common/geo.h"

#include <cmath>

#include "common/random.h"

double gf_distanceNm(LatLon a, LatLon b) {
    const double lat1 = a.lat * kDegToRad;
    const double lat2 = b.lat * kDegToRad;
    const double dLat = lat2 - lat1;
    const double dLon = (b.lon - a.lon) * kDegToRad;
    const double s1 = std::sin(dLat / 2.0);
    const double s2 = std::sin(dLon / 2.0);
    double h = s1 * s1 + std::cos(lat1) * std::cos(lat2) * s2 * s2;
    if (h > 1.0) h = 1.0;  // rounding at antipodes would make asin NaN
    return std::asin(std::sqrt(h)) * kHaversineNm;
}

double gf_bearing(LatLon a, LatLon b) {
    const double lat1 = a.lat * kDegToRad;
    const double lat2 = b.lat * kDegToRad;
    const double dLon = (b.lon - a.lon) * kDegToRad;
    const double y = std::sin(dLon) * std::cos(lat2);
    const double x = std::cos(lat1) * std::sin(lat2) - std::sin(lat1) * std::cos(lat2) * std::cos(dLon);
    double brg = std::atan2(y, x);
    if (brg < 0.0) brg += kTwoPi;
    if (brg >= kTwoPi) brg -= kTwoPi;
    return brg;
}

LatLon gf_destinationPoint(LatLon origin, double bearing, double distanceFeet) {
    const double delta = distanceFeet * kFeetToRadians;
    const double lat1 = origin.lat * kDegToRad;
    const double lon1 = origin.lon * kDegToRad;
    const double lat2 =
        std::asin(std::sin(lat1) * std::cos(delta) + std::cos(lat1) * std::sin(delta) * std::cos(bearing));
    const double lon2 = lon1 + std::atan2(std::sin(bearing) * std::sin(delta) * std::cos(lat1),
                                          std::cos(delta) - std::sin(lat1) * std::sin(lat2));
    double lonDeg = std::fmod(lon2 * kRadToDeg + 540.0, 360.0) - 180.0;
    return {lat2 * kRadToDeg, lonDeg};
}

double gf_angleDiff(double from, double to) {
    double d = std::fmod(to - from, kTwoPi);
    if (d > kPi) d -= kTwoPi;
    if (d < -kPi) d += kTwoPi;
    return d;
}

bool gf_isNullBox(double lat, double lon) { return lat >= 0.0 && lat <= 0.0009 && lon >= 0.0 && lon <= 0.05; }

double gf_jitter(double value, double percent) {
    if (!(percent > 0.0)) return value;
    const double delta = value * percent / 100.0;
    return gf_randomBool() ? value + delta : value - delta;
}
