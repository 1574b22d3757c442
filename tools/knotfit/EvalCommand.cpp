// SPDX-License-Identifier: MIT
#include "tools/knotfit/EvalCommand.h"

#include <CLI/CLI.hpp>
#include <memory>

#include "knotwork/fit/KernelBuild.h"
#include "tools/knotfit/CsvTable.h"
#include "tools/knotfit/Failure.h"
#include "tools/knotfit/FitFile.h"
#include "tools/knotfit/FitText.h"
#include "tools/knotfit/JsonText.h"
#include "tools/knotfit/OutputFiles.h"

namespace knotfit {

namespace {

constexpr int kMostDerivatives = 20;

struct EvalOptions {
    std::string fit;
    std::string at;
    int derivatives = 0;
};

void append(std::string& line, const double* numbers, int count)
{
    for (int k = 0; k < count; ++k) {
        if (!line.empty()) line += ',';
        line += JsonText::number(numbers[k]);
    }
}

void refuseOutside(const knotwork::BsplineBasis& basis, double t, int line)
{
    if (t >= basis.first() && t <= basis.last()) return;
    throw Failure(kBadUsage, "parameter line " + std::to_string(line + 1) + ": " +
                                 JsonText::number(t) + " lies outside the fit");
}

/// Point, first derivative, second, ...
std::string curveLines(const FitFile& fit, const CsvTable& table, int order)
{
    const auto spline = knotwork::makeSpline(fit.bases[0], fit.dimension, fit.controlPoints);
    std::vector<double> rows(static_cast<std::size_t>(spline->WorkspaceSize(order)));
    std::string text;
    for (int i = 0; i < table.rows; ++i) {
        refuseOutside(fit.bases[0], table.at(i, 0), i);
        spline->eval(rows.data(), table.at(i, 0), order);
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
            for (int inV = 0; inV <= total; ++inV)
                append(line,
                       &partials[static_cast<std::size_t>((inV * stride + total - inV) *
                                                          fit.dimension)],
                       fit.dimension);
        text += line + "\n";
    }
    return text;
}

void runEval(const EvalOptions& options)
{
    const FitFile fit = readFit(options.fit);
    const CsvTable table = readCsv(options.at);
    const int wanted = fit.isSurface() ? 2 : 1;
    if (table.cols != wanted)
        throw Failure(kBadUsage, options.at + ": a " + (fit.isSurface() ? "surface" : "curve") +
                                     " takes " + std::to_string(wanted) + " parameter" +
                                     (wanted > 1 ? "s" : "") + " a line");
    OutputFiles files({options.at});
    files.add("-", fit.isSurface() ? surfaceLines(fit, table, options.derivatives)
                                   : curveLines(fit, table, options.derivatives));
    files.write();
}

}  // namespace

void addEvalCommand(CLI::App& app)
{
    const auto options = std::make_shared<EvalOptions>();
    CLI::App* eval = app.add_subcommand("eval", "Evaluate a fit that was written as JSON");
    eval->add_option("FIT.json", options->fit, "The fit")->required();
    eval->add_option("--at", options->at,
                     "Parameters, a line each (two for a surface); - for standard input")
        ->required()
        ->check(notEmpty);
    eval->add_option("--derivatives", options->derivatives,
                     "Derivatives up to this order behind each point; of a surface Su, Sv, Suu, "
                     "Suv, Svv, ...")
        ->check(CLI::Range(0, kMostDerivatives))
        ->capture_default_str();
    eval->set_version_flag("--version", KNOTFIT_VERSION);
    eval->callback([options] { runEval(*options); });
}

}  // namespace knotfit
