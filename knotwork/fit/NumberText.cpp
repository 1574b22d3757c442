// SPDX-License-Identifier: MIT
#include "knotwork/fit/NumberText.h"

#include <charconv>

namespace knotwork {

namespace {

constexpr int kMostDigits = 400;  // the largest double before the point, and some behind it

template <class... How>
void append(std::string& text, How... how)
{
    char digits[kMostDigits];
    text.append(digits, std::to_chars(digits, digits + sizeof digits, how...).ptr);
}

}  // namespace

std::string fixedText(double value, int decimals)
{
    std::string text;
    append(text, value, std::chars_format::fixed, decimals);
    return text;
}

std::string generalText(double value, int figures)
{
    std::string text;
    appendGeneral(text, value, figures);
    return text;
}

void appendGeneral(std::string& text, double value, int figures)
{
    append(text, value, std::chars_format::general, figures);
}

void appendWhole(std::string& text, unsigned long long value)
{
    append(text, value);
}

}  // namespace knotwork
