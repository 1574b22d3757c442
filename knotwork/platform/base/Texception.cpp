// SPDX-License-Identifier: MIT
#include "knotwork/platform/base/Texception.h"

#include "knotwork/platform/base/TmemoryException.h"
#include "knotwork/platform/base/Tmetaclass.h"

namespace {

/// Copies an exception into the instance that its class keeps; onto itself is skipped.
template <class Exception>
Exception* keep(const Exception& exception)
{
    static Exception kept;
    if (&kept != &exception) kept = exception;
    return &kept;
}

}  // namespace

Texception::Texception() = default;
Texception::Texception(const Texception&) = default;
Texception& Texception::operator=(const Texception&) = default;
Texception::~Texception() = default;

Tmetaclass* Texception::sTypeof()
{
    static Tmetaclass record("Texception", nullptr, []() -> void* { return new Texception; });
    return &record;
}

Tmetaclass* Texception::typeof() const
{
    return sTypeof();
}

void* Texception::cast(Tmetaclass* m)
{
    return m == Texception::sTypeof() ? this : nullptr;
}

Texception* Texception::cache() const
{
    return keep(*this);
}

TmemoryException::~TmemoryException() = default;

Tmetaclass* TmemoryException::sTypeof()
{
    static Tmetaclass record("TmemoryException", Texception::sTypeof(),
                             []() -> void* { return new TmemoryException; });
    return &record;
}

Tmetaclass* TmemoryException::typeof() const
{
    return sTypeof();
}

void* TmemoryException::cast(Tmetaclass* m)
{
    return m == TmemoryException::sTypeof() ? this : Texception::cast(m);
}

Texception* TmemoryException::cache() const
{
    return keep(*this);
}
