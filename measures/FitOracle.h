// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "knotwork/fit/CurveFit.h"
#include "knotwork/fit/SurfaceFit.h"
#include "measures/QuadLeastSquares.h"

/// What fits should answer, worked out in quadruple precision. Of the library only the structs that
/// describe a problem are used.
namespace knotwork_measures {

struct CurveProblem {
    knotwork::BsplineBasis basis;
    int dimension = 1;
    std::vector<double> parameters;
    std::vector<double> points;   // point after point
    std::vector<double> weights;  // none: all are 1
    std::vector<knotwork::CurveConstraint> constraints;
    knotwork::FitMethod method = knotwork::FitMethod::kHouseholder;
};

struct SurfaceProblem {
    knotwork::BsplineBasis u;
    knotwork::BsplineBasis v;
    int dimension = 1;
    std::vector<double> uParameters;
    std::vector<double> vParameters;
    std::vector<double> points;    // rows of constant v, each with all samples in u
    std::vector<double> uWeights;  // none: all are 1
    std::vector<double> vWeights;
    std::vector<knotwork::LineConstraint> acrossU;
    std::vector<knotwork::LineConstraint> acrossV;
    knotwork::FitMethod method = knotwork::FitMethod::kHouseholder;
};

struct OracleAnswer {
    bool dependent = false;   ///< the constraints, where they are to hold exactly
    bool determined = false;  ///< there is one answer
    double margin = 0.0;      ///< smallest pivot, of the largest: how close to not determined
    /// The larger of that of the constraints' rows at length 1 and that of the data's weighted rows
    /// on the constraints' null space, these counting as large as they are off it; for surfaces the
    /// product of both directions'.
    double condition = 0.0;
    std::vector<double> controlPoints;  ///< as fits lay them out; empty unless determined
};

OracleAnswer answerFor(const CurveProblem& problem);
OracleAnswer answerFor(const SurfaceProblem& problem);

/// The degree + 1 functions that are not zero at t, or their derivatives of an order, by Cox and
/// de Boor's recursion. Returns the first one's number; of a closed curve's those that lie a period
/// apart are one.
int basisRow(const knotwork::BsplineBasis& basis, double t, int derivative, Quad* row);

/// The equations of one parameter direction, each a column: rows to be fitted, rows to be met.
struct Equations {
    QuadMatrix fitted;
    QuadMatrix met;
    std::vector<Quad> fittedScales;  ///< what right-hand sides have to be multiplied by
    std::vector<Quad> metScales;
    double metSize = 0.0;  ///< of what the rows to be met were summed from
};

struct Place {
    double parameter;
    int derivative;
};

Equations equationsOf(const knotwork::BsplineBasis& basis, const std::vector<double>& parameters,
                      const std::vector<double>& weights, const std::vector<Place>& constraints,
                      knotwork::FitMethod method);

struct Deviation {
    double overall = 0.0;        ///< of the largest number of all
    double perCoordinate = 0.0;  ///< each coordinate's of its own largest number, the worst
};
/// data: points that may have cancelled; numbers count as no smaller than a millionth of theirs.
Deviation deviationOf(const std::vector<double>& found, const std::vector<double>& expected,
                      int dimension, const std::vector<double>& data = {});

}  // namespace knotwork_measures
