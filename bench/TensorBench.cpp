// SPDX-License-Identifier: MIT
#include <benchmark/benchmark.h>

#include <algorithm>
#include <limits>
#include <vector>

#include "bench/Answers.h"
#include "bench/Peers.h"
#include "knotwork/fit/BsplineBasis.h"
#include "knotwork/solvers/Thouseholder.h"
#include "knotwork/solvers/TsolveTensorProductLsq.h"

using knotwork_bench::agree;
using knotwork_bench::Numbers;

namespace {

constexpr int kDim = 3;
constexpr int kSamples = 300;  // in each direction
constexpr int kPoints = 60;
constexpr int kDegree = 3;

/// Cubic B-splines over equal spans at the middles of equal steps, for either direction.
DoubleGenMat sampleMatrix()
{
    const auto basis = knotwork::BsplineBasis::uniform(kDegree, 0.0, 1.0, kPoints - kDegree);
    DoubleGenMat a(kSamples, kPoints, 0.0);
    for (int i = 0; i < kSamples; ++i) {
        double entries[kDegree + 1];
        const int first = basis.row((i + 0.5) / kSamples, 0, entries);
        for (int k = 0; k <= kDegree; ++k) a(i, first + k) = entries[k];
    }
    return a;
}

/// A grid of random points, a column of samples after the other.
std::vector<double> drawGrid()
{
    return Numbers().take(std::size_t{kSamples} * kSamples * kDim);
}

/// Both matrices are factored anew in each run, as a fit does it.
class Ours {
  public:
    Ours(const DoubleGenMat& a, const std::vector<double>& samples)
        : a_(a),
          samples_(kDim, kSamples, kSamples,
                   DoubleVec(samples.data(), static_cast<unsigned>(samples.size()))),
          found_(kDim, kPoints, kPoints, 0.0)
    {
    }
    void run()
    {
        Thouseholder u(1e-12, 0, false);
        Thouseholder v(1e-12, 0, false);
        TsolveTensorProductLsq fit(u, v);
        fit.setMatrix(a_, a_, 0, 0, false, false, false, false, false, false);
        fit.solve(samples_, &found_);
    }
    const double* found() { return found_.data().data(); }

  private:
    DoubleGenMat a_;
    TtupleMatrix samples_;
    TtupleMatrix found_;
};

#ifdef KNOTWORK_BENCH_LAPACK
/// Two sweeps of QR solves. The transposition between them puts each point's coordinates into
/// columns of their own, which is what either sweep wants of its right-hand sides.
class Peer {
  public:
    Peer(const DoubleGenMat& a, const std::vector<double>& samples)
        : a_(a.dataVec().data(), a.dataVec().data() + kSamples * kPoints),
          factored_(a_.size()),
          tau_(kPoints),
          samples_(samples),
          first_(samples.size()),
          second_(std::size_t{kSamples} * kPoints * kDim),
          found_(std::size_t{kPoints} * kPoints * kDim)
    {
        double factorWork = 0.0;
        double applyWork = 0.0;
        constexpr int kQuery = -1;
        constexpr int kMostColumns = kSamples * kDim;
        int info = 0;
        dgeqrf_(&kSamples, &kPoints, factored_.data(), &kSamples, tau_.data(), &factorWork, &kQuery,
                &info);
        dormqr_("L", "T", &kSamples, &kMostColumns, &kPoints, factored_.data(), &kSamples,
                tau_.data(), first_.data(), &kSamples, &applyWork, &kQuery, &info);
        work_.resize(static_cast<std::size_t>(std::max(factorWork, applyWork)));
    }
    void run()
    {
        // Rows of samples, a column for each sample row and coordinate.
        factor();
        for (int j = 0; j < kSamples; ++j)
            for (int k = 0; k < kSamples * kDim; ++k)
                first_[at(j + kSamples * k)] = samples_[at(kSamples * kDim * j + k)];
        solve(first_.data(), kSamples * kDim);
        // Columns of what came out, a column for each of its columns and coordinate.
        factor();
        for (int j = 0; j < kPoints; ++j)
            for (int i = 0; i < kSamples; ++i)
                for (int c = 0; c < kDim; ++c)
                    second_[at(i + kSamples * (kDim * j + c))] =
                        first_[at(j + kSamples * (kDim * i + c))];
        solve(second_.data(), kPoints * kDim);
        for (int j = 0; j < kPoints; ++j)
            for (int i = 0; i < kPoints; ++i)
                for (int c = 0; c < kDim; ++c)
                    found_[at(kDim * (kPoints * j + i) + c)] =
                        second_[at(i + kSamples * (kDim * j + c))];
    }
    const double* found() const { return found_.data(); }

  private:
    static std::size_t at(int i) { return static_cast<std::size_t>(i); }

    void factor()
    {
        std::copy(a_.begin(), a_.end(), factored_.begin());
        const int size = static_cast<int>(work_.size());
        int info = 0;
        dgeqrf_(&kSamples, &kPoints, factored_.data(), &kSamples, tau_.data(), work_.data(), &size,
                &info);
    }
    void solve(double* columns, int count)
    {
        const int size = static_cast<int>(work_.size());
        const double one = 1.0;
        int info = 0;
        dormqr_("L", "T", &kSamples, &count, &kPoints, factored_.data(), &kSamples, tau_.data(),
                columns, &kSamples, work_.data(), &size, &info);
        dtrsm_("L", "U", "N", "N", &kPoints, &count, &one, factored_.data(), &kSamples, columns,
               &kSamples);
    }

    std::vector<double> a_;
    std::vector<double> factored_;
    std::vector<double> tau_;
    std::vector<double> work_;
    const std::vector<double>& samples_;
    std::vector<double> first_;
    std::vector<double> second_;
    std::vector<double> found_;
};
#endif

template <class Fit>
void BM_TensorFit(benchmark::State& state)
{
    const DoubleGenMat a(sampleMatrix());
    const std::vector<double> samples = drawGrid();
    Fit fit(a, samples);
    fit.run();
#ifdef KNOTWORK_BENCH_LAPACK
    constexpr double kBound = 1e3 * kSamples * std::numeric_limits<double>::epsilon();
    Peer reference(a, samples);
    reference.run();
    if (!agree(state, fit.found(), reference.found(), std::size_t{kPoints} * kPoints * kDim,
               kBound))
        return;
#endif
    for (auto _ : state) {
        fit.run();
        benchmark::ClobberMemory();
    }
}

BENCHMARK_TEMPLATE(BM_TensorFit, Ours)->Unit(benchmark::kMillisecond);
#ifdef KNOTWORK_BENCH_LAPACK
BENCHMARK_TEMPLATE(BM_TensorFit, Peer)->Unit(benchmark::kMillisecond);
#endif

}  // namespace
