// SPDX-License-Identifier: MIT
#include "knotwork/picture/ResidualMap.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "knotwork/approx/AP_EVAL_CONST_PARM.h"
#include "knotwork/picture/SurfaceView.h"

namespace knotwork {

namespace {

constexpr int kMostCells = 88;  // in a direction; a cell of more samples shows their worst
constexpr int kLevels = 33;     // of colour; odd, so that 0 of a signed scale is white
constexpr double kScaleRoom = 90.0;
constexpr double kScaleWidth = 18.0;

constexpr const char* kCellStyle = "shape-rendering=\"crispEdges\" ";
constexpr double kNegativeZeroPositive[3][3] = {
    {0.13, 0.40, 0.67}, {0.97, 0.97, 0.97}, {0.70, 0.09, 0.17}};
constexpr double kNoneSomeMost[3][3] = {{1.00, 0.98, 0.90}, {0.93, 0.50, 0.18}, {0.35, 0.02, 0.10}};

/// The samples of a direction in the order of their parameters, a few at a time where there are
/// too many to show each.
class CellBorders {
  public:
    CellBorders(const DoubleVec& parameters, int samples, double first, double last)
    {
        const int count = std::min(static_cast<int>(parameters.length()), samples);
        order_.resize(static_cast<std::size_t>(count));
        std::iota(order_.begin(), order_.end(), 0);
        std::stable_sort(order_.begin(), order_.end(),
                         [&parameters](int a, int b) { return parameters(a) < parameters(b); });
        perCell_ = std::max((count + kMostCells - 1) / kMostCells, 1);
        if (count == 0) return;
        const auto ordered = [&](int k) { return parameters(order_[static_cast<std::size_t>(k)]); };
        // A cell at the border reaches as far out as in, though not out of the range.
        const double ahead = count > 1 ? (ordered(1) - ordered(0)) / 2 : last - first;
        const double behind =
            count > 1 ? (ordered(count - 1) - ordered(count - 2)) / 2 : last - first;
        at_.push_back(std::min(ordered(0), std::max(ordered(0) - ahead, first)));
        for (int k = perCell_; k < count; k += perCell_)
            at_.push_back(ordered(k - 1) / 2 + ordered(k) / 2);
        at_.push_back(std::max(ordered(count - 1), std::min(ordered(count - 1) + behind, last)));
    }

    int cells() const { return std::max(static_cast<int>(at_.size()) - 1, 0); }
    int samples() const { return static_cast<int>(order_.size()); }
    int sample(int k) const { return order_[static_cast<std::size_t>(k)]; }
    int cellOf(int k) const { return k / perCell_; }
    int perCell() const { return perCell_; }
    double border(int cell) const { return at_[static_cast<std::size_t>(cell)]; }

  private:
    std::vector<int> order_;
    std::vector<double> at_;
    int perCell_ = 1;
};

class ResidualCells {
  public:
    ResidualCells(const FittedSurface& surface, const TtupleMatrix& points, const DoubleVec& us,
                  const DoubleVec& vs)
        : u(us, points.rows(), surface.u.first(), surface.u.last()),
          v(vs, points.cols(), surface.v.first(), surface.v.last()),
          dimension_(std::min(points.size(), surface.dimension)),
          values_(static_cast<std::size_t>(u.cells()) * static_cast<std::size_t>(v.cells()), 0.0)
    {
        AP_SURFACE evaluated(*surface.surface);
        AP_EVAL_CONST_PARM line(evaluated);
        for (int j = 0; j < v.samples(); ++j) {
            line.setv(vs(v.sample(j)));
            for (int i = 0; i < u.samples(); ++i) {
                line.eval(us(u.sample(i)));
                include(i, j, residual(points.point(u.sample(i), v.sample(j)), line()));
            }
        }
    }

    double value(int i, int j) const
    {
        return values_[static_cast<std::size_t>(j) * static_cast<std::size_t>(u.cells()) +
                       static_cast<std::size_t>(i)];
    }
    bool isSigned() const { return dimension_ == 1; }
    double largest() const { return largest_; }

    const CellBorders u;
    const CellBorders v;

  private:
    double residual(const DoubleVec& data, const double* drawn) const
    {
        if (isSigned()) return data(0) - *drawn;
        double distance = 0.0;
        for (int c = 0; c < dimension_; ++c) distance = std::hypot(distance, data(c) - drawn[c]);
        return distance;
    }

    void include(int i, int j, double residual)
    {
        constexpr double kMost = std::numeric_limits<double>::max() / 4;  // the scale has two ends
        const double drawn = std::clamp(residual, -kMost, kMost);
        double& worst =
            values_[static_cast<std::size_t>(v.cellOf(j)) * static_cast<std::size_t>(u.cells()) +
                    static_cast<std::size_t>(u.cellOf(i))];
        if (std::fabs(drawn) > std::fabs(worst)) worst = drawn;
        largest_ = std::max(largest_, std::fabs(worst));
    }

    int dimension_;
    double largest_ = 0.0;
    std::vector<double> values_;
};

/// From values to one of kLevels colours.
class ColourScale {
  public:
    ColourScale(bool isSigned, double largest)
        : isSigned_(isSigned), largest_(largest > 0.0 ? largest : 1.0)
    {
    }

    double low() const { return isSigned_ ? -largest_ : 0.0; }
    double high() const { return largest_; }
    int level(double value) const
    {
        const double share = value / largest_;
        const double along = isSigned_ ? (share + 1.0) / 2 : share;
        return static_cast<int>(std::lround(std::clamp(along, 0.0, 1.0) * (kLevels - 1)));
    }
    std::string fill(int level) const
    {
        const double along = 2.0 * level / (kLevels - 1);
        const int stop = along < 1.0 ? 0 : 1;
        const auto& stops = isSigned_ ? kNegativeZeroPositive : kNoneSomeMost;
        double rgb[3];
        for (int c = 0; c < 3; ++c)
            rgb[c] = stops[stop][c] + (along - stop) * (stops[stop + 1][c] - stops[stop][c]);
        return "fill=\"" + colour(rgb) + '"';
    }

  private:
    bool isSigned_;
    double largest_;
};

/// The largest rectangle of the parameters' proportion in a room, at its left.
PlotFrame mapFrame(const PlotFrame& room, double aspect)
{
    const double width = std::min(room.width() - kScaleRoom, room.height() * aspect);
    const double rest = (room.height() - width / aspect) / 2;
    return {room.left, room.top + rest, room.left + width, room.bottom - rest};
}

/// Neighbours of one colour in a row become one rectangle, and each colour one path.
void drawCells(SvgCanvas& canvas, const SvgPlot& plot, const ResidualCells& cells,
               const ColourScale& scale)
{
    std::vector<std::string> paths(kLevels);
    for (int j = 0; j < cells.v.cells(); ++j)
        for (int i = 0; i < cells.u.cells();) {
            const int from = i;
            const int level = scale.level(cells.value(i, j));
            while (i < cells.u.cells() && scale.level(cells.value(i, j)) == level) ++i;
            paths[static_cast<std::size_t>(level)] +=
                shortRectangle(plot.onPaper({cells.u.border(from), cells.v.border(j)}),
                               plot.onPaper({cells.u.border(i), cells.v.border(j + 1)}));
        }
    canvas.openGroup(std::string(kCellStyle) + kInTenths);
    for (int level = 0; level < kLevels; ++level) {
        const std::string& path = paths[static_cast<std::size_t>(level)];
        if (!path.empty()) canvas.path(path, scale.fill(level));
    }
    canvas.closeGroup();
}

void drawScale(SvgCanvas& canvas, const PlotFrame& frame, const ColourScale& scale)
{
    SvgPlot plot(canvas, frame, {{0.0, scale.low()}, {1.0, scale.high()}, false});
    const double step = frame.height() / kLevels;
    canvas.openGroup(std::string(kCellStyle) + kInTenths);
    for (int level = 0; level < kLevels; ++level)
        canvas.path(shortRectangle({frame.left, frame.bottom - level * step},
                                   {frame.right, frame.bottom - (level + 1) * step}),
                    scale.fill(level));
    canvas.closeGroup();
    plot.uprightNumbers();
}

std::string caption(const ResidualCells& cells)
{
    const std::string what =
        cells.isSigned() ? "residual: data - surface" : "residual: distance of data and surface";
    if (cells.u.perCell() == 1 && cells.v.perCell() == 1) return what;
    return what + ", the largest of " + std::to_string(cells.u.perCell()) + " x " +
           std::to_string(cells.v.perCell()) + " samples";
}

}  // namespace

void drawResiduals(SvgCanvas& canvas, const PlotFrame& room, const FittedSurface& surface,
                   const TtupleMatrix& points, const DoubleVec& uParameters,
                   const DoubleVec& vParameters)
{
    constexpr const char* kKnotStyle = "stroke=\"#000000\" stroke-opacity=\"0.15\"";
    const ResidualCells cells(surface, points, uParameters, vParameters);
    const ColourScale scale(cells.isSigned(), cells.largest());
    const PlotFrame frame = mapFrame(room, parameterAspect(surface));
    PlotRange range;
    range.include({surface.u.first(), surface.v.first()});
    range.include({surface.u.last(), surface.v.last()});
    if (cells.u.cells() > 0 && cells.v.cells() > 0) {
        range.include({cells.u.border(0), cells.v.border(0)});
        range.include({cells.u.border(cells.u.cells()), cells.v.border(cells.v.cells())});
    }

    SvgPlot plot(canvas, frame, range);
    plot.axes("u", "v");
    canvas.text({frame.left, frame.top - 12}, "start", 12, caption(cells));
    drawCells(canvas, plot, cells, scale);
    for (const double u : surface.u.breakpoints())
        plot.polyline({{u, range.low.y}, {u, range.high.y}}, kKnotStyle);
    for (const double v : surface.v.breakpoints())
        plot.polyline({{range.low.x, v}, {range.high.x, v}}, kKnotStyle);
    drawScale(
        canvas,
        {frame.right + kScaleRoom - kScaleWidth, frame.top, frame.right + kScaleRoom, frame.bottom},
        scale);
}

}  // namespace knotwork
