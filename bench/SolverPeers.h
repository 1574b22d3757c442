// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <vector>

#include "bench/Peers.h"
#include "bench/SolverSystems.h"

#ifdef KNOTWORK_BENCH_EIGEN
#include <Eigen/QR>
#endif
#ifdef KNOTWORK_BENCH_SPQR
#include <SuiteSparseQR.hpp>
#endif

/// Other ways to the solutions of a constrained system, each from the dense matrix on.
/// kRounding tells how far an answer may be off, in units of the rows times the machine epsilon.
namespace knotwork_bench {

inline std::size_t sizeOf(int n)
{
    return static_cast<std::size_t>(n);
}

#ifdef KNOTWORK_BENCH_LAPACK
/// The two blocks of a system as the routines overwrite them. The arrays are kept from call to
/// call, so that no fresh memory is paid for.
struct LapackBlocks {
    explicit LapackBlocks(const System& s)
        : m(s.samples),
          n(s.unknowns()),
          p(s.constraints),
          a(sizeOf(m) * sizeOf(n)),
          b(sizeOf(p) * sizeOf(n)),
          system(s)
    {
    }
    void load()
    {
        for (int j = 0; j < n; ++j) {
            const double* column = system.matrix.data() + std::ptrdiff_t{m + p} * j;
            std::copy_n(column, m, &a[sizeOf(j) * sizeOf(m)]);
            std::copy_n(column + m, p, &b[sizeOf(j) * sizeOf(p)]);
        }
    }

    int m, n, p;
    std::vector<double> a, b;
    const System& system;
};

/// Factors anew for each right-hand side.
class Peer {
  public:
    static constexpr double kRounding = 1e3;
    explicit Peer(const System& system)
        : blocks_(system), c_(sizeOf(blocks_.m)), d_(sizeOf(blocks_.p))
    {
        for (auto& x : x_) x.resize(sizeOf(blocks_.n));
        double best = 0.0;
        call(0, &best, -1);
        work_.resize(static_cast<std::size_t>(best));
    }
    void run()
    {
        for (int k = 0; k < kRightHandSides; ++k) {
            blocks_.load();
            const double* rhs = blocks_.system.rhs[k].data();
            std::copy_n(rhs, blocks_.m, c_.begin());
            std::copy_n(rhs + blocks_.m, blocks_.p, d_.begin());
            call(k, work_.data(), static_cast<int>(work_.size()));
        }
    }
    const double* solution(int k) const { return x_[k].data(); }

  private:
    void call(int k, double* work, int workSize)
    {
        int info = 0;
        dgglse_(&blocks_.m, &blocks_.n, &blocks_.p, blocks_.a.data(), &blocks_.m, blocks_.b.data(),
                &blocks_.p, c_.data(), d_.data(), x_[k].data(), work, &workSize, &info);
    }

    LapackBlocks blocks_;
    std::vector<double> c_, d_, work_;
    std::vector<double> x_[kRightHandSides];
};

/// The same method, factored once: what dgglse does, in two halves.
class FactoredOnce {
  public:
    static constexpr double kRounding = 1e3;
    explicit FactoredOnce(const System& system)
        : blocks_(system),
          tauA_(sizeOf(blocks_.n)),
          tauB_(sizeOf(blocks_.p)),
          c_(sizeOf(blocks_.m)),
          work_(sizeOf(blocks_.m + blocks_.n) * 64)
    {
        for (auto& x : x_) x.resize(sizeOf(blocks_.n));
    }
    void run()
    {
        const int m = blocks_.m, n = blocks_.n, p = blocks_.p, free = n - p, one = 1;
        const int workSize = static_cast<int>(work_.size());
        int info = 0;
        double* a = blocks_.a.data();
        double* b = blocks_.b.data();
        double* fixedColumns = a + sizeOf(free) * sizeOf(m);
        const double* triangle = b + sizeOf(free) * sizeOf(p);
        blocks_.load();
        dggrqf_(&p, &m, &n, b, &p, tauB_.data(), a, &m, tauA_.data(), work_.data(), &workSize,
                &info);
        for (int k = 0; k < kRightHandSides; ++k) {
            const double* rhs = blocks_.system.rhs[k].data();
            double* x = x_[k].data();
            std::copy_n(rhs, m, c_.begin());
            std::copy_n(rhs + m, p, x + free);
            dormqr_("L", "T", &m, &one, &n, a, &m, tauA_.data(), c_.data(), &m, work_.data(),
                    &workSize, &info);
            dtrtrs_("U", "N", "N", &p, &one, triangle, &p, x + free, &p, &info);
            for (int j = 0; j < p; ++j)
                for (int i = 0; i < free; ++i)
                    c_[sizeOf(i)] -= fixedColumns[sizeOf(j) * sizeOf(m) + sizeOf(i)] * x[free + j];
            std::copy_n(c_.begin(), free, x);
            dtrtrs_("U", "N", "N", &free, &one, a, &m, x, &n, &info);
            dormrq_("L", "T", &n, &one, &p, b, &p, tauB_.data(), x, &n, work_.data(), &workSize,
                    &info);
        }
    }
    const double* solution(int k) const { return x_[k].data(); }

  private:
    LapackBlocks blocks_;
    std::vector<double> tauA_, tauB_, c_, work_;
    std::vector<double> x_[kRightHandSides];
};
#endif

#ifdef KNOTWORK_BENCH_EIGEN
/// A basis of the constraints' null space from a QR of their transpose, then a QR of what the
/// samples are in that basis; neither pivots.
class EigenNullSpace {
  public:
    static constexpr double kRounding = 1e3;
    explicit EigenNullSpace(const System& system) : system_(system) {}
    void run()
    {
        using Map = Eigen::Map<const Eigen::MatrixXd>;
        using MapVector = Eigen::Map<const Eigen::VectorXd>;
        const int m = system_.samples, n = system_.unknowns(), p = system_.constraints;
        const Map matrix(system_.matrix.data(), m + p, n);
        const Eigen::HouseholderQR<Eigen::MatrixXd> constraints(matrix.bottomRows(p).transpose());
        turned_ = matrix.topRows(m);
        turned_.applyOnTheRight(constraints.householderQ());
        const Eigen::HouseholderQR<Eigen::MatrixXd> samples(turned_.rightCols(n - p));
        for (int k = 0; k < kRightHandSides; ++k) {
            const MapVector rhs(system_.rhs[k].data(), m + p);
            Eigen::VectorXd y(n);
            y.head(p) =
                constraints.matrixQR().topRows(p).triangularView<Eigen::Upper>().transpose().solve(
                    rhs.tail(p));
            y.tail(n - p) = samples.solve(rhs.head(m) - turned_.leftCols(p) * y.head(p));
            y.applyOnTheLeft(constraints.householderQ());
            x_[k] = y;
        }
    }
    const double* solution(int k) const { return x_[k].data(); }

  private:
    const System& system_;
    Eigen::MatrixXd turned_;
    Eigen::VectorXd x_[kRightHandSides];
};
#endif

#ifdef KNOTWORK_BENCH_SPQR
/// Sparse QR of all rows, the constraints with a large weight: they are nearly met. Columns keep
/// their order, which suits a band.
class SuiteSparse {
  public:
    static constexpr double kRounding = 1e7;  // the weight squared takes its part of the digits
    explicit SuiteSparse(const System& system) : system_(system)
    {
        cholmod_l_start(&common_);
        for (auto& x : x_) x.resize(sizeOf(system.unknowns()));
    }
    ~SuiteSparse() { cholmod_l_finish(&common_); }
    SuiteSparse(const SuiteSparse&) = delete;
    SuiteSparse& operator=(const SuiteSparse&) = delete;

    void run()
    {
        cholmod_sparse* a = weightedRows();
        auto* qr = SuiteSparseQR_factorize<double>(SPQR_ORDERING_FIXED, SPQR_NO_TOL, a, &common_);
        const auto rows = sizeOf(system_.samples + system_.constraints);
        cholmod_dense* b = cholmod_l_zeros(rows, kRightHandSides, CHOLMOD_REAL, &common_);
        for (std::size_t k = 0; k < kRightHandSides; ++k) {
            double* to = static_cast<double*>(b->x) + rows * k;
            std::copy_n(system_.rhs[k].data(), rows, to);
            for (std::size_t i = sizeOf(system_.samples); i < rows; ++i) to[i] *= kWeight;
        }
        cholmod_dense* y = SuiteSparseQR_qmult(SPQR_QTX, qr, b, &common_);
        cholmod_dense* x = SuiteSparseQR_solve(SPQR_RETX_EQUALS_B, qr, y, &common_);
        for (std::size_t k = 0; k < kRightHandSides; ++k)
            std::copy_n(static_cast<double*>(x->x) + x->d * k, x_[k].size(), x_[k].data());
        cholmod_l_free_dense(&x, &common_);
        cholmod_l_free_dense(&y, &common_);
        cholmod_l_free_dense(&b, &common_);
        SuiteSparseQR_free<double>(&qr, &common_);
        cholmod_l_free_sparse(&a, &common_);
    }
    const double* solution(int k) const { return x_[k].data(); }

  private:
    static constexpr double kWeight = 1e5;

    cholmod_sparse* weightedRows()
    {
        const std::size_t rows = sizeOf(system_.samples + system_.constraints);
        const std::size_t cols = sizeOf(system_.unknowns());
        entries_.clear();
        rowOf_.clear();
        starts_.assign(1, 0);
        const double* column = system_.matrix.data();
        for (std::size_t j = 0; j < cols; ++j, column += rows) {
            for (std::size_t i = 0; i < rows; ++i) {
                if (column[i] == 0.0) continue;
                entries_.push_back(i < sizeOf(system_.samples) ? column[i] : kWeight * column[i]);
                rowOf_.push_back(static_cast<SuiteSparse_long>(i));
            }
            starts_.push_back(static_cast<SuiteSparse_long>(entries_.size()));
        }
        cholmod_sparse* a =
            cholmod_l_allocate_sparse(rows, cols, entries_.size(), 1, 1, 0, CHOLMOD_REAL, &common_);
        std::copy(entries_.begin(), entries_.end(), static_cast<double*>(a->x));
        std::copy(rowOf_.begin(), rowOf_.end(), static_cast<SuiteSparse_long*>(a->i));
        std::copy(starts_.begin(), starts_.end(), static_cast<SuiteSparse_long*>(a->p));
        return a;
    }

    const System& system_;
    cholmod_common common_;
    std::vector<double> entries_;
    std::vector<SuiteSparse_long> rowOf_, starts_;
    std::vector<double> x_[kRightHandSides];
};
#endif

/// No solver: what one copy of the matrix takes into memory that is there.
class WarmCopy {
  public:
    static constexpr double kRounding = 0.0;
    explicit WarmCopy(const System& system) : system_(system), copy_(system.matrix.copy()) {}
    void run()
    {
        std::copy_n(system_.matrix.data(),
                    std::size_t{system_.matrix.rows()} * system_.matrix.cols(), copy_.data());
    }
    const double* solution(int k) const { return system_.expected[k].data(); }

  private:
    const System& system_;
    DoubleGenMat copy_;
};

}  // namespace knotwork_bench
