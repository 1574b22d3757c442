// SPDX-License-Identifier: MIT
#include "knotwork/linalg/detail/CatalogueInit.h"

#include "knotwork/linalg/LXError.h"

namespace {

constexpr std::int32_t kWarning = 0;
constexpr std::int32_t kFatal = 2;

// The texts are what hosts match on: misspellings, double blanks and mixed conversions are theirs.
// One message a line.
// clang-format off
const ErrorEntry kCoreEntries[] = {
    /* 0x3000 */ {kFatal, "[BADORDER: %s]: Mismatch of function (%u) and rhs (%u) order"},
    /* 0x3001 */ {kFatal, "[BADPARITY: %s]: Length (%u) of a real series must be %s"},
    /* 0x3002 */ {kFatal, "[BADVERNO: %s]: Bad formatting version number.  Expected %d; got %d"},
    /* 0x3003 */ {kFatal, "[DIVZERO: %s]: Divide by zero."},
    /* 0x3004 */ {kFatal, "[GENERIC: %s]: Generic error number %d; %s"},
    /* 0x3005 */ {kFatal, "[INDEX: %s]: Index (%d) out of range [0->%u]"},
    /* 0x3006 */ {kFatal, "[LUNDEF: %s]: Undefined LU factorization"},
    /* 0x3007 */ {kFatal, "[MNMATCH: %s]: Rows or columns do not match: (%u, %u) vs (%u, %u)"},
    /* 0x3008 */ {kFatal, "[NOMEM: %s]: Out of memory"},
    /* 0x3009 */ {kFatal, "[NPOINTS: %s]: Vector (%u) %s %d"},
    /* 0x300A */ {kFatal, "[NSQUARE: %s]: Matrix (%u, %u) is not square"},
    /* 0x300B */ {kFatal, "[LXBREQ: %s]: LXBlock new request of size %d != correct: %d"},
    /* 0x300C */ {kFatal, "[SLICE: %s]: slice (%d, %u, %d) cannot be made from vector (%u)"},
    /* 0x300D */ {kFatal, "[STRIDE: %s]: Stride must be 1"},
    /* 0x300E */ {kFatal, "[VMNMATCH: %s]: %s Vector (%u) does not match matrix: (%u, %u)"},
    /* 0x300F */ {kFatal, "[VNMATCH: %s]: Vector lengths do not match (%u vs %u)"},
    /* 0x3010 */ {kWarning, "[ZEROSD: %s]: Series has zero standard deviation"},
    /* 0x3011 */ {kWarning, "[ZEROVEC: %s]: %s: vector is empty"},
    /* 0x3012 */ {kFatal, "[ZPIVOT: %s]: Pivot number %d is zero"},
    /* 0x3013 */ {kFatal, "[BADROOT: %s]: Zero'th root of 1 requested"},
};
const ErrorEntry kMatrixEntries[] = {
    /* 0x4000 */ {kWarning, "Internal error, you've found a bug"},
    /* 0x4001 */ {kFatal, "Matrix pick out of range: index %d not in 0->%d"},
    /* 0x4002 */ {kFatal, "Constant reference was changed from %g to %g"},
    /* 0x4003 */ {kFatal, "Complex constant reference was changed from %g+i%g to %g+i%g"},
    /* 0x4004 */ {kFatal, "Matrix sizes don't match (%dx%d) vs (%dx%d)"},
    /* 0x4005 */ {kFatal, "Element (%dx%d) not in matrix of size (%ux%u)"},
    /* 0x4006 */ {kFatal, "Row (%d) not in matrix with %u rows"},
    /* 0x4007 */ {kFatal, "Column (%d) not in matrix with %u columns"},
    /* 0x4008 */ {kFatal, "Diagonal %d not in %s matrix of size (%ux%u)"},
    /* 0x4009 */ {kFatal, "Can't change element (%d,%d) of %s"},
    /* 0x400A */ {kFatal, "Wrong number of points (%u) for %ux%u %s"},
    /* 0x400B */ {kFatal, "Wrong number of points (%u) for %ux%u %s with bandwidth %u"},
    /* 0x400C */ {kFatal, "Bandwidths don't match: lower: %u & %u, upper: %u & %u"},
    /* 0x400D */ {kFatal, "%dx%d matrix not square"},
    /* 0x400E */ {kWarning, "matrix not symmetric"},
    /* 0x400F */ {kWarning, "matrix not anti-symmetric"},
    /* 0x4010 */ {kWarning, "matrix not hermetian"},
    /* 0x4011 */ {kWarning, "matrix not banded"},
    /* 0x4012 */ {kWarning, "matrix not triangular"},
    /* 0x4013 */ {kWarning, "matrix not tri-diagonal"},
    /* 0x4014 */ {kFatal, "inner product not possible between %s (%ux%u) and vector (%u)"},
    /* 0x4015 */ {kFatal, "inner product not possible vector(%u) and %s (%ux%u)"},
    /* 0x4016 */ {kFatal, "inner product not possible %s matrices (%u,%u) and (%ux%u)"},
    /* 0x4017 */ {kFatal, "wrong number of elements (%u) for %s (%ux%u)"},
    /* 0x4018 */ {kFatal, "cant build order %u leading submatrix of order %u matrix"},
    /* 0x4019 */ {kFatal, "Restoring %s, data vector len %d, expected %u"},
};
const ErrorEntry kFactorEntries[] = {
    /* 0x5000 */ {kWarning, "Internal error, you've found a bug"},
    /* 0x5001 */ {kWarning, "Condition number not calculated"},
    /* 0x5002 */ {kFatal, "b vector length wrong (%u!=%u)"},
    /* 0x5003 */ {kWarning, "diagonal of Hermetian matrix being factorized is non-real"},
    /* 0x5004 */ {kFatal, "vector wrong length to permute (%u!=%u)"},
    /* 0x5005 */ {kFatal, "Invalid Cholesky shift direction"},
    /* 0x5006 */ {kFatal, "Invalid Cholesky shift columns (%d,%d)"},
    /* 0x5007 */ {kFatal, "Data matrix wrong height (%u!=%u)"},
    /* 0x5008 */ {kFatal, "Vector to hold sines or cosines wrong length (%u!=%u)"},
    /* 0x5009 */ {kFatal, "Different number of residuals than data columns (%u!=%u)"},
    /* 0x500A */ {kFatal, "Internal error: The normal equations are not positive definite"},
    /* 0x500B */ {kFatal, "Data %d doesn't exist, only %d data columns"},
    /* 0x500C */ {kFatal, "vec pointers must have stride == 1"},
    /* 0x500D */ {kFatal, "Can't factorize, %ux%u matrix not square"},
    /* 0x500E */ {kFatal, "Can't factorize, bandwidth %d too big for %dx%d matrix"},
    /* 0x500F */ {kWarning, "Called factor, but a factorization has already been computed"},
    /* 0x5010 */ {kFatal, "Matrix must have more rows than cols to be factorizable, but %d<%d"},
    /* 0x5011 */ {kFatal, "Can't solve system of equations, matrix not successfully factorized"},
    /* 0x5012 */ {kFatal, "Pivoting position specifier must be INITIAL,FREE, or FINAL, not %d"},
};
// clang-format on

template <std::size_t N>
constexpr std::int32_t countOf(const ErrorEntry (&)[N])
{
    return static_cast<std::int32_t>(N);
}

}  // namespace

namespace knotwork {

template <>
ErrorCatalogue CatalogueInit<3>::catalogue_ = {3, kCoreEntries, countOf(kCoreEntries), nullptr};
template <>
ErrorCatalogue CatalogueInit<4>::catalogue_ = {4, kMatrixEntries, countOf(kMatrixEntries), nullptr};
template <>
ErrorCatalogue CatalogueInit<5>::catalogue_ = {5, kFactorEntries, countOf(kFactorEntries), nullptr};

template <int Number>
std::uint16_t CatalogueInit<Number>::users_ = 0;

template <int Number>
CatalogueInit<Number>::CatalogueInit()
{
    if (users_++ == 0) lxRegister(&catalogue_);
}

template <int Number>
CatalogueInit<Number>::~CatalogueInit()
{
    if (--users_ == 0) lxUnregister(Number);
}

template class CatalogueInit<3>;
template class CatalogueInit<4>;
template class CatalogueInit<5>;

}  // namespace knotwork

namespace {

// The library itself uses all three, whichever of its units a host pulls in.
const knotwork::CoreErrors coreErrors;
const knotwork::MatrixErrors matrixErrors;
const knotwork::FactorErrors factorErrors;

}  // namespace
