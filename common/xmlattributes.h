// common/xmlattributes.h — the values of an element's attributes, read in one pass: the big data files
// (150k registrations, 28k airports) ask each row for four or five attributes, and one lookup by name
// per attribute would walk the row's list that many times, comparing names all the way.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include <pugixml.hpp>

// The usual boolean test of the XML library on an attribute's text: first character 1, t, T, y or Y.
inline bool gf_isXmlTrue(const char* text) {
    const char c = text[0];
    return c == '1' || c == 't' || c == 'T' || c == 'y' || c == 'Y';
}

// Same text as a literal; inlined, as names are a few characters long.
inline bool gf_isXmlName(const char* name, const char* literal) {
    while (*literal != '\0' && *name == *literal) ++name, ++literal;
    return *name == *literal;
}

// Reads rows that carry the attributes `names` (made once, used for every row of a file). An attribute's
// first letter picks the candidate names at once; only those are compared further.
template <size_t N>
class XmlRowReader {
    static_assert(N <= 64);

public:
    explicit XmlRowReader(const std::array<const char*, N>& names) : names_(names) {
        firstWith_.fill(-1);
        nextWith_.fill(-1);
        for (size_t i = N; i-- > 0;) {
            const auto first = static_cast<unsigned char>(names[i][0]);
            nextWith_[i] = firstWith_[first];
            firstWith_[first] = static_cast<int8_t>(i);
        }
    }

    // values[i] becomes the value of the first attribute called names[i], or "" when the row has none,
    // as pugixml answers for an absent attribute.
    void read(pugi::xml_node node, std::array<const char*, N>& values) const {
        values.fill("");
        uint64_t found = 0;  // bit i: names[i] was seen in this row
        // An attribute always has a name, and the empty attribute past the last answers "": that ends the
        // walk without one more call into the library per attribute.
        for (pugi::xml_attribute a = node.first_attribute();; a = a.next_attribute()) {
            const char* name = a.name();
            if (name[0] == '\0') break;
            for (int i = firstWith_[static_cast<unsigned char>(name[0])]; i >= 0; i = nextWith_[i])
                if ((found >> i & 1) == 0 && gf_isXmlName(name + 1, names_[i] + 1)) {
                    values[i] = a.value();
                    found |= uint64_t{1} << i;
                    break;
                }
        }
    }

private:
    std::array<const char*, N> names_;
    std::array<int8_t, 256> firstWith_;  // first letter -> first name with it, -1 for none
    std::array<int8_t, N> nextWith_;     // name -> next name with the same first letter, -1 for none
};
