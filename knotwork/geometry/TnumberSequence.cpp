// SPDX-License-Identifier: MIT
#include "knotwork/geometry/TnumberSequence.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include "knotwork/linalg/IntVec.h"
#include "knotwork/linalg/LXBlock.h"

namespace {

int lengthOf(const DoubleVec& v)
{
    return static_cast<int>(v.length());
}

/// Uninitialised numbers for a longer sequence; none after 0x3008.
DoubleVec numbersFor(std::int64_t count)
{
    if (count <= std::numeric_limits<int>::max()) return DoubleVec(static_cast<unsigned>(count));
    LXBlock::raiseOutOfMemory();
    return DoubleVec();
}

/// target(to), target(to + 1), ... := `count` numbers of source from `from` on.
void copyRun(DoubleVec& target, int to, const DoubleVec& source, int from, int count)
{
    if (count == 0) return;
    const auto n = static_cast<unsigned>(count);
    target.slice(to, n, 1) = source.slice(from, n, 1);
}

/// Bubble sort: quadratic, stable and with all passes made, which is intended; knot sequences are
/// short.
template <class Vec>
void bubbleSort(Vec& v)
{
    const int n = static_cast<int>(v.length());
    for (int pass = 0; pass < n - 1; ++pass)
        for (int j = n - 1; j > pass; --j)
            if (v(j - 1) > v(j)) {
                const auto larger = v(j - 1);
                v(j - 1) = v(j);
                v(j) = larger;
            }
}

}  // namespace

TnumberSequence::TnumberSequence(const TnumberSequence& other) : numbers_(other.numbers_)
{
    numbers_.deepenShallowCopy();
}

TnumberSequence::TnumberSequence(const DoubleVec& v) : numbers_(v.copy())
{
    sortDoubleVecInPlace(numbers_);
}

TnumberSequence::TnumberSequence(double start, double step, int n)
    : numbers_(static_cast<unsigned>(std::max(n, 0)), start, step)
{
}

TnumberSequence& TnumberSequence::operator=(const TnumberSequence& other)
{
    numbers_ = other.numbers_;
    return *this;
}

TnumberSequence& TnumberSequence::reference(const TnumberSequence& other)
{
    numbers_.reference(other.numbers_);
    return *this;
}

void TnumberSequence::add(const DoubleVec& v)
{
    const int n = length();
    const int m = lengthOf(v);
    if (m == 0) return;
    if (m == 1) {
        add(v(0), 1);
        return;
    }
    if (n == 0) {
        numbers_.reference(v.copy());
        return;
    }
    DoubleVec merged(numbersFor(std::int64_t{n} + m));
    if (merged.length() == 0) return;
    int i = 0;
    int j = 0;
    while (i < n && j < m) {
        const int next = i + j;
        merged(next) = numbers_(i) > v(j) ? v(j++) : numbers_(i++);
    }
    copyRun(merged, i + j, numbers_, i, n - i);
    copyRun(merged, n + j, v, j, m - j);
    numbers_.reference(merged);
}

void TnumberSequence::add(double x, int multiplicity)
{
    if (multiplicity < 1) return;
    const int n = length();
    const int before = findInterval(x, false) + 1;
    DoubleVec grown(numbersFor(std::int64_t{n} + multiplicity));
    if (grown.length() == 0) return;
    copyRun(grown, 0, numbers_, 0, before);
    grown.slice(before, static_cast<unsigned>(multiplicity), 1) = x;
    copyRun(grown, before + multiplicity, numbers_, before, n - before);
    numbers_.reference(grown);
}

bool TnumberSequence::remove(int i)
{
    const int n = length();
    if (i < 0 || i >= n) return false;
    DoubleVec rest(numbersFor(n - 1));
    if (lengthOf(rest) != n - 1) return false;
    copyRun(rest, 0, numbers_, 0, i);
    copyRun(rest, i, numbers_, i + 1, n - 1 - i);
    numbers_.reference(rest);
    return true;
}

DoubleVec TnumberSequence::breakpoints() const
{
    DoubleVec distinct(numbers_.length());
    int count = 0;
    for (int i = 0, n = lengthOf(distinct); i < n; ++i)
        if (i == 0 || numbers_(i) != numbers_(i - 1)) distinct(count++) = numbers_(i);
    return distinct.slice(0, static_cast<unsigned>(count), 1);
}

IntVec TnumberSequence::multiplicities() const
{
    IntVec runs(numbers_.length(), 0);
    int count = 0;
    for (int i = 0, n = static_cast<int>(runs.length()); i < n; ++i) {
        if (i == 0 || numbers_(i) != numbers_(i - 1)) ++count;
        ++runs(count - 1);
    }
    return runs.slice(0, static_cast<unsigned>(count), 1);
}

int TnumberSequence::whichBreakpoint(int i) const
{
    if (i >= length()) return -1;
    int steps = 0;
    for (int j = 0; j < i; ++j)
        if (numbers_(j) != numbers_(j + 1)) ++steps;
    return steps;
}

int TnumberSequence::findInterval(double x, bool left) const
{
    const int n = length();
    int last = -1;
    while (last + 1 < n && numbers_(last + 1) <= x) ++last;
    if (!left || last < 1) return last;
    int j = last - 1;
    while (j > 0 && !(numbers_(j + 1) > numbers_(j))) --j;
    return j;
}

DoubleVec TnumberSequence::extra(const TnumberSequence& a, const TnumberSequence& b, double tol)
{
    const int aLength = a.length();
    DoubleVec unmatched(b.numbers_.length());
    const int bLength = lengthOf(unmatched);
    int i = 0;
    int j = 0;
    int count = 0;
    while (i < aLength && j < bLength) {
        const double x = a(i);
        const double y = b(j);
        if ((x > y ? x - y : y - x) <= tol) {
            ++i;
            ++j;
        } else if (x > y) {
            unmatched(count++) = y;
            ++j;
        } else {
            ++i;
        }
    }
    copyRun(unmatched, count, b.numbers_, j, bLength - j);
    return unmatched.slice(0, static_cast<unsigned>(count + bLength - j), 1);
}

void TnumberSequence::sortDoubleVecInPlace(DoubleVec& v)
{
    bubbleSort(v);
}

void TnumberSequence::sortIntVecInPlace(IntVec& v)
{
    bubbleSort(v);
}
