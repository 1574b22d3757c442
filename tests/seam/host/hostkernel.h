// SPDX-License-Identifier: MIT
#pragma once

struct nk_node {
    nk_node* next;
    nk_node* previous;
    double* point;
    double* knot;
};
struct nk_spline {
    void* owned[3];
    int type, dimension, degree, spans, rational, form;
    nk_node* node;
};
struct nk_srf_node {
    nk_srf_node *nextU, *previousU, *nextV, *previousV;
    double *point, *uKnot, *vKnot;
};
struct nk_surface {
    int owned;
    int dimension, type, degreeU, degreeV, spansU, spansV, rationalU, rationalV, formU, formV;
    int more[3];
    nk_srf_node* node;
};
struct nk_cp_node {
    nk_cp_node *next, *previous;
    double* point;
};
struct nk_cp_list {
    void* owned[3];
    int coordinates, count;
    nk_cp_node* first;
};
struct nk_sp_node {
    nk_sp_node *nextRow, *previousRow, *next, *previous;
    double* point;
};
struct nk_sp_array {
    int owned, coordinates, rows, perRow;
    nk_sp_node* first;
};

extern int hostCurvesAlive;  // what the stand-in has not

nk_spline* nk_bld_bs(int d, const double* knots, const double* points, int type, int p, int n,
                     int rational, int form);
nk_surface* nk_bld_srf(int d, int type, int pu, int pv, int nu, int nv, int ru, int rv, int fu,
                       int fv);
double* nk_al_dbl(int n);
void nk_free_bs(nk_spline* spline);
void nk_free_srf(nk_surface* surface);
nk_node* NKI_getFirstNode(const nk_spline* spline);
nk_srf_node* NKI_getFirstSurfaceNode(const nk_surface* surface);
int nk_get_form_bs(const nk_spline* spline);
void nk_V_copy(int n, const double* from, double* to);
void nk_V_zero(int n, double* v);
