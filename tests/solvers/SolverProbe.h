// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "knotwork/solvers/Thouseholder.h"

namespace knotwork_test {

/// Keeps what a solver reports.
class ListeningReporter : public TsolverReporter {
  public:
    ListeningReporter() : TsolverReporter(false) {}
    using TsolverReporter::report;
    void report(const char* text) override { lines.emplace_back(text); }

    std::vector<std::string> lines;
};

/// The Householder solver with its inside on show.
class SolverProbe : public Thouseholder {
  public:
    using Thouseholder::Thouseholder;
    using TsolveConstrainedLsq::cutoffFrom;
    using TsolveConstrainedLsq::trySVD;

    DoubleGenMat working() const { return working_; }
    int constraints() const { return numConstraints_; }
    std::vector<int> usedRows() const
    {
        std::vector<int> rows;
        for (int i = 0; i < static_cast<int>(usedRowIndex_.length()); ++i)
            rows.push_back(usedRowIndex_(i));
        return rows;
    }
    void prepare(const DoubleGenMat& a, const IntVec& fixedCols, bool normalise, bool clean)
    {
        working_.reference(a.copy());
        preSetMatrix(fixedCols, 0.001, normalise, clean);
    }
};

}  // namespace knotwork_test
