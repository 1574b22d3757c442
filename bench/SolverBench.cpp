// SPDX-License-Identifier: MIT
#include <benchmark/benchmark.h>

#include <algorithm>
#include <limits>
#include <map>
#include <tuple>
#include <vector>

#include "bench/Answers.h"
#include "bench/Peers.h"
#include "knotwork/fit/BsplineBasis.h"
#include "knotwork/linalg/DoubleGenMat.h"
#include "knotwork/solvers/Thouseholder.h"

using knotwork_bench::agree;
using knotwork_bench::Numbers;

namespace {

constexpr int kRightHandSides = 3;  // the coordinates of a curve in space

/// Sample rows above, constraint rows below, and right-hand sides with one entry a row.
struct System {
    System(int sampleRows, int unknowns, int constraintRows)
        : samples(sampleRows),
          constraints(constraintRows),
          matrix(static_cast<unsigned>(sampleRows + constraintRows),
                 static_cast<unsigned>(unknowns), 0.0)
    {
    }
    int unknowns() const { return static_cast<int>(matrix.cols()); }
    void drawRhs(Numbers& numbers)
    {
        for (DoubleVec& b : rhs) {
            b.reference(DoubleVec(matrix.rows()));
            for (int i = 0; i < samples + constraints; ++i) b(i) = numbers.next();
        }
    }

    int samples;
    int constraints;
    DoubleGenMat matrix;
    DoubleVec rhs[kRightHandSides];
    std::vector<double> expected[kRightHandSides];  // the peer's solutions; empty without one
};

/// Cubic B-splines over equal spans of [0, 1]: sorted samples in the middles of equal steps,
/// constraints on values at equal distances, both ends among them.
System splineSystem(int samples, int unknowns, int constraints)
{
    constexpr int kDegree = 3;
    const auto basis = knotwork::BsplineBasis::uniform(kDegree, 0.0, 1.0, unknowns - kDegree);
    System system(samples, unknowns, constraints);
    const auto setRow = [&](int i, double t) {
        double entries[kDegree + 1];
        const int first = basis.row(t, 0, entries);
        for (int k = 0; k <= kDegree; ++k) system.matrix(i, first + k) = entries[k];
    };
    for (int i = 0; i < samples; ++i) setRow(i, (i + 0.5) / samples);
    for (int i = 0; i < constraints; ++i)
        setRow(samples + i, static_cast<double>(i) / (constraints - 1));
    Numbers numbers;
    system.drawRhs(numbers);
    return system;
}

System denseSystem(int samples, int unknowns, int constraints)
{
    System system(samples, unknowns, constraints);
    Numbers numbers;
    for (int j = 0; j < unknowns; ++j)
        for (int i = 0; i < samples + constraints; ++i) system.matrix(i, j) = numbers.next();
    system.drawRhs(numbers);
    return system;
}

/// One factorisation serves every right-hand side.
class Ours {
  public:
    explicit Ours(const System& system) : system_(system)
    {
        for (DoubleVec& x : x_) x.reference(DoubleVec(system.matrix.cols(), 0.0));
    }
    void run()
    {
        Thouseholder solver(1e-12, 0, false);
        solver.setMatrix(system_.matrix, system_.constraints, false, false, false);
        for (int k = 0; k < kRightHandSides; ++k) solver.solve(system_.rhs[k], &x_[k], false);
    }
    const double* solution(int k) { return x_[k].data(); }

  private:
    const System& system_;
    DoubleVec x_[kRightHandSides];
};

#ifdef KNOTWORK_BENCH_LAPACK
/// Each call overwrites both matrices and both right-hand sides, so each begins with fresh copies;
/// the arrays for them are kept from call to call.
class Peer {
  public:
    explicit Peer(const System& system)
        : m_(system.samples),
          n_(system.unknowns()),
          p_(system.constraints),
          a_(size(m_) * size(n_)),
          b_(size(p_) * size(n_)),
          aCopy_(a_.size()),
          bCopy_(b_.size()),
          c_(size(m_)),
          d_(size(p_)),
          system_(system)
    {
        for (int j = 0; j < n_; ++j) {
            const DoubleVec column(system.matrix.col(j));
            std::copy_n(column.data(), m_, &a_[size(j) * size(m_)]);
            std::copy_n(column.data() + m_, p_, &b_[size(j) * size(p_)]);
        }
        for (auto& x : x_) x.resize(size(n_));
        const int query = -1;
        double best = 0.0;
        int info = 0;
        dgglse_(&m_, &n_, &p_, a_.data(), &m_, b_.data(), &p_, c_.data(), d_.data(), x_[0].data(),
                &best, &query, &info);
        work_.resize(static_cast<std::size_t>(best));
    }
    void run()
    {
        const int workSize = static_cast<int>(work_.size());
        for (int k = 0; k < kRightHandSides; ++k) {
            std::copy(a_.begin(), a_.end(), aCopy_.begin());
            std::copy(b_.begin(), b_.end(), bCopy_.begin());
            const double* rhs = system_.rhs[k].data();
            std::copy_n(rhs, m_, c_.begin());
            std::copy_n(rhs + m_, p_, d_.begin());
            int info = 0;
            dgglse_(&m_, &n_, &p_, aCopy_.data(), &m_, bCopy_.data(), &p_, c_.data(), d_.data(),
                    x_[k].data(), work_.data(), &workSize, &info);
        }
    }
    const double* solution(int k) { return x_[k].data(); }

  private:
    static std::size_t size(int n) { return static_cast<std::size_t>(n); }

    int m_;
    int n_;
    int p_;
    std::vector<double> a_;
    std::vector<double> b_;
    std::vector<double> aCopy_;
    std::vector<double> bCopy_;
    std::vector<double> c_;
    std::vector<double> d_;
    std::vector<double> x_[kRightHandSides];
    std::vector<double> work_;
    const System& system_;
};
#endif

/// Ours and the peer work on the same system, which is made, and solved by the peer, once.
template <System (*make)(int, int, int)>
const System& preparedSystem(const benchmark::State& state)
{
    using Shape = std::tuple<int, int, int>;
    static std::map<Shape, System> systems;
    const Shape shape(state.range(0), state.range(1), state.range(2));
    const auto found = systems.find(shape);
    if (found != systems.end()) return found->second;
    System& system = systems.emplace(shape, std::apply(make, shape)).first->second;
#ifdef KNOTWORK_BENCH_LAPACK
    Peer peer(system);
    peer.run();
    for (int k = 0; k < kRightHandSides; ++k)
        system.expected[k].assign(peer.solution(k), peer.solution(k) + system.unknowns());
#endif
    return system;
}

template <class Solver>
void solveSystem(benchmark::State& state, const System& system)
{
    // Both are backward stable; the systems are well conditioned, dense ones up to about 1e3.
    const double bound =
        1e3 * (system.samples + system.constraints) * std::numeric_limits<double>::epsilon();
    Solver solver(system);
    solver.run();
    for (int k = 0; k < kRightHandSides; ++k)
        if (!agree(state, solver.solution(k), system.expected[k].data(), system.expected[k].size(),
                   bound))
            return;
    for (auto _ : state) {
        solver.run();
        benchmark::ClobberMemory();
    }
}

template <class Solver>
void BM_SplineSystem(benchmark::State& state)
{
    solveSystem<Solver>(state, preparedSystem<splineSystem>(state));
}

template <class Solver>
void BM_DenseSystem(benchmark::State& state)
{
    solveSystem<Solver>(state, preparedSystem<denseSystem>(state));
}

void splineShapes(benchmark::internal::Benchmark* b)
{
    b->ArgNames({"M", "N", "C"})->Unit(benchmark::kMillisecond);
    b->Args({300, 40, 4})->Args({2000, 200, 10})->Args({10000, 800, 20});
}

void denseShapes(benchmark::internal::Benchmark* b)
{
    b->ArgNames({"M", "N", "C"})->Unit(benchmark::kMillisecond);
    b->Args({400, 100, 20})->Args({1000, 300, 50});
}

BENCHMARK_TEMPLATE(BM_SplineSystem, Ours)->Apply(splineShapes);
BENCHMARK_TEMPLATE(BM_DenseSystem, Ours)->Apply(denseShapes);
#ifdef KNOTWORK_BENCH_LAPACK
BENCHMARK_TEMPLATE(BM_SplineSystem, Peer)->Apply(splineShapes);
BENCHMARK_TEMPLATE(BM_DenseSystem, Peer)->Apply(denseShapes);
#endif

}  // namespace
