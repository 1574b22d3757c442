// SPDX-License-Identifier: MIT
// Every element of a product has the bits of one plain sum over k, whatever tiles and packing do.

#include "tests/support/Arrays.h"
#include "tests/support/Testing.h"

namespace {

using namespace knotwork_test;

/// A matrix of its own, element (i, j) at values[rows j + i].
template <class T>
struct Plain {
    unsigned rows;
    unsigned cols;
    std::vector<T> values;
    T operator()(std::size_t i, std::size_t j) const { return values[rows * j + i]; }
};

template <class T>
Plain<T> transposed(const Plain<T>& a)
{
    Plain<T> t{a.cols, a.rows, {}};
    for (std::size_t i = 0; i < a.rows; ++i)
        for (std::size_t j = 0; j < a.cols; ++j) t.values.push_back(a(i, j));
    return t;
}

template <class T>
Plain<T> plainProduct(const Plain<T>& a, const Plain<T>& b)
{
    using Number = std::conditional_t<std::is_same_v<T, int>, unsigned, T>;
    Plain<T> c{a.rows, b.cols, {}};
    for (std::size_t j = 0; j < b.cols; ++j)
        for (std::size_t i = 0; i < a.rows; ++i) {
            Number total = 0;
            for (std::size_t k = 0; k < a.cols; ++k)
                total += static_cast<Number>(a(i, k)) * static_cast<Number>(b(k, j));
            c.values.push_back(static_cast<T>(total));
        }
    return c;
}

template <class T>
Plain<T> randomPlain(unsigned rows, unsigned cols, unsigned seed)
{
    Plain<T> a{rows, cols, randomNumbers<T>(std::size_t{rows} * std::size_t{cols}, seed)};
    for (std::size_t i = 0; i < a.values.size(); i += 7)  // zeros of both signs among them
        a.values[i] = static_cast<T>(i % 2 == 0 ? 0.0 : -0.0);
    return a;
}

template <class Mat>
Mat laidOut(const Plain<typename Mat::Element>& a, int stride)
{
    return Mat(strided(a.values, stride), a.rows, a.cols);
}

template <class Mat>
void expectSame(const char* name, const Mat& found, const Plain<typename Mat::Element>& expected)
{
    ASSERT_EQ(found.rows(), expected.rows) << name;
    ASSERT_EQ(found.cols(), expected.cols) << name;
    EXPECT_TRUE(bitsOf(elements(found.dataVec())) == bitsOf(expected.values)) << name;
}

template <class Mat>
class MatrixProductTest : public testing::Test {
};
using MatTypes = testing::Types<DoubleGenMat, IntGenMat>;
TYPED_TEST_SUITE(MatrixProductTest, MatTypes, ElementName);

struct Shape {
    unsigned m, inner, n;
};

/// All five products of the shape, A laid out with stride sa and B with sb.
template <class Mat>
void checkProducts(const Shape& shape, int sa, int sb)
{
    using T = typename Mat::Element;
    SCOPED_TRACE(testing::Message() << shape.m << " x " << shape.inner << " x " << shape.n
                                    << ", strides " << sa << ' ' << sb);
    const auto a = randomPlain<T>(shape.m, shape.inner, 11);
    const auto b = randomPlain<T>(shape.inner, shape.n, 12);
    const auto expected = plainProduct(a, b);
    const Mat matA = laidOut<Mat>(a, sa);
    const Mat matB = laidOut<Mat>(b, sb);
    expectSame("product", product(matA, matB), expected);
    expectSame("transProduct", transProduct(matA, laidOut<Mat>(transposed(b), sb)), expected);
    expectSame("transposeProduct", transposeProduct(laidOut<Mat>(transposed(a), sa), matB),
               expected);
    if (shape.n > 0) {
        const auto y = product(matA, matB.col(0));
        EXPECT_EQ(y.length(), shape.m);
        const std::vector<T> column(expected.values.begin(), expected.values.begin() + shape.m);
        EXPECT_TRUE(bitsOf(elements(y)) == bitsOf(column)) << "A x";
    }
    if (shape.m > 0) {
        const auto y = product(matA.row(0), matB);
        std::vector<T> row;
        for (std::size_t j = 0; j < shape.n; ++j) row.push_back(expected(0, j));
        EXPECT_TRUE(bitsOf(elements(y)) == bitsOf(row)) << "x A";
    }
}

TYPED_TEST(MatrixProductTest, EverySmallShapeHasTheBitsOfPlainSums)
{
    for (const unsigned m : {0u, 1u, 2u, 3u, 4u, 5u, 8u, 9u, 16u, 17u})
        for (const unsigned n : {0u, 1u, 2u, 4u, 5u, 6u, 7u, 13u})
            for (const unsigned inner : {0u, 1u, 2u, 3u, 8u})
                checkProducts<TypeParam>({m, inner, n}, 1, 1);
}

TYPED_TEST(MatrixProductTest, LargeShapesHaveTheBitsOfPlainSums)
{
    // Around the edges of what is packed together: 256 deep, 192 rows, 1536 columns.
    for (const Shape& shape :
         {Shape{7, 255, 11}, Shape{7, 256, 11}, Shape{7, 257, 11}, Shape{5, 600, 3},
          Shape{191, 3, 7}, Shape{192, 3, 7}, Shape{193, 260, 7}, Shape{3, 5, 1535},
          Shape{3, 5, 1537}, Shape{200, 520, 1541}})
        checkProducts<TypeParam>(shape, 1, 1);
}

TYPED_TEST(MatrixProductTest, StridedAndReversedOperandsHaveTheBitsOfPlainSums)
{
    for (const auto& [sa, sb] :
         {std::pair{2, 1}, std::pair{1, -1}, std::pair{-3, 2}, std::pair{-1, -1}})
        for (const Shape& shape :
             {Shape{0, 3, 2}, Shape{3, 0, 2}, Shape{1, 1, 1}, Shape{9, 5, 7}, Shape{33, 300, 19}})
            checkProducts<TypeParam>(shape, sa, sb);
}

TEST(MatrixProductTest, SumsStartAtPositiveZero)
{
    const DoubleGenMat negative(2u, 2u, -0.0);
    const DoubleGenMat ones(2u, 2u, 1.0);
    const std::vector<double> zeros(4, 0.0);
    EXPECT_EQ(bitsOf(elements(product(negative, ones).dataVec())), bitsOf(zeros));
    EXPECT_EQ(bitsOf(elements(product(negative, ones.col(0)))), bitsOf({0.0, 0.0}));
    EXPECT_EQ(bitsOf(elements(product(ones.row(0), negative))), bitsOf({0.0, 0.0}));
    EXPECT_EQ(bitsOf(elements(product(DoubleGenMat(2u, 0u), DoubleGenMat(0u, 2u)).dataVec())),
              bitsOf(zeros));
}

TEST(MatrixProductTest, NanAndInfinityStayInTheirRowsAndColumns)
{
    DoubleGenMat a(5u, 3u, 1.0);
    a(4, 0) = kNaN;
    a(2, 1) = kInf;
    const DoubleGenMat b(3u, 7u, 1.0);
    const DoubleGenMat c = product(a, b);
    for (int i = 0; i < 5; ++i)
        for (int j = 0; j < 7; ++j) {
            if (i == 4)
                EXPECT_TRUE(c(i, j) != c(i, j)) << i << ' ' << j;
            else
                EXPECT_EQ(c(i, j), i == 2 ? kInf : 3.0) << i << ' ' << j;
        }
}

}  // namespace
