// SPDX-License-Identifier: MIT
#include <benchmark/benchmark.h>

#include <limits>
#include <vector>

#include "bench/Answers.h"
#include "bench/Peers.h"
#include "knotwork/factor/DoubleChDecomp.h"

using knotwork_bench::agree;
using knotwork_bench::Numbers;

namespace {

/// X^T X of twice as many rows as columns, whose condition is about 34.
DoubleGenMat positiveDefinite(unsigned n)
{
    Numbers numbers;
    const std::vector<double> entries = numbers.take(2 * std::size_t{n} * n);
    const DoubleGenMat x(entries.data(), 2 * n, n);
    return transposeProduct(x, x);
}

/// R, found through its solutions: they need the factor and the permutation.
struct Ours {
    explicit Ours(const DoubleGenMat& a) { decomposition.factor(a); }
    DoubleVec solve(const DoubleVec& z) const { return decomposition.solve(z); }
    DoubleChDecomp decomposition;
};

#ifdef KNOTWORK_BENCH_LAPACK
/// Copies the matrix and allocates its work too.
struct Peer {
    explicit Peer(const DoubleGenMat& a)
        : factor(a.copy()), pivots(a.rows()), n(static_cast<int>(a.rows()))
    {
        std::vector<double> work(2 * pivots.size());
        const double tolerance = -1.0;  // LAPACK's own
        int rank = 0;
        int info = 0;
        dpstrf_("U", &n, factor.data(), &n, pivots.data(), &rank, &tolerance, work.data(), &info);
    }
    DoubleVec solve(const DoubleVec& z) const
    {
        DoubleVec sorted(z.length());
        for (int i = 0; i < n; ++i) sorted(i) = z(pivots[static_cast<std::size_t>(i)] - 1);
        const int one = 1;
        int info = 0;
        dpotrs_("U", &n, &one, factor.data(), &n, sorted.data(), &n, &info);
        DoubleVec x(z.length());
        for (int i = 0; i < n; ++i) x(pivots[static_cast<std::size_t>(i)] - 1) = sorted(i);
        return x;
    }
    DoubleGenMat factor;
    std::vector<int> pivots;
    int n;
};
#endif

template <class Cholesky>
void BM_PivotedCholesky(benchmark::State& state)
{
    const auto n = static_cast<unsigned>(state.range(0));
    const DoubleGenMat a = positiveDefinite(n);
    const DoubleVec ones(n, 1.0);
    const DoubleVec x = Cholesky(a).solve(product(a, ones));
    if (!agree(state, x.data(), ones.data(), n, n * std::numeric_limits<double>::epsilon())) return;
    for (auto _ : state) {
        Cholesky factored(a);
        benchmark::DoNotOptimize(factored);
        benchmark::ClobberMemory();
    }
    state.counters["flops"] = benchmark::Counter(static_cast<double>(n) * n * n / 3.0,
                                                 benchmark::Counter::kIsIterationInvariantRate);
}

void sizes(benchmark::internal::Benchmark* b)
{
    b->ArgName("n")->Unit(benchmark::kMillisecond)->Arg(50)->Arg(500)->Arg(1500);
}

BENCHMARK_TEMPLATE(BM_PivotedCholesky, Ours)->Apply(sizes);
#ifdef KNOTWORK_BENCH_LAPACK
BENCHMARK_TEMPLATE(BM_PivotedCholesky, Peer)->Apply(sizes);
#endif

}  // namespace
