// SPDX-License-Identifier: MIT
#include "tools/knotfit/SurfaceCommand.h"

#include <CLI/CLI.hpp>
#include <memory>
#include <string>

#include "knotwork/picture/SurfaceMesh.h"
#include "knotwork/picture/SurfacePicture.h"
#include "tools/knotfit/Failure.h"
#include "tools/knotfit/FitCommand.h"
#include "tools/knotfit/SurfaceRequest.h"

namespace knotfit {

namespace {

using knotwork::FittedSurface;

constexpr int kMostSteps = 1000;

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
        refuse("--steps: a mesh of " + std::to_string(vertices) + " vertices is more than the " +
               std::to_string(knotwork::kMostMeshVertices) + " it may have");
}

void runSurface(const SurfaceOptions& options)
{
    const Stopwatch reading;
    const CsvTable table = readCsv(options.input);
    const double readSeconds = reading.seconds();
    SurfaceRequest request = makeSurfaceRequest(options, table);
    if (!options.obj.empty()) refuseTooFine(request, options.steps);
    Listeners listeners(options);
    listeners.attach(request.options);

    const Stopwatch fitting;
    const FittedSurface surface = fit(request);
    const Times times = {readSeconds, fitting.seconds()};
    refuseUnlessItFits(surface.report, surface.fits());

    OutputFiles files({options.input});
    addDrawing(files, options.svg, [&](std::ostream& picture) {
        knotwork::writeSurfaceSvg(picture, surface, request.points, request.uParameters,
                                  request.vParameters,
                                  titleOf(options.input, "a tensor-product surface"));
    });
    addDrawing(files, options.obj, [&](std::ostream& mesh) {
        knotwork::writeSurfaceObj(mesh, surface, options.steps);
    });
    FitExtras extras;
    extras.at = {surface.report.maxResidualAtU, surface.report.maxResidualAtV};
    extras.shape = [&surface](JsonText& json) {
        json.member("degree_u", surface.u.degree());
        json.member("degree_v", surface.v.degree());
        json.member("knots_u", surface.u.knots());
        json.member("knots_v", surface.v.knots());
        json.rows("control_points", surface.controlPoints, surface.dimension, surface.u.count());
    };
    writeFit(files, options.output, surface.report, times, extras);
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
    addFitOptions(*surface, *options, "the surface and a map of the residuals");
    surface->add_option("--obj", options->obj, "Write a triangle mesh with normals")
        ->check(notEmpty);
    surface->add_option("--steps", options->steps, "Steps of the mesh in each span")
        ->check(CLI::Range(1, kMostSteps))
        ->capture_default_str();
    addVerbose(*surface, *options, "the solvers");
    surface->callback([options] { runSurface(*options); });
}

}  // namespace knotfit
