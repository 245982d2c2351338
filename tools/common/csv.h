// tools/common/csv.h — the CSV files of data/ for the data tools: a header row, RFC-4180 quoting.
#pragma once

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <fmt/format.h>

namespace datacsv {

using Row = std::map<std::string, std::string>;  // column name -> field

// Every row of the file, by column name; a row shorter than the header lacks the missing columns.
inline std::vector<Row> readCsv(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw std::runtime_error(fmt::format("cannot open {}", path.string()));
    std::stringstream ss;
    ss << in.rdbuf();
    const std::string text = ss.str();
    std::vector<std::vector<std::string>> lines;
    std::vector<std::string> fields;
    std::string field;
    bool quoted = false;
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (quoted) {
            if (c == '"' && i + 1 < text.size() && text[i + 1] == '"')
                field += '"', ++i;
            else if (c == '"')
                quoted = false;
            else
                field += c;
        } else if (c == '"') {
            quoted = true;
        } else if (c == ',') {
            fields.push_back(std::move(field));
            field.clear();
        } else if (c == '\n') {
            fields.push_back(std::move(field));
            field.clear();
            lines.push_back(std::move(fields));
            fields.clear();
        } else if (c != '\r') {
            field += c;
        }
    }
    if (!field.empty() || !fields.empty()) fields.push_back(field), lines.push_back(fields);
    std::vector<Row> rows;
    if (lines.empty()) return rows;
    const auto& header = lines.front();
    for (size_t l = 1; l < lines.size(); ++l) {
        Row row;
        for (size_t k = 0; k < header.size() && k < lines[l].size(); ++k) row[header[k]] = lines[l][k];
        rows.push_back(std::move(row));
    }
    return rows;
}

}  // namespace datacsv
