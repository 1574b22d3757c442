// SPDX-License-Identifier: MIT
#pragma once

#include <cstdlib>
#include <sstream>

#include "knotwork/fit/BsplineBasis.h"
#include "knotwork/solvers/Thouseholder.h"
#include "tests/support/Arrays.h"
#include "tests/support/Testing.h"

namespace knotwork_test {

/// The solver with its choice of road on show.
class RoadProbe : public Thouseholder {
  public:
    using Thouseholder::keepToLiteralRoad;
    using Thouseholder::onShortRoad;
    template <class... Arguments>
    explicit RoadProbe(Arguments&&... arguments) : Thouseholder(arguments...)
    {
        takeSpans();
    }
    RoadProbe(const RoadProbe&) = default;
    int constraints() const { return numConstraints_; }
    int usedRow(int i) const { return usedRowIndex_(i); }
    DoubleGenMat working() const { return denseWorking(); }
};

inline double largest(const DoubleVec& v)
{
    double most = 0.0;
    for (const double x : elements(v)) most = std::max(most, std::fabs(x));
    return most;
}

/// Cubic rows over [0, 1], the ends and a derivative in the middle as constraints.
inline DoubleGenMat curveMatrix(int samples, int unknowns)
{
    const auto basis = knotwork::BsplineBasis::uniform(3, 0.0, 1.0, unknowns - 3);
    DoubleGenMat a(static_cast<unsigned>(samples + 3), static_cast<unsigned>(unknowns), 0.0);
    for (int i = 0; i < samples + 3; ++i) {
        const double t = i < samples ? (i + 0.5) / samples : 0.5 * (i - samples);
        double entries[4];
        const int first = basis.row(t, i == samples + 1 ? 1 : 0, entries);
        for (int k = 0; k < 4; ++k) a(i, first + k) = entries[k];
    }
    return a;
}

/// How many random systems to try: KNOTWORK_ROADS_TIMES=12 in the environment makes it that many
/// times as many.
inline int trials(int usual)
{
    const char* times = std::getenv("KNOTWORK_ROADS_TIMES");
    return usual * (times == nullptr ? 1 : std::max(1, std::atoi(times)));
}

/// Into the XML report.
inline void recordWorst(double difference)
{
    std::ostringstream text;
    text << difference;
    testing::Test::RecordProperty("worstDifference", text.str());
}

/// A system on both roads.
struct BothRoads {
    BothRoads(const DoubleGenMat& a, int constraints, double tolerance)
        : quick(tolerance, 0, true), literal(tolerance, 0, true)
    {
        literal.keepToLiteralRoad();
        code = quick.setMatrix(a, constraints, false, false, false);
        literalCode = literal.setMatrix(a, constraints, false, false, false);
    }
    /// How far the answers differ, in parts of the largest number of the literal one.
    double difference(const DoubleVec& b) const
    {
        const DoubleVec expected = literal.TbaseSolver::solve(b);
        const double apart = largest(quick.TbaseSolver::solve(b) - expected);
        return apart == 0.0 ? 0.0 : apart / largest(expected);
    }

    RoadProbe quick, literal;
    int code, literalCode;
};

}  // namespace knotwork_test
