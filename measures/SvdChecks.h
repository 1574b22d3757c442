// SPDX-License-Identifier: MIT
#pragma once

#include <array>

#include "measures/MatrixChecks.h"
#include "measures/Worst.h"

namespace knotwork_measures {

/// error / norm, less what underflow costs: a subnormal number is rounded to a unit of its own,
/// once for every operation it goes through.
inline double relative(double error, const DoubleGenMat& a, double norm)
{
    const double unit = std::numeric_limits<double>::denorm_min() * a.rows() * a.cols() * 10;
    return error <= unit ? 0.0 : error / norm;
}

struct SvdRatios {
    Worst reconstruction{"A - U S V^T"};
    Worst left{"U^T U - I"};
    Worst right{"V^T V - I"};
    Worst values{"singular values, against `dgesvd`"};
    std::array<const Worst*, 4> all() const { return {&reconstruction, &left, &right, &values}; }

    void seeFactors(const DoubleGenMat& a, const DoubleGenMat& u, const DoubleVec& s,
                    const DoubleGenMat& v, unsigned seed)
    {
        const double unit = std::max(a.rows(), a.cols()) * kEps;
        left.see(orthogonalityError(u) / unit, seed);
        right.see(orthogonalityError(v) / unit, seed);
        // With all vectors on either side, those without a value meet zeros.
        DoubleGenMat us = u.copy();
        DoubleGenMat leading = v.copy();
        us.resize(us.rows(), s.length());
        leading.resize(leading.rows(), s.length());
        for (int k = 0; k < static_cast<int>(s.length()); ++k) us.col(k) *= s(k);
        const double error = frobeniusNorm(a - transProduct(us, leading));
        reconstruction.see(relative(error, a, frobeniusNorm(a)) / unit, seed);
    }
    void seeValues(const DoubleGenMat& a, const DoubleVec& s, const DoubleVec& peer, unsigned seed)
    {
        const double unit = std::max(a.rows(), a.cols()) * kEps;
        values.see(relative(maxValue(abs(s - peer)), a, s(0)) / unit, seed);
    }
};

}  // namespace knotwork_measures
