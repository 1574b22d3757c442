// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "knotwork/fit/BsplineBasis.h"
#include "knotwork/fit/ConstraintRow.h"
#include "knotwork/fit/DoubleDouble.h"
#include "knotwork/sparse/SpanTriangles.h"

namespace knotwork {

/// The curves that a penalty of an order K leaves alone: polynomials of a degree below K, constants
/// on a periodic basis. Whether data, a penalty and constraints fix a curve is whether data and
/// constraints fix one of these, however much the penalty counts; and as it grows without end, the
/// curve has the freedom that constraints leave to these.
class PenaltyKernel {
  public:
    PenaltyKernel(const BsplineBasis& basis, int order);

    /// False where a knot is so often there that its curves may have a kink that the penalty does
    /// not see. Nothing is known then.
    bool known() const { return known_; }

    int freedom(const std::vector<ConstraintRow>& constraints) const;
    bool fixedBy(const SpanTriangles& data, const std::vector<ConstraintRow>& constraints) const;

  private:
    const DoubleDouble* row(int function) const
    {
        return entries_.data() + static_cast<std::ptrdiff_t>(size_) * function;
    }
    std::vector<std::vector<DoubleDouble>> reduced(
        const std::vector<ConstraintRow>& constraints) const;

    int size_;
    bool known_;
    std::vector<DoubleDouble> entries_;  // a row a function: control points of `size_` curves
};

}  // namespace knotwork
