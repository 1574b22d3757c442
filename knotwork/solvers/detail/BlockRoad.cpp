// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <limits>

#include "knotwork/factor/kernels/BlockedQR.h"
#include "knotwork/factor/kernels/InverseNorm.h"
#include "knotwork/factor/kernels/PanelKernels.h"
#include "knotwork/linalg/detail/Array.h"
#include "knotwork/solvers/detail/ShortRoad.h"

namespace knotwork {

namespace {

constexpr int kFewCols = 32;  // fewer make no blocks

Panel panelOf(DoubleGenMat& m, int firstColumn)
{
    const int rows = static_cast<int>(m.rows());
    return {m.data() + std::ptrdiff_t{rows} * firstColumn, rows, rows,
            static_cast<int>(m.cols()) - firstColumn};
}

/// The two phases for dense systems, in blocks:
///   C^T = H [R; 0]       C H = [T 0], T = R^T: the first unknowns of H^T x are the fixed ones
///   E H = [G F]
///   F = Q [S; 0]
/// For a right-hand side [b; d]: y1 = T^-1 d; S y2 = Q^T (b - G y1); x = H [y1; y2].
class BlockRoad : public ShortRoad {
  public:
    BlockRoad(const DoubleGenMat& matrix, int constraints);
    void solve(const LaneReader& rhs, double* x) const override
    {
        if (rhs.lanes() == kFewLanes)
            solveIn<kFewLanes>(rhs, x);
        else
            solveIn<kManyLanes>(rhs, x);
    }
    RoadMeasures measures() const override;

  private:
    template <int Lanes>
    void solveIn(const LaneReader& rhs, double* x) const;
    double fixedNorm() const;

    int samples_;
    DoubleGenMat transposedConstraints_;
    DoubleGenMat samplesTimesH_;
    BlockedQR constraints_;
    BlockedQR free_;
};

BlockRoad::BlockRoad(const DoubleGenMat& matrix, int constraints)
    : samples_(static_cast<int>(matrix.rows()) - constraints),
      transposedConstraints_(matrix.cols(), static_cast<unsigned>(constraints)),
      samplesTimesH_(static_cast<unsigned>(samples_), matrix.cols())
{
    const int cols = static_cast<int>(matrix.cols());
    const double* column = matrix.data();
    for (int j = 0; j < cols; ++j, column += samples_ + constraints) {
        std::copy_n(column, samples_, samplesTimesH_.data() + std::ptrdiff_t{samples_} * j);
        for (int i = 0; i < constraints; ++i) transposedConstraints_(j, i) = column[samples_ + i];
    }
    constraints_ = BlockedQR(panelOf(transposedConstraints_, 0));
    if (!constraints_.sound()) return;
    constraints_.applyFromRight(panelOf(samplesTimesH_, 0));
    free_ = BlockedQR(panelOf(samplesTimesH_, constraints));
}

template <int Lanes>
void BlockRoad::solveIn(const LaneReader& rhs, double* x) const
{
    const auto row = [](double* lanes, int i) { return lanes + std::ptrdiff_t{Lanes} * i; };
    const int fixed = constraints_.cols();
    Array<double> b(std::ptrdiff_t{Lanes} * samples_);
    for (int i = 0; i < samples_; ++i) rhs.read<Lanes>(i, row(b.data(), i));
    std::fill_n(x, std::ptrdiff_t{Lanes} * (fixed + free_.cols()), 0.0);
    for (int i = 0; i < fixed; ++i) rhs.read<Lanes>(samples_ + i, row(x, i));
    constraints_.solveTransposed<Lanes>(x);
    for (int j = 0; j < fixed; ++j) {
        const double* column = samplesTimesH_.data() + std::ptrdiff_t{samples_} * j;
        const double* y = row(x, j);
        for (int i = 0; i < samples_; ++i)
            for (int c = 0; c < Lanes; ++c) row(b.data(), i)[c] -= column[i] * y[c];
    }
    free_.reflect<Lanes>(b.data());
    free_.solve<Lanes>(b.data());
    std::copy_n(b.data(), std::ptrdiff_t{Lanes} * free_.cols(), row(x, fixed));
    constraints_.reflectBack<Lanes>(x);
}

/// The 2-norm of G: that of G^T G, which the estimate takes for an inverse, is its square. Both
/// factors are divided by the Frobenius norm, so that no square vanishes.
double BlockRoad::fixedNorm() const
{
    static_assert(kFewLanes == kPanel, "a lane is a column of a panel");
    const RowRange all = {0, samples_};
    const int fixed = constraints_.cols();
    const auto column = [this](int j) {
        return samplesTimesH_.data() + std::ptrdiff_t{samples_} * j;
    };
    double whole = 0.0;
    for (const double* v = column(0); v != column(fixed); ++v) whole += *v * *v;
    if (whole == 0.0) return 0.0;
    whole = std::sqrt(whole);

    Array<double> numbers(std::ptrdiff_t{kPanel} * samples_);
    double* product[kPanel];
    for (int c = 0; c < kPanel; ++c) product[c] = &numbers[std::ptrdiff_t{samples_} * c];
    const auto multiply = [&](double* y) {
        for (int i = 0; i < kPanel * fixed; ++i) y[i] /= whole;
        std::fill(numbers.begin(), numbers.end(), 0.0);
        for (int j = 0; j < fixed; ++j)
            panelUpdate(all, column(j), product, kPanel, y + kPanel * j);
        for (int j = 0; j < fixed; ++j) panelDot(all, column(j), product, kPanel, y + kPanel * j);
        for (int i = 0; i < kPanel * fixed; ++i) y[i] /= whole;
    };
    return whole * std::sqrt(estimateInverseNorms(fixed, multiply, multiply).spectral);
}

RoadMeasures BlockRoad::measures() const
{
    RoadMeasures m;
    if (!constraints_.sound() || !free_.sound()) {
        m.norm = m.inverseNorm = std::numeric_limits<double>::infinity();
        return m;
    }
    const int constraints = constraints_.cols();
    m.fixedNorm = fixedNorm();
    m.norm = std::max(free_.normBound(), m.fixedNorm);
    const InverseNorms free = estimateInverseNorms(
        free_.cols(), [this](double* y) { free_.solve<kFewLanes>(y); },
        [this](double* y) { free_.solveTransposed<kFewLanes>(y); });
    m.inverseNorm = free.larger;
    m.pivotInverse = free.spectral;
    const InverseNorms fixed = estimateInverseNorms(
        constraints, [this](double* y) { constraints_.solveTransposed<kFewLanes>(y); },
        [this](double* y) { constraints_.solve<kFewLanes>(y); });
    m.constraintInverseNorm = fixed.larger;
    m.constraintPivotInverse = fixed.spectral;
    Array<double> lengths(constraints);
    for (int i = 0; i < constraints; ++i) {
        lengths[i] = constraints_.columnLength(i);
        m.longestConstraint = std::max(m.longestConstraint, lengths[i]);
    }
    m.constraintCondition = constraints_.transposedInverseNorm(lengths);
    m.freeSkips = free_.cols();
    m.sampleSkips = sampleSkips(samples_, constraints + free_.cols(), constraints);
    m.constraintSkips = std::max(0, constraints - 1);
    return m;
}

}  // namespace

std::unique_ptr<ShortRoad> blockRoad(const DoubleGenMat& matrix, int constraints)
{
    const bool large = static_cast<int>(matrix.cols()) >= kFewCols;
    if (!large || matrix.dataVec().stride() != 1) return nullptr;
    return std::make_unique<BlockRoad>(matrix, constraints);
}

}  // namespace knotwork
