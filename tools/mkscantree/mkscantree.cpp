// mkscantree: a made-up Prepar3D v5 installation from the real aircraft.cfg samples, and the automatic
// livery scan on it, for the demo.
//   mkscantree layout <install>   the simulator under <install>/Prepar3D v5, its configuration files in
//                                 <install>/appdata, <install>/programdata and <install>/documents, and
//                                 add-on packages in <install>/addons (set XDG_CONFIG_HOME, XDG_DATA_HOME
//                                 and HOME to those three folders for the scan)
//   mkscantree scan <install>     scans as an automatic scan of the program does, in <install>, and prints
//                                 the liveries found and the lines of each report file
#include <cstdio>
#include <exception>
#include <fstream>

#include "frame/core/errors.h"
#include "frame/core/folders.h"
#include "frame/core/log.h"
#include "frame/core/params.h"
#include "liveries/dbase.h"
#include "liveries/fixes.h"
#include "liveries/liveries_file.h"
#include "tools/mkscantree/layout.h"

namespace fs = std::filesystem;

namespace {

const scantree::Sample& lf_sample(const std::string& folderName) {
    for (const scantree::Sample& s : scantree::gf_samples())
        if (fs::path(s.path).parent_path().filename() == folderName) return s;
    throw std::runtime_error("no sample " + folderName);
}

void lf_put(const fs::path& samples, const std::string& name, const fs::path& to) {
    const scantree::Sample& s = lf_sample(name);
    scantree::gf_layoutAircraft(samples / s.path, to / name, s);
}

void lf_write(const fs::path& p, const std::string& text) {
    fs::create_directories(p.parent_path());
    std::ofstream(p, std::ios::binary) << text;
}

std::string lf_addOnXml(const std::string& name, const std::string& path) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<SimBase.Document Type=\"AddOnXml\" version=\"4,5\">\n"
           "  <AddOn.Name>" +
           name +
           "</AddOn.Name>\n  <AddOn.Component>\n    <Category>SimObjects</Category>\n"
           "    <Path>" +
           path + "</Path>\n  </AddOn.Component>\n</SimBase.Document>\n";
}

void lf_layout(const fs::path& install, const fs::path& samples) {
    const fs::path sim = install / "Prepar3D v5";
    const fs::path cfgFolder = "Lockheed Martin/Prepar3D v5";
    // Stock aircraft (not scanned: the simulator's own) and a fleet folder of the simulator's tree.
    lf_put(samples, "A20N", sim / "SimObjects" / "Airplanes");
    for (const char* n : {"B752", "B461", "B77W", "DC10"}) lf_put(samples, n, sim / "SimObjects" / "AIFleet");
    lf_write(install / "programdata" / cfgFolder / "simobjects.cfg",
             "[Entry.0]\nTitle=Airplanes\nPath=SimObjects\\Airplanes\nRequired=True\nActive=True\n\n"
             "[Entry.1]\nTitle=AI fleet\nPath=SimObjects\\AIFleet\nActive=True\n");
    // Two packages of add-ons.cfg, one switched off, and one found in the discovery folder.
    for (const char* n : {"A320_LRA", "FLAi_A321", "FLAi_B738"})
        lf_put(samples, n, install / "addons/LionRock/SimObjects/Airplanes");
    lf_write(install / "addons/LionRock/add-on.xml", lf_addOnXml("Lion Rock AI", "SimObjects\\Airplanes"));
    lf_put(samples, "TQL_NBAI_Eurofighter_EF2000T_Spain_Ala_14", install / "addons/LEAB/SimObjects");
    lf_write(install / "addons/LEAB/add-on.xml", lf_addOnXml("LEAB military", "SimObjects"));
    lf_put(samples, "dcheva__bonanza_A36", install / "addons/Off/SimObjects");
    lf_write(install / "addons/Off/add-on.xml", lf_addOnXml("Switched off", "SimObjects"));
    lf_write(install / "appdata" / cfgFolder / "add-ons.cfg",
             "[Package.0]\nPATH=" + (install / "addons/LionRock").string() +
                 "\nTITLE=Lion Rock AI\nACTIVE=TRUE\n"
                 "REQUIRED=FALSE\n\n[Package.1]\nPATH=" +
                 (install / "addons/LEAB").string() +
                 "\nACTIVE=TRUE\n\n"
                 "[Package.2]\nPATH=" +
                 (install / "addons/Off").string() + "\nACTIVE=FALSE\n");
    const fs::path discovered = install / "documents" / "Prepar3D v5 Add-ons" / "Repaints";
    for (const char* n : {"woajaja__P3D-PMDG-777-300ER", "woajaja__FSX-CARENADO-GC208_SUR-AIR_LV-MEC"})
        lf_put(samples, n, discovered / "SimObjects" / "Airplanes");
    lf_write(discovered / "add-on.xml", lf_addOnXml("Repaints", "SimObjects\\Airplanes"));
}

int lf_scan(const fs::path& install) {
    fs::current_path(install);
    gf_makeFolders();
    gf_openLog("Log.txt");
    SIM_INSTALL_PATH.current = (install / "Prepar3D v5").string();
    runPaths.hardwareThreads = 2;
    gf_readDbase();
    gf_readFixes();
    gf_getLiveries(true, true, false, {});
    std::printf("liveries found: %lld\n", static_cast<long long>(liveries.liveryCount));
    for (const fs::path& folder : {folders::errors, folders::info}) {
        if (!fs::exists(folder)) continue;
        for (const auto& e : fs::directory_iterator(folder)) {
            std::ifstream in(e.path());
            std::string line;
            int n = 0;
            while (std::getline(in, line)) ++n;
            std::printf("  %-45s %d lines\n", e.path().string().c_str(), n);
        }
    }
    gf_closeLog();
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: mkscantree layout|scan <install folder>\n");
        return 2;
    }
    try {
        const std::string mode = argv[1];
        const fs::path install = fs::absolute(argv[2]);
        if (mode == "layout") lf_layout(install, fs::path(ZARK_SOURCE_DIR) / "data" / "aircraftcfg");
        if (mode == "scan") return lf_scan(install);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "mkscantree: %s\n", e.what());
        return 1;
    }
    return 0;
}
