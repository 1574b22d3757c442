// SPDX-License-Identifier: MIT
#include "knotwork/approx/AP_SURFACE.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>

#include "knotwork/approx/detail/CrossProduct.h"
#include "knotwork/approx/detail/DeBoor.h"
#include "knotwork/approx/detail/EndProcess.h"
#include "knotwork/approx/detail/HandOut.h"
#include "knotwork/approx/detail/KnotCells.h"
#include "knotwork/approx/detail/LocalArray.h"
#include "knotwork/approx/detail/SpanSearch.h"

namespace {

constexpr knotwork::Direction<nk_srf_node> kAlongU = {&nk_srf_node::nextU, &nk_srf_node::uKnot};
constexpr knotwork::Direction<nk_srf_node> kAlongV = {&nk_srf_node::nextV, &nk_srf_node::vKnot};
constexpr std::size_t kStripsOnStack = 400;
constexpr int kJobsAtOnce = 4;  // v-orders whose curves share one set of ratios

}  // namespace

AP_SURFACE::AP_SURFACE(int d, int pu, int pv, int nu, int nv, AP_RATIONALITY ru, AP_RATIONALITY rv)
    : AP_GEOMETRIC(d),
      type_(),
      uDegree_(pu),
      vDegree_(pv),
      uSpans_(nu),
      vSpans_(nv),
      uRational_(ru),
      vRational_(rv),
      uForm_(),
      vForm_(),
      uKnots_(pu, nu),
      vKnots_(pv, nv)
{
    makePoints(uCount() * vCount(), Coords());
}

AP_SURFACE::AP_SURFACE(const AP_SURFACE& other)
    : AP_GEOMETRIC(other.Dim()),
      type_(other.type_),
      uDegree_(other.uDegree_),
      vDegree_(other.vDegree_),
      uSpans_(other.uSpans_),
      vSpans_(other.vSpans_),
      uRational_(other.uRational_),
      vRational_(other.vRational_),
      uForm_(other.uForm_),
      vForm_(other.vForm_),
      uKnots_(other.uKnots_),
      vKnots_(other.vKnots_)
{
    makePoints(uCount() * vCount(), Coords());
    set(other.CV(), 0);
}

AP_SURFACE::AP_SURFACE(nk_surface* s, int swap)
    : AP_SURFACE(s->dimension, swap ? s->degreeV : s->degreeU, swap ? s->degreeU : s->degreeV,
                 swap ? s->spansV : s->spansU, swap ? s->spansU : s->spansV,
                 swap ? s->rationalV : s->rationalU, swap ? s->rationalU : s->rationalV)
{
    type_ = AP_TYPE(s->type);
    uForm_ = AP_FORM(swap ? s->formV : s->formU);
    vForm_ = AP_FORM(swap ? s->formU : s->formV);
    const auto alongU = swap ? kAlongV : kAlongU;
    const auto alongV = swap ? kAlongU : kAlongV;
    const nk_srf_node* row = NKI_getFirstSurfaceNode(s);
    knotwork::readKnots(uKnots_, row, alongU);
    knotwork::readKnots(vKnots_, row, alongV);
    for (int j = vKnots_.first(); j < vCount() && row != nullptr; ++j, row = row->*alongV.next) {
        const nk_srf_node* node = row;
        for (int i = uKnots_.first(); i < uCount() && node != nullptr; ++i) {
            if (i >= 0 && j >= 0 && node->point != nullptr) set(i, j, node->point, 0);
            node = node->*alongU.next;
        }
    }
}

AP_SURFACE::~AP_SURFACE() = default;

nk_surface* AP_SURFACE::NKLIB() const
{
    std::unique_ptr<nk_surface, decltype(&nk_free_srf)> surface(
        nk_bld_srf(Dim(), type_, uDegree_, vDegree_, uSpans_, vSpans_, uRational_, vRational_,
                   uForm_, vForm_),
        nk_free_srf);
    if (surface == nullptr) return nullptr;
    nk_srf_node* corner = NKI_getFirstSurfaceNode(surface.get());
    knotwork::writeKnots(uKnots_, corner, kAlongU);
    knotwork::writeKnots(vKnots_, corner, kAlongV);
    const double* point = CV();
    for (nk_srf_node* row = corner; row != nullptr; row = row->nextV)
        for (nk_srf_node* node = row; node != nullptr; node = node->nextU) {
            if (node->previousU != nullptr) node->vKnot = node->previousU->vKnot;
            if (node->previousV != nullptr) node->uKnot = node->previousV->uKnot;
            if (node->point == nullptr) continue;
            nk_V_copy(Coords(), point, node->point);
            point += Coords();
        }
    return surface.release();
}

void AP_SURFACE::set(int i, int j, const double* p, int count)
{
    checkCount(count, Coords());
    writeNumbers(offset(i, j), p, Coords());
}

void AP_SURFACE::set(const double* p, int count)
{
    checkCount(count, offset(0, vCount()));
    writeNumbers(0, p, offset(0, vCount()));
}

void AP_SURFACE::SetForm(AP_FORM u, AP_FORM v)
{
    uForm_ = u;
    vForm_ = v;
}

int AP_SURFACE::WorkspaceSize(int k) const
{
    const int strips = (std::max(vDegree_, k) + 1) * (uDegree_ + 1);
    const int results = (std::max(uDegree_, k) + 1) * (k + 1);
    return (strips + results) * Coords();
}

const AP_MMBOX& AP_SURFACE::Box(int force)
{
    return boxOf(force, uCount() * vCount(), isRational());
}

AP_SNODE* AP_SURFACE::node(int uKnot, int vKnot)
{
    if (uDegree_ < 1 || vDegree_ < 1) return nullptr;
    const auto width = static_cast<std::size_t>(uKnots_.count());
    const auto entry = [&](int i, int j) {
        return width * static_cast<std::size_t>(j - vKnots_.first()) +
               static_cast<std::size_t>(i - uKnots_.first());
    };
    AP_SNODE* table = nodes_.entries(this, width, entry(uSpans_, vSpans_) + 1,
                                     width * static_cast<std::size_t>(vKnots_.count()));
    return table + entry(uKnot, vKnot);
}

AP_SNODE* AP_SURFACE::node0()
{
    return node(0, 0);
}

AP_SNODE* AP_SURFACE::noden()
{
    return node(uSpans_, vSpans_);
}

void AP_SURFACE::eval(double* out, double u, double v, int k) const
{
    if (isRational() && k > 0) knotwork::endProcess();
    if (k < 0) return;
    const int coords = Coords();
    const int spanU = knotwork::findSpan(uKnots_, u);
    const int spanV = knotwork::findSpan(vKnots_, v);

    // The v-derivatives of the pu + 1 columns around u, as if a row of them were one point ...
    const int rows = std::min(k, vDegree_) + 1;
    const int length = (uDegree_ + 1) * coords;
    knotwork::LocalArray<kStripsOnStack> strips(static_cast<std::size_t>(rows * length));
    knotwork::runDeBoor(vKnots_, spanV, v, knotwork::nearerEnd(vKnots_, spanV, v),
                        {CV() + offset(spanU, spanV), std::ptrdiff_t{uCount()} * coords, length,
                         rows - 1, strips.data(), length});

    // ... are the control points of curves in u, one for each v-order.
    const std::ptrdiff_t resultRow = std::ptrdiff_t{std::max(uDegree_, k) + 1} * coords;
    knotwork::DeBoorJob jobs[kJobsAtOnce];
    for (int first = 0; first < rows; first += kJobsAtOnce) {
        const int count = std::min(rows - first, kJobsAtOnce);
        for (int j = first; j < first + count; ++j)
            jobs[j - first] = {strips.data() + std::ptrdiff_t{j} * length,
                               coords,
                               coords,
                               k - j,
                               out + j * resultRow,
                               coords};
        knotwork::runDeBoor(uKnots_, spanU, u, knotwork::nearerEnd(uKnots_, spanU, u), jobs, count);
    }
    for (int j = rows; j <= k; ++j) std::fill_n(out + j * resultRow, (k - j + 1) * coords, 0.0);
}

void AP_SURFACE::eval(double u, double v, int k, ...) const
{
    if (k < 0) return;
    const std::ptrdiff_t coords = Coords();
    const std::ptrdiff_t row = (std::max(uDegree_, k) + 1) * coords;
    knotwork::LocalArray<knotwork::kHandOutOnStack> local(static_cast<std::size_t>(row * (k + 1)));
    eval(local.data(), u, v, k);
    std::va_list destinations;
    va_start(destinations, k);
    knotwork::HandOut handOut(&destinations, Dim());
    for (int m = 0; m <= k; ++m)
        for (int j = 0; j <= m; ++j) handOut.next(local.data() + j * row + (m - j) * coords);
    va_end(destinations);
}

void AP_SURFACE::normal(double u, double v, double* P, double* N) const
{
    if (Dim() != 3) std::abort();
    double a[3];
    double b[3];
    eval(u, v, 1, P, a, b);
    knotwork::crossProduct(a, b, N);
    const double length = std::sqrt(N[0] * N[0] + N[1] * N[1] + N[2] * N[2]);
    for (int c = 0; c < 3; ++c) N[c] /= length;
}

int AP_SURFACE::uinsert(double t, int r)
{
    if (r > 0) {  // first what can fail
        uKnots_.reserve(r);
        reservePoints((uCount() + r) * vCount(), uCount() * vCount(), Coords(), growthStep_);
    }
    const int q = uKnots_.insert(t, r);
    if (r < 1) return q;
    insertPoints({vCount(), uCount(), Coords()}, uKnots_, q, t, r);
    uSpans_ += r;
    return q;
}

int AP_SURFACE::vinsert(double t, int r)
{
    if (r > 0) {
        vKnots_.reserve(r);
        reservePoints(uCount() * (vCount() + r), uCount() * vCount(), Coords(), growthStep_);
    }
    const int q = vKnots_.insert(t, r);
    if (r < 1) return q;
    insertPoints({1, vCount(), uCount() * Coords()}, vKnots_, q, t, r);  // a row is one long point
    vSpans_ += r;
    return q;
}

void AP_SURFACE::print(std::FILE* file) const
{
    const auto printKnots = [file](const knotwork::KnotTable& knots) {
        for (int i = knots.first(); i <= knots.last(); ++i)
            std::fprintf(file, knots.repeated(i) ? " %10.3e*" : " %10.3e ", knots(i));
    };
    std::fputs("U: ", file);
    printKnots(uKnots_);
    std::fputs("\nV: ", file);
    printKnots(vKnots_);
    std::fputs("\n\n", file);
    for (int j = 0; j < vCount(); ++j) {
        for (int c = 0; c < Coords(); ++c) {
            for (int i = 0; i < uCount(); ++i) std::fprintf(file, " %10.3e", index(j, i)[c]);
            std::fputs("\n", file);
        }
        std::fputs("\n", file);
    }
    std::fputs("\n", file);
}
