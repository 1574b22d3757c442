// SPDX-License-Identifier: MIT
// Singular values without vectors, matrix copied first on both sides.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <limits>
#include <vector>

#include "bench/Answers.h"
#include "bench/Peers.h"
#include "knotwork/factor/DoubleSVDecomp.h"

using knotwork_bench::agree;
using knotwork_bench::Numbers;

namespace {

struct Ours {
    static DoubleVec values(const DoubleGenMat& a)
    {
        DoubleSVDecomp d;
        d.computeLeftVecs(0);
        d.computeRightVecs(0);
        d.factor(a);
        return d.singularValues();
    }
};

#ifdef KNOTWORK_BENCH_LAPACK
struct Peer {
    static DoubleVec values(const DoubleGenMat& a)
    {
        DoubleGenMat scratch(a.copy());
        DoubleVec s(std::min(a.rows(), a.cols()));
        const int m = static_cast<int>(a.rows());
        const int n = static_cast<int>(a.cols());
        std::vector<int> iwork(std::size_t{8} * s.length());
        double best = 0.0;
        int lwork = -1;
        int info = 0;
        const auto call = [&](double* work) {
            dgesdd_("N", &m, &n, scratch.data(), &m, s.data(), nullptr, &m, nullptr, &n, work,
                    &lwork, iwork.data(), &info);
        };
        call(&best);
        lwork = static_cast<int>(best);
        std::vector<double> work(static_cast<std::size_t>(lwork));
        call(work.data());
        return s;
    }
};
using Reference = Peer;
#else
using Reference = Ours;
#endif

template <class Side>
void BM_SingularValues(benchmark::State& state)
{
    const auto m = static_cast<unsigned>(state.range(0));
    const auto n = static_cast<unsigned>(state.range(1));
    Numbers numbers;
    const DoubleGenMat a(numbers.take(std::size_t{m} * n).data(), m, n);
    const DoubleVec found = Side::values(a);
    const DoubleVec expected = Reference::values(a);
    if (!agree(state, found.data(), expected.data(), n,
               10.0 * m * std::numeric_limits<double>::epsilon()))
        return;
    for (auto _ : state) {
        const DoubleVec s(Side::values(a));
        benchmark::DoNotOptimize(s.data());
        benchmark::ClobberMemory();
    }
}

void shapes(benchmark::internal::Benchmark* b)
{
    b->ArgNames({"n", "p"})->Unit(benchmark::kMillisecond);
    b->Args({300, 100})->Args({800, 300})->Args({1500, 500});
}

BENCHMARK_TEMPLATE(BM_SingularValues, Ours)->Apply(shapes);
#ifdef KNOTWORK_BENCH_LAPACK
BENCHMARK_TEMPLATE(BM_SingularValues, Peer)->Apply(shapes);
#endif

}  // namespace
