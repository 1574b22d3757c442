// SPDX-License-Identifier: MIT
#pragma once

class AP_SURFACE;

/// An entry of a surface's node table; its address is the handle of a node. The table has a row for
/// each v knot, and in it an entry for each u knot.
struct AP_SNODE {
    AP_SURFACE* owner;
};
