// SPDX-License-Identifier: MIT
#include <cmath>

#include "knotwork/solvers/Thouseholder.h"
#include "knotwork/solvers/TsolveConstrainedLsqQR.h"
#include "knotwork/solvers/TsolveTensorProductLsq.h"
#include "tests/support/Arrays.h"
#include "tests/survival/Sweep.h"

namespace survival {

namespace {

using knotwork_test::intVec;
using knotwork_test::randomMatrix;

constexpr double kRounding = 1e-7;  // of well-conditioned systems in numbers about 1

/// Four entries a row, as a cubic basis has them.
DoubleGenMat banded(unsigned rows, unsigned cols)
{
    const DoubleGenMat numbers = randomMatrix(rows, 4, 9);
    DoubleGenMat a(rows, cols, 0.0);
    for (int i = 0; i < static_cast<int>(rows); ++i) {
        const int first = static_cast<int>(static_cast<unsigned>(i) * (cols - 4) / (rows - 1));
        for (int k = 0; k < 4; ++k) a(i, first + k) = numbers(i, k) + (k == 1 ? 3.0 : 0.0);
    }
    return a;
}

bool close(const DoubleVec& a, const DoubleVec& b)
{
    return a.length() == b.length() && (a - b).vecLen() <= kRounding;
}

/// Sets a solver up, with a fixed column and without, and solves for what a known x gives.
template <class Solver>
void setUpAndSolve(Trial& trial, Solver& solver, const DoubleGenMat& a, int constraints)
{
    const DoubleVec exact(a.cols(), 1.0);
    const DoubleVec b = product(a, exact);
    DoubleVec zeros(a.rows(), 0.0);
    const TtupleVector points(1, b);
    int code = -1;
    trial.attempt([&] { code = solver.setMatrix(a, constraints, true, false, false); });
    trial.expect(code == 0 || !solver.isSolvable());
    if (!solver.isSolvable()) return;
    DoubleVec x;
    trial.attempt([&] { x.reference(solver.solve(b)); });
    trial.expect(x.length() == 0 || close(x, exact) || x.isZero(0.0));
    DoubleVec given(a.cols(), 5.0);
    code = 4;
    trial.attempt([&] { code = solver.TbaseSolver::solve(b, &given, false); });
    trial.expect(code != 0 || close(given, exact));
    TtupleVector found(1, static_cast<int>(a.cols()), 0.0);
    code = 4;
    trial.attempt([&] { code = solver.TbaseSolver::solve(points, &found, false); });
    trial.expect(code != 0 || close(found.data(), exact));
    trial.attempt([&] {
        const Solver copy(solver);
        if (copy.isSolvable()) copy.TbaseSolver::solve(b * 1e-6, &given, false);
    });
    code = -1;
    trial.attempt([&] { code = solver.setMatrix(a, intVec({1}), 0, false, true, false); });
    if (!solver.isSolvable()) return;
    given = 1.0;
    code = 4;
    trial.attempt([&] { code = solver.TbaseSolver::solve(b, &given, true); });
    trial.expect(code != 0 || close(given, exact));
}

void literal(Trial& trial)
{
    Thouseholder solver(1e-12, 0, true);
    setUpAndSolve(trial, solver, randomMatrix(12, 6, 10), 2);
}

void blocks(Trial& trial)
{
    Thouseholder solver(1e-10, 0, true);
    setUpAndSolve(trial, solver, randomMatrix(60, 40, 11), 3);
}

void spans(Trial& trial)
{
    Thouseholder solver(1e-10, 0, true);
    setUpAndSolve(trial, solver, banded(90, 40), 3);
}

void qrSolver(Trial& trial)
{
    TsolveConstrainedLsqQR solver(1e-12, true);
    setUpAndSolve(trial, solver, randomMatrix(12, 6, 12), 2);
}

void cutOff(Trial& trial)
{
    Thouseholder solver(1e-12, 0, false);
    const DoubleGenMat a = banded(90, 40);
    int code = -1;
    trial.attempt([&] { code = solver.setMatrix(a, 0, false, true, true); });
    trial.expect(code == 0 || !solver.isSolvable());
}

void damped(Trial& trial)
{
    DoubleGenMat a = randomMatrix(8, 4, 13);
    a.col(3) = a.col(2);
    Thouseholder solver(1e-12, 0, false);
    solver.setMatrix(a, 0, false, false, false);
    const TtupleVector b(2, 8, 1.0);
    TtupleVector x;
    trial.attempt([&] { x.reference(solver.altSolve(b, 2)); });
    trial.expect(x.points() == 0 || x.points() == 4);
}

void tensorProduct(Trial& trial)
{
    const DoubleGenMat u = randomMatrix(7, 4, 14);
    const DoubleGenMat v = randomMatrix(6, 3, 15);
    const DoubleGenMat ones(4u, 3u, 1.0);
    const DoubleGenMat b = transProduct(product(u, ones), v);
    Thouseholder alongU(1e-12, 0, true);
    Thouseholder alongV(1e-12, 0, true);
    TsolveTensorProductLsq solver(alongU, alongV);
    int code = -1;
    trial.attempt(
        [&] { code = solver.setMatrix(u, v, 1, 0, true, true, false, false, false, false); });
    DoubleGenMat x(4u, 3u, 5.0);
    const bool ready = code == 0;
    code = -1;
    if (ready) trial.attempt([&] { code = solver.solve(b, &x); });
    trial.expect(code != 0 || close(x.dataVec(), ones.dataVec()));
    DoubleGenMat held(4u, 3u, 1.0);
    IntGenMat mask(4u, 3u, 0);
    mask(1, 1) = 1;
    code = -1;
    trial.attempt([&] { code = solver.solveFixed(u, v, mask, b, &held); });
    trial.expect(code != 0 || held(1, 1) == 1.0);
}

}  // namespace

const std::vector<Subject>& solverSubjects()
{
    static const std::vector<Subject> subjects = {
        {"solver, literal road", literal},
        {"solver, in blocks", blocks},
        {"solver, sparse", spans},
        {"solver, QR", qrSolver},
        {"solver, cut-off", cutOff},
        {"solver, damped", damped},
        {"solver, tensor product", tensorProduct},
    };
    return subjects;
}

}  // namespace survival
