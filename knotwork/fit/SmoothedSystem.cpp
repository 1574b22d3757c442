// SPDX-License-Identifier: MIT
#include "knotwork/fit/SmoothedSystem.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "knotwork/factor/kernels/LaneKernels.h"
#include "knotwork/sparse/InverseBand.h"
#include "knotwork/sparse/RowCompression.h"

namespace knotwork {

namespace {

constexpr double kWellConditioned = 1e5;  // the band of the inverse needs no more than doubles

std::size_t laneSize(int rows)
{
    return static_cast<std::size_t>(rows) * kFewLanes;
}

double* lane(std::vector<double>& block, int row)
{
    return block.data() + std::ptrdiff_t{kFewLanes} * row;
}

const double* lane(const std::vector<double>& block, int row)
{
    return block.data() + std::ptrdiff_t{kFewLanes} * row;
}

double squaresOf(const SpanRows& rows)
{
    double sum = 0.0;
    for (const double x : rows.numbers()) sum += x * x;
    return sum;
}

}  // namespace

SmoothedSystem::SmoothedSystem(const FitRows& rows, const BandTriangle& R,
                               const std::vector<double>& rhs, const BandTriangle& penalty,
                               const SpanRows& constraints, const NumberBlock& constraintRhs,
                               BandOrder order)
    : rows_(rows), order_(std::move(order)), basis_(constraints, 0), width_(constraintRhs.width)
{
    joint_ = basis_.freePart(R);
    dataRows_ = joint_.rows();
    const SpanRows rough = basis_.freePart(penalty);
    dataSquares_ = squaresOf(joint_);
    roughSquares_ = squaresOf(rough);
    for (int i = 0; i < rough.rows(); ++i)
        joint_.appendTrimmed(rough.first(i), rough.values(i), rough.count(i));

    for (int first = 0; first < width_; first += kFewLanes) {
        const int count = std::min(kFewLanes, width_ - first);
        Lanes lanes;
        std::vector<double> asked(laneSize(basis_.constraints()), 0.0);
        for (int i = 0; i < basis_.constraints(); ++i)
            std::copy_n(&constraintRhs.high[constraintRhs.at(i, first)], count, lane(asked, i));
        basis_.solve<kFewLanes>(asked.data());
        lanes.fixed.assign(laneSize(R.size()), 0.0);
        basis_.combine<kFewLanes>(nullptr, asked.data(), lanes.fixed.data());
        lanes.data.assign(laneSize(R.size()), 0.0);
        for (int j = 0; j < R.size(); ++j)
            std::copy_n(&rhs[NumberBlock::size(j, width_) + static_cast<std::size_t>(first)], count,
                        lane(lanes.data, j));
        R.subtractProduct<kFewLanes>(lanes.fixed.data(), lanes.data.data());
        lanes.penalty.assign(laneSize(R.size()), 0.0);
        penalty.subtractProduct<kFewLanes>(lanes.fixed.data(), lanes.penalty.data());
        lanes_.push_back(std::move(lanes));
    }
}

SmoothedSystem::Figures SmoothedSystem::at(double factor) const
{
    const double root = std::sqrt(factor);
    SpanRows rows = joint_;
    for (int i = dataRows_; i < rows.rows(); ++i)
        for (int k = 0; k < rows.count(i); ++k) rows.values(i)[k] *= root;
    const RowCompression compression(rows);
    const BandTriangle& S = compression.triangle();

    Figures figures;
    const bool strong = dataSquares_ <= factor * roughSquares_;
    const auto look = [&](const auto& inverse) {
        const double whole = DoubleDouble(inverse.trace()).high;
        figures.condition = S.normBound() * std::sqrt(whole);
        figures.magnified = std::min(dataSquares_, factor * roughSquares_) * whole;
        const int first = strong ? 0 : dataRows_;
        const int end = strong ? dataRows_ : rows.rows();
        const double part = DoubleDouble(inverse.trace(rows, first, end)).high;
        figures.freedom = strong ? part : S.size() - part;
    };
    look(InverseBand<double>(S));
    if (!(figures.condition <= kWellConditioned)) look(InverseBand<DoubleDouble>(S));

    const int functions = order_.functions(static_cast<int>(lanes_[0].fixed.size()) / kFewLanes);
    NumberBlock x(functions, width_, false);
    std::vector<double> y(laneSize(S.size()));
    std::vector<double> full;
    for (int first = 0; first < width_; first += kFewLanes) {
        const Lanes& lanes = lanes_[static_cast<std::size_t>(first / kFewLanes)];
        compression.compress<kFewLanes>(
            [&](int i, double* to) {
                const bool ofData = i < dataRows_;
                const double* from =
                    ofData ? lane(lanes.data, i) : lane(lanes.penalty, i - dataRows_);
                for (int c = 0; c < kFewLanes; ++c) to[c] = ofData ? from[c] : root * from[c];
            },
            y.data());
        S.solve<kFewLanes>(y.data());
        full.assign(lanes.fixed.size(), 0.0);
        basis_.combine<kFewLanes>(y.data(), nullptr, full.data());
        for (int f = 0; f < functions; ++f)
            for (int c = 0; c < std::min(kFewLanes, width_ - first); ++c) {
                const auto at = static_cast<std::size_t>(c);
                const auto place = laneSize(order_.place(f)) + at;
                x.high[x.at(f, first + c)] = full[place] + lanes.fixed[place];
            }
    }
    figures.squares = rows_.residualSums(x).squares;
    return figures;
}

}  // namespace knotwork
