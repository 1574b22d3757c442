// SPDX-License-Identifier: MIT
#include "knotwork/fit/CurveFit.h"

#include "tests/fit/Problems.h"
#include "tests/support/Csv.h"
#include "tests/support/Testing.h"

namespace {

using namespace knotwork;
using namespace knotwork_test;

constexpr double kConstraintBound = 1e-13;  // times the data's size
constexpr double kControlBound = 1e-12;     // times the largest control point

FitProblem titanium()
{
    FitProblem p;
    for (const Numbers& row : exampleData("titanium.csv")) {
        p.parameters.push_back(row[0]);
        p.points.push_back(row[1]);
    }
    p.basis = BsplineBasis::uniform(3, 595.0, 1075.0, 9);  // 8 interior knots
    return p;
}

FitProblem airfoil()
{
    FitProblem p;
    p.dimension = 2;
    for (const Numbers& row : exampleData("rae2822.csv"))
        p.points.insert(p.points.end(), row.begin(), row.end());
    for (int i = 0; i <= 128; ++i) p.parameters.push_back(i / 128.0);
    p.basis = BsplineBasis::uniform(3, 0.0, 1.0, 17);  // 16 interior knots
    return p;
}

void pass(FitProblem& p, std::size_t i)
{
    const auto d = static_cast<std::ptrdiff_t>(p.dimension);
    const auto at = p.points.begin() + static_cast<std::ptrdiff_t>(i) * d;
    p.constraints.push_back({p.parameters[i], 0, std::vector<double>(at, at + d)});
}

struct DataCase {
    const char* name;
    FitProblem (*data)();
    std::vector<std::size_t> passes;
    bool flatPeak;
};

const DataCase kDataCases[] = {{"TitaniumFree", titanium, {}, false},
                               {"TitaniumEnds", titanium, {0, 48}, false},
                               {"TitaniumEndsAndFlatPeak", titanium, {0, 48, 30}, true},
                               {"AirfoilFree", airfoil, {}, false},
                               {"AirfoilEndsAndNose", airfoil, {0, 128, 64}, false}};

}  // namespace

TEST(DataFitTest, AgreesWithLongArithmeticAndReportsHonestly)
{
    for (const DataCase& c : kDataCases) {
        SCOPED_TRACE(c.name);
        FitProblem p = c.data();
        for (const std::size_t i : c.passes) pass(p, i);
        if (c.flatPeak) p.constraints.push_back({895.0, 1, {0.0}});
        const FittedCurve curve = p.fit();
        ASSERT_TRUE(curve.fits()) << curve.report.reason;
        const double worst = deviationFromReference(p, curve);
        EXPECT_LE(worst, kControlBound);
        RecordProperty("controlPointDeviation", std::to_string(worst * 1e16) + "e-16");
        RecordProperty("constraintResidual",
                       std::to_string(curve.report.constraintResidual * 1e16) + "e-16");

        const Residuals residuals = residualsOf(p, curve.controlPoints);
        EXPECT_LE(curve.report.constraintResidual, kConstraintBound);  // the data's size is about 1
        EXPECT_LE(residuals.constraint, kConstraintBound);
        EXPECT_NEAR(curve.report.rms, residuals.rms, 1e-14);
        EXPECT_NEAR(curve.report.maxResidual, residuals.largest, 1e-14);
        EXPECT_EQ(curve.report.dataPoints, static_cast<int>(p.parameters.size()));
        EXPECT_EQ(curve.report.unknowns, p.basis.count());
        EXPECT_EQ(curve.report.columnsUsed, p.basis.count());
        EXPECT_EQ(curve.report.constraints, static_cast<int>(p.constraints.size()));
        EXPECT_EQ(curve.report.zero, 0.0);
    }
}

TEST(CurveFitTest, RandomProblemsAgreeWithLongArithmetic)
{
    knotwork_measures::Dice dice(20270112);
    double worst = 0.0;
    double worstConstraint = 0.0;
    for (int round = 0; round < 240; ++round) {
        const int degree = 1 + round % 5;
        const int dimension = 1 + round % 3;
        const int spans = 2 + static_cast<int>(dice.below(7));
        FitProblem p = noisyProblem(degree, spans, dimension, dice);
        addConstraints(p, static_cast<int>(dice.below(static_cast<unsigned>(spans) + 1)), dice);
        SCOPED_TRACE("round " + std::to_string(round) + ", degree " + std::to_string(degree) +
                     ", " + std::to_string(spans) + " spans, " +
                     std::to_string(p.constraints.size()) + " constraints");
        const FittedCurve curve = p.fit();
        ASSERT_TRUE(curve.fits()) << curve.report.reason;
        const double moved = deviationFromReference(p, curve);
        EXPECT_LE(moved, kControlBound);
        EXPECT_LE(curve.report.constraintResidual, kConstraintBound);
        worst = std::max(worst, moved);
        worstConstraint = std::max(worstConstraint, curve.report.constraintResidual);
    }
    RecordProperty("controlPointDeviation", std::to_string(worst * 1e16) + "e-16");
    RecordProperty("constraintResidual", std::to_string(worstConstraint * 1e16) + "e-16");
}

TEST(CurveFitTest, OrderOfDataAndOfConstraintsDoesNotMatter)
{
    knotwork_measures::Dice dice(20270113);
    FitProblem p = noisyProblem(3, 6, 2, dice);
    addConstraints(p, 3, dice);
    FitProblem turned = p;
    std::reverse(turned.parameters.begin(), turned.parameters.end());
    std::reverse(turned.constraints.begin(), turned.constraints.end());
    turned.points.clear();
    for (std::size_t i = p.parameters.size(); i-- > 0;)
        turned.points.insert(turned.points.end(), {p.points[2 * i], p.points[2 * i + 1]});
    EXPECT_LE(deviationFromReference(p, turned.fit()), kControlBound);
}

/// More points than are compressed at a time, in no order; the shares of the work only rise.
TEST(CurveFitTest, ManyPointsInNoOrderFitAsWell)
{
    knotwork_measures::Dice dice(20270115);
    FitProblem p = noisyProblem(3, 9, 5, dice);
    addConstraints(p, 4, dice);
    for (int i = 0; i < 9000; ++i) {
        p.parameters.push_back(dice.unit());
        for (int k = 0; k < p.dimension; ++k) p.points.push_back(dice.unit());
    }
    std::vector<double> shares;
    knotwork::CurveFitOptions options;
    options.progress = [&shares](double share) { shares.push_back(share); };
    const FittedCurve curve = p.fit(options);
    ASSERT_TRUE(curve.fits()) << curve.report.reason;
    EXPECT_LE(deviationFromReference(p, curve), kControlBound);
    EXPECT_TRUE(std::is_sorted(shares.begin(), shares.end()));
    EXPECT_GE(shares.size(), 5U);
    EXPECT_LE(shares.size(), 102U);
    EXPECT_GT(shares.front(), 0.0);
    EXPECT_EQ(shares.back(), 1.0);
}

/// A point of weight w counts as w points, in the curve and in its error figures.
TEST(CurveFitTest, AWeightCountsAsThatManyPoints)
{
    knotwork_measures::Dice dice(20270114);
    FitProblem weighted = noisyProblem(3, 5, 2, dice);
    addConstraints(weighted, 2, dice);
    FitProblem repeated = weighted;
    repeated.parameters.clear();
    repeated.points.clear();
    knotwork::CurveFitOptions options;
    options.weights.reference(DoubleVec(static_cast<unsigned>(weighted.parameters.size()), 0.0));
    for (std::size_t i = 0; i < weighted.parameters.size(); ++i) {
        const unsigned weight = i % 7 == 3 ? 0 : 1 + dice.below(4);
        options.weights(static_cast<int>(i)) = weight;
        repeated.parameters.insert(repeated.parameters.end(), weight, weighted.parameters[i]);
        for (unsigned k = 0; k < weight; ++k)
            repeated.points.insert(repeated.points.end(),
                                   {weighted.points[2 * i], weighted.points[2 * i + 1]});
    }
    const FittedCurve curve = weighted.fit(options);
    ASSERT_TRUE(curve.fits()) << curve.report.reason;
    EXPECT_LE(deviationFromReference(repeated, curve), kControlBound);
    const FittedCurve same = repeated.fit();
    EXPECT_NEAR(curve.report.rms, same.report.rms, 1e-14);
    EXPECT_NEAR(curve.report.maxResidual, same.report.maxResidual, 1e-14);

    options.weights *= 1e-300;  // the scale of all weights is nobody's business
    EXPECT_LE(deviationFromReference(repeated, weighted.fit(options)), kControlBound);
}

TEST(CurveFitTest, PointsOfASplineAreFoundAgain)
{
    // t^3 over [0, 4]: the control points are the blossom, products of three neighbouring knots.
    FitProblem p;
    p.basis = BsplineBasis::uniform(3, 0.0, 4.0, 4);
    for (int i = 0; i <= 16; ++i) {
        p.parameters.push_back(i / 4.0);
        p.points.push_back(std::pow(i / 4.0, 3));
    }
    const FittedCurve curve = p.fit();
    ASSERT_TRUE(curve.fits());
    EXPECT_LE(deviation(curve.controlPoints, {0, 0, 0, 6, 24, 48, 64}, 1), kControlBound);
    EXPECT_LE(curve.report.rms, 64 * kConstraintBound);
    EXPECT_NEAR(curve.at(1.5)[0], 3.375, 64 * kConstraintBound);
    EXPECT_NEAR(curve.at(1.5, 2)[0], 9.0, 640 * kConstraintBound);
    EXPECT_EQ(curve.at(1.5, 4), std::vector<double>{0.0});
    EXPECT_THAT(curve.at(1.5, -1), testing::IsEmpty());
    EXPECT_THAT(FittedCurve().at(0.0), testing::IsEmpty());
}

TEST(CurveFitTest, ConstraintsAloneFixACurve)
{
    FitProblem p;  // Hermite interpolation; the data point cannot pull
    p.dimension = 2;
    p.basis = BsplineBasis::uniform(3, 0.0, 2.0, 1);
    p.parameters = {1.0};
    p.points = {50.0, -50.0};
    p.constraints = {{0, 0, {0, 0}}, {0, 1, {3, 0}}, {2, 0, {6, 3}}, {2, 1, {0, -3}}};
    const FittedCurve curve = p.fit();
    ASSERT_TRUE(curve.fits()) << curve.report.reason;
    EXPECT_LE(deviation(curve.controlPoints, {0, 0, 2, 0, 6, 5, 6, 3}, 2), kControlBound);
    EXPECT_NEAR(curve.report.maxResidual, std::hypot(50 - 3.75, -50 - 2.25), 1e-12);
    EXPECT_EQ(curve.report.maxResidualAt, 1.0);
}
