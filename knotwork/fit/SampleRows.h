// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <vector>

#include "knotwork/fit/CurveSamples.h"
#include "knotwork/fit/FitRows.h"
#include "knotwork/fit/ResidualTally.h"
#include "knotwork/fit/SampleRuns.h"

namespace knotwork {

/// The samples of a curve as rows of a fit, read anew and their basis functions formed anew for
/// every sum. Each pass also measures how far the samples lie from the curve that it is given.
class SampleRows : public FitRows {
  public:
    /// figureFactors: what distances in a coordinate are multiplied by. progress(n): n more samples
    /// are through, in passes in double precision; may be null.
    SampleRows(SampleReader reader, const BsplineBasis& scaledBasis, SampleScales scales,
               double count, std::vector<double> figureFactors, std::function<void(int)> progress);

    ResidualSums residualSums(const NumberBlock& x) const override;
    ResidualSums exactResidualSums(const NumberBlock& x) const override;
    double count() const override { return count_; }

    struct Figures {
        ResidualTally tally;
        double largestAt = 0.0;  ///< the parameter, as the caller gave it
        long long count = 0;     ///< of samples
    };
    /// Of the last pass: distances from the curve as it was then.
    const Figures& figures() const { return figures_; }

  private:
    void sumRun(const SampleRun& run, const SampleStretch& stretch, const NumberBlock& x,
                ResidualSums& sums) const;
    void sumExactly(const SampleRun& run, const SampleStretch& stretch, const NumberBlock& x,
                    ResidualSums& sums) const;
    void note(const SampleRun& run, const SampleStretch& stretch, const double* squares) const;
    template <class Sum>
    ResidualSums pass(int dimension, Sum sum) const;

    SampleReader reader_;
    BsplineBasis basis_;
    SampleScales scales_;
    double count_;
    std::vector<double> factors_;
    std::function<void(int)> progress_;
    mutable Figures figures_;
    mutable std::vector<double> columns_;
};

}  // namespace knotwork
