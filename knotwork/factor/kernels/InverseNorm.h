// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "knotwork/factor/kernels/LaneKernels.h"

namespace knotwork {

/// What estimateInverseNorm() keeps from one solve to the next: a lane that climbs to a maximum of
/// the 1-norm, and inverse iterations from random vectors in the others.
class InverseNormProbe {
  public:
    explicit InverseNormProbe(int n);
    double* block() { return block_.data(); }
    double norm() const { return norm_; }
    double spectralNorm() const { return spectralNorm_; }  ///< what the random vectors say alone

    /// After y := A^-1 y, or A^-T y: measures what grew, and prepares the other one of the two.
    void advance(bool transposed);

  private:
    static double larger(double norm, double grown);
    double normalise();
    void climb(bool transposed);

    int n_;
    std::vector<double> block_;  // n rows of kFewLanes; the climbing lane is the first
    double norm_ = 0.0;
    double spectralNorm_ = 0.0;
};

/// Estimates of the larger one of the 1-norm and the 2-norm, and of the 2-norm.
struct InverseNorms {
    double larger;
    double spectral;
};

/// Estimates the norms of the inverse of an n x n matrix from four solves in place with kFewLanes
/// right-hand sides each (see LaneKernels.h): solve(y): y := A^-1 y, and solveTransposed(y): y :=
/// A^-T y. Bounds    never above the norms but for rounding; below the 2-norm by a factor of f or
/// more with
///           a chance of at most (3.2 sqrt(n) / f^4)^3, for a matrix that was not made with the
///           random vectors in mind, which are the same ones in every run. Infinite where a solve
///           leaves the doubles.
/// Method    the 1-norm of A^-1 y is convex in y, and each pair of solves climbs to a corner that
///           is higher, maybe not the highest one. So three random vectors go along: where A^-1
///           stretches by s along a singular vector, four solves stretch by s^4 what a vector has
///           along it, and at least one of them by the fourth root of that.
/// Source    Hager: Condition estimates, SIAM J. Sci. Stat. Comput. 5 (1984); Dixon: Estimating
///           extremal eigenvalues and condition numbers of matrices, SIAM J. Numer. Anal. 20
///           (1983), here with random vectors from a cube.
template <class Solve, class SolveTransposed>
InverseNorms estimateInverseNorms(int n, Solve solve, SolveTransposed solveTransposed)
{
    constexpr int kSolves = 4;
    InverseNormProbe probe(n);
    for (int i = 0; i < kSolves && n > 0; ++i) {
        const bool transposed = i % 2 != 0;
        if (transposed)
            solveTransposed(probe.block());
        else
            solve(probe.block());
        probe.advance(transposed);
    }
    return {probe.norm(), probe.spectralNorm()};
}

/// The larger one.
template <class Solve, class SolveTransposed>
double estimateInverseNorm(int n, Solve solve, SolveTransposed solveTransposed)
{
    return estimateInverseNorms(n, solve, solveTransposed).larger;
}

}  // namespace knotwork
