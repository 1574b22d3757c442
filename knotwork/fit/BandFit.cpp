// SPDX-License-Identifier: MIT
#include "knotwork/fit/BandFit.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "knotwork/factor/RowStream.h"
#include "knotwork/factor/SpanRows.h"
#include "knotwork/factor/detail/LaneKernels.h"

namespace knotwork {

namespace {

constexpr double kEps = 0x1p-52;
constexpr double kExactEps = 0x1p-100;  // of doubled precision, with room for a row's length

// Rounding leaves of a triangle that is singular a condition of 1e15 or more.
constexpr double kMostCondition = 1e12;   // refinement still gains two digits a round
constexpr double kSurelySingular = 1e14;  // it is said so
constexpr double kContraction = 4.0;      // a round leaves eps times both conditions, times this
constexpr double kConverged = 1e-15;      // a correction that small ends the rounds
constexpr double kNothing = 1e-24;        // the same, of the largest right-hand side
constexpr double kProgress = 0.5;         // a round that gains less will not get there
constexpr int kMostRounds = 12;

/// The entries of a row times the root of its weight, row by row.
BandTriangle compressed(const ScaledRows& rows, int count, const std::function<void(int)>& progress)
{
    constexpr int kTold = 4096;  // rows between two words of progress
    RowStream stream(rows.cols(), 0);
    std::vector<double> row(static_cast<std::size_t>(rows.width()));
    for (int i = 0; i < count; ++i) {
        if (progress != nullptr && (i + 1) % kTold == 0) progress(kTold);
        const double weight = rows.weight(i);
        if (weight == 0.0) continue;
        const double* entries = rows.entries(i);
        if (weight != 1.0) {
            const double root = std::sqrt(weight);
            std::transform(entries, entries + rows.width(), row.begin(),
                           [root](double x) { return root * x; });
            entries = row.data();
        }
        stream.add(rows.firstColumn(i), entries, rows.width(), nullptr);
    }
    stream.finish();
    return stream.triangle();
}

template <class ConstraintRows>
SpanRows spansOf(const ConstraintRows& constraints, int cols)
{
    SpanRows spans(cols);
    std::vector<double> row;
    for (const auto& constraint : constraints) {
        row.clear();
        for (const DoubleDouble& x : constraint.entries) row.push_back(x.high);
        spans.appendTrimmed(constraint.first, row.data(), static_cast<int>(row.size()));
    }
    return spans;
}

}  // namespace

BandFit::BandFit(const ScaledRows& rows, FitMethod method, const std::function<void(int)>& progress)
    : rows_(rows),
      fittedRows_(method == FitMethod::kQr ? rows.count() : rows.dataRows()),
      triangle_(compressed(rows, fittedRows_, progress))
{
    for (int i = fittedRows_; i < rows.count(); ++i) {
        constraints_.push_back({rows.firstColumn(i),
                                std::vector<DoubleDouble>(static_cast<std::size_t>(rows.width()))});
        rows.exactEntries(i, constraints_.back().entries.data());
    }
    factors_ = std::make_unique<ConstrainedTriangle>(triangle_, spansOf(constraints_, rows.cols()));
}

BandFit::BandFit(const BandFit& data, const std::vector<int>& heldColumns)
    : rows_(data.rows_), fittedRows_(data.rows_.dataRows()), triangle_(data.triangle_)
{
    for (const int column : heldColumns) constraints_.push_back({column, {DoubleDouble(1.0)}});
    factors_ =
        std::make_unique<ConstrainedTriangle>(triangle_, spansOf(constraints_, rows_.cols()));
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
    for (std::size_t j = 0; j < direction.size(); ++j)
        if (std::fabs(direction[j]) > kPart) unknowns.push_back(static_cast<int>(j));
    return unknowns;
}

double BandFit::amplification() const
{
    return factors_->inverseNorm() * std::sqrt(fittedRows_) +
           factors_->constraintInverseNorm() * (1.0 + condition());
}

DoubleDouble BandFit::constraintResidual(int i, const NumberBlock& b, const NumberBlock& x,
                                         int column) const
{
    const ConstraintRow& constraint = constraints_[static_cast<std::size_t>(i)];
    DoubleDouble left = b.number(fittedRows_ + i, column);
    int at = constraint.first;
    for (const DoubleDouble& entry : constraint.entries) left += -(entry * x.number(at++, column));
    return left;
}

/// A solution on its way, with the multipliers of its constraints.
class BandFit::Refinement {
  public:
    Refinement(const BandFit& fit, const NumberBlock& b, int dimension, NumberBlock& x)
        : fit_(fit),
          b_(b),
          x_(x),
          dimension_(dimension),
          multipliers_(NumberBlock::size(fit.constraints(), b.width), 0.0),
          rightSizes_(sizesOf(b.high))
    {
        x_ = NumberBlock(fit.rows_.cols(), b.width, true);
    }

    void correctPlainly(const std::function<void(int)>& progress)
    {
        const bool first = rightSquares_.empty();
        correct(
            sumResiduals(fit_.rows_, fit_.fittedRows_, b_, first ? NumberBlock() : x_, progress));
        if (first) rightSquares_ = squares_;
    }
    void correctExactly() { correct(sumResidualsExactly(fit_.rows_, fit_.fittedRows_, b_, x_)); }

    /// The last correction as a share of the largest unknown or, times ofRight, of the largest
    /// right-hand side.
    double moved(double ofRight) const { return share(moved_, sizesOf(x_.high), ofRight); }

    /// What rounding of rows and residuals by eps can have done to the solution.
    double uncertainty(double eps, double ofRight) const
    {
        const double inverse = fit_.factors_->inverseNorm();
        const double norm = fit_.factors_->norm();
        std::vector<double> worst(static_cast<std::size_t>(dimension_), 0.0);
        std::vector<double> lengths(squares_.size(), 0.0);
        for (std::size_t i = 0; i < x_.high.size(); ++i)
            lengths[i % lengths.size()] += x_.high[i] * x_.high[i];
        for (std::size_t c = 0; c < squares_.size(); ++c) {
            const double ofRows = norm * std::sqrt(lengths[c]) + std::sqrt(rightSquares_[c]);
            const double ofResiduals = inverse * norm * std::sqrt(squares_[c]);
            double& most = worst[c % worst.size()];
            most = std::max(most, eps * inverse * (ofRows + ofResiduals));
        }
        return share(worst, sizesOf(x_.high), ofRight);
    }

  private:
    std::vector<double> sizesOf(const std::vector<double>& numbers) const
    {
        std::vector<double> sizes(static_cast<std::size_t>(dimension_), 0.0);
        for (std::size_t i = 0; i < numbers.size(); ++i) {
            double& size = sizes[i % sizes.size()];
            const double magnitude = std::fabs(numbers[i]);
            if (!(magnitude <= size)) size = magnitude;  // negated, so that a NaN stays
        }
        return sizes;
    }
    double share(const std::vector<double>& parts, const std::vector<double>& wholes,
                 double ofRight) const
    {
        double worst = 0.0;
        for (std::size_t k = 0; k < parts.size(); ++k) {
            if (parts[k] == 0.0) continue;
            const double whole = std::max(wholes[k], ofRight * rightSizes_[k]);
            const double found = parts[k] / whole;
            if (!(found <= worst)) worst = found;
        }
        return worst;
    }

    void correct(ResidualSums sums)
    {
        squares_ = std::move(sums.squares);
        subtractMultipliers(sums.gradient);
        moved_.assign(static_cast<std::size_t>(dimension_), 0.0);
        for (int first = 0; first < b_.width;) {
            const int left = b_.width - first;
            if (left > kFewLanes)
                correctLanes<kManyLanes>(sums.gradient, first, std::min(left, kManyLanes));
            else
                correctLanes<kFewLanes>(sums.gradient, first, left);
            first += left > kFewLanes ? kManyLanes : kFewLanes;
        }
    }

    void subtractMultipliers(NumberBlock& gradient) const
    {
        for (int i = 0; i < fit_.constraints(); ++i) {
            int row = fit_.constraints_[static_cast<std::size_t>(i)].first;
            for (const DoubleDouble& entry :
                 fit_.constraints_[static_cast<std::size_t>(i)].entries) {
                for (int c = 0; c < b_.width; ++c)
                    gradient.set(row, c, gradient.number(row, c) - entry * multiplier(i, c));
                ++row;
            }
        }
    }
    DoubleDouble multiplier(int i, int c) const
    {
        return multipliers_[NumberBlock::size(i, b_.width) + static_cast<std::size_t>(c)];
    }

    template <int Lanes>
    void correctLanes(const NumberBlock& gradient, int first, int count)
    {
        const int cols = fit_.rows_.cols();
        const int constraints = fit_.constraints();
        std::vector<double> g(NumberBlock::size(cols, Lanes), 0.0);
        std::vector<double> e(NumberBlock::size(constraints, Lanes), 0.0);
        std::vector<double> dx(g.size());
        std::vector<double> dl(e.size());
        for (int j = 0; j < cols; ++j)
            for (int c = 0; c < count; ++c) {
                const DoubleDouble sum = gradient.number(j, first + c);
                g[NumberBlock::size(j, Lanes) + static_cast<std::size_t>(c)] = sum.high + sum.low;
            }
        for (int i = 0; i < constraints; ++i)
            for (int c = 0; c < count; ++c)
                e[NumberBlock::size(i, Lanes) + static_cast<std::size_t>(c)] =
                    fit_.constraintResidual(i, b_, x_, first + c).high;
        fit_.factors_->correct<Lanes>(g.data(), e.data(), dx.data(), dl.data());
        for (int j = 0; j < cols; ++j)
            for (int c = 0; c < count; ++c) {
                const double change = dx[NumberBlock::size(j, Lanes) + static_cast<std::size_t>(c)];
                x_.set(j, first + c, x_.number(j, first + c) + DoubleDouble(change));
                double& moved = moved_[static_cast<std::size_t>((first + c) % dimension_)];
                if (!(std::fabs(change) <= moved)) moved = std::fabs(change);
            }
        for (int i = 0; i < constraints; ++i)
            for (int c = 0; c < count; ++c)
                multipliers_[NumberBlock::size(i, b_.width) +
                             static_cast<std::size_t>(first + c)] +=
                    dl[NumberBlock::size(i, Lanes) + static_cast<std::size_t>(c)];
    }

    const BandFit& fit_;
    const NumberBlock& b_;
    NumberBlock& x_;
    int dimension_;
    std::vector<double> multipliers_;
    std::vector<double> rightSizes_;
    std::vector<double> rightSquares_;
    std::vector<double> squares_;
    std::vector<double> moved_;  // the largest change of a number of each kind
};

double BandFit::solve(const NumberBlock& b, int dimension, double wanted, NumberBlock& x,
                      const std::function<void(int)>& progress) const
{
    Refinement refinement(*this, b, dimension, x);
    const double contraction =
        kContraction * kEps * (1.0 + condition()) * (1.0 + constraintCondition());
    refinement.correctPlainly(progress);  // from zeros
    refinement.correctPlainly(progress);
    const double plain = refinement.uncertainty(kEps, 0.0) + contraction * refinement.moved(0.0);
    if (plain <= wanted) return plain;

    double before = std::numeric_limits<double>::infinity();
    for (int round = 0; round < kMostRounds; ++round) {
        refinement.correctExactly();
        const double moved = refinement.moved(1.0);
        if (refinement.moved(0.0) <= kConverged || moved <= kNothing)
            return contraction * moved + refinement.uncertainty(kExactEps, 1.0);
        if (!(moved < kProgress * before)) return std::max(1.0, moved);
        before = moved;
    }
    return before;
}

}  // namespace knotwork
