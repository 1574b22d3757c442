// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/linalg/detail/FreeFunctions.h"
#include "knotwork/linalg/detail/VecCore.h"

class DoubleVecPick;

/// Strided vector of double on shared storage; see knotwork::VecCore for sharing, order and errors.
/// Matching  an element x matches v when (x > v ? x - v : v - x) <= tol, the bound inclusive.
class KNOTWORK_EXPORT DoubleVec : public knotwork::VecCore<DoubleVec, double> {
  public:
    using VecCore::VecCore;
    DoubleVec() = default;
    DoubleVec(const DoubleVec&) = default;  ///< shares
    DoubleVec(const DoubleVecPick& p);      ///< gathers into new storage
    DoubleVec& operator=(const DoubleVec& v)
    {
        assign(v);
        return *this;
    }
    DoubleVec& operator=(const DoubleVecPick& p);  ///< 0x300F is the pick's, its length first
    DoubleVec& operator=(double x)
    {
        fill(x);
        return *this;
    }
    DoubleVecPick vecPick(const IntVec& index) const;

    double vecLen() const;  ///< Euclidean norm, safe against overflow and underflow
    /// Scales to length 1 by multiplying with the reciprocal and returns 1; leaves a vector of
    /// length 0 or NaN alone and returns 0.
    int normalise();

    int countValue(double v, double tol) const;
    int countZero(double tol) const { return countValue(0.0, tol); }
    int isEqual(double v, double tol) const;  ///< 1 for an empty vector
    int isZero(double tol) const { return isEqual(0.0, tol); }
    IntVec valueIndex(double v, double tol) const;
    IntVec nonValueIndex(double v, double tol) const;
    IntVec zeroIndex(double tol) const;
    IntVec nonZeroIndex(double tol) const;
    void clampZero(double tol);  ///< stores +0.0 where |x| <= tol

    DoubleVec apply(double (*f)(double)) const;
};

KNOTWORK_EXPORT double mean(const DoubleVec& v);  ///< 0.0 / 0.0 for an empty vector
KNOTWORK_EXPORT DoubleVec acos(const DoubleVec& v);
KNOTWORK_EXPORT DoubleVec asin(const DoubleVec& v);
KNOTWORK_EXPORT DoubleVec atan(const DoubleVec& v);
KNOTWORK_EXPORT DoubleVec ceil(const DoubleVec& v);
KNOTWORK_EXPORT DoubleVec cos(const DoubleVec& v);
KNOTWORK_EXPORT DoubleVec cosh(const DoubleVec& v);
KNOTWORK_EXPORT DoubleVec exp(const DoubleVec& v);
KNOTWORK_EXPORT DoubleVec floor(const DoubleVec& v);
KNOTWORK_EXPORT DoubleVec log(const DoubleVec& v);
KNOTWORK_EXPORT DoubleVec log10(const DoubleVec& v);
KNOTWORK_EXPORT DoubleVec sin(const DoubleVec& v);
KNOTWORK_EXPORT DoubleVec sinh(const DoubleVec& v);
KNOTWORK_EXPORT DoubleVec sqrt(const DoubleVec& v);
KNOTWORK_EXPORT DoubleVec atan2(const DoubleVec& a, const DoubleVec& b);
KNOTWORK_EXPORT DoubleVec pow(const DoubleVec& a, const DoubleVec& b);

KNOTWORK_VECTOR_FUNCTIONS(DoubleVec, double)

extern template class knotwork::VecCore<DoubleVec, double>;
