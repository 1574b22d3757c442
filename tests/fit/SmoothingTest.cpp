// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <fstream>

#include "tests/fit/Problems.h"
#include "tests/fit/SmoothingReference.h"

using knotwork::BsplineBasis;
using knotwork::CurveAccumulator;
using knotwork::CurveFitOptions;
using knotwork::FitMethod;
using knotwork::FittedCurve;
using knotwork::FitVerdict;
using namespace knotwork_test;

namespace {

CurveFitOptions smoothed(double lambda, int order = 0)
{
    CurveFitOptions options;
    options.smoothing = lambda;
    options.smoothingOrder = order;
    return options;
}

CurveFitOptions automatic()
{
    CurveFitOptions options;
    options.autoSmoothing = true;
    return options;
}

/// Largest distance of two curves at 101 parameters, any coordinate.
double distance(const FittedCurve& a, const FittedCurve& b)
{
    double most = 0.0;
    for (int i = 0; i <= 100; ++i) {
        const double share = i / 100.0;
        const auto at = [share](const FittedCurve& c) {
            return c.at(c.basis.first() + share * c.basis.period());
        };
        const std::vector<double> p = at(a);
        const std::vector<double> q = at(b);
        for (std::size_t k = 0; k < p.size(); ++k) most = std::max(most, std::fabs(p[k] - q[k]));
    }
    return most;
}

/// sin(12 x) with noise of deviation 0.1, at random places.
FitProblem noisySine(int count, int controlPoints, unsigned seed)
{
    constexpr double kTurn = 6.283185307179586;
    FitProblem p;
    p.basis = BsplineBasis::uniform(3, 0.0, 1.0, controlPoints - 3);
    Dice dice(seed);
    for (int i = 0; i < count; ++i) {
        p.parameters.push_back(dice.unit());
        const double noise =
            std::sqrt(-2.0 * std::log(1.0 - dice.unit())) * std::cos(kTurn * dice.unit());
        p.points.push_back(std::sin(12.0 * p.parameters.back()) + 0.1 * noise);
    }
    return p;
}

/// Speeds and stopping distances of cars, on all speeds as knots.
FitProblem cars()
{
    FitProblem p;
    std::ifstream file(KNOTWORK_EXAMPLE_DATA "/cars.csv");
    for (std::string line; std::getline(file, line);) {
        if (line[0] == '#') continue;
        p.parameters.push_back(std::stod(line));
        p.points.push_back(std::stod(line.substr(line.find(',') + 1)));
    }
    std::vector<double> speeds = p.parameters;
    speeds.erase(std::unique(speeds.begin(), speeds.end()), speeds.end());
    p.basis = BsplineBasis::clamped(3, speeds.front(), speeds.back(),
                                    std::vector<double>(speeds.begin() + 1, speeds.end() - 1));
    return p;
}

}  // namespace

// 150 problems, seed 5: degrees 1 to 5, orders up to the degree, open and closed, weights, gaps,
// more control points than data, constraints; lambdas over twelve decades.
TEST(SmoothingTest, CurvesAndFreedomAreThoseOfTheWholeEquations)
{
    Dice dice(5);
    int bridged = 0;
    for (int i = 0; i < 150; ++i) {
        SCOPED_TRACE(i);
        const SmoothedProblem p = knotwork_test::randomSmoothed(dice);
        const FittedCurve curve = p.fit();
        ASSERT_TRUE(curve.fits()) << curve.report.reason;
        const knotwork_test::SmoothedAnswer expected = p.answer();
        EXPECT_LE(knotwork_test::deviation(curve.controlPoints, expected.controlPoints,
                                           p.problem.dimension),
                  1e-9);
        EXPECT_NEAR(curve.report.effectiveDf, expected.freedom, 1e-7);
        if (!p.problem.fit(p.unsmoothed()).fits()) ++bridged;
    }
    EXPECT_GT(bridged, 30);
}

TEST(SmoothingTest, FindsWhatIsKnownOfCars)
{
    // R's smooth.spline: lambda .1112206 with points that count 1 each, df 2.635278, GCV 244.1044.
    const FitProblem p = cars();
    ASSERT_EQ(p.parameters.size(), 50U);
    const FittedCurve asked = p.fit(smoothed(0.1112206 / 50.0));
    ASSERT_TRUE(asked.fits()) << asked.report.reason;
    EXPECT_NEAR(asked.report.effectiveDf, 2.635278, 1e-4);
    EXPECT_NEAR(asked.report.gcv, 244.1044, 1e-4);

    const FittedCurve found = p.fit(automatic());
    ASSERT_TRUE(found.fits()) << found.report.reason;
    EXPECT_LE(found.report.gcv, asked.report.gcv);
    EXPECT_NEAR(found.report.gcv, 244.1044, 1e-4);
    EXPECT_NEAR(found.report.effectiveDf, 2.635278, 3e-4);  // where R's own search stops short
    EXPECT_FALSE(found.report.smoothingAtEnd);
}

TEST(SmoothingTest, LeadsFromTheFitWithoutToThePolynomial)
{
    Dice dice(8);
    for (const int order : {1, 2, 3}) {
        SCOPED_TRACE(order);
        FitProblem p = noisyProblem(3, 200, 2, dice);
        p.constraints = {{0.3, 0, {0.5, -0.5}}};
        EXPECT_LE(distance(p.fit(), p.fit(smoothed(1e-32, order))), 1e-10);
        EXPECT_LE(distance(p.fit(), p.fit(smoothed(0.0, order))), 0.0);

        FitProblem limit = p;  // a line needs a curve of degree 1: constants by a constraint
        limit.basis = BsplineBasis::uniform(std::max(order - 1, 1), 0.0, 1.0, 1);
        if (order == 1) limit.constraints.push_back({0.5, 1, {0.0, 0.0}});
        const FittedCurve polynomial = limit.fit();
        double before = 0.0;
        for (const double lambda : {1e6, 1e8, 1e10}) {
            const FittedCurve curve = p.fit(smoothed(lambda, order));
            ASSERT_TRUE(curve.fits()) << lambda << ": " << curve.report.reason;
            const double now = distance(curve, polynomial);
            if (before > 0.0 && now > 1e-12) {
                EXPECT_NEAR(before / now, 100.0, 1.0);
            }
            EXPECT_LT(now, 1.0 / lambda);
            EXPECT_NEAR(curve.report.effectiveDf, order - 1, 1e-4);
            before = now;
        }
    }
}

TEST(SmoothingTest, UnitsAndTheNumberOfDataChangeNothing)
{
    Dice dice(2);
    FitProblem p = noisyProblem(3, 40, 2, dice);
    addConstraints(p, 2, dice);
    for (const CurveFitOptions& options : {smoothed(1e-4), smoothed(1e8), automatic()}) {
        const FittedCurve curve = p.fit(options);
        ASSERT_TRUE(curve.fits()) << curve.report.reason;
        FitProblem twice = p;
        twice.parameters.insert(twice.parameters.end(), p.parameters.begin(), p.parameters.end());
        twice.points.insert(twice.points.end(), p.points.begin(), p.points.end());
        CurveFitOptions same = options;  // twice the data are another number of points
        if (options.autoSmoothing) same = smoothed(curve.report.lambda);
        EXPECT_LE(distance(curve, twice.fit(same)), 1e-12);

        const FittedCurve other = scaled(p, {1e-7, 1e-7}, 3e5, 1e6).fit(options);
        const double tolerance = options.autoSmoothing ? 1e-5 : 1e-9;  // knots round too
        ASSERT_TRUE(other.fits()) << other.report.reason;
        EXPECT_NEAR(other.report.lambda, curve.report.lambda, 1e-4 * curve.report.lambda);
        std::vector<double> points = other.controlPoints;
        for (double& x : points) x *= 1e7;
        EXPECT_LE(knotwork_test::deviation(points, curve.controlPoints, 2), tolerance);
    }
}

TEST(SmoothingTest, CrossValidationFindsTheCurveUnderTheNoise)
{
    std::vector<double> errors;
    for (unsigned seed = 1; seed <= 20; ++seed) {
        const FitProblem p = noisySine(1000, 203, seed);
        const FittedCurve curve = p.fit(automatic());
        ASSERT_TRUE(curve.fits()) << curve.report.reason;
        double squares = 0.0;
        for (const double t : p.parameters)
            squares += std::pow(curve.at(t)[0] - std::sin(12.0 * t), 2.0);
        errors.push_back(std::sqrt(squares / static_cast<double>(p.parameters.size())));
    }
    std::sort(errors.begin(), errors.end());
    EXPECT_LE(errors[10], 0.0155);
}

TEST(SmoothingTest, SaysWhereTheSearchEnds)
{
    FitProblem p = noisySine(15, 43, 3);
    for (std::size_t i = 0; i < p.points.size(); ++i) {
        p.parameters[i] = (static_cast<double>(i) + 0.5) / 15.0;
        p.points[i] = std::sin(12.0 * p.parameters[i]);
    }
    const FittedCurve clean = p.fit(automatic());
    EXPECT_TRUE(clean.report.smoothingAtEnd);
    EXPECT_LT(clean.report.rms, 1e-3);

    for (std::size_t i = 0; i < p.points.size(); ++i) p.points[i] = 3.0 * p.parameters[i] - 1.0;
    const FittedCurve line = p.fit(automatic());
    ASSERT_TRUE(line.fits()) << line.report.reason;
    EXPECT_TRUE(line.report.smoothingAtEnd);
    EXPECT_NEAR(line.report.effectiveDf, 2.01, 1e-4);
    EXPECT_LT(line.report.rms, 1e-9);
}

TEST(SmoothingTest, GatheredSamplesDoAsWell)
{
    const FitProblem p = noisySine(400, 53, 4);
    std::vector<double> weights(400, 1.0);
    for (std::size_t i = 0; i < weights.size(); i += 3) weights[i] = 0.0;
    const knotwork::SampleStretch all = {400, p.parameters.data(), p.points.data(), weights.data()};
    CurveAccumulator gathered(p.basis, 1);
    ASSERT_EQ(gathered.add(all), "");
    CurveAccumulator read(p.basis, 1);
    ASSERT_EQ(read.read(gathered.bytes()), "");
    CurveFitOptions options = automatic();
    const FittedCurve direct =
        knotwork::fitCurve([&all](const auto& take) { take(all); }, 1, p.basis, {}, options);
    const FittedCurve curve = knotwork::fitCurve(read, {}, options);
    ASSERT_TRUE(curve.fits()) << curve.report.reason;
    EXPECT_LE(distance(direct, curve), 1e-12);
    EXPECT_NEAR(curve.report.gcv, direct.report.gcv, 1e-12);
    EXPECT_TRUE(knotwork::fitCurve(read, {}, smoothed(1e8)).fits());
}

namespace {

struct RefusedCase {
    const char* name;
    void (*change)(FitProblem& p, CurveFitOptions& options);
    FitVerdict verdict;
    const char* reason;
    friend void PrintTo(const RefusedCase& c, std::ostream* os) { *os << c.name; }
};

class SmoothingRefusalTest : public testing::TestWithParam<RefusedCase> {};

void oneParameter(FitProblem& p, CurveFitOptions&)
{
    std::fill(p.parameters.begin(), p.parameters.end(), 0.25);
}

TEST(SmoothingTest, AGapBridgedWithHardlyAnySmoothingIsReported)
{
    for (const double noise : {0.0, 0.3}) {
        SCOPED_TRACE(noise);
        Dice dice(8);
        FitProblem p;
        p.basis = BsplineBasis::uniform(3, 0.0, 1.0, 20);
        for (int i = 0; i < 60; ++i) {
            if (i > 20 && i < 35) continue;
            p.parameters.push_back(i / 59.0);
            p.points.push_back(std::exp(-200.0 * std::pow(i / 59.0 - 0.3, 2)) +
                               noise * dice.unit());
        }
        const FittedCurve curve = p.fit(automatic());
        ASSERT_TRUE(curve.fits()) << curve.report.reason;
        EXPECT_EQ(curve.report.remarks.size(), noise == 0.0 ? 1U : 0U);
    }
}

}  // namespace

TEST_P(SmoothingRefusalTest, SaysWhy)
{
    Dice dice(6);
    FitProblem p = noisyProblem(3, 8, 1, dice);
    CurveFitOptions options = smoothed(1e-3);
    GetParam().change(p, options);
    const FittedCurve curve = p.fit(options);
    EXPECT_EQ(curve.report.verdict, GetParam().verdict);
    EXPECT_EQ(curve.report.reason, GetParam().reason);
    EXPECT_TRUE(curve.controlPoints.empty());
}

INSTANTIATE_TEST_SUITE_P(
    Requests, SmoothingRefusalTest,
    testing::Values(
        RefusedCase{"Negative", [](FitProblem&, CurveFitOptions& o) { o.smoothing = -1.0; },
                    FitVerdict::kBadInput, "smoothing is no number of 0 or more"},
        RefusedCase{"Infinite", [](FitProblem&, CurveFitOptions& o) { o.smoothing = HUGE_VAL; },
                    FitVerdict::kBadInput, "smoothing is no number of 0 or more"},
        RefusedCase{"Order", [](FitProblem&, CurveFitOptions& o) { o.smoothingOrder = 4; },
                    FitVerdict::kBadInput,
                    "smoothing asks for a derivative that the degree does not have"},
        RefusedCase{"Twice", [](FitProblem&, CurveFitOptions& o) { o.autoSmoothing = true; },
                    FitVerdict::kBadInput, "smoothing is given and asked for too"},
        RefusedCase{"Method", [](FitProblem&, CurveFitOptions& o) { o.method = FitMethod::kQr; },
                    FitVerdict::kBadInput,
                    "smoothing holds constraints exactly: the method that fits them is not for it"},
        RefusedCase{"OneParameter", oneParameter, FitVerdict::kUndetermined,
                    "smoothing leaves every polynomial of a degree below 2 open, and data and "
                    "constraints do not fix one"},
        RefusedCase{"TooStrong", [](FitProblem&, CurveFitOptions& o) { o.smoothing = 1e290; },
                    FitVerdict::kInaccurate, "smoothing is so strong that rounding decides"},
        RefusedCase{"TooWeak",
                    [](FitProblem& p, CurveFitOptions& o) {
                        for (double& x : p.parameters) x *= 0.5;
                        o.smoothing = 1e-290;
                    },
                    FitVerdict::kInaccurate, "smoothing is so weak that rounding decides"}),
    CaseName());
