// SPDX-License-Identifier: MIT
// The host's own base classes, and as much of a kernel as curves take.
#include <algorithm>
#include <vector>

#include "hostbase.h"
#include "hostkernel.h"

Tmetaclass* Texception::typeof() const
{
    return sTypeof();
}
void* Texception::cast(Tmetaclass* m)
{
    return m == Texception::sTypeof() ? this : nullptr;
}
Texception::~Texception() = default;
Texception* Texception::cache() const
{
    return nullptr;
}
Tmetaclass* Texception::sTypeof()
{
    static Tmetaclass record("HostException", nullptr, [] { return static_cast<void*>(nullptr); });
    return &record;
}

T4dDblPoint& T4dDblPoint::postmultBy(const T4dDblMatrix& m)
{
    const double in[] = {x, y, z, w};
    double* out[] = {&x, &y, &z, &w};
    for (int j = 0; j < 4; ++j) {
        *out[j] = 0.0;
        for (int i = 0; i < 4; ++i) *out[j] += in[i] * m.entries[i][j];
    }
    return *this;
}
TxformMatrix::~TxformMatrix() = default;

int hostCurvesAlive = 0;

namespace {

struct Curve : nk_spline {
    std::vector<nk_node> nodes;
    std::vector<double> numbers;
};

}  // namespace

nk_spline* nk_bld_bs(int d, const double*, const double*, int type, int p, int n, int rational,
                     int form)
{
    auto* curve = new Curve;
    const int count = 2 * p + n - 1;
    const int perPoint = d + (rational != 0 ? 1 : 0);
    curve->nodes.resize(static_cast<std::size_t>(count));
    curve->numbers.assign(static_cast<std::size_t>(count * (perPoint + 1)), 0.0);
    double* next = curve->numbers.data();
    for (int k = 0; k < count; ++k) {
        nk_node& node = curve->nodes[static_cast<std::size_t>(k)];
        node = {k + 1 < count ? &node + 1 : nullptr, k > 0 ? &node - 1 : nullptr, nullptr, next++};
        if (k < p - 1) continue;
        node.point = next;
        next += perPoint;
    }
    static_cast<nk_spline&>(*curve) = {
        {}, type, d, p, n, rational, form, &curve->nodes[static_cast<std::size_t>(p - 1)]};
    ++hostCurvesAlive;
    return curve;
}
nk_surface* nk_bld_srf(int, int, int, int, int, int, int, int, int, int)
{
    return nullptr;
}
double* nk_al_dbl(int n)
{
    return new double[static_cast<std::size_t>(n)]();
}
void nk_free_bs(nk_spline* spline)
{
    delete static_cast<Curve*>(spline);
    --hostCurvesAlive;
}
void nk_free_srf(nk_surface*) {}
nk_node* NKI_getFirstNode(const nk_spline* spline)
{
    return spline->node - (spline->degree - 1);
}
nk_srf_node* NKI_getFirstSurfaceNode(const nk_surface* surface)
{
    return surface->node;
}
int nk_get_form_bs(const nk_spline* spline)
{
    return spline->form;
}
void nk_V_copy(int n, const double* from, double* to)
{
    std::copy_n(from, n, to);
}
void nk_V_zero(int n, double* v)
{
    std::fill_n(v, n, 0.0);
}
