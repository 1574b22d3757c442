// SPDX-License-Identifier: MIT
#include "knotwork/solvers/TsolveConstrainedLsqQR.h"

#include "knotwork/linalg/detail/OutOfMemory.h"

TsolveConstrainedLsqQR::TsolveConstrainedLsqQR(TsolverReporter& reporter, double tolerance,
                                               bool keepMatrixCopy)
    : TsolveConstrainedLsq(reporter, keepMatrixCopy)
{
    tolerance_ = tolerance;
}

TsolveConstrainedLsqQR::TsolveConstrainedLsqQR(double tolerance, bool keepMatrixCopy)
    : TsolveConstrainedLsqQR(knotwork::defaultReporter(), tolerance, keepMatrixCopy)
{
}

TsolveConstrainedLsqQR::TsolveConstrainedLsqQR(const TsolveConstrainedLsqQR& other)
    : TsolveConstrainedLsq(other), lxSolve_(other.lxSolve_)
{
    TsolveConstrainedLsqQR::deepenShallowCopy();
}

TsolveConstrainedLsqQR::~TsolveConstrainedLsqQR() = default;

TsolveConstrainedLsqQR& TsolveConstrainedLsqQR::reference(TsolveConstrainedLsqQR& other)
{
    TsolveConstrainedLsq::reference(other);
    lxSolve_.reference(other.lxSolve_);
    return *this;
}

void TsolveConstrainedLsqQR::deepenShallowCopy()
{
    TsolveConstrainedLsq::deepenShallowCopy();
    lxSolve_.deepenShallowCopy();
}

bool TsolveConstrainedLsqQR::factor()
{
    lxSolve_.factor(working_);          // a copy of it
    lxSolve_.setTolerance(tolerance_);  // factoring has reset it
    const unsigned n = working_.rows();
    const unsigned p = working_.cols();
    const unsigned unavoidable = p > n ? p - n : 0;
    // Rounding leaves two equal columns no exact zero, so the free columns are counted too.
    dependent_ = lxSolve_.isSingular() != 0 || lxSolve_.numFreeCols() > unavoidable;
    return !dependent_;
}

/// The object itself goes, since its pivots would become specifiers for the next matrix.
void TsolveConstrainedLsqQR::releaseFactors()
{
    lxSolve_.reference(DoubleLeastSqQR());
}

int TsolveConstrainedLsqQR::solveInPlace(DoubleVec& rhs, DoubleVec* x) const
{
    if (x == nullptr) return knotwork::kBadArgument;
    if (isDependent()) return knotwork::kDependent;
    const unsigned n = lxSolve_.numEquations();
    const unsigned p = working_.cols();
    if (p == 0 || rhs.length() < n || x->length() < p) return knotwork::kBadArgument;
    return knotwork::withoutBadAlloc(
        [&] {
            DoubleVec right(rhs.slice(0, n, 1));
            if (rhsMult_.length() == rhs.length()) right *= rhsMult_;
            x->slice(0, p, 1) = lxSolve_.solve(right);
            return knotwork::kSolved;
        },
        knotwork::kBadArgument);
}

int TsolveConstrainedLsqQR::solveInPlace(TtupleVector& rhs, TtupleVector* x) const
{
    if (x == nullptr || x->size() != rhs.size()) return knotwork::kBadArgument;
    int code = knotwork::kSolved;
    for (int k = 0; k < rhs.size(); ++k) {
        DoubleVec coordinate(rhs.component(k).copy());
        DoubleVec solution(x->component(k));
        const int result = solveInPlace(coordinate, &solution);
        if (result != knotwork::kSolved) code = result;
    }
    return code;
}
