// SPDX-License-Identifier: MIT
#include "knotwork/factor/DoubleLeastSqInc.h"

#include <limits>

#include "knotwork/factor/TriangularSolve.h"
#include "knotwork/linalg/LXError.h"
#include "knotwork/linalg/detail/OutOfMemory.h"

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

}  // namespace

DoubleLeastSqInc::DoubleLeastSqInc(unsigned p, unsigned m)
{
    knotwork::completed(
        [&] {
            factor_.resize(p, p);
            Z_.resize(p, m);
            rho_.resize(m);
        },
        [&] {
            factor_.forget();
            Z_.forget();
            rho_.forget();
            info_ = kFailed;  // which plays no other part here
        });
}

DoubleLeastSqInc DoubleLeastSqInc::copy() const
{
    DoubleLeastSqInc result(*this);
    result.deepenShallowCopy();
    return result;
}

void DoubleLeastSqInc::deepenShallowCopy()
{
    Z_.deepenShallowCopy();
    rho_.deepenShallowCopy();
}

void DoubleLeastSqInc::addEquation(DoubleVec& x, const DoubleVec& y)
{
    update(x, &Z_, &y, &rho_);
}

void DoubleLeastSqInc::addEquation(DoubleVec& x, double y)
{
    addEquation(x, DoubleVec(1, y));
}

int DoubleLeastSqInc::deleteEquation(DoubleVec& x, const DoubleVec& y)
{
    return downdate(x, &Z_, &y, &rho_);
}

int DoubleLeastSqInc::deleteEquation(DoubleVec& x, double y)
{
    return deleteEquation(x, DoubleVec(1, y));
}

int DoubleLeastSqInc::isUnderDetermined() const
{
    if (info_ == kFailed) return 1;
    for (int i = static_cast<int>(factor_.cols()) - 1; i >= 0; --i)
        if (factor_(i, i) == 0.0) return 1;
    return 0;
}

bool DoubleLeastSqInc::hasColumn(int j) const
{
    const int m = static_cast<int>(rho_.length());
    if (j >= 0 && j < m) return true;
    lxRaise(0x500B, j, m);
    return false;
}

double DoubleLeastSqInc::residualNorm(int j) const
{
    return hasColumn(j) ? rho_(j) : kNaN;
}

DoubleVec DoubleLeastSqInc::solve(int j) const
{
    if (factor_.rows() == 0 || isUnderDetermined() != 0) {
        lxRaise(0x5011);
        return DoubleVec();
    }
    if (!hasColumn(j)) return DoubleVec(factor_.cols(), kNaN);
    return knotwork::orEmpty([&] { return knotwork::upperTriSolve(factor_, Z_.col(j)); });
}
