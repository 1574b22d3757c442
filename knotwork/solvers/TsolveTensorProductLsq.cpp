// SPDX-License-Identifier: MIT
#include "knotwork/solvers/TsolveTensorProductLsq.h"

#include "knotwork/linalg/DoubleVecPick.h"
#include "knotwork/linalg/detail/OutOfMemory.h"

namespace {

constexpr int kFixed = 1;
constexpr int kFree = 0;
constexpr int kNoRows = -1;

/// The numbers of a matrix as a grid of points of one coordinate; shares them unless strided.
TtupleMatrix gridOf(const DoubleGenMat& m)
{
    const DoubleVec numbers(m.dataVec());
    return TtupleMatrix(1, static_cast<int>(m.rows()), static_cast<int>(m.cols()),
                        numbers.stride() == 1 ? numbers : numbers.copy());
}

/// Solves in a grid of one coordinate and hands the numbers back, to strided matrices too.
template <class Solve>
int solveAsGrid(DoubleGenMat* X, Solve solveGrid)
{
    if (X == nullptr) return knotwork::kBadArgument;
    const auto solve = [&] {
        TtupleMatrix grid(gridOf(*X));
        const int code = solveGrid(&grid);
        if (X->dataVec().stride() != 1) X->dataVec() = grid.data();
        return code;
    };
    return knotwork::withoutBadAlloc(solve, knotwork::kBadArgument);
}

/// visit(place in the grid, which lies column by column, and place if it lay row by row).
template <class Visit>
void forNumbers(const TtupleMatrix& grid, Visit visit)
{
    const int size = grid.size();
    int at = 0;
    for (int j = 0; j < grid.cols(); ++j)
        for (int i = 0; i < grid.rows(); ++i)
            for (int c = 0; c < size; ++c) visit(at++, (i * grid.cols() + j) * size + c);
}

TtupleVector sideBySide(TtupleMatrix& grid)
{
    TtupleVector rows(grid.size() * grid.cols(), grid.rows(), 0.0);
    const DoubleVec from(grid.data());
    DoubleVec to(rows.data());
    forNumbers(grid, [&](int inColumns, int inRows) { to(inRows) = from(inColumns); });
    return rows;
}

IntVec fixedRows(const IntGenMat& mask, int column)
{
    return mask.col(column).valueIndex(kFixed);
}

}  // namespace

TsolveTensorProductLsq::TsolveTensorProductLsq(TsolveConstrainedLsq& u, TsolveConstrainedLsq& v)
    : u_(u), v_(v)
{
}

int TsolveTensorProductLsq::setMatrix(const DoubleGenMat& Au, const DoubleGenMat& Av, int ncU,
                                      int ncV, bool normaliseU, bool normaliseV, bool cleanZerosU,
                                      bool cleanZerosV, bool cutoffU, bool cutoffV)
{
    const int code = u_.setMatrix(Au, ncU, normaliseU, cleanZerosU, cutoffU);
    return code != 0 ? code : v_.setMatrix(Av, ncV, normaliseV, cleanZerosV, cutoffV);
}

int TsolveTensorProductLsq::solve(const DoubleGenMat& B, DoubleGenMat* X) const
{
    return solveAsGrid(X, [&](TtupleMatrix* grid) { return solve(gridOf(B), grid); });
}

int TsolveTensorProductLsq::solve(const TtupleMatrix& B, TtupleMatrix* X) const
{
    if (X == nullptr || B.size() != X->size()) return knotwork::kBadArgument;
    const auto sweepBoth = [&] {
        TtupleMatrix T(B.size(), B.rows(), X->cols(), 0.0);
        const int code = sweepRows(B, T);
        if (code != knotwork::kSolved && code != kNoRows) return code;
        return T.cols() == 0 ? code : sweepColumns(T, *X);
    };
    return knotwork::withoutBadAlloc(sweepBoth, knotwork::kBadArgument);
}

/// Every row of B through the v solver: the columns of B are its points, of one coordinate for each
/// number in a column.
int TsolveTensorProductLsq::sweepRows(const TtupleMatrix& B, TtupleMatrix& T) const
{
    if (B.rows() == 0) return kNoRows;
    TtupleMatrix source(B);
    const int numbersPerColumn = B.size() * B.rows();
    TtupleVector result(numbersPerColumn, T.data());
    return v_.solve(TtupleVector(numbersPerColumn, source.data()), &result, false);
}

/// Every column of T through the u solver, side by side: point i holds the numbers that all columns
/// have in row i. What the solver leaves alone in X stays.
int TsolveTensorProductLsq::sweepColumns(const TtupleMatrix& T, TtupleMatrix& X) const
{
    TtupleMatrix source(T);
    TtupleVector rhs(sideBySide(source));
    TtupleVector found(sideBySide(X));
    const int code = u_.solve(rhs, &found, false);
    if (code != knotwork::kSolved) return code;
    const DoubleVec from(found.data());
    DoubleVec to(X.data());
    forNumbers(X, [&](int inColumns, int inRows) { to(inColumns) = from(inRows); });
    return code;
}

int TsolveTensorProductLsq::solveFixed(const DoubleGenMat& Au, const DoubleGenMat& Av,
                                       const IntGenMat& mask, const DoubleGenMat& B,
                                       DoubleGenMat* X)
{
    return solveAsGrid(
        X, [&](TtupleMatrix* grid) { return solveFixed(Au, Av, mask, gridOf(B), grid); });
}

int TsolveTensorProductLsq::solveFixed(const DoubleGenMat& Au, const DoubleGenMat& Av,
                                       const IntGenMat& mask, const TtupleMatrix& B,
                                       TtupleMatrix* X)
{
    if (X == nullptr || B.size() != X->size()) return knotwork::kBadArgument;
    const auto rows = static_cast<unsigned>(X->rows());
    const auto cols = static_cast<unsigned>(X->cols());
    if (mask.rows() != rows || mask.cols() != cols || Au.cols() != rows || Av.cols() != cols ||
        Au.rows() != static_cast<unsigned>(B.rows()) ||
        Av.rows() != static_cast<unsigned>(B.cols()))
        return knotwork::kBadArgument;
    return knotwork::withoutBadAlloc([&] { return solveAround(Au, Av, mask, B, X); },
                                     knotwork::kBadArgument);
}

/// The same once shapes are known to go together.
int TsolveTensorProductLsq::solveAround(const DoubleGenMat& Au, const DoubleGenMat& Av,
                                        const IntGenMat& mask, const TtupleMatrix& B,
                                        TtupleMatrix* X)
{
    if (mask.dataVec().countValue(kFixed) == 0) {
        setMatrix(Au, Av, 0, 0, false, false, false, false, false, false);
        return solve(B, X);
    }

    TtupleMatrix rest(B.copy());
    for (int k = 0; k < X->size(); ++k) {
        DoubleGenMat coefficients(X->component(k).copy());
        coefficients.dataVec().vecPick(mask.dataVec().valueIndex(kFree)) = 0.0;
        rest.component(k) -= transProduct(product(Au, coefficients), Av);
    }
    v_.setMatrix(Av, 0, false, false, false);
    TtupleMatrix T(B.size(), B.rows(), X->cols(), 0.0);
    int code = sweepRows(rest, T);
    TtupleMatrix found(X->copy());
    for (int j = 0; j < X->cols() && code == knotwork::kSolved; ++j) {
        TtupleVector column(found.columnVector(j));
        code = solveColumnAround(Au, fixedRows(mask, j), T.columnVector(j), column);
    }
    if (code == knotwork::kSolved) X->data() = found.data();
    return code;
}

/// One column of coefficients, some of them fixed. The u solver is set up anew, since the fixed
/// ones change from column to column; that they are left out needs zero cleaning. (A column that is
/// fixed as a whole is not left out, and then takes all its values back.)
int TsolveTensorProductLsq::solveColumnAround(const DoubleGenMat& Au, const IntVec& fixed,
                                              const TtupleVector& rhs, TtupleVector& column)
{
    if (fixed.length() == 0) {
        u_.setMatrix(Au, 0, false, false, false);
        return u_.solve(rhs, &column, false);
    }
    u_.setMatrix(Au, fixed, 0, false, true, false);
    TtupleVector found(column.size(), column.points(), 0.0);
    const int code = u_.solve(rhs, &found, false);
    if (code != knotwork::kSolved) return code;
    found.setPoints(fixed, column.rPoints(fixed));
    column = found;
    return code;
}
