// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <limits>
#include <numeric>
#include <utility>
#include <vector>

#include "bench/Peers.h"
#include "knotwork/linalg/DoubleGenMat.h"
#include "knotwork/linalg/DoubleVec.h"

/// LAPACK's factorisations of a matrix that is not empty, in the form the checks take them in.
namespace knotwork_bench {

/// Calls f(work, lwork) with the workspace that it asks for.
template <class F>
void withWork(F f)
{
    double best = 0.0;
    int lwork = -1;
    f(&best, &lwork);
    lwork = std::max(1, static_cast<int>(best));
    std::vector<double> work(static_cast<std::size_t>(lwork));
    f(work.data(), &lwork);
}

inline std::vector<int> fromZero(std::vector<int> positions)
{
    for (int& position : positions) --position;
    return positions;
}

inline DoubleGenMat upperTriangle(const DoubleGenMat& a, unsigned rows, int found)
{
    DoubleGenMat r(rows, a.cols(), 0.0);
    for (int j = 0; j < static_cast<int>(a.cols()); ++j)
        for (int i = 0; i <= j && i < found; ++i) r(i, j) = a(i, j);
    return r;
}

/// dgeqp3 and dorgqr: A P = Q R.
struct LapackQr {
    explicit LapackQr(const DoubleGenMat& a) : q(a.rows(), a.rows(), 0.0), order(a.cols(), 0)
    {
        const int m = static_cast<int>(a.rows());
        const int n = static_cast<int>(a.cols());
        const int k = std::min(m, n);
        DoubleGenMat factored = a.copy();
        std::vector<double> tau(static_cast<std::size_t>(k));
        withWork([&](double* work, const int* lwork) {
            dgeqp3_(&m, &n, factored.data(), &m, order.data(), tau.data(), work, lwork, &info);
        });
        order = fromZero(order);
        r.reference(upperTriangle(factored, a.rows(), k));
        std::copy_n(factored.data(), a.rows() * std::min(a.rows(), a.cols()), q.data());
        withWork([&](double* work, const int* lwork) {
            dorgqr_(&m, &m, &k, q.data(), &m, tau.data(), work, lwork, &info);
        });
    }
    DoubleGenMat q, r;
    std::vector<int> order;
    int info = 0;
};

/// dgesdd with the leading vectors, or dgesvd's values alone.
struct LapackSvd {
    explicit LapackSvd(const DoubleGenMat& a)
        : s(std::min(a.rows(), a.cols())), u(a.rows(), s.length()), v(s.length(), a.cols())
    {
        DoubleGenMat scratch = a.copy();
        const int m = static_cast<int>(a.rows());
        const int n = static_cast<int>(a.cols());
        const int k = std::min(m, n);
        std::vector<int> iwork(std::size_t{8} * s.length());
        withWork([&](double* work, const int* lwork) {
            dgesdd_("S", &m, &n, scratch.data(), &m, s.data(), u.data(), &m, v.data(), &k, work,
                    lwork, iwork.data(), &info);
        });
        v.reference(transpose(v));
    }
    static DoubleVec values(const DoubleGenMat& a)
    {
        DoubleGenMat scratch = a.copy();
        DoubleVec s(std::min(a.rows(), a.cols()));
        const int m = static_cast<int>(a.rows());
        const int n = static_cast<int>(a.cols());
        int info = 0;
        withWork([&](double* work, const int* lwork) {
            dgesvd_("N", "N", &m, &n, scratch.data(), &m, s.data(), nullptr, &m, nullptr, &n, work,
                    lwork, &info);
        });
        return s;
    }
    DoubleVec s;
    DoubleGenMat u, v;
    int info = 0;
};

/// dgetrf, dgetrs, dgetri, dgecon.
struct LapackLu {
    explicit LapackLu(const DoubleGenMat& a)
        : n(static_cast<int>(a.rows())), lu(a.copy()), pivots(a.rows())
    {
        std::vector<double> work(std::size_t{4} * a.rows());
        std::vector<int> iwork(a.rows());
        const double norm = dlange_("1", &n, &n, lu.data(), &n, work.data());
        dgetrf_(&n, &n, lu.data(), &n, pivots.data(), &info);
        int ignored = 0;
        dgecon_("1", &n, lu.data(), &n, &norm, &rcond, work.data(), iwork.data(), &ignored);
    }
    bool isSingular() const { return info != 0 || rcond + 1.0 == 1.0; }
    DoubleGenMat multipliedOut() const
    {
        DoubleGenMat lower = lu.copy();
        for (int j = 0; j < n; ++j)
            for (int i = 0; i <= j; ++i) lower(i, j) = i == j ? 1.0 : 0.0;
        DoubleGenMat m = product(lower, upperTriangle(lu, lu.rows(), n));
        for (int k = n - 1; k >= 0; --k) {
            const int other = pivots[static_cast<std::size_t>(k)] - 1;
            for (int j = 0; j < n; ++j) std::swap(m(k, j), m(other, j));
        }
        return m;
    }
    DoubleVec solve(const DoubleVec& b, const char* transposed) const
    {
        DoubleVec x = b.copy();
        const int one = 1;
        int ignored = 0;
        dgetrs_(transposed, &n, &one, lu.data(), &n, pivots.data(), x.data(), &n, &ignored);
        return x;
    }
    DoubleGenMat inverse() const
    {
        DoubleGenMat inverted = lu.copy();
        int ignored = 0;
        withWork([&](double* work, const int* lwork) {
            dgetri_(&n, inverted.data(), &n, pivots.data(), work, lwork, &ignored);
        });
        return inverted;
    }
    int n;
    DoubleGenMat lu;
    std::vector<int> pivots;
    double rcond = 0.0;
    int info = 0;
};

/// dpstrf with its own tolerance; R has as many rows as were found.
struct LapackCholesky {
    explicit LapackCholesky(const DoubleGenMat& a)
        : n(static_cast<int>(a.rows())), factored(a.copy()), order(a.rows())
    {
        std::vector<double> work(std::size_t{2} * a.rows());
        const double own = -1.0;
        int info = 0;
        dpstrf_("U", &n, factored.data(), &n, order.data(), &rank, &own, work.data(), &info);
        order = fromZero(order);
        const DoubleGenMat r = upperTriangle(factored, a.rows(), rank);
        product.reference(transposeProduct(r, r));
    }
    /// In pivoted order; for full rank.
    DoubleVec solve(const DoubleVec& b) const
    {
        DoubleVec x = b.copy();
        const int one = 1;
        int info = 0;
        dpotrs_("U", &n, &one, factored.data(), &n, x.data(), &n, &info);
        return x;
    }
    int n;
    DoubleGenMat factored, product;
    std::vector<int> order;
    int rank = 0;
};

enum class Driver { kDgels, kDgelsy, kDgelsd };

/// Least squares, full rank taken for granted by dgels; the others drop what is below eps times the
/// largest.
inline DoubleVec lapackLeastSquares(Driver driver, const DoubleGenMat& a, const DoubleVec& y)
{
    const int m = static_cast<int>(a.rows());
    const int n = static_cast<int>(a.cols());
    const int longer = std::max(m, n);
    const int one = 1;
    const double rcond = std::numeric_limits<double>::epsilon();
    DoubleGenMat scratch = a.copy();
    DoubleVec b = y.copy();
    b.resize(static_cast<unsigned>(longer));
    std::vector<int> integers(1000 + 20 * static_cast<std::size_t>(longer), 0);
    std::vector<double> s(static_cast<std::size_t>(longer));
    int rank = 0;
    int info = 0;
    withWork([&](double* work, const int* lwork) {
        if (driver == Driver::kDgels)
            dgels_("N", &m, &n, &one, scratch.data(), &m, b.data(), &longer, work, lwork, &info);
        else if (driver == Driver::kDgelsy)
            dgelsy_(&m, &n, &one, scratch.data(), &m, b.data(), &longer, integers.data(), &rcond,
                    &rank, work, lwork, &info);
        else
            dgelsd_(&m, &n, &one, scratch.data(), &m, b.data(), &longer, s.data(), &rcond, &rank,
                    work, lwork, integers.data(), &info);
    });
    return info == 0 ? b.slice(0, a.cols(), 1) : DoubleVec();
}

}  // namespace knotwork_bench
