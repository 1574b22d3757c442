// SPDX-License-Identifier: MIT
#include "knotwork/approx/AP_SPLINE.h"

#include <memory>

#include "knotwork/approx/detail/DeBoor.h"
#include "knotwork/approx/detail/HandOut.h"
#include "knotwork/approx/detail/KnotCells.h"
#include "knotwork/approx/detail/LocalArray.h"
#include "knotwork/approx/detail/SpanSearch.h"

namespace {

constexpr knotwork::Direction<nk_node> kAlong = {&nk_node::next, &nk_node::knot};
constexpr std::size_t kBinomialsOnStack = 32;

/// Turns rows 0 ... k of homogeneous derivatives into Cartesian ones by Leibniz' rule for w S:
/// each row is reduced by the products of weight derivatives with the rows before it, and divided
/// by the weight.
void makeCartesian(double* rows, int d, int k)
{
    const std::ptrdiff_t coords = d + 1;
    knotwork::LocalArray<kBinomialsOnStack> local(static_cast<std::size_t>(k) + 1);
    double* binomial = local.data();  // row j of Pascal's triangle
    const double weight = rows[d];
    for (int j = 0; j <= k; ++j) {
        binomial[j] = 1.0;
        for (int i = j - 1; i > 0; --i) binomial[i] += binomial[i - 1];
        for (int c = 0; c < d; ++c) {
            double x = rows[j * coords + c];
            for (int i = 1; i <= j; ++i)
                x -= binomial[i] * rows[i * coords + d] * rows[(j - i) * coords + c];
            rows[j * coords + c] = x / weight;
        }
    }
}

}  // namespace

AP_SPLINE::AP_SPLINE(int d, int p, int n, AP_RATIONALITY r)
    : AP_GEOMETRIC(d), degree_(p), spans_(n), rationality_(r), form_(), type_(), knots_(p, n)
{
    makePoints(Count(), Coords());
}

AP_SPLINE::AP_SPLINE(const AP_SPLINE& other)
    : AP_GEOMETRIC(other.Dim()),
      degree_(other.degree_),
      spans_(other.spans_),
      rationality_(other.rationality_),
      form_(other.form_),
      type_(other.type_),
      knots_(other.knots_)
{
    makePoints(Count(), Coords());
    set(other.CV(), 0);
}

AP_SPLINE::AP_SPLINE(nk_spline* spline)
    : AP_SPLINE(spline->dimension, spline->degree, spline->spans, spline->rational)
{
    form_ = AP_FORM(nk_get_form_bs(spline));
    type_ = AP_TYPE(spline->type);
    const nk_node* node = NKI_getFirstNode(spline);
    knotwork::readKnots(knots_, node, kAlong);
    for (int i = knots_.first(); i < Count() && node != nullptr; ++i, node = node->next)
        if (i >= 0 && node->point != nullptr) set(i, node->point, 0);
}

AP_SPLINE::~AP_SPLINE() = default;

nk_spline* AP_SPLINE::NKLIB() const
{
    std::unique_ptr<nk_spline, decltype(&nk_free_bs)> spline(
        nk_bld_bs(Dim(), nullptr, nullptr, type_, degree_, spans_, rationality_, form_),
        nk_free_bs);
    if (spline == nullptr) return nullptr;
    nk_node* node = NKI_getFirstNode(spline.get());
    knotwork::writeKnots(knots_, node, kAlong);
    const double* point = CV();
    for (; node != nullptr; node = node->next) {
        if (node->point == nullptr) continue;
        nk_V_copy(Coords(), point, node->point);
        point += Coords();
    }
    return spline.release();
}

const AP_MMBOX& AP_SPLINE::Box(int force)
{
    return boxOf(force, Count(), rationality_ != 0);
}

AP_CNODE* AP_SPLINE::nodes()
{
    const int size = knots_.count();
    return nodes_.entries(this, 1, static_cast<std::size_t>(Count()),
                          static_cast<std::size_t>(size));
}

AP_CNODE* AP_SPLINE::node0()
{
    return degree_ < 1 ? nullptr : nodes() + (degree_ - 1);
}

AP_CNODE* AP_SPLINE::noden()
{
    return degree_ < 1 ? nullptr : nodes() + (degree_ + spans_ - 1);
}

void AP_SPLINE::set(int i, const double* v, int count)
{
    checkCount(count, Coords());
    writeNumbers(std::ptrdiff_t{Coords()} * i, v, Coords());
}

void AP_SPLINE::set(const double* v, int count)
{
    const std::ptrdiff_t numbers = std::ptrdiff_t{Count()} * Coords();
    checkCount(count, numbers);
    writeNumbers(0, v, numbers);
}

void AP_SPLINE::eval(double* out, double t, int k) const
{
    if (k < 0) return;
    const int coords = Coords();
    const int span = knotwork::findSpan(knots_, t);
    knotwork::runDeBoor(knots_, span, t, knotwork::nearerEnd(knots_, span, t),
                        {(*this)[span], coords, coords, k, out, coords});
    if (rationality_ != 0) makeCartesian(out, Dim(), k);
}

void AP_SPLINE::eval(double t, int k, ...) const
{
    if (k < 0) return;
    const auto coords = static_cast<std::size_t>(Coords());
    const std::size_t rows = static_cast<std::size_t>(k) + 1;
    knotwork::LocalArray<knotwork::kHandOutOnStack> local(rows * coords);
    eval(local.data(), t, k);
    std::va_list destinations;
    va_start(destinations, k);
    knotwork::HandOut handOut(&destinations, Dim());
    for (std::size_t j = 0; j < rows; ++j) handOut.next(local.data() + j * coords);
    va_end(destinations);
}

int AP_SPLINE::insert(double t, int r)
{
    if (r > 0) {  // first what can fail
        knots_.reserve(r);
        reservePoints(Count() + r, Count(), Coords(), growthStep_);
    }
    const int q = knots_.insert(t, r);
    if (r < 1) return q;
    insertPoints({1, Count(), Coords()}, knots_, q, t, r);
    spans_ += r;
    return q;
}

void AP_SPLINE::print(std::FILE* file) const
{
    std::fputs("Knots: ", file);
    for (int i = knots_.first(); i <= knots_.last(); ++i)
        std::fprintf(file, knots_.repeated(i) ? " %4.2f=" : " %4.2f ", knots_(i));
    std::fputs("\n", file);
    for (int i = 0; i < Count(); ++i) {
        for (int c = 0; c < Coords(); ++c) std::fprintf(file, " %10.3e", (*this)[i][c]);
        std::fputs("\n", file);
    }
    std::fputs("\n", file);
}
