// SPDX-License-Identifier: MIT
#include "tools/knotfit/SampleOptions.h"

#include "tools/knotfit/FitText.h"

namespace knotfit {

std::vector<CLI::Option*> addSampleOptions(CLI::App& command, SampleOptions& options)
{
    CLI::Option* input = command.add_option(
        "POINTS.csv", options.input,
        "Comma-separated points, a line each; - for standard input; # starts a comment");
    CLI::Option* degree = command.add_option("-d,--degree", options.degree, "Degree of the curve")
                              ->capture_default_str();
    CLI::Option* spans =
        command.add_option("-n,--spans", options.spans, "Equal spans over the parameter range")
            ->capture_default_str();
    CLI::Option* knots =
        command.add_option("--knots", options.knots, "Interior knots T1,T2,... instead of --spans")
            ->check(notEmpty)
            ->excludes(spans);
    CLI::Option* weights =
        command
            .add_option("--weights", options.weights,
                        "Column, counted from 1, that holds a weight for each point, 0 or more, "
                        "instead of a coordinate")
            ->check(CLI::PositiveNumber);
    CLI::Option* closed = command.add_flag(
        "--closed", options.closed,
        "A closed curve, its parameters modulo a period; a first point that is repeated at the end "
        "counts once, and --knots lie in the period that begins at --start");
    CLI::Option* period =
        command
            .add_option("--period", options.period,
                        "After which parameters come again; a column needs it, unless the first "
                        "point is repeated at the end")
            ->needs(closed)
            ->check(notEmpty);
    CLI::Option* start = command
                             .add_option("--start", options.start,
                                         "Parameter where the period's spans begin, the seam")
                             ->needs(closed)
                             ->check(notEmpty);
    return {input, degree, spans, knots, weights, period, start};
}

}  // namespace knotfit
