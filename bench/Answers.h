// SPDX-License-Identifier: MIT
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

namespace knotwork_bench {

/// Numbers in [-1, 1) from a linear congruence: the same in every run.
class Numbers {
  public:
    double next()
    {
        state_ = state_ * 6364136223846793005u + 1442695040888963407u;
        return static_cast<double>(state_ >> 11) * 0x1p-52 - 1.0;
    }
    std::vector<double> take(std::size_t count)
    {
        std::vector<double> numbers(count);
        for (double& x : numbers) x = next();
        return numbers;
    }

  private:
    unsigned long long state_ = 1;
};

/// Whether two answers agree to `bound` times the second one's largest magnitude; what is timed
/// must first be right. A difference, or a NaN, ends the benchmark with a message.
inline bool agree(benchmark::State& state, const double* ours, const double* reference,
                  std::size_t count, double bound)
{
    double largest = 0.0;
    for (std::size_t i = 0; i < count; ++i) largest = std::max(largest, std::fabs(reference[i]));
    for (std::size_t i = 0; i < count; ++i) {
        if (std::fabs(ours[i] - reference[i]) <= bound * largest) continue;
        state.SkipWithError("the answers differ");
        return false;
    }
    return true;
}

}  // namespace knotwork_bench
