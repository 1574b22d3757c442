// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "knotwork/picture/SvgCanvas.h"

namespace knotwork {

/// The rectangle of data that a plot shows.
struct PlotRange {
    PlotPoint low{0.0, 0.0};
    PlotPoint high{0.0, 0.0};
    bool empty = true;

    void include(PlotPoint p);
    void widen(double share);  ///< by a share of its size on every side; never leaves it flat
    void keepAspect(double widthToHeight);  ///< grows one side until units are equal on both axes
};

/// The rectangle of paper that a plot fills; names and numbers of the axes stand outside it.
struct PlotFrame {
    double left;
    double top;
    double right;
    double bottom;

    double width() const { return right - left; }
    double height() const { return bottom - top; }
    double aspect() const { return width() / height(); }
};

/// A plot with numbered axes in a part of a canvas. Coordinates are the data's own.
class SvgPlot {
  public:
    SvgPlot(SvgCanvas& canvas, const PlotFrame& frame, const PlotRange& range);

    PlotPoint onPaper(PlotPoint p) const;
    void axes(const std::string& xName, const std::string& yName);
    void uprightNumbers();  ///< of the upright axis alone
    void polyline(const std::vector<PlotPoint>& points, const char* style);
    void dot(PlotPoint p, double radius, const char* style);
    void diamond(PlotPoint p, double size, const char* style);
    /// A segment through p along a direction of the data, `length` pixels long.
    void tangent(PlotPoint p, PlotPoint direction, double length, const char* style);
    /// The same from p on, with a head.
    void arrow(PlotPoint p, PlotPoint direction, double length, const char* style);
    /// A segment along one axis through p, with a stop at either end.
    void bar(PlotPoint p, bool upright, double length, const char* style);
    void axisMark(double x, const char* style);  ///< a tick that stands on the horizontal axis
    /// An entry of the key below the plot; shape is "line", "dot", "diamond", "bar" or
    /// "arrow".
    void key(const std::string& shape, const char* style, const std::string& text);

  private:
    /// What is `length` pixels long along a direction of the data; nothing without a direction.
    PlotPoint stretch(PlotPoint direction, double length) const;

    SvgCanvas& canvas_;
    PlotFrame frame_;
    PlotRange range_;
    double keyAt_;
};

}  // namespace knotwork
