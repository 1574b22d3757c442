// SPDX-License-Identifier: MIT
#include "tests/approx/Oracle.h"
#include "tests/support/Testing.h"

namespace {

using namespace knotwork_test;

constexpr double kTolerance = 1e-12;  // times the sum of the terms' magnitudes

struct RandomCurve {
    int d;
    bool rational;
    Direction along;
    Numbers points;
    AP_SPLINE curve;

    RandomCurve(Generator& random, int degree)
        : d(random.integer(1, 4)),
          rational(random.integer(0, 1) == 1),
          along(random.direction(degree)),
          points(random.points(along.count(), d, rational)),
          curve(makeCurve(d, along, points, rational))
    {
    }

    /// Rows 0 ... k of the oracle; a rational curve's by solving sum binomial(j, i) w_i S_(j-i) =
    /// (w S)_j for S_j.
    std::vector<std::vector<Sum>> expected(double t, int k) const
    {
        const auto coords = static_cast<std::size_t>(rational ? d + 1 : d);
        const int span = along.spanOf(t);
        std::vector<std::vector<Sum>> rows(static_cast<std::size_t>(k) + 1);
        for (std::size_t j = 0; j < rows.size(); ++j) {
            rows[j].resize(coords);
            const auto basis = along.basis(t, span, static_cast<int>(j));
            for (std::size_t i = 0; i < basis.size(); ++i)
                for (std::size_t c = 0; c < coords; ++c)
                    rows[j][c].add(basis[i],
                                   points[(static_cast<std::size_t>(span) + i) * coords + c]);
            if (!rational) continue;
            Real binomial = 1;
            for (std::size_t i = 1; i <= j; ++i) {
                binomial = binomial * static_cast<Real>(j - i + 1) / static_cast<Real>(i);
                for (std::size_t c = 0; c + 1 < coords; ++c) {
                    rows[j][c].value -= binomial * rows[i].back().value * rows[j - i][c].value;
                    rows[j][c].scale += binomial * rows[i].back().scale * rows[j - i][c].scale;
                }
            }
            for (std::size_t c = 0; c + 1 < coords; ++c) {
                rows[j][c].value /= rows[0].back().value;
                rows[j][c].scale /= std::fabs(rows[0].back().value);
            }
        }
        return rows;
    }
};

TEST(CurveEvalTest, ValuesAndDerivativesMatchTheTextbookRecursion)
{
    constexpr unsigned kSeed = 20250101;
    SCOPED_TRACE(kSeed);
    Generator random(kSeed);
    for (int round = 0; round < 12000; ++round) {
        const RandomCurve sample(random, 1 + round % 9);
        const double t = random.parameter(sample.along);
        const int k = random.integer(0, sample.along.degree + 2);
        const auto coords = static_cast<std::size_t>(sample.curve.Coords());
        const std::size_t size = (static_cast<std::size_t>(k) + 1) * coords;
        Numbers out(size + 2, 1234.5);
        sample.curve.eval(out.data(), t, k);
        EXPECT_EQ(out[size], 1234.5) << "written behind row " << k;
        const auto rows = sample.expected(t, k);
        for (std::size_t j = 0; j < rows.size(); ++j)
            for (std::size_t c = 0; c < coords; ++c)
                ASSERT_TRUE(rows[j][c].near(out[j * coords + c], kTolerance))
                    << "round " << round << ", degree " << sample.along.degree << ", t " << t
                    << ", order " << j << ", coordinate " << c << ": " << out[j * coords + c]
                    << " for " << rows[j][c].value << ", scale " << rows[j][c].scale;
    }
}

}  // namespace
