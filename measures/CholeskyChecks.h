// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>
#include <utility>
#include <vector>

#include "knotwork/factor/linpack.h"
#include "knotwork/linalg/DoubleGenMatPick.h"
#include "measures/MatrixChecks.h"
#include "measures/Worst.h"

namespace knotwork_measures {

constexpr unsigned kTrials = 21000;

/// An upper triangle as the kernels take it. Whatever is not its own is NaN, and has to stay so:
/// below the diagonal, two rows under the matrix, a column behind it.
struct Triangle {
    int p;
    int leading = p + 2;
    std::vector<double> data;

    explicit Triangle(const DoubleGenMat& a)
        : p(static_cast<int>(a.rows())),
          data(static_cast<std::size_t>(leading) * static_cast<std::size_t>(p + 1), kNaN)
    {
        for (int j = 0; j < p; ++j)
            for (int i = 0; i <= j; ++i) (*this)(i, j) = a(i, j);
    }
    double& operator()(int i, int j) { return data[static_cast<std::size_t>(leading * j + i)]; }
    DoubleGenMat upper()
    {
        DoubleGenMat u(static_cast<unsigned>(p), static_cast<unsigned>(p), 0.0);
        for (int j = 0; j < p; ++j)
            for (int i = 0; i <= j; ++i) u(i, j) = (*this)(i, j);
        return u;
    }
    bool restUntouched()
    {
        bool untouched = true;
        for (int j = 0; j <= p; ++j)
            for (int i = j < p ? j + 1 : 0; i < leading; ++i)
                untouched = untouched && std::isnan((*this)(i, j));
        return untouched;
    }
};

/// Mostly small; a few reach beyond the blocks that the kernels work in.
inline unsigned randomSize(unsigned trial, Dice& dice)
{
    return trial % 499 == 0 ? 61 + dice.below(90) : dice.below(1 + dice.below(61));
}

inline DoubleGenMat randomRows(unsigned rows, unsigned cols, Dice& dice)
{
    DoubleGenMat x(rows, cols);
    for (unsigned i = 0; i < rows * cols; ++i) x.data()[i] = 2.0 * dice.unit() - 1.0;
    return x;
}

/// A(order(i), order(j))
inline DoubleGenMat reordered(const DoubleGenMat& a, const std::vector<int>& order)
{
    const IntVec index(order.data(), static_cast<unsigned>(order.size()));
    return DoubleGenMat(a.matPick(index, index));
}

inline std::vector<int> randomOrder(int p, Dice& dice)
{
    std::vector<int> order(static_cast<std::size_t>(p));
    std::iota(order.begin(), order.end(), 0);
    for (int i = p - 1; i > 0; --i)
        std::swap(order[static_cast<std::size_t>(i)],
                  order[dice.below(static_cast<unsigned>(i) + 1)]);
    return order;
}

/// Columns of small integers on a diagonal that falls faster than they add up: every product, every
/// difference and every square root on the way to the factor is an integer.
inline DoubleGenMat integerFactor(int p, int rank, Dice& dice)
{
    DoubleGenMat r(static_cast<unsigned>(p), static_cast<unsigned>(p), 0.0);
    for (int j = 0; j < p; ++j)
        for (int i = 0; i < std::min(j + 1, rank); ++i)
            r(i, j) = i == j ? p - i + 1 : static_cast<int>(dice.below(3)) - 1;
    return r;
}

enum class Kind { kTall, kSquare, kExactRank, kIndefinite };

struct CholeskyProblem {
    explicit CholeskyProblem(unsigned trial) : dice(trial), kind(Kind(trial % 4))
    {
        const unsigned p = randomSize(trial, dice);
        const double scale = std::ldexp(1.0, 466 * (static_cast<int>(dice.below(3)) - 1));
        const unsigned rows = kind == Kind::kTall ? 2 * p + 1 : p;
        const DoubleGenMat x = randomRows(rows, p, dice);
        a.reference(transposeProduct(x, x));
        rank = static_cast<int>(p);
        if (kind == Kind::kExactRank) {
            rank = static_cast<int>(dice.below(p + 1));
            const DoubleGenMat r = integerFactor(static_cast<int>(p), rank, dice);
            a.reference(reordered(transposeProduct(r, r), randomOrder(static_cast<int>(p), dice)));
        }
        if (kind == Kind::kIndefinite) a.diagonal(0) -= dice.unit();
        a *= scale;  // 1, or a power of two next to 1e140 or 1e-140
    }
    Dice dice;
    Kind kind;
    DoubleGenMat a;
    int rank;
};

/// The rows of R that were found, and what remained of A where that was not positive definite.
struct CholeskyFactors {
    CholeskyFactors(const DoubleGenMat& a, std::vector<int> specifiers, int job)
        : r(a), remainder(a.rows(), a.cols(), 0.0), jpvt(std::move(specifiers)), info(-7)
    {
        std::vector<double> work(jpvt.size());
        knotwork::linpack::dchdc(r.data.data(), &r.leading, &r.p, work.data(), jpvt.data(), &job,
                                 &info);
        rows.reference(r.upper());
        for (int i = info; i < r.p; ++i)
            for (int j = i; j < r.p; ++j) {
                remainder(i, j) = remainder(j, i) = rows(i, j);
                rows(i, j) = 0.0;
            }
    }
    DoubleGenMat product() const { return transposeProduct(rows, rows) + remainder; }
    /// What these are made of; an indefinite matrix may be much smaller than what cancels in it.
    double size() const { return std::pow(frobeniusNorm(rows), 2.0) + frobeniusNorm(remainder); }

    Triangle r;
    DoubleGenMat rows, remainder;
    std::vector<int> jpvt;
    int info;
};

/// What dchud, dchdd and dchex work on: R, two right-hand sides and their norms.
struct Current {
    explicit Current(const DoubleGenMat& upper, Dice& dice)
        : r(upper), z(randomRows(upper.rows(), 2, dice)), rho(2, 3.0), c(upper.rows()), s(c)
    {
        z *= frobeniusNorm(upper);
        rho *= frobeniusNorm(upper);
    }
    explicit Current(const Current& other)
        : r(other.r), z(other.z.copy()), rho(other.rho.copy()), c(other.c), s(other.s)
    {
    }
    int change(bool add, const DoubleVec& x, const DoubleVec& y)
    {
        const int nz = 2;
        int info = 0;
        if (add)
            knotwork::linpack::dchud(r.data.data(), &r.leading, &r.p, x.data(), z.data(), &r.p, &nz,
                                     y.data(), rho.data(), c.data(), s.data());
        else
            knotwork::linpack::dchdd(r.data.data(), &r.leading, &r.p, x.data(), z.data(), &r.p, &nz,
                                     y.data(), rho.data(), c.data(), s.data(), &info);
        return info;
    }
    void shift(int k, int l, int job)
    {
        const int nz = 2;
        knotwork::linpack::dchex(r.data.data(), &r.leading, &r.p, &k, &l, z.data(), &r.p, &nz,
                                 c.data(), s.data(), &job);
    }
    Triangle r;
    DoubleGenMat z;
    DoubleVec rho;
    std::vector<double> c, s;
};

/// The data behind R and its right-hand sides, as far as they can be known: X^T X, X^T y, y^T y.
struct Moments {
    explicit Moments(Current& f)
        : xx(transposeProduct(f.r.upper(), f.r.upper())), xy(transposeProduct(f.r.upper(), f.z))
    {
        for (int j = 0; j < 2; ++j) yy[j] = std::hypot(f.z.col(j).vecLen(), f.rho(j));
    }
    double distance(const Moments& m) const
    {
        const double size = frobeniusNorm(xx);
        double d = ratioOf(frobeniusNorm(xx - m.xx), size);
        d = std::max(d, ratioOf(frobeniusNorm(xy - m.xy), size + frobeniusNorm(xy)));
        for (int j = 0; j < 2; ++j) d = std::max(d, ratioOf(std::fabs(yy[j] - m.yy[j]), yy[j]));
        return d / (std::max(1u, xx.rows()) * kEps);
    }
    DoubleGenMat xx, xy;
    double yy[2];
};

/// NaN when something was written beyond R.
inline double shiftError(const Current& start, int k, int l, int job)
{
    Current moved(start);
    moved.shift(k, l, job);
    std::vector<int> order(static_cast<std::size_t>(moved.r.p));
    std::iota(order.begin(), order.end(), 0);
    const auto first = order.begin() + (k - 1);
    const auto last = order.begin() + l;
    std::rotate(first, job == 1 ? last - 1 : first + 1, last);
    Current unmoved(start);
    Moments expected(unmoved);
    expected.xx.reference(reordered(expected.xx, order));
    expected.xy.reference(DoubleGenMat(expected.xy.matPick(
        IntVec(order.data(), static_cast<unsigned>(order.size())), IntVec(2, 0, 1))));
    return moved.r.restUntouched() ? expected.distance(Moments(moved)) : kNaN;
}

struct CholeskyRatios {
    Worst reconstruction{"P^T A P - R^T R"};
    Worst solution{"A x - b"};
    std::array<const Worst*, 2> all() const { return {&reconstruction, &solution}; }

    /// order: of the columns, 0-based; size: what made up A, where that cancelled.
    void seeFactors(const DoubleGenMat& a, const std::vector<int>& order,
                    const DoubleGenMat& product, double size, unsigned trial)
    {
        const double error = frobeniusNorm(reordered(a, order) - product);
        reconstruction.see(ratioOf(error, size * a.rows() * kEps), trial);
    }
    void seeSolution(const DoubleGenMat& a, const DoubleVec& b, const DoubleVec& x, unsigned trial)
    {
        const double size = frobeniusNorm(a) * x.vecLen() * a.rows() * kEps;
        solution.see(ratioOf((product(a, x) - b).vecLen(), size), trial);
    }
};

struct UpdateRatios {
    Worst updated{"a row added"};
    Worst shifted{"columns shifted"};
    Worst returned{"a row added and withdrawn, over eps cond(R)", 1e3};
    std::array<const Worst*, 3> all() const { return {&updated, &shifted, &returned}; }

    /// False when the row could not be withdrawn, or more than R was written.
    bool see(unsigned trial)
    {
        Dice dice(trial);
        const unsigned p = randomSize(trial, dice);
        const double scale = std::pow(10.0, 140 * (static_cast<int>(trial % 3) - 1));
        const DoubleGenMat x = randomRows(p + 1 + dice.below(p + 1), p, dice);
        const CholeskyFactors f(transposeProduct(x, x), std::vector<int>(p, 0), 1);
        if (f.info < static_cast<int>(p)) return true;
        const DoubleGenMat upper = f.rows * scale;
        const DoubleVec row = randomRows(1, p, dice).row(0).copy() * scale;
        const DoubleVec y = randomRows(1, 2, dice).row(0).copy() * (scale * frobeniusNorm(x));
        Current start(upper, dice);

        Current added(start);
        added.change(true, row, y);
        Moments expected(start);
        for (int j = 0; j < static_cast<int>(p); ++j) expected.xx.col(j) += row * row(j);
        for (int j = 0; j < 2; ++j) {
            expected.xy.col(j) += row * y(j);
            expected.yy[j] = std::hypot(expected.yy[j], y(j));
        }
        updated.see(expected.distance(Moments(added)), trial);

        Current back(added);
        const bool withdrawn = back.change(false, row, y) == 0;
        const double condition =
            p == 0 ? 1.0 : maxValue(abs(upper.diagonal(0))) / minValue(abs(upper.diagonal(0)));
        DoubleGenMat r = back.r.upper();
        for (int i = 0; i < static_cast<int>(p); ++i)
            if (r(i, i) < 0.0) r.row(i) *= -1.0;
        returned.see(ratioOf(frobeniusNorm(r - upper), frobeniusNorm(upper) * condition * kEps),
                     trial);

        const bool all = p <= 6 && trial % 16 == 0;  // otherwise about one of them
        for (unsigned l = 2; l <= p; ++l)
            for (unsigned k = 1; k < l; ++k)
                if (all || dice.below(p * p / 2) == 0)
                    for (const int job : {1, 2})
                        shifted.see(
                            shiftError(start, static_cast<int>(k), static_cast<int>(l), job),
                            trial);
        return withdrawn && added.r.restUntouched() && back.r.restUntouched();
    }
};

}  // namespace knotwork_measures
