// SPDX-License-Identifier: MIT
#include "knotwork/linalg/DoubleVec.h"

#include <cmath>
#include <cstdlib>

#include "knotwork/linalg/DoubleVecPick.h"
#include "knotwork/linalg/detail/DoubleVecExtras.h"
#include "knotwork/linalg/detail/PickCore-inl.h"
#include "knotwork/linalg/detail/VecCore-inl.h"
#include "knotwork/platform/blas.h"

template class knotwork::VecCore<DoubleVec, double>;
template class knotwork::PickCore<DoubleVecPick, DoubleVec>;

namespace {

// For NaN and mixed infinities this is what the comparison gives, not what fabs(x - v) would.
bool matches(double x, double v, double tol)
{
    return (x > v ? x - v : v - x) <= tol;
}

template <class Function>
DoubleVec zipped(const DoubleVec& a, const DoubleVec& b, Function f)
{
    a.lengthCheck(b.length());
    DoubleVec result(std::min(a.length(), b.length()));
    for (int i = 0, n = static_cast<int>(result.length()); i < n; ++i) result(i) = f(a(i), b(i));
    return result;
}

}  // namespace

DoubleVec::DoubleVec(const DoubleVecPick& p) : VecCore(p.length())
{
    knotwork::gather(*this, p);
}

DoubleVec& DoubleVec::operator=(const DoubleVecPick& p)
{
    return knotwork::gather(*this, p);
}

DoubleVecPick DoubleVec::vecPick(const IntVec& index) const
{
    return DoubleVecPick(*this, index);
}

double DoubleVec::vecLen() const
{
    if (stride() == 0) return copy().vecLen();
    const int n = static_cast<int>(length());
    const int step = std::abs(stride());
    const double* lowest =
        stride() > 0 || n == 0 ? data() : &data()[std::ptrdiff_t{stride()} * (n - 1)];
    return dnrm2_(&n, lowest, &step);
}

int DoubleVec::normalise()
{
    const double norm = vecLen();
    if (!(norm > 0.0)) return 0;
    *this *= 1.0 / norm;
    return 1;
}

int DoubleVec::countValue(double v, double tol) const
{
    return countWhere([=](double x) { return matches(x, v, tol); });
}

int DoubleVec::isEqual(double v, double tol) const
{
    for (int i = 0, n = static_cast<int>(length()); i < n; ++i)
        if (!matches((*this)(i), v, tol)) return 0;
    return 1;
}

IntVec DoubleVec::valueIndex(double v, double tol) const
{
    return indexWhere([=](double x) { return matches(x, v, tol); });
}

IntVec DoubleVec::nonValueIndex(double v, double tol) const
{
    return indexWhere([=](double x) { return !matches(x, v, tol); });
}

IntVec DoubleVec::zeroIndex(double tol) const
{
    return valueIndex(0.0, tol);
}

IntVec DoubleVec::nonZeroIndex(double tol) const
{
    return nonValueIndex(0.0, tol);
}

void DoubleVec::clampZero(double tol)
{
    knotwork::detail::mapElements(data(), stride(), data(), stride(), length(),
                                  [tol](double x) { return matches(x, 0.0, tol) ? 0.0 : x; });
}

DoubleVec DoubleVec::apply(double (*f)(double)) const
{
    DoubleVec result(length());
    knotwork::detail::mapElements(result.data(), 1, data(), stride(), result.length(), f);
    return result;
}

double mean(const DoubleVec& v)
{
    return sum(v) / static_cast<double>(v.length());
}

DoubleVec acos(const DoubleVec& v)
{
    return v.apply(std::acos);
}
DoubleVec asin(const DoubleVec& v)
{
    return v.apply(std::asin);
}
DoubleVec atan(const DoubleVec& v)
{
    return v.apply(std::atan);
}
DoubleVec ceil(const DoubleVec& v)
{
    return v.apply(std::ceil);
}
DoubleVec cos(const DoubleVec& v)
{
    return v.apply(std::cos);
}
DoubleVec cosh(const DoubleVec& v)
{
    return v.apply(std::cosh);
}
DoubleVec exp(const DoubleVec& v)
{
    return v.apply(std::exp);
}
DoubleVec floor(const DoubleVec& v)
{
    return v.apply(std::floor);
}
DoubleVec log(const DoubleVec& v)
{
    return v.apply(std::log);
}
DoubleVec log10(const DoubleVec& v)
{
    return v.apply(std::log10);
}
DoubleVec sin(const DoubleVec& v)
{
    return v.apply(std::sin);
}
DoubleVec sinh(const DoubleVec& v)
{
    return v.apply(std::sinh);
}
DoubleVec sqrt(const DoubleVec& v)
{
    return v.apply(std::sqrt);
}

DoubleVec atan2(const DoubleVec& a, const DoubleVec& b)
{
    return zipped(a, b, [](double y, double x) { return std::atan2(y, x); });
}

DoubleVec pow(const DoubleVec& a, const DoubleVec& b)
{
    return zipped(a, b, [](double x, double y) { return std::pow(x, y); });
}

namespace knotwork {

DoubleVec tan(const DoubleVec& v)
{
    return v.apply(std::tan);
}
DoubleVec tanh(const DoubleVec& v)
{
    return v.apply(std::tanh);
}

double variance(const DoubleVec& v)
{
    if (v.length() < 2) {
        raiseAs(0x3009, 0xF000, "DoubleVec", v.length(), "Variance needs minimum of", 2);
        return 0.0;
    }
    const double average = mean(v);
    double squares = 0.0;
    for (int i = 0, n = static_cast<int>(v.length()); i < n; ++i) {
        const double deviation = v(i) - average;
        squares += deviation * deviation;
    }
    return squares / static_cast<double>(v.length());
}

IntVec truncated(const DoubleVec& v)
{
    IntVec result(v.length());
    for (int i = 0, n = static_cast<int>(result.length()); i < n; ++i)
        result(i) = truncatedToInt(v(i));
    return result;
}

}  // namespace knotwork
