// SPDX-License-Identifier: MIT
#include "knotwork/fit/BandFit.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "knotwork/fit/Refinement.h"
#include "knotwork/sparse/RowStream.h"
#include "knotwork/sparse/SpanRows.h"

namespace knotwork {

namespace {

constexpr double kEps = 0x1p-52;

// Rounding leaves of a triangle that is singular a condition of 1e15 or more.
constexpr double kMostCondition = 1e12;   // refinement still gains two digits a round
constexpr double kSurelySingular = 1e14;  // it is said so
constexpr double kContraction = 4.0;      // a round leaves eps times both conditions, times this
constexpr double kConverged = 1e-15;      // a correction that small ends the rounds
constexpr double kNothing = 1e-24;        // the same, of the largest right-hand side
constexpr double kProgress = 0.5;         // a round that gains less will not get there
constexpr int kMostRounds = 12;

double lengthOf(const double* row, int count)
{
    double squares = 0.0;
    for (int i = 0; i < count; ++i) squares += row[i] * row[i];
    return std::sqrt(squares);
}

/// take(a constraint's row times a factor, as it stands in the band).
template <class Take>
void forRows(const std::vector<ConstraintRow>& constraints, double factor, const BandOrder& order,
             Take take)
{
    std::vector<double> row;
    std::vector<double> scratch;
    for (const ConstraintRow& constraint : constraints) {
        row.clear();
        for (const DoubleDouble& x : constraint.entries) row.push_back(factor * x.high);
        take(order.placed(constraint.first, row.data(), static_cast<int>(row.size()), scratch));
    }
}

/// The triangle of the data rows and of constraints that are fitted like them.
BandTriangle withRows(const BandTriangle& data, const std::vector<ConstraintRow>& constraints,
                      double weight, const BandOrder& order)
{
    RowStream stream(data.size(), 0);
    for (int j = 0; j < data.size(); ++j) stream.add(j, data.row(j), data.count(j), nullptr);
    forRows(constraints, std::sqrt(weight), order, [&stream](const BandOrder::Placed& row) {
        stream.add(row.first, row.entries, row.count, nullptr);
    });
    stream.finish();
    return stream.triangle();
}

}  // namespace

SpanRows placedRows(const std::vector<ConstraintRow>& constraints, const BandOrder& order,
                    int unknowns)
{
    SpanRows rows(unknowns);
    forRows(constraints, 1.0, order, [&rows](const BandOrder::Placed& row) {
        rows.appendTrimmed(row.first, row.entries, row.count);
    });
    return rows;
}

BandFit::BandFit(const BandTriangle& data, std::vector<ConstraintRow> constraints, FitMethod method,
                 double weight, BandOrder order)
    : constraints_(std::move(constraints)),
      fitted_(method == FitMethod::kQr),
      weight_(weight),
      order_(std::move(order)),
      triangle_(fitted_ && !constraints_.empty() ? withRows(data, constraints_, weight, order_)
                                                 : data)
{
    const SpanRows held =
        fitted_ ? SpanRows(triangle_.size()) : placedRows(constraints_, order_, triangle_.size());
    // Slopes of functions that are one unknown have both signs.
    for (int i = 0; order_.folded() && i < held.rows(); ++i) {
        double squares = 0.0;
        for (const DoubleDouble& x : constraints_[static_cast<std::size_t>(i)].entries)
            squares += x.high * x.high;
        cancelled_ =
            std::max(cancelled_, std::sqrt(squares) / lengthOf(held.values(i), held.count(i)));
    }
    factors_ = std::make_unique<ConstrainedTriangle>(triangle_, held);
}

BandFit::State BandFit::state() const
{
    if (!(constraintCondition() <= kSurelySingular)) return State::kDependentConstraints;
    if (!(condition() <= kSurelySingular)) return State::kUndetermined;
    const bool far = condition() <= kMostCondition && constraintCondition() <= kMostCondition;
    return far ? State::kSolvable : State::kTooClose;
}

std::vector<int> BandFit::weakUnknowns() const
{
    constexpr double kPart = 0.1;  // of the largest
    const std::vector<double> direction = factors_->weakestDirection();
    std::vector<int> unknowns;
    for (int j = 0; j < triangle_.size(); ++j)
        if (std::fabs(direction[static_cast<std::size_t>(order_.place(j))]) > kPart)
            unknowns.push_back(j);
    return unknowns;
}

double BandFit::amplification(double weights) const
{
    const double fitted =
        weights + (fitted_ ? weight_ * static_cast<double>(constraints_.size()) : 0.0);
    return factors_->inverseNorm() * std::sqrt(fitted) +
           factors_->constraintInverseNorm() * (1.0 + condition());
}

BandFit::Answer BandFit::solve(const FitRows& rows, const NumberBlock& constraintRhs, int dimension,
                               double wanted, const FitRows* start) const
{
    Refinement refinement(*this, constraintRhs, constraintRhs.width, dimension);
    const double contraction =
        kContraction * kEps * (1.0 + condition()) * (1.0 + constraintCondition());
    const auto answer = [&](double error) {
        const double moved = refinement.moved(1.0);
        return Answer{std::move(refinement.x()), error, moved};
    };
    const FitRows& first = start != nullptr ? *start : rows;
    refinement.correct(first);  // from zeros
    refinement.correct(first);
    for (int round = 0; round < kMostRounds; ++round) {
        const double moved = refinement.moved(0.0);
        if (!(contraction * moved > kConverged && contraction < kProgress)) break;
        refinement.correct(first);
        if (!(refinement.moved(0.0) < kProgress * moved)) break;
    }
    if (start != nullptr) refinement.correct(rows);
    const double plain =
        refinement.uncertainty(rows.rounding(), 0.0) + contraction * refinement.moved(0.0);
    if (plain <= wanted) return answer(plain);

    double before = std::numeric_limits<double>::infinity();
    for (int round = 0; round < kMostRounds; ++round) {
        refinement.correctExactly(rows);
        const double moved = refinement.moved(1.0);
        if (refinement.moved(0.0) <= kConverged || moved <= kNothing)
            return answer(contraction * moved + refinement.uncertainty(rows.exactRounding(), 1.0));
        if (!(moved < kProgress * before)) return answer(std::max(1.0, moved));
        before = moved;
    }
    return answer(before);
}

}  // namespace knotwork
