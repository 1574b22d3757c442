// SPDX-License-Identifier: MIT
#include <fstream>
#include <nlohmann/json.hpp>
#include <set>

#include "tests/support/Testing.h"
#include "tests/tools/KnotfitRun.h"

namespace {

using namespace knotwork_test;
using nlohmann::json;
using testing::Not;

const std::string kTitanium = KNOTWORK_EXAMPLE_DATA "/titanium.csv";
constexpr double kLargest = 2.169;  // of those data

/// The data lines of the titanium set with a column for weights in front: 1, 2, 3, 1, ...
std::vector<std::string> weightedLines()
{
    std::ifstream file(kTitanium);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);)
        if (!line.empty() && line[0] != '#')
            lines.push_back(std::to_string(1 + lines.size() % 3) + "," + line + "\n");
    return lines;
}

struct PartsCase {
    const char* name;
    std::vector<std::size_t> cuts;  // where one part ends and the next begins
    const char* rows;               // the options that shape them
    const char* solve;              // those of the solve
    friend void PrintTo(const PartsCase& c, std::ostream* os) { *os << c.name; }
};

class KnotfitGatherTest : public testing::TestWithParam<PartsCase> {};

const PartsCase kParts[] = {
    {"Halves", {24}, "", ""},
    {"OnePointAlone", {1}, "", "--value 895=2.169 --slope 895=0"},
    {"ThreePartsByKnots", {10, 30}, "-d 4 --knots 700,850,880,900,950", "--value 600=0.6"},
    {"FewerPointsThanUnknowns", {5, 45}, "-n 20", "--zero 1e-12 --cutoff"},
    {"ByQr", {40}, "-d 2", "--method qr --value 700=0.6 --value 700=0.8"},
};

}  // namespace

TEST_P(KnotfitGatherTest, PartsFitLikeTheWhole)
{
    const KnotfitRun run;
    const std::vector<std::string> lines = weightedLines();
    std::string whole;
    std::string names;
    std::size_t from = 0;
    std::vector<std::size_t> ends = GetParam().cuts;
    ends.push_back(lines.size());
    const std::string rows = std::string(" --parameter column --weights 1 ") + GetParam().rows;
    for (const std::size_t end : ends) {
        std::string part;
        for (; from < end; ++from) part += lines[from];
        whole += part;
        const std::string name = std::to_string(end) + ".acc";
        run.write("part.csv", part);
        const Outcome outcome = run.knotfit("gather part.csv --range 595,1075 -o " + name + rows);
        ASSERT_EQ(outcome.status, 0) << outcome.err;
        names += (names.empty() ? "" : ",") + name;
    }
    run.write("whole.csv", whole);
    const json expected = fitOf(run, "whole.csv " + rows + " " + GetParam().solve);
    const json fit = fitOf(run, "--from " + names + " " + GetParam().solve);
    EXPECT_EQ(fit["degree"], expected["degree"]);
    EXPECT_EQ(fit["knots"], expected["knots"]);
    ASSERT_EQ(fit["control_points"].size(), expected["control_points"].size());
    for (std::size_t i = 0; i < fit["control_points"].size(); ++i)
        EXPECT_NEAR(fit["control_points"][i][0], expected["control_points"][i][0], 1e-12 * kLargest)
            << i;
    EXPECT_NEAR(fit["report"]["rms"], expected["report"]["rms"], 1e-13);
    for (const char* same :
         {"verdict", "method", "data_points", "unknowns", "constraints", "columns_used"})
        EXPECT_EQ(fit["report"][same], expected["report"][same]) << same;
    for (const char* gone : {"max_residual", "max_residual_at"}) {
        EXPECT_FALSE(fit["report"].contains(gone)) << gone;
        EXPECT_TRUE(expected["report"].contains(gone)) << gone;
    }
}

INSTANTIATE_TEST_SUITE_P(Splits, KnotfitGatherTest, testing::ValuesIn(kParts), CaseName());

TEST(KnotfitGatherUseTest, TheSummarySaysWhatIsNotKnown)
{
    const KnotfitRun run;
    const Outcome gathered =
        run.knotfit("gather '" + kTitanium + "' --range 595,1075 -o whole.acc");
    EXPECT_THAT(gathered.out, HasSubstr("data points          49\n"));
    EXPECT_THAT(gathered.out, HasSubstr("unknowns             11\n"));
    const Outcome outcome = run.knotfit("curve --from whole.acc --value 895=2.169");
    EXPECT_THAT(outcome.out, HasSubstr("largest residual     not known, the samples are gone\n"));
    EXPECT_THAT(outcome.out, HasSubstr("verdict              met\n"));
    EXPECT_THAT(outcome.out, Not(HasSubstr("nan")));
}

TEST(KnotfitGatherUseTest, PartsGoThroughPipes)
{
    const KnotfitRun run;
    const std::string gather = "gather '" + kTitanium + "' --range 500,1100 -n 3 -o ";
    ASSERT_EQ(run.knotfit(gather + "whole.acc").status, 0);
    EXPECT_EQ(run.knotfit(gather + "-").out, run.read("whole.acc"));
    const Outcome piped = run.shell("'" KNOTFIT_PROGRAM "' " + gather +
                                    "- | '" KNOTFIT_PROGRAM "' curve --from - -o -");
    EXPECT_EQ(json::parse(piped.out)["control_points"],
              fitOf(run, "--from whole.acc")["control_points"]);
}

namespace {

class KnotfitGatherRefusalTest : public testing::TestWithParam<Refusal> {};

constexpr const char* kRange = " --range 0,6 ";

const Refusal kRefusals[] = {
    {"NoRange", "gather data.csv -o new.acc", 2, "--range"},
    {"NoOutput", "gather data.csv --range 0,6", 2, "--output"},
    {"NoPoints", "gather --range 0,6 -o new.acc", 2, "POINTS.csv"},
    {"RangeBackwards", "gather data.csv -o new.acc --range 6,0", 2, "A below B"},
    {"RangeOfThree", "gather data.csv -o new.acc --range 0,3,6", 2, "A below B"},
    {"RangeOfOne", "gather data.csv -o new.acc --range 6", 2, "A below B"},
    {"RangeNaN", "gather data.csv -o new.acc --range 0,nan", 2, "A below B"},
    {"RangeTooWide", "gather data.csv -o new.acc --range -1.7e308,1.7e308", 2, "is too wide"},
    {"SampleBelow", "gather data.csv -o new.acc --range 0.5,6", 2,
     "data.csv: parameter 0, 0, lies outside the knots"},
    {"SampleAbove", "gather data.csv -o new.acc --range -2,4.5", 2,
     "data.csv: parameter 5, 5, lies outside the knots"},
    {"Chord", "gather data.csv -o new.acc --range 0,6 --parameter chord", 2,
     "--parameter chord: a part cannot"},
    {"Uniform", "gather data.csv -o new.acc --range 0,6 --parameter uniform", 2, "uniform"},
    {"ParametersAlone", "gather alone.csv -o new.acc --range 0,6", 2, "second column"},
    {"WeightsNegative", "gather data.csv -o new.acc --range 0,6 --weights 2", 2, "is negative"},
    {"KnotsOutside", "gather data.csv -o new.acc --range 0,6 --knots 6", 2, "between 0 and 6"},
    {"SpansWithoutEnd", "gather data.csv -o new.acc --range 0,6 -n 2147483647", 2,
     "--spans: must be 1 to 16777216"},
    {"SpansAndKnots", "gather data.csv -o new.acc --range 0,6 -n 2 --knots 3", 2, "--knots"},
    {"OntoTheInput", "gather data.csv -o ./data.csv --range 0,6", 2, "is the input"},
    {"NowhereToWrite", "gather data.csv -o missing/new.acc --range 0,6", 2, "cannot be written"},
    {"NoFile", "curve --from part.acc,nowhere.acc", 2, "nowhere.acc: cannot be opened"},
    {"Folder", "curve --from .", 2, ".: cannot be read"},
    {"Cut", "curve --from part.acc,cut.acc", 2, "cut.acc: the bytes are cut short or altered"},
    {"Altered", "curve --from altered.acc", 2, "altered.acc: the bytes are cut short or altered"},
    {"NoneOfOurs", "curve --from table.csv", 2, "table.csv: the bytes are not those of"},
    {"Empty", "curve --from empty.acc", 2, "empty.acc: the bytes are cut short"},
    {"AnotherBasis", "curve --from part.acc,basis.acc", 2, "basis.acc: the basis is another one"},
    {"AnotherDimension", "curve --from part.acc,plane.acc", 2,
     "plane.acc: the points have another number of coordinates"},
    {"NameMissing", "curve --from part.acc,", 2, "a name is missing"},
    {"PointsToo", "curve data.csv --from part.acc", 2, "--from"},
    {"Degree", "curve --from part.acc -d 3", 2, "--degree"},
    {"Spans", "curve --from part.acc -n 2", 2, "--spans"},
    {"Knots", "curve --from part.acc --knots 3", 2, "--knots"},
    {"Parameter", "curve --from part.acc --parameter column", 2, "--parameter"},
    {"Weights", "curve --from part.acc --weights 1", 2, "--weights"},
    {"Pass", "curve --from part.acc --pass 1", 2, "--pass: the data points are gone"},
    {"Picture", "curve --from part.acc --svg fit.svg", 2, "--svg: the data points are gone"},
    {"OverAPart", "curve --from part.acc,part.acc -o ./part.acc", 2, "is the input"},
    {"ValueOutside", "curve --from part.acc --value 7=1", 2, "lies outside 0 to 6"},
    {"ValueDimension", "curve --from part.acc --value 3=1:2", 2, "the points have 1 coordinates"},
    {"Undetermined", "curve --from many.acc", 1, "more than 7 equations can fix"},
    {"Dependent", "curve --from part.acc --value 3=1 --value 3=2", 1, "depend on each other"},
};

}  // namespace

/// An earlier fit and what was gathered stay as they are, and nothing comes beside them.
TEST_P(KnotfitGatherRefusalTest, SaysWhyAndLeavesEveryFileAlone)
{
    const KnotfitRun run;
    run.write("data.csv", "0,0\n1,2\n2,1\n3,0\n4,-1\n5,1\n6,3\n");
    run.write("plane.csv", "0,0,1\n1,2,1\n");
    run.write("alone.csv", "0\n1\n2\n");
    run.write("table.csv", std::string(480, '7'));
    run.write("empty.acc", "");
    const std::string gather = std::string("gather data.csv") + kRange;
    ASSERT_EQ(run.knotfit(gather + "-n 2 -o part.acc").status, 0);
    ASSERT_EQ(run.knotfit(gather + "--knots 2 -o basis.acc").status, 0);
    ASSERT_EQ(run.knotfit(gather + "-n 9 -o many.acc").status, 0);
    ASSERT_EQ(run.knotfit("gather plane.csv -n 2 --range 0,6 -o plane.acc").status, 0);
    std::string bytes = run.read("part.acc");
    run.write("cut.acc", bytes.substr(0, bytes.size() - 8));
    bytes[bytes.size() / 2] ^= 1;
    run.write("altered.acc", bytes);
    run.write("fit.json", "an earlier fit");
    const std::set<std::string> files = run.files();
    const std::string part = run.read("part.acc");

    const Outcome outcome = run.knotfit(GetParam().arguments);
    expectSentence(outcome, GetParam().status, GetParam().sentence);
    EXPECT_EQ(run.files(), files);
    EXPECT_EQ(run.read("part.acc"), part);
}

INSTANTIATE_TEST_SUITE_P(Table, KnotfitGatherRefusalTest, testing::ValuesIn(kRefusals), CaseName());
