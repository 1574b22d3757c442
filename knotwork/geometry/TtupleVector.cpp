// SPDX-License-Identifier: MIT
#include "knotwork/geometry/TtupleVector.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "knotwork/geometry/detail/TupleNumbers.h"
#include "knotwork/linalg/IntVec.h"

namespace {

int tupleSize(int d, int n)
{
    return d >= 1 && n >= 0 ? d : 1;
}

}  // namespace

TtupleVector::TtupleVector(int d, const DoubleVec& v) : numbers_(v), size_(std::max(d, 1)) {}

TtupleVector::TtupleVector(int d, int n, double fill)
    : numbers_(knotwork::numberCount({d, n}), fill), size_(tupleSize(d, n))
{
}

TtupleVector::TtupleVector(int d, int n, const double* data)
    : numbers_(data, knotwork::numberCount({d, n})), size_(tupleSize(d, n))
{
}

TtupleVector::TtupleVector(int d, int n, const double* const* rows)
    : numbers_(knotwork::numberCount({d, n})), size_(d)
{
    const int last = tupleSize(d, n) - 1;
    const auto length = static_cast<std::int64_t>(numbers_.length());
    const int filled = static_cast<int>(std::min<std::int64_t>(n, length));
    for (int i = 0; i < filled; ++i) numbers_(i) = rows[i][last];
}

TtupleVector& TtupleVector::operator=(const TtupleVector& other)
{
    if (size_ == other.size_ && numbers_.length() == other.numbers_.length())
        numbers_ = other.numbers_;
    return *this;
}

TtupleVector& TtupleVector::reference(const TtupleVector& other)
{
    numbers_.reference(other.numbers_);
    size_ = other.size_;
    return *this;
}

TtupleVector TtupleVector::copy() const
{
    return like(numbers_.copy());
}

void TtupleVector::resize(int n)
{
    numbers_.resize(knotwork::numberCount({std::max(size_, 0), std::max(n, 0)}));
}

DoubleVec TtupleVector::component(int k)
{
    if (!correctTuple(k)) return DoubleVec();
    return numbers_.slice(k, numbers_.length() / tuple(), size_);
}

TtupleVector TtupleVector::components(const IntVec& ks) const
{
    const int count = static_cast<int>(ks.length());
    for (int j = 0; j < count; ++j)
        if (!correctTuple(ks(j))) return TtupleVector();
    TtupleVector result(count, points(), 0.0);
    TtupleVector source(*this);
    for (int j = 0; j < result.size() && j < count; ++j)
        result.component(j) = source.component(ks(j));
    return result;
}

TtupleVector TtupleVector::components(int first, int count) const
{
    const std::int64_t last = std::int64_t{first} + count - 1;
    if (count < 1 || first < 0 || last >= size_) return TtupleVector();
    return components(IntVec(static_cast<unsigned>(count), first, 1));
}

TtupleVector TtupleVector::lPoints(int first, int count)
{
    return like(correctRange(first, count) ? view(first, count) : DoubleVec());
}

TtupleVector TtupleVector::rPoints(int first, int count) const
{
    return like(correctRange(first, count) ? view(first, count).copy() : DoubleVec());
}

TtupleVector TtupleVector::rPoints(const IntVec& is) const
{
    const int count = static_cast<int>(is.length());
    for (int j = 0; j < count; ++j)
        if (!correctIndex(is(j))) return TtupleVector();
    TtupleVector result(size_, count, 0.0);
    for (int j = 0; j < result.points(); ++j) result.point(j) = view(is(j));
    return result;
}

bool TtupleVector::setPoints(const IntVec& is, const TtupleVector& src)
{
    if (!correctTuple(src.size_ - 1)) return false;
    for (int j = 0, n = static_cast<int>(is.length()); j < n; ++j) {
        if (!correctIndex(is(j)) || !src.correctIndex(j)) return false;
        point(is(j)).slice(0, src.tuple(), 1) = src.view(j);
    }
    return true;
}

bool TtupleVector::setPoints(int first, int count, const TtupleVector& src)
{
    if (count == 0) return true;
    if (!correctTuple(src.size_ - 1)) return false;
    const std::int64_t last = std::int64_t{first} + count - 1;
    if (!correctIndex(first) || last < 0 || last >= points()) return false;
    const int copied = std::min(count, src.points());
    if (copied > 0) {  // coordinate by coordinate, so that overlapping points copy correctly
        TtupleVector target(like(view(first, copied)));
        TtupleVector source(src.like(src.view(0, copied)));
        for (int k = 0; k < src.size_; ++k) target.component(k) = source.component(k);
    }
    return copied == count;
}

DoubleVec TtupleVector::vecLen() const
{
    DoubleVec lengths(static_cast<unsigned>(points()));
    for (int i = 0, n = static_cast<int>(lengths.length()); i < n; ++i)
        lengths(i) = view(i).vecLen();
    return lengths;
}

void TtupleVector::applyTransformation(TxformMatrix& xf)
{
    if (size_ < 3) return;
    for (int i = 0, n = points(); i < n; ++i) knotwork::transformPoint(view(i), xf);
}

bool TtupleVector::correctRange(int first, int count) const
{
    return count > 0 && first >= 0 && std::int64_t{first} + count <= points();
}

DoubleVec TtupleVector::view(int i) const
{
    return knotwork::viewOf(numbers_, std::ptrdiff_t{size_} * i, tuple(), 1);
}

DoubleVec TtupleVector::view(int first, int count) const
{
    return knotwork::viewOf(numbers_, std::ptrdiff_t{size_} * first,
                            tuple() * static_cast<unsigned>(count), 1);
}

TtupleVector TtupleVector::like(const DoubleVec& numbers) const
{
    TtupleVector result;
    result.numbers_.reference(numbers);
    result.size_ = size_;
    return result;
}
