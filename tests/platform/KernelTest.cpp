// SPDX-License-Identifier: MIT
#include "knotwork/platform/kernel.h"

#include <set>

#include "tests/support/Testing.h"

namespace {

TEST(KernelTest, CurveNodesCarryKnotsAndFromIndexZeroPoints)
{
    const std::vector<double> knots = {0, 0, 0, 1, 2, 2, 2};
    const std::vector<double> points = {1, 2, 1, 3, 4, 1, 5, 6, 1, 7, 8, 1, 9, 10, 1};
    nk_spline* s = nk_bld_bs(2, knots.data(), points.data(), 11, 3, 2, -1, 22);
    EXPECT_EQ(std::vector<int>({s->type, s->dimension, s->degree, s->spans, s->rational}),
              std::vector<int>({11, 2, 3, 2, -1}));
    EXPECT_EQ(nk_get_form_bs(s), 22);
    nk_node* node = NKI_getFirstNode(s);
    nk_node* before = nullptr;
    std::set<double*> cells;
    for (std::size_t k = 0; k < knots.size(); ++k) {
        SCOPED_TRACE(k);
        ASSERT_NE(node, nullptr);
        EXPECT_EQ(node->previous, before);
        EXPECT_EQ(*node->knot, knots[k]);
        EXPECT_TRUE(cells.insert(node->knot).second) << "each node is built with its own cell";
        EXPECT_EQ(node == s->node, k == 2);
        if (k < 2)
            EXPECT_EQ(node->point, nullptr);
        else
            for (std::size_t c = 0; c < 3; ++c) EXPECT_EQ(node->point[c], points[3 * (k - 2) + c]);
        before = node;
        node = node->next;
    }
    EXPECT_EQ(node, nullptr);
    nk_free_bs(s);
}

TEST(KernelTest, SurfaceGridIsLinkedBothWaysInBothDirections)
{
    struct Case {
        int rationalU, rationalV, coords;
    };
    for (const Case c : {Case{0, 0, 3}, Case{1, 0, 4}, Case{0, 1, 4}, Case{1, 1, 4}}) {
        nk_surface* s = nk_bld_srf(3, 5, 2, 3, 2, 1, c.rationalU, c.rationalV, 8, 9);
        EXPECT_EQ(std::vector<int>(
                      {s->type, s->degreeU, s->degreeV, s->spansU, s->spansV, s->formU, s->formV}),
                  std::vector<int>({5, 2, 3, 2, 1, 8, 9}));
        int rows = 0;
        const double* numbers = s->node->point;
        for (nk_srf_node* row = NKI_getFirstSurfaceNode(s); row != nullptr; row = row->nextV) {
            int columns = 0;
            for (nk_srf_node* node = row; node != nullptr; node = node->nextU, ++columns) {
                EXPECT_EQ(node->previousU == nullptr, columns == 0);
                EXPECT_EQ(node->previousV == nullptr, rows == 0);
                EXPECT_TRUE(node->nextU == nullptr || node->nextU->previousU == node);
                EXPECT_TRUE(node->nextV == nullptr || node->nextV->previousV == node);
                EXPECT_TRUE(node->nextU == nullptr || node->nextV == nullptr ||
                            node->nextU->nextV == node->nextV->nextU);
                EXPECT_EQ(node == s->node, columns == 1 && rows == 2);
                EXPECT_EQ(node->point != nullptr, columns >= 1 && rows >= 2);
                if (node->point == nullptr) continue;
                EXPECT_EQ(node->point, numbers);
                numbers += c.coords;
            }
            EXPECT_EQ(columns, 5);
            ++rows;
        }
        EXPECT_EQ(rows, 6);
        nk_free_srf(s);
    }
}

// Run under the address sanitizer, this finds a cell freed twice or not at all.
TEST(KernelTest, ReleaseFreesForeignCellsOnce)
{
    nk_spline* s = nk_bld_bs(1, nullptr, nullptr, 0, 2, 3, 0, 0);
    nk_node* first = NKI_getFirstNode(s);
    first->knot = first->next->knot = first->next->next->next->knot = nk_al_dbl(1);
    nk_free_bs(s);

    nk_surface* surface = nk_bld_srf(1, 0, 1, 1, 1, 1, 0, 0, 0, 0);
    double* shared = nk_al_dbl(1);
    for (nk_srf_node* row = NKI_getFirstSurfaceNode(surface); row != nullptr; row = row->nextV)
        for (nk_srf_node* node = row; node != nullptr; node = node->nextU)
            node->uKnot = node->vKnot = shared;
    nk_free_srf(surface);
}

TEST(KernelTest, ReleaseTakesNullAndBuildersRefuseEmptyShapes)
{
    nk_free_bs(nullptr);
    nk_free_srf(nullptr);
    nk_free_cp_list(nullptr);
    nk_free_sp_array(nullptr);
    EXPECT_EQ(nk_bld_bs(3, nullptr, nullptr, 0, 0, 1, 0, 0), nullptr);
    EXPECT_EQ(nk_bld_bs(3, nullptr, nullptr, 0, 1, 0, 0, 0), nullptr);
    EXPECT_EQ(nk_bld_srf(3, 0, 1, 0, 1, 1, 0, 0, 0, 0), nullptr);
    EXPECT_EQ(nk_bld_cp_list(0, 1), nullptr);
    EXPECT_EQ(nk_bld_sp_array(1, -1, 1), nullptr);
}

TEST(KernelTest, PointListsAndGridsHoldTheirNumbersInOrder)
{
    nk_cp_list* list = nk_bld_cp_list(3, 2);
    EXPECT_EQ(list->coordinates, 3);
    EXPECT_EQ(list->count, 2);
    EXPECT_EQ(list->first->next->point, list->first->point + 3);
    EXPECT_EQ(list->first->next->next, nullptr);
    nk_free_cp_list(list);

    list = nk_bld_cp_list(3, 0);
    EXPECT_EQ(list->first, nullptr);
    nk_free_cp_list(list);

    nk_sp_array* grid = nk_bld_sp_array(2, 3, 2);
    int rows = 0;
    const double* numbers = grid->first->point;
    for (nk_sp_node* row = grid->first; row != nullptr; row = row->nextRow, ++rows) {
        int columns = 0;
        for (nk_sp_node* node = row; node != nullptr; node = node->next, ++columns, numbers += 2)
            EXPECT_EQ(node->point, numbers);
        EXPECT_EQ(columns, grid->perRow);
    }
    EXPECT_EQ(rows, grid->rows);
    nk_free_sp_array(grid);
}

TEST(KernelTest, VectorsAreCopiedAndZeroedToTheirLength)
{
    double v[3] = {1, 2, 3};
    nk_V_zero(2, v);
    EXPECT_EQ(std::vector<double>(v, v + 3), std::vector<double>({0, 0, 3}));
    const double from[3] = {7, 8, 9};
    nk_V_copy(2, from, v);
    EXPECT_EQ(std::vector<double>(v, v + 3), std::vector<double>({7, 8, 3}));
    nk_V_copy(0, from, v);
    nk_V_zero(-1, v);
    EXPECT_EQ(v[0], 7);
    double* zeros = nk_al_dbl(2);
    EXPECT_EQ(zeros[0] + zeros[1], 0.0);
    delete[] zeros;
}

}  // namespace
