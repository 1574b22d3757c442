// SPDX-License-Identifier: MIT
#include "knotwork/linalg/detail/SpareElement.h"

namespace {

double spareDouble;
int spareInt;
signed char spareChar;

}  // namespace

namespace knotwork {

template <>
double& spareElement<double>()
{
    return spareDouble = 0.0;
}

template <>
int& spareElement<int>()
{
    return spareInt = 0;
}

template <>
signed char& spareElement<signed char>()
{
    return spareChar = 0;
}

}  // namespace knotwork
