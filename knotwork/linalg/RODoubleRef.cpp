// SPDX-License-Identifier: MIT
#include "knotwork/linalg/RODoubleRef.h"

#include "knotwork/linalg/LXError.h"
#include "knotwork/linalg/detail/CatalogueInit.h"

namespace {

const knotwork::MatrixErrors matrixErrors;

constexpr double kZero = 0.0;

}  // namespace

RODoubleRef RODoubleRef::sharedZero()
{
    return RODoubleRef(&kZero, true);
}

RODoubleRef& RODoubleRef::operator=(double x)
{
    if (!readOnly_)
        *const_cast<double*>(target_) = x;  // came as a plain double&
    else if (x != *target_)
        lxRaise(0x4002, *target_, x);
    return *this;
}
