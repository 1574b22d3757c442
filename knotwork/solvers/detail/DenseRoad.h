// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <memory>
#include <vector>

#include "knotwork/factor/BlockedQR.h"
#include "knotwork/linalg/DoubleGenMat.h"
#include "knotwork/solvers/detail/RoadGuard.h"

namespace knotwork {

/// The two phases for dense systems, in blocks and so without column pivoting:
///   C^T = H [R; 0]       C H = [R^T 0]: the first unknowns of H^T x are the fixed ones
///   E H = [G F]
///   F = Q [S; 0]
/// For a right-hand side [b; d]: y1 = R^-T d; S y2 = Q^T (b - G y1); x = H [y1; y2].
class DenseRoad {
  public:
    /// Null where this road might not lead to where the literal one does: see RoadGuard.h.
    static std::unique_ptr<DenseRoad> find(const DoubleGenMat& matrix, int constraints,
                                           double negligible);

    int rows() const { return samples_ + constraints(); }
    int cols() const { return cols_; }
    int constraints() const { return constraints_.cols(); }
    double leastAnswer() const { return leastAnswer_; }

    /// fetch(i, lanes) writes what the right-hand sides have in row i, x: cols() rows of lanes.
    template <int Lanes, class Fetch>
    void solve(Fetch fetch, double* x) const;

  private:
    DenseRoad(const DoubleGenMat& matrix, int constraints);
    RoadMeasures measures() const;
    double fixedNorm() const;

    int samples_;
    int cols_;
    bool complete_;  // false where no memory was found
    DoubleGenMat transposedConstraints_;
    DoubleGenMat samplesTimesH_;
    BlockedQR constraints_;
    BlockedQR free_;
    std::vector<double> lengths_;  // of the rows of C
    double leastAnswer_ = 0.0;
};

template <int Lanes, class Fetch>
void DenseRoad::solve(Fetch fetch, double* x) const
{
    std::vector<double> b(static_cast<std::size_t>(samples_) * Lanes);
    const auto row = [](double* block, int i) { return block + std::ptrdiff_t{Lanes} * i; };
    for (int i = 0; i < samples_; ++i) fetch(i, row(b.data(), i));
    std::fill_n(x, std::ptrdiff_t{Lanes} * cols(), 0.0);
    for (int i = 0; i < constraints(); ++i) fetch(samples_ + i, row(x, i));
    constraints_.solveTransposed<Lanes>(x);
    for (int j = 0; j < constraints(); ++j) {
        const double* column = samplesTimesH_.data() + std::ptrdiff_t{samples_} * j;
        const double* y = row(x, j);
        for (int i = 0; i < samples_; ++i)
            for (int c = 0; c < Lanes; ++c) row(b.data(), i)[c] -= column[i] * y[c];
    }
    free_.reflect<Lanes>(b.data());
    free_.solve<Lanes>(b.data());
    std::copy_n(b.data(), std::ptrdiff_t{Lanes} * free_.cols(), row(x, constraints()));
    constraints_.reflectBack<Lanes>(x);
}

}  // namespace knotwork
