// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/export.h"
#include "knotwork/geometry/TtupleMatrix.h"
#include "knotwork/geometry/TtupleVector.h"
#include "knotwork/linalg/DoubleVec.h"
#include "knotwork/platform/base.h"
#include "knotwork/platform/kernel.h"

/// A parameter direction of a surface.
enum TsurfaceDirection { kDirectionU = 0, kDirectionV = 1 };

/// Converters between the kernel library's records and the library's containers. They read and
/// write the nodes that a record has and never make any.
/// Answers   false, or an empty container, for a null record, counts that differ and lists that run
///           out of nodes, points or knot cells; what was written until then stays. Never throws.
/// Knots     a record keeps all knots but the two outermost, which are taken to repeat their
///           neighbours; for the periodic form, 2, they lie 1.0 further out. Nodes of a repeated
///           knot may share one cell: what is written later wins.
class KNOTWORK_EXPORT TnkRw {
  public:
    static void vToDv(const double* p, DoubleVec& v, int n);  ///< n < 0: the whole length of v
    static void dvToV(const DoubleVec& v, double* p, int n);  ///< n is clamped to v
    static void dvToP4(const DoubleVec& v, T4dDblPoint& P);   ///< w is 1 unless v has four numbers
    static void p4ToDv(const T4dDblPoint& P, DoubleVec& v);   ///< w only when v has four numbers
    static void nkToT4dDblPoint(double* p, T4dDblPoint& P, int d, int rational);
    static void T4dDblPointToNk(const T4dDblPoint& P, double* p, int d, int rational);

    /// c(i + j) += a(i) b(j), for every i and j: c is meant to come filled with zeros. A c of
    /// another length than a and b give is resized first, keeping what it has; true then.
    static bool polyMultiply(const DoubleVec& a, const DoubleVec& b, DoubleVec& c);

    static DoubleVec cpListToDv(const nk_cp_list* l);                  ///< the first coordinates
    static bool dvToCpList(int k, const DoubleVec& v, nk_cp_list* l);  ///< coordinate k := v
    static TtupleVector cpListToTv(int d, const nk_cp_list* l);
    static bool tvToCpList(const TtupleVector& t, nk_cp_list* l);
    static TtupleMatrix spArrayToTm(int d, const nk_sp_array* a);

    // Control points. Where tuples and points differ in length the shorter one counts; writing with
    // fillWeights sets every number of a point beyond the tuple to 1.0, Cartesian ones too.
    static bool cvsToTv(const nk_spline* s, TtupleVector& t);
    static bool tvToCvs(const TtupleVector& t, nk_spline* s, bool fillWeights);
    static bool cvsToTm(const nk_surface* s, TtupleMatrix& m);  ///< rows run in u, columns in v
    static bool tmToCvs(const TtupleMatrix& m, nk_surface* s, bool fillWeights);

    // Full knot vectors, 2 degree + spans + 1 numbers. Reading takes longer vectors, writing does
    // not, and the outermost two numbers go nowhere.
    static bool knotsToDv(const nk_spline* s, DoubleVec& v);
    static bool dvToKnots(const DoubleVec& v, nk_spline* s);
    static bool knotsToDvOne(const nk_surface* s, TsurfaceDirection dir, DoubleVec& v);
    static bool knotsToDv(const nk_surface* s, DoubleVec& u, DoubleVec& v);
    static bool dvToKnotsOne(const DoubleVec& v, TsurfaceDirection dir, nk_surface* s);
    static bool dvToKnots(const DoubleVec& u, const DoubleVec& v, nk_surface* s);

  private:
    TnkRw() = default;
    ~TnkRw() = default;
    void operator=(const TnkRw&) {}
};
