// SPDX-License-Identifier: MIT
#include <unistd.h>

#include "tests/support/Testing.h"
#include "tests/tools/KnotfitRun.h"

namespace {

using namespace knotwork_test;

constexpr int kRefused = 1;
constexpr int kBadUsage = 2;

const std::string kGood = "0,0\n1,2\n2,1\n3,0\n4,-1\n5,1\n6,3\n";

struct RefusalCase {
    const char* name;
    std::string data;
    const char* arguments;
    int status;
    const char* sentence;
    friend void PrintTo(const RefusalCase& c, std::ostream* os) { *os << c.name; }
};

class KnotfitRefusalTest : public testing::TestWithParam<RefusalCase> {};

const RefusalCase kInputs[] = {
    {"Empty", "", "", kBadUsage, "data.csv: holds no points"},
    {"OnlyComments", "# a\n\n  # b\n \t\n", "", kBadUsage, "data.csv: holds no points"},
    {"RaggedMore", "1,2\n# c\n3,4,5\n", "", kBadUsage,
     "data.csv:3:5: more numbers than the 2 of line 1"},
    {"RaggedFewer", "#\n1,2,3\n4,5\n", "", kBadUsage,
     "data.csv:3:4: fewer numbers than the 3 of line 2"},
    {"NotANumber", "1,2\n3,nan\n", "", kBadUsage, "data.csv:2:3: 'nan' is no finite number"},
    {"Infinite", "1,2\n-inf,4\n", "", kBadUsage, "data.csv:2:1: '-inf' is no finite number"},
    {"BeyondDoubles", "1,2\n3,1e999\n", "", kBadUsage, "data.csv:2:3: '1e999'"},
    {"Words", "x,y\n1,2\n", "", kBadUsage, "data.csv:1:1: 'x' is no finite number"},
    {"Hexadecimal", "1,0x10\n", "", kBadUsage, "data.csv:1:3: '0x10'"},
    {"TwoSigns", "1,+-2\n", "", kBadUsage, "data.csv:1:3: '+-2'"},
    {"Blanks", "1 2\n", "", kBadUsage, "data.csv:1:1: '1 2'"},
    {"Garbage", "1,2\n\xFF\xFE\x01,3\n", "", kBadUsage, "data.csv:2:1: '\?\?\?'"},
    {"ZeroBytes", std::string("1,2\n3,\0\0\n", 9), "", kBadUsage, "data.csv:2:3: '\?\?'"},
    {"EndlessCell", "1,2\n3," + std::string(100000, 'z') + "\n", "", kBadUsage, "zzz...'"},
    {"MissingNumber", "1,,2\n", "", kBadUsage, "data.csv:1:3: a number is missing"},
    {"MissingLast", "1,2\n3,\n", "", kBadUsage, "data.csv:2:3: a number is missing"},
    {"OldLineEnds", "1,2\r3,4\r", "", kBadUsage, "data.csv:1:3: '2?3'"},
    {"OnePoint", "1,2\n", "", kBadUsage, "one point alone is no curve"},
    {"EqualParameters", "3,1\n3,2\n3,5\n", "", kBadUsage, "all parameters are equal"},
    {"CoincidingPoints", "1,1,1\n1,1,1\n", "", kBadUsage, "all parameters are equal"},
    {"RangeTooWide", "-1.7e308,1\n1.7e308,2\n", "", kBadUsage, "the parameter range is too wide"},
};

const RefusalCase kRequests[] = {
    {"DegreeZero", kGood, "-d 0", kBadUsage, "--degree: must be 1 to 30"},
    {"DegreeNegative", kGood, "-d -1", kBadUsage, "--degree: must be 1 to 30"},
    {"DegreeHuge", kGood, "-d 2147483647", kBadUsage, "--degree: must be 1 to 30"},
    {"DegreeBeyondIntegers", kGood, "-d 99999999999", kBadUsage, "--degree"},
    {"DegreeNoNumber", kGood, "-d cubic", kBadUsage, "--degree"},
    {"SpansZero", kGood, "-n 0", kBadUsage, "--spans: must be 1 or more"},
    {"SpansNegative", kGood, "-n -1", kBadUsage, "--spans: must be 1 or more"},
    {"SpansHuge", kGood, "-n 2147483647", kRefused,
     "2147483650 unknowns are more than 7 data points can fix"},
    {"SpansBeyondTheData", kGood, "-n 5", kRefused, "8 unknowns are more than 7"},
    {"SpansAndKnots", kGood, "-n 2 --knots 3", kBadUsage, "--knots"},
    {"KnotsOutOfOrder", kGood, "--knots 3,2", kBadUsage, "the knots are out of order"},
    {"KnotsOutside", kGood, "--knots 3,6", kBadUsage, "6 does not lie between 0 and 6"},
    {"KnotsRepeatTooOften", kGood, "-d 2 --knots 3,3,3", kBadUsage, "more than 2 times"},
    {"KnotsNoNumber", kGood, "--knots 1,x", kBadUsage, "'x' is no finite number"},
    {"KnotsEmpty", kGood, "--knots ''", kBadUsage, "--knots"},
    {"ParameterUnknown", kGood, "--parameter arc", kBadUsage, "--parameter"},
    {"ParameterColumnAlone", "1\n2\n3\n", "--parameter column", kBadUsage, "second column"},
    {"PassOutside", kGood, "-n 1 --pass 7", kBadUsage,
     "there is no data point 7; the last one is 6"},
    {"PassNegative", kGood, "-n 1 --pass -1", kBadUsage, "there is no data point -1"},
    {"PassFraction", kGood, "-n 1 --pass 1.5", kBadUsage, "'1.5' is neither a number"},
    {"PassWord", kGood, "-n 1 --pass first,middle", kBadUsage, "'middle' is neither"},
    {"PassTwice", kGood, "-n 1 --pass first,0", kRefused, "the constraints depend on each other"},
    {"ValueOutside", kGood, "-n 1 --value 6.5=1", kBadUsage, "lies outside 0 to 6"},
    {"ValueBelow", kGood, "-n 1 --value -1=2", kBadUsage, "lies outside 0 to 6"},
    {"ValueUnfinished", kGood, "-n 1 --value 3", kBadUsage, "must read T=X[:Y...]"},
    {"ValueNoNumber", kGood, "-n 1 --value 3=x", kBadUsage, "'x' is no finite number"},
    {"ValueAtNaN", kGood, "-n 1 --value nan=1", kBadUsage, "the parameter is no finite number"},
    {"ValueDimension", kGood, "-n 1 --value 3=1:2", kBadUsage, "the points have 1 coordinates"},
    {"SlopeInfinite", kGood, "-n 1 --slope 3=inf", kBadUsage, "'inf' is no finite number"},
    {"SlopeTooLarge", kGood, "-n 1 --slope 3=1.7e308", kBadUsage, "leaves the range of numbers"},
    {"SlopesDepend", kGood, "-n 1 -d 1 --slope 2=1 --slope 4=2", kRefused,
     "the constraints depend on each other"},
    {"ZeroNaN", kGood, "-n 1 --zero nan", kBadUsage, "--zero"},
    {"ZeroNegative", kGood, "-n 1 --zero -1e-9", kBadUsage, "--zero"},
    {"SpansWithoutData", "0,1\n1,2\n2,1\n3,3\n4,4\n5,4\n6,5\n7,1\n8,3\n9,3\n10,2\n20,1\n", "-n 8",
     kRefused, "spans 5 to 6 hold no data"},
    {"WeightsBeyond", kGood, "--weights 3", kBadUsage, "there is no column 3; the last one is 2"},
    {"WeightsFromZero", kGood, "--weights 0", kBadUsage, "--weights"},
    {"WeightsNegative", kGood, "--weights 2", kBadUsage, "a weight is negative"},
    {"WeightsAlone", "1\n2\n", "--weights 1", kBadUsage, "second column"},
    {"WeightsAllZero", "1,0\n2,0\n", "--weights 2", kBadUsage, "all weights are 0"},
    {"UnknownOption", kGood, "--colour red", kBadUsage, "--colour"},
};

}  // namespace

/// Both outputs are asked for, and one of them is there already: nothing of it may change.
TEST_P(KnotfitRefusalTest, SaysWhyAndLeavesEveryFileAlone)
{
    const KnotfitRun run;
    run.write("data.csv", GetParam().data);
    run.write("fit.json", "an earlier fit");
    const Outcome outcome = run.knotfit("curve data.csv -o fit.json --svg fit.svg " +
                                        std::string(GetParam().arguments));
    expectSentence(outcome, GetParam().status, GetParam().sentence);
    EXPECT_EQ(run.files(), (std::set<std::string>{"data.csv", "fit.json"}));
    EXPECT_EQ(run.read("fit.json"), "an earlier fit");
}

INSTANTIATE_TEST_SUITE_P(Inputs, KnotfitRefusalTest, testing::ValuesIn(kInputs), CaseName());
INSTANTIATE_TEST_SUITE_P(Requests, KnotfitRefusalTest, testing::ValuesIn(kRequests), CaseName());

TEST(KnotfitUsageTest, WrongCallsSayWhatIsMissing)
{
    const KnotfitRun run;
    expectSentence(run.knotfit(""), kBadUsage, "subcommand");
    expectSentence(run.knotfit("curve"), kBadUsage, "POINTS.csv");
    expectSentence(run.knotfit("surface x"), kBadUsage, "");
    expectSentence(run.knotfit("curve ."), kBadUsage, ".: cannot be read");
    expectSentence(run.knotfit("curve nowhere.csv"), kBadUsage, "nowhere.csv: cannot be opened");
    expectSentence(run.knotfit("curve -"), kBadUsage, "standard input: holds no points");
    expectSentence(run.knotfit("curve - <<END\n1,2\n2,q\nEND"), kBadUsage, "standard input:2:3: ");
}

TEST(KnotfitUsageTest, WhatCannotBeWrittenLeavesNothingBehind)
{
    const KnotfitRun run;
    run.write("data.csv", kGood);
    const std::set<std::string> before = run.files();
    for (const char* outputs :
         {"-o missing/fit.json", "-o .", "--svg fit.svg -o missing/fit.json", "-o fit.json --svg .",
          "-o ''", "--svg ''", "-o fit.json --svg fit.json", "-o fit.json --svg ./fit.json",
          "-o - --svg -", "-o data.csv", "--svg ./data.csv", "-o fit.json >/dev/full",
          "-o fit.json >&-", "-o /dev/full"}) {
        SCOPED_TRACE(outputs);
        expectSentence(run.knotfit(std::string("curve data.csv -n 2 ") + outputs), kBadUsage, "");
        EXPECT_EQ(run.files(), before);
        EXPECT_EQ(run.read("data.csv"), kGood);
    }
}

TEST(KnotfitUsageTest, AReaderThatLeavesIsAnErrorNotASignal)
{
    const KnotfitRun run;
    run.write("data.csv", kGood);
    run.shell("{ sleep 0.2; '" KNOTFIT_PROGRAM
              "' curve data.csv -n 2 -o fit.json 2>message; echo $? >status; } | true; sleep 0.4");
    EXPECT_EQ(run.read("status"), "2\n");
    EXPECT_EQ(run.read("message"), "knotfit: standard output: cannot be written\n");
    EXPECT_EQ(run.files(), (std::set<std::string>{"data.csv", "message", "status"}));
}

TEST(KnotfitUsageTest, FilesOfOtherNamesAreNotTouched)
{
    const KnotfitRun run;
    run.write("data.csv", kGood);
    run.write("fit.json.partial", "mine");
    EXPECT_EQ(run.knotfit("curve data.csv -n 2 -o fit.json").status, 0);
    EXPECT_EQ(run.read("fit.json.partial"), "mine");
    EXPECT_EQ(run.files(), (std::set<std::string>{"data.csv", "fit.json", "fit.json.partial"}));
}

TEST(KnotfitUsageTest, LinksThatLeadNowhereStayAsTheyAre)
{
    const KnotfitRun run;
    run.write("data.csv", kGood);
    run.shell("ln -s missing.json dangling; ln -s two one; ln -s one two; ln -s real.json link");
    run.write("real.json", "an earlier fit");
    for (const char* name : {"dangling", "one"})
        expectSentence(run.knotfit(std::string("curve data.csv -n 2 --svg fit.svg -o ") + name),
                       kBadUsage, std::string(name) + ": is a link that leads nowhere");
    EXPECT_EQ(run.shell("readlink dangling one").out, "missing.json\ntwo\n");
    EXPECT_EQ(run.knotfit("curve data.csv -n 2 -o link").status, 0);
    EXPECT_THAT(run.read("real.json"), StartsWith("{"))
        << "a link that leads somewhere is followed";
    EXPECT_EQ(run.files(),
              (std::set<std::string>{"dangling", "data.csv", "link", "one", "real.json", "two"}));
}

TEST(KnotfitUsageTest, AFileThatMayNotBeWrittenIsNotReplaced)
{
    if (geteuid() == 0) GTEST_SKIP() << "root may write every file";
    const KnotfitRun run;
    run.write("data.csv", kGood);
    run.write("fit.json", "an earlier fit");
    run.shell("chmod a-w fit.json");
    expectSentence(run.knotfit("curve data.csv -n 2 -o fit.json"), kBadUsage,
                   "fit.json: cannot be written");
    EXPECT_EQ(run.read("fit.json"), "an earlier fit");
}

TEST(KnotfitUsageTest, ALineWithoutEndIsRefused)
{
    const KnotfitRun run;
    expectSentence(run.knotfit("curve /dev/zero"), kBadUsage,
                   "/dev/zero: has a line of more than 64 MiB");
}

/// The run waits for a reader of its second output while the first one waits beside its place.
TEST(KnotfitUsageTest, AnInterruptedRunLeavesNothingBehind)
{
    for (const char* signal : {"INT", "TERM", "HUP"}) {
        SCOPED_TRACE(signal);
        const KnotfitRun run;
        run.write("data.csv", kGood);
        run.write("fit.json", "an earlier fit");
        const Outcome outcome =
            run.shell("mkfifo pipe; env --default-signal '" KNOTFIT_PROGRAM
                      "' curve data.csv -n 2 -o fit.json --svg pipe & tries=0\n"
                      "until ls fit.json.partial* >seen 2>&1 || [ $tries = 500 ]; do sleep 0.01; "
                      "tries=$((tries + 1)); done\nkill -s " +
                      std::string(signal) + " $!; wait $!; echo $?");
        EXPECT_THAT(run.read("seen"), StartsWith("fit.json.partial"))
            << "or the test shows nothing";
        EXPECT_GT(std::stoi(outcome.out), 128) << "ended by the signal";
        EXPECT_EQ(run.files(), (std::set<std::string>{"data.csv", "fit.json", "pipe", "seen"}));
        EXPECT_EQ(run.read("fit.json"), "an earlier fit");
    }
}

TEST(KnotfitUsageTest, WhatKilledRunsLeftIsInNobodysWay)
{
    const KnotfitRun run;
    run.write("data.csv", kGood);
    run.write("fit.json.partial", "old");
    for (int i = 1; i < 100; ++i) run.write("fit.json.partial" + std::to_string(i), "old");
    EXPECT_EQ(run.knotfit("curve data.csv -n 2 -o fit.json").status, 0);
}

struct MemoryCase {
    const char* name;
    int rows;
    int cols;
    friend void PrintTo(const MemoryCase& c, std::ostream* os) { *os << c.name; }
};

class KnotfitMemoryTest : public testing::TestWithParam<MemoryCase> {};

/// From hardly enough to start with to plenty: never an abort, and a sentence whenever it fails.
TEST_P(KnotfitMemoryTest, LittleMemoryIsSaidSo)
{
#ifdef KNOTWORK_SANITIZED
    GTEST_SKIP() << "sanitizers need address space of their own";
#endif
    const KnotfitRun run;
    std::string rows;
    for (int i = 0; i < GetParam().rows; ++i)
        for (int k = 0; k < GetParam().cols; ++k)
            rows +=
                std::to_string(k == 0 ? i : i * k % 13) + (k + 1 < GetParam().cols ? "," : "\n");
    run.write("data.csv", rows);
    const auto limited = [&run](int kilobytes, const std::string& arguments) {
        return run.knotfit(arguments, "ulimit -v " + std::to_string(kilobytes) + ";");
    };
    int start = 8000;  // what loading alone takes depends on the BLAS
    while (limited(start, "--version").status != 0) start += 1000;
    int done = 0;
    int refused = 0;
    for (int more = 0; done < 2 && more < 200000; more += 150 + more / 12) {
        SCOPED_TRACE(std::to_string(start) + " + " + std::to_string(more));
        const Outcome outcome =
            limited(start + more,
                    "curve data.csv --parameter column -n 40 --pass 0,1 -o fit.json --svg fit.svg");
        if (outcome.status == 0) {
            ++done;
            continue;
        }
        ++refused;
        expectSentence(outcome, kRefused, "memory");
        EXPECT_EQ(run.files().size(), 1U);
    }
    EXPECT_EQ(done, 2);
    EXPECT_GT(refused, 3);
}

INSTANTIATE_TEST_SUITE_P(Tables, KnotfitMemoryTest,
                         testing::Values(MemoryCase{"Long", 60000, 2},
                                         MemoryCase{"Wide", 500, 300}),
                         CaseName());
