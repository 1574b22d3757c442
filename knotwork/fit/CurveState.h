// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "knotwork/fit/BandOrder.h"
#include "knotwork/fit/BsplineBasis.h"
#include "knotwork/fit/FitRows.h"
#include "knotwork/fit/SampleRuns.h"
#include "knotwork/sparse/RowStream.h"
#include "knotwork/sparse/SpanTriangles.h"

namespace knotwork {

/// What is left of the samples of a curve fit once they have gone by: everything that a fit needs
/// but the samples' exact numbers. See CurveAccumulator for the contracts.
class CurveState {
  public:
    CurveState(const BsplineBasis& basis, int dimension);

    /// progress(n): n more samples are through; may be null.
    std::string add(const SampleStretch& stretch,
                    const std::function<void(int)>& progress = nullptr);
    std::string merge(const CurveState& other);

    const BsplineBasis& basis() const { return basis_; }
    const BsplineBasis& scaledBasis() const { return scaled_; }
    int dimension() const { return triangles_.rhsWidth(); }
    long long rows() const { return rows_; }
    long long counted() const { return counted_; }  ///< of these, those with a weight above 0
    double weights() const { return (weights_.high + weights_.low); }  ///< their sum, scaled
    const SampleScales& scales() const { return scales_; }
    double largest(int k) const { return largest_[static_cast<std::size_t>(k)]; }  ///< magnitude
    const SpanTriangles& triangles() const { return triangles_; }

    /// The triangles with coordinates divided by 2^exponents instead.
    SpanTriangles scaledTo(const std::vector<int>& exponents) const;

    std::vector<unsigned char> bytes() const;

  private:
    friend std::string readState(const std::vector<unsigned char>& bytes,
                                 std::unique_ptr<CurveState>& state);

    struct Sizes;
    std::string look(const SampleStretch& stretch, Sizes& sizes) const;
    void raiseScales(const std::vector<double>& largest, double heaviest);
    void raiseCoordinate(int k, int exponent);
    void raiseWeightRoot(int exponent);

    BsplineBasis basis_;
    BsplineBasis scaled_;
    SampleScales scales_;
    bool weighted_ = false;  // whether the scale of weights is chosen
    SpanTriangles triangles_;
    SampleRuns runs_;
    long long rows_ = 0;
    long long counted_ = 0;
    DoubleDouble weights_;
    std::vector<double> largest_;  // 0: no number but 0 has come by, and no scale is chosen
    std::vector<double> block_;
};

/// Makes the state that gave the bytes. Returns what is wrong with them, or nothing.
std::string readState(const std::vector<unsigned char>& bytes, std::unique_ptr<CurveState>& state);

/// All rows compressed once more, to one triangle with the unknowns in a band's order; with their
/// right-hand sides if asked to.
RowStream compressed(const SpanTriangles& triangles, const BandOrder& order, bool withRhs);

/// The triangles as rows of a fit; they have to live on. What compressing did to them, some eps, is
/// not undone by any precision.
class TriangleRows : public FitRows {
  public:
    TriangleRows(const SpanTriangles& triangles, double count)
        : triangles_(triangles), count_(count)
    {
    }
    ResidualSums residualSums(const NumberBlock& x) const override;
    ResidualSums exactResidualSums(const NumberBlock& x) const override;
    double exactRounding() const override { return 0x1p-50; }
    double count() const override { return count_; }

  private:
    const SpanTriangles& triangles_;
    double count_;
};

}  // namespace knotwork
