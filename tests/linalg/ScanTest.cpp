// SPDX-License-Identifier: MIT
// Reading vectors from text.

#include <sstream>

#include "tests/support/Arrays.h"
#include "tests/support/Testing.h"

namespace {

using namespace knotwork_test;

enum After { kGood, kFailed };

struct ScanCase {
    const char* name;
    const char* text;
    std::vector<int> expected;
    After after;
    std::string rest;  // what is left to read, when the stream is good
};
const ScanCase kCases[] = {
    {"bracketed", "[1 2 3]", {1, 2, 3}, kGood, ""},
    {"spread", " \n[\t1\n 2\v3 ] ", {1, 2, 3}, kGood, " "},
    {"nothingAfterTheBracketIsEaten", "[1] [2]", {1}, kGood, " [2]"},
    {"emptyList", "[ ]", {}, kGood, ""},
    {"closeBrackets", "[]7", {}, kGood, "7"},
    {"negative", "[-1 +2]", {-1, 2}, kGood, ""},
    {"bare", "1 2 3", {1, 2, 3}, kFailed, ""},
    {"bareUpToALetter", "1 2 x", {1, 2}, kFailed, ""},
    {"bareSingle", "5", {5}, kFailed, ""},
    {"bareStopsAtABracket", "4 ]", {4}, kFailed, ""},
    {"emptyText", "", {}, kFailed, ""},
    {"blankText", "  \n", {}, kFailed, ""},
    {"commaIsNoSeparator", "[1, 2]", {1}, kFailed, ""},
    {"textInTheList", "[1 x 3]", {1}, kFailed, ""},
    {"unclosedKeepsItsLastNumber", "[1 2", {1, 2}, kFailed, ""},
    {"openBracketOnly", "[", {}, kFailed, ""},
    {"nestedBracket", "[[1]]", {}, kFailed, ""},
    {"highCharacter",
     "\xA0"
     "1",
     {},
     kFailed,
     ""},
    {"highCharacterInTheList", "[1 \xFF]", {1}, kFailed, ""},
};

template <class Vec>
void check(const ScanCase& c)
{
    for (const unsigned before : {0u, 2u, 9u}) {
        SCOPED_TRACE(before);
        std::istringstream is(c.text);
        Vec v(before, typename Vec::Element{77});
        EXPECT_EQ(&(is >> v), &is);
        EXPECT_EQ(elements(v),
                  std::vector<typename Vec::Element>(c.expected.begin(), c.expected.end()));
        EXPECT_EQ(is.good(), c.after == kGood);
        EXPECT_EQ(is.fail(), c.after == kFailed);
        if (c.after == kGood) {
            EXPECT_EQ(is.str().substr(static_cast<std::size_t>(is.tellg())), c.rest);
        }
    }
}

TEST(ScanTest, ReadsListsAsFarAsTheyAreSome)
{
    for (const ScanCase& c : kCases) {
        SCOPED_TRACE(c.name);
        check<DoubleVec>(c);
        check<IntVec>(c);
        check<SCharVec>(c);
    }
}

TEST(ScanTest, GrowsAsFarAsTheTextGoes)
{
    for (const int n : {1, 127, 128, 129, 256, 257, 1000}) {
        std::string text = "[";
        for (int i = 0; i < n; ++i) text += std::to_string(i % 100) + ' ';
        std::istringstream is(text + ']');
        IntVec v;
        is >> v;
        ASSERT_EQ(v.length(), static_cast<unsigned>(n));
        for (int i = 0; i < n; ++i) ASSERT_EQ(v(i), i % 100) << n;
    }
}

TEST(ScanTest, SharersSeeTheValuesThatFitBeforeTheLengthFollows)
{
    DoubleVec v = vec({0.0, 0.0, 0.0, 0.0});
    const DoubleVec sharer(v);
    DoubleVec backwards(reverse(v));
    std::istringstream("[1 2]") >> v;
    EXPECT_THAT(elements(sharer), ElementsAre(1.0, 2.0, 0.0, 0.0));
    EXPECT_THAT(elements(v), ElementsAre(1.0, 2.0));
    std::istringstream("[5 6 7 8]") >> backwards;
    EXPECT_THAT(elements(sharer), ElementsAre(8.0, 7.0, 6.0, 5.0)) << "along the stride";
    EXPECT_EQ(backwards.data(), sharer.data() + 3) << "same length: no new storage";
}

TEST(ScanTest, NumbersAreReadAsTheirType)
{
    DoubleVec d;
    std::istringstream("[1e-3 -.5 0x]") >> d;
    EXPECT_EQ(d(0), 1e-3);
    EXPECT_EQ(d(1), -0.5);
    std::istringstream("[inf -5 -inf in 1]") >> d;
    EXPECT_THAT(elements(d), ElementsAre(HUGE_VAL, -5.0, -HUGE_VAL));
    std::istringstream words("2 +nab");
    std::string rest;
    words >> d;
    words.clear();
    words >> rest;
    EXPECT_EQ(rest, "b") << "read up to what is no number";
    IntVec i;
    std::istringstream("[1.5 2]") >> i;
    EXPECT_THAT(elements(i), ElementsAre(1)) << "the point is no int";
    std::istringstream("[3 99999999999 4]") >> i;
    EXPECT_THAT(elements(i), ElementsAre(3)) << "nor is a number that does not fit";
    SCharVec c;
    std::istringstream("[300 -1 65 128]") >> c;
    EXPECT_THAT(elements(c), ElementsAre(44, -1, 65, -128)) << "ints, their low bytes kept";
}

TEST(ScanTest, AFailedStreamEmptiesTheVector)
{
    std::istringstream is("[1 2]");
    is.setstate(std::ios::failbit);
    DoubleVec v = vec({1.0});
    is >> v;
    EXPECT_EQ(v.length(), 0u);
}

}  // namespace
