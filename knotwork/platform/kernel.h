// SPDX-License-Identifier: MIT
#pragma once

/// The seam to the NURBS kernel library that a host owns. A host with the real one names a header
/// at configure time (KNOTWORK_KERNEL_HEADER) and links it; everybody else gets the stand-in. The
/// host's header gives the records under these field names and maps the release functions. The
/// choice is the library's, made when it is built, and stands in choice.h.
#include "knotwork/platform/choice.h"

#ifdef KNOTWORK_KERNEL_HEADER
#include KNOTWORK_KERNEL_HEADER
#else
#include "knotwork/platform/kernel/functions.h"
#endif

#include <cstddef>

static_assert(sizeof(void*) == 8 && sizeof(int) == 4, "the records' layout is that of LP64");

static_assert(sizeof(nk_spline) == 56);
static_assert(offsetof(nk_spline, type) == 24);
static_assert(offsetof(nk_spline, dimension) == 28);
static_assert(offsetof(nk_spline, degree) == 32);
static_assert(offsetof(nk_spline, spans) == 36);
static_assert(offsetof(nk_spline, rational) == 40);
static_assert(offsetof(nk_spline, form) == 44);
static_assert(offsetof(nk_spline, node) == 48);
static_assert(sizeof(nk_node) == 32);
static_assert(offsetof(nk_node, next) == 0);
static_assert(offsetof(nk_node, previous) == 8);
static_assert(offsetof(nk_node, point) == 16);
static_assert(offsetof(nk_node, knot) == 24);

static_assert(sizeof(nk_surface) == 64);
static_assert(offsetof(nk_surface, dimension) == 4);
static_assert(offsetof(nk_surface, type) == 8);
static_assert(offsetof(nk_surface, degreeU) == 12);
static_assert(offsetof(nk_surface, degreeV) == 16);
static_assert(offsetof(nk_surface, spansU) == 20);
static_assert(offsetof(nk_surface, spansV) == 24);
static_assert(offsetof(nk_surface, rationalU) == 28);
static_assert(offsetof(nk_surface, rationalV) == 32);
static_assert(offsetof(nk_surface, formU) == 36);
static_assert(offsetof(nk_surface, formV) == 40);
static_assert(offsetof(nk_surface, node) == 56);
static_assert(sizeof(nk_srf_node) == 56);
static_assert(offsetof(nk_srf_node, nextU) == 0);
static_assert(offsetof(nk_srf_node, previousU) == 8);
static_assert(offsetof(nk_srf_node, nextV) == 16);
static_assert(offsetof(nk_srf_node, previousV) == 24);
static_assert(offsetof(nk_srf_node, point) == 32);
static_assert(offsetof(nk_srf_node, uKnot) == 40);
static_assert(offsetof(nk_srf_node, vKnot) == 48);

static_assert(offsetof(nk_cp_list, coordinates) == 24);
static_assert(offsetof(nk_cp_list, count) == 28);
static_assert(offsetof(nk_cp_list, first) == 32);
static_assert(offsetof(nk_cp_node, next) == 0);
static_assert(offsetof(nk_cp_node, point) == 16);

static_assert(offsetof(nk_sp_array, coordinates) == 4);
static_assert(offsetof(nk_sp_array, rows) == 8);
static_assert(offsetof(nk_sp_array, perRow) == 12);
static_assert(offsetof(nk_sp_array, first) == 16);
static_assert(offsetof(nk_sp_node, nextRow) == 0);
static_assert(offsetof(nk_sp_node, next) == 16);
static_assert(offsetof(nk_sp_node, point) == 32);
