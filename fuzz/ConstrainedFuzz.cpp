// SPDX-License-Identifier: MIT
// Small systems with constraints, and larger ones that the short roads take, next to the equations
// that define the answer, solved in quadruple precision.
#include <algorithm>

#include "fuzz/Fuzz.h"
#include "knotwork/solvers/Thouseholder.h"
#include "measures/ExactSystem.h"

using knotwork_fuzz::Bytes;
using knotwork_fuzz::require;
using knotwork_measures::ExactSystem;

namespace {

struct System {
    DoubleGenMat matrix;
    DoubleVec rhs;
    int constraints;

    int rows() const { return static_cast<int>(matrix.rows()); }
    int cols() const { return static_cast<int>(matrix.cols()); }
};

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

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr double kSound = 100.0;  // a condition that nobody needs to refuse
    Bytes bytes(data, size);
    System system = bytes.below(16) == 0 ? largeSystem(bytes) : smallSystem(bytes);
    scale(system);
    const ExactSystem exact(system.matrix, system.constraints);
    Thouseholder solver(1e-15, 0, false);
    const int code = solver.setMatrix(system.matrix, system.constraints, false, false, false);
    require(code == 0 || code == -1, "a set-up succeeds or finds a dependent system");
    require((code == 0) == solver.isSolvable(), "the code and the solver agree");
    DoubleVec x(static_cast<unsigned>(system.cols()), 0.0);
    const int status = solver.solve(system.rhs, &x, false);
    require(status == (code == 0 ? knotwork::kSolved : knotwork::kDependent),
            "a solve says what the set-up found");
    if (exact.equations().determined() && exact.equations().condition() < kSound) {
        require(code == 0, "a well-conditioned system is solved");
        require(exact.errorOf(x, system.rhs) <= 1e-9, "the solution is that of the equations");
    }
    if (!exact.equations().determined()) require(code == -1, "a dependent system is refused");
    return 0;
}
