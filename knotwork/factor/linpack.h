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
/// Limit     30 QR steps a value.
/// Range     vectors stay orthogonal down to subnormal entries; norms above the largest double
///           overflow. An empty x sets info to 0 and nothing else.
/// Source    LINPACK Users' Guide, chapter 11.
int dsvdc(double* x, const int* ldx, const int* n, const int* p, double* s, double* e, double* u,
          const int* ldu, double* v, const int* ldv, double* work, const int* job, int* info);

}  // namespace knotwork::linpack
