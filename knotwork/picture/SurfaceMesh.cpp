// SPDX-License-Identifier: MIT
#include "knotwork/picture/SurfaceMesh.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <ostream>
#include <string>

#include "knotwork/approx/AP_EVAL_NORM_CONST_PARM.h"
#include "knotwork/fit/KernelBuild.h"
#include "knotwork/fit/NumberText.h"

namespace knotwork {

namespace {

constexpr double kNegligible = 1e-13;  // times the largest speed, or the product of both

using Point3 = std::array<double, 3>;

double length(const Point3& p)
{
    return std::hypot(p[0], p[1], p[2]);
}

/// The control points in three dimensions. A height's own are put where its basis functions add up
/// to the parameters.
std::vector<double> netInSpace(const FittedSurface& surface)
{
    std::vector<double> net;
    const double* p = surface.controlPoints.data();
    for (int j = 0; j < surface.v.count(); ++j)
        for (int i = 0; i < surface.u.count(); ++i, p += surface.dimension) {
            Point3 point{};
            if (surface.dimension == 1)
                point = {surface.u.greville(i), surface.v.greville(j), *p};
            else
                std::copy_n(p, std::min(surface.dimension, 3), point.begin());
            net.insert(net.end(), point.begin(), point.end());
        }
    return net;
}

/// The power of two that brings a net to unit size, when fourth powers of its numbers, as they are
/// in the lengths of normals, would come near the ends of the doubles; 0 otherwise.
int farExponent(const std::vector<double>& net)
{
    constexpr int kNear = 100;
    double largest = 0.0;
    for (const double x : net) largest = std::max(largest, std::fabs(x));
    if (!(largest > 0.0) || !std::isfinite(largest)) return 0;
    const int exponent = std::ilogb(largest);
    return std::abs(exponent) > kNear ? exponent : 0;
}

std::vector<double> meshLines(const BsplineBasis& basis, int stepsPerSpan)
{
    const std::vector<double> breaks = basis.breakpoints();
    std::vector<double> lines;
    for (std::size_t s = 0; s + 1 < breaks.size(); ++s)
        for (int k = 0; k < stepsPerSpan; ++k)
            lines.push_back(breaks[s] + (breaks[s + 1] - breaks[s]) * k / stepsPerSpan);
    lines.push_back(breaks.back());
    return lines;
}

struct Vertex {
    Point3 point;
    Point3 normal;
    double speedU;
    double speedV;
    double area;  // the length of Su x Sv
};

/// The vertices, line after line of constant v.
struct Mesh {
    std::vector<double> u;
    std::vector<double> v;
    std::vector<Vertex> vertices;

    std::size_t number(std::size_t i, std::size_t j) const { return j * u.size() + i; }
};

Vertex vertexOf(AP_EVAL_NORM_CONST_PARM& line)
{
    // The evaluator keeps the u-derivative behind the point, the v-derivative before the normal.
    const double* point = line(0);
    const double* normal = line(1);
    const Point3 su{point[3], point[4], point[5]};
    const Point3 sv{normal[-3], normal[-2], normal[-1]};
    const Point3 cross{su[1] * sv[2] - su[2] * sv[1], su[2] * sv[0] - su[0] * sv[2],
                       su[0] * sv[1] - su[1] * sv[0]};
    return {{point[0], point[1], point[2]},
            {normal[0], normal[1], normal[2]},
            length(su),
            length(sv),
            length(cross)};
}

void sampleVertices(Mesh& mesh, AP_SURFACE& surface)
{
    AP_EVAL_NORM_CONST_PARM line(surface);
    for (const double v : mesh.v) {
        line.setv(v, 2);
        for (const double u : mesh.u) {
            line.eval(u, 2);
            mesh.vertices.push_back(vertexOf(line));
        }
    }
}

/// Which vertices have a normal that is more than rounding.
std::vector<char> definedNormals(const Mesh& mesh)
{
    double fastestU = 0.0;
    double fastestV = 0.0;
    for (const Vertex& vertex : mesh.vertices) {
        fastestU = std::max(fastestU, vertex.speedU);
        fastestV = std::max(fastestV, vertex.speedV);
    }
    std::vector<char> defined;
    for (const Vertex& vertex : mesh.vertices)
        defined.push_back(vertex.speedU > kNegligible * fastestU &&
                          vertex.speedV > kNegligible * fastestV &&
                          vertex.area > kNegligible * vertex.speedU * vertex.speedV &&
                          std::fabs(length(vertex.normal) - 1.0) < 1e-6);  // no 0, no NaN
    return defined;
}

/// Spreads normals from where they are defined, one step to all sides at a time.
void lendNormals(Mesh& mesh, std::vector<char> defined)
{
    std::vector<std::size_t> front;
    for (std::size_t k = 0; k < defined.size(); ++k)
        if (defined[k]) front.push_back(k);
    if (front.empty())
        for (Vertex& vertex : mesh.vertices) vertex.normal = {0.0, 0.0, 1.0};
    const std::size_t perLine = mesh.u.size();
    for (std::size_t at = 0; at < front.size(); ++at) {
        const std::size_t k = front[at];
        const auto lend = [&](bool inside, std::size_t to) {
            if (!inside || defined[to]) return;
            mesh.vertices[to].normal = mesh.vertices[k].normal;
            defined[to] = 1;
            front.push_back(to);
        };
        lend(k >= perLine, k - perLine);
        lend(k + perLine < defined.size(), k + perLine);
        lend(k % perLine > 0, k - 1);
        lend((k + 1) % perLine > 0, k + 1);
    }
}

void writeTriple(std::ostream& os, const char* what, const Point3& p)
{
    std::string text = what;
    for (const double x : p) {
        text += ' ';
        appendGeneral(text, x + 0.0, 9);  // + 0.0: no -0
    }
    os << text << '\n';
}

void writeTriangle(std::ostream& os, const Mesh& mesh, std::size_t a, std::size_t b, std::size_t c)
{
    const auto point = [&mesh](std::size_t k) { return mesh.vertices[k].point; };
    if (point(a) == point(b) || point(b) == point(c) || point(c) == point(a)) return;
    std::string text = "f";
    for (const std::size_t k : {a, b, c}) {
        appendWhole(text += ' ', k + 1);
        appendWhole(text += "//", k + 1);
    }
    os << text << '\n';
}

void writeMesh(std::ostream& os, const Mesh& mesh, int exponent)
{
    const auto grown = [exponent](double x) { return std::ldexp(x, exponent); };
    os << "# " << std::to_string(mesh.u.size()) << " x " << std::to_string(mesh.v.size())
       << " vertices\n";
    for (const Vertex& vertex : mesh.vertices) {
        const Point3& p = vertex.point;
        writeTriple(os, "v", {grown(p[0]), grown(p[1]), grown(p[2])});
    }
    for (const Vertex& vertex : mesh.vertices) writeTriple(os, "vn", vertex.normal);
    for (std::size_t j = 0; j + 1 < mesh.v.size(); ++j)
        for (std::size_t i = 0; i + 1 < mesh.u.size(); ++i) {
            const std::size_t opposite = mesh.number(i + 1, j + 1);
            writeTriangle(os, mesh, mesh.number(i, j), mesh.number(i + 1, j), opposite);
            writeTriangle(os, mesh, mesh.number(i, j), opposite, mesh.number(i, j + 1));
        }
}

}  // namespace

std::uint64_t meshVertices(const BsplineBasis& u, const BsplineBasis& v, int stepsPerSpan)
{
    const auto lines = [stepsPerSpan](const BsplineBasis& basis) {
        const std::uint64_t spans = basis.breakpoints().size() - 1;
        return spans * static_cast<std::uint64_t>(std::max(stepsPerSpan, 1)) + 1;
    };
    return lines(u) * lines(v);
}

void writeSurfaceObj(std::ostream& os, const FittedSurface& surface, int stepsPerSpan)
{
    if (!surface.fits() || surface.surface == nullptr) return;
    if (meshVertices(surface.u, surface.v, stepsPerSpan) > kMostMeshVertices) return;
    std::vector<double> net = netInSpace(surface);
    const int exponent = farExponent(net);
    for (double& x : net) x = std::ldexp(x, -exponent);
    const auto inSpace = makeSurface(surface.u, surface.v, 3, net);
    if (inSpace == nullptr) return;
    const int steps = std::max(stepsPerSpan, 1);
    Mesh mesh{meshLines(surface.u, steps), meshLines(surface.v, steps), {}};
    sampleVertices(mesh, *inSpace);
    lendNormals(mesh, definedNormals(mesh));
    writeMesh(os, mesh, exponent);
}

}  // namespace knotwork
