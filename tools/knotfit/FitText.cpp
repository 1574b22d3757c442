// SPDX-License-Identifier: MIT
#include "tools/knotfit/FitText.h"

#include <cmath>
#include <cstdio>

#include "tools/knotfit/CsvTable.h"
#include "tools/knotfit/TextNumbers.h"

namespace knotfit {

namespace {

constexpr const char* kHouseholder = "householder";
constexpr const char* kQr = "qr";

std::string nameOf(knotwork::FitMethod method)
{
    return method == knotwork::FitMethod::kQr ? kQr : kHouseholder;
}

std::string largestResidual(const knotwork::FitReport& report, const std::vector<double>& at)
{
    if (std::isnan(report.maxResidual)) return "not known, the samples are gone";
    char size[40];
    std::snprintf(size, sizeof size, "%.6g", report.maxResidual);
    std::string where;
    for (const double t : at) where += (where.empty() ? " at " : ", ") + shortest(t);
    return size + where;
}

/// Of a verdict under which there is a fit.
std::string nameOf(knotwork::FitVerdict verdict)
{
    switch (verdict) {
        case knotwork::FitVerdict::kFitted:
            return "fitted";
        case knotwork::FitVerdict::kCompromise:
            return "compromise";
        default:
            return "met";
    }
}

}  // namespace

void addMethodOption(CLI::App& command, std::string& method)
{
    command
        .add_option("--method", method,
                    "householder: constraints are met exactly; qr: constraint rows are fitted like "
                    "the others, and the report says what is left of them")
        ->check(CLI::IsMember({kHouseholder, kQr}))
        ->capture_default_str();
}

void addZeroOptions(CLI::App& command, double& zero, bool& cutoff)
{
    const auto fromZeroToOne = [](const std::string& text) -> std::string {
        const std::optional<double> number = parseNumber(text);
        return number && *number >= 0.0 && *number <= 1.0 ? "" : "must be a number from 0 to 1";
    };
    command.add_flag("--cutoff", cutoff, "Estimate the cut-off from the singular values");
    command
        .add_option(
            "--zero", zero,
            "What counts as zero on the scaled problem; a fit that depends on it is refused")
        ->capture_default_str()
        ->check(fromZeroToOne);
}

knotwork::FitMethod methodOf(const std::string& name)
{
    return name == kQr ? knotwork::FitMethod::kQr : knotwork::FitMethod::kHouseholder;
}

void addReport(JsonText& json, const knotwork::FitReport& report, const std::vector<double>& at,
               const Times& times, const std::function<void(JsonText&)>& more)
{
    json.openObject("report");
    json.member("verdict", nameOf(report.verdict));
    json.member("method", nameOf(report.method));
    json.member("rms", report.rms);
    if (!std::isnan(report.maxResidual)) {
        json.member("max_residual", report.maxResidual);
        if (at.size() == 1)
            json.member("max_residual_at", at[0]);
        else
            json.member("max_residual_at", at);
    }
    json.member("constraint_residual", report.constraintResidual);
    json.member("zero", report.zero);
    json.member("columns_used", report.columnsUsed);
    json.member("data_points", report.dataPoints);
    json.member("unknowns", report.unknowns);
    json.member("constraints", report.constraints);
    json.member("read_seconds", times.read);
    json.member("fit_seconds", times.fit);
    if (more != nullptr) more(json);
    json.closeObject();
}

std::string summaryOf(const knotwork::FitReport& report, const std::vector<double>& at,
                      const Times& times)
{
    const std::string largest = largestResidual(report, at);
    char text[600];
    std::snprintf(text, sizeof text,
                  "data points          %d\n"
                  "unknowns             %d (%d used)\n"
                  "constraints          %d\n"
                  "RMS residual         %.6g\n"
                  "largest residual     %s\n"
                  "constraint residual  %.3g\n"
                  "zero                 %.3g\n"
                  "method               %s\n"
                  "verdict              %s\n"
                  "processor time       %.4f s reading, %.4f s fitting\n",
                  report.dataPoints, report.unknowns, report.columnsUsed, report.constraints,
                  report.rms, largest.c_str(), report.constraintResidual, report.zero,
                  nameOf(report.method).c_str(), nameOf(report.verdict).c_str(), times.read,
                  times.fit);
    return text;
}

std::string closedSummary(double period, std::optional<bool> lastNearFirst)
{
    return "curve                closed, period " + shortest(period) + "\n" +
           (lastNearFirst.value_or(false)
                ? "last point           near the first but another one, and kept\n"
                : "");
}

std::string nameOf(const std::string& input)
{
    return input == "-" ? "standard input" : input;
}

std::string titleOf(const std::string& input, const std::string& what)
{
    const std::string name = nameOf(input);
    return "Fit of " + name.substr(name.find_last_of('/') + 1) + ", " + what;
}

std::string notEmpty(const std::string& text)
{
    return text.empty() ? "must not be empty" : "";
}

}  // namespace knotfit
