// SPDX-License-Identifier: MIT
#include "tools/knotfit/JsonText.h"

#include <cstdio>

namespace knotfit {

namespace {

std::string quoted(const std::string& words)
{
    std::string out = "\"";
    for (const char c : words) {
        if (c == '"' || c == '\\') out += '\\';
        if (static_cast<unsigned char>(c) < 0x20) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(c));
            out += escape;
        } else {
            out += c;
        }
    }
    return out + "\"";
}

}  // namespace

std::string JsonText::number(double value)
{
    char digits[40];
    std::snprintf(digits, sizeof digits, "%.17g", value);
    return digits;
}

std::string JsonText::list(const double* values, std::size_t count)
{
    std::string out = "[";
    for (std::size_t i = 0; i < count; ++i) out += (i > 0 ? ", " : "") + number(values[i]);
    return out + "]";
}

/// Everything that stands in front of a value: comma, line, indent, key.
void JsonText::begin(const char* key)
{
    if (!first_) text_ += ",";
    if (depth_ > 0) text_ += "\n" + std::string(static_cast<std::size_t>(2 * depth_), ' ');
    if (key != nullptr) text_ += quoted(key) + ": ";
    first_ = false;
}

void JsonText::openObject(const char* key)
{
    begin(key);
    text_ += "{";
    ++depth_;
    first_ = true;
}

void JsonText::closeObject()
{
    --depth_;
    text_ += "\n" + std::string(static_cast<std::size_t>(2 * depth_), ' ') + "}";
    first_ = false;
}

void JsonText::flag(const char* key, bool value)
{
    begin(key);
    text_ += value ? "true" : "false";
}

void JsonText::member(const char* key, double value)
{
    begin(key);
    text_ += number(value);
}

void JsonText::member(const char* key, int value)
{
    begin(key);
    text_ += std::to_string(value);
}

void JsonText::member(const char* key, const std::string& value)
{
    begin(key);
    text_ += quoted(value);
}

void JsonText::member(const char* key, const std::vector<double>& values)
{
    begin(key);
    text_ += list(values.data(), values.size());
}

void JsonText::member(const char* key, const std::vector<std::string>& values)
{
    begin(key);
    text_ += "[";
    for (std::size_t i = 0; i < values.size(); ++i)
        text_ += (i > 0 ? ", " : "") + quoted(values[i]);
    text_ += "]";
}

void JsonText::points(const char* key, const std::vector<double>& numbers, int dimension)
{
    begin(key);
    text_ += "[";
    const auto d = static_cast<std::size_t>(dimension);
    for (std::size_t i = 0; i < numbers.size(); i += d) {
        text_ +=
            (i > 0 ? ",\n" : "\n") + std::string(static_cast<std::size_t>(2 * depth_ + 2), ' ');
        text_ += list(&numbers[i], d);
    }
    text_ += "\n" + std::string(static_cast<std::size_t>(2 * depth_), ' ') + "]";
}

void JsonText::rows(const char* key, const std::vector<double>& numbers, int dimension, int perRow)
{
    begin(key);
    text_ += "[";
    const auto d = static_cast<std::size_t>(dimension);
    const std::size_t rowLength = d * static_cast<std::size_t>(perRow);
    const std::string indent(static_cast<std::size_t>(2 * depth_), ' ');
    for (std::size_t i = 0; i < numbers.size(); i += d) {
        if (i % rowLength == 0)
            text_ += (i > 0 ? "],\n" : "\n") + indent + "  [";
        else
            text_ += ", ";
        text_ += list(&numbers[i], d);
    }
    text_ += "]\n" + indent + "]";
}

}  // namespace knotfit
