// SPDX-License-Identifier: MIT
#include "knotwork/factor/BlockedQR.h"

#include <algorithm>
#include <cmath>

#include "knotwork/factor/InverseNorm.h"
#include "knotwork/factor/PanelKernels.h"
#include "knotwork/factor/detail/LaneKernels.h"

namespace knotwork {

namespace {

// Sums of squares in this range have lost no digits.
constexpr double kLeastSquare = 1e-280;
constexpr double kMostSquare = 1e280;
constexpr int kStrip = 96;  // rows that are multiplied from the right at a time

unsigned sizeOf(int n)
{
    return static_cast<unsigned>(n);
}

}  // namespace

BlockedQR::BlockedQR(const Panel& a)
    : a_(a),
      taus_(static_cast<std::size_t>(a.cols)),
      combined_(static_cast<std::size_t>((a.cols + kBlock - 1) / kBlock) * kBlock * kBlock)
{
    for (int first = 0; first < cols() && sound_; first += kBlock) {
        const int width = std::min(kBlock, cols() - first);
        factorColumns(first, width);
        combineReflections(first, width);
        applyToRight(first, width);
    }
}

/// Column by column, within a block only.
void BlockedQR::factorColumns(int first, int width)
{
    for (int j = first; j < first + width; ++j) {
        double* v = column(j);
        const RowRange below = {j + 1, rows()};
        double squares = 0.0;
        panelDot(below, v, &v, 1, &squares);
        double& tau = taus_[static_cast<std::size_t>(j)];
        tau = 0.0;
        if (squares == 0.0) continue;
        const double alpha = v[j];
        const double whole = alpha * alpha + squares;
        if (!(whole > kLeastSquare && whole < kMostSquare)) {
            sound_ = false;
            return;
        }
        const double norm = std::sqrt(whole);
        const double sigma = alpha > 0.0 ? -norm : norm;  // opposite signs: no cancellation below
        tau = (sigma - alpha) / sigma;
        const double inverse = 1.0 / (alpha - sigma);
        for (std::ptrdiff_t i = below.begin; i < below.end; ++i) v[i] *= inverse;
        v[j] = sigma;
        for (int k = j + 1; k < first + width; k += kPanel) {
            const int count = std::min(kPanel, first + width - k);
            double* columns[kPanel] = {};
            double factors[kPanel] = {};
            for (int c = 0; c < count; ++c) columns[c] = column(k + c);
            panelDot(below, v, columns, count, factors);
            for (int c = 0; c < count; ++c) {
                factors[c] = -tau * (columns[c][j] + factors[c]);
                columns[c][j] += factors[c];
            }
            panelUpdate(below, v, columns, count, factors);
        }
    }
}

/// -T, of which column j is tau_j (T V^T v_j - e_j).
void BlockedQR::combineReflections(int first, int width)
{
    double* T = combined_.data() + std::ptrdiff_t{first} * kBlock;
    for (int j = 0; j < width; ++j) {
        const int at = first + j;
        const double tau = taus_[static_cast<std::size_t>(at)];
        const RowRange below = {at + 1, rows()};
        double products[kBlock] = {};
        for (int i = 0; i < j; i += kPanel) {
            const int count = std::min(kPanel, j - i);
            const double* columns[kPanel] = {};
            for (int c = 0; c < count; ++c) columns[c] = column(first + i + c);
            panelDot(below, column(at), columns, count, products + i);
            for (int c = 0; c < count; ++c) products[i + c] += columns[c][at];
        }
        for (int i = 0; i < j; ++i) {
            double sum = 0.0;
            for (int k = i; k < j; ++k) sum += T[kBlock * k + i] * products[k];
            T[kBlock * j + i] = -tau * sum;
        }
        T[kBlock * j + j] = -tau;
    }
}

void BlockedQR::loadBlock(int first, int width, Block& block) const
{
    for (int j = 0; j < width; ++j) {
        double* to = block.triangle + j * width;
        std::fill_n(to, j, 0.0);
        to[j] = 1.0;
        std::copy(column(first + j) + first + j + 1, column(first + j) + first + width, to + j + 1);
    }
    block.first = first;
    block.width = width;
    block.upper = {block.triangle, 1, width, sizeOf(width), sizeOf(width)};
    block.lower = {column(first) + first + width, 1, a_.leading, sizeOf(rows() - first - width),
                   sizeOf(width)};
}

MatrixOperand<double> BlockedQR::combined(int first, int width) const
{
    return {combined_.data() + std::ptrdiff_t{first} * kBlock, 1, kBlock, sizeOf(width),
            sizeOf(width)};
}

/// C := Q^T C = C + V (-T)^T V^T C on the columns right of a block.
void BlockedQR::applyToRight(int first, int width)
{
    const int others = cols() - first - width;
    if (others == 0) return;
    Block v;
    loadBlock(first, width, v);
    double* corner = column(first + width) + first;
    const MatrixOperand<double> upper = {corner, 1, a_.leading, sizeOf(width), sizeOf(others)};
    const MatrixOperand<double> lower = {corner + width, 1, a_.leading, v.lower.rows,
                                         sizeOf(others)};
    std::vector<double> product(static_cast<std::size_t>(width) * sizeOf(others));
    std::vector<double> turned(product.size());
    multiply(v.upper.transposed(), upper, product.data());
    addProduct(v.lower.transposed(), lower, product.data(), width);
    const MatrixOperand<double> sums = {product.data(), 1, width, sizeOf(width), sizeOf(others)};
    multiply(combined(first, width).transposed(), sums, turned.data());
    const MatrixOperand<double> factors = {turned.data(), 1, width, sizeOf(width), sizeOf(others)};
    addProduct(v.upper, factors, corner, a_.leading);
    addProduct(v.lower, factors, corner + width, a_.leading);
}

void BlockedQR::applyFromRight(const Panel& e) const
{
    std::vector<double> product(kStrip * kBlock);
    std::vector<double> turned(kStrip * kBlock);
    Block v;
    for (int first = 0; first < cols(); first += kBlock) {
        const int width = std::min(kBlock, cols() - first);
        loadBlock(first, width, v);
        for (int row = 0; row < e.rows; row += kStrip) {
            const int count = std::min(kStrip, e.rows - row);
            double* corner = e.corner + e.leading * first + row;
            double* beside = corner + e.leading * width;
            const auto strip = [&](const double* data, int n) {
                return MatrixOperand<double>{data, 1, e.leading, sizeOf(count), sizeOf(n)};
            };
            const auto compact = [&](const std::vector<double>& data) {
                return MatrixOperand<double>{data.data(), 1, count, sizeOf(count), sizeOf(width)};
            };
            multiply(strip(corner, width), v.upper, product.data());
            addProduct(strip(beside, rows() - first - width), v.lower, product.data(), count);
            multiply(compact(product), combined(first, width), turned.data());
            addProduct(compact(turned), v.upper.transposed(), corner, e.leading);
            addProduct(compact(turned), v.lower.transposed(), beside, e.leading);
        }
    }
}

template <int Lanes>
void BlockedQR::reflect(double* y) const
{
    for (int j = 0; j < cols(); ++j)
        reflectLanes<Lanes>({rows(), rows() - j - 1, 1}, column(j) + j + 1,
                            &taus_[static_cast<std::size_t>(j)], y + std::ptrdiff_t{Lanes} * j,
                            y + std::ptrdiff_t{Lanes} * (j + 1));
}

template <int Lanes>
void BlockedQR::reflectBack(double* y) const
{
    for (int j = cols() - 1; j >= 0; --j)
        reflectLanes<Lanes>({rows(), rows() - j - 1, 1}, column(j) + j + 1,
                            &taus_[static_cast<std::size_t>(j)], y + std::ptrdiff_t{Lanes} * j,
                            y + std::ptrdiff_t{Lanes} * (j + 1));
}

template <int Lanes>
void BlockedQR::solve(double* y) const
{
    for (int j = cols() - 1; j >= 0; --j) {
        const double* entries = column(j);
        double* here = y + std::ptrdiff_t{Lanes} * j;
        for (int c = 0; c < Lanes; ++c) here[c] /= entries[j];
        for (int i = 0; i < j; ++i)
            for (int c = 0; c < Lanes; ++c)
                y[std::ptrdiff_t{Lanes} * i + c] -= entries[i] * here[c];
    }
}

template <int Lanes>
void BlockedQR::solveTransposed(double* y) const
{
    for (int j = 0; j < cols(); ++j) {
        const double* entries = column(j);
        double* here = y + std::ptrdiff_t{Lanes} * j;
        for (int i = 0; i < j; ++i)
            for (int c = 0; c < Lanes; ++c)
                here[c] -= entries[i] * y[std::ptrdiff_t{Lanes} * i + c];
        for (int c = 0; c < Lanes; ++c) here[c] /= entries[j];
    }
}

template void BlockedQR::reflect<kFewLanes>(double*) const;
template void BlockedQR::reflect<kManyLanes>(double*) const;
template void BlockedQR::reflectBack<kFewLanes>(double*) const;
template void BlockedQR::reflectBack<kManyLanes>(double*) const;
template void BlockedQR::solve<kFewLanes>(double*) const;
template void BlockedQR::solve<kManyLanes>(double*) const;
template void BlockedQR::solveTransposed<kFewLanes>(double*) const;
template void BlockedQR::solveTransposed<kManyLanes>(double*) const;

double BlockedQR::columnLength(int j) const
{
    double squares = 0.0;
    for (int i = 0; i <= j; ++i) squares += column(j)[i] * column(j)[i];
    return std::sqrt(squares);
}

/// The 2-norm of a matrix squared is at most its 1-norm times its infinity norm.
double BlockedQR::normBound() const
{
    std::vector<double> rowSums(static_cast<std::size_t>(cols()), 0.0);
    double columnSum = 0.0;
    for (int j = 0; j < cols(); ++j) {
        double sum = 0.0;
        for (int i = 0; i <= j; ++i) {
            const double magnitude = std::fabs(column(j)[i]);
            sum += magnitude;
            rowSums[static_cast<std::size_t>(i)] += magnitude;
        }
        columnSum = std::max(columnSum, sum);
    }
    double rowSum = 0.0;
    for (const double sum : rowSums) rowSum = std::max(rowSum, sum);
    return std::sqrt(rowSum) * std::sqrt(columnSum);
}

double BlockedQR::inverseNorm() const
{
    return estimateInverseNorm(
        cols(), [this](double* y) { solve<kFewLanes>(y); },
        [this](double* y) { solveTransposed<kFewLanes>(y); });
}

double BlockedQR::transposedInverseNorm(const std::vector<double>& scales) const
{
    const auto scale = [&](double* y) {
        for (const double factor : scales)
            for (int c = 0; c < kFewLanes; ++c) *y++ *= factor;
    };
    return estimateInverseNorm(
        cols(),
        [&](double* y) {
            scale(y);
            solveTransposed<kFewLanes>(y);
        },
        [&](double* y) {
            solve<kFewLanes>(y);
            scale(y);
        });
}

}  // namespace knotwork
