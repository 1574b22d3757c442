// SPDX-License-Identifier: MIT
#include "knotwork/solvers/detail/DenseRoad.h"

#include <cmath>
#include <limits>

namespace knotwork {

namespace {

constexpr int kFewCols = 32;  // fewer make no blocks

Panel panelOf(DoubleGenMat& m, int firstColumn)
{
    const int rows = static_cast<int>(m.rows());
    return {m.data() + std::ptrdiff_t{rows} * firstColumn, rows, rows,
            static_cast<int>(m.cols()) - firstColumn};
}

}  // namespace

DenseRoad::DenseRoad(const DoubleGenMat& matrix, int constraints)
    : samples_(static_cast<int>(matrix.rows()) - constraints),
      cols_(static_cast<int>(matrix.cols())),
      transposedConstraints_(matrix.cols(), static_cast<unsigned>(constraints)),
      samplesTimesH_(static_cast<unsigned>(samples_), matrix.cols())
{
    const int rows = samples_ + constraints;
    complete_ = samplesTimesH_.rows() == static_cast<unsigned>(samples_) &&
                (constraints == 0 || transposedConstraints_.rows() == matrix.cols());
    if (!complete_) return;
    for (int j = 0; j < cols_; ++j) {
        const double* column = matrix.data() + std::ptrdiff_t{rows} * j;
        std::copy_n(column, samples_, samplesTimesH_.data() + std::ptrdiff_t{samples_} * j);
        for (int i = 0; i < constraints; ++i) transposedConstraints_(j, i) = column[samples_ + i];
    }
    constraints_ = BlockedQR(panelOf(transposedConstraints_, 0));
    if (!constraints_.sound()) return;
    for (int i = 0; i < constraints; ++i) lengths_.push_back(constraints_.columnLength(i));
    constraints_.applyFromRight(panelOf(samplesTimesH_, 0));
    free_ = BlockedQR(panelOf(samplesTimesH_, constraints));
}

/// Of G, by its Frobenius norm. What it holds of the unknowns that are fixed is subtracted from the
/// right-hand sides, and rounds.
double DenseRoad::fixedNorm() const
{
    double squares = 0.0;
    const double* const end = samplesTimesH_.data() + std::ptrdiff_t{samples_} * constraints();
    for (const double* v = samplesTimesH_.data(); v != end; ++v) squares += *v * *v;
    return std::sqrt(squares);
}

RoadMeasures DenseRoad::measures() const
{
    const double infinity = std::numeric_limits<double>::infinity();
    if (!complete_ || !constraints_.sound() || !free_.sound())
        return {infinity, infinity, infinity, infinity, infinity, 0, 0.0, 0};
    const double longest =
        lengths_.empty() ? 0.0 : *std::max_element(lengths_.begin(), lengths_.end());
    return {std::max(free_.normBound(), fixedNorm()),
            free_.inverseNorm(),
            longest,
            constraints_.transposedInverseNorm(std::vector<double>(lengths_.size(), 1.0)),
            constraints_.transposedInverseNorm(lengths_),
            free_.cols(),
            sampleSkips(samples_, cols_, constraints()),
            std::max(0, constraints() - 1)};
}

std::unique_ptr<DenseRoad> DenseRoad::find(const DoubleGenMat& matrix, int constraints,
                                           double negligible)
{
    if (matrix.rows() < matrix.cols() || static_cast<int>(matrix.cols()) < kFewCols) return nullptr;
    std::unique_ptr<DenseRoad> road(new DenseRoad(matrix, constraints));
    const RoadMeasures found = road->measures();
    if (!sameVerdict(found, negligible)) return nullptr;
    road->leastAnswer_ = knotwork::leastAnswer(found, negligible);
    return road;
}

}  // namespace knotwork
