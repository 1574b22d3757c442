// SPDX-License-Identifier: MIT
#pragma once

namespace knotwork {

/// What an access outside an array hands out when a handler returned from the fatal error: one cell
/// for each element type, set to 0. Not a static of the templates that use it: such a static is one
/// object for the whole process, and a library that has one is never unloaded.
template <class T>
T& spareElement();

template <>
double& spareElement<double>();
template <>
int& spareElement<int>();
template <>
signed char& spareElement<signed char>();

}  // namespace knotwork
