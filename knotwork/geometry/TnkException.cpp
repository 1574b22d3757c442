// SPDX-License-Identifier: MIT
#include "knotwork/geometry/TnkException.h"

namespace {

constexpr int kKernelOutOfMemory = 902;

}  // namespace

TnkException::~TnkException() = default;

Tmetaclass* TnkException::sTypeof()
{
    static Tmetaclass record("TnkException", Texception::sTypeof(),
                             []() -> void* { return new TnkException; });
    return &record;
}

Tmetaclass* TnkException::typeof() const
{
    return sTypeof();
}

void* TnkException::cast(Tmetaclass* m)
{
    return m == TnkException::sTypeof() ? this : Texception::cast(m);
}

Texception* TnkException::cache() const
{
    static TnkException kept;
    if (&kept != this) kept = *this;
    return &kept;
}

TnkException* TnkException::construct(Tmetaclass* m)
{
    if (m == nullptr || !m->istype(sTypeof())) return nullptr;
    return static_cast<TnkException*>(m->construct());
}

void NK_raiseException(int code)
{
    if (code == kKernelOutOfMemory) throw TmemoryException();
    throw TnkException(code);
}
