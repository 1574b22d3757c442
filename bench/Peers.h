// SPDX-License-Identifier: MIT
#pragma once

/// The routines ours are timed against: by address, column-major, as their standards publish them.
extern "C" {
void dgemm_(const char* transA, const char* transB, const int* m, const int* n, const int* k,
            const double* alpha, const double* a, const int* lda, const double* b, const int* ldb,
            const double* beta, double* c, const int* ldc);
#ifdef KNOTWORK_BENCH_LAPACK
void dgeqrf_(const int* m, const int* n, double* a, const int* lda, double* tau, double* work,
             const int* lwork, int* info);
void dgeqp3_(const int* m, const int* n, double* a, const int* lda, int* jpvt, double* tau,
             double* work, const int* lwork, int* info);
void dormqr_(const char* side, const char* trans, const int* m, const int* n, const int* k,
             const double* a, const int* lda, const double* tau, double* c, const int* ldc,
             double* work, const int* lwork, int* info);
void dtrsm_(const char* side, const char* uplo, const char* trans, const char* diag, const int* m,
            const int* n, const double* alpha, const double* a, const int* lda, double* b,
            const int* ldb);
void dggrqf_(const int* m, const int* p, const int* n, double* a, const int* lda, double* taua,
             double* b, const int* ldb, double* taub, double* work, const int* lwork, int* info);
void dormrq_(const char* side, const char* trans, const int* m, const int* n, const int* k,
             const double* a, const int* lda, const double* tau, double* c, const int* ldc,
             double* work, const int* lwork, int* info);
void dtrtrs_(const char* uplo, const char* trans, const char* diag, const int* n, const int* nrhs,
             const double* a, const int* lda, double* b, const int* ldb, int* info);
void dgglse_(const int* m, const int* n, const int* p, double* a, const int* lda, double* b,
             const int* ldb, double* c, double* d, double* x, double* work, const int* lwork,
             int* info);
double dlange_(const char* norm, const int* m, const int* n, const double* a, const int* lda,
               double* work);
void dgetrf_(const int* m, const int* n, double* a, const int* lda, int* ipiv, int* info);
void dgetrs_(const char* trans, const int* n, const int* nrhs, const double* a, const int* lda,
             const int* ipiv, double* b, const int* ldb, int* info);
void dgecon_(const char* norm, const int* n, const double* a, const int* lda, const double* anorm,
             double* rcond, double* work, int* iwork, int* info);
void dorgqr_(const int* m, const int* n, const int* k, double* a, const int* lda, const double* tau,
             double* work, const int* lwork, int* info);
void dgetri_(const int* n, double* a, const int* lda, const int* ipiv, double* work,
             const int* lwork, int* info);
void dgesvd_(const char* jobu, const char* jobvt, const int* m, const int* n, double* a,
             const int* lda, double* s, double* u, const int* ldu, double* vt, const int* ldvt,
             double* work, const int* lwork, int* info);
void dgels_(const char* trans, const int* m, const int* n, const int* nrhs, double* a,
            const int* lda, double* b, const int* ldb, double* work, const int* lwork, int* info);
void dgelsy_(const int* m, const int* n, const int* nrhs, double* a, const int* lda, double* b,
             const int* ldb, int* jpvt, const double* rcond, int* rank, double* work,
             const int* lwork, int* info);
void dgelsd_(const int* m, const int* n, const int* nrhs, double* a, const int* lda, double* b,
             const int* ldb, double* s, const double* rcond, int* rank, double* work,
             const int* lwork, int* iwork, int* info);
void dgesdd_(const char* jobz, const int* m, const int* n, double* a, const int* lda, double* s,
             double* u, const int* ldu, double* vt, const int* ldvt, double* work, const int* lwork,
             int* iwork, int* info);
void dpstrf_(const char* uplo, const int* n, double* a, const int* lda, int* piv, int* rank,
             const double* tol, double* work, int* info);
void dpotrs_(const char* uplo, const int* n, const int* nrhs, const double* a, const int* lda,
             double* b, const int* ldb, int* info);
#endif
}
