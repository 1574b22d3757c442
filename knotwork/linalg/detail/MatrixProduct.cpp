// SPDX-License-Identifier: MIT
#include "knotwork/linalg/detail/MatrixProduct.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "knotwork/linalg/LXBlock.h"

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

constexpr std::size_t kDepth = 256;  // values of k that a packed panel holds
constexpr std::size_t kPackedRows = 192;
constexpr std::size_t kPackedCols = 1536;

/// One tile of results: 2 vectors of `Bytes` bytes down, `Cols` columns across.
template <class T, int Bytes, int Cols>
struct Tile {
    typedef typename Lane<T>::Type Vector __attribute__((vector_size(Bytes)));
    static constexpr int kLanes = Bytes / static_cast<int>(sizeof(T));
    static constexpr int kRows = 2 * kLanes;
    static constexpr int kCols = Cols;

    /// c := c + a b over `depth` values of k, in order. a and b are packed, so that the tile's rows
    /// and columns lie together for each k.
    [[gnu::always_inline]] static inline void advance(std::size_t depth, const T* a, const T* b,
                                                      T* c, std::ptrdiff_t columnStep)
    {
        Vector upper[Cols];
        Vector lower[Cols];
        for (int j = 0; j < Cols; ++j) {
            std::memcpy(&upper[j], c + j * columnStep, Bytes);
            std::memcpy(&lower[j], c + j * columnStep + kLanes, Bytes);
        }
        for (std::size_t k = 0; k < depth; ++k, a += kRows, b += Cols) {
            Vector aUpper;
            Vector aLower;
            std::memcpy(&aUpper, a, Bytes);
            std::memcpy(&aLower, a + kLanes, Bytes);
#pragma GCC unroll 8
            for (int j = 0; j < Cols; ++j) {
                const auto factor = static_cast<typename Lane<T>::Type>(b[j]);
                upper[j] += aUpper * factor;
                lower[j] += aLower * factor;
            }
        }
        for (int j = 0; j < Cols; ++j) {
            std::memcpy(c + j * columnStep, &upper[j], Bytes);
            std::memcpy(c + j * columnStep + kLanes, &lower[j], Bytes);
        }
    }
};

template <class T>
using TileFunction = void (*)(std::size_t, const T*, const T*, T*, std::ptrdiff_t);

/// A tile's shape and the function that advances it, chosen once for the CPU at hand.
template <class T>
struct TileKernel {
    int rows;
    int cols;
    TileFunction<T> advance;
};

template <class T>
void advancePlain(std::size_t depth, const T* a, const T* b, T* c, std::ptrdiff_t columnStep)
{
    Tile<T, 16, 4>::advance(depth, a, b, c, columnStep);
}

#if defined(__x86_64__)
template <class T>
[[gnu::target("avx2")]] void advanceAvx2(std::size_t depth, const T* a, const T* b, T* c,
                                         std::ptrdiff_t columnStep)
{
    Tile<T, 32, 6>::advance(depth, a, b, c, columnStep);
}
#endif

template <class T>
TileKernel<T> tileKernel()
{
#if defined(__x86_64__)
    if (__builtin_cpu_supports("avx2"))
        return {Tile<T, 32, 6>::kRows, Tile<T, 32, 6>::kCols, advanceAvx2<T>};
#endif
    return {Tile<T, 16, 4>::kRows, Tile<T, 16, 4>::kCols, advancePlain<T>};
}

/// Lays out rows [row, row + rows) of a for k in [k, k + depth): panels of `width` rows, k by k.
/// The last panel is filled up with zeros, whose results nobody reads.
template <class T>
void pack(const MatrixOperand<T>& a, std::size_t row, std::size_t rows, std::size_t k,
          std::size_t depth, std::size_t width, T* packed)
{
    const T* corner = a.data + static_cast<std::ptrdiff_t>(row) * a.rowStep +
                      static_cast<std::ptrdiff_t>(k) * a.colStep;
    for (std::size_t first = 0; first < rows; first += width) {
        const std::size_t here = std::min(width, rows - first);
        for (std::size_t l = 0; l < depth; ++l, packed += width) {
            const T* p = corner + static_cast<std::ptrdiff_t>(first) * a.rowStep +
                         static_cast<std::ptrdiff_t>(l) * a.colStep;
            for (std::size_t i = 0; i < here; ++i, p += a.rowStep) packed[i] = *p;
            std::fill(packed + here, packed + width, T{0});
        }
    }
}

std::size_t roundedUp(std::size_t n, std::size_t step)
{
    return (n + step - 1) / step * step;
}

/// Uninitialised scratch on a cache line's boundary.
template <class T>
class Scratch {
  public:
    explicit Scratch(std::size_t count) : block_(count + kLine / sizeof(T), sizeof(T)) {}
    T* data() const
    {
        const auto address = reinterpret_cast<std::uintptr_t>(block_.storage());
        return address == 0 ? nullptr : reinterpret_cast<T*>(roundedUp(address, kLine));
    }

  private:
    static constexpr std::size_t kLine = 64;
    LXBlock block_;
};

/// One packed block of a against one of b: every tile of c that they reach advances by `depth`.
template <class T>
void advanceBlock(const TileKernel<T>& kernel, std::size_t rows, std::size_t cols,
                  std::size_t depth, const T* packedA, const T* packedB, T* c,
                  std::ptrdiff_t columnStep)
{
    constexpr int kMostElements = 128;
    T edge[kMostElements] = {};
    const auto tileRows = static_cast<std::size_t>(kernel.rows);
    const auto tileCols = static_cast<std::size_t>(kernel.cols);
    for (std::size_t j = 0; j < cols; j += tileCols)
        for (std::size_t i = 0; i < rows; i += tileRows) {
            T* corner = c + static_cast<std::ptrdiff_t>(j) * columnStep + i;
            const T* a = packedA + i * depth;
            const T* b = packedB + j * depth;
            if (i + tileRows <= rows && j + tileCols <= cols) {
                kernel.advance(depth, a, b, corner, columnStep);
                continue;
            }
            const std::size_t hereRows = std::min(tileRows, rows - i);
            const std::size_t hereCols = std::min(tileCols, cols - j);
            for (std::size_t l = 0; l < hereCols; ++l)
                std::copy_n(corner + static_cast<std::ptrdiff_t>(l) * columnStep, hereRows,
                            edge + l * tileRows);
            kernel.advance(depth, a, b, edge, kernel.rows);
            for (std::size_t l = 0; l < hereCols; ++l)
                std::copy_n(edge + l * tileRows, hereRows,
                            corner + static_cast<std::ptrdiff_t>(l) * columnStep);
        }
}

}  // namespace

template <class T>
void multiply(const MatrixOperand<T>& a, const MatrixOperand<T>& b, T* c)
{
    const std::size_t m = a.rows;
    const std::size_t n = b.cols;
    const std::size_t inner = a.cols;
    std::fill_n(c, m * n, T{0});
    if (m == 0 || n == 0 || inner == 0) return;

    static const TileKernel<T> kernel = tileKernel<T>();
    const std::size_t depth = std::min(inner, kDepth);
    const std::size_t blockRows = std::min(m, kPackedRows);
    const std::size_t blockCols = std::min(n, kPackedCols);
    const Scratch<T> scratchA(roundedUp(blockRows, static_cast<std::size_t>(kernel.rows)) * depth);
    const Scratch<T> scratchB(roundedUp(blockCols, static_cast<std::size_t>(kernel.cols)) * depth);
    T* packedA = scratchA.data();
    T* packedB = scratchB.data();
    if (packedA == nullptr || packedB == nullptr) return;

    for (std::size_t j = 0; j < n; j += blockCols) {
        const std::size_t cols = std::min(blockCols, n - j);
        for (std::size_t k = 0; k < inner; k += depth) {
            const std::size_t depthHere = std::min(depth, inner - k);
            pack(b.transposed(), j, cols, k, depthHere, static_cast<std::size_t>(kernel.cols),
                 packedB);
            for (std::size_t i = 0; i < m; i += blockRows) {
                const std::size_t rows = std::min(blockRows, m - i);
                pack(a, i, rows, k, depthHere, static_cast<std::size_t>(kernel.rows), packedA);
                advanceBlock(kernel, rows, cols, depthHere, packedA, packedB, c + j * m + i,
                             static_cast<std::ptrdiff_t>(m));
            }
        }
    }
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
template void multiplyVector(const MatrixOperand<double>&, const double*, double*);
template void multiplyVector(const MatrixOperand<int>&, const int*, int*);

}  // namespace knotwork
