// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstring>

// The helpers are always inlined: no vector crosses a call, so no calling convention is at stake.
#pragma GCC diagnostic ignored "-Wpsabi"

namespace knotwork {

/// Four doubles that are computed together; a CPU with narrower vectors takes them in parts.
typedef double Pack __attribute__((vector_size(32)));
constexpr std::ptrdiff_t kPack = 4;

[[gnu::always_inline]] inline Pack load(const double* p)
{
    Pack pack;
    std::memcpy(&pack, p, sizeof pack);
    return pack;
}

[[gnu::always_inline]] inline void store(double* p, const Pack& pack)
{
    std::memcpy(p, &pack, sizeof pack);
}

/// out[c] = x . column c, in four lanes, for `Count` columns of n numbers.
template <int Count>
[[gnu::always_inline]] inline void dots(std::ptrdiff_t n, const double* x, const double* columns,
                                        std::ptrdiff_t leading, double* out)
{
    Pack sums[Count] = {};
    std::ptrdiff_t i = 0;
    for (; i + kPack <= n; i += kPack) {
        const Pack pack = load(x + i);
        for (int c = 0; c < Count; ++c) sums[c] += pack * load(columns + c * leading + i);
    }
    for (int c = 0; c < Count; ++c) out[c] = (sums[c][0] + sums[c][1]) + (sums[c][2] + sums[c][3]);
    for (; i < n; ++i)
        for (int c = 0; c < Count; ++c) out[c] += x[i] * columns[c * leading + i];
}

}  // namespace knotwork
