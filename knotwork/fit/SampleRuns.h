// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "knotwork/fit/BsplineBasis.h"
#include "knotwork/fit/CurveSamples.h"
#include "knotwork/fit/SampleKernels.h"

namespace knotwork {

/// Up to kRunRows samples of one span, scaled. Columns have kRunRows numbers; up to the next
/// multiple of four, what lies beyond the samples repeats the last parameter and is 0 otherwise.
struct SampleRun {
    int span;  ///< number of the knot to the left
    int count;
    const double* parameters;
    const double* points;   ///< a column a coordinate
    const double* weights;  ///< scaled; null: all are 1
    const int* numbers;     ///< of the samples in their stretch
};

/// The scales of samples: exponents of powers of two that they are divided by.
struct SampleScales {
    int parameter = 0;
    std::vector<int> coordinates;
    int weightRoot = 0;  ///< of the weights' square roots
};

/// Cuts samples into runs, those of one span together; in the order they come in as long as that
/// brings a span's samples together.
class SampleRuns {
  public:
    /// scaledBasis: over scaled parameters.
    SampleRuns(const BsplineBasis& scaledBasis, int dimension);

    /// visit is called for every run. Parameters have to lie within the range, or a little beyond.
    void forRuns(const SampleStretch& stretch, const SampleScales& scales,
                 const std::function<void(const SampleRun&)>& visit);

  private:
    bool findSpans(const double* parameters, int count);
    void sortBySpan(int count);
    int spanOf(double t);
    SampleRun gathered(const SampleStretch& stretch, const SampleScales& scales, int first, int at,
                       int count);

    const BsplineBasis basis_;
    int dimension_;
    int most_;  // samples that are sorted together
    int span_;  // of the last parameter
    double left_;
    double right_;
    double cellsPerUnit_;
    std::vector<int> guesses_;  // a span at or before each cell; the last one is the last span
    std::vector<double> parameters_;  // scaled, of the samples that are sorted together
    std::vector<int> spans_;
    std::vector<int> order_;
    std::vector<int> places_;
    std::vector<double> run_;  // parameters, weights, points
    std::vector<int> numbers_;
};

}  // namespace knotwork
