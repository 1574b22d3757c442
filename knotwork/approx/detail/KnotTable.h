// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

namespace knotwork {

/// The knots of one parameter direction: 2p + n - 1 of them, indices 1 - p ... n + p - 1. Knots 0
/// and n bound the parameter range; the two outermost knots of a full knot vector are not kept.
/// Each knot has a repeat flag: it is the same knot as its predecessor, not just of equal value.
/// Degree 0 is the exception: of its range only the interior knots 1 ... n - 1 are there.
/// Besides the knots the table keeps what evaluation divides by, since divisions take most of its
/// time; every change of knots renews that, so that evaluation changes nothing.
/// Limits    where knots differ, they differ by more than the smallest normal number.
/// Source    insertion: W. Boehm, Inserting new knots into B-spline curves, Computer-Aided Design
///           12 (1980).
class KnotTable {
  public:
    KnotTable(int degree, int spans);   ///< zeros, none repeated
    KnotTable(const KnotTable& other);  ///< trimmed to the knots that are there
    KnotTable& operator=(const KnotTable&) = delete;

    int degree() const { return degree_; }
    int spans() const { return spans_; }
    int first() const { return 1 - degree_; }
    int last() const { return spans_ + degree_ - 1; }
    int count() const { return 2 * degree_ + spans_ - 1; }
    double operator()(int i) const { return *at(i); }
    const double* at(int i) const { return knots_.get() + (i + degree_ - 1); }
    bool repeated(int i) const { return repeats_.get()[i + degree_ - 1] != 0; }

    /// The reciprocal widths of a span's triangle, level after level: in level r, 1 ... p, those of
    /// knot (span + i) - knot (span + i + r - 1 - p) for i = 1 ... p - r + 1.
    const double* reciprocals(int span) const
    {
        return reciprocals_.data() + std::ptrdiff_t{span} * triangleSize(degree_);
    }
    static constexpr int triangleSize(int degree) { return degree * (degree + 1) / 2; }

    void put(int i, double value);  ///< a knot of its own
    void putRepeated(int i);        ///< the same knot as knot i - 1
    void renewReciprocals();        ///< to be called when all knots are put

    /// Room for as many more knots, so that inserting them needs no memory; without memory
    /// std::bad_alloc, and nothing has changed.
    void reserve(int more);

    /// Puts r knots t behind the last knot not above t (r < 1: none) and returns the first one's
    /// index. That first one is a knot of its own even where its predecessor is equal: intended.
    /// Knots are found among 0 ... n, or behind all of them. So on an unclamped range a t between
    /// knot n and the last knot lands before knot n, and one below knot 0 lands behind it: the
    /// order of the knots is then broken. Intended.
    int insert(double t, int r);

    /// Moves the points of one line of control points that were widened at q for the knots t that
    /// `insert` put there: one pass of convex combinations, whatever the number of knots (intended:
    /// the shape is kept for a single knot). Each of the `count` points has `length` numbers.
    void blend(int q, double t, double* points, int length, int count) const;

  private:
    std::size_t reciprocalCount(int spans) const;

    int degree_;
    int spans_;
    int capacity_;
    std::unique_ptr<double[]> knots_;  // the first one is knot 1 - p
    std::unique_ptr<unsigned char[]> repeats_;
    std::vector<double> reciprocals_;
    int growthStep_ = 8;
};

}  // namespace knotwork
