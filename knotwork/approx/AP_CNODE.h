// SPDX-License-Identifier: MIT
#pragma once

class AP_SPLINE;

/// An entry of a curve's node table; its address is the handle of a node. Entry a of a table stands
/// for knot index a + 1 - degree.
struct AP_CNODE {
    AP_SPLINE* owner;
};
