// SPDX-License-Identifier: MIT
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace knotwork {

struct PlotPoint {
    double x;
    double y;
};

std::string pixels(double value);            ///< with two digits
std::string number(double value);            ///< as a reader wants it
std::string colour(const double (&rgb)[3]);  ///< of shares from 0 to 1

/// What a group of short paths says among its style.
constexpr const char* kInTenths = "transform=\"scale(0.1)\"";

/// The steps of a path through points in whole tenths of a pixel, because there are many.
std::string shortPath(const std::vector<PlotPoint>& points);
std::string shortRectangle(PlotPoint corner, PlotPoint opposite);

/// A white sheet, written to a stream as SVG. Coordinates are pixels, y downwards; a style is the
/// attributes of an element.
class SvgCanvas {
  public:
    SvgCanvas(std::ostream& os, double width, double height);
    ~SvgCanvas();  ///< closes the picture
    SvgCanvas(const SvgCanvas&) = delete;
    SvgCanvas& operator=(const SvgCanvas&) = delete;

    void title(double x, const std::string& words, const std::string& subtitle);
    void text(PlotPoint at, const char* anchor, int size, const std::string& words);
    void uprightText(PlotPoint middle, int size, const std::string& words);
    void path(const std::string& steps, const std::string& style);
    void circle(PlotPoint middle, double radius, const char* style);
    void openGroup(const std::string& style);
    void closeGroup();

  private:
    std::ostream& os_;
};

}  // namespace knotwork
