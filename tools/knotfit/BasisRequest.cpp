// SPDX-License-Identifier: MIT
#include "tools/knotfit/BasisRequest.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "tools/knotfit/CsvTable.h"
#include "tools/knotfit/Failure.h"
#include "tools/knotfit/TextNumbers.h"

namespace knotfit {

namespace {

using knotwork::BsplineBasis;

std::vector<double> interiorKnots(const BasisRequest& request)
{
    std::vector<double> knots;
    for (const std::string_view part : split(request.knots, ',')) {
        const std::optional<double> knot = parseNumber(part);
        if (!knot)
            refuse(request.knotsOption + ": '" + std::string(part) + "' is no finite number");
        if (!knots.empty() && *knot < knots.back())
            refuse(request.knotsOption + ": the knots are out of order");
        if (!(*knot > request.first && *knot < request.last))
            refuse(request.knotsOption + ": " + shortest(*knot) + " does not lie between " +
                   shortest(request.first) + " and " + shortest(request.last));
        knots.push_back(*knot);
    }
    return knots;
}

constexpr int kMostClosedDegree = 7;

BsplineBasis basisBy(const BasisRequest& request, std::vector<double> interior)
{
    if (!request.closed)
        return BsplineBasis::clamped(request.degree, request.first, request.last, interior);
    interior.insert(interior.begin(), request.first);
    interior.push_back(request.last);
    return BsplineBasis::periodic(request.degree, std::move(interior));
}

/// Knots of a closed curve repeat exactly, for which they are rounded: here by no more
/// than 1e-5 of the period.
void checkPeriod(const BasisRequest& request)
{
    constexpr double kShortest = 1e-10;  // of what lies farthest from 0
    const double period = request.last - request.first;
    const double farthest = std::max(std::fabs(request.first), std::fabs(request.last));
    if (!std::isfinite(farthest) || !(period >= kShortest * farthest))
        refuse("the period, " + shortest(period) + ", cannot be told apart so far from 0 as " +
               shortest(request.first));
}

constexpr int kMostSpans = 1 << 24;  // where no data bound them

/// Control points that cannot be fixed are found before their knots fill the memory.
void checkCount(int spans, const BasisRequest& request)
{
    if (!request.lines) {
        if (spans > kMostSpans) refuse("--spans: must be 1 to " + std::to_string(kMostSpans));
        return;
    }
    const long long unknowns =
        static_cast<long long>(spans) + (request.closed ? 0 : request.degree);
    const long long equations = static_cast<long long>(*request.lines) + request.equations;
    if (unknowns > equations)
        throw Failure(kRefused, std::to_string(unknowns) + " unknowns are more than " +
                                    std::to_string(*request.lines) + " data points can fix" +
                                    request.wayOut);
}

}  // namespace

BsplineBasis basisFor(const BasisRequest& request)
{
    if (request.degree < 1 || request.degree > BsplineBasis::kMostDegree)
        refuse("--degree: must be 1 to " + std::to_string(BsplineBasis::kMostDegree));
    if (request.closed && request.degree > kMostClosedDegree)
        refuse("--degree: must be 1 to " + std::to_string(kMostClosedDegree) +
               " for a closed curve");
    if (request.closed) checkPeriod(request);
    if (!request.knots.empty()) {
        const BsplineBasis basis = basisBy(request, interiorKnots(request));
        if (!basis.valid())
            refuse(request.knotsOption + ": a knot stands there more than " +
                   std::to_string(request.degree) + " times");
        checkCount(basis.count() - request.degree, request);
        return basis;
    }
    if (request.spans < 1) refuse("--spans: must be 1 or more");
    checkCount(request.spans, request);
    const auto equalSpans = request.closed ? BsplineBasis::periodicUniform : BsplineBasis::uniform;
    const BsplineBasis basis =
        equalSpans(request.degree, request.first, request.last, request.spans);
    if (!basis.valid())
        refuse("--spans: so many spans cannot be told apart in the parameter range");
    return basis;
}

}  // namespace knotfit
