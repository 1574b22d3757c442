// SPDX-License-Identifier: MIT
#include <cstdio>
#include <nlohmann/json.hpp>

#include "tests/fit/Problems.h"
#include "tests/support/Csv.h"
#include "tests/support/Testing.h"
#include "tests/support/XmlCheck.h"
#include "tests/tools/KnotfitRun.h"

namespace {

using knotwork::BsplineBasis;
using knotwork_measures::CurveProblem;
using namespace knotwork_test;
using nlohmann::json;

const std::string kTitanium = "'" KNOTWORK_EXAMPLE_DATA "/titanium.csv'";
const std::string kAirfoil = "'" KNOTWORK_EXAMPLE_DATA "/rae2822.csv'";

BsplineBasis basisOf(const json& fit)
{
    return {fit["degree"].get<int>(), fit["knots"].get<Numbers>()};
}

Numbers pointsOf(const json& fit)
{
    Numbers points;
    for (const json& point : fit["control_points"])
        points.insert(points.end(), point.begin(), point.end());
    return points;
}

/// The curve of a JSON text, evaluated by the recursion.
Numbers at(const json& fit, double t, int derivative = 0)
{
    const Numbers zero(fit["control_points"][0].size(), 0.0);
    const auto point = differenceAt(basisOf(fit), pointsOf(fit), t, derivative, zero.data(),
                                    static_cast<int>(zero.size()));
    return Numbers(point.begin(), point.end());
}

/// The report's figures are those of these samples.
void expectFigures(const json& fit, const std::vector<Numbers>& points, const Numbers& t)
{
    CurveProblem p;
    p.basis = basisOf(fit);
    p.dimension = static_cast<int>(points[0].size());
    p.parameters = t;
    for (const Numbers& point : points) p.points.insert(p.points.end(), point.begin(), point.end());
    const Residuals found = residualsOf(p, pointsOf(fit));
    EXPECT_NEAR(fit["report"]["rms"], found.rms, 1e-14);
    EXPECT_NEAR(fit["report"]["max_residual"], found.largest, 1e-14);
    EXPECT_EQ(fit["report"]["max_residual_at"], found.largestAt);
}

}  // namespace

TEST(KnotfitCurveTest, DefaultsAreACubicOfEightSpansAndTheReportHolds)
{
    const KnotfitRun run;
    const json fit = fitOf(run, kTitanium);
    EXPECT_EQ(fit["degree"], 3);
    EXPECT_EQ(fit["knots"], (Numbers{595, 595, 595, 595, 655, 715, 775, 835, 895, 955, 1015, 1075,
                                     1075, 1075, 1075}));
    EXPECT_EQ(fit["control_points"].size(), 11U);
    const json& report = fit["report"];
    EXPECT_EQ(report["verdict"], "fitted");
    EXPECT_EQ(report["data_points"], 49);
    EXPECT_EQ(report["unknowns"], 11);
    EXPECT_EQ(report["columns_used"], 11);
    EXPECT_EQ(report["constraints"], 0);
    EXPECT_EQ(report["constraint_residual"], 0.0);
    EXPECT_EQ(report["zero"], 0.0);
    EXPECT_GE(report["read_seconds"], 0.0);
    EXPECT_GE(report["fit_seconds"], 0.0);

    std::vector<Numbers> points;
    Numbers t;
    for (const Numbers& row : exampleData("titanium.csv")) {
        t.push_back(row[0]);
        points.push_back({row[1]});
    }
    expectFigures(fit, points, t);

    const std::string text = run.read("fit.json");
    for (const json& point : fit["control_points"]) {
        char digits[40];
        std::snprintf(digits, sizeof digits, "[%.17g]", point[0].get<double>());
        EXPECT_THAT(text, HasSubstr(digits));
    }
}

TEST(KnotfitCurveTest, ConstraintsRepeatAndComeInLists)
{
    const KnotfitRun run;
    const json fit = fitOf(run, kTitanium +
                                    " --pass first,last --pass 30 --slope 895=0 "
                                    "--value 700=0.66 --value 1000=6.05e-1 --slope 600=+0.001");
    EXPECT_EQ(fit["report"]["constraints"], 7);
    EXPECT_LE(fit["report"]["constraint_residual"], 1e-13);
    EXPECT_NEAR(at(fit, 595)[0], 0.644, 1e-13);
    EXPECT_NEAR(at(fit, 1075)[0], 0.608, 1e-13);
    EXPECT_NEAR(at(fit, 895)[0], 2.169, 1e-13);
    EXPECT_NEAR(at(fit, 895, 1)[0], 0.0, 1e-13);
    EXPECT_NEAR(at(fit, 700)[0], 0.66, 1e-13);
    EXPECT_NEAR(at(fit, 1000)[0], 0.605, 1e-13);
    EXPECT_NEAR(at(fit, 600, 1)[0], 0.001, 1e-13);
}

TEST(KnotfitCurveTest, ByQrConstraintsAreFittedAndTheReportSaysSo)
{
    const KnotfitRun run;
    const std::string clash = kTitanium + " --value 700=0.6 --value 700=0.8 --method ";
    const json fit = fitOf(run, clash + "qr");
    EXPECT_EQ(fit["report"]["verdict"], "compromise");
    EXPECT_EQ(fit["report"]["method"], "qr");
    EXPECT_NEAR(fit["report"]["constraint_residual"],
                std::max(at(fit, 700)[0] - 0.6, 0.8 - at(fit, 700)[0]), 1e-13);
    EXPECT_EQ(run.knotfit("curve " + clash + "householder").status, 1);
    EXPECT_EQ(fitOf(run, kTitanium + " --method qr")["report"]["verdict"], "fitted");
    EXPECT_EQ(fitOf(run, kTitanium)["report"]["method"], "householder");
    EXPECT_THAT(run.knotfit("curve " + clash + "lu").err, HasSubstr("lu"));
    EXPECT_THAT(run.knotfit("curve " + clash + "qr").out,
                HasSubstr("verdict              compromise"));
}

TEST(KnotfitCurveTest, PlaneCurvesByEverySpread)
{
    const KnotfitRun run;
    const std::vector<Numbers> points = exampleData("rae2822.csv");
    const json uniform = fitOf(run, kAirfoil + " --parameter uniform -n 17 --pass 0,64,128");
    Numbers t;
    for (std::size_t i = 0; i < points.size(); ++i)
        t.push_back(static_cast<double>(i) / static_cast<double>(points.size() - 1));
    expectFigures(uniform, points, t);
    for (const std::size_t i : {std::size_t{0}, std::size_t{64}, std::size_t{128}})
        for (std::size_t k = 0; k < 2; ++k) EXPECT_NEAR(at(uniform, t[i])[k], points[i][k], 1e-13);

    for (const char* mode : {"chord", "centripetal"}) {
        const json fit = fitOf(run, kAirfoil + " -d 4 -n 17 --pass first,last --slope 0.5=0:-1 " +
                                        "--parameter " + mode);
        EXPECT_EQ(fit["degree"], 4);
        EXPECT_EQ(fit["knots"].front(), 0.0);
        EXPECT_EQ(fit["knots"].back(), 1.0);
        EXPECT_NEAR(at(fit, 0.5, 1)[0], 0.0, 1e-12);
        EXPECT_NEAR(at(fit, 0.5, 1)[1], -1.0, 1e-12);
        EXPECT_NEAR(at(fit, 1.0)[0], points.back()[0], 1e-13);
    }
}

/// Two columns hold a parameter and a coordinate, other tables points for the chord's length.
TEST(KnotfitCurveTest, TheParameterFollowsTheColumns)
{
    const KnotfitRun run;
    run.write("two.csv", "0,5\n1,6\n10,7\n");
    run.write("three.csv", "0,0,0\n0,3,0\n4,3,0\n");
    const std::string line = " -d 1 -n 1";
    EXPECT_EQ(fitOf(run, "two.csv" + line)["knots"], (Numbers{0, 0, 10, 10}));
    EXPECT_EQ(fitOf(run, "two.csv --parameter chord" + line)["knots"], (Numbers{0, 0, 1, 1}));
    EXPECT_EQ(fitOf(run, "two.csv --parameter chord" + line)["control_points"][0].size(), 2U);
    const json chord = fitOf(run, "three.csv -d 1 --knots 0.42857142857142855 --pass 0,1,2");
    EXPECT_NEAR(at(chord, 3.0 / 7)[1], 3.0, 1e-12);
    const json column = fitOf(run, "three.csv --parameter column --knots 2 -d 1 --value 2=1:1");
    EXPECT_EQ(column["knots"], (Numbers{0, 0, 2, 4, 4}));
    EXPECT_EQ(column["control_points"][1].size(), 2U);
    run.write("one.csv", "0\n1\n8\n27\n");
    EXPECT_EQ(fitOf(run, "one.csv -d 1 -n 1")["control_points"][0].size(), 1U);
}

/// Whatever column holds the weights, the others keep their roles.
TEST(KnotfitCurveTest, WeightsComeFromAColumn)
{
    const KnotfitRun run;
    run.write("repeated.csv", "0,1\n1,2\n1,2\n1,2\n2,-3\n3,0\n");
    run.write("second.csv", "0,1,1\n1,3,2\n1.5,0,77\n2,1,-3\n3,1,0\n");
    run.write("first.csv", "1,0,1\n3,1,2\n0,1.5,77\n1,2,-3\n1,3,0\n");
    const json expected = fitOf(run, "repeated.csv -d 2 -n 1");
    for (const char* call : {"second.csv --weights 2", "first.csv --weights 1"}) {
        const json fit = fitOf(run, std::string(call) + " -d 2 -n 1");
        EXPECT_EQ(fit["knots"], expected["knots"]) << call;
        EXPECT_NEAR(at(fit, 1.25)[0], at(expected, 1.25)[0], 1e-13) << call;
        EXPECT_NEAR(fit["report"]["rms"], expected["report"]["rms"], 1e-14) << call;
    }
}

TEST(KnotfitCurveTest, TablesOfEveryMannerReadTheSame)
{
    const KnotfitRun run;
    run.write("plain.csv", "0,1\n1,2.5\n2,-3\n3,0\n");
    const json expected = fitOf(run, "plain.csv -d 2 -n 1")["control_points"];
    const char* const tables[] = {
        "\xEF\xBB\xBF# mark\n0,1\n1,2.5\n2,-3\n3,0\n",      // a byte order mark
        "0,1\r\n1,2.5\r\n2,-3\r\n3,0\r\n",                  // CR LF
        "  0 ,\t1 \n\n 1, +2.5\n #x,y\n2 ,-3.0\n3,1e-400",  // blanks, comments, no last line end
        "0,1\n1,25e-1\n2,-3.\n3,-0",
    };
    for (const char* table : tables) {
        run.write("other.csv", table);
        EXPECT_EQ(fitOf(run, "other.csv -d 2 -n 1")["control_points"], expected) << table;
    }
    EXPECT_EQ(run.knotfit("curve - -d 2 -n 1 -o in.json <plain.csv").status, 0);
    EXPECT_EQ(json::parse(run.read("in.json"))["control_points"], expected);
    const Outcome outcome = run.knotfit("curve plain.csv -d 2 -n 1 -o -");
    EXPECT_EQ(json::parse(outcome.out)["control_points"], expected);  // and nothing beside it
}

TEST(KnotfitCurveTest, PicturesAreWellFormedWhateverTheFileIsCalled)
{
    const KnotfitRun run;
    run.write("a & b\x01\xFF<.csv", "0,1\n1,2\n2,4\n3,3\n");
    const Outcome outcome =
        run.knotfit("curve *.csv -n 1 -d 2 --pass first --slope 3=0 --svg fit.svg -o fit.json");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(xmlFault(run.read("fit.svg")), "");
    EXPECT_THAT(run.read("fit.svg"), HasSubstr("a &amp; b"));
    const Outcome direct = run.knotfit("curve *.csv -n 1 -d 2 --svg -");
    EXPECT_EQ(xmlFault(direct.out), "");
}

TEST(KnotfitCurveTest, OutputsGoThroughLinksAndKeepTheirMode)
{
    const KnotfitRun run;
    run.write("data.csv", "0,1\n1,2\n2,4\n3,3\n");
    run.write("target.json", "old");
    EXPECT_EQ(run.shell("chmod 640 target.json; ln -s target.json link.json").status, 0);
    EXPECT_EQ(run.knotfit("curve data.csv -n 1 -o link.json").status, 0);
    EXPECT_EQ(json::parse(run.read("target.json"))["degree"], 3);
    EXPECT_EQ(run.shell("test -L link.json && stat -c %a target.json").out, "640\n");
    EXPECT_EQ(run.files(), (std::set<std::string>{"data.csv", "link.json", "target.json"}));
}

TEST(KnotfitCurveTest, SpeaksWhenAskedTo)
{
    const KnotfitRun run;
    const Outcome plain = run.knotfit("curve " + kTitanium + " --pass first");
    EXPECT_THAT(plain.err, IsEmpty());
    for (const char* words : {"data points          49", "unknowns             11 (11 used)",
                              "constraints          1", "verdict              met"})
        EXPECT_THAT(plain.out, HasSubstr(words));
    const Outcome verbose = run.knotfit("curve " + kTitanium + " -v --cutoff --zero 1e-12");
    EXPECT_EQ(verbose.status, 0);
    EXPECT_THAT(verbose.err, HasSubstr("Report: ( Region cutoff value set to"));
    EXPECT_THAT(verbose.out, HasSubstr("zero                 1e-12"));

    for (const char* help : {"--help", "-h", "curve --help"}) {
        const Outcome outcome = run.knotfit(help);
        EXPECT_EQ(outcome.status, 0);
        EXPECT_THAT(outcome.out, HasSubstr(help[0] == 'c' ? "--slope" : "curve"));
    }
    for (const char* version : {"--version", "curve --version"})
        EXPECT_EQ(run.knotfit(version).out, KNOTFIT_VERSION "\n");
}
