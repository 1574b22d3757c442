// SPDX-License-Identifier: MIT
#include "knotwork/approx/AP_EVAL_CONST_PARM.h"
#include "knotwork/approx/AP_EVAL_NORM_CONST_PARM.h"
#include "tests/approx/Oracle.h"
#include "tests/support/Testing.h"

namespace {

using namespace knotwork_test;

const char* const kOverflow = "Workspace OVERFLOW!!!\n";

AP_SURFACE randomSurface(Generator& random, int d, bool rational, Direction* u, Direction* v)
{
    *u = random.direction(random.integer(1, 6));
    *v = random.direction(random.integer(1, 6));
    return makeSurface(d, *u, *v, random.points(u->count() * v->count(), d, rational), rational);
}

/// A bilinear net of two v spans with a crease at v = 1, and its transpose with one at u = 1.
AP_SURFACE creased(bool inU)
{
    const Direction line{1, {0.0, 1.0}};
    const Direction crease{1, {0.0, 1.0, 2.0}};
    return inU ? makeSurface(3, crease, line,
                             {0, 0, 0, 1, 0, 0, 2, 0, 1, 0, 1, 0, 1, 1, 0, 2, 1, 1}, false)
               : makeSurface(3, line, crease,
                             {0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0, 0, 2, 1, 1, 2, 1}, false);
}

TEST(EvaluatorTest, PointsOfALineMatchTheSurface)
{
    Generator random(12);
    for (int round = 0; round < 300; ++round) {
        Direction u;
        Direction v;
        AP_SURFACE s = randomSurface(random, random.integer(1, 4), round % 2 == 0, &u, &v);
        AP_EVAL_CONST_PARM line(s);
        EXPECT_EQ(&line.obj(), &s);
        for (int i = 0; i < 3; ++i) {
            const double t = random.parameter(v);
            line.setv(t);
            for (int j = 0; j < 5; ++j) {
                const double x = random.parameter(u);
                line.eval(x);
                double p[5];
                s.eval(p, x, t, 0);
                for (int c = 0; c < s.Coords(); ++c)
                    ASSERT_NEAR(line()[c], p[c], 1e-11) << round << ": " << x << ", " << t;
            }
        }
    }
}

TEST(EvaluatorTest, DerivativesAndNormalsOfALineMatchTheSurface)
{
    Generator random(13);
    for (int round = 0; round < 300; ++round) {
        Direction u;
        Direction v;
        AP_SURFACE s = randomSurface(random, 3, false, &u, &v);
        AP_EVAL_NORM_CONST_PARM line(s);
        for (int i = 0; i < 3; ++i) {
            const double t = random.parameter(v);
            line.setv(t, 0);
            const double x = random.parameter(u);
            line.eval(x, 0);
            double su[3], sv[3], p[3], n[3];
            s.eval(x, t, 1, p, su, sv);
            s.normal(x, t, p, n);
            double* const dv = line(1) - 3;
            for (int c = 0; c < 3; ++c) {
                ASSERT_NEAR(line(0)[c], p[c], 1e-11);
                ASSERT_NEAR(line(0)[3 + c], su[c], 1e-12 * 1e5) << "steps are 1e-3 and wider";
                ASSERT_NEAR(dv[c], sv[c], 1e-12 * 1e5);
                ASSERT_NEAR(line(1)[c], n[c], 1e-7);
            }
        }
    }
}

TEST(EvaluatorTest, SidesChooseTheSpanAtAKnot)
{
    struct Case {
        double at;
        int side;
        double slope;  // of z across the crease
    };
    for (const Case& c :
         {Case{1.0, 1, 0.0}, Case{1.0, 2, 1.0}, Case{1.0, 0, 1.0}, Case{0.5, 1, 0.0},
          Case{1.5, 1, 1.0}, Case{0.0, 1, 0.0}, Case{2.0, 1, 1.0}, Case{2.0, 2, 1.0},
          Case{std::nextafter(1.0, 2.0), 1, 1.0}}) {
        SCOPED_TRACE(testing::Message() << "at " << c.at << " side " << c.side);
        AP_SURFACE inV = creased(false);
        AP_EVAL_NORM_CONST_PARM line(inV);
        line.setv(c.at, c.side);
        line.eval(0.5, 0);
        EXPECT_EQ((line(1) - 3)[2], c.slope);
        AP_SURFACE inU = creased(true);
        AP_EVAL_NORM_CONST_PARM across(inU);
        across.setv(0.5, 0);
        across.eval(1.75, 0);  // leaves a span to remember
        across.eval(c.at, c.side);
        EXPECT_EQ(across(0)[5], c.slope);
        const double root = c.slope == 0.0 ? 1.0 : std::sqrt(0.5);
        EXPECT_NEAR(across(1)[2], root, 1e-15);
        EXPECT_NEAR(across(1)[0], c.slope == 0.0 ? 0.0 : -root, 1e-15);
    }
}

TEST(EvaluatorTest, ResultsStandWhereStatedInTheWorkspace)
{
    const Direction line{1, {0.0, 1.0}};
    AP_SURFACE s = makeSurface(3, line, line, {0, 0, 0, 4, 0, 0, 0, 2, 0, 4, 2, 0}, false);
    AP_EVAL_NORM_CONST_PARM normal(s);
    normal.setv(0.5, 0);
    normal.eval(0.25, 0);
    const double* workspace = normal(0) - 12;
    EXPECT_THAT(Numbers(workspace, workspace + 24),
                ElementsAre(0, 1, 0, 4, 1, 0, 0, 2, 0, 0, 2, 0,  // iso-curve, v-derivative
                            1, 1, 0, 4, 0, 0, 0, 2, 0, 0, 0, 1));
    EXPECT_EQ(normal(1), workspace + 21);
    AP_EVAL_CONST_PARM point(s);
    point.setv(0.5);
    point.eval(0.25);
    EXPECT_THAT(Numbers(point() - 6, point() + 3), ElementsAre(0, 1, 0, 4, 1, 0, 1, 1, 0));
}

TEST(EvaluatorTest, NormalStaysZeroWherePartialsAreParallelAndUsesHomogeneousNumbers)
{
    const Direction line{1, {0.0, 1.0}};
    AP_SURFACE pole = makeSurface(3, line, line, {0, 0, 0, 0, 0, 0, 0, 2, 0, 4, 2, 0}, false);
    AP_EVAL_NORM_CONST_PARM normal(pole);
    normal.setv(0.0, 0);
    normal.eval(0.5, 0);
    EXPECT_THAT(Numbers(normal(1), normal(1) + 3), ElementsAre(0.0, 0.0, 0.0));
    // A plane z = w: homogeneous partials (2, 0, 1) and (0, 2, 0).
    AP_SURFACE rational =
        makeSurface(3, line, line, {0, 0, 1, 1, 2, 0, 2, 2, 0, 2, 1, 1, 2, 2, 2, 2}, true);
    AP_EVAL_NORM_CONST_PARM homogeneous(rational);
    homogeneous.setv(0.5, 0);
    homogeneous.eval(0.5, 0);
    EXPECT_NEAR(homogeneous(1)[0], -std::sqrt(0.2), 1e-15);
    EXPECT_NEAR(homogeneous(1)[2], std::sqrt(0.8), 1e-15);
}

TEST(EvaluatorTest, AnEvaluatorFollowsInsertionsIntoItsSurface)
{
    Generator random(14);
    Direction u;
    Direction v;
    AP_SURFACE s = randomSurface(random, 3, false, &u, &v);
    AP_EVAL_CONST_PARM points(s);
    AP_EVAL_NORM_CONST_PARM normals(s);
    const double x = 0.5 * (u.knot(0) + u.knot(u.spans()));
    const double t = 0.5 * (v.knot(0) + v.knot(v.spans()));
    points.setv(t);
    normals.setv(t, 0);
    points.eval(x);
    normals.eval(x, 0);
    const Numbers p(points(), points() + 3);
    const Numbers n(normals(1), normals(1) + 3);
    AP_EVAL_CONST_PARM copy(points);
    for (int i = 1; i < 40; ++i) s.uinsert(u.knot(0) + i * (x - u.knot(0)) / 41.0, 1);
    for (int i = 1; i < 40; ++i) s.vinsert(v.knot(0) + i * (t - v.knot(0)) / 41.0, 1);
    points.eval(x);
    copy.eval(x);
    normals.eval(x, 0);
    for (std::size_t c = 0; c < 3; ++c) {
        EXPECT_NEAR(points()[c], p[c], 1e-11);
        EXPECT_EQ(copy()[c], points()[c]);
        EXPECT_NEAR(normals(1)[c], n[c], 1e-8);
    }
}

struct Errors {
    Errors() { testing::internal::CaptureStderr(); }
    std::string text() { return testing::internal::GetCapturedStderr(); }
};

TEST(EvaluatorTest, AnOverrunIsToldOnceAnEvaluatorAtItsEnd)
{
    const Direction line{1, {0.0, 1.0}};
    AP_SURFACE s = makeSurface(3, line, line, Numbers(12, 1.0), false);
    constexpr int kSize = 4 * 3 * 2;
    Errors quiet;
    {
        AP_EVAL_CONST_PARM fits(s);
        fits.setv(0.5);
        fits()[kSize - 6 - 1] = 0.0;  // the last number of the workspace
    }
    EXPECT_EQ(quiet.text(), "");
    Errors once;
    {
        AP_EVAL_CONST_PARM overrun(s);
        overrun.setv(0.5);
        overrun()[kSize - 6] = 0.0;
        AP_EVAL_CONST_PARM fresh(overrun);  // has a guard of its own
        s.uinsert(0.5, 1);
        overrun.setv(0.5);  // re-makes the workspace and remembers
    }
    EXPECT_EQ(once.text(), kOverflow);
}

TEST(EvaluatorTest, CopiesOfAContextShareOneWorkspaceAndReleaseItOnce)
{
    const Direction line{1, {0.0, 1.0}};
    AP_SURFACE s = makeSurface(3, line, line, Numbers(12, 1.0), false);
    Errors errors;
    {
        AP_EVAL_CONTEXT assigned(1);
        {
            AP_EVAL_CONST_PARM source(s);
            const AP_EVAL_CONTEXT copied(source);
            assigned = source;
            assigned = copied;  // the same workspace
            source()[4 * 3 * 2 - 6] = 0.0;
        }
    }
    EXPECT_EQ(errors.text(), std::string(kOverflow) + kOverflow + kOverflow) << "one a holder";
}

TEST(EvaluatorTest, ATinyNetsNormalIsRightAndTellsOfTheGuardItOverwrites)
{
    const Direction line{1, {0.0, 1.0}};
    AP_SURFACE s = makeSurface(2, line, line, {0, 0, 1, 0, 0, 1, 1, 1}, false);
    Errors errors;
    {
        AP_EVAL_NORM_CONST_PARM normal(s);
        normal.setv(0.5, 0);
        normal.eval(0.5, 0);
        EXPECT_THAT(Numbers(normal(1), normal(1) + 3), ElementsAre(0.0, 0.0, 1.0));
    }
    EXPECT_EQ(errors.text(), kOverflow);
}

}  // namespace
