// SPDX-License-Identifier: MIT
// Holds the linked BLAS to the published semantics of the ten level-1 routines, as far as the
// kernels rely on them. Left out is what common providers do differently: the norm along a negative
// increment, and a rotation of numbers whose squares overflow or underflow, where the caller
// scales. The numbers are small integers, so that sums are exact in any order.
#include "knotwork/platform/blas.h"

#include <cstdlib>
#include <utility>

#include "tests/support/Testing.h"

namespace {

using namespace knotwork_test;

constexpr int kCounts[] = {-1, 0, 1, 2, 3, 7, 16, 33, 100};  // around what is unrolled
constexpr int kIncrements[] = {-3, -1, 1, 2};

/// n logical elements in an array with gaps; a negative increment starts at the far end.
struct Strided {
    int n, increment;
    Numbers array;

    Strided(int count, int inc, int seed) : n(count), increment(inc)
    {
        for (int i = 0; i < 3 * std::max(n, 1); ++i) array.push_back((i * 7 + seed) % 11 - 5);
    }
    double& operator()(int k)
    {
        const int place = increment > 0 ? k * increment : (k - n + 1) * increment;
        return array[static_cast<std::size_t>(place)];
    }
};

/// Runs a routine on x and y and compares both arrays, gaps too, with a loop over the elements.
template <class Routine, class Loop>
void expectSame(const char* name, Routine routine, Loop loop)
{
    for (const int n : kCounts)
        for (const int incx : kIncrements)
            for (const int incy : kIncrements) {
                SCOPED_TRACE(testing::Message() << name << ' ' << n << ' ' << incx << ' ' << incy);
                Strided x(n, incx, 3);
                Strided y(n, incy, 5);
                Strided expectedX(x);
                Strided expectedY(y);
                const double found = routine(&n, x.array.data(), &incx, y.array.data(), &incy);
                double expected = 0.0;
                for (int k = 0; k < n; ++k) expected += loop(expectedX(k), expectedY(k));
                EXPECT_EQ(found, expected);
                EXPECT_EQ(x.array, expectedX.array);
                EXPECT_EQ(y.array, expectedY.array);
            }
}

TEST(BlasTest, RoutinesOfTwoVectorsWalkBothWays)
{
    const double a = -3.0;
    const double c = 2.0;  // no cosine and no sine, but exact
    const double s = 5.0;
    expectSame("ddot", ddot_, [](double x, double y) { return x * y; });
    expectSame(
        "daxpy",
        [&](const int* n, const double* x, const int* incx, double* y, const int* incy) {
            daxpy_(n, &a, x, incx, y, incy);
            return 0.0;
        },
        [&](double x, double& y) { return y += a * x, 0.0; });
    expectSame(
        "dcopy", [](auto... args) { return dcopy_(args...), 0.0; },
        [](double x, double& y) { return y = x, 0.0; });
    expectSame(
        "dswap", [](auto... args) { return dswap_(args...), 0.0; },
        [](double& x, double& y) { return std::swap(x, y), 0.0; });
    expectSame(
        "drot", [&](auto... args) { return drot_(args..., &c, &s), 0.0; },
        [&](double& x, double& y) {
            const double old = x;
            x = c * x + s * y;
            y = c * y - s * old;
            return 0.0;
        });
}

TEST(BlasTest, RoutinesOfOneVector)
{
    const double a = -2.0;
    for (const int n : kCounts)
        for (const int inc : {1, 2, 3}) {
            SCOPED_TRACE(testing::Message() << n << ' ' << inc);
            Strided x(n, inc, 4);
            double sum = 0.0;
            double squares = 0.0;
            int largest = 0;  // the first of several
            for (int k = 0; k < n; ++k) {
                sum += std::fabs(x(k));
                squares += x(k) * x(k);
                if (k == 0 || std::fabs(x(k)) > std::fabs(x(largest - 1))) largest = k + 1;
            }
            EXPECT_EQ(dasum_(&n, x.array.data(), &inc), sum);
            EXPECT_EQ(idamax_(&n, x.array.data(), &inc), largest);
            EXPECT_DOUBLE_EQ(dnrm2_(&n, x.array.data(), &inc), std::sqrt(squares));
            Strided expected(x);
            for (int k = 0; k < n; ++k) expected(k) *= a;
            dscal_(&n, &a, x.array.data(), &inc);
            EXPECT_EQ(x.array, expected.array);
        }
}

TEST(BlasTest, RotationTakesTheSignOfTheLargerAndTellsItByZ)
{
    struct {
        double a, b, r, c, s;
    } const cases[] = {
        {4, 3, 5, 0.8, 0.6},
        {-4, 3, -5, 0.8, -0.6},
        {3, -4, -5, -0.6, 0.8},
        {-3, 4, 5, -0.6, 0.8},
        {0, -2, -2, 0, 1},
        {-2, 0, -2, 1, 0},
        {0, 0, 0, 1, 0},
        {1, 1, M_SQRT2, M_SQRT1_2, M_SQRT1_2},  // b's sign where they are equal
        {1, -1, -M_SQRT2, -M_SQRT1_2, M_SQRT1_2},
    };
    for (const auto& example : cases)
        for (const double scale : {1e-140, 1.0, 1e140}) {
            double a = example.a * scale;
            double b = example.b * scale;
            double c;
            double s;
            SCOPED_TRACE(testing::Message() << a << ' ' << b);
            drotg_(&a, &b, &c, &s);
            EXPECT_DOUBLE_EQ(a, example.r * scale);
            EXPECT_DOUBLE_EQ(c, example.c);
            EXPECT_DOUBLE_EQ(s, example.s);
            const bool aIsLarger = std::fabs(example.a) > std::fabs(example.b);
            const bool bothZero = example.r == 0.0;
            EXPECT_DOUBLE_EQ(b, bothZero ? 0.0 : aIsLarger ? s : c != 0.0 ? 1.0 / c : 1.0);
        }
}

}  // namespace
