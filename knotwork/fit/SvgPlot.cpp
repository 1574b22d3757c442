// SPDX-License-Identifier: MIT
#include "knotwork/fit/SvgPlot.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>

namespace knotwork {

namespace {

constexpr double kLeft = 80.0;
constexpr double kRight = 20.0;
constexpr double kTop = 56.0;
constexpr double kBottom = 84.0;

std::string pixels(double value)
{
    char digits[32];
    std::snprintf(digits, sizeof digits, "%.2f", value);
    return digits;
}

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

/// Round numbers inside [low, high]: multiples of 1, 2 or 5 times a power of ten.
std::vector<double> ticks(double low, double high)
{
    constexpr double kWanted = 7.0;
    const double rough = (high - low) / kWanted;
    const double power = std::pow(10.0, std::floor(std::log10(rough)));
    double step = 10.0 * power;
    for (const double factor : {1.0, 2.0, 5.0})
        if (rough <= factor * power) {
            step = factor * power;
            break;
        }
    std::vector<double> values;
    const double first = std::ceil(low / step);
    for (double k = first; k * step <= high && values.size() < 50; k += 1.0)
        values.push_back(k == 0.0 ? 0.0 : k * step);
    return values;
}

std::string number(double value)
{
    char digits[32];
    std::snprintf(digits, sizeof digits, "%.6g", value);
    return digits;
}

}  // namespace

void PlotRange::include(PlotPoint p)
{
    if (!std::isfinite(p.x) || !std::isfinite(p.y)) return;
    low = empty ? p : PlotPoint{std::min(low.x, p.x), std::min(low.y, p.y)};
    high = empty ? p : PlotPoint{std::max(high.x, p.x), std::max(high.y, p.y)};
    empty = false;
}

void PlotRange::widen(double share)
{
    const auto side = [share](double& from, double& to) {
        const double size = to - from;
        // A flat side gets room in proportion to where it lies.
        const double room = size > 0.0 ? share * size : std::max(std::fabs(to) * 0.1, 1e-300);
        from -= room;
        to += room;
    };
    side(low.x, high.x);
    side(low.y, high.y);
}

void PlotRange::keepAspect(double widthToHeight)
{
    const double width = high.x - low.x;
    const double height = high.y - low.y;
    const double moreWidth = std::max(height * widthToHeight - width, 0.0) / 2;
    const double moreHeight = std::max(width / widthToHeight - height, 0.0) / 2;
    low.x -= moreWidth;
    high.x += moreWidth;
    low.y -= moreHeight;
    high.y += moreHeight;
}

double SvgPlot::aspect()
{
    return (kWidth - kLeft - kRight) / (kHeight - kTop - kBottom);
}

SvgPlot::SvgPlot(std::ostream& os, const PlotRange& range) : os_(os), range_(range), keyAt_(kLeft)
{
    os_ << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << kWidth << "\" height=\""
        << kHeight << "\" viewBox=\"0 0 " << kWidth << ' ' << kHeight
        << "\" font-family=\"sans-serif\" fill=\"none\">\n"
        << "<rect width=\"100%\" height=\"100%\" fill=\"#ffffff\"/>\n";
}

SvgPlot::~SvgPlot()
{
    os_ << "</svg>\n";
}

double SvgPlot::px(double x) const
{
    return kLeft + (x - range_.low.x) / (range_.high.x - range_.low.x) * (kWidth - kLeft - kRight);
}

double SvgPlot::py(double y) const
{
    return kHeight - kBottom -
           (y - range_.low.y) / (range_.high.y - range_.low.y) * (kHeight - kTop - kBottom);
}

void SvgPlot::text(double x, double y, const char* anchor, int size, const std::string& words)
{
    os_ << "<text x=\"" << pixels(x) << "\" y=\"" << pixels(y) << "\" text-anchor=\"" << anchor
        << "\" font-size=\"" << size << "\" fill=\"#333333\">" << escaped(words) << "</text>\n";
}

void SvgPlot::axes(const std::string& xName, const std::string& yName)
{
    const double bottom = kHeight - kBottom;
    const double right = kWidth - kRight;
    for (const double x : ticks(range_.low.x, range_.high.x)) {
        os_ << "<path d=\"M" << pixels(px(x)) << ' ' << pixels(kTop) << 'V' << pixels(bottom)
            << "\" stroke=\"#eeeeee\"/>\n";
        text(px(x), bottom + 16, "middle", 12, number(x));
    }
    for (const double y : ticks(range_.low.y, range_.high.y)) {
        os_ << "<path d=\"M" << pixels(kLeft) << ' ' << pixels(py(y)) << 'H' << pixels(right)
            << "\" stroke=\"#eeeeee\"/>\n";
        text(kLeft - 6, py(y) + 4, "end", 12, number(y));
    }
    os_ << "<path d=\"M" << pixels(kLeft) << ' ' << pixels(kTop) << 'V' << pixels(bottom) << 'H'
        << pixels(right) << "\" stroke=\"#333333\"/>\n";
    text((kLeft + right) / 2, bottom + 34, "middle", 13, xName);
    os_ << "<g transform=\"rotate(-90 18 " << pixels((kTop + bottom) / 2) << ")\">";
    text(18, (kTop + bottom) / 2, "middle", 13, yName);
    os_ << "</g>\n";
}

void SvgPlot::title(const std::string& words, const std::string& subtitle)
{
    text(kLeft, 22, "start", 16, words);
    text(kLeft, 42, "start", 12, subtitle);
}

void SvgPlot::polyline(const std::vector<PlotPoint>& points, const char* style)
{
    if (points.empty()) return;
    os_ << "<path d=\"";
    char command = 'M';
    for (const PlotPoint& p : points) {
        os_ << command << pixels(px(p.x)) << ' ' << pixels(py(p.y));
        command = 'L';
    }
    os_ << "\" " << style << "/>\n";
}

void SvgPlot::dot(PlotPoint p, double radius, const char* style)
{
    os_ << "<circle cx=\"" << pixels(px(p.x)) << "\" cy=\"" << pixels(py(p.y)) << "\" r=\""
        << pixels(radius) << "\" " << style << "/>\n";
}

void SvgPlot::diamond(PlotPoint p, double size, const char* style)
{
    os_ << "<path d=\"M" << pixels(px(p.x)) << ' ' << pixels(py(p.y) - size) << 'l' << pixels(size)
        << ' ' << pixels(size) << 'l' << pixels(-size) << ' ' << pixels(size) << 'l'
        << pixels(-size) << ' ' << pixels(-size) << "z\" " << style << "/>\n";
}

void SvgPlot::tangent(PlotPoint p, PlotPoint direction, double length, const char* style)
{
    // Not from the ends' places: a direction can be small beside the point.
    const double dx = direction.x / (range_.high.x - range_.low.x) * (kWidth - kLeft - kRight);
    const double dy = -direction.y / (range_.high.y - range_.low.y) * (kHeight - kTop - kBottom);
    const double size = std::hypot(dx, dy);
    if (!(size > 0.0) || !std::isfinite(size)) return;
    const double hx = dx / size * length / 2;
    const double hy = dy / size * length / 2;
    os_ << "<path d=\"M" << pixels(px(p.x) - hx) << ' ' << pixels(py(p.y) - hy) << 'l'
        << pixels(2 * hx) << ' ' << pixels(2 * hy) << "\" " << style << "/>\n";
}

void SvgPlot::axisMark(double x, const char* style)
{
    const double bottom = kHeight - kBottom;
    os_ << "<path d=\"M" << pixels(px(x)) << ' ' << pixels(bottom) << "v-9\" " << style << "/>\n";
}

void SvgPlot::key(const std::string& shape, const char* style, const std::string& words)
{
    const double y = kHeight - 18;
    if (shape == "dot")
        os_ << "<circle cx=\"" << pixels(keyAt_ + 10) << "\" cy=\"" << y << "\" r=\"4\" " << style
            << "/>\n";
    else if (shape == "diamond")
        os_ << "<path d=\"M" << pixels(keyAt_ + 10) << ' ' << y - 6 << "l6 6l-6 6l-6 -6z\" "
            << style << "/>\n";
    else
        os_ << "<path d=\"M" << pixels(keyAt_) << ' ' << y << "h20\" " << style << "/>\n";
    text(keyAt_ + 26, y + 4, "start", 12, words);
    keyAt_ += 46 + 7.0 * static_cast<double>(words.size());
}

}  // namespace knotwork
