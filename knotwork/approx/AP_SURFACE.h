// SPDX-License-Identifier: MIT
#pragma once

#include <cstdio>

#include "knotwork/approx/AP_CODES.h"
#include "knotwork/approx/AP_GEOMETRIC.h"
#include "knotwork/approx/AP_SNODE.h"
#include "knotwork/approx/detail/KnotTable.h"
#include "knotwork/approx/detail/NodeTable.h"
#include "knotwork/export.h"
#include "knotwork/platform/kernel.h"

/// A tensor-product B-spline surface with a knot table for each direction (as AP_SPLINE's).
/// Shapes    uCount() x vCount() points in rows of constant v, Coords() numbers each: d, and the
///           weight last when either direction is rational.
/// Storage   owns points and knots; a copy is deep. Evaluation keeps no hidden state, so
///           threads may share a surface. No heap is used for degrees up to 12, as long as there
///           are up to 400 numbers in between and 256 to hand out.
/// Errors    a wrong count in `set`, or derivatives of a rational surface, end the process without
///           a message; `normal` in other than three dimensions aborts. Nothing else is checked.
///           Without memory as AP_SPLINE.
/// Accuracy  each partial to 1e-12 of the sum of its terms' magnitudes (tested to degree 9).
class KNOTWORK_EXPORT AP_SURFACE : public AP_GEOMETRIC {
  public:
    /// Knots, points and codes are 0.
    AP_SURFACE(int d, int pu, int pv, int nu, int nv, AP_RATIONALITY ru, AP_RATIONALITY rv);
    AP_SURFACE(const AP_SURFACE& other);        ///< without box and node table
    AP_SURFACE(nk_surface* surface, int swap);  ///< swap other than 0: u is the record's v
    AP_SURFACE& operator=(const AP_SURFACE&) = delete;
    ~AP_SURFACE() override;

    /// A new record for the caller, null for degrees that the kernel library does not know (0).
    nk_surface* NKLIB() const;

    int Coords() const { return isRational() ? Dim() + 1 : Dim(); }
    int uDegree() const { return uDegree_; }
    int vDegree() const { return vDegree_; }
    int uSpans() const { return uSpans_; }
    int vSpans() const { return vSpans_; }
    int uCount() const { return uDegree_ + uSpans_; }
    int vCount() const { return vDegree_ + vSpans_; }

    /// The point of v index a and u index b. `set` takes the indices the other way round: intended.
    double* index(int a, int b) { return CV() + offset(b, a); }
    const double* index(int a, int b) const { return CV() + offset(b, a); }

    /// The point of u index i and v index j, or the whole net; a count of 0 is not checked.
    void set(int i, int j, const double* p, int count);
    void set(const double* p, int count);

    void SetForm(AP_FORM u, AP_FORM v);
    void SetForm(AP_TYPE type) { type_ = type; }
    int WorkspaceSize(int k) const;
    const AP_MMBOX& Box(int force);  ///< as AP_SPLINE::Box

    AP_SNODE* node0();  ///< the node of u knot 0 and v knot 0; null when a degree is 0, as noden
    AP_SNODE* noden();  ///< the node of the last u knot and v knot of the range

    /// Partial derivatives up to total order k, homogeneous: u-order i and v-order j go to
    /// out + (j (max(pu, k) + 1) + i) Coords(), and nothing is written elsewhere.
    void eval(double* out, double u, double v, int k) const;

    /// The same as S, Su, Sv, Suu, Suv, Svv, ... into arrays of d numbers each, `double*`; null
    /// ones are skipped. Nothing is divided by the weight here either: intended.
    void eval(double u, double v, int k, ...) const;

    /// Point and unit normal Su x Sv. Where the partials are parallel the normal is NaN: intended.
    void normal(double u, double v, double* P, double* N) const;

    /// AP_SPLINE::insert on every row of constant v, or on every column of constant u: the shape is
    /// kept for r = 1 and changes for more, which knotwork::refine does not.
    int uinsert(double t, int r);
    int vinsert(double t, int r);

    void print(std::FILE* file) const;

  private:
    friend class AP_EVAL_CONST_PARM;
    friend class AP_EVAL_NORM_CONST_PARM;

    bool isRational() const { return uRational_ != 0 || vRational_ != 0; }
    std::ptrdiff_t offset(int i, int j) const
    {
        return (std::ptrdiff_t{uCount()} * j + i) * Coords();
    }
    AP_SNODE* node(int uKnot, int vKnot);

    AP_TYPE type_;
    int uDegree_;
    int vDegree_;
    int uSpans_;
    int vSpans_;
    AP_RATIONALITY uRational_;
    AP_RATIONALITY vRational_;
    AP_FORM uForm_;
    AP_FORM vForm_;
    knotwork::NodeTable<AP_SNODE> nodes_;
    knotwork::KnotTable uKnots_;
    knotwork::KnotTable vKnots_;
    int growthStep_ = 64;
};
