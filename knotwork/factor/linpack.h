// SPDX-License-Identifier: MIT
#pragma once

/// Dense factorisation kernels with their published argument lists: everything by address, integers
/// of 32 bits, matrices column-major with a leading dimension, indices in results 1-based. Inputs
/// that are never written are const. A kernel raises nothing, allocates nothing and returns 0; its
/// caller checks shapes and interprets `info`.
/// Source    LINPACK Users' Guide (Dongarra, Bunch, Moler, Stewart; SIAM 1979).
namespace knotwork::linpack {

/// |a| with the sign of b, where both zeros count as positive and NaN as negative.
double dsign(const double* a, const double* b);

/// Householder QR of the n x p matrix x, X P = Q R: afterwards R on and above the diagonal, and
/// below it, with qraux, the vectors of the reflections I - v v^T / v(0), v(0) being in qraux.
/// R(k, k) is the norm of what is left of its column with the sign opposite to x(k, k)'s, a zero
/// counting as positive. What is left as zeros, and the last row of a square or wide matrix, is not
/// reflected: qraux 0.
/// qraux     p elements; those from min(n, p) on are scratch.
/// jpvt      p elements, for job != 0 only. On entry > 0 initial columns, which go to the front,
///           < 0 final ones, which go to the back, 0 free ones, of which each step takes that with
///           the largest remaining norm, the first on ties. On return position k has column
///           jpvt(k), 1-based.
/// work      p elements, for job != 0 only.
/// job       0 leaves the columns in their order.
/// Norms     are derived from step to step and computed anew when too few of their digits are left.
/// Rounding  reflections of neighbouring initial or final columns, and all without pivoting, are
///           applied in blocks (see detail/ReflectionBlock.h); free columns take up to 16 together.
/// Source    LINPACK Users' Guide, chapter 9. Free columns: Quintana-Orti, Sun, Bischof: A BLAS-3
///           version of the QR factorization with column pivoting, SIAM J. Sci. Comput. 19 (1998).
int dqrdc(double* x, const int* ldx, const int* n, const int* p, double* qraux, int* jpvt,
          double* work, const int* job);

/// Applies what dqrdc has left in x and qraux, or rather its first k reflections, to y. The first k
/// columns of X P are X_k, and the first k rows and columns of R are R_k.
/// k         0 .. min(n, p). With 0 nothing is reflected, and n is the only size that counts.
/// job       decimal a b c d e: a Q y; b Q^T y; c, d and e ask for b too: c the b that makes
///           |y - X_k b| least, d the residual y - X_k b, e the fitted values X_k b.
/// Outputs   qy, qty (which b to e need), rsd and xb n elements, b k; those not asked for are not
///           touched. y can be qy or qty, and one of b, rsd and xb can be qty.
/// info      for c: index of a zero on R_k's diagonal, the last one; b is spoilt then. 0 otherwise.
/// Source    LINPACK Users' Guide, chapter 9.
int dqrsl(const double* x, const int* ldx, const int* n, const int* k, const double* qraux,
          const double* y, double* qy, double* qty, double* b, double* rsd, double* xb,
          const int* job, int* info);

/// Singular value decomposition of the n x p matrix x, which is destroyed: X = U S V^T.
/// job       10 a + b. Left vectors: a = 0 none, 1 all n, 2 or more the first min(n, p). Right
///           vectors: b = 0 none, otherwise all p. Vectors not asked for are not touched.
/// s         min(n + 1, p) elements: the singular values, decreasing and not negative.
/// e         p elements: zeros when all converged, otherwise the superdiagonal that remains.
///           Elements beyond the first min(n + 1, p) are left with what the work put there.
/// u, v      n x n or n x min(n, p), and p x p.
/// work      n elements.
/// info      the values s(info + 1) .. s(min(n, p)), counted from 1, are correct and so are their
///           vectors; 0 when all are. A value that is not finite never converges, so NaN, infinity
///           and overflow end here. When n < p, info can reach n + 1.
/// Limit     30 QR steps a value, all values together: a strongly graded matrix may need more for
///           its first one, and fewer for the others.
/// Range     vectors stay orthogonal down to subnormal entries; norms above the largest double
///           overflow. An empty x sets info to 0 and nothing else.
/// Source    LINPACK Users' Guide, chapter 11.
int dsvdc(double* x, const int* ldx, const int* n, const int* p, double* s, double* e, double* u,
          const int* ldu, double* v, const int* ldv, double* work, const int* job, int* info);

// --- LU: A = L U with row exchanges ---
// The factors as dgefa leaves them: U on and above the diagonal, below it the negated multipliers
// of each step where that step left them, later exchanges not applied; ipvt(k) is the row that step
// k exchanged with row k. Arrays have n elements unless stated otherwise; n < 1 is an empty matrix.
// Source    LINPACK Users' Guide, chapter 1.

/// LU factorisation of the n x n matrix a in place, with partial pivoting.
/// info      0, or the last k whose pivot u(k, k) is exactly 0, counted from 1. That is no error
///           here: its step is passed over, and dgesl and dgedi would divide by it.
/// Order     every element adds its products in the order of the steps, whatever is done together.
int dgefa(double* a, const int* lda, const int* n, int* ipvt, int* info);

/// dgefa, and an estimate of the reciprocal condition number in the 1-norm.
/// rcond     between 1 / cond(a), less rounding, and a small multiple of it. 0 when a is exactly
///           singular to the estimate, or zero, or empty.
/// z         work; on return an approximate null vector when a is close to singular.
int dgeco(double* a, const int* lda, const int* n, int* ipvt, double* rcond, double* z);

/// Solves with the factors of dgefa or dgeco: A x = b when job is 0, otherwise A^T x = b. x
/// replaces b. A zero pivot divides by zero.
int dgesl(const double* a, const int* lda, const int* n, const int* ipvt, double* b,
          const int* job);

/// Determinant and inverse from the factors of dgefa or dgeco.
/// job       10 d + i: the determinant if d is not 0, the inverse if i is not 0.
/// det       two elements, if asked for: determinant = det[0] 10^det[1], 1 <= |det[0]| < 10 unless
///           it is 0 or not finite (a mantissa that is not finite is left as it is).
/// a         becomes the inverse, if asked for; a zero pivot divides by zero.
/// work      not touched for the determinant.
int dgedi(double* a, const int* lda, const int* n, const int* ipvt, double* det, double* work,
          const int* job);

// --- Cholesky: P^T A P = R^T R, kept current while rows come and go and columns change places ---
// Only the upper triangle of R is read and written.
// Source    LINPACK Users' Guide, chapters 8 and 10.

/// Cholesky factor R of a symmetric matrix, from its upper triangle, which R takes over.
/// job       0: no pivoting, and jpvt is not touched.
/// jpvt      in: where a column starts, > 0 at the front, < 0 at the back, 0 free; free columns are
///           pivoted, the largest remaining diagonal element first. Out: position i holds column
///           jpvt(i) of A, counted from 1.
/// work      p elements.
/// info      the number of positive pivots: p when A is positive definite. Behind them stays what
///           remained of A, its diagonal the next pivots. A NaN on the diagonal is not positive.
/// Order     a block of R's rows is taken from the rest of A at once: the published sums, grouped.
int dchdc(double* a, const int* lda, const int* p, double* work, int* jpvt, const int* job,
          int* info);

/// Solves A x = b, A = R^T R, in place, with the factor R that dchdc leaves.
int dposl(const double* a, const int* lda, const int* n, double* b);

/// Adds a row x to the data matrix that R is the factor of, and the values y to nz right-hand sides
/// whose transformed columns are z and whose residual norms are rho. R's diagonal may turn
/// negative. Negative rho are left alone.
/// c, s      p elements: the rotations.
int dchud(double* r, const int* ldr, const int* p, const double* x, double* z, const int* ldz,
          const int* nz, const double* y, double* rho, double* c, double* s);

/// Withdraws a row that dchud added.
/// info      -1: R would not be positive definite without it, and r, z and rho are as they were.
///           1: a residual norm could not be downdated and is -1 now. 0: done.
/// Deviates  from the published routine in one point: a left-over of y that exceeds rho by no more
///           than 16 p eps (|y| + max|z| + rho) / min(c) leaves rho = 0. To withdraw an equation
///           that the others fit exactly would otherwise report 1 by rounding alone.
int dchdd(double* r, const int* ldr, const int* p, const double* x, double* z, const int* ldz,
          const int* nz, const double* y, double* rho, double* c, double* s, int* info);

/// Shifts columns k .. l (1 <= k < l <= p) of the matrix R is the factor of, and triangularises R
/// again; z as in dchud. R's diagonal may turn negative.
/// job       1: circular shift to the right, column l comes to k. 2: to the left, k comes to l.
/// c         l - k elements: the rotations' cosines.
/// s         l elements: the rotations' l - k sines, then what scratch leaves.
int dchex(double* r, const int* ldr, const int* p, const int* k, const int* l, double* z,
          const int* ldz, const int* nz, double* c, double* s, const int* job);

// --- triangular systems ---
// Source    LINPACK Users' Guide, chapter 6.

/// Solves a triangular system in place; the other triangle of t is not read.
/// job       00: T x = b, T lower. 01: T x = b, T upper. 10 and 11: T^T x = b likewise.
/// info      the first zero on the diagonal, counted from 1, and b is as it was; 0: solved.
int dtrsl(const double* t, const int* ldt, const int* n, double* b, const int* job, int* info);

}  // namespace knotwork::linpack
