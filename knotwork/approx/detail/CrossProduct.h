// SPDX-License-Identifier: MIT
#pragma once

#include <cstring>

namespace knotwork {

inline void crossProduct(const double* a, const double* b, double* product)
{
    product[0] = a[1] * b[2] - a[2] * b[1];
    product[1] = a[2] * b[0] - a[0] * b[2];
    product[2] = a[0] * b[1] - a[1] * b[0];
}

/// Three numbers in registers, read as two and one. Numbers that were just written that way come
/// straight from the processor's store buffer; any other pair of them would wait for the cache.
struct Triple {
    typedef double Pair __attribute__((vector_size(16)));

    static Triple read(const double* from)
    {
        Triple triple = {{}, from[2]};
        std::memcpy(&triple.xy, from, sizeof triple.xy);
        return triple;
    }
    void write(double* to) const
    {
        std::memcpy(to, &xy, sizeof xy);
        to[2] = z;
    }

    Pair xy;
    double z;
};

inline Triple crossProduct(const Triple& a, const Triple& b)
{
    return {Triple::Pair{a.xy[1] * b.z - a.z * b.xy[1], a.z * b.xy[0] - a.xy[0] * b.z},
            a.xy[0] * b.xy[1] - a.xy[1] * b.xy[0]};
}

}  // namespace knotwork
