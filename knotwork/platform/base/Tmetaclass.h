// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/platform/export.h"

/// The run-time record of a class: its name, its parent's record and how to make an object of it.
/// Records are static objects of the classes they describe; neither name nor parent is copied.
class KNOTWORK_PLATFORM_EXPORT Tmetaclass {
  public:
    typedef void* (*Factory)();

    Tmetaclass(const char* name, Tmetaclass* parent, Factory factory);
    Tmetaclass(const Tmetaclass&) = delete;
    Tmetaclass& operator=(const Tmetaclass&) = delete;

    const char* name() const { return name_; }
    Tmetaclass* parent() const { return parent_; }
    void* construct() const;                        ///< a new object, null without a factory
    bool istype(const Tmetaclass* ancestor) const;  ///< whether it is this record or above it

  private:
    const char* name_;
    Tmetaclass* parent_;
    Factory factory_;
};
