// SPDX-License-Identifier: MIT
#include "knotwork/sparse/ConstrainedTriangle.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "knotwork/factor/kernels/LaneKernels.h"
#include "knotwork/linalg/detail/Array.h"

namespace knotwork {

ConstrainedTriangle::ConstrainedTriangle(const BandTriangle& R, const SpanRows& rows,
                                         int firstConstraint)
    : triangle_(R), basis_(rows, firstConstraint), norm_(R.normBound())
{
    if (!basis_.sound()) {
        inverseNorm_ = constraintInverseNorm_ = constraintCondition_ =
            std::numeric_limits<double>::infinity();
        return;
    }
    if (constraints() > 0) {
        constraintInverseNorm_ = basis_.inverseNorm();
        constraintCondition_ = basis_.condition();
        free_ = RowCompression(basis_.freePart(R));
    }
    inverseNorm_ = freeTriangle().inverseNorm();
}

template <int Lanes>
void ConstrainedTriangle::solve(double* c, double* d, double* x) const
{
    if (constraints() == 0) {
        triangle_.solve<Lanes>(c);
        std::copy_n(c, std::ptrdiff_t{Lanes} * cols(), x);
        return;
    }
    basis_.solve<Lanes>(d);
    basis_.combine<Lanes>(nullptr, d, x);
    triangle_.subtractProduct<Lanes>(x, c);
    Array<double> y(std::ptrdiff_t{Lanes} * basis_.freeCols());
    const auto fetch = [c](int i, double* to) {
        std::copy_n(c + std::ptrdiff_t{Lanes} * i, Lanes, to);
    };
    free_.compress<Lanes>(fetch, y.data());
    free_.triangle().solve<Lanes>(y.data());
    basis_.combine<Lanes>(y.data(), d, x);
}

template <int Lanes>
void ConstrainedTriangle::correct(double* g, double* e, double* dx, double* dl) const
{
    const std::ptrdiff_t size = std::ptrdiff_t{Lanes} * cols();
    if (constraints() == 0) {
        triangle_.solveTransposed<Lanes>(g);
        triangle_.solve<Lanes>(g);
        std::copy_n(g, size, dx);
        return;
    }
    Array<double> product(size);
    const auto subtractNormalProduct = [&](const double* x) {  // g -= R^T R x
        std::fill(product.begin(), product.end(), 0.0);
        triangle_.subtractProduct<Lanes>(x, product.data());
        for (double& v : product) v = -v;
        triangle_.subtractTransposedProduct<Lanes>(product.data(), g);
    };

    const std::vector<double> gradient(g, g + size);
    basis_.solve<Lanes>(e);
    basis_.combine<Lanes>(nullptr, e, dx);
    subtractNormalProduct(dx);
    Array<double> y(std::ptrdiff_t{Lanes} * basis_.freeCols());
    basis_.split<Lanes>(g, y.data(), nullptr);
    free_.triangle().solveTransposed<Lanes>(y.data());
    free_.triangle().solve<Lanes>(y.data());
    basis_.combine<Lanes>(y.data(), e, dx);

    // What is left of the gradient is a combination of the constraint rows.
    std::copy(gradient.begin(), gradient.end(), g);
    subtractNormalProduct(dx);
    basis_.split<Lanes>(g, nullptr, dl);
    basis_.solveTransposed<Lanes>(dl);
}

/// Inverse iteration, from a vector without pattern; what is singular in S is made nearly so.
std::vector<double> ConstrainedTriangle::weakestDirection() const
{
    constexpr int kRounds = 3;
    BandTriangle S = freeTriangle();
    const double least = std::numeric_limits<double>::epsilon() * S.normBound();
    S.raiseDiagonal(least > 0.0 ? least : 1.0);
    Array<double> y(std::ptrdiff_t{kFewLanes} * S.size(), 0.0);
    const auto normalise = [](Array<double>& numbers) {
        double most = 0.0;
        for (const double v : numbers) most = std::max(most, std::fabs(v));
        for (double& v : numbers) v /= most;
    };
    for (int j = 0; j < S.size(); ++j) y[kFewLanes * j] = 1.0 + 0.618 * (j % 7) - 0.414 * (j % 5);
    for (int round = 0; round < kRounds; ++round) {
        S.solveTransposed<kFewLanes>(y.data());
        normalise(y);
        S.solve<kFewLanes>(y.data());
        normalise(y);
    }
    Array<double> x(std::ptrdiff_t{kFewLanes} * cols());
    basis_.combine<kFewLanes>(y.data(), nullptr, x.data());
    Array<double> direction(cols());
    for (int j = 0; j < cols(); ++j) direction[j] = x[kFewLanes * j];
    normalise(direction);
    return direction;
}

template void ConstrainedTriangle::solve<kFewLanes>(double*, double*, double*) const;
template void ConstrainedTriangle::solve<kManyLanes>(double*, double*, double*) const;
template void ConstrainedTriangle::correct<kFewLanes>(double*, double*, double*, double*) const;
template void ConstrainedTriangle::correct<kManyLanes>(double*, double*, double*, double*) const;

}  // namespace knotwork
