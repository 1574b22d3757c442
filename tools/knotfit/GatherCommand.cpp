// SPDX-License-Identifier: MIT
#include "tools/knotfit/GatherCommand.h"

#include <CLI/CLI.hpp>
#include <cmath>
#include <cstdio>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "knotwork/fit/CurveAccumulator.h"
#include "tools/knotfit/BasisRequest.h"
#include "tools/knotfit/ClosedSamples.h"
#include "tools/knotfit/CurveRequest.h"
#include "tools/knotfit/Failure.h"
#include "tools/knotfit/FitText.h"
#include "tools/knotfit/OutputFiles.h"
#include "tools/knotfit/TextNumbers.h"

namespace knotfit {

namespace {

struct GatherOptions : SampleOptions {
    std::string range;
    std::string output;
};

/// "A,B"
std::pair<double, double> rangeOf(const std::string& text)
{
    const std::vector<std::string_view> ends = split(text, ',');
    const std::optional<double> first = parseNumber(ends.front());
    const std::optional<double> last = parseNumber(ends.back());
    if (ends.size() != 2 || !first || !last || !(*first < *last))
        refuse("--range " + text + ": must read A,B, with A below B");
    if (!std::isfinite(*last - *first)) refuse("--range " + text + ": is too wide");
    return {*first, *last};
}

/// Of parts that cannot know where the first sample lies.
std::pair<double, double> rangeOf(const GatherOptions& options)
{
    if (!options.range.empty()) return rangeOf(options.range);
    const std::optional<double> period = periodOf(options);
    if (!period)
        refuse(options.closed ? "--closed needs --range or --period" : "--range is required");
    const double start = startOf(options).value_or(0.0);
    return {start, start + *period};
}

void refuseSpread(const std::string& asked)
{
    if (asked == "column") return;
    refuse("--parameter " + asked +
           ": a part cannot spread parameters over points that others hold; "
           "only a column can give them");
}

std::string summaryOf(const knotwork::CurveAccumulator& gathered, double read, double added)
{
    char text[300];
    std::snprintf(text, sizeof text,
                  "data points          %lld\n"
                  "coordinates          %d\n"
                  "unknowns             %d\n"
                  "processor time       %.4f s reading, %.4f s gathering\n",
                  gathered.rows(), gathered.dimension(), gathered.basis().unknowns(), read, added);
    return text;
}

void runGather(const GatherOptions& options)
{
    refuseSpread(options.parameter);
    const auto [first, last] = rangeOf(options);
    const BasisRequest request = {
        options.degree, options.spans, options.knots, "--knots", first, last, {}, 0,
        options.closed};
    const knotwork::BsplineBasis basis = basisFor(request);

    const Stopwatch reading;
    TableSamples samples = samplesOf(options, readCsv(options.input));
    if (options.closed) closeSamples(options, last - first, samples);
    const double readSeconds = reading.seconds();

    const Stopwatch adding;
    knotwork::CurveAccumulator gathered(basis, samples.points.size());
    const std::string fault = gathered.add(
        {samples.points.points(), samples.parameters.data(), samples.points.numbers().data(),
         samples.weights.length() > 0 ? samples.weights.data() : nullptr});
    if (!fault.empty()) refuse(nameOf(options.input) + ": " + fault);
    const std::vector<unsigned char> bytes = gathered.bytes();
    const double addSeconds = adding.seconds();

    OutputFiles files({options.input});
    files.add(options.output, std::string(bytes.begin(), bytes.end()));
    if (options.output != "-") files.add("-", summaryOf(gathered, readSeconds, addSeconds));
    files.write();
}

}  // namespace

void addGatherCommand(CLI::App& app)
{
    const auto options = std::make_shared<GatherOptions>();
    CLI::App* gather = app.add_subcommand(
        "gather", "Gather a part of a curve's points, for knotfit curve --from to fit");
    const std::vector<CLI::Option*> ofSamples = addSampleOptions(*gather, *options);
    ofSamples.front()->required();
    CLI::Option* range = gather->add_option(
        "--range", options->range,
        "Parameter range A,B of the whole curve, required; all parts take the same, and the same "
        "basis over it. Of a closed one a period, or else --period, which begins at --start, or 0");
    for (const char* other : {"--period", "--start"}) range->excludes(gather->get_option(other));
    options->parameter = "column";
    gather
        ->add_option("--parameter", options->parameter,
                     "Where parameters come from: the first column, since parts do not know each "
                     "other")
        ->check(CLI::IsMember({"column", "uniform", "chord", "centripetal"}))
        ->capture_default_str();
    gather
        ->add_option("-o,--output", options->output,
                     "Write what was gathered; - for standard output")
        ->check(notEmpty)
        ->required();
    gather->set_version_flag("--version", KNOTFIT_VERSION);
    gather->callback([options] { runGather(*options); });
}

}  // namespace knotfit
