// SPDX-License-Identifier: MIT
#include "tools/knotfit/SurfaceRequest.h"

#include <cmath>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "tools/knotfit/BasisRequest.h"
#include "tools/knotfit/Failure.h"
#include "tools/knotfit/FitFile.h"
#include "tools/knotfit/TextNumbers.h"

namespace knotfit {

namespace {

/// "N" for both directions, or "NU,NV".
std::pair<int, int> bothDirections(const std::string& option, const std::string& text)
{
    std::vector<int> numbers;
    for (const std::string_view part : split(text, ',')) {
        const std::optional<double> number = parseNumber(part);
        if (!number || *number != std::floor(*number) || std::fabs(*number) > 1e9)
            refuse(option + ": '" + std::string(part) + "' is no whole number");
        numbers.push_back(static_cast<int>(*number));
    }
    if (numbers.size() > 2) refuse(option + ": takes one number, or one for u and one for v");
    return {numbers.front(), numbers.back()};
}

/// Heights: columns run in u, lines in v.
TtupleMatrix heights(const CsvTable& table)
{
    TtupleMatrix points(1, table.cols, table.rows, 0.0);
    for (int j = 0; j < table.rows; ++j)
        for (int i = 0; i < table.cols; ++i) points.point(i, j)(0) = table.at(j, i);
    return points;
}

/// x,y,z triples, line by line of the grid.
TtupleMatrix triples(const CsvTable& table, int columns)
{
    if (table.cols != 3) refuse("--xyz needs three numbers a line");
    if (columns < 1) refuse("--xyz needs --columns, the grid's width");
    if (table.rows % columns != 0)
        refuse("--columns: " + std::to_string(table.rows) + " points make no grid " +
               std::to_string(columns) + " wide");
    TtupleMatrix points(3, columns, table.rows / columns, 0.0);
    for (int t = 0; t < table.rows; ++t)
        for (int k = 0; k < 3; ++k) points.point(t % columns, t / columns)(k) = table.at(t, k);
    return points;
}

void chooseBases(const SurfaceOptions& options, SurfaceRequest& request)
{
    const auto [degreeU, degreeV] = bothDirections("--degree", options.degree);
    const auto [spansU, spansV] = bothDirections("--spans", options.spans);
    const int rows = request.points.rows();
    const int cols = request.points.cols();
    request.u = basisFor({degreeU, spansU, options.knotsU, "--knots-u", 0.0, rows - 1.0, rows, 0});
    request.v = basisFor({degreeV, spansV, options.knotsV, "--knots-v", 0.0, cols - 1.0, cols, 0});
    if (options.border != "exact") return;
    request.options.acrossU = knotwork::endLinesInU(request.points, request.uParameters);
    request.options.acrossV = knotwork::endLinesInV(request.points, request.vParameters);
}

/// Bases and border of an earlier fit; the inside is what is fitted.
void takeBorder(const std::string& path, SurfaceRequest& request)
{
    const FitFile fit = readFit(path);
    if (!fit.isSurface()) refuse(path + ": holds a curve, not a surface");
    if (fit.dimension != request.points.size())
        refuse(path + ": its points have " + std::to_string(fit.dimension) +
               " coordinates, the data " + std::to_string(request.points.size()));
    request.u = fit.bases[0];
    request.v = fit.bases[1];
    const int nu = request.u.count();
    const int nv = request.v.count();
    if (maxValue(request.uParameters) > request.u.last() || request.u.first() > 0.0 ||
        maxValue(request.vParameters) > request.v.last() || request.v.first() > 0.0)
        refuse(path + ": its range does not hold the grid");
    const DoubleVec numbers(fit.controlPoints.data(),
                            static_cast<unsigned>(fit.controlPoints.size()));
    request.held.reference(TtupleMatrix(fit.dimension, nu, nv, numbers));
    request.mask.reference(IntGenMat(static_cast<unsigned>(nu), static_cast<unsigned>(nv), 0));
    request.mask.row(0) = 1;
    request.mask.row(nu - 1) = 1;
    request.mask.col(0) = 1;
    request.mask.col(nv - 1) = 1;
}

}  // namespace

SurfaceRequest makeSurfaceRequest(const SurfaceOptions& options, const CsvTable& table)
{
    SurfaceRequest request;
    request.points.reference(options.triples ? triples(table, options.columns) : heights(table));
    if (request.points.rows() < 2 || request.points.cols() < 2)
        refuse("the grid must have two columns and two lines at least");
    request.uParameters.reference(
        DoubleVec(static_cast<unsigned>(request.points.rows()), 0.0, 1.0));
    request.vParameters.reference(
        DoubleVec(static_cast<unsigned>(request.points.cols()), 0.0, 1.0));
    if (options.hold.empty())
        chooseBases(options, request);
    else
        takeBorder(options.hold, request);
    return request;
}

}  // namespace knotfit
