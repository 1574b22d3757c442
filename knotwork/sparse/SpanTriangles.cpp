// SPDX-License-Identifier: MIT
#include "knotwork/sparse/SpanTriangles.h"

#include <algorithm>

namespace knotwork {

SpanTriangles::SpanTriangles(int spans, int width, int rhsWidth)
    : spans_(spans),
      width_(width),
      rhsWidth_(rhsWidth),
      size_(0),
      squares_(static_cast<std::size_t>(rhsWidth), 0.0),
      scratch_(2 * static_cast<std::size_t>(width + rhsWidth) + 1)
{
    for (int i = 0; i < width; ++i) {
        starts_.push_back(size_);
        size_ += width - i + rhsWidth;
    }
    numbers_.assign(static_cast<std::size_t>(size_ * spans), 0.0);
}

void SpanTriangles::add(int span, int rows, std::ptrdiff_t leading, double* columns)
{
    const BlockShape shape = {leading, rows, width_ + rhsWidth_, width_};
    double* taus = scratch_.data() + width_ + rhsWidth_ + 1;
    reduceBlock(shape, columns, taus, numbers_.data() + size_ * span, starts_.data(),
                scratch_.data());
    for (int k = 0; k < rhsWidth_; ++k) {
        const double* left = columns + leading * (width_ + k);
        double lanes[4] = {};
        for (std::ptrdiff_t i = 0; i < leading && i < rows; i += 4)
            for (int l = 0; l < 4; ++l) lanes[l] += left[i + l] * left[i + l];
        squares_[static_cast<std::size_t>(k)] += (lanes[0] + lanes[1]) + (lanes[2] + lanes[3]);
    }
}

void SpanTriangles::merge(const SpanTriangles& other)
{
    const std::ptrdiff_t leading = (std::ptrdiff_t{width_} + 3) / 4 * 4;
    std::vector<double> columns(static_cast<std::size_t>(leading * (width_ + rhsWidth_)));
    for (int span = 0; span < spans_; ++span) {
        std::fill(columns.begin(), columns.end(), 0.0);
        for (int i = 0; i < width_; ++i)
            for (int c = i; c < width_ + rhsWidth_; ++c)
                columns[static_cast<std::size_t>(leading * c + i)] = other.row(span, i)[c - i];
        add(span, width_, leading, columns.data());
    }
    for (std::size_t k = 0; k < squares_.size(); ++k) squares_[k] += other.squares_[k];
}

bool SpanTriangles::empty(int span) const
{
    for (int i = 0; i < width_; ++i)
        if (std::any_of(row(span, i), row(span, i) + width_ - i, [](double x) { return x != 0.0; }))
            return false;
    return true;
}

void SpanTriangles::scaleRows(double factor)
{
    for (double& x : numbers_) x *= factor;
    for (double& x : squares_) x *= factor * factor;
}

void SpanTriangles::scaleRhs(int k, double factor)
{
    for (int span = 0; span < spans_; ++span)
        for (int i = 0; i < width_; ++i)
            numbers_[static_cast<std::size_t>(size_ * span + starts_[static_cast<std::size_t>(i)] +
                                              width_ - i + k)] *= factor;
    squares_[static_cast<std::size_t>(k)] *= factor * factor;
}

}  // namespace knotwork
