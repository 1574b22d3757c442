// SPDX-License-Identifier: MIT
#include "knotwork/solvers/detail/SpanSystem.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <utility>

namespace knotwork {

namespace {

constexpr std::size_t kFewEntries = 2048;  // a smaller matrix is as well off dense
constexpr std::size_t kSparse = 4;         // at most one entry in so many may be other than 0
constexpr int kScanned = 32;               // entries that are looked at together

/// The entries of a matrix that are not zero, column by column; a negative zero counts as an entry,
/// so that no bit is lost.
class EntryList {
  public:
    explicit EntryList(std::size_t most) : most_(most) { grow(); }

    bool readColumn(const double* column, int rows)
    {
        int i = 0;
        for (; i + kScanned <= rows; i += kScanned)
            if (anyBit(column + i) && !take(column, i, i + kScanned)) return false;
        return take(column, i, rows);
    }
    std::size_t count() const { return count_; }
    int row(std::size_t k) const { return rows_[k]; }
    double value(std::size_t k) const { return values_[k]; }

  private:
    static std::uint64_t bitsOf(double x)
    {
        std::uint64_t bits;
        std::memcpy(&bits, &x, sizeof bits);
        return bits;
    }
    static bool anyBit(const double* p)
    {
        typedef std::uint64_t Pack __attribute__((vector_size(32)));
        constexpr int kPack = 4;
        Pack all = {};
        for (int i = 0; i < kScanned; i += kPack) {
            Pack pack;
            std::memcpy(&pack, p + i, sizeof pack);
            all |= pack;
        }
        return (all[0] | all[1] | all[2] | all[3]) != 0;
    }
    bool take(const double* column, int begin, int end)
    {
        if (count_ + kScanned > rows_.size()) {
            if (count_ > most_) return false;
            grow();
        }
        int* rows = rows_.data();
        double* values = values_.data();
        std::size_t at = count_;
        for (int i = begin; i < end; ++i) {  // without branches: what is zero is overwritten
            rows[at] = i;
            values[at] = column[i];
            at += bitsOf(column[i]) != 0 ? 1 : 0;
        }
        count_ = at;
        return true;
    }
    void grow()
    {
        const std::size_t size = std::max<std::size_t>(kFewEntries, 2 * rows_.size());
        rows_.resize(size);
        values_.resize(size);
    }

    std::size_t most_;
    std::size_t count_ = 0;
    std::vector<int> rows_;
    std::vector<double> values_;
};

/// Turns the list into rows; false when their spans hold more than `most` numbers, or one of them
/// is not finite.
bool layOut(const EntryList& entries, const std::vector<std::size_t>& columnStarts, int rowCount,
            std::size_t most, SpanRows& rows)
{
    const std::size_t cols = columnStarts.size() - 1;
    std::vector<int> first(static_cast<std::size_t>(rowCount), 0);
    std::vector<int> end(static_cast<std::size_t>(rowCount), 0);
    for (std::size_t j = 0; j < cols; ++j)
        for (std::size_t k = columnStarts[j]; k < columnStarts[j + 1]; ++k) {
            const auto row = static_cast<std::size_t>(entries.row(k));
            if (end[row] == 0) first[row] = static_cast<int>(j);
            end[row] = static_cast<int>(j) + 1;
        }
    std::vector<std::ptrdiff_t> starts(static_cast<std::size_t>(rowCount) + 1, 0);
    for (std::size_t i = 0; i < first.size(); ++i) starts[i + 1] = starts[i] + end[i] - first[i];
    if (static_cast<std::size_t>(starts.back()) > most) return false;

    rows = SpanRows(static_cast<int>(cols), std::move(first), std::move(starts));
    const int* firsts = rows.firsts();
    const std::ptrdiff_t* rowStarts = rows.starts();
    double* numbers = rows.numbers().data();
    double nothing = 0.0;  // stays 0 as long as every entry is finite
    for (std::size_t j = 0; j < cols; ++j)
        for (std::size_t k = columnStarts[j]; k < columnStarts[j + 1]; ++k) {
            const int row = entries.row(k);
            numbers[rowStarts[row] + static_cast<std::ptrdiff_t>(j) - firsts[row]] =
                entries.value(k);
            nothing += entries.value(k) * 0.0;
        }
    return nothing == 0.0;
}

}  // namespace

bool readSpans(const DoubleGenMat& A, SpanRows& rows)
{
    const std::size_t size = std::size_t{A.rows()} * A.cols();
    if (size < kFewEntries || A.dataVec().stride() != 1) return false;
    const int rowCount = static_cast<int>(A.rows());
    EntryList entries(size / kSparse);
    std::vector<std::size_t> columnStarts = {0};
    columnStarts.reserve(std::size_t{A.cols()} + 1);
    const double* column = A.data();
    for (unsigned j = 0; j < A.cols(); ++j, column += rowCount) {
        if (!entries.readColumn(column, rowCount)) return false;
        columnStarts.push_back(entries.count());
    }
    return layOut(entries, columnStarts, rowCount, size / kSparse, rows);
}

DoubleGenMat expanded(const SpanRows& rows)
{
    DoubleGenMat matrix(static_cast<unsigned>(rows.rows()), static_cast<unsigned>(rows.cols()),
                        0.0);
    if (matrix.rows() != static_cast<unsigned>(rows.rows())) return matrix;  // found no memory
    for (int i = 0; i < rows.rows(); ++i)
        for (int k = 0; k < rows.count(i); ++k) matrix(i, rows.first(i) + k) = rows.values(i)[k];
    return matrix;
}

DoubleVec columnOf(const SpanRows& rows, int j)
{
    DoubleVec column(static_cast<unsigned>(rows.rows()), 0.0);
    for (int i = 0; i < rows.rows(); ++i)
        if (rows.first(i) <= j && j < rows.end(i)) column(i) = rows.values(i)[j - rows.first(i)];
    return column;
}

double largestEntry(const SpanRows& rows)
{
    double largest = 0.0;  // a matrix with spans has zeros beside them
    for (const double v : rows.numbers())
        if (v > largest) largest = v;
    return largest;
}

IntVec positionsOf(const std::vector<char>& flags)
{
    IntVec positions(static_cast<unsigned>(std::count(flags.begin(), flags.end(), 1)));
    int next = 0;
    for (std::size_t i = 0; i < flags.size(); ++i)
        if (flags[i] != 0) positions(next++) = static_cast<int>(i);
    return positions;
}

void findZeroSpans(const SpanRows& rows, const IntVec& fixedCols, IntVec& usedRows,
                   IntVec& usedCols, double tol)
{
    const char outside = 0.0 <= tol ? 0 : 1;  // whether even a zero is beyond the tolerance
    std::vector<char> rowUsed(static_cast<std::size_t>(rows.rows()), outside);
    std::vector<char> colUsed(static_cast<std::size_t>(rows.cols()), outside);
    for (int i = 0; i < rows.rows(); ++i)
        for (int k = 0; k < rows.count(i); ++k) {
            const char nonZero = std::fabs(rows.values(i)[k]) <= tol ? 0 : 1;
            rowUsed[static_cast<std::size_t>(i)] |= nonZero;
            colUsed[static_cast<std::size_t>(rows.first(i) + k)] |= nonZero;
        }
    const int fixedCount = static_cast<int>(fixedCols.length());
    for (int j = 0, cursor = 0; j < rows.cols() && cursor < fixedCount; ++j)
        if (fixedCols(cursor) == j) {
            colUsed[static_cast<std::size_t>(j)] = 0;
            ++cursor;
        }
    usedCols.reference(positionsOf(colUsed));
    usedRows.reference(positionsOf(rowUsed));
}

SpanRows cutSpans(const SpanRows& rows, const IntVec& usedRows, const IntVec& usedCols)
{
    const int cols = static_cast<int>(usedCols.length());
    std::vector<int> before(static_cast<std::size_t>(rows.cols()) + 1, 0);  // used columns left of
    for (int k = 0; k < cols; ++k) ++before[static_cast<std::size_t>(usedCols(k)) + 1];
    for (std::size_t j = 1; j < before.size(); ++j) before[j] += before[j - 1];

    SpanRows cut(cols);
    cut.reserve(static_cast<int>(usedRows.length()), rows.entries());
    std::vector<double> kept(static_cast<std::size_t>(cols));
    for (int i = 0; i < static_cast<int>(usedRows.length()); ++i) {
        const int row = usedRows(i);
        const int first = before[static_cast<std::size_t>(rows.first(row))];
        const int end = before[static_cast<std::size_t>(rows.end(row))];
        for (int k = first; k < end; ++k)
            kept[static_cast<std::size_t>(k - first)] =
                rows.values(row)[usedCols(k) - rows.first(row)];
        cut.appendTrimmed(first, kept.data(), end - first);
    }
    return cut;
}

SpanRows clampedSpans(const SpanRows& rows, double tol)
{
    SpanRows clamped(rows.cols());
    clamped.reserve(rows.rows(), rows.entries());
    std::vector<double> kept(static_cast<std::size_t>(rows.cols()));
    for (int i = 0; i < rows.rows(); ++i) {
        std::transform(rows.values(i), rows.values(i) + rows.count(i), kept.begin(),
                       [tol](double v) { return std::fabs(v) <= tol ? 0.0 : v; });
        clamped.appendTrimmed(rows.first(i), kept.data(), rows.count(i));
    }
    return clamped;
}

double rowFactor(double length)
{
    if (!(length > 0.0)) return 0.0;
    return std::isinf(length) ? std::numeric_limits<double>::quiet_NaN() : 1.0 / length;
}

DoubleVec normaliseSpans(SpanRows& rows)
{
    DoubleVec factors(static_cast<unsigned>(rows.rows()), 0.0);
    for (int i = 0; i < rows.rows(); ++i) {
        double* values = rows.values(i);
        const int count = rows.count(i);
        double square = 0.0;
        for (int k = 0; k < count; ++k) square += values[k] * values[k];
        // Squares that came near the ends of the range have lost digits: measured anew.
        const double length = square > 1e-280 && square < 1e280
                                  ? std::sqrt(square)
                                  : DoubleVec(values, static_cast<unsigned>(count)).vecLen();
        factors(i) = rowFactor(length);
        for (int k = 0; k < count; ++k)
            values[k] = factors(i) == 0.0 ? 0.0 : values[k] * factors(i);
    }
    return factors;
}

}  // namespace knotwork
