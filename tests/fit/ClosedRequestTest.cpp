// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cstring>

#include "knotwork/fit/ClosedSamples.h"
#include "knotwork/fit/CurveFit.h"
#include "knotwork/fit/Refine.h"
#include "tests/fit/Problems.h"

namespace {

using knotwork::BsplineBasis;
using knotwork::ClosedSamples;
using knotwork::CurveAccumulator;
using knotwork::CurveConstraint;
using knotwork::FittedCurve;
using knotwork::FitVerdict;
using knotwork::Parameterisation;
using namespace knotwork_test;
using Bytes = std::vector<unsigned char>;

FitProblem ellipse(const BsplineBasis& basis, int samples)
{
    FitProblem p;
    p.dimension = 2;
    p.basis = basis;
    for (int i = 0; i < samples; ++i) {
        const double share = (i + 0.25) / samples;
        p.parameters.push_back(basis.first() + share * basis.period());
        p.points.push_back(2.0 * std::cos(6.283185307179586 * share));
        p.points.push_back(std::sin(6.283185307179586 * share));
    }
    return p;
}

struct ConstraintCase {
    const char* name;
    std::vector<CurveConstraint> constraints;
    int equations;       // 0: refused
    const char* reason;  // a part of it
    double first = 0.0;
    double period = 1.0;
    int spans = 12;
    friend void PrintTo(const ConstraintCase& c, std::ostream* os) { *os << c.name; }
};

const Numbers kHere{0.5, -1.5};
const Numbers kThere{0.5, -1.25};

class ClosedConstraintTest : public testing::TestWithParam<ConstraintCase> {};

TEST_P(ClosedConstraintTest, CountsEachEquationOnce)
{
    const ConstraintCase& c = GetParam();
    FitProblem p =
        ellipse(BsplineBasis::periodicUniform(3, c.first, c.first + c.period, c.spans), 50);
    p.constraints = c.constraints;
    const FittedCurve curve = p.fit();
    if (c.equations == 0) {
        EXPECT_EQ(curve.report.verdict, FitVerdict::kDependentConstraints);
        EXPECT_THAT(curve.report.reason, HasSubstr(c.reason));
        return;
    }
    ASSERT_EQ(curve.report.verdict, FitVerdict::kMet) << curve.report.reason;
    EXPECT_EQ(curve.report.constraints, c.equations);
    for (const CurveConstraint& asked : c.constraints) {
        const Numbers found = curve.at(asked.parameter, asked.derivative);
        const double size = std::pow(c.spans / c.period, asked.derivative) * 3.0;
        for (std::size_t k = 0; k < found.size(); ++k)
            EXPECT_NEAR(found[k], asked.value[k], 1e-9 * size);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Constraints, ClosedConstraintTest,
    testing::Values(
        ConstraintCase{"AtAndAPeriodLater", {{0.3, 0, kHere}, {1.3, 0, kHere}}, 1, ""},
        ConstraintCase{
            "ManyPeriodsAway", {{0.3, 1, kHere}, {-6.7, 1, kHere}, {9.3, 1, kHere}}, 1, ""},
        ConstraintCase{"SeamFromBothEnds", {{0.0, 0, kHere}, {1.0, 0, kHere}}, 1, ""},
        ConstraintCase{"SeamGivenAsItsEnd", {{1.0, 0, kHere}}, 1, ""},
        ConstraintCase{"SeamGivenAsItsStart", {{0.0, 0, kHere}}, 1, ""},
        ConstraintCase{
            "FarFromZero", {{1e6 + 0.1, 0, kHere}, {1e6 + 0.1 + 0.3, 0, kHere}}, 1, "", 1e6, 0.3},
        ConstraintCase{"SeamFarFromZero",
                       {{1e6, 0, kHere}, {1e6 + 0.3, 0, kHere}, {1e6 - 0.3, 0, kHere}},
                       1,
                       "",
                       1e6,
                       0.3},
        ConstraintCase{"EitherSideOfTheSeam",
                       {{1e6 + 0.3 - 5e-10, 3, kHere}, {1e6, 3, kThere}},
                       2,
                       "",
                       1e6,
                       0.3},
        ConstraintCase{"AllDerivatives",
                       {{0.4, 0, kHere}, {0.4, 1, kHere}, {0.4, 2, kThere}, {0.4, 3, kThere}},
                       4,
                       ""},
        ConstraintCase{"DerivativesAcrossTheSeam",
                       {{1.0, 0, kHere}, {0.0, 1, kHere}, {1.0, 2, kThere}, {0.0, 3, kHere}},
                       4,
                       ""},
        ConstraintCase{"OthersAPeriodLater",
                       {{0.7, 0, kHere}, {0.3, 0, kHere}, {1.3, 0, kThere}},
                       0,
                       "constraints 1 to 2"},
        ConstraintCase{
            "OthersAtTheSeam", {{1.0, 0, kHere}, {0.0, 0, kThere}}, 0, "constraints 0 to 1"},
        ConstraintCase{
            "TwiceAtOnePlace", {{0.3, 0, kHere}, {0.3, 0, kHere}}, 0, "constraints 0 to 1"},
        ConstraintCase{"SlopeOfAPoint", {{0.3, 1, kHere}}, 0, "constraint 0", 0.0, 1.0, 1},
        ConstraintCase{"SlopeWhereTwoFunctionsCancel",
                       {{0.1, 0, kHere}, {0.5, 1, kHere}},
                       0,
                       "constraint 1",
                       0.0,
                       1.0,
                       2}),
    CaseName());

TEST(ClosedAccumulatorTest, PartsAndBytesGiveTheWholesFit)
{
    Dice dice(20270411);
    for (int round = 0; round < 100; ++round) {
        SCOPED_TRACE(round);
        const int n = 1 + round % 12;
        // Some knots that rounding brings to a power of two.
        const double last = round % 5 == 0 ? 1.0 - 0x1p-53 : 0.1 + dice.unit();
        FitProblem p = ellipse(BsplineBasis::periodicUniform(1 + round % 5, 0.0, last, n), 8 * n);
        for (double& x : p.points) x += 0.1 * dice.unit();
        if (n > 3) p.constraints = {{last, 0, {1.0, 0.5}}, {0.0, 0, {1.0, 0.5}}};
        const FittedCurve whole = p.fit();
        ASSERT_TRUE(whole.fits()) << whole.report.reason;
        std::vector<CurveAccumulator> parts(3, CurveAccumulator(p.basis, 2));
        for (std::size_t i = 0; i < p.parameters.size(); ++i) {
            const double turns = std::floor(3.0 * dice.unit());
            const double t = p.parameters[i] + turns * p.basis.period();
            ASSERT_EQ(parts[dice.below(3)].add({1, &t, &p.points[2 * i]}), "");
        }
        CurveAccumulator read(BsplineBasis::uniform(3, 0.0, 1.0, 1), 1);
        ASSERT_EQ(read.read(parts[0].bytes()), "");
        EXPECT_EQ(read.basis(), p.basis);
        EXPECT_EQ(read.bytes(), parts[0].bytes());
        ASSERT_EQ(read.merge(parts[1]), "");
        ASSERT_EQ(read.merge(parts[2]), "");
        const FittedCurve merged = fitCurve(read, p.constraints);
        ASSERT_TRUE(merged.fits()) << merged.report.reason;
        EXPECT_LE(knotwork_test::deviation(merged.controlPoints, whole.controlPoints, 2), 1e-11);
    }
}

/// With the checksum of what the bytes are now (FNV-1a).
Bytes signedAnew(Bytes bytes)
{
    std::uint64_t sum = 0xCBF29CE484222325U;
    for (std::size_t i = 0; i + 8 < bytes.size(); ++i) sum = (sum ^ bytes[i]) * 0x100000001B3U;
    for (std::size_t i = 0; i < 8; ++i)
        bytes[bytes.size() - 8 + i] = static_cast<unsigned char>(sum >> 8 * i);
    return bytes;
}

TEST(ClosedAccumulatorTest, KnotsThatDoNotRepeatAreRefused)
{
    const auto basis = BsplineBasis::periodicUniform(3, 0.0, 1.0, 4);
    const Bytes good = CurveAccumulator(basis, 1).bytes();
    CurveAccumulator read(basis, 1);
    ASSERT_EQ(read.read(signedAnew(good)), "");
    for (std::size_t knot = 0; knot < basis.knots().size(); ++knot)
        for (const double change : {1e-3, -0x1p-50, 0x1p-50}) {
            SCOPED_TRACE(testing::Message() << knot << " by " << change);
            Bytes altered = good;
            const double moved = basis.knots()[knot] + change;
            std::memcpy(altered.data() + 8 * (5 + knot), &moved, sizeof moved);
            EXPECT_NE(read.read(signedAnew(altered)), "");
            EXPECT_EQ(read.basis(), basis);
        }
}

TEST(ClosedAccumulatorTest, OpenAndClosedDoNotMerge)
{
    const auto closed = BsplineBasis::periodicUniform(3, 0.0, 1.0, 4);
    CurveAccumulator ofClosed(closed, 1);
    CurveAccumulator ofOpen(BsplineBasis(3, closed.knots()), 1);  // of the same knots
    EXPECT_NE(ofClosed.merge(ofOpen), "");
    EXPECT_NE(ofOpen.merge(ofClosed), "");
}

TEST(ClosedRequestTest, WhatIsNoPeriodMakesNoBasis)
{
    const Numbers lists[] = {{},
                             {1.0},
                             {1.0, 0.0},
                             {1.0, 0.5, 0.0},
                             {0.0, 0.0},
                             {2.0, 2.0, 2.0},
                             {0.0, 0.7, 0.3, 1.0},
                             {0.0, 1.5, 1.0},
                             {-0.5, 0.0, -0.7, 1.0},
                             {kNaN, 0.5, 1.0},
                             {0.0, kNaN, 1.0},
                             {0.0, 0.5, kNaN},
                             {-kInf, 0.0, 1.0},
                             {0.0, kInf},
                             {-1.7e308, 0.0, 1.7e308},
                             {0.0, 0.0, 0.0, 0.5, 1.0, 1.0, 1.0},
                             {0.0, 0.5, 0.5, 0.5, 0.5, 1.0}};
    for (const Numbers& breaks : lists) {
        SCOPED_TRACE(testing::PrintToString(breaks));
        const auto basis = BsplineBasis::periodic(3, breaks);
        EXPECT_FALSE(basis.valid());
        FitProblem p = ellipse(BsplineBasis::uniform(3, 0.0, 1.0, 4), 30);
        p.basis = basis;
        EXPECT_EQ(p.fit().report.verdict, FitVerdict::kBadInput);
        EXPECT_NE(CurveAccumulator(basis, 2).add({1, p.parameters.data(), p.points.data()}), "");
    }
    for (const int degree : {-1, 0, BsplineBasis::kMostDegree + 1})
        EXPECT_FALSE(BsplineBasis::periodicUniform(degree, 0.0, 1.0, 5).valid());
    EXPECT_FALSE(BsplineBasis::periodicUniform(3, 1.0, 0.0, 5).valid());
    EXPECT_FALSE(BsplineBasis::periodicUniform(3, 1.0, 1.0, 5).valid());
    EXPECT_FALSE(BsplineBasis::periodicUniform(3, 0.0, kNaN, 5).valid());

    // Knots that would make none are not put in.
    FittedCurve curve = ellipse(BsplineBasis::periodicUniform(2, 0.0, 1.0, 4), 30).fit();
    const FittedCurve before = curve;
    for (const Numbers& knots : {Numbers{0.0}, {1.0}, {1.1}, {kNaN}, {0.25, 0.25}, {0.3, -0.1}}) {
        EXPECT_FALSE(refine(curve, knots));
        EXPECT_EQ(curve.basis, before.basis);
        EXPECT_EQ(curve.controlPoints, before.controlPoints);
    }
}

TEST(ClosedRequestTest, BadRequestsAreRefusedWithAReason)
{
    const FitProblem good = ellipse(BsplineBasis::periodicUniform(3, 0.0, 1.0, 6), 30);
    ASSERT_TRUE(good.fit().fits());
    const auto reasonFor = [](const FitProblem& p, const knotwork::CurveFitOptions& options = {}) {
        const FittedCurve curve = p.fit(options);
        EXPECT_EQ(curve.report.verdict, FitVerdict::kBadInput);
        EXPECT_TRUE(curve.controlPoints.empty());
        return curve.report.reason;
    };
    for (const double t : {kNaN, kInf, -kInf}) {
        FitProblem p = good;
        p.parameters[7] = t;
        EXPECT_THAT(reasonFor(p), HasSubstr("parameter 7"));
        p = good;
        p.constraints = {{0.1, 0, {0.0, 0.0}}, {t, 0, {0.0, 0.0}}};
        EXPECT_THAT(reasonFor(p), HasSubstr("constraint 1"));
    }
    FitProblem p = good;
    p.constraints = {{0.1, 4, {0.0, 0.0}}};
    EXPECT_THAT(reasonFor(p), HasSubstr("derivative"));
    knotwork::CurveFitOptions fitted;
    fitted.method = knotwork::FitMethod::kQr;
    EXPECT_THAT(reasonFor(good, fitted), HasSubstr("closed"));
    for (const double t : {kNaN, kInf}) EXPECT_TRUE(std::isnan(good.fit().at(t)[0]));
}

struct SamplesCase {
    const char* name;
    Numbers points;  // in the plane
    int parameters;  // 0: none
    double period;
    bool repeated;
    friend void PrintTo(const SamplesCase& c, std::ostream* os) { *os << c.name; }
};

class ClosedSamplesTest : public testing::TestWithParam<SamplesCase> {};

TEST_P(ClosedSamplesTest, SpreadsThoseThatMakeALoop)
{
    const SamplesCase& c = GetParam();
    const TtupleVector points(2, static_cast<int>(c.points.size() / 2), c.points.data());
    const ClosedSamples samples = closedSamples(points, Parameterisation::kChord);
    ASSERT_EQ(samples.parameters.length(), static_cast<unsigned>(c.parameters));
    if (c.parameters == 0) return;
    EXPECT_EQ(samples.period, c.period);
    EXPECT_EQ(samples.repeated, c.repeated);
    ASSERT_EQ(samples.points.points(), c.parameters);
    EXPECT_EQ(samples.parameters(0), 0.0);
    EXPECT_LT(samples.parameters(c.parameters - 1), samples.period);
}

INSTANTIATE_TEST_SUITE_P(
    Points, ClosedSamplesTest,
    testing::Values(SamplesCase{"None", {}, 0, 0.0, false},
                    SamplesCase{"One", {1.0, 2.0}, 0, 0.0, false},
                    SamplesCase{"Two", {1.0, 2.0, 3.0, 4.0}, 2, 1.0, false},
                    SamplesCase{"OneTwice", {1.0, 2.0, 1.0, 2.0}, 0, 0.0, true},
                    SamplesCase{"ThereAndBack", {1.0, 2.0, 3.0, 4.0, 1.0, 2.0}, 2, 1.0, true},
                    SamplesCase{"Square", {0, 0, 1, 0, 1, 1, 0, 1}, 4, 1.0, false},
                    SamplesCase{"SquareRepeated", {0, 0, 1, 0, 1, 1, 0, 1, 0, 0}, 4, 1.0, true},
                    SamplesCase{"AllEqual", {1, 1, 1, 1, 1, 1, 1, 1}, 0, 0.0, true},
                    SamplesCase{"NotANumber", {0, 0, kNaN, 0, 1, 1}, 0, 0.0, false},
                    SamplesCase{"NotANumberLast", {0, 0, 1, 0, 1, kNaN}, 0, 0.0, false},
                    SamplesCase{"Infinite", {0, 0, kInf, 0, 1, 1}, 0, 0.0, false},
                    SamplesCase{
                        "Huge", {0, 0, 1.7e308, 0, 1.7e308, 1.7e308, 0, 1.7e308}, 4, 1.0, false}),
    CaseName());

TEST(ClosedSamplesTest, GivenParametersNeedAPeriodThatHoldsThem)
{
    const Numbers loop{0, 0, 1, 0, 1, 1, 0, 1, 0, 0};
    const TtupleVector repeated(2, 5, loop.data());
    const TtupleVector open(2, 4, loop.data());
    const auto of = [](const TtupleVector& points, const Numbers& t, double period) {
        return closedSamples(points, DoubleVec(t.data(), static_cast<unsigned>(t.size())), period)
            .parameters.length();
    };
    EXPECT_EQ(of(repeated, {0, 1, 2, 3, 4}, 0.0), 4u);
    EXPECT_EQ(of(repeated, {0, 1, 2, 3, 4}, 4.0), 4u);
    EXPECT_EQ(of(repeated, {0, 1, 2, 3, 4}, 6.0), 5u);  // two visits
    EXPECT_EQ(of(open, {0, 1, 2, 3}, 4.0), 4u);
    EXPECT_EQ(of(open, {3, 1, 2, 0}, 4.0), 4u);
    EXPECT_EQ(of(open, {0, 1, 2, 3}, 0.0), 0u);
    EXPECT_EQ(of(open, {0, 1, 2, 3}, 2.5), 0u);
    EXPECT_EQ(of(open, {0, 1, 2}, 4.0), 0u);
    for (const double period : {-4.0, kNaN, kInf}) EXPECT_EQ(of(open, {0, 1, 2, 3}, period), 0u);
    for (std::size_t i = 0; i < 4; ++i) {
        Numbers t{0, 1, 2, 3};
        t[i] = kNaN;
        EXPECT_EQ(of(open, t, 4.0), 0u) << i;
    }
    EXPECT_EQ(of(TtupleVector(2, 0, loop.data()), {}, 1.0), 0u);
    const DoubleVec weights(3, 1.0);  // one too few
    EXPECT_EQ(closedSamples(open, Parameterisation::kChord, weights).parameters.length(), 0u);
    const DoubleVec parameters(Numbers{0, 1, 2, 3}.data(), 4);
    EXPECT_EQ(closedSamples(open, parameters, 4.0, weights).parameters.length(), 0u);
}

}  // namespace
