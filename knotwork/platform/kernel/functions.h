// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/platform/export.h"
#include "knotwork/platform/kernel/records.h"

// Building. A record and all that is built with it lie in one block. Numbers that are not given
// are 0. Counts too small for a record (a degree, span count or dimension below 1) give null.

/// A curve of d dimensions, degree p and n spans: 2p + n - 1 nodes with a knot cell each, the last
/// p + n of them with a point of d + |rational| numbers. `knots` (one a node) and `points` (one
/// after the other) may be null.
KNOTWORK_PLATFORM_EXPORT nk_spline* nk_bld_bs(int d, const double* knots, const double* points,
                                              int type, int p, int n, int rational, int form);

/// A surface: a grid of (2pu + nu - 1) x (2pv + nv - 1) nodes, each with two knot cells of its own,
/// and with a point where both its knot indices are at least 0.
KNOTWORK_PLATFORM_EXPORT nk_surface* nk_bld_srf(int d, int type, int pu, int pv, int nu, int nv,
                                                int rationalU, int rationalV, int formU, int formV);

KNOTWORK_PLATFORM_EXPORT nk_cp_list* nk_bld_cp_list(int coordinates, int count);
KNOTWORK_PLATFORM_EXPORT nk_sp_array* nk_bld_sp_array(int coordinates, int rows, int perRow);

/// n zeros from operator new[]. A knot cell got here belongs to the record whose node points at it.
KNOTWORK_PLATFORM_EXPORT double* nk_al_dbl(int n);

// Releasing: the block, and once each the cells from nk_al_dbl that the nodes' knots point at.
// Numbers of points that a host put elsewhere stay the host's. Null is allowed.
KNOTWORK_PLATFORM_EXPORT void nk_free_bs(nk_spline* spline);
KNOTWORK_PLATFORM_EXPORT void nk_free_srf(nk_surface* surface);
KNOTWORK_PLATFORM_EXPORT void nk_free_cp_list(nk_cp_list* list);
KNOTWORK_PLATFORM_EXPORT void nk_free_sp_array(nk_sp_array* array);

// Walking and copying.
KNOTWORK_PLATFORM_EXPORT nk_node* NKI_getFirstNode(const nk_spline* spline);
KNOTWORK_PLATFORM_EXPORT nk_srf_node* NKI_getFirstSurfaceNode(const nk_surface* surface);
KNOTWORK_PLATFORM_EXPORT int nk_get_form_bs(const nk_spline* spline);
KNOTWORK_PLATFORM_EXPORT void nk_V_copy(int n, const double* from, double* to);
KNOTWORK_PLATFORM_EXPORT void nk_V_zero(int n, double* v);
