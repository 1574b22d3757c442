// SPDX-License-Identifier: MIT
#include "knotwork/platform/kernel.h"
#include "knotwork/platform/kernel/Block.h"

nk_surface* nk_bld_srf(int d, int type, int pu, int pv, int nu, int nv, int rationalU,
                       int rationalV, int formU, int formV)
{
    if (d < 1 || pu < 1 || pv < 1 || nu < 1 || nv < 1) return nullptr;
    const auto columns = static_cast<std::size_t>(2 * pu + nu - 1);  // u knots
    const auto rows = static_cast<std::size_t>(2 * pv + nv - 1);     // v knots
    const auto bareColumns = static_cast<std::size_t>(pu - 1);
    const auto bareRows = static_cast<std::size_t>(pv - 1);
    const std::size_t points = (columns - bareColumns) * (rows - bareRows);
    const auto coords = static_cast<std::size_t>(rationalU != 0 || rationalV != 0 ? d + 1 : d);
    auto block = knotwork::Block::make<nk_surface, nk_srf_node>(
        columns * rows, 2 * columns * rows + points * coords);
    nk_surface* surface = block.take<nk_surface>(1);
    nk_srf_node* nodes = block.take<nk_srf_node>(columns * rows);
    double* cells = block.take<double>(2 * columns * rows);
    double* numbers = block.take<double>(points * coords);
    *surface = {0,
                d,
                type,
                pu,
                pv,
                nu,
                nv,
                rationalU,
                rationalV,
                formU,
                formV,
                {},
                nodes + bareRows * columns + bareColumns};

    for (std::size_t row = 0; row < rows; ++row)
        for (std::size_t column = 0; column < columns; ++column) {
            nk_srf_node* node = nodes + row * columns + column;
            node->nextU = column + 1 < columns ? node + 1 : nullptr;
            node->previousU = column > 0 ? node - 1 : nullptr;
            node->nextV = row + 1 < rows ? node + columns : nullptr;
            node->previousV = row > 0 ? node - columns : nullptr;
            node->uKnot = cells++;
            node->vKnot = cells++;
            if (column < bareColumns || row < bareRows) continue;
            node->point = numbers;
            numbers += coords;
        }
    return surface;
}

void nk_free_srf(nk_surface* surface)
{
    if (surface == nullptr) return;
    {
        knotwork::Block::ForeignCells cells(surface);
        for (nk_srf_node* row = NKI_getFirstSurfaceNode(surface); row != nullptr; row = row->nextV)
            for (nk_srf_node* node = row; node != nullptr; node = node->nextU) {
                cells.note(node->uKnot);
                cells.note(node->vKnot);
            }
    }
    knotwork::Block::release(surface);
}

nk_srf_node* NKI_getFirstSurfaceNode(const nk_surface* surface)
{
    nk_srf_node* node = surface->node;
    while (node != nullptr && node->previousU != nullptr) node = node->previousU;
    while (node != nullptr && node->previousV != nullptr) node = node->previousV;
    return node;
}
