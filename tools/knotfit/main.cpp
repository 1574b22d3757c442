// SPDX-License-Identifier: MIT
#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>

#include "tools/knotfit/CurveCommand.h"
#include "tools/knotfit/EvalCommand.h"
#include "tools/knotfit/Failure.h"
#include "tools/knotfit/GatherCommand.h"
#include "tools/knotfit/SurfaceCommand.h"

namespace {

int complain(const char* sentence, int status)
{
    std::fprintf(stderr, "knotfit: %s\n", sentence);
    return status;
}

/// The library's arrays end the process when memory runs out; the tool ends first, with a sentence.
void endForLackOfMemory()
{
    std::_Exit(complain("there is not enough memory", knotfit::kRefused));
}

}  // namespace

int main(int argc, char** argv)
{
    std::set_new_handler(endForLackOfMemory);
    std::signal(SIGPIPE, SIG_IGN);  // a reader that leaves is a write that fails
    CLI::App app("Constrained B-spline fits", "knotfit");
    app.set_version_flag("--version", KNOTFIT_VERSION);
    app.require_subcommand(1);
    knotfit::addCurveCommand(app);
    knotfit::addGatherCommand(app);
    knotfit::addSurfaceCommand(app);
    knotfit::addEvalCommand(app);
    try {
        app.parse(argc, argv);
        return knotfit::kDone;
    } catch (const CLI::ParseError& e) {
        const bool asked = e.get_exit_code() == 0;  // --help and --version
        if (asked) return app.exit(e);
        return complain(e.what(), knotfit::kBadUsage);
    } catch (const knotfit::Failure& e) {
        return complain(e.what(), e.status());
    } catch (const std::bad_alloc&) {
        return complain("there is not enough memory", knotfit::kRefused);
    } catch (const std::exception& e) {
        return complain(e.what(), knotfit::kBadUsage);
    }
}
