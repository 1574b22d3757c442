// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <string>

#include "measures/FitOracle.h"

/// The library's verdicts held against the oracle's.
namespace knotwork_measures {

constexpr double kWrong = 1e-6;         ///< what an answer is off, of the largest control point
constexpr double kGoodCondition = 1e8;  ///< below this nobody needs to refuse

struct Judgement {
    OracleAnswer oracle;
    bool answered = false;
    knotwork::FitVerdict verdict = knotwork::FitVerdict::kBadInput;
    std::string reason;
    Deviation deviation;  ///< where there are two answers
    std::vector<double> controlPoints;

    bool good() const { return oracle.determined && oracle.condition < kGoodCondition; }
    bool answeredUndetermined() const { return answered && !oracle.determined; }
    bool wrong() const { return compared() && !(deviation.overall <= kWrong); }
    bool wrongPerCoordinate() const { return compared() && !(deviation.perCoordinate <= kWrong); }
    bool refusedGood() const { return !answered && good(); }
    bool compared() const { return answered && oracle.determined; }
};

Judgement judged(const CurveProblem& problem);
Judgement judged(const SurfaceProblem& problem);

std::string nameOf(knotwork::FitVerdict verdict);  ///< of those that refuse; else "answered"

class VerdictTally {
  public:
    void add(const Judgement& judgement);

    int problems() const { return problems_; }
    int answeredUndetermined() const { return answeredUndetermined_; }
    int wrong() const { return wrong_; }
    double shareRefusedGood() const;  ///< of those that are good
    std::string line() const;

  private:
    int problems_ = 0;
    int determined_ = 0;
    int good_ = 0;
    int refused_ = 0;
    int answeredUndetermined_ = 0;
    int wrong_ = 0;
    int wrongPerCoordinate_ = 0;
    int refusedGood_ = 0;
    std::array<int, 16> refusedGoodBy_{};  // a verdict
    double worstGood_ = 0.0;
};

}  // namespace knotwork_measures
