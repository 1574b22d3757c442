// SPDX-License-Identifier: MIT
#pragma once

// Solvers do not throw: where their arrays or standard containers find no memory, the catalogued
// error 0x3008 is raised; should a host's handler return from it, the result says so.
#include "knotwork/linalg/detail/OutOfMemory.h"
