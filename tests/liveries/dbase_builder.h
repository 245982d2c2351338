// tests/liveries/dbase_builder.h — small dbase.xml files for tests, scrambled by the library's encoders.
#pragma once

#include <map>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "liveries/scramble.h"

struct DbRow {
    std::string reg, airl, type, opr, cargo;
    bool plainAirl = false;  // write airl as it stands, unscrambled
};

// Every mandatory section starts with one entry, so that a test changes only what it is about.
struct DbaseBuilder {
    std::map<std::string, std::vector<std::string>> sets = {
        {"aircrafts", {"A320", "B738", "B744", "C172", "C56X", "EC35", "F16", "XLH"}},
        {"high_performance", {"F16"}},
        {"heavy", {"B744", "XLH"}},
        {"large", {"A320", "B738", "XLH"}},
        {"buzjet", {"C56X"}},
        {"rotorcraft", {"EC35"}},
        {"cargo_types", {"B744"}},
        {"ICAO_airlines", {"KLM", "DLH", "SWR"}},
        {"cargo_operators", {"DLH"}},
    };
    std::vector<std::vector<std::string>> similar = {{"A320", "B738"}};
    std::vector<std::string> publishers = {"FlyTampa", "Aerosoft,AS"};
    std::vector<std::pair<std::string, std::string>> wingspans = {{"A320", "35.8"}, {"B744", "64.4"}};
    std::vector<DbRow> rows = {{"PH-BXA", "KLM", "B738", "", "0"}};
    std::string extra;  // raw text added at the end

    static std::string child(const std::string& section) {
        static const std::map<std::string, std::pair<std::string, std::string>> kChild = {
            {"aircrafts", {"aircraft", "types"}},
            {"high_performance", {"hpf", "types"}},
            {"heavy", {"hvy", "types"}},
            {"large", {"lar", "types"}},
            {"buzjet", {"bzj", "types"}},
            {"rotorcraft", {"rot", "types"}},
            {"cargo_types", {"cargo_type", "types"}},
            {"ICAO_airlines", {"ICAO", "codes"}},
            {"cargo_operators", {"ICAO", "codes"}}};
        const auto& [c, a] = kChild.at(section);
        return c + " " + a;
    }

    std::string text() const {
        std::string out = "<?xml version=\"1.0\"?>\n";
        for (const auto& [section, codes] : sets) {
            const bool airline = section == "ICAO_airlines" || section == "cargo_operators";
            std::vector<std::string> enc;
            for (const auto& c : codes) enc.push_back(airline ? gf_encodeAirline(c) : gf_encodeModel(c));
            const std::string ca = child(section);
            const std::string name = ca.substr(0, ca.find(' ')), attr = ca.substr(ca.find(' ') + 1);
            out += fmt::format("<{0}><{1} {2}=\"{3}\"/></{0}>\n", section, name, attr, esc(join(enc)));
        }
        out += "<similar_types>";
        for (const auto& g : similar) {
            std::vector<std::string> enc;
            for (const auto& c : g) enc.push_back(gf_encodeModel(c));
            out += fmt::format("<similar types=\"{}\"/>", esc(join(enc)));
        }
        out += "</similar_types>\n<publishers>";
        for (const auto& p : publishers) out += fmt::format("<pub names=\"{}\"/>", esc(p));
        out += "</publishers>\n<wingspans>";
        for (const auto& [t, m] : wingspans)
            out += fmt::format("<wingspan type=\"{}\" meters=\"{}\"/>", esc(gf_encodeModel(t)), m);
        out += "</wingspans>\n<dbase>";
        for (const auto& r : rows) {
            const auto airline = [](const std::string& a) { return a.size() == 3 ? gf_encodeAirline(a) : a; };
            out += fmt::format("<db reg=\"{}\" airl=\"{}\" type=\"{}\" opr=\"{}\" cargo=\"{}\"/>",
                               esc(gf_encodeRegcode(r.reg)), esc(r.plainAirl ? r.airl : airline(r.airl)),
                               esc(r.type.empty() ? "" : gf_encodeModel(r.type)), esc(airline(r.opr)), r.cargo);
        }
        out += "</dbase>\n" + extra;
        return out;
    }

    static std::string join(const std::vector<std::string>& v) {
        std::string s;
        for (size_t i = 0; i < v.size(); ++i) s += (i ? "," : "") + v[i];
        return s;
    }
    static std::string esc(const std::string& s) {
        std::string o;
        for (char c : s) {
            if (c == '<')
                o += "&lt;";
            else if (c == '>')
                o += "&gt;";
            else if (c == '&')
                o += "&amp;";
            else if (c == '"')
                o += "&quot;";
            else
                o += c;
        }
        return o;
    }
};
