// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/approx/AP_EVAL_CONTEXT.h"
#include "knotwork/approx/AP_SURFACE.h"
#include "knotwork/approx/detail/LineSpan.h"
#include "knotwork/export.h"

/// Points, first derivatives and unit normals of a surface along a line of constant v. On a knot,
/// side 1 takes the span on its left, any other side the one on its right; equality is exact.
/// Shapes    with L = uCount() Coords(): the iso-curve is at workspace 0, its v-derivative at L, the
///           point and the u-derivative at 2L, the v-derivative at 3L and the normal (3 numbers)
///           right behind it. All is homogeneous for a rational surface, the normal too: intended.
/// Errors    on a net of up to 5 rows with fewer than Coords() + 3 numbers each, the normal
///           overwrites the guard, and that is reported. Intended.
/// Storage   and limits as AP_EVAL_CONST_PARM.
class KNOTWORK_EXPORT AP_EVAL_NORM_CONST_PARM : public AP_EVAL_CONTEXT {
  public:
    explicit AP_EVAL_NORM_CONST_PARM(AP_SURFACE& s);
    AP_EVAL_NORM_CONST_PARM(const AP_EVAL_NORM_CONST_PARM& other);  ///< as AP_EVAL_CONST_PARM
    AP_EVAL_NORM_CONST_PARM& operator=(const AP_EVAL_NORM_CONST_PARM&) = delete;
    ~AP_EVAL_NORM_CONST_PARM() override;

    void setv(double v, int side);
    void eval(double u, int side);  ///< where the derivatives are parallel the normal is 0

    /// Of the last eval: 0 the point and the u-derivative, 1 the unit normal.
    double* operator()(int i);
    AP_SURFACE& obj() { return surface_; }

  private:
    void enter(double u, int side);

    AP_SURFACE& surface_;
    double v_;
    int side_;
    int count_;  // points of the iso-curve in the workspace, 0 before there is one
    int spanU_;
    int spanV_;
    knotwork::LineSpan line_;  // as AP_EVAL_CONST_PARM's
    knotwork::DeBoorJob jobs_[2];
};
