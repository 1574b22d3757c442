// SPDX-License-Identifier: MIT
#include "knotwork/linalg/detail/MatrixProduct.h"

#include <algorithm>
#include <cstring>

#include "knotwork/platform/cpu.h"

// The tile's helpers are always inlined: no vector crosses a call, so no calling convention is at
// stake.
#pragma GCC diagnostic ignored "-Wpsabi"

namespace knotwork {

namespace {

// Integers are multiplied and added in the unsigned type, where overflow wraps.
template <class T>
struct Lane;
template <>
struct Lane<double> {
    using Type = double;
};
template <>
struct Lane<int> {
    using Type = unsigned;
};

// What is packed of a, on the stack: small enough for any thread's, and for the second-level cache.
constexpr std::size_t kDepth = 128;  // values of k that a packed panel holds
constexpr std::size_t kPackedRows = 64;

/// Tiles of results: 2 vectors down, some columns across, as many as the registers hold.
template <class T, CpuLevel kLevel>
struct Tiles {
    static constexpr int kBytes = 16 << static_cast<int>(kLevel);
    using Number = typename Lane<T>::Type;
    typedef Number Vector __attribute__((vector_size(kBytes)));
    // The same vector anywhere in an array of T.
    typedef Number Stored __attribute__((vector_size(kBytes), aligned(alignof(T)), may_alias));
    static constexpr int kLanes = kBytes / static_cast<int>(sizeof(T));
    static constexpr int kRows = 2 * kLanes;
    static constexpr int kLine = 64 / static_cast<int>(sizeof(T));  // of a cache
    static constexpr int kCols = 4 + 2 * static_cast<int>(kLevel);

    [[gnu::always_inline]] static inline Vector load(const T* p)
    {
        return *reinterpret_cast<const Stored*>(p);
    }
    [[gnu::always_inline]] static inline void store(T* p, const Vector& v)
    {
        *reinterpret_cast<Stored*>(p) = v;
    }

    /// c := c + a b over `depth` values of k, in order; c := 0 + a b when the sums begin here. a is
    /// packed, so that the tile's rows lie together for each k; b has a pointer for each column.
    /// `next`, results that are wanted soon, are fetched meanwhile.
    template <int Cols>
    [[gnu::always_inline]] static inline void advance(std::size_t depth, const T* a,
                                                      const T* const* b, bool begin, T* c,
                                                      std::ptrdiff_t columnStep, const T* next)
    {
        Vector upper[Cols] = {};
        Vector lower[Cols] = {};
        const T* column[Cols];
#pragma GCC unroll 8
        for (int j = 0; j < Cols; ++j) column[j] = b[j];
        if (!begin) {
#pragma GCC unroll 8
            for (int j = 0; j < Cols; ++j) {
                upper[j] = load(c + j * columnStep);
                lower[j] = load(c + j * columnStep + kLanes);
            }
        }
#pragma GCC unroll 8
        for (int j = 0; j < Cols; ++j)
            for (int i = 0; i < kRows; i += kLine) __builtin_prefetch(next + j * columnStep + i, 1);
#pragma GCC unroll 4
        for (std::size_t k = 0; k < depth; ++k, a += kRows) {
            const Vector aUpper = load(a);
            const Vector aLower = load(a + kLanes);
#pragma GCC unroll 8
            for (int j = 0; j < Cols; ++j) {
                const auto factor = static_cast<Number>(column[j][k]);
                upper[j] += aUpper * factor;
                lower[j] += aLower * factor;
            }
        }
#pragma GCC unroll 8
        for (int j = 0; j < Cols; ++j) {
            store(c + j * columnStep, upper[j]);
            store(c + j * columnStep + kLanes, lower[j]);
        }
    }
};

/// Lays out rows [row, row + rows) of a for k in [k, k + depth): panels of Width rows, k by k. The
/// last panel is filled up with zeros, whose results nobody reads.
template <int Width, class T>
[[gnu::always_inline]] inline void pack(const MatrixOperand<T>& a, std::size_t row,
                                        std::size_t rows, std::size_t k, std::size_t depth,
                                        T* packed)
{
    const T* corner = a.at(row, k);
    for (; rows >= Width; rows -= Width, corner += Width * a.rowStep) {
        const T* p = corner;
        for (std::size_t l = 0; l < depth; ++l, p += a.colStep, packed += Width)
            if (a.rowStep == 1)
                std::memcpy(packed, p, Width * sizeof(T));
            else
                for (int i = 0; i < Width; ++i) packed[i] = p[i * a.rowStep];
    }
    if (rows == 0) return;
    for (std::size_t l = 0; l < depth; ++l, corner += a.colStep, packed += Width) {
        std::fill_n(packed, Width, T{0});
        const T* p = corner;
        for (std::size_t i = 0; i < rows; ++i, p += a.rowStep) packed[i] = *p;
    }
}

/// Some rows of the product over some values of k: a's part is packed, b's begins at k.
template <class T>
struct Strip {
    std::size_t rows;
    std::size_t k;
    std::size_t depth;
    const T* packed;
    bool begin;
    T* c;
    std::ptrdiff_t columnStep;
};

/// Columns [j, j + Cols) of a strip: b's are read where they lie if each is contiguous, else from
/// copies.
template <class TilesT, int Cols, class T>
[[gnu::always_inline]] inline void advanceColumns(const Strip<T>& s, const MatrixOperand<T>& b,
                                                  std::size_t j, T* copies)
{
    constexpr std::size_t kRows = TilesT::kRows;
    const T* columns[Cols];
    for (std::size_t l = 0; l < Cols; ++l) {
        columns[l] = b.at(s.k, j + l);
        if (b.rowStep == 1) continue;
        T* copy = copies + l * kDepth;
        for (std::size_t i = 0; i < s.depth; ++i)
            copy[i] = columns[l][static_cast<std::ptrdiff_t>(i) * b.rowStep];
        columns[l] = copy;
    }
    T* c = s.c + static_cast<std::ptrdiff_t>(j) * s.columnStep;
    const auto ahead = static_cast<std::ptrdiff_t>(std::min<std::size_t>(Cols, b.cols - j - Cols));
    const T* next = c + ahead * s.columnStep;
    std::size_t i = 0;
    for (; i + kRows <= s.rows; i += kRows)
        TilesT::template advance<Cols>(s.depth, s.packed + i * s.depth, columns, s.begin, c + i,
                                       s.columnStep, next + i);
    if (i == s.rows) return;
    T whole[kRows * Cols] = {};  // a tile of which only some rows are there
    for (std::size_t l = 0; l < Cols; ++l)
        std::copy_n(c + i + static_cast<std::ptrdiff_t>(l) * s.columnStep, s.begin ? 0 : s.rows - i,
                    whole + l * kRows);
    TilesT::template advance<Cols>(s.depth, s.packed + i * s.depth, columns, s.begin, whole, kRows,
                                   whole);
    for (std::size_t l = 0; l < Cols; ++l)
        std::copy_n(whole + l * kRows, s.rows - i,
                    c + i + static_cast<std::ptrdiff_t>(l) * s.columnStep);
}

std::size_t roundedUp(std::size_t n, std::size_t step)
{
    return (n + step - 1) / step * step;
}

/// n in equal parts of at most `most`, each but the last one a multiple of `step`.
std::size_t equalPart(std::size_t n, std::size_t most, std::size_t step)
{
    const std::size_t parts = (n + most - 1) / most;
    return roundedUp((n + parts - 1) / parts, step);
}

/// c := a b, or c + a b when the sums go on from what c holds; its columns lie columnStep apart.
struct ProductKernel {
    template <CpuLevel kLevel, class T>
    [[gnu::always_inline]] inline void operator()(AtLevel<kLevel>, const MatrixOperand<T>& a,
                                                  const MatrixOperand<T>& b, bool begin, T* c,
                                                  std::ptrdiff_t columnStep) const
    {
        using TilesT = Tiles<T, kLevel>;
        const std::size_t n = b.cols;
        const std::size_t depth = equalPart(a.cols, kDepth, 1);
        const std::size_t rows = equalPart(a.rows, kPackedRows, TilesT::kRows);
        alignas(64) T packed[kPackedRows * kDepth];
        T copies[TilesT::kCols * kDepth];

        Strip<T> s = {0, 0, 0, packed, false, nullptr, columnStep};
        for (s.k = 0; s.k < a.cols; s.k += depth) {
            s.depth = std::min(depth, a.cols - s.k);
            s.begin = begin && s.k == 0;
            for (std::size_t row = 0; row < a.rows; row += rows) {
                s.rows = std::min(rows, a.rows - row);
                s.c = c + row;
                pack<TilesT::kRows>(a, row, s.rows, s.k, s.depth, packed);
                std::size_t j = 0;
                for (; j + TilesT::kCols <= n; j += TilesT::kCols)
                    advanceColumns<TilesT, TilesT::kCols>(s, b, j, copies);
                for (; j + 4 <= n; j += 4) advanceColumns<TilesT, 4>(s, b, j, copies);
                for (; j < n; ++j) advanceColumns<TilesT, 1>(s, b, j, copies);
            }
        }
    }
};

}  // namespace

template <class T>
void multiply(const MatrixOperand<T>& a, const MatrixOperand<T>& b, T* c)
{
    const std::size_t m = a.rows;
    const std::size_t n = b.cols;
    if (m == 0 || n == 0) return;
    if (a.cols == 0)
        std::fill_n(c, m * n, T{0});
    else
        runKernel(ProductKernel(), a, b, true, c, static_cast<std::ptrdiff_t>(m));
}

template <class T>
void addProduct(const MatrixOperand<T>& a, const MatrixOperand<T>& b, T* c,
                std::ptrdiff_t columnStep)
{
    if (a.rows > 0 && b.cols > 0 && a.cols > 0)
        runKernel(ProductKernel(), a, b, false, c, columnStep);
}

template <class T>
void multiplyVector(const MatrixOperand<T>& a, const T* x, T* y)
{
    using Number = typename Lane<T>::Type;
    const std::size_t m = a.rows;
    const std::size_t n = a.cols;
    // Sweep the columns, all results advancing together; with none there is no data to offset.
    if (a.rowStep == 1 || n == 0) {
        std::fill_n(y, m, T{0});
        for (std::size_t k = 0; k < n; ++k) {
            const T* column = a.data + static_cast<std::ptrdiff_t>(k) * a.colStep;
            const auto factor = static_cast<Number>(x[k]);
            for (std::size_t i = 0; i < m; ++i)
                y[i] = static_cast<T>(static_cast<Number>(y[i]) +
                                      static_cast<Number>(column[i]) * factor);
        }
        return;
    }
    constexpr std::size_t kTogether = 4;
    for (std::size_t i = 0; i < m; i += kTogether) {
        const std::size_t here = std::min(kTogether, m - i);
        const T* row[kTogether];
        Number total[kTogether] = {};
        for (std::size_t l = 0; l < kTogether; ++l)
            row[l] = a.data + static_cast<std::ptrdiff_t>(std::min(i + l, m - 1)) * a.rowStep;
        for (std::size_t k = 0; k < n; ++k) {
            const auto factor = static_cast<Number>(x[k]);
            const std::ptrdiff_t at = static_cast<std::ptrdiff_t>(k) * a.colStep;
            for (std::size_t l = 0; l < kTogether; ++l)
                total[l] += static_cast<Number>(row[l][at]) * factor;
        }
        for (std::size_t l = 0; l < here; ++l) y[i + l] = static_cast<T>(total[l]);
    }
}

template void multiply(const MatrixOperand<double>&, const MatrixOperand<double>&, double*);
template void multiply(const MatrixOperand<int>&, const MatrixOperand<int>&, int*);
template void addProduct(const MatrixOperand<double>&, const MatrixOperand<double>&, double*,
                         std::ptrdiff_t);
template void multiplyVector(const MatrixOperand<double>&, const double*, double*);
template void multiplyVector(const MatrixOperand<int>&, const int*, int*);

}  // namespace knotwork
