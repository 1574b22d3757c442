// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

#include "knotwork/approx/AP_MMBOX.h"
#include "knotwork/export.h"

namespace knotwork {
class KnotTable;
}

/// What curve and surface have in common: control points, dimension and the bounding box.
/// Storage   points lie one after the other, a rational one as (w x, w y, ..., w). Copies of this
///           class share the points and the last holder releases them; the box is copied.
class KNOTWORK_EXPORT AP_GEOMETRIC {
  public:
    explicit AP_GEOMETRIC(int d);  ///< no points; the box's numbers are 0 and it is not valid
    AP_GEOMETRIC(const AP_GEOMETRIC& other);
    AP_GEOMETRIC& operator=(const AP_GEOMETRIC&) = delete;
    virtual ~AP_GEOMETRIC();

    int Dim() const { return dimension_; }
    double* CV() { return points_; }  ///< the first number of point 0
    const double* CV() const { return points_; }

  protected:
    /// A net of rows: the points of one row follow each other, `length` numbers each.
    struct Rows {
        int rows;
        int perRow;
        int length;
    };

    void makePoints(int count, int coords);  ///< zeros, in an array of their own
    void writeNumbers(std::ptrdiff_t at, const double* v, std::ptrdiff_t n);  ///< box: invalid
    /// Widens every row by r points at place q after the table has got its r knots t there.
    void insertPoints(Rows net, const knotwork::KnotTable& refined, int q, double t, int r);
    /// Room for `count` points; when they do not fit the capacity grows by steps. Where there is no
    /// memory, std::bad_alloc, and nothing has changed.
    void reservePoints(int count, int used, int coords, int step);
    const AP_MMBOX& boxOf(int force, int count, bool rational);
    /// Ends the process when a count is given (not 0) and wrong.
    static void checkCount(int count, std::ptrdiff_t expected);

  private:
    double* points_;
    int capacity_;  // in points
    int dimension_;
    AP_MMBOX box_;
    int boxValid_;
};
