// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <vector>

#include "knotwork/factor/detail/PanelLoops.h"
#include "knotwork/linalg/detail/MatrixProduct.h"

namespace knotwork {

/// QR by Householder reflections without pivoting, A = Q R, most of the work in matrix products.
/// Storage   R and, below its diagonal, the reflections overwrite A, which must outlive this. The
///           reflections of up to kBlock columns act as one, Q = I - V T V^T.
/// Shapes    rows x cols with at least as many rows as columns.
/// Source    Schreiber, Van Loan: A storage-efficient WY representation for products of Householder
///           transformations, SIAM J. Sci. Stat. Comput. 10 (1989).
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
    static constexpr int kBlock = 32;

    /// V of one block: its triangle with ones on the diagonal, a copy, and what lies below.
    struct Block {
        int first;
        int width;
        double triangle[kBlock * kBlock];
        MatrixOperand<double> upper;
        MatrixOperand<double> lower;
    };

    double* column(int j) const { return a_.corner + a_.leading * j; }
    void factorColumns(int first, int width);
    void combineReflections(int first, int width);
    void applyToRight(int first, int width);
    void loadBlock(int first, int width, Block& block) const;
    MatrixOperand<double> combined(int first, int width) const;

    Panel a_ = {nullptr, 0, 0, 0};
    bool sound_ = true;
    std::vector<double> taus_;
    std::vector<double> combined_;  // -T of each block, kBlock x kBlock
};

}  // namespace knotwork
