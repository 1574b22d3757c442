// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cmath>
#include <random>

#include "knotwork/linalg/DoubleGenMat.h"
#include "knotwork/linalg/DoubleVec.h"
#include "measures/Numbers.h"

namespace knotwork_measures {

/// What a backward stable factorisation of an n x p matrix may be off by, relative to its norm.
inline double tolerance(const DoubleGenMat& a)
{
    return 10.0 * std::max(a.rows(), a.cols()) * kEps;
}

inline double frobeniusNorm(const DoubleGenMat& a)
{
    return a.dataVec().vecLen();
}

inline DoubleGenMat identity(unsigned n)
{
    DoubleGenMat result(n, n, 0.0);
    result.diagonal(0) = 1.0;
    return result;
}

/// |Q^T Q - I|
inline double orthogonalityError(const DoubleGenMat& q)
{
    return frobeniusNorm(transposeProduct(q, q) - identity(q.cols()));
}

/// numerator / denominator, where 0 / 0 is no error.
inline double ratioOf(double numerator, double denominator)
{
    return numerator == 0.0 ? 0.0 : numerator / denominator;
}

inline DoubleGenMat randomMatrix(unsigned rows, unsigned cols, std::mt19937& generator)
{
    std::normal_distribution<double> normal;
    DoubleGenMat result(rows, cols);
    for (unsigned i = 0; i < rows * cols; ++i) result.data()[i] = normal(generator);
    return result;
}

/// A product of n reflections along random directions: orthogonal to rounding.
inline DoubleGenMat randomOrthogonal(unsigned n, std::mt19937& generator)
{
    DoubleGenMat q = identity(n);
    for (unsigned k = 0; k < n; ++k) {
        DoubleVec v = randomMatrix(n, 1, generator).col(0);
        v.normalise();
        const DoubleVec projection = product(v, q);
        for (int j = 0; j < static_cast<int>(n); ++j) q.col(j) -= v * (2.0 * projection(j));
    }
    return q;
}

}  // namespace knotwork_measures
