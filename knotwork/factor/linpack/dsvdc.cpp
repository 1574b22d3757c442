// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "knotwork/factor/kernels/Bidiagonal.h"
#include "knotwork/factor/kernels/Reflection.h"
#include "knotwork/factor/kernels/Rotation.h"
#include "knotwork/factor/kernels/RotationWaves.h"
#include "knotwork/factor/linpack.h"
#include "knotwork/platform/blas.h"

namespace knotwork::linpack {

namespace {

constexpr int kStep = 1;             // increment of every BLAS call: all vectors are columns
constexpr int kIterationLimit = 30;  // QR steps a value, for all of them together
constexpr int kFew = 4;              // columns, two for a wave on either side

/// What the iteration works on. The bidiagonal matrix has diagonal s and superdiagonal e, `size` of
/// each; the columns of left and right, if there are any, become the singular vectors. QR steps are
/// waves of rotations, which wait.
struct Decomposition {
    double* s;
    double* e;
    int size;
    Panel left;
    Panel right;
    RotationWaves leftWaves;
    RotationWaves rightWaves;

    void applyWaves()
    {
        leftWaves.apply();
        rightWaves.apply();
    }
};

// --- iteration on the bidiagonal form ---

/// Turns columns j and k. A wide matrix has one row more than U has columns, but its s is 0, so
/// that it converges first, with rotations from the right only.
void rotate(const Panel& vectors, int j, int k, Rotation r)
{
    if (vectors.cols == 0) return;
    drot_(&vectors.rows, vectors.at(0, j), &kStep, vectors.at(0, k), &kStep, &r.c, &r.s);
}

void exchange(const Panel& vectors, int j, int k)
{
    if (vectors.cols == 0) return;
    dswap_(&vectors.rows, vectors.at(0, j), &kStep, vectors.at(0, k), &kStep);
}

/// Subnormal numbers are negligible too, for rounding could keep their rotations from ever ending;
/// so is zero next to a NaN.
bool isNegligible(double x, double neighbours)
{
    const double magnitude = std::fabs(x);
    return neighbours + magnitude == neighbours || magnitude < std::numeric_limits<double>::min();
}

enum class Finding {
    kConverged,   // the block is one value
    kZeroAtEnd,   // the block's last s is 0
    kZeroInside,  // an earlier s of the block is 0
    kRegular
};

/// The trailing block [first, end) of the part that has not converged, and what to do with it.
struct Block {
    Finding finding;
    int first;  // for kZeroInside: just behind the zero
};

/// First row of the block that ends before `end`: the superdiagonal entry above it is negligible
/// and set to zero.
int findBlockStart(Decomposition& d, int end)
{
    int first = end - 1;
    for (; first > 0; --first) {
        double& e = d.e[first - 1];
        if (!isNegligible(e, std::fabs(d.s[first - 1]) + std::fabs(d.s[first]))) continue;
        e = 0.0;
        break;
    }
    return first;
}

Block classify(Decomposition& d, int end)
{
    const int first = findBlockStart(d, end);
    if (first == end - 1) return {Finding::kConverged, first};
    for (int k = end - 1; k >= first; --k) {
        const double behind = k < end - 1 ? std::fabs(d.e[k]) : 0.0;
        const double before = k > first ? std::fabs(d.e[k - 1]) : 0.0;
        if (!isNegligible(d.s[k], behind + before)) continue;
        d.s[k] = 0.0;
        if (k == end - 1) return {Finding::kZeroAtEnd, first};
        return {Finding::kZeroInside, k + 1};
    }
    return {Finding::kRegular, first};
}

/// s(end - 1) is zero: rotations from the right chase the entry above it out of the block's top.
void deflate(Decomposition& d, int first, int end)
{
    d.applyWaves();
    double f = d.e[end - 2];
    d.e[end - 2] = 0.0;
    for (int k = end - 2; k >= first; --k) {
        const Rotation r = makeRotation(d.s[k], f);
        if (k > first) {
            f = -r.s * d.e[k - 1];
            d.e[k - 1] *= r.c;
        }
        rotate(d.right, k, end - 1, r);
    }
}

/// s(first - 1) is zero: rotations from the left chase the entry beside it out of the block's end.
void split(Decomposition& d, int first, int end)
{
    d.applyWaves();
    double f = d.e[first - 1];
    d.e[first - 1] = 0.0;
    for (int k = first; k < end; ++k) {
        const Rotation r = makeRotation(d.s[k], f);
        f = -r.s * d.e[k];
        d.e[k] *= r.c;
        rotate(d.left, k, first - 1, r);
    }
}

/// The first column of B^T B - mu I, up to a factor. mu is the eigenvalue of the trailing 2 x 2
/// block of B B^T nearer to its last diagonal element. All is scaled, so that squares are safe.
void startOfStep(const Decomposition& d, int first, int end, double& f, double& g)
{
    const double scale =
        std::max({std::fabs(d.s[end - 1]), std::fabs(d.s[end - 2]), std::fabs(d.e[end - 2]),
                  std::fabs(d.s[first]), std::fabs(d.e[first])});
    const double last = d.s[end - 1] / scale;
    const double secondLast = d.s[end - 2] / scale;
    const double coupling = d.e[end - 2] / scale;
    const double top = d.s[first] / scale;
    const double b = ((secondLast + last) * (secondLast - last) + coupling * coupling) / 2.0;
    const double c = (last * coupling) * (last * coupling);
    double shift = 0.0;  // last^2 - mu
    if (b != 0.0 || c != 0.0) shift = c / (b + std::copysign(std::sqrt(b * b + c), b));
    f = (top + last) * (top - last) + shift;
    g = top * (d.e[first] / scale);
}

/// One implicit-shift QR step: the first rotation makes a bulge, the others chase it out. False,
/// and nothing done, when the block has values that are not finite.
bool qrStep(Decomposition& d, int first, int end)
{
    double f;
    double g;
    startOfStep(d, first, end, f, g);
    if (!std::isfinite(f) || !std::isfinite(g)) return false;
    d.leftWaves.begin(first);
    d.rightWaves.begin(first);
    for (int k = first; k < end - 1; ++k) {
        const Rotation right = makeRotation(f, g);
        if (k > first) d.e[k - 1] = f;
        f = right.c * d.s[k] + right.s * d.e[k];
        d.e[k] = right.c * d.e[k] - right.s * d.s[k];
        g = right.s * d.s[k + 1];
        d.s[k + 1] *= right.c;
        d.rightWaves.add(right);

        const Rotation left = makeRotation(f, g);
        d.s[k] = f;
        f = left.c * d.e[k] + left.s * d.s[k + 1];
        d.s[k + 1] = left.c * d.s[k + 1] - left.s * d.e[k];
        g = left.s * d.e[k + 1];
        d.e[k + 1] *= left.c;
        d.leftWaves.add(left);
    }
    d.e[end - 2] = f;
    return true;
}

/// Makes the values from `first` on, which have converged, positive and puts them in order.
void settle(Decomposition& d, int first)
{
    for (int k = first; k < d.size; ++k) {
        if (!std::signbit(d.s[k])) continue;
        d.s[k] = -d.s[k];
        for (int i = 0; i < d.right.rows && k < d.right.cols; ++i) *d.right.at(i, k) *= -1.0;
    }
    for (int k = first; k < d.size; ++k) {
        const int largest = static_cast<int>(std::max_element(d.s + k, d.s + d.size) - d.s);
        if (largest == k) continue;
        std::swap(d.s[k], d.s[largest]);
        exchange(d.left, k, largest);
        exchange(d.right, k, largest);
    }
}

void scaleBidiagonal(Decomposition& d, double scale)
{
    dscal_(&d.size, &scale, d.s, &kStep);
    dscal_(&d.size, &scale, d.e, &kStep);
}

/// Diagonalises; returns how many leading values are left when the limit
/// or a value that is not finite stops it, 0 at the end.
int iterateLifted(Decomposition& d)
{
    // Deflations and splits need no limit: each clears an entry at the edge of the block, where it
    // stays zero and separates, next to a NaN as well. The limit is one budget, for a matrix that
    // is strongly graded may need most of its steps for its first value.
    std::int64_t steps = std::int64_t{kIterationLimit} * d.size;
    int end = d.size;
    while (end > 0) {
        const Block block = classify(d, end);
        switch (block.finding) {
            case Finding::kZeroAtEnd:
                deflate(d, block.first, end);
                break;
            case Finding::kZeroInside:
                split(d, block.first, end);
                break;
            case Finding::kRegular:
                if (steps-- == 0 || !qrStep(d, block.first, end)) return end;
                break;
            case Finding::kConverged:
                if (!std::isfinite(d.s[block.first])) return end;
                --end;
                break;
        }
    }
    return 0;
}

/// The same, for a matrix of any size: one that is tiny as a whole is scaled, which is exact.
int iterate(Decomposition& d)
{
    double largest = 0.0;
    for (int k = 0; k < d.size; ++k)
        largest = std::max({largest, std::fabs(d.s[k]), std::fabs(d.e[k])});
    const double lift = std::max(safeScale(largest), 1.0);
    scaleBidiagonal(d, lift);
    const int unconverged = iterateLifted(d);
    d.applyWaves();
    settle(d, unconverged);
    scaleBidiagonal(d, 1.0 / lift);
    return unconverged;
}

}  // namespace

int dsvdc(double* x, const int* ldx, const int* n, const int* p, double* s, double* e, double* u,
          const int* ldu, double* v, const int* ldv, double* work, const int* job, int* info)
{
    *info = 0;
    if (*n < 1 || *p < 1) return 0;
    const int leftChoice = *job / 10;
    const int leftVectors = leftChoice == 0 ? 0 : leftChoice == 1 ? *n : std::min(*n, *p);
    const int rightVectors = *job % 10 == 0 ? 0 : *p;
    const Panel left = {u, *ldu, *n, leftVectors};
    const Panel right = {v, *ldv, *p, rightVectors};
    bidiagonalise({x, *ldx, *n, *p}, {s, e, work, left, right});
    // x is through, and has room for waves: none is longer than its columns.
    double few[kFew * kFew];
    const Panel room = *p < kFew ? Panel{few, kFew, kFew, kFew} : Panel{x, *ldx, *n, *p};
    const int half = room.cols / 2;
    Decomposition d = {s,
                       e,
                       std::min(*n + 1, *p),
                       left,
                       right,
                       {left, room.part(0, 0, room.rows, half)},
                       {right, room.part(0, half, room.rows, half)}};
    *info = iterate(d);
    return 0;
}

}  // namespace knotwork::linpack
