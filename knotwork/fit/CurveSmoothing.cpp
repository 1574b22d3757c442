// SPDX-License-Identifier: MIT
#include "knotwork/fit/CurveSmoothing.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>
#include <vector>

#include "knotwork/fit/ScaledRows.h"
#include "knotwork/fit/SmoothingSearch.h"
#include "knotwork/sparse/RowStream.h"

namespace knotwork {

namespace {

double squaresOf(const BandTriangle& triangle)
{
    double sum = 0.0;
    for (int j = 0; j < triangle.size(); ++j)
        for (int k = 0; k < triangle.count(j); ++k) sum += triangle.row(j)[k] * triangle.row(j)[k];
    return sum;
}

}  // namespace

CurveSmoothing::CurveSmoothing(const CurveProblem& problem, int order)
    : problem_(problem),
      penalty_(problem.scaledBasis(), order),
      kernel_(problem.scaledBasis(), order),
      rough_(penalty_.triangles(problem.triangles().rhsWidth()))
{
    const BandTriangle data = compressed(problem.triangles(), problem.order(), false).triangle();
    const BandTriangle rough = compressed(rough_, problem.order(), false).triangle();
    dataNorm_ = data.normBound();
    balanced_ = squaresOf(data) / (squaresOf(rough) * problem.weights());
}

bool CurveSmoothing::determined(const CurveSystem& system, const BandFit& atBalance) const
{
    if (kernel_.known() && !system.coupled)
        return kernel_.fixedBy(problem_.triangles(), system.rows);
    return atBalance.state() != BandFit::State::kUndetermined;
}

bool CurveSmoothing::reachable(double lambda, const BandFit& fit, const BandFit& atBalance) const
{
    // Below the reciprocal square of eps by so much that refinement cannot seem to converge.
    constexpr double kMostCondition = 1e18;
    if (fit.state() != BandFit::State::kUndetermined) return true;
    return lambda > balanced_ &&
           atBalance.condition() * std::sqrt(lambda / balanced_) <= kMostCondition;
}

SpanTriangles CurveSmoothing::triangles(double lambda) const
{
    SpanTriangles all = rough_;
    all.scaleRows(std::sqrt(factor(lambda)));
    all.merge(problem_.triangles());
    return all;
}

SpanTriangles CurveSmoothing::unitTriangles(double lambda) const
{
    SpanTriangles all = triangles(lambda);
    const BandTriangle whole = compressed(all, problem_.order(), false).triangle();
    std::vector<double> squares(static_cast<std::size_t>(whole.size()), 0.0);
    for (int j = 0; j < whole.size(); ++j)
        for (int k = 0; k < whole.count(j); ++k)
            squares[static_cast<std::size_t>(j + k)] += whole.row(j)[k] * whole.row(j)[k];
    const double longest = std::sqrt(*std::max_element(squares.begin(), squares.end()));
    all.scaleRows(std::ldexp(1.0, -exponentOf(longest)));
    return all;
}

BandFit CurveSmoothing::fit(const CurveSystem& system, double lambda) const
{
    const BandTriangle all = compressed(triangles(lambda), problem_.order(), false).triangle();
    return BandFit(system.triangle(all), system.rows, FitMethod::kHouseholder, 1.0,
                   system.order(problem_.order()));
}

PenalisedRows CurveSmoothing::rows(const FitRows& data, double lambda, const BandFit& fit) const
{
    return PenalisedRows(data, penalty_, factor(lambda),
                         std::min(1.0, dataNorm_ / fit.triangle().normBound()));
}

SmoothedSystem CurveSmoothing::smoothed(const CurveSystem& system, const SystemRows& rows,
                                        const RowStream& data, const BandTriangle& rough) const
{
    const int columns = data.triangle().size();
    std::vector<double> sides;
    for (int j = 0; j < columns; ++j)
        sides.insert(sides.end(), data.rhs(j), data.rhs(j) + system.dimension);
    const BandOrder order = system.order(problem_.order());
    return SmoothedSystem(
        rows, system.triangle(data.triangle()), system.rightSides(sides), system.triangle(rough),
        placedRows(system.rows, order, system.unknowns(columns)), system.rhs, order);
}

template <class Use>
CurveSmoothing::Choice CurveSmoothing::searched(Use use) const
{
    const TriangleRows rows(problem_.triangles(), problem_.sampleCount());
    const RowStream data = compressed(problem_.triangles(), problem_.order(), true);
    const BandTriangle rough = compressed(rough_, problem_.order(), false).triangle();
    const std::vector<double>& units = problem_.figureFactors();
    std::vector<std::unique_ptr<SystemRows>> systemRows;
    std::vector<std::unique_ptr<SmoothedSystem>> systems;
    std::vector<const SmoothedSystem*> all;
    std::vector<double> unitSquares;  // a right-hand side, system after system
    for (const CurveSystem& system : problem_.systems()) {
        systemRows.push_back(std::make_unique<SystemRows>(rows, system));
        systems.push_back(
            std::make_unique<SmoothedSystem>(smoothed(system, *systemRows.back(), data, rough)));
        all.push_back(systems.back().get());
        for (int c = 0; c < system.kinds(); ++c) {
            const double unit =
                units[static_cast<std::size_t>(system.coordinates[static_cast<std::size_t>(c)])];
            unitSquares.push_back(unit * unit);
        }
    }
    double rightSquares = 0.0;
    const std::vector<double> squares = rows.residualSums(NumberBlock()).squares;
    for (std::size_t k = 0; k < squares.size(); ++k)
        rightSquares += units[k] * units[k] * squares[k];
    return use(SmoothingSearch(std::move(all), std::move(unitSquares),
                               problem_.triangles().rhsWidth(), problem_.countedSamples(),
                               rightSquares, factor(balanced_)));
}

/// What constraints leave to the curves that the penalty leaves alone, of a coordinate.
double CurveSmoothing::leastFreedom() const
{
    double sum = 0.0;
    for (const CurveSystem& system : problem_.systems()) {
        if (!kernel_.known() || system.coupled) return SmoothingSearch::kUnknown;
        sum += system.kinds() * kernel_.freedom(system.rows);
    }
    return sum / problem_.triangles().rhsWidth();
}

CurveSmoothing::Choice CurveSmoothing::chosen() const
{
    return searched([this](const SmoothingSearch& search) -> Choice {
        const SmoothingSearch::Choice best = search.best(leastFreedom());
        return {best.factor / problem_.weights(), best.freedom, best.atEnd};
    });
}

CurveSmoothing::Choice CurveSmoothing::asked(double lambda) const
{
    return searched([&](const SmoothingSearch& search) -> Choice {
        return {lambda, search.freedomAt(factor(lambda), leastFreedom()), false};
    });
}

}  // namespace knotwork
