// SPDX-License-Identifier: MIT
#include "knotwork/factor/DoubleSVDecomp.h"

#include <utility>

#ifdef KNOTWORK_BENCH_LAPACK
#include "bench/LapackFactors.h"
#endif
#include "measures/MatrixFamilies.h"
#include "measures/SvdChecks.h"
#include "tests/factor/ExpectBounds.h"
#include "tests/support/Testing.h"

namespace {

using namespace knotwork_measures;

void expectStatus(const DoubleGenMat& a, const DoubleSVDecomp& d, unsigned leftVecs)
{
    const DoubleVec s = d.singularValues();
    EXPECT_EQ(d.good(), 1);
    EXPECT_EQ(d.numSVsFound(), static_cast<int>(std::min(a.rows(), a.cols())));
    EXPECT_TRUE(std::is_sorted(s.data(), s.data() + s.length(), std::greater<double>()));
    EXPECT_FALSE(
        std::any_of(s.data(), s.data() + s.length(), [](double x) { return std::signbit(x); }));
    EXPECT_EQ(d.eValues().length(), a.cols());
    EXPECT_TRUE(d.eValues().isZero(0.0));
    EXPECT_EQ(d.leftVecs().cols(), leftVecs);
}

void expectDecomposition(const DoubleGenMat& a, const DoubleSVDecomp& d)
{
    expectStatus(a, d, a.rows());
    SvdRatios ratios;
    ratios.seeFactors(a, d.leftVecs(), d.singularValues(), d.rightVecs(), 0);
    expectBounds(ratios);
}

/// What a caller can see of a decomposition, in storage of its own.
struct Snapshot {
    explicit Snapshot(const DoubleSVDecomp& d)
        : s(d.singularValues().copy()),
          e(d.eValues().copy()),
          u(d.leftVecs().copy()),
          v(d.rightVecs().copy()),
          found(d.numSVsFound())
    {
    }
    bool operator==(const Snapshot& other) const
    {
        return s.length() == other.s.length() && s == other.s && e.length() == other.e.length() &&
               e == other.e && u == other.u && v == other.v && found == other.found;
    }
    DoubleVec s, e;
    DoubleGenMat u, v;
    int found;
};

class SvdPropertyTest : public testing::TestWithParam<Family> {};

TEST_P(SvdPropertyTest, HoldsForEveryMatrix)
{
    SvdRatios ratios;
    for (unsigned seed = 0; seed < kMatrices; ++seed) {
        const DoubleGenMat a = Sample(GetParam(), seed).a;
        SCOPED_TRACE(testing::Message() << a.rows() << "x" << a.cols() << " seed " << seed);
        const DoubleGenMat before = a.copy();
        DoubleSVDecomp d;
        if (seed % 2 != 0) d.computeAllLeftVecs(0);
        d.factor(a);
        EXPECT_TRUE(a == before);
        const unsigned few = std::min(a.rows(), a.cols());
        if (few == 0) {
            EXPECT_EQ(d.fail(), 1);
            continue;
        }
        expectStatus(a, d, seed % 2 != 0 ? few : a.rows());
        ratios.seeFactors(a, d.leftVecs(), d.singularValues(), d.rightVecs(), seed);
#ifdef KNOTWORK_BENCH_LAPACK
        ratios.seeValues(a, d.singularValues(), knotwork_bench::LapackSvd::values(a), seed);
#endif
        if (HasFailure()) return;
    }
    expectBounds(ratios);
}

INSTANTIATE_TEST_SUITE_P(ScaleFree, SvdPropertyTest, testing::ValuesIn(kScaleFreeFamilies),
                         knotwork_test::CaseName());
INSTANTIATE_TEST_SUITE_P(Extreme, SvdPropertyTest, testing::ValuesIn(kExtremeFamilies),
                         knotwork_test::CaseName());

}  // namespace

TEST(DoubleSVDecompTest, ReductionsInBlocksAndThroughATriangleHoldTheSameBounds)
{
    std::mt19937 generator(21);
    for (const auto& [n, p] : {std::pair{90u, 90u}, {50u, 140u}, {140u, 70u}, {120u, 17u}})
        for (const Family& family : kScaleFreeFamilies) {
            SCOPED_TRACE(testing::Message() << family.name << ' ' << n << 'x' << p);
            const DoubleGenMat a = family.make(n, p, generator);
            DoubleSVDecomp d(a);
            expectDecomposition(a, d);
            const DoubleVec all = d.singularValues().copy();
            d.computeAllLeftVecs(0);
            d.factor(a);
            SvdRatios ratios;
            ratios.seeFactors(a, d.leftVecs(), d.singularValues(), d.rightVecs(), 0);
#ifdef KNOTWORK_BENCH_LAPACK
            ratios.seeValues(a, all, knotwork_bench::LapackSvd::values(a), 0);
#endif
            expectBounds(ratios);
            d.computeLeftVecs(0);
            d.computeRightVecs(0);
            d.factor(a);
            EXPECT_TRUE(d.singularValues() == all);
            DoubleGenMat bad = a.copy();
            bad(20, 12) = std::numeric_limits<double>::quiet_NaN();
            EXPECT_EQ(DoubleSVDecomp(bad).good(), 0);
        }
}

TEST(DoubleSVDecompTest, SwitchesFollowTheirTable)
{
    using Switch = int (DoubleSVDecomp::*)(int);
    struct Case {
        const char* name;
        std::vector<std::pair<Switch, int>> calls;  // the last one is the one in question
        int returned;
        unsigned leftCols, rightCols;  // after a factor() of a 5 x 3 matrix; 0: not computed
    };
    const Switch left = &DoubleSVDecomp::computeLeftVecs;
    const Switch all = &DoubleSVDecomp::computeAllLeftVecs;
    const Switch right = &DoubleSVDecomp::computeRightVecs;
    const Case cases[] = {
        {"left, none, on", {{left, 0}, {left, 1}}, 0, 5, 3},
        {"left, none, off", {{left, 0}, {left, 0}}, 0, 0, 3},
        {"left, all, on", {{left, 7}}, 1, 5, 3},
        {"left, all, off", {{left, 0}}, 1, 0, 3},
        {"left, leading, on", {{all, 0}, {left, 1}}, 1, 3, 3},
        {"left, leading, off", {{all, 0}, {left, 0}}, 1, 0, 3},
        {"left, leading forgotten", {{all, 0}, {left, 0}, {left, 1}}, 0, 5, 3},
        {"all, none, on", {{left, 0}, {all, 1}}, 0, 0, 3},
        {"all, none, off", {{left, 0}, {all, 0}}, 0, 0, 3},
        {"all, all, on", {{all, 1}}, 1, 5, 3},
        {"all, all, off", {{all, 0}}, 1, 3, 3},
        {"all, leading, on", {{all, 0}, {all, -1}}, 0, 5, 3},
        {"all, leading, off", {{all, 0}, {all, 0}}, 0, 3, 3},
        {"right, none, on", {{right, 0}, {right, 1}}, 0, 5, 3},
        {"right, none, off", {{right, 0}, {right, 0}}, 0, 5, 0},
        {"right, all, on", {{right, 2}}, 1, 5, 3},
        {"right, all, off", {{right, 0}}, 1, 5, 0},
        {"right is apart from left", {{left, 0}, {right, 0}}, 1, 0, 0},
    };
    std::mt19937 generator(22);
    const DoubleGenMat a = randomMatrix(5, 3, generator);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        DoubleSVDecomp d;
        int returned = -1;
        for (const auto& [function, on] : c.calls) returned = (d.*function)(on);
        EXPECT_EQ(returned, c.returned);
        d.factor(a);
        EXPECT_EQ(d.leftVecs().cols(), c.leftCols);
        EXPECT_EQ(d.rightVecs().cols(), c.rightCols);
        EXPECT_EQ(d.good(), 1);
    }
}

TEST(DoubleSVDecompTest, VectorsSwitchedOffKeepWhatTheyHeld)
{
    std::mt19937 generator(23);
    DoubleSVDecomp d(randomMatrix(4, 3, generator));
    const Snapshot before(d);
    d.computeLeftVecs(0);
    d.computeRightVecs(0);
    const DoubleGenMat b = randomMatrix(6, 5, generator);
    d.factor(b);
    EXPECT_TRUE(d.leftVecs() == before.u);
    EXPECT_TRUE(d.rightVecs() == before.v);
    EXPECT_TRUE(d.singularValues() == DoubleSVDecomp(b).singularValues());
}

TEST(DoubleSVDecompTest, EmptyMatricesHaveNoValuesAndKeepTheStatus)
{
    std::mt19937 generator(24);
    DoubleGenMat bad = randomMatrix(3, 3, generator);
    bad(1, 1) = std::numeric_limits<double>::quiet_NaN();
    for (const auto& [n, p] : {std::pair{0u, 4u}, {4u, 0u}, {0u, 0u}}) {
        SCOPED_TRACE(testing::Message() << n << "x" << p);
        DoubleSVDecomp fresh(DoubleGenMat(n, p, 0.0));
        DoubleSVDecomp used(bad);
        const int unconverged = 3 - used.numSVsFound();
        EXPECT_GT(unconverged, 0);
        used.factor(DoubleGenMat(n, p, 0.0));
        EXPECT_EQ(fresh.numSVsFound(), 0);
        EXPECT_EQ(used.numSVsFound(), -unconverged);
        for (const DoubleSVDecomp& d : {fresh, used}) {
            EXPECT_EQ(d.good(), 0);
            EXPECT_EQ(d.fail(), 1);
            EXPECT_EQ(d.singularValues().length(), 0u);
            EXPECT_EQ(d.eValues().length(), p);
            EXPECT_EQ(d.leftVecs().rows(), n);
            EXPECT_EQ(d.rightVecs().cols(), p);
        }
    }
    const DoubleSVDecomp unused;
    EXPECT_EQ(unused.fail(), 1);
    EXPECT_EQ(unused.numSVsFound(), 0);
}

TEST(DoubleSVDecompTest, WhatIsNotFiniteIsAFailureAndALaterFactorRecovers)
{
    std::mt19937 generator(25);
    for (const auto& [n, p] : {std::pair{3u, 6u}, {6u, 3u}, {4u, 4u}, {1u, 1u}}) {
        DoubleGenMat bad = randomMatrix(n, p, generator);
        bad(0, 0) = std::numeric_limits<double>::quiet_NaN();
        DoubleSVDecomp d(bad);
        EXPECT_EQ(d.good(), 0);
        EXPECT_LT(d.numSVsFound(), static_cast<int>(std::min(n, p)));
        for (unsigned k = n + 1; k < p; ++k) EXPECT_EQ(d.eValues()(static_cast<int>(k)), 0.0);
        const DoubleGenMat a = randomMatrix(n, p, generator);
        d.factor(a);
        expectDecomposition(a, d);
    }
}

TEST(DoubleSVDecompTest, CopiesAndHandedOutResultsOutliveTheNextFactor)
{
    std::mt19937 generator(26);
    for (const unsigned p : {3u, 4u, 6u}) {  // 4: the same shape again, where storage could be kept
        DoubleSVDecomp d(randomMatrix(5, 4, generator));
        const Snapshot before(d);
        const DoubleSVDecomp copy(d);
        const DoubleVec s = d.singularValues();
        const DoubleGenMat u = d.leftVecs();
        EXPECT_EQ(s.data(), copy.singularValues().data()) << "copies share";
        d.factor(randomMatrix(5, p, generator));
        EXPECT_TRUE(Snapshot(copy) == before) << p;
        EXPECT_NE(copy.eValues().data(), d.eValues().data());  // both are zeros
        EXPECT_TRUE(s == before.s && u == before.u) << p;
        EXPECT_FALSE(Snapshot(d) == before) << p;
    }
}

TEST(DoubleSVDecompTest, AssignmentCopiesIntoTheStorageThatIsThere)
{
    std::mt19937 generator(27);
    DoubleSVDecomp source(randomMatrix(4, 3, generator));
    source.computeRightVecs(0);
    DoubleSVDecomp target(randomMatrix(4, 3, generator));
    const DoubleVec shared = target.singularValues();
    target = source;
    EXPECT_TRUE(Snapshot(target) == Snapshot(source));
    EXPECT_TRUE(shared == source.singularValues());
    EXPECT_NE(shared.data(), source.singularValues().data());
    EXPECT_EQ(target.computeRightVecs(0), 0) << "the choice of vectors is assigned too";
}

TEST(DoubleSVDecompTest, TakesViewsAndItsOwnResults)
{
    std::mt19937 generator(28);
    const DoubleGenMat wide = randomMatrix(2, 20, generator);
    const DoubleGenMat everySecond(wide.row(1), 5, 4);  // a view of stride 2
    DoubleSVDecomp d(everySecond);
    EXPECT_TRUE(Snapshot(d) == Snapshot(DoubleSVDecomp(everySecond.copy())));
    const DoubleGenMat u = d.leftVecs().copy();
    d.factor(d.leftVecs());
    expectDecomposition(u, d);
}
