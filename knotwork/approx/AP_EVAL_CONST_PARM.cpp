// SPDX-License-Identifier: MIT
#include "knotwork/approx/AP_EVAL_CONST_PARM.h"

#include "knotwork/approx/detail/DeBoor.h"
#include "knotwork/approx/detail/EvaluatorSize.h"
#include "knotwork/approx/detail/SpanSearch.h"

AP_EVAL_CONST_PARM::AP_EVAL_CONST_PARM(AP_SURFACE& s)
    : AP_EVAL_CONTEXT(knotwork::evaluatorSize(s)),
      surface_(s),
      v_(0.0),
      count_(0),
      spanU_(0),
      line_(),
      job_()
{
}

AP_EVAL_CONST_PARM::AP_EVAL_CONST_PARM(const AP_EVAL_CONST_PARM& other)
    : AP_EVAL_CONTEXT(other.size()),
      surface_(other.surface_),
      v_(other.v_),
      count_(0),
      spanU_(other.spanU_),
      line_(),
      job_()
{
}

AP_EVAL_CONST_PARM::~AP_EVAL_CONST_PARM() = default;

void AP_EVAL_CONST_PARM::setv(double v)
{
    const int needed = knotwork::evaluatorSize(surface_);
    if (needed > size()) remake(needed);
    v_ = v;
    count_ = surface_.uCount();
    const int coords = surface_.Coords();
    const int row = count_ * coords;
    line_ = knotwork::startLine(surface_.uDegree(), 0, coords);
    job_ = {workspace(), coords, coords, 0, workspace() + row, coords};
    const int span = knotwork::findSpan(surface_.vKnots_, v);
    knotwork::runDeBoor(surface_.vKnots_, span, v, knotwork::SpanEnd::kLeft,
                        {surface_.index(span, 0), row, row, 0, workspace(), row});
}

void AP_EVAL_CONST_PARM::eval(double u)
{
    if (count_ != surface_.uCount()) setv(v_);
    if (!line_.holds(u)) enter(u);
    line_.run(knotwork::SpanEnd::kLeft, u, &job_, 1);
}

void AP_EVAL_CONST_PARM::enter(double u)
{
    spanU_ = knotwork::findSpan(surface_.uKnots_, u, spanU_);
    knotwork::enterSpan(line_, surface_.uKnots_, spanU_);
    job_.points = workspace() + spanU_ * job_.stride;
}

double* AP_EVAL_CONST_PARM::operator()()
{
    return workspace() + std::ptrdiff_t{surface_.uCount()} * surface_.Coords();
}
