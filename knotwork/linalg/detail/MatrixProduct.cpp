// SPDX-License-Identifier: MIT
#include "knotwork/linalg/detail/MatrixProduct.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "knotwork/linalg/LXBlock.h"
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

// A block of a stays in the second-level cache while the columns of b go by; within it, one packed
// panel of rows and one panel of columns share the first-level cache.
constexpr std::size_t kDepth = 256;  // values of k that a packed panel holds
constexpr std::size_t kPackedRows = 128;

/// One tile of results: 2 vectors of `Bytes` bytes down, `Cols` columns across.
template <class T, int Bytes, int Cols>
struct Tile {
    using Number = typename Lane<T>::Type;
    typedef Number Vector __attribute__((vector_size(Bytes)));
    // The same vector anywhere in an array of T.
    typedef Number Stored __attribute__((vector_size(Bytes), aligned(alignof(T)), may_alias));
    static constexpr int kLanes = Bytes / static_cast<int>(sizeof(T));
    static constexpr int kRows = 2 * kLanes;
    static constexpr int kCols = Cols;

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
    [[gnu::always_inline]] static inline void advance(std::size_t depth, const T* a,
                                                      const T* const* b, bool begin, T* c,
                                                      std::ptrdiff_t columnStep)
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
template <class T, int Width>
void pack(const MatrixOperand<T>& a, std::size_t row, std::size_t rows, std::size_t k,
          std::size_t depth, T* packed)
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

/// A tile's shape and its functions, chosen once for the CPU at hand.
template <class T>
struct TileKernel {
    std::size_t rows;
    std::size_t cols;
    void (*pack)(const MatrixOperand<T>&, std::size_t row, std::size_t rows, std::size_t k,
                 std::size_t depth, T* packed);
    void (*advance)(std::size_t depth, const T* a, const T* const* b, bool begin, T* c,
                    std::ptrdiff_t columnStep);
};
constexpr std::size_t kMostCols = 8;
constexpr std::size_t kMostElements = 128;

template <class T>
using PlainTile = Tile<T, 16, 4>;
template <class T>
void advancePlain(std::size_t depth, const T* a, const T* const* b, bool begin, T* c,
                  std::ptrdiff_t columnStep)
{
    PlainTile<T>::advance(depth, a, b, begin, c, columnStep);
}

#if defined(__x86_64__)
template <class T>
using Avx2Tile = Tile<T, 32, 6>;
template <class T>
[[gnu::target("avx2")]] void advanceAvx2(std::size_t depth, const T* a, const T* const* b,
                                         bool begin, T* c, std::ptrdiff_t columnStep)
{
    Avx2Tile<T>::advance(depth, a, b, begin, c, columnStep);
}
#endif

template <class T, class TileT>
TileKernel<T> kernelOf(decltype(TileKernel<T>::advance) advance)
{
    static_assert(TileT::kCols <= kMostCols && TileT::kRows * TileT::kCols <= kMostElements);
    return {TileT::kRows, TileT::kCols, pack<T, TileT::kRows>, advance};
}

template <class T>
TileKernel<T> tileKernel()
{
#if defined(__x86_64__)
    if (cpuLevel() == CpuLevel::kVectors256) return kernelOf<T, Avx2Tile<T>>(advanceAvx2<T>);
#endif
    return kernelOf<T, PlainTile<T>>(advancePlain<T>);
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

/// The columns of b that a tile reads, from some k on: where they lie when each is contiguous, else
/// as copies. Columns past the last one repeat it; nobody reads their results.
template <class T>
class ColumnPanel {
  public:
    ColumnPanel(const MatrixOperand<T>& b, std::size_t k, std::size_t depth, T* copies)
        : b_(b), k_(k), depth_(depth), copies_(copies)
    {
    }
    const T* const* at(std::size_t j, std::size_t cols, std::size_t tileCols)
    {
        for (std::size_t l = 0; l < tileCols; ++l)
            columns_[l] = l < cols ? column(j + l, l) : columns_[l - 1];
        return columns_;
    }

  private:
    const T* column(std::size_t j, std::size_t l)
    {
        const T* p = b_.at(k_, j);
        if (b_.rowStep == 1) return p;
        T* copy = copies_ + l * depth_;
        for (std::size_t i = 0; i < depth_; ++i, p += b_.rowStep) copy[i] = *p;
        return copy;
    }

    const MatrixOperand<T>& b_;
    const std::size_t k_;
    const std::size_t depth_;
    T* const copies_;
    const T* columns_[kMostCols];
};

/// Advances a tile of which only rows x cols elements are there.
template <class T>
void advanceEdge(const TileKernel<T>& kernel, std::size_t rows, std::size_t cols, std::size_t depth,
                 const T* a, const T* const* b, bool begin, T* c, std::ptrdiff_t columnStep)
{
    T whole[kMostElements] = {};
    for (std::size_t l = 0; l < cols && !begin; ++l)
        std::copy_n(c + static_cast<std::ptrdiff_t>(l) * columnStep, rows, whole + l * kernel.rows);
    kernel.advance(depth, a, b, begin, whole, static_cast<std::ptrdiff_t>(kernel.rows));
    for (std::size_t l = 0; l < cols; ++l)
        std::copy_n(whole + l * kernel.rows, rows, c + static_cast<std::ptrdiff_t>(l) * columnStep);
}

/// c := a b, or c + a b when the sums go on from what c holds; its columns lie columnStep apart.
template <class T>
void advanceProduct(const MatrixOperand<T>& a, const MatrixOperand<T>& b, bool begin, T* c,
                    std::ptrdiff_t columnStep)
{
    const std::size_t m = a.rows;
    const std::size_t n = b.cols;
    const std::size_t inner = a.cols;
    const TileKernel<T> kernel = tileKernel<T>();
    const std::size_t depth = equalPart(inner, kDepth, 1);
    const std::size_t blockRows = equalPart(m, kPackedRows, kernel.rows);
    const Scratch<T> scratchA(blockRows * depth);
    const Scratch<T> scratchB(b.rowStep == 1 ? 0 : kernel.cols * depth);
    T* packed = scratchA.data();
    if (packed == nullptr || scratchB.data() == nullptr) return;

    for (std::size_t k = 0; k < inner; k += depth) {
        const std::size_t depthHere = std::min(depth, inner - k);
        ColumnPanel<T> panel(b, k, depthHere, scratchB.data());
        const bool beginHere = begin && k == 0;
        for (std::size_t row = 0; row < m; row += blockRows) {
            const std::size_t rowsHere = std::min(blockRows, m - row);
            kernel.pack(a, row, rowsHere, k, depthHere, packed);
            for (std::size_t j = 0; j < n; j += kernel.cols) {
                const std::size_t cols = std::min(kernel.cols, n - j);
                const T* const* columns = panel.at(j, cols, kernel.cols);
                for (std::size_t i = 0; i < rowsHere; i += kernel.rows) {
                    const std::size_t rows = std::min(kernel.rows, rowsHere - i);
                    T* corner = c + static_cast<std::ptrdiff_t>(j) * columnStep + row + i;
                    if (rows == kernel.rows && cols == kernel.cols)
                        kernel.advance(depthHere, packed + i * depthHere, columns, beginHere,
                                       corner, columnStep);
                    else
                        advanceEdge(kernel, rows, cols, depthHere, packed + i * depthHere, columns,
                                    beginHere, corner, columnStep);
                }
            }
        }
    }
}

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
        advanceProduct(a, b, true, c, static_cast<std::ptrdiff_t>(m));
}

template <class T>
void addProduct(const MatrixOperand<T>& a, const MatrixOperand<T>& b, T* c,
                std::ptrdiff_t columnStep)
{
    if (a.rows > 0 && b.cols > 0 && a.cols > 0) advanceProduct(a, b, false, c, columnStep);
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
