// SPDX-License-Identifier: MIT
#include "knotwork/platform/base/Tmetaclass.h"

Tmetaclass::Tmetaclass(const char* name, Tmetaclass* parent, Factory factory)
    : name_(name), parent_(parent), factory_(factory)
{
}

void* Tmetaclass::construct() const
{
    return factory_ != nullptr ? factory_() : nullptr;
}

bool Tmetaclass::istype(const Tmetaclass* ancestor) const
{
    if (ancestor == nullptr) return false;
    for (const Tmetaclass* m = this; m != nullptr; m = m->parent_)
        if (m == ancestor) return true;
    return false;
}
