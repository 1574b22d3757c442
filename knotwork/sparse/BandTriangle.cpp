// SPDX-License-Identifier: MIT
#include "knotwork/sparse/BandTriangle.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "knotwork/factor/kernels/InverseNorm.h"
#include "knotwork/factor/kernels/LaneKernels.h"
#include "knotwork/factor/kernels/Pack.h"

namespace knotwork {

BandTriangle::BandTriangle(const std::vector<int>& ends)
{
    starts_.reserve(ends.size() + 1);
    for (std::size_t j = 0; j < ends.size(); ++j)
        starts_.push_back(starts_.back() + std::max(0, ends[j] - static_cast<int>(j)));
    values_.resize(static_cast<std::size_t>(starts_.back()));
}

namespace {

/// y_k -= row[k] x over k < count, the rows y_k of lanes lying one after the other.
template <int Lanes>
void subtractMultiples(const double* row, int count, const double* x, double* y)
{
    for (int k = 0; k < count; ++k, y += Lanes)
        for (int c = 0; c < Lanes; ++c) y[c] -= row[k] * x[c];
}

}  // namespace

int BandTriangle::mostEntries() const
{
    int most = 0;
    for (int j = 0; j < size(); ++j) most = std::max(most, count(j));
    return most;
}

/// The 2-norm of a matrix squared is at most its 1-norm times its infinity norm.
double BandTriangle::normBound() const
{
    std::vector<double> columnSums(static_cast<std::size_t>(size()), 0.0);
    double rowSum = 0.0;
    for (int j = 0; j < size(); ++j) {
        double sum = 0.0;
        for (int k = 0; k < count(j); ++k) {
            const double magnitude = std::fabs(row(j)[k]);
            sum += magnitude;
            columnSums[static_cast<std::size_t>(j + k)] += magnitude;
        }
        rowSum = std::max(rowSum, sum);
    }
    double columnSum = 0.0;
    for (const double sum : columnSums) columnSum = std::max(columnSum, sum);
    return std::sqrt(rowSum) * std::sqrt(columnSum);
}

void BandTriangle::scale(double factor)
{
    for (double& v : values_) v *= factor;
}

void BandTriangle::raiseDiagonal(double least)
{
    std::vector<double> values;
    values.reserve(values_.size());
    for (int j = 0; j < size(); ++j) {
        const auto first = values.size();
        values.insert(values.end(), row(j), row(j) + count(j));
        if (count(j) == 0) values.push_back(0.0);
        if (!(std::fabs(values[first]) >= least)) values[first] = least;
    }
    std::vector<std::ptrdiff_t> starts = {0};
    for (int j = 0; j < size(); ++j) starts.push_back(starts.back() + std::max(1, count(j)));
    starts_ = std::move(starts);
    values_ = std::move(values);
}

template <int Lanes>
void BandTriangle::subtractProduct(const double* x, double* y) const
{
    for (int j = 0; j < size(); ++j)
        subtractLanes<Lanes>(row(j), count(j), x + std::ptrdiff_t{Lanes} * j,
                             y + std::ptrdiff_t{Lanes} * j);
}

template <int Lanes>
void BandTriangle::solve(double* y) const
{
    for (int j = size() - 1; j >= 0; --j) {
        double* here = y + std::ptrdiff_t{Lanes} * j;
        subtractLanes<Lanes>(row(j) + 1, count(j) - 1, here + Lanes, here);
        const double diagonal = row(j)[0];
        for (int c = 0; c < Lanes; ++c) here[c] /= diagonal;
    }
}

template <int Lanes>
void BandTriangle::subtractTransposedProduct(const double* x, double* y) const
{
    for (int j = 0; j < size(); ++j)
        subtractMultiples<Lanes>(row(j), count(j), x + std::ptrdiff_t{Lanes} * j,
                                 y + std::ptrdiff_t{Lanes} * j);
}

template <int Lanes>
void BandTriangle::solveTransposed(double* y) const
{
    for (int j = 0; j < size(); ++j) {
        double* here = y + std::ptrdiff_t{Lanes} * j;
        const double diagonal = row(j)[0];
        for (int c = 0; c < Lanes; ++c) here[c] /= diagonal;
        subtractMultiples<Lanes>(row(j) + 1, count(j) - 1, here, here + Lanes);
    }
}

template void BandTriangle::subtractProduct<kFewLanes>(const double*, double*) const;
template void BandTriangle::subtractProduct<kManyLanes>(const double*, double*) const;
template void BandTriangle::solve<kFewLanes>(double*) const;
template void BandTriangle::solve<kManyLanes>(double*) const;
template void BandTriangle::subtractTransposedProduct<kFewLanes>(const double*, double*) const;
template void BandTriangle::subtractTransposedProduct<kManyLanes>(const double*, double*) const;
template void BandTriangle::solveTransposed<kFewLanes>(double*) const;
template void BandTriangle::solveTransposed<kManyLanes>(double*) const;

/// Both for the estimate only: the reciprocals wait for nothing.
void BandTriangle::solveRoughly(double* y) const
{
    for (int j = size() - 1; j >= 0; --j) {
        const double* entries = row(j);
        const double reciprocal = 1.0 / entries[0];
        double* here = y + kPack * j;
        Pack rest = load(here);
        for (std::ptrdiff_t k = count(j) - 1; k > 0; --k)
            rest -= entries[k] * load(here + kPack * k);
        store(here, rest * reciprocal);
    }
}

void BandTriangle::solveRoughlyTransposed(double* y) const
{
    for (int j = 0; j < size(); ++j) {
        const double* entries = row(j);
        const double reciprocal = 1.0 / entries[0];
        double* here = y + kPack * j;
        const Pack found = load(here) * reciprocal;
        store(here, found);
        for (std::ptrdiff_t k = 1; k < count(j); ++k)
            store(here + kPack * k, load(here + kPack * k) - entries[k] * found);
    }
}

double BandTriangle::inverseNorm() const
{
    for (int j = 0; j < size(); ++j)
        if (diagonal(j) == 0.0) return std::numeric_limits<double>::infinity();
    return estimateInverseNorm(
        size(), [this](double* y) { solveRoughly(y); },
        [this](double* y) { solveRoughlyTransposed(y); });
}

}  // namespace knotwork
