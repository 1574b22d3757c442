// SPDX-License-Identifier: MIT
#include <algorithm>

#include "knotwork/platform/kernel.h"
#include "knotwork/platform/kernel/Block.h"

nk_cp_list* nk_bld_cp_list(int coordinates, int count)
{
    if (coordinates < 1 || count < 0) return nullptr;
    const auto coords = static_cast<std::size_t>(coordinates);
    const auto points = static_cast<std::size_t>(count);
    auto block = knotwork::Block::make<nk_cp_list, nk_cp_node>(points, points * coords);
    nk_cp_list* list = block.take<nk_cp_list>(1);
    nk_cp_node* nodes = block.take<nk_cp_node>(points);
    double* numbers = block.take<double>(points * coords);
    *list = {{}, coordinates, count, count > 0 ? nodes : nullptr};
    for (std::size_t i = 0; i < points; ++i)
        nodes[i] = {i + 1 < points ? nodes + i + 1 : nullptr, i > 0 ? nodes + i - 1 : nullptr,
                    numbers + i * coords};
    return list;
}

void nk_free_cp_list(nk_cp_list* list)
{
    knotwork::Block::release(list);
}

nk_sp_array* nk_bld_sp_array(int coordinates, int rows, int perRow)
{
    if (coordinates < 1 || rows < 0 || perRow < 0) return nullptr;
    const auto coords = static_cast<std::size_t>(coordinates);
    const auto columns = static_cast<std::size_t>(perRow);
    const std::size_t points = static_cast<std::size_t>(rows) * columns;
    auto block = knotwork::Block::make<nk_sp_array, nk_sp_node>(points, points * coords);
    nk_sp_array* array = block.take<nk_sp_array>(1);
    nk_sp_node* nodes = block.take<nk_sp_node>(points);
    double* numbers = block.take<double>(points * coords);
    *array = {0, coordinates, rows, perRow, points > 0 ? nodes : nullptr};
    for (std::size_t i = 0; i < points; ++i) {
        const std::size_t column = i % columns;
        nodes[i] = {i + columns < points ? nodes + i + columns : nullptr,
                    i >= columns ? nodes + i - columns : nullptr,
                    column + 1 < columns ? nodes + i + 1 : nullptr,
                    column > 0 ? nodes + i - 1 : nullptr, numbers + i * coords};
    }
    return array;
}

void nk_free_sp_array(nk_sp_array* array)
{
    knotwork::Block::release(array);
}

double* nk_al_dbl(int n)
{
    return new double[static_cast<std::size_t>(std::max(n, 0))]();
}

void nk_V_copy(int n, const double* from, double* to)
{
    if (n > 0) std::copy_n(from, n, to);
}

void nk_V_zero(int n, double* v)
{
    if (n > 0) std::fill_n(v, n, 0.0);
}
