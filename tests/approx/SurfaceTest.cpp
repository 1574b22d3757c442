// SPDX-License-Identifier: MIT
#include "knotwork/approx/AP_SURFACE.h"

#include <csignal>
#include <cstdlib>

#include "tests/approx/Oracle.h"
#include "tests/support/Testing.h"

namespace {

using namespace knotwork_test;

constexpr double kTolerance = 1e-12;  // times the sum of the terms' magnitudes

struct RandomSurface {
    int d;
    bool rational;
    Direction u, v;
    Numbers points;
    AP_SURFACE surface;

    RandomSurface(Generator& random, int pu, int pv)
        : d(random.integer(1, 4)),
          rational(random.integer(0, 1) == 1),
          u(random.direction(pu)),
          v(random.direction(pv)),
          points(random.points(u.count() * v.count(), d, rational)),
          surface(makeSurface(d, u, v, points, rational))
    {
    }

    Sum expected(double s, double t, int i, int j, int c) const
    {
        const int spanU = u.spanOf(s);
        const int spanV = v.spanOf(t);
        const auto basisU = u.basis(s, spanU, i);
        const auto basisV = v.basis(t, spanV, j);
        Sum sum;
        for (std::size_t b = 0; b < basisV.size(); ++b)
            for (std::size_t a = 0; a < basisU.size(); ++a) {
                const auto point =
                    static_cast<std::size_t>(u.count()) * (static_cast<std::size_t>(spanV) + b) +
                    static_cast<std::size_t>(spanU) + a;
                sum.add(basisU[a] * basisV[b],
                        points[point * static_cast<std::size_t>(surface.Coords()) +
                               static_cast<std::size_t>(c)]);
            }
        return sum;
    }
};

Numbers at(const AP_SURFACE& surface, double u, double v, int k)
{
    Numbers out(static_cast<std::size_t>(surface.WorkspaceSize(k)), -7.25);
    surface.eval(out.data(), u, v, k);
    return out;
}

TEST(SurfaceEvalTest, PartialsMatchTheTextbookRecursionAndLieWhereStated)
{
    constexpr unsigned kSeed = 77;
    SCOPED_TRACE(kSeed);
    Generator random(kSeed);
    for (int round = 0; round < 4000; ++round) {
        const RandomSurface sample(random, 1 + round % 9, random.integer(1, 9));
        const double u = random.parameter(sample.u);
        const double v = random.parameter(sample.v);
        const int k = sample.rational ? 0 : random.integer(0, 4);
        const int coords = sample.surface.Coords();
        const int perRow = std::max(sample.u.degree, k) + 1;
        const Numbers out = at(sample.surface, u, v, k);
        for (std::size_t at = 0; at < out.size(); ++at) {
            const int c = static_cast<int>(at) % coords;
            const int i = static_cast<int>(at) / coords % perRow;
            const int j = static_cast<int>(at) / coords / perRow;
            if (i + j > k)
                ASSERT_EQ(out[at], -7.25) << "written outside the results at " << at;
            else
                ASSERT_TRUE(sample.expected(u, v, i, j, c).near(out[at], kTolerance))
                    << "round " << round << " at " << u << ", " << v << ", orders " << i << ", "
                    << j << ": " << out[at];
        }
    }
}

TEST(SurfaceEvalTest, VariadicFormKeepsHomogeneousNumbersAndSkipsNull)
{
    const Direction line{1, {0.0, 1.0}};
    const AP_SURFACE rational =
        makeSurface(2, line, line, {2, 4, 2, 2, 0, 2, 0, 2, 2, 2, 2, 2}, true);
    Numbers s(3, -1.0);
    rational.eval(0.0, 0.0, 0, s.data());
    EXPECT_THAT(s, ElementsAre(2.0, 4.0, -1.0));
    rational.eval(0.5, 0.5, -1, s.data());
    EXPECT_EQ(s[0], 2.0);
    const AP_SURFACE plain = makeSurface(1, line, line, {1, 2, 3, 5}, false);
    double suv = 0.0;
    double* const none = nullptr;
    plain.eval(0.5, 0.5, 2, none, none, none, none, &suv, none);
    EXPECT_EQ(suv, 1.0);
}

TEST(SurfaceEvalTest, DegreeZeroInOneDirectionIsPiecewiseConstant)
{
    AP_SURFACE steps(1, 0, 1, 2, 1, 0, 0);
    const Numbers points = {1.0, 2.0, 3.0, 4.0};
    steps.set(points.data(), 4);
    steps.vinsert(1.0, 1);  // all knots were 0; v now runs from 0 to 1 between equal rows
    double uv[3] = {-1.0, -1.0, -1.0};
    steps.eval(0.5, 0.5, 1, &uv[0], &uv[1], &uv[2]);
    EXPECT_THAT(uv, ElementsAre(4.0, 0.0, 0.0));
    EXPECT_EQ(steps.node0(), nullptr);
    EXPECT_EQ(steps.noden(), nullptr);
    EXPECT_EQ(steps.NKLIB(), nullptr);
}

TEST(SurfaceTest, SizesIndexAndSetFollowTheStatedOrders)
{
    AP_SURFACE s(3, 3, 3, 1, 1, 0, 0);
    EXPECT_EQ(s.WorkspaceSize(2), 84);
    EXPECT_THAT((std::vector<int>{s.Dim(), s.Coords(), s.uDegree(), s.vDegree(), s.uSpans(),
                                  s.vSpans(), s.uCount(), s.vCount()}),
                ElementsAre(3, 3, 3, 3, 1, 1, 4, 4));
    const Numbers p = {1, 2, 3};
    s.set(2, 1, p.data(), 3);
    EXPECT_EQ(s.index(1, 2)[0], 1.0);
    EXPECT_EQ(s.CV()[(4 * 1 + 2) * 3 + 2], 3.0);
    EXPECT_EQ(AP_SURFACE(3, 2, 1, 4, 3, 0, 1).WorkspaceSize(3), ((3 + 1) * 3 + (3 + 1) * 4) * 4);
}

TEST(SurfaceTest, BoxCoversTheWholeNetInCartesianTerms)
{
    const Direction line{1, {0.0, 1.0}};
    AP_SURFACE s = makeSurface(1, line, line, {2, 2, 6, 2, -4, 4, 9, 1}, true);
    EXPECT_EQ(s.Box(0).min[0], -1.0);
    EXPECT_EQ(s.Box(0).max[0], 9.0);
    s.uinsert(0.5, 1);
    EXPECT_EQ(s.Box(0).max[0], 9.0);
    const Numbers p = {30.0, 3.0};
    s.set(0, 0, p.data(), 2);
    EXPECT_EQ(s.Box(0).max[0], 10.0);
}

TEST(SurfaceTest, OneInsertionInEitherDirectionKeepsTheSurface)
{
    Generator random(9);
    for (int round = 0; round < 600; ++round) {
        const RandomSurface sample(random, 1 + round % 9, random.integer(1, 9));
        AP_SURFACE after(sample.surface);
        const bool inU = round % 2 == 0;
        const Direction& along = inU ? sample.u : sample.v;
        const double t = random.real(along.knot(0), along.knot(along.spans()));
        EXPECT_EQ(inU ? after.uinsert(t, 1) : after.vinsert(t, 1), along.spanOf(t) + 1);
        EXPECT_EQ(after.uCount(), sample.u.count() + (inU ? 1 : 0));
        EXPECT_EQ(after.vCount(), sample.v.count() + (inU ? 0 : 1));
        for (int i = 0; i < 5; ++i) {
            const double u = random.real(sample.u.knot(0), sample.u.knot(sample.u.spans()));
            const double v = random.real(sample.v.knot(0), sample.v.knot(sample.v.spans()));
            const Numbers a = at(sample.surface, u, v, 0);
            const Numbers b = at(after, u, v, 0);
            for (std::size_t c = 0; c < static_cast<std::size_t>(after.Coords()); ++c)
                ASSERT_NEAR(a[c], b[c], 40.0 * 1e-13) << round;  // points are below 40
        }
    }
}

TEST(SurfaceTest, InsertingTwiceAtOnceBlendsOnce)
{
    // Both rows of the net, and both columns of its exchange, are the curve 1, 5, 2 of degree 2:
    // two knots 0.5 give 1, 1, 3, 5, 2.
    const Direction quadratic{2, {0, 0, 1, 1}};
    const Direction line{1, {0.0, 1.0}};
    AP_SURFACE u = makeSurface(1, quadratic, line, {1, 5, 2, 2, 10, 4}, false);
    EXPECT_EQ(u.uinsert(0.5, 2), 1);
    EXPECT_THAT(Numbers(u.CV(), u.CV() + 10), ElementsAre(1, 1, 3, 5, 2, 2, 2, 6, 10, 4));
    AP_SURFACE v = makeSurface(1, line, quadratic, {1, 2, 5, 10, 2, 4}, false);
    EXPECT_EQ(v.vinsert(0.5, 2), 1);
    EXPECT_THAT(Numbers(v.CV(), v.CV() + 10), ElementsAre(1, 2, 1, 2, 3, 6, 5, 10, 2, 4));
    EXPECT_EQ(v.vinsert(0.5, 0), 3);
    EXPECT_EQ(v.vCount(), 5);
    for (int i = 0; i < 60; ++i) v.uinsert(0.5, 1);  // past the steps in which points grow
    EXPECT_EQ(v.uCount(), 62);
    EXPECT_EQ(v.index(4, 61)[0], 4.0);
}

TEST(SurfaceTest, NodeTablesFollowTheKnots)
{
    AP_SURFACE s(1, 2, 3, 1, 2, 0, 0);  // 4 u knots, 7 v knots
    AP_SNODE* const start = s.node0();
    EXPECT_EQ(s.noden() - start, 2 * 4 + 1);
    EXPECT_EQ(s.node0(), start);
    s.uinsert(0.0, 1);
    EXPECT_EQ(s.noden() - s.node0(), 2 * 5 + 2);
    EXPECT_EQ(s.noden()->owner, &s);
    EXPECT_EQ(start->owner, &s);
}

TEST(SurfaceTest, NormalIsUnitAndNaNWhereThePartialsAreParallel)
{
    const Direction line{1, {0.0, 1.0}};
    const AP_SURFACE plane =
        makeSurface(3, line, line, {0, 0, 0, 4, 0, 0, 0, 2, 0, 4, 2, 0}, false);
    Numbers p(3);
    Numbers n(3);
    plane.normal(0.25, 0.5, p.data(), n.data());
    EXPECT_THAT(p, ElementsAre(1, 1, 0));
    EXPECT_THAT(n, ElementsAre(0, 0, 1));
    const AP_SURFACE pole = makeSurface(3, line, line, {0, 0, 0, 0, 0, 0, 0, 2, 0, 4, 2, 0}, false);
    pole.normal(0.5, 0.0, p.data(), n.data());
    for (const double x : n) EXPECT_TRUE(std::isnan(x));
}

TEST(SurfaceTest, PrintShowsBothKnotVectorsAndACoordinateALine)
{
    const Direction line{1, {0.0, 1.0}};
    EXPECT_EQ(printed(makeSurface(2, line, line, {1, 2, 3, 4, 5, 6, 7, 8}, false)),
              "U:   0.000e+00   1.000e+00 \nV:   0.000e+00   1.000e+00 \n\n"
              "  1.000e+00  3.000e+00\n  2.000e+00  4.000e+00\n\n"
              "  5.000e+00  7.000e+00\n  6.000e+00  8.000e+00\n\n\n");
    EXPECT_EQ(printed(AP_SURFACE(1, 1, 0, 1, 0, 0, 0)), "U:   0.000e+00   0.000e+00 \nV: \n\n\n");
}

TEST(SurfaceDeathTest, MisuseEndsTheProcessWithoutAWord)
{
    const auto killed = testing::KilledBySignal(SIGABRT);
    Numbers v(64, 1.0);
    AP_SURFACE plain(2, 1, 1, 1, 1, 0, 0);
    AP_SURFACE rational(3, 1, 1, 1, 1, 1, 0);
    EXPECT_EXIT(plain.set(0, 0, v.data(), 3), killed, "^$");
    EXPECT_EXIT(plain.set(v.data(), 7), killed, "^$");
    EXPECT_EXIT(rational.eval(v.data(), 0.0, 0.0, 1), killed, "^$");
    EXPECT_EXIT(rational.normal(0.0, 0.0, &v[0], &v[3]), killed, "^$");
    EXPECT_EXIT(plain.normal(0.0, 0.0, &v[0], &v[3]), killed, "^$");
}

}  // namespace
