// liveries/scramble.h — the scrambled form in which dbase.xml keeps type codes, airline codes and
// registrations. Every routine works in the character window 45..90 ("-" to "Z") and wraps by 46, so
// a shift stays inside the window and each decoder is the exact inverse of its encoder there.
// Empty text stays empty. The encoders of type and airline codes serve the data tool and the tests.
#pragma once

#include <string>
#include <string_view>

// Registration: character i shifted by the key table entry i (the table repeats after its end);
// "+" passes unchanged. Lower case is refused: logs "lower case in regcode encryp {}" and throws
// std::runtime_error("regcode encrypt error"). A text of 1 or of 25 and more characters is logged.
std::string gf_encodeRegcode(std::string_view text);
std::string gf_decodeRegcode(std::string_view text);
// The same decoding into a caller's buffer of text.size() characters: the database read decodes ~150k
// registrations straight into its table.
void gf_decodeRegcodeTo(std::string_view text, char* out);

// Airline code: 6 stored characters, 3 of them carry the code. A stored text of 3 characters is taken
// as it is, with the warning "Unencrypted airline {} in decrypt airl?"; any other length throws
// std::runtime_error("decrypt airl \"{}\" error").
std::string gf_decodeAirline(std::string_view text);
// Encodes a 3-character code into the 6 stored characters; the 3 filler characters follow from the
// code, so the result is deterministic. Throws std::runtime_error for another length.
std::string gf_encodeAirline(std::string_view code);

// The same into a caller's buffer, for the database read: `out` has room for 3 characters; returns how
// many were written (0 for empty text). Same warnings and errors.
size_t gf_decodeAirlineTo(std::string_view text, char* out);

// Type code: stored texts of 3 and 4 characters give that many characters, any other length 2 (from
// its first two positions). A stored text of 1 character throws std::runtime_error("decrypt model ...").
std::string gf_decodeModel(std::string_view text);
// The same into a caller's buffer with room for 4 characters; returns how many were written (0 for
// empty text).
size_t gf_decodeModelTo(std::string_view text, char* out);
// The inverse for codes of 2 to 4 characters; throws std::runtime_error for other lengths.
std::string gf_encodeModel(std::string_view code);
