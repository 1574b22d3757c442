// SPDX-License-Identifier: MIT
#pragma once

#include "knotwork/approx/detail/KnotTable.h"
#include "knotwork/platform/kernel.h"

namespace knotwork {

/// One direction of a kernel record's nodes: where the next node and the knot cell stand.
template <class Node>
struct Direction {
    Node* Node::*next;
    double* Node::*cell;
};

/// Reads a line of nodes from the first one on. A knot is repeated when its cell is the very cell
/// of its predecessor; equal values in two cells are two knots. Nodes beyond the table are ignored.
template <class Node>
void readKnots(KnotTable& knots, const Node* node, Direction<Node> along)
{
    const double* before = nullptr;
    for (int i = knots.first(); i <= knots.last() && node != nullptr; ++i) {
        const double* cell = node->*along.cell;
        if (before != nullptr && cell == before)
            knots.putRepeated(i);
        else
            knots.put(i, *cell);
        before = cell;
        node = node->*along.next;
    }
    knots.renewReciprocals();
}

/// Points a line of nodes at fresh cells, repeated knots at their predecessor's.
template <class Node>
void writeKnots(const KnotTable& knots, Node* node, Direction<Node> along)
{
    double* before = nullptr;
    for (int i = knots.first(); i <= knots.last() && node != nullptr; ++i) {
        if (before == nullptr || !knots.repeated(i)) {
            before = nk_al_dbl(1);
            *before = knots(i);
        }
        node->*along.cell = before;
        node = node->*along.next;
    }
}

}  // namespace knotwork
