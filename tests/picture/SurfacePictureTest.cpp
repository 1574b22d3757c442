// SPDX-License-Identifier: MIT
#include "knotwork/picture/SurfacePicture.h"

#include <regex>
#include <sstream>

#include "tests/fit/HandMadeSurface.h"
#include "tests/support/Testing.h"
#include "tests/support/XmlCheck.h"

namespace {

using namespace knotwork;
using namespace knotwork_test;

constexpr double kWidth = 1200.0;
constexpr double kHeight = 640.0;
constexpr double kTenth = 0.1;  // the picture's coordinates are rounded to it

/// As many samples, in order, as there are parameters.
struct Samples {
    std::vector<double> u;
    std::vector<double> v;
    std::vector<double> numbers;
};

std::string pictureOf(const FittedSurface& surface, Samples s, const std::string& title = "")
{
    const DoubleVec u(s.u.data(), static_cast<unsigned>(s.u.size()));
    const DoubleVec v(s.v.data(), static_cast<unsigned>(s.v.size()));
    const TtupleMatrix points(surface.dimension, static_cast<int>(s.u.size()),
                              static_cast<int>(s.v.size()),
                              DoubleVec(s.numbers.data(), static_cast<unsigned>(s.numbers.size())));
    std::ostringstream os;
    knotwork::writeSurfaceSvg(os, surface, points, u, v, title);
    return os.str();
}

/// The surface's own points with noise.
Samples noisy(const FittedSurface& surface, int perU, int perV, double noise)
{
    knotwork_measures::Dice dice(20270117);
    Samples s;
    const auto along = [](const BsplineBasis& b, int k, int n) {
        return b.first() + (b.last() - b.first()) * k / (n - 1);
    };
    for (int i = 0; i < perU; ++i) s.u.push_back(along(surface.u, i, perU));
    for (int j = 0; j < perV; ++j) s.v.push_back(along(surface.v, j, perV));
    std::vector<double> out(1000);
    for (const double v : s.v)
        for (const double u : s.u) {
            surface.surface->eval(out.data(), u, v, 0);
            for (int c = 0; c < surface.dimension; ++c)
                s.numbers.push_back(out[static_cast<std::size_t>(c)] +
                                    noise * (2 * dice.unit() - 1));
        }
    return s;
}

struct Face {
    std::string colour;
    double y;  // of its first corner
};

std::vector<Face> facesOf(const std::string& svg)
{
    static const std::regex face("<path d=\"M([0-9]+) ([0-9]+)l[^\"]*z\" color=\"(#[0-9a-f]{6})\"");
    std::vector<Face> faces;
    for (std::sregex_iterator m(svg.begin(), svg.end(), face), end; m != end; ++m)
        faces.push_back({(*m)[3], kTenth * std::stod((*m)[2])});
    return faces;
}

struct Rectangle {
    double left;
    double bottom;
    double right;
    double top;
};

struct CellPath {
    std::string colour;
    std::vector<Rectangle> rectangles;
};

/// The map's cells, a path a colour.
std::vector<CellPath> cellsOf(const std::string& svg)
{
    static const std::regex path("<path d=\"([^\"]*)\" fill=\"(#[0-9a-f]{6})\"/>");
    static const std::regex rectangle("M([0-9]+) ([0-9]+)h([-0-9]+)v([-0-9]+)H[0-9]+z");
    const std::size_t from = svg.find("crispEdges");
    const std::string group = svg.substr(from, svg.find("</g>", from) - from);
    std::vector<CellPath> cells;
    for (std::sregex_iterator m(group.begin(), group.end(), path), end; m != end; ++m) {
        const std::string steps = (*m)[1];
        cells.push_back({(*m)[2], {}});
        for (std::sregex_iterator r(steps.begin(), steps.end(), rectangle); r != end; ++r) {
            const double x = kTenth * std::stod((*r)[1]);
            const double y = kTenth * std::stod((*r)[2]);
            cells.back().rectangles.push_back(
                {x, y, x + kTenth * std::stod((*r)[3]), y + kTenth * std::stod((*r)[4])});
        }
    }
    return cells;
}

int red(const std::string& colour)
{
    return std::stoi(colour.substr(1, 2), nullptr, 16);
}
int blue(const std::string& colour)
{
    return std::stoi(colour.substr(5, 2), nullptr, 16);
}

struct PictureCase {
    const char* name;
    unsigned dimension;
    double size;
    double parameter;
    double offset;
};

FittedSurface wave(const PictureCase& c)
{
    const double first = c.offset;
    const double last = c.offset + c.parameter;
    return handMade(BsplineBasis::uniform(3, first, last, 3),
                    BsplineBasis::uniform(2, first, last, 2), [&c](double u, double v) {
                        const double x = (u - c.offset) / c.parameter;
                        const double y = (v - c.offset) / c.parameter;
                        std::vector<double> p{std::sin(4 * x) * std::cos(5 * y), x, y};
                        for (double& number : p) number *= c.size;
                        p.resize(c.dimension);
                        return p;
                    });
}

FittedSurface flat()
{
    return handMade(BsplineBasis::uniform(1, 0.0, 3.0, 1), BsplineBasis::uniform(1, 0.0, 4.0, 1),
                    [](double, double) { return std::vector{5.0}; });
}

const PictureCase kPictures[] = {{"Heights", 1, 1, 1, 0},
                                 {"Plane", 2, 1, 1, 0},
                                 {"Space", 3, 1, 1, 0},
                                 {"TinySpace", 3, 1e-300, 1e-9, 0},
                                 {"HugeHeights", 1, 5e307, 1e60, 0},
                                 {"HugeSpace", 3, 5e307, 1, 0},
                                 {"LongAgo", 1, 1, 600, 1.7e9}};

}  // namespace

TEST(SurfacePictureTest, IsWellFormedAndShowsEverythingOnThePaper)
{
    for (const PictureCase& c : kPictures) {
        SCOPED_TRACE(c.name);
        const FittedSurface surface = wave(c);
        const std::string svg = pictureOf(surface, noisy(surface, 7, 9, 0.01 * c.size), "A wave");
        EXPECT_EQ(xmlFault(svg), "");
        EXPECT_EQ(count(svg, "nan") + count(svg, "inf"), 0U);
        EXPECT_THAT(svg, HasSubstr(">A wave</text>"));
        // Faces fill a grid whose lines take in the 4 knots in u and the 3 in v; each side of a
        // face on a knot is drawn once.
        const std::size_t acrossU = 51;
        const std::size_t acrossV = 52;
        EXPECT_EQ(facesOf(svg).size(), acrossU * acrossV);
        EXPECT_EQ(count(svg, "color=\"#135\""), 4 * acrossV + 3 * acrossU);
        EXPECT_GE(count(svg, "text-anchor=\"end\""),
                  6U);  // numbers on the upright axis and the scale
        static const std::regex place("M([-0-9.e+]+)[ ]?(-?[0-9.e+]+)|scale\\((0.1)\\)|</g>");
        double unit = 1.0;
        for (std::sregex_iterator m(svg.begin(), svg.end(), place), end; m != end; ++m) {
            if (!(*m)[1].matched) {
                unit = (*m)[3].matched ? kTenth : 1.0;  // a group of paths in tenths of a pixel
                continue;
            }
            const double x = unit * std::stod((*m)[1]);
            const double y = unit * std::stod((*m)[2]);
            EXPECT_TRUE(x >= 0.0 && x <= kWidth && y >= 0.0 && y <= kHeight) << m->str();
        }
    }
}

TEST(SurfacePictureTest, NearFacesCoverFarOnes)
{
    // From above, what lies lower on the paper of a level surface is nearer.
    const std::vector<Face> faces = facesOf(pictureOf(flat(), noisy(flat(), 3, 3, 0.0)));
    ASSERT_FALSE(faces.empty());
    for (std::size_t k = 1; k < faces.size(); ++k)
        EXPECT_GE(faces[k].y, faces[k - 1].y - kTenth) << k;
    EXPECT_GT(faces.back().y, faces.front().y + 100.0);
}

TEST(SurfacePictureTest, SidesDifferInColour)
{
    const auto coloursOf = [](double side) {
        const BsplineBasis b = BsplineBasis::uniform(1, 0.0, 1.0, 1);
        const FittedSurface s = handMade(b, b, [side](double u, double v) {
            return std::vector{side * u, v};
        });
        return facesOf(pictureOf(s, noisy(s, 2, 2, 0.0))).front().colour;
    };
    EXPECT_LT(red(coloursOf(1.0)), blue(coloursOf(1.0)));
    EXPECT_GT(red(coloursOf(-1.0)), blue(coloursOf(-1.0)));
}

/// One sample off the surface, the parameters at unequal distances.
TEST(SurfacePictureTest, ResidualsStandAtTheirParameters)
{
    Samples s{{0, 1, 2, 3}, {0, 1, 4}, std::vector<double>(12, 5.0)};
    for (const double off : {2.0, -2.0}) {
        s.numbers[1 * 4 + 2] = 5.0 + off;
        std::vector<CellPath> cells = cellsOf(pictureOf(flat(), s));
        ASSERT_EQ(cells.size(), 2U);
        if (cells[0].rectangles.size() == 1) std::swap(cells[0], cells[1]);
        ASSERT_EQ(cells[1].rectangles.size(), 1U);
        const double difference = red(cells[1].colour) - blue(cells[1].colour);
        EXPECT_GT(difference * off, 0.0);  // red above the surface, blue below
        EXPECT_EQ(red(cells[0].colour), blue(cells[0].colour));

        Rectangle map = cells[0].rectangles.front();
        for (const Rectangle& r : cells[0].rectangles)
            map = {std::min(map.left, r.left), std::max(map.bottom, r.bottom),
                   std::max(map.right, r.right), std::min(map.top, r.top)};
        const double perU = (map.right - map.left) / 3;
        const double perV = (map.bottom - map.top) / 4;
        const Rectangle& cell = cells[1].rectangles.front();
        EXPECT_NEAR(cell.left, map.left + 1.5 * perU, 2 * kTenth);
        EXPECT_NEAR(cell.right, map.left + 2.5 * perU, 2 * kTenth);
        EXPECT_NEAR(cell.bottom, map.bottom - 0.5 * perV, 2 * kTenth);
        EXPECT_NEAR(cell.top, map.bottom - 2.5 * perV, 2 * kTenth);
    }
}

TEST(SurfacePictureTest, SamplesMayComeInAnyOrder)
{
    Samples s{{0, 1, 2, 3}, {0, 1, 4}, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}};
    const std::string forwards = pictureOf(flat(), s);
    for (auto* numbers : {&s.u, &s.v, &s.numbers}) std::reverse(numbers->begin(), numbers->end());
    EXPECT_EQ(pictureOf(flat(), s), forwards);
}

TEST(SurfacePictureTest, DistancesInSpaceHaveNoSign)
{
    const BsplineBasis b = BsplineBasis::uniform(1, 0.0, 1.0, 1);
    const FittedSurface s = handMade(b, b, [](double u, double v) {
        return std::vector{u, v, 0.};
    });
    const auto mapOf = [&s](double off) {
        Samples samples = noisy(s, 3, 3, 0.0);
        samples.numbers[3 * 4 + 2] = off;
        return cellsOf(pictureOf(s, samples));
    };
    const auto above = mapOf(2.0);
    const auto below = mapOf(-2.0);
    ASSERT_EQ(above.size(), 2U);
    ASSERT_EQ(below.size(), 2U);
    EXPECT_EQ(above[0].colour, below[0].colour);
    EXPECT_EQ(above[1].colour, below[1].colour);
    EXPECT_GT(red(above[0].colour), red(above[1].colour));  // light means near
}

/// Many spans and many samples without two neighbours alike.
TEST(SurfacePictureTest, FilesStayModerate)
{
    for (const int spans : {1, 13, 17, 20, 21, 60})
        for (const int samples : {88, 200}) {
            const FittedSurface s = handMade(
                BsplineBasis::uniform(3, 0.0, 1.0, spans),
                BsplineBasis::uniform(3, 0.0, 1.0, spans),
                [](double u, double v) { return std::vector{std::sin(9 * u) * std::cos(8 * v)}; });
            const std::string svg = pictureOf(s, noisy(s, samples, samples, 1.0));
            EXPECT_LE(svg.size(), 420000U) << spans << " spans, " << samples << " samples";
            EXPECT_GE(facesOf(svg).size(), 900U);
        }
}

TEST(SurfacePictureTest, TitlesAreEscaped)
{
    const std::string svg = pictureOf(flat(), noisy(flat(), 2, 2, 0.0), "a < b & \"c\" \x01");
    EXPECT_EQ(xmlFault(svg), "");
    EXPECT_THAT(svg, HasSubstr("a &lt; b &amp; &quot;c&quot;"));
}

TEST(SurfacePictureTest, NothingWithoutASurface)
{
    FittedSurface s = flat();
    const Samples samples = noisy(s, 2, 2, 0.0);
    s.report.verdict = knotwork::FitVerdict::kInaccurate;
    EXPECT_EQ(pictureOf(s, samples), "");
}
