// SPDX-License-Identifier: MIT
#include "tools/knotfit/SurfaceCommand.h"

#include <CLI/CLI.hpp>
#include <memory>
#include <sstream>
#include <string>

#include "knotwork/picture/SurfaceMesh.h"
#include "knotwork/picture/SurfacePicture.h"
#include "tools/knotfit/ConsoleReporter.h"
#include "tools/knotfit/Failure.h"
#include "tools/knotfit/FitText.h"
#include "tools/knotfit/JsonText.h"
#include "tools/knotfit/OutputFiles.h"
#include "tools/knotfit/SurfaceRequest.h"

namespace knotfit {

namespace {

using knotwork::FittedSurface;

constexpr int kMostSteps = 1000;

std::vector<double> worstAt(const FittedSurface& surface)
{
    return {surface.report.maxResidualAtU, surface.report.maxResidualAtV};
}

std::string jsonOf(const FittedSurface& surface, const Times& times)
{
    JsonText json;
    json.openObject();
    json.member("degree_u", surface.u.degree());
    json.member("degree_v", surface.v.degree());
    json.member("knots_u", surface.u.knots());
    json.member("knots_v", surface.v.knots());
    json.rows("control_points", surface.controlPoints, surface.dimension, surface.u.count());
    addReport(json, surface.report, worstAt(surface), times);
    json.closeObject();
    return json.text();
}

FittedSurface fit(const SurfaceRequest& request)
{
    return request.mask.rows() == 0
               ? knotwork::fitSurface(request.points, request.uParameters, request.vParameters,
                                      request.u, request.v, request.options)
               : knotwork::fitSurfaceAround(request.points, request.uParameters,
                                            request.vParameters, request.u, request.v, request.mask,
                                            request.held, request.options);
}

void refuseTooFine(const SurfaceRequest& request, int steps)
{
    const std::uint64_t vertices = knotwork::meshVertices(request.u, request.v, steps);
    if (vertices > knotwork::kMostMeshVertices)
        throw Failure(kBadUsage, "--steps: a mesh of " + std::to_string(vertices) +
                                     " vertices is more than the " +
                                     std::to_string(knotwork::kMostMeshVertices) + " it may have");
}

void runSurface(const SurfaceOptions& options)
{
    const Stopwatch reading;
    const CsvTable table = readCsv(options.input);
    const double readSeconds = reading.seconds();
    SurfaceRequest request = makeSurfaceRequest(options, table);
    if (!options.obj.empty()) refuseTooFine(request, options.steps);
    ConsoleReporter reporter(options.verbose, ConsoleReporter::Progress::kLeftToTheFit);
    ProgressBar bar;
    request.options.method = methodOf(options.method);
    request.options.zero = options.zero;
    request.options.estimateCutoff = options.cutoff;
    request.options.reporter = &reporter;
    if (options.verbose) request.options.progress = [&bar](double share) { bar.show(share); };

    const Stopwatch fitting;
    const FittedSurface surface = fit(request);
    const Times times = {readSeconds, fitting.seconds()};
    if (!surface.fits()) {
        const bool bad = surface.report.verdict == knotwork::FitVerdict::kBadInput;
        throw Failure(bad ? kBadUsage : kRefused, surface.report.reason);
    }

    OutputFiles files({options.input});
    if (!options.output.empty()) files.add(options.output, jsonOf(surface, times));
    if (!options.svg.empty()) {
        std::ostringstream picture;
        knotwork::writeSurfaceSvg(picture, surface, request.points, request.uParameters,
                                  request.vParameters,
                                  titleOf(options.input, "a tensor-product surface"));
        files.add(options.svg, picture.str());
    }
    if (!options.obj.empty()) {
        std::ostringstream mesh;
        knotwork::writeSurfaceObj(mesh, surface, options.steps);
        files.add(options.obj, mesh.str());
    }
    if (options.output != "-" && options.svg != "-" && options.obj != "-")
        files.add("-", summaryOf(surface.report, worstAt(surface), times));
    files.write();
}

}  // namespace

void addSurfaceCommand(CLI::App& app)
{
    const auto options = std::make_shared<SurfaceOptions>();
    CLI::App* surface =
        app.add_subcommand("surface", "Fit a B-spline surface to a grid of heights or points");
    surface
        ->add_option("GRID.csv", options->input,
                     "Heights: columns run in u, lines in v; - for standard input; # starts a "
                     "comment. Parameters are the column and line numbers; all weights are 1")
        ->required();
    CLI::Option* xyz = surface->add_flag("--xyz", options->triples,
                                         "x,y,z triples instead, line by line of the grid");
    CLI::Option* columns =
        surface->add_option("--columns", options->columns, "The grid's width, for --xyz")
            ->needs(xyz);
    xyz->needs(columns);
    CLI::Option* degree =
        surface->add_option("--degree", options->degree, "PU[,PV]")->capture_default_str();
    CLI::Option* spans = surface->add_option("--spans", options->spans, "Equal spans NU[,NV]")
                             ->capture_default_str();
    CLI::Option* knotsU =
        surface->add_option("--knots-u", options->knotsU, "Interior knots T1,... in u")
            ->check(notEmpty);
    CLI::Option* knotsV =
        surface->add_option("--knots-v", options->knotsV, "Interior knots T1,... in v")
            ->check(notEmpty);
    CLI::Option* border =
        surface
            ->add_option("--border", options->border,
                         "exact: corners are met, and each border is the end-exact fit of its own "
                         "samples")
            ->check(CLI::IsMember({"exact", "free"}))
            ->capture_default_str();
    surface
        ->add_option("--hold", options->hold,
                     "An earlier fit, whose bases are used and whose control points on the border "
                     "are kept")
        ->check(notEmpty)
        ->excludes(degree)
        ->excludes(spans)
        ->excludes(knotsU)
        ->excludes(knotsV)
        ->excludes(border);
    addZeroOptions(*surface, options->zero, options->cutoff);
    addMethodOption(*surface, options->method);
    surface
        ->add_option("-o,--output", options->output, "Write the fit as JSON; - for standard output")
        ->check(notEmpty);
    surface->add_option("--svg", options->svg, "Draw the surface and a map of the residuals")
        ->check(notEmpty);
    surface->add_option("--obj", options->obj, "Write a triangle mesh with normals")
        ->check(notEmpty);
    surface->add_option("--steps", options->steps, "Steps of the mesh in each span")
        ->check(CLI::Range(1, kMostSteps))
        ->capture_default_str();
    surface->add_flag(
        "-v,--verbose", options->verbose,
        "Let the solvers report on standard error; a progress bar where that is a terminal");
    surface->set_version_flag("--version", KNOTFIT_VERSION);
    surface->callback([options] { runSurface(*options); });
}

}  // namespace knotfit
