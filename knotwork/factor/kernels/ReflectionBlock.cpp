// SPDX-License-Identifier: MIT
#include "knotwork/factor/kernels/ReflectionBlock.h"

#include <algorithm>

#include "knotwork/factor/kernels/PanelKernels.h"
#include "knotwork/factor/kernels/Reflection.h"

namespace knotwork {

namespace {

using Operand = MatrixOperand<double>;

constexpr int kMost = ReflectionBlock::kMost;
constexpr int kFew = 8;     // columns that are reflected one by one
constexpr int kStrip = 96;  // columns, or rows, that take a block at a time: they stay in the cache

/// rows x cols numbers, column after column.
Operand operand(const double* numbers, std::ptrdiff_t leading, int rows, int cols)
{
    return {numbers, 1, leading, static_cast<unsigned>(rows), static_cast<unsigned>(cols)};
}

Operand operand(const Panel& a)
{
    return operand(a.corner, a.leading, a.rows, a.cols);
}

/// The vectors' first rows with their ones and zeros in place, and the others where they are.
class Vectors {
  public:
    explicit Vectors(const Panel& w) : below(operand(w.part(w.cols, 0, w.rows - w.cols, w.cols)))
    {
        for (int j = 0; j < w.cols; ++j) {
            double* to = numbers_ + w.cols * j;
            std::fill_n(to, j, 0.0);
            to[j] = 1.0;
            std::copy_n(w.at(j, j) + 1, w.cols - j - 1, to + j + 1);
        }
        top = operand(numbers_, w.cols, w.cols, w.cols);
    }
    Vectors(const Vectors&) = delete;

    Operand top;
    Operand below;

  private:
    double numbers_[kMost * kMost];
};

/// The nearer to the middle the better, in whole groups of those that go one by one.
int halfOf(int count)
{
    return (count + 2 * kFew - 1) / (2 * kFew) * kFew;
}

/// c += W factor W^T c.
void reflectFromLeft(const Panel& w, const Operand& factor, const Panel& c)
{
    const Vectors vectors(w);
    for (int j = 0; j < c.cols; j += kStrip) {
        const int cols = std::min(kStrip, c.cols - j);
        const Panel upper = c.part(0, j, w.cols, cols);
        const Panel lower = c.part(w.cols, j, w.rows - w.cols, cols);
        double products[kMost * kStrip];
        double multiples[kMost * kStrip];
        const Operand factors = operand(multiples, w.cols, w.cols, cols);
        multiply(vectors.top.transposed(), operand(upper), products);
        addProduct(vectors.below.transposed(), operand(lower), products, w.cols);
        multiply(factor, operand(products, w.cols, w.cols, cols), multiples);
        addProduct(vectors.top, factors, upper.corner, c.leading);
        addProduct(vectors.below, factors, lower.corner, c.leading);
    }
}

}  // namespace

void reduceOneByOne(const Panel& a, int columns, double* taus)
{
    for (int j = 0; j < columns; ++j) {
        double* w = a.at(j, j);
        taus[j] = 0.0;
        if (j == a.rows - 1) continue;
        const Reflection reflection = makeReflection(a.rows - j, w);
        taus[j] = reflection.tau;
        if (reflection.tau == 0.0) continue;
        reflectColumns(w, reflection.tau, a.part(j, j + 1, a.rows - j, a.cols - j - 1));
        w[0] = reflection.sigma;
    }
}

ReflectionBlock::ReflectionBlock(const Panel& w) : w_(w)
{
    std::fill_n(factor_, kMost * w.cols, 0.0);
}

ReflectionBlock ReflectionBlock::factor(const Panel& columns, double* taus)
{
    ReflectionBlock block(columns);
    block.factorPart(0, columns.cols, taus);
    return block;
}

ReflectionBlock ReflectionBlock::combine(const Panel& vectors, const double* taus)
{
    ReflectionBlock block(vectors);
    block.combinePart(0, vectors.cols, taus);
    return block;
}

Panel ReflectionBlock::part(int first, int count) const
{
    return w_.part(first, first, w_.rows - first, count);
}

void ReflectionBlock::factorPart(int first, int count, double* taus)
{
    if (count <= kFew) {
        reduceOneByOne(part(first, count), count, taus + first);
        combineFew(first, count, taus);
        return;
    }
    const int half = halfOf(count);
    factorPart(first, half, taus);
    reflectFromLeft(part(first, half), factor(first, half).transposed(),
                    w_.part(first, first + half, w_.rows - first, count - half));
    factorPart(first + half, count - half, taus);
    mergeParts(first, half, count);
}

void ReflectionBlock::combinePart(int first, int count, const double* taus)
{
    if (count <= kFew) return combineFew(first, count, taus);
    const int half = halfOf(count);
    combinePart(first, half, taus);
    combinePart(first + half, count - half, taus);
    mergeParts(first, half, count);
}

/// Column j of T is -tau_j T (W^T w_j) above the diagonal, and tau_j on it.
void ReflectionBlock::combineFew(int first, int count, const double* taus)
{
    for (int j = first; j < first + count; ++j) {
        double products[kFew];
        const double* columns[kFew] = {};
        const int before = j - first;
        for (int i = 0; i < before; ++i) columns[i] = w_.at(0, first + i);
        for (int i = 0; i < before; i += kPanel)
            panelDot(RowRange{j + 1, w_.rows}, w_.at(0, j), columns + i,
                     std::min(kPanel, before - i), products + i);
        for (int i = 0; i < before; ++i) products[i] += columns[i][j];
        for (int i = 0; i < before; ++i) {
            double sum = 0.0;
            for (int k = i; k < before; ++k)
                sum += factor_[kMost * (first + k) + first + i] * products[k];
            factor_[kMost * j + first + i] = -taus[j] * sum;
        }
        factor_[kMost * j + j] = -taus[j];
    }
}

/// T's corner to the upper right is -T_1 (W_1^T W_2) T_2.
void ReflectionBlock::mergeParts(int first, int half, int count)
{
    const int middle = first + half;
    const int others = count - half;
    const Vectors right(part(middle, others));
    const int below = w_.rows - middle - others;
    double products[kMost * kMost];
    double once[kMost * kMost];
    multiply(operand(w_.part(middle, first, others, half)).transposed(), right.top, products);
    addProduct(operand(w_.part(middle + others, first, below, half)).transposed(), right.below,
               products, half);
    multiply(factor(first, half), operand(products, half, half, others), once);
    addProduct(operand(once, half, half, others), factor(middle, others),
               factor_ + kMost * middle + first, kMost);
}

/// -T of some of the reflections.
MatrixOperand<double> ReflectionBlock::factor(int first, int count) const
{
    return operand(factor_ + (kMost + 1) * first, kMost, count, count);
}

void ReflectionBlock::applyTransposed(const Panel& c) const
{
    reflectFromLeft(w_, factor(0, w_.cols).transposed(), c);
}

void ReflectionBlock::apply(const Panel& c) const
{
    reflectFromLeft(w_, factor(0, w_.cols), c);
}

/// e += (e W) (-T) W^T.
void ReflectionBlock::applyFromRight(const Panel& e) const
{
    const int count = w_.cols;
    const Vectors vectors(w_);
    for (int i = 0; i < e.rows; i += kStrip) {
        const int rows = std::min(kStrip, e.rows - i);
        const Panel before = e.part(i, 0, rows, count);
        const Panel behind = e.part(i, count, rows, e.cols - count);
        double products[kMost * kStrip];
        double multiples[kMost * kStrip];
        const Operand factors = operand(multiples, rows, rows, count);
        multiply(operand(before), vectors.top, products);
        addProduct(operand(behind), vectors.below, products, rows);
        multiply(operand(products, rows, rows, count), factor(0, count), multiples);
        addProduct(factors, vectors.top.transposed(), before.corner, e.leading);
        addProduct(factors, vectors.below.transposed(), behind.corner, e.leading);
    }
}

}  // namespace knotwork
