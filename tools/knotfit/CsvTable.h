// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace knotfit {

/// A table of finite numbers, row after row.
struct CsvTable {
    int rows = 0;
    int cols = 0;
    std::vector<double> numbers;

    double at(int i, int j) const
    {
        return numbers[static_cast<std::size_t>(i) * static_cast<std::size_t>(cols) +
                       static_cast<std::size_t>(j)];
    }
};

/// Reads comma-separated numbers from a file, or from standard input for "-". Lines that are blank
/// or start with # are passed over. Throws a Failure that names file, line and column (counted
/// from 1) where something is no finite number or a line has another count than the first.
CsvTable readCsv(const std::string& path);

/// The number that a text is, whole and finite, or nothing.
std::optional<double> parseNumber(std::string_view text);

}  // namespace knotfit
