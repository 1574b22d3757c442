// SPDX-License-Identifier: MIT
#include "knotwork/fit/CurveDiagnosis.h"

#include <algorithm>

#include "knotwork/fit/FitReport.h"
#include "knotwork/solvers/Thouseholder.h"

namespace knotwork {

namespace {

/// "span 5", "spans 5 to 7", "spans 2, 5 to 7 and 9": runs of ascending numbers, the first few.
std::string listed(const char* noun, const std::vector<int>& numbers)
{
    constexpr std::size_t kMostRuns = 6;
    std::vector<std::string> runs;
    for (std::size_t i = 0; i < numbers.size();) {
        std::size_t j = i;
        while (j + 1 < numbers.size() && numbers[j + 1] == numbers[j] + 1) ++j;
        runs.push_back(std::to_string(numbers[i]) +
                       (j > i ? " to " + std::to_string(numbers[j]) : ""));
        i = j + 1;
    }
    const bool cut = runs.size() > kMostRuns;
    if (cut) runs.resize(kMostRuns);
    std::string text = std::string(noun) + (numbers.size() > 1 ? "s " : " ");
    for (std::size_t i = 0; i < runs.size(); ++i) {
        if (i > 0) text += i + 1 == runs.size() && !cut ? " and " : ", ";
        text += runs[i];
    }
    return cut ? text + " and others" : text;
}

std::vector<int> spansWithoutData(const BsplineBasis& basis, const std::vector<double>& sorted)
{
    const std::vector<double>& knots = basis.knots();
    std::vector<int> empty;
    int number = 0;
    for (int s = basis.degree(); s < basis.count(); ++s) {
        const double left = knots[static_cast<std::size_t>(s)];
        const double right = knots[static_cast<std::size_t>(s) + 1];
        if (left == right) continue;
        // The last knot belongs to the last span.
        const auto first = std::lower_bound(sorted.begin(), sorted.end(), left);
        const bool holds = first != sorted.end() && (*first < right || right == basis.last());
        if (!holds) empty.push_back(number);
        ++number;
    }
    return empty;
}

/// Gives each control point, in order, the first parameter that is left and lies under its basis
/// function; names those that get none.
std::vector<int> unmatchedControlPoints(const BsplineBasis& basis,
                                        const std::vector<double>& distinct)
{
    const std::vector<double>& knots = basis.knots();
    std::vector<int> unmatched;
    auto next = distinct.begin();
    for (int i = 0; i < basis.count(); ++i) {
        const double left = knots[static_cast<std::size_t>(i)];
        const double right = knots[static_cast<std::size_t>(i + basis.degree() + 1)];
        const bool fromFirst = left == basis.first() && i == 0;
        const bool toLast = right == basis.last() && i + 1 == basis.count();
        while (next != distinct.end() && (fromFirst ? *next < left : *next <= left)) ++next;
        if (next != distinct.end() && (toLast ? *next <= right : *next < right))
            ++next;
        else
            unmatched.push_back(i);
    }
    return unmatched;
}

}  // namespace

std::string whyUndetermined(const BsplineBasis& basis, std::vector<double> parameters)
{
    std::sort(parameters.begin(), parameters.end());
    const std::vector<int> empty = spansWithoutData(basis, parameters);
    if (!empty.empty())
        return listed("span", empty) + (empty.size() > 1 ? " hold" : " holds") + " no data";
    parameters.erase(std::unique(parameters.begin(), parameters.end()), parameters.end());
    const std::vector<int> free = unmatchedControlPoints(basis, parameters);
    if (!free.empty())
        return "the data do not fix " + listed("control point", free) + " of " +
               std::to_string(basis.count());
    return "";
}

bool constraintRowsDepend(const DoubleGenMat& matrix, int constraints)
{
    const int free = static_cast<int>(matrix.rows()) - constraints;
    if (constraints == 0) return false;
    if (constraints > static_cast<int>(matrix.cols())) return true;
    DoubleGenMat rows(static_cast<unsigned>(constraints), matrix.cols());
    for (int j = 0; j < static_cast<int>(matrix.cols()); ++j)
        rows.col(j) = matrix.col(j).slice(free, rows.rows(), 1);
    Thouseholder alone(kFitTolerance, 0, false);
    return alone.setMatrix(rows, constraints, false, false, false) != 0;
}

}  // namespace knotwork
