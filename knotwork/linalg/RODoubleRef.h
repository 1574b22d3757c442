// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/export.h"

/// What triangular matrices give for an element that may be written: the element itself, or,
/// outside the stored triangle, a read-only zero that all share. Assignment writes the value
/// through, from a number and from another reference alike; construction refers to the same
/// element.
/// Errors    0x4002 when another value than the zero's is assigned to it; nothing is written.
class KNOTWORK_EXPORT RODoubleRef {
  public:
    explicit RODoubleRef(double& stored) : target_(&stored), readOnly_(false) {}
    RODoubleRef(const RODoubleRef&) = default;
    static RODoubleRef sharedZero();

    operator double() const { return *target_; }
    RODoubleRef& operator=(double x);
    RODoubleRef& operator=(const RODoubleRef& r) { return *this = static_cast<double>(r); }
    RODoubleRef& operator+=(double x) { return *this = *target_ + x; }
    RODoubleRef& operator-=(double x) { return *this = *target_ - x; }
    RODoubleRef& operator*=(double x) { return *this = *target_ * x; }
    RODoubleRef& operator/=(double x) { return *this = *target_ / x; }

  private:
    RODoubleRef(const double* target, bool readOnly) : target_(target), readOnly_(readOnly) {}

    const double* target_;  // const, for the zero is
    bool readOnly_;
};
