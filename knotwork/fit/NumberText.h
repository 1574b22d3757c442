// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace knotwork {

// Numbers as text, the same under every locale of the process and of the stream they go to.

std::string fixedText(double value, int decimals);   ///< as printf's "%.*f" in the C locale
std::string generalText(double value, int figures);  ///< as printf's "%.*g" in the C locale
void appendGeneral(std::string& text, double value, int figures);
void appendWhole(std::string& text, unsigned long long value);

}  // namespace knotwork
