// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

#include "knotwork/platform/cpu.h"

namespace knotwork::detail {

#if defined(__x86_64__) && !defined(__clang__)
template <class Loop>
[[gnu::target("avx2")]] void inAvx2(Loop& loop)
{
    loop();
}

/// Runs a loop over n elements, vectorised for the CPU at hand. Every element is computed by itself
/// and nothing is contracted, so the bits are the plain loop's.
template <class Loop>
void inWideVectors(std::size_t n, Loop loop)
{
    constexpr std::size_t kFew = 8;  // elements that are not worth another call
    if (n > kFew && knotwork::cpuLevel() == knotwork::CpuLevel::kVectors256)
        inAvx2(loop);
    else
        loop();
}
#else
template <class Loop>
void inWideVectors(std::size_t, Loop loop)
{
    loop();
}
#endif

// The element loops. Contiguous operands get a loop of their own, which the compiler vectorises;
// operands may overlap, and then the order of the elements is part of the result.

template <class T, class Operation>
void mapElements(T* out, std::ptrdiff_t outStride, const T* in, std::ptrdiff_t inStride,
                 std::size_t n, Operation operation)
{
    if (outStride == 1 && inStride == 1) {
        inWideVectors(n, [=]() mutable {
            for (std::size_t i = 0; i < n; ++i) out[i] = operation(in[i]);
        });
        return;
    }
    for (std::size_t i = 0; i < n; ++i, out += outStride, in += inStride) *out = operation(*in);
}

template <class T, class Operation>
void zipElements(T* out, std::ptrdiff_t outStride, const T* a, std::ptrdiff_t aStride, const T* b,
                 std::ptrdiff_t bStride, std::size_t n, Operation operation)
{
    if (outStride == 1 && aStride == 1 && bStride == 1) {
        inWideVectors(n, [=]() mutable {
            for (std::size_t i = 0; i < n; ++i) out[i] = operation(a[i], b[i]);
        });
        return;
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
