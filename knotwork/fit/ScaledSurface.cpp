// SPDX-License-Identifier: MIT
#include "knotwork/fit/ScaledSurface.h"

#include <algorithm>
#include <cmath>

namespace knotwork {

namespace {

constexpr double kSameValue = 1e-10;  // largest difference of two lines' values where they cross

/// The sample that lies at a parameter, or -1.
int sampleAt(const DoubleVec& parameters, double t)
{
    for (int i = 0, n = static_cast<int>(parameters.length()); i < n; ++i)
        if (parameters(i) == t) return i;
    return -1;
}

double valueOn(const LineConstraint& line, int sample, int dimension, int k)
{
    return line.values[static_cast<std::size_t>(sample * dimension + k)];
}

template <class Numbers>
void multiplyByPowers(Numbers& numbers, const std::vector<int>& exponents, int sign)
{
    for (int k = 0; k < numbers.size(); ++k) {
        DoubleVec coordinate(numbers.component(k).dataVec());
        for (int i = 0, n = static_cast<int>(coordinate.length()); i < n; ++i)
            coordinate(i) =
                std::ldexp(coordinate(i), sign * exponents[static_cast<std::size_t>(k)]);
    }
}

}  // namespace

DirectionSolvers::DirectionSolvers(FitMethod method, TsolverReporter* reporter)
    : quiet_(true),
      u_(makeSolver(method, reporter != nullptr ? *reporter : quiet_, kFitTolerance)),
      v_(makeSolver(method, reporter != nullptr ? *reporter : quiet_, kFitTolerance)),
      tensor_(*u_, *v_)
{
}

int DirectionSolvers::setU(const ScaledSurface& problem)
{
    return u_->setMatrix(problem.inU().rows().dense(), problem.inU().constraints(), false, false,
                         false);
}

int DirectionSolvers::setV(const ScaledSurface& problem)
{
    return v_->setMatrix(problem.inV().rows().dense(), problem.inV().constraints(), false, false,
                         false);
}

ScaledSurface::ScaledSurface(const SurfaceData& data, const std::vector<LineConstraint>& acrossU,
                             const std::vector<LineConstraint>& acrossV)
    : u_(data.u),
      v_(data.v),
      rhs_(data.points.size(), data.points.rows() + static_cast<int>(acrossU.size()),
           data.points.cols() + static_cast<int>(acrossV.size()), 0.0)
{
    for (int i = 0; i < data.points.rows(); ++i) u_.addData(data.uParameters(i));
    for (int j = 0; j < data.points.cols(); ++j) v_.addData(data.vParameters(j));
    for (int j = 0; j < data.points.cols(); ++j)
        for (int i = 0; i < data.points.rows(); ++i) rhs_.point(i, j) = data.points.point(i, j);
    fillLines(data, acrossU, acrossV);
    scaleCoordinates();
}

void ScaledSurface::fillLines(const SurfaceData& data, const std::vector<LineConstraint>& acrossU,
                              const std::vector<LineConstraint>& acrossV)
{
    const int d = data.points.size();
    std::vector<int> rowExponents;
    int row = data.points.rows();
    for (const LineConstraint& line : acrossU) {
        rowExponents.push_back(u_.addConstraint(line.parameter, line.derivative));
        for (int j = 0; j < data.points.cols(); ++j)
            for (int k = 0; k < d; ++k)
                rhs_.point(row, j)(k) = std::ldexp(valueOn(line, j, d, k), rowExponents.back());
        ++row;
    }
    int column = data.points.cols();
    for (const LineConstraint& line : acrossV) {
        const int exponent = v_.addConstraint(line.parameter, line.derivative);
        for (int i = 0; i < data.points.rows(); ++i)
            for (int k = 0; k < d; ++k)
                rhs_.point(i, column)(k) = std::ldexp(valueOn(line, i, d, k), exponent);
        for (std::size_t a = 0; a < acrossU.size(); ++a)
            fillCrossing(data, acrossU[a], data.points.rows() + static_cast<int>(a), line, column,
                         rowExponents[a] + exponent);
        ++column;
    }
}

void ScaledSurface::fillCrossing(const SurfaceData& data, const LineConstraint& lineU, int row,
                                 const LineConstraint& lineV, int column, int exponent)
{
    const int d = data.points.size();
    const int sampleV = lineV.derivative == 0 ? sampleAt(data.vParameters, lineV.parameter) : -1;
    const int sampleU = lineU.derivative == 0 ? sampleAt(data.uParameters, lineU.parameter) : -1;
    if (sampleV < 0 && sampleU < 0 && (lineU.derivative == 0 || lineV.derivative == 0)) {
        fault_ = "lines of constraints cross where neither has a sample";
        return;
    }
    for (int k = 0; k < d; ++k) {
        const double ofU = sampleV >= 0 ? valueOn(lineU, sampleV, d, k) : 0.0;
        const double ofV = sampleU >= 0 ? valueOn(lineV, sampleU, d, k) : 0.0;
        const double value = sampleV >= 0 ? ofU : ofV;  // of two derivatives the mixed one is 0
        if (sampleU >= 0 && sampleV >= 0 &&
            std::fabs(ofU - ofV) > kSameValue * std::max(std::fabs(ofU), std::fabs(ofV)))
            fault_ = "lines of constraints contradict each other where they cross";
        rhs_.point(row, column)(k) = std::ldexp(value, exponent);
    }
}

void ScaledSurface::scaleCoordinates()
{
    for (int k = 0; k < rhs_.size(); ++k)
        coordinateExponents_.push_back(exponentOf(maxValue(abs(rhs_.component(k)).dataVec())));
    multiplyByPowers(rhs_, coordinateExponents_, -1);
}

TtupleMatrix ScaledSurface::residuals(const TtupleMatrix& x) const
{
    const DoubleGenMat Au(u_.rows().dense());
    const DoubleGenMat Av(v_.rows().dense());
    TtupleMatrix unknowns(x);
    TtupleMatrix left(rhs_.copy());
    for (int k = 0; k < left.size(); ++k)
        left.component(k) -= transProduct(product(Au, unknowns.component(k)), Av);
    return left;
}

TtupleMatrix ScaledSurface::scaled(const TtupleMatrix& controlPoints) const
{
    TtupleMatrix x(controlPoints.copy());
    multiplyByPowers(x, coordinateExponents_, -1);
    return x;
}

std::vector<double> ScaledSurface::controlPoints(const TtupleMatrix& x) const
{
    TtupleMatrix points(x.copy());
    multiplyByPowers(points, coordinateExponents_, 1);
    const double* numbers = points.data().data();
    return std::vector<double>(numbers, numbers + points.data().length());
}

void ScaledSurface::note(LineDeviations& worst, double deviation, int k) const
{
    const double size = std::isnan(deviation) ? HUGE_VAL : std::fabs(deviation);
    worst.scaled = std::max(worst.scaled, size);
    worst.inUnits = std::max(worst.inUnits,
                             std::ldexp(size, coordinateExponents_[static_cast<std::size_t>(k)]));
}

LineDeviations ScaledSurface::lineDeviations(const TtupleMatrix& x, DirectionSolvers& solvers) const
{
    LineDeviations worst;
    TtupleMatrix unknowns(x);
    TtupleMatrix right(rhs_);
    const double* numbers = unknowns.data().data();
    const int d = x.size();
    const TbaseSolver& alongV = solvers.v();
    const TbaseSolver& alongU = solvers.u();
    for (int row = u_.dataRows(); row < u_.rows().count(); ++row) {
        TtupleVector line(alongV.solve(right.rowVector(row)));
        for (int j = 0; j < x.cols(); ++j)
            for (int k = 0; k < d; ++k) {
                const double* first = numbers + std::ptrdiff_t{x.rows()} * j * d + k;
                note(worst, static_cast<double>(u_.rows().times(row, first, d)) - line.point(j)(k),
                     k);
            }
    }
    for (int column = v_.dataRows(); column < v_.rows().count(); ++column) {
        TtupleVector line(alongU.solve(right.columnVector(column)));
        for (int i = 0; i < x.rows(); ++i)
            for (int k = 0; k < d; ++k) {
                const double* first = numbers + std::ptrdiff_t{i} * d + k;
                note(worst,
                     static_cast<double>(v_.rows().times(column, first, x.rows() * d)) -
                         line.point(i)(k),
                     k);
            }
    }
    return worst;
}

}  // namespace knotwork
