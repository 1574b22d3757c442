// SPDX-License-Identifier: MIT
#include "knotwork/factor/DoubleGenFact.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "knotwork/factor/linpack.h"
#include "knotwork/linalg/LXError.h"
#include "knotwork/linalg/detail/CatalogueInit.h"
#include "knotwork/linalg/detail/OutOfMemory.h"

namespace {

const knotwork::FactorErrors factorErrors;

constexpr double kNotEstimated = -1.0;
constexpr int kDeterminant = 10;  // job codes of dgedi
constexpr int kInverse = 1;

}  // namespace

DoubleGenFact::DoubleGenFact() : rcond_(kNotEstimated) {}

DoubleGenFact::DoubleGenFact(const DoubleGenMat& a, int estimateCondition) : DoubleGenFact()
{
    factor(a, estimateCondition);
}

DoubleGenFact& DoubleGenFact::operator=(const DoubleGenFact& f)
{
    lu_ = f.lu_;
    if (lu_.rows() != f.lu_.rows()) return *this;  // a handler returned: keep what belongs together
    pivots_ = f.pivots_;
    rcond_ = f.rcond_;
    return *this;
}

void DoubleGenFact::factor(const DoubleGenMat& a, int estimateCondition)
{
    if (knotwork::completed([&] { hold(a); }, [&] { forget(); })) dofactor(estimateCondition);
}

void DoubleGenFact::dofactor(int estimateCondition)
{
    const unsigned rows = lu_.rows();
    const unsigned cols = lu_.cols();
    if (rows != cols) {
        forget();
        return lxRaise(0x500D, rows, cols);
    }
    knotwork::completed(
        [&] {
            makeFactorsPrivate(rows);
            if (rows > 0) runKernel(estimateCondition);
        },
        [&] { forget(); });
}

void DoubleGenFact::runKernel(int estimateCondition)
{
    const int n = static_cast<int>(lu_.rows());
    rcond_ = kNotEstimated;
    if (estimateCondition != 0) {
        DoubleVec work(lu_.rows());
        knotwork::linpack::dgeco(lu_.data(), &n, &n, pivots_.data(), &rcond_, work.data());
    } else {
        int info = 0;
        knotwork::linpack::dgefa(lu_.data(), &n, &n, pivots_.data(), &info);
        if (info > 0) rcond_ = 0.0;
    }
    const double* factors = lu_.data();
    const double* end = factors + std::size_t{lu_.rows()} * lu_.cols();
    if (std::any_of(factors, end, [](double x) { return std::isnan(x); })) rcond_ = 0.0;
}

/// Separates what the kernel is about to write from all who share it.
void DoubleGenFact::makeFactorsPrivate(unsigned n)
{
    lu_.deepenShallowCopy();
    pivots_.resize(n);
    pivots_.deepenShallowCopy();
}

/// Holds nothing from now on, for which no memory is needed.
void DoubleGenFact::forget()
{
    lu_.forget();
    pivots_.forget();
    rcond_ = kNotEstimated;
}

void DoubleGenFact::calldi(const DoubleGenMat& lu, int job, double* det, int*) const
{
    DoubleGenMat shared(lu);
    const int n = static_cast<int>(lu.rows());
    DoubleVec work(lu.rows());
    if (work.length() != lu.rows()) return;  // a handler returned: det and lu stay as they are
    knotwork::linpack::dgedi(shared.data(), &n, &n, pivots_.data(), det, work.data(), &job);
}

double DoubleGenFact::condition() const
{
    if (rcond_ < 0.0) lxRaise(0x5001);
    return rcond_;
}

double DoubleGenFact::determinant() const
{
    if (lu_.rows() < 1) return 0.0;
    double det[2] = {std::numeric_limits<double>::quiet_NaN(), 0.0};
    calldi(lu_, kDeterminant, det, nullptr);
    return det[0] * std::pow(10.0, det[1]);
}

DoubleGenMat DoubleGenFact::inverse() const
{
    if (fail() != 0) {
        lxRaise(0x5011);
        return DoubleGenMat();
    }
    return knotwork::orEmpty([&] {
        DoubleGenMat result(lu_.copy());
        calldi(result, kInverse, nullptr, nullptr);
        return result;
    });
}

DoubleVec DoubleGenFact::solve(const DoubleVec& b) const
{
    if (b.length() != lu_.rows()) {
        lxRaise(0x5002, b.length(), lu_.rows());
        return DoubleVec();
    }
    if (fail() != 0) {
        lxRaise(0x5011);
        return DoubleVec();
    }
    DoubleVec x(b.copy());
    if (x.length() != b.length()) return x;
    const int n = static_cast<int>(lu_.rows());
    const int directly = 0;
    knotwork::linpack::dgesl(lu_.data(), &n, &n, pivots_.data(), x.data(), &directly);
    return x;
}

int DoubleGenFact::isSingular() const
{
    return rcond_ + 1.0 == 1.0 ? 1 : 0;  // false for -1.0, the mark of "not estimated"
}

int DoubleGenFact::fail() const
{
    return lu_.rows() == 0 ? 1 : isSingular();
}
