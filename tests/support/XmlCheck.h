// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cctype>
#include <string>
#include <vector>

namespace knotwork_test {

/// Walks over `name="value"` after a blank; false when the rest of a tag is something else.
inline bool xmlAttribute(const std::string& tag, std::size_t& at, std::vector<std::string>& names)
{
    const std::size_t start = tag.find_first_not_of(" \n", at);
    const std::size_t equals = tag.find("=\"", at);
    if (start == at || equals == std::string::npos) return false;
    const std::string name = tag.substr(start, equals - start);
    const std::size_t end = tag.find('"', equals + 2);
    const bool named = !name.empty() && std::all_of(name.begin(), name.end(), [](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '-' || c == ':';
    });
    if (!named || std::find(names.begin(), names.end(), name) != names.end() ||
        end == std::string::npos)
        return false;
    names.push_back(name);
    at = end + 1;
    return true;
}

/// What is not well-formed in an XML text of elements, quoted attributes and words; empty when all
/// is. Tags must nest under one root, attributes may not repeat, and only characters and entities
/// that XML knows may stand in it. UTF-8 is checked by its lead and trail bytes.
inline std::string xmlFault(const std::string& text)
{
    std::size_t trailing = 0;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if ((byte & 0xC0U) == 0x80 ? trailing == 0 : trailing != 0) return "broken UTF-8";
        if (trailing > 0)
            --trailing;
        else if (byte >= 0x80)
            trailing = byte >= 0xF0 ? 3 : byte >= 0xE0 ? 2 : 1;
        if (byte >= 0xF8 || (byte < 0x20 && c != '\n' && c != '\t')) return "a bad character";
    }
    if (trailing > 0) return "broken UTF-8";
    for (std::size_t at = text.find('&'); at != std::string::npos; at = text.find('&', at + 1)) {
        const std::string entity = text.substr(at + 1, text.find(';', at) - at - 1);
        if (entity != "amp" && entity != "lt" && entity != "gt" && entity != "quot")
            return "a bare ampersand";
    }
    std::vector<std::string> open;
    std::size_t at = 0;
    bool rootSeen = false;
    while (true) {
        const std::size_t next = text.find('<', at);
        const std::string words = text.substr(at, next - at);
        if (words.find('>') != std::string::npos) return "a stray >";
        if (open.empty() && words.find_first_not_of(" \n\t") != std::string::npos)
            return "words outside the root: " + words;
        if (next == std::string::npos) break;
        at = text.find('>', next);
        if (at == std::string::npos) return "no tag: " + text.substr(next);
        std::string tag = text.substr(next + 1, at++ - next - 1);
        if (open.empty() && rootSeen) return "a second root";
        rootSeen = true;
        if (tag[0] == '/') {
            if (open.empty() || open.back() != tag.substr(1)) return "not nested: " + tag;
            open.pop_back();
            continue;
        }
        const bool whole = tag.back() == '/';
        if (whole) tag.pop_back();
        std::size_t in = std::min(tag.find_first_of(" \n"), tag.size());
        if (!whole) open.push_back(tag.substr(0, in));
        std::vector<std::string> names;
        while (in < tag.size())
            if (tag.find('<') != std::string::npos || !xmlAttribute(tag, in, names))
                return "no tag: " + tag;
    }
    if (!rootSeen) return "no element";
    return open.empty() ? "" : "never closed: " + open.back();
}

}  // namespace knotwork_test
