// SPDX-License-Identifier: MIT
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "measures/FitOracle.h"
#include "tests/support/Testing.h"
#include "tests/tools/KnotfitRun.h"

namespace {

using nlohmann::json;
using testing::Not;
using namespace knotwork_test;

/// 24 points round an outline, in whole thousandths, and what follows the last.
std::string outline(const std::string& end = "")
{
    std::string text;
    for (int i = 0; i < 24; ++i) {
        const double a = 0.2617993877991494 * i;
        const double r = 5000.0 + 700.0 * std::sin(3.0 * a) + (i * 37 % 11);
        text += std::to_string(std::lround(r * std::cos(a))) + "e-3," +
                std::to_string(std::lround(r * std::sin(a))) + "e-3\n";
    }
    return text + end;
}

/// The same with parameters in front, a quarter apart: a period of 6.
std::string column(const std::string& end = "", int from = 0, int to = 24)
{
    std::istringstream lines(outline());
    std::string text;
    std::string line;
    for (int i = 0; std::getline(lines, line); ++i)
        if (i >= from && i < to) text += std::to_string(0.25 * i) + "," + line + "\n";
    return text + end;
}

const std::string kFirst = "5.000,0\n";

json closedFit(const KnotfitRun& run, const std::string& arguments)
{
    const Outcome outcome = run.knotfit("curve " + arguments + " --closed -o closed.json");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    return json::parse(run.read("closed.json"));
}

/// What any evaluator of the whole knot sequence makes of it.
Numbers valueAt(const json& fit, double t, int derivative)
{
    const knotwork::BsplineBasis basis(fit["degree"].get<int>(), fit["knots"].get<Numbers>());
    knotwork_measures::Quad row[knotwork::BsplineBasis::kMostDegree + 1];
    const auto first =
        static_cast<std::size_t>(knotwork_measures::basisRow(basis, t, derivative, row));
    Numbers total(2);
    for (std::size_t j = 0; j <= fit["degree"].get<std::size_t>(); ++j)
        for (std::size_t k = 0; k < 2; ++k)
            total[k] +=
                static_cast<double>(row[j]) * fit["control_points"][first + j][k].get<double>();
    return total;
}

void expectNear(const json& found, const json& expected, double tolerance)
{
    const json a = found.flatten();
    const json b = expected.flatten();
    ASSERT_EQ(a.size(), b.size());
    for (const auto& item : a.items())
        EXPECT_NEAR(item.value(), b[item.key()], tolerance) << item.key();
}

constexpr double kRounding = 1e-13 * 6;  // times the largest coordinate

}  // namespace

TEST(KnotfitClosedTest, AnyEvaluatorGoesRoundAndRoundWithConstraintsAnywhere)
{
    const KnotfitRun run;
    run.write("points.csv", outline());
    run.write("at.csv", "0.125\n0.3\n1.125\n");
    for (const int degree : {1, 2, 3, 7}) {
        SCOPED_TRACE(degree);
        const std::string call = "points.csv --parameter chord --start 0.125 -n 9 -d " +
                                 std::to_string(degree) +
                                 " --pass 7 --value 1.125=4:2.5 --slope -0.25=-30:1";
        const json fit = closedFit(run, call);
        const auto p = static_cast<std::size_t>(degree);
        ASSERT_EQ(fit["knots"].size(), 9 + 2 * p + 1);
        ASSERT_EQ(fit["control_points"].size(), 9 + p);
        EXPECT_EQ(fit["closed"], true);
        EXPECT_EQ(fit["period"], 1.0);
        EXPECT_EQ(fit["knots"][p], 0.125);
        EXPECT_EQ(fit["knots"][9 + p], 1.125);
        EXPECT_EQ(fit["report"]["unknowns"], 9);
        for (int order = 0; order < degree; ++order)
            expectNear(valueAt(fit, fit["knots"][p], order),
                       valueAt(fit, fit["knots"][9 + p], order), kRounding * std::pow(60, order));
        expectNear(valueAt(fit, fit["knots"][p], 0), {4, 2.5}, kRounding);
        expectNear(valueAt(fit, 0.75, 1), {-30, 1}, 60 * kRounding);

        const Outcome values = run.knotfit("eval closed.json --at at.csv --derivatives 1");
        std::istringstream lines(values.out);
        std::string first;
        std::string second;
        std::string third;
        lines >> first >> second >> third;
        EXPECT_EQ(first, third);
        const Numbers expected = valueAt(fit, 0.3, 0);
        expectNear(
            json::parse("[" + second.substr(0, second.find(',', second.find(',') + 1)) + "]"),
            expected, kRounding);
        const json open = closedFit(run, call + " --clamped");
        EXPECT_FALSE(open.contains("closed"));
        EXPECT_EQ(open["knots"][p], open["knots"][0]);
        EXPECT_EQ(open["knots"][0], fit["knots"][p]);
        for (const double t : {0.125, 0.3, 0.75, 1.1249})
            expectNear(valueAt(open, t, 0), valueAt(fit, t, 0), 10 * kRounding);
    }
}

TEST(KnotfitClosedTest, ARepeatedFirstPointCountsOnceInEveryMode)
{
    const KnotfitRun run;
    run.write("once.csv", outline());
    run.write("twice.csv", outline("5.0000000000000009,0\n"));
    run.write("once.column.csv", column());
    run.write("twice.column.csv", column("6," + kFirst));
    const std::string basis = " -n 8 --pass first --parameter ";
    for (const char* mode : {"chord", "centripetal", "uniform"}) {
        const json once = closedFit(run, "once.csv" + basis + mode);
        const json twice = closedFit(run, "twice.csv --pass last" + basis + mode);
        expectNear(twice["control_points"], once["control_points"], kRounding);
        expectNear(twice["knots"], once["knots"], kRounding);
        EXPECT_EQ(twice["report"]["data_points"], 24) << mode;
        EXPECT_EQ(twice["report"]["constraints"], 1) << mode;
        EXPECT_EQ(twice["report"]["last_point_near_first"], false) << mode;
    }
    const json once = closedFit(run, "once.column.csv --period 6" + basis + "column");
    const json twice = closedFit(run, "twice.column.csv --pass last" + basis + "column");
    EXPECT_EQ(once["period"], 6.0);
    expectNear(twice["control_points"], once["control_points"], kRounding);

    run.write("near.csv", outline("4.9,0\n"));
    const json near = closedFit(run, "near.csv -n 8 --parameter chord");
    EXPECT_EQ(near["report"]["last_point_near_first"], true);
    EXPECT_EQ(near["report"]["data_points"], 25);
    const std::string figures = run.knotfit("curve near.csv --closed --parameter chord").out;
    EXPECT_THAT(figures, HasSubstr("curve                closed, period 1\nlast point"));
    EXPECT_THAT(figures, HasSubstr("unknowns             8 (8 used)\n"));
    EXPECT_THAT(run.knotfit("curve once.csv --closed --parameter chord").out,
                Not(HasSubstr("last point")));
}

TEST(KnotfitClosedTest, PartsFitLikeTheWhole)
{
    const KnotfitRun run;
    run.write("whole.csv", column());
    run.write("a.csv", column("", 0, 10));
    run.write("b.csv", column("", 10));
    const std::string rows = " --closed --parameter column -d 2 --knots 1,2,2.5,4,5 -o ";
    ASSERT_EQ(run.knotfit("gather a.csv --range 0,6" + rows + "a.acc").status, 0);
    ASSERT_EQ(run.knotfit("gather b.csv --period 6" + rows + "b.acc").status, 0);
    const std::string solve = " --value 6=4:2 --slope 3.5=0:1";
    const json parts = closedFit(run, "--from b.acc,a.acc" + solve);
    const json whole =
        closedFit(run, "whole.csv --parameter column --period 6 -d 2 --knots 1,2,2.5,4,5" + solve);
    EXPECT_EQ(parts["knots"], whole["knots"]);
    EXPECT_EQ(parts["closed"], true);
    EXPECT_EQ(parts["report"]["unknowns"], 6);
    expectNear(parts["control_points"], whole["control_points"], 10 * kRounding);
}

namespace {

struct ClosedRefusal {
    const char* name;
    const char* arguments;
    int status;
    const char* sentence;
};

const ClosedRefusal kRefusals[] = {
    {"PeriodZero", "curve column.csv --parameter column --closed --period 0", 2,
     "--period: must be a finite number"},
    {"PeriodNegative", "curve column.csv --parameter column --closed --period -6", 2,
     "number above 0"},
    {"PeriodNaN", "curve column.csv --parameter column --closed --period nan", 2,
     "--period: must be a finite"},
    {"PeriodInfinite", "curve column.csv --parameter column --closed --period inf", 2,
     "--period: must be a finite"},
    {"PeriodShort", "curve column.csv --parameter column --closed --period 5", 2,
     "--period: the period, 5, is shorter than the range of the parameters, 5.75\n"},
    {"PeriodMissing", "curve column.csv --parameter column --closed", 2,
     "--closed: the last point does not repeat the first, and no --period is given\n"},
    {"PeriodBackwards", "curve down.csv --closed", 2, "the period, -2, is shorter"},
    {"PeriodOfOpen", "curve column.csv --parameter column --period 6", 2,
     "--period requires --closed"},
    {"PeriodOfChords", "curve points.csv --closed --period 6 --parameter chord", 2,
     "--period: goes with --parameter column"},
    {"PeriodLost", "curve column.csv --parameter column --closed --period 6 --start 1e16", 2,
     "the period, 6, cannot be told apart"},
    {"StartOfOpen", "curve column.csv --parameter column --start 1", 2,
     "--start requires --closed"},
    {"StartNaN", "curve points.csv --closed --parameter chord --start nan", 2, "--start: must be"},
    {"StartEndless", "curve points.csv --closed --parameter chord --start 1e308", 2, "told apart"},
    {"DegreeEight", "curve points.csv --closed --parameter chord -d 8", 2,
     "--degree: must be 1 to 7 for a closed curve"},
    {"SpansZero", "curve points.csv --closed --parameter chord -n 0", 2, "must be 1 or more"},
    {"SpansBeyondTheData", "curve points.csv --closed --parameter chord -n 25", 1,
     "25 unknowns are more than 24 data points can fix"},
    {"RepeatIsNoPoint", "curve twice.csv --closed --parameter chord -n 25", 1, "than 24 data"},
    {"PointsCoincide", "curve pairs.csv --closed --period 4 -n 3", 1, "hold no data"},
    {"KnotsAtTheSeam", "curve points.csv --closed --parameter chord --knots 0,0.5", 2,
     "0 does not lie between 0 and 1"},
    {"KnotsOfTheNextPeriod",
     "curve points.csv --closed --parameter chord --start 0.5 --knots 0.6,1.6", 2,
     "1.6 does not lie between 0.5 and 1.5"},
    {"ByQr", "curve points.csv --closed --parameter chord --method qr", 2, "for it"},
    {"OnePoint", "curve nearly.csv --closed --parameter chord -n 1", 2, "one point alone"},
    {"EqualPoints", "curve equal.csv --closed --parameter chord", 2, "are equal"},
    {"EqualPointsUniform", "curve equal.csv --closed --parameter uniform", 2, "are equal"},
    {"EqualParameters", "curve equal.csv --closed --period 1", 2, "are equal"},
    {"ClampedOpen", "curve column.csv --parameter column --clamped", 2,
     "--clamped: the curve is not a closed one"},
    {"Clash",
     "curve column.csv --parameter column --closed --period 6 -n 4 --value 0=1:1 --value 6=1:2", 1,
     "constraints 0 to 1"},
    {"GatherWithoutRange", "gather column.csv --closed -o x.acc", 2, "needs --range or --period"},
    {"GatherShort", "gather column.csv --closed --range 0,5 -o x.acc", 2, "is shorter than"},
    {"GatherTwice", "gather column.csv --closed --range 0,6 --period 6 -o x.acc", 2, "--range"},
    {"GatherOpen", "gather column.csv --period 6 -o x.acc", 2, "--period requires --closed"},
    {"OpenParts", "curve --from open.acc --closed", 2, "the parts are those of an open curve"},
    {"PartsQr", "curve --from closed.acc --method qr", 2, "for it"},
    {"EvalKnots", "eval knots.json --at nearly.csv", 2, "\"knots\" do not repeat"},
    {"EvalPeriod", "eval period.json --at nearly.csv", 2, "\"period\" is not that of the knots"},
    {"EvalPoints", "eval control.json --at nearly.csv", 2, "do not repeat the first"},
    {"EvalFlag", "eval flag.json --at nearly.csv", 2, "neither true nor false"},
};

}  // namespace

TEST(KnotfitClosedTest, WhatCannotBeMeantIsSaidAndNothingWritten)
{
    const KnotfitRun run;
    run.write("points.csv", outline());
    run.write("twice.csv", outline(kFirst));
    run.write("column.csv", column());
    run.write("down.csv", "5,1\n4,2\n3,1\n");
    run.write("pairs.csv", "1,1\n2,3\n1,1\n2,2\n1,1\n2,5\n1,1\n");
    run.write("equal.csv", "1,1\n1,1\n1,1\n");
    run.write("nearly.csv", "1\n1.0000000000000002\n");
    ASSERT_EQ(run.knotfit("gather column.csv --range 0,6 -n 3 -o open.acc").status, 0);
    ASSERT_EQ(run.knotfit("gather column.csv --closed --range 0,6 -n 3 -o closed.acc").status, 0);
    json fit = closedFit(run, "column.csv --parameter column --period 6");
    for (const char* part : {"knots", "period", "control", "flag"}) {
        json wrong = fit;
        if (*part == 'k') wrong["knots"][1] = -1.75;
        if (*part == 'p') wrong["period"] = 5;
        if (*part == 'c') wrong["control_points"][9][0] = 3;
        if (*part == 'f') wrong["closed"] = "yes";
        run.write(std::string(part) + ".json", wrong.dump());
    }
    const std::set<std::string> files = run.files();
    for (const ClosedRefusal& c : kRefusals) {
        SCOPED_TRACE(c.name);
        const Outcome outcome = run.knotfit(c.arguments);
        EXPECT_EQ(outcome.status, c.status) << outcome.err;
        EXPECT_THAT(outcome.err, testing::StartsWith("knotfit: "));
        EXPECT_THAT(outcome.err, HasSubstr(c.sentence));
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(run.files(), files);
    }
}
