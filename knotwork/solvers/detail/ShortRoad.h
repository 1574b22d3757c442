// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "knotwork/linalg/DoubleGenMat.h"
#include "knotwork/solvers/detail/Road.h"
#include "knotwork/solvers/detail/RoadGuard.h"
#include "knotwork/sparse/SpanRows.h"

namespace knotwork {

/// A road without pivoting by columns.
class ShortRoad : public Road {
  public:
    virtual RoadMeasures measures() const = 0;
    double leastAnswer() const override { return leastAnswer_; }
    void setLeastAnswer(double least) { leastAnswer_ = least; }

  private:
    double leastAnswer_ = 0.0;
};

/// Null for systems that these have not been made for. Constraints are the last rows, of which
/// there are at least as many as columns in all.
std::unique_ptr<ShortRoad> spanRoad(const SpanRows& rows, int constraints);
std::unique_ptr<ShortRoad> blockRoad(const DoubleGenMat& matrix, int constraints);

}  // namespace knotwork
