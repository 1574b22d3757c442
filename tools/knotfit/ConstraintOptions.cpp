// SPDX-License-Identifier: MIT
#include "tools/knotfit/ConstraintOptions.h"

#include <cmath>
#include <optional>
#include <string_view>

#include "tools/knotfit/CsvTable.h"
#include "tools/knotfit/Failure.h"
#include "tools/knotfit/TextNumbers.h"

namespace knotfit {

namespace {

/// "T=X[:Y...]": a place, and a number for each coordinate, or nothing where it is free.
struct Assignment {
    double place = 0.0;
    std::vector<double> value;
    std::vector<char> mask;

    bool complete() const
    {
        for (const char flag : mask)
            if (flag == 0) return false;
        return true;
    }
};

Assignment parsed(const char* option, const std::string& text, int dimension)
{
    const auto bad = [&](const std::string& why) {
        refuse(std::string(option) + " " + text + why);
    };
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos) bad(": must read T=X[:Y...]");
    const std::optional<double> place = parseNumber(std::string_view(text).substr(0, equals));
    if (!place) bad(": the parameter is no finite number");
    Assignment assignment;
    assignment.place = *place;
    bool any = false;
    for (const std::string_view part : split(std::string_view(text).substr(equals + 1), ':')) {
        const std::optional<double> x = parseNumber(part);
        if (!x && !part.empty()) bad(": '" + std::string(part) + "' is no finite number");
        assignment.value.push_back(x.value_or(0.0));
        assignment.mask.push_back(x ? 1 : 0);
        any = any || x;
    }
    if (assignment.value.size() != static_cast<std::size_t>(dimension))
        bad(": the points have " + std::to_string(dimension) + " coordinates");
    if (!any) bad(": leaves all coordinates free");
    if (assignment.complete()) assignment.mask.clear();
    return assignment;
}

Assignment parsedAt(const char* option, const std::string& text,
                    const knotwork::BsplineBasis& basis, int dimension)
{
    const Assignment assignment = parsed(option, text, dimension);
    const double first = basis.first();
    const double last = basis.last();
    if (!basis.closed() && (assignment.place < first || assignment.place > last))
        refuse(std::string(option) + " " + text + ": the parameter lies outside " +
               shortest(first) + " to " + shortest(last));
    return assignment;
}

}  // namespace

void addConstraintOptions(CLI::App& command, ConstraintOptions& options)
{
    const auto add = [&command](const char* name, std::vector<std::string>& texts,
                                const char* help) {
        command.add_option(name, texts, help)->allow_extra_args(false);
    };
    add("--value", options.values,
        "T=X[:Y...]: the curve's value at T, exactly; a coordinate left empty is free");
    add("--slope", options.slopes, "T=X[:Y...]: its first derivative at T, exactly, likewise");
    add("--direction", options.directions,
        "T=DX:DY[:DZ]: its tangent at T is parallel to this, exactly");
    add("--hold", options.held, "I=X[:Y...]: control point I, from 0, exactly, likewise");
}

void addAsked(const ConstraintOptions& options, const knotwork::BsplineBasis& basis, int dimension,
              AskedOfCurve& asked)
{
    for (const std::string& text : options.values) {
        const Assignment a = parsedAt("--value", text, basis, dimension);
        asked.constraints.push_back({a.place, 0, a.value, a.mask});
    }
    for (const std::string& text : options.slopes) {
        const Assignment a = parsedAt("--slope", text, basis, dimension);
        asked.constraints.push_back({a.place, 1, a.value, a.mask});
    }
    for (const std::string& text : options.directions) {
        const Assignment a = parsedAt("--direction", text, basis, dimension);
        if (!a.mask.empty()) refuse("--direction " + text + ": a coordinate is left empty");
        asked.directions.push_back({a.place, a.value});
    }
    for (const std::string& text : options.held) {
        const Assignment a = parsed("--hold", text, dimension);
        if (a.place != std::floor(a.place) || a.place < 0.0 || a.place >= basis.unknowns())
            refuse("--hold " + text + ": the control points have numbers 0 to " +
                   std::to_string(basis.unknowns() - 1));
        asked.held.push_back({static_cast<int>(a.place), a.value, a.mask});
    }
}

}  // namespace knotfit
