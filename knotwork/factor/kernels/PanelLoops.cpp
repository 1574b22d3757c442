// SPDX-License-Identifier: MIT
#include "knotwork/factor/kernels/PanelLoops.h"

#include <algorithm>

#include "knotwork/factor/kernels/PanelKernels.h"

namespace knotwork {

namespace {

/// Calls visit(first column's number, the columns, their count) for four columns at a time.
template <class Visit>
void inPanels(const Panel& panel, Visit visit)
{
    for (int j = 0; j < panel.cols; j += kPanel) {
        const int count = std::min(kPanel, panel.cols - j);
        double* columns[kPanel] = {};
        for (int c = 0; c < count; ++c) columns[c] = panel.corner + (j + c) * panel.leading;
        visit(j, columns, count);
    }
}

}  // namespace

void reflectColumns(const double* w, double tau, const Panel& panel)
{
    const RowRange rows = {0, panel.rows};
    inPanels(panel, [&](int, double** columns, int count) {
        double factors[kPanel] = {};
        panelDot(rows, w, columns, count, factors);
        for (double& factor : factors) factor *= -tau;
        panelUpdate(rows, w, columns, count, factors);
    });
}

void dotColumns(const Panel& panel, const double* v, double* out)
{
    const RowRange rows = {0, panel.rows};
    inPanels(panel, [&](int j, double** columns, int count) {
        panelDot(rows, v, columns, count, out + j);
    });
}

void addCombination(const Panel& panel, const double* v, double* y)
{
    const RowRange rows = {0, panel.rows};
    inPanels(panel, [&](int j, double** columns, int count) {
        panelCombine(rows, y, columns, count, v + j);
    });
}

void subtractMultiples(const double* y, const double* v, double tau, const Panel& panel)
{
    const RowRange rows = {0, panel.rows};
    inPanels(panel, [&](int j, double** columns, int count) {
        double factors[kPanel] = {};
        for (int c = 0; c < count; ++c) factors[c] = -tau * v[j + c];
        panelUpdate(rows, y, columns, count, factors);
    });
}

}  // namespace knotwork
