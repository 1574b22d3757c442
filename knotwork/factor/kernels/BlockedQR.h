// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <vector>

#include "knotwork/factor/kernels/PanelLoops.h"

namespace knotwork {

/// QR by Householder reflections without pivoting, A = Q R, in blocks (see ReflectionBlock.h).
/// Storage   R and, below its diagonal, the reflections overwrite A, which must outlive this.
/// Shapes    rows x cols with at least as many rows as columns.
class BlockedQR {
  public:
    BlockedQR() = default;
    explicit BlockedQR(const Panel& a);

    int rows() const { return a_.rows; }
    int cols() const { return a_.cols; }
    /// False when squares left the range of doubles on the way; the factors are of no use then.
    bool sound() const { return sound_; }

    void applyFromRight(const Panel& e) const;  ///< e := e Q

    /// For right-hand sides in lanes (see LaneKernels.h): y := Q^T y and Q y with rows() rows;
    /// y := R^-1 y and R^-T y on the first cols() rows. No diagonal entry of R may be 0 then.
    template <int Lanes>
    void reflect(double* y) const;
    template <int Lanes>
    void reflectBack(double* y) const;
    template <int Lanes>
    void solve(double* y) const;
    template <int Lanes>
    void solveTransposed(double* y) const;

    double normBound() const;  ///< of the largest singular value: at least that
    /// Estimates of the norms of R^-1, and of R^-T with its columns multiplied by the scales, see
    /// InverseNorm.h; infinite where a diagonal entry is 0.
    double inverseNorm() const;
    double transposedInverseNorm(const std::vector<double>& rowScales) const;
    double columnLength(int j) const;  ///< of A, which is that of R

  private:
    double* column(int j) const { return a_.at(0, j); }

    Panel a_ = {nullptr, 0, 0, 0};
    bool sound_ = true;
    std::vector<double> taus_;
};

}  // namespace knotwork
