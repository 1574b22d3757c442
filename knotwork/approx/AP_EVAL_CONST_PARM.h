// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/approx/AP_EVAL_CONTEXT.h"
#include "knotwork/approx/AP_SURFACE.h"
#include "knotwork/approx/detail/LineSpan.h"
#include "knotwork/export.h"

/// Points of a surface along a line of constant v: setv once, then eval for any number of u.
/// Shapes    the result has Coords() numbers, homogeneous for a rational surface.
/// Storage   the iso-curve's control points fill the start of the workspace; the surface is only
///           referred to. When knots were inserted in u, the next eval repeats setv by itself.
/// Limits    one thread at a time: an evaluator remembers its last span.
class KNOTWORK_EXPORT AP_EVAL_CONST_PARM : public AP_EVAL_CONTEXT {
  public:
    explicit AP_EVAL_CONST_PARM(AP_SURFACE& s);
    AP_EVAL_CONST_PARM(const AP_EVAL_CONST_PARM& other);  ///< a fresh workspace, the same v
    AP_EVAL_CONST_PARM& operator=(const AP_EVAL_CONST_PARM&) = delete;
    ~AP_EVAL_CONST_PARM() override;

    /// Both run the triangle from the left end of the span wherever in it the parameter lies, so
    /// the last bits may differ from AP_SURFACE::eval. Intended.
    void setv(double v);
    void eval(double u);

    double* operator()();  ///< the point of the last eval
    AP_SURFACE& obj() { return surface_; }

  private:
    void enter(double u);

    AP_SURFACE& surface_;
    double v_;
    int count_;  // points of the iso-curve in the workspace, 0 before there is one
    int spanU_;
    knotwork::LineSpan line_;  // in no span after setv
    knotwork::DeBoorJob job_;
};
