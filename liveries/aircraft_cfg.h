// liveries/aircraft_cfg.h — one aircraft.cfg or sim.cfg turned into liveries: the key lines, the
// [fltsim.x] sections, the checks and the report lines. Workers of the scan (liveries/scan_walk.cpp) run
// these in parallel; everything they share is in liveries/state.h (scan lists, liveryScan).
#pragma once

#include <cstdint>
#include <filesystem>
#include <list>
#include <string>
#include <string_view>
#include <vector>

#include "liveries/state.h"

// The keys of a [fltsim.x] section and of [General].
enum class CfgKey { Title, Sim, Model, Texture, AtcModel, AtcId, AtcParkingTypes, AtcParkingCodes };

// The value of `key` when the whole line is "key = value" (key in any case, blanks around both, the
// value ending in a non-blank character); false for anything else, an empty value included.
bool gf_cfgKeyValue(std::string_view line, CfgKey key, std::string& value);
// The digits of a "[fltsim.N]" head line (blanks around allowed, nothing else on the line).
bool gf_cfgSectionHead(std::string_view line, std::string& digits);

// The digits of a section head; "10000" for a line that holds "[fltsim." or "[FLTSIM." but is no valid
// head (a comment behind it, no number); empty for any other line and for a line that begins with "//".
std::string lf_fltsimNumber(std::string_view line);
// False when the file must not be read on: numbers out of range, or not 0, 1, 2 ... in some order.
bool lf_checkFltsimNumbers(const std::vector<std::string>& lines, const std::string& path);
// The type of an ordinary file from its first atc_model line, a fixed code or empty (reported).
std::string lf_modelFromGeneral(const std::string& path, const std::vector<std::string>& lines);
// The type of a file of the IVAO_MTL tree from its folder name IVAO_<code>, cut and checked; empty when none.
std::string lf_modelFromMtlPath(const std::string& path);
bool lf_isMakerCode(std::string_view text);  // "BOE", "AIB", "EMB", "BBA", "AED": a maker, not an airline
// A comma list with blanks, tabs or line ends in it is rewritten as trimmed items joined by commas.
void lf_normaliseList(std::string& list);

// The liveries of one section (its head line first). `file` is the path of the file, `folder` its folder.
std::vector<LiveryData> lf_procesFltSimSection(int32_t level, std::vector<std::string> lines, const std::string& model,
                                               const std::string& file, const std::filesystem::path& folder);
// At most one livery; a record with all strings empty when the section yields none.
LiveryData lf_procesMtlFltSimSection(int32_t level, std::vector<std::string> lines, const std::string& model,
                                     const std::string& file, const std::filesystem::path& folder);

// The two workers: all liveries of one file. They never throw for what a file holds; an exception is a
// fault of the machine (memory, the file system) and goes to the caller.
std::list<LiveryData> lf_searchLiveriesinFile(int32_t level, const std::filesystem::path& path);
std::list<LiveryData> lf_searchMtlLiveriesinFile(int32_t level, const std::filesystem::path& path);

// The walk of the sections on lines already read (the workers and the fuzz target share it). `mtlModel`
// is the type of a file of the IVAO_MTL tree; empty for an ordinary file, whose type atc_model gives.
std::list<LiveryData> lf_liveriesOfLines(int32_t level, const std::vector<std::string>& lines, const std::string& path,
                                         const std::string& mtlModel);

// Files larger than this are no aircraft.cfg: a real one holds some hundred kilobytes at most.
inline constexpr uintmax_t kMaxCfgBytes = 8u * 1024u * 1024u;

// A path below `folder` as an aircraft.cfg names it: Windows rules, so "\" separates, a trailing dot
// is dropped and letters match in any case. The existing entry, or empty when there is none.
std::filesystem::path gf_findSimPath(const std::filesystem::path& folder, std::string_view relative);
// Forgets the folder listings gf_findSimPath keeps on this thread (at the start of every file).
void gf_forgetSimPaths();
// The path as UTF-8 text, the way the scan's tests on paths see it.
std::string gf_pathText(const std::filesystem::path& p);

// Text helpers of the scan.
std::string gf_trimmed(std::string_view s);
std::vector<std::string> gf_splitTrimmed(std::string_view text, char at);  // each item trimmed; "" gives {""}
// A line that is no valid UTF-8 is taken as CP1252 and converted; a valid one stays as it is.
void gf_cp1252LineToUtf8(std::string& line);
