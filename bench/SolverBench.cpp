// SPDX-License-Identifier: MIT
#include <benchmark/benchmark.h>

#include <limits>
#include <map>
#include <tuple>

#include "bench/Answers.h"
#include "bench/SolverPeers.h"
#include "bench/SolverSystems.h"
#include "knotwork/solvers/Thouseholder.h"

using namespace knotwork_bench;

namespace {

/// One factorisation serves every right-hand side.
template <class Solver>
class Householder {
  public:
    static constexpr double kRounding = 1e3;
    explicit Householder(const System& system) : system_(system)
    {
        for (DoubleVec& x : x_) x.reference(DoubleVec(system.matrix.cols(), 0.0));
    }
    void run()
    {
        Solver solver(1e-12, 0, false);
        solver.setMatrix(system_.matrix, system_.constraints, false, false, false);
        for (int k = 0; k < kRightHandSides; ++k) solver.solve(system_.rhs[k], &x_[k], false);
    }
    const double* solution(int k) { return x_[k].data(); }

  private:
    const System& system_;
    DoubleVec x_[kRightHandSides];
};
using Ours = Householder<Thouseholder>;

/// The two phases as they are written down, entry by entry.
class Literal : public Thouseholder {
  public:
    Literal(double tolerance, int entries, bool keepsCopy)
        : Thouseholder(tolerance, entries, keepsCopy)
    {
        keepToLiteralRoad();
    }
};
using LiteralRoad = Householder<Literal>;

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
    // All are backward stable; the systems are well conditioned, dense ones up to about 1e3.
    const double bound = Solver::kRounding * (system.samples + system.constraints) *
                         std::numeric_limits<double>::epsilon();
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
    b->Args({400, 100, 20})->Args({1000, 300, 50})->Args({2000, 600, 100});
}

BENCHMARK_TEMPLATE(BM_SplineSystem, Ours)->Apply(splineShapes);
BENCHMARK_TEMPLATE(BM_SplineSystem, LiteralRoad)->Apply(splineShapes);
BENCHMARK_TEMPLATE(BM_SplineSystem, WarmCopy)->Apply(splineShapes);
BENCHMARK_TEMPLATE(BM_DenseSystem, Ours)->Apply(denseShapes);
BENCHMARK_TEMPLATE(BM_DenseSystem, LiteralRoad)->Apply(denseShapes);
#ifdef KNOTWORK_BENCH_LAPACK
BENCHMARK_TEMPLATE(BM_SplineSystem, Peer)->Apply(splineShapes);
BENCHMARK_TEMPLATE(BM_SplineSystem, FactoredOnce)->Apply(splineShapes);
BENCHMARK_TEMPLATE(BM_DenseSystem, Peer)->Apply(denseShapes);
BENCHMARK_TEMPLATE(BM_DenseSystem, FactoredOnce)->Apply(denseShapes);
#endif
#ifdef KNOTWORK_BENCH_EIGEN
BENCHMARK_TEMPLATE(BM_SplineSystem, EigenNullSpace)->Apply(splineShapes);
BENCHMARK_TEMPLATE(BM_DenseSystem, EigenNullSpace)->Apply(denseShapes);
#endif
#ifdef KNOTWORK_BENCH_SPQR
BENCHMARK_TEMPLATE(BM_SplineSystem, SuiteSparse)->Apply(splineShapes);
#endif

}  // namespace
