// SPDX-License-Identifier: MIT
#pragma once

#include <cmath>
#include <vector>

#include "knotwork/fit/SmoothedSystem.h"

namespace knotwork {

/// How much a penalty has to count for the smallest generalised cross-validation
///   (sum w |r|^2 / (d M)) / (1 - f/M)^2,
/// f being the degrees of freedom, M the number of points and d that of coordinates: of a curve in
/// one system or several, a column of unknowns each or more, which share one factor.
/// Range      the factors for which f is between its least possible value + .01 and the free
///            unknowns, or the points where those are fewer, - .01; less where systems at that end
///            are too ill-conditioned to tell.
/// Method     steps of half a decade over the range, then Brent's search about the best one.
/// Source     Craven, Wahba: Smoothing noisy data with spline functions, Numer. Math. 31 (1979);
///            Brent: Algorithms for minimization without derivatives (Prentice-Hall 1973).
class SmoothingSearch {
  public:
    /// unitSquares: for each right-hand side, system after system, what its squares count.
    /// dimension: coordinates of a point; right-hand sides, unless a system holds several in one.
    /// rightSquares: those of the points themselves, each times what it counts. balanced: a factor
    /// with which data and penalty are about as large.
    SmoothingSearch(std::vector<const SmoothedSystem*> systems, std::vector<double> unitSquares,
                    int dimension, double points, double rightSquares, double balanced);

    static constexpr double kUnknown = -1.0;
    struct Choice {
        double factor = 0.0;
        double freedom = 0.0;
        bool atEnd = false;  ///< of the range
    };
    /// leastFreedom: the limit for factors without end, or kUnknown.
    Choice best(double leastFreedom) const;
    /// Where the system is too ill-conditioned to tell, from the nearest one that is not: a strong
    /// penalty takes what freedom is left in proportion to its factor. NaN where that says nothing.
    double freedomAt(double factor, double leastFreedom) const;

  private:
    /// What is known at a factor, of which `place` is the logarithm.
    struct Point {
        double place;
        double freedom;
        double score;
        bool sound;
    };
    struct Range {
        double least;
        double most;
        bool holds(const Point& p) const
        {
            return p.sound && std::isfinite(p.score) && p.freedom >= least && p.freedom <= most;
        }
    };
    Point at(double place) const;
    double mean(double (*of)(const SmoothedSystem&)) const;
    double limitOfFreedom() const;
    std::vector<Point> scanned(const Range& range) const;
    Point endOf(const Range& range, Point inside, double outside) const;
    Point narrowed(double left, double right, Point best) const;

    std::vector<const SmoothedSystem*> systems_;
    std::vector<double> unitSquares_;
    int dimension_;
    double points_;
    double noSquares_;  // what rounding leaves where nothing is left
    double balanced_;
};

}  // namespace knotwork
