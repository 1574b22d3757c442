// SPDX-License-Identifier: MIT
#include "knotwork/picture/CurvePicture.h"

#include <cstdio>
#include <sstream>

#include "tests/fit/HandMadeSurface.h"
#include "tests/fit/Problems.h"
#include "tests/support/Testing.h"
#include "tests/support/XmlCheck.h"

namespace {

using namespace knotwork_test;

std::string pictureOf(const FitProblem& p, const std::string& title)
{
    const auto n = static_cast<unsigned>(p.parameters.size());
    std::ostringstream os;
    knotwork::writeCurveSvg(os, p.fit(),
                            TtupleVector(p.dimension, static_cast<int>(n), p.points.data()),
                            DoubleVec(p.parameters.data(), n), p.constraints, title);
    return os.str();
}

/// A wave with a value and a slope held.
FitProblem wave(int dimension, const std::vector<double>& coordinates, double parameter,
                double offset)
{
    knotwork_measures::Dice dice(20270116);
    FitProblem p = noisyProblem(3, 4, dimension, dice);
    const auto d = static_cast<std::size_t>(dimension);
    p.constraints = {{0.25, 0, std::vector<double>(d, 1.0)},
                     {0.75, 1, std::vector<double>(d, 2.0)}};
    return scaled(p, coordinates, parameter, offset);
}

struct PictureCase {
    const char* name;
    int dimension;
    std::vector<double> coordinates;
    double parameter;
    double offset;
};

const PictureCase kPictures[] = {
    {"Graph", 1, {1}, 1, 0},         {"Plane", 2, {1}, 1, 0},
    {"Space", 3, {1}, 1, 0},         {"Tiny", 1, {1e-300}, 1e-9, 0},
    {"Huge", 1, {1e307}, 1e60, 0},   {"HugePlane", 2, {1e306, -5e306}, 1, 0},
    {"LongAgo", 1, {1}, 600, 1.7e9}, {"FlatAndWide", 2, {1e-200, 1}, 1, 0}};

}  // namespace

TEST(CurvePictureTest, IsWellFormedAndShowsEverythingOnThePaper)
{
    for (const PictureCase& c : kPictures) {
        SCOPED_TRACE(c.name);
        const FitProblem p = wave(c.dimension, c.coordinates, c.parameter, c.offset);
        ASSERT_TRUE(p.fit().fits());
        const std::string svg = pictureOf(p, "A wave");
        EXPECT_EQ(xmlFault(svg), "");
        EXPECT_EQ(count(svg, "nan") + count(svg, "inf"), 0U);
        EXPECT_THAT(svg, HasSubstr(">A wave</text>"));
        // Data, control points and the key's dot; the constraint's diamond, its tangent, the key's.
        EXPECT_EQ(count(svg, "<circle"), p.parameters.size() + 7 + 1);
        EXPECT_EQ(count(svg, "stroke=\"#c2185b\""), 3U);
        EXPECT_GE(count(svg, "text-anchor=\"end\""), 3U);  // numbers on the upright axis
        for (std::size_t at = svg.find("<circle"); at != std::string::npos;
             at = svg.find("<circle", at + 1)) {
            double x = -1.0;
            double y = -1.0;
            ASSERT_EQ(std::sscanf(svg.c_str() + at, "<circle cx=\"%lf\" cy=\"%lf\"", &x, &y), 2);
            EXPECT_TRUE(x >= 0.0 && x <= 900.0 && y >= 0.0 && y <= 600.0) << x << ", " << y;
        }
    }
}

TEST(CurvePictureTest, FlatCurvesKeepRoomAroundThem)
{
    for (const double level : {0.0, 3.0, -1e308, 1.7e308}) {
        FitProblem p = wave(1, {0}, 1, 0);
        p.points.assign(p.points.size(), level);
        p.constraints.clear();
        const std::string svg = pictureOf(p, "");
        EXPECT_EQ(xmlFault(svg), "") << level;
        EXPECT_EQ(count(svg, "nan") + count(svg, "inf"), 0U) << level;
    }
}

/// A tangent is drawn along the curve whatever the units are: this one rises by half the height of
/// the paper over its whole width.
TEST(CurvePictureTest, TangentsKeepTheirDirectionInEveryUnit)
{
    const auto tangent = [](double parameter) {
        FitProblem p;
        p.basis = knotwork::BsplineBasis::uniform(1, 0.0, parameter, 1);
        p.parameters = {0.0, parameter};
        p.points = {0.0, 1.0};
        p.constraints = {{parameter, 1, {1.0 / parameter}}};
        const std::string svg = pictureOf(p, "");
        const std::size_t end = svg.find("stroke=\"#c2185b\"");
        const std::size_t start = svg.rfind("<path", end);
        return svg.substr(start, end - start);
    };
    const std::string expected = tangent(1.0);
    EXPECT_THAT(expected, testing::StartsWith("<path d=\"M"));
    EXPECT_EQ(tangent(0x1p-40), expected);
    EXPECT_EQ(tangent(0x1p80), expected);
}

TEST(CurvePictureTest, TitlesOfAnyBytesStayWellFormed)
{
    const FitProblem p = wave(1, {1}, 1, 0);
    for (const char* title : {"a < b & \"c\" > d",
                              "tab\tand\x01"
                              "bell\x07",
                              "\xC3\xA9t\xC3\xA9", "broken \xFF\xC3", "cut \xE2\x82", "]]>"})
        EXPECT_EQ(xmlFault(pictureOf(p, title)), "") << title;
    EXPECT_THAT(pictureOf(p, "\xC3\xA9t\xC3\xA9"), HasSubstr("\xC3\xA9t\xC3\xA9"));
}

TEST(CurvePictureTest, NothingWithoutACurve)
{
    FitProblem p = wave(1, {1}, 1, 0);
    p.constraints.push_back(p.constraints.front());
    EXPECT_EQ(pictureOf(p, "title"), "");
}

/// As a graph and in the plane: curve and control polygon end where they begin, and nothing is
/// there twice.
TEST(CurvePictureTest, ClosedCurvesHaveNoGapAndShowTheirSeam)
{
    for (const int dimension : {1, 2}) {
        FitProblem p = wave(dimension, {1}, 1, 0);
        p.basis = knotwork::BsplineBasis::periodicUniform(3, 0.2, 1.2, 5);
        p.constraints = {
            {-0.75, 0, std::vector<double>(p.points.end() - dimension, p.points.end())}};
        ASSERT_TRUE(p.fit().fits());
        const std::string svg = pictureOf(p, "A ring");
        EXPECT_EQ(xmlFault(svg), "");
        EXPECT_THAT(svg, HasSubstr(">seam</text>"));
        EXPECT_EQ(count(svg, "<circle"), p.parameters.size() + 5 + 1);
        for (const char* style : {"#1f4e9c", "#9a9a9a"}) {
            const std::size_t at =
                svg.rfind("<path d=\"M", svg.find(std::string("stroke=\"") + style));
            const std::string path = svg.substr(at + 10, svg.find('"', at + 10) - at - 10);
            const std::string first = path.substr(0, path.find('L'));
            const std::string last = path.substr(path.rfind('L') + 1);
            const auto from = [dimension](const std::string& place) {
                return dimension == 2 ? place : place.substr(place.find(' '));  // the same height
            };
            EXPECT_EQ(from(first), from(last)) << style;
        }
        EXPECT_EQ(count(svg, "stroke=\"#111111\""), dimension == 1 ? 3U : 2U);
    }
}
