// mkliveries — the liveries of the install fixture, as a scan of a typical AI traffic installation would
// save them:
//   output/LiveriesScanned.xml  the liveries, in list order, with the program's meta block;
//   input/AIG-regcodes.xml      registrations for some of them, one livery reserved (special) for its
//                               registration, and one title the user must not see.
// Usage: mkliveries <install folder>. Nothing depends on time or chance, so the files are the same bytes
// at every build.
//
// The liveries cover the airlines and types of the recorded Zurich flights of data/tracks and of the
// aircraft parked in its scenario, with titles in the forms that real AI packages use (FAIB/FLAi, AIG,
// FSLTL, TFS, BAvMM, user aircraft repaints), plus generic ("ZZZ") and private liveries, light aircraft,
// business jets, two helicopters and a fast jet. Two recorded flights find no livery on purpose: Enter Air's
// B738 SP-ENX (no Enter Air livery, no generic B738) and Air Canada's B789 C-FGFZ (no Air Canada livery, no
// generic B789): a heavy or an airliner never wears another airline's paint.
#include <cstdio>
#include <filesystem>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <pugixml.hpp>

#include "frame/core/log.h"
#include "frame/core/textfiles.h"
#include "liveries/liveries_file.h"
#include "liveries/scramble.h"

namespace fs = std::filesystem;

namespace {

struct Livery {
    const char* airline;
    const char* model;
    bool cargo;
    const char* title;
    const char* atcId;
};

// clang-format off
const Livery kLiveries[] = {
    // Swiss, the home carrier: several per type, registrations on some.
    {"SWR", "A320", false, "FLAi_FAIB_A320CFM_SWR-Swiss", ""},
    {"SWR", "A320", false, "FLAi_FAIB_A320CFM_SWR-Swiss SL", ""},
    {"SWR", "A320", false, "FLAi_FAIB_A320CFM_SWR-Swiss HB-IJE", "HB-IJE"},
    {"SWR", "A320", false, "FSLTL_A320_SWR-Swiss Star Alliance", ""},
    {"SWR", "A321", false, "FLAi_FAIB_A321CFM_SWR-Swiss", ""},
    {"SWR", "A20N", false, "FSLTL_A20N_SWR-Swiss", ""},
    {"SWR", "BCS1", false, "AIG_BCS1_SWR_Swiss HB-JBH", "HB-JBH"},
    {"SWR", "BCS3", false, "AIG_BCS3_SWR_Swiss", ""},
    {"SWR", "A333", false, "AIG_A333_SWR_Swiss HB-JHB", "HB-JHB"},
    {"SWR", "A343", false, "AIG_A343_SWR_Swiss", ""},
    {"SWR", "B77W", false, "TFS_B77W_SWR-Swiss", ""},
    // The other recorded airlines.
    {"DLH", "A320", false, "FLAi_FAIB_A320IAE_DLH-Lufthansa OC", ""},
    {"DLH", "A321", false, "FLAi_FAIB_A321IAE_DLH-Lufthansa OC", ""},
    {"DLH", "A321", false, "FLAi_FAIB_A321IAE_DLH-Lufthansa RETRO", ""},
    {"DLH", "B748", false, "AIG_B748_DLH_Lufthansa", ""},
    {"AFR", "A319", false, "AIG_A319_AFR_Air France", ""},
    {"AFR", "A320", false, "AIG_A320_AFR_Air France", ""},
    {"AUA", "A320", false, "FLAi_FAIB_A320CFM_AUA-Austrian_NC", ""},
    {"AUA", "A321", false, "FLAi_FAIB_A321CFM_AUA-Austrian_OC", ""},
    {"AEE", "A321", false, "FLAi_FAIB_A321CFM_AEE-Aegean", ""},  // an A320 of Aegean takes this similar type
    {"EDW", "A320", false, "AIG_A320_EDW_Edelweiss HB-JJK", "HB-JJK"},
    {"EDW", "A343", false, "AIG_A343_EDW_Edelweiss HB-JMF", "HB-JMF"},
    {"VJT", "GLEX", false, "AIG_GLEX_VJT_VistaJet", ""},
    {"EIN", "A320", false, "FLAi_FAIB_A320CFM_EIN-Aer Lingus", ""},
    {"EWG", "A320", false, "AIG_A320_EWG_Eurowings", ""},
    {"CLX", "B748", true, "AIG_B748F_CLX_Cargolux LX-VCF", "LX-VCF"},
    // A spread of European and long-haul traffic.
    {"BAW", "A20N", false, "BAvMM_A20N_BAW_G-TTNA", "G-TTNA"},
    {"BAW", "A20N", false, "BAvMM_A20N_BAW_G-TTNB", "G-TTNB"},
    {"BAW", "A321", false, "FLAi_FAIB_A321IAE_BAW-British Airways", ""},
    {"KLM", "B738", false, "FLAi_FAIB_B738_KLM-KLM", ""},
    {"EZY", "A320", false, "AIG_A320_EZY_easyJet", ""},
    {"EZY", "A20N", false, "AIG_A20N_EZY_easyJet neo", ""},
    {"RYR", "B738", false, "FLAi_FAIB_B738_RYR-Ryanair", ""},
    {"BEL", "A320", false, "AIG_A320_BEL_Brussels Airlines", ""},
    {"THY", "A321", false, "FSLTL_A321_THY-Turkish Airlines", ""},
    {"UAE", "B77W", false, "TFS_B77W_UAE-Emirates", ""},
    {"QTR", "A359", false, "AIG_A359_QTR_Qatar Airways", ""},
    {"FDX", "B77L", true, "AIG_B77L_FDX_FedEx", ""},
    {"FDX", "MD11", true, "AIG_MD11_FDX_FedEx", ""},
    // Generic liveries: no airline markings, for any operator of the type.
    {"ZZZ", "A319", false, "FLAi_A319_ZZZZ", ""},
    {"ZZZ", "A320", false, "FLAi_A320_ZZZZ", ""},
    {"ZZZ", "A321", false, "FLAi_A321_ZZZZ", ""},
    {"ZZZ", "B77W", false, "TFS_B77W_ZZZZ House", ""},
    {"ZZZ", "C56X", false, "AIG_C56X_ZZZ_Citation Excel White", ""},
    {"ZZZ", "C172", false, "Cessna Skyhawk 172SP Paint1", ""},
    {"ZZZ", "C172", false, "Cessna Skyhawk 172SP Paint2", ""},
    {"ZZZ", "C208", false, "C208B Grand Caravan EX", ""},
    {"ZZZ", "AS50", false, "AIG_AS50_ZZZ_Ecureuil", ""},
    // Private owners and their registrations.
    {"PVT", "C208", false, "C208B Grand Caravan EX N208TC", "N208TC"},
    {"PVT", "BE36", false, "~A36~ 60th Anniversary by Cheva", ""},
    {"PVT", "PC12", false, "AIG_PC12_PVT_HB-FVL", "HB-FVL"},
    // Swiss Air-Ambulance helicopters and the air force.
    {"SAZ", "EC35", false, "AIG_EC35_SAZ_Rega HB-ZRA", "HB-ZRA"},
    {"SUI", "F18H", false, "TQL_NBAI_F18_Swiss Air Force J-5011", ""},
};

// AIG-regcodes.xml: registrations (plain here, scrambled in the file) for installed titles. A livery
// with `special` belongs to its registrations alone; one without registrations must not be used.
struct AigEntry {
    const char* title;
    const char* regs;  // comma list
    bool special;
};
const AigEntry kAigRegcodes[] = {
    {"FSLTL_A320_SWR-Swiss Star Alliance", "HB-IJK", true},
    {"FLAi_FAIB_A320CFM_SWR-Swiss SL", "HB-IJJ,HB-IJL", false},
    {"AIG_BCS3_SWR_Swiss", "HB-JCF,HB-JCA", false},
    {"FLAi_FAIB_A321IAE_DLH-Lufthansa RETRO", "D-AIRX", true},
    {"AIG_A320_EDW_Edelweiss Old", "", false},
};
// clang-format on

constexpr const char* kDataDate = "Nov 29, 2019";  // the day of the last recorded Zurich flight

void lf_save(const pugi::xml_document& doc, const fs::path& path) {
    std::ostringstream out;
    doc.save(out, "\t", pugi::format_default, pugi::encoding_utf8);
    if (!gf_writeFileAtomically(path, out.str())) throw std::runtime_error("cannot write " + path.string());
    std::printf("%s written\n", path.string().c_str());
}

void lf_writeLiveries(const fs::path& path) {
    liveries.liveryList.clear();
    for (const Livery& l : kLiveries) liveries.liveryList.push_back({l.airline, l.model, l.title, l.atcId, 1, l.cargo});
    lf_sortAndDeduplicate();
    pugi::xml_document doc;
    pugi::xml_node meta = doc.append_child("meta");
    const std::pair<const char*, const char*> infos[] = {{"author", kProgramName},
                                                         {"version", kProgramVersionText},
                                                         {"date", kDataDate},
                                                         {"copyright", "ZARK_P3D, liveries of the test installation"}};
    for (const auto& [name, value] : infos) {
        pugi::xml_node info = meta.append_child("info");
        info.append_attribute("name") = name;
        info.append_attribute("value") = value;
    }
    gf_appendLiveries(doc, liveries.liveryList);
    lf_save(doc, path);
    std::printf("liveries %zu\n", liveries.liveryList.size());
}

void lf_writeAigRegcodes(const fs::path& path) {
    pugi::xml_document doc;
    pugi::xml_node root = doc.append_child("AIG-regcodes");
    for (const AigEntry& e : kAigRegcodes) {
        pugi::xml_node livery = root.append_child("livery");
        livery.append_attribute("title") = e.title;
        std::string regs;
        std::string_view list = e.regs;
        while (!list.empty()) {
            const size_t comma = list.find(',');
            if (!regs.empty()) regs += ',';
            regs += gf_encodeRegcode(list.substr(0, comma));
            list.remove_prefix(comma == std::string_view::npos ? list.size() : comma + 1);
        }
        livery.append_attribute("reg") = regs.c_str();
        if (e.special) livery.append_attribute("special") = "true";
    }
    lf_save(doc, path);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: mkliveries <install folder>\n");
        return 2;
    }
    try {
        const fs::path install = argv[1];
        if (!fs::is_directory(install)) throw std::runtime_error(std::string("no install folder ") + argv[1]);
        fs::create_directories(install / "output");
        fs::create_directories(install / "input");
        lf_writeLiveries(install / "output" / "LiveriesScanned.xml");
        lf_writeAigRegcodes(install / "input" / "AIG-regcodes.xml");
    } catch (const std::exception& e) {
        std::fprintf(stderr, "mkliveries: %s\n", e.what());
        return 1;
    }
    return 0;
}
