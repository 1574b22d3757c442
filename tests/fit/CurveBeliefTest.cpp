// SPDX-License-Identifier: MIT
#include "measures/FitOracle.h"
#include "measures/Verdicts.h"
#include "tests/fit/Problems.h"
#include "tests/support/Testing.h"

/// Whether a verdict can be believed: fits that must be refused, fits that must not, and answers
/// that are right where rounding or weights make them hard to find.
namespace {

using namespace knotwork;
using namespace knotwork_measures;
using namespace knotwork_test;

constexpr double kRight = 1e-10;  // of the largest control point

CurveProblem problemOf(BsplineBasis basis, Numbers t, Numbers y,
                       std::vector<knotwork::CurveConstraint> constraints = {})
{
    CurveProblem p;
    p.basis = std::move(basis);
    p.parameters = std::move(t);
    p.points = std::move(y);
    p.constraints = std::move(constraints);
    return p;
}

/// Answered, and as the oracle has it.
void expectRight(const CurveProblem& p, double bound = kRight)
{
    const FittedCurve curve = fitOf(p);
    ASSERT_TRUE(curve.fits()) << curve.report.reason;
    const auto oracle = answerFor(p);
    ASSERT_TRUE(oracle.determined);
    EXPECT_LE(deviationOf(curve.controlPoints, oracle.controlPoints, p.dimension).overall, bound)
        << "condition " << oracle.condition;
}

struct OpenCase {
    const char* name;
    CurveProblem problem;
    const char* reason;
};

const OpenCase kOpenCases[] = {
    {"ValuesJustPastKnots",
     problemOf(BsplineBasis::uniform(2, 0, 10, 4), {0, 0.1, 0.2, 0.3, 0.8, 1.3, 1.7, 1.8, 10},
               {0, 0.1, 0.2, 0.3, 0.7, 1, 1, 1, -0.5}, {{2.506, 0, {1}}, {1.1, 0, {0.5}}}),
     "spans 1 to 2 hold no data, which smoothing may make up for"},
    {"FirstSpanAndAValueBehindIt",
     problemOf(BsplineBasis::uniform(1, 0, 1, 3), {.1, .15, .2, .3}, {1, 2, 1, 2},
               {{0.333335, 0, {1}}}),
     "spans 1 to 2 hold no data, which smoothing may make up for"},
    {"ADatumHardlyInTheLastSpan",
     problemOf(BsplineBasis::uniform(3, 0, 2, 2), {0, .1, .4, .7, 1, 1 + 1e-7}, {1, 2, 1, 2, 1, 2},
               {{0.5, 0, {1}}}),
     "data and constraints together do not fix control point 4 of 5, which smoothing may "
     "make up for"}};

}  // namespace

/// The last functions have no data, and a constraint just past a knot hardly reaches the next ones:
/// what rounding leaves of the equations looks like more of them than there are.
TEST(OpenCurveTest, IsRefusedByBothMethods)
{
    for (const OpenCase& c : kOpenCases) {
        SCOPED_TRACE(c.name);
        CurveProblem p = c.problem;
        for (const FitMethod method : {FitMethod::kHouseholder, FitMethod::kQr}) {
            p.method = method;
            const FittedCurve curve = fitOf(p);
            EXPECT_EQ(curve.report.verdict, FitVerdict::kUndetermined);
            EXPECT_EQ(curve.report.reason, c.reason);
            EXPECT_TRUE(curve.controlPoints.empty());
        }
    }
}

TEST(CurveBeliefTest, WhatCancelsInTheAnswerIsNotRefused)
{
    CurveProblem rail;
    rail.basis = BsplineBasis::uniform(3, 0, 1, 4);
    rail.dimension = 2;
    for (int i = 0; i < 40; ++i) {
        rail.parameters.push_back((i / 2 + 0.5) / 20);
        rail.points.insert(rail.points.end(), {rail.parameters.back(), i % 2 == 0 ? 1.0 : -1.0});
    }
    expectRight(rail);

    CurveProblem outline;  // NACA 0012 from the trailing edge around the nose and back
    outline.dimension = 2;
    for (int i = -60; i <= 60; ++i) {
        const double x = std::pow(i / 60.0, 2);
        const double half = 0.6 * (0.2969 * std::sqrt(x) - 0.126 * x - 0.3516 * x * x +
                                   0.2843 * x * x * x - 0.1036 * x * x * x * x);
        outline.parameters.push_back(i / 60.0);
        outline.points.insert(outline.points.end(), {x, i < 0 ? half : -half});
    }
    CurveProblem even = outline;
    for (std::size_t i = 0; i < even.parameters.size(); ++i)
        even.points[2 * i] = std::fabs(even.points[2 * i + 1]) - 0.03;
    for (int spans = 1; spans <= 40; ++spans) {
        SCOPED_TRACE(spans);
        outline.basis = even.basis = BsplineBasis::uniform(3, -1, 1, spans);
        expectRight(outline);
        expectRight(even);
    }
}

TEST(CurveBeliefTest, HeavyWeightsAgainstConstraintsLeaveTheRestRight)
{
    CurveProblem p = problemOf(BsplineBasis::uniform(2, 0, 1, 1), {.1, .3, .5, .7, .9},
                               {1, 3, 2, 5, 4}, {{.7, 0, {0}}});
    for (const double weight : {1e4, 1e8, 1e10, 1e12, 1e16}) {
        SCOPED_TRACE(weight);
        p.weights = {1, 1, 1, weight, 1};
        expectRight(p);
        CurveProblem free = p;
        free.constraints.clear();
        expectRight(free);
    }
}

/// The error of one step is in proportion to the residuals and the condition squared.
TEST(CurveBeliefTest, LargeResidualsOfAnIllConditionedFitDoNotSpoilIt)
{
    for (const double gap : {1e-2, 1e-3, 1e-4, 1e-5, 1e-6}) {
        SCOPED_TRACE(gap);
        CurveProblem p = problemOf(BsplineBasis::uniform(1, 0, 1, 2),
                                   {0.1, 0.2, 0.3, 0.4, 0.5, 0.5 + gap, 0.5 + 2 * gap},
                                   {1e3, -1e3, 2e3, 1e3, -1e3, 1, 2});
        expectRight(p, 1e-11);
    }
}

/// Both sides come close to singular at once; whatever stands has to be right.
TEST(CurveBeliefTest, HardConstraintsOnHardDataAreRefusedOrRight)
{
    int answered = 0;
    int refused = 0;
    for (int a = 2; a < 48; a += 3)
        for (int b = 0; b < 30; b += 3) {
            CurveProblem p;
            p.basis = BsplineBasis::uniform(3, 0, 8, 8);
            for (int i = 0; i <= 35; ++i) {
                p.parameters.push_back(i / 5.0);
                p.points.push_back(std::cos(3.0 * i));
            }
            p.parameters.push_back(7 + std::ldexp(0.5, -b));
            p.points.push_back(0.25);
            p.constraints = {{2.5, 0, {1}},
                             {2.5 + std::ldexp(0.5, -a), 0, {1 + std::ldexp(1.0, -a)}}};
            const Judgement judgement = judged(p);
            EXPECT_FALSE(judgement.answeredUndetermined() || judgement.wrong())
                << a << ", " << b << ": " << judgement.deviation.overall;
            ++(fitOf(p).fits() ? answered : refused);
        }
    EXPECT_GT(answered, 48);
    EXPECT_GT(refused, 48);
}

/// Steps that were summed up end beyond the range by rounding.
TEST(CurveBeliefTest, ParametersJustBeyondTheKnotsAreTheEnds)
{
    const BsplineBasis basis = BsplineBasis::uniform(1, 0.0, 1.0, 1);
    for (unsigned n = 3; n < 2000; ++n) {
        const DoubleVec t(n, 0.0, 1.0 / (n - 1));
        const TtupleVector points(1, t);
        ASSERT_TRUE(knotwork::fitCurve(points, t, basis).fits()) << n;
    }
    CurveProblem p =
        problemOf(BsplineBasis::uniform(1, 0, 1, 1), {0, 0.5, 1}, {0, 1, 3}, {{1, 0, {2}}});
    constexpr double kEps = 0x1p-52;
    const CurveProblem exact = p;
    p.parameters[2] = 1 + 3 * kEps;
    p.constraints[0].parameter = 1 + 4 * kEps;
    EXPECT_EQ(fitOf(p).controlPoints, fitOf(exact).controlPoints);
    p.parameters[2] = 1 + 4 * kEps;
    EXPECT_EQ(fitOf(p).report.reason, "parameter 2, 1.0000000000000009, lies outside the knots");
    p.parameters[2] = 1;
    p.constraints[0].parameter = 1 + 5 * kEps;
    EXPECT_EQ(fitOf(p).report.reason, "constraint 0, at 1.000000000000001, lies outside the knots");
}

/// Between data of size 100 a constraint asks for 1e21: the curve has control points of that size,
/// and what is left of the data is what is left of sums of such numbers. And a curve through all
/// its data leaves what rounding its control points leaves.
TEST(CurveBeliefTest, FiguresAreTrueWhereNumbersCancel)
{
    CurveProblem p;
    p.basis = BsplineBasis::uniform(3, 0, 3, 3);
    for (int i = 0; i <= 60; ++i) {
        p.parameters.push_back(i / 20.0);
        p.points.push_back(i % 2 == 0 ? 100.0 : -20.0);
    }
    for (const double huge : {1e3, 1e15, 1e21}) {
        SCOPED_TRACE(huge);
        p.constraints = {{0, 0, {0}}, {0, 1, {huge}}, {0, 2, {0}}, {1, 0, {huge}}, {3, 0, {1}}};
        const FittedCurve curve = fitOf(p);
        ASSERT_TRUE(curve.fits()) << curve.report.reason;
        const double rms = residualsOf(p, curve.controlPoints).rms;
        EXPECT_NEAR(curve.report.rms, rms, 1e-9 * rms);
    }

    const CurveProblem through =
        problemOf(BsplineBasis::uniform(3, 0, 1, 4), {0, .1, .3, .4, .6, .8, 1},
                  {.1, .7, .3, .9, .2, .4, .6});
    const FittedCurve curve = fitOf(through);
    const double rms = residualsOf(through, curve.controlPoints).rms;
    EXPECT_GT(rms, 0.0);
    EXPECT_LT(rms, 1e-15);
    EXPECT_NEAR(curve.report.rms, rms, 1e-9 * rms);
}

/// Each judgement at its threshold: what fits leave of constraints, and what a zero may move.
TEST(CurveBeliefTest, MetIsSaidUpToRoundingOnly)
{
    Dice dice(72);
    FitProblem p = noisyProblem(3, 5, 1, dice);
    CurveFitOptions options;
    options.method = FitMethod::kQr;
    const double value = p.fit().at(0.4)[0];
    const auto verdictAt = [&](double off) {
        p.constraints = {{0.4, 0, {value + off}}};
        return p.fit(options).report.verdict;
    };
    EXPECT_EQ(verdictAt(0.0), FitVerdict::kMet);
    EXPECT_EQ(verdictAt(1e-11), FitVerdict::kMet);
    EXPECT_EQ(verdictAt(1e-9), FitVerdict::kCompromise);
    EXPECT_EQ(verdictAt(-1e-3), FitVerdict::kCompromise);
}
