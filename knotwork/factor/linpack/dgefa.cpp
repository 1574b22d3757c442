// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <utility>

#include "knotwork/factor/kernels/ColumnMajor.h"
#include "knotwork/factor/kernels/PanelKernels.h"
#include "knotwork/factor/kernels/Triangles.h"
#include "knotwork/factor/linpack.h"
#include "knotwork/linalg/detail/MatrixProduct.h"
#include "knotwork/platform/blas.h"
#include "knotwork/platform/cpu.h"

namespace knotwork::linpack {

namespace {

constexpr int kStep = 1;  // increment of every BLAS call: all vectors are columns

using Matrix = ColumnMajor<double>;

/// What dgefa leaves: U on and above the diagonal, below it the negated multipliers of each step.
/// Step k exchanges rows k and pivot(k), then adds multiples of row k to those below; its exchange
/// never moved the multipliers of the steps before.
struct Factors {
    ColumnMajor<const double> A;
    int n;
    const int* ipvt;

    int pivot(int k) const { return ipvt[k] - 1; }
    const double* multipliers(int k) const { return A.at(k + 1, k); }
};

// --- elimination ---

constexpr int kBlock = 128;  // steps that are applied to the columns behind them together
constexpr int kNarrow = 8;   // columns that are eliminated one by one
constexpr int kCorner = 16;  // steps that are applied to each other's rows one by one

/// A block of steps. While it is in work, whole rows of its columns are exchanged, the multipliers
/// of earlier steps too.
struct Steps {
    Matrix A;
    int n;
    int* ipvt;

    int pivot(int k) const { return ipvt[k] - 1; }
};

int largestFrom(const double* x, int first, int n)
{
    const int count = n - first;
    const int found = idamax_(&count, x + first, &kStep);
    return first + std::clamp(found, 1, count) - 1;  // whatever a provider makes of NaN
}

/// x := -x / pivot
void divideNegated(double* x, int n, double pivot)
{
    const double factor = -1.0 / pivot;
    if (std::isfinite(factor)) {
        dscal_(&n, &factor, x, &kStep);
        return;
    }
    for (int i = 0; i < n; ++i) x[i] = -(x[i] / pivot);  // a subnormal pivot
}

/// Steps [first, end) exchange the rows of columns [left, right).
void exchangeRows(const Steps& s, int first, int end, int left, int right)
{
    for (int j = left; j < right; ++j) {
        double* x = s.A.column(j);
        for (int k = first; k < end; ++k) std::swap(x[k], x[s.pivot(k)]);
    }
}

/// Columns that lie side by side while the few steps of a corner go through them.
struct CornerKernel {
    static constexpr int kLanes = 8;

    [[gnu::always_inline]] void operator()(const double* multipliers, std::ptrdiff_t leading,
                                           int steps, double* x, std::ptrdiff_t xLeading,
                                           int columns) const
    {
        double rows[kCorner][kLanes] = {};
        for (int j = 0; j < columns; j += kLanes) {
            const int here = std::min(kLanes, columns - j);
            for (int c = 0; c < here; ++c)
                for (int i = 0; i < steps; ++i) rows[i][c] = x[(j + c) * xLeading + i];
            for (int k = 0; k < steps; ++k)
                for (int i = k + 1; i < steps; ++i) {
                    const double multiplier = multipliers[k * leading + i];
                    for (int c = 0; c < kLanes; ++c) rows[i][c] += rows[k][c] * multiplier;
                }
            for (int c = 0; c < here; ++c)
                for (int i = 0; i < steps; ++i) x[(j + c) * xLeading + i] = rows[i][c];
        }
    }
};

/// Steps [first, end) in rows [end, behind) of columns [left, right).
void addMultiples(const Steps& s, int first, int end, int behind, int left, int right)
{
    const std::ptrdiff_t leading = s.A.leading();
    const int depth = end - first;
    addProduct(columnMajor(s.A.at(end, first), leading, behind - end, depth),
               columnMajor(s.A.at(first, left), leading, depth, right - left), s.A.at(end, left),
               leading);
}

/// Steps [first, end) in their own rows of columns [left, right).
void finishRows(const Steps& s, int first, int end, int left, int right)
{
    if (end - first <= kCorner)
        return runKernel(CornerKernel(), s.A.at(first, first), s.A.leading(), end - first,
                         s.A.at(first, left), s.A.leading(), right - left);
    const int middle = first + (end - first) / 2;
    finishRows(s, first, middle, left, right);
    addMultiples(s, first, middle, end, left, right);
    finishRows(s, middle, end, left, right);
}

/// Steps [first, end) in columns [left, right) behind them.
void applySteps(const Steps& s, int first, int end, int left, int right)
{
    if (left == right) return;
    exchangeRows(s, first, end, left, right);
    finishRows(s, first, end, left, right);
    addMultiples(s, first, end, s.n, left, right);
}

/// Step k adds multiples of its column to columns (k, end).
void addColumn(const Steps& s, int k, int end)
{
    double* columns[kPanel] = {};
    double factors[kPanel] = {};
    for (int j = k + 1; j < end; j += kPanel) {
        const int count = std::min(kPanel, end - j);
        for (int c = 0; c < count; ++c) columns[c] = s.A.column(j + c);
        for (int c = 0; c < count; ++c) factors[c] = columns[c][k];
        panelUpdate(RowRange{k + 1, s.n}, s.A.column(k), columns, count, factors);
    }
}

/// Steps [first, end) in their own columns, one by one.
void eliminateNarrow(const Steps& s, int first, int end, int* info)
{
    for (int k = first; k < end; ++k) {
        const int pivot = largestFrom(s.A.column(k), k, s.n);
        if (s.A(pivot, k) == 0.0) {  // nothing to exchange, nothing to add
            s.ipvt[k] = k + 1;
            *info = k + 1;
            continue;
        }
        s.ipvt[k] = pivot + 1;
        exchangeRows(s, k, k + 1, first, end);
        divideNegated(s.A.at(k + 1, k), s.n - k - 1, s.A(k, k));
        addColumn(s, k, end);
    }
}

/// Steps [first, end) in their own columns; info becomes the last zero pivot.
void eliminate(const Steps& s, int first, int end, int* info)
{
    if (end - first <= kNarrow) return eliminateNarrow(s, first, end, info);
    const int narrows = (end - first + kNarrow - 1) / kNarrow;
    const int middle = first + narrows / 2 * kNarrow;
    eliminate(s, first, middle, info);
    applySteps(s, first, middle, middle, end);
    eliminate(s, middle, end, info);
    exchangeRows(s, middle, end, first, middle);
}

/// Moves the multipliers of steps [first, end) back to the rows where they left them.
void undoExchanges(const Steps& s, int first, int end)
{
    for (int k = first; k < end; ++k)
        for (int l = end - 1; l > k; --l) std::swap(s.A(l, k), s.A(s.pivot(l), k));
}

// --- condition estimate ---

/// A vector on its way through the factors. It is scaled whenever an element would pass 1 in
/// magnitude; `size` is the product of the scales.
struct Probe {
    double* z;
    int n;
    double size;

    void scale(double by)
    {
        dscal_(&n, &by, z, &kStep);
        size *= by;
    }
    void normalise() { scale(1.0 / dasum_(&n, z, &kStep)); }
    /// Scales so that element k is at most `bound` in magnitude.
    void limit(int k, double bound)
    {
        const double magnitude = std::fabs(z[k]);
        if (magnitude > bound) scale(bound / magnitude);
    }
};

double oneNorm(const double* a, int lda, int n)
{
    double norm = 0.0;
    for (int j = 0; j < n; ++j) {
        const double column = dasum_(&n, ColumnMajor<const double>(a, lda).column(j), &kStep);
        norm = std::max(norm, column);
        if (std::isnan(column)) return column;
    }
    return norm;
}

/// U^T z = e, where each element of e is one number with a sign of its own, chosen so that z grows.
void solveForGrowth(const Factors& f, Probe& p)
{
    double* z = p.z;
    double e = 1.0;
    std::fill_n(z, f.n, 0.0);
    for (int k = 0; k < f.n; ++k) {
        const double diagonal = f.A(k, k);
        const double opposite = -z[k];
        if (z[k] != 0.0) e = dsign(&e, &opposite);
        if (std::fabs(e - z[k]) > std::fabs(diagonal)) {
            const double by = std::fabs(diagonal) / std::fabs(e - z[k]);
            p.scale(by);
            e *= by;
        }
        const double kept = diagonal != 0.0 ? (e - z[k]) / diagonal : 1.0;
        const double turned = diagonal != 0.0 ? (-e - z[k]) / diagonal : 1.0;
        double sumKept = std::fabs(e - z[k]);
        double sumTurned = std::fabs(-e - z[k]);
        for (int j = k + 1; j < f.n; ++j) {
            sumTurned += std::fabs(z[j] + turned * f.A(k, j));
            z[j] += kept * f.A(k, j);
            sumKept += std::fabs(z[j]);
        }
        z[k] = kept;
        if (!(sumKept < sumTurned)) continue;
        const double change = turned - kept;
        for (int j = k + 1; j < f.n; ++j) z[j] += change * f.A(k, j);
        z[k] = turned;
    }
    p.normalise();
}

/// z := the solution of L^T y = z, up to a scale.
void solveLowerTransposed(const Factors& f, Probe& p)
{
    for (int k = f.n - 1; k >= 0; --k) {
        const int below = f.n - k - 1;
        p.z[k] += ddot_(&below, f.multipliers(k), &kStep, p.z + k + 1, &kStep);
        p.limit(k, 1.0);
        std::swap(p.z[k], p.z[f.pivot(k)]);
    }
    p.normalise();
}

/// z := the solution of L v = z, up to a scale.
void solveLower(const Factors& f, Probe& p)
{
    for (int k = 0; k < f.n; ++k) {
        const int below = f.n - k - 1;
        std::swap(p.z[k], p.z[f.pivot(k)]);
        daxpy_(&below, p.z + k, f.multipliers(k), &kStep, p.z + k + 1, &kStep);
        p.limit(k, 1.0);
    }
    p.normalise();
}

/// z := the solution of U w = z, up to a scale; 1 where a pivot is zero.
void solveUpper(const Factors& f, Probe& p)
{
    for (int k = f.n - 1; k >= 0; --k) {
        const double diagonal = f.A(k, k);
        p.limit(k, std::fabs(diagonal));
        p.z[k] = diagonal != 0.0 ? p.z[k] / diagonal : 1.0;
        const double factor = -p.z[k];
        daxpy_(&k, &factor, f.A.column(k), &kStep, p.z, &kStep);
    }
    p.normalise();
}

// --- determinant and inverse ---

/// det[0] 10^det[1], with 1 <= |det[0]| < 10 unless it is 0 or not finite.
void findDeterminant(const Factors& f, double* det)
{
    double mantissa = 1.0;
    double exponent = 0.0;
    for (int k = 0; k < f.n && mantissa != 0.0; ++k) {
        mantissa *= f.pivot(k) == k ? f.A(k, k) : -f.A(k, k);
        for (; mantissa != 0.0 && std::fabs(mantissa) < 1.0; mantissa *= 10.0) exponent -= 1.0;
        for (; std::isfinite(mantissa) && std::fabs(mantissa) >= 10.0; mantissa /= 10.0)
            exponent += 1.0;
    }
    det[0] = mantissa;
    det[1] = exponent;
}

/// y += the sum of factors[j] times column j of A, for j in [first, end), over `rows` rows.
void addColumns(const Matrix& A, int first, int end, const double* factors, int rows, double* y)
{
    for (int j = first; j < end; j += kPanel) {
        const double* columns[kPanel] = {};
        const int count = std::min(kPanel, end - j);
        for (int c = 0; c < count; ++c) columns[c] = A.column(j + c);
        panelCombine(RowRange{0, rows}, y, columns, count, factors + j);
    }
}

/// Replaces U by its inverse, column by column: the columns before are inverted already, and give
/// -inverse(U) u / diagonal.
void invertUpper(const Matrix& A, int n, double* work)
{
    for (int j = 0; j < n; ++j) {
        double* x = A.column(j);
        std::copy_n(x, j, work);
        std::fill_n(x, j, 0.0);
        // A panel's columns end on the diagonal: its corner first, then the rows that all have.
        for (int k = 0; k < j; k += kPanel) {
            const int end = std::min(k + kPanel, j);
            for (int c = k; c < end; ++c)
                for (int i = k; i <= c; ++i) x[i] += work[c] * A(i, c);
            addColumns(A, k, end, work, k, x);
        }
        x[j] = 1.0 / x[j];
        const double factor = -x[j];
        dscal_(&j, &factor, x, &kStep);
    }
}

/// Multiplies inverse(U) by inverse(L), last step first.
void multiplyByInverseLower(const Matrix& A, int n, const int* ipvt, double* work)
{
    for (int k = n - 2; k >= 0; --k) {
        double* x = A.column(k);
        std::copy(x + k + 1, x + n, work + k + 1);
        std::fill(x + k + 1, x + n, 0.0);
        addColumns(A, k + 1, n, work, n, x);
        const int pivot = ipvt[k] - 1;
        if (pivot != k) dswap_(&n, x, &kStep, A.column(pivot), &kStep);
    }
}

}  // namespace

int dgefa(double* a, const int* lda, const int* n, int* ipvt, int* info)
{
    *info = 0;
    const Steps steps = {{a, *lda}, *n, ipvt};
    for (int first = 0; first < *n; first += kBlock) {
        const int end = std::min(first + kBlock, *n);
        eliminate(steps, first, end, info);
        applySteps(steps, first, end, end, *n);
        undoExchanges(steps, first, end);
    }
    return 0;
}

int dgeco(double* a, const int* lda, const int* n, int* ipvt, double* rcond, double* z)
{
    const double norm = oneNorm(a, *lda, *n);
    int info;
    dgefa(a, lda, n, ipvt, &info);
    const Factors f = {{a, *lda}, *n, ipvt};
    Probe p = {z, *n, 1.0};
    solveForGrowth(f, p);
    solveLowerTransposed(f, p);
    p.size = 1.0;  // from here on, what z shrinks by is what the inverse stretches it by
    solveLower(f, p);
    solveUpper(f, p);
    *rcond = norm != 0.0 ? p.size / norm : 0.0;
    return 0;
}

int dgesl(const double* a, const int* lda, const int* n, const int* ipvt, double* b, const int* job)
{
    const Factors f = {{a, *lda}, *n, ipvt};
    if (*job == 0) {
        for (int k = 0; k < f.n; ++k) {
            const int below = f.n - k - 1;
            std::swap(b[k], b[f.pivot(k)]);
            daxpy_(&below, b + k, f.multipliers(k), &kStep, b + k + 1, &kStep);
        }
        solveUpper(f.A, f.n, b);
        return 0;
    }
    solveUpperTransposed(f.A, f.n, b);
    for (int k = f.n - 2; k >= 0; --k) {
        const int below = f.n - k - 1;
        b[k] += ddot_(&below, f.multipliers(k), &kStep, b + k + 1, &kStep);
        std::swap(b[k], b[f.pivot(k)]);
    }
    return 0;
}

int dgedi(double* a, const int* lda, const int* n, const int* ipvt, double* det, double* work,
          const int* job)
{
    if (*job / 10 != 0) findDeterminant({{a, *lda}, *n, ipvt}, det);
    if (*job % 10 == 0) return 0;
    const Matrix A(a, *lda);
    invertUpper(A, *n, work);
    multiplyByInverseLower(A, *n, ipvt, work);
    return 0;
}

}  // namespace knotwork::linpack
