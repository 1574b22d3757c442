// SPDX-License-Identifier: MIT
// Prints the tables of docs/ACCURACY.md: the worst ratios of the factorisations over many matrices,
// and the correct digits of least-squares solutions that are known, ours and LAPACK's on the same
// input.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <numeric>
#include <string>
#include <vector>

#include "bench/KnownSolutions.h"
#include "bench/LapackFactors.h"
#include "knotwork/factor/DoubleGenFact.h"
#include "knotwork/factor/DoubleLeastSqQR.h"
#include "knotwork/solvers/Thouseholder.h"
#include "knotwork/solvers/TsolveConstrainedLsqQR.h"
#include "measures/LeastSquaresChecks.h"
#include "measures/LuChecks.h"
#include "measures/MatrixFamilies.h"
#include "measures/QrChecks.h"
#include "measures/SvdChecks.h"

namespace {

using knotwork_bench::Driver;
using knotwork_bench::KnownSolution;
using knotwork_bench::lapackLeastSquares;
using knotwork_measures::kMatrices;
using knotwork_measures::kTrials;
using knotwork_measures::permuted;
using knotwork_measures::Worst;

/// A row of the table; what LAPACK was not asked for has seen nothing.
void printRow(const char* title, const Worst& ours, const Worst* lapack, const char* peer)
{
    std::printf("| %s | %s | %.3g | %d |", title, ours.name().c_str(), ours.value(), ours.count());
    if (lapack != nullptr && lapack->count() > 0)
        std::printf(" %.3g | %s |", lapack->value(), peer);
    else
        std::printf(" | |");
    std::printf(" %.3g |\n", ours.bound());
}

template <class Ratios>
void printRows(const char* title, const Ratios& ours, const Ratios& lapack, const char* peer)
{
    const auto theirs = lapack.all();
    std::size_t i = 0;
    for (const Worst* worst : ours.all()) printRow(title, *worst, theirs[i++], peer);
}

void measureQr()
{
    knotwork_measures::QrRatios ours;
    knotwork_measures::QrRatios lapack;
    for (const knotwork_measures::Family& family : knotwork_measures::kScaleFreeFamilies)
        for (unsigned seed = 0; seed < kMatrices; ++seed) {
            knotwork_measures::Sample sample(family, seed);
            const DoubleGenMat& a = sample.a;
            const knotwork_measures::QrFactors f(a, 1);
            ours.seeFactors(permuted(a, f.jpvt), f.q(), f.r(), seed);
            ours.seeOrder(f.r(), 0, f.p, seed);
            const int k = std::uniform_int_distribution<int>(0, f.size)(sample.generator);
            const DoubleVec y =
                knotwork_measures::randomMatrix(a.rows(), 1, sample.generator).col(0);
            ours.seeProjections(f, y, k, seed);
            if (f.size == 0) continue;
            const knotwork_bench::LapackQr peer(a);
            lapack.seeFactors(permuted(a, peer.order), peer.q, peer.r, seed);
            lapack.seeOrder(peer.r, 0, f.p, seed);
        }
    printRows("QR, pivoted", ours, lapack, "`dgeqp3`, `dorgqr`");
}

void measureSvd()
{
    knotwork_measures::SvdRatios ours;
    knotwork_measures::SvdRatios lapack;
    const auto measure = [&](const knotwork_measures::Family& family) {
        for (unsigned seed = 0; seed < kMatrices; ++seed) {
            const DoubleGenMat a = knotwork_measures::Sample(family, seed).a;
            if (a.rows() == 0 || a.cols() == 0) continue;
            const DoubleSVDecomp d(a);
            const DoubleVec values = knotwork_bench::LapackSvd::values(a);
            ours.seeFactors(a, d.leftVecs(), d.singularValues(), d.rightVecs(), seed);
            ours.seeValues(a, d.singularValues(), values, seed);
            const knotwork_bench::LapackSvd peer(a);
            lapack.seeFactors(a, peer.u, peer.s, peer.v, seed);
            lapack.seeValues(a, peer.s, values, seed);
        }
    };
    for (const knotwork_measures::Family& family : knotwork_measures::kScaleFreeFamilies)
        measure(family);
    for (const knotwork_measures::Family& family : knotwork_measures::kExtremeFamilies)
        measure(family);
    printRows("SVD", ours, lapack, "`dgesdd`");
}

void measureLu()
{
    knotwork_measures::LuRatios ours;
    knotwork_measures::LuRatios lapack;
    for (const knotwork_measures::Family& family : knotwork_measures::kScaleFreeFamilies)
        for (unsigned seed = 0; seed < kMatrices; ++seed) {
            knotwork_measures::Sample sample(family, seed, knotwork_measures::squareShape);
            const DoubleGenMat& a = sample.a;
            const DoubleVec b =
                knotwork_measures::randomMatrix(a.rows(), 1, sample.generator).col(0);
            knotwork_measures::LuFactors factors(a);
            ours.seeFactors(a, factors, seed);
            if (a.rows() == 0) continue;
            const DoubleGenFact f(a, 1);
            if (f.good() != 0) {
                ours.seeSolutions(a, b, f.solve(b), factors.solve(b.copy(), 1), seed);
                const double condition = ours.seeInverse(a, f.inverse(), f.condition(), seed);
                ours.seeDeterminant(a, factors, condition, seed);
            }
            knotwork_bench::LapackLu peer(a);
            lapack.seeFactors(a, peer, seed);
            if (peer.isSingular()) continue;
            lapack.seeSolutions(a, b, peer.solve(b, "N"), peer.solve(b, "T"), seed);
            lapack.seeInverse(a, peer.inverse(), peer.rcond, seed);
        }
    printRows("LU", ours, lapack, "`dgetrf`, `dgetrs`, `dgetri`, `dgecon`");
}

void measureCholesky()
{
    knotwork_measures::CholeskyRatios ours;
    knotwork_measures::CholeskyRatios lapack;
    knotwork_measures::UpdateRatios changes;
    for (unsigned trial = 0; trial < kTrials; ++trial) {
        changes.see(trial);
        const knotwork_measures::CholeskyProblem problem(trial);
        const DoubleGenMat& a = problem.a;
        knotwork_measures::CholeskyFactors f(a, std::vector<int>(a.rows(), 0), 1);
        for (int& column : f.jpvt) --column;
        const bool indefinite = problem.kind == knotwork_measures::Kind::kIndefinite;
        const double size = knotwork_measures::frobeniusNorm(a);
        const DoubleVec rhs(a.rows(), size);
        const DoubleGenMat product = f.product();
        ours.seeFactors(a, f.jpvt, product, indefinite ? f.size() : size, trial);
        if (f.info == f.r.p) {
            DoubleVec x = rhs.copy();
            knotwork::linpack::dposl(f.r.data.data(), &f.r.leading, &f.r.p, x.data());
            ours.seeSolution(product, rhs, x, trial);
        }
        if (indefinite || a.rows() == 0) continue;  // what remains of A is not dpstrf's to say
        const knotwork_bench::LapackCholesky peer(a);
        lapack.seeFactors(a, peer.order, peer.product, size, trial);
        if (peer.rank == peer.n) lapack.seeSolution(peer.product, rhs, peer.solve(rhs), trial);
    }
    printRows("Cholesky, pivoted", ours, lapack, "`dpstrf`, `dpotrs`");
    printRows("Cholesky, changed", changes, knotwork_measures::UpdateRatios(), "");
}

void measureLeastSquares()
{
    knotwork_measures::LeastSquaresRatios ours;
    Worst lapack("");
    for (unsigned trial = 0; trial < kTrials; ++trial) {
        const knotwork_measures::TallSystem e(trial);
        ours.see(e, trial);
        const DoubleVec x = lapackLeastSquares(Driver::kDgels, e.x, e.y);
        lapack.see(knotwork_measures::normalResidual(e.x, e.y, x), trial);
    }
    const auto rows = ours.all();
    for (std::size_t i = 0; i < rows.size(); ++i)  // the solutions, then what dgels does not do
        printRow("least squares", *rows[i], i < 3 ? &lapack : nullptr, "`dgels`");
}

using Solve = std::function<DoubleVec(const DoubleGenMat&, const DoubleVec&)>;  // empty: refused

DoubleVec byQr(const DoubleGenMat& a, const DoubleVec& b)
{
    return DoubleLeastSqQR(a).solve(b);
}

DoubleVec byNormalEquations(const DoubleGenMat& a, const DoubleVec& b)
{
    const DoubleLeastSqCh fit(a);
    return fit.numFreeCols() == 0 ? fit.solve(b) : DoubleVec();
}

DoubleVec oneByOne(const DoubleGenMat& a, const DoubleVec& b)
{
    DoubleLeastSqInc fit(a.cols(), 1);
    for (int i = 0; i < static_cast<int>(a.rows()); ++i) {
        DoubleVec row = a.row(i).copy();
        fit.addEquation(row, b(i));
    }
    return fit.good() != 0 ? fit.solve(0) : DoubleVec();
}

/// The shortest solution, singular values below eps times the largest taken for zeros.
DoubleVec bySingularValues(const DoubleGenMat& a, const DoubleVec& b)
{
    const DoubleSVDecomp d(a);
    const DoubleVec s = d.singularValues();
    DoubleVec x(a.cols(), 0.0);
    for (int k = 0; k < static_cast<int>(s.length()); ++k)
        if (s(k) > knotwork_measures::kEps * s(0))
            x += d.rightVecs().col(k) * (dot(d.leftVecs().col(k), b) / s(k));
    return x;
}

/// Solvers compare with absolute thresholds: columns and right-hand side are brought to unit size
/// first, by powers of two.
template <class Solver>
DoubleVec bySolver(Solver solver, const DoubleGenMat& a, const DoubleVec& b)
{
    const auto unit = [](const DoubleVec& v) { return std::ldexp(1.0, -std::ilogb(v.vecLen())); };
    DoubleGenMat scaled = a.copy();
    DoubleVec factors(a.cols());
    for (int j = 0; j < static_cast<int>(a.cols()); ++j) {
        factors(j) = unit(a.col(j));
        scaled.col(j) *= factors(j);
    }
    if (solver.setMatrix(scaled, 0, false, false, false) != 0) return DoubleVec();
    const TtupleVector rhs(1, b * unit(b));
    TtupleVector x(1, static_cast<int>(a.cols()), 0.0);
    if (solver.solve(rhs, &x, false) != knotwork::kSolved) return DoubleVec();
    return x.data() * factors * (1.0 / unit(b));
}

/// -log10 of the largest relative error of an element, from 0 to 16.
double correctDigits(const DoubleVec& found, const DoubleVec& exact)
{
    double error = 0.0;
    for (int i = 0; i < static_cast<int>(exact.length()); ++i) {
        const double off = std::fabs(found(i) / exact(i) - 1.0);
        error = off <= error ? error : off;  // a NaN stays
    }
    if (std::isnan(error)) return 0.0;
    return error == 0.0 ? 16.0 : std::clamp(-std::log10(error), 0.0, 16.0);
}

void printDigits()
{
    constexpr double kTolerance = 1e-14;
    const struct {
        const char* name;
        Solve solve;
    } columns[] = {
        {"`DoubleLeastSqQR`", byQr},
        {"`DoubleLeastSqCh`", byNormalEquations},
        {"`DoubleLeastSqInc`", oneByOne},
        {"`DoubleSVDecomp`", bySingularValues},
        {"`Thouseholder`",
         [](const auto& a, const auto& b) {
             return bySolver(Thouseholder(kTolerance, 0, false), a, b);
         }},
        {"`Thouseholder`, tolerance 0",
         [](const auto& a, const auto& b) { return bySolver(Thouseholder(0.0, 0, false), a, b); }},
        {"`TsolveConstrainedLsqQR`",
         [](const auto& a, const auto& b) {
             return bySolver(TsolveConstrainedLsqQR(kTolerance, false), a, b);
         }},
        {"`dgels`",
         [](const auto& a, const auto& b) { return lapackLeastSquares(Driver::kDgels, a, b); }},
        {"`dgelsy`",
         [](const auto& a, const auto& b) { return lapackLeastSquares(Driver::kDgelsy, a, b); }},
        {"`dgelsd`",
         [](const auto& a, const auto& b) { return lapackLeastSquares(Driver::kDgelsd, a, b); }},
    };
    std::printf("| problem |");
    for (const auto& column : columns) std::printf(" %s |", column.name);
    std::printf("\n|---|");
    for (std::size_t i = 0; i < std::size(columns); ++i) std::printf("---|");
    for (const KnownSolution& problem : knotwork_bench::knownSolutions()) {
        std::printf("\n| %s |", problem.name.c_str());
        for (const auto& column : columns) {
            const DoubleVec x = column.solve(problem.a, problem.b);
            if (x.length() == 0)
                std::printf(" refused |");
            else
                std::printf(" %.1f |", correctDigits(x, problem.x));
        }
    }
    std::printf("\n");
}

}  // namespace

int main()
{
    std::printf("| | what | ours | cases | LAPACK | its routines | bound |\n");
    std::printf("|---|---|---|---|---|---|---|\n");
    measureQr();
    measureSvd();
    measureCholesky();
    measureLu();
    measureLeastSquares();
    std::printf("\n");
    printDigits();
    return 0;
}
