// SPDX-License-Identifier: MIT
#include <benchmark/benchmark.h>

#include <limits>

#include "bench/Answers.h"
#include "bench/Peers.h"
#include "knotwork/linalg/DoubleGenMat.h"

using knotwork_bench::agree;
using knotwork_bench::Numbers;

namespace {

DoubleGenMat randomMatrix(unsigned n, Numbers& numbers)
{
    const std::vector<double> entries = numbers.take(std::size_t{n} * n);
    return DoubleGenMat(entries.data(), n, n);
}

struct Ours {
    static DoubleGenMat multiply(const DoubleGenMat& a, const DoubleGenMat& b)
    {
        return product(a, b);
    }
};

/// Allocates its result too.
struct Peer {
    static DoubleGenMat multiply(const DoubleGenMat& a, const DoubleGenMat& b)
    {
        DoubleGenMat c(a.rows(), b.cols());
        const int n = static_cast<int>(a.rows());
        const double one = 1.0;
        const double zero = 0.0;
        dgemm_("N", "N", &n, &n, &n, &one, a.data(), &n, b.data(), &n, &zero, c.data(), &n);
        return c;
    }
};

template <class Multiplier>
void BM_Product(benchmark::State& state)
{
    const auto n = static_cast<unsigned>(state.range(0));
    Numbers numbers;
    const DoubleGenMat a(randomMatrix(n, numbers));
    const DoubleGenMat b(randomMatrix(n, numbers));
    const DoubleGenMat c(Multiplier::multiply(a, b));
    const DoubleGenMat reference(Peer::multiply(a, b));
    if (!agree(state, c.data(), reference.data(), std::size_t{n} * n,
               n * std::numeric_limits<double>::epsilon()))
        return;
    for (auto _ : state) {
        const DoubleGenMat result(Multiplier::multiply(a, b));
        benchmark::DoNotOptimize(result.data());
        benchmark::ClobberMemory();
    }
    state.counters["flops"] =
        benchmark::Counter(2.0 * n * n * n, benchmark::Counter::kIsIterationInvariantRate);
}

void sizes(benchmark::internal::Benchmark* b)
{
    b->ArgName("n")->Unit(benchmark::kMillisecond)->Arg(100)->Arg(300)->Arg(1000);
}

BENCHMARK_TEMPLATE(BM_Product, Ours)->Apply(sizes);
BENCHMARK_TEMPLATE(BM_Product, Peer)->Apply(sizes);

}  // namespace
