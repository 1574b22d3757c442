// SPDX-License-Identifier: MIT
#include "tools/knotfit/CurveCommand.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <optional>
#include <sstream>
#include <string_view>
#include <utility>

#include "knotwork/fit/Refine.h"
#include "knotwork/picture/CurvePicture.h"
#include "tools/knotfit/ConsoleReporter.h"
#include "tools/knotfit/CurveRequest.h"
#include "tools/knotfit/Failure.h"
#include "tools/knotfit/FitText.h"
#include "tools/knotfit/GatheredFiles.h"
#include "tools/knotfit/JsonText.h"
#include "tools/knotfit/OutputFiles.h"
#include "tools/knotfit/TextNumbers.h"

namespace knotfit {

namespace {

using knotwork::CurveFitReport;
using knotwork::FittedCurve;

std::string jsonOf(const FittedCurve& curve, const Times& times, std::optional<bool> lastNearFirst)
{
    const CurveFitReport& report = curve.report;
    JsonText json;
    json.openObject();
    json.member("degree", curve.basis.degree());
    if (curve.basis.closed()) {
        json.flag("closed", true);
        json.member("period", curve.basis.period());
    }
    json.member("knots", curve.basis.knots());
    json.points("control_points", curve.controlPoints, curve.dimension);
    addReport(json, report, {report.maxResidualAt}, times, lastNearFirst);
    json.closeObject();
    return json.text();
}

/// Hears a fit and shows how far it is, if that was asked for.
class Listeners {
  public:
    explicit Listeners(bool verbose)
        : verbose_(verbose), reporter_(verbose, ConsoleReporter::Progress::kLeftToTheFit)
    {
    }

    knotwork::CurveFitOptions fitOptions(const CurveOptions& options)
    {
        knotwork::CurveFitOptions fit;
        fit.method = methodOf(options.method);
        fit.zero = options.zero;
        fit.estimateCutoff = options.cutoff;
        fit.reporter = &reporter_;
        if (verbose_) fit.progress = [this](double share) { bar_.show(share); };
        return fit;
    }

  private:
    bool verbose_;
    ConsoleReporter reporter_;
    ProgressBar bar_;
};

void refuseUnlessItFits(const FittedCurve& curve)
{
    if (curve.fits()) return;
    const bool bad = curve.report.verdict == knotwork::FitVerdict::kBadInput;
    throw Failure(bad ? kBadUsage : kRefused, curve.report.reason);
}

/// Writes the fit, and to standard output the figures unless something else goes there.
void writeFit(const CurveOptions& options, const FittedCurve& curve, const Times& times,
              OutputFiles& files, std::optional<bool> lastNearFirst = {})
{
    if (!options.output.empty()) {
        const FittedCurve written = options.clamped ? knotwork::clampedForm(curve) : curve;
        files.add(options.output, jsonOf(written, times, lastNearFirst));
    }
    if (options.output != "-" && options.svg != "-") {
        const knotwork::BsplineBasis& basis = curve.basis;
        files.add("-", (basis.closed() ? closedSummary(basis.period(), lastNearFirst) : "") +
                           summaryOf(curve.report, {curve.report.maxResidualAt}, times));
    }
    files.write();
}

void refuseIfOpen(const CurveOptions& options, bool closed)
{
    if (closed) return;
    if (options.closed) throw Failure(kBadUsage, "--closed: the parts are those of an open curve");
    if (options.clamped) throw Failure(kBadUsage, "--clamped: the curve is not a closed one");
}

void fitPoints(const CurveOptions& options)
{
    refuseIfOpen(options, options.closed);
    const Stopwatch reading;
    CsvTable table = readCsv(options.input);
    const double readSeconds = reading.seconds();
    const CurveRequest request = makeCurveRequest(options, std::move(table));

    Listeners listeners(options.verbose);
    knotwork::CurveFitOptions fitOptions = listeners.fitOptions(options);
    fitOptions.weights.reference(request.weights);
    const Stopwatch fitting;
    const FittedCurve curve = knotwork::fitCurve(request.points, request.parameters, request.basis,
                                                 request.constraints, fitOptions);
    const Times times = {readSeconds, fitting.seconds()};
    refuseUnlessItFits(curve);

    OutputFiles files({options.input});
    if (!options.svg.empty()) {
        std::ostringstream picture;
        knotwork::writeCurveSvg(picture, curve, request.points, request.parameters,
                                request.constraints,
                                titleOf(options.input, "degree " + std::to_string(options.degree) +
                                                           (options.closed ? ", closed" : "")));
        files.add(options.svg, picture.str());
    }
    writeFit(options, curve, times, files,
             options.closed ? std::optional<bool>(request.lastNearFirst) : std::nullopt);
}

std::vector<std::string> partNames(const std::vector<std::string>& lists)
{
    std::vector<std::string> names;
    for (const std::string& list : lists)
        for (const std::string_view name : split(list, ',')) {
            if (name.empty()) throw Failure(kBadUsage, "--from " + list + ": a name is missing");
            names.emplace_back(name);
        }
    return names;
}

void fitGathered(const CurveOptions& options)
{
    if (!options.pass.empty())
        throw Failure(kBadUsage, "--pass: the data points are gone; --value says where to pass");
    if (!options.svg.empty())
        throw Failure(kBadUsage, "--svg: the data points are gone, there is nothing to draw");
    const std::vector<std::string> names = partNames(options.from);
    const Stopwatch reading;
    const knotwork::CurveAccumulator gathered = readGathered(names);
    const double readSeconds = reading.seconds();
    refuseIfOpen(options, gathered.basis().closed());
    const std::vector<knotwork::CurveConstraint> constraints =
        constraintsOf(options, gathered.basis(), gathered.dimension());

    Listeners listeners(options.verbose);
    const Stopwatch fitting;
    const FittedCurve curve =
        knotwork::fitCurve(gathered, constraints, listeners.fitOptions(options));
    const Times times = {readSeconds, fitting.seconds()};
    refuseUnlessItFits(curve);
    OutputFiles files(names);
    writeFit(options, curve, times, files);
}

void runCurve(const CurveOptions& options)
{
    if (!options.from.empty()) return fitGathered(options);
    if (options.input.empty())
        throw Failure(kBadUsage, "POINTS.csv is required, or gathered parts with --from");
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
    addZeroOptions(*curve, options->zero, options->cutoff);
    addMethodOption(*curve, options->method);
    curve->add_flag("--clamped", options->clamped,
                    "Write a closed curve as an open one with clamped ends that meet at the seam");
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
