// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "knotwork/solvers/Thouseholder.h"
#include "tests/support/Arrays.h"
#include "tests/support/Dice.h"

namespace {

constexpr double kEps = 0x1p-52;

using Column = std::vector<long double>;

long double dot(const Column& a, const Column& b)
{
    long double total = 0.0L;
    for (std::size_t i = 0; i < a.size(); ++i) total += a[i] * b[i];
    return total;
}

long double norm(const Column& a)
{
    return std::sqrt(dot(a, a));
}

void subtract(Column& a, long double factor, const Column& b)
{
    for (std::size_t i = 0; i < a.size(); ++i) a[i] -= factor * b[i];
}

/// A constrained system with its sides split, in extended precision.
struct Problem {
    DoubleGenMat matrix;
    DoubleVec rhs;
    int constraints;

    Column row(int i) const
    {
        Column entries;
        for (int j = 0; j < static_cast<int>(matrix.cols()); ++j) entries.push_back(matrix(i, j));
        return entries;
    }
};

/// An orthonormal basis of the constraint rows' span: Gram and Schmidt, twice.
std::vector<Column> constraintBasis(const Problem& p)
{
    const int rows = static_cast<int>(p.matrix.rows());
    std::vector<Column> basis;
    for (int i = rows - p.constraints; i < rows; ++i) {
        Column v = p.row(i);
        for (int pass = 0; pass < 2; ++pass)
            for (const Column& q : basis) subtract(v, dot(v, q), q);
        const long double length = norm(v);
        for (long double& entry : v) entry /= length;
        basis.push_back(v);
    }
    return basis;
}

struct Quality {
    double constraintRatio;  // residual over eps (|C| |x| + |d|)
    double gradientRatio;    // projected gradient over eps |A| (|A| |x| + |b|)
};

/// How well x meets the constraints, and how flat the sum of squares is along them.
Quality qualityOf(const Problem& p, const DoubleVec& solution)
{
    const int rows = static_cast<int>(p.matrix.rows());
    const int first = rows - p.constraints;
    Column x;
    for (int j = 0; j < static_cast<int>(solution.length()); ++j) x.push_back(solution(j));
    Column gradient(x.size(), 0.0L);
    Column residuals;
    Column fittedRhs;
    long double matrixSquares = 0.0L;
    double worstConstraint = 0.0;
    for (int i = 0; i < rows; ++i) {
        const Column row = p.row(i);
        const long double residual = dot(row, x) - p.rhs(i);
        if (i < first) {
            subtract(gradient, -residual, row);
            matrixSquares += dot(row, row);
            fittedRhs.push_back(p.rhs(i));
            continue;
        }
        const long double scale = norm(row) * norm(x) + std::fabs(p.rhs(i));
        worstConstraint =
            std::max(worstConstraint, static_cast<double>(std::fabs(residual) / (kEps * scale)));
    }
    for (const Column& q : constraintBasis(p)) subtract(gradient, dot(gradient, q), q);
    const long double size = std::sqrt(matrixSquares);
    const long double scale = size * (size * norm(x) + norm(fittedRhs));
    const double flat = scale == 0.0L ? 0.0 : static_cast<double>(norm(gradient) / (kEps * scale));
    return {worstConstraint, flat};
}

/// Rows of about unit size; the singular values of the whole fall to 1 / condition.
DoubleGenMat conditionedMatrix(unsigned rows, unsigned cols, double condition, unsigned seed)
{
    const unsigned inner = std::min(rows, cols);
    DoubleGenMat left = knotwork_test::randomMatrix(rows, inner, seed);
    const DoubleGenMat right = knotwork_test::randomMatrix(inner, cols, seed + 1);
    for (int j = 0; j < static_cast<int>(inner); ++j)
        left.col(j) *= std::pow(condition, -j / std::max(1.0, inner - 1.0));
    return product(left, right);
}

}  // namespace

TEST(HouseholderPropertyTest, ConstraintsAreMetAndTheRestIsLeastSquares)
{
    constexpr double kBound = 10.0;  // times max(rows, cols)
    knotwork_test::Dice dice(20261121);
    int solved = 0;
    double worstConstraint = 0.0;
    double worstGradient = 0.0;
    for (unsigned seed = 1; seed <= 1500; ++seed) {
        const unsigned cols = 1 + dice.below(40);
        const unsigned rows = cols + dice.below(61 - cols);
        const double condition = std::pow(10.0, dice.below(7));
        Problem p{conditionedMatrix(rows, cols, condition, 2 * seed), DoubleVec(), 0};
        p.rhs.reference(knotwork_test::vecFrom(knotwork_test::randomNumbers<double>(rows, seed)));
        p.constraints = static_cast<int>(dice.below(cols + 1));
        SCOPED_TRACE("seed " + std::to_string(seed));
        Thouseholder solver(1e-15, 0, false);
        ASSERT_EQ(solver.setMatrix(p.matrix, p.constraints, false, false, false), 0);
        DoubleVec x(cols);
        ASSERT_EQ(solver.solve(p.rhs, &x, false), 0);
        const Quality quality = qualityOf(p, x);
        const double size = std::max(rows, cols);
        EXPECT_LE(quality.constraintRatio, kBound * size);
        EXPECT_LE(quality.gradientRatio, kBound * size);
        worstConstraint = std::max(worstConstraint, quality.constraintRatio / size);
        worstGradient = std::max(worstGradient, quality.gradientRatio / size);
        ++solved;
    }
    RecordProperty("systems", solved);
    RecordProperty("worst_constraint_in_eps", std::to_string(worstConstraint));
    RecordProperty("worst_gradient_in_eps", std::to_string(worstGradient));
}

TEST(HouseholderPropertyTest, UnderDeterminedSystemsGetTheirShortestSolution)
{
    knotwork_test::Dice dice(5);
    for (unsigned seed = 1; seed <= 300; ++seed) {
        const unsigned rows = 1 + dice.below(20);
        const unsigned cols = rows + 1 + dice.below(30);
        Problem p{knotwork_test::randomMatrix(rows, cols, seed), DoubleVec(),
                  static_cast<int>(rows)};
        p.rhs.reference(
            knotwork_test::vecFrom(knotwork_test::randomNumbers<double>(rows, seed + 1)));
        SCOPED_TRACE("seed " + std::to_string(seed));
        Thouseholder solver(1e-15, 0, false);
        ASSERT_EQ(solver.setMatrix(p.matrix, static_cast<int>(dice.below(3)), false, false, false),
                  0);
        const DoubleVec solution = solver.solve(p.rhs);
        EXPECT_LE(qualityOf(p, solution).constraintRatio, 60.0 * cols);
        // The shortest solution has nothing outside the span of the rows.
        Column outside;
        for (int j = 0; j < static_cast<int>(cols); ++j) outside.push_back(solution(j));
        const long double length = norm(outside);
        for (const Column& q : constraintBasis(p)) subtract(outside, dot(outside, q), q);
        EXPECT_LE(static_cast<double>(norm(outside)),
                  1e4 * kEps * cols * static_cast<double>(length));
    }
}

TEST(HouseholderPropertyTest, SparseAndDenseFormsOfASystemAgree)
{
    // A B-spline-like band, and the same system with its empty blocks filled by entries that are
    // too small to count: the skipped and the literal work must give one answer.
    knotwork_test::Dice dice(9);
    for (unsigned seed = 1; seed <= 40; ++seed) {
        const unsigned cols = 20 + dice.below(60);
        const unsigned rows = cols * (1 + dice.below(8)) + 40;
        const int constraints = static_cast<int>(dice.below(8));
        DoubleGenMat a(rows, cols, 0.0);
        const std::vector<double> numbers =
            knotwork_test::randomNumbers<double>(std::size_t{rows} * 4, seed);
        const unsigned fitted = rows - static_cast<unsigned>(constraints);
        for (unsigned i = 0; i < rows; ++i) {
            const unsigned first =
                i < fitted ? i * (cols - 3) / fitted : (i - fitted) * (cols - 3) / 8;
            for (unsigned k = 0; k < 4; ++k)
                a(static_cast<int>(i), static_cast<int>(first + k)) = 0.3 + numbers[4 * i + k] / 4;
        }
        DoubleGenMat filled(a.copy());
        for (int j = 0; j < static_cast<int>(cols); ++j)
            for (int i = 0; i < static_cast<int>(rows); ++i)
                if (filled(i, j) == 0.0) filled(i, j) = 1e-300;
        const DoubleVec b =
            knotwork_test::vecFrom(knotwork_test::randomNumbers<double>(rows, seed + 9));
        SCOPED_TRACE("seed " + std::to_string(seed));
        Thouseholder sparse(1e-15, 0, false);
        Thouseholder dense(1e-15, 0, false);
        ASSERT_EQ(sparse.setMatrix(a, constraints, false, false, false), 0);
        ASSERT_EQ(dense.setMatrix(filled, constraints, false, false, false), 0);
        const DoubleVec x = sparse.solve(b);
        const DoubleVec difference = x - dense.solve(b);
        EXPECT_LE(difference.vecLen(), 1e-9 * x.vecLen());
    }
}
