// SPDX-License-Identifier: MIT
#include "knotwork/factor/kernels/BlockedQR.h"

#include <algorithm>
#include <cmath>

#include "knotwork/factor/kernels/InverseNorm.h"
#include "knotwork/factor/kernels/LaneKernels.h"
#include "knotwork/factor/kernels/Reflection.h"
#include "knotwork/factor/kernels/ReflectionBlock.h"

namespace knotwork {

BlockedQR::BlockedQR(const Panel& a) : a_(a), taus_(static_cast<std::size_t>(a.cols))
{
    reduceInBlocks(a_, cols(), taus_.data(), [&](int first, int count) {
        for (int j = first; j < first + count; ++j)
            if (taus_[static_cast<std::size_t>(j)] != 0.0 &&
                !hasSafeSquare(std::fabs(column(j)[j])))
                sound_ = false;
    });
}

void BlockedQR::applyFromRight(const Panel& e) const
{
    for (int first = 0; first < cols(); first += ReflectionBlock::kMost) {
        const int count = std::min(ReflectionBlock::kMost, cols() - first);
        const int rest = rows() - first;
        ReflectionBlock::combine(a_.part(first, first, rest, count),
                                 &taus_[static_cast<std::size_t>(first)])
            .applyFromRight(e.part(0, first, e.rows, rest));
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
