// SPDX-License-Identifier: MIT
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "bench/Answers.h"
#include "bench/Peers.h"
#include "knotwork/factor/DoubleQRDecomp.h"

using knotwork_bench::agree;
using knotwork_bench::Numbers;

namespace {

struct System {
    System(int rows, int cols)
        : matrix(static_cast<unsigned>(rows), static_cast<unsigned>(cols)), rhs(matrix.rows())
    {
        Numbers numbers;
        for (int j = 0; j < cols; ++j)
            for (int i = 0; i < rows; ++i) matrix(i, j) = numbers.next();
        matrix.diagonal(0) += 2.0 * std::sqrt(static_cast<double>(rows));  // well conditioned
        for (int i = 0; i < rows; ++i) rhs(i) = numbers.next();
    }

    DoubleGenMat matrix;
    DoubleVec rhs;
};

/// A fresh object each time, for the pivots of an earlier one would become specifiers.
template <int Pivoting>
class Ours {
  public:
    explicit Ours(const System& system) : system_(system) {}
    void factor()
    {
        DoubleQRDecomp decomposition;
        decomposition.doPivoting(Pivoting);
        decomposition.factor(system_.matrix);
        benchmark::DoNotOptimize(decomposition.rank());
    }
    std::vector<double> solution() const
    {
        DoubleQRDecomp decomposition;
        decomposition.doPivoting(Pivoting);
        decomposition.factor(system_.matrix);
        const DoubleVec x(decomposition.solve(system_.rhs));
        return std::vector<double>(x.data(), x.data() + x.length());
    }

  private:
    const System& system_;
};

#ifdef KNOTWORK_BENCH_LAPACK
/// Overwrites its matrix, so each call begins with a copy; the array for it is kept.
template <int Pivoting>
class Peer {
  public:
    explicit Peer(const System& system)
        : n_(static_cast<int>(system.matrix.rows())),
          p_(static_cast<int>(system.matrix.cols())),
          qr_(system.matrix.dataVec().length()),
          pivots_(system.matrix.cols()),
          tau_(system.matrix.cols()),
          work_(1),
          system_(system)
    {
        run(-1);
        work_.resize(static_cast<std::size_t>(work_[0]));
    }
    void factor()
    {
        const double* entries = system_.matrix.data();
        std::copy(entries, entries + qr_.size(), qr_.begin());
        std::fill(pivots_.begin(), pivots_.end(), 0);
        run(static_cast<int>(work_.size()));
    }
    std::vector<double> solution()
    {
        factor();
        std::vector<double> y(system_.rhs.data(), system_.rhs.data() + n_);
        std::vector<double> x(pivots_.size());
        const int one = 1;
        const double unit = 1.0;
        const int size = static_cast<int>(work_.size());
        int info = 0;
        dormqr_("L", "T", &n_, &one, &p_, qr_.data(), &n_, tau_.data(), y.data(), &n_, work_.data(),
                &size, &info);
        dtrsm_("L", "U", "N", "N", &p_, &one, &unit, qr_.data(), &n_, y.data(), &n_);
        for (std::size_t k = 0; k < x.size(); ++k)
            x[Pivoting ? static_cast<std::size_t>(pivots_[k] - 1) : k] = y[k];
        return x;
    }

  private:
    void run(int size)
    {
        int info = 0;
        if (Pivoting)
            dgeqp3_(&n_, &p_, qr_.data(), &n_, pivots_.data(), tau_.data(), work_.data(), &size,
                    &info);
        else
            dgeqrf_(&n_, &p_, qr_.data(), &n_, tau_.data(), work_.data(), &size, &info);
    }

    int n_;
    int p_;
    std::vector<double> qr_;
    std::vector<int> pivots_;
    std::vector<double> tau_;
    std::vector<double> work_;
    const System& system_;
};
#endif

template <class Side>
void factorSystem(benchmark::State& state)
{
    const System system(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    Side side(system);
#ifdef KNOTWORK_BENCH_LAPACK
    const std::vector<double> expected = Peer<0>(system).solution();
    const double bound = 100.0 * system.matrix.rows() * std::numeric_limits<double>::epsilon();
    if (!agree(state, side.solution().data(), expected.data(), expected.size(), bound)) return;
#endif
    for (auto _ : state) {
        side.factor();
        benchmark::ClobberMemory();
    }
}

template <class Side>
void BM_QrPivoted(benchmark::State& state)
{
    factorSystem<Side>(state);
}

template <class Side>
void BM_Qr(benchmark::State& state)
{
    factorSystem<Side>(state);
}

void shapes(benchmark::internal::Benchmark* b)
{
    b->ArgNames({"M", "N"})->Unit(benchmark::kMillisecond)->Args({500, 500})->Args({1500, 500});
}

BENCHMARK_TEMPLATE(BM_QrPivoted, Ours<1>)->Apply(shapes);
BENCHMARK_TEMPLATE(BM_Qr, Ours<0>)->Apply(shapes);
#ifdef KNOTWORK_BENCH_LAPACK
BENCHMARK_TEMPLATE(BM_QrPivoted, Peer<1>)->Apply(shapes);
BENCHMARK_TEMPLATE(BM_Qr, Peer<0>)->Apply(shapes);
#endif

}  // namespace
