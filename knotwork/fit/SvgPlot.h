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

/// The rectangle of data that a plot shows.
struct PlotRange {
    PlotPoint low{0.0, 0.0};
    PlotPoint high{0.0, 0.0};
    bool empty = true;

    void include(PlotPoint p);
    void widen(double share);  ///< by a share of its size on every side; never leaves it flat
    void keepAspect(double widthToHeight);  ///< grows one side until units are equal on both axes
};

/// A plot with numbered axes, written to a stream as SVG. Coordinates are the data's own.
class SvgPlot {
  public:
    static constexpr double kWidth = 900.0;
    static constexpr double kHeight = 600.0;
    static double aspect();  ///< of the area between the axes

    SvgPlot(std::ostream& os, const PlotRange& range);
    ~SvgPlot();  ///< closes the picture
    SvgPlot(const SvgPlot&) = delete;
    SvgPlot& operator=(const SvgPlot&) = delete;

    void axes(const std::string& xName, const std::string& yName);
    void title(const std::string& text, const std::string& subtitle);
    void polyline(const std::vector<PlotPoint>& points, const char* style);
    void dot(PlotPoint p, double radius, const char* style);
    void diamond(PlotPoint p, double size, const char* style);
    /// A segment through p along a direction of the data, `length` pixels long.
    void tangent(PlotPoint p, PlotPoint direction, double length, const char* style);
    void axisMark(double x, const char* style);  ///< a tick that stands on the horizontal axis
    /// An entry of the key below the plot; shape is "line", "dot" or "diamond".
    void key(const std::string& shape, const char* style, const std::string& text);

  private:
    double px(double x) const;
    double py(double y) const;
    void text(double x, double y, const char* anchor, int size, const std::string& words);

    std::ostream& os_;
    PlotRange range_;
    double keyAt_;
};

}  // namespace knotwork
