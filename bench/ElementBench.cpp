// SPDX-License-Identifier: MIT
#include <benchmark/benchmark.h>

#include <cstddef>
#include <memory>
#include <vector>

#include "bench/Answers.h"
#include "knotwork/linalg/DoubleVec.h"

using knotwork_bench::agree;
using knotwork_bench::Numbers;

namespace {

/// The vector's operators.
class Ours {
  public:
    explicit Ours(const std::vector<double>& numbers)
        : v_(numbers.data(), static_cast<unsigned>(numbers.size()))
    {
    }
    const double* data() const { return v_.data(); }
    static DoubleVec sum(const Ours& a, const Ours& b) { return a.v_ + b.v_; }
    void add(const Ours& b) { v_ += b.v_; }
    void scale(double s) { v_ *= s; }

  private:
    DoubleVec v_;
};

/// Loops over plain arrays, which the compiler vectorises; a sum is a new array here too.
class Peer {
  public:
    explicit Peer(const std::vector<double>& numbers) : Peer(numbers.size())
    {
        std::copy(numbers.begin(), numbers.end(), p_.get());
    }
    const double* data() const { return p_.get(); }
    static Peer sum(const Peer& a, const Peer& b)
    {
        Peer c(a.n_);
        for (std::size_t i = 0; i < c.n_; ++i) c.p_[i] = a.p_[i] + b.p_[i];
        return c;
    }
    void add(const Peer& b)
    {
        for (std::size_t i = 0; i < n_; ++i) p_[i] += b.p_[i];
    }
    void scale(double s)
    {
        for (std::size_t i = 0; i < n_; ++i) p_[i] *= s;
    }

  private:
    explicit Peer(std::size_t n) : n_(n), p_(new double[n]) {}
    std::size_t n_;
    std::unique_ptr<double[]> p_;
};

struct Operands {
    explicit Operands(const benchmark::State& state)
    {
        Numbers numbers;
        const auto n = static_cast<std::size_t>(state.range(0));
        a = numbers.take(n);
        b = numbers.take(n);
    }
    std::vector<double> a;
    std::vector<double> b;
};

/// One operation each has no choice of rounding: the bits must agree.
bool sameBits(benchmark::State& state, const double* x, const double* y)
{
    return agree(state, x, y, static_cast<std::size_t>(state.range(0)), 0.0);
}

template <class Vector>
void BM_Sum(benchmark::State& state)
{
    const Operands operands(state);
    const Vector a(operands.a);
    const Vector b(operands.b);
    const Peer reference = Peer::sum(Peer(operands.a), Peer(operands.b));
    if (!sameBits(state, Vector::sum(a, b).data(), reference.data())) return;
    for (auto _ : state) {
        const auto c = Vector::sum(a, b);
        benchmark::DoNotOptimize(c.data());
        benchmark::ClobberMemory();
    }
}

template <class Vector>
void BM_AddTo(benchmark::State& state)
{
    const Operands operands(state);
    Vector a(operands.a);
    const Vector b(operands.b);
    Peer reference(operands.a);
    a.add(b);
    reference.add(Peer(operands.b));
    if (!sameBits(state, a.data(), reference.data())) return;
    for (auto _ : state) {
        a.add(b);
        benchmark::ClobberMemory();
    }
}

template <class Vector>
void BM_Scale(benchmark::State& state)
{
    const Operands operands(state);
    Vector a(operands.a);
    Peer reference(operands.a);
    double factor = -1.0;  // leaves magnitudes alone, however often
    benchmark::DoNotOptimize(factor);
    a.scale(factor);
    reference.scale(factor);
    if (!sameBits(state, a.data(), reference.data())) return;
    for (auto _ : state) {
        a.scale(factor);
        benchmark::ClobberMemory();
    }
}

void lengths(benchmark::internal::Benchmark* b)
{
    b->ArgName("n")->Unit(benchmark::kMicrosecond)->Arg(1000)->Arg(100000)->Arg(1000000);
}

BENCHMARK_TEMPLATE(BM_Sum, Ours)->Apply(lengths);
BENCHMARK_TEMPLATE(BM_Sum, Peer)->Apply(lengths);
BENCHMARK_TEMPLATE(BM_Scale, Ours)->Apply(lengths);
BENCHMARK_TEMPLATE(BM_Scale, Peer)->Apply(lengths);
BENCHMARK_TEMPLATE(BM_AddTo, Ours)->Apply(lengths);
BENCHMARK_TEMPLATE(BM_AddTo, Peer)->Apply(lengths);

}  // namespace
