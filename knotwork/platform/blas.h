// SPDX-License-Identifier: MIT
#pragma once

/// The ten level-1 routines of the linked BLAS, with their published semantics: every argument by
/// address, 32-bit counts and increments, negative increments from the far end, results 1-based.
/// Source    Lawson, Hanson, Kincaid, Krogh: Basic Linear Algebra Subprograms for Fortran usage,
///           ACM TOMS 5 (1979).
extern "C" {
void daxpy_(const int* n, const double* a, const double* x, const int* incx, double* y,
            const int* incy);
double ddot_(const int* n, const double* x, const int* incx, const double* y, const int* incy);
double dnrm2_(const int* n, const double* x, const int* incx);
void dscal_(const int* n, const double* a, double* x, const int* incx);
void dswap_(const int* n, double* x, const int* incx, double* y, const int* incy);
void drot_(const int* n, double* x, const int* incx, double* y, const int* incy, const double* c,
           const double* s);
void drotg_(double* a, double* b, double* c, double* s);
void dcopy_(const int* n, const double* x, const int* incx, double* y, const int* incy);
double dasum_(const int* n, const double* x, const int* incx);
int idamax_(const int* n, const double* x, const int* incx);
}
