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

/// What a command has to say of its own fit.
struct FitExtras {
    std::vector<double> at;                  ///< where the largest residual is
    std::function<void(JsonText&)> shape;    ///< writes members of the fit
    std::function<void(JsonText&)> figures;  ///< and of its report; may be null
    std::string heading;                     ///< lines in front of the figures for people
};

/// Writes all files: besides those added before, the fit as JSON, and to standard output the
/// figures unless something else goes there.
void writeFit(OutputFiles& files, const std::string& output, const knotwork::FitReport& report,
              const Times& times, const FitExtras& extras);

}  // namespace knotfit
