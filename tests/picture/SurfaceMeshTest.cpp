// SPDX-License-Identifier: MIT
#include "knotwork/picture/SurfaceMesh.h"

#include <array>
#include <cstdio>
#include <sstream>

#include "tests/fit/HandMadeSurface.h"
#include "tests/support/Testing.h"

namespace {

using namespace knotwork;
using namespace knotwork_test;
using Triple = std::array<double, 3>;

constexpr double kNineDigits = 1e-8;  // of numbers around 1

struct ReadMesh {
    std::vector<Triple> points;
    std::vector<Triple> normals;
    std::vector<std::array<std::size_t, 3>> faces;
};

std::string written(const FittedSurface& surface, int steps)
{
    std::ostringstream os;
    knotwork::writeSurfaceObj(os, surface, steps);
    return os.str();
}

ReadMesh meshOf(const FittedSurface& surface, int steps)
{
    ReadMesh mesh;
    std::istringstream is(written(surface, steps));
    for (std::string line; std::getline(is, line);) {
        Triple t;
        std::array<std::size_t, 6> f;
        if (line[0] == '#') continue;
        if (std::sscanf(line.c_str(), "v %lf %lf %lf", &t[0], &t[1], &t[2]) == 3)
            mesh.points.push_back(t);
        else if (std::sscanf(line.c_str(), "vn %lf %lf %lf", &t[0], &t[1], &t[2]) == 3)
            mesh.normals.push_back(t);
        else if (std::sscanf(line.c_str(), "f %zu//%zu %zu//%zu %zu//%zu", &f[0], &f[1], &f[2],
                             &f[3], &f[4], &f[5]) == 6 &&
                 f[0] == f[1] && f[2] == f[3] && f[4] == f[5])
            mesh.faces.push_back({f[0], f[2], f[4]});
        else
            ADD_FAILURE() << line;
    }
    return mesh;
}

double dot(const Triple& a, const Triple& b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

/// Twice the triangle's area, along its normal.
Triple turn(const ReadMesh& mesh, const std::array<std::size_t, 3>& face)
{
    Triple a;
    Triple b;
    for (std::size_t c = 0; c < 3; ++c) {
        a[c] = mesh.points[face[1] - 1][c] - mesh.points[face[0] - 1][c];
        b[c] = mesh.points[face[2] - 1][c] - mesh.points[face[0] - 1][c];
    }
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

/// Vertices and normals go together, are numbers, and every triangle turns where they point.
void expectSound(const ReadMesh& mesh)
{
    ASSERT_EQ(mesh.points.size(), mesh.normals.size());
    for (const Triple& n : mesh.normals) EXPECT_NEAR(dot(n, n), 1.0, 4 * kNineDigits);
    for (const auto& face : mesh.faces)
        for (const std::size_t k : face) {
            ASSERT_TRUE(k >= 1 && k <= mesh.points.size());
            EXPECT_GT(dot(turn(mesh, face), mesh.normals[k - 1]), 0.0);
        }
}

// An interior knot twice: two spans that are not empty in u, and three in v.
const BsplineBasis kU = BsplineBasis::clamped(3, -1.0, 2.0, {0.5, 0.5});
const BsplineBasis kV = BsplineBasis::uniform(2, 0.0, 3.0, 3);
constexpr std::size_t kPerLine = 2 * 4 + 1;
constexpr std::size_t kLines = 3 * 4 + 1;

}  // namespace

TEST(SurfaceMeshTest, HeightsStandOverTheirParameters)
{
    const ReadMesh mesh = meshOf(
        handMade(kU, kV, [](double u, double v) { return std::vector{2 * u - 3 * v + 1}; }), 4);
    expectSound(mesh);
    ASSERT_EQ(mesh.points.size(), kPerLine * kLines);
    EXPECT_EQ(mesh.faces.size(), 2 * 8U * 12U);
    for (std::size_t k = 0; k < mesh.points.size(); ++k) {
        const double u = -1.0 + 1.5 * static_cast<double>(k % kPerLine) / 4.0;
        const double v = static_cast<double>(k / kPerLine) / 4.0;
        EXPECT_NEAR(mesh.points[k][0], u, kNineDigits);
        EXPECT_NEAR(mesh.points[k][1], v, kNineDigits);
        EXPECT_NEAR(mesh.points[k][2], 2 * u - 3 * v + 1, 10 * kNineDigits);
        EXPECT_NEAR(mesh.normals[k][0], -2 / std::sqrt(14.0), kNineDigits);
        EXPECT_NEAR(mesh.normals[k][1], 3 / std::sqrt(14.0), kNineDigits);
    }
}

TEST(SurfaceMeshTest, SurfacesInSpaceAreTheEvaluatedOnes)
{
    const FittedSurface surface = handMade(kU, kV, [](double u, double v) {
        return std::vector{u + 0.2 * std::sin(v), v - 0.2 * std::cos(2 * u), std::sin(u + v)};
    });
    const ReadMesh mesh = meshOf(surface, 4);
    expectSound(mesh);
    ASSERT_EQ(mesh.points.size(), kPerLine * kLines);
    EXPECT_EQ(mesh.faces.size(), 2 * 8U * 12U);
    for (std::size_t k = 0; k < mesh.points.size(); ++k) {
        Triple p;
        Triple n;
        surface.surface->normal(-1.0 + 1.5 * static_cast<double>(k % kPerLine) / 4.0,
                                static_cast<double>(k / kPerLine) / 4.0, p.data(), n.data());
        for (std::size_t c = 0; c < 3; ++c) {
            EXPECT_NEAR(mesh.points[k][c], p[c], kNineDigits);
            EXPECT_NEAR(mesh.normals[k][c], n[c], kNineDigits);
        }
    }
}

TEST(SurfaceMeshTest, PlaneSurfacesFaceTheWayTheyRun)
{
    const auto mesh = [](double side) {
        return meshOf(handMade(kU, kV,
                               [side](double u, double v) {
                                   return std::vector{side * u, v};
                               }),
                      1);
    };
    for (const double side : {1.0, -1.0}) {
        const ReadMesh m = mesh(side);
        expectSound(m);
        EXPECT_EQ(m.faces.size(), 2 * 2U * 3U);
        for (const Triple& n : m.normals) EXPECT_THAT(n, ElementsAre(0.0, 0.0, side));
        for (const Triple& p : m.points) EXPECT_EQ(p[2], 0.0);
    }
}

/// A fan of lines through one point: the tip has no normal of its own and no area at its border.
TEST(SurfaceMeshTest, CollapsedBordersBorrowNormalsAndLeaveTrianglesOut)
{
    const ReadMesh mesh = meshOf(
        handMade(
            kU, kV,
            [](double u, double v) {
                return std::vector{v * std::sin(u) + 0.1, -v * std::cos(u) + 0.7, 0.3 * v + 0.3};
            }),
        4);
    expectSound(mesh);
    EXPECT_EQ(mesh.faces.size(), 2 * 8U * 12U - 8U);
    for (std::size_t i = 0; i < kPerLine; ++i) {
        EXPECT_EQ(mesh.points[i], mesh.points[0]);
        EXPECT_EQ(mesh.normals[i], mesh.normals[i + kPerLine]);
    }
}

TEST(SurfaceMeshTest, SurfacesWithoutAnyNormalPointUp)
{
    for (const double spread : {0.0, 1.0}) {  // a point, and a line
        const ReadMesh mesh =
            meshOf(handMade(kU, kV,
                            [spread](double u, double v) {
                                const double along = spread * (u + v);
                                return std::vector{0.1 + along, 0.7 - along / 3, 0.3 * along};
                            }),
                   2);
        ASSERT_EQ(mesh.normals.size(), 5U * 7U);
        for (const Triple& n : mesh.normals) EXPECT_THAT(n, ElementsAre(0.0, 0.0, 1.0));
    }
}

TEST(SurfaceMeshTest, TheSmallestNetsAreQuiet)
{
    const BsplineBasis b = BsplineBasis::uniform(1, 0.0, 1.0, 1);
    for (const unsigned dimension : {1U, 2U, 3U}) {
        testing::internal::CaptureStderr();
        const ReadMesh mesh = meshOf(handMade(b, b,
                                              [dimension](double u, double v) {
                                                  std::vector<double> p{u, v, u * v};
                                                  p.resize(dimension);
                                                  return p;
                                              }),
                                     0);  // taken as 1
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
        expectSound(mesh);
        EXPECT_EQ(mesh.faces.size(), 2U);
    }
}

TEST(SurfaceMeshTest, NothingWithoutASurfaceOrBeyondWhatIsHeld)
{
    EXPECT_EQ(written(FittedSurface(), 4), "");
    const FittedSurface surface =
        handMade(kU, kV, [](double u, double v) { return std::vector{u * v}; });
    EXPECT_EQ(knotwork::meshVertices(kU, kV, 4), kPerLine * kLines);
    EXPECT_GT(knotwork::meshVertices(kU, kV, 600), knotwork::kMostMeshVertices);
    EXPECT_EQ(written(surface, 600), "");
}

// Normals are products of derivatives, which leave the doubles long before the points do.
TEST(SurfaceMeshTest, NormalsAreThoseOfUnitSize)
{
    const auto bent = [](double size) {
        return handMade(kU, kV, [size](double u, double v) {
            return std::vector{size * u, size * v, size * std::sin(u + v)};
        });
    };
    const ReadMesh small = meshOf(bent(1.0), 4);
    for (const double size : {1e-200, 1e120, 3e307}) {
        SCOPED_TRACE(size);
        const ReadMesh mesh = meshOf(bent(size), 4);
        ASSERT_EQ(mesh.points.size(), small.points.size());
        EXPECT_EQ(mesh.faces.size(), small.faces.size());
        for (std::size_t k = 0; k < mesh.points.size(); ++k)
            for (std::size_t c = 0; c < 3; ++c) {
                EXPECT_NEAR(mesh.points[k][c] / size, small.points[k][c], 4 * kNineDigits);
                EXPECT_NEAR(mesh.normals[k][c], small.normals[k][c], kNineDigits);
            }
    }
}
