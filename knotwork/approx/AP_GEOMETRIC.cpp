// SPDX-License-Identifier: MIT
#include "knotwork/approx/AP_GEOMETRIC.h"

#include <algorithm>
#include <cstring>

#include "knotwork/approx/detail/EndProcess.h"
#include "knotwork/approx/detail/KnotTable.h"
#include "knotwork/approx/detail/SharedDoubles.h"

namespace {

AP_MMBOX makeBox(int d)
{
    const auto n = static_cast<std::size_t>(std::max(d, 0));
    auto* numbers = new double[2 * n]();
    return {d, numbers, numbers + n};
}

void moveNumbers(double* to, const double* from, std::ptrdiff_t n)
{
    if (n > 0) std::memmove(to, from, static_cast<std::size_t>(n) * sizeof(double));
}

}  // namespace

AP_GEOMETRIC::AP_GEOMETRIC(int d)
    : points_(nullptr), capacity_(0), dimension_(d), box_(makeBox(d)), boxValid_(0)
{
}

AP_GEOMETRIC::AP_GEOMETRIC(const AP_GEOMETRIC& other)
    : points_(nullptr),
      capacity_(other.capacity_),
      dimension_(other.dimension_),
      box_(makeBox(other.dimension_)),  // before the points, which nobody would give back
      boxValid_(other.boxValid_)
{
    points_ = knotwork::shareDoubles(other.points_);
    moveNumbers(box_.min, other.box_.min, 2 * std::ptrdiff_t{dimension_});
}

AP_GEOMETRIC::~AP_GEOMETRIC()
{
    knotwork::releaseDoubles(points_);
    delete[] box_.min;
}

void AP_GEOMETRIC::makePoints(int count, int coords)
{
    const int capacity = std::max(count, 0);
    const std::ptrdiff_t numbers = std::ptrdiff_t{capacity} * std::max(coords, 0);
    points_ = knotwork::makeDoubles(static_cast<std::size_t>(numbers));
    capacity_ = capacity;
}

void AP_GEOMETRIC::writeNumbers(std::ptrdiff_t at, const double* v, std::ptrdiff_t n)
{
    moveNumbers(points_ + at, v, n);
    boxValid_ = 0;
}

void AP_GEOMETRIC::reservePoints(int count, int used, int coords, int step)
{
    if (count <= capacity_) return;
    double* old = points_;
    makePoints(capacity_ + (count - capacity_ + step - 1) / step * step, coords);
    moveNumbers(points_, old, std::ptrdiff_t{used} * coords);
    knotwork::releaseDoubles(old);
}

void AP_GEOMETRIC::insertPoints(Rows net, const knotwork::KnotTable& refined, int q, double t,
                                int r)
{
    const std::ptrdiff_t length = net.length;
    const std::ptrdiff_t oldRow = net.perRow * length;
    const std::ptrdiff_t newRow = oldRow + r * length;
    for (std::ptrdiff_t j = net.rows - 1; j >= 0; --j) {  // the last row first: rows move up
        const double* from = points_ + j * oldRow;
        double* to = points_ + j * newRow;
        moveNumbers(to + (q + r) * length, from + q * length, (net.perRow - q) * length);
        moveNumbers(to, from, q * length);
        for (int i = q; i < q + r; ++i) moveNumbers(to + i * length, to + (q - 1) * length, length);
        refined.blend(q, t, to, net.length, net.perRow + r);
    }
}

const AP_MMBOX& AP_GEOMETRIC::boxOf(int force, int count, bool rational)
{
    if (boxValid_ != 0 && force == 0) return box_;
    boxValid_ = 1;
    const int d = dimension_;
    const double* point = points_;
    for (int i = 0; i < count; ++i, point += rational ? d + 1 : d)
        for (int c = 0; c < d; ++c) {
            const double x = rational ? point[c] / point[d] : point[c];
            if (i == 0 || x < box_.min[c]) box_.min[c] = x;
            if (i == 0 || x > box_.max[c]) box_.max[c] = x;
        }
    return box_;
}

void AP_GEOMETRIC::checkCount(int count, std::ptrdiff_t expected)
{
    if (count != 0 && count != expected) knotwork::endProcess();
}
