// SPDX-License-Identifier: MIT
// The solver without the fit layer: two least-squares rows and one constraint, then the same with
// the second unknown given by the caller.
#include <cmath>
#include <cstdio>

#include "knotwork/knotwork.h"

int main()
{
    // x near 2, y near 2, and x + y = 3 exactly. The last row is the constraint.
    const double columns[] = {1, 0, 1, 0, 1, 1};
    const DoubleGenMat system(columns, 3, 2);
    const double right[] = {2, 2, 3};
    const DoubleVec rhs(right, 3);

    Thouseholder solver(1e-14, 0, true);  // tolerance, no thinning of rows, keep the matrix
    if (solver.setMatrix(system, 1, false, false, false) != 0) return 1;
    DoubleVec x(2, 0.0);
    if (solver.solve(rhs, &x, false) != knotwork::kSolved) return 1;
    std::printf("x = %g, y = %g\n", x(0), x(1));
    const bool balanced = std::fabs(x(0) - 1.5) < 1e-14 && std::fabs(x(1) - 1.5) < 1e-14;

    // Fixed unknowns are left out of the system and bring their values with each solve.
    IntVec fixed(1, 1);
    if (solver.setMatrix(system, fixed, 1, false, true, false) != 0) return 1;
    x(1) = 0.5;
    if (solver.solve(rhs, &x, true) != knotwork::kSolved) return 1;
    std::printf("x = %g, y = %g (given)\n", x(0), x(1));
    return balanced && std::fabs(x(0) - 2.5) < 1e-14 && x(1) == 0.5 ? 0 : 1;
}
