// libFuzzer: the BGL reader must survive any file. A damaged file may end in the reader's range error and
// nothing else; every airport it hands over must build into an airport file document.
#include <cstddef>
#include <cstdint>
#include <string>

#include <pugixml.hpp>

#include "airports/bgl.h"
#include "airports/state.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    gf_resetAirports();  // the report lines of the last input
    try {
        gf_decodeBglAirports(gf_bglWordsOf(bytes), "fuzz.bgl", [](BglAirport& airport) {
            if (airport.data.icao.size() != 4) __builtin_trap();
            airport.data.publisher = "unknown";
            pugi::xml_document document;
            gf_buildApf(document, airport.data, false);
        });
    } catch (const BglRangeError&) {
        // a damaged file: the scan reports it and goes on
    }
    return 0;
}
