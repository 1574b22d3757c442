// SPDX-License-Identifier: MIT
#include "measures/Verdicts.h"
#include "tests/fit/SurfaceProblems.h"
#include "tests/support/Testing.h"

/// Weights, what counts as zero, and progress of surface fits.
namespace {

using namespace knotwork;
using namespace knotwork_test;
using knotwork_measures::SurfaceProblem;

/// The points of one line each, `dimension` numbers a point, as often as the line weighs.
Numbers repeated(const Numbers& numbers, const Numbers& weights, int dimension)
{
    Numbers all;
    for (std::size_t i = 0; i < weights.size(); ++i)
        for (int times = 0; times < weights[i]; ++times)
            all.insert(all.end(), numbers.begin() + static_cast<std::ptrdiff_t>(i) * dimension,
                       numbers.begin() + static_cast<std::ptrdiff_t>(i + 1) * dimension);
    return all;
}

/// The same fit with each line of samples repeated instead of weighted.
SurfaceProblem withRepeatedLines(const SurfaceProblem& p)
{
    SurfaceProblem q = p;
    q.uWeights.clear();
    q.vWeights.clear();
    q.uParameters = repeated(p.uParameters, p.uWeights, 1);
    q.vParameters = repeated(p.vParameters, p.vWeights, 1);
    q.points.clear();
    const int perColumn = p.dimension * static_cast<int>(p.uParameters.size());
    const Numbers columns = repeated(p.points, p.vWeights, perColumn);
    for (auto column = columns.begin(); column != columns.end(); column += perColumn) {
        const Numbers more = repeated({column, column + perColumn}, p.uWeights, p.dimension);
        q.points.insert(q.points.end(), more.begin(), more.end());
    }
    for (auto& line : q.acrossU) line.values = repeated(line.values, p.vWeights, p.dimension);
    for (auto& line : q.acrossV) line.values = repeated(line.values, p.uWeights, p.dimension);
    return q;
}

/// What has no weight lies far away.
SurfaceProblem weightedSheet()
{
    SurfaceProblem p = noisySheet();
    p.uWeights = {1, 3, 1, 0, 2, 1, 1, 4, 2};
    p.vWeights = {2, 1, 0, 1, 3, 1, 1};
    for (std::size_t n = 0; n < p.points.size(); ++n)
        if (p.uWeights[n / 2 % 9] == 0 || p.vWeights[n / 2 / 9] == 0) p.points[n] = 1e300;
    return p;
}

SurfaceProblem withLines(SurfaceProblem p, FitMethod method)
{
    p.method = method;
    p.acrossU = {{8, 1, Numbers(14, 0.5)}};
    p.acrossV = {{2.5, 1, Numbers(18, 0.25)}, {6, 0, Numbers(18, 0.75)}};
    return p;
}

FittedSurface fitAround(const SurfaceProblem& p, const SurfaceFitOptions& options)
{
    IntGenMat mask(6, 4, 0);
    mask.row(0) = 1;
    mask(2, 2) = 1;
    return knotwork::fitSurfaceAround(gridOf(p), vectorOf(p.uParameters), vectorOf(p.vParameters),
                                      p.u, p.v, mask, TtupleMatrix(2, 6, 4, 0.5), options);
}

struct Kind {
    const char* name;
    SurfaceProblem problem;
    bool around;
    FittedSurface fit(const SurfaceProblem& p, const SurfaceFitOptions& options) const
    {
        return around ? fitAround(p, options) : fitOf(p, options);
    }
    friend void PrintTo(const Kind& kind, std::ostream* os) { *os << kind.name; }
};

class SurfaceOptionsTest : public testing::TestWithParam<Kind> {};

}  // namespace

TEST_P(SurfaceOptionsTest, AWeightCountsLikeSoManyLines)
{
    const SurfaceProblem& p = GetParam().problem;
    const SurfaceProblem more = withRepeatedLines(p);
    const FittedSurface weighted = GetParam().fit(p, optionsOf(p));
    const FittedSurface expected = GetParam().fit(more, optionsOf(more));
    ASSERT_TRUE(expected.fits()) << expected.report.reason;
    EXPECT_EQ(weighted.report.verdict, expected.report.verdict) << weighted.report.reason;
    EXPECT_LE(knotwork_measures::deviationOf(weighted.controlPoints, expected.controlPoints, 2)
                  .perCoordinate,
              1000 * kEps);
    EXPECT_NEAR(weighted.report.rms, expected.report.rms, 100 * kEps);
    EXPECT_NEAR(weighted.report.maxResidual, expected.report.maxResidual, 1000 * kEps);
    EXPECT_EQ(weighted.report.maxResidualAtU, expected.report.maxResidualAtU);
    EXPECT_EQ(weighted.report.maxResidualAtV, expected.report.maxResidualAtV);
    EXPECT_NEAR(weighted.report.constraintResidual, expected.report.constraintResidual,
                1000 * kEps);
}

/// Only what weighs against weights knows their unit: lines of constraints that are fitted.
TEST_P(SurfaceOptionsTest, TheUnitOfWeightsDoesNotMatter)
{
    const SurfaceProblem& p = GetParam().problem;
    const FittedSurface plain = GetParam().fit(p, optionsOf(p));
    const bool linesWeigh = p.method == FitMethod::kQr;
    const int most = linesWeigh ? 10 : 900;
    for (const int exponent : {-most, most}) {
        SurfaceProblem q = p;
        for (double& w : q.uWeights) w = std::ldexp(w, exponent);
        for (double& w : q.vWeights) w = std::ldexp(w, -exponent);
        const FittedSurface scaled = GetParam().fit(q, optionsOf(q));
        ASSERT_TRUE(scaled.fits()) << scaled.report.reason;
        if (linesWeigh) {
            EXPECT_NE(scaled.controlPoints, plain.controlPoints);
            continue;
        }
        EXPECT_EQ(scaled.controlPoints, plain.controlPoints);
        EXPECT_EQ(scaled.report.rms, plain.report.rms);
    }
}

TEST_P(SurfaceOptionsTest, ASmallZeroConfirmsTheFit)
{
    const SurfaceProblem& p = GetParam().problem;
    SurfaceFitOptions options = optionsOf(p);
    const FittedSurface plain = GetParam().fit(p, options);
    EXPECT_EQ(plain.report.zero, 0.0);
    options.zero = 1e-12;
    options.estimateCutoff = true;  // there is no gap
    const FittedSurface confirmed = GetParam().fit(p, options);
    ASSERT_TRUE(confirmed.fits()) << confirmed.report.reason;
    EXPECT_EQ(confirmed.report.zero, 1e-12);
    EXPECT_EQ(confirmed.report.verdict, plain.report.verdict);
    EXPECT_EQ(confirmed.controlPoints, plain.controlPoints);
    options.zero = 0.5;
    options.estimateCutoff = false;
    const FittedSurface coarse = GetParam().fit(p, options);
    EXPECT_EQ(coarse.report.verdict, FitVerdict::kInaccurate);
    EXPECT_EQ(coarse.report.reason, "what counts as zero is too coarse for this system");
    EXPECT_TRUE(coarse.controlPoints.empty());
}

INSTANTIATE_TEST_SUITE_P(
    Fits, SurfaceOptionsTest,
    testing::Values(Kind{"Free", weightedSheet(), false},
                    Kind{"LinesMet", withLines(weightedSheet(), FitMethod::kHouseholder), false},
                    Kind{"LinesFitted", withLines(weightedSheet(), FitMethod::kQr), false},
                    Kind{"Around", weightedSheet(), true}),
    CaseName());

TEST(SurfaceWeightsTest, VeryDifferentWeightsLeaveTheAnswerRight)
{
    for (const double heavy : {1e-9, 1e6, 1e9}) {
        SurfaceProblem p = hardlyDetermined(3);
        p.uWeights.assign(p.uParameters.size(), 1.0);
        for (std::size_t i = 1; i < p.uWeights.size(); i += 4) p.uWeights[i] = heavy;
        p.vWeights = {1, heavy, 1};
        const auto judgement = knotwork_measures::judged(p);
        ASSERT_TRUE(judgement.answered) << heavy << ": " << judgement.reason;
        EXPECT_LE(judgement.deviation.perCoordinate, 1e-9) << heavy;
    }
}

TEST(SurfaceWeightsTest, WhatHasNoWeightFixesNothing)
{
    SurfaceProblem p = noisySheet();
    p.uWeights = {1, 1, 1, 1, 1, 0, 0, 0, 0};
    EXPECT_EQ(fitOf(p).report.reason, "in u, 6 unknowns are more than 5 lines can fix");
    p = hardlyDetermined(0);
    p.uWeights.assign(p.uParameters.size(), 1.0);
    p.uWeights.back() = 0.0;
    EXPECT_EQ(fitOf(p).report.reason, "in u, the data do not fix control point 10 of 11");
}

TEST(SurfaceZeroTest, AnEstimatedCutoffIsTheLargerDirections)
{
    for (const bool turned : {false, true}) {
        SurfaceProblem p = hardlyDetermined(3);
        if (turned) {
            std::swap(p.u, p.v);
            std::swap(p.uParameters, p.vParameters);
        }
        SurfaceFitOptions options;
        options.estimateCutoff = true;
        const FittedSurface surface = fitOf(p, options);
        EXPECT_GT(surface.report.zero, 1e-3);
        EXPECT_EQ(surface.report.verdict, FitVerdict::kInaccurate);
        EXPECT_EQ(surface.report.reason, "the estimated cut-off is too coarse for this system");
    }
}

TEST(SurfaceZeroTest, ADenseSystemBeyondTheArraysCountsIsTooLarge)
{
    SurfaceProblem p;
    p.u = knotwork::BsplineBasis::uniform(1, 0, 50000, 50000);
    p.v = knotwork::BsplineBasis::uniform(1, 0, 1, 1);
    for (int i = 0; i <= 50000; ++i) p.uParameters.push_back(i);
    p.vParameters = {0, 1};
    p.points.assign(2 * p.uParameters.size(), 1.0);
    SurfaceFitOptions options;
    EXPECT_EQ(fitOf(p, options).report.verdict, FitVerdict::kFitted);
    options.zero = 1e-12;
    EXPECT_EQ(fitOf(p, options).report.verdict, FitVerdict::kTooLarge);
    for (const double zero : {std::nan(""), -1.0, 1.5}) {
        options.zero = zero;
        EXPECT_EQ(fitOf(p, options).report.reason, "what counts as zero is no number from 0 to 1");
    }
}

TEST(SurfaceProgressTest, SharesAscendToOne)
{
    SurfaceProblem p = noisySheet();
    for (auto* parameters : {&p.uParameters, &p.vParameters}) {
        const double last = parameters->back();
        parameters->clear();
        for (int i = 0; i < 200; ++i) parameters->push_back(last * i / 199.0);
    }
    p.points.resize(200 * 200 * 2, 0.5);
    const Kind free{"", p, false};
    const Kind around{"", p, true};
    for (const Kind* kind : {&free, &around}) {
        Numbers shares;
        SurfaceFitOptions options;
        options.progress = [&shares](double share) { shares.push_back(share); };
        ASSERT_TRUE(kind->fit(p, options).fits());
        EXPECT_TRUE(std::is_sorted(shares.begin(), shares.end()));
        EXPECT_EQ(shares.back(), 1.0);
        EXPECT_GE(shares.size(), 8u);
        EXPECT_LE(shares.size(), 102u);
        EXPECT_LT(shares[shares.size() / 2], 0.9) << "not all at the end";

        shares.clear();
        options.uWeights.reference(DoubleVec(200, 0.0));
        options.uWeights(3) = 1.0;  // fixes next to nothing
        EXPECT_EQ(kind->fit(p, options).report.verdict, FitVerdict::kUndetermined);
        EXPECT_EQ(shares, Numbers{1.0});
    }
}
