// SPDX-License-Identifier: MIT
#include "knotwork/fit/CurveAccumulator.h"

#include "knotwork/fit/CurveFit.h"
#include "knotwork/fit/SampleKernels.h"
#include "knotwork/platform/cpu.h"
#include "tests/fit/Problems.h"
#include "tests/support/Testing.h"

namespace {

using namespace knotwork;
using namespace knotwork_test;
using Bytes = std::vector<unsigned char>;

constexpr double kSameFit = 1e-13;  // of the largest control point

/// Numbers of samples: which ones, in which order.
using Pick = std::vector<std::size_t>;

struct Weighted {
    FitProblem problem;
    Numbers weights;

    std::string addTo(CurveAccumulator& gathered, const Pick& pick) const
    {
        const auto d = static_cast<std::size_t>(problem.dimension);
        Numbers t, points, w;
        for (const std::size_t i : pick) {
            t.push_back(problem.parameters[i]);
            for (std::size_t k = 0; k < d; ++k) points.push_back(problem.points[i * d + k]);
            if (!weights.empty()) w.push_back(weights[i]);
        }
        return gathered.add({static_cast<int>(t.size()), t.data(), points.data(),
                             weights.empty() ? nullptr : w.data()});
    }
    CurveAccumulator empty() const { return {problem.basis, problem.dimension}; }
    CurveAccumulator whole() const
    {
        Pick all(problem.parameters.size());
        for (std::size_t i = 0; i < all.size(); ++i) all[i] = i;
        CurveAccumulator gathered = empty();
        EXPECT_EQ(addTo(gathered, all), "");
        return gathered;
    }
    FittedCurve fit() const
    {
        knotwork::CurveFitOptions options;
        if (!weights.empty())
            options.weights.reference(
                DoubleVec(weights.data(), static_cast<unsigned>(weights.size())));
        return problem.fit(options);
    }
};

Weighted randomProblem(int round, Dice& dice)
{
    Weighted w;
    w.problem = noisyProblem(1 + round % 4, 2 + round % 7, 1 + round % 3, dice);
    addConstraints(w.problem, round % 3, dice);
    for (std::size_t i = 0; round % 2 == 1 && i < w.problem.parameters.size(); ++i)
        w.weights.push_back(0.5 + dice.unit());
    return w;
}

Pick shuffled(std::size_t n, Dice& dice)
{
    Pick pick(n);
    for (std::size_t i = 0; i < n; ++i) pick[i] = i;
    for (std::size_t i = n; i > 1; --i)
        std::swap(pick[i - 1], pick[dice.below(static_cast<unsigned>(i))]);
    return pick;
}

}  // namespace

TEST(CurveAccumulatorTest, SplitsOrdersAndBytesGiveTheSameFit)
{
    Dice dice(20270201);
    for (int round = 0; round < 300; ++round) {
        SCOPED_TRACE(round);
        const Weighted w = randomProblem(round, dice);
        const FittedCurve expected = knotwork::fitCurve(w.whole(), w.problem.constraints);
        ASSERT_TRUE(expected.fits()) << expected.report.reason;

        const Pick all = shuffled(w.problem.parameters.size(), dice);
        std::vector<CurveAccumulator> parts;
        for (std::size_t at = 0; at < all.size();) {
            const std::size_t n = std::min(all.size() - at, std::size_t{1} + dice.below(40));
            const auto first = all.begin() + static_cast<std::ptrdiff_t>(at);
            CurveAccumulator part = w.empty();
            ASSERT_EQ(w.addTo(part, Pick(first, first + static_cast<std::ptrdiff_t>(n))), "");
            CurveAccumulator read = w.empty();
            ASSERT_EQ(read.read(part.bytes()), "");
            EXPECT_EQ(read.bytes(), part.bytes());
            parts.push_back(read);
            at += n;
        }
        while (parts.size() > 1) {  // in pairs, any two
            std::swap(parts[dice.below(static_cast<unsigned>(parts.size()))], parts.back());
            CurveAccumulator last = parts.back();
            parts.pop_back();
            ASSERT_EQ(parts[dice.below(static_cast<unsigned>(parts.size()))].merge(last), "");
        }
        EXPECT_EQ(parts[0].rows(), static_cast<long long>(all.size()));
        const FittedCurve merged = knotwork::fitCurve(parts[0], w.problem.constraints);
        ASSERT_TRUE(merged.fits()) << merged.report.reason;
        EXPECT_LE(deviation(merged.controlPoints, expected.controlPoints, w.problem.dimension),
                  kSameFit);
        const FittedCurve direct = w.fit();
        EXPECT_LE(deviation(merged.controlPoints, direct.controlPoints, w.problem.dimension),
                  kSameFit);
        EXPECT_NEAR(merged.report.rms, direct.report.rms, 1e-13);
        EXPECT_NEAR(merged.report.constraintResidual, 0.0, 1e-13);
        EXPECT_EQ(merged.report.dataPoints, direct.report.dataPoints);
        EXPECT_TRUE(std::isnan(merged.report.maxResidual));
    }
}

/// Numbers may grow from one end of the range to the other while they are gathered.
TEST(CurveAccumulatorTest, ScalesFollowTheNumbers)
{
    Dice dice(7);
    Weighted w = randomProblem(1, dice);
    const std::size_t n = w.problem.parameters.size();
    const struct {
        double points, weights;  // powers of ten by which the second half is larger
    } growths[] = {{-290, 0}, {290, 0}, {0, -290}, {0, 290}, {-140, 270}, {140, -270}};
    for (const auto& growth : growths) {
        SCOPED_TRACE(testing::Message() << growth.points << " " << growth.weights);
        Weighted grown = w;
        for (std::size_t i = n / 2; i < n; ++i) {
            grown.weights[i] *= std::pow(10.0, growth.weights);
            for (std::size_t k = 0; k < 2; ++k)
                grown.problem.points[2 * i + k] *= std::pow(10.0, growth.points);
        }
        Pick halves[2];
        for (std::size_t i = 0; i < n; ++i) halves[i < n / 2 ? 0 : 1].push_back(i);
        CurveAccumulator added = grown.empty();
        CurveAccumulator merged = grown.empty();
        CurveAccumulator second = grown.empty();
        ASSERT_EQ(grown.addTo(added, halves[0]), "");
        ASSERT_EQ(grown.addTo(added, halves[1]), "");
        ASSERT_EQ(grown.addTo(second, halves[1]), "");
        ASSERT_EQ(grown.addTo(merged, halves[0]), "");
        ASSERT_EQ(merged.merge(second), "");
        const FittedCurve expected = grown.fit();
        for (const CurveAccumulator* gathered : {&added, &merged}) {
            const FittedCurve curve = knotwork::fitCurve(*gathered, w.problem.constraints);
            EXPECT_EQ(curve.report.verdict == FitVerdict::kInaccurate,
                      expected.report.verdict == FitVerdict::kInaccurate)
                << curve.report.reason;
            if (curve.fits() && expected.fits()) {
                EXPECT_LE(deviation(curve.controlPoints, expected.controlPoints, 2), 1e-9);
            }
        }
    }
}

/// The error of gathering is not undone by refinement: an ill-conditioned fit stands with the
/// samples, and without them it is refused.
TEST(CurveAccumulatorTest, AnIllConditionedFitNeedsItsSamples)
{
    Weighted w;
    w.problem.basis = BsplineBasis::uniform(3, 0.0, 8.0, 8);
    for (int i = 0; i <= 35; ++i) w.problem.parameters.push_back(i / 5.0);
    w.problem.parameters.push_back(7.002);
    for (std::size_t i = 0; i < w.problem.parameters.size(); ++i)
        w.problem.points.push_back(std::cos(3.0 * static_cast<double>(i)));
    EXPECT_EQ(w.fit().report.verdict, FitVerdict::kFitted);
    const FittedCurve curve = knotwork::fitCurve(w.whole());
    EXPECT_EQ(curve.report.verdict, FitVerdict::kInaccurate);

    w.problem.parameters.back() = 6.5;
    EXPECT_EQ(knotwork::fitCurve(w.whole()).report.reason,
              "data and constraints together do not fix control point 10 of 11, which smoothing "
              "may make up for");
    EXPECT_EQ(knotwork::fitCurve(w.empty()).report.reason, "there are no points");
    EXPECT_EQ(knotwork::fitCurve(CurveAccumulator(BsplineBasis(), 1)).report.verdict,
              FitVerdict::kBadInput);
}

namespace {

struct BytesCase {
    const char* name;
    std::function<void(Bytes& bytes)> change;
    const char* reason;
};

constexpr const char* kCut = "the bytes are cut short or altered";

const BytesCase kChanges[] = {
    {"None", [](Bytes& b) { b.clear(); }, kCut},
    {"Short", [](Bytes& b) { b.resize(40); }, kCut},
    {"CutByAWord", [](Bytes& b) { b.resize(b.size() - 8); }, kCut},
    {"CutByAByte", [](Bytes& b) { b.pop_back(); }, kCut},
    {"Longer", [](Bytes& b) { b.resize(b.size() + 8); }, kCut},
    {"OneBit", [](Bytes& b) { b[b.size() / 2] ^= 4; }, kCut},
    {"Other", [](Bytes& b) { b[0] ^= 1; }, "the bytes are not those of an accumulator"},
    {"Version", [](Bytes& b) { b[8] = 9; }, "the bytes are of another version"}};

}  // namespace

TEST(AccumulatorBytesTest, AreRefusedAndNothingIsLost)
{
    for (const BytesCase& c : kChanges) {
        SCOPED_TRACE(c.name);
        Dice dice(3);
        const Weighted w = randomProblem(3, dice);
        Bytes bytes = w.whole().bytes();
        c.change(bytes);
        CurveAccumulator gathered = w.whole();
        EXPECT_EQ(gathered.read(bytes), c.reason);
        EXPECT_EQ(gathered.bytes(), w.whole().bytes());
    }
}

TEST(CurveAccumulatorTest, OtherBasesAndBadSamplesAreRefusedAndNothingIsAdded)
{
    Dice dice(9);
    const Weighted w = randomProblem(5, dice);
    CurveAccumulator gathered = w.whole();
    const Bytes before = gathered.bytes();
    EXPECT_EQ(gathered.merge({BsplineBasis::uniform(2, 0.0, 1.0, 6), 3}),
              "the basis is another one");
    EXPECT_EQ(gathered.merge({w.problem.basis, 2}),
              "the points have another number of coordinates");
    const auto n = std::to_string(w.problem.parameters.size() + 1);
    const double t[] = {0.5, 0.6};
    const auto fault = [&](double t1, double x, double weight) {
        const double times[] = {t[0], t1};
        const double points[] = {0, 0, 0, 0, x, 0};
        const double weights[] = {1, weight};
        return gathered.add({2, times, points, weights});
    };
    EXPECT_EQ(fault(1.5, 0, 1), "parameter " + n + ", 1.5, lies outside the knots");
    EXPECT_EQ(fault(NAN, 0, 1), "parameter " + n + " is no finite number");
    EXPECT_EQ(fault(0.5, INFINITY, 1), "a coordinate of point " + n + " is no finite number");
    EXPECT_EQ(fault(0.5, 0, -1), "weight " + n + " is negative");
    EXPECT_EQ(fault(0.5, 0, NAN), "weight " + n + " is no finite number");
    EXPECT_EQ(gathered.bytes(), before);
}

/// Samples in stretches of any length, in any order, are fitted like those in one.
TEST(CurveAccumulatorTest, SamplesMayComeFromACallback)
{
    Dice dice(11);
    Weighted w = randomProblem(7, dice);
    for (int i = 0; i < 9000; ++i) {
        w.problem.parameters.push_back(dice.unit());
        for (int k = 0; k < w.problem.dimension; ++k) w.problem.points.push_back(dice.unit());
        w.weights.push_back(dice.unit() < 0.1 ? 0.0 : 1.0);
    }
    const int count = static_cast<int>(w.problem.parameters.size());
    const int d = w.problem.dimension;
    int readings = 0;
    int missing = 0;
    const knotwork::SampleReader reader = [&](const auto& take) {
        ++readings;
        const int end = count - (readings > 1 ? missing : 0);
        for (int at = 0; at < end;) {
            const int n = std::min(end - at, 1 + at % 700);
            take(SampleStretch{n, &w.problem.parameters[static_cast<std::size_t>(at)],
                               &w.problem.points[static_cast<std::size_t>(at * d)],
                               &w.weights[static_cast<std::size_t>(at)]});
            at += n;
        }
    };
    const auto fit = [&] {
        return knotwork::fitCurve(reader, d, w.problem.basis, w.problem.constraints);
    };
    const FittedCurve curve = fit();
    const FittedCurve expected = w.fit();
    ASSERT_TRUE(curve.fits() && expected.fits());
    EXPECT_LE(readings, 3);
    EXPECT_LE(deviation(curve.controlPoints, expected.controlPoints, d), kSameFit);
    EXPECT_NEAR(curve.report.rms, expected.report.rms, 1e-14);
    EXPECT_EQ(curve.report.maxResidualAt, expected.report.maxResidualAt);
    missing = 5;
    readings = 0;
    EXPECT_EQ(fit().report.reason, "the samples changed while they were read");
}

/// Basis functions in lanes have the bits of the general text, and fits the same bits whatever
/// vectors the machine has.
TEST(CurveAccumulatorTest, EveryLevelGivesTheSameBits)
{
    Dice dice(13);
    for (const auto level : {knotwork::CpuLevel::kPlain, knotwork::CpuLevel::kVectors256,
                             knotwork::CpuLevel::kVectors512}) {
        const knotwork::LevelForTests scope(level);
        for (int degree = 1; degree <= 9; ++degree) {
            Numbers interior = {0.1, 0.3, 0.3, 0.31, 0.8};
            const BsplineBasis basis = BsplineBasis::clamped(degree, 0.0, 1.0, interior);
            Numbers t(12);
            for (double& x : t) x = 0.31 + 0.49 * dice.unit();
            Numbers columns(static_cast<std::size_t>(12 * (degree + 1)));
            knotwork::basisColumns(basis.knots().data(), degree, basis.span(0.5), t.data(), 12,
                                   columns.data(), 12);
            Numbers row(static_cast<std::size_t>(degree + 1));
            for (std::size_t i = 0; i < t.size(); ++i) {
                basis.row(t[i], 0, row.data());
                for (std::size_t k = 0; k < row.size(); ++k)
                    EXPECT_EQ(columns[12 * k + i], row[k]) << degree << ", " << k;
            }
        }
    }
    for (int round = 0; round < 20; ++round) {
        const Weighted w = randomProblem(round, dice);
        const FittedCurve wide = w.fit();
        const knotwork::LevelForTests scope(knotwork::CpuLevel::kPlain);
        const FittedCurve plain = w.fit();
        EXPECT_EQ(plain.controlPoints, wide.controlPoints);
        EXPECT_EQ(plain.report.rms, wide.report.rms);
    }
}
