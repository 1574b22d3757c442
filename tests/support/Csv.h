// SPDX-License-Identifier: MIT
#pragma once

#include <fstream>
#include <sstream>

#include "tests/support/Testing.h"

namespace knotwork_test {

/// The numbers, line by line; lines that start with # hold none.
inline std::vector<Numbers> csvRows(std::istream& lines)
{
    std::vector<Numbers> rows;
    for (std::string line; std::getline(lines, line);) {
        if (line.empty() || line[0] == '#') continue;
        rows.emplace_back();
        std::istringstream cells(line);
        for (std::string cell; std::getline(cells, cell, ',');)
            rows.back().push_back(std::stod(cell));
    }
    return rows;
}

inline std::vector<Numbers> csvRows(const std::string& text)
{
    std::istringstream lines(text);
    return csvRows(lines);
}

/// Of one of the examples' data sets.
inline std::vector<Numbers> exampleData(const char* name)
{
    std::ifstream file(std::string(KNOTWORK_EXAMPLE_DATA "/") + name);
    return csvRows(file);
}

}  // namespace knotwork_test
