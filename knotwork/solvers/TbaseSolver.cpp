// SPDX-License-Identifier: MIT
#include "knotwork/solvers/TbaseSolver.h"

#include "knotwork/linalg/DoubleVecPick.h"
#include "knotwork/linalg/detail/OutOfMemory.h"

namespace {

// Vectors and tuple vectors are solved by one text: a vector is a list of points of one coordinate.

int sizeOf(const DoubleVec&)
{
    return 1;
}
int sizeOf(const TtupleVector& t)
{
    return t.size();
}
int countOf(const DoubleVec& v)
{
    return static_cast<int>(v.length());
}
int countOf(const TtupleVector& t)
{
    return t.points();
}
DoubleVec coordinateOf(DoubleVec& v, int)
{
    return v;
}
DoubleVec coordinateOf(TtupleVector& t, int k)
{
    return t.component(k);
}
DoubleVec zerosLike(const DoubleVec&, int n)
{
    return DoubleVec(static_cast<unsigned>(n), 0.0);
}
TtupleVector zerosLike(const TtupleVector& t, int n)
{
    return TtupleVector(t.size(), n, 0.0);
}
void clear(DoubleVec& v)
{
    v = 0.0;
}
void clear(TtupleVector& t)
{
    t.data() = 0.0;
}

}  // namespace

TbaseSolver::TbaseSolver(TsolverReporter& reporter, bool keepMatrixCopy)
    : reporter_(reporter),
      totalRows_(0),
      totalCols_(0),
      tolerance_(1e-10),
      normalised_(false),
      keepMatrixCopy_(keepMatrixCopy),
      copyRhs_(true)
{
}

TbaseSolver::TbaseSolver(bool keepMatrixCopy)
    : TbaseSolver(knotwork::defaultReporter(), keepMatrixCopy)
{
}

TbaseSolver::TbaseSolver(const TbaseSolver& other)
    : reporter_(other.reporter_),
      usedRowIndex_(other.usedRowIndex_),
      totalRows_(other.totalRows_),
      totalCols_(other.totalCols_),
      usedColIndex_(other.usedColIndex_),
      tolerance_(other.tolerance_),
      rhsMult_(other.rhsMult_),
      normalised_(other.normalised_),
      keepMatrixCopy_(other.keepMatrixCopy_),
      copyRhs_(other.copyRhs_)
{
    TbaseSolver::deepenShallowCopy();
}

TbaseSolver::~TbaseSolver() = default;

TbaseSolver& TbaseSolver::reference(TbaseSolver& other)
{
    totalRows_ = other.totalRows_;
    usedRowIndex_.reference(other.usedRowIndex_);
    keepMatrixCopy_ = other.keepMatrixCopy_;
    copyRhs_ = other.copyRhs_;
    tolerance_ = other.tolerance_;
    totalCols_ = other.totalCols_;
    usedColIndex_.reference(other.usedColIndex_);
    normalised_ = other.normalised_;
    rhsMult_.reference(other.rhsMult_);
    return *this;
}

void TbaseSolver::deepenShallowCopy()
{
    usedRowIndex_.deepenShallowCopy();
    usedColIndex_.deepenShallowCopy();
    rhsMult_.deepenShallowCopy();
}

bool TbaseSolver::cleanZero(const IntVec& fixedCols, double tol)
{
    IntVec usedRows;
    IntVec usedCols;
    if (!findAllZeros(fixedCols, usedRows, usedCols, tol)) return false;
    if (usedRows.length() == 0 || usedCols.length() == 0) return false;
    usedColIndex_.reference(usedCols);
    usedRowIndex_.reference(usedRows);
    resetMatrix();
    return true;
}

int TbaseSolver::solve(const DoubleVec& b, DoubleVec* x, bool useFixed) const
{
    return knotwork::withoutBadAlloc([&] { return solveAny(b, x, useFixed); },
                                     knotwork::kBadArgument);
}

int TbaseSolver::solve(const TtupleVector& b, TtupleVector* x, bool useFixed) const
{
    return knotwork::withoutBadAlloc([&] { return solveAny(b, x, useFixed); },
                                     knotwork::kBadArgument);
}

DoubleVec TbaseSolver::solve(const DoubleVec& b) const
{
    if (!isSolvable()) return DoubleVec();
    return knotwork::orEmpty([&] {
        DoubleVec x(static_cast<unsigned>(totalCols_), 0.0);
        solve(b, &x, false);
        return x;
    });
}

TtupleVector TbaseSolver::solve(const TtupleVector& b) const
{
    if (!isSolvable()) return TtupleVector();
    return knotwork::orEmpty([&] {
        TtupleVector x(b.size(), totalCols_, 0.0);
        solve(b, &x, false);
        return x;
    });
}

template <class Numbers>
int TbaseSolver::solveAny(const Numbers& b, Numbers* x, bool useFixed) const
{
    if (x == nullptr) return knotwork::kBadArgument;
    const int usedRows = static_cast<int>(usedRowIndex_.length());
    const int rowsNeeded = usedRows > 0 ? usedRowIndex_(usedRows - 1) + 1 : 0;
    if (countOf(b) < usedRows || countOf(b) < rowsNeeded) return knotwork::kBadArgument;
    if (sizeOf(b) != sizeOf(*x)) return knotwork::kBadArgument;

    const bool allColumnsUsed = usedCols() == totalCols_;
    const bool fixed = useFixed && !allColumnsUsed && countOf(*x) == totalCols_;
    if (fixed && !keepMatrixCopy_) return knotwork::kBadArgument;

    Numbers rhs(workingRhs(b, fixed));  // before x is cleared, which may share b's storage
    if (fixed)
        subtractFixed(rhs, *x);
    else
        clear(*x);
    if (allColumnsUsed) return solveInPlace(rhs, x);
    if (countOf(*x) < totalCols_) return knotwork::kBadArgument;
    return solveReduced(rhs, *x);
}

/// The used rows of b, in storage of their own unless the caller's own may be overwritten.
template <class Numbers>
Numbers TbaseSolver::workingRhs(const Numbers& b, bool useFixed) const
{
    const int usedRows = static_cast<int>(usedRowIndex_.length());
    Numbers source(b);
    if (usedRows == totalRows_ && !useFixed) return copyRhs_ ? b.copy() : source;
    // Where fixed columns are subtracted, b's entries beyond the system's rows have no partner.
    Numbers rhs(zerosLike(b, usedRows));
    for (int k = 0; k < sizeOf(b); ++k)
        coordinateOf(rhs, k) = coordinateOf(source, k).vecPick(usedRowIndex_);
    return rhs;
}

/// Moves what the given unknowns contribute to the right-hand side, in ascending column order.
template <class Numbers>
void TbaseSolver::subtractFixed(Numbers& rhs, const Numbers& x) const
{
    Numbers values(x);
    for (int j = 0, cursor = 0; j < totalCols_; ++j) {
        if (cursor < usedCols() && usedColIndex_(cursor) == j) {
            ++cursor;
            continue;
        }
        // The column is fetched through an overridable operation that was never declared const.
        const DoubleVec column =
            const_cast<TbaseSolver*>(this)->originalColumn(j).vecPick(usedRowIndex_);
        for (int k = 0; k < sizeOf(x); ++k)
            coordinateOf(rhs, k) -= column * coordinateOf(values, k)(j);
    }
}

template <class Numbers>
int TbaseSolver::solveReduced(Numbers& rhs, Numbers& x) const
{
    Numbers y(zerosLike(x, usedCols()));
    const int code = solveInPlace(rhs, &y);
    if (code != knotwork::kSolved) return code;
    for (int k = 0; k < sizeOf(x); ++k)
        coordinateOf(x, k).vecPick(usedColIndex_) = coordinateOf(y, k);
    return code;
}
