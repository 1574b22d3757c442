// SPDX-License-Identifier: MIT
#include "measures/Verdicts.h"

#include <algorithm>
#include <sstream>

namespace knotwork_measures {

using knotwork::FitVerdict;

namespace {

DoubleVec vectorOf(const std::vector<double>& values)
{
    return DoubleVec(values.data(), static_cast<unsigned>(values.size()));
}

template <class Fit, class Problem>
Judgement compared(const Fit& fit, const Problem& problem)
{
    Judgement j;
    j.oracle = answerFor(problem);
    j.answered = fit.fits();
    j.verdict = fit.report.verdict;
    j.reason = fit.report.reason;
    j.controlPoints = fit.controlPoints;
    if (j.compared())
        j.deviation =
            deviationOf(j.controlPoints, j.oracle.controlPoints, problem.dimension, problem.points);
    return j;
}

}  // namespace

Judgement judged(const CurveProblem& p)
{
    const TtupleVector points(p.dimension, static_cast<int>(p.parameters.size()), p.points.data());
    knotwork::CurveFitOptions options;
    options.method = p.method;
    if (!p.weights.empty()) options.weights.reference(vectorOf(p.weights));
    return compared(
        knotwork::fitCurve(points, vectorOf(p.parameters), p.basis, p.constraints, options), p);
}

Judgement judged(const SurfaceProblem& p)
{
    const TtupleMatrix points(p.dimension, static_cast<int>(p.uParameters.size()),
                              static_cast<int>(p.vParameters.size()), vectorOf(p.points));
    knotwork::SurfaceFitOptions options;
    options.method = p.method;
    options.acrossU = p.acrossU;
    options.acrossV = p.acrossV;
    if (!p.uWeights.empty()) options.uWeights.reference(vectorOf(p.uWeights));
    if (!p.vWeights.empty()) options.vWeights.reference(vectorOf(p.vWeights));
    return compared(knotwork::fitSurface(points, vectorOf(p.uParameters), vectorOf(p.vParameters),
                                         p.u, p.v, options),
                    p);
}

std::string nameOf(FitVerdict verdict)
{
    switch (verdict) {
        case FitVerdict::kBadInput:
            return "bad input";
        case FitVerdict::kTooLarge:
            return "too large";
        case FitVerdict::kDependentConstraints:
            return "dependent constraints";
        case FitVerdict::kUndetermined:
            return "undetermined";
        case FitVerdict::kInaccurate:
            return "inaccurate";
        default:
            return "answered";
    }
}

void VerdictTally::add(const Judgement& j)
{
    ++problems_;
    determined_ += j.oracle.determined;
    good_ += j.good();
    refused_ += !j.answered;
    answeredUndetermined_ += j.answeredUndetermined();
    wrong_ += j.wrong();
    wrongPerCoordinate_ += j.wrongPerCoordinate();
    refusedGood_ += j.refusedGood();
    if (j.refusedGood()) ++refusedGoodBy_.at(static_cast<std::size_t>(j.verdict));
    if (j.answered && j.good()) worstGood_ = std::max(worstGood_, j.deviation.overall);
}

double VerdictTally::shareRefusedGood() const
{
    return good_ > 0 ? static_cast<double>(refusedGood_) / good_ : 0.0;
}

std::string VerdictTally::line() const
{
    std::ostringstream out;
    out << problems_ << " problems, " << determined_ << " determined, " << good_
        << " with condition below " << kGoodCondition << "; answered though not determined "
        << answeredUndetermined_ << "; off by more than " << kWrong << " " << wrong_
        << " (per coordinate " << wrongPerCoordinate_ << "); refused with condition below "
        << kGoodCondition << " " << refusedGood_ << " (" << 100.0 * shareRefusedGood() << " %";
    for (std::size_t v = 0; v < refusedGoodBy_.size(); ++v)
        if (refusedGoodBy_[v] > 0)
            out << ", " << nameOf(static_cast<FitVerdict>(v)) << " " << refusedGoodBy_[v];
    out << "); refused in all " << refused_ << "; worst error with condition below "
        << kGoodCondition << " " << worstGood_;
    return out.str();
}

}  // namespace knotwork_measures
