// SPDX-License-Identifier: MIT
#include "knotwork/fit/Refinement.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "knotwork/factor/kernels/LaneKernels.h"

namespace knotwork {

Refinement::Refinement(const BandFit& fit, const NumberBlock& constraintRhs, int width,
                       int dimension)
    : fit_(fit),
      constraintRhs_(constraintRhs),
      width_(width),
      dimension_(dimension),
      x_(fit.order_.functions(fit.triangle_.size()), width, true),
      multipliers_(NumberBlock::size(held(), width), 0.0),
      rightSizes_(sizesOf(constraintRhs.high))
{
}

int Refinement::held() const
{
    return fit_.fitted_ ? 0 : static_cast<int>(fit_.constraints_.size());
}

void Refinement::correct(const FitRows& rows)
{
    const bool first = squares_.empty();
    correctBy(rows.residualSums(first ? NumberBlock() : x_));
    if (!first) return;
    // The data's size as their root mean square; the constraints' is known.
    for (std::size_t c = 0; c < squares_.size(); ++c) {
        double& size = rightSizes_[c % rightSizes_.size()];
        size = std::max(size, std::sqrt(squares_[c] / std::max(1.0, rows.count())));
    }
}

void Refinement::correctExactly(const FitRows& rows)
{
    correctBy(rows.exactResidualSums(x_));
}

void Refinement::correctBy(ResidualSums sums)
{
    if (fit_.fitted_) addFittedConstraints(sums);
    squares_ = std::move(sums.squares);
    subtractMultipliers(sums.gradient);
    fit_.order_.fold(sums.gradient);
    moved_.assign(static_cast<std::size_t>(dimension_), 0.0);
    for (int first = 0; first < width_;) {
        const int left = width_ - first;
        if (left > kFewLanes)
            correctLanes<kManyLanes>(sums.gradient, first, std::min(left, kManyLanes));
        else
            correctLanes<kFewLanes>(sums.gradient, first, left);
        first += left > kFewLanes ? kManyLanes : kFewLanes;
    }
}

DoubleDouble Refinement::residual(int constraint, int column) const
{
    return residualOf(fit_.constraints_[static_cast<std::size_t>(constraint)],
                      constraintRhs_.number(constraint, column), x_, column);
}

void Refinement::addFittedConstraints(ResidualSums& sums) const
{
    for (int i = 0; i < static_cast<int>(fit_.constraints_.size()); ++i)
        for (int c = 0; c < width_; ++c) {
            const DoubleDouble left = residual(i, c);
            const DoubleDouble weighted = left * DoubleDouble(fit_.weight_);
            sums.squares[static_cast<std::size_t>(c)] += weighted.high * left.high;
            int row = fit_.constraints_[static_cast<std::size_t>(i)].first;
            for (const DoubleDouble& entry : fit_.constraints_[static_cast<std::size_t>(i)].entries)
                sums.gradient.add(row++, c, entry * weighted);
        }
}

void Refinement::subtractMultipliers(NumberBlock& gradient) const
{
    for (int i = 0; i < held(); ++i) {
        int row = fit_.constraints_[static_cast<std::size_t>(i)].first;
        const double* multipliers = multipliers_.data() + NumberBlock::size(i, width_);
        for (const DoubleDouble& entry : fit_.constraints_[static_cast<std::size_t>(i)].entries) {
            for (int c = 0; c < width_; ++c)
                gradient.add(row, c, -(entry * DoubleDouble(multipliers[c])));
            ++row;
        }
    }
}

template <int Lanes>
void Refinement::correctLanes(const NumberBlock& gradient, int first, int count)
{
    const int cols = fit_.triangle_.size();
    const auto lane = [](std::vector<double>& block, int row, int c) -> double& {
        return block[NumberBlock::size(row, Lanes) + static_cast<std::size_t>(c)];
    };
    std::vector<double> g(NumberBlock::size(cols, Lanes), 0.0);
    std::vector<double> e(NumberBlock::size(held(), Lanes), 0.0);
    std::vector<double> dx(g.size());
    std::vector<double> dl(e.size());
    for (int j = 0; j < cols; ++j)
        for (int c = 0; c < count; ++c) {
            const DoubleDouble sum = gradient.number(j, first + c);
            lane(g, fit_.order_.place(j), c) = sum.high + sum.low;
        }
    for (int i = 0; i < held(); ++i)
        for (int c = 0; c < count; ++c) lane(e, i, c) = residual(i, first + c).high;
    fit_.factors_->correct<Lanes>(g.data(), e.data(), dx.data(), dl.data());
    for (int j = 0; j < fit_.order_.functions(cols); ++j)
        for (int c = 0; c < count; ++c) {
            const double change = lane(dx, fit_.order_.place(j), c);
            x_.add(j, first + c, DoubleDouble(change));
            double& moved = moved_[static_cast<std::size_t>((first + c) % dimension_)];
            if (!(std::fabs(change) <= moved)) moved = std::fabs(change);
        }
    for (int i = 0; i < held(); ++i)
        for (int c = 0; c < count; ++c)
            multipliers_[NumberBlock::size(i, width_) + static_cast<std::size_t>(first + c)] +=
                lane(dl, i, c);
}

/// Rounding of rows moves each residual by eps times the numbers around it, and an unknown by what
/// comes from its own neighbourhood; that of gradients counts in proportion to all residuals.
double Refinement::uncertainty(double eps, double ofRight) const
{
    const double inverse = fit_.factors_->inverseNorm();
    const double norm = fit_.factors_->norm();
    const std::vector<double> sizes = sizesOf(x_.high);
    std::vector<double> worst(static_cast<std::size_t>(dimension_), 0.0);
    for (std::size_t c = 0; c < squares_.size(); ++c) {
        const std::size_t kind = c % worst.size();
        const double ofRows = norm * (sizes[kind] + rightSizes_[kind]);
        const double ofGradients = inverse * norm * std::sqrt(squares_[c]);
        worst[kind] = std::max(worst[kind], eps * inverse * (ofRows + ofGradients));
    }
    return share(worst, ofRight);
}

std::vector<double> Refinement::sizesOf(const std::vector<double>& numbers) const
{
    std::vector<double> sizes(static_cast<std::size_t>(dimension_), 0.0);
    for (std::size_t k = 0; k < sizes.size(); ++k) {
        double size = 0.0;
        for (std::size_t i = k; i < numbers.size(); i += sizes.size()) {
            const double magnitude = std::fabs(numbers[i]);
            if (!(magnitude <= size)) size = magnitude;  // negated, so that a NaN stays
        }
        sizes[k] = size;
    }
    return sizes;
}

double Refinement::share(const std::vector<double>& parts, double ofRight) const
{
    const std::vector<double> sizes = sizesOf(x_.high);
    double worst = 0.0;
    for (std::size_t k = 0; k < parts.size(); ++k) {
        if (parts[k] == 0.0) continue;
        const double found = parts[k] / std::max(sizes[k], ofRight * rightSizes_[k]);
        if (!(found <= worst)) worst = found;
    }
    return worst;
}

}  // namespace knotwork
