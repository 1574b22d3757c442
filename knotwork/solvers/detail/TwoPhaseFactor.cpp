// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>

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

TwoPhaseFactor::TwoPhaseFactor(const TwoPhaseLayout& layout, const TwoPhaseArrays& arrays,
                               double negligible, TsolverReporter& reporter)
    : at_(layout),
      arrays_(arrays),
      negligible_(negligible),
      reporter_(reporter),
      row_(static_cast<std::size_t>(layout.cols)),
      inner_(static_cast<std::size_t>(layout.rows))
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
    const double* norms = arrays_.norms;
    int best = first;
    for (int i = first + 1; i < last; ++i)
        if (norms[i] > norms[best]) best = i;
    return best;
}

bool TwoPhaseFactor::everyPivotStands()
{
    int fallen = 0;
    for (int k = 0; k < at_.rows - at_.firstPivot; ++k) {
        double& diagonal = arrays_.diagonal[k];
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
    double reference = arrays_.norms[pivot - first];
    big_ = std::max(big_, reference);
    for (int i = at_.rows - 1; i >= first; --i) {
        const int k = at_.pivotColumn(i);
        progress.step();
        if (pivot != i) exchangeRows(i, pivot);
        reflectRow(i, k);
        applyToRowsAbove(i);
        if (i == first) break;
        const double* last = column(k) + first;
        for (int r = 0; r < i - first; ++r) arrays_.norms[r] -= last[r] * last[r];
        pivot = first + largestNorm(0, i - first);
        if (reference > kTrust * arrays_.norms[pivot - first]) {
            measureRows(i, k);
            pivot = first + largestNorm(0, i - first);
            reference = arrays_.norms[pivot - first];
        }
    }
    progress.finish();
}

/// Squared norms of the constraint rows before `last` over the first `cols` columns.
void TwoPhaseFactor::measureRows(int last, int cols)
{
    const int count = last - at_.firstConstraint;
    std::fill_n(arrays_.norms, count, 0.0);
    for (int j = 0; j < cols; ++j) {
        const double* entries = column(j) + at_.firstConstraint;
        for (int r = 0; r < count; ++r) arrays_.norms[r] += entries[r] * entries[r];
    }
}

/// Neither row has a beta or diagonal yet, so those need no exchange.
void TwoPhaseFactor::exchangeRows(int i, int q)
{
    for (int j = 0; j < at_.cols; ++j) {
        double* entries = column(j);
        if (entries[i] == 0.0 && entries[q] == 0.0) continue;
        std::swap(entries[i], entries[q]);
        arrays_.blocks->mark(j, i);
        arrays_.blocks->mark(j, q);
    }
    std::swap(arrays_.norms[i - at_.firstConstraint], arrays_.norms[q - at_.firstConstraint]);
    std::swap(arrays_.rowOrder[i], arrays_.rowOrder[q]);
}

/// Reflects row i over columns 0..k onto column k, and keeps a copy of it with its support.
void TwoPhaseFactor::reflectRow(int i, int k)
{
    double scale = 0.0;
    for (int j = 0; j <= k; ++j) {
        row_[static_cast<std::size_t>(j)] = column(j)[i];
        scale = std::max(scale, std::fabs(row_[static_cast<std::size_t>(j)]));
    }
    Reflection reflection = {0.0, 0.0};
    if (scale > negligible_) {
        double squares = 0.0;
        for (int j = 0; j <= k; ++j) {
            const double t = row_[static_cast<std::size_t>(j)] / scale;
            squares += t * t;
        }
        reflection = makeReflection(row_[static_cast<std::size_t>(k)], scale, squares);
    }
    column(k)[i] = row_[static_cast<std::size_t>(k)];
    arrays_.blocks->mark(k, i);
    arrays_.diagonal[at_.position(i)] = reflection.sigma;
    arrays_.beta[at_.position(i)] = reflection.beta;
    support_.clear();
    for (int j = 0; j <= k; ++j)
        if (row_[static_cast<std::size_t>(j)] != 0.0) support_.push_back(j);
}

/// d = the inner products of row i with every row above, then column j += a_ij beta d, where what
/// is negligible in d counts as 0. Both are sweeps over the columns that row i has entries in.
void TwoPhaseFactor::applyToRowsAbove(int i)
{
    const double beta = arrays_.beta[at_.position(i)];
    if (beta == 0.0 || i == 0) return;
    RowBlocks& blocks = *arrays_.blocks;
    blocks.clear(blocks.scratch());
    for (const int j : support_) blocks.merge(blocks.scratch(), j);
    ranges_.clear();
    blocks.appendRanges(blocks.scratch(), 0, i, ranges_);

    double* d = inner_.data();
    forEachRow(ranges_, [d](std::ptrdiff_t r) { d[r] = 0.0; });
    const auto inPanels = [&](auto&& perPanel) {
        for (std::size_t first = 0; first < support_.size(); first += kPanel) {
            const int count =
                static_cast<int>(std::min<std::size_t>(kPanel, support_.size() - first));
            double* columns[kPanel] = {};
            double entries[kPanel] = {};
            for (int c = 0; c < count; ++c) {
                const int j = support_[first + static_cast<std::size_t>(c)];
                columns[c] = column(j);
                entries[c] = row_[static_cast<std::size_t>(j)];
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
    for (const int j : support_) blocks.merge(j, blocks.scratch());
}

// --- phase 2: least-squares rows, column by column ---

void TwoPhaseFactor::reduceLeastSquares()
{
    const int cols = at_.freeCols;
    ProgressMeter progress(reporter_, cols, at_.rows);
    measureColumns(0, at_.firstPivot);
    int pivot = largestNorm(0, cols);
    double reference = arrays_.norms[pivot];
    big_ = std::max(big_, reference);
    for (int k = 0; k < cols; ++k) {
        const int r = at_.firstPivot + k;
        progress.step();
        if (pivot != k) exchangeColumns(pivot, k);
        reflectColumn(k, r);
        applyToColumnsRight(k, r);
        if (k + 1 == cols) break;
        pivot = largestNorm(k + 1, cols);
        if (reference > kTrust * arrays_.norms[pivot]) {
            measureColumns(k + 1, r + 1);
            pivot = largestNorm(k + 1, cols);
            reference = arrays_.norms[pivot];
        }
    }
    progress.finish();
}

/// Squared norms of the free columns from `first` on, over the least-squares rows that are not
/// pivots: those before the first pivot row, and from row r on.
void TwoPhaseFactor::measureColumns(int first, int r)
{
    for (int j = first; j < at_.freeCols; ++j) {
        ranges_.clear();
        arrays_.blocks->appendRanges(j, 0, at_.firstPivot, ranges_);
        arrays_.blocks->appendRanges(j, r, at_.firstConstraint, ranges_);
        const double* entries = column(j);
        panelDot(ranges_, entries, &entries, 1, &arrays_.norms[j]);
    }
}

void TwoPhaseFactor::exchangeColumns(int j, int k)
{
    RowBlocks& blocks = *arrays_.blocks;
    blocks.clear(blocks.scratch());
    blocks.merge(blocks.scratch(), j);
    blocks.merge(blocks.scratch(), k);
    ranges_.clear();
    blocks.appendRanges(blocks.scratch(), 0, at_.rows, ranges_);
    for (const RowRange& range : ranges_)
        std::swap_ranges(column(j) + range.begin, column(j) + range.end, column(k) + range.begin);
    blocks.exchange(j, k);
    std::swap(arrays_.colOrder[j], arrays_.colOrder[k]);
    std::swap(arrays_.norms[j], arrays_.norms[k]);
}

/// Reflects column k over the rows that are not yet pivots onto row r. Leaves those rows in
/// ranges_ and their marks in the scratch column.
void TwoPhaseFactor::reflectColumn(int k, int r)
{
    RowBlocks& blocks = *arrays_.blocks;
    const int marks = blocks.scratch();
    blocks.mark(k, r);
    blocks.clear(marks);
    blocks.mergeRows(marks, k, 0, at_.firstPivot);
    blocks.mergeRows(marks, k, r, at_.firstConstraint);
    ranges_.clear();
    blocks.appendRanges(marks, 0, at_.firstPivot, ranges_);
    blocks.appendRanges(marks, r, at_.firstConstraint, ranges_);

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
    arrays_.diagonal[at_.position(r)] = reflection.sigma;
    arrays_.beta[at_.position(r)] = reflection.beta;
}

/// The constraint columns are reached too: without them constrained answers would not be
/// least-squares solutions. Columns without a common row have an inner product of exactly 0.
void TwoPhaseFactor::applyToColumnsRight(int k, int r)
{
    RowBlocks& blocks = *arrays_.blocks;
    if (arrays_.beta[at_.position(r)] == 0.0) {
        for (int j = k + 1; j < at_.freeCols; ++j) arrays_.norms[j] -= column(j)[r] * column(j)[r];
        return;
    }
    int panel[kPanel];
    int count = 0;
    for (int j = k + 1; j < at_.cols; ++j) {
        if (!blocks.meet(j, blocks.scratch())) continue;
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
        arrays_.blocks->merge(columns[c], arrays_.blocks->scratch());
        changed[changes] = entries[c];
        products[changes++] = products[c] * arrays_.beta[at_.position(r)];
    }
    panelUpdate(ranges_, v, changed, changes, products);
    for (int c = 0; c < count; ++c)
        if (columns[c] < at_.freeCols) arrays_.norms[columns[c]] -= entries[c][r] * entries[c][r];
}

}  // namespace knotwork
