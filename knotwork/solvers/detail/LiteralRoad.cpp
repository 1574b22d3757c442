// SPDX-License-Identifier: MIT
#include "knotwork/solvers/detail/LiteralRoad.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace knotwork {

namespace {

static_assert(kFewLanes == kPanel && kManyLanes == kInterleaved, "one layout");

/// Few right-hand sides, or solutions, each contiguous: the work runs along the rows.
class RhsColumns {
  public:
    static constexpr int kLanes = kFewLanes;

    RhsColumns(int rows, int width) : width_(width), numbers_(std::ptrdiff_t{rows} * width)
    {
        for (int c = 0; c < width; ++c) columns_[c] = numbers_.data() + std::ptrdiff_t{rows} * c;
    }
    RhsColumns(const RhsColumns&) = delete;
    RhsColumns& operator=(const RhsColumns&) = delete;

    int width() const { return width_; }
    double& at(std::ptrdiff_t row, int c) { return columns_[c][row]; }
    void dot(RowRangeSpan rows, const double* v, double* products) const
    {
        panelDot(rows, v, columns_, width_, products);
    }
    void update(RowRangeSpan rows, const double* v, const double* factors)
    {
        panelUpdate(rows, v, columns_, width_, factors);
    }

  private:
    int width_;
    Array<double> numbers_;
    double* columns_[kLanes] = {};
};

/// Many of them in lanes: the work runs across them.
class RhsLanes {
  public:
    static constexpr int kLanes = kManyLanes;

    RhsLanes(int rows, int width) : width_(width), numbers_(std::ptrdiff_t{rows} * kLanes) {}

    int width() const { return width_; }
    double& at(std::ptrdiff_t row, int c) { return numbers_[row * kLanes + c]; }
    void dot(RowRangeSpan rows, const double* v, double* products) const
    {
        interleavedDot(rows, v, numbers_.data(), products);
    }
    void update(RowRangeSpan rows, const double* v, const double* factors)
    {
        interleavedUpdate(rows, v, numbers_.data(), factors);
    }

  private:
    int width_;
    Array<double> numbers_;
};

/// r += (v . r) beta v for each right-hand side r, unless the product is negligible.
template <class Numbers>
void reflect(Numbers& numbers, RowRangeSpan rows, const double* v, double beta, double negligible)
{
    double factors[Numbers::kLanes] = {};
    numbers.dot(rows, v, factors);
    for (double& d : factors) d = std::fabs(d) <= negligible ? 0.0 : d * beta;
    numbers.update(rows, v, factors);
}

}  // namespace

LiteralRoad::LiteralRoad(const DoubleGenMat& matrix, int constraints, double negligible,
                         TsolverReporter& reporter)
    : factors_(matrix, constraints, negligible)
{
    const TwoPhaseLayout& at = factors_.at;
    if (at.valid() && std::min(at.rows, at.cols) <= kMostPivots)
        everyPivotStands_ = TwoPhaseFactor(factors_, reporter).run();
}

double LiteralRoad::leastAnswer() const
{
    return -std::numeric_limits<double>::infinity();
}

void LiteralRoad::solve(const LaneReader& rhs, double* x) const
{
    const TwoPhaseLayout& at = factors_.at;
    if (rhs.lanes() == kFewLanes) {
        RhsColumns b(at.rows, rhs.width());
        RhsColumns found(at.cols, rhs.width());
        solveIn(b, found, rhs, x);
    } else {
        RhsLanes b(at.rows, rhs.width());
        RhsLanes found(at.cols, rhs.width());
        solveIn(b, found, rhs, x);
    }
}

template <class Numbers>
void LiteralRoad::solveIn(Numbers& b, Numbers& found, const LaneReader& rhs, double* x) const
{
    constexpr int kLanes = Numbers::kLanes;
    const TwoPhaseLayout& at = factors_.at;
    double row[kLanes] = {};
    for (int i = 0; i < at.rows; ++i) {
        rhs.read<kLanes>(factors_.rowOrder[i], row);
        for (int c = 0; c < rhs.width(); ++c) b.at(i, c) = row[c];
    }
    if (at.firstConstraint > 0) reflectRhs(b);
    backSubstitute(b, found);
    if (at.firstConstraint < at.rows) restoreUnknowns(found);
    for (int j = 0; j < at.cols; ++j) {
        double* to = x + std::ptrdiff_t{kLanes} * factors_.colOrder[j];
        for (int c = 0; c < kLanes; ++c) to[c] = c < rhs.width() ? found.at(j, c) : 0.0;
    }
}

template <class Numbers>
void LiteralRoad::reflectRhs(Numbers& b) const
{
    const TwoPhaseLayout& at = factors_.at;
    RowRanges rows;
    for (int k = 0; k < at.freeCols; ++k) {
        const int r = at.firstPivot + k;
        const ColumnReach& reach = factors_.reach[k];
        rows = {{reach.first, reach.end}, {r, reach.pivotEnd}};
        reflect(b, rows, factors_.column(k), factors_.beta[at.position(r)], factors_.negligible);
    }
}

/// Column by column from the last, so the constraint unknowns come first. An entry on a negligible
/// diagonal is not divided, which is intended. With fewer rows than columns the unknowns without a
/// pivot stay 0.
template <class Numbers>
void LiteralRoad::backSubstitute(Numbers& b, Numbers& found) const
{
    const TwoPhaseLayout& at = factors_.at;
    for (int i = at.rows - 1; i >= at.firstPivot; --i) {
        const int j = at.pivotColumn(i);
        const double diagonal = factors_.diagonal[at.position(i)];
        const bool divide = std::fabs(diagonal) > factors_.negligible;
        double factors[Numbers::kLanes] = {};
        for (int c = 0; c < b.width(); ++c) {
            found.at(j, c) = divide ? b.at(i, c) / diagonal : b.at(i, c);
            factors[c] = -found.at(j, c);
        }
        b.update(RowRange{at.firstPivot, i}, factors_.column(j), factors);
    }
}

/// Turns the unknowns that phase 1 changed back into the caller's: its reflections, the last first.
template <class Numbers>
void LiteralRoad::restoreUnknowns(Numbers& found) const
{
    const TwoPhaseLayout& at = factors_.at;
    Array<double> row(at.cols);
    for (int i = at.firstConstraint; i < at.rows; ++i) {
        const int last = at.pivotColumn(i);
        for (int j = 0; j <= last; ++j) row[j] = factors_.column(j)[i];
        reflect(found, RowRange{0, last + 1}, row.data(), factors_.beta[at.position(i)],
                factors_.negligible);
    }
}

}  // namespace knotwork
