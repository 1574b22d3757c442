// SPDX-License-Identifier: MIT
#include "knotwork/solvers/detail/RoadGuard.h"

#include "knotwork/sparse/ConstraintBasis.h"
#include "tests/solvers/RoadProbe.h"
#include "tests/support/Testing.h"

using namespace knotwork;
using namespace knotwork_test;

namespace {

/// With the same norm for all that is measured in two ways.
RoadMeasures measured(double norm, double inverse, double longest, double constraintInverse,
                      double condition, double freeSkips, double sampleSkips,
                      double constraintSkips)
{
    return {norm,
            norm,
            inverse,
            inverse,
            longest,
            constraintInverse,
            constraintInverse,
            condition,
            freeSkips,
            sampleSkips,
            constraintSkips};
}

RoadMeasures with(RoadMeasures m, double RoadMeasures::*field, double value)
{
    m.*field = value;
    return m;
}

}  // namespace

TEST(RoadGuardTest, EachMeasureHasItsThreshold)
{
    const RoadMeasures free = measured(1, 2, 1, 1, 1, 9, 0, 0);
    const RoadMeasures samples = measured(1, 2, 1, 5, 1, 0, 0.9, 0);
    const RoadMeasures constraints = measured(1, 4, 1, 2, 1, 0, 0, 9);
    const RoadMeasures one = measured(1, 1, 1, 1, 1, 1, 0, 0);
    const RoadMeasures large = measured(1, 1e-3, 1, 1e-3, 1, 0, 0, 0);
    const struct {
        const char* name;
        RoadMeasures base;
        double RoadMeasures::*field;
        double inside, outside, negligible;
    } cases[] = {
        {"rank, for the norm", large, &RoadMeasures::norm, 0.9e6, 1.1e6, 0.0},
        {"rank, for a constraint", one, &RoadMeasures::longestConstraint, 0.9e5, 1.1e5, 0.0},
        {"a pivot that is skipped", large, &RoadMeasures::inverseNorm, 0.9e-3, 1.1e-3, 1e-5},
        {"a constraint that is skipped", large, &RoadMeasures::constraintInverseNorm, 0.9e-3,
         1.1e-3, 1e-5},
        {"many skips in a row", free, &RoadMeasures::freeSkips, 9, 11, 2.5e-11},
        {"of larger pivots", free, &RoadMeasures::pivotInverse, 2.2, 2.3, 2.5e-11},
        {"skips in samples", samples, &RoadMeasures::sampleSkips, 0.9, 1.1, 1e-10},
        {"skips in constraints", constraints, &RoadMeasures::constraintSkips, 9, 11, 5e-12},
        {"of larger pivots there", constraints, &RoadMeasures::constraintPivotInverse, 2.2, 2.3,
         5e-12},
        {"what they drag along", constraints, &RoadMeasures::fixedNorm, 1.1, 1.2, 5e-12},
        {"condition", one, &RoadMeasures::inverseNorm, 0.9e3, 1.1e3, 0.0},
        {"condition of constraints", one, &RoadMeasures::constraintCondition, 0.9e3, 1.1e3, 0.0},
    };
    for (const auto& c : cases) {
        EXPECT_TRUE(sameVerdict(with(c.base, c.field, c.inside), c.negligible)) << c.name;
        EXPECT_FALSE(sameVerdict(with(c.base, c.field, c.outside), c.negligible)) << c.name;
    }
    // What one skipped product changes, in parts of the answer.
    EXPECT_NEAR(leastAnswer(measured(1, 4, 1, 2, 1, 1, 0, 0), 1e-12), 16e-12 / 1e-9, 1e-12);
    EXPECT_NEAR(leastAnswer(measured(1, 0.5, 1, 2, 1, 1, 0, 0), 1e-12), 2e-12 / 1e-9, 1e-12);
    EXPECT_NEAR(leastAnswer(measured(1, 0.5, 1, 0, 1, 1, 0, 0), 1e-12), 0.5e-12 / 1e-9, 1e-12);
}

namespace {

/// Constraints that are their own triangle: the inverse of 1 with -2 left of it has powers of two.
knotwork::ConstraintBasis doublingConstraints(const std::vector<double>& factors)
{
    const int n = static_cast<int>(factors.size());
    knotwork::SpanRows rows(n + 1);
    for (int i = 0; i < n; ++i) {
        const int first = std::max(0, i - 1);
        double* values = rows.append(first, i - first + 1);
        if (i > 0) values[0] = -2.0 * factors[static_cast<std::size_t>(i)];
        values[i - first] = factors[static_cast<std::size_t>(i)];
    }
    return knotwork::ConstraintBasis(rows, 0);
}

}  // namespace

TEST(RoadGuardTest, ConstraintsAreMeasuredWithAndWithoutTheirLengths)
{
    const auto plain = doublingConstraints({1, 1, 1, 1});
    EXPECT_NEAR(plain.inverseNorm(), 15.0, 1e-13);
    EXPECT_NEAR(plain.condition(), 7.0 * std::sqrt(5.0), 1e-13);
    EXPECT_NEAR(plain.largestLength(), std::sqrt(5.0), 1e-15);
    EXPECT_EQ(plain.mostCoupled(), 1);
    const auto graded = doublingConstraints({1, -0x1p20, 0x1p-10, -0x1p5});
    EXPECT_NEAR(graded.condition(), 7.0 * std::sqrt(5.0), 1e-13);
    EXPECT_NEAR(graded.inverseNorm(), 3.0 * 0x1p10, 1e-9) << "the third column: 2^10 (1, 2)";
    EXPECT_NEAR(doublingConstraints({1, 1, 1, 0.5, 1}).inverseNorm(), 31.0, 1e-13);

    knotwork::SpanRows apart(4);  // nothing in common
    apart.append(0, 1)[0] = 8.0;
    apart.append(3, 1)[0] = -0.25;
    const knotwork::ConstraintBasis basis(apart, 0);
    EXPECT_EQ(basis.inverseNorm(), 4.0);
    EXPECT_EQ(basis.condition(), 1.0);
    EXPECT_EQ(basis.mostCoupled(), 0);
}

namespace {

/// Systems that were made to tell the roads apart.
struct Constructed {
    const char* name;
    DoubleGenMat matrix;
    int constraints;
    double tolerance;
    int code;        // what the literal road says
    bool shortRoad;  // whether the short one may be taken
};

/// Each group of four takes three times what the next one has along (1, 1, -1, -1), and nothing
/// else: the smallest singular value is about 3^-groups, and estimates that start from vectors of
/// ones, or of alternating signs, see none of it.
DoubleGenMat hiddenGrowth(int groups)
{
    const double s[] = {1.0, 1.0, -1.0, -1.0};
    const int n = 4 * groups;
    DoubleGenMat a(static_cast<unsigned>(n), static_cast<unsigned>(n), 0.0);
    for (int i = 0; i < n; ++i) {
        a(i, i) = 1.0;
        const int next = 4 * (i / 4 + 1);
        for (int c = 0; c < 4 && next < n; ++c) a(i, next + c) = -0.75 * s[i % 4] * s[c];
    }
    return a;
}

/// Inner products just below what is negligible, a quarter of a row of them.
DoubleGenMat manySkips(int n)
{
    DoubleGenMat a(static_cast<unsigned>(n), static_cast<unsigned>(n), 0.0);
    for (int i = 0; i < n; ++i) {
        a(i, i) = 0.11;
        for (int k = 1; k < n / 4 && i + k < n; ++k) a(i, i + k) = 4e-11;
    }
    return a;
}

/// One entry a row: `sample` in the least-squares rows, `constraint` in the two below.
DoubleGenMat identities(int samples, double sample, double constraint)
{
    constexpr int kCols = 40;
    DoubleGenMat a(static_cast<unsigned>(samples + 2), kCols, 0.0);
    for (int i = 0; i < samples; ++i) a(i, i % kCols) = sample;
    a(samples, 0) = a(samples + 1, 1) = constraint;
    return a;
}

/// A skipped update between two constraints moves the unknown that one of them fixes, and a heavy
/// row makes another unknown follow by 900 times that.
DoubleGenMat dragged()
{
    DoubleGenMat a = identities(58, 1.0, 1.0);
    a(3, 1) = 900.0;
    a(59, 0) = 2e-11;
    return a;
}

/// What a constraint fixes, seen with a large factor by a sample of something else.
DoubleGenMat heavyFixed()
{
    DoubleGenMat a = identities(58, 1.0, 1.0);
    a(3, 0) = 1e5;
    return a;
}

DoubleGenMat withRow(const DoubleGenMat& matrix, int row, double factor)
{
    DoubleGenMat a(matrix.copy());
    a.row(row) *= factor;
    return a;
}

DoubleGenMat dense(unsigned seed)
{
    return randomMatrix(121, 40, seed);
}

/// Samples that see little but what the constraint in the last row fixes.
DoubleGenMat dominated(double s)
{
    DoubleGenMat a = dense(3);
    for (int i = 0; i < 120; ++i)
        for (int j = 0; j < 40; ++j) a(i, j) += s * std::cos(i) * a(120, j);
    return a;
}

/// The last two rows alike but for one part in 1e4, and so large that their inverse is not.
DoubleGenMat parallelConstraints(const DoubleGenMat& matrix)
{
    DoubleGenMat a(matrix.copy());
    const int last = static_cast<int>(a.rows()) - 1;
    a.row(last) = a.row(last - 1);
    a(last, static_cast<int>(a.cols()) / 2) += 1e-4;
    a.row(last) *= 100.0;
    a.row(last - 1) *= 100.0;
    return a;
}

}  // namespace

TEST(RoadGuardTest, ConstructedSystemsDoNotTellTheRoadsApart)
{
    const DoubleGenMat curve = curveMatrix(200, 30);
    const Constructed systems[] = {
        {"a curve", curve, 3, 1e-12, 0, true},
        {"a curve and the default tolerance", curve, 3, 1e-10, 0, true},
        {"a curve and no tolerance", curve, 3, 0.0, 0, true},
        {"a dense system", dense(3), 2, 1e-12, 0, true},
        {"a dense system with many constraints", randomMatrix(300, 100, 3), 30, 1e-10, 0, true},
        {"hidden growth, dependent", hiddenGrowth(28), 0, 1e-10, -1, false},
        {"hidden growth", hiddenGrowth(24), 0, 1e-10, 0, false},
        {"hidden growth, dense", hiddenGrowth(8), 8, 1e-10, 0, false},
        {"many skips", manySkips(100), 0, 1e-10, 0, false},
        {"more skips", manySkips(400), 0, 1e-10, 0, false},
        {"skips in samples", identities(400, 10.0, 0.1), 2, 0.9e-8, 0, false},
        {"the same with lighter samples", identities(400, 1.0, 1.0), 2, 0.9e-9, 0, true},
        {"a skip among constraints", dragged(), 2, 0.5e-9, 0, false},
        {"many skips, dense", manySkips(40), 0, 1e-10, 0, false},
        {"skips in samples, dense", identities(48, 10.0, 0.1), 1, 0.9e-8, 0, false},
        {"skips among constraints, dense", identities(48, 10.0, 1.0), 2, 0.9e-8, 0, false},
        {"lighter products, dense", identities(48, 10.0, 1.0), 2, 0.9e-9, 0, true},
        {"a heavy factor of what is fixed", heavyFixed(), 2, 1e-12, 0, false},
        {"a heavy sample", withRow(curve, 7, 1e5), 3, 1e-12, 0, false},
        {"a heavy constraint", withRow(curve, 200, 1e8), 3, 1e-12, -1, false},
        {"a heavy constraint, dense", withRow(dense(3), 120, 1e8), 2, 1e-12, -1, false},
        {"a light constraint", withRow(curve, 200, 1e-9), 3, 1e-12, 0, false},
        {"a light constraint, dense", withRow(dense(3), 120, 1e-9), 2, 1e-12, 0, false},
        {"nearly parallel constraints", parallelConstraints(curve), 3, 0.0, 0, false},
        {"nearly parallel constraints, dense", parallelConstraints(dense(3)), 2, 0.0, 0, false},
        {"dominated by a constraint", dominated(1e7), 1, 1e-12, 0, false},
        {"dominated by far", dominated(1e10), 1, 1e-12, 0, false},
        {"dominated a little", dominated(1.0), 1, 1e-12, 0, true},
        {"large", curve * 1e120, 3, 0.0, -1, false},
        {"larger", curve * 1e160, 3, 0.0, -1, false},
        {"small", curve * 1e-99, 3, 0.0, 0, false},
        {"smaller", curve * 1e-120, 3, 0.0, 0, false},
        {"squares vanish", curve * 1e-160, 3, 0.0, -1, false},
        {"large, dense", dense(3) * 1e120, 2, 0.0, -1, false},
        {"larger, dense", dense(3) * 1e160, 2, 0.0, -1, false},
        {"smaller, dense", dense(3) * 1e-120, 2, 0.0, 0, true},
        {"squares vanish, dense", dense(3) * 1e-160, 2, 0.0, -1, false},
    };
    for (const Constructed& s : systems) {
        SCOPED_TRACE(s.name);
        const BothRoads roads(s.matrix, s.constraints, s.tolerance);
        EXPECT_EQ(roads.quick.onShortRoad(), s.shortRoad);
        EXPECT_EQ(roads.literalCode, s.code);
        ASSERT_EQ(roads.code, roads.literalCode);
        if (s.code != 0) continue;
        const double size = largest(s.matrix.dataVec());
        EXPECT_LE(roads.difference(DoubleVec(s.matrix.rows(), size, 0.25 * size)), 1e-9);
    }
}

TEST(RoadGuardTest, AnswersWithinReachOfTheSkipRuleAreLiteral)
{
    struct {
        const char* name;
        DoubleGenMat matrix;
        int constraints;
        double tolerance;
        DoubleVec rhs;
    } cases[] = {
        {"a heavy row and little beside it", withRow(curveMatrix(200, 30), 50, 100.0), 3, 1e-10,
         DoubleVec(203, 1e-11)},
        {"what a first solve left over", curveMatrix(200, 30), 3, 1e-12, DoubleVec(203)},
        {"small diagonal entries", identities(60, 0.01, 0.01), 0, 1e-12, DoubleVec(62, 4e-12)},
        {"a light triangle below a constraint", identities(60, 10.0, 0.1), 2, 1e-10,
         DoubleVec(62, 1e-10)},
        {"dense", dense(3), 2, 1e-11, DoubleVec(121, 1e-12)},
    };
    cases[0].rhs(50) = 1e-3;
    const DoubleVec wave = randomMatrix(203, 1, 7).col(0);
    cases[1].rhs =
        wave - product(cases[1].matrix,
                       BothRoads(cases[1].matrix, 3, 1e-12).literal.TbaseSolver::solve(wave));
    cases[2].rhs(7) = 3e-4;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const BothRoads roads(c.matrix, c.constraints, c.tolerance);
        ASSERT_TRUE(roads.quick.onShortRoad()) << "or this says nothing";
        EXPECT_EQ(roads.difference(c.rhs), 0.0) << "to the bit";
        // Nor does it matter what lies beside it, in the same lanes and in others.
        const int rows = static_cast<int>(c.matrix.rows());
        TtupleVector many(17, rows, 1.0);
        many.component(0) = std::numeric_limits<double>::quiet_NaN();
        TtupleVector others = roads.quick.TbaseSolver::solve(many);
        many.component(16) = c.rhs;
        TtupleVector all = roads.quick.TbaseSolver::solve(many);
        EXPECT_EQ(all.component(16), roads.quick.TbaseSolver::solve(c.rhs));
        EXPECT_EQ(all.component(1), others.component(1));
    }
}

namespace {

/// Bands or dense rows with a heavy diagonal, strewn with numbers about as small as what is
/// negligible; rows out of scale, constraints almost alike.
DoubleGenMat strewnSystem(Dice& dice, int constraints, double tiny)
{
    const auto below = [&](int n) {
        return static_cast<int>(dice.below(static_cast<unsigned>(n)));
    };
    const auto sign = [&] { return 2.0 * dice.unit() - 1.0; };
    const bool dense = below(4) == 0;
    const int cols = dense ? 32 + below(20) : 48 + below(40);
    const int rows = cols + below(2 * cols) + constraints;
    const int width = dense ? cols : 1 + below(6);
    const double level = std::pow(10.0, 0.5 - 1.5 * dice.unit());
    DoubleGenMat a(static_cast<unsigned>(rows), static_cast<unsigned>(cols), 0.0);
    for (int i = 0; i < rows; ++i) {
        const bool wide = !dense && below(20) == 0;  // and then tiny throughout
        const int count = wide ? cols / 4 : width;
        const int at = i < rows - constraints ? i % cols : below(cols);
        const int first = std::min(at, cols - count);
        for (int k = 0; k < count; ++k) {
            const double sizes[] = {level, level, tiny, 0.0, 0.2 * level};
            a(i, first + k) = (wide ? tiny : sizes[below(5)]) * sign();
        }
        a(i, at) += level * (2.0 + 0.3 * width);
    }
    if (below(3) == 0) a.row(below(rows)) *= std::pow(10.0, 4.0 * dice.unit() - 2.0);
    if (below(4) == 0 && constraints > 1) {
        a.row(rows - 1) = a.row(rows - 2);
        a(rows - 1, below(cols)) += std::pow(10.0, -4.0 * dice.unit());
    }
    return a;
}

}  // namespace

TEST(RoadGuardTest, SystemsStrewnWithNegligibleNumbersDoNotTellTheRoadsApart)
{
    const int systems = trials(1000);
    Dice dice(1);
    int shortRoads = 0;
    double worst = 0.0;
    for (int trial = 0; trial < systems; ++trial) {
        SCOPED_TRACE(trial);
        const int constraints = static_cast<int>(dice.below(3) == 0 ? 0 : dice.below(8));
        const double tiny = std::pow(10.0, -8.0 - 5.0 * dice.unit());
        const DoubleGenMat a = strewnSystem(dice, constraints, tiny);
        const BothRoads roads(a, constraints, std::pow(10.0, -9.0 - 4.0 * dice.unit()));
        ASSERT_EQ(roads.code, roads.literalCode);
        if (roads.code != 0 || !roads.quick.onShortRoad()) continue;
        ++shortRoads;
        const double size = std::pow(10.0, -6.0 * dice.unit());
        for (const bool few : {false, true}) {  // large numbers among tiny ones
            DoubleVec b(a.rows());
            for (int i = 0; i < static_cast<int>(a.rows()); ++i)
                b(i) = (few && dice.below(8) != 0 ? tiny : size) * (2.0 * dice.unit() - 1.0);
            const double difference = roads.difference(b);
            EXPECT_LE(difference, 1e-8);
            worst = std::max(worst, difference);
        }
    }
    EXPECT_GT(shortRoads, systems / 2);
    recordWorst(worst);
}
