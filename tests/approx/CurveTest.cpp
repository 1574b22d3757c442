// SPDX-License-Identifier: MIT
#include "knotwork/approx/AP_SPLINE.h"

#include <csignal>
#include <exception>

#include "tests/approx/Oracle.h"
#include "tests/support/Testing.h"

namespace {

using namespace knotwork_test;

constexpr double kTolerance = 1e-13;  // times the largest control point, for whole curves

Numbers at(const AP_SPLINE& curve, double t, int k)
{
    Numbers out(static_cast<std::size_t>((k + 1) * curve.Coords()));
    curve.eval(out.data(), t, k);
    return out;
}

Numbers pointsOf(const AP_SPLINE& curve)
{
    return {curve[0], curve[curve.Count()]};
}

std::vector<std::pair<double, bool>> knotsOf(const AP_SPLINE& curve)
{
    SplineRecord record(curve.NKLIB());
    std::vector<std::pair<double, bool>> knots;
    for (const nk_node* n = NKI_getFirstNode(record.get()); n != nullptr; n = n->next)
        knots.emplace_back(*n->knot, n->previous != nullptr && n->previous->knot == n->knot);
    return knots;
}

TEST(CurveTest, EmptyCurveHasZerosAndTheStatedSizes)
{
    const AP_SPLINE curve(2, 3, 1, 1);
    EXPECT_THAT(
        (std::vector<int>{curve.Dim(), curve.Coords(), curve.Degree(), curve.Spans(), curve.Count(),
                          curve.WorkspaceSize(1), curve.WorkspaceSize(5), curve.EqualTo(curve)}),
        ElementsAre(2, 3, 3, 1, 4, 12, 18, 0));
    EXPECT_EQ(pointsOf(curve), Numbers(12, 0.0));
    EXPECT_THAT(knotsOf(curve), testing::Each(std::make_pair(0.0, false)));
    EXPECT_EQ(knotsOf(curve).size(), 6u);
}

TEST(CurveTest, ClampedEndsAndEqualWeightsAndEqualPointsAreExact)
{
    Generator random(3);
    for (int round = 0; round < 200; ++round) {
        const int p = 1 + round % 9;
        Direction along{p, Numbers(static_cast<std::size_t>(p), 0.1)};
        for (int i = 1; i < 5; ++i) along.knots.push_back(0.1 + i * random.real(0.5, 1.0) / 5.0);
        std::sort(along.knots.begin(), along.knots.end());
        along.knots.insert(along.knots.end(), static_cast<std::size_t>(p), 1.3);
        const Numbers points = random.points(along.count(), 1, false);
        const AP_SPLINE curve = makeCurve(1, along, points, false);
        EXPECT_EQ(at(curve, 0.1, 0)[0], points.front());
        EXPECT_EQ(at(curve, 1.3, 0)[0], points.back());

        Numbers weighted;
        for (const double x : points) weighted.insert(weighted.end(), {x, 1.0});
        const double t = random.parameter(along);
        const Numbers plain = at(curve, t, 3);
        const Numbers rational = at(makeCurve(1, along, weighted, true), t, 3);
        for (std::size_t j = 0; j < 4; ++j) EXPECT_EQ(rational[2 * j], plain[j]);

        const Numbers constant(points.size(), 0.7);
        EXPECT_THAT(at(makeCurve(1, along, constant, false), t, 2), ElementsAre(0.7, 0.0, 0.0));
    }
}

TEST(CurveTest, VariadicEvalFillsOneArrayAnOrder)
{
    Generator random(5);
    const Direction along = random.direction(3);
    for (const bool rational : {false, true}) {
        const AP_SPLINE curve =
            makeCurve(3, along, random.points(along.count(), 3, rational), rational);
        const double t = along.knot(0);
        const Numbers rows = at(curve, t, 2);
        Numbers s(4, -1.0);
        Numbers ss(4, -1.0);
        curve.eval(t, 2, s.data(), static_cast<double*>(nullptr), ss.data());
        for (std::size_t c = 0; c < 3; ++c) {
            EXPECT_EQ(s[c], rows[c]);
            EXPECT_EQ(ss[c], rows[2 * static_cast<std::size_t>(curve.Coords()) + c]);
        }
        EXPECT_EQ(s[3], -1.0) << "the weight is not handed out";
        curve.eval(t, -1, s.data());
        EXPECT_EQ(s[0], rows[0]);
    }
}

TEST(CurveTest, VariadicEvalGoesBeyondItsStackForManyCoordinates)
{
    const Direction line{1, {0.0, 1.0}};
    Numbers points(600);
    for (std::size_t i = 0; i < points.size(); ++i) points[i] = static_cast<double>(i);
    const AP_SPLINE curve = makeCurve(300, line, points, false);
    Numbers s(300);
    Numbers st(300);
    curve.eval(0.5, 1, s.data(), st.data());
    EXPECT_EQ(s[299], 449.0);
    EXPECT_EQ(st[299], 300.0);
}

TEST(CurveTest, HighDegreesLeaveTheStackAndStayExact)
{
    // All blossom values of t^1 at degree p are averages of knots: points 0, 1, ..., p give p t.
    const int p = 40;
    Direction bezier{p, Numbers(40, 0.0)};
    bezier.knots.insert(bezier.knots.end(), 40, 1.0);
    Numbers points;
    for (int i = 0; i <= p; ++i) points.push_back(i);
    const Numbers rows = at(makeCurve(1, bezier, points, false), 0.75, 3);
    EXPECT_THAT(rows, ElementsAre(30.0, 40.0, 0.0, 0.0));
}

TEST(CurveTest, DegreeZeroIsPiecewiseConstantWithoutNodes)
{
    AP_SPLINE steps(1, 0, 3, 0);
    const Numbers points = {5.0, 6.0, 7.0};
    steps.set(points.data(), 3);
    EXPECT_EQ(at(steps, -1.0, 1), (Numbers{5.0, 0.0}));
    EXPECT_EQ(steps.node0(), nullptr);
    EXPECT_EQ(steps.noden(), nullptr);
    EXPECT_EQ(steps.NKLIB(), nullptr);
    EXPECT_EQ(steps.insert(2.0, 1), 3);  // behind the two zero knots that are there
    EXPECT_THAT(pointsOf(steps), ElementsAre(5.0, 6.0, 7.0, 7.0));
    EXPECT_EQ(at(steps, 1.0, 0)[0], 7.0);
}

TEST(CurveTest, OneInsertionKeepsTheCurve)
{
    Generator random(6);
    for (int round = 0; round < 3000; ++round) {
        const Direction along = random.direction(1 + round % 9);
        const bool rational = round % 2 == 0;
        const AP_SPLINE before =
            makeCurve(2, along, random.points(along.count(), 2, rational), rational);
        AP_SPLINE after(before);
        const double t = random.real(along.knot(0), along.knot(along.spans()));
        const int q = after.insert(t, 1);
        EXPECT_EQ(q, along.spanOf(t) + 1);
        EXPECT_EQ(after.Count(), before.Count() + 1);
        for (int i = 0; i < 5; ++i) {
            const double x = random.real(along.knot(0), along.knot(along.spans()));
            const Numbers a = at(before, x, 0);
            const Numbers b = at(after, x, 0);
            for (std::size_t c = 0; c < 2; ++c)
                ASSERT_NEAR(a[c], b[c], (rational ? 200.0 : 10.0) * kTolerance) << round;
        }
    }
}

TEST(CurveTest, KnotsInsertedAtTheEndsLeaveEmptySpansThatEvaluationStepsOver)
{
    const Direction along{2, {0.0, 0.0, 1.0, 2.0, 2.0}};
    for (const double end : {0.0, 2.0}) {
        const AP_SPLINE before = makeCurve(1, along, {1.0, 4.0, -2.0, 3.0}, false);
        AP_SPLINE after(before);
        after.insert(end, 1);
        for (const double t : {-0.25, 0.0, 0.5, 1.5, 2.0, 2.25})
            for (std::size_t j = 0; j < 3; ++j)
                EXPECT_NEAR(at(after, t, 2)[j], at(before, t, 2)[j], 1e-13) << end << ", " << t;
    }
}

struct InsertCase {
    const char* name;
    Numbers knots;  // of degree 2
    double t;
    int r;
    int q;
    Numbers newKnots;
    Numbers newPoints;  // from points 1, 5, 2
};

const InsertCase kInsertCases[] = {
    {"none", {0, 0, 1, 1}, 0.5, 0, 1, {0, 0, 1, 1}, {1, 5, 2}},
    {"once", {0, 0, 1, 1}, 0.5, 1, 1, {0, 0, 0.5, 1, 1}, {1, 3, 3.5, 2}},
    {"blended once for two", {0, 0, 1, 1}, 0.5, 2, 1, {0, 0, 0.5, 0.5, 1, 1}, {1, 1, 3, 5, 2}},
    {"equal to its predecessor", {0, 0, 1, 1}, 0.0, 1, 1, {0, 0, 0, 1, 1}, {1, 1, 5, 2}},
    {"twice at the start, a window without width",
     {0, 0, 1, 1},
     0.0,
     2,
     1,
     {0, 0, 0, 0, 1, 1},
     {1, 1, 1, 5, 2}},
    {"at the end", {0, 0, 1, 1}, 1.0, 1, 1, {0, 0, 1, 1, 1}, {1, 5, 2, 2}},
    {"behind all knots", {-1, 0, 1, 2}, 5.0, 2, 3, {-1, 0, 1, 2, 5, 5}, {1, 5, 2, 2, 2}},
    {"behind the range, order broken",
     {-1, 0, 1, 2},
     1.5,
     1,
     1,
     {-1, 0, 1.5, 1, 2},
     {1, 6, 2.75, 2}}};

TEST(CurveInsertTest, GivesTheResultWorkedByHand)
{
    for (const InsertCase& c : kInsertCases) {
        SCOPED_TRACE(c.name);
        AP_SPLINE curve = makeCurve(1, {2, c.knots}, {1.0, 5.0, 2.0}, false);
        curve.Box(0);
        EXPECT_EQ(curve.insert(c.t, c.r), c.q);
        EXPECT_EQ(pointsOf(curve), c.newPoints);
        const auto knots = knotsOf(curve);
        ASSERT_EQ(knots.size(), c.newKnots.size());
        for (std::size_t i = 0; i < knots.size(); ++i) {
            EXPECT_EQ(knots[i].first, c.newKnots[i]);
            const int index = static_cast<int>(i) - 1;
            EXPECT_EQ(knots[i].second, index > c.q && index < c.q + c.r)
                << "flag of knot " << index;
        }
        curve.CV()[0] = 100.0;
        EXPECT_EQ(curve.Box(0).max[0], 5.0) << "insertion must leave the box valid";
    }
}

TEST(CurveTest, ManyInsertionsGrowPastTheCapacity)
{
    const Direction along{3, {0, 0, 0, 1, 1, 1}};
    const AP_SPLINE before = makeCurve(1, along, {0.0, 3.0, -1.0, 2.0}, false);
    AP_SPLINE after(before);
    for (int i = 1; i < 40; ++i) EXPECT_EQ(after.insert(i / 40.0, 1), i);
    for (int i = 0; i <= 80; ++i)
        EXPECT_NEAR(at(after, i / 80.0, 0)[0], at(before, i / 80.0, 0)[0], 3.0 * kTolerance);
}

TEST(CurveTest, BoxIsCartesianCachedAndDroppedBySet)
{
    AP_SPLINE curve = makeCurve(2, {1, {0.0, 1.0, 2.0}}, {2, 4, 2, -3, 1, 1, 8, 4, 4}, true);
    const AP_MMBOX& box = curve.Box(0);
    EXPECT_EQ(box.dimension, 2);
    EXPECT_EQ(box.max, box.min + 2);
    EXPECT_THAT(Numbers(box.min, box.min + 4), ElementsAre(-3, 1, 2, 2));
    curve.CV()[0] = 20.0;
    EXPECT_EQ(curve.Box(0).max[0], 2.0);
    EXPECT_EQ(curve.Box(1).max[0], 10.0);
    const Numbers point = {-9.0, 0.0, 1.0};
    curve.set(1, point.data(), 0);
    EXPECT_EQ(curve.Box(0).min[0], -9.0);
}

TEST(CurveTest, CopiesAreDeepAndBaseCopiesSharePoints)
{
    AP_SPLINE curve = makeCurve(1, {1, {0.0, 1.0}}, {1.0, 2.0}, false);
    curve.Box(0);
    AP_SPLINE copy(curve);
    copy[0][0] = 9.0;
    EXPECT_EQ(curve[0][0], 1.0);
    EXPECT_EQ(copy.Box(0).max[0], 9.0) << "a copy's box is not valid";
    AP_GEOMETRIC shared(curve);
    EXPECT_EQ(shared.CV(), curve.CV());
    curve.insert(0.5, 20);  // re-allocates the curve's points and leaves the sharer the old ones
    EXPECT_NE(shared.CV(), curve.CV());
    EXPECT_EQ(shared.CV()[1], 2.0);
    curve.SetForm(AP_FORM(3));
    curve.SetForm(AP_TYPE(4));
    SplineRecord record(AP_SPLINE(curve).NKLIB());
    EXPECT_EQ(record->form, 3);
    EXPECT_EQ(record->type, 4);
    EXPECT_EQ(curve->Count(), curve.Count());
}

TEST(CurveTest, NodeTableStaysUntilItIsTooSmallAndOldHandlesStayValid)
{
    AP_SPLINE curve(1, 2, 1, 0);
    AP_CNODE* const start = curve.node0();
    EXPECT_EQ(curve.noden() - start, 1);
    curve.insert(0.0, 1);  // the table of 4 has room for entry p + n - 1 still
    EXPECT_EQ(curve.node0(), start);
    EXPECT_EQ(curve.noden() - start, 2);
    curve.insert(0.0, 4);
    EXPECT_EQ(curve.noden() - curve.node0(), 6);
    EXPECT_EQ(curve.noden()->owner, &curve);
    EXPECT_EQ(start->owner, &curve);
}

TEST(CurveTest, PrintShowsKnotsWithRepeatsAndPoints)
{
    AP_SPLINE curve = makeCurve(2, {2, {0, 0, 1, 1}}, {0, 1, 2.5, -3, 1e10, 0}, false);
    SplineRecord record(curve.NKLIB());
    for (nk_node* node = NKI_getFirstNode(record.get()); node != nullptr; node = node->next->next) {
        delete[] node->next->knot;
        node->next->knot = node->knot;
    }
    AP_SPLINE shared(record.get());
    const std::string points =
        "  0.000e+00  1.000e+00\n  2.500e+00 -3.000e+00\n  1.000e+10  0.000e+00\n\n";
    EXPECT_EQ(printed(shared), "Knots:  0.00  0.00= 1.00  1.00=\n" + points);
    EXPECT_EQ(printed(curve), "Knots:  0.00  0.00  1.00  1.00 \n" + points);
    EXPECT_EQ(printed(AP_SPLINE(1, 0, 0, 0)), "Knots: \n\n");
}

TEST(CurveDeathTest, AWrongCountEndsTheProcessWithoutAWord)
{
    AP_SPLINE curve(2, 1, 1, 0);
    const Numbers v(4, 1.0);
    curve.set(v.data(), 4);
    curve.set(0, v.data(), 2);
    EXPECT_EXIT(curve.set(0, v.data(), 3), testing::KilledBySignal(SIGABRT), "^$");
    EXPECT_EXIT(curve.set(v.data(), -4), testing::KilledBySignal(SIGABRT), "^$");
}

TEST(CurveDeathTest, AHostsTerminateHandlerHasItsSay)
{
    AP_SPLINE curve(2, 1, 1, 0);
    const Numbers v(4, 1.0);
    const auto misuse = [&] {
        std::set_terminate([] { std::_Exit(7); });
        curve.set(v.data(), 1);
    };
    EXPECT_EXIT(misuse(), testing::ExitedWithCode(7), "^$");
}

}  // namespace
