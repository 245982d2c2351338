// service/record.h — one aircraft at one moment, as the traffic service reported it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

struct TrafficRecord {
    std::string airline;  // empty after decoding; the engine fills it
    std::string model;    // ICAO type designator; empty when unknown
    std::string from;     // origin airport
    std::string to;       // destination airport
    std::string callsign;
    std::string altCallsign1;           // empty after decoding; the callsign once the engine admits the aircraft
    std::string altCallsign2;           // empty; emptied again at admission
    std::string reg;                    // registration, at most 12 characters
    double latitude = 0.0;              // degrees, north positive
    double longitude = 0.0;             // degrees, east positive
    std::optional<double> bank;         // radians, right wing down negative (the service's sign inverted)
    std::optional<double> trueHeading;  // radians; exactly 2 pi is a heading of 0, so 0 stays "absent"
    double altitude = 0.0;              // feet, corrected to the current QNH; 0 is on the ground
    double groundSpeed = 0.0;           // knots
    double track = 0.0;                 // degrees true
    double verticalSpeed = 0.0;         // feet per minute
    double airspeed = 0.0;              // knots
    int32_t dueTick = 0;                // engine slice at which this sample applies
    bool airborne = false;              // altitude > 0
    bool stopped = false;               // the engine's
    bool hasHeading = false;            // trueHeading is present
    double timestamp = 0.0;             // seconds since 1970 of the position
    uint32_t hexid = 0;                 // 24-bit transponder address
};

// One aircraft standing at the park airport, as the service's parked traffic reports it. The eight
// strings mean what those of TrafficRecord mean; from, to and the alternative callsigns stay empty.
struct PtRecord {
    std::string airline, model, from, to, callsign, altCallsign1, altCallsign2, reg;
    double latitude = 0.0;   // degrees
    double longitude = 0.0;  // degrees
    uint32_t hexid = 0;
    int32_t age = 0;  // half hour of the day last seen (0 .. 47) after decoding; then half hours ago
    std::string standName;
};
