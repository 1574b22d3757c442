// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>

#include "knotwork/linalg/detail/Array.h"
#include "knotwork/solvers/detail/ShortRoad.h"
#include "knotwork/sparse/ConstrainedTriangle.h"
#include "knotwork/sparse/RowCompression.h"

namespace knotwork {

namespace {

// The squares of smaller entries may vanish. Large ones stop at the guard's rank margin.
constexpr double kLeastEntry = 1e-100;

bool inRange(const SpanRows& rows)
{
    return std::none_of(rows.numbers().begin(), rows.numbers().end(),
                        [](double v) { return v != 0.0 && std::fabs(v) < kLeastEntry; });
}

/// The two phases for sparse systems, in an order that keeps them sparse: the least-squares rows
/// are compressed, E = Q1 [R; 0], and then constrained.
class SpanRoad : public ShortRoad {
  public:
    SpanRoad(const SpanRows& rows, int constraints)
        : samples_(rows.rows() - constraints),
          compression_(rows, samples_),
          constrained_(compression_.triangle(), rows, samples_)
    {
    }

    void solve(const LaneReader& rhs, double* x) const override
    {
        if (rhs.lanes() == kFewLanes)
            solveIn<kFewLanes>(rhs, x);
        else
            solveIn<kManyLanes>(rhs, x);
    }

    RoadMeasures measures() const override
    {
        RoadMeasures m;
        m.norm = m.fixedNorm = constrained_.norm();
        m.inverseNorm = m.pivotInverse = constrained_.inverseNorm();
        m.longestConstraint = constrained_.basis().largestLength();
        m.constraintInverseNorm = m.constraintPivotInverse = constrained_.constraintInverseNorm();
        m.constraintCondition = constrained_.constraintCondition();
        m.freeSkips = constrained_.freeTriangle().mostEntries();
        m.sampleSkips = sampleSkips(samples_, constrained_.cols(), constrained_.constraints());
        m.constraintSkips = constrained_.basis().mostCoupled();
        return m;
    }

  private:
    template <int Lanes>
    void solveIn(const LaneReader& rhs, double* x) const
    {
        const auto fetch = [&rhs](int i, double* to) { rhs.read<Lanes>(i, to); };
        Array<double> c(std::ptrdiff_t{Lanes} * constrained_.cols());
        Array<double> d(std::ptrdiff_t{Lanes} * constrained_.constraints());
        compression_.compress<Lanes>(fetch, c.data());
        for (int i = 0; i < constrained_.constraints(); ++i)
            fetch(samples_ + i, &d[std::ptrdiff_t{Lanes} * i]);
        constrained_.solve<Lanes>(c.data(), d.data(), x);
    }

    int samples_;
    RowCompression compression_;
    ConstrainedTriangle constrained_;
};

}  // namespace

std::unique_ptr<ShortRoad> spanRoad(const SpanRows& rows, int constraints)
{
    return inRange(rows) ? std::make_unique<SpanRoad>(rows, constraints) : nullptr;
}

}  // namespace knotwork
