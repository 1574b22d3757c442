// SPDX-License-Identifier: MIT
#include "knotwork/picture/CurvePicture.h"

#include <algorithm>
#include <cmath>
#include <ostream>

#include "knotwork/fit/NumberText.h"
#include "knotwork/picture/SvgPlot.h"

namespace knotwork {

namespace {

constexpr double kWidth = 900.0;
constexpr double kHeight = 600.0;
constexpr PlotFrame kFrame{80.0, 56.0, kWidth - 20.0, kHeight - 84.0};

constexpr int kPiecesPerSpan = 24;
constexpr std::size_t kMostDots = 5000;  // more data points than these are thinned in the picture

constexpr double kMostDrawn = 4e307;  // what lies beyond is drawn there

constexpr const char* kCurveStyle = "stroke=\"#1f4e9c\" stroke-width=\"2\"";
constexpr const char* kPolygonStyle =
    "stroke=\"#9a9a9a\" stroke-width=\"1\" stroke-dasharray=\"5 4\"";
constexpr const char* kControlStyle = "fill=\"#9a9a9a\"";
constexpr const char* kDataStyle = "fill=\"#e08214\" fill-opacity=\"0.75\"";
constexpr const char* kKnotStyle = "stroke=\"#2c8a4b\" stroke-width=\"2\"";
constexpr const char* kKnotFill = "fill=\"#2c8a4b\"";
constexpr const char* kSeamStyle = "stroke=\"#111111\" stroke-width=\"3\"";
constexpr double kSeamLength = 34.0;  // of a bar across the curve

constexpr const char* kConstraintStyle = "stroke=\"#c2185b\" stroke-width=\"2\"";
constexpr double kDiamondSize = 7.0;
constexpr double kTangentLength = 70.0;
constexpr double kBarLength = 40.0;
constexpr double kArrowLength = 44.0;

/// Puts parameters and coordinates on paper.
class CurveView {
  public:
    explicit CurveView(const FittedCurve& curve) : curve_(curve), graph_(curve.dimension == 1) {}

    bool graph() const { return graph_; }
    PlotPoint place(double t, const std::vector<double>& value) const
    {
        return graph_ ? PlotPoint{drawn(t), drawn(value[0])}
                      : PlotPoint{drawn(value[0]), drawn(value[1])};
    }
    double wrapped(double t) const { return curve_.basis.wrapped(t); }
    PlotPoint placeWrapped(double t, const std::vector<double>& value) const
    {
        return place(wrapped(t), value);
    }
    PlotPoint at(double t) const { return place(t, curve_.at(t)); }
    PlotPoint direction(double t) const
    {
        const std::vector<double> slope = curve_.at(t, 1);
        return graph_ ? PlotPoint{1.0, slope[0]} : PlotPoint{slope[0], slope[1]};
    }
    std::vector<double> controlValue(int i) const
    {
        const auto first = curve_.controlPoints.begin() + i * curve_.dimension;
        return {first, first + curve_.dimension};
    }
    PlotPoint control(int i) const { return place(curve_.basis.greville(i), controlValue(i)); }
    /// Of control point i of a closed graph the one within the range, which is the same.
    int inRange(int i) const
    {
        const bool before =
            graph_ && curve_.basis.closed() && curve_.basis.greville(i) < curve_.basis.first();
        return before ? i + curve_.basis.unknowns() : i;
    }

  private:
    /// Margins and equal units take room too, which must not leave the range of numbers.
    static double drawn(double x) { return std::clamp(x, -kMostDrawn, kMostDrawn); }

    const FittedCurve& curve_;
    bool graph_;
};

/// Where the segment from a to b stands at x.
PlotPoint between(PlotPoint a, PlotPoint b, double x)
{
    const double share = b.x > a.x ? (x - a.x) / (b.x - a.x) : 0.0;
    return {x, a.y * (1.0 - share) + b.y * share};
}

/// The control points, those of a closed curve once.
std::vector<PlotPoint> controlPoints(const CurveView& view, const BsplineBasis& basis)
{
    std::vector<PlotPoint> points;
    int from = 0;
    while (view.graph() && basis.closed() && basis.greville(from) < basis.first()) ++from;
    for (int i = from; i < from + basis.unknowns(); ++i) points.push_back(view.control(i));
    return points;
}

/// The way through the control points; of a closed curve back to the first, of a closed graph for
/// one period.
std::vector<PlotPoint> controlPolygon(const CurveView& view, const BsplineBasis& basis,
                                      std::vector<PlotPoint> points)
{
    if (!basis.closed()) return points;
    if (!view.graph()) {
        points.push_back(points.front());
        return points;
    }
    const PlotPoint before = {points.back().x - basis.period(), points.back().y};
    const PlotPoint start = between(before, points.front(), basis.first());
    points.insert(points.begin(), start);
    points.push_back({basis.last(), start.y});
    return points;
}

std::vector<PlotPoint> tracedCurve(const CurveView& view, const std::vector<double>& breaks)
{
    std::vector<PlotPoint> trace;
    for (std::size_t s = 0; s + 1 < breaks.size(); ++s)
        for (int k = 0; k < kPiecesPerSpan; ++k)
            trace.push_back(view.at(breaks[s] + (breaks[s + 1] - breaks[s]) * k / kPiecesPerSpan));
    trace.push_back(view.at(breaks.back()));
    return trace;
}

std::vector<PlotPoint> placedData(const CurveView& view, const TtupleVector& points,
                                  const DoubleVec& parameters)
{
    std::vector<PlotPoint> data;
    const auto count = static_cast<std::size_t>(points.points());
    const std::size_t step = count / kMostDots + 1;
    for (std::size_t i = 0; i < count; i += step) {
        const DoubleVec point(points.point(static_cast<int>(i)));
        data.push_back(
            view.placeWrapped(parameters(static_cast<int>(i)),
                              std::vector<double>(point.data(), point.data() + point.length())));
    }
    return data;
}

std::string figures(const CurveFitReport& report)
{
    const std::string largest =
        std::isnan(report.maxResidual) ? "not known" : generalText(report.maxResidual, 3);
    return std::to_string(report.dataPoints) + " points, " + std::to_string(report.unknowns) +
           " control points, " + std::to_string(report.constraints) +
           (report.verdict == FitVerdict::kCompromise ? " fitted" : " exact") + " equations: RMS " +
           generalText(report.rms, 3) + ", largest residual " + largest + ", constraint residual " +
           generalText(report.constraintResidual, 2) +
           (std::isnan(report.lambda) ? "" : ", lambda " + generalText(report.lambda, 3));
}

/// Draws what was asked of the curve, each kind with a mark of its own, and remembers which.
class AskedMarks {
  public:
    AskedMarks(SvgPlot& plot, const CurveView& view) : plot_(plot), view_(view) {}

    void constraint(const CurveConstraint& c, const std::vector<double>& onCurve)
    {
        if (c.derivative == 0)
            value(view_.wrapped(c.parameter), c.value, c.mask, onCurve);
        else if (c.derivative == 1 && (holds(c.mask, 0) || holds(c.mask, 1)))
            slope(c.parameter);
    }
    void direction(const DirectionConstraint& c)
    {
        if (view_.graph()) return;
        // Divided before it is drawn, where its length could leave the range of numbers.
        const double x = c.direction[0];
        const double y = c.direction[1];
        const double size = std::max(std::fabs(x), std::fabs(y));
        if (!(size > 0.0)) return;
        plot_.arrow(view_.at(view_.wrapped(c.parameter)), {x / size, y / size}, kArrowLength,
                    kConstraintStyle);
        arrows_ = true;
    }
    void held(const HeldControlPoint& c, const BsplineBasis& basis)
    {
        const int i = view_.inRange(c.number);
        value(basis.greville(i), c.value, c.mask, view_.controlValue(i));
    }
    void keys(bool exact)
    {
        if (whole_) plot_.key("diamond", kConstraintStyle, exact ? "met exactly" : "asked");
        if (bars_) plot_.key("bar", kConstraintStyle, "one coordinate");
        if (arrows_) plot_.key("arrow", kConstraintStyle, "direction");
    }

  private:
    bool holds(const std::vector<char>& mask, std::size_t coordinate) const
    {
        if (view_.graph() && coordinate > 0) return true;  // the parameter is never free
        return mask.empty() || mask[coordinate] != 0;
    }

    /// A diamond, or a bar along the line on which the free coordinate lies; nothing where both of
    /// the picture's coordinates are free. `actual` is where the free ones are.
    void value(double t, std::vector<double> asked, const std::vector<char>& mask,
               const std::vector<double>& actual)
    {
        const bool x = holds(mask, 0);
        const bool y = holds(mask, 1);
        if (!x && !y) return;
        for (std::size_t k = 0; k < asked.size(); ++k)
            if (!mask.empty() && mask[k] == 0) asked[k] = actual[k];
        const PlotPoint at = view_.place(t, asked);
        if (x && y) {
            plot_.diamond(at, kDiamondSize, kConstraintStyle);
            whole_ = true;
        } else {
            plot_.bar(at, x, kBarLength, kConstraintStyle);
            bars_ = true;
        }
    }
    void slope(double t)
    {
        plot_.tangent(view_.at(view_.wrapped(t)), view_.direction(t), kTangentLength,
                      kConstraintStyle);
        whole_ = true;
    }

    SvgPlot& plot_;
    const CurveView& view_;
    bool whole_ = false;
    bool bars_ = false;
    bool arrows_ = false;
};

/// A bar across the curve where its period begins and, drawn over the parameter, ends.
void drawSeam(SvgPlot& plot, const CurveView& view, const BsplineBasis& basis)
{
    const PlotPoint along = view.direction(basis.first());
    const PlotPoint across = view.graph() ? PlotPoint{0.0, 1.0} : PlotPoint{-along.y, along.x};
    plot.tangent(view.at(basis.first()), across, kSeamLength, kSeamStyle);
    if (view.graph()) plot.tangent(view.at(basis.last()), across, kSeamLength, kSeamStyle);
}

}  // namespace

void writeCurveSvg(std::ostream& os, const FittedCurve& curve, const TtupleVector& points,
                   const DoubleVec& parameters, const std::vector<CurveConstraint>& constraints,
                   const std::string& title, const CurveFitOptions& options)
{
    if (!curve.fits()) return;
    const CurveView view(curve);
    const std::vector<double> breaks = curve.basis.breakpoints();
    const std::vector<PlotPoint> trace = tracedCurve(view, breaks);
    const std::vector<PlotPoint> data = placedData(view, points, parameters);
    const std::vector<PlotPoint> controls = controlPoints(view, curve.basis);
    const std::vector<PlotPoint> polygon = controlPolygon(view, curve.basis, controls);

    PlotRange range;
    for (const PlotPoint& p : trace) range.include(p);
    for (const PlotPoint& p : data) range.include(p);
    for (const PlotPoint& p : polygon) range.include(p);
    range.widen(0.04);
    if (!view.graph()) range.keepAspect(kFrame.aspect());

    SvgCanvas canvas(os, kWidth, kHeight);
    canvas.title(kFrame.left, title, figures(curve.report));
    SvgPlot plot(canvas, kFrame, range);
    plot.axes(view.graph() ? "parameter" : "x", view.graph() ? "value" : "y");
    plot.polyline(polygon, kPolygonStyle);
    for (const PlotPoint& p : controls) plot.dot(p, 2.5, kControlStyle);
    for (const PlotPoint& p : data) plot.dot(p, 3, kDataStyle);
    plot.polyline(trace, kCurveStyle);
    for (const double t : breaks) {
        if (view.graph())
            plot.axisMark(t, kKnotStyle);
        else
            plot.diamond(view.at(t), 3.5, kKnotFill);
    }
    if (curve.basis.closed()) drawSeam(plot, view, curve.basis);
    AskedMarks marks(plot, view);
    for (const CurveConstraint& c : constraints) marks.constraint(c, curve.at(c.parameter));
    for (const DirectionConstraint& c : options.directions) marks.direction(c);
    for (const HeldControlPoint& c : options.held) marks.held(c, curve.basis);

    plot.key("dot", kDataStyle, "data");
    plot.key("line", kCurveStyle, "curve");
    plot.key("line", kPolygonStyle, "control polygon");
    plot.key(view.graph() ? "line" : "diamond", view.graph() ? kKnotStyle : kKnotFill, "knots");
    if (curve.basis.closed()) plot.key("line", kSeamStyle, "seam");
    marks.keys(curve.report.verdict != FitVerdict::kCompromise);
}

}  // namespace knotwork
