// SPDX-License-Identifier: MIT
#include "knotwork/picture/SvgCanvas.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>

#include "knotwork/fit/NumberText.h"

namespace knotwork {

namespace {

/// The bytes of the character at a place: 0 for what is no UTF-8, or no character of XML.
std::size_t characterLength(const std::string& words, std::size_t at)
{
    const auto lead = static_cast<unsigned char>(words[at]);
    if (lead < 0x80) return lead >= 0x20 || lead == '\t' || lead == '\n' ? 1 : 0;
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC0 || lead >= 0xF8 || at + length > words.size()) return 0;
    std::uint32_t code = lead & (0xFFU >> (length + 1));
    for (std::size_t i = at + 1; i < at + length; ++i) {
        const auto trail = static_cast<unsigned char>(words[i]);
        if ((trail & 0xC0U) != 0x80) return 0;
        code = code << 6 | (trail & 0x3FU);
    }
    constexpr std::uint32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};  // by length
    const bool surrogate = code >= 0xD800 && code < 0xE000;
    return code < kLeast[length] || code > 0x10FFFF || surrogate || (code & 0xFFFEU) == 0xFFFE
               ? 0
               : length;
}

std::string escaped(const std::string& words)
{
    std::string out;
    for (std::size_t i = 0; i < words.size();) {
        const std::size_t length = characterLength(words, i);
        const char c = words[i];
        if (length == 0)
            out += '?';
        else if (c == '&')
            out += "&amp;";
        else if (c == '<')
            out += "&lt;";
        else if (c == '>')
            out += "&gt;";
        else if (c == '"')
            out += "&quot;";
        else
            out.append(words, i, length);
        i += std::max<std::size_t>(length, 1);
    }
    return out;
}

/// In tenths of a pixel.
long tenths(double value)
{
    return std::lround(10.0 * value);
}

/// A step of a path, with a space only where the sign does not part the numbers.
std::string step(char command, long x, long y)
{
    return command + std::to_string(x) + (y < 0 ? "" : " ") + std::to_string(y);
}

}  // namespace

std::string pixels(double value)
{
    return fixedText(value, 2);
}

std::string number(double value)
{
    return generalText(value, 6);
}

std::string colour(const double (&rgb)[3])
{
    unsigned parts[3];
    for (int c = 0; c < 3; ++c)
        parts[c] = static_cast<unsigned>(std::lround(255.0 * std::clamp(rgb[c], 0.0, 1.0)));
    char digits[32];
    std::snprintf(digits, sizeof digits, "#%02x%02x%02x", parts[0], parts[1], parts[2]);
    return digits;
}

std::string shortPath(const std::vector<PlotPoint>& points)
{
    std::string path;
    long x = 0;
    long y = 0;
    for (const PlotPoint& p : points) {
        const long nextX = tenths(p.x);
        const long nextY = tenths(p.y);
        path += step(path.empty() ? 'M' : 'l', nextX - x, nextY - y);
        x = nextX;
        y = nextY;
    }
    return path;
}

std::string shortRectangle(PlotPoint corner, PlotPoint opposite)
{
    const long x = tenths(corner.x);
    const long y = tenths(corner.y);
    const std::string width = std::to_string(tenths(opposite.x) - x);
    const std::string height = std::to_string(tenths(opposite.y) - y);
    return step('M', x, y) + 'h' + width + 'v' + height + "H" + std::to_string(x) + 'z';
}

SvgCanvas::SvgCanvas(std::ostream& os, double width, double height) : os_(os)
{
    const std::string across = number(width);
    const std::string down = number(height);
    os_ << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << across << "\" height=\"" << down
        << "\" viewBox=\"0 0 " << across << ' ' << down
        << "\" font-family=\"sans-serif\" fill=\"none\">\n"
        << "<rect width=\"100%\" height=\"100%\" fill=\"#ffffff\"/>\n";
}

SvgCanvas::~SvgCanvas()
{
    os_ << "</svg>\n";
}

void SvgCanvas::title(double x, const std::string& words, const std::string& subtitle)
{
    text({x, 22}, "start", 16, words);
    text({x, 42}, "start", 12, subtitle);
}

void SvgCanvas::text(PlotPoint at, const char* anchor, int size, const std::string& words)
{
    os_ << "<text x=\"" << pixels(at.x) << "\" y=\"" << pixels(at.y) << "\" text-anchor=\""
        << anchor << "\" font-size=\"" << number(size) << "\" fill=\"#333333\">" << escaped(words)
        << "</text>\n";
}

void SvgCanvas::uprightText(PlotPoint middle, int size, const std::string& words)
{
    os_ << "<g transform=\"rotate(-90 " << pixels(middle.x) << ' ' << pixels(middle.y) << ")\">";
    text(middle, "middle", size, words);
    os_ << "</g>\n";
}

void SvgCanvas::path(const std::string& steps, const std::string& style)
{
    os_ << "<path d=\"" << steps << "\" " << style << "/>\n";
}

void SvgCanvas::circle(PlotPoint middle, double radius, const char* style)
{
    os_ << "<circle cx=\"" << pixels(middle.x) << "\" cy=\"" << pixels(middle.y) << "\" r=\""
        << pixels(radius) << "\" " << style << "/>\n";
}

void SvgCanvas::openGroup(const std::string& style)
{
    os_ << "<g " << style << ">\n";
}

void SvgCanvas::closeGroup()
{
    os_ << "</g>\n";
}

}  // namespace knotwork
