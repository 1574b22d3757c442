// SPDX-License-Identifier: MIT
#include <cmath>

#include "knotwork/factor/DoubleGenFact.h"
#include "knotwork/factor/DoubleLeastSqCh.h"
#include "knotwork/factor/DoubleLeastSqInc.h"
#include "knotwork/factor/DoubleLeastSqQR.h"
#include "knotwork/factor/DoubleSVDecomp.h"
#include "tests/support/Arrays.h"
#include "tests/survival/Sweep.h"

namespace survival {

namespace {

using knotwork_test::randomMatrix;

constexpr double kRounding = 1e-8;  // of systems of a few unknowns in numbers about 1

bool small(const DoubleVec& v)
{
    return v.vecLen() <= kRounding;
}

DoubleGenMat regular(unsigned n)
{
    DoubleGenMat a = randomMatrix(n, n, n);
    a.diagonal(0) += DoubleVec(n, 4.0);
    return a;
}

DoubleGenMat definite(unsigned n)
{
    const DoubleGenMat a = regular(n);
    return transposeProduct(a, a);
}

/// What is made, or nothing where there is no memory.
template <class Make>
auto attempted(Trial& trial, Make make)
{
    decltype(make()) result;
    trial.attempt([&] { result.reference(make()); });
    return result;
}

/// Nothing, or what solves it.
bool solves(const DoubleGenMat& a, const DoubleVec& x, const DoubleVec& b)
{
    return x.length() == 0 || small(product(a, x) - b);
}

void lu(Trial& trial)
{
    const DoubleGenMat a = regular(5);
    const DoubleVec b(5, 1.0, 1.0);
    for (const int estimate : {0, 1}) {
        DoubleGenFact f(regular(3), 1);
        const DoubleGenFact copy(f);
        trial.attempt([&] { f.factor(a, estimate); });
        trial.expect(f.fail() != 0 ? f.determinant() == 0.0 : solves(a, f.solve(b), b));
        trial.expect(copy.good() != 0);
    }
    const DoubleGenFact f(a, 1);
    trial.expect(solves(a, attempted(trial, [&] { return f.solve(b); }), b));
    const DoubleGenMat inverse = attempted(trial, [&] { return f.inverse(); });
    double determinant = 0.0;
    trial.attempt([&] { determinant = f.determinant(); });
    trial.expect(inverse.rows() == 0 || solves(a, product(inverse, b), b));
    trial.expect(!(determinant != 0.0) || determinant == f.determinant() ||
                 std::isnan(determinant));
}

void qr(Trial& trial)
{
    const DoubleGenMat a = randomMatrix(6, 4, 3);
    const DoubleVec exact(4, 1.0, 1.0);
    const DoubleVec y = product(a, exact);
    DoubleLeastSqQR d(randomMatrix(3, 3, 4));
    trial.attempt([&] { d.factor(a); });
    trial.expect(d.numEquations() == 0 || small(d.solve(y) - exact));
    const DoubleLeastSqQR whole(a);
    DoubleLeastSqQR wide(transpose(a));
    const DoubleVec x = attempted(trial, [&] { return whole.solve(y); });
    const DoubleVec residual = attempted(trial, [&] { return whole.residual(y); });
    const DoubleVec basic = attempted(trial, [&] { return wide.solve(exact); });
    trial.expect(x.length() == 0 || small(x - exact));
    trial.expect(residual.length() == 0 || small(residual));
    trial.expect(solves(transpose(a), basic, exact));
}

void cholesky(Trial& trial)
{
    const DoubleGenMat a = definite(5);
    const DoubleVec b(5, 1.0, 1.0);
    DoubleChDecomp d(definite(3));
    trial.attempt([&] { d.setPivoting(4, DoubleChDecomp::FINAL); });
    trial.attempt([&] { d.factor(a); });
    trial.expect(d.fail() != 0 ? d.isPD() == 0 : solves(a, d.solve(b), b));

    DoubleChDecomp changed(a);
    const DoubleVec row(5, 0.5);
    DoubleGenMat Z(5u, 2u, 1.0);
    DoubleVec y(2, 1.0);
    DoubleVec rho(2, 9.0);
    DoubleVec c(2, 7.0);
    int code = 0;
    trial.attempt([&] { changed.update(row, &Z, &y, &rho); });
    const bool updated = !(Z == DoubleGenMat(5u, 2u, 1.0));
    trial.attempt([&] { code = changed.downdate(row, &Z, &y, &rho); });
    trial.expect(!updated || code != 0 || std::fabs(Z(0, 0) - 1.0) <= kRounding ||
                 !(std::fabs(rho(0) - 9.0) <= kRounding));
    trial.attempt([&] { changed.shift(1, 3, 1, &Z, &c); });
    const DoubleChDecomp whole(a);
    trial.expect(solves(a, attempted(trial, [&] { return whole.solve(b); }), b));
}

void normalEquations(Trial& trial)
{
    const DoubleGenMat a = randomMatrix(6, 3, 5);
    const DoubleVec exact(3, 1.0, 1.0);
    const DoubleVec y = product(a, exact);
    DoubleLeastSqCh d(randomMatrix(4, 2, 6));
    trial.attempt([&] { d.factor(a); });
    trial.expect(d.fail() != 0 || small(d.solve(y) - exact));
    DoubleGenMat twice(a.copy());
    twice.col(2) = 0.0;  // a free column
    const DoubleLeastSqCh dependent(twice);
    const DoubleVec residual =
        attempted(trial, [&] { return dependent.residual(product(twice, exact)); });
    trial.expect(residual.length() == 0 || small(residual));
}

void incremental(Trial& trial)
{
    DoubleVec axes[] = {DoubleVec(2, 1.0), DoubleVec(2, 1.0, 1.0)};
    trial.attempt([&] {
        DoubleLeastSqInc fit(2, 1);
        trial.expect(fit.fail() != 0);
    });
    DoubleLeastSqInc fit(2, 1);
    for (DoubleVec& x : axes) trial.attempt([&] { fit.addEquation(x, sum(x)); });
    DoubleVec found;
    if (fit.good() != 0) trial.attempt([&] { found.reference(fit.solve(0)); });
    trial.expect(found.length() == 0 || small(found - DoubleVec(2, 1.0)));
    DoubleVec copied;
    trial.attempt(
        [&] { copied.reference(fit.copy().good() != 0 ? DoubleVec(1, 1.0) : DoubleVec()); });
}

void singularValues(Trial& trial)
{
    const DoubleGenMat a = randomMatrix(5, 3, 7);
    const double largest = DoubleSVDecomp(a).singularValues()(0);
    for (const int left : {0, 1}) {
        DoubleSVDecomp d(randomMatrix(2, 2, 8));
        const DoubleSVDecomp copy(d);
        d.computeLeftVecs(left);
        trial.attempt([&] { d.factor(a); });
        trial.expect(d.fail() != 0 || (d.singularValues().length() == 3 &&
                                       std::fabs(d.singularValues()(0) - largest) <= kRounding));
        trial.expect(copy.good() != 0);
    }
}

}  // namespace

const std::vector<Subject>& factorSubjects()
{
    static const std::vector<Subject> subjects = {
        {"LU", lu},
        {"QR", qr},
        {"Cholesky", cholesky},
        {"normal equations", normalEquations},
        {"incremental least squares", incremental},
        {"singular values", singularValues},
    };
    return subjects;
}

}  // namespace survival
