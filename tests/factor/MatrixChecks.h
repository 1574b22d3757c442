// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <string>

#include "knotwork/linalg/DoubleGenMat.h"
#include "knotwork/linalg/DoubleVec.h"

namespace checks {

constexpr double kEps = std::numeric_limits<double>::epsilon();

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

/// The worst of many ratios, and the trial it came from; NaN counts as the worst there can be.
class Worst {
  public:
    void see(double ratio, int trial)
    {
        ++count_;
        if (ratio <= ratio_) return;
        ratio_ = std::isnan(ratio) ? std::numeric_limits<double>::infinity() : ratio;
        trial_ = trial;
    }
    /// Fails unless all were below the bound, and keeps the figure in the test's report.
    void expectBelow(double bound, const char* name) const
    {
        testing::Test::RecordProperty(name, std::to_string(ratio_));
        EXPECT_LT(ratio_, bound) << name << " in trial " << trial_;
    }

    int count() const { return count_; }

  private:
    double ratio_ = 0.0;
    int trial_ = -1;
    int count_ = 0;
};

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

}  // namespace checks
