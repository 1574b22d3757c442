// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/export.h"
#include "knotwork/platform/base.h"

/// An error of the kernel library, by its code.
class KNOTWORK_EXPORT TnkException : public Texception {
  public:
    explicit TnkException(int code = 0) : code_(code) {}
    TnkException(const TnkException& other) = default;
    TnkException& operator=(const TnkException& other) = default;

    Tmetaclass* typeof() const override;
    void* cast(Tmetaclass* m) override;
    ~TnkException() override;
    Texception* cache() const override;  ///< the process's one kept instance, now equal to this

    int errorCode() const { return code_; }
    static Tmetaclass* sTypeof();
    /// A new object of a class that is this one or derives from it; null for any other.
    static TnkException* construct(Tmetaclass* m);

  private:
    int code_;
};

/// What the kernel library's error reporting is wired to: throws TmemoryException for code 902 and
/// a TnkException with the code for every other.
KNOTWORK_EXPORT void NK_raiseException(int code);
