// SPDX-License-Identifier: MIT
#pragma once

#include <regex>
#include <string>
#include <vector>

namespace knotwork_test {

/// What is not well-formed in an XML text of elements, quoted attributes and words; empty when all
/// is. Tags must nest under one root, attributes may not repeat, and only characters and entities
/// that XML knows may stand in it. UTF-8 is checked by its lead and trail bytes.
inline std::string xmlFault(const std::string& text)
{
    static const std::regex tag(R"(<(/?)([A-Za-z][\w:-]*)((?:\s+[\w:-]+="[^"<]*")*)\s*(/?)>)");
    static const std::regex badEntity("&(?!(amp|lt|gt|quot|apos);)");
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
    if (std::regex_search(text, badEntity)) return "a bare ampersand";
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
        std::smatch match;
        const std::string candidate = text.substr(next, text.find('>', next) + 1 - next);
        if (!std::regex_match(candidate, match, tag)) return "no tag: " + candidate;
        if (open.empty() && rootSeen) return "a second root";
        rootSeen = true;
        if (match[1].length() > 0) {
            if (open.empty() || open.back() != match[2]) return "not nested: " + candidate;
            open.pop_back();
        } else if (match[4].length() == 0) {
            open.push_back(match[2]);
        }
        at = next + candidate.size();
    }
    if (!rootSeen) return "no element";
    return open.empty() ? "" : "never closed: " + open.back();
}

}  // namespace knotwork_test
