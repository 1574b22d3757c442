// SPDX-License-Identifier: MIT
#include "tools/knotfit/CurveCommand.h"

#include <CLI/CLI.hpp>
#include <cmath>
#include <cstdio>
#include <memory>
#include <optional>
#include <string_view>

#include "knotwork/fit/Refine.h"
#include "knotwork/picture/CurvePicture.h"
#include "tools/knotfit/CurveRequest.h"
#include "tools/knotfit/Failure.h"
#include "tools/knotfit/FitCommand.h"
#include "tools/knotfit/GatheredFiles.h"
#include "tools/knotfit/TextNumbers.h"

namespace knotfit {

namespace {

using knotwork::CurveFitReport;
using knotwork::FittedCurve;

std::string sixFigures(double x)
{
    char text[40];
    std::snprintf(text, sizeof text, "%.6g", x);
    return text;
}

std::string smoothingSummary(const CurveFitReport& report)
{
    return "smoothing            lambda " + sixFigures(report.lambda) + ", " +
           sixFigures(report.effectiveDf) + " degrees of freedom" +
           (report.smoothingAtEnd ? ", at the end of what was searched" : "") + "\n";
}

/// lastNearFirst: of the points of a closed curve, where there are points.
void writeCurve(const CurveOptions& options, const FittedCurve& curve, const Times& times,
                OutputFiles& files, std::optional<bool> lastNearFirst = {})
{
    const CurveFitReport& report = curve.report;
    const knotwork::BsplineBasis& basis = curve.basis;
    FitExtras extras;
    extras.at = {report.maxResidualAt};
    extras.shape = [&](JsonText& json) {
        const FittedCurve written = options.clamped ? knotwork::clampedForm(curve) : curve;
        json.member("degree", written.basis.degree());
        if (written.basis.closed()) {
            json.flag("closed", true);
            json.member("period", written.basis.period());
        }
        json.member("knots", written.basis.knots());
        json.points("control_points", written.controlPoints, written.dimension);
    };
    extras.figures = [&](JsonText& json) {
        if (!report.remarks.empty()) json.member("remarks", report.remarks);
        if (!std::isnan(report.lambda)) {
            json.member("lambda", report.lambda);
            if (!std::isnan(report.effectiveDf)) json.member("effective_df", report.effectiveDf);
            if (!std::isnan(report.gcv)) json.member("gcv", report.gcv);
            json.flag("smoothing_at_end", report.smoothingAtEnd);
        }
        if (lastNearFirst) json.flag("last_point_near_first", *lastNearFirst);
    };
    if (basis.closed()) extras.heading = closedSummary(basis.period(), lastNearFirst);
    if (!std::isnan(report.lambda)) extras.heading += smoothingSummary(report);
    for (const std::string& remark : report.remarks)
        extras.heading += "note                 " + remark + "\n";
    writeFit(files, options.output, report, times, extras);
}

/// As a refusal for want of data ends, and what the user can type.
std::string withSmoothOption(std::string reason)
{
    const std::string helps = "which smoothing may make up for";
    const std::size_t at = reason.find(helps);
    return at == std::string::npos ? reason : reason.insert(at + helps.size(), ": --smooth auto");
}

/// Throws a Failure, its sentence in terms of the command line.
void refuseUnfit(const FittedCurve& curve)
{
    knotwork::FitReport report = curve.report;
    report.reason = withSmoothOption(report.reason);
    refuseUnlessItFits(report, curve.fits());
}

void refuseIfOpen(const CurveOptions& options, bool closed)
{
    if (closed) return;
    if (options.closed) refuse("--closed: the parts are those of an open curve");
    if (options.clamped) refuse("--clamped: the curve is not a closed one");
}

/// What the library is asked besides values and slopes.
knotwork::CurveFitOptions fitOptionsFor(const CurveOptions& options, const AskedOfCurve& asked)
{
    knotwork::CurveFitOptions fit;
    fit.directions = asked.directions;
    fit.held = asked.held;
    fit.smoothingOrder = options.smoothOrder;
    fit.autoSmoothing = options.smooth == "auto";
    if (options.smooth.empty()) {
        if (options.smoothOrder > 0) refuse("--smooth-order goes with --smooth");
    } else if (!fit.autoSmoothing) {
        fit.smoothing = parseNumber(options.smooth);
        if (!fit.smoothing || *fit.smoothing < 0.0)
            refuse("--smooth " + options.smooth + ": is neither auto nor a number of 0 or more");
    }
    return fit;
}

void fitPoints(const CurveOptions& options)
{
    refuseIfOpen(options, options.closed);
    const Stopwatch reading;
    CsvTable table = readCsv(options.input);
    const double readSeconds = reading.seconds();
    const CurveRequest request = makeCurveRequest(options, std::move(table));

    Listeners listeners(options);
    knotwork::CurveFitOptions fitOptions = fitOptionsFor(options, request.asked);
    listeners.attach(fitOptions);
    fitOptions.weights.reference(request.weights);
    const Stopwatch fitting;
    const FittedCurve curve = knotwork::fitCurve(request.points, request.parameters, request.basis,
                                                 request.asked.constraints, fitOptions);
    const Times times = {readSeconds, fitting.seconds()};
    refuseUnfit(curve);

    OutputFiles files({options.input});
    addDrawing(files, options.svg, [&](std::ostream& picture) {
        knotwork::writeCurveSvg(picture, curve, request.points, request.parameters,
                                request.asked.constraints,
                                titleOf(options.input, "degree " + std::to_string(options.degree) +
                                                           (options.closed ? ", closed" : "")),
                                fitOptions);
    });
    writeCurve(options, curve, times, files,
               options.closed ? std::optional<bool>(request.lastNearFirst) : std::nullopt);
}

std::vector<std::string> partNames(const std::vector<std::string>& lists)
{
    std::vector<std::string> names;
    for (const std::string& list : lists)
        for (const std::string_view name : split(list, ',')) {
            if (name.empty()) refuse("--from " + list + ": a name is missing");
            names.emplace_back(name);
        }
    return names;
}

void fitGathered(const CurveOptions& options)
{
    if (!options.pass.empty())
        refuse("--pass: the data points are gone; --value says where to pass");
    if (!options.svg.empty()) refuse("--svg: the data points are gone, there is nothing to draw");
    const std::vector<std::string> names = partNames(options.from);
    const Stopwatch reading;
    const knotwork::CurveAccumulator gathered = readGathered(names);
    const double readSeconds = reading.seconds();
    refuseIfOpen(options, gathered.basis().closed());
    AskedOfCurve asked;
    addAsked(options, gathered.basis(), gathered.dimension(), asked);

    Listeners listeners(options);
    knotwork::CurveFitOptions fitOptions = fitOptionsFor(options, asked);
    listeners.attach(fitOptions);
    const Stopwatch fitting;
    const FittedCurve curve = knotwork::fitCurve(gathered, asked.constraints, fitOptions);
    const Times times = {readSeconds, fitting.seconds()};
    refuseUnfit(curve);
    OutputFiles files(names);
    writeCurve(options, curve, times, files);
}

void runCurve(const CurveOptions& options)
{
    if (!options.from.empty()) return fitGathered(options);
    if (options.input.empty()) refuse("POINTS.csv is required, or gathered parts with --from");
    fitPoints(options);
}

}  // namespace

void addCurveCommand(CLI::App& app)
{
    const auto options = std::make_shared<CurveOptions>();
    CLI::App* curve =
        app.add_subcommand("curve", "Fit a B-spline curve to points, some equations held exactly");
    std::vector<CLI::Option*> ofSamples = addSampleOptions(*curve, *options);
    ofSamples.push_back(
        curve
            ->add_option("--parameter", options->parameter,
                         "Where parameters come from: the first column (two-column files do by "
                         "default), or spread from 0 to 1 (chord otherwise)")
            ->check(CLI::IsMember({"column", "uniform", "chord", "centripetal"})));
    CLI::Option* from =
        curve
            ->add_option("--from", options->from,
                         "A.acc[,B.acc...]: what knotfit gather wrote, merged, instead of points; "
                         "the basis is that of the parts")
            ->allow_extra_args(false);
    for (CLI::Option* option : ofSamples) from->excludes(option);
    curve
        ->add_option("--pass", options->pass,
                     "Data points met exactly, I[,J...]: numbers from 0, or first, last")
        ->allow_extra_args(false);
    addConstraintOptions(*curve, *options);
    curve->add_flag("--clamped", options->clamped,
                    "Write a closed curve as an open one with clamped ends that meet at the seam");
    curve
        ->add_option("--smooth", options->smooth,
                     "LAMBDA or auto: a smooth curve rather than the closest one; it bridges spans "
                     "without data, and auto lets cross-validation choose")
        ->check(notEmpty);
    curve
        ->add_option("--smooth-order", options->smoothOrder,
                     "The derivative that is kept small, 1 to the degree (2 by default)")
        ->check(CLI::PositiveNumber);
    addFitOptions(*curve, *options, "data, curve, control polygon, knots, constraints");
    addVerbose(*curve, *options, "the solver");
    curve->callback([options] { runCurve(*options); });
}

}  // namespace knotfit
