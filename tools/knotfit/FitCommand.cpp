// SPDX-License-Identifier: MIT
#include "tools/knotfit/FitCommand.h"

#include "tools/knotfit/Failure.h"

namespace knotfit {

void addFitOptions(CLI::App& command, FitCommandOptions& options, const std::string& drawn)
{
    addZeroOptions(command, options.zero, options.cutoff);
    addMethodOption(command, options.method);
    command
        .add_option("-o,--output", options.output, "Write the fit as JSON; - for standard output")
        ->check(notEmpty);
    command.add_option("--svg", options.svg, "Draw " + drawn)->check(notEmpty);
}

void addVerbose(CLI::App& command, FitCommandOptions& options, const std::string& who)
{
    command.add_flag(
        "-v,--verbose", options.verbose,
        "Let " + who + " report on standard error; a progress bar where that is a terminal");
    command.set_version_flag("--version", KNOTFIT_VERSION);
}

void refuseUnlessItFits(const knotwork::FitReport& report, bool fits)
{
    if (fits) return;
    const bool bad = report.verdict == knotwork::FitVerdict::kBadInput;
    throw Failure(bad ? kBadUsage : kRefused, report.reason);
}

void writeFit(OutputFiles& files, const std::string& output, const knotwork::FitReport& report,
              const Times& times, const FitExtras& extras)
{
    if (!output.empty()) {
        JsonText json;
        json.openObject();
        extras.shape(json);
        addReport(json, report, extras.at, times, extras.figures);
        json.closeObject();
        files.add(output, json.text());
    }
    if (!files.takeStandardOutput())
        files.add("-", extras.heading + summaryOf(report, extras.at, times));
    files.write();
}

}  // namespace knotfit
