// SPDX-License-Identifier: MIT
#include "knotwork/solvers/detail/SpanReader.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>

#include "knotwork/linalg/detail/Array.h"

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
bool layOut(const EntryList& entries, const Array<std::size_t>& columnStarts, int rowCount,
            std::size_t most, SpanRows& rows)
{
    const int cols = static_cast<int>(columnStarts.size()) - 1;
    Array<int> first(rowCount, 0);
    Array<int> end(rowCount, 0);
    for (int j = 0; j < cols; ++j)
        for (std::size_t k = columnStarts[j]; k < columnStarts[j + 1]; ++k) {
            const int row = entries.row(k);
            if (end[row] == 0) first[row] = j;
            end[row] = j + 1;
        }
    Array<std::ptrdiff_t> starts(rowCount + 1, 0);
    for (int i = 0; i < rowCount; ++i) starts[i + 1] = starts[i] + end[i] - first[i];
    if (static_cast<std::size_t>(starts.back()) > most) return false;

    rows = SpanRows(cols, std::move(first), std::move(starts));
    double nothing = 0.0;  // stays 0 as long as every entry is finite
    for (int j = 0; j < cols; ++j)
        for (std::size_t k = columnStarts[j]; k < columnStarts[j + 1]; ++k) {
            const int row = entries.row(k);
            rows.values(row)[j - rows.first(row)] = entries.value(k);
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
    Array<std::size_t> columnStarts = {0};
    columnStarts.reserve(std::size_t{A.cols()} + 1);
    const double* column = A.data();
    for (unsigned j = 0; j < A.cols(); ++j, column += rowCount) {
        if (!entries.readColumn(column, rowCount)) return false;
        columnStarts.push_back(entries.count());
    }
    return layOut(entries, columnStarts, rowCount, size / kSparse, rows);
}

}  // namespace knotwork
