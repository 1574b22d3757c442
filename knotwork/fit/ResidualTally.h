// SPDX-License-Identifier: MIT
#pragma once

#include <cmath>

namespace knotwork {

/// The error figures of a fit, data point by data point.
class ResidualTally {
  public:
    /// Counts a point of `dimension` numbers whose fit has value; returns whether none before lay
    /// as far away. A point without weight counts for nothing.
    bool add(const double* point, const double* value, int dimension, double weight = 1.0)
    {
        if (weight == 0.0) return false;
        long double squares = 0.0L;
        for (int k = 0; k < dimension; ++k) {
            const long double residual = static_cast<long double>(point[k]) - value[k];
            squares += residual * residual;
        }
        total_ += weight * squares;
        weights_ += weight;
        if (squares <= largest_) return false;
        largest_ = squares;
        return true;
    }

    double rms() const { return static_cast<double>(std::sqrt(total_ / weights_)); }
    double largest() const { return static_cast<double>(std::sqrt(largest_)); }

  private:
    long double total_ = 0.0L;
    long double weights_ = 0.0L;
    long double largest_ = -1.0L;
};

}  // namespace knotwork
