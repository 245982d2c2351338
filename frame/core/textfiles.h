// frame/core/textfiles.h — reading text files in the encodings add-on packages use, and saving files safely.
// Every line comes back as UTF-8 without its line end; a trailing CR of a Windows file is stripped.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include <pugixml.hpp>

enum class TextEncoding : int {
    Utf8WithoutBom = 0,    // "UTF8_without_BOM": anything else, an empty file too
    Unicode = 1,           // "Unicode": FF FE, UTF-16 little endian
    UnicodeBigEndian = 2,  // "Unicode_big_endian": FE FF
    Utf8WithBom = 3,       // "UTF8_with_BOM": EF BB (the third byte is not looked at)
    NoneFound = 5          // "none_found": the file cannot be opened
};
const char* gf_encodingName(TextEncoding e);

TextEncoding gf_detectEncoding(const std::filesystem::path& path);
// True when the file opened; appends one UTF-8 string per line. UTF-16 lines that fail conversion
// throw win32::Utf8ConversionException.
bool gf_readTextLines(TextEncoding encoding, const std::filesystem::path& path, std::vector<std::string>& out);
// Detects and reads; 0 when the file cannot be opened or reading failed (logged), else 1.
int gf_readExtTextFileToStringVector(const std::filesystem::path& path, std::vector<std::string>& out);

// Writes the whole content to a temporary file beside the target and renames it into place,
// so that a crash mid-write never leaves a truncated file. False if any step failed (target untouched).
bool gf_writeFileAtomically(const std::filesystem::path& path, const std::string& content);
// Saves a text (with a line feed if endLine); true when the file could be written.
bool gf_saveText(const std::string& text, const std::filesystem::path& path, bool endLine);
// Saves a document in the program's format (declaration, tab indent); logs "\"{}\" saved" or
// "could not save to \"{}\"".
bool gf_saveXml(const pugi::xml_document& document, const std::filesystem::path& path);
// The same without the log line, for the frequent saves of single parameters.
bool gf_saveXmlQuiet(const pugi::xml_document& document, const std::filesystem::path& path);
