// SPDX-License-Identifier: MIT
#include "knotwork/factor/linpack.h"
#include "measures/MatrixChecks.h"
#include "tests/support/Testing.h"

namespace {

using knotwork::linpack::dsign;
using knotwork::linpack::dsvdc;

using namespace knotwork_test;
constexpr double kUntouched = 123.25;
constexpr int kJobs[] = {0, 1, 10, 11, 20, 21};

struct Shape {
    unsigned n, p;
};
constexpr Shape kShapes[] = {{1, 1}, {1, 4}, {4, 1}, {2, 3}, {3, 2}, {4, 5},
                             {5, 5}, {7, 3}, {3, 7}, {9, 8}, {8, 9}, {12, 5}};

std::size_t cells(int rows, int cols = 1)
{
    return static_cast<std::size_t>(rows) * static_cast<std::size_t>(cols);
}

/// Every array has rows below the published ones and a column behind them, which must stay as they
/// are. (The linked BLAS is out of a sanitizer's sight.)
struct Array {
    int rows, cols;
    int leading = rows + 2;
    std::vector<double> data = std::vector<double>(cells(leading, cols + 1), kUntouched);

    double operator()(int i, int j = 0) const { return data[cells(leading, j) + cells(i)]; }
    bool written(int i, int j) const { return (*this)(i, j) != kUntouched; }
    /// Exactly the elements of these shape have been written.
    void expectWritten(int rowsWritten, int colsWritten) const
    {
        for (int j = 0; j <= cols; ++j)
            for (int i = 0; i < leading; ++i)
                EXPECT_EQ(written(i, j), i < rowsWritten && j < colsWritten) << i << ' ' << j;
    }
};

struct Call {
    int n, p, size, info = -1;
    Array x, s, e, u, v, work;

    Call(const DoubleGenMat& a, int job)
        : n(static_cast<int>(a.rows())),
          p(static_cast<int>(a.cols())),
          size(std::min(n + 1, p)),
          x{n, p},
          s{size, 1},
          e{p, 1},
          u{n, job / 10 == 0   ? 0
               : job / 10 == 1 ? n
                               : std::min(n, p)},
          v{p, job % 10 == 0 ? 0 : p},
          work{n, 1}
    {
        for (int j = 0; j < p; ++j)
            for (int i = 0; i < n; ++i) x.data[cells(x.leading, j) + cells(i)] = a(i, j);
        EXPECT_EQ(
            dsvdc(x.data.data(), &x.leading, &n, &p, s.data.data(), e.data.data(), u.data.data(),
                  &u.leading, v.data.data(), &v.leading, work.data.data(), &job, &info),
            0);
        s.expectWritten(size, n > 0 ? 1 : 0);
        u.expectWritten(n, p > 0 ? u.cols : 0);
        v.expectWritten(p, n > 0 ? v.cols : 0);
        for (const Array* scratch : {&e, &work}) {
            EXPECT_FALSE(scratch->written(scratch->rows, 0));
            EXPECT_FALSE(scratch->written(0, 1));
        }
    }
};

DoubleGenMat randomMatrix(Shape shape, std::mt19937& generator)
{
    return knotwork_measures::randomMatrix(shape.n, shape.p, generator);
}

DoubleGenMat bidiagonal(int n, double diagonal, double beside)
{
    DoubleGenMat a(static_cast<unsigned>(n), static_cast<unsigned>(n), 0.0);
    a.diagonal(0) = diagonal;
    a.diagonal(1) = beside;
    return a;
}

}  // namespace

TEST(DsignTest, BothZerosArePositive)
{
    struct {
        double a, b, expected;
    } const cases[] = {{3.0, 0.0, 3.0},   {3.0, -0.0, 3.0},      {-3.0, -0.0, 3.0},
                       {-3.0, 2.0, 3.0},  {-3.0, -1e-300, -3.0}, {3.0, -1.0, -3.0},
                       {3.0, -kInf, -3.0}};
    for (const auto& c : cases) EXPECT_EQ(dsign(&c.a, &c.b), c.expected) << c.a << ' ' << c.b;
    const double zero = -0.0;
    EXPECT_FALSE(std::signbit(dsign(&zero, &zero)));
}

TEST(DsvdcTest, WritesItsOutputsAndNothingElseForEveryJob)
{
    std::mt19937 generator(11);
    for (const Shape shape : kShapes) {
        const DoubleGenMat a = randomMatrix(shape, generator);
        const Call valuesOnly(a, 0);
        for (const int job : kJobs) {
            SCOPED_TRACE(testing::Message() << shape.n << "x" << shape.p << " job " << job);
            const Call call(a, job);
            EXPECT_EQ(call.info, 0);
            EXPECT_EQ(call.s.data, valuesOnly.s.data);  // vectors have no influence on values
            for (int k = 0; k < call.size; ++k) EXPECT_EQ(call.e(k), 0.0);
            const double norm = knotwork_measures::frobeniusNorm(a);
            EXPECT_NEAR(DoubleVec(call.s.data.data(), static_cast<unsigned>(call.size)).vecLen(),
                        norm, knotwork_measures::tolerance(a) * norm);
        }
    }
}

TEST(DsvdcTest, EmptyMatrixOnlySetsInfo)
{
    for (const Shape shape : {Shape{0, 3}, Shape{3, 0}, Shape{0, 0}})
        EXPECT_EQ(Call(DoubleGenMat(shape.n, shape.p), 11).info, 0);
}

TEST(DsvdcTest, BidiagonalOfOnesHasCosinesForValues)
{
    for (const int n : {1, 2, 3, 10, 60}) {
        const Call call(bidiagonal(n, 1.0, 1.0), 0);
        ASSERT_EQ(call.info, 0);
        for (int k = 0; k < n; ++k)  // eigenvalues of the path with one free end, halved angles
            EXPECT_NEAR(call.s(k), 2.0 * std::cos((k + 1) * M_PI / (2 * n + 1)),
                        10 * n * knotwork_measures::kEps * 2.0)
                << n << ' ' << k;
    }
}

TEST(DsvdcTest, ShiftMatrixHasOnesAndOneZero)
{
    constexpr int kSize = 100;
    const Call call(bidiagonal(kSize, 0.0, 1.0), 11);
    ASSERT_EQ(call.info, 0);
    for (int k = 0; k < kSize; ++k)
        EXPECT_NEAR(call.s(k), k + 1 < kSize ? 1.0 : 0.0, kSize * knotwork_measures::kEps);
}

TEST(DsvdcTest, EndsAndReportsWhatIsNotFinite)
{
    std::mt19937 generator(12);
    std::bernoulli_distribution isZero(0.5);
    for (const Shape shape : kShapes)
        for (const double bad : {kNaN, kInf, -kInf})
            for (unsigned place = 0; place < shape.n * shape.p; ++place)
                for (const bool sparse : {false, true}) {
                    SCOPED_TRACE(testing::Message() << shape.n << "x" << shape.p << " with " << bad
                                                    << " at " << place << " sparse " << sparse);
                    DoubleGenMat a = randomMatrix(shape, generator);
                    for (unsigned k = 0; sparse && k < shape.n * shape.p; ++k)
                        if (isZero(generator)) a.data()[k] = 0.0;
                    a.data()[place] = bad;
                    for (const int job : {0, 11, 21}) EXPECT_GT(Call(a, job).info, 0) << job;
                    if (HasFailure()) return;
                }
}

TEST(DsvdcTest, NormsThatOverflowAreReported)
{
    for (const Shape shape : {Shape{4, 4}, Shape{3, 5}, Shape{6, 2}})
        EXPECT_GT(Call(DoubleGenMat(shape.n, shape.p, std::numeric_limits<double>::max()), 11).info,
                  0);
}
