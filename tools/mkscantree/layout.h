// tools/mkscantree/layout.h — aircraft folders laid out from the real aircraft.cfg samples of
// data/aircraftcfg: each file with the model, texture and flight model entries its sections name, as the
// package it comes from had them. The samples hold only the files; their manifest tells which folders
// the packages had, and which were missing. Tests, the scan benchmark and the demo share this.
#pragma once

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include "liveries/aircraft_cfg.h"

namespace scantree {

namespace fs = std::filesystem;

// What the package of one sample had beside its aircraft.cfg.
struct Sample {
    const char* path;           // below data/aircraftcfg
    bool models;                // its model folders and .air file were there (repaint-only packages had none)
    const char* absentTexture;  // a texture folder its file names but the package lacks, or ""
};

inline const std::vector<Sample>& gf_samples() {
    static const std::vector<Sample> s = {
        {"bavirtual__bavmm/Simobjects/Airplanes/A20N/aircraft.cfg", true, ""},
        {"bavirtual__bavmm/Simobjects/Airplanes/B752/Aircraft.cfg", true, ""},
        {"bavirtual__bavmm/Simobjects/Airplanes/B461/aircraft.cfg", true, ""},
        {"bavirtual__bavmm/Simobjects/Airplanes/B77W/aircraft.cfg", true, ""},
        {"bavirtual__bavmm/Simobjects/Airplanes/DC10/Aircraft.cfg", true, ""},
        {"Lion-Rock-Aviation__Lion-Rock-Aviation-Model-Matching/INSTALL THIS [Prepar3D]/Prepar3D v4-v5 Addons/"
         "LRA AI/SimObjects/Airplanes/A320_LRA/aircraft.cfg",
         true, ""},
        {"Lion-Rock-Aviation__Lion-Rock-Aviation-Model-Matching/INSTALL THIS [Prepar3D]/Prepar3D v4-v5 Addons/"
         "SimObjects/Airplanes/FLAi_A321/aircraft.cfg",
         true, "LRA-Lion Rock_SL"},
        {"Lion-Rock-Aviation__Lion-Rock-Aviation-Model-Matching/INSTALL THIS [Prepar3D]/Prepar3D v4-v5 Addons/"
         "SimObjects/Airplanes/FLAi_B738/aircraft.cfg",
         true, ""},
        {"woajaja__P3D-PMDG-777-300ER/aircraft.cfg", false, ""},
        {"woajaja__FSX-CARENADO-GC208_SUR-AIR_LV-MEC/aircraft.cfg", false, ""},
        {"avs-code__Prepar3D_LEAB/SAF_ALA14_EF2000_FSX_P3D/SimObjects/TQL_NBAI_Eurofighter_EF2000T_Spain_Ala_14/"
         "Aircraft.cfg",
         true, ""},
        {"dcheva__bonanza_A36/Aircraft.cfg", true, ""},
    };
    return s;
}

// A value as the simulator reads it: up to a "//" or ";" comment, trimmed.
inline std::string lf_value(const std::string& line, CfgKey key) {
    std::string v;
    if (!gf_cfgKeyValue(line, key, v)) return {};
    v = v.substr(0, std::min(v.find("//"), v.find(';')));
    return gf_trimmed(v);
}

// Copies `cfg` into `folder` and makes what its sections name. Texture folders of an odd name length get
// a capital first letter ("Texture.x"), as many packages have them: the simulator finds either.
inline void gf_layoutAircraft(const fs::path& cfg, const fs::path& folder, const Sample& sample) {
    fs::create_directories(folder);
    if (sample.models) fs::create_directories(folder / "model");  // what "model=" without a value names
    fs::copy_file(cfg, folder / cfg.filename(), fs::copy_options::overwrite_existing);
    std::ifstream in(cfg, std::ios::binary);
    std::string line;
    while (std::getline(in, line)) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        std::string v;
        if (gf_cfgKeyValue(line, CfgKey::Texture, v)) {
            v = lf_value(line, CfgKey::Texture);
            if (v == sample.absentTexture) continue;
            std::replace(v.begin(), v.end(), '\\', '/');
            // One spelling per folder: sub-paths of one folder must land in the same one.
            const bool capital = v.substr(0, v.find('/')).size() % 2 == 1;
            fs::create_directories(folder / ((capital ? "Texture." : "texture.") + v));
        } else if (sample.models && gf_cfgKeyValue(line, CfgKey::Model, v)) {
            v = lf_value(line, CfgKey::Model);
            fs::create_directories(folder / (v.empty() ? std::string("model") : "model." + v));
        } else if (sample.models && gf_cfgKeyValue(line, CfgKey::Sim, v)) {
            std::ofstream(folder / (lf_value(line, CfgKey::Sim) + ".air")) << "air";
        }
    }
}

// Every sample under `to`, in the folders it had in its repository.
inline void gf_layoutSamples(const fs::path& samples, const fs::path& to) {
    for (const Sample& s : gf_samples()) {
        const fs::path rel = fs::path(s.path);
        gf_layoutAircraft(samples / rel, to / rel.parent_path(), s);
    }
}

}  // namespace scantree
