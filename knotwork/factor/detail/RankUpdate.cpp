// SPDX-License-Identifier: MIT
#include "knotwork/factor/detail/RankUpdate.h"

#include <algorithm>

#include "knotwork/factor/detail/Pack.h"
#include "knotwork/platform/cpu.h"

namespace knotwork {

namespace {

constexpr int kTileRows = 2 * static_cast<int>(kPack);
constexpr int kBlockRows = 64;  // laid out at a time: with b's columns, they fit the first cache

/// A tile of kTileRows x Cols results; a is laid out tile by tile.
template <int Cols>
[[gnu::always_inline]] inline void advance(int depth, const double* a, const double* const* b,
                                           double* const* c)
{
    Pack upper[Cols];
    Pack lower[Cols];
#pragma GCC unroll 6
    for (int j = 0; j < Cols; ++j) {
        upper[j] = load(c[j]);
        lower[j] = load(c[j] + kPack);
    }
    for (int k = 0; k < depth; ++k, a += kTileRows) {
        const Pack aUpper = load(a);
        const Pack aLower = load(a + kPack);
#pragma GCC unroll 6
        for (int j = 0; j < Cols; ++j) {
            upper[j] += aUpper * b[j][k];
            lower[j] += aLower * b[j][k];
        }
    }
#pragma GCC unroll 6
    for (int j = 0; j < Cols; ++j) {
        store(c[j], upper[j]);
        store(c[j] + kPack, lower[j]);
    }
}

/// Rows [row, row + rows) of a in tiles, column by column; the last tile is filled up with zeros.
void layOut(const RankUpdate& u, int row, int rows, double* packed)
{
    for (int i = 0; i < rows; i += kTileRows) {
        const int here = std::min(kTileRows, rows - i);
        const double* p = u.a + row + i;
        for (int k = 0; k < u.depth; ++k, p += u.aLeading, packed += kTileRows) {
            if (here < kTileRows) std::fill_n(packed, kTileRows, 0.0);
            std::copy_n(p, here, packed);
        }
    }
}

/// Takes Cols columns from column j on, of which `cols` are there, through the rows laid out.
template <int Cols>
[[gnu::always_inline]] inline void advanceColumns(const RankUpdate& u, int j, int cols, int row,
                                                  int rows, const double* packed)
{
    double spare[Cols][kTileRows] = {};  // stands for what is not there
    const double* b[Cols];
    for (int l = 0; l < Cols; ++l) b[l] = u.b + (j + std::min(l, cols - 1)) * u.bLeading;
    for (int i = 0; i < rows; i += kTileRows, packed += u.depth * kTileRows) {
        double* corner = u.c + j * u.cLeading + row + i;
        double* c[Cols];
        const int here = std::min(kTileRows, rows - i);
        const bool whole = here == kTileRows;
        for (int l = 0; l < Cols; ++l) {
            c[l] = whole && l < cols ? corner + l * u.cLeading : spare[l];
            if (!whole && l < cols) std::copy_n(corner + l * u.cLeading, here, spare[l]);
        }
        advance<Cols>(u.depth, packed, b, c);
        for (int l = 0; !whole && l < cols; ++l)
            std::copy_n(spare[l], here, corner + l * u.cLeading);
    }
}

template <int Cols>
[[gnu::always_inline]] inline void advanceRows(const RankUpdate& u, int row, int rows,
                                               const double* packed)
{
    for (int j = 0; j < u.cols; j += Cols)
        advanceColumns<Cols>(u, j, std::min(Cols, u.cols - j), row, rows, packed);
}

using Advance = void (*)(const RankUpdate&, int row, int rows, const double* packed);

void advanceRowsPlain(const RankUpdate& u, int row, int rows, const double* packed)
{
    advanceRows<2>(u, row, rows, packed);
}

#if defined(__x86_64__)
[[gnu::target("avx2")]] void advanceRowsAvx2(const RankUpdate& u, int row, int rows,
                                             const double* packed)
{
    advanceRows<6>(u, row, rows, packed);
}
#endif

Advance choose()
{
#if defined(__x86_64__)
    if (cpuLevel() == CpuLevel::kVectors256) return advanceRowsAvx2;
#endif
    return advanceRowsPlain;
}

}  // namespace

void rankUpdate(const RankUpdate& u)
{
    const Advance advanceThese = choose();
    alignas(64) double packed[kBlockRows * kRankMost];
    for (int row = 0; row < u.rows; row += kBlockRows) {
        const int rows = std::min(kBlockRows, u.rows - row);
        layOut(u, row, rows, packed);
        advanceThese(u, row, rows, packed);
    }
}

}  // namespace knotwork
