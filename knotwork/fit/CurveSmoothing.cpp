// SPDX-License-Identifier: MIT
#include "knotwork/fit/CurveSmoothing.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "knotwork/factor/RowStream.h"
#include "knotwork/fit/ScaledRows.h"
#include "knotwork/fit/SmoothedSystem.h"
#include "knotwork/fit/SmoothingSearch.h"

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

bool CurveSmoothing::determined(const BandFit& atBalance) const
{
    if (kernel_.known()) return kernel_.fixedBy(problem_.triangles(), problem_.constraintRows());
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

BandFit CurveSmoothing::fit(double lambda) const
{
    return BandFit(compressed(triangles(lambda), problem_.order(), false).triangle(),
                   problem_.constraintRows(), FitMethod::kHouseholder, 1.0, problem_.order());
}

PenalisedRows CurveSmoothing::rows(const FitRows& data, double lambda, const BandFit& fit) const
{
    return PenalisedRows(data, penalty_, factor(lambda),
                         std::min(1.0, dataNorm_ / fit.triangle().normBound()));
}

template <class Use>
CurveSmoothing::Choice CurveSmoothing::searched(Use use) const
{
    const BandOrder& order = problem_.order();
    const TriangleRows rows(problem_.triangles(), problem_.sampleCount());
    const RowStream data = compressed(problem_.triangles(), order, true);
    const SmoothedSystem system(
        rows, data, compressed(rough_, order, false).triangle(),
        placedRows(problem_.constraintRows(), order, data.triangle().size()),
        problem_.constraintRhs(), order);
    std::vector<double> unitSquares;
    double rightSquares = 0.0;
    const std::vector<double> squares = rows.residualSums(NumberBlock()).squares;
    for (std::size_t k = 0; k < squares.size(); ++k) {
        const double unit = problem_.figureFactors()[k];
        unitSquares.push_back(unit * unit);
        rightSquares += unit * unit * squares[k];
    }
    const int dimension = problem_.triangles().rhsWidth();
    return use(SmoothingSearch({&system}, std::move(unitSquares), dimension,
                               problem_.countedSamples(), rightSquares, factor(balanced_)));
}

double CurveSmoothing::leastFreedom() const
{
    return kernel_.known() ? kernel_.freedom(problem_.constraintRows()) : SmoothingSearch::kUnknown;
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
