// SPDX-License-Identifier: MIT
#pragma once

/// Makes the functions of a class visible where they live. The cores define them as friends, which
/// only an argument of that very class finds; declared here, they also take what converts to it
/// (picks, matrices of another kind), and the named ones are global functions that a host can
/// qualify and take the address of.
/// Operators with a scalar stay friends: declared here, IntVec + 1.0 could as well mean DoubleVec.
/// Used once behind each class, at global scope.

#define KNOTWORK_ELEMENT_OPERATORS(Class)            \
    Class operator+(const Class& a, const Class& b); \
    Class operator-(const Class& a, const Class& b); \
    Class operator*(const Class& a, const Class& b); \
    Class operator-(const Class& a);                 \
    bool operator==(const Class& a, const Class& b); \
    bool operator!=(const Class& a, const Class& b); \
    Class abs(const Class& a);

#define KNOTWORK_VECTOR_FUNCTIONS(Vec, T) \
    namespace knotwork {                  \
    KNOTWORK_ELEMENT_OPERATORS(Vec)       \
    T sum(const Vec& v);                  \
    T prod(const Vec& v);                 \
    T dot(const Vec& a, const Vec& b);    \
    int maxIndex(const Vec& v);           \
    int minIndex(const Vec& v);           \
    T maxValue(const Vec& v);             \
    T minValue(const Vec& v);             \
    Vec cumsum(const Vec& v);             \
    Vec delta(const Vec& v);              \
    Vec reverse(const Vec& v);            \
    }                                     \
    using knotwork::abs;                  \
    using knotwork::cumsum;               \
    using knotwork::delta;                \
    using knotwork::dot;                  \
    using knotwork::maxIndex;             \
    using knotwork::maxValue;             \
    using knotwork::minIndex;             \
    using knotwork::minValue;             \
    using knotwork::prod;                 \
    using knotwork::reverse;              \
    using knotwork::sum;

#define KNOTWORK_MATRIX_FUNCTIONS(Mat, Vec)           \
    namespace knotwork {                              \
    KNOTWORK_ELEMENT_OPERATORS(Mat)                   \
    Mat operator/(const Mat& a, const Mat& b);        \
    Mat product(const Mat& a, const Mat& b);          \
    Vec product(const Mat& a, const Vec& x);          \
    Vec product(const Vec& x, const Mat& a);          \
    Mat transProduct(const Mat& a, const Mat& b);     \
    Mat transposeProduct(const Mat& a, const Mat& b); \
    Mat transpose(const Mat& a);                      \
    Mat kronecker(const Mat& a, const Mat& b);        \
    }                                                 \
    using knotwork::abs;                              \
    using knotwork::kronecker;                        \
    using knotwork::product;                          \
    using knotwork::transpose;                        \
    using knotwork::transposeProduct;                 \
    using knotwork::transProduct;

#define KNOTWORK_PACKED_FUNCTIONS(Mat, Transposed)       \
    namespace knotwork {                                 \
    KNOTWORK_ELEMENT_OPERATORS(Mat)                      \
    Mat operator/(const Mat& a, const Mat& b);           \
    Mat atan2(const Mat& y, const Mat& x);               \
    }                                                    \
    using knotwork::abs;                                 \
    using knotwork::atan2;                               \
    DoubleVec product(const Mat& a, const DoubleVec& x); \
    DoubleVec product(const DoubleVec& x, const Mat& a); \
    Transposed transpose(const Mat& a);
