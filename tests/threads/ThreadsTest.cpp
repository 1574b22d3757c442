// SPDX-License-Identifier: MIT
// What different threads may do at a time; the thread sanitizer watches.

#include <thread>

#include "knotwork/approx/AP_SPLINE.h"
#include "knotwork/approx/AP_SURFACE.h"
#include "knotwork/fit/SurfaceFit.h"
#include "knotwork/solvers/Thouseholder.h"
#include "knotwork/solvers/TsolveConstrainedLsqQR.h"
#include "tests/fit/Problems.h"
#include "tests/support/Arrays.h"
#include "tests/support/Testing.h"

namespace {

using namespace knotwork_test;

constexpr int kThreads = 4;
#ifdef __SANITIZE_THREAD__
constexpr int kSolves = 200;  // one is enough for the sanitizer
#else
constexpr int kSolves = 10000;  // so many before two threads meet in a count that is not theirs
#endif

/// Runs work(thread number) in several threads at once.
template <class Work>
void inThreads(Work work)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) threads.emplace_back(work, i);
    for (std::thread& thread : threads) thread.join();
}

/// Solves over and over with a copy a thread, made before the threads are.
template <class Solver>
void solveWithCopies(Solver& solver, const DoubleGenMat& a)
{
    ASSERT_EQ(solver.setMatrix(a, 3, false, false, false), 0);
    const std::vector<double> b = randomNumbers<double>(a.rows(), 2);
    std::vector<Solver> copies(kThreads, solver);
    std::vector<DoubleVec> found;
    std::vector<DoubleVec> tiny;  // right-hand sides within reach of the solver's thresholds
    std::vector<DoubleVec> large;
    for (int i = 0; i < kThreads; ++i) {
        found.emplace_back(a.cols(), 0.0);
        large.push_back(vecFrom(b));
        tiny.push_back(vecFrom(b) * 1e-6);
    }
    const DoubleVec expected = solver.solve(tiny[0]);
    inThreads([&](int i) {
        const auto t = static_cast<std::size_t>(i);
        for (int k = 0; k < kSolves; ++k) {
            copies[t].TbaseSolver::solve(large[t], &found[t], false);
            copies[t].TbaseSolver::solve(tiny[t], &found[t], false);
        }
    });
    for (const DoubleVec& x : found) EXPECT_TRUE(x == expected);
}

TEST(ThreadsTest, EveryCopyOfASolverBelongsToAThread)
{
    const DoubleGenMat a = randomMatrix(60, 40, 1);
    Thouseholder inBlocks(1e-10, 0, true);
    solveWithCopies(inBlocks, a);
    DoubleGenMat band(60u, 40u, 0.0);
    for (int i = 0; i < 60; ++i)
        for (int k = 0; k < 4; ++k) band(i, i * 36 / 59 + k) = a(i, k) + (k == 1 ? 3.0 : 0.0);
    Thouseholder sparse(1e-10, 0, true);
    solveWithCopies(sparse, band);
    TsolveConstrainedLsqQR qr(1e-12, true);
    solveWithCopies(qr, a);
}

TEST(ThreadsTest, SolversOfTheirOwnNeedNoCare)
{
    inThreads([](int i) {
        const DoubleGenMat a = randomMatrix(40, 35, static_cast<unsigned>(i));
        Thouseholder solver(1e-10, 0, true);
        for (int k = 0; k < 20; ++k) {
            solver.setMatrix(a, 3, true, true, k % 2 == 0);
            EXPECT_EQ(solver.solve(DoubleVec(40, 1.0)).length(), 35u);
        }
    });
}

TEST(ThreadsTest, OneCurveAndOneSurfaceAreEvaluatedByAll)
{
    AP_SPLINE curve(3, 3, 4, 0);
    AP_SURFACE surface(3, 3, 14, 2, 2, 0, 0);  // a degree that needs the heap
    const auto numbers = randomNumbers<double>(5 * 16 * 3, 3);
    curve.set(numbers.data(), 0);
    surface.set(numbers.data(), 0);
    for (int i = 0; i < 3; ++i) curve.insert(0.5 * i + 0.1, 1);
    for (int i = 0; i < 3; ++i) surface.uinsert(0.5 * i + 0.1, 1);
    const auto evaluate = [&](double* out) {
        curve.eval(out, 0.3, 2);
        surface.eval(out + 9, 0.3, 0.4, 1);
    };
    double expected[200] = {};
    evaluate(expected);
    inThreads([&](int) {
        for (int k = 0; k < 1000; ++k) {
            double out[200] = {};
            evaluate(out);
            for (int i = 0; i < 9; ++i) ASSERT_EQ(bitsOf({out[i]}), bitsOf({expected[i]}));
        }
    });
}

/// Counts of sharers are not synchronised, so a fit may not even share what it is given.
TEST(ThreadsTest, FitsReadTheSameData)
{
    Dice dice(5);
    FitProblem p = noisyProblem(3, 8, 2, dice);
    addConstraints(p, 2, dice);
    const DoubleVec parameters = vecFrom(p.parameters);
    const TtupleVector points(2, vecFrom(p.points));
    const TtupleMatrix grid(2, 12, 12, vecFrom(randomNumbers<double>(288, 4)));
    const DoubleVec along = DoubleVec(12, 0.0, 1.0) * (1.0 / 11.0);
    const auto basis = knotwork::BsplineBasis::uniform(3, 0.0, 1.0, 4);
    const auto expected = knotwork::fitCurve(points, parameters, p.basis, p.constraints);
    const auto expectedGrid = knotwork::fitSurface(grid, along, along, basis, basis);
    ASSERT_TRUE(expected.met() && expectedGrid.fits());
    inThreads([&](int) {
        for (int k = 0; k < 20; ++k) {
            EXPECT_EQ(knotwork::fitCurve(points, parameters, p.basis, p.constraints).controlPoints,
                      expected.controlPoints);
            EXPECT_EQ(knotwork::fitSurface(grid, along, along, basis, basis).controlPoints,
                      expectedGrid.controlPoints);
        }
    });
}

}  // namespace
