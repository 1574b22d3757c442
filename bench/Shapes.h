// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

#include "bench/Answers.h"
#include "knotwork/approx/AP_SPLINE.h"
#include "knotwork/approx/AP_SURFACE.h"
#include "measures/KernelRecords.h"

namespace knotwork_bench {

constexpr int kDim = 3;
constexpr std::size_t kParameters = 1024;  // taken in turn; they fit into the innermost cache

/// A clamped knot sequence over [0, 1] with spans of unequal width: degree knots at either end.
inline std::vector<double> unequalKnots(int degree, int spans, Numbers& numbers)
{
    std::vector<double> knots(static_cast<std::size_t>(degree), 0.0);
    double t = 0.0;
    for (int i = 1; i <= spans; ++i) {
        t += 1.5 + numbers.next();
        knots.push_back(t);
    }
    knots.insert(knots.end(), static_cast<std::size_t>(degree - 1), t);
    for (double& knot : knots) knot /= t;
    return knots;
}

/// The same with the outermost knots that other libraries keep as well.
inline std::vector<double> fullKnots(std::vector<double> knots)
{
    knots.insert(knots.begin(), knots.front());
    knots.push_back(knots.back());
    return knots;
}

/// Points of `kDim` numbers in [-1, 1); rational ones as (w x, w y, w z, w) with w in [0.5, 2.5).
inline std::vector<double> drawPoints(int count, bool rational, Numbers& numbers)
{
    std::vector<double> points;
    for (int i = 0; i < count; ++i) {
        const double weight = rational ? 1.5 + numbers.next() : 1.0;
        for (int c = 0; c < kDim; ++c) points.push_back(weight * numbers.next());
        if (rational) points.push_back(weight);
    }
    return points;
}

/// Uniform in [0, 1).
inline std::vector<double> drawParameters(Numbers& numbers)
{
    std::vector<double> parameters = numbers.take(kParameters);
    for (double& t : parameters) t = 0.5 * (t + 1.0);
    return parameters;
}

struct CurveData {
    CurveData(int p, int n, bool weights)
        : degree(p),
          spans(n),
          rational(weights),
          knots(unequalKnots(p, n, numbers)),
          points(drawPoints(count(), weights, numbers))
    {
    }
    int count() const { return degree + spans; }
    int coords() const { return rational ? kDim + 1 : kDim; }

    Numbers numbers;
    int degree;
    int spans;
    bool rational;
    std::vector<double> knots;
    std::vector<double> points;
};

/// The same degree and number of spans in both directions; points in rows of constant v.
struct SurfaceData {
    SurfaceData(int p, int n)
        : degree(p),
          spans(n),
          knotsU(unequalKnots(p, n, numbers)),
          knotsV(unequalKnots(p, n, numbers)),
          points(drawPoints(count() * count(), false, numbers))
    {
    }
    int count() const { return degree + spans; }

    Numbers numbers;
    int degree;
    int spans;
    std::vector<double> knotsU;
    std::vector<double> knotsV;
    std::vector<double> points;
};

inline AP_SPLINE makeCurve(const CurveData& data)
{
    const knotwork_measures::SplineRecord record(nk_bld_bs(kDim, data.knots.data(),
                                                           data.points.data(), 0, data.degree,
                                                           data.spans, data.rational ? 1 : 0, 0));
    return AP_SPLINE(record.get());
}

inline AP_SURFACE makeSurface(const SurfaceData& data)
{
    const knotwork_measures::SurfaceRecord record(
        nk_bld_srf(kDim, 0, data.degree, data.degree, data.spans, data.spans, 0, 0, 0, 0));
    knotwork_measures::fillRecord(record.get(), data.knotsU.data(), data.knotsV.data(),
                                  data.points.data(), kDim);
    return AP_SURFACE(record.get(), 0);
}

}  // namespace knotwork_bench
