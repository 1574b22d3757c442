// SPDX-License-Identifier: MIT
#include "knotwork/solvers/detail/ConstrainedTriangle.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "knotwork/factor/RowCompression.h"
#include "knotwork/factor/detail/LaneKernels.h"

namespace knotwork {

ConstrainedTriangle::ConstrainedTriangle(const BandTriangle& R, const SpanRows& constraints)
    : triangle_(R), basis_(constraints, 0), norm_(R.normBound())
{
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    if (constraints.rows() == 0) {
        inverseNorm_ = R.inverseNorm();
        return;
    }
    if (!basis_.sound()) {
        inverseNorm_ = constraintInverseNorm_ = constraintCondition_ = kInfinity;
        return;
    }
    constraintInverseNorm_ = basis_.inverseNorm();
    constraintCondition_ = basis_.condition();
    free_ = RowCompression(basis_.freePart(R)).triangle();
    inverseNorm_ = free_.inverseNorm();
}

template <int Lanes>
void ConstrainedTriangle::correct(double* g, double* e, double* dx, double* dl) const
{
    const auto row = [](double* block, int i) { return block + std::ptrdiff_t{Lanes} * i; };
    const std::ptrdiff_t size = std::ptrdiff_t{Lanes} * cols();
    if (constraints() == 0) {
        triangle_.solveTransposed<Lanes>(g);
        triangle_.solve<Lanes>(g);
        std::copy_n(g, size, dx);
        return;
    }
    std::vector<double> product(static_cast<std::size_t>(size));
    const auto subtractNormalProduct = [&](const double* x) {  // g -= R^T R x
        std::fill(product.begin(), product.end(), 0.0);
        triangle_.subtractProduct<Lanes>(x, product.data());
        for (double& v : product) v = -v;
        triangle_.subtractTransposedProduct<Lanes>(product.data(), g);
    };
    const auto placeFixed = [&] {
        for (int i = 0; i < constraints(); ++i)
            std::copy_n(row(e, i), Lanes, row(dx, basis_.pivot(i)));
    };

    std::vector<double> gradient(g, g + size);
    basis_.solve<Lanes>(e);
    std::fill_n(dx, size, 0.0);
    placeFixed();
    basis_.restore<Lanes>(dx);
    subtractNormalProduct(dx);
    basis_.reflect<Lanes>(g);
    std::vector<double> y(static_cast<std::size_t>(basis_.freeCols()) * Lanes);
    for (int k = 0; k < basis_.freeCols(); ++k)
        std::copy_n(row(g, basis_.freeColumn(k)), Lanes, row(y.data(), k));
    free_.solveTransposed<Lanes>(y.data());
    free_.solve<Lanes>(y.data());
    for (int k = 0; k < basis_.freeCols(); ++k)
        std::copy_n(row(y.data(), k), Lanes, row(dx, basis_.freeColumn(k)));
    placeFixed();
    basis_.restore<Lanes>(dx);

    // What is left of the gradient is a combination of the constraint rows.
    std::copy(gradient.begin(), gradient.end(), g);
    subtractNormalProduct(dx);
    basis_.reflect<Lanes>(g);
    for (int i = 0; i < constraints(); ++i) std::copy_n(row(g, basis_.pivot(i)), Lanes, row(dl, i));
    basis_.solveTransposed<Lanes>(dl);
}

/// Inverse iteration, from a vector without pattern; what is singular in S is made nearly so.
std::vector<double> ConstrainedTriangle::weakestDirection() const
{
    constexpr int kRounds = 3;
    BandTriangle S = constraints() == 0 ? triangle_ : free_;
    const double least = std::numeric_limits<double>::epsilon() * S.normBound();
    S.raiseDiagonal(least > 0.0 ? least : 1.0);
    std::vector<double> y(static_cast<std::size_t>(S.size()) * kFewLanes, 0.0);
    const auto number = [&y](int j) -> double& {
        return y[static_cast<std::size_t>(j) * kFewLanes];
    };
    const auto normalise = [&] {
        double most = 0.0;
        for (int j = 0; j < S.size(); ++j) most = std::max(most, std::fabs(number(j)));
        for (double& v : y) v /= most;
    };
    for (int j = 0; j < S.size(); ++j) number(j) = 1.0 + 0.618 * (j % 7) - 0.414 * (j % 5);
    for (int round = 0; round < kRounds; ++round) {
        S.solveTransposed<kFewLanes>(y.data());
        normalise();
        S.solve<kFewLanes>(y.data());
        normalise();
    }
    std::vector<double> x(static_cast<std::size_t>(cols()) * kFewLanes, 0.0);
    for (int k = 0; k < S.size(); ++k)
        x[static_cast<std::size_t>(constraints() == 0 ? k : basis_.freeColumn(k)) * kFewLanes] =
            number(k);
    if (constraints() > 0) basis_.restore<kFewLanes>(x.data());
    std::vector<double> direction(static_cast<std::size_t>(cols()));
    double most = 0.0;
    for (int j = 0; j < cols(); ++j) {
        direction[static_cast<std::size_t>(j)] = x[static_cast<std::size_t>(j) * kFewLanes];
        most = std::max(most, std::fabs(direction[static_cast<std::size_t>(j)]));
    }
    for (double& v : direction) v /= most;
    return direction;
}

template void ConstrainedTriangle::correct<kFewLanes>(double*, double*, double*, double*) const;
template void ConstrainedTriangle::correct<kManyLanes>(double*, double*, double*, double*) const;

}  // namespace knotwork
