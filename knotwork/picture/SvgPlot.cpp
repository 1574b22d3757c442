// SPDX-License-Identifier: MIT
#include "knotwork/picture/SvgPlot.h"

#include <algorithm>
#include <cmath>

namespace knotwork {

namespace {

constexpr const char* kGridStyle = "stroke=\"#eeeeee\"";

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

std::string place(PlotPoint p)
{
    return pixels(p.x) + ' ' + pixels(p.y);
}

/// From a point of the paper, with a head of two strokes.
std::string arrowPath(PlotPoint from, PlotPoint along)
{
    constexpr double kHead = 9.0;
    constexpr double kSpread = 0.45;  // of a stroke's run
    const double size = std::hypot(along.x, along.y);
    const PlotPoint back = {-along.x / size * kHead, -along.y / size * kHead};
    const PlotPoint tip = {from.x + along.x, from.y + along.y};
    const PlotPoint aside = {-back.y * kSpread, back.x * kSpread};
    return 'M' + place(from) + 'L' + place(tip) + 'M' +
           place({tip.x + back.x + aside.x, tip.y + back.y + aside.y}) + 'L' + place(tip) + 'L' +
           place({tip.x + back.x - aside.x, tip.y + back.y - aside.y});
}

std::string barPath(PlotPoint middle, bool upright, double length)
{
    constexpr double kStop = 10.0;
    const PlotPoint half = upright ? PlotPoint{0.0, length / 2} : PlotPoint{length / 2, 0.0};
    const PlotPoint stop = upright ? PlotPoint{kStop, 0.0} : PlotPoint{0.0, kStop};
    const PlotPoint low = {middle.x - half.x, middle.y - half.y};
    const PlotPoint high = {middle.x + half.x, middle.y + half.y};
    const auto stopAt = [&stop](PlotPoint end) {
        return 'M' + place({end.x - stop.x / 2, end.y - stop.y / 2}) + 'l' + place(stop);
    };
    return 'M' + place(low) + 'L' + place(high) + stopAt(low) + stopAt(high);
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

SvgPlot::SvgPlot(SvgCanvas& canvas, const PlotFrame& frame, const PlotRange& range)
    : canvas_(canvas), frame_(frame), range_(range), keyAt_(frame.left)
{
}

PlotPoint SvgPlot::onPaper(PlotPoint p) const
{
    const double x = (p.x - range_.low.x) / (range_.high.x - range_.low.x);
    const double y = (p.y - range_.low.y) / (range_.high.y - range_.low.y);
    return {frame_.left + x * frame_.width(), frame_.bottom - y * frame_.height()};
}

void SvgPlot::axes(const std::string& xName, const std::string& yName)
{
    for (const double x : ticks(range_.low.x, range_.high.x)) {
        const double at = onPaper({x, range_.low.y}).x;
        canvas_.path('M' + place({at, frame_.top}) + 'V' + pixels(frame_.bottom), kGridStyle);
        canvas_.text({at, frame_.bottom + 16}, "middle", 12, number(x));
    }
    uprightNumbers();
    canvas_.path('M' + place({frame_.left, frame_.top}) + 'V' + pixels(frame_.bottom) + 'H' +
                     pixels(frame_.right),
                 "stroke=\"#333333\"");
    canvas_.text({(frame_.left + frame_.right) / 2, frame_.bottom + 34}, "middle", 13, xName);
    canvas_.uprightText({frame_.left - 62, (frame_.top + frame_.bottom) / 2}, 13, yName);
}

void SvgPlot::uprightNumbers()
{
    for (const double y : ticks(range_.low.y, range_.high.y)) {
        const double at = onPaper({range_.low.x, y}).y;
        canvas_.path('M' + place({frame_.left, at}) + 'H' + pixels(frame_.right), kGridStyle);
        canvas_.text({frame_.left - 6, at + 4}, "end", 12, number(y));
    }
}

void SvgPlot::polyline(const std::vector<PlotPoint>& points, const char* style)
{
    if (points.empty()) return;
    std::string steps;
    for (const PlotPoint& p : points) steps += (steps.empty() ? 'M' : 'L') + place(onPaper(p));
    canvas_.path(steps, style);
}

void SvgPlot::dot(PlotPoint p, double radius, const char* style)
{
    canvas_.circle(onPaper(p), radius, style);
}

void SvgPlot::diamond(PlotPoint p, double size, const char* style)
{
    const PlotPoint at = onPaper(p);
    canvas_.path('M' + place({at.x, at.y - size}) + 'l' + place({size, size}) + 'l' +
                     place({-size, size}) + 'l' + place({-size, -size}) + 'z',
                 style);
}

PlotPoint SvgPlot::stretch(PlotPoint direction, double length) const
{
    // Not from the ends' places: a direction can be small beside the point.
    const double dx = direction.x / (range_.high.x - range_.low.x) * frame_.width();
    const double dy = -direction.y / (range_.high.y - range_.low.y) * frame_.height();
    const double size = std::hypot(dx, dy);
    if (!(size > 0.0) || !std::isfinite(size)) return {0.0, 0.0};
    return {dx / size * length, dy / size * length};
}

void SvgPlot::tangent(PlotPoint p, PlotPoint direction, double length, const char* style)
{
    const PlotPoint half = stretch(direction, length / 2);
    if (half.x == 0.0 && half.y == 0.0) return;
    const PlotPoint at = onPaper(p);
    canvas_.path(
        'M' + place({at.x - half.x, at.y - half.y}) + 'l' + place({2 * half.x, 2 * half.y}), style);
}

void SvgPlot::arrow(PlotPoint p, PlotPoint direction, double length, const char* style)
{
    const PlotPoint along = stretch(direction, length);
    if (along.x == 0.0 && along.y == 0.0) return;
    canvas_.path(arrowPath(onPaper(p), along), style);
}

void SvgPlot::bar(PlotPoint p, bool upright, double length, const char* style)
{
    canvas_.path(barPath(onPaper(p), upright, length), style);
}

void SvgPlot::axisMark(double x, const char* style)
{
    const double at = onPaper({x, range_.low.y}).x;
    canvas_.path('M' + place({at, frame_.bottom}) + "v-9", style);
}

void SvgPlot::key(const std::string& shape, const char* style, const std::string& words)
{
    const double y = frame_.bottom + 66;
    if (shape == "dot")
        canvas_.circle({keyAt_ + 10, y}, 4, style);
    else if (shape == "diamond")
        canvas_.path('M' + place({keyAt_ + 10, y - 6}) + "l6 6l-6 6l-6 -6z", style);
    else if (shape == "bar")
        canvas_.path(barPath({keyAt_ + 10, y}, true, 14), style);
    else if (shape == "arrow")
        canvas_.path(arrowPath({keyAt_, y}, {20, 0}), style);
    else
        canvas_.path('M' + place({keyAt_, y}) + "h20", style);
    canvas_.text({keyAt_ + 26, y + 4}, "start", 12, words);
    keyAt_ += 46 + 7.0 * static_cast<double>(words.size());
}

}  // namespace knotwork
