// SPDX-License-Identifier: MIT
// Matrices as text: row by row, while storage is column by column.

#include <iomanip>
#include <sstream>

#include "tests/support/Arrays.h"
#include "tests/support/RecordingHandler.h"
#include "tests/support/Testing.h"

namespace {

using namespace knotwork_test;

template <class Mat>
std::string printed(const Mat& m, int width = 0)
{
    std::ostringstream os;
    os << std::setw(width) << m;
    EXPECT_EQ(os.width(), 0);
    return os.str();
}

TEST(GenMatTextTest, PrintsRowsWithTheWidthOnEveryElement)
{
    const DoubleGenMat m = mat({{1, -2.5, 1e30}, {0, 1.0 / 3.0, 100}});
    EXPECT_EQ(printed(m), "2x3 [\n1 -2.5 1e+30 \n0 0.333333 100 \n]") << "default precision";
    EXPECT_EQ(printed(m, 6), "2x3 [\n     1   -2.5  1e+30 \n     0 0.333333    100 \n]");
    EXPECT_EQ(printed(mat<IntGenMat>({{-1}, {20}}), 3), "2x1 [\n -1 \n 20 \n]");
    EXPECT_EQ(printed(DoubleGenMat(reverse(vec({1, 2, 3, 4})), 2, 2)), "2x2 [\n4 2 \n3 1 \n]");
    EXPECT_EQ(printed(DoubleGenMat()), "0x0 [\n]");
    EXPECT_EQ(printed(IntGenMat(0u, 4u)), "0x4 [\n]");
    EXPECT_EQ(printed(IntGenMat(2u, 0u)), "2x0 [\n\n\n]");
    std::ostringstream os;
    os << std::setfill('*') << std::setw(4) << mat<IntGenMat>({{5}}) << std::setprecision(17)
       << mat({{0.1}});
    EXPECT_EQ(os.str(), "1x1 [\n***5 \n]1x1 [\n0.10000000000000001 \n]");
}

TEST(GenMatTextTest, TextReadsBackIntoTheSameMatrix)
{
    for (const auto& [rows, cols] : {std::pair{2u, 3u}, std::pair{1u, 1u}, std::pair{0u, 0u},
                                     std::pair{3u, 0u}, std::pair{0u, 3u}, std::pair{20u, 30u}}) {
        SCOPED_TRACE(testing::Message() << rows << " x " << cols);
        const DoubleGenMat m = randomMatrix(rows, cols, 5);
        const IntGenMat n = randomMatrix<IntGenMat>(rows, cols, 6);
        std::stringstream text;
        text << std::setprecision(17) << m << '\n' << n;
        DoubleGenMat readM(2u, 2u, 7.0);
        IntGenMat readN;
        text >> readM >> readN;
        EXPECT_TRUE(readM == m);
        EXPECT_TRUE(readN == n);
        EXPECT_TRUE(text.good());
    }
}

struct ReadCase {
    const char* name;
    const char* text;
    bool good;
    std::vector<std::vector<double>> expected;  // what the matrix {{9, 9}} becomes
};
const std::vector<std::vector<double>> kUnchanged = {{9, 9}};
const ReadCase kCases[] = {
    {"rowByRow", "2x2 [1 2 3 4]", true, {{1, 2}, {3, 4}}},
    {"textBeforeTheFirstDigit", "matrix: 1x2 [1 2]", true, {{1, 2}}},
    {"aSignIsNoDigit", "-1x2 [1 2]", true, {{1, 2}}},
    {"blanksAroundTheX", "1 x 2[1 2]", true, {{1, 2}}},
    {"anyOneCharacterForTheX", "1*2 [1 2]", true, {{1, 2}}},
    {"noXAtAll", "1 2 [1 2]", true, {{1, 2}}},
    {"unbracketed", "1x2 1 2", false, kUnchanged},
    {"unclosed", "1x2 [1 2", false, kUnchanged},
    {"badElement", "1x2 [1 y]", false, kUnchanged},
    {"noDigits", "matrix", false, kUnchanged},
    {"noColumns", "1xx [1]", false, kUnchanged},
    {"nothing", "", false, kUnchanged},
    {"highCharactersBeforeTheFirstDigit",
     "\xFF\xA0"
     "1x1 [3]",
     true,
     {{3}}},
    {"countsTooLarge", "99999999999x1 [3]", false, kUnchanged},
};
TEST(GenMatReadTest, TakesWholeMatricesOrNothing)
{
    for (const ReadCase& c : kCases) {
        SCOPED_TRACE(c.name);
        DoubleGenMat m = mat({{9, 9}});
        IntGenMat n = mat<IntGenMat>({{9, 9}});
        std::istringstream forM(c.text);
        std::istringstream forN(c.text);
        forM >> m;
        forN >> n;
        EXPECT_EQ(forM.good(), c.good);
        EXPECT_EQ(forN.good(), c.good);
        EXPECT_EQ(rowsOf(m), c.expected);
        EXPECT_TRUE(DoubleGenMat(n) == m);
    }
}

TEST(GenMatTextTest, ReadingTheSameShapeWritesThroughAndOnlyWhatDiffers)
{
    DoubleGenMat m = mat({{-0.0, 1}, {2, 3}});
    const DoubleGenMat sharer(m);
    std::istringstream("2x2 [0 1 5 3]") >> m;
    EXPECT_TRUE(std::signbit(m(0, 0))) << "0 equals -0: nothing written";
    EXPECT_THAT(rowsOf(sharer), ElementsAre(ElementsAre(0, 1), ElementsAre(5, 3)));
}

TEST(GenMatTextTest, WhatIsNoNumberReadsBackToo)
{
    const DoubleGenMat m = mat({{kInf, -kInf, 1}, {kNaN, -kNaN, -2}});
    for (const auto format : {std::nouppercase, std::uppercase}) {
        std::stringstream text;
        text << format << m;
        DoubleGenMat read;
        text >> read;
        EXPECT_EQ(bitsOf(elements(read.dataVec())), bitsOf(elements(m.dataVec()))) << text.str();
        EXPECT_TRUE(text.good());
    }
}

TEST(GenMatTextTest, AWrongCountIsAnErrorAndChangesNothing)
{
    const struct {
        const char* text;
        int code;
    } cases[] = {{"2x2 [1 2 3]", 0x4017}, {"2x2 [1 2 3 4 5]", 0x4017}, {"2x2 []", 0x4017},
                 {"0x3 [1]", 0x4017},     {"4000000000x0 []", 0x3008}, {"0x4000000000 []", 0x3008}};
    for (const auto& [text, code] : cases) {
        SCOPED_TRACE(text);
        RecordingHandler handler(RecordingHandler::OnFatal::kReturn);
        IntGenMat m = mat<IntGenMat>({{9, 9}});
        std::istringstream(text) >> m;
        ASSERT_EQ(handler.raised().size(), 1u);
        EXPECT_EQ(handler.raised()[0].code, code);
        EXPECT_THAT(rowsOf(m), ElementsAre(ElementsAre(9, 9)));
    }
}

}  // namespace
