// SPDX-License-Identifier: MIT
#include "knotwork/geometry/TnkRw.h"

#include <algorithm>
#include <cstdlib>

#include "knotwork/linalg/detail/OutOfMemory.h"

namespace {

constexpr int kPeriodicForm = 2;
constexpr double kPeriodicStep = 1.0;
constexpr int kPointCoordinates = 3;

int lengthOf(const DoubleVec& v)
{
    return static_cast<int>(v.length());
}

int countFor(const DoubleVec& v, int n)
{
    return n < 0 ? lengthOf(v) : std::min(n, lengthOf(v));
}

int cartesian(int d)
{
    return std::clamp(d, 0, kPointCoordinates);
}

/// One direction of a record: where its nodes are and how many knots they hold.
template <class Node>
struct KnotLine {
    Node* first;
    Node* Node::*next;
    double* Node::*cell;
    int degree;
    int spans;
    int form;

    int stored() const { return 2 * degree + spans - 1; }
    int full() const { return stored() + 2; }
};

KnotLine<nk_node> lineOf(const nk_spline* s)
{
    return {NKI_getFirstNode(s), &nk_node::next, &nk_node::knot,
            s->degree,           s->spans,       nk_get_form_bs(s)};
}

KnotLine<nk_srf_node> lineOf(const nk_surface* s, TsurfaceDirection dir)
{
    nk_srf_node* first = NKI_getFirstSurfaceNode(s);
    if (dir == kDirectionU)
        return {first, &nk_srf_node::nextU, &nk_srf_node::uKnot, s->degreeU, s->spansU, s->formU};
    return {first, &nk_srf_node::nextV, &nk_srf_node::vKnot, s->degreeV, s->spansV, s->formV};
}

template <class Node>
bool readKnots(const KnotLine<Node>& line, DoubleVec& v)
{
    if (line.stored() < 1 || lengthOf(v) < line.full()) return false;
    const Node* node = line.first;
    for (int i = 1; i <= line.stored(); ++i, node = node->*line.next) {
        if (node == nullptr || node->*line.cell == nullptr) return false;
        v(i) = *(node->*line.cell);
        if (i == 1) v(0) = v(1);
        v(i + 1) = v(i);
    }
    if (line.form == kPeriodicForm) {
        v(0) -= kPeriodicStep;
        v(line.stored() + 1) += kPeriodicStep;
    }
    return true;
}

template <class Node>
bool writeKnots(const DoubleVec& v, const KnotLine<Node>& line)
{
    if (lengthOf(v) != line.full()) return false;
    Node* node = line.first;
    for (int i = 1; i <= line.stored(); ++i, node = node->*line.next) {
        if (node == nullptr || node->*line.cell == nullptr) return false;
        *(node->*line.cell) = v(i);
    }
    return true;
}

/// Calls use(i, numbers) for the first `count` points of a run of nodes; false when one is missing.
template <class Node, class Use>
bool forEachPoint(Node* node, Node* Node::*next, int count, Use use)
{
    for (int i = 0; i < count; ++i, node = node->*next) {
        if (node == nullptr || node->point == nullptr) return false;
        use(i, node->point);
    }
    return true;
}

/// The same for the control net of a surface, use(i, j, numbers) with i in u and j in v.
template <class Use>
bool forEachNetPoint(const nk_surface* s, Use use)
{
    nk_srf_node* row = s->node;
    for (int i = 0; i < s->degreeU + s->spansU; ++i, row = row->nextU) {
        const auto inRow = [&](int j, double* numbers) { use(i, j, numbers); };
        if (row == nullptr ||
            !forEachPoint(row, &nk_srf_node::nextV, s->degreeV + s->spansV, inRow))
            return false;
    }
    return true;
}

/// Numbers in a point of a record; none where a host's counts make no sense.
int pointLength(const nk_spline* s)
{
    return std::max(s->dimension + std::abs(s->rational), 0);
}

int pointLength(const nk_surface* s)
{
    return std::max(s->dimension + (s->rationalU != 0 || s->rationalV != 0 ? 1 : 0), 0);
}

/// The tuples of constant containers are copies; without memory for one the answer is false.
template <class Write>
bool withinMemory(Write write)
{
    return knotwork::withoutBadAlloc(write, false);
}

void readPoint(const double* numbers, int length, DoubleVec point)
{
    TnkRw::vToDv(numbers, point, length);
}

void writePoint(const DoubleVec& point, double* numbers, int length, bool fillWeights)
{
    TnkRw::dvToV(point, numbers, length);
    if (fillWeights && length > lengthOf(point))
        std::fill(numbers + lengthOf(point), numbers + length, 1.0);
}

}  // namespace

void TnkRw::vToDv(const double* p, DoubleVec& v, int n)
{
    for (int i = 0, count = countFor(v, n); i < count; ++i) v(i) = p[i];
}

void TnkRw::dvToV(const DoubleVec& v, double* p, int n)
{
    for (int i = 0, count = countFor(v, n); i < count; ++i) p[i] = v(i);
}

void TnkRw::dvToP4(const DoubleVec& v, T4dDblPoint& P)
{
    const auto coordinate = [&v](int i) { return i < lengthOf(v) ? v(i) : 0.0; };
    P.x = coordinate(0);
    P.y = coordinate(1);
    P.z = coordinate(2);
    P.w = lengthOf(v) > kPointCoordinates ? v(3) : 1.0;
}

void TnkRw::p4ToDv(const T4dDblPoint& P, DoubleVec& v)
{
    vToDv(&P.x, v, kPointCoordinates + 1);
}

void TnkRw::nkToT4dDblPoint(double* p, T4dDblPoint& P, int d, int rational)
{
    const int n = cartesian(d);
    nk_V_copy(n, p, &P.x);
    nk_V_zero(kPointCoordinates - n, &P.x + n);
    P.w = rational != 0 ? p[n] : 1.0;
}

void TnkRw::T4dDblPointToNk(const T4dDblPoint& P, double* p, int d, int rational)
{
    const int n = cartesian(d);
    nk_V_copy(n, &P.x, p);
    if (rational != 0) p[n] = P.w;
}

bool TnkRw::polyMultiply(const DoubleVec& a, const DoubleVec& b, DoubleVec& c)
{
    bool resized = false;
    const auto multiply = [&] {
        const DoubleVec left(a.copy());  // either may share storage with c
        const DoubleVec right(b.copy());
        const bool empty = left.length() == 0 || right.length() == 0;
        const unsigned length = empty ? 0 : left.length() + right.length() - 1;
        const bool differs = c.length() != length;
        c.resize(length);
        for (int i = 0; i < lengthOf(left) && !empty; ++i)
            for (int j = 0; j < lengthOf(right); ++j) c(i + j) += left(i) * right(j);
        resized = differs;
    };
    knotwork::completed(multiply, [] {});
    return resized;
}

DoubleVec TnkRw::cpListToDv(const nk_cp_list* l)
{
    return cpListToTv(1, l).component(0).copy();
}

bool TnkRw::dvToCpList(int k, const DoubleVec& v, nk_cp_list* l)
{
    if (l == nullptr || lengthOf(v) != l->count || k < 0 || k >= l->coordinates) return false;
    return forEachPoint(l->first, &nk_cp_node::next, l->count,
                        [&](int i, double* numbers) { numbers[k] = v(i); });
}

TtupleVector TnkRw::cpListToTv(int d, const nk_cp_list* l)
{
    if (l == nullptr || l->coordinates < 2 || d < 1 || d > l->coordinates || l->count < 0)
        return TtupleVector();
    TtupleVector points(d, l->count, 0.0);
    const bool complete =
        forEachPoint(l->first, &nk_cp_node::next, l->count,
                     [&](int i, double* numbers) { readPoint(numbers, d, points.point(i)); });
    return complete ? points : TtupleVector();
}

bool TnkRw::tvToCpList(const TtupleVector& t, nk_cp_list* l)
{
    if (l == nullptr || t.points() != l->count || l->coordinates < t.size()) return false;
    return withinMemory([&] {
        return forEachPoint(l->first, &nk_cp_node::next, l->count, [&](int i, double* numbers) {
            writePoint(t.point(i), numbers, l->coordinates, false);
        });
    });
}

TtupleMatrix TnkRw::spArrayToTm(int d, const nk_sp_array* a)
{
    if (a == nullptr || a->coordinates < 1 || d < 1 || d > a->coordinates || a->rows < 0 ||
        a->perRow < 0)
        return TtupleMatrix();
    TtupleMatrix points(d, a->rows, a->perRow, 0.0);
    nk_sp_node* row = a->first;
    for (int i = 0; i < a->rows; ++i, row = row->nextRow) {
        const auto inRow = [&](int j, double* numbers) {
            readPoint(numbers, d, points.point(i, j));
        };
        if (row == nullptr || !forEachPoint(row, &nk_sp_node::next, a->perRow, inRow))
            return TtupleMatrix();
    }
    return points;
}

bool TnkRw::cvsToTv(const nk_spline* s, TtupleVector& t)
{
    if (s == nullptr || t.points() != s->degree + s->spans) return false;
    return forEachPoint(s->node, &nk_node::next, t.points(), [&](int i, double* numbers) {
        readPoint(numbers, pointLength(s), t.point(i));
    });
}

bool TnkRw::tvToCvs(const TtupleVector& t, nk_spline* s, bool fillWeights)
{
    if (s == nullptr || t.points() != s->degree + s->spans) return false;
    return withinMemory([&] {
        return forEachPoint(s->node, &nk_node::next, t.points(), [&](int i, double* numbers) {
            writePoint(t.point(i), numbers, pointLength(s), fillWeights);
        });
    });
}

bool TnkRw::cvsToTm(const nk_surface* s, TtupleMatrix& m)
{
    if (s == nullptr || m.rows() != s->degreeU + s->spansU || m.cols() != s->degreeV + s->spansV)
        return false;
    return forEachNetPoint(s, [&](int i, int j, double* numbers) {
        readPoint(numbers, pointLength(s), m.point(i, j));
    });
}

bool TnkRw::tmToCvs(const TtupleMatrix& m, nk_surface* s, bool fillWeights)
{
    if (s == nullptr || m.rows() != s->degreeU + s->spansU || m.cols() != s->degreeV + s->spansV)
        return false;
    return withinMemory([&] {
        TtupleMatrix net(m);  // whose points are views
        return forEachNetPoint(s, [&](int i, int j, double* numbers) {
            writePoint(net.point(i, j), numbers, pointLength(s), fillWeights);
        });
    });
}

bool TnkRw::knotsToDv(const nk_spline* s, DoubleVec& v)
{
    return s != nullptr && readKnots(lineOf(s), v);
}

bool TnkRw::dvToKnots(const DoubleVec& v, nk_spline* s)
{
    return s != nullptr && writeKnots(v, lineOf(s));
}

bool TnkRw::knotsToDvOne(const nk_surface* s, TsurfaceDirection dir, DoubleVec& v)
{
    return s != nullptr && readKnots(lineOf(s, dir), v);
}

bool TnkRw::knotsToDv(const nk_surface* s, DoubleVec& u, DoubleVec& v)
{
    return knotsToDvOne(s, kDirectionU, u) && knotsToDvOne(s, kDirectionV, v);
}

bool TnkRw::dvToKnotsOne(const DoubleVec& v, TsurfaceDirection dir, nk_surface* s)
{
    return s != nullptr && writeKnots(v, lineOf(s, dir));
}

bool TnkRw::dvToKnots(const DoubleVec& u, const DoubleVec& v, nk_surface* s)
{
    return dvToKnotsOne(u, kDirectionU, s) && dvToKnotsOne(v, kDirectionV, s);
}
