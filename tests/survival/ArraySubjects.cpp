// SPDX-License-Identifier: MIT
#include <cmath>
#include <sstream>

#include "knotwork/linalg/DoubleGenMatPick.h"
#include "knotwork/linalg/DoubleLowerTriMat.h"
#include "knotwork/linalg/DoubleSymMat.h"
#include "knotwork/linalg/DoubleVecPick.h"
#include "tests/support/Arrays.h"
#include "tests/survival/Sweep.h"

namespace survival {

namespace {

using knotwork_test::intVec;
using knotwork_test::randomMatrix;
using knotwork_test::vec;

/// The result of an array operation is right, or there is none.
template <class Array, class Operation>
void operate(Trial& trial, const Array& expected, Operation operation)
{
    Array result;
    trial.attempt([&] { result.reference(operation()); });
    trial.expect(result == Array() || result == expected);
}

void vectors(Trial& trial)
{
    const DoubleVec v = vec({1, 2, 3, 4});
    const DoubleVec odd = v.slice(1, 2, 2);
    const IntVec index = intVec({3, 0});
    operate(trial, vec({4, 8}), [&] { return odd + odd; });
    operate(trial, vec({4, 16}), [&] { return odd * odd; });
    operate(trial, vec({4, 1}), [&] { return DoubleVec(v.vecPick(index)); });
    operate(trial, vec({-4, -3, -2, -1}), [&] { return -reverse(v); });
    operate(trial, vec({1, 3, 6, 10}), [&] { return cumsum(v); });
    operate(trial, intVec({1}), [&] { return v.valueIndex(2.0, 0.0); });
    DoubleVec longer(v.copy());
    trial.attempt([&] { longer.resize(5); });
    trial.expect(longer.length() == 0 || longer == v || longer == vec({1, 2, 3, 4, 0}));
    DoubleVec target = vec({9, 1});
    trial.attempt([&] { target.slice(0, 2, 1) = reverse(target); });
    trial.expect(target == vec({9, 1}) || target == vec({1, 9}));
    DoubleVec shares(v);
    trial.attempt([&] { shares.deepenShallowCopy(); });
    trial.expect(shares == v);
}

void matrices(Trial& trial)
{
    const DoubleGenMat a = randomMatrix(3, 4, 1);
    const DoubleGenMat b = randomMatrix(4, 2, 2);
    const DoubleVec x = b.col(1);
    operate(trial, product(a, b), [&] { return product(a, b); });
    operate(trial, transpose(b), [&] { return transpose(b); });
    operate(trial, transProduct(a, a), [&] { return transProduct(a, a); });
    operate(trial, transposeProduct(b, b), [&] { return transposeProduct(b, b); });
    operate(trial, product(a, x), [&] { return product(a, x); });
    operate(trial, product(reverse(x), b), [&] { return product(reverse(x), b); });
    operate(trial, kronecker(a, b), [&] { return kronecker(a, b); });
    operate(trial, a + a, [&] { return a + a; });
    const DoubleGenMatPick pick = b.matPick(intVec({2, 0}), intVec({1}));
    operate(trial, DoubleGenMat(pick), [&] { return DoubleGenMat(pick); });
    DoubleGenMat wide(a.copy());
    trial.attempt([&] { wide.resize(5, 5); });
    trial.expect(wide.rows() == 0 ||
                 (wide(0, 3) == a(0, 3) && (wide.cols() == 4 || wide(4, 4) == 0)));
}

void packed(Trial& trial)
{
    const DoubleLowerTriMat lower(vec({1, 2, 3, 4, 5, 6}), 3, 3);
    const DoubleSymMat symmetric(vec({1, 2, 3, 4, 5, 6}), 3, 3);
    const DoubleVec x = vec({1, 2, 3});
    operate(trial, product(lower, x), [&] { return product(lower, x); });
    operate(trial, product(x, lower), [&] { return product(x, lower); });
    operate(trial, product(symmetric, x), [&] { return product(symmetric, x); });
    operate(trial, DoubleGenMat(lower), [&] { return DoubleGenMat(lower); });
    operate(trial, lower + lower, [&] { return lower + lower; });
}

void text(Trial& trial)
{
    std::istringstream numbers("[1 2 3]");
    std::istringstream table("2x2 [1 2 3 4]");
    DoubleVec v;
    DoubleGenMat m(1u, 1u, 7.0);
    trial.attempt([&] { numbers >> v; });
    trial.expect(v.length() <= 3);
    trial.attempt([&] { table >> m; });
    trial.expect(m.rows() < 2 || m(1, 0) == 3.0);
}

}  // namespace

const std::vector<Subject>& arraySubjects()
{
    static const std::vector<Subject> subjects = {
        {"vectors", vectors}, {"matrices", matrices}, {"packed matrices", packed}, {"text", text}};
    return subjects;
}

}  // namespace survival
