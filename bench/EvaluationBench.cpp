// SPDX-License-Identifier: MIT
#include <benchmark/benchmark.h>

#include <vector>

#include "bench/Shapes.h"
#include "knotwork/approx/AP_EVAL_CONST_PARM.h"
#include "knotwork/approx/AP_EVAL_NORM_CONST_PARM.h"
#ifdef KNOTWORK_BENCH_OPENCASCADE
#include "bench/OpenCascadeShapes.h"
#endif
#ifdef KNOTWORK_BENCH_SISL
#include "bench/SislShapes.h"
#endif

using namespace knotwork_bench;

namespace {

constexpr double kAgree = 1e-11;  // times the largest number; second derivatives cancel some digits
constexpr int kCurveSpans = 100;
constexpr int kSurfaceSpans = 50;
constexpr int kSurfaceDegree = 3;
constexpr int kGrid = 500;  // lines, and points on each
constexpr std::size_t kCurveNumbers = 3 * kDim;
constexpr std::size_t kSurfaceNumbers = 6 * kDim;

class OurCurve {
  public:
    explicit OurCurve(const CurveData& data) : curve_(makeCurve(data)) {}
    void twoDerivatives(double t) { curve_.eval(rows_, t, 2); }
    void copyTo(double* rows) const
    {
        for (int j = 0; j <= 2; ++j)
            std::copy_n(rows_ + j * curve_.Coords(), kDim, rows + j * kDim);
    }

  private:
    AP_SPLINE curve_;
    double rows_[3 * (kDim + 1)] = {};
};

class OurSurface {
  public:
    explicit OurSurface(const SurfaceData& data)
        : surface_(makeSurface(data)),
          out_(static_cast<std::size_t>(surface_.WorkspaceSize(2))),
          row_((surface_.uDegree() + 1) * kDim)
    {
    }
    void twoOrders(double u, double v) { surface_.eval(out_.data(), u, v, 2); }
    /// S, Su, Sv, Suu, Suv, Svv.
    void copyTo(double* rows) const
    {
        for (int m = 0; m <= 2; ++m)
            for (int j = 0; j <= m; ++j, rows += kDim)
                std::copy_n(out_.data() + j * row_ + (m - j) * kDim, kDim, rows);
    }

  private:
    AP_SURFACE surface_;
    std::vector<double> out_;
    int row_;
};

template <class Curve>
std::vector<double> curveAnswers(const CurveData& data, const std::vector<double>& parameters)
{
    Curve curve(data);
    std::vector<double> rows(parameters.size() * kCurveNumbers);
    for (std::size_t i = 0; i < parameters.size(); ++i) {
        curve.twoDerivatives(parameters[i]);
        curve.copyTo(&rows[i * kCurveNumbers]);
    }
    return rows;
}

/// Position, first and second derivatives are of different sizes: each is held to its own largest.
bool agreeByRows(benchmark::State& state, const std::vector<double>& ours,
                 const std::vector<double>& reference, std::size_t perParameter)
{
    for (std::size_t row = 0; row < perParameter; row += kDim) {
        std::vector<double> a;
        std::vector<double> b;
        for (std::size_t at = row; at < ours.size(); at += perParameter)
            for (std::size_t c = 0; c < kDim; ++c) {
                a.push_back(ours[at + c]);
                b.push_back(reference[at + c]);
            }
        if (!agree(state, a.data(), b.data(), a.size(), kAgree)) return false;
    }
    return true;
}

template <class Curve>
void BM_CurveTwoDerivatives(benchmark::State& state)
{
    CurveData data(static_cast<int>(state.range(0)), kCurveSpans, state.range(1) != 0);
    const std::vector<double> parameters = drawParameters(data.numbers);
    if (!agreeByRows(state, curveAnswers<OurCurve>(data, parameters),
                     curveAnswers<Curve>(data, parameters), kCurveNumbers))
        return;
    Curve curve(data);
    std::size_t i = 0;
    for (auto _ : state) {
        curve.twoDerivatives(parameters[i++ % kParameters]);
        benchmark::DoNotOptimize(&curve);
        benchmark::ClobberMemory();
    }
}

template <class Surface>
std::vector<double> surfaceAnswers(const SurfaceData& data, const std::vector<double>& u,
                                   const std::vector<double>& v)
{
    Surface surface(data);
    std::vector<double> rows(u.size() * kSurfaceNumbers);
    for (std::size_t i = 0; i < u.size(); ++i) {
        surface.twoOrders(u[i], v[i]);
        surface.copyTo(&rows[i * kSurfaceNumbers]);
    }
    return rows;
}

template <class Surface>
void BM_SurfaceTwoOrders(benchmark::State& state)
{
    SurfaceData data(kSurfaceDegree, kSurfaceSpans);
    const std::vector<double> u = drawParameters(data.numbers);
    const std::vector<double> v = drawParameters(data.numbers);
    if (!agreeByRows(state, surfaceAnswers<OurSurface>(data, u, v),
                     surfaceAnswers<Surface>(data, u, v), kSurfaceNumbers))
        return;
    Surface surface(data);
    std::size_t i = 0;
    for (auto _ : state) {
        surface.twoOrders(u[i % kParameters], v[i % kParameters]);
        ++i;
        benchmark::DoNotOptimize(&surface);
        benchmark::ClobberMemory();
    }
}

/// The grid's parameters, the same in both directions, ascending: the middles of equal steps.
std::vector<double> gridParameters()
{
    std::vector<double> parameters;
    for (int i = 0; i < kGrid; ++i) parameters.push_back((i + 0.5) / kGrid);
    return parameters;
}

constexpr std::size_t kGridNumbers = std::size_t{kGrid} * kGrid * kDim;

/// Points of the lines of constant v, one line after the other.
class OurPointGrid {
  public:
    explicit OurPointGrid(const SurfaceData& data) : surface_(makeSurface(data)), line_(surface_) {}
    void run(const std::vector<double>& at, double* to)
    {
        for (const double v : at) {
            line_.setv(v);
            for (const double u : at) {
                line_.eval(u);
                to = std::copy_n(line_(), kDim, to);
            }
        }
    }

  private:
    AP_SURFACE surface_;
    AP_EVAL_CONST_PARM line_;
};

class OurNormalGrid {
  public:
    explicit OurNormalGrid(const SurfaceData& data) : surface_(makeSurface(data)), line_(surface_)
    {
    }
    void run(const std::vector<double>& at, double* to)
    {
        for (const double v : at) {
            line_.setv(v, 0);
            for (const double u : at) {
                line_.eval(u, 0);
                to = std::copy_n(line_(1), kDim, to);
            }
        }
    }

  private:
    AP_SURFACE surface_;
    AP_EVAL_NORM_CONST_PARM line_;
};

/// Peers that know single points only.
template <class Surface, void (Surface::*kEvaluate)(double, double, double*)>
class PointByPoint {
  public:
    explicit PointByPoint(const SurfaceData& data) : surface_(data) {}
    void run(const std::vector<double>& at, double* to)
    {
        for (const double v : at)
            for (const double u : at) {
                (surface_.*kEvaluate)(u, v, to);
                to += kDim;
            }
    }

  private:
    Surface surface_;
};

template <class Grid, class OurGrid>
void evaluateGrid(benchmark::State& state)
{
    const SurfaceData data(kSurfaceDegree, kSurfaceSpans);
    const std::vector<double> at = gridParameters();
    std::vector<double> numbers(kGridNumbers);
    std::vector<double> expected(kGridNumbers);
    OurGrid(data).run(at, expected.data());
    Grid grid(data);
    grid.run(at, numbers.data());
    if (!agree(state, numbers.data(), expected.data(), kGridNumbers, kAgree)) return;
    for (auto _ : state) {
        grid.run(at, numbers.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kGrid * kGrid);
}

template <class Grid>
void BM_PointGrid(benchmark::State& state)
{
    evaluateGrid<Grid, OurPointGrid>(state);
}

template <class Grid>
void BM_NormalGrid(benchmark::State& state)
{
    evaluateGrid<Grid, OurNormalGrid>(state);
}

void curveKinds(benchmark::internal::Benchmark* b)
{
    b->ArgNames({"degree", "rational"})->ArgsProduct({{3, 5}, {0, 1}});
}

BENCHMARK_TEMPLATE(BM_CurveTwoDerivatives, OurCurve)->Apply(curveKinds);
BENCHMARK_TEMPLATE(BM_SurfaceTwoOrders, OurSurface);
BENCHMARK_TEMPLATE(BM_PointGrid, OurPointGrid)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_NormalGrid, OurNormalGrid)->Unit(benchmark::kMillisecond);

#ifdef KNOTWORK_BENCH_OPENCASCADE
using OpenCascadePoints = PointByPoint<OpenCascadeSurface, &OpenCascadeSurface::point>;
using OpenCascadeNormals = PointByPoint<OpenCascadeSurface, &OpenCascadeSurface::normal>;
BENCHMARK_TEMPLATE(BM_CurveTwoDerivatives, OpenCascadeCurve)->Apply(curveKinds);
BENCHMARK_TEMPLATE(BM_SurfaceTwoOrders, OpenCascadeSurface);
BENCHMARK_TEMPLATE(BM_PointGrid, OpenCascadePoints)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_NormalGrid, OpenCascadeNormals)->Unit(benchmark::kMillisecond);
#endif

#ifdef KNOTWORK_BENCH_SISL
using SislPoints = PointByPoint<SislSurface, &SislSurface::point>;
using SislNormals = PointByPoint<SislSurface, &SislSurface::normal>;

/// The library's evaluator for a whole grid, which shares the basis functions of each direction.
template <int kOrders>
class SislGrid {
  public:
    explicit SislGrid(const SurfaceData& data)
        : surface_(data), numbers_(kGridNumbers * (kOrders + 1) * (kOrders + 2) / 2)
    {
    }
    void run(const std::vector<double>& at, double* to)
    {
        std::vector<double> u = at;
        std::vector<double> v = at;
        if (kOrders == 0) return surface_.grid(0, u, v, to, nullptr);
        surface_.grid(kOrders, u, v, numbers_.data(), to);
        for (std::size_t i = 0; i < kGridNumbers; i += kDim) SislSurface::normalise(to + i);
    }

  private:
    SislSurface surface_;
    std::vector<double> numbers_;
};

BENCHMARK_TEMPLATE(BM_CurveTwoDerivatives, SislCurve)->Apply(curveKinds);
BENCHMARK_TEMPLATE(BM_SurfaceTwoOrders, SislSurface);
BENCHMARK_TEMPLATE(BM_PointGrid, SislPoints)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_PointGrid, SislGrid<0>)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_NormalGrid, SislNormals)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_NormalGrid, SislGrid<1>)->Unit(benchmark::kMillisecond);
#endif

}  // namespace
