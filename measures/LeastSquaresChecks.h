// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cmath>

#include "knotwork/factor/DoubleLeastSqCh.h"
#include "knotwork/factor/DoubleLeastSqInc.h"
#include "knotwork/factor/DoubleLeastSqQR.h"
#include "knotwork/factor/DoubleSVDecomp.h"
#include "measures/CholeskyChecks.h"

namespace knotwork_measures {

inline DoubleVec randomVector(unsigned n, Dice& dice)
{
    return randomRows(n, 1, dice).col(0);
}

/// Two right-hand sides: y, and one that ones for unknowns fit but for rounding.
inline DoubleVec valuesFor(const DoubleVec& row, double y)
{
    DoubleVec values(2, y);
    values(1) = sum(row);
    return values;
}

/// A fit of every row of x.
inline DoubleLeastSqInc fitOf(const DoubleGenMat& x, const DoubleVec& y)
{
    DoubleLeastSqInc fit(x.cols(), 2);
    for (int i = 0; i < static_cast<int>(x.rows()); ++i) {
        DoubleVec row = x.row(i);
        fit.addEquation(row, valuesFor(row, y(i)));
    }
    return fit;
}

/// |X^T (y - X b)|, 0 for the exact solution, in units of what rounding may do to it.
inline double normalResidual(const DoubleGenMat& x, const DoubleVec& y, const DoubleVec& b)
{
    const DoubleVec gradient = product(product(x, b) + -y, x);
    const double size = frobeniusNorm(x) * (frobeniusNorm(x) * b.vecLen() + y.vecLen());
    return ratioOf(gradient.vecLen(), size * std::max(x.rows(), x.cols()) * kEps);
}

/// More equations than unknowns, of any size.
struct TallSystem {
    explicit TallSystem(unsigned trial) : dice(trial)
    {
        const unsigned p = 1 + dice.below(1 + dice.below(60));
        const unsigned n = p + 1 + dice.below(p + 1);
        const double scale = std::pow(10.0, 140 * (static_cast<int>(trial % 3) - 1));
        x.reference(randomRows(n, p, dice) * scale);
        y.reference(randomVector(n, dice));
    }
    Dice dice;
    DoubleGenMat x;
    DoubleVec y;
};

struct LeastSquaresRatios {
    Worst qr{"`DoubleLeastSqQR`: X^T (y - X b)"};
    Worst batch{"`DoubleLeastSqCh`: X^T (y - X b)"};
    Worst oneByOne{"`DoubleLeastSqInc`: X^T (y - X b)"};
    Worst norm{"`DoubleLeastSqInc`: residual norm"};
    Worst difference{"`DoubleLeastSqInc` - `DoubleLeastSqCh`, over cond(X)^2"};
    Worst withdrawn{"`DoubleLeastSqInc`, one more withdrawn: X^T (y - X b)", 1e3};
    std::array<const Worst*, 6> all() const
    {
        return {&qr, &batch, &oneByOne, &norm, &difference, &withdrawn};
    }

    /// False when the fit is not determined, or an equation could not be withdrawn.
    bool see(const TallSystem& e, unsigned trial)
    {
        qr.see(normalResidual(e.x, e.y, DoubleLeastSqQR(e.x).solve(e.y)), trial);
        const DoubleLeastSqCh atOnce(e.x);
        if (atOnce.numFreeCols() != 0) return true;  // too close to dependent for X^T X
        const DoubleVec b = atOnce.solve(e.y);
        batch.see(normalResidual(e.x, e.y, b), trial);

        DoubleLeastSqInc fit(fitOf(e.x, e.y));
        if (fit.good() == 0) return false;
        const DoubleVec c = fit.solve(0);
        oneByOne.see(normalResidual(e.x, e.y, c), trial);
        const double rest = (product(e.x, c) + -e.y).vecLen();
        const double size = (e.y.vecLen() + frobeniusNorm(e.x) * c.vecLen()) * e.x.rows() * kEps;
        norm.see(std::fabs(rest - fit.residualNorm(0)) / size, trial);
        if (trial % 8 == 0) {  // the condition takes as long as all the rest
            DoubleSVDecomp values;
            values.computeLeftVecs(0);
            values.computeRightVecs(0);
            values.factor(e.x);
            const DoubleVec s = values.singularValues();
            const double condition = std::pow(s(0) / minValue(s), 2.0);
            difference.see((b + -c).vecLen() * frobeniusNorm(e.x) / (size * condition), trial);
        }

        // One more, which one right-hand side does not fit at all and the other fits exactly.
        DoubleVec row = e.x.row(0).copy() + e.x.row(static_cast<int>(e.x.cols())) * 0.5;
        fit.addEquation(row, valuesFor(row, 3.0));
        if (fit.deleteEquation(row, valuesFor(row, 3.0)) != 0) return false;
        withdrawn.see(normalResidual(e.x, e.y, fit.solve(0)), trial);
        return true;
    }
};

}  // namespace knotwork_measures
