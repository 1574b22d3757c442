// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace knotfit {

std::vector<std::string_view> split(std::string_view text, char separator);

/// A number as a message shows it.
std::string shortest(double value);

}  // namespace knotfit
