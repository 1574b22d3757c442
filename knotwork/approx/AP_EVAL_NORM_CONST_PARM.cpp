// SPDX-License-Identifier: MIT
#include "knotwork/approx/AP_EVAL_NORM_CONST_PARM.h"

#include <cmath>

#include "knotwork/approx/detail/CrossProduct.h"
#include "knotwork/approx/detail/DeBoor.h"
#include "knotwork/approx/detail/EvaluatorSize.h"
#include "knotwork/approx/detail/SpanSearch.h"

namespace {

/// The first three numbers; those that a surface in fewer dimensions lacks are 0.
knotwork::Triple triple(const double* numbers, int count)
{
    if (count >= 3) return knotwork::Triple::read(numbers);
    return {knotwork::Triple::Pair{numbers[0], count > 1 ? numbers[1] : 0.0}, 0.0};
}

}  // namespace

AP_EVAL_NORM_CONST_PARM::AP_EVAL_NORM_CONST_PARM(AP_SURFACE& s)
    : AP_EVAL_CONTEXT(knotwork::evaluatorSize(s)),
      surface_(s),
      v_(0.0),
      side_(0),
      count_(0),
      spanU_(0),
      spanV_(0),
      line_(),
      jobs_()
{
}

AP_EVAL_NORM_CONST_PARM::AP_EVAL_NORM_CONST_PARM(const AP_EVAL_NORM_CONST_PARM& other)
    : AP_EVAL_CONTEXT(other.size()),
      surface_(other.surface_),
      v_(other.v_),
      side_(other.side_),
      count_(0),
      spanU_(other.spanU_),
      spanV_(other.spanV_),
      line_(),
      jobs_()
{
}

AP_EVAL_NORM_CONST_PARM::~AP_EVAL_NORM_CONST_PARM() = default;

void AP_EVAL_NORM_CONST_PARM::setv(double v, int side)
{
    const int needed = knotwork::evaluatorSize(surface_);
    if (needed > size()) remake(needed);
    v_ = v;
    side_ = side;
    count_ = surface_.uCount();
    const knotwork::KnotTable& knots = surface_.vKnots_;
    const int coords = surface_.Coords();
    const int row = count_ * coords;
    line_ = knotwork::startLine(surface_.uDegree(), 1, coords);
    jobs_[0] = {workspace(), coords, coords, 1, workspace() + 2 * std::ptrdiff_t{row}, coords};
    jobs_[1] = {workspace(), coords, coords, 0, workspace() + 3 * std::ptrdiff_t{row}, coords};
    spanV_ = knotwork::findSpanOnSide(knots, v, side, spanV_);
    knotwork::runDeBoor(knots, spanV_, v, knotwork::nearerEnd(knots, spanV_, v),
                        {surface_.index(spanV_, 0), row, row, 1, workspace(), row});
}

void AP_EVAL_NORM_CONST_PARM::eval(double u, int side)
{
    if (count_ != surface_.uCount()) setv(v_, side_);
    if (!line_.holds(u)) enter(u, side);
    line_.run(line_.nearerEnd(u), u, jobs_, 2);

    const int coords = jobs_[0].length;
    const double* du = jobs_[0].out + coords;
    const double* dv = jobs_[1].out;
    knotwork::Triple normal = knotwork::crossProduct(triple(du, coords), triple(dv, coords));
    const double length =
        std::sqrt(normal.xy[0] * normal.xy[0] + normal.xy[1] * normal.xy[1] + normal.z * normal.z);
    if (length != 0.0) {
        normal.xy /= length;
        normal.z /= length;
    }
    normal.write(jobs_[1].out + coords);
}

void AP_EVAL_NORM_CONST_PARM::enter(double u, int side)
{
    spanU_ = knotwork::findSpanOnSide(surface_.uKnots_, u, side, spanU_);
    knotwork::enterSpan(line_, surface_.uKnots_, spanU_);
    jobs_[0].points = workspace() + spanU_ * jobs_[0].stride;
    jobs_[1].points = jobs_[0].points + count_ * jobs_[0].stride;
}

double* AP_EVAL_NORM_CONST_PARM::operator()(int i)
{
    const std::ptrdiff_t count = surface_.uCount();
    return workspace() + (count * (i + 2) + i) * surface_.Coords();
}
