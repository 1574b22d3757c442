// SPDX-License-Identifier: MIT
#pragma once

/// The records of the NURBS kernel library. Curves and surfaces are linked nodes, each pointing at
/// the numbers of its control point (null where none is) and at its knot value.
/// Hosts read the fields in place: their offsets are fixed, and kernel.h checks them.

/// Knot index k + 1 - degree belongs to node k of a curve.
struct nk_node {
    nk_node* next;
    nk_node* previous;
    double* point;
    double* knot;  ///< one number; the nodes of a repeated knot may share it
};

struct nk_spline {
    void* reserved[3];
    int type;
    int dimension;
    int degree;
    int spans;
    int rational;  ///< its absolute value is how many numbers a point has beyond the dimension
    int form;
    nk_node* node;  ///< the node of knot index 0 and control point 0
};

/// All nodes of one line share a knot value across it: uKnot along v, vKnot along u.
struct nk_srf_node {
    nk_srf_node* nextU;
    nk_srf_node* previousU;
    nk_srf_node* nextV;
    nk_srf_node* previousV;
    double* point;
    double* uKnot;
    double* vKnot;
};

struct nk_surface {
    int reserved;
    int dimension;
    int type;
    int degreeU;
    int degreeV;
    int spansU;
    int spansV;
    int rationalU;  ///< a point has one number beyond the dimension when either is non-zero
    int rationalV;
    int formU;
    int formV;
    int reserved2[3];
    nk_srf_node* node;  ///< the node of both knot indices 0 and the first control point
};

struct nk_cp_node {
    nk_cp_node* next;
    nk_cp_node* previous;
    double* point;
};

/// A list of points.
struct nk_cp_list {
    void* reserved[3];
    int coordinates;
    int count;
    nk_cp_node* first;
};

struct nk_sp_node {
    nk_sp_node* nextRow;
    nk_sp_node* previousRow;
    nk_sp_node* next;
    nk_sp_node* previous;
    double* point;
};

/// A grid of points.
struct nk_sp_array {
    int reserved;
    int coordinates;
    int rows;
    int perRow;
    nk_sp_node* first;
};
