// SPDX-License-Identifier: MIT
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "tools/knotfit/ConsoleReporter.h"
#include "tools/knotfit/FitText.h"
#include "tools/knotfit/JsonText.h"
#include "tools/knotfit/OutputFiles.h"
#include "tools/knotfit/ProgressBar.h"

namespace knotfit {

/// What the commands that fit are asked alike, as typed.
struct FitCommandOptions {
    std::string method = "householder";
    double zero = 0.0;
    bool cutoff = false;
    std::string output;
    std::string svg;
    bool verbose = false;
};

/// Adds them, but for --verbose; `drawn` is what --svg draws.
void addFitOptions(CLI::App& command, FitCommandOptions& options, const std::string& drawn);
/// --verbose, which lets `who` report, and --version.
void addVerbose(CLI::App& command, FitCommandOptions& options, const std::string& who);

/// Hears a fit and shows how far it is, if that was asked for.
class Listeners {
  public:
    explicit Listeners(const FitCommandOptions& asked) : asked_(asked), reporter_(asked.verbose) {}

    /// Hands on what was asked, and listens from then on.
    template <class FitOptions>
    void attach(FitOptions& fit)
    {
        fit.method = methodOf(asked_.method);
        fit.zero = asked_.zero;
        fit.estimateCutoff = asked_.cutoff;
        fit.reporter = &reporter_;
        if (asked_.verbose) fit.progress = [this](double share) { bar_.show(share); };
    }

  private:
    const FitCommandOptions& asked_;
    ConsoleReporter reporter_;
    ProgressBar bar_;
};

/// Throws a Failure with the report's reason.
void refuseUnlessItFits(const knotwork::FitReport& report, bool fits);

/// What `draw` writes to a stream, unless the path is empty.
template <class Draw>
void addDrawing(OutputFiles& files, const std::string& path, Draw draw)
{
    if (path.empty()) return;
    std::ostringstream drawing;
    draw(drawing);
    files.add(path, drawing.str());
}

/// Writes all files: besides those added before, the fit as JSON, whose shape `writeShape` writes,
/// and to standard output the figures unless something else goes there. `at` as for addReport().
void writeFit(OutputFiles& files, const std::string& output, const knotwork::FitReport& report,
              const std::vector<double>& at, const Times& times,
              const std::function<void(JsonText&)>& writeShape);

}  // namespace knotfit
