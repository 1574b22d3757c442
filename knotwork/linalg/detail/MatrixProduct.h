// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

namespace knotwork {

/// A matrix as the product reads it: element (i, j) lies at data[i * rowStep + j * colStep].
template <class T>
struct MatrixOperand {
    const T* data;
    std::ptrdiff_t rowStep;
    std::ptrdiff_t colStep;
    unsigned rows;
    unsigned cols;

    const T* at(std::size_t i, std::size_t j) const
    {
        return data + static_cast<std::ptrdiff_t>(i) * rowStep +
               static_cast<std::ptrdiff_t>(j) * colStep;
    }
    MatrixOperand transposed() const { return {data, colStep, rowStep, cols, rows}; }
};

/// rows x cols elements of a column-major array.
inline MatrixOperand<double> columnMajor(const double* corner, std::ptrdiff_t leading, int rows,
                                         int cols)
{
    return {corner, 1, leading, static_cast<unsigned>(rows), static_cast<unsigned>(cols)};
}

/// c := a b, with c column-major, contiguous and distinct from both; a.cols equals b.rows.
/// Every element is one sum over k from 0 upwards, starting at zero, products rounded before they
/// are added: the bits of a plain dot product on every CPU. Speed comes from advancing a tile of
/// results together. Integers wrap.
template <class T>
void multiply(const MatrixOperand<T>& a, const MatrixOperand<T>& b, T* c);

/// c := c + a b, where c's columns lie columnStep apart. The sums go on from what c holds.
template <class T>
void addProduct(const MatrixOperand<T>& a, const MatrixOperand<T>& b, T* c,
                std::ptrdiff_t columnStep);

/// y := a x for contiguous x and y, with the same promise.
template <class T>
void multiplyVector(const MatrixOperand<T>& a, const T* x, T* y);

extern template void multiply(const MatrixOperand<double>&, const MatrixOperand<double>&, double*);
extern template void multiply(const MatrixOperand<int>&, const MatrixOperand<int>&, int*);
extern template void addProduct(const MatrixOperand<double>&, const MatrixOperand<double>&, double*,
                                std::ptrdiff_t);
extern template void multiplyVector(const MatrixOperand<double>&, const double*, double*);
extern template void multiplyVector(const MatrixOperand<int>&, const int*, int*);

}  // namespace knotwork
