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

}  // namespace knotwork
