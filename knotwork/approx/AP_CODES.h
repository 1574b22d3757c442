// SPDX-License-Identifier: MIT
#pragma once

/// Codes shared with the NURBS kernel library; they are carried through, never interpreted. Form
/// and type are types of their own, so that SetForm can tell them apart.
enum AP_FORM : int {};
enum AP_TYPE : int {};

/// Non-zero: every control point carries a weight as its last number.
using AP_RATIONALITY = int;
