// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/factor/kernels/PanelLoops.h"

namespace knotwork {

/// Where the upper bidiagonal form of an n x p matrix goes, and the orthogonal factors that lead
/// back: X = left B right^T.
struct BidiagonalForm {
    double* s;     ///< diagonal, min(n + 1, p) elements: a wide matrix keeps a row more than it has
    double* e;     ///< p elements, of which the first min(n + 1, p) get the superdiagonal and a 0
    double* work;  ///< n elements
    Panel left;    ///< n x n or n x min(n, p); without columns: not wanted
    Panel right;   ///< p x p; without columns: not wanted
};

/// Reduces x, which is destroyed, by Householder reflections, alternately from both sides. A matrix
/// at least twice as tall as wide is reduced to its R first. Whether factors are wanted has no
/// influence on the form.
/// Source    Dongarra, Sorensen, Hammarling: Block reduction of matrices to condensed forms for
///           eigenvalue computations, J. Comput. Appl. Math. 27 (1989). Both products of a step in
///           one pass: Howell, Demmel, Fulton, Hammarling, Marmol: Cache efficient
///           bidiagonalization using BLAS 2.5 operators, ACM TOMS 34 (2008). R first: Chan: An
///           improved algorithm for computing the singular value decomposition, ACM TOMS 8 (1982).
void bidiagonalise(const Panel& x, const BidiagonalForm& form);

}  // namespace knotwork
