// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "knotwork/export.h"

namespace knotwork {

/// The B-spline basis of a degree over a full knot vector: count() functions, of which degree + 1
/// are not zero at any one parameter. A periodic one, for closed curves, repeats its knots and its
/// last degree functions are the first ones again, so that it has fewer unknowns than functions.
/// Knots     non-decreasing, count() + degree + 1 of them, in the caller's parameter units. An
///           interior knot belongs to the span at its right, the last one to the last span; outside
///           the range the outer spans' polynomials go on; a periodic basis takes parameters modulo
///           its period.
/// Source    de Boor: A Practical Guide to Splines (Springer 1978), chapters IX and X.
class KNOTWORK_EXPORT BsplineBasis {
  public:
    static constexpr int kMostDegree = 30;

    BsplineBasis() : degree_(0) {}  ///< no basis yet; not valid
    /// Takes the knots as they are; see valid().
    BsplineBasis(int degree, std::vector<double> knots);
    /// Ends of multiplicity degree + 1 around the interior knots.
    static BsplineBasis clamped(int degree, double first, double last,
                                const std::vector<double>& interior);
    /// `spans` equal spans.
    static BsplineBasis uniform(int degree, double first, double last, int spans);

    /// Periodic: `breakpoints` from the start of a period to its end, which is the start again,
    /// both in the list; a repeated knot several times, the seam as often at one end. They are
    /// rounded to a multiple of some eps of the largest knot, so that knots differ from those a
    /// period later by the period exactly and nothing jumps at the seam.
    static BsplineBasis periodic(int degree, std::vector<double> breakpoints);
    static BsplineBasis periodicUniform(int degree, double first, double last, int spans);

    bool operator==(const BsplineBasis& other) const;
    bool operator!=(const BsplineBasis& other) const { return !(*this == other); }

    /// The same kind of basis over other knots, which are taken as they are.
    BsplineBasis withKnots(std::vector<double> knots) const;

    /// Whether degree and knots make a basis: degree 1 to kMostDegree, finite knots in order, first
    /// and last span not empty, no interior knot more than `degree` times, of a periodic one no
    /// knot.
    bool valid() const;

    int degree() const { return degree_; }
    bool closed() const { return closed_; }  ///< whether it is periodic
    int count() const { return static_cast<int>(knots_.size()) - degree_ - 1; }
    /// Functions that differ: function j and function unknowns() + j of a periodic one are one.
    int unknowns() const { return closed_ ? count() - degree_ : count(); }
    const std::vector<double>& knots() const { return knots_; }
    double first() const { return knots_[static_cast<std::size_t>(degree_)]; }
    double last() const { return knots_[static_cast<std::size_t>(count())]; }

    double period() const { return last() - first(); }
    /// The parameter that a periodic basis takes t for, first() <= t < last(); another one: t.
    double wrapped(double t) const;

    std::vector<double> breakpoints() const;  ///< each knot of the range once, the ends too

    /// The s with knots[s] <= t < knots[s + 1], within first() and last(); t is not wrapped.
    int span(double t) const;

    /// The values at t, or the derivatives of an order, of the functions span(t) - degree to
    /// span(t), t wrapped: degree + 1 numbers to `row`. Returns the first function's number.
    int row(double t, int derivative, double* row) const;

    /// The mean of the knots between control point i's own outer two: where it pulls the most.
    double greville(int i) const;

  private:
    double knot(int i) const { return knots_[static_cast<std::size_t>(i)]; }

    int degree_;
    std::vector<double> knots_;
    bool closed_ = false;
};

}  // namespace knotwork
