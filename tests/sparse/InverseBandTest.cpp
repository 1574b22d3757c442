// SPDX-License-Identifier: MIT
#include "knotwork/sparse/InverseBand.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "knotwork/sparse/RowCompression.h"
#include "tests/support/Testing.h"

using knotwork::BandTriangle;
using knotwork::InverseBand;
using knotwork::RowCompression;
using knotwork::SpanRows;
using knotwork_test::Dice;

namespace {

constexpr double kEps = 0x1p-52;

/// Column j of (S^T S)^-1 by two substitutions in extended precision.
std::vector<long double> inverseColumn(const BandTriangle& S, int j)
{
    std::vector<long double> y(static_cast<std::size_t>(S.size()), 0.0L);
    const auto at = [&y](int i) -> long double& { return y[static_cast<std::size_t>(i)]; };
    at(j) = 1.0L;
    for (int i = 0; i < S.size(); ++i) {
        at(i) /= S.row(i)[0];
        for (int k = 1; k < S.count(i); ++k) at(i + k) -= S.row(i)[k] * at(i);
    }
    for (int i = S.size() - 1; i >= 0; --i) {
        for (int k = 1; k < S.count(i); ++k) at(i) -= S.row(i)[k] * at(i + k);
        at(i) /= S.row(i)[0];
    }
    return y;
}

}  // namespace

// 100 triangles of up to 30 rows, some of which reach less far than those above (seed 11).
TEST(InverseBandTest, HoldsWhatTheWholeInverseHasInTheBand)
{
    Dice dice(11);
    for (int problem = 0; problem < 100; ++problem) {
        SCOPED_TRACE(problem);
        const int n = 1 + static_cast<int>(dice.below(30));
        SpanRows rows(n);
        for (int i = 0; i < 3 * n; ++i) {
            const int first = i < n ? i : static_cast<int>(dice.below(static_cast<unsigned>(n)));
            const int count =
                1 + static_cast<int>(dice.below(static_cast<unsigned>(std::min(6, n - first))));
            double* entries = rows.append(first, count);
            for (int k = 0; k < count; ++k) entries[k] = dice.unit() - 0.3;
        }
        const BandTriangle S = RowCompression(rows).triangle();
        const InverseBand<double> inverse(S);
        ASSERT_EQ(inverse.size(), n);

        double most = 0.0;
        double off = 0.0;
        for (int j = 0; j < n; ++j) {
            const std::vector<long double> column = inverseColumn(S, j);
            for (int i = 0; i <= j; ++i) {
                if (j >= inverse.end(i)) continue;
                const double expected = static_cast<double>(column[static_cast<std::size_t>(i)]);
                most = std::max(most, std::fabs(expected));
                off = std::max(off, std::fabs(inverse.entry(i, j) - expected));
            }
        }
        const double condition = S.normBound() * S.inverseNorm();
        EXPECT_LE(off, 10 * kEps * condition * most);
        // What all rows see together is everything.
        const double allowed = 10 * n * kEps * condition * S.normBound() * S.normBound() * most;
        EXPECT_NEAR(inverse.trace(rows, 0, n) + inverse.trace(rows, n, rows.rows()), n, allowed);
    }
}
