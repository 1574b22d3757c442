// SPDX-License-Identifier: MIT
#include "tools/knotfit/EvalCommand.h"

#include <CLI/CLI.hpp>
#include <memory>

#include "tools/knotfit/CsvTable.h"
#include "tools/knotfit/Evaluation.h"
#include "tools/knotfit/Failure.h"
#include "tools/knotfit/FitFile.h"
#include "tools/knotfit/FitText.h"
#include "tools/knotfit/OutputFiles.h"

namespace knotfit {

namespace {

constexpr int kMostDerivatives = 20;

struct EvalOptions {
    std::string fit;
    std::string at;
    int derivatives = 0;
};

void runEval(const EvalOptions& options)
{
    const FitFile fit = readFit(options.fit);
    const CsvTable table = readCsv(options.at);
    const int wanted = fit.isSurface() ? 2 : 1;
    if (table.cols != wanted)
        refuse(options.at + ": a " + (fit.isSurface() ? "surface" : "curve") + " takes " +
               std::to_string(wanted) + " parameter" + (wanted > 1 ? "s" : "") + " a line");
    OutputFiles files({options.at});
    files.add("-", evaluated(fit, table, options.derivatives));
    files.write();
}

}  // namespace

void addEvalCommand(CLI::App& app)
{
    const auto options = std::make_shared<EvalOptions>();
    CLI::App* eval = app.add_subcommand("eval", "Evaluate a fit that was written as JSON");
    eval->add_option("FIT.json", options->fit, "The fit")->required();
    eval->add_option("--at", options->at,
                     "Parameters, a line each (two for a surface); - for standard input")
        ->required()
        ->check(notEmpty);
    eval->add_option("--derivatives", options->derivatives,
                     "Derivatives up to this order behind each point; of a surface Su, Sv, Suu, "
                     "Suv, Svv, ...")
        ->check(CLI::Range(0, kMostDerivatives))
        ->capture_default_str();
    eval->set_version_flag("--version", KNOTFIT_VERSION);
    eval->callback([options] { runEval(*options); });
}

}  // namespace knotfit
