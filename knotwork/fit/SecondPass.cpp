// SPDX-License-Identifier: MIT
#include "knotwork/fit/SecondPass.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "knotwork/fit/Numbers.h"
#include "knotwork/fit/ScaledRows.h"

namespace knotwork {

namespace {

/// Brings each coordinate to unit size, as solving is not scale-free. Returns the exponents.
std::vector<int> enlarge(TtupleVector& left)
{
    std::vector<int> exponents;
    for (int k = 0; k < left.size(); ++k) {
        DoubleVec coordinate(left.component(k));
        exponents.push_back(exponentOf(largestMagnitude(coordinate)));
        coordinate *= std::ldexp(1.0, -exponents.back());
    }
    return exponents;
}

}  // namespace

double polish(TtupleVector left, TtupleVector x, const PassSolver& solve)
{
    const std::vector<int> exponents = enlarge(left);
    TtupleVector correction(x.size(), x.points(), 0.0);
    if (!solve(left, correction)) return 1.0;
    double worst = 0.0;
    for (int k = 0; k < x.size(); ++k) {
        DoubleVec coordinate(x.component(k));
        DoubleVec change(correction.component(k));
        change *= std::ldexp(1.0, exponents[static_cast<std::size_t>(k)]);
        const double size = largestMagnitude(coordinate);
        const double moved = largestMagnitude(change);
        coordinate += change;
        if (moved > 0.0) worst = std::max(worst, moved / std::max(size, moved));
        if (std::isnan(moved)) worst = 1.0;
    }
    return worst;
}

}  // namespace knotwork
