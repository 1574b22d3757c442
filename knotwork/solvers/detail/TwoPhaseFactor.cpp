// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <numeric>

#include "knotwork/solvers/detail/ProgressMeter.h"
#include "knotwork/solvers/detail/TwoPhase.h"

namespace knotwork {

namespace {

// Times the largest squared norm. The diagonal holds norms: the mixed scale is intended.
constexpr double kRankTolerance = 1e-13;
constexpr double kTrust = 100.0;  // downdated norms are recomputed after falling by this factor

struct Reflection {
    double sigma;  // signed norm, the new diagonal entry; 0 when there is nothing to reflect
    double beta;
};

/// The reflection that sends a vector to sigma times its pivot axis; `pivot` becomes its pivot
/// entry. scale: the vector's largest magnitude; squares: the sum of its squares over scale
/// squared. Where squares leave the range of doubles there is no reflection, and the rank test says
/// so.
Reflection makeReflection(double& pivot, double scale, double squares)
{
    const double norm = scale * std::sqrt(squares);
    const double sigma = pivot > 0.0 ? -norm : norm;  // opposite signs: no cancellation below
    const double beta = 1.0 / (sigma * (pivot - sigma));
    if (!std::isfinite(beta) || beta == 0.0) return {0.0, 0.0};
    pivot -= sigma;
    return {sigma, beta};
}

/// The length of the work vectors: counts reduced to 16 bits before they are compared, as hosts
/// laid them down. min(rows, cols) fits as long as that is at most 65535.
std::ptrdiff_t workLength(const DoubleGenMat& a)
{
    return std::max(a.rows() & 0xFFFFu, a.cols() & 0xFFFFu);
}

template <class Function>
void forEachRow(const RowRanges& ranges, Function function)
{
    for (const RowRange& range : ranges)
        for (std::ptrdiff_t i = range.begin; i < range.end; ++i) function(i);
}

}  // namespace

TwoPhaseLayout::TwoPhaseLayout(const DoubleGenMat& matrix, int constraints)
    : rows(static_cast<int>(matrix.rows())), cols(static_cast<int>(matrix.cols()))
{
    const bool wide = rows < cols;
    firstConstraint = wide ? 0 : rows - constraints;
    firstPivot = wide ? 0 : rows - cols;
    freeCols = wide ? cols : cols - constraints;
}

void ColumnReach::merge(const ColumnReach& other)
{
    pivotEnd = std::max(pivotEnd, other.pivotEnd);
    if (other.first == other.end) return;
    first = first == end ? other.first : std::min(first, other.first);
    end = std::max(end, other.end);
}

bool ColumnReach::meets(const ColumnReach& reflection, int r) const
{
    return pivotEnd > r || (first < reflection.end && reflection.first < end);
}

TwoPhaseFactors::TwoPhaseFactors(const DoubleGenMat& matrix, int constraints, double negligible_)
    : at(matrix, constraints),
      negligible(negligible_),
      numbers(std::ptrdiff_t{at.rows} * at.cols),
      beta(workLength(matrix)),
      diagonal(workLength(matrix)),
      rowOrder(at.rows),
      colOrder(at.cols),
      reach(at.cols)
{
    for (int j = 0; j < at.cols; ++j) {
        const DoubleVec from(matrix.col(j));
        for (int i = 0; i < at.rows; ++i) column(j)[i] = from(i);
    }
    std::iota(rowOrder.begin(), rowOrder.end(), 0);
    std::iota(colOrder.begin(), colOrder.end(), 0);
    for (int j = 0; j < at.cols && at.firstConstraint > 0; ++j) {
        const double* entries = column(j);
        const auto isZero = [entries](int i) { return entries[i] == 0.0; };
        ColumnReach& r = reach[j];
        r = {0, at.firstPivot, at.firstConstraint};
        while (r.first < r.end && isZero(r.first)) ++r.first;
        while (r.first < r.end && isZero(r.end - 1)) --r.end;
        while (at.firstPivot < r.pivotEnd && isZero(r.pivotEnd - 1)) --r.pivotEnd;
    }
}

TwoPhaseFactor::TwoPhaseFactor(TwoPhaseFactors& factors, TsolverReporter& reporter)
    : factors_(factors),
      at_(factors.at),
      negligible_(factors.negligible),
      reporter_(reporter),
      norms_(factors.beta.size()),
      row_(at_.cols),
      inner_(at_.rows)
{
}

bool TwoPhaseFactor::run()
{
    if (at_.firstConstraint < at_.rows) reduceConstraints();
    if (at_.firstConstraint > 0 && at_.freeCols > 0) reduceLeastSquares();
    return everyPivotStands();
}

int TwoPhaseFactor::largestNorm(int first, int last) const
{
    int best = first;
    for (int i = first + 1; i < last; ++i)
        if (norms_[i] > norms_[best]) best = i;
    return best;
}

bool TwoPhaseFactor::everyPivotStands()
{
    int fallen = 0;
    for (int k = 0; k < at_.rows - at_.firstPivot; ++k) {
        double& diagonal = factors_.diagonal[k];
        // Negated, so that a NaN falls too; an exact 0 falls even when nothing was ever big.
        if (std::fabs(diagonal) >= big_ * kRankTolerance && diagonal != 0.0) continue;
        diagonal = 0.0;
        ++fallen;
    }
    return fallen == 0;
}

// --- phase 1: constraint rows, from the right; norms are counted from the first constraint ---

void TwoPhaseFactor::reduceConstraints()
{
    const int first = at_.firstConstraint;
    ProgressMeter progress(reporter_, at_.rows - first, at_.cols);
    measureRows(at_.rows, at_.cols);
    int pivot = first + largestNorm(0, at_.rows - first);
    double reference = norms_[pivot - first];
    big_ = std::max(big_, reference);
    for (int i = at_.rows - 1; i >= first; --i) {
        const int k = at_.pivotColumn(i);
        progress.step();
        if (pivot != i) exchangeRows(i, pivot);
        reflectRow(i, k);
        applyToRowsAbove(i);
        if (i == first) break;
        const double* last = column(k) + first;
        for (int r = 0; r < i - first; ++r) norms_[r] -= last[r] * last[r];
        pivot = first + largestNorm(0, i - first);
        if (reference > kTrust * norms_[pivot - first]) {
            measureRows(i, k);
            pivot = first + largestNorm(0, i - first);
            reference = norms_[pivot - first];
        }
    }
    progress.finish();
}

/// Squared norms of the constraint rows before `last` over the first `cols` columns.
void TwoPhaseFactor::measureRows(int last, int cols)
{
    const int count = last - at_.firstConstraint;
    std::fill_n(norms_.begin(), count, 0.0);
    for (int j = 0; j < cols; ++j) {
        const double* entries = column(j) + at_.firstConstraint;
        for (int r = 0; r < count; ++r) norms_[r] += entries[r] * entries[r];
    }
}

/// Neither row has a beta or diagonal yet, so those need no exchange.
void TwoPhaseFactor::exchangeRows(int i, int q)
{
    for (int j = 0; j < at_.cols; ++j) std::swap(column(j)[i], column(j)[q]);
    std::swap(norms_[i - at_.firstConstraint], norms_[q - at_.firstConstraint]);
    std::swap(factors_.rowOrder[i], factors_.rowOrder[q]);
}

/// Reflects row i over columns 0..k onto column k, and keeps a copy of it with its support.
void TwoPhaseFactor::reflectRow(int i, int k)
{
    double scale = 0.0;
    for (int j = 0; j <= k; ++j) {
        row_[j] = column(j)[i];
        scale = std::max(scale, std::fabs(row_[j]));
    }
    Reflection reflection = {0.0, 0.0};
    if (scale > negligible_) {
        double squares = 0.0;
        for (int j = 0; j <= k; ++j) {
            const double t = row_[j] / scale;
            squares += t * t;
        }
        reflection = makeReflection(row_[k], scale, squares);
    }
    column(k)[i] = row_[k];
    factors_.diagonal[at_.position(i)] = reflection.sigma;
    factors_.beta[at_.position(i)] = reflection.beta;
    support_.clear();
    for (int j = 0; j <= k; ++j)
        if (row_[j] != 0.0) support_.push_back(j);
}

/// d = the inner products of row i with every row above, then column j += a_ij beta d, where what
/// is negligible in d counts as 0. Both are sweeps over the columns that row i has entries in.
void TwoPhaseFactor::applyToRowsAbove(int i)
{
    const double beta = factors_.beta[at_.position(i)];
    if (beta == 0.0 || i == 0) return;
    ColumnReach reach = {0, 0, at_.firstPivot};
    for (const int j : support_) reach.merge(factors_.reach[j]);
    ranges_ = {
        {reach.first, reach.end}, {at_.firstPivot, reach.pivotEnd}, {at_.firstConstraint, i}};

    double* d = inner_.data();
    forEachRow(ranges_, [d](std::ptrdiff_t r) { d[r] = 0.0; });
    const auto inPanels = [&](auto&& perPanel) {
        const int size = static_cast<int>(support_.size());
        for (int first = 0; first < size; first += kPanel) {
            const int count = std::min(kPanel, size - first);
            double* columns[kPanel] = {};
            double entries[kPanel] = {};
            for (int c = 0; c < count; ++c) {
                columns[c] = column(support_[first + c]);
                entries[c] = row_[support_[first + c]];
            }
            perPanel(columns, entries, count);
        }
    };
    inPanels([&](double** columns, double* entries, int count) {
        panelCombine(ranges_, d, columns, count, entries);
    });
    forEachRow(ranges_, [d, this](std::ptrdiff_t r) {
        if (std::fabs(d[r]) <= negligible_) d[r] = 0.0;
    });
    inPanels([&](double** columns, double* entries, int count) {
        for (int c = 0; c < count; ++c) entries[c] *= beta;
        panelUpdate(ranges_, d, columns, count, entries);
    });
    for (const int j : support_) factors_.reach[j] = reach;
}

// --- phase 2: least-squares rows, column by column ---

void TwoPhaseFactor::reduceLeastSquares()
{
    const int cols = at_.freeCols;
    ProgressMeter progress(reporter_, cols, at_.rows);
    measureColumns(0, at_.firstPivot);
    int pivot = largestNorm(0, cols);
    double reference = norms_[pivot];
    big_ = std::max(big_, reference);
    for (int k = 0; k < cols; ++k) {
        const int r = at_.firstPivot + k;
        progress.step();
        if (pivot != k) exchangeColumns(pivot, k);
        reflectColumn(k, r);
        applyToColumnsRight(k, r);
        if (k + 1 == cols) break;
        pivot = largestNorm(k + 1, cols);
        if (reference > kTrust * norms_[pivot]) {
            measureColumns(k + 1, r + 1);
            pivot = largestNorm(k + 1, cols);
            reference = norms_[pivot];
        }
    }
    progress.finish();
}

/// Squared norms of the free columns from `first` on, over the least-squares rows that are not
/// pivots: those before the first pivot row, and from row r on.
void TwoPhaseFactor::measureColumns(int first, int r)
{
    for (int j = first; j < at_.freeCols; ++j) {
        const ColumnReach& reach = factors_.reach[j];
        ranges_ = {{reach.first, reach.end}, {r, reach.pivotEnd}};
        const double* entries = column(j);
        panelDot(ranges_, entries, &entries, 1, &norms_[j]);
    }
}

void TwoPhaseFactor::exchangeColumns(int j, int k)
{
    std::swap_ranges(column(j), column(j) + at_.rows, column(k));
    std::swap(factors_.reach[j], factors_.reach[k]);
    std::swap(factors_.colOrder[j], factors_.colOrder[k]);
    std::swap(norms_[j], norms_[k]);
}

/// Reflects column k over the rows that are not yet pivots onto row r. Leaves those rows in
/// ranges_.
void TwoPhaseFactor::reflectColumn(int k, int r)
{
    ColumnReach& reach = factors_.reach[k];
    reach.pivotEnd = std::max(reach.pivotEnd, r + 1);
    ranges_ = {{reach.first, reach.end}, {r, reach.pivotEnd}};

    double* entries = column(k);
    double scale = 0.0;
    forEachRow(ranges_, [&](std::ptrdiff_t i) { scale = std::max(scale, std::fabs(entries[i])); });
    Reflection reflection = {0.0, 0.0};
    if (scale > negligible_) {
        double squares = 0.0;
        forEachRow(ranges_, [&](std::ptrdiff_t i) {
            const double t = entries[i] / scale;
            squares += t * t;
        });
        reflection = makeReflection(entries[r], scale, squares);
    }
    factors_.diagonal[at_.position(r)] = reflection.sigma;
    factors_.beta[at_.position(r)] = reflection.beta;
}

/// The constraint columns are reached too: without them constrained answers would not be
/// least-squares solutions. Columns without a common row have an inner product of exactly 0.
void TwoPhaseFactor::applyToColumnsRight(int k, int r)
{
    if (factors_.beta[at_.position(r)] == 0.0) {
        for (int j = k + 1; j < at_.freeCols; ++j) norms_[j] -= column(j)[r] * column(j)[r];
        return;
    }
    int panel[kPanel];
    int count = 0;
    for (int j = k + 1; j < at_.cols; ++j) {
        if (!factors_.reach[j].meets(factors_.reach[k], r)) continue;
        panel[count++] = j;
        if (count < kPanel) continue;
        applyToPanel(k, r, panel, count);
        count = 0;
    }
    applyToPanel(k, r, panel, count);
}

void TwoPhaseFactor::applyToPanel(int k, int r, const int* columns, int count)
{
    const double* v = column(k);
    double* entries[kPanel] = {};
    double products[kPanel] = {};
    for (int c = 0; c < count; ++c) entries[c] = column(columns[c]);
    panelDot(ranges_, v, entries, count, products);

    double* changed[kPanel] = {};
    int changes = 0;
    for (int c = 0; c < count; ++c) {
        if (std::fabs(products[c]) <= negligible_) continue;
        factors_.reach[columns[c]].merge(factors_.reach[k]);
        changed[changes] = entries[c];
        products[changes++] = products[c] * factors_.beta[at_.position(r)];
    }
    panelUpdate(ranges_, v, changed, changes, products);
    for (int c = 0; c < count; ++c)
        if (columns[c] < at_.freeCols) norms_[columns[c]] -= entries[c][r] * entries[c][r];
}

}  // namespace knotwork
