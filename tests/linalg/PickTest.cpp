// SPDX-License-Identifier: MIT
// Views through indices: of the three vectors and of the two matrices.

#include "knotwork/linalg/DoubleGenMatPick.h"
#include "knotwork/linalg/DoubleVecPick.h"
#include "knotwork/linalg/IntGenMatPick.h"
#include "knotwork/linalg/IntVecPick.h"
#include "knotwork/linalg/SCharVecPick.h"
#include "tests/support/Arrays.h"
#include "tests/support/Testing.h"

namespace {

using namespace knotwork_test;

template <class Vec>
class PickTest : public testing::Test {
};
using VecTypes = testing::Types<DoubleVec, IntVec, SCharVec>;
TYPED_TEST_SUITE(PickTest, VecTypes, ElementName);

TYPED_TEST(PickTest, SharesItsIndicesAndGathersIntoWhatIsThere)
{
    TypeParam v = vecOf<TypeParam>({10, 11, 12});
    IntVec index = strided<int>({2, 0, 2}, 2);
    auto pick = v.vecPick(index);
    pick(1) = 20;
    EXPECT_EQ(v(0), 20);
    index(1) = 1;
    auto copy = pick;
    EXPECT_EQ(copy(1), 11) << "the indices are shared, not copied";
    TypeParam target = vecOf<TypeParam>({0, 0, 0});
    const TypeParam sharer(target);
    target = pick;
    EXPECT_THAT(elements(sharer), ElementsAre(12, 11, 12));
}

TYPED_TEST(PickTest, AssigningPicksOfOneVectorTakesNoTemporary)
{
    TypeParam v = vecOf<TypeParam>({1, 2, 3, 4});
    v.vecPick(intVec({1, 2, 3})) = v.vecPick(intVec({0, 1, 2}));
    EXPECT_THAT(elements(v), ElementsAre(1, 1, 1, 1));
}

TYPED_TEST(PickTest, OutlivesTheVectorsItWasMadeOf)
{
    auto pick = vecOf<TypeParam>({1, 2}).vecPick(intVec({1, 0}));
    EXPECT_EQ(pick(0), 2);
    EXPECT_EQ(std::as_const(pick)(1), 1);
}

template <class Mat>
class MatrixPickTest : public testing::Test {
};
using MatTypes = testing::Types<DoubleGenMat, IntGenMat>;
TYPED_TEST_SUITE(MatrixPickTest, MatTypes, ElementName);

TYPED_TEST(MatrixPickTest, SelectsRowsAndColumnsOfSharedStorage)
{
    using T = typename TypeParam::Element;
    TypeParam m = mat<TypeParam>({{1, 2, 3}, {4, 5, 6}});
    IntVec rows = intVec({1, 0});
    IntVec cols = intVec({2, 0, 2});
    auto pick = m(rows, cols);
    EXPECT_EQ(pick.rows(), 2u);
    EXPECT_EQ(pick.cols(), 3u);
    EXPECT_THAT(rowsOf(TypeParam(pick)), ElementsAre(ElementsAre(6, 4, 6), ElementsAre(3, 1, 3)));
    pick(0, 1) = 40;
    EXPECT_EQ(m(1, 0), 40);
    cols(1) = 1;
    EXPECT_EQ(m.matPick(rows, cols)(0, 1), 5);
    EXPECT_EQ(pick(0, 1), 5) << "the indices are shared";
    const TypeParam gathered(pick);
    pick = T{0};
    EXPECT_EQ(gathered(0, 0), 6) << "gathered into new storage";
    EXPECT_THAT(rowsOf(m), ElementsAre(ElementsAre(1, 0, 0), ElementsAre(40, 0, 0)));
}

TYPED_TEST(MatrixPickTest, TakesMatricesAndPicks)
{
    TypeParam m(3u, 3u, 0);
    m.matPick(intVec({0, 2}), intVec({1, 2})) = mat<TypeParam>({{1, 2}, {3, 4}});
    EXPECT_THAT(rowsOf(m),
                ElementsAre(ElementsAre(0, 1, 2), ElementsAre(0, 0, 0), ElementsAre(0, 3, 4)));
    m.matPick(intVec({1}), intVec({0, 1})) = m.matPick(intVec({2}), intVec({1, 2}));
    EXPECT_THAT(rowsOf(m)[1], ElementsAre(3, 4, 0));
    m.matPick(intVec({0}), intVec({1, 2})).zero();
    EXPECT_THAT(rowsOf(m)[0], ElementsAre(0, 0, 0));
    EXPECT_EQ(TypeParam(m.matPick(IntVec(), intVec({1}))).cols(), 1u) << "no rows, one column";
}

}  // namespace
