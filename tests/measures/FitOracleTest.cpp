// SPDX-License-Identifier: MIT
#include "measures/FitOracle.h"

#include "measures/RandomFits.h"
#include "tests/support/Testing.h"

namespace {

using namespace knotwork;
using namespace knotwork_measures;
using namespace knotwork_test;

constexpr double kQuadEps = 0x1p-112;

double sizeOf(Quad x)
{
    return std::fabs(static_cast<double>(x));
}

double largest(const QuadMatrix& a)
{
    double most = 0.0;
    for (int j = 0; j < a.cols(); ++j)
        for (int i = 0; i < a.rows(); ++i) most = std::max(most, sizeOf(a(i, j)));
    return most;
}

/// Rows stored as columns times one vector: what the rows give.
QuadMatrix timesRows(const QuadMatrix& rows, const QuadMatrix& x)
{
    QuadMatrix y(rows.cols(), 1);
    for (int j = 0; j < rows.cols(); ++j)
        for (int i = 0; i < rows.rows(); ++i) y(j, 0) += rows(i, j) * x(i, 0);
    return y;
}

QuadMatrix difference(QuadMatrix a, const QuadMatrix& b)
{
    for (int i = 0; i < a.rows(); ++i) a(i, 0) -= b(i, 0);
    return a;
}

/// What an answer must fulfil, whoever found it: the constraints are met, and what pulls at the
/// unknowns is balanced by multiples of the constraints' rows.
TEST(ConstrainedLeastSquaresTest, AnswersFulfilTheConditionsOfAMinimum)
{
    int checked = 0;
    for (std::uint64_t index = 0; index < 300; ++index) {
        SCOPED_TRACE(index);
        const CurveProblem p = randomCurve(12, index);
        std::vector<Place> places;
        for (const knotwork::CurveConstraint& c : p.constraints)
            places.push_back({c.parameter, c.derivative});
        const Equations e = equationsOf(p.basis, p.parameters, p.weights, places, p.method);
        const ConstrainedLeastSquares system(e.fitted, e.met);
        if (!system.determined() || system.condition() > 1e8) continue;
        ++checked;
        QuadMatrix fitted(e.fitted.cols(), 1);
        QuadMatrix met(e.met.cols(), 1);
        for (int i = 0; i < fitted.rows(); ++i) fitted(i, 0) = std::sin(1.0 + i);
        for (int i = 0; i < met.rows(); ++i) met(i, 0) = std::cos(2.0 + i);
        const QuadMatrix x = system.solve(fitted, met);
        const QuadMatrix residuals = difference(fitted, timesRows(e.fitted, x));
        const double scale = (1.0 + largest(e.fitted) * largest(e.fitted)) * (1.0 + largest(x));
        EXPECT_LE(largest(difference(met, timesRows(e.met, x))), 1e5 * kQuadEps * scale);

        const QuadMatrix pull = timesRows(transposed(e.fitted), residuals);
        const ConstrainedLeastSquares balance(transposed(e.met), QuadMatrix(e.met.cols(), 0));
        const QuadMatrix multipliers = balance.solve(pull, QuadMatrix(0, 1));
        EXPECT_LE(largest(difference(pull, timesRows(transposed(e.met), multipliers))),
                  1e5 * kQuadEps * scale);
    }
    EXPECT_GT(checked, 100);
}

struct KnownCase {
    const char* name;
    Numbers parameters;
    std::vector<knotwork::CurveConstraint> constraints;
    bool dependent;
    bool determined;
    FitMethod method = FitMethod::kHouseholder;
    Numbers weights = {};
};

const Numbers kEverywhere = {0.1, 0.3, 0.5, 0.9};
const Numbers kFirstSpan = {0.1, 0.15, 0.2, 0.3};

const KnownCase kKnownCases[] = {
    {"AsGiven", kEverywhere, {}, false, true},
    {"LastSpanFixedByNobody", kFirstSpan, {{0.333335, 0, {1}}}, false, false},
    {"LastSpanFixedByAnEnd", kFirstSpan, {{0.333335, 0, {1}}, {1, 0, {1}}}, false, true},
    {"LastSpanFixedByTwoSlopes", kFirstSpan, {{0.5, 1, {1}}, {1, 1, {1}}}, false, true},
    {"ConstraintTwice", kEverywhere, {{0.5, 0, {1}}, {0.5, 0, {1}}}, true, false},
    {"ThreeValuesInOneSpan",
     kEverywhere,
     {{0.4, 0, {1}}, {0.5, 0, {1}}, {0.6, 0, {1}}},
     true,
     false},
    {"AllButTheLastHeld",
     {0.1, 0.15, 0.35, 0.6},
     {{0.07, 0, {1}}, {0.3, 0, {1}}, {0.37, 0, {1}}},
     false,
     false},
    {"SlopeOfASpanTwice", kEverywhere, {{0.4, 1, {1}}, {0.6, 1, {1}}}, true, false},
    {"TwoValuesALittleApart", kEverywhere, {{0.5, 0, {1}}, {0.5 + 1e-12, 0, {1}}}, false, true},
    {"ConstraintTwiceFitted",
     kEverywhere,
     {{0.5, 0, {1}}, {0.5, 0, {1}}},
     false,
     true,
     FitMethod::kQr},
    {"LastPointWithoutWeight",
     kEverywhere,
     {},
     false,
     false,
     FitMethod::kHouseholder,
     {1, 1, 1, 0}},
    {"TooFewPoints", {0.1, 0.3, 0.5}, {}, false, false},
    {"LastFunctionNextToNothing", {0.1, 0.3, 0.5, 2.0 / 3.0 + 1e-9}, {}, false, true},
};

/// Degree 1 over three spans, a point in each and one more.
TEST(KnownFitTest, IsTold)
{
    for (const KnownCase& c : kKnownCases) {
        SCOPED_TRACE(c.name);
        CurveProblem p;
        p.basis = BsplineBasis::uniform(1, 0.0, 1.0, 3);
        p.parameters = c.parameters;
        p.points = {1.0, 2.0, 0.0, 3.0};
        p.constraints = c.constraints;
        p.method = c.method;
        p.weights = c.weights;
        const OracleAnswer answer = answerFor(p);
        EXPECT_EQ(answer.dependent, c.dependent);
        EXPECT_EQ(answer.determined, c.determined);
        EXPECT_EQ(answer.controlPoints.size(), c.determined ? 4U : 0U);
    }
}

/// A diagonal between two reflections keeps its entries as singular values.
TEST(PivotedQrTest, ConditionIsThatOfKnownSingularValues)
{
    for (const double smallest : {0.5, 1e-3, 1e-9, 1e-18}) {
        constexpr int kSize = 12;
        QuadMatrix a(kSize, kSize);
        for (int i = 0; i < kSize; ++i)
            a(i, i) = i + 1 == kSize ? smallest : 3.0 + std::cos(5.0 * i);
        double expected = 0.0;
        for (int i = 0; i < kSize; ++i) expected = std::max(expected, sizeOf(a(i, i)) / smallest);
        for (int side = 0; side < 2; ++side) {
            Quad squares = 0;
            for (int i = 0; i < kSize; ++i) squares += Quad(i + 1 + side) * (i + 1 + side);
            for (int j = 0; j < kSize; ++j) {
                Quad product = 0;
                for (int i = 0; i < kSize; ++i) product += (i + 1 + side) * a(i, j);
                for (int i = 0; i < kSize; ++i) a(i, j) -= 2 * product * (i + 1 + side) / squares;
            }
            a = transposed(a);
        }
        const PivotedQr qr(a, longestColumn(a));
        ASSERT_TRUE(qr.fullRank());
        EXPECT_NEAR(qr.condition() / expected, 1.0, 0.1);
    }
}

/// Data that are a product, with lines that are too, make control points that are a product.
TEST(FitOracleTest, SurfaceOfAProductIsTheProductOfCurves)
{
    CurveProblem inU;
    inU.basis = BsplineBasis::uniform(3, 0.0, 1.0, 3);
    CurveProblem inV;
    inV.basis = BsplineBasis::uniform(2, 0.0, 2.0, 4);
    for (int i = 0; i < 11; ++i) {
        inU.parameters.push_back(i / 10.0);
        inU.points.push_back(std::cos(3.0 * i));
        inV.parameters.push_back(i / 5.0);
        inV.points.push_back(std::sin(2.0 * i));
    }
    inU.constraints = {{0.35, 1, {4.0}}, {0.0, 0, {0.7}}};
    inV.constraints = {{inV.parameters[4], 0, {inV.points[4]}}};
    for (const FitMethod method : {FitMethod::kHouseholder, FitMethod::kQr}) {
        inU.method = inV.method = method;
        SurfaceProblem p;
        p.u = inU.basis;
        p.v = inV.basis;
        p.method = method;
        p.uParameters = inU.parameters;
        p.vParameters = inV.parameters;
        for (const double y : inV.points)
            for (const double x : inU.points) p.points.push_back(x * y);
        for (const knotwork::CurveConstraint& c : inU.constraints) {
            p.acrossU.push_back({c.parameter, c.derivative, {}});
            for (const double y : inV.points) p.acrossU.back().values.push_back(c.value[0] * y);
        }
        p.acrossV.push_back({inV.constraints[0].parameter, 0, {}});
        for (const double x : inU.points)
            p.acrossV[0].values.push_back(x * inV.constraints[0].value[0]);
        const OracleAnswer u = answerFor(inU);
        const OracleAnswer v = answerFor(inV);
        Numbers product;
        for (const double y : v.controlPoints)
            for (const double x : u.controlPoints) product.push_back(x * y);
        const OracleAnswer both = answerFor(p);
        ASSERT_TRUE(both.determined);
        const double allowed = 4 * kEps * both.condition;  // products are rounded
        EXPECT_LE(deviationOf(product, both.controlPoints, 1).overall, allowed);
    }
}

}  // namespace
