// SPDX-License-Identifier: MIT
#include "tools/knotfit/BasisRequest.h"

#include <optional>
#include <string_view>
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

constexpr int kMostSpans = 1 << 24;  // where no data bound them

/// Control points that cannot be fixed are found before their knots fill the memory.
void checkCount(int spans, const BasisRequest& request)
{
    if (!request.lines) {
        if (spans > kMostSpans) refuse("--spans: must be 1 to " + std::to_string(kMostSpans));
        return;
    }
    const long long unknowns = static_cast<long long>(spans) + request.degree;
    const long long equations = static_cast<long long>(*request.lines) + request.equations;
    if (unknowns > equations)
        throw Failure(kRefused, std::to_string(unknowns) + " unknowns are more than " +
                                    std::to_string(*request.lines) + " data points can fix");
}

}  // namespace

BsplineBasis basisFor(const BasisRequest& request)
{
    if (request.degree < 1 || request.degree > BsplineBasis::kMostDegree)
        refuse("--degree: must be 1 to " + std::to_string(BsplineBasis::kMostDegree));
    if (!request.knots.empty()) {
        const BsplineBasis basis = BsplineBasis::clamped(request.degree, request.first,
                                                         request.last, interiorKnots(request));
        if (!basis.valid())
            refuse(request.knotsOption + ": a knot stands there more than " +
                   std::to_string(request.degree) + " times");
        checkCount(basis.count() - request.degree, request);
        return basis;
    }
    if (request.spans < 1) refuse("--spans: must be 1 or more");
    checkCount(request.spans, request);
    const BsplineBasis basis =
        BsplineBasis::uniform(request.degree, request.first, request.last, request.spans);
    if (!basis.valid())
        refuse("--spans: so many spans cannot be told apart in the parameter range");
    return basis;
}

}  // namespace knotfit
