// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <memory>
#include <vector>

#include "knotwork/factor/RowCompression.h"
#include "knotwork/solvers/detail/ConstraintBasis.h"
#include "knotwork/solvers/detail/RoadGuard.h"

namespace knotwork {

/// The two phases for sparse systems, in an order that keeps them sparse:
///   E = Q1 [R; 0]        row compression of the least-squares rows
///   C H = [0 T]          reflections of the constraints, each on its own columns only
///   R H = [F G]          F in the free columns
///   F = Q2 [S; 0]        a second row compression, without column pivoting
/// For a right-hand side [b; d]: c = Q1^T b; y2 = T^-1 d gives the particular solution
/// p = H [0; y2]; S y1 = Q2^T (c - R p); x = H [y1; y2].
class SparseRoad {
  public:
    /// Null where this road might not lead to where the literal one does: see RoadGuard.h.
    static std::unique_ptr<SparseRoad> find(const SpanRows& rows, int constraints,
                                            double negligible);

    int rows() const { return rows_; }
    int cols() const { return first_.cols(); }
    int constraints() const { return basis_.constraints(); }

    double leastAnswer() const { return leastAnswer_; }

    /// fetch(i, lanes) writes what the right-hand sides have in row i, x: cols() rows of lanes.
    template <int Lanes, class Fetch>
    void solve(Fetch fetch, double* x) const;

  private:
    SparseRoad(const SpanRows& rows, int constraints);
    RoadMeasures measures() const;

    int rows_;
    RowCompression first_;
    ConstraintBasis basis_;
    RowCompression second_;
    double leastAnswer_ = 0.0;
};

template <int Lanes, class Fetch>
void SparseRoad::solve(Fetch fetch, double* x) const
{
    const auto lanes = [](int count) { return static_cast<std::size_t>(count) * Lanes; };
    if (constraints() == 0) {
        first_.compress<Lanes>(fetch, x);
        first_.triangle().solve<Lanes>(x);
        return;
    }
    std::vector<double> c(lanes(cols()));
    std::vector<double> fixedPart(lanes(constraints()));
    std::vector<double> freePart(lanes(basis_.freeCols()));
    const auto row = [](double* block, int i) { return block + std::ptrdiff_t{Lanes} * i; };
    const auto placeFixed = [&] {
        for (int i = 0; i < constraints(); ++i)
            std::copy_n(row(fixedPart.data(), i), Lanes, row(x, basis_.pivot(i)));
    };

    first_.compress<Lanes>(fetch, c.data());
    for (int i = 0; i < constraints(); ++i)
        fetch(rows() - constraints() + i, row(fixedPart.data(), i));
    basis_.solve<Lanes>(fixedPart.data());
    std::fill_n(x, lanes(cols()), 0.0);
    placeFixed();
    basis_.restore<Lanes>(x);
    first_.triangle().subtractProduct<Lanes>(x, c.data());

    second_.compress<Lanes>([&](int i, double* to) { std::copy_n(row(c.data(), i), Lanes, to); },
                            freePart.data());
    second_.triangle().solve<Lanes>(freePart.data());
    for (int k = 0; k < basis_.freeCols(); ++k)
        std::copy_n(row(freePart.data(), k), Lanes, row(x, basis_.freeColumn(k)));
    placeFixed();
    basis_.restore<Lanes>(x);
}

}  // namespace knotwork
