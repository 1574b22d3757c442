// SPDX-License-Identifier: MIT
#include "tools/knotfit/TextNumbers.h"

#include <cstdio>

namespace knotfit {

std::vector<std::string_view> split(std::string_view text, char separator)
{
    std::vector<std::string_view> parts;
    while (true) {
        const std::size_t at = text.find(separator);
        parts.push_back(text.substr(0, at));
        if (at == std::string_view::npos) return parts;
        text.remove_prefix(at + 1);
    }
}

std::string shortest(double value)
{
    char digits[40];
    std::snprintf(digits, sizeof digits, "%.10g", value);
    return digits;
}

}  // namespace knotfit
