// SPDX-License-Identifier: MIT
// LU factorisation with condition estimate, matrix copied first on both sides.
#include <benchmark/benchmark.h>

#include <limits>
#include <vector>

#include "bench/Answers.h"
#include "bench/Peers.h"
#include "knotwork/factor/DoubleGenFact.h"

using knotwork_bench::agree;
using knotwork_bench::Numbers;

namespace {

struct Ours {
    explicit Ours(const DoubleGenMat& a) : fact(a, 1) {}
    DoubleVec solve(const DoubleVec& b) const { return fact.solve(b); }

    DoubleGenFact fact;
};

#ifdef KNOTWORK_BENCH_LAPACK
struct Peer {
    explicit Peer(const DoubleGenMat& a)
        : n(static_cast<int>(a.rows())), lu(a.copy()), pivots(a.rows())
    {
        std::vector<double> work(std::size_t{4} * a.rows());
        std::vector<int> iwork(a.rows());
        const double norm = dlange_("1", &n, &n, lu.data(), &n, work.data());
        dgetrf_(&n, &n, lu.data(), &n, pivots.data(), &info);
        dgecon_("1", &n, lu.data(), &n, &norm, &rcond, work.data(), iwork.data(), &info);
    }
    DoubleVec solve(const DoubleVec& b)
    {
        DoubleVec x(b.copy());
        const int one = 1;
        dgetrs_("N", &n, &one, lu.data(), &n, pivots.data(), x.data(), &n, &info);
        return x;
    }

    int n;
    DoubleGenMat lu;
    std::vector<int> pivots;
    double rcond = 0.0;
    int info = 0;
};
#endif

template <class Side>
void BM_LuWithEstimate(benchmark::State& state)
{
    const auto n = static_cast<unsigned>(state.range(0));
    Numbers numbers;
    const DoubleGenMat a(numbers.take(std::size_t{n} * n).data(), n, n);
    const DoubleVec x(numbers.take(n).data(), n);
    const DoubleVec found = Side(a).solve(product(a, x));
    if (!agree(state, found.data(), x.data(), n, 1e6 * n * std::numeric_limits<double>::epsilon()))
        return;
    for (auto _ : state) {
        Side side(a);
        benchmark::DoNotOptimize(&side);
        benchmark::ClobberMemory();
    }
}

void sizes(benchmark::internal::Benchmark* b)
{
    b->ArgName("n")->Unit(benchmark::kMillisecond)->Arg(100)->Arg(500)->Arg(1500);
}

BENCHMARK_TEMPLATE(BM_LuWithEstimate, Ours)->Apply(sizes);
#ifdef KNOTWORK_BENCH_LAPACK
BENCHMARK_TEMPLATE(BM_LuWithEstimate, Peer)->Apply(sizes);
#endif

}  // namespace
