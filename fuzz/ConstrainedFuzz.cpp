// SPDX-License-Identifier: MIT
// Small systems with constraints, and larger ones that the short roads take, next to the equations
// that define the answer, solved in long double by elimination with full pivoting.
#include <algorithm>
#include <utility>
#include <vector>

#include "fuzz/Fuzz.h"
#include "knotwork/solvers/Thouseholder.h"

using knotwork_fuzz::Bytes;
using knotwork_fuzz::require;

namespace {

using Real = long double;

struct Square {
    explicit Square(int n)
        : size(n), entries(static_cast<std::size_t>(n) * static_cast<std::size_t>(n), 0)
    {
    }
    Real& at(int i, int j)
    {
        return entries[static_cast<std::size_t>(i) * static_cast<std::size_t>(size) +
                       static_cast<std::size_t>(j)];
    }
    int size;
    std::vector<Real> entries;
};

/// Solves in place; the answer is the smallest pivot beside the largest, 0 where there is none.
Real eliminate(Square& a, std::vector<Real>& x)
{
    const int n = a.size;
    std::vector<int> order(static_cast<std::size_t>(n));
    for (int k = 0; k < n; ++k) order[static_cast<std::size_t>(k)] = k;
    Real first = 0;
    Real last = 0;
    for (int k = 0; k < n; ++k) {
        int row = k;
        int col = k;
        for (int i = k; i < n; ++i)
            for (int j = k; j < n; ++j)
                if (std::fabs(a.at(i, j)) > std::fabs(a.at(row, col))) {
                    row = i;
                    col = j;
                }
        last = std::fabs(a.at(row, col));
        if (k == 0) first = last;
        if (last == 0) return 0;
        for (int j = 0; j < n; ++j) std::swap(a.at(k, j), a.at(row, j));
        std::swap(x[static_cast<std::size_t>(k)], x[static_cast<std::size_t>(row)]);
        for (int i = 0; i < n; ++i) std::swap(a.at(i, k), a.at(i, col));
        std::swap(order[static_cast<std::size_t>(k)], order[static_cast<std::size_t>(col)]);
        for (int i = k + 1; i < n; ++i) {
            const Real factor = a.at(i, k) / a.at(k, k);
            if (factor == 0) continue;
            for (int j = k; j < n; ++j) a.at(i, j) -= factor * a.at(k, j);
            x[static_cast<std::size_t>(i)] -= factor * x[static_cast<std::size_t>(k)];
        }
    }
    std::vector<Real> solved(x.size());
    for (int k = n - 1; k >= 0; --k) {
        Real rest = x[static_cast<std::size_t>(k)];
        for (int j = k + 1; j < n; ++j)
            rest -=
                a.at(k, j) * solved[static_cast<std::size_t>(order[static_cast<std::size_t>(j)])];
        solved[static_cast<std::size_t>(order[static_cast<std::size_t>(k)])] = rest / a.at(k, k);
    }
    x = solved;
    return last / first;
}

struct System {
    DoubleGenMat matrix;
    DoubleVec rhs;
    int constraints;

    int rows() const { return static_cast<int>(matrix.rows()); }
    int cols() const { return static_cast<int>(matrix.cols()); }
    /// How many constraints count: with fewer rows than unknowns every row does.
    int counted() const
    {
        if (rows() < cols()) return rows();
        return std::clamp(constraints, 0, std::min(rows(), cols()));
    }
};

struct Exact {
    std::vector<Real> x;
    Real pivots;  // the smallest beside the largest
};

/// Least squares under constraints by the normal equations with multipliers: with E the rows to be
/// fitted and C those to be met, [E^T E, C^T; C, 0] [x; l] = [E^T b; d]. Where no row is left to
/// fit, the shortest x counts, so the identity stands for E^T E.
Exact solveExactly(const System& system)
{
    const int n = system.cols();
    const int c = system.counted();
    const int m = system.rows() - c;
    Square kkt(n + c);
    std::vector<Real> x(static_cast<std::size_t>(n + c), 0);
    const DoubleGenMat& a = system.matrix;
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < n; ++j)
            for (int k = 0; k < m; ++k) kkt.at(i, j) += Real{a(k, i)} * Real{a(k, j)};
        if (m == 0) kkt.at(i, i) = 1;
        for (int k = 0; k < m; ++k)
            x[static_cast<std::size_t>(i)] += Real{a(k, i)} * Real{system.rhs(k)};
        for (int k = 0; k < c; ++k) kkt.at(i, n + k) = kkt.at(n + k, i) = a(m + k, i);
    }
    for (int k = 0; k < c; ++k) x[static_cast<std::size_t>(n + k)] = system.rhs(m + k);
    const Real pivots = eliminate(kkt, x);
    x.resize(static_cast<std::size_t>(n));
    return {x, pivots};
}

/// A few rows and columns, every entry from the bytes.
System smallSystem(Bytes& bytes)
{
    const int m = bytes.between(1, 9);
    const int n = bytes.between(1, 7);
    System system = {DoubleGenMat(static_cast<unsigned>(m), static_cast<unsigned>(n), 0.0),
                     DoubleVec(static_cast<unsigned>(m), 0.0), bytes.between(-1, 8)};
    for (int i = 0; i < m; ++i) {
        for (int j = 0; j < n; ++j) system.matrix(i, j) = bytes.flag() ? bytes.number() : 0.0;
        system.rhs(i) = bytes.number();
    }
    return system;
}

/// 32 unknowns and more: dense rows, or spans of a few entries in many rows. Bytes that are used up
/// go on as a sequence that they started.
System largeSystem(Bytes& bytes)
{
    const int n = bytes.between(32, 40);
    const bool banded = bytes.flag();
    const int m = banded ? bytes.between(2 * n, 2 * n + 20) : bytes.between(n, n + 10);
    const int width = banded ? bytes.between(1, 6) : n;
    System system = {DoubleGenMat(static_cast<unsigned>(m), static_cast<unsigned>(n), 0.0),
                     DoubleVec(static_cast<unsigned>(m), 0.0), bytes.between(0, 12)};
    unsigned state = 1;
    const auto entry = [&] {
        state = state * 1664525u + 1013904223u + static_cast<unsigned>(bytes.byte());
        return static_cast<double>(state >> 24) / 8.0 - 16.0;
    };
    for (int i = 0; i < m; ++i) {
        const int start = banded ? (i * 7 + bytes.byte()) % (n - width + 1) : 0;
        for (int j = 0; j < width; ++j) system.matrix(i, start + j) = entry();
        system.rhs(i) = entry();
    }
    return system;
}

double largestEntry(const System& system)
{
    double result = 0.0;
    for (int j = 0; j < system.cols(); ++j)
        for (int i = 0; i < system.rows(); ++i)
            result = std::max(result, std::fabs(system.matrix(i, j)));
    return result;
}

/// Brought to unit size by a power of two, as the solver's absolute thresholds want it.
void scale(System& system)
{
    const double largest = largestEntry(system);
    if (largest == 0.0) return;
    const double factor = std::ldexp(1.0, -std::ilogb(largest));
    system.matrix *= factor;
    system.rhs *= factor;
}

void compare(const System& system, const Exact& exact, const DoubleVec& x)
{
    constexpr Real kBound = 1e-9L;  // beside the largest unknown, for well-conditioned systems
    Real largest = 1;
    for (const Real t : exact.x) largest = std::max(largest, std::fabs(t));
    require(static_cast<int>(x.length()) == system.cols(), "there is a number an unknown");
    for (int j = 0; j < system.cols(); ++j) {
        const Real error = std::fabs(Real{x(j)} - exact.x[static_cast<std::size_t>(j)]);
        require(error <= kBound * largest, "the solution is that of the defining equations");
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    setLXErrHandler(knotwork_fuzz::throwUnlessWarning);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr Real kSound = 1e-4L;       // pivots of the defining equations: A's squared
    constexpr Real kDependent = 1e-17L;  // what rounding leaves of 0 in long double
    Bytes bytes(data, size);
    System system = bytes.below(16) == 0 ? largeSystem(bytes) : smallSystem(bytes);
    scale(system);
    const Exact exact = solveExactly(system);
    Thouseholder solver(1e-15, 0, false);
    const int code = solver.setMatrix(system.matrix, system.constraints, false, false, false);
    require(code == 0 || code == -1, "a set-up succeeds or finds a dependent system");
    require((code == 0) == solver.isSolvable(), "the code and the solver agree");
    DoubleVec x(static_cast<unsigned>(system.cols()), 0.0);
    const int status = solver.solve(system.rhs, &x, false);
    require(status == (code == 0 ? knotwork::kSolved : knotwork::kDependent),
            "a solve says what the set-up found");
    if (exact.pivots > kSound) {
        require(code == 0, "a well-conditioned system is solved");
        compare(system, exact, x);
    }
    if (exact.pivots < kDependent) require(code == -1, "a dependent system is refused");
    return 0;
}
