// SPDX-License-Identifier: MIT
#include "tests/approx/Oracle.h"
#include "tests/support/Testing.h"

namespace {

using namespace knotwork_test;

/// All that a record says, with cells named by the node that they were first met at.
struct Contents {
    std::vector<int> codes;
    Numbers numbers;
    std::vector<std::size_t> cells;
    friend bool operator==(const Contents& a, const Contents& b)
    {
        return a.codes == b.codes && a.numbers == b.numbers && a.cells == b.cells;
    }
};

class CellNames {
  public:
    std::size_t of(const double* cell)
    {
        const auto found = std::find(met_.begin(), met_.end(), cell);
        if (found == met_.end()) met_.push_back(cell);
        return static_cast<std::size_t>(std::find(met_.begin(), met_.end(), cell) - met_.begin());
    }

  private:
    std::vector<const double*> met_;
};

Contents contentsOf(const nk_spline* s)
{
    Contents all{{s->dimension, s->degree, s->spans, s->rational, s->type, s->form}, {}, {}};
    CellNames names;
    for (const nk_node* node = NKI_getFirstNode(s); node != nullptr; node = node->next) {
        all.numbers.push_back(*node->knot);
        all.cells.push_back(names.of(node->knot));
        if (node->point == nullptr) continue;
        all.numbers.insert(all.numbers.end(), node->point,
                           node->point + s->dimension + std::abs(s->rational));
    }
    return all;
}

Contents contentsOf(const nk_surface* s, bool exchanged)
{
    Contents all{{s->dimension, s->type}, {}, {}};
    for (const bool inU : {!exchanged, exchanged})
        all.codes.insert(all.codes.end(),
                         {inU ? s->degreeU : s->degreeV, inU ? s->spansU : s->spansV,
                          inU ? s->rationalU : s->rationalV, inU ? s->formU : s->formV});
    const int coords = s->dimension + (s->rationalU != 0 || s->rationalV != 0 ? 1 : 0);
    CellNames names;
    const auto nextInRow = exchanged ? &nk_srf_node::nextV : &nk_srf_node::nextU;
    const auto nextRow = exchanged ? &nk_srf_node::nextU : &nk_srf_node::nextV;
    const auto cellInRow = exchanged ? &nk_srf_node::vKnot : &nk_srf_node::uKnot;
    const auto cellOfRow = exchanged ? &nk_srf_node::uKnot : &nk_srf_node::vKnot;
    for (const nk_srf_node* row = NKI_getFirstSurfaceNode(s); row != nullptr; row = row->*nextRow)
        for (const nk_srf_node* node = row; node != nullptr; node = node->*nextInRow) {
            for (const double* cell : {node->*cellInRow, node->*cellOfRow}) {
                all.numbers.push_back(*cell);
                all.cells.push_back(names.of(cell));
            }
            if (node->point != nullptr)
                all.numbers.insert(all.numbers.end(), node->point, node->point + coords);
        }
    return all;
}

/// Makes equal neighbours share a cell, or not, at random; unequal ones get cells of their own.
template <class Node>
void shareAtRandom(Generator& random, Node* node, Node* Node::*next, double* Node::*cell)
{
    for (; node->*next != nullptr; node = node->*next) {
        Node* after = node->*next;
        if (*(node->*cell) == *(after->*cell) && random.integer(0, 2) > 0)
            after->*cell = node->*cell;
    }
}

TEST(RoundTripTest, CurvesReturnFromTheKernelBitForBit)
{
    Generator random(10);
    for (int round = 0; round < 500; ++round) {
        const Direction along = random.direction(1 + round % 9);
        const int rational = random.integer(-1, 1);
        const int d = random.integer(1, 4);
        const Numbers points = random.points(along.count(), d, rational != 0);
        SplineRecord record(nk_bld_bs(d, along.knots.data(), points.data(), random.integer(0, 9),
                                      along.degree, along.spans(), rational, random.integer(0, 9)));
        shareAtRandom(random, NKI_getFirstNode(record.get()), &nk_node::next, &nk_node::knot);
        record->node = NKI_getFirstNode(record.get());  // any node of the list will do
        const AP_SPLINE curve(record.get());
        EXPECT_EQ(Numbers(curve[0], curve[curve.Count()]), points);
        const SplineRecord again(curve.NKLIB());
        ASSERT_EQ(contentsOf(again.get()), contentsOf(record.get())) << round;
        ASSERT_EQ(contentsOf(SplineRecord(AP_SPLINE(curve).NKLIB()).get()),
                  contentsOf(record.get()));
    }
}

TEST(RoundTripTest, SurfacesReturnFromTheKernelBitForBitSwappedToo)
{
    Generator random(11);
    for (int round = 0; round < 300; ++round) {
        const Direction u = random.direction(random.integer(1, 5));
        const Direction v = random.direction(random.integer(1, 5));
        const int rationalU = random.integer(0, 1);
        const int rationalV = random.integer(0, 1);
        const bool rational = rationalU + rationalV > 0;
        const Numbers points = random.points(u.count() * v.count(), 3, rational);
        // Sharing is what NKLIB makes of it; the first trip brings the record into that shape.
        const SurfaceRecord built = makeSurfaceRecord(3, u, v, points, rationalU, rationalV);
        nk_srf_node* corner = NKI_getFirstSurfaceNode(built.get());
        shareAtRandom(random, corner, &nk_srf_node::nextU, &nk_srf_node::uKnot);
        shareAtRandom(random, corner, &nk_srf_node::nextV, &nk_srf_node::vKnot);
        const AP_SURFACE surface(built.get(), 0);
        EXPECT_EQ(Numbers(surface.index(0, 0), surface.index(surface.vCount(), 0)), points);
        const SurfaceRecord record(surface.NKLIB());
        const Contents contents = contentsOf(record.get(), false);
        EXPECT_EQ(contents.numbers, contentsOf(built.get(), false).numbers);
        EXPECT_EQ(contents.codes, contentsOf(built.get(), false).codes);
        const auto isShared = [](const nk_srf_node* node, double* nk_srf_node::*cell,
                                 nk_srf_node* nk_srf_node::*next) {
            return node->*cell == (node->*next)->*cell;
        };
        const nk_srf_node* a = corner;
        const nk_srf_node* b = NKI_getFirstSurfaceNode(record.get());
        for (; a->nextU != nullptr; a = a->nextU, b = b->nextU)
            EXPECT_EQ(isShared(a, &nk_srf_node::uKnot, &nk_srf_node::nextU),
                      isShared(b, &nk_srf_node::uKnot, &nk_srf_node::nextU));
        for (; a->nextV != nullptr; a = a->nextV, b = b->nextV)
            EXPECT_TRUE(isShared(b, &nk_srf_node::uKnot, &nk_srf_node::nextV));

        const AP_SURFACE copy(surface);
        EXPECT_TRUE(contentsOf(SurfaceRecord(copy.NKLIB()).get(), false) == contents);
        const AP_SURFACE swapped(record.get(), 1);
        const SurfaceRecord exchanged(swapped.NKLIB());
        ASSERT_TRUE(contentsOf(exchanged.get(), true) == contents) << round;
    }
}

TEST(RoundTripTest, RepeatsAreCellsSharedWithTheDirectPredecessor)
{
    const Numbers knots = {0, 0, 1, 1, 2, 2};
    SplineRecord record(nk_bld_bs(1, knots.data(), nullptr, 0, 2, 3, 0, 0));
    nk_node* first = NKI_getFirstNode(record.get());
    first->next->next->next->next->knot = first->knot;  // the cell of a far node: no repeat
    const AP_SPLINE curve(record.get());
    EXPECT_EQ(printed(curve).substr(0, 44), "Knots:  0.00  0.00  1.00  1.00  0.00  2.00 \n");
}

TEST(RoundTripTest, ListsLongerOrShorterThanAnnouncedAreReadAsFarAsTheyGo)
{
    const Numbers knots = {0, 0, 1, 2, 3, 3};
    const Numbers points = {1, 2, 3, 4, 5};
    SplineRecord record(nk_bld_bs(1, knots.data(), points.data(), 0, 2, 3, 0, 0));
    record->spans = 2;
    EXPECT_EQ(printed(AP_SPLINE(record.get())),
              "Knots:  0.00  0.00  1.00  2.00  3.00 \n"
              "  1.000e+00\n  2.000e+00\n  3.000e+00\n  4.000e+00\n\n");
    record->spans = 4;
    EXPECT_EQ(printed(AP_SPLINE(record.get())),
              "Knots:  0.00  0.00  1.00  2.00  3.00  3.00  0.00 \n"
              "  1.000e+00\n  2.000e+00\n  3.000e+00\n  4.000e+00\n  5.000e+00\n  0.000e+00\n\n");
    nk_node* first = NKI_getFirstNode(record.get());
    double stray = 9.0;
    first->point = &stray;  // a point before knot index 0
    EXPECT_EQ(AP_SPLINE(record.get())[0][0], 1.0);
    first->point = nullptr;
}

}  // namespace
