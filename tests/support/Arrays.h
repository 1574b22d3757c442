// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <random>
#include <type_traits>
#include <vector>

#include "knotwork/linalg/DoubleGenMat.h"
#include "knotwork/linalg/DoubleVec.h"
#include "knotwork/linalg/IntGenMat.h"
#include "knotwork/linalg/IntVec.h"
#include "knotwork/linalg/SCharVec.h"

namespace knotwork_test {

/// A new vector of the values in braces: vecOf<SCharVec>({1, 2}).
template <class Vec>
Vec vecOf(std::initializer_list<typename Vec::Element> values)
{
    return Vec(values.begin(), static_cast<unsigned>(values.size()));
}

inline DoubleVec vec(std::initializer_list<double> values)
{
    return vecOf<DoubleVec>(values);
}

inline IntVec intVec(std::initializer_list<int> values)
{
    return vecOf<IntVec>(values);
}

/// A new vector of the elements of a standard one.
template <class T>
auto vecFrom(const std::vector<T>& values)
{
    using Vec = std::conditional_t<std::is_same_v<T, double>, DoubleVec,
                                   std::conditional_t<std::is_same_v<T, int>, IntVec, SCharVec>>;
    return Vec(values.data(), static_cast<unsigned>(values.size()));
}

/// The elements in order, for gmock's matchers; reads through data() and stride() alone.
template <class Vec>
std::vector<typename Vec::Element> elements(const Vec& v)
{
    std::vector<typename Vec::Element> out;
    for (unsigned i = 0; i < v.length(); ++i)
        out.push_back(v.data()[std::ptrdiff_t{v.stride()} * static_cast<std::ptrdiff_t>(i)]);
    return out;
}

/// The values as a view of the given stride (not 0) on new storage, whose gaps hold 99.
template <class T>
auto strided(const std::vector<T>& values, int stride)
{
    const auto n = static_cast<unsigned>(values.size());
    const auto gap = static_cast<std::size_t>(std::abs(stride));
    const auto base = vecFrom(std::vector<T>(n * gap, T{99}));
    auto view = base.slice(stride < 0 && n > 0 ? static_cast<int>((n - 1) * gap) : 0, n, stride);
    for (unsigned i = 0; i < n; ++i)
        view.data()[std::ptrdiff_t{stride} * static_cast<std::ptrdiff_t>(i)] = values[i];
    return view;
}

/// The bit patterns, where NaN and the sign of zero count.
inline std::vector<std::uint64_t> bitsOf(const std::vector<double>& values)
{
    std::vector<std::uint64_t> bits(values.size());
    if (!bits.empty()) std::memcpy(bits.data(), values.data(), values.size() * sizeof(double));
    return bits;
}

template <class T>
std::vector<T> bitsOf(const std::vector<T>& values)
{
    return values;
}

/// A new matrix from rows in braces: mat<DoubleGenMat>({{1, 2}, {3, 4}}).
template <class Mat = DoubleGenMat>
Mat mat(std::initializer_list<std::initializer_list<typename Mat::Element>> rows)
{
    const auto m = static_cast<unsigned>(rows.size());
    const auto n = static_cast<unsigned>(m == 0 ? 0 : rows.begin()->size());
    std::vector<typename Mat::Element> columns;
    for (std::size_t j = 0; j < n; ++j)
        for (const auto& row : rows) columns.push_back(row.begin()[j]);
    return Mat(columns.data(), m, n);
}

/// The elements row by row.
template <class Mat>
std::vector<std::vector<typename Mat::Element>> rowsOf(const Mat& m)
{
    std::vector<std::vector<typename Mat::Element>> out(m.rows());
    for (unsigned i = 0; i < m.rows(); ++i)
        for (unsigned j = 0; j < m.cols(); ++j)
            out[i].push_back(m(static_cast<int>(i), static_cast<int>(j)));
    return out;
}

/// Independent numbers from a fixed seed: doubles uniform in [-1, 1), ints over their whole range.
template <class T>
std::vector<T> randomNumbers(std::size_t n, unsigned seed)
{
    std::mt19937_64 bits(seed);
    std::vector<T> out(n);
    for (T& x : out) {
        if constexpr (std::is_floating_point_v<T>)
            x = static_cast<T>(static_cast<double>(bits() >> 11) * 0x1p-52 - 1.0);
        else
            x = static_cast<T>(bits());
    }
    return out;
}

template <class Mat = DoubleGenMat>
Mat randomMatrix(unsigned rows, unsigned cols, unsigned seed)
{
    const auto numbers =
        randomNumbers<typename Mat::Element>(std::size_t{rows} * std::size_t{cols}, seed);
    return Mat(numbers.data(), rows, cols);
}

}  // namespace knotwork_test
