// SPDX-License-Identifier: MIT
#pragma once

#include <cstdio>

#include "knotwork/approx/AP_CNODE.h"
#include "knotwork/approx/AP_CODES.h"
#include "knotwork/approx/AP_GEOMETRIC.h"
#include "knotwork/approx/detail/KnotTable.h"
#include "knotwork/approx/detail/NodeTable.h"
#include "knotwork/export.h"
#include "knotwork/platform/kernel.h"

/// A B-spline curve of degree p with n spans, p + n control points and the 2p + n - 1 knots of
/// indices 1 - p ... n + p - 1; the curve runs from knot 0 to knot n.
/// Shapes    a point has Coords() numbers: d, and the weight last when rational.
/// Storage   owns points and knots; a copy is deep. Evaluation keeps no hidden state, so
///           threads may share a curve. No heap is used for degrees up to 12 (and 256 numbers
///           handed out).
/// Errors    a wrong count in `set` ends the process without a message. Indices and parameters are
///           not checked: outside its range the curve goes on as its end spans do. Without memory
///           std::bad_alloc; what was not inserted then leaves the curve as it was.
/// Accuracy  each derivative to 1e-12 of the sum of its terms' magnitudes (tested to degree 9).
class KNOTWORK_EXPORT AP_SPLINE : public AP_GEOMETRIC {
  public:
    AP_SPLINE(int d, int p, int n, AP_RATIONALITY r);  ///< knots, points and codes are 0
    AP_SPLINE(const AP_SPLINE& other);                 ///< without box and node table
    explicit AP_SPLINE(nk_spline* spline);
    AP_SPLINE& operator=(const AP_SPLINE&) = delete;
    ~AP_SPLINE() override;

    /// A new record for the caller, null for a degree that the kernel library does not know (0).
    nk_spline* NKLIB() const;

    int Coords() const { return rationality_ != 0 ? Dim() + 1 : Dim(); }
    int Degree() const { return degree_; }
    int Spans() const { return spans_; }
    int Count() const { return degree_ + spans_; }
    double* operator[](int i) { return CV() + std::ptrdiff_t{Coords()} * i; }
    const double* operator[](int i) const { return CV() + std::ptrdiff_t{Coords()} * i; }
    AP_SPLINE* operator->() { return this; }
    void SetForm(AP_FORM form) { form_ = form; }
    void SetForm(AP_TYPE type) { type_ = type; }
    int WorkspaceSize(int k) const { return ((degree_ > k ? degree_ : k) + 1) * Coords(); }

    /// Always 0: curves are not compared, every pair counts as different. Intended.
    int EqualTo(const AP_SPLINE&) const { return 0; }

    /// The box of the Cartesian control points; computed when it is not valid or force is not 0.
    const AP_MMBOX& Box(int force);

    AP_CNODE* node0();  ///< the node of knot 0; null for degree 0, as noden
    AP_CNODE* noden();  ///< the node of knot n

    /// Point i, or all of them; a count of 0 is not checked.
    void set(int i, const double* v, int count);
    void set(const double* v, int count);

    /// Derivatives 0 ... k at t to rows of Coords() numbers, nothing behind them. Of a rational
    /// curve the first d numbers of a row are Cartesian, the weight's derivatives stay beside them.
    void eval(double* out, double t, int k) const;

    /// The same into k + 1 arrays of d numbers each, `double*`; null ones are skipped.
    void eval(double t, int k, ...) const;

    /// Knot t r times behind the last knot not above it; returns the first one's index. The box
    /// stays as it is: intended, no point leaves the hull. The shape is kept for r = 1 and changes
    /// for more, by as much as the control points differ there: intended, the points are moved as
    /// for one knot. knotwork::refine keeps it. See KnotTable for a t outside the range.
    int insert(double t, int r);

    void print(std::FILE* file) const;

  private:
    AP_CNODE* nodes();

    int degree_;
    int spans_;
    AP_RATIONALITY rationality_;
    AP_FORM form_;
    AP_TYPE type_;
    knotwork::NodeTable<AP_CNODE> nodes_;
    knotwork::KnotTable knots_;
    int growthStep_ = 8;
};
