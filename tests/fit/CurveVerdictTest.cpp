// SPDX-License-Identifier: MIT
#include <sys/resource.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>

#include "tests/fit/Problems.h"
#include "tests/support/Testing.h"

namespace {

using namespace knotwork;
using namespace knotwork_test;

constexpr double kRight = 1e-7;  // what a fit that stands may be off, of the largest control point

/// Cubic, 8 spans over [0, 8], five points a span.
FitProblem plainProblem()
{
    FitProblem p;
    p.basis = BsplineBasis::uniform(3, 0.0, 8.0, 8);
    for (int i = 0; i <= 40; ++i) {
        p.parameters.push_back(i / 5.0);
        p.points.push_back(std::cos(i / 5.0));
    }
    return p;
}

void keepData(FitProblem& p, const std::function<bool(double)>& wanted)
{
    FitProblem kept = p;
    kept.parameters.clear();
    kept.points.clear();
    for (std::size_t i = 0; i < p.parameters.size(); ++i) {
        if (!wanted(p.parameters[i])) continue;
        kept.parameters.push_back(p.parameters[i]);
        kept.points.push_back(p.points[i]);
    }
    p = kept;
}

using Change = std::function<void(FitProblem& p)>;

Change constrained(std::vector<CurveConstraint> constraints)
{
    return [=](FitProblem& p) { p.constraints = constraints; };
}

/// Constraints i * step from i = first on.
Change spreadConstraints(int first, int count, double step)
{
    std::vector<CurveConstraint> constraints;
    for (int i = first; i < first + count; ++i) constraints.push_back({i * step, 0, {1}});
    return constrained(constraints);
}

/// Data where wanted, and constraints.
Change kept(bool (*wanted)(double t), const std::vector<CurveConstraint>& constraints = {})
{
    return [=](FitProblem& p) { keepData(p, wanted), p.constraints = constraints; };
}

struct VerdictCase {
    const char* name;
    Change change;
    FitVerdict verdict;
    const char* reason;
};

constexpr auto kFitted = FitVerdict::kFitted;
constexpr auto kMet = FitVerdict::kMet;
constexpr auto kDependent = FitVerdict::kDependentConstraints;
constexpr auto kUndetermined = FitVerdict::kUndetermined;
constexpr auto kBad = FitVerdict::kBadInput;

const VerdictCase kVerdictCases[] = {
    {"Plain", constrained({}), kFitted, ""},
    {"DoubledConstraint", constrained({{2, 0, {1}}, {2, 0, {1}}}), kDependent,
     "the constraints depend on each other: constraints 0 to 1, which repeat each other"},
    {"ContradictingConstraints", constrained({{3, 0, {1}}, {2, 1, {1}}, {5, 0, {1}}, {2, 1, {2}}}),
     kDependent,
     "the constraints depend on each other: constraints 1 and 3, which contradict each "
     "other by 1"},
    {"FiveConstraintsOnACubic", spreadConstraints(1, 5, 1 / 6.0), kDependent,
     "the constraints depend on each other: constraints 0 to 4, which repeat each other"},
    {"MoreConstraintsThanUnknowns", spreadConstraints(0, 12, 1 / 1.5), kDependent,
     "the constraints depend on each other: constraints 0 to 9, which repeat each other"},
    {"AsManyConstraintsAsUnknowns", spreadConstraints(0, 11, 1 / 1.25), kMet, ""},
    {"GapOverThreeSpans", kept([](double t) { return t < 5 || t == 8; }), kUndetermined,
     "spans 5 to 6 hold no data, which smoothing may make up for"},
    {"GapAtTheEnd", kept([](double t) { return t < 5; }), kUndetermined,
     "spans 5 to 7 hold no data, which smoothing may make up for"},
    {"TwoGaps", kept([](double t) { return (t >= 1 && t < 2) || t >= 7; }, {{4, 0, {0}}}),
     kUndetermined, "spans 0 and 2 to 6 hold no data, which smoothing may make up for"},
    {"OneEmptySpanIsBridged", kept([](double t) { return t < 3 || t >= 4; }), kFitted, ""},
    {"GapFilledByConstraints",
     kept([](double t) { return t < 5; }, {{8, 0, {1}}, {8, 1, {0}}, {7, 0, {2}}, {6, 0, {2}}}),
     kMet, ""},
    {"TooFewData", kept([](double t) { return t < 2; }), kUndetermined,
     "11 unknowns are more than 10 equations can fix, which smoothing may make up for"},
    {"AllDataAtOneParameter", [](FitProblem& p) { p.parameters.assign(p.parameters.size(), 4.0); },
     kUndetermined, "spans 0 to 3 and 5 to 7 hold no data, which smoothing may make up for"},
    {"ParametersRepeat",
     [](FitProblem& p) {
         for (double& t : p.parameters) t = std::floor(t);
     },
     kUndetermined,
     "the data do not fix control points 8 to 9 of 11, which smoothing may make up for"},
    {"NoPoints", [](FitProblem& p) { p.points.clear(), p.parameters.clear(); }, kBad,
     "there are no points"},
    {"NoBasis", [](FitProblem& p) { p.basis = BsplineBasis(); }, kBad,
     "degree and knots do not make a basis"},
    {"PointNaN", [](FitProblem& p) { p.points[3] = kNaN; }, kBad,
     "a coordinate of point 3 is no finite number"},
    {"ParameterInfinite", [](FitProblem& p) { p.parameters[3] = kInf; }, kBad,
     "parameter 3 is no finite number"},
    {"ParameterOutside", [](FitProblem& p) { p.parameters[3] = 8.0625; }, kBad,
     "parameter 3, 8.0625, lies outside the knots"},
    {"ConstraintOutside", constrained({{-0.5, 0, {1}}}), kBad,
     "constraint 0, at -0.5, lies outside the knots"},
    {"ConstraintAtNaN", constrained({{kNaN, 0, {1}}}), kBad,
     "constraint 0, at nan, lies outside the knots"},
    {"ConstraintDimension", constrained({{1, 0, {1, 2}}}), kBad,
     "constraint 0 needs one number a coordinate"},
    {"ConstraintValueNaN", constrained({{1, 0, {kNaN}}}), kBad,
     "the value of constraint 0 is no finite number"},
    {"ConstraintValueOverflowsInParameterUnits", constrained({{1, 1, {1e308}}}), kBad,
     "a constraint's value leaves the range of numbers"},
    {"ConstraintDerivative", constrained({{1, 4, {1}}}), kBad,
     "constraint 0 asks for a derivative that the degree does not have"},
    {"ConstraintDerivativeNegative", constrained({{1, -1, {1}}}), kBad,
     "constraint 0 asks for a derivative that the degree does not have"}};

}  // namespace

TEST(CurveVerdictTest, SaysWhyThereIsNoCurve)
{
    for (const VerdictCase& c : kVerdictCases) {
        SCOPED_TRACE(c.name);
        FitProblem p = plainProblem();
        c.change(p);
        const FittedCurve curve = p.fit();
        EXPECT_EQ(curve.report.verdict, c.verdict);
        EXPECT_EQ(curve.report.reason, c.reason);
        EXPECT_EQ(curve.met(), c.verdict == FitVerdict::kMet);
        EXPECT_EQ(curve.fits(), c.reason == std::string());
        EXPECT_EQ(curve.controlPoints.empty(), !curve.fits());
        EXPECT_EQ(curve.at(1.0).empty(), !curve.fits());
    }
}

TEST(CurveVerdictTest, BadZeroAndBadCountsAreBadInput)
{
    const FitProblem p = plainProblem();
    for (const double zero : {std::nan(""), -1.0, 1.5, double{INFINITY}}) {
        CurveFitOptions options;
        options.zero = zero;
        EXPECT_EQ(p.fit(options).report.verdict, FitVerdict::kBadInput) << zero;
    }
    const FittedCurve curve =
        knotwork::fitCurve(TtupleVector(1, 3, p.points.data()), DoubleVec(2, 0.0), p.basis);
    EXPECT_EQ(curve.report.reason, "there must be one parameter a point");
}

/// A fit takes bands however many unknowns it has; a solver that is to take small numbers for zero
/// takes a matrix, with as many entries as an array can count.
TEST(CurveVerdictTest, OnlyWhatTheSolverIsAskedIsLimitedByTheArraysCounts)
{
    FitProblem p;
    for (int i = 0; i <= 70000; ++i) p.parameters.push_back(i);
    p.points.assign(p.parameters.size(), 1.0);
    p.basis = BsplineBasis::uniform(3, 0.0, 70000.0, 66000);
    EXPECT_EQ(p.fit().report.verdict, FitVerdict::kFitted);
    CurveFitOptions options;
    options.zero = 1e-12;
    const FittedCurve curve = p.fit(options);
    EXPECT_EQ(curve.report.verdict, FitVerdict::kTooLarge);
    EXPECT_EQ(curve.report.reason, "the system does not fit into memory");
}

#ifndef KNOTWORK_SANITIZED  // sanitizers need address space of their own
namespace {

/// Fits within so many bytes more than are in use, and ends the process: 0 for a fit or a refusal.
[[noreturn]] void fitWithin(std::size_t bytes, const FitProblem& p)
{
    std::size_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    const rlim_t most = pages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE)) + bytes;
    const rlimit limit = {most, most};
    setrlimit(RLIMIT_AS, &limit);
    const int n = static_cast<int>(p.parameters.size());
    const TtupleVector points(p.dimension, n, p.points.data());
    const DoubleVec t(p.parameters.data(), static_cast<unsigned>(n));
    const FitVerdict verdict = knotwork::fitCurve(points, t, p.basis, p.constraints).report.verdict;
    std::_Exit(verdict == FitVerdict::kMet || verdict == FitVerdict::kTooLarge ? 0 : 1);
}

}  // namespace

TEST(CurveVerdictDeathTest, LackOfMemoryIsAVerdictNotAnEnd)
{
    FitProblem p;
    p.dimension = 100;
    p.basis = BsplineBasis::uniform(3, 0.0, 1.0, 100);
    for (int i = 0; i <= 3000; ++i) p.parameters.push_back(i / 3000.0);
    p.points.assign(3001 * 100, 1.0);
    for (int i = 0; i < 50; ++i) p.constraints.push_back({i / 50.0, 0, Numbers(100, 1.0)});
    for (std::size_t bytes = 6000000; bytes < 40000000; bytes += bytes / 10)
        EXPECT_EXIT(fitWithin(bytes, p), testing::ExitedWithCode(0), "") << bytes;
}
#endif

namespace {

/// Counts the fits of a sweep that stand, which must be right, and those that are refused.
class Sweep {
  public:
    FittedCurve fit(const FitProblem& p, const CurveFitOptions& options = {})
    {
        const FittedCurve curve = p.fit(options);
        ++(curve.fits() ? met_ : refused_);
        if (!curve.fits()) return curve;
        EXPECT_LE(deviationFromReference(p, curve), kRight) << "fit " << met_;
        return curve;
    }
    ~Sweep()
    {
        EXPECT_GT(met_, 5);
        EXPECT_GT(refused_, 5);
    }

  private:
    int met_ = 0;
    int refused_ = 0;
};

/// What is left of the data reaches under the last basis function by 2^-k.
FitProblem hardlyDetermined(int k)
{
    FitProblem p = plainProblem();
    keepData(p, [](double t) { return t <= 7; });
    p.parameters.push_back(7 + std::ldexp(0.5, -k));
    p.points.push_back(0.25);
    return p;
}

}  // namespace

TEST(CurveVerdictTest, NearlyUndeterminedIsRefusedOrRight)
{
    Sweep sweep;
    for (int k = 0; k < 50; ++k) sweep.fit(hardlyDetermined(k));
}

TEST(CurveVerdictTest, NearlyEqualConstraintsAreRefusedOrRight)
{
    Sweep sweep;
    for (int k = 0; k < 50; ++k) {
        FitProblem p = plainProblem();
        p.constraints = {{2.5, 0, {1}}, {2.5 + std::ldexp(0.5, -k), 0, {1 + std::ldexp(1.0, -k)}}};
        EXPECT_LE(sweep.fit(p).report.constraintResidual, 1e-13) << k;
    }
}

/// The solver skips what is below its tolerance; a fit that passes must not be the worse for it.
TEST(CurveVerdictTest, ARaisedZeroNeverSpoilsAFitThatStands)
{
    knotwork_measures::Dice dice(20270115);
    Sweep sweep;
    for (int round = 0; round < 200; ++round) {
        FitProblem p = noisyProblem(1 + round % 4, 3 + round % 5, 2, dice);
        addConstraints(p, round % 3, dice);
        CurveFitOptions options;
        options.zero = std::pow(10.0, -12.0 + 12.0 * dice.unit());
        EXPECT_EQ(sweep.fit(p, options).report.zero, options.zero);
    }
}

/// The residuals of these data are nearly, not quite, orthogonal to every straight line, and they
/// vanish where the solver has its pivots: a coarse zero skips what the line is made of, and
/// a second pass with the same solver finds nothing to mend.
TEST(CurveVerdictTest, ACoarseZeroCannotHideBehindLargeResiduals)
{
    FitProblem p;
    p.basis = BsplineBasis::uniform(1, 0.0, 1.0, 1);
    for (int i = 0; i < 14; ++i) {
        p.parameters.push_back(i / 13.0);
        p.points.push_back(i < 12 ? (i % 3 == 1 ? -2.0 : 1.0) + 0.002 * i / 13.0 : 0.0);
    }
    const FittedCurve strict = p.fit();
    ASSERT_TRUE(strict.fits());
    EXPECT_LE(deviationFromReference(p, strict), 1e-12);
    CurveFitOptions options;
    options.zero = 0.5;
    const FittedCurve coarse = p.fit(options);
    EXPECT_EQ(coarse.report.verdict, FitVerdict::kInaccurate);
    EXPECT_EQ(coarse.report.reason, "what counts as zero is too coarse for this system");
}

TEST(CurveVerdictTest, AnEstimatedCutoffIsReportedAndHonest)
{
    CurveFitOptions options;
    options.estimateCutoff = true;
    const FittedCurve plain = plainProblem().fit(options);
    EXPECT_TRUE(plain.fits());
    EXPECT_EQ(plain.report.zero, 0.0);  // no gap in its singular values

    for (int k = 0; k < 12; ++k) {
        const FittedCurve curve = hardlyDetermined(k).fit(options);
        EXPECT_GT(curve.report.zero, 1e-3);
        EXPECT_EQ(curve.report.verdict, FitVerdict::kInaccurate);
        EXPECT_EQ(curve.report.reason, "the estimated cut-off is too coarse for this system");
    }
    FitProblem gap = hardlyDetermined(0);
    gap.parameters.back() = 6.5;  // what is wrong with the data comes first
    EXPECT_EQ(gap.fit(options).report.reason,
              "the data do not fix control point 10 of 11, which smoothing may make up for");
}
