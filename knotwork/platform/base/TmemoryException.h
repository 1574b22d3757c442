// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/platform/base/Texception.h"
#include "knotwork/platform/export.h"

/// Memory ran out.
class KNOTWORK_PLATFORM_EXPORT TmemoryException : public Texception {
  public:
    Tmetaclass* typeof() const override;
    void* cast(Tmetaclass* m) override;
    ~TmemoryException() override;
    Texception* cache() const override;

    static Tmetaclass* sTypeof();
};
