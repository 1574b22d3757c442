// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <vector>

#include "knotwork/factor/BandTriangle.h"
#include "knotwork/factor/SpanRows.h"

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
    int pivot(int i) const { return pivots_[static_cast<std::size_t>(i)]; }
    int freeColumn(int k) const { return freeCols_[static_cast<std::size_t>(k)]; }
    bool sound() const { return sound_; }  ///< false when a row had nothing left to reflect
    double inverseNorm() const;            ///< an estimate of the 1-norm of T^-1
    double condition() const;              ///< the same with T's rows scaled to length 1
    double largestLength() const;          ///< of the rows of C

    /// The free columns of R H, as rows of spans.
    SpanRows freePart(const BandTriangle& R) const;

    /// y := T^-1 y, and x := H x, for right-hand sides in lanes.
    template <int Lanes>
    void solve(double* y) const;
    template <int Lanes>
    void restore(double* x) const;
    /// The other way: y := T^-T y, and x := H^T x.
    template <int Lanes>
    void solveTransposed(double* y) const;
    template <int Lanes>
    void reflect(double* x) const;

  private:
    struct Entry {
        int at;  // a column, or for T the number of an earlier constraint
        double value;
    };
    /// Lists of entries, one after the other.
    struct Lists {
        const Entry* begin(int i) const
        {
            return entries.data() + starts[static_cast<std::size_t>(i)];
        }
        const Entry* end(int i) const { return begin(i + 1); }
        void close() { starts.push_back(entries.size()); }

        std::vector<Entry> entries;
        std::vector<std::size_t> starts = {0};
    };
    /// A row in the making: zero outside of columns [first, end).
    struct WideRow {
        std::vector<double> entries;
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
    double inverseNormOf(const std::vector<double>& rowScales) const;

    int cols_;
    bool sound_ = true;
    std::vector<int> pivots_;
    std::vector<int> freeCols_;
    std::vector<char> fixed_;    // whether a column is a pivot
    std::vector<char> touched_;  // whether a reflection acts on a column
    Lists vectors_;              // of the reflections I - tau v v^T
    std::vector<double> taus_;
    Lists lower_;  // T below its diagonal
    std::vector<double> diagonal_;
    std::vector<double> lengths_;  // of the rows of C
};

}  // namespace knotwork
