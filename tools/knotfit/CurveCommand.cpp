// SPDX-License-Identifier: MIT
#include "tools/knotfit/CurveCommand.h"

#include <CLI/CLI.hpp>
#include <memory>
#include <string_view>

#include "knotwork/picture/CurvePicture.h"
#include "tools/knotfit/CurveRequest.h"
#include "tools/knotfit/Failure.h"
#include "tools/knotfit/FitCommand.h"
#include "tools/knotfit/GatheredFiles.h"
#include "tools/knotfit/TextNumbers.h"

namespace knotfit {

namespace {

using knotwork::FittedCurve;

void writeCurve(const CurveOptions& options, const FittedCurve& curve, const Times& times,
                OutputFiles& files)
{
    const auto shape = [&curve](JsonText& json) {
        json.member("degree", curve.basis.degree());
        json.member("knots", curve.basis.knots());
        json.points("control_points", curve.controlPoints, curve.dimension);
    };
    writeFit(files, options.output, curve.report, {curve.report.maxResidualAt}, times, shape);
}

void fitPoints(const CurveOptions& options)
{
    const Stopwatch reading;
    CsvTable table = readCsv(options.input);
    const double readSeconds = reading.seconds();
    const CurveRequest request = makeCurveRequest(options, std::move(table));

    Listeners listeners(options);
    knotwork::CurveFitOptions fitOptions;
    listeners.attach(fitOptions);
    fitOptions.weights.reference(request.weights);
    const Stopwatch fitting;
    const FittedCurve curve = knotwork::fitCurve(request.points, request.parameters, request.basis,
                                                 request.constraints, fitOptions);
    const Times times = {readSeconds, fitting.seconds()};
    refuseUnlessItFits(curve.report, curve.fits());

    OutputFiles files({options.input});
    addDrawing(files, options.svg, [&](std::ostream& picture) {
        knotwork::writeCurveSvg(picture, curve, request.points, request.parameters,
                                request.constraints,
                                titleOf(options.input, "degree " + std::to_string(options.degree)));
    });
    writeCurve(options, curve, times, files);
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
    const std::vector<knotwork::CurveConstraint> constraints =
        constraintsOf(options, gathered.basis(), gathered.dimension());

    Listeners listeners(options);
    knotwork::CurveFitOptions fitOptions;
    listeners.attach(fitOptions);
    const Stopwatch fitting;
    const FittedCurve curve = knotwork::fitCurve(gathered, constraints, fitOptions);
    const Times times = {readSeconds, fitting.seconds()};
    refuseUnlessItFits(curve.report, curve.fits());
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
    curve->add_option("--value", options->values, "T=X[:Y...]: the curve's value at T, exactly")
        ->allow_extra_args(false);
    curve->add_option("--slope", options->slopes, "T=X[:Y...]: its first derivative at T, exactly")
        ->allow_extra_args(false);
    addFitOptions(*curve, *options, "data, curve, control polygon, knots, constraints");
    addVerbose(*curve, *options, "the solver");
    curve->callback([options] { runCurve(*options); });
}

}  // namespace knotfit
