// SPDX-License-Identifier: MIT
#pragma once

/// A bounding box: `dimension` minima and as many maxima, in one array that starts at `min`. It
/// releases nothing; the geometry that hands it out does.
struct AP_MMBOX {
    int dimension;
    double* min;
    double* max;
};
