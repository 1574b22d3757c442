// SPDX-License-Identifier: MIT
#include "knotwork/approx/AP_EVAL_NORM_CONST_PARM.h"

#include <algorithm>
#include <cmath>

#include "knotwork/approx/detail/CrossProduct.h"
#include "knotwork/approx/detail/DeBoor.h"
#include "knotwork/approx/detail/EvaluatorSize.h"
#include "knotwork/approx/detail/SpanSearch.h"

AP_EVAL_NORM_CONST_PARM::AP_EVAL_NORM_CONST_PARM(AP_SURFACE& s)
    : AP_EVAL_CONTEXT(knotwork::evaluatorSize(s)),
      surface_(s),
      v_(0.0),
      side_(0),
      count_(0),
      spanU_(0),
      spanV_(0)
{
}

AP_EVAL_NORM_CONST_PARM::AP_EVAL_NORM_CONST_PARM(const AP_EVAL_NORM_CONST_PARM& other)
    : AP_EVAL_CONTEXT(other.size()),
      surface_(other.surface_),
      v_(other.v_),
      side_(other.side_),
      count_(0),
      spanU_(other.spanU_),
      spanV_(other.spanV_)
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
    const int row = count_ * surface_.Coords();
    spanV_ = knotwork::findSpanOnSide(knots, v, side, spanV_);
    knotwork::runDeBoor(knots, spanV_, v, knotwork::nearerEnd(knots, spanV_, v),
                        {surface_.index(spanV_, 0), row, row, 1, workspace(), row});
}

void AP_EVAL_NORM_CONST_PARM::eval(double u, int side)
{
    if (count_ != surface_.uCount()) setv(v_, side_);
    const knotwork::KnotTable& knots = surface_.uKnots_;
    const int coords = surface_.Coords();
    const std::ptrdiff_t row = std::ptrdiff_t{count_} * coords;
    spanU_ = knotwork::findSpanOnSide(knots, u, side, spanU_);
    const double* isoCurve = workspace() + std::ptrdiff_t{spanU_} * coords;
    double* point = workspace() + 2 * row;
    double* dv = workspace() + 3 * row;
    const knotwork::DeBoorJob jobs[] = {{isoCurve, coords, coords, 1, point, coords},
                                        {isoCurve + row, coords, coords, 0, dv, coords}};
    knotwork::runDeBoor(knots, spanU_, u, knotwork::nearerEnd(knots, spanU_, u), jobs, 2);

    double a[3] = {};  // coordinates that a surface in fewer dimensions lacks are 0
    double b[3] = {};
    const int given = std::min(coords, 3);
    std::copy_n(point + coords, given, a);
    std::copy_n(dv, given, b);
    double* normal = dv + coords;
    knotwork::crossProduct(a, b, normal);
    const double length =
        std::sqrt(normal[0] * normal[0] + normal[1] * normal[1] + normal[2] * normal[2]);
    if (length == 0.0) return;
    for (int c = 0; c < 3; ++c) normal[c] /= length;
}

double* AP_EVAL_NORM_CONST_PARM::operator()(int i)
{
    const std::ptrdiff_t count = surface_.uCount();
    return workspace() + (count * (i + 2) + i) * surface_.Coords();
}
