// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <array>
#include <vector>

#include "knotwork/factor/linpack.h"
#include "measures/MatrixChecks.h"
#include "measures/Worst.h"

namespace knotwork_measures {

constexpr double kUntouched = 123.25;

enum QrJob { kQy = 10000, kQty = 1000, kSolution = 100, kResidual = 10, kFitted = 1 };

/// A factorisation in arrays that have rows below the published ones and a column behind them.
struct QrFactors {
    int n, p, leading, size;
    std::vector<double> x;
    std::vector<double> qraux, work;
    std::vector<int> jpvt;  // 0-based once factored with job 1

    QrFactors(const DoubleGenMat& a, int job, const std::vector<int>& specifiers = {})
        : n(static_cast<int>(a.rows())),
          p(static_cast<int>(a.cols())),
          leading(n + 2),
          size(std::min(n, p)),
          x(place(0, p + 1), kUntouched),
          qraux(place(p + 1), kUntouched),
          work(qraux),
          jpvt(specifiers)
    {
        jpvt.resize(place(p));
        for (int j = 0; j < p; ++j)
            for (int i = 0; i < n; ++i) x[place(i, j)] = a(i, j);
        knotwork::linpack::dqrdc(x.data(), &leading, &n, &p, qraux.data(), jpvt.data(), work.data(),
                                 &job);
        if (job != 0)
            for (int& position : jpvt) --position;
    }
    std::size_t place(int i, int j = 0) const { return static_cast<std::size_t>(leading * j + i); }

    bool restUntouched() const
    {
        bool untouched = qraux.back() == kUntouched && work.back() == kUntouched;
        for (int j = 0; j <= p; ++j)
            for (int i = j < p ? n : 0; i < leading; ++i)
                untouched = untouched && x[place(i, j)] == kUntouched;
        return untouched;
    }
    DoubleGenMat r() const
    {
        DoubleGenMat upper(static_cast<unsigned>(n), static_cast<unsigned>(p), 0.0);
        for (int j = 0; j < p; ++j)
            for (int i = 0; i <= j && i < n; ++i) upper(i, j) = x[place(i, j)];
        return upper;
    }
    /// One output of dqrsl, given a shared scratch for Q^T y where one is needed.
    DoubleVec apply(QrJob job, int k, const DoubleVec& y) const
    {
        DoubleVec out(job == kSolution ? static_cast<unsigned>(k) : y.length(), 0.0);
        DoubleVec scratch(y.length());
        double* to = out.data();
        const int code = job;
        int info = -1;
        knotwork::linpack::dqrsl(x.data(), &leading, &n, &k, qraux.data(), y.data(), to,
                                 job == kSolution ? scratch.data() : to, to, to, to, &code, &info);
        return out;
    }
    DoubleGenMat q() const
    {
        DoubleGenMat columns = identity(static_cast<unsigned>(n));
        for (int j = 0; j < n; ++j) columns.col(j) = apply(kQy, size, columns.col(j));
        return columns;
    }
};

inline DoubleGenMat permuted(const DoubleGenMat& a, const std::vector<int>& order)
{
    DoubleGenMat result(a.rows(), a.cols());
    for (std::size_t j = 0; j < order.size(); ++j)
        result.col(static_cast<int>(j)) = a.col(order[j]);
    return result;
}

struct QrRatios {
    Worst reconstruction{"A P - Q R"};
    Worst orthogonality{"Q^T Q - I"};
    Worst order{"pivot order"};
    Worst roundTrip{"Q (Q^T y) - y"};
    Worst split{"fit + residual - y"};
    Worst angle{"fit^T residual"};
    std::array<const Worst*, 6> all() const
    {
        return {&reconstruction, &orthogonality, &order, &roundTrip, &split, &angle};
    }

    void seeFactors(const DoubleGenMat& a, const DoubleGenMat& q, const DoubleGenMat& r,
                    unsigned seed)
    {
        const double unit = std::max(a.rows(), a.cols()) * kEps;
        reconstruction.see(ratioOf(frobeniusNorm(a - product(q, r)), frobeniusNorm(a) * unit),
                           seed);
        orthogonality.see(ratioOf(orthogonalityError(q), unit), seed);
    }
    /// By how much a free column that waited was longer than the pivot that was taken: in squares,
    /// for those are what is subtracted from, relative to the column's own.
    void seeOrder(const DoubleGenMat& r, int first, int end, unsigned seed)
    {
        const double unit = std::max(r.rows(), r.cols()) * kEps;
        const int rows = static_cast<int>(r.rows());
        double most = 0.0;
        for (int k = first; k < std::min(end, rows); ++k)
            for (int j = k + 1; j < end; ++j) {
                const double length = r.col(j).vecLen();
                if (length == 0.0) continue;
                const double left =
                    r.col(j).slice(k, static_cast<unsigned>(rows - k), 1).vecLen() / length;
                const double taken = r(k, k) / length;
                const double excess = (left * left - taken * taken) / unit;
                if (!(excess <= most)) most = excess;
            }
        order.see(most, seed);
    }
    void seeProjections(const QrFactors& f, const DoubleVec& y, int k, unsigned seed)
    {
        if (f.n == 0) return;
        const double length = y.vecLen() * std::max(f.n, f.p) * kEps;
        roundTrip.see((f.apply(kQy, k, f.apply(kQty, k, y)) - y).vecLen() / length, seed);
        const DoubleVec fitted = f.apply(kFitted, k, y);
        const DoubleVec rest = f.apply(kResidual, k, y);
        split.see((fitted + rest - y).vecLen() / length, seed);
        angle.see(std::fabs(dot(fitted, rest)) / (y.vecLen() * length), seed);
    }
};

}  // namespace knotwork_measures
