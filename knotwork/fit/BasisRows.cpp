// SPDX-License-Identifier: MIT
#include "knotwork/fit/BasisRows.h"

#include <algorithm>
#include <cmath>

namespace knotwork {

void BasisRows::reserve(std::size_t rows)
{
    firstColumn_.reserve(rows);
    entries_.reserve(rows * static_cast<std::size_t>(width()));
}

void BasisRows::append(double t, int derivative)
{
    entries_.resize(entries_.size() + static_cast<std::size_t>(width()));
    double* row = entries_.data() + entries_.size() - width();
    firstColumn_.push_back(basis_.row(t, derivative, row));
}

void BasisRows::scaleLast(double factor)
{
    std::for_each(entries_.end() - width(), entries_.end(), [factor](double& x) { x *= factor; });
}

double BasisRows::lastLength() const
{
    double squares = 0.0;
    std::for_each(entries_.end() - width(), entries_.end(),
                  [&squares](double x) { squares += x * x; });
    return std::sqrt(squares);
}

long double BasisRows::times(int row, const double* unknowns, int step) const
{
    const double* entry = entries(row);
    const double* unknown = unknowns + std::ptrdiff_t{firstColumn(row)} * step;
    long double total = 0.0L;
    for (int k = 0; k < width(); ++k, unknown += step)
        total += static_cast<long double>(entry[k]) * *unknown;
    return total;
}

void BasisRows::addTo(std::vector<long double>& totals, int row, double factor) const
{
    const auto first = static_cast<std::size_t>(firstColumn(row));
    for (std::size_t k = 0; k < static_cast<std::size_t>(width()); ++k)
        totals[first + k] += static_cast<long double>(entries(row)[k]) * factor;
}

DoubleGenMat BasisRows::dense() const
{
    DoubleGenMat matrix(static_cast<unsigned>(count()), static_cast<unsigned>(basis_.count()), 0.0);
    if (matrix.rows() == 0) return matrix;
    for (int i = 0; i < count(); ++i)
        for (int k = 0; k < width(); ++k) matrix(i, firstColumn(i) + k) = entries(i)[k];
    return matrix;
}

}  // namespace knotwork
