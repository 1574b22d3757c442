// SPDX-License-Identifier: MIT
#include "knotwork/factor/TriangularSolve.h"

#include <algorithm>

#include "knotwork/factor/linpack.h"
#include "knotwork/linalg/LXError.h"

namespace knotwork {

namespace {

DoubleVec solved(const DoubleGenMat& t, const DoubleVec& b, int job)
{
    if (b.length() != t.cols()) lxRaise(0x5002, b.length(), t.cols());
    DoubleVec x = b.copy();
    if (x.length() == 0) return x;
    const DoubleGenMat compact(t.dataVec().stride() == 1 ? t : t.copy());
    if (compact.cols() != t.cols()) return DoubleVec();  // a handler returned: no memory
    const int leading = static_cast<int>(compact.rows());
    const int order = static_cast<int>(std::min({compact.rows(), compact.cols(), x.length()}));
    int info = 0;
    linpack::dtrsl(compact.data(), &leading, &order, x.data(), &job, &info);
    if (info != 0) lxRaise(0x5011);
    return x;
}

}  // namespace

DoubleVec lowerTriSolve(const DoubleGenMat& t, const DoubleVec& b)
{
    return solved(t, b, 0);
}

DoubleVec lowerTriTransposeSolve(const DoubleGenMat& t, const DoubleVec& b)
{
    return solved(t, b, 10);
}

DoubleVec upperTriSolve(const DoubleGenMat& t, const DoubleVec& b)
{
    return solved(t, b, 1);
}

DoubleVec upperTriTransposeSolve(const DoubleGenMat& t, const DoubleVec& b)
{
    return solved(t, b, 11);
}

}  // namespace knotwork
