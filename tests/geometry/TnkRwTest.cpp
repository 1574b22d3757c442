// SPDX-License-Identifier: MIT
#include "knotwork/geometry/TnkRw.h"

#include <memory>

#include "knotwork/geometry/TnkException.h"
#include "tests/support/Arrays.h"
#include "tests/support/Testing.h"

using namespace knotwork_test;

namespace {

template <class Record>
using Owned = std::unique_ptr<Record, void (*)(Record*)>;

Owned<nk_spline> curve(int d, int p, int n, int rational, int form = 0)
{
    return {nk_bld_bs(d, nullptr, nullptr, 0, p, n, rational, form), nk_free_bs};
}

Owned<nk_surface> surface(int d, int pu, int pv, int nu, int nv, int rational = 0, int formV = 0)
{
    return {nk_bld_srf(d, 0, pu, pv, nu, nv, 0, rational, 0, formV), nk_free_srf};
}

Owned<nk_cp_list> pointList(int coordinates, int count)
{
    return {nk_bld_cp_list(coordinates, count), nk_free_cp_list};
}

DoubleVec counted(int n, double from)
{
    return DoubleVec(static_cast<unsigned>(n), from, 1.0);
}

}  // namespace

TEST(TnkRwTest, KnotsMakeTheRoundTripAndTheOutermostFollowTheForm)
{
    struct Case {
        const char* name;
        int form;
        std::vector<double> expected;
    };
    for (const Case& c : {Case{"plain", 0, {0, 0, 0, 0, 1, 1, 1, 1}},
                          Case{"periodic", 2, {-1, 0, 0, 0, 1, 1, 1, 2}}}) {
        SCOPED_TRACE(c.name);
        const auto s = curve(3, 3, 1, 0, c.form);
        ASSERT_TRUE(TnkRw::dvToKnots(vec({7, 0, 0, 0, 1, 1, 1, 9}), s.get()));
        DoubleVec longer(9, 5.0);
        ASSERT_TRUE(TnkRw::knotsToDv(s.get(), longer));
        EXPECT_EQ(longer(8), 5.0);
        EXPECT_THAT(elements(longer.slice(0, 8, 1)), ElementsAreArray(c.expected));
        DoubleVec shorter(7);
        EXPECT_FALSE(TnkRw::knotsToDv(s.get(), shorter));
        EXPECT_FALSE(TnkRw::dvToKnots(longer, s.get())) << "writing wants the exact length";
    }
    const auto s = curve(2, 2, 3, 0);
    NKI_getFirstNode(s.get())->next->knot = nullptr;
    DoubleVec v(8);
    EXPECT_FALSE(TnkRw::knotsToDv(s.get(), v));
    EXPECT_FALSE(TnkRw::knotsToDv(static_cast<const nk_spline*>(nullptr), v));
}

TEST(TnkRwTest, ASharedKnotCellKeepsWhatIsWrittenLast)
{
    const auto s = curve(1, 2, 1, 0);
    nk_node* first = NKI_getFirstNode(s.get());
    double* apart = first->next->knot;
    first->next->knot = first->knot;
    ASSERT_TRUE(TnkRw::dvToKnots(vec({0, 1, 2, 3, 4, 0}), s.get()));
    DoubleVec v(6);
    ASSERT_TRUE(TnkRw::knotsToDv(s.get(), v));
    EXPECT_THAT(elements(v), ElementsAre(2, 2, 2, 3, 4, 4));
    first->next->knot = apart;
}

TEST(TnkRwTest, SurfaceKnotsAreReadAlongTheirDirection)
{
    const auto s = surface(3, 2, 1, 2, 3, 0, 2);
    const DoubleVec u = vec({0, 0, 1, 2, 3, 4, 4});
    const DoubleVec v = vec({-1, 0, 5, 6, 7, 8});
    ASSERT_TRUE(TnkRw::dvToKnots(u, v, s.get()));
    DoubleVec uBack(7);
    DoubleVec vBack(6);
    ASSERT_TRUE(TnkRw::knotsToDv(s.get(), uBack, vBack));
    EXPECT_THAT(elements(uBack), ElementsAre(0, 0, 1, 2, 3, 4, 4));
    EXPECT_THAT(elements(vBack), ElementsAre(-1, 0, 5, 6, 7, 8));
    EXPECT_EQ(NKI_getFirstSurfaceNode(s.get())->nextU->uKnot[0], 1.0);
    EXPECT_FALSE(TnkRw::dvToKnots(u, counted(7, 0.0), s.get()));
}

TEST(TnkRwTest, ControlPointsOfACurveFillOrKeepTheirWeights)
{
    const auto s = curve(3, 2, 2, 1);
    const TtupleVector points(3, counted(12, 1.0));
    ASSERT_TRUE(TnkRw::tvToCvs(points, s.get(), true));
    TtupleVector back(4, 4, 0.0);
    ASSERT_TRUE(TnkRw::cvsToTv(s.get(), back));
    EXPECT_THAT(elements(back.point(3)), ElementsAre(10, 11, 12, 1));
    EXPECT_THAT(elements(back.component(3)), Each(1.0));

    ASSERT_TRUE(TnkRw::tvToCvs(TtupleVector(1, 4, 7.0), s.get(), true));
    ASSERT_TRUE(TnkRw::cvsToTv(s.get(), back));
    EXPECT_THAT(elements(back.point(0)), ElementsAre(7, 1, 1, 1)) << "Cartesian numbers too";
    ASSERT_TRUE(TnkRw::tvToCvs(TtupleVector(1, 4, 8.0), s.get(), false));
    TtupleVector longer(5, 4, 9.0);
    ASSERT_TRUE(TnkRw::cvsToTv(s.get(), longer));
    EXPECT_THAT(elements(longer.point(1)), ElementsAre(8, 1, 1, 1, 9));

    EXPECT_FALSE(TnkRw::tvToCvs(TtupleVector(3, 5, 0.0), s.get(), true));
    EXPECT_FALSE(TnkRw::cvsToTv(nullptr, back));
    s->dimension = -2;  // what a host may have made of it
    EXPECT_TRUE(TnkRw::tvToCvs(TtupleVector(5, 4, -1.0), s.get(), true));
    EXPECT_EQ(s->node->point[0], 8.0) << "points without a number keep what they have";
    EXPECT_EQ(s->node->point[4], 8.0);
    s->node->next->point = nullptr;
    EXPECT_FALSE(TnkRw::cvsToTv(s.get(), back));
}

TEST(TnkRwTest, TheControlNetMakesTheRoundTrip)
{
    const auto s = surface(2, 1, 2, 2, 1, 1);
    const TtupleMatrix net(2, 3, 3, counted(18, 1.0));
    ASSERT_TRUE(TnkRw::tmToCvs(net, s.get(), true));
    TtupleMatrix back(3, 3, 3, 0.0);
    ASSERT_TRUE(TnkRw::cvsToTm(s.get(), back));
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            EXPECT_THAT(elements(back.point(i, j)),
                        ElementsAre(net.point(i, j)(0), net.point(i, j)(1), 1.0));
    EXPECT_EQ(s->node->nextU->point[0], net.point(1, 0)(0)) << "rows run in u";
    TtupleMatrix other(3, 3, 4, 0.0);
    EXPECT_FALSE(TnkRw::cvsToTm(s.get(), other));
    EXPECT_FALSE(TnkRw::tmToCvs(other, s.get(), false));
}

TEST(TnkRwTest, PointListsAndGridsRefuseWhatTheyDoNotHold)
{
    const auto list = pointList(3, 2);
    ASSERT_TRUE(TnkRw::tvToCpList(TtupleVector(2, counted(4, 1.0)), list.get()));
    ASSERT_TRUE(TnkRw::dvToCpList(2, vec({8, 9}), list.get()));
    EXPECT_THAT(elements(TnkRw::cpListToTv(3, list.get()).data()), ElementsAre(1, 2, 8, 3, 4, 9));
    EXPECT_THAT(elements(TnkRw::cpListToDv(list.get())), ElementsAre(1, 3));
    EXPECT_FALSE(TnkRw::dvToCpList(3, vec({8, 9}), list.get()));
    EXPECT_FALSE(TnkRw::dvToCpList(0, vec({8}), list.get()));
    EXPECT_FALSE(TnkRw::tvToCpList(TtupleVector(4, 2, 0.0), list.get()));
    for (const int d : {0, -1, 4}) EXPECT_EQ(TnkRw::cpListToTv(d, list.get()).points(), 0) << d;
    EXPECT_EQ(TnkRw::cpListToDv(pointList(1, 2).get()).length(), 0u) << "two coordinates at least";
    list->count = 3;
    EXPECT_EQ(TnkRw::cpListToTv(1, list.get()).points(), 0) << "short by a node";
    list->count = 2;

    const Owned<nk_sp_array> grid(nk_bld_sp_array(1, 2, 3), nk_free_sp_array);
    grid->first->nextRow->next->point[0] = 6.0;
    const TtupleMatrix points = TnkRw::spArrayToTm(1, grid.get());
    EXPECT_EQ(points.rows(), 2);
    EXPECT_EQ(points.point(1, 1)(0), 6.0);
    EXPECT_EQ(TnkRw::spArrayToTm(2, grid.get()).cols(), 0);
    EXPECT_EQ(TnkRw::spArrayToTm(1, nullptr).cols(), 0);
}

TEST(TnkRwTest, SinglePointsKeepToTheirLengths)
{
    T4dDblPoint p;
    TnkRw::dvToP4(vec({1, 2}), p);
    EXPECT_EQ(p.z, 0.0);
    EXPECT_EQ(p.w, 1.0);
    TnkRw::dvToP4(vec({1, 2, 3, 4, 5}), p);
    EXPECT_EQ(p.w, 4.0);
    DoubleVec three(3);
    TnkRw::p4ToDv(p, three);
    EXPECT_THAT(elements(three), ElementsAre(1, 2, 3));

    double kernel[] = {5, 6, 7, 8, 9};
    TnkRw::nkToT4dDblPoint(kernel, p, 2, 1);
    EXPECT_THAT((std::vector<double>{p.x, p.y, p.z, p.w}), ElementsAre(5, 6, 0, 7));
    TnkRw::nkToT4dDblPoint(kernel, p, 4, 0);
    EXPECT_THAT((std::vector<double>{p.x, p.y, p.z, p.w}), ElementsAre(5, 6, 7, 1));
    TnkRw::T4dDblPointToNk(T4dDblPoint(1, 2, 3, 4), kernel, 2, 1);
    EXPECT_THAT(kernel, ElementsAre(1, 2, 4, 8, 9));

    DoubleVec v = vec({0, 0, 0});
    TnkRw::vToDv(kernel, v, 2);
    EXPECT_THAT(elements(v), ElementsAre(1, 2, 0));
    TnkRw::vToDv(kernel, v, -1);
    TnkRw::dvToV(v, kernel + 2, 9);
    EXPECT_THAT(kernel, ElementsAre(1, 2, 1, 2, 4));
}

TEST(TnkRwTest, PolynomialProductsAddIntoWhatIsThere)
{
    DoubleVec c(3, 0.0);
    EXPECT_FALSE(TnkRw::polyMultiply(vec({1, 1}), vec({1, -1}), c));
    EXPECT_THAT(elements(c), ElementsAre(1, 0, -1));
    EXPECT_FALSE(TnkRw::polyMultiply(vec({2}), vec({1, 1, 1}), c));
    EXPECT_THAT(elements(c), ElementsAre(3, 2, 1));
    DoubleVec grown = vec({5});
    EXPECT_TRUE(TnkRw::polyMultiply(vec({1, 1}), vec({1, -1}), grown));
    EXPECT_THAT(elements(grown), ElementsAre(6, 0, -1)) << "a resized product keeps its prefix";
    DoubleVec square = vec({1, 2, 0});
    const DoubleVec prefix = square.slice(0, 2, 1);
    EXPECT_FALSE(TnkRw::polyMultiply(prefix, prefix, square));
    EXPECT_THAT(elements(square), ElementsAre(2, 6, 4)) << "factors that share its storage";
    EXPECT_TRUE(TnkRw::polyMultiply(DoubleVec(), vec({1}), square));
    EXPECT_EQ(square.length(), 0u);
}

TEST(TnkExceptionTest, KernelErrorsBecomeExceptionsOfTheClassTree)
{
    EXPECT_THROW(NK_raiseException(902), TmemoryException);
    try {
        NK_raiseException(5);
        FAIL();
    } catch (Texception& e) {
        EXPECT_EQ(e.typeof(), TnkException::sTypeof());
        auto* kernel = static_cast<TnkException*>(e.cast(TnkException::sTypeof()));
        ASSERT_NE(kernel, nullptr);
        EXPECT_EQ(kernel->errorCode(), 5);
        EXPECT_NE(e.cast(Texception::sTypeof()), nullptr);
        EXPECT_EQ(e.cast(TmemoryException::sTypeof()), nullptr);

        auto* kept = static_cast<TnkException*>(e.cache());
        EXPECT_EQ(kept->errorCode(), 5);
        EXPECT_EQ(kept->cache(), kept);
        EXPECT_EQ(TnkException(6).cache(), kept);
        EXPECT_EQ(kept->errorCode(), 6);
    }
    EXPECT_STREQ(TnkException::sTypeof()->name(), "TnkException");
    EXPECT_EQ(TnkException::construct(nullptr), nullptr);
    EXPECT_EQ(TnkException::construct(Texception::sTypeof()), nullptr);
    const std::unique_ptr<TnkException> made(TnkException::construct(TnkException::sTypeof()));
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->errorCode(), 0);
}
