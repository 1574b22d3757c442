// SPDX-License-Identifier: MIT
#include "knotwork/sparse/RowCompression.h"

#include <cmath>

namespace knotwork {

namespace {

constexpr int kPadding = 4;  // rows of a block are padded to a multiple of this
constexpr double kMostMagnitude = 1e100;
constexpr double kLeastMagnitude = 1e-100;

std::ptrdiff_t padded(int rows)
{
    return (std::ptrdiff_t{rows} + kPadding - 1) / kPadding * kPadding;
}

/// The power of two that brings the largest magnitude to about 1; 1 where that lies well inside the
/// range of doubles.
double unitFactor(const SpanRows& rows)
{
    double largest = 0.0;
    for (const double v : rows.numbers()) largest = std::max(largest, std::fabs(v));
    if (largest == 0.0 || !std::isfinite(largest)) return 1.0;
    if (largest > kLeastMagnitude && largest < kMostMagnitude) return 1.0;
    return std::ldexp(1.0, std::min(-std::ilogb(largest), 1000));
}

}  // namespace

RowCompression::RowCompression(const SpanRows& rows, int count)
{
    const double factor = unitFactor(rows);
    sortRows(rows, count);
    plan(rows);
    gather(rows, factor);
    reduce();
    if (factor != 1.0) triangle_.scale(1.0 / factor);
}

/// A counting sort: rows with the same first column keep their order.
void RowCompression::sortRows(const SpanRows& rows, int count)
{
    std::vector<int> places(static_cast<std::size_t>(rows.cols()) + 1, 0);
    int used = 0;
    for (int i = 0; i < count; ++i) {
        if (rows.count(i) == 0) continue;
        ++places[static_cast<std::size_t>(rows.first(i)) + 1];
        ++used;
    }
    for (std::size_t j = 1; j < places.size(); ++j) places[j] += places[j - 1];
    order_.resize(static_cast<std::size_t>(used));
    for (int i = 0; i < count; ++i)
        if (rows.count(i) > 0)
            order_[static_cast<std::size_t>(places[static_cast<std::size_t>(rows.first(i))]++)] = i;
}

/// Cuts the rows into blocks and follows how far the triangle's rows will reach: a block fills up
/// to the end of every row of the triangle that it is reduced against, and those rows to its own.
void RowCompression::plan(const SpanRows& rows)
{
    const int cols = rows.cols();
    std::vector<int> ends(static_cast<std::size_t>(cols));
    for (int j = 0; j < cols; ++j) ends[static_cast<std::size_t>(j)] = j;
    std::ptrdiff_t numbers = 0;
    std::ptrdiff_t taus = 0;
    const int total = static_cast<int>(order_.size());
    for (int at = 0; at < total;) {
        const int column = rows.first(order_[static_cast<std::size_t>(at)]);
        Block block = {column, 0, 0, -1, at, numbers, taus};
        int& ownEnd = ends[static_cast<std::size_t>(column)];
        if (ownEnd == column) {
            block.moved = at++;
            block.firstRow = at;
            ownEnd = rows.end(order_[static_cast<std::size_t>(block.moved)]);
        }
        int end = column;
        for (; at < total && rows.first(order_[static_cast<std::size_t>(at)]) == column; ++at)
            end = std::max(end, rows.end(order_[static_cast<std::size_t>(at)]));
        block.rows = at - block.firstRow;
        if (block.rows > 0) {
            for (int j = column; j < end; ++j)
                end = std::max(end, ends[static_cast<std::size_t>(j)]);
            for (int j = column; j < end; ++j) ends[static_cast<std::size_t>(j)] = end;
            block.width = end - column;
        }
        blocks_.push_back(block);
        numbers += padded(block.rows) * block.width;
        taus += block.width;
        mostRows_ = std::max(mostRows_, block.rows);
        mostColumns_ = std::max(mostColumns_, block.width);
    }
    triangle_ = BandTriangle(ends);
    numbers_.resize(static_cast<std::size_t>(numbers));
    taus_.resize(static_cast<std::size_t>(taus));
}

void RowCompression::gather(const SpanRows& rows, double factor)
{
    for (const Block& block : blocks_) {
        if (block.moved >= 0) {
            const int row = order_[static_cast<std::size_t>(block.moved)];
            double* to = triangle_.values() + triangle_.starts()[block.column];
            for (int k = 0; k < rows.count(row); ++k) to[k] = factor * rows.values(row)[k];
        }
        const std::ptrdiff_t leading = padded(block.rows);
        for (int i = 0; i < block.rows; ++i) {
            const int row = order_[static_cast<std::size_t>(block.firstRow + i)];
            double* to = numbers_.data() + block.numbers + i;
            for (int k = 0; k < rows.count(row); ++k)
                to[leading * k] = factor * rows.values(row)[k];
        }
    }
}

BlockShape RowCompression::shapeOf(const Block& block)
{
    return {padded(block.rows), block.rows, block.width};
}

void RowCompression::reduce()
{
    std::vector<double> scratch(static_cast<std::size_t>(mostColumns_) + 1);
    for (const Block& block : blocks_)
        if (block.rows > 0)
            reduceBlock(shapeOf(block), numbers_.data() + block.numbers, taus_.data() + block.taus,
                        triangle_.values(), triangle_.starts() + block.column, scratch.data());
}

}  // namespace knotwork
