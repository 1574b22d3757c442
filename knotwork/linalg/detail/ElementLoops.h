// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

#include "knotwork/platform/cpu.h"

namespace knotwork::detail {

/// Every element is computed by itself, so the bits are the plain loop's at every level.
struct MapLoop {
    template <class T, class Operation>
    [[gnu::always_inline]] void operator()(T* out, const T* in, std::size_t n,
                                           Operation& operation) const
    {
        for (std::size_t i = 0; i < n; ++i) out[i] = operation(in[i]);
    }
};
struct ZipLoop {
    template <class T, class Operation>
    [[gnu::always_inline]] void operator()(T* out, const T* a, const T* b, std::size_t n,
                                           Operation& operation) const
    {
        for (std::size_t i = 0; i < n; ++i) out[i] = operation(a[i], b[i]);
    }
};
constexpr std::size_t kFew = 8;  // elements that are not worth another call

// The element loops. Contiguous operands get a loop of their own, which the compiler vectorises;
// operands may overlap, and then the order of the elements is part of the result.

template <class T, class Operation>
void mapElements(T* out, std::ptrdiff_t outStride, const T* in, std::ptrdiff_t inStride,
                 std::size_t n, Operation operation)
{
    if (outStride == 1 && inStride == 1) {
        if (n > kFew) return runKernel<CpuLevel::kVectors256>(MapLoop(), out, in, n, operation);
        return MapLoop()(out, in, n, operation);
    }
    for (std::size_t i = 0; i < n; ++i, out += outStride, in += inStride) *out = operation(*in);
}

template <class T, class Operation>
void zipElements(T* out, std::ptrdiff_t outStride, const T* a, std::ptrdiff_t aStride, const T* b,
                 std::ptrdiff_t bStride, std::size_t n, Operation operation)
{
    if (outStride == 1 && aStride == 1 && bStride == 1) {
        if (n > kFew) return runKernel<CpuLevel::kVectors256>(ZipLoop(), out, a, b, n, operation);
        return ZipLoop()(out, a, b, n, operation);
    }
    for (std::size_t i = 0; i < n; ++i, out += outStride, a += aStride, b += bStride)
        *out = operation(*a, *b);
}

template <class T, class Accumulator, class Operation>
Accumulator foldElements(const T* p, std::ptrdiff_t stride, std::size_t n, Accumulator start,
                         Operation operation)
{
    for (std::size_t i = 0; i < n; ++i, p += stride) start = operation(start, *p);
    return start;
}

}  // namespace knotwork::detail
