// SPDX-License-Identifier: MIT
#include "measures/RandomFits.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <sstream>

#include "measures/RandomDirection.h"

namespace knotwork_measures {

using knotwork::BsplineBasis;
using knotwork::CurveConstraint;
using knotwork::FitMethod;
using knotwork::LineConstraint;

namespace {

using Numbers = std::vector<double>;

constexpr Wildness kCurves{34, 5, 48, 4};
constexpr Wildness kSurfaces{12, 4, 80, 2};

std::size_t at(int i)
{
    return static_cast<std::size_t>(i);
}

/// A coordinate of a sample: its size, a smooth part and noise.
class Coordinate {
  public:
    explicit Coordinate(Draw& draw)
        : size_(draw.chance(50) ? 1.0 : draw.power(-6, 6)),
          offset_(draw.chance(20) ? draw.power(0, 4) : 0.0),
          frequency_(8.0 * draw.unit()),
          kind_(draw.below(6))
    {
        if (draw.chance(5)) size_ = 0.0;
    }
    /// At a share of the range.
    double operator()(Draw& draw, double share, int index) const
    {
        switch (kind_) {
            case 0:
                return size_ * (index % 2 == 0 ? 1.0 : -1.0);
            case 1:
                return size_ * draw.signedUnit();
            case 2:
                return size_ * draw.power(-6, 0);
            case 3:
                return size_ * (offset_ + share * (1.0 - share * (0.5 + share)));
            default:
                return size_ * (offset_ + std::sin(frequency_ * share) + 0.1 * draw.signedUnit());
        }
    }
    double size() const { return size_; }

  private:
    double size_;
    double offset_;
    double frequency_;
    int kind_;
};

std::vector<Coordinate> randomCoordinates(Draw& draw)
{
    const int dimension = draw.from(1, 3);
    std::vector<Coordinate> coordinates;
    for (int k = 0; k < dimension; ++k) coordinates.emplace_back(draw);
    if (draw.chance(50))  // of one kind and size
        std::fill(coordinates.begin(), coordinates.end(), coordinates.front());
    return coordinates;
}

double shareOf(const BsplineBasis& basis, double t)
{
    return (t - basis.first()) / (basis.last() - basis.first());
}

/// What turns a value's size into a derivative's that the data might have.
double steepness(Draw& draw, const BsplineBasis& basis, int derivative)
{
    const double perRange = draw.chance(50) ? 3.0 : basis.count();
    return std::pow(perRange / (basis.last() - basis.first()), derivative);
}

Numbers randomWeights(Draw& draw, int count)
{
    const int kind = draw.below(100);
    Numbers weights;
    if (kind < 65) return weights;
    for (int i = 0; i < count; ++i) {
        if (kind < 80)
            weights.push_back(draw.power(-1.5, 1.5));
        else if (kind < 90)
            weights.push_back(draw.chance(10) ? draw.power(0, 12) : 1.0);
        else
            weights.push_back(draw.chance(20) ? 0.0 : draw.power(0, 1));
    }
    weights[at(draw.below(count))] = 1.0;  // one at least counts
    return weights;
}

/// Where two lines ask for values at a sample, they ask for the same.
void agreeAtCrossings(SurfaceProblem& p)
{
    const auto sampleAt = [](const Numbers& parameters, double t) {
        return static_cast<int>(std::find(parameters.begin(), parameters.end(), t) -
                                parameters.begin());
    };
    for (const LineConstraint& ofU : p.acrossU)
        for (LineConstraint& ofV : p.acrossV) {
            if (ofU.derivative != 0 || ofV.derivative != 0) continue;
            const int alongU = sampleAt(p.vParameters, ofV.parameter);
            const int alongV = sampleAt(p.uParameters, ofU.parameter);
            for (int k = 0; k < p.dimension; ++k)
                ofV.values[at(alongV * p.dimension + k)] = ofU.values[at(alongU * p.dimension + k)];
        }
}

std::vector<LineConstraint> randomLines(Draw& draw, const BsplineBasis& basis,
                                        const Numbers& parameters, const BsplineBasis& along,
                                        const Numbers& alongParameters,
                                        const std::vector<Coordinate>& coordinates, int count)
{
    std::vector<LineConstraint> lines;
    for (const Place& place : randomPlaces(draw, basis, parameters, count)) {
        LineConstraint line{place.parameter, place.derivative, {}};
        if (line.derivative == 0) line.parameter = draw.oneOf(parameters);
        const auto same = std::find_if(lines.begin(), lines.end(), [&line](const auto& other) {
            return other.derivative == line.derivative && other.parameter == line.parameter;
        });
        if (same != lines.end()) {  // with other values it would contradict lines that cross
            lines.push_back(LineConstraint(*same));
            continue;
        }
        const double steep = steepness(draw, basis, line.derivative);
        for (int j = 0; j < static_cast<int>(alongParameters.size()); ++j)
            for (const Coordinate& coordinate : coordinates)
                line.values.push_back(steep *
                                      coordinate(draw, shareOf(along, alongParameters[at(j)]), j));
        lines.push_back(line);
    }
    return lines;
}

CurveProblem randomCurveOn(Draw& draw, const BsplineBasis& basis)
{
    CurveProblem p;
    p.basis = basis;
    p.parameters = randomParameters(draw, p.basis, kCurves);
    const std::vector<Coordinate> coordinates = randomCoordinates(draw);
    p.dimension = static_cast<int>(coordinates.size());
    const int samples = static_cast<int>(p.parameters.size());
    for (int i = 0; i < samples; ++i)
        for (const Coordinate& coordinate : coordinates)
            p.points.push_back(coordinate(draw, shareOf(p.basis, p.parameters[at(i)]), i));
    p.weights = randomWeights(draw, samples);
    const int count = draw.chance(40)   ? 0
                      : draw.chance(75) ? draw.from(1, std::min(4, p.basis.unknowns()))
                                        : draw.from(1, p.basis.unknowns() + 1);
    for (const Place& place : randomPlaces(draw, p.basis, p.parameters, count)) {
        CurveConstraint c{place.parameter, place.derivative, {}};
        const double steep = steepness(draw, p.basis, c.derivative);
        for (const Coordinate& coordinate : coordinates)
            c.value.push_back(steep * coordinate(draw, shareOf(p.basis, c.parameter), 0));
        p.constraints.push_back(c);
    }
    return p;
}

/// A parameter that a closed curve takes for this one; itself where rounding would move it.
double periodsAway(Draw& draw, const BsplineBasis& basis, double t)
{
    const Quad period = static_cast<Quad>(basis.last()) - basis.first();
    const Quad there = t + (draw.chance(50) ? 1 : -1) * draw.from(1, 3) * period;
    const auto rounded = static_cast<double>(there);
    return rounded == there ? rounded : t;
}

class Text {
  public:
    Text() { out_ << std::setprecision(17); }
    Text& numbers(const char* name, const Numbers& values)
    {
        out_ << "  " << name << ":";
        for (const double x : values) out_ << ' ' << x;
        out_ << '\n';
        return *this;
    }
    Text& basis(const char* name, const BsplineBasis& basis)
    {
        out_ << "  " << name << ": degree " << basis.degree() << '\n';
        return numbers("knots", basis.knots());
    }
    Text& constraint(const char* name, double t, int derivative, const Numbers& values)
    {
        out_ << "  " << name << " at " << t << " derivative " << derivative << '\n';
        return numbers("  values", values);
    }
    Text& line(const std::string& words)
    {
        out_ << "  " << words << '\n';
        return *this;
    }
    std::string string() const { return out_.str(); }

  private:
    std::ostringstream out_;
};

std::string nameOf(FitMethod method)
{
    return method == FitMethod::kHouseholder ? "exact" : "compromise";
}

}  // namespace

CurveProblem randomCurve(std::uint64_t seed, std::uint64_t index)
{
    Draw draw(seed, index);
    CurveProblem p = randomCurveOn(draw, randomBasis(draw, kCurves));
    if (draw.chance(16)) p.method = FitMethod::kQr;
    return p;
}

CurveProblem randomClosedCurve(std::uint64_t seed, std::uint64_t index)
{
    Draw draw(seed, index);
    CurveProblem p = randomCurveOn(draw, randomPeriodicBasis(draw, kCurves));
    for (double& t : p.parameters)
        if (draw.chance(10)) t = periodsAway(draw, p.basis, t);
    const std::vector<CurveConstraint> asked = p.constraints;
    for (const CurveConstraint& c : asked)
        if (draw.chance(15)) {  // once more, elsewhere
            p.constraints.push_back(c);
            p.constraints.back().parameter = periodsAway(draw, p.basis, c.parameter);
            if (draw.chance(15)) p.constraints.back().value.front() += 1.0;
        }
    return p;
}

SurfaceProblem randomSurface(std::uint64_t seed, std::uint64_t index)
{
    Draw draw(seed, index);
    SurfaceProblem p;
    p.u = randomBasis(draw, kSurfaces);
    p.v = randomBasis(draw, kSurfaces);
    p.uParameters = randomParameters(draw, p.u, kSurfaces);
    p.vParameters = randomParameters(draw, p.v, kSurfaces);
    const std::vector<Coordinate> coordinates = randomCoordinates(draw);
    p.dimension = static_cast<int>(coordinates.size());
    const int rows = static_cast<int>(p.uParameters.size());
    for (int j = 0; j < static_cast<int>(p.vParameters.size()); ++j)
        for (int i = 0; i < rows; ++i) {
            const double share = shareOf(p.u, p.uParameters[at(i)]);
            const double across = shareOf(p.v, p.vParameters[at(j)]);
            for (const Coordinate& coordinate : coordinates)
                p.points.push_back(coordinate(draw, 0.6 * share + 0.4 * across * share, i + j));
        }
    const auto lines = [&draw] { return draw.chance(50) ? 0 : draw.from(1, 3); };
    p.acrossU = randomLines(draw, p.u, p.uParameters, p.v, p.vParameters, coordinates, lines());
    p.acrossV = randomLines(draw, p.v, p.vParameters, p.u, p.uParameters, coordinates, lines());
    agreeAtCrossings(p);
    if (draw.chance(16)) p.method = FitMethod::kQr;
    p.uWeights = randomWeights(draw, rows);
    p.vWeights = randomWeights(draw, static_cast<int>(p.vParameters.size()));
    return p;
}

std::string described(const CurveProblem& p)
{
    std::ostringstream out;
    out << (p.basis.closed() ? "closed, " : "") << "degree " << p.basis.degree() << ", N "
        << p.basis.unknowns() << ", M " << p.parameters.size() << ", C " << p.constraints.size()
        << ", " << nameOf(p.method) << (p.weights.empty() ? "" : ", weighted");
    return out.str();
}

std::string described(const SurfaceProblem& p)
{
    std::ostringstream out;
    out << "degrees " << p.u.degree() << " x " << p.v.degree() << ", N " << p.u.count() << " x "
        << p.v.count() << ", M " << p.uParameters.size() << " x " << p.vParameters.size()
        << ", lines " << p.acrossU.size() << " x " << p.acrossV.size() << ", " << nameOf(p.method)
        << (p.uWeights.empty() && p.vWeights.empty() ? "" : ", weighted");
    return out.str();
}

std::string dumped(const CurveProblem& p)
{
    Text text;
    text.line(nameOf(p.method)).line("dimension " + std::to_string(p.dimension));
    text.basis("basis", p.basis).numbers("parameters", p.parameters).numbers("points", p.points);
    text.numbers("weights", p.weights);
    for (const CurveConstraint& c : p.constraints)
        text.constraint("constraint", c.parameter, c.derivative, c.value);
    return text.string();
}

std::string dumped(const SurfaceProblem& p)
{
    Text text;
    text.line(nameOf(p.method)).line("dimension " + std::to_string(p.dimension));
    text.basis("u", p.u).basis("v", p.v).numbers("u parameters", p.uParameters);
    text.numbers("v parameters", p.vParameters).numbers("points", p.points);
    text.numbers("u weights", p.uWeights).numbers("v weights", p.vWeights);
    for (const LineConstraint& c : p.acrossU)
        text.constraint("line of constant u", c.parameter, c.derivative, c.values);
    for (const LineConstraint& c : p.acrossV)
        text.constraint("line of constant v", c.parameter, c.derivative, c.values);
    return text.string();
}

}  // namespace knotwork_measures
