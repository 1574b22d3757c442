// SPDX-License-Identifier: MIT
#include "measures/QuadLeastSquares.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

namespace knotwork_measures {

namespace {

std::size_t at(int i)
{
    return static_cast<std::size_t>(i);
}

double squaredLength(const Quad* x, int first, int end)
{
    double total = 0.0;
    for (int i = first; i < end; ++i) {
        const auto entry = static_cast<double>(x[i]);
        total += entry * entry;
    }
    return total;
}

Quad length(const std::vector<Quad>& x)
{
    return root(std::inner_product(x.begin(), x.end(), x.begin(), Quad(0)));
}

void normalise(std::vector<Quad>& x)
{
    const Quad size = length(x);
    for (Quad& entry : x) entry /= size;
}

}  // namespace

Quad root(Quad x)
{
    const double estimate = std::sqrt(static_cast<double>(x));
    if (!(estimate > 0.0)) return 0;
    Quad y = estimate;
    for (int step = 0; step < 2; ++step) y = (y + x / y) / 2;  // 53 digits, 106, all
    return y;
}

QuadMatrix transposed(const QuadMatrix& a)
{
    QuadMatrix t(a.cols(), a.rows());
    for (int j = 0; j < a.cols(); ++j)
        for (int i = 0; i < a.rows(); ++i) t(j, i) = a(i, j);
    return t;
}

double longestColumn(const QuadMatrix& a)
{
    double most = 0.0;
    for (int j = 0; j < a.cols(); ++j) most = std::max(most, squaredLength(a.col(j), 0, a.rows()));
    return std::sqrt(most);
}

PivotedQr::PivotedQr(QuadMatrix a, double size)
    : a_(std::move(a)), pivots_(at(a_.cols())), size_(size)
{
    std::iota(pivots_.begin(), pivots_.end(), 0);
    factor();
}

void PivotedQr::factor()
{
    const int m = a_.rows();
    std::vector<double> squares;  // what is left of each column: choosing needs no more digits
    for (int j = 0; j < a_.cols(); ++j) squares.push_back(squaredLength(a_.col(j), 0, m));
    for (int k = 0; k < a_.cols(); ++k) {
        const auto most = std::max_element(squares.begin() + k, squares.end());
        const double left = k < m ? std::sqrt(*most) : 0.0;
        margin_ = size_ > 0.0 ? std::min(margin_, left / size_) : 0.0;
        if (!(margin_ > kRankTolerance)) return;
        const int p = static_cast<int>(most - squares.begin());
        std::swap(squares[at(k)], squares[at(p)]);
        std::swap(pivots_[at(k)], pivots_[at(p)]);
        if (p != k) std::swap_ranges(a_.col(k), a_.col(k) + m, a_.col(p));
        reflections_.push_back(reflectColumn(k));
        for (int j = k + 1; j < a_.cols(); ++j) {
            reflect(reflections_.back(), k, a_.col(j));
            squares[at(j)] = squaredLength(a_.col(j), k + 1, m);
        }
    }
}

PivotedQr::Reflection PivotedQr::reflectColumn(int k)
{
    Quad* v = a_.col(k);
    Reflection reflection{0, {}};
    Quad squares = 0;
    for (int i = k; i < a_.rows(); ++i) {
        if (i != k && v[i] == 0) continue;
        reflection.nonZeros.push_back(i);
        squares += v[i] * v[i];
    }
    const Quad size = root(squares);
    const Quad sigma = v[k] > 0 ? -size : size;
    v[k] -= sigma;
    diagonal_.push_back(sigma);
    reflection.beta = 1 / (sigma * v[k]);
    return reflection;
}

void PivotedQr::reflect(const Reflection& reflection, int k, Quad* column) const
{
    const Quad* v = a_.col(k);
    Quad product = 0;
    for (const int i : reflection.nonZeros)
        if (column[i] != 0) product += v[i] * column[i];
    if (product == 0) return;
    product *= reflection.beta;
    for (const int i : reflection.nonZeros) column[i] += product * v[i];
}

void PivotedQr::applyTransposed(QuadMatrix& b) const
{
    for (int j = 0; j < b.cols(); ++j)
        for (int k = 0; k < rank(); ++k) reflect(reflections_[at(k)], k, b.col(j));
}

void PivotedQr::apply(QuadMatrix& b) const
{
    for (int j = 0; j < b.cols(); ++j)
        for (int k = rank() - 1; k >= 0; --k) reflect(reflections_[at(k)], k, b.col(j));
}

void PivotedQr::solveInPlace(Quad* x) const
{
    for (int j = rank() - 1; j >= 0; --j) {
        x[j] /= r(j, j);
        for (int i = 0; i < j; ++i) x[i] -= r(i, j) * x[j];
    }
}

void PivotedQr::solveTransposedInPlace(Quad* x) const
{
    for (int j = 0; j < rank(); ++j) {
        for (int i = 0; i < j; ++i) x[j] -= r(i, j) * x[i];
        x[j] /= r(j, j);
    }
}

QuadMatrix PivotedQr::solve(const QuadMatrix& b) const
{
    QuadMatrix x(rank(), b.cols());
    std::vector<Quad> permuted(at(rank()));
    for (int j = 0; j < b.cols(); ++j) {
        std::copy_n(b.col(j), rank(), permuted.begin());
        solveInPlace(permuted.data());
        for (int k = 0; k < rank(); ++k) x(pivot(k), j) = permuted[at(k)];
    }
    return x;
}

QuadMatrix PivotedQr::solveTransposed(const QuadMatrix& b) const
{
    QuadMatrix y(rank(), b.cols());
    for (int j = 0; j < b.cols(); ++j) {
        for (int k = 0; k < rank(); ++k) y(k, j) = b(pivot(k), j);
        solveTransposedInPlace(y.col(j));
    }
    return y;
}

double PivotedQr::condition() const
{
    constexpr int kSteps = 10;
    const int n = rank();
    if (n == 0) return 1.0;
    std::vector<Quad> large(at(n));  // by powers of R^T R
    std::vector<Quad> small(at(n));  // by powers of its inverse
    for (int i = 0; i < n; ++i) {
        large[at(i)] = 1 + i % 3;
        small[at(i)] = (i % 2 == 0 ? 1 : -1) * (3 + i % 5);
    }
    Quad largest = 0;
    Quad smallestInverse = 0;
    for (int step = 0; step < kSteps; ++step) {
        normalise(large);
        for (int i = 0; i < n; ++i) {
            large[at(i)] *= r(i, i);
            for (int j = i + 1; j < n; ++j) large[at(i)] += r(i, j) * large[at(j)];
        }
        largest = length(large);
        for (int j = n - 1; j >= 0; --j) {
            large[at(j)] *= r(j, j);
            for (int i = 0; i < j; ++i) large[at(j)] += r(i, j) * large[at(i)];
        }
        normalise(small);
        solveTransposedInPlace(small.data());
        smallestInverse = length(small);
        solveInPlace(small.data());
    }
    return std::max(static_cast<double>(largest), size_) * static_cast<double>(smallestInverse);
}

ConstrainedLeastSquares::ConstrainedLeastSquares(QuadMatrix dataRows,
                                                 const QuadMatrix& constraintRows,
                                                 double constraintSize)
    : constraints_(constraintRows, std::max(longestColumn(constraintRows), constraintSize)),
      dataSize_(longestColumn(dataRows)),
      rotatedRows_(rotated(std::move(dataRows))),
      data_(leftOver(), dataSize_)
{
}

QuadMatrix ConstrainedLeastSquares::rotated(QuadMatrix dataRows) const
{
    if (!dependent()) constraints_.applyTransposed(dataRows);
    return dataRows;
}

QuadMatrix ConstrainedLeastSquares::leftOver() const
{
    if (dependent()) return QuadMatrix(0, 0);
    const int taken = constraints_.rank();
    QuadMatrix rows(rotatedRows_.cols(), rotatedRows_.rows() - taken);
    for (int j = 0; j < rows.cols(); ++j)
        for (int i = 0; i < rows.rows(); ++i) rows(i, j) = rotatedRows_(taken + j, i);
    return rows;
}

double ConstrainedLeastSquares::margin() const
{
    return std::min(constraints_.margin(), data_.margin());
}

double ConstrainedLeastSquares::condition() const
{
    return std::max(constraints_.condition(), data_.condition());
}

QuadMatrix ConstrainedLeastSquares::solve(QuadMatrix dataRhs, const QuadMatrix& constraintRhs) const
{
    const QuadMatrix first(constraints_.solveTransposed(constraintRhs));
    const int taken = first.rows();
    for (int k = 0; k < dataRhs.cols(); ++k)
        for (int i = 0; i < dataRhs.rows(); ++i)
            for (int j = 0; j < taken; ++j) dataRhs(i, k) -= rotatedRows_(j, i) * first(j, k);
    data_.applyTransposed(dataRhs);
    const QuadMatrix rest(data_.solve(dataRhs));
    QuadMatrix x(rotatedRows_.rows(), dataRhs.cols());
    for (int k = 0; k < x.cols(); ++k) {
        std::copy_n(first.col(k), taken, x.col(k));
        std::copy_n(rest.col(k), rest.rows(), x.col(k) + taken);
    }
    constraints_.apply(x);
    return x;
}

}  // namespace knotwork_measures
