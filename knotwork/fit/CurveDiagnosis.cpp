// SPDX-License-Identifier: MIT
#include "knotwork/fit/CurveDiagnosis.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <string_view>
#include <utility>

#include "knotwork/fit/NumberText.h"

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

/// A flag for each pair of neighbouring knots of the range.
std::vector<char> spansWithData(const BsplineBasis& basis, const std::vector<double>& sorted)
{
    const std::vector<double>& knots = basis.knots();
    std::vector<char> holds;
    for (int s = basis.degree(); s < basis.count(); ++s) {
        const double left = knots[static_cast<std::size_t>(s)];
        const double right = knots[static_cast<std::size_t>(s) + 1];
        // The last knot belongs to the last span.
        const auto first = std::lower_bound(sorted.begin(), sorted.end(), left);
        holds.push_back(first != sorted.end() && (*first < right || right == basis.last()) ? 1 : 0);
    }
    return holds;
}

/// A sum of constraint rows, each times a factor, in doubled precision.
class ConstraintCombination {
  public:
    /// Constraint c as it is.
    ConstraintCombination(const ConstraintRow& row, std::size_t c, const BandOrder& order,
                          int unknowns)
        : entries_(static_cast<std::size_t>(unknowns)), factors_(c + 1), first_(unknowns), end_(0)
    {
        int function = row.first;
        for (const DoubleDouble& entry : row.entries) {
            const int place = order.place(function++);
            entries_[static_cast<std::size_t>(place)] += entry;
            first_ = std::min(first_, place);
            end_ = std::max(end_, place + 1);
            size_ = std::max(size_, std::fabs(entry.high));
        }
        factors_.back() = 1.0;
        choosePivot();
    }

    /// Adds so much of an earlier combination that this one is 0 where that one is largest.
    void eliminate(const ConstraintCombination& other)
    {
        const DoubleDouble factor = entries_[other.pivot_] / other.entries_[other.pivot_];
        if (factor.high == 0.0) return;
        first_ = std::min(first_, other.first_);
        end_ = std::max(end_, other.end_);
        for (auto j = static_cast<std::size_t>(other.first_);
             j < static_cast<std::size_t>(other.end_); ++j)
            entries_[j] += -(factor * other.entries_[j]);
        entries_[other.pivot_] = 0.0;
        for (std::size_t c = 0; c < other.factors_.size(); ++c)
            factors_[c] += -(factor * other.factors_[c]);
        choosePivot();
    }

    bool vanishes() const { return std::fabs(entries_[pivot_].high) <= kVanishing * size_; }
    /// A factor a constraint, of those that take part; 0 for others.
    std::vector<DoubleDouble> parts() const
    {
        double most = 0.0;
        for (const DoubleDouble& f : factors_) most = std::max(most, std::fabs(f.high));
        std::vector<DoubleDouble> parts = factors_;
        for (DoubleDouble& f : parts)
            if (!(std::fabs(f.high) > kPart * most)) f = 0.0;
        return parts;
    }

  private:
    static constexpr double kVanishing = 1e-12;  // times the row's largest entry
    static constexpr double kPart = 1e-8;        // times the largest factor

    void choosePivot()
    {
        pivot_ = static_cast<std::size_t>(first_);
        for (auto j = pivot_; j < static_cast<std::size_t>(end_); ++j)
            if (std::fabs(entries_[j].high) > std::fabs(entries_[pivot_].high)) pivot_ = j;
    }

    std::vector<DoubleDouble> entries_;
    std::vector<DoubleDouble> factors_;
    int first_;
    int end_;
    std::size_t pivot_ = 0;
    double size_ = 0.0;
};

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

const std::string kDependOnEachOther = "the constraints depend on each other";

/// Factors of constraints whose rows add up to nothing.
using Vanishing = std::vector<DoubleDouble>;

/// The first constraint that is a combination of others before it, with those.
std::optional<Vanishing> vanishingCombination(const BandFit& fit)
{
    constexpr std::size_t kMostCombined = 1000;  // each keeps as many numbers as there are unknowns
    const std::vector<ConstraintRow>& rows = fit.constraints();
    std::vector<ConstraintCombination> kept;
    for (std::size_t c = 0; c < std::min(rows.size(), kMostCombined); ++c) {
        ConstraintCombination next(rows[c], c, fit.order(), fit.triangle().size());
        for (const ConstraintCombination& earlier : kept) next.eliminate(earlier);
        if (next.vanishes()) return next.parts();
        kept.push_back(std::move(next));
    }
    return std::nullopt;
}

/// "constraints 0 and 2 to 4, direction 1": those that take part, kind after kind.
std::string namesOf(const BandFit& fit, const Vanishing& parts)
{
    std::vector<std::pair<const char*, std::vector<int>>> kinds;
    for (std::size_t c = 0; c < parts.size(); ++c) {
        if (parts[c].high == 0.0) continue;
        const ConstraintRow& row = fit.constraints()[c];
        if (kinds.empty() || std::string_view(kinds.back().first) != row.noun)
            kinds.push_back({row.noun, {}});
        std::vector<int>& numbers = kinds.back().second;
        if (numbers.empty() || numbers.back() != row.number) numbers.push_back(row.number);
    }
    std::string names;
    for (const auto& [noun, numbers] : kinds)
        names += (names.empty() ? "" : ", ") + listed(noun, numbers);
    return names;
}

/// Whether one constraint is left, whose own row adds up to nothing.
bool isAlone(const Vanishing& parts)
{
    return std::count_if(parts.begin(), parts.end(),
                         [](const DoubleDouble& f) { return f.high != 0.0; }) == 1;
}

/// By how much the last of them would have to be another for all to hold; 0 but for rounding: 0.
double contradiction(const BandFit& fit, const Vanishing& parts, const CurveSystem& system,
                     const std::vector<int>& exponents)
{
    constexpr double kConsistent = 1e-11;  // of the numbers that are added up
    const auto last = static_cast<int>(parts.size()) - 1;
    const ConstraintRow& row = fit.constraints()[static_cast<std::size_t>(last)];
    double worst = 0.0;
    for (int c = 0; c < system.rhs.width; ++c) {
        DoubleDouble sum;
        double size = 0.0;
        for (std::size_t i = 0; i < parts.size(); ++i) {
            const DoubleDouble term = parts[i] * system.rhs.number(static_cast<int>(i), c);
            sum += term;
            size += std::fabs(term.high);
        }
        if (std::fabs(sum.high) <= kConsistent * size) continue;
        const int k = system.coordinateOf(last, c);
        const double gap = std::fabs(sum.high / parts.back().high);
        worst =
            std::max(worst, std::ldexp(gap, exponents[static_cast<std::size_t>(k)] - row.exponent));
    }
    return worst;
}

std::string weakControlPoints(const BandFit& fit, int numbers)
{
    std::vector<int> points;
    for (const int unknown : fit.weakUnknowns())
        if (points.empty() || points.back() != unknown / numbers)
            points.push_back(unknown / numbers);
    return listed("control point", points) + " of " +
           std::to_string(fit.triangle().size() / numbers);
}

}  // namespace

std::string whyUndetermined(const BsplineBasis& basis, const std::vector<char>& holdsData)
{
    std::vector<int> empty;
    int number = 0;
    for (int s = basis.degree(); s < basis.count(); ++s) {
        const auto at = static_cast<std::size_t>(s);
        if (basis.knots()[at] == basis.knots()[at + 1]) continue;
        if (holdsData[at - static_cast<std::size_t>(basis.degree())] == 0) empty.push_back(number);
        ++number;
    }
    if (empty.empty()) return "";
    return listed("span", empty) + (empty.size() > 1 ? " hold" : " holds") + " no data";
}

std::string whyUndetermined(const BsplineBasis& basis, std::vector<double> parameters)
{
    std::sort(parameters.begin(), parameters.end());
    const std::string empty = whyUndetermined(basis, spansWithData(basis, parameters));
    if (!empty.empty()) return empty;
    parameters.erase(std::unique(parameters.begin(), parameters.end()), parameters.end());
    const std::vector<int> free = unmatchedControlPoints(basis, parameters);
    if (!free.empty())
        return "the data do not fix " + listed("control point", free) + " of " +
               std::to_string(basis.count());
    return "";
}

std::string whyNotFixed(const BandFit& fit, int numbers)
{
    return "data and constraints together do not fix " + weakControlPoints(fit, numbers);
}

std::string whyTooClose(const BandFit& fit, int numbers)
{
    const std::string why = kTooCloseToDependent;
    if (fit.constraintCondition() > fit.condition())
        return why + ": the constraints hardly differ from some that depend on each other";
    return why + ": it hardly fixes " + weakControlPoints(fit, numbers);
}

std::string whyDependent(const BandFit& fit)
{
    const std::optional<Vanishing> found = vanishingCombination(fit);
    if (!found) return kDependOnEachOther;
    return isAlone(*found) ? "no control point moves what " + namesOf(fit, *found) + " asks for"
                           : kDependOnEachOther + ": " + namesOf(fit, *found);
}

std::string whyDependent(const BandFit& fit, const CurveSystem& system,
                         const std::vector<int>& exponents)
{
    const std::optional<Vanishing> found = vanishingCombination(fit);
    if (!found || isAlone(*found)) return whyDependent(fit);
    const double gap = contradiction(fit, *found, system, exponents);
    return whyDependent(fit) + (gap == 0.0
                                    ? ", which repeat each other"
                                    : ", which contradict each other by " + generalText(gap, 3));
}

}  // namespace knotwork
