// SPDX-License-Identifier: MIT
#include "knotwork/geometry/detail/TupleNumbers.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include "knotwork/geometry/TnkRw.h"
#include "knotwork/linalg/LXBlock.h"
#include "knotwork/platform/base.h"

namespace knotwork {

namespace {

constexpr int kMostInt = std::numeric_limits<int>::max();

std::int64_t magnitude(int n)
{
    return n < 0 ? -std::int64_t{n} : std::int64_t{n};
}

}  // namespace

unsigned numberCount(std::initializer_list<int> extents)
{
    if (std::find(extents.begin(), extents.end(), 0) != extents.end()) return 0;
    std::uint64_t count = 1;
    for (const int extent : extents) {
        count *= static_cast<std::uint64_t>(magnitude(extent));
        if (count > static_cast<std::uint64_t>(kMostInt)) {
            LXBlock::raiseOutOfMemory();
            return 0;
        }
    }
    return static_cast<unsigned>(count);
}

int extentOf(int n)
{
    return static_cast<int>(std::min<std::int64_t>(magnitude(n), kMostInt));
}

DoubleVec viewOf(const DoubleVec& numbers, std::ptrdiff_t start, unsigned n, int step)
{
    if (start <= kMostInt) return numbers.slice(static_cast<int>(start), n, step);
    return viewOf(numbers.slice(kMostInt, 0, 1), start - kMostInt, n, step);
}

void transformPoint(DoubleVec point, TxformMatrix& xf)
{
    T4dDblPoint p;
    TnkRw::dvToP4(point, p);
    p.postmultBy(xf.matrix());
    TnkRw::p4ToDv(p, point);
}

}  // namespace knotwork
