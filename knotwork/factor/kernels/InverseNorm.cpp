// SPDX-License-Identifier: MIT
#include "knotwork/factor/kernels/InverseNorm.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "knotwork/factor/kernels/Pack.h"

namespace knotwork {

namespace {

/// Numbers of mean 0 that are never 0, each the sum of three uniform ones of 21 bits. That needs no
/// logarithm, and along any direction of length 1 a vector of n of them is shorter than t times its
/// own length with a chance of at most 3.2 sqrt(n) t: the density of a sum with such weights is
/// below sqrt(2) times that of one number, 0.75 of its range.
class RandomNumbers {
  public:
    double next()
    {
        constexpr std::uint64_t kStep = 0x9E3779B97F4A7C15;  // 2^64 over the golden ratio
        constexpr std::uint64_t kMask = (1 << 21) - 1;
        std::uint64_t z = state_ += kStep;
        z = (z ^ (z >> 32)) * kStep;
        z = (z ^ (z >> 29)) * kStep;
        z ^= z >> 32;
        const std::uint64_t sum = (z & kMask) + ((z >> 21) & kMask) + ((z >> 42) & kMask);
        return static_cast<double>(sum) - 1.5 * kMask;  // kMask is odd: a half remains
    }

  private:
    std::uint64_t state_ = 0;
};

}  // namespace

InverseNormProbe::InverseNormProbe(int n)
    : n_(n), block_(static_cast<std::size_t>(n) * kFewLanes, 1.0 / n)
{
    RandomNumbers numbers;
    for (double* y = block(); y != block() + block_.size(); y += kFewLanes)
        for (int c = 1; c < kFewLanes; ++c) y[c] = numbers.next();
    normalise();
}

void InverseNormProbe::advance(bool transposed)
{
    double climbed = 0.0;
    for (std::ptrdiff_t i = 0; i < n_ && !transposed; ++i)
        climbed += std::fabs(block_[static_cast<std::size_t>(kFewLanes * i)]);
    spectralNorm_ = larger(spectralNorm_, normalise());
    norm_ = larger(larger(norm_, climbed), spectralNorm_);
    climb(transposed);
}

double InverseNormProbe::larger(double norm, double grown)
{
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    return !(grown < kInfinity) ? kInfinity : std::max(norm, grown);  // negated for a NaN
}

/// Brings the random lanes to length 1; returns the largest length.
double InverseNormProbe::normalise()
{
    static_assert(kFewLanes == kPack, "a row is one pack");
    Pack squares = {};
    for (const double* y = block(); y != block() + block_.size(); y += kPack)
        squares += load(y) * load(y);
    double longest = 0.0;
    Pack factors = {1.0, 1.0, 1.0, 1.0};
    for (int c = 1; c < kFewLanes; ++c) {
        const double length = std::sqrt(squares[c]);
        factors[c] = 1.0 / length;
        longest = length <= longest ? longest : length;  // a NaN stays
    }
    for (double* y = block(); y != block() + block_.size(); y += kPack) store(y, load(y) * factors);
    return longest;
}

/// The first lane: signs, which are the gradient's right-hand side, or the unit vector of the
/// corner in the steepest direction.
void InverseNormProbe::climb(bool transposed)
{
    const auto lane = [this](std::ptrdiff_t i) -> double& {
        return block_[static_cast<std::size_t>(kFewLanes * i)];
    };
    std::ptrdiff_t steepest = 0;
    for (std::ptrdiff_t i = 1; i < n_ && transposed; ++i)
        if (std::fabs(lane(i)) > std::fabs(lane(steepest))) steepest = i;
    for (std::ptrdiff_t i = 0; i < n_; ++i)
        lane(i) = transposed ? (i == steepest ? 1.0 : 0.0) : (lane(i) < 0.0 ? -1.0 : 1.0);
}

}  // namespace knotwork
