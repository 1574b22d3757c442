// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>

#include "knotwork/linalg/LXError.h"
#include "knotwork/linalg/detail/GenMatPickCore.h"

namespace knotwork {

namespace detail {

inline bool pickIndicesFit(const IntVec& index, unsigned count)
{
    bool fit = true;
    for (int k = static_cast<int>(index.length()) - 1; k >= 0; --k) {
        const int i = index(k);
        if (i >= 0 && static_cast<unsigned>(i) < count) continue;
        lxRaise(0x4001, i, static_cast<int>(count) - 1);
        fit = false;
    }
    return fit;
}

}  // namespace detail

template <class Derived, class MatT>
GenMatPickCore<Derived, MatT>::GenMatPickCore(const MatT& matrix, const IntVec& rowIndex,
                                              const IntVec& colIndex)
    : matrix_(matrix), rowIndex_(rowIndex), colIndex_(colIndex)
{
    const bool rowsFit = detail::pickIndicesFit(rowIndex_, matrix_.rows());
    const bool colsFit = detail::pickIndicesFit(colIndex_, matrix_.cols());
    if (rowsFit && colsFit) return;
    rowIndex_.reference(IntVec());  // a handler returned: an empty pick reaches nothing
    colIndex_.reference(IntVec());
}

template <class Derived, class MatT>
template <class Source>
void GenMatPickCore<Derived, MatT>::copyFrom(const Source& source)
{
    if (source.rows() != rows() || source.cols() != cols())
        lxRaise(0x4004, static_cast<int>(source.rows()), static_cast<int>(source.cols()),
                static_cast<int>(rows()), static_cast<int>(cols()));
    const int m = static_cast<int>(std::min(rows(), source.rows()));
    const int n = static_cast<int>(std::min(cols(), source.cols()));
    for (int l = 0; l < n; ++l)
        for (int k = 0; k < m; ++k) (*this)(k, l) = source(k, l);
}

template <class Derived, class MatT>
void GenMatPickCore<Derived, MatT>::assign(const MatT& source)
{
    copyFrom(source);
}

template <class Derived, class MatT>
void GenMatPickCore<Derived, MatT>::assign(const GenMatPickCore& source)
{
    copyFrom(source);
}

template <class Derived, class MatT>
void GenMatPickCore<Derived, MatT>::fill(Element x)
{
    const int m = static_cast<int>(rows());
    const int n = static_cast<int>(cols());
    for (int l = 0; l < n; ++l)
        for (int k = 0; k < m; ++k) (*this)(k, l) = x;
}

}  // namespace knotwork
