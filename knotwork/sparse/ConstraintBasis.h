// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

#include "knotwork/linalg/detail/Array.h"
#include "knotwork/sparse/BandTriangle.h"
#include "knotwork/sparse/SpanRows.h"

namespace knotwork {

/// Sparse constraint rows C reduced from the right: C H = [0 T] up to the order of columns, with H
/// a product of reflections and T a triangle. Each reflection acts only on the columns that its row
/// has entries in, and gathers them in the one where the row is largest: that unknown is fixed by
/// the constraint, the others stay free. So what H is applied to stays sparse.
class ConstraintBasis {
  public:
    ConstraintBasis(const SpanRows& rows, int firstConstraint);

    int constraints() const { return static_cast<int>(pivots_.size()); }
    int freeCols() const { return cols_ - constraints(); }
    bool sound() const { return sound_; }  ///< false when a row had nothing left to reflect
    double inverseNorm() const;            ///< an estimate for T^-1, see InverseNorm.h
    double condition() const;              ///< the same with T's rows scaled to length 1
    double largestLength() const;          ///< of the rows of C
    int mostCoupled() const;               ///< entries in a row of T beside the diagonal

    /// The free columns of R H, as rows of spans.
    SpanRows freePart(const BandTriangle& R) const;

    /// y := T^-1 y, and T^-T y, for right-hand sides in lanes.
    template <int Lanes>
    void solve(double* y) const;
    template <int Lanes>
    void solveTransposed(double* y) const;

    /// x := H y, where y has the free numbers and those of the pivots; null for zeros.
    template <int Lanes>
    void combine(const double* free, const double* fixed, double* x) const;
    /// The other way, y := H^T x, which overwrites x; null for what is not asked for.
    template <int Lanes>
    void split(double* x, double* free, double* fixed) const;

  private:
    struct Entry {
        int at;  // a column, or for T the number of an earlier constraint
        double value;
    };
    /// Lists of entries, one after the other.
    struct Lists {
        const Entry* begin(int i) const { return entries.data() + starts[i]; }
        const Entry* end(int i) const { return begin(i + 1); }
        void close() { starts.push_back(entries.size()); }

        Array<Entry> entries;
        Array<std::ptrdiff_t> starts = {0};
    };
    /// A row in the making: zero outside of columns [first, end).
    struct WideRow {
        Array<double> entries;
        int first;
        int end;
    };

    static void load(WideRow& row, int first, const double* values, int count);
    static void clear(WideRow& row);
    void reflect(WideRow& row) const;
    template <int Lanes>
    void reflectBy(int i, double* x) const;
    void reduce(const WideRow& row);
    void listFreeColumns();
    double inverseNormOf(const Array<double>& rowScales) const;

    int cols_;
    bool sound_ = true;
    Array<int> pivots_;
    Array<int> freeCols_;
    Array<char> fixed_;    // whether a column is a pivot
    Array<char> touched_;  // whether a reflection acts on a column
    Lists vectors_;        // of the reflections I - tau v v^T
    Array<double> taus_;
    Lists lower_;  // T below its diagonal
    Array<double> diagonal_;
    Array<double> lengths_;  // of the rows of C
};

}  // namespace knotwork
