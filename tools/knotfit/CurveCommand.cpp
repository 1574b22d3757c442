// SPDX-License-Identifier: MIT
#include "tools/knotfit/CurveCommand.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <optional>
#include <sstream>
#include <utility>

#include "knotwork/fit/CurvePicture.h"
#include "tools/knotfit/ConsoleReporter.h"
#include "tools/knotfit/CurveRequest.h"
#include "tools/knotfit/Failure.h"
#include "tools/knotfit/FitText.h"
#include "tools/knotfit/JsonText.h"
#include "tools/knotfit/OutputFiles.h"

namespace knotfit {

namespace {

using knotwork::CurveFitReport;
using knotwork::FittedCurve;

std::string jsonOf(const FittedCurve& curve, const Times& times)
{
    const CurveFitReport& report = curve.report;
    JsonText json;
    json.openObject();
    json.member("degree", curve.basis.degree());
    json.member("knots", curve.basis.knots());
    json.points("control_points", curve.controlPoints, curve.dimension);
    addReport(json, report, {report.maxResidualAt}, times);
    json.closeObject();
    return json.text();
}

std::string asZero(const std::string& text)
{
    const std::optional<double> number = parseNumber(text);
    return number && *number >= 0.0 && *number <= 1.0 ? "" : "must be a number from 0 to 1";
}

void runCurve(const CurveOptions& options)
{
    const Stopwatch reading;
    CsvTable table = readCsv(options.input);
    const double readSeconds = reading.seconds();
    const CurveRequest request = makeCurveRequest(options, std::move(table));

    ConsoleReporter reporter(options.verbose, ConsoleReporter::Progress::kLeftToTheFit);
    ProgressBar bar;
    knotwork::CurveFitOptions fitOptions;
    fitOptions.method = methodOf(options.method);
    fitOptions.zero = options.zero;
    fitOptions.estimateCutoff = options.cutoff;
    fitOptions.reporter = &reporter;
    fitOptions.weights.reference(request.weights);
    if (options.verbose) fitOptions.progress = [&bar](double share) { bar.show(share); };
    const Stopwatch fitting;
    const FittedCurve curve = knotwork::fitCurve(request.points, request.parameters, request.basis,
                                                 request.constraints, fitOptions);
    const Times times = {readSeconds, fitting.seconds()};
    if (!curve.fits()) {
        const bool bad = curve.report.verdict == knotwork::FitVerdict::kBadInput;
        throw Failure(bad ? kBadUsage : kRefused, curve.report.reason);
    }

    OutputFiles files(options.input);
    if (!options.output.empty()) files.add(options.output, jsonOf(curve, times));
    if (!options.svg.empty()) {
        std::ostringstream picture;
        knotwork::writeCurveSvg(picture, curve, request.points, request.parameters,
                                request.constraints,
                                titleOf(options.input, "degree " + std::to_string(options.degree)));
        files.add(options.svg, picture.str());
    }
    if (options.output != "-" && options.svg != "-")
        files.add("-", summaryOf(curve.report, {curve.report.maxResidualAt}, times));
    files.write();
}

}  // namespace

void addCurveCommand(CLI::App& app)
{
    const auto options = std::make_shared<CurveOptions>();
    CLI::App* curve =
        app.add_subcommand("curve", "Fit a B-spline curve to points, some equations held exactly");
    curve
        ->add_option(
            "POINTS.csv", options->input,
            "Comma-separated points, a line each; - for standard input; # starts a comment")
        ->required();
    curve->add_option("-d,--degree", options->degree, "Degree of the curve")->capture_default_str();
    CLI::Option* spans =
        curve->add_option("-n,--spans", options->spans, "Equal spans over the parameter range")
            ->capture_default_str();
    curve->add_option("--knots", options->knots, "Interior knots T1,T2,... instead of --spans")
        ->check(notEmpty)
        ->excludes(spans);
    curve
        ->add_option(
            "--parameter", options->parameter,
            "Where parameters come from: the first column (two-column files do by default), "
            "or spread from 0 to 1 (chord otherwise)")
        ->check(CLI::IsMember({"column", "uniform", "chord", "centripetal"}));
    curve
        ->add_option("--weights", options->weights,
                     "Column, counted from 1, that holds a weight for each point, 0 or more, "
                     "instead of a coordinate")
        ->check(CLI::PositiveNumber);
    curve
        ->add_option("--pass", options->pass,
                     "Data points met exactly, I[,J...]: numbers from 0, or first, last")
        ->allow_extra_args(false);
    curve->add_option("--value", options->values, "T=X[:Y...]: the curve's value at T, exactly")
        ->allow_extra_args(false);
    curve->add_option("--slope", options->slopes, "T=X[:Y...]: its first derivative at T, exactly")
        ->allow_extra_args(false);
    curve->add_flag("--cutoff", options->cutoff, "Estimate the cut-off from the singular values");
    curve
        ->add_option(
            "--zero", options->zero,
            "What counts as zero on the scaled problem; a fit that depends on it is refused")
        ->capture_default_str()
        ->check(asZero);
    addMethodOption(*curve, options->method);
    curve
        ->add_option("-o,--output", options->output, "Write the fit as JSON; - for standard output")
        ->check(notEmpty);
    curve
        ->add_option("--svg", options->svg, "Draw data, curve, control polygon, knots, constraints")
        ->check(notEmpty);
    curve->add_flag(
        "-v,--verbose", options->verbose,
        "Let the solver report on standard error; a progress bar where that is a terminal");
    curve->set_version_flag("--version", KNOTFIT_VERSION);
    curve->callback([options] { runCurve(*options); });
}

}  // namespace knotfit
