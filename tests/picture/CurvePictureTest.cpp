// SPDX-License-Identifier: MIT
#include "knotwork/picture/CurvePicture.h"

#include <cstdio>
#include <sstream>

#include "knotwork/picture/SvgCanvas.h"
#include "tests/fit/HandMadeSurface.h"
#include "tests/fit/Problems.h"
#include "tests/support/Testing.h"
#include "tests/support/XmlCheck.h"

namespace {

using namespace knotwork_test;

std::string pictureOf(const FitProblem& p, const std::string& title,
                      const knotwork::CurveFitOptions& asked = {})
{
    const auto n = static_cast<unsigned>(p.parameters.size());
    std::ostringstream os;
    knotwork::writeCurveSvg(os, p.fit(),
                            TtupleVector(p.dimension, static_cast<int>(n), p.points.data()),
                            DoubleVec(p.parameters.data(), n), p.constraints, title, asked);
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

/// A straight line through (0, 0), (1, 1/2) and (2, 1), whose middle asks for one coordinate, whose
/// last control point for the other, and whose start for a direction.
TEST(CurvePictureTest, FreeCoordinatesFollowTheCurveAndArrowsWhatIsAsked)
{
    FitProblem p;
    p.dimension = 2;
    p.basis = knotwork::BsplineBasis::uniform(1, 0.0, 1.0, 1);
    p.parameters = {0.0, 0.5, 1.0};
    p.points = {0.0, 0.0, 1.0, 0.5, 2.0, 1.0};
    p.constraints = {{0.5, 0, {1.0, -7.0}, {1, 0}}};
    knotwork::CurveFitOptions options;
    options.directions = {{0.0, {-4e300, -2e300}}};
    options.held = {{1, {-7.0, 1.0}, {0, 1}}};
    const std::string svg = pictureOf(p, "", options);
    EXPECT_EQ(xmlFault(svg), "");
    EXPECT_THAT(svg,
                testing::AllOf(HasSubstr(">one coordinate</text>"), HasSubstr(">direction</text>"),
                               Not(HasSubstr(">met exactly"))));
    std::vector<knotwork::PlotPoint> dots;  // two control points, then the data
    for (std::size_t at = 0; (at = svg.find("<circle", at)) != std::string::npos; ++at) {
        dots.push_back({});
        std::sscanf(svg.c_str() + at, "<circle cx=\"%lf\" cy=\"%lf\"", &dots.back().x,
                    &dots.back().y);
    }
    struct Line {
        double x, y, toX, toY;
    };
    std::vector<Line> lines;  // the first of every mark: the bar, the arrow, the other bar
    for (std::size_t at = 0; (at = svg.find("#c2185b", at)) != std::string::npos; ++at) {
        Line& l = lines.emplace_back();
        std::sscanf(svg.c_str() + svg.rfind("<path", at), "<path d=\"M%lf %lfL%lf %lf", &l.x, &l.y,
                    &l.toX, &l.toY);
    }
    ASSERT_EQ(dots.size(), 6U);
    ASSERT_EQ(lines.size(), 5U);
    const auto expectBar = [](const Line& l, knotwork::PlotPoint middle, bool upright) {
        EXPECT_NEAR((l.x + l.toX) / 2, middle.x, 0.011);
        EXPECT_NEAR((l.y + l.toY) / 2, middle.y, 0.011);
        EXPECT_EQ(l.x == l.toX, upright);
        EXPECT_EQ(l.y == l.toY, !upright);
    };
    expectBar(lines[0], dots[3], true);
    expectBar(lines[2], dots[1], false);
    EXPECT_NEAR(lines[1].x, dots[2].x, 0.011);
    EXPECT_NEAR(lines[1].y, dots[2].y, 0.011);
    EXPECT_LT(lines[1].toX, lines[1].x);
    EXPECT_NEAR(lines[1].toX - lines[1].x, -2 * (lines[1].toY - lines[1].y), 0.05);
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
