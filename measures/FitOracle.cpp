// SPDX-License-Identifier: MIT
#include "measures/FitOracle.h"

#include <algorithm>
#include <cmath>

namespace knotwork_measures {

using knotwork::BsplineBasis;
using knotwork::FitMethod;
using knotwork::LineConstraint;

namespace {

std::size_t at(int i)
{
    return static_cast<std::size_t>(i);
}

/// Knots as they are given; those of a closed curve go on from its period without rounding.
std::vector<Quad> knotsOf(const BsplineBasis& basis)
{
    if (!basis.closed()) return {basis.knots().begin(), basis.knots().end()};
    const int p = basis.degree();
    const int n = basis.count() - p;
    const double* own = basis.knots().data() + p;
    const Quad period = static_cast<Quad>(own[n]) - own[0];
    std::vector<Quad> knots;
    for (int i = -p; i <= n + p; ++i) {
        int turns = 0;
        while (i - turns * n < 0) --turns;
        while (i - turns * n >= n) ++turns;
        knots.push_back(own[i - turns * n] + turns * period);
    }
    return knots;
}

/// Where a closed curve has the parameter within its period.
Quad reduced(const BsplineBasis& basis, double t)
{
    Quad u = t;
    if (!basis.closed()) return u;
    const Quad period = static_cast<Quad>(basis.last()) - basis.first();
    while (u >= basis.last()) u -= period;
    while (u < basis.first()) u += period;
    return u;
}

/// The span of t: an interior knot opens the one at its right, the last knot closes the last one.
int spanOf(const std::vector<Quad>& knots, int degree, Quad t)
{
    int s = static_cast<int>(knots.size()) - degree - 2;
    while (s > degree && t < knots[at(s)]) --s;
    return s;
}

double lengthOf(const Quad* row, int n)
{
    Quad squares = 0;
    for (int i = 0; i < n; ++i) squares += row[i] * row[i];
    return static_cast<double>(root(squares));
}

/// Writes a row of the basis, times a factor, into column j. Functions that are one on a closed
/// curve add up; what is left where they cancel is 0.
void put(const BsplineBasis& basis, const Place& place, Quad factor, QuadMatrix& rows, int j)
{
    constexpr double kCancelled = 1e-28;  // of a row's length
    Quad values[BsplineBasis::kMostDegree + 1];
    const int first = basisRow(basis, place.parameter, place.derivative, values);
    for (int i = 0; i <= basis.degree(); ++i)
        rows((first + i) % rows.rows(), j) += factor * values[i];
    const double least =
        kCancelled * static_cast<double>(factor) * lengthOf(values, basis.degree() + 1);
    for (int i = 0; i < rows.rows(); ++i)
        if (std::fabs(static_cast<double>(rows(i, j))) <= least) rows(i, j) = 0;
}

/// Without those that ask for the same as another some periods away: they are one equation.
std::vector<knotwork::CurveConstraint> distinctConstraints(const CurveProblem& p)
{
    std::vector<knotwork::CurveConstraint> kept;
    for (const knotwork::CurveConstraint& c : p.constraints) {
        const auto repeats = [&](const knotwork::CurveConstraint& other) {
            return other.parameter != c.parameter && other.derivative == c.derivative &&
                   other.value == c.value &&
                   reduced(p.basis, other.parameter) == reduced(p.basis, c.parameter);
        };
        if (std::none_of(kept.begin(), kept.end(), repeats)) kept.push_back(c);
    }
    return kept;
}

std::vector<Place> placesOf(const std::vector<LineConstraint>& lines)
{
    std::vector<Place> places;
    for (const LineConstraint& line : lines) places.push_back({line.parameter, line.derivative});
    return places;
}

int sampleAt(const std::vector<double>& parameters, double t)
{
    const auto found = std::find(parameters.begin(), parameters.end(), t);
    return found == parameters.end() ? -1 : static_cast<int>(found - parameters.begin());
}

/// What is asked for where two lines cross.
double crossing(const SurfaceProblem& p, const LineConstraint& ofU, const LineConstraint& ofV,
                int k)
{
    const int alongU = ofV.derivative == 0 ? sampleAt(p.vParameters, ofV.parameter) : -1;
    if (alongU >= 0) return ofU.values[at(alongU * p.dimension + k)];
    const int alongV = ofU.derivative == 0 ? sampleAt(p.uParameters, ofU.parameter) : -1;
    return alongV >= 0 ? ofV.values[at(alongV * p.dimension + k)] : 0.0;
}

/// A power of two for each unknown, that brings its largest entry in any row to 1 or a little more.
std::vector<Quad> unknownScales(const Equations& e)
{
    std::vector<double> largest(at(e.fitted.rows()), 0.0);
    for (const QuadMatrix* rows : {&e.fitted, &e.met})
        for (int j = 0; j < rows->cols(); ++j)
            for (int i = 0; i < rows->rows(); ++i)
                largest[at(i)] =
                    std::max(largest[at(i)], std::fabs(static_cast<double>((*rows)(i, j))));
    std::vector<Quad> scales;
    for (const double x : largest)
        scales.push_back(x > 0.0 ? std::ldexp(1.0, -std::ilogb(x)) : 1.0);
    return scales;
}

QuadMatrix scaledRows(QuadMatrix rows, const std::vector<Quad>& scales)
{
    for (int j = 0; j < rows.cols(); ++j)
        for (int i = 0; i < rows.rows(); ++i) rows(i, j) *= scales[at(i)];
    return rows;
}

/// Solves for columns of right-hand sides in the data's units: first those of samples, then those
/// of constraints. Scales of unknowns change no answer: what a function that is nowhere but small
/// multiplies is as determined as the others, so that ranks are those with all functions alike.
class Direction {
  public:
    explicit Direction(const Equations& equations)
        : equations_(equations),
          scales_(unknownScales(equations)),
          system_(scaledRows(equations.fitted, scales_), scaledRows(equations.met, scales_))
    {
    }
    const ConstrainedLeastSquares& system() const { return system_; }

    /// Of the equations as they are; infinite where it is beyond what can be told.
    double condition() const
    {
        const ConstrainedLeastSquares asGiven(equations_.fitted, equations_.met,
                                              equations_.metSize);
        return asGiven.determined() ? asGiven.condition() : HUGE_VAL;
    }

    QuadMatrix solve(const QuadMatrix& rhs) const
    {
        QuadMatrix fitted(equations_.fitted.cols(), rhs.cols());
        QuadMatrix met(equations_.met.cols(), rhs.cols());
        for (int k = 0; k < rhs.cols(); ++k) {
            for (int i = 0; i < fitted.rows(); ++i)
                fitted(i, k) = equations_.fittedScales[at(i)] * rhs(i, k);
            for (int i = 0; i < met.rows(); ++i)
                met(i, k) = equations_.metScales[at(i)] * rhs(fitted.rows() + i, k);
        }
        return scaledRows(system_.solve(fitted, met), scales_);
    }

  private:
    Equations equations_;
    std::vector<Quad> scales_;
    ConstrainedLeastSquares system_;
};

}  // namespace

int basisRow(const BsplineBasis& basis, double parameter, int derivative, Quad* row)
{
    const std::vector<Quad> knots = knotsOf(basis);
    const Quad t = reduced(basis, parameter);
    const int p = basis.degree();
    const int s = spanOf(knots, p, t);
    row[0] = derivative > p ? 0 : 1;
    for (int q = 1; q <= p; ++q) {
        const bool differentiate = q > p - derivative;
        for (int j = q; j >= 0; --j) {  // function i of degree q, from i and i + 1 of degree q - 1
            const int i = s - q + j;
            const auto width = [&](int from) { return knots[at(from + q)] - knots[at(from)]; };
            const Quad up = differentiate ? Quad(q) : t - knots[at(i)];
            const Quad down = differentiate ? Quad(-q) : knots[at(i + q + 1)] - t;
            Quad value = 0;
            if (j > 0) value += up / width(i) * row[j - 1];
            if (j < q) value += down / width(i + 1) * row[j];
            row[j] = value;
        }
    }
    return s - p;
}

Equations equationsOf(const BsplineBasis& basis, const std::vector<double>& parameters,
                      const std::vector<double>& weights, const std::vector<Place>& constraints,
                      FitMethod method)
{
    const int samples = static_cast<int>(parameters.size());
    const int asked = static_cast<int>(constraints.size());
    const bool exact = method == FitMethod::kHouseholder;
    const int unknowns = basis.closed() ? basis.count() - basis.degree() : basis.count();
    Equations e{QuadMatrix(unknowns, samples + (exact ? 0 : asked)),
                QuadMatrix(unknowns, exact ? asked : 0),
                {},
                {},
                basis.closed() && asked > 0 ? 1.0 : 0.0};
    for (int i = 0; i < samples; ++i) {
        e.fittedScales.push_back(weights.empty() ? Quad(1) : root(weights[at(i)]));
        put(basis, {parameters[at(i)], 0}, e.fittedScales.back(), e.fitted, i);
    }
    for (int c = 0; c < asked; ++c) {
        const Place& place = constraints[at(c)];
        Quad row[BsplineBasis::kMostDegree + 1];
        basisRow(basis, place.parameter, place.derivative, row);
        const double length = lengthOf(row, basis.degree() + 1);
        if (exact) {
            e.metScales.push_back(1 / Quad(length));
            put(basis, place, e.metScales.back(), e.met, c);
        } else {
            // As a row among others a value counts like a sample of weight 1, a derivative like a
            // row that a power of two has brought to a length from 1 to 2.
            e.fittedScales.push_back(place.derivative == 0 ? 1.0
                                                           : std::ldexp(1.0, -std::ilogb(length)));
            put(basis, place, e.fittedScales.back(), e.fitted, samples + c);
        }
    }
    return e;
}

OracleAnswer answerFor(const CurveProblem& p)
{
    const std::vector<knotwork::CurveConstraint> constraints = distinctConstraints(p);
    std::vector<Place> places;
    for (const knotwork::CurveConstraint& c : constraints)
        places.push_back({c.parameter, c.derivative});
    const Direction direction(equationsOf(p.basis, p.parameters, p.weights, places, p.method));
    const ConstrainedLeastSquares& system = direction.system();
    OracleAnswer answer;
    answer.dependent = system.dependent();
    answer.determined = system.determined();
    answer.margin = system.margin();
    if (!answer.determined) return answer;
    answer.condition = direction.condition();
    const int samples = static_cast<int>(p.parameters.size());
    QuadMatrix rhs(samples + static_cast<int>(places.size()), p.dimension);
    for (int k = 0; k < p.dimension; ++k)
        for (int i = 0; i < rhs.rows(); ++i)
            rhs(i, k) = i < samples ? p.points[at(i * p.dimension + k)]
                                    : constraints[at(i - samples)].value[at(k)];
    const QuadMatrix x(direction.solve(rhs));
    for (int i = 0; i < p.basis.count(); ++i)  // those of a closed curve go round
        for (int k = 0; k < x.cols(); ++k)
            answer.controlPoints.push_back(static_cast<double>(x(i % x.rows(), k)));
    return answer;
}

OracleAnswer answerFor(const SurfaceProblem& p)
{
    const Direction u(equationsOf(p.u, p.uParameters, p.uWeights, placesOf(p.acrossU), p.method));
    const Direction v(equationsOf(p.v, p.vParameters, p.vWeights, placesOf(p.acrossV), p.method));
    OracleAnswer answer;
    answer.dependent = u.system().dependent() || v.system().dependent();
    answer.determined = u.system().determined() && v.system().determined();
    answer.margin = std::min(u.system().margin(), v.system().margin());
    if (!answer.determined) return answer;
    answer.condition = u.condition() * v.condition();
    const int inU = static_cast<int>(p.uParameters.size());
    const int inV = static_cast<int>(p.vParameters.size());
    const int d = p.dimension;
    answer.controlPoints.resize(at(p.u.count() * p.v.count() * d));
    for (int k = 0; k < d; ++k) {
        QuadMatrix rhs(inU + static_cast<int>(p.acrossU.size()),
                       inV + static_cast<int>(p.acrossV.size()));
        for (int j = 0; j < rhs.cols(); ++j)
            for (int i = 0; i < rhs.rows(); ++i) {
                const LineConstraint* ofU = i < inU ? nullptr : &p.acrossU[at(i - inU)];
                const LineConstraint* ofV = j < inV ? nullptr : &p.acrossV[at(j - inV)];
                rhs(i, j) = ofU != nullptr && ofV != nullptr ? crossing(p, *ofU, *ofV, k)
                            : ofU != nullptr                 ? ofU->values[at(j * d + k)]
                            : ofV != nullptr                 ? ofV->values[at(i * d + k)]
                                                             : p.points[at((inU * j + i) * d + k)];
            }
        const QuadMatrix x(v.solve(transposed(u.solve(rhs))));  // a row a control point in v
        for (int j = 0; j < x.rows(); ++j)
            for (int i = 0; i < x.cols(); ++i)
                answer.controlPoints[at((x.cols() * j + i) * d + k)] = static_cast<double>(x(j, i));
    }
    return answer;
}

Deviation deviationOf(const std::vector<double>& found, const std::vector<double>& expected,
                      int dimension, const std::vector<double>& data)
{
    constexpr double kCancelled = 1e-6;
    Deviation worst;
    if (found.size() != expected.size()) return {HUGE_VAL, HUGE_VAL};
    const auto share = [](double part, double whole) { return part > 0.0 ? part / whole : 0.0; };
    double largest = 0.0;
    double difference = 0.0;
    for (int k = 0; k < dimension; ++k) {
        double ownLargest = 0.0;
        double own = 0.0;
        for (std::size_t i = at(k); i < data.size(); i += at(dimension))
            ownLargest = std::max(ownLargest, kCancelled * std::fabs(data[i]));
        for (std::size_t i = at(k); i < found.size(); i += at(dimension)) {
            if (!std::isfinite(found[i])) return {HUGE_VAL, HUGE_VAL};
            ownLargest = std::max(ownLargest, std::fabs(expected[i]));
            own = std::max(own, std::fabs(found[i] - expected[i]));
        }
        worst.perCoordinate = std::max(worst.perCoordinate, share(own, ownLargest));
        largest = std::max(largest, ownLargest);
        difference = std::max(difference, own);
    }
    worst.overall = share(difference, largest);
    return worst;
}

}  // namespace knotwork_measures
