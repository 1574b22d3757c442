// SPDX-License-Identifier: MIT
#include "measures/RandomFits.h"

#include "measures/Verdicts.h"
#include "tests/support/Testing.h"

namespace {

using namespace knotwork_measures;

// Seeds whose first fits hold some that are not determined and hard to tell from those that are.
constexpr std::uint64_t kCurveSeed = 4;
constexpr std::uint64_t kSurfaceSeed = 23;
constexpr std::uint64_t kClosedSeed = 5;
constexpr double kRefusedShare = 0.005;  // of the fits that are well conditioned

template <class Problem>
void expectVerdictsToBeBelievable(std::uint64_t seed, int count,
                                  Problem (*make)(std::uint64_t, std::uint64_t))
{
    VerdictTally tally;
    for (int index = 0; index < count; ++index) {
        const Problem problem = make(seed, static_cast<std::uint64_t>(index));
        const Judgement judgement = judged(problem);
        tally.add(judgement);
        EXPECT_FALSE(judgement.answeredUndetermined())
            << seed << "/" << index << ": " << described(problem);
        EXPECT_FALSE(judgement.wrong()) << seed << "/" << index << ": " << described(problem)
                                        << ", off by " << judgement.deviation.overall;
    }
    EXPECT_LT(tally.shareRefusedGood(), kRefusedShare) << tally.line();
}

TEST(RandomFitsTest, CurvesAnswerRightAndRefuseWithReason)
{
    expectVerdictsToBeBelievable(kCurveSeed, 1000, randomCurve);
}

TEST(RandomFitsTest, ClosedCurvesAnswerRightAndRefuseWithReason)
{
    expectVerdictsToBeBelievable(kClosedSeed, 1000, knotwork_measures::randomClosedCurve);
}

TEST(RandomFitsTest, SurfacesAnswerRightAndRefuseWithReason)
{
    expectVerdictsToBeBelievable(kSurfaceSeed, 500, randomSurface);
}

}  // namespace
