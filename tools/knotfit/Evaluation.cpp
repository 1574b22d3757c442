// SPDX-License-Identifier: MIT
#include "tools/knotfit/Evaluation.h"

#include <algorithm>

#include "knotwork/fit/KernelBuild.h"
#include "tools/knotfit/Failure.h"
#include "tools/knotfit/JsonText.h"

namespace knotfit {

namespace {

void append(std::string& line, const double* numbers, int count)
{
    for (int k = 0; k < count; ++k) {
        if (!line.empty()) line += ',';
        line += JsonText::number(numbers[k]);
    }
}

void refuseOutside(const knotwork::BsplineBasis& basis, double t, int line)
{
    if (basis.closed() || (t >= basis.first() && t <= basis.last())) return;
    refuse("parameter line " + std::to_string(line + 1) + ": " + JsonText::number(t) +
           " lies outside the fit");
}

/// Point, first derivative, second, ...
std::string curveLines(const FitFile& fit, const CsvTable& table, int order)
{
    const auto spline = knotwork::makeSpline(fit.bases[0], fit.dimension, fit.controlPoints);
    std::vector<double> rows(static_cast<std::size_t>(spline->WorkspaceSize(order)));
    std::string text;
    for (int i = 0; i < table.rows; ++i) {
        refuseOutside(fit.bases[0], table.at(i, 0), i);
        spline->eval(rows.data(), fit.bases[0].wrapped(table.at(i, 0)), order);
        std::string line;
        append(line, rows.data(), (order + 1) * fit.dimension);
        text += line + "\n";
    }
    return text;
}

/// S, Su, Sv, Suu, Suv, Svv, ...
std::string surfaceLines(const FitFile& fit, const CsvTable& table, int order)
{
    const auto surface =
        knotwork::makeSurface(fit.bases[0], fit.bases[1], fit.dimension, fit.controlPoints);
    const int stride = std::max(surface->uDegree(), order) + 1;
    std::vector<double> partials(static_cast<std::size_t>(surface->WorkspaceSize(order)));
    std::string text;
    for (int i = 0; i < table.rows; ++i) {
        refuseOutside(fit.bases[0], table.at(i, 0), i);
        refuseOutside(fit.bases[1], table.at(i, 1), i);
        surface->eval(partials.data(), table.at(i, 0), table.at(i, 1), order);
        std::string line;
        for (int total = 0; total <= order; ++total)
            for (int inV = 0; inV <= total; ++inV) {
                const auto partial = static_cast<std::size_t>(inV * stride + total - inV);
                append(line, &partials[partial * static_cast<std::size_t>(fit.dimension)],
                       fit.dimension);
            }
        text += line + "\n";
    }
    return text;
}

}  // namespace

std::string evaluated(const FitFile& fit, const CsvTable& table, int order)
{
    return fit.isSurface() ? surfaceLines(fit, table, order) : curveLines(fit, table, order);
}

}  // namespace knotfit
