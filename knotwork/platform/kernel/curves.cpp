// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstdlib>

#include "knotwork/platform/kernel.h"
#include "knotwork/platform/kernel/Block.h"

nk_spline* nk_bld_bs(int d, const double* knots, const double* points, int type, int p, int n,
                     int rational, int form)
{
    if (d < 1 || p < 1 || n < 1) return nullptr;
    const auto bare = static_cast<std::size_t>(p - 1);  // nodes without a point
    const std::size_t pointCount = static_cast<std::size_t>(p) + static_cast<std::size_t>(n);
    const std::size_t nodeCount = bare + pointCount;
    const std::size_t coords =
        static_cast<std::size_t>(d) + static_cast<std::size_t>(std::abs(rational));
    auto block =
        knotwork::Block::make<nk_spline, nk_node>(nodeCount, nodeCount + pointCount * coords);
    nk_spline* spline = block.take<nk_spline>(1);
    nk_node* nodes = block.take<nk_node>(nodeCount);
    double* cells = block.take<double>(nodeCount);
    double* numbers = block.take<double>(pointCount * coords);
    *spline = {{}, type, d, p, n, rational, form, nodes + bare};

    for (std::size_t k = 0; k < nodeCount; ++k) {
        nodes[k] = {k + 1 < nodeCount ? nodes + k + 1 : nullptr, k > 0 ? nodes + k - 1 : nullptr,
                    k < bare ? nullptr : numbers + (k - bare) * coords, cells + k};
    }
    if (knots != nullptr) std::copy_n(knots, nodeCount, cells);
    if (points != nullptr) std::copy_n(points, pointCount * coords, numbers);
    return spline;
}

void nk_free_bs(nk_spline* spline)
{
    if (spline == nullptr) return;
    {
        knotwork::Block::ForeignCells cells(spline);
        for (nk_node* node = NKI_getFirstNode(spline); node != nullptr; node = node->next)
            cells.note(node->knot);
    }
    knotwork::Block::release(spline);
}

nk_node* NKI_getFirstNode(const nk_spline* spline)
{
    nk_node* node = spline->node;
    while (node != nullptr && node->previous != nullptr) node = node->previous;
    return node;
}

int nk_get_form_bs(const nk_spline* spline)
{
    return spline->form;
}
