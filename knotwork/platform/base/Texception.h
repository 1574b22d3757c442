// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/platform/export.h"

class Tmetaclass;

/// Root of the exceptions that cross between host and library.
class KNOTWORK_PLATFORM_EXPORT Texception {
  public:
    Texception();
    Texception(const Texception& other);
    Texception& operator=(const Texception& other);

    virtual Tmetaclass* typeof() const;
    virtual void* cast(Tmetaclass* m);  ///< this, seen as the class of m; null when it is none
    virtual ~Texception();
    virtual Texception* cache() const;  ///< copies this into the class's one instance kept for it

    static Tmetaclass* sTypeof();
};
