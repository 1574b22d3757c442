// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "knotwork/export.h"
#include "knotwork/fit/BsplineBasis.h"
#include "knotwork/fit/CurveSamples.h"

namespace knotwork {

class CurveState;

/// What a curve fit needs of its samples: a small triangle a span, however many samples there were.
/// Samples are added as they come, in any order; accumulators of parts merge into that of the
/// whole, on this machine or from bytes of another one. Constraints are asked for when it is
/// fitted: fitCurve(accumulator, ...).
/// Memory    in proportion to the number of spans.
/// Errors    a sentence's end that says what is wrong, of samples, bytes or a basis; nothing is
///           added or merged then. std::bad_alloc where memory runs out; what it holds is then of
///           no use.
/// Threads   one at a time; different ones may be filled at the same time.
/// Source    Lawson, Hanson: Solving Least Squares Problems (SIAM 1995), chapter 27.
class KNOTWORK_EXPORT CurveAccumulator {
  public:
    /// Not valid() where degree and knots do not make a basis, or dimension is below 1.
    CurveAccumulator(const BsplineBasis& basis, int dimension);
    CurveAccumulator(const CurveAccumulator& other);
    CurveAccumulator(CurveAccumulator&&) noexcept;
    CurveAccumulator& operator=(CurveAccumulator other) noexcept;
    ~CurveAccumulator();

    bool valid() const { return state_ != nullptr; }

    /// The samples' parameters lie within the basis's range, or beyond it by no more than
    /// (number of samples in the stretch) x eps x the range. Samples are counted on from those
    /// before.
    std::string add(const SampleStretch& samples);
    /// Adds what another one of the same basis and dimension has gathered.
    std::string merge(const CurveAccumulator& other);

    long long rows() const;  ///< samples gathered
    int dimension() const;
    const BsplineBasis& basis() const;

    /// The same on every machine. Empty when not valid().
    std::vector<unsigned char> bytes() const;
    /// Takes what bytes() gave; they carry a version and a checksum.
    std::string read(const std::vector<unsigned char>& bytes);

    const CurveState& state() const { return *state_; }  ///< for the library

  private:
    std::unique_ptr<CurveState> state_;
};

}  // namespace knotwork
