// SPDX-License-Identifier: MIT
#include <map>

#include "measures/FitOracle.h"
#include "measures/Verdicts.h"
#include "tests/fit/SurfaceProblems.h"
#include "tests/support/Testing.h"

/// Whether the verdict on a surface can be believed.
namespace {

using namespace knotwork;
using namespace knotwork_measures;
using namespace knotwork_test;

constexpr double kRight = 1e-13;  // of the largest control point

SurfaceProblem transposed(const SurfaceProblem& p)
{
    SurfaceProblem q = p;
    std::swap(q.u, q.v);
    std::swap(q.uParameters, q.vParameters);
    std::swap(q.acrossU, q.acrossV);
    const std::size_t rows = p.uParameters.size();
    const std::size_t cols = p.vParameters.size();
    const auto d = static_cast<std::size_t>(p.dimension);
    for (std::size_t i = 0; i < rows; ++i)
        for (std::size_t j = 0; j < cols; ++j)
            for (std::size_t k = 0; k < d; ++k)
                q.points[(i * cols + j) * d + k] = p.points[(j * rows + i) * d + k];
    return q;
}

}  // namespace

TEST(SurfaceBeliefTest, NearlyUndeterminedIsRefusedOrRight)
{
    std::map<FitVerdict, int> verdicts;
    for (int k = 0; k < 30; ++k)
        for (const SurfaceProblem& p : {hardlyDetermined(k), transposed(hardlyDetermined(k))}) {
            const Judgement judgement = judged(p);
            EXPECT_FALSE(judgement.wrong() || judgement.refusedGood())
                << k << ": " << judgement.reason << " " << judgement.deviation.overall;
            if (judgement.answered) {
                EXPECT_LE(judgement.deviation.overall, kRight) << k;
            }
            ++verdicts[fitOf(p).report.verdict];
        }
    EXPECT_GT(verdicts[FitVerdict::kFitted], 20);
    EXPECT_GT(verdicts[FitVerdict::kInaccurate], 0);
    EXPECT_GT(verdicts[FitVerdict::kUndetermined], 5);
}

/// Each direction is well enough off alone; the error of the first grows in the second.
TEST(SurfaceBeliefTest, ErrorsOfOneDirectionCountInTheOther)
{
    SurfaceProblem p = hardlyDetermined(7);
    p.v = p.u;
    p.vParameters = p.uParameters;
    p.points.clear();
    for (int n = 0; n < 37 * 37; ++n) p.points.push_back(std::cos(1.0 * n * n));
    const Judgement judgement = judged(p);
    ASSERT_TRUE(judgement.answered) << judgement.reason;
    EXPECT_GT(judgement.oracle.condition, 1e10);
    EXPECT_LE(judgement.deviation.overall, kRight);
}

/// Constraints that nearly depend on each other where data hardly fix the surface, in the direction
/// that is fitted first and in the other: what stands is right.
TEST(SurfaceBeliefTest, HardLinesOnHardDataAreRefusedOrRight)
{
    std::map<FitVerdict, int> verdicts;
    for (int a = 4; a < 40; a += 6)
        for (int b = 4; b < 13; b += 2)
            for (const bool first : {true, false}) {
                SurfaceProblem p = hardlyDetermined(b);
                const double near = std::ldexp(1.0, -a);
                p.acrossU = {{2.5, 0, {1, 1, 1}},
                             {2.5 + near / 2, 0, {1 + near, 1 + near, 1 + near}}};
                const Judgement judgement = judged(first ? transposed(p) : p);
                EXPECT_FALSE(judgement.answeredUndetermined() || judgement.wrong())
                    << a << ", " << b << ": " << judgement.deviation.overall;
                ++verdicts[judgement.verdict];
            }
    EXPECT_GT(verdicts[FitVerdict::kMet], 10);
    EXPECT_GT(verdicts[FitVerdict::kInaccurate], 10);
}

/// What is unmet in one number of one line only is unmet, whatever its sign.
TEST(SurfaceBeliefTest, AnUnmetLineIsNeverMet)
{
    for (const bool turned : {false, true})
        for (const int coordinate : {0, 1})
            for (const double off : {-0.5, 0.5, -1e-8, 1e-12}) {
                SCOPED_TRACE(testing::Message() << turned << coordinate << " " << off);
                SurfaceProblem p = noisySheet();
                const FittedSurface free = fitOf(p);
                ASSERT_EQ(free.report.verdict, FitVerdict::kFitted);
                LineConstraint line = {3.5, 0, {}};  // what the surface has there anyway
                for (int j = 0; j <= 6; ++j)
                    for (const double x : free.at(3.5, j)) line.values.push_back(x);
                for (std::size_t j = 0; j <= 6; ++j)
                    line.values[2 * j + static_cast<std::size_t>(coordinate)] += off;
                p.acrossU = {line};
                p.method = FitMethod::kQr;
                const FittedSurface surface = fitOf(turned ? transposed(p) : p);
                EXPECT_EQ(surface.report.verdict,
                          std::fabs(off) < 1e-11 ? FitVerdict::kMet : FitVerdict::kCompromise);
                EXPECT_NEAR(surface.report.constraintResidual, std::fabs(off),
                            0.7 * std::fabs(off));
            }
}

TEST(SurfaceBeliefTest, ParametersJustBeyondTheKnotsAreTheEnds)
{
    const SurfaceProblem exact = noisySheet();
    SurfaceProblem p = exact;
    p.uParameters[8] += 9 * 0x1p-50;  // of a range of 8, so 9 times eps of it
    p.vParameters[0] = -7 * 0x1p-51;
    p.acrossU = {{8 + 4 * 0x1p-49, 0, Numbers(14, 0.5)}};
    SurfaceProblem same = exact;
    same.acrossU = {{8, 0, Numbers(14, 0.5)}};
    ASSERT_TRUE(fitOf(p).met()) << fitOf(p).report.reason;
    EXPECT_EQ(fitOf(p).controlPoints, fitOf(same).controlPoints);
}

/// A held border of zeros leaves the inside open where it has no samples, and nearly so.
TEST(SurfaceBeliefTest, HeldControlPointsLeaveNothingOpen)
{
    std::map<FitVerdict, int> verdicts;
    for (int k = 0; k < 24; ++k) {
        const SurfaceProblem p = hardlyDetermined(k);
        IntGenMat mask(11, 2, 0);
        mask(0, 0) = 1;
        const FittedSurface surface =
            knotwork::fitSurfaceAround(gridOf(p), vectorOf(p.uParameters), vectorOf(p.vParameters),
                                       p.u, p.v, mask, TtupleMatrix(1, 11, 2, 0.5));
        ++verdicts[surface.report.verdict];
        if (!surface.fits()) continue;
        // The other column of control points is that of the free fit.
        const auto oracle = answerFor(p);
        ASSERT_TRUE(oracle.determined);
        const Numbers found(surface.controlPoints.begin() + 11, surface.controlPoints.end());
        const Numbers expected(oracle.controlPoints.begin() + 11, oracle.controlPoints.end());
        EXPECT_LE(deviationOf(found, expected, 1).overall, 1e-8) << k;
    }
    EXPECT_GT(verdicts[FitVerdict::kMet], 8);
    EXPECT_GT(verdicts[FitVerdict::kUndetermined], 4);
    EXPECT_EQ(verdicts[FitVerdict::kFitted], 0);
}

namespace {

using Change = std::function<void(SurfaceProblem& p)>;

struct FaultCase {
    const char* name;
    Change change;
    const char* reason;
};

Change acrossU(const std::vector<LineConstraint>& lines)
{
    return [=](SurfaceProblem& p) { p.acrossU = lines; };
}

Change acrossV(const std::vector<LineConstraint>& lines)
{
    return [=](SurfaceProblem& p) { p.acrossV = lines; };
}

Change weighted(const Numbers& inU, const Numbers& inV)
{
    return [=](SurfaceProblem& p) { p.uWeights = inU, p.vWeights = inV; };
}

const Numbers kAlongU(18, 0.0);
const Numbers kAlongV(14, 0.0);

const FaultCase kFaults[] = {
    {"NoSamples", [](SurfaceProblem& p) { p.uParameters.clear(), p.points.clear(); },
     "there are no points"},
    {"FewerNumbers", [](SurfaceProblem& p) { p.points.pop_back(); },
     "there are fewer numbers than points"},
    {"PointNaN", [](SurfaceProblem& p) { p.points[5] = kNaN; }, "a coordinate is no finite number"},
    {"NoBasisInU", [](SurfaceProblem& p) { p.u = BsplineBasis(); },
     "degree and knots do not make a basis in u"},
    {"NoBasisInV", [](SurfaceProblem& p) { p.v = BsplineBasis(); },
     "degree and knots do not make a basis in v"},
    {"ParameterBelow", [](SurfaceProblem& p) { p.uParameters[0] = -1e-9; },
     "parameter 0, -1e-09, lies outside the knots in u"},
    {"ParameterAbove", [](SurfaceProblem& p) { p.vParameters[6] = 6.5; },
     "parameter 6, 6.5, lies outside the knots in v"},
    {"ParameterInfinite", [](SurfaceProblem& p) { p.vParameters[2] = INFINITY; },
     "parameter 2 is no finite number in v"},
    {"TooFewWeights", weighted(Numbers(7, 1.0), {}),
     "there must be one weight a line of samples in u"},
    {"WeightNegative", weighted({1, 1, 1, -1e-300, 1, 1, 1, 1, -1}, {}),
     "weight 3 in u is negative"},
    {"WeightNaN", weighted({}, {1, 1, 1, 1, 1, 1, kNaN}), "weight 6 in v is no finite number"},
    {"WeightInfinite", weighted({}, {kInf, 1, 1, 1, 1, 1, 1}), "weight 0 in v is no finite number"},
    {"NoWeight", weighted({}, Numbers(7, 0.0)), "all weights are 0 in v"},
    {"LineBelow", acrossU({{-0.5, 0, kAlongV}}),
     "constraint 0, at -0.5, lies outside the knots in u"},
    {"LineAbove", acrossV({{6, 0, kAlongU}, {7, 0, kAlongU}}),
     "constraint 1, at 7, lies outside the knots in v"},
    {"LineDerivative", acrossV({{0, 3, kAlongU}}),
     "constraint 0 asks for a derivative that the degree does not have in v"},
    {"LineLength", acrossU({{0, 0, kAlongU}}),
     "constraint 0 in u needs a point for each sample along its line"},
    {"LineNaN", acrossV({{0, 0, Numbers(18, kNaN)}}),
     "a value of constraint 0 in v is no finite number"},
    {"LineOverflows",
     [](SurfaceProblem& p) {
         p.u = BsplineBasis::uniform(3, 0, 8e200, 3);
         p.acrossU = {{0, 1, Numbers(14, 1e200)}};
     },
     "a constraint's value leaves the range of numbers"}};

}  // namespace

TEST(SurfaceFaultTest, IsNamed)
{
    for (const FaultCase& c : kFaults) {
        SCOPED_TRACE(c.name);
        SurfaceProblem p = noisySheet();
        c.change(p);
        const FittedSurface surface = fitOf(p);
        EXPECT_EQ(surface.report.verdict, FitVerdict::kBadInput);
        EXPECT_EQ(surface.report.reason, c.reason);
        EXPECT_TRUE(surface.controlPoints.empty() && surface.surface == nullptr);
    }
}
