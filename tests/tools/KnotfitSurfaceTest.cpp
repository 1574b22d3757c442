// SPDX-License-Identifier: MIT
#include <nlohmann/json.hpp>

#include "knotwork/fit/KernelBuild.h"
#include "tests/support/Csv.h"
#include "tests/support/Testing.h"
#include "tests/tools/KnotfitRun.h"

namespace {

using namespace knotwork_test;
using nlohmann::json;

const std::string kVolcano = "'" KNOTWORK_EXAMPLE_DATA "/volcano.csv'";
const std::string kTitanium = "'" KNOTWORK_EXAMPLE_DATA "/titanium.csv'";

/// x,y,z of a bowl, 6 points wide and 7 lines long.
std::string bowl()
{
    std::string text;
    for (int j = 0; j < 7; ++j)
        for (int i = 0; i < 6; ++i)
            text += std::to_string(i) + "," + std::to_string(2 * j) + "," +
                    std::to_string(i * i + j * j) + "\n";
    return text;
}

const std::string kBowl = "surface bowl.csv --xyz --columns 6 ";

class KnotfitSurfaceRefusalTest : public testing::TestWithParam<Refusal> {};

}  // namespace

TEST(KnotfitSurfaceTest, TheVolcanoFitsWithItsBorderExactAndReadsBack)
{
    const KnotfitRun run;
    const Outcome fit = run.knotfit("surface " + kVolcano +
                                    " --spans 9,13 --border exact -o fit.json --svg fit.svg "
                                    "--obj fit.obj --steps 2");
    ASSERT_EQ(fit.status, 0) << fit.err;
    EXPECT_THAT(fit.out, HasSubstr("verdict              met"));
    const json read = json::parse(run.read("fit.json"));
    EXPECT_EQ(read["control_points"].size(), 16u);
    EXPECT_EQ(read["control_points"][0].size(), 12u);
    EXPECT_EQ(read["report"]["data_points"], 5307);
    EXPECT_LT(read["report"]["constraint_residual"].get<double>(), 195 * 1e-13);
    EXPECT_THAT(run.read("fit.svg"), HasSubstr("</svg>"));
    EXPECT_THAT(run.read("fit.obj"), HasSubstr("\nvn "));

    // Corners of the data, and an evaluation that agrees with the library to the last digit.
    run.write("at.csv", "0,0\n60,0\n0,86\n60,86\n30.5,41.25\n");
    const Outcome values = run.knotfit("eval fit.json --at at.csv --derivatives 2");
    ASSERT_EQ(values.status, 0) << values.err;
    const std::vector<Numbers> rows = csvRows(values.out);
    ASSERT_EQ(rows.size(), 5u);
    const Numbers corners = {100, 103, 97, 94};
    for (std::size_t i = 0; i < 4; ++i) EXPECT_NEAR(rows[i][0], corners[i], 2e-12);
    Numbers points;
    for (const auto& row : read["control_points"])
        for (const auto& point : row) points.push_back(point[0]);
    const auto surface =
        knotwork::makeSurface(knotwork::BsplineBasis(3, read["knots_u"].get<Numbers>()),
                              knotwork::BsplineBasis(3, read["knots_v"].get<Numbers>()), 1, points);
    double s, su, sv, suu, suv, svv;
    surface->eval(30.5, 41.25, 2, &s, &su, &sv, &suu, &suv, &svv);
    EXPECT_EQ(rows[4], (Numbers{s, su, sv, suu, suv, svv}));
}

TEST(KnotfitSurfaceTest, ByQrTheBorderIsFittedAndMayBeHeld)
{
    const KnotfitRun run;
    ASSERT_EQ(run.knotfit("surface " + kVolcano + " --border exact --method qr -o a.json").status,
              0);
    ASSERT_EQ(run.knotfit("surface " + kVolcano + " --hold a.json --method qr -o b.json").status,
              0);
    const json a = json::parse(run.read("a.json"));
    EXPECT_EQ(a["report"]["verdict"], "compromise");
    EXPECT_GT(a["report"]["constraint_residual"], 0.1);
    const json b = json::parse(run.read("b.json"));
    EXPECT_EQ(b["report"]["verdict"], "met") << "held points are constraints";
    EXPECT_EQ(a["control_points"][0], b["control_points"][0]);
}

TEST(KnotfitSurfaceTest, ABorderIsHeldFromAnEarlierFit)
{
    const KnotfitRun run;
    ASSERT_EQ(run.knotfit("surface " + kVolcano + " --spans 6 --border exact -o a.json").status, 0);
    ASSERT_EQ(run.knotfit("surface " + kVolcano + " --hold a.json -o b.json").status, 0);
    const json a = json::parse(run.read("a.json"));
    const json b = json::parse(run.read("b.json"));
    EXPECT_EQ(a["knots_v"], b["knots_v"]);
    EXPECT_EQ(a["control_points"][0], b["control_points"][0]);
    EXPECT_EQ(a["control_points"].back(), b["control_points"].back());
    EXPECT_EQ(a["control_points"][4][0], b["control_points"][4][0]);
    EXPECT_NE(a["control_points"][4][4], b["control_points"][4][4]);
    EXPECT_EQ(b["report"]["columns_used"], 7 * 7);
}

TEST(KnotfitSurfaceTest, TriplesFitWithDegreesAndKnotsOfTheirOwn)
{
    const KnotfitRun run;
    run.write("bowl.csv", bowl());
    const Outcome fit = run.knotfit(
        "surface bowl.csv --xyz --columns 6 --degree 2,3 --knots-u 1.5,3 --spans 2 -o fit.json");
    ASSERT_EQ(fit.status, 0) << fit.err;
    const json read = json::parse(run.read("fit.json"));
    EXPECT_EQ(read["knots_u"], json({0, 0, 0, 1.5, 3, 5, 5, 5}));
    EXPECT_EQ(read["knots_v"], json({0, 0, 0, 0, 3, 6, 6, 6, 6}));
    EXPECT_LT(read["report"]["max_residual"].get<double>(), 1e-12) << "quadratics are reproduced";
    const Outcome at = run.knotfit("eval fit.json --at -", "echo 2.5,4 |");
    const std::vector<Numbers> rows = csvRows(at.out);
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_NEAR(rows[0][2], 2.5 * 2.5 + 16, 1e-12);
}

TEST(KnotfitSurfaceTest, AZeroIsTheSolversWhoSpeakWhenAskedTo)
{
    const KnotfitRun run;
    const Outcome fit = run.knotfit("surface " + kVolcano + " -v --cutoff --zero 1e-12");
    EXPECT_EQ(fit.status, 0) << fit.err;
    EXPECT_THAT(fit.err, HasSubstr("Report: ( Region cutoff value set to"));
    EXPECT_THAT(fit.out, HasSubstr("zero                 1e-12"));
    EXPECT_THAT(run.knotfit("surface " + kVolcano).out, HasSubstr("zero                 0\n"));
}

TEST(KnotfitEvalTest, ACurveGivesPointsAndDerivativesInSeventeenDigits)
{
    const KnotfitRun run;
    ASSERT_EQ(run.knotfit("curve " + kTitanium + " --slope 895=0 -o fit.json").status, 0);
    const json read = json::parse(run.read("fit.json"));
    Numbers points;
    for (const auto& point : read["control_points"]) points.push_back(point[0]);
    const auto spline =
        knotwork::makeSpline(knotwork::BsplineBasis(3, read["knots"].get<Numbers>()), 1, points);
    run.write("at.csv", "# parameters\n595\n700.125\n895\n1075\n");
    const Outcome values = run.knotfit("eval fit.json --at at.csv --derivatives 3");
    const std::vector<Numbers> rows = csvRows(values.out);
    ASSERT_EQ(rows.size(), 4u);
    const Numbers at = {595, 700.125, 895, 1075};
    for (std::size_t i = 0; i < 4; ++i) {
        Numbers expected(4);
        spline->eval(expected.data(), at[i], 3);
        EXPECT_EQ(rows[i], expected);
    }
    EXPECT_NEAR(rows[2][1], 0.0, 1e-15);
}

TEST_P(KnotfitSurfaceRefusalTest, SaysWhyAndWritesNothing)
{
    const Refusal& c = GetParam();
    const KnotfitRun run;
    run.write("bowl.csv", bowl());
    run.write("ragged.csv", "1,2,3\n1,2\n");
    run.write("line.csv", "1,2,3\n");
    run.write("outside.csv", "2\n");
    run.write("curve.json",
              R"({"degree": 1, "knots": [0, 0, 1, 1], "control_points": [[0], [1]]})");
    run.write("short.json", R"({"degree": 1, "knots": [0, 0, 1, 1], "control_points": [[0]]})");
    run.write("odd.json",
              R"({"degree": 1, "knots": [0, 0, 1, "x"], "control_points": [[0], [1]]})");
    run.write("plane.json", R"({"degree_u": 1, "knots_u": [0, 0, 1, 1], "degree_v": 1,
        "knots_v": [0, 0, 2, 2], "control_points": [[[0], [1]], [[2], [3]]]})");
    run.write("above.csv", "0.5,1.5\n0.5,2.5\n");
    run.write("beside.csv", "1.5,1.5\n");
    run.write("text.json", "not a fit");
    const auto before = run.files();
    const Outcome outcome = run.knotfit(c.arguments);
    EXPECT_EQ(outcome.status, c.status) << outcome.err;
    EXPECT_THAT(outcome.err, HasSubstr(c.sentence));
    EXPECT_THAT(outcome.out, IsEmpty());
    EXPECT_EQ(run.files(), before);
}

INSTANTIATE_TEST_SUITE_P(
    Knotfit, KnotfitSurfaceRefusalTest,
    testing::Values(
        Refusal{"Ragged", "surface ragged.csv -o fit.json", 2, "ragged.csv:2:"},
        Refusal{"OneLine", "surface line.csv -o fit.json", 2, "two columns and two lines"},
        Refusal{"NoWidth", "surface bowl.csv --xyz -o fit.json", 2, "--columns"},
        Refusal{"NoGrid", "surface bowl.csv --xyz --columns 5 -o fit.json", 2, "5 wide"},
        Refusal{"Degree", kBowl + "--degree 0", 2, "--degree"},
        Refusal{"Spans", kBowl + "--spans 2,x", 2, "'x'"},
        Refusal{"HalfASpan", kBowl + "--spans 2,2.5", 2, "'2.5'"},
        Refusal{"SpansBeyondIntegers", kBowl + "--spans 1e10", 2, "'1e10' is no whole number"},
        Refusal{"ThreeDegrees", kBowl + "--degree 2,2,2", 2, "one for u and one for v"},
        Refusal{"MeshTooFine", kBowl + "--spans 2 --obj fit.obj --steps 1000", 2,
                "4004001 vertices"},
        Refusal{"TooManySpans", kBowl + "--spans 2,5", 1, "unknowns are more"},
        Refusal{"ZeroTooCoarse", kBowl + "--spans 2 --zero 0.9", 1,
                "what counts as zero is too coarse"},
        Refusal{"ZeroBeyond", kBowl + "--zero 1.5", 2, "--zero"},
        Refusal{"Knots", kBowl + "--spans 2 --knots-v 3,2", 2,
                "--knots-v: the knots are out of order"},
        Refusal{"HeldCurve", kBowl + "--hold curve.json", 2, "holds a curve"},
        Refusal{"NoFile", "eval nothing.json --at bowl.csv", 2, "nothing.json"},
        Refusal{"NoJson", "eval text.json --at bowl.csv", 2, "holds no fit"},
        Refusal{"TooFewPoints", "eval short.json --at bowl.csv", 2, "2 points"},
        Refusal{"OddKnot", "eval odd.json --at bowl.csv", 2, "no finite number"},
        Refusal{"WrongColumns", "eval curve.json --at bowl.csv", 2, "1 parameter a line"},
        Refusal{"Outside", "eval curve.json --at outside.csv", 2, "outside"},
        Refusal{"OutsideInU", "eval plane.json --at beside.csv", 2, "line 1: 1.5 lies outside"},
        Refusal{"OutsideInV", "eval plane.json --at above.csv", 2, "line 2: 2.5 lies outside"}),
    CaseName());
