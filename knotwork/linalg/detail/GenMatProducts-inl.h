// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <limits>

#include "knotwork/linalg/LXBlock.h"
#include "knotwork/linalg/LXError.h"
#include "knotwork/linalg/detail/GenMatCore.h"
#include "knotwork/linalg/detail/MatrixProduct.h"
#include "knotwork/linalg/detail/OutOfMemory.h"

/// The products, transpose and Kronecker product of GenMatCore.
namespace knotwork {

namespace detail {

template <class Matrix>
MatrixOperand<typename Matrix::Element> operandOf(const Matrix& a, std::ptrdiff_t stride)
{
    return {a.data(), stride, std::ptrdiff_t{a.rows()} * stride, a.rows(), a.cols()};
}

}  // namespace detail

template <class Derived, class VecT, class PickT>
template <class Operand>
Derived GenMatCore<Derived, VecT, PickT>::productOfOperands(const Operand& a, const Operand& b)
{
    return orEmpty([&] {
        Derived result(static_cast<unsigned>(a.rows), static_cast<unsigned>(b.cols));
        if (result.vec_.length() > 0) multiply(a, b, result.data());
        return result;
    });
}

template <class Derived, class VecT, class PickT>
template <class Operand>
VecT GenMatCore<Derived, VecT, PickT>::productOfOperands(const Operand& a, const VecT& x)
{
    return orEmpty([&] {
        const VecT compact = x.stride() == 1 ? x : x.copy();
        VecT result(static_cast<unsigned>(a.rows));
        if (result.length() > 0) multiplyVector(a, compact.data(), result.data());
        return result;
    });
}

template <class Derived, class VecT, class PickT>
Derived GenMatCore<Derived, VecT, PickT>::matrixProduct(const Derived& a, const Derived& b)
{
    if (a.cols_ != b.rows_) {
        lxRaise(0x4016, Derived::className, a.rows_, a.cols_, b.rows_, b.cols_);
        return Derived();
    }
    return productOfOperands(detail::operandOf(a, a.vec_.stride()),
                             detail::operandOf(b, b.vec_.stride()));
}

template <class Derived, class VecT, class PickT>
Derived GenMatCore<Derived, VecT, PickT>::matrixTransProduct(const Derived& a, const Derived& b)
{
    if (a.cols_ != b.cols_) {
        lxRaise(0x4016, Derived::className, a.rows_, a.cols_, b.cols_, b.rows_);
        return Derived();
    }
    return productOfOperands(detail::operandOf(a, a.vec_.stride()),
                             detail::operandOf(b, b.vec_.stride()).transposed());
}

template <class Derived, class VecT, class PickT>
Derived GenMatCore<Derived, VecT, PickT>::matrixTransposeProduct(const Derived& a, const Derived& b)
{
    if (a.rows_ != b.rows_) {
        lxRaise(0x4016, Derived::className, a.cols_, a.rows_, b.rows_, b.cols_);
        return Derived();
    }
    return productOfOperands(detail::operandOf(a, a.vec_.stride()).transposed(),
                             detail::operandOf(b, b.vec_.stride()));
}

template <class Derived, class VecT, class PickT>
VecT GenMatCore<Derived, VecT, PickT>::matrixProduct(const Derived& a, const VecT& x)
{
    if (a.cols_ != x.length()) {
        lxRaise(0x4014, Derived::className, a.rows_, a.cols_, x.length());
        return VecT();
    }
    return productOfOperands(detail::operandOf(a, a.vec_.stride()), x);
}

template <class Derived, class VecT, class PickT>
VecT GenMatCore<Derived, VecT, PickT>::matrixProduct(const VecT& x, const Derived& a)
{
    if (a.rows_ != x.length()) {
        lxRaise(0x4015, x.length(), Derived::className, a.rows_, a.cols_);
        return VecT();
    }
    return productOfOperands(detail::operandOf(a, a.vec_.stride()).transposed(), x);
}

template <class Derived, class VecT, class PickT>
Derived GenMatCore<Derived, VecT, PickT>::transposeOf(const Derived& a)
{
    Derived result(a.cols_, a.rows_);
    for (int j = 0, n = static_cast<int>(a.cols_); j < n; ++j) result.row(j) = a.col(j);
    return result;
}

template <class Derived, class VecT, class PickT>
Derived GenMatCore<Derived, VecT, PickT>::kroneckerOf(const Derived& a, const Derived& b)
{
    const std::uint64_t rows = std::uint64_t{a.rows_} * b.rows_;
    const std::uint64_t cols = std::uint64_t{a.cols_} * b.cols_;
    constexpr std::uint64_t kMost = std::numeric_limits<unsigned>::max();
    if (rows > kMost || cols > kMost) {
        LXBlock::raiseOutOfMemory();
        return Derived();
    }
    return orEmpty([&] {
        Derived result(static_cast<unsigned>(rows), static_cast<unsigned>(cols));
        const int rowBlocks = result.vec_.length() > 0 ? static_cast<int>(a.rows_) : 0;
        const int bCols = static_cast<int>(b.cols_);
        for (int j = 0, n = static_cast<int>(result.cols_); j < n; ++j)
            for (int i = 0; i < rowBlocks; ++i)
                result.col(j).slice(i * static_cast<int>(b.rows_), b.rows_, 1) =
                    VecT::productOf(b.col(j % bCols), a(i, j / bCols));
        return result;
    });
}

}  // namespace knotwork
