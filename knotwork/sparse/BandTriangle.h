// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <vector>

namespace knotwork {

/// An upper triangle of which row j is kept from its diagonal entry to its last one. A row without
/// entries stands for zeros, diagonal included.
class BandTriangle {
  public:
    BandTriangle() = default;
    /// Row j ends before column ends[j], or has no entries where that is j or less.
    explicit BandTriangle(const std::vector<int>& ends);

    int size() const { return static_cast<int>(starts_.size()) - 1; }
    int count(int j) const { return static_cast<int>(start(j + 1) - start(j)); }
    const double* row(int j) const { return values_.data() + start(j); }
    double diagonal(int j) const { return count(j) > 0 ? row(j)[0] : 0.0; }
    int mostEntries() const;   ///< in a row
    double normBound() const;  ///< of the largest singular value: at least that

    double* values() { return values_.data(); }
    const std::ptrdiff_t* starts() const { return starts_.data(); }
    void scale(double factor);
    /// Brings diagonal entries below a magnitude up to that; empty rows get one.
    void raiseDiagonal(double least);

    /// y -= R x, for right-hand sides in lanes (see LaneKernels.h).
    template <int Lanes>
    void subtractProduct(const double* x, double* y) const;
    /// y := R^-1 y; no diagonal entry may be 0.
    template <int Lanes>
    void solve(double* y) const;

    /// y -= R^T x, and y := R^-T y, likewise.
    template <int Lanes>
    void subtractTransposedProduct(const double* x, double* y) const;
    template <int Lanes>
    void solveTransposed(double* y) const;

    /// An estimate of the larger one of the 1-norm and the 2-norm of R^-1, see InverseNorm.h;
    /// infinite where a diagonal entry is 0.
    double inverseNorm() const;

  private:
    std::ptrdiff_t start(int j) const { return starts_[static_cast<std::size_t>(j)]; }
    void solveRoughly(double* y) const;
    void solveRoughlyTransposed(double* y) const;

    std::vector<std::ptrdiff_t> starts_ = {0};
    std::vector<double> values_;
};

}  // namespace knotwork
