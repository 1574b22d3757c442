// SPDX-License-Identifier: MIT
#include "knotwork/approx/detail/KnotTable.h"

#include <algorithm>
#include <limits>

#include "knotwork/approx/detail/SpanSearch.h"

namespace knotwork {

namespace {

template <class T>
std::unique_ptr<T[]> makeArray(int n)
{
    return std::make_unique<T[]>(static_cast<std::size_t>(std::max(n, 0)));
}

/// An empty span is never evaluated; a host may trap division by zero all the same.
double reciprocal(double width)
{
    return width == 0.0 ? std::numeric_limits<double>::infinity() : 1.0 / width;
}

}  // namespace

KnotTable::KnotTable(int degree, int spans)
    : degree_(degree),
      spans_(spans),
      capacity_(2 * degree + spans - 1),
      knots_(makeArray<double>(capacity_)),
      repeats_(makeArray<unsigned char>(capacity_))
{
    renewReciprocals();
}

KnotTable::KnotTable(const KnotTable& other)
    : degree_(other.degree_),
      spans_(other.spans_),
      capacity_(other.count()),
      knots_(makeArray<double>(capacity_)),
      repeats_(makeArray<unsigned char>(capacity_)),
      reciprocals_(other.reciprocals_)
{
    if (capacity_ <= 0) return;
    std::copy_n(other.knots_.get(), capacity_, knots_.get());
    std::copy_n(other.repeats_.get(), capacity_, repeats_.get());
}

void KnotTable::put(int i, double value)
{
    knots_.get()[i - first()] = value;
    repeats_.get()[i - first()] = 0;
}

void KnotTable::putRepeated(int i)
{
    put(i, (*this)(i - 1));
    repeats_.get()[i - first()] = 1;
}

std::size_t KnotTable::reciprocalCount(int spans) const
{
    if (degree_ < 1 || spans < 1) return 0;
    return static_cast<std::size_t>(spans) * static_cast<std::size_t>(triangleSize(degree_));
}

void KnotTable::renewReciprocals()
{
    if (degree_ < 1 || spans_ < 1) return;
    reciprocals_.resize(reciprocalCount(spans_));
    double* next = reciprocals_.data();
    for (int s = 0; s < spans_; ++s)
        for (int r = 1; r <= degree_; ++r) {
            const double* right = at(s + 1);
            for (int i = 0; i <= degree_ - r; ++i, ++right)
                *next++ = reciprocal(right[0] - right[r - 1 - degree_]);
        }
}

void KnotTable::reserve(int more)
{
    const std::size_t reciprocals = reciprocalCount(spans_ + more);
    if (reciprocals > reciprocals_.capacity())
        reciprocals_.reserve(std::max(reciprocals, 2 * reciprocals_.size()));
    const int held = count();
    const int needed = held + more;
    if (needed <= capacity_) return;
    const int steps = (needed - capacity_ + growthStep_ - 1) / growthStep_;
    const int capacity = capacity_ + steps * growthStep_;
    auto knots = makeArray<double>(capacity);
    auto repeats = makeArray<unsigned char>(capacity);
    std::copy_n(knots_.get(), held, knots.get());
    std::copy_n(repeats_.get(), held, repeats.get());
    knots_ = std::move(knots);
    repeats_ = std::move(repeats);
    capacity_ = capacity;
}

int KnotTable::insert(double t, int r)
{
    const bool behindAll = last() >= first() && t > (*this)(last());
    const int q = behindAll ? spans_ + degree_ : searchSpan(*this, t) + 1;
    if (r < 1) return q;
    const int held = count();
    const int place = q - first();
    reserve(r);
    double* knots = knots_.get();
    unsigned char* repeats = repeats_.get();
    std::copy_backward(knots + place, knots + held, knots + held + r);
    std::copy_backward(repeats + place, repeats + held, repeats + held + r);
    std::fill_n(knots + place, r, t);
    std::fill_n(repeats + place, r, static_cast<unsigned char>(1));
    repeats[place] = 0;
    spans_ += r;
    renewReciprocals();
    return q;
}

void KnotTable::blend(int q, double t, double* points, int length, int count) const
{
    // Behind the last knot there may be no point or knot i + 1: the new points stay copies.
    const int end = std::min({q + degree_, count - 1, last()});
    for (int i = q; i < end; ++i) {
        const double left = (*this)(i - degree_);
        const double width = (*this)(i + 1) - left;
        if (width == 0.0) continue;  // only copies of one point meet there
        const double alpha = (t - left) / width;
        double* point = points + std::ptrdiff_t{i} * length;
        for (int c = 0; c < length; ++c) point[c] += alpha * (point[length + c] - point[c]);
    }
}

}  // namespace knotwork
