// SPDX-License-Identifier: MIT
#pragma once

#include <CLI/CLI.hpp>
#include <ctime>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "knotwork/fit/FitReport.h"
#include "tools/knotfit/JsonText.h"

namespace knotfit {

/// Processor seconds since it was made.
class Stopwatch {
  public:
    double seconds() const { return static_cast<double>(std::clock() - start_) / CLOCKS_PER_SEC; }

  private:
    std::clock_t start_ = std::clock();
};

struct Times {
    double read;
    double fit;
};

/// Writes "report"; `at` is where the largest residual lies, one parameter or two. Without it where
/// that is not known. more: writes further members, unless it is null.
void addReport(JsonText& json, const knotwork::FitReport& report, const std::vector<double>& at,
               const Times& times, const std::function<void(JsonText&)>& more);

/// The figures for people.
std::string summaryOf(const knotwork::FitReport& report, const std::vector<double>& at,
                      const Times& times);

/// What stands in front of them for a closed curve.
std::string closedSummary(double period, std::optional<bool> lastNearFirst);

/// --method, for the commands that fit.
void addMethodOption(CLI::App& command, std::string& method);
knotwork::FitMethod methodOf(const std::string& name);

/// An input's name as messages show it.
std::string nameOf(const std::string& input);

/// --zero and --cutoff, likewise.
void addZeroOptions(CLI::App& command, double& zero, bool& cutoff);

/// "Fit of NAME, ...": a picture's title.
std::string titleOf(const std::string& input, const std::string& what);

/// A check of option texts: what is wrong with one, or nothing.
std::string notEmpty(const std::string& text);

}  // namespace knotfit
