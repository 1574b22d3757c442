// SPDX-License-Identifier: MIT
#include "knotwork/fit/CompressedRows.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "knotwork/factor/RowCompression.h"
#include "knotwork/fit/Numbers.h"

namespace knotwork {

namespace {

constexpr int kStretch = 4096;      // data rows compressed at a time, or more:
constexpr int kRowsPerUnknown = 4;  // the triangle so far is gone through with every stretch

/// Some coordinates of the right-hand sides on their way through the compression.
class Carried {
  public:
    Carried(int cols, int first, int count)
        : first_(first),
          count_(count),
          top_(static_cast<std::size_t>(cols) * static_cast<std::size_t>(lanes()))
    {
    }
    static int most(int left) { return left <= kFewLanes ? left : std::min(left, kManyLanes); }

    /// The first rows of the chunk are the triangle's, the others those of the right-hand sides
    /// from `numbers` on, `size` numbers each.
    void advance(const RowCompression& chunk, const double* numbers, int size)
    {
        if (lanes() == kFewLanes)
            advanceLanes<kFewLanes>(chunk, numbers, size);
        else
            advanceLanes<kManyLanes>(chunk, numbers, size);
    }

    /// to: points of `size` numbers.
    void write(double* to, int size) const
    {
        const double* from = top_.data();
        const double* end = from + top_.size();
        for (to += first_; from != end; from += lanes(), to += size) std::copy_n(from, count_, to);
    }

  private:
    int lanes() const { return count_ <= kFewLanes ? kFewLanes : kManyLanes; }

    template <int Lanes>
    void advanceLanes(const RowCompression& chunk, const double* numbers, int size)
    {
        const int cols = chunk.cols();
        const auto fetch = [&](int i, double* lane) {
            if (i < cols) {
                std::copy_n(top_.data() + std::ptrdiff_t{i} * Lanes, Lanes, lane);
                return;
            }
            const double* row = numbers + std::ptrdiff_t{i - cols} * size + first_;
            for (int l = 0; l < Lanes; ++l) lane[l] = l < count_ ? row[l] : 0.0;
        };
        std::vector<double> next(top_.size());
        chunk.compress<Lanes>(fetch, next.data());
        top_.swap(next);
    }

    int first_;
    int count_;
    std::vector<double> top_;  // a row of lanes for each row of the triangle
};

}  // namespace

CompressedRows::CompressedRows(const ScaledRows& rows, std::function<void(int)> progress)
    : rows_(rows), progress_(std::move(progress))
{
}

TtupleVector CompressedRows::compress(const TtupleVector& rhs)
{
    const BasisRows& system = rows_.rows();
    const int cols = rows_.basis().count();
    const int size = rhs.size();
    TtupleVector given(rhs);
    DoubleVec from(contiguous(given.data()));
    std::vector<Carried> carried;
    for (int k = 0; k < size; k += Carried::most(size - k))
        carried.emplace_back(cols, k, Carried::most(size - k));

    triangle_ = BandTriangle(std::vector<int>(static_cast<std::size_t>(cols), 0));
    const int stretch = std::max(kStretch, kRowsPerUnknown * cols);
    for (int start = 0; start < rows_.dataRows(); start += stretch) {
        const int count = std::min(stretch, rows_.dataRows() - start);
        SpanRows chunk(cols);
        for (int j = 0; j < cols; ++j)
            std::copy_n(triangle_.row(j), triangle_.count(j), chunk.append(j, triangle_.count(j)));
        for (int i = start; i < start + count; ++i)
            chunk.appendTrimmed(system.firstColumn(i), system.entries(i), system.width());
        const RowCompression compression(chunk);
        for (Carried& some : carried)
            some.advance(compression, from.data() + std::ptrdiff_t{start} * size, size);
        triangle_ = compression.triangle();
        if (progress_ != nullptr) progress_(count);
    }

    TtupleVector result(size, cols + rows_.constraints(), 0.0);
    for (const Carried& some : carried) some.write(result.data().data(), size);
    result.setPoints(cols, rows_.constraints(),
                     given.lPoints(rows_.dataRows(), rows_.constraints()));
    return result;
}

DoubleGenMat CompressedRows::matrix() const
{
    const BasisRows& system = rows_.rows();
    const int cols = rows_.basis().count();
    const int constraints = rows_.constraints();
    DoubleGenMat matrix(static_cast<unsigned>(cols + constraints), static_cast<unsigned>(cols),
                        0.0);
    for (int j = 0; j < cols; ++j)
        for (int k = 0; k < triangle_.count(j); ++k) matrix(j, j + k) = triangle_.row(j)[k];
    for (int c = 0; c < constraints; ++c) {
        const int row = rows_.dataRows() + c;
        for (int k = 0; k < system.width(); ++k)
            matrix(cols + c, system.firstColumn(row) + k) = system.entries(row)[k];
    }
    return matrix;
}

}  // namespace knotwork
