// SPDX-License-Identifier: MIT
#include "measures/RandomFits.h"

#include <gtest/gtest.h>

#include "measures/Verdicts.h"

namespace {

using knotwork_measures::Judgement;
using knotwork_measures::VerdictTally;

constexpr std::uint64_t kSeed = 7;
constexpr double kRefusedShare = 0.005;  // of the fits that are well conditioned

template <class Problem>
void expectVerdictsToBeBelievable(int count, Problem (*make)(std::uint64_t, std::uint64_t))
{
    VerdictTally tally;
    for (int index = 0; index < count; ++index) {
        const Problem problem = make(kSeed, static_cast<std::uint64_t>(index));
        const Judgement judgement = judged(problem);
        tally.add(judgement);
        EXPECT_FALSE(judgement.answeredUndetermined() || judgement.wrong())
            << kSeed << "/" << index << ", " << described(problem) << ": "
            << (judgement.oracle.determined ? "wrong by" : "answered, but not determined") << " "
            << judgement.deviation.overall;
    }
    EXPECT_LT(tally.shareRefusedGood(), kRefusedShare) << tally.line();
}

TEST(RandomFitsTest, CurvesAnswerRightAndRefuseWithReason)
{
    expectVerdictsToBeBelievable(1000, knotwork_measures::randomCurve);
}

TEST(RandomFitsTest, SurfacesAnswerRightAndRefuseWithReason)
{
    expectVerdictsToBeBelievable(100, knotwork_measures::randomSurface);
}

}  // namespace
