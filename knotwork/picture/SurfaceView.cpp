// SPDX-License-Identifier: MIT
#include "knotwork/picture/SurfaceView.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>

#include "knotwork/approx/AP_EVAL_CONST_PARM.h"

namespace knotwork {

namespace {

constexpr int kMostIsoCurves = 20;     // in a direction; of more knots some are left out
constexpr int kWantedFaces = 52;       // in a direction
constexpr double kHeightShare = 0.35;  // of the longer side of the base
constexpr double kMostAspect = 2.5;

constexpr const char* kFaceStyle =
    "fill=\"currentColor\" stroke=\"currentColor\" stroke-width=\"8\" stroke-linejoin=\"round\" ";
constexpr const char* kIsoStyle = "color=\"#135\"";
constexpr const char* kHaloStyle = "stroke=\"#ffffff\" stroke-width=\"3\" paint-order=\"stroke\"";
constexpr double kFront[] = {0.55, 0.76, 0.88};
constexpr double kBack[] = {0.90, 0.75, 0.52};
constexpr double kAmbient = 0.35;  // what a face turned from the light keeps of its colour

using Point3 = std::array<double, 3>;

double dot(const Point3& a, const Point3& b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

Point3 minus(const Point3& a, const Point3& b)
{
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}

Point3 cross(const Point3& a, const Point3& b)
{
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

/// The lines of a direction: `perPiece` steps from each drawn knot to the next.
struct GridLines {
    std::vector<double> at;
    int perPiece = 1;
    int knotsPerLine = 1;  // 1: every knot is drawn

    int count() const { return static_cast<int>(at.size()); }
    bool isKnot(int line) const { return line % perPiece == 0; }
};

GridLines gridLines(const BsplineBasis& basis)
{
    const std::vector<double> breaks = basis.breakpoints();
    const int spans = static_cast<int>(breaks.size()) - 1;
    GridLines lines;
    lines.knotsPerLine = (spans + kMostIsoCurves - 1) / kMostIsoCurves;
    const int pieces = (spans + lines.knotsPerLine - 1) / lines.knotsPerLine;
    lines.perPiece = std::max(kWantedFaces / pieces, 1);
    for (int piece = 0; piece < pieces; ++piece) {
        const int first = piece * lines.knotsPerLine;
        const double from = breaks[static_cast<std::size_t>(first)];
        const double to =
            breaks[static_cast<std::size_t>(std::min(first + lines.knotsPerLine, spans))];
        for (int k = 0; k < lines.perPiece; ++k)
            lines.at.push_back(from + (to - from) * k / lines.perPiece);
    }
    lines.at.push_back(breaks.back());
    return lines;
}

/// The surface's points on two families of lines.
class DrawnSurface {
  public:
    explicit DrawnSurface(const FittedSurface& surface)
        : u(gridLines(surface.u)), v(gridLines(surface.v))
    {
        sample(surface);
        measure();
        shape(surface);
    }

    const Point3& point(int i, int j) const
    {
        return points_[static_cast<std::size_t>(j * u.count() + i)];
    }

    const GridLines u;
    const GridLines v;
    Point3 low{};  // of the data's coordinates
    Point3 high{};

  private:
    void sample(const FittedSurface& surface);
    void measure();
    void shape(const FittedSurface& surface);

    std::vector<Point3> points_;
};

void DrawnSurface::sample(const FittedSurface& surface)
{
    AP_SURFACE evaluated(*surface.surface);
    AP_EVAL_CONST_PARM line(evaluated);
    for (const double atV : v.at) {
        line.setv(atV);
        for (const double atU : u.at) {
            line.eval(atU);
            Point3 p{};
            if (surface.dimension == 1)
                p = {atU, atV, *line()};
            else
                std::copy_n(line(), std::min(surface.dimension, 3), p.begin());
            points_.push_back(p);
        }
    }
}

void DrawnSurface::measure()
{
    low = high = points_.front();
    for (const Point3& p : points_)
        for (std::size_t c = 0; c < 3; ++c) {
            low[c] = std::min(low[c], p[c]);
            high[c] = std::max(high[c], p[c]);
        }
}

/// Moves the points into a box of size 1 around the origin. Halves throughout: the difference of
/// two numbers need not be one.
void DrawnSurface::shape(const FittedSurface& surface)
{
    Point3 middle;
    Point3 half;
    for (std::size_t c = 0; c < 3; ++c) {
        middle[c] = low[c] / 2 + high[c] / 2;
        half[c] = high[c] / 2 - low[c] / 2;
    }
    Point3 size{1.0, 1.0, 1.0};
    if (surface.dimension == 1) {
        const double aspect = parameterAspect(surface);
        size = {std::min(aspect, 1.0), std::min(1.0 / aspect, 1.0), kHeightShare};
    } else {
        half.fill(*std::max_element(half.begin(), half.end()));
    }
    for (Point3& p : points_)
        for (std::size_t c = 0; c < 3; ++c)
            p[c] = half[c] > 0.0 ? size[c] * ((p[c] / 2 - middle[c] / 2) / half[c]) : 0.0;
}

/// Looks along parallel rays from 60 degrees to the right of the x axis and 32 degrees up, so that
/// x runs to the right and y away. The light comes from the left, over the shoulder.
class Camera {
  public:
    Camera()
    {
        constexpr double kDegree = 3.14159265358979323846 / 180.0;
        const double round = -60.0 * kDegree;
        const double rise = 32.0 * kDegree;
        towards_ = {std::cos(rise) * std::cos(round), std::cos(rise) * std::sin(round),
                    std::sin(rise)};
        right_ = {-std::sin(round), std::cos(round), 0.0};
        up_ = cross(towards_, right_);
        for (std::size_t c = 0; c < 3; ++c)
            light_[c] = -0.64 * right_[c] + 0.48 * up_[c] + 0.6 * towards_[c];
    }

    PlotPoint project(const Point3& p) const { return {dot(p, right_), dot(p, up_)}; }
    double nearness(const Point3& p) const { return dot(p, towards_); }

    /// The colour of a face with this normal, of any length.
    std::string shade(const Point3& normal) const
    {
        const double length = std::sqrt(dot(normal, normal));
        const bool front = dot(normal, towards_) >= 0.0;
        const double cosine = length > 0.0 ? dot(normal, light_) / (front ? length : -length) : 1.0;
        const double brightness = kAmbient + (1.0 - kAmbient) * std::max(cosine, 0.0);
        double rgb[3];
        for (int c = 0; c < 3; ++c) rgb[c] = brightness * (front ? kFront : kBack)[c];
        return colour(rgb);
    }

  private:
    Point3 towards_;
    Point3 right_;
    Point3 up_;
    Point3 light_;
};

/// The faces between the lines, farthest first.
class Faces {
  public:
    Faces(const DrawnSurface& surface, const Camera& camera)
        : acrossU_(surface.u.count() - 1), acrossV_(surface.v.count() - 1)
    {
        std::vector<double> nearness;
        for (int j = 0; j < acrossV_; ++j)
            for (int i = 0; i < acrossU_; ++i)
                nearness.push_back(camera.nearness(surface.point(i, j)) +
                                   camera.nearness(surface.point(i + 1, j)) +
                                   camera.nearness(surface.point(i, j + 1)) +
                                   camera.nearness(surface.point(i + 1, j + 1)));
        order_.resize(nearness.size());
        std::iota(order_.begin(), order_.end(), std::size_t{0});
        std::stable_sort(order_.begin(), order_.end(),
                         [&nearness](auto a, auto b) { return nearness[a] < nearness[b]; });
        rank_.resize(order_.size());
        for (std::size_t k = 0; k < order_.size(); ++k) rank_[order_[k]] = static_cast<int>(k);
    }

    int count() const { return acrossU_ * acrossV_; }
    int i(int k) const { return static_cast<int>(order_[static_cast<std::size_t>(k)]) % acrossU_; }
    int j(int k) const { return static_cast<int>(order_[static_cast<std::size_t>(k)]) / acrossU_; }
    /// When the face is drawn; -1 outside the surface.
    int rank(int i, int j) const
    {
        const bool inside = i >= 0 && i < acrossU_ && j >= 0 && j < acrossV_;
        return inside ? rank_[static_cast<std::size_t>(j * acrossU_ + i)] : -1;
    }

  private:
    int acrossU_;
    int acrossV_;
    std::vector<std::size_t> order_;
    std::vector<int> rank_;
};

class SurfacePainter {
  public:
    SurfacePainter(SvgCanvas& canvas, const PlotFrame& frame, const DrawnSurface& surface)
        : canvas_(canvas), surface_(surface), range_(rangeOf(frame)), plot_(canvas, frame, range_)
    {
    }

    void paintFaces() const
    {
        const Faces faces(surface_, camera_);
        canvas_.openGroup(std::string(kFaceStyle) + kInTenths);
        for (int k = 0; k < faces.count(); ++k) {
            const int i = faces.i(k);
            const int j = faces.j(k);
            paintFace(i, j);
            paintIsoCurves(faces, i, j);
        }
        canvas_.closeGroup();
    }

    /// Parameters at the corners, outside the surface as a rule and as far as they leave each
    /// other room.
    void nameCorners() const
    {
        const int lastU = surface_.u.count() - 1;
        const int lastV = surface_.v.count() - 1;
        const auto name = [](const char* parameter, double value) {
            return std::string(parameter) + " = " + number(value);
        };
        const std::string first =
            name("u", surface_.u.at.front()) + ", " + name("v", surface_.v.at.front());
        const PlotPoint origin = cornerName(0, 0);
        const PlotPoint alongU = cornerName(lastU, 0);
        const PlotPoint alongV = cornerName(0, lastV);
        canvas_.openGroup(kHaloStyle);
        writeName(origin, first);
        if (apart(alongU, origin)) writeName(alongU, name("u", surface_.u.at.back()));
        if (apart(alongV, origin) && apart(alongV, alongU))
            writeName(alongV, name("v", surface_.v.at.back()));
        canvas_.closeGroup();
    }

  private:
    PlotRange rangeOf(const PlotFrame& frame) const
    {
        PlotRange range;
        for (int j = 0; j < surface_.v.count(); ++j)
            for (int i = 0; i < surface_.u.count(); ++i)
                range.include(camera_.project(surface_.point(i, j)));
        range.widen(0.05);
        range.keepAspect(frame.aspect());
        return range;
    }

    PlotPoint at(int i, int j) const
    {
        return plot_.onPaper(camera_.project(surface_.point(i, j)));
    }

    /// Centred, unless that would start left of the paper.
    void writeName(PlotPoint at, const std::string& words) const
    {
        constexpr double kHalfACharacter = 3.5;
        const double half = kHalfACharacter * static_cast<double>(words.size());
        canvas_.text({std::max(at.x, half + kHalfACharacter), at.y}, "middle", 12, words);
    }

    static bool apart(PlotPoint a, PlotPoint b)
    {
        constexpr double kRoom = 60.0;
        return std::hypot(a.x - b.x, a.y - b.y) > kRoom;
    }

    /// Away from the corner as seen from the middle of the drawing.
    PlotPoint cornerName(int i, int j) const
    {
        constexpr double kDistance = 20.0;
        constexpr double kHalfALetter = 4.0;
        const PlotPoint corner = at(i, j);
        const PlotPoint middle =
            plot_.onPaper({(range_.low.x + range_.high.x) / 2, (range_.low.y + range_.high.y) / 2});
        const double length = std::hypot(corner.x - middle.x, corner.y - middle.y);
        const double share = length > 0.0 ? kDistance / length : 0.0;
        return {corner.x + share * (corner.x - middle.x),
                corner.y + share * (corner.y - middle.y) + kHalfALetter};
    }

    void paintFace(int i, int j) const
    {
        const Point3 normal = cross(minus(surface_.point(i + 1, j + 1), surface_.point(i, j)),
                                    minus(surface_.point(i, j + 1), surface_.point(i + 1, j)));
        canvas_.path(shortPath({at(i, j), at(i + 1, j), at(i + 1, j + 1), at(i, j + 1)}) + 'z',
                     "color=\"" + camera_.shade(normal) + '"');
    }

    /// The sides that lie on knots, unless the neighbour comes later and would cover them.
    void paintIsoCurves(const Faces& faces, int i, int j) const
    {
        const int own = faces.rank(i, j);
        const auto side = [&](bool knot, int neighbour, PlotPoint from, PlotPoint to) {
            if (knot && neighbour < own) canvas_.path(shortPath({from, to}), kIsoStyle);
        };
        side(surface_.v.isKnot(j), faces.rank(i, j - 1), at(i, j), at(i + 1, j));
        side(surface_.v.isKnot(j + 1), faces.rank(i, j + 1), at(i, j + 1), at(i + 1, j + 1));
        side(surface_.u.isKnot(i), faces.rank(i - 1, j), at(i, j), at(i, j + 1));
        side(surface_.u.isKnot(i + 1), faces.rank(i + 1, j), at(i + 1, j), at(i + 1, j + 1));
    }

    SvgCanvas& canvas_;
    const Camera camera_;
    const DrawnSurface& surface_;
    const PlotRange range_;
    const SvgPlot plot_;
};

std::string linesDrawn(const char* direction, int knotsPerLine)
{
    return knotsPerLine == 1
               ? ""
               : std::string(", one ") + direction + " knot in " + std::to_string(knotsPerLine);
}

/// What the picture shows, in the data's own numbers.
std::string caption(const DrawnSurface& surface, int dimension)
{
    const auto extent = [&surface](const char* name, std::size_t c) {
        return name + (' ' + number(surface.low[c])) + " to " + number(surface.high[c]);
    };
    const std::string size = dimension == 1
                                 ? extent("height", 2) + ", not to scale"
                                 : extent("x", 0) + ", " + extent("y", 1) +
                                       (dimension > 2 ? ", " + extent("z", 2) : std::string());
    return size + "; lines: the knots" + linesDrawn("u", surface.u.knotsPerLine) +
           linesDrawn("v", surface.v.knotsPerLine);
}

}  // namespace

double parameterAspect(const FittedSurface& surface)
{
    const double aspect =
        (surface.u.last() - surface.u.first()) / (surface.v.last() - surface.v.first());
    return std::clamp(aspect, 1.0 / kMostAspect, kMostAspect);
}

void drawSurface(SvgCanvas& canvas, const PlotFrame& frame, const FittedSurface& surface)
{
    const DrawnSurface drawn(surface);
    const SurfacePainter painter(canvas, frame, drawn);
    painter.paintFaces();
    painter.nameCorners();
    canvas.text({(frame.left + frame.right) / 2, frame.bottom + 30}, "middle", 12,
                caption(drawn, surface.dimension));
}

}  // namespace knotwork
