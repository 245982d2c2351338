// tests/airports/bgl_builder.h — small airport BGL files made in a test: one airport record with the
// parking entries and helipads a case needs, laid out as the simulator's compiler lays them out.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

struct TestParking {
    uint32_t nameIndex = 10;  // "g"
    uint32_t number = 1;
    uint32_t type = 8;  // gate
    float radius = 20.0f;
    float heading = 90.0f;
    double lat = 47.45;
    double lon = 8.56;
    uint32_t airlines = 0;  // airline code words behind the entry
};
struct TestHelipad {
    double lat = 47.46;
    double lon = 8.55;
    float width = 20.0f;
    float heading = 0.0f;
};
struct TestAirport {
    std::string icao = "LSZH";
    uint32_t elevationMm = 432000;
    bool newForm = true;
    std::vector<std::string> names;  // name sub-records
    std::vector<TestHelipad> helipads;
    std::vector<TestParking> parkings;
};

class BglBuilder {
public:
    static uint32_t icaoWord(const std::string& icao) {
        uint32_t v = 0;
        for (char c : icao) v = v * 38 + static_cast<uint32_t>(c >= '0' && c <= '9' ? c - 46 : c - 53);
        return v << 5;
    }
    static uint32_t rawLat(double lat) {
        return static_cast<uint32_t>(std::llround((90.0 - lat) / 3.3527612686157227e-07));
    }
    static uint32_t rawLon(double lon) {
        return static_cast<uint32_t>(std::llround((lon + 180.0) / 4.470348358154297e-07));
    }

    // The whole file: header, one airport section, one sub-section, the airport record.
    static std::string file(const TestAirport& a) {
        const std::string record = airportRecord(a);
        std::string out;
        u32(out, 0x19920201);  // magic; not read
        u32(out, 56);          // header size
        for (int i = 2; i < 14; ++i) u32(out, i == 5 ? 1 : 0);
        u32(out, 3);                                     // section type: airports
        u32(out, 1);                                     // size code: 16-byte sub-section entries
        u32(out, 1);                                     // one sub-section
        u32(out, 76);                                    // its table
        u32(out, 16);                                    // table size
        u32(out, 0x8000);                                // sub-section id
        u32(out, 1);                                     // records
        u32(out, 92);                                    // data offset
        u32(out, static_cast<uint32_t>(record.size()));  // data size
        return out + record;
    }

    static std::string airportRecord(const TestAirport& a) {
        std::string body;
        for (const std::string& n : a.names) {
            // The compiler pads a name with zero bytes to whole words, and the size counts them.
            std::string padded = n;
            while ((6 + padded.size()) % 4) padded += '\0';
            u16(body, 0x19);
            u32(body, static_cast<uint32_t>(6 + padded.size()));
            body += padded;
        }
        for (const TestHelipad& h : a.helipads) {
            u16(body, 0x26);
            u32(body, 36);
            u16(body, 0);
            u32(body, 0);  // flags
            u32(body, rawLon(h.lon));
            u32(body, rawLat(h.lat));
            u32(body, 0);  // altitude
            u32(body, 0);  // length
            f32(body, h.width);
            f32(body, h.heading);
        }
        if (!a.parkings.empty()) {
            std::string list;
            for (const TestParking& p : a.parkings) {
                u32(list, (p.nameIndex & 0x3F) | (p.type << 8) | (p.number << 12) | (p.airlines << 24));
                f32(list, p.radius);
                f32(list, p.heading);
                for (int i = 0; i < 4; ++i) u32(list, 0);  // tee offsets
                u32(list, rawLon(p.lon));
                u32(list, rawLat(p.lat));
                if (a.newForm) u32(list, 0);
                for (uint32_t k = 0; k < p.airlines; ++k) list.append("DLH\0", 4);
            }
            u16(body, a.newForm ? 0xAD : 0x3D);
            u32(body, static_cast<uint32_t>(8 + list.size()));
            u16(body, static_cast<uint16_t>(a.parkings.size()));
            body += list;
        }
        const size_t head = a.newForm ? 60 : 56;
        std::string r;
        u16(r, a.newForm ? 0xAB : 0x3C);
        u32(r, static_cast<uint32_t>(head + body.size()));
        u16(r, 0);
        while (r.size() < 20) u32(r, 0);
        u32(r, a.elevationMm);  // word 5
        while (r.size() < 40) u32(r, 0);
        u32(r, icaoWord(a.icao));  // word 10
        while (r.size() < head) u32(r, 0);
        return r + body;
    }

    static void u16(std::string& s, uint16_t v) { s.append(reinterpret_cast<const char*>(&v), 2); }
    static void u32(std::string& s, uint32_t v) { s.append(reinterpret_cast<const char*>(&v), 4); }
    static void f32(std::string& s, float v) { s.append(reinterpret_cast<const char*>(&v), 4); }
};
