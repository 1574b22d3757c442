// SPDX-License-Identifier: MIT
#include "measures/FitOracle.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <ostream>
#include <vector>

#include "measures/RandomFits.h"
#include "tests/fit/Reference.h"
#include "tests/support/CaseName.h"

namespace {

using knotwork::BsplineBasis;
using knotwork::FitMethod;
using knotwork_measures::answerFor;
using knotwork_measures::ConstrainedLeastSquares;
using knotwork_measures::CurveProblem;
using knotwork_measures::Equations;
using knotwork_measures::OracleAnswer;
using knotwork_measures::PivotedQr;
using knotwork_measures::Place;
using knotwork_measures::Quad;
using knotwork_measures::QuadMatrix;
using knotwork_measures::SurfaceProblem;
using Numbers = std::vector<double>;

constexpr double kQuadEps = 0x1p-112;
constexpr double kEps = 0x1p-52;

std::size_t at(int i)
{
    return static_cast<std::size_t>(i);
}

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

TEST(BasisRowTest, AgreesWithTheRecursionFunctionByFunction)
{
    for (std::uint64_t index = 0; index < 60; ++index) {
        SCOPED_TRACE(index);
        const CurveProblem p = knotwork_measures::randomCurve(11, index);
        const int degree = p.basis.degree();
        const double t = p.parameters.front();
        for (int derivative = 0; derivative <= degree; ++derivative) {
            Quad row[BsplineBasis::kMostDegree + 1];
            const int first = knotwork_measures::basisRow(p.basis, t, derivative, row);
            std::vector<Quad> whole(at(p.basis.count()));
            std::copy_n(row, degree + 1, whole.begin() + first);
            double error = 0.0;
            double size = 0.0;
            for (int i = 0; i < p.basis.count(); ++i) {
                const Quad expected = knotwork_test::basisFunction<Quad>(p.basis.knots(), at(i),
                                                                         degree, t, derivative);
                error = std::max(error, sizeOf(whole[at(i)] - expected));
                size = std::max(size, sizeOf(expected));
            }
            EXPECT_LE(error, 100 * kQuadEps * size);
        }
    }
}

/// What an answer must fulfil, whoever found it: the constraints are met, and what pulls at the
/// unknowns is balanced by multiples of the constraints' rows.
TEST(ConstrainedLeastSquaresTest, AnswersFulfilTheConditionsOfAMinimum)
{
    int checked = 0;
    for (std::uint64_t index = 0; index < 300; ++index) {
        SCOPED_TRACE(index);
        const CurveProblem p = knotwork_measures::randomCurve(12, index);
        std::vector<Place> places;
        for (const knotwork::CurveConstraint& c : p.constraints)
            places.push_back({c.parameter, c.derivative});
        const Equations e =
            knotwork_measures::equationsOf(p.basis, p.parameters, p.weights, places, p.method);
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

TEST(FitOracleTest, AgreesWithTheBorderedNormalEquations)
{
    int checked = 0;
    for (std::uint64_t index = 0; index < 150; ++index) {
        SCOPED_TRACE(index);
        CurveProblem p = knotwork_measures::randomCurve(13, index);
        p.weights.clear();
        p.method = FitMethod::kHouseholder;
        const OracleAnswer answer = answerFor(p);
        if (!answer.determined || answer.condition > 1e6) continue;
        ++checked;
        const knotwork_test::FitProblem q{p.dimension, p.points, p.parameters, p.basis,
                                          p.constraints};
        EXPECT_LE(knotwork_measures::deviationOf(knotwork_test::referenceControlPoints(q),
                                                 answer.controlPoints, p.dimension)
                      .overall,
                  kEps);
    }
    EXPECT_GT(checked, 50);
}

struct KnownCase {
    const char* name;
    void (*change)(CurveProblem& p);
    bool dependent;
    bool determined;
    friend void PrintTo(const KnownCase& c, std::ostream* os) { *os << c.name; }
};

class KnownFitTest : public testing::TestWithParam<KnownCase> {};

const KnownCase kKnownCases[] = {
    {"AsGiven", [](CurveProblem&) {}, false, true},
    {"LastSpanFixedByNobody",
     [](CurveProblem& p) {
         p.parameters = {0.1, 0.15, 0.2, 0.3};
         p.constraints = {{0.333335, 0, {1.0}}};
     },
     false, false},
    {"LastSpanFixedByAnEnd",
     [](CurveProblem& p) {
         p.parameters = {0.1, 0.15, 0.2, 0.3};
         p.constraints = {{0.333335, 0, {1.0}}, {1.0, 0, {1.0}}};
     },
     false, true},
    {"LastSpanFixedByTwoSlopes",
     [](CurveProblem& p) {
         p.parameters = {0.1, 0.15, 0.2, 0.3};
         p.constraints = {{0.5, 1, {1.0}}, {1.0, 1, {1.0}}};
     },
     false, true},
    {"ConstraintTwice",
     [](CurveProblem& p) {
         p.constraints = {{0.5, 0, {1.0}}, {0.5, 0, {1.0}}};
     },
     true, false},
    {"ThreeValuesInOneSpan",
     [](CurveProblem& p) {
         p.constraints = {{0.4, 0, {1.0}}, {0.5, 0, {1.0}}, {0.6, 0, {1.0}}};
     },
     true, false},
    {"AllButTheLastHeld",
     [](CurveProblem& p) {
         p.parameters = {0.1, 0.15, 0.35, 0.6};
         p.constraints = {{0.07, 0, {1.0}}, {0.3, 0, {1.0}}, {0.37, 0, {1.0}}};
     },
     false, false},
    {"SlopeOfASpanTwice",
     [](CurveProblem& p) {
         p.constraints = {{0.4, 1, {1.0}}, {0.6, 1, {1.0}}};
     },
     true, false},
    {"TwoValuesALittleApart",
     [](CurveProblem& p) {
         p.constraints = {{0.5, 0, {1.0}}, {0.5 + 1e-12, 0, {1.0}}};
     },
     false, true},
    {"ConstraintTwiceFitted",
     [](CurveProblem& p) {
         p.method = FitMethod::kQr;
         p.constraints = {{0.5, 0, {1.0}}, {0.5, 0, {1.0}}};
     },
     false, true},
    {"LastPointWithoutWeight",
     [](CurveProblem& p) {
         p.weights = {1.0, 1.0, 1.0, 0.0};
     },
     false, false},
    {"TooFewPoints", [](CurveProblem& p) { p.parameters.pop_back(); }, false, false},
    {"LastFunctionNextToNothing", [](CurveProblem& p) { p.parameters.back() = 2.0 / 3.0 + 1e-9; },
     false, true},
};

/// Degree 1 over three spans, a point in each and one more.
TEST_P(KnownFitTest, IsTold)
{
    CurveProblem p;
    p.basis = BsplineBasis::uniform(1, 0.0, 1.0, 3);
    p.parameters = {0.1, 0.3, 0.5, 0.9};
    p.points = {1.0, 2.0, 0.0, 3.0};
    GetParam().change(p);
    const OracleAnswer answer = answerFor(p);
    EXPECT_EQ(answer.dependent, GetParam().dependent);
    EXPECT_EQ(answer.determined, GetParam().determined);
    EXPECT_EQ(answer.controlPoints.size(), GetParam().determined ? 4U : 0U);
}

INSTANTIATE_TEST_SUITE_P(All, KnownFitTest, testing::ValuesIn(kKnownCases),
                         knotwork_test::CaseName());

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
        EXPECT_LE(knotwork_measures::deviationOf(product, both.controlPoints, 1).overall, allowed);
    }
}

}  // namespace
