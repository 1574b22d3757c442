// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>

#include "knotwork/factor/kernels/PanelLoops.h"
#include "knotwork/linalg/detail/MatrixProduct.h"

namespace knotwork {

/// Up to kMost reflections I - tau w w^T multiplied together: Q = I - W T W^T, T upper triangular,
/// the first reflection on the left. The vectors are the columns of a trapezoid below the diagonal
/// of a matrix; the ones on that diagonal are not stored there, nor the zeros above, so that R can
/// be. All work but that of narrow panels is in matrix products.
/// Source    Schreiber, Van Loan: A storage-efficient WY representation for products of Householder
///           transformations, SIAM J. Sci. Stat. Comput. 10 (1989). Narrow panels: Elmroth,
///           Gustavson: Applying recursion to serial and parallel QR factorization, IBM J. Res.
///           Dev. 44 (2000).
class ReflectionBlock {
  public:
    static constexpr int kMost = 32;

    /// QR of up to kMost columns, at least as many rows: R and the vectors overwrite them. The last
    /// row of a square panel is left alone (tau 0).
    static ReflectionBlock factor(const Panel& columns, double* taus);
    /// Of vectors that are there already, and must stay while this is used.
    static ReflectionBlock combine(const Panel& vectors, const double* taus);

    /// Of panels with as many rows as the vectors.
    void applyTransposed(const Panel& c) const;  ///< c := Q^T c
    void apply(const Panel& c) const;            ///< c := Q c
    /// e := e Q; e has as many columns as the vectors have elements.
    void applyFromRight(const Panel& e) const;

  private:
    explicit ReflectionBlock(const Panel& w);
    void factorPart(int first, int count, double* taus);
    void combinePart(int first, int count, const double* taus);
    void combineFew(int first, int count, const double* taus);
    void mergeParts(int first, int half, int count);
    Panel part(int first, int count) const;
    MatrixOperand<double> factor(int first, int count) const;

    Panel w_;
    double factor_[kMost * kMost];  // -T, column after column of kMost numbers
};

/// QR of the first `columns` columns, reflection by reflection, all columns behind each taking it.
void reduceOneByOne(const Panel& a, int columns, double* taus);

/// QR of the first `columns` columns of a panel, at most as many as it has rows, with those behind
/// taking it too. visit(first column, their number) is called for each block once that is done.
template <class Visit>
void reduceInBlocks(const Panel& a, int columns, double* taus, Visit visit)
{
    constexpr int kNarrow = 24;   // columns that make no blocks worth their while
    constexpr int kMedium = 160;  // that make no large ones so
    if (a.cols <= kNarrow) {
        reduceOneByOne(a, columns, taus);
        visit(0, columns);
        return;
    }
    const int most = a.cols <= kMedium ? ReflectionBlock::kMost / 4 : ReflectionBlock::kMost;
    for (int first = 0; first < columns; first += most) {
        const int width = std::min(most, columns - first);
        const int behind = first + width;
        const auto block =
            ReflectionBlock::factor(a.part(first, first, a.rows - first, width), taus + first);
        block.applyTransposed(a.part(first, behind, a.rows - first, a.cols - behind));
        visit(first, width);
    }
}

}  // namespace knotwork
