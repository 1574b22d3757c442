// SPDX-License-Identifier: MIT
#include "knotwork/fit/CurveSystem.h"

#include <utility>

#include "knotwork/sparse/RowStream.h"

namespace knotwork {

namespace {

/// A block whose numbers, row after row, are rows of another width.
NumberBlock rewidened(NumberBlock block, int width)
{
    block.width = width;
    return block;
}

int rowsOf(const NumberBlock& block)
{
    return static_cast<int>(block.high.size()) / block.width;
}

}  // namespace

BandOrder CurveSystem::order(const BandOrder& ofCurve) const
{
    return coupled ? ofCurve.interleaved(dimension) : ofCurve;
}

BandTriangle CurveSystem::triangle(const BandTriangle& ofCurve) const
{
    if (!coupled) return ofCurve;
    RowStream stream(ofCurve.size() * dimension, 0);
    std::vector<double> row;
    for (int j = 0; j < ofCurve.size(); ++j) {
        if (ofCurve.count(j) == 0) continue;
        row.assign(static_cast<std::size_t>((ofCurve.count(j) - 1) * dimension) + 1, 0.0);
        for (int i = 0; i < ofCurve.count(j); ++i)
            row[static_cast<std::size_t>(i * dimension)] = ofCurve.row(j)[i];
        for (int k = 0; k < dimension; ++k)
            stream.add(j * dimension + k, row.data(), static_cast<int>(row.size()), nullptr);
    }
    stream.finish();
    return stream.triangle();
}

std::vector<double> CurveSystem::rightSides(const std::vector<double>& ofCurve) const
{
    if (coupled || whole()) return ofCurve;
    std::vector<double> right;
    for (std::size_t at = 0; at < ofCurve.size(); at += static_cast<std::size_t>(dimension))
        for (const int k : coordinates) right.push_back(ofCurve[at + static_cast<std::size_t>(k)]);
    return right;
}

void CurveSystem::place(const NumberBlock& solution, NumberBlock& curve) const
{
    const NumberBlock found = coupled ? rewidened(solution, dimension) : solution;
    for (int j = 0; j < rowsOf(found); ++j)
        for (std::size_t c = 0; c < coordinates.size(); ++c)
            curve.set(j, coordinates[c], found.number(j, static_cast<int>(c)));
}

DoubleDouble CurveSystem::residual(int row, int c, const NumberBlock& curve) const
{
    const ConstraintRow& equation = rows[static_cast<std::size_t>(row)];
    if (coupled) return residualOf(equation, rhs.number(row, 0), rewidened(curve, 1), 0);
    return residualOf(equation, rhs.number(row, c), curve,
                      coordinates[static_cast<std::size_t>(c)]);
}

NumberBlock SystemRows::widened(const NumberBlock& x) const
{
    if (x.high.empty() || system_.whole()) return x;
    if (system_.coupled) return rewidened(x, system_.dimension);
    NumberBlock curve(rowsOf(x), system_.dimension, !x.low.empty());
    if (x.low.empty())
        for (int j = 0; j < rowsOf(x); ++j)
            for (std::size_t c = 0; c < system_.coordinates.size(); ++c)
                curve.high[curve.at(j, system_.coordinates[c])] =
                    x.high[x.at(j, static_cast<int>(c))];
    else
        system_.place(x, curve);
    return curve;
}

ResidualSums SystemRows::narrowed(ResidualSums sums) const
{
    if (system_.whole()) return sums;
    if (system_.coupled) {
        for (std::size_t k = 1; k < sums.squares.size(); ++k) sums.squares[0] += sums.squares[k];
        sums.squares.resize(1);
        sums.gradient.width = 1;
        return sums;
    }
    ResidualSums own(rowsOf(sums.gradient), static_cast<int>(system_.coordinates.size()));
    for (std::size_t c = 0; c < system_.coordinates.size(); ++c) {
        const int k = system_.coordinates[c];
        own.squares[c] = sums.squares[static_cast<std::size_t>(k)];
        for (int j = 0; j < rowsOf(sums.gradient); ++j)
            own.gradient.set(j, static_cast<int>(c), sums.gradient.number(j, k));
    }
    return own;
}

ResidualSums SystemRows::residualSums(const NumberBlock& x) const
{
    return narrowed(curve_.residualSums(widened(x)));
}

ResidualSums SystemRows::exactResidualSums(const NumberBlock& x) const
{
    return narrowed(curve_.exactResidualSums(widened(x)));
}

}  // namespace knotwork
