// SPDX-License-Identifier: MIT
#include "knotwork/factor/DoubleSVDecomp.h"

#include <algorithm>

#include "knotwork/factor/linpack.h"
#include "knotwork/linalg/detail/OutOfMemory.h"

namespace {

constexpr int kAllVectors = 11;  // the job code of a new object

unsigned bidiagonalSize(unsigned n, unsigned p)
{
    return n < p ? n + 1 : p;
}

}  // namespace

DoubleSVDecomp::DoubleSVDecomp() : info_(0), job_(kAllVectors) {}

DoubleSVDecomp::DoubleSVDecomp(const DoubleGenMat& a) : DoubleSVDecomp()
{
    factor(a);
}

/// Results are members that copies of the object share, so they are resized and re-pointed, never
/// assigned.
void DoubleSVDecomp::factor(const DoubleGenMat& a)
{
    const unsigned count = std::min(a.rows(), a.cols());
    knotwork::completed(
        [&] {
            resizeResults(a.rows(), a.cols());
            if (count > 0) decompose(a);
            s_.resize(count);
        },
        [&] { s_.forget(); });
}

void DoubleSVDecomp::resizeResults(unsigned n, unsigned p)
{
    if (leftChoice() != 0) U_.resize(n, leftCount(n, p));
    if (rightChoice() != 0) V_.resize(p, p);
    s_.resize(bidiagonalSize(n, p));
    e_.resize(p);
}

/// Separates what the kernel is about to write from all who share it.
void DoubleSVDecomp::makeResultsPrivate()
{
    s_.deepenShallowCopy();
    e_.deepenShallowCopy();
    if (leftChoice() != 0) U_.deepenShallowCopy();
    if (rightChoice() != 0) V_.deepenShallowCopy();
}

void DoubleSVDecomp::decompose(const DoubleGenMat& a)
{
    makeResultsPrivate();
    DoubleGenMat scratch = a.copy();
    DoubleVec work(a.rows());
    const int n = static_cast<int>(a.rows());
    const int p = static_cast<int>(a.cols());
    const int ldu = static_cast<int>(U_.rows());
    const int ldv = static_cast<int>(V_.rows());
    knotwork::linpack::dsvdc(scratch.data(), &n, &n, &p, s_.data(), e_.data(), U_.data(), &ldu,
                             V_.data(), &ldv, work.data(), &job_, &info_);
    std::fill(e_.data() + s_.length(), e_.data() + e_.length(), 0.0);
}

unsigned DoubleSVDecomp::leftCount(unsigned n, unsigned p) const
{
    return leftChoice() == 1 ? n : std::min(n, p);
}

int DoubleSVDecomp::computeLeftVecs(int on)
{
    const int left = leftChoice();
    if (left == 0 && on != 0) setChoices(1, rightChoice());
    if (left != 0 && on == 0) setChoices(0, rightChoice());
    return left != 0 ? 1 : 0;
}

int DoubleSVDecomp::computeAllLeftVecs(int on)
{
    const int left = leftChoice();
    if (left != 0) setChoices(on != 0 ? 1 : 2, rightChoice());
    return left == 1 ? 1 : 0;
}
int DoubleSVDecomp::computeRightVecs(int on)
{
    const int right = rightChoice();
    setChoices(leftChoice(), on == 0 ? 0 : std::max(right, 1));
    return right != 0 ? 1 : 0;
}
