// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "bench/Answers.h"
#include "knotwork/fit/BsplineBasis.h"
#include "knotwork/linalg/DoubleGenMat.h"

namespace knotwork_bench {

constexpr int kRightHandSides = 3;  // the coordinates of a curve in space

/// Sample rows above, constraint rows below, and right-hand sides with one entry a row.
struct System {
    System(int sampleRows, int unknowns, int constraintRows)
        : samples(sampleRows),
          constraints(constraintRows),
          matrix(static_cast<unsigned>(sampleRows + constraintRows),
                 static_cast<unsigned>(unknowns), 0.0)
    {
    }
    int unknowns() const { return static_cast<int>(matrix.cols()); }
    void drawRhs(Numbers& numbers)
    {
        for (DoubleVec& b : rhs) {
            b.reference(DoubleVec(matrix.rows()));
            for (int i = 0; i < samples + constraints; ++i) b(i) = numbers.next();
        }
    }

    int samples;
    int constraints;
    DoubleGenMat matrix;
    DoubleVec rhs[kRightHandSides];
    std::vector<double> expected[kRightHandSides];  // the peer's solutions; empty without one
};

/// Cubic B-splines over equal spans of [0, 1]: sorted samples in the middles of equal steps,
/// constraints on values at equal distances, both ends among them.
inline System splineSystem(int samples, int unknowns, int constraints)
{
    constexpr int kDegree = 3;
    const auto basis = knotwork::BsplineBasis::uniform(kDegree, 0.0, 1.0, unknowns - kDegree);
    System system(samples, unknowns, constraints);
    const auto setRow = [&](int i, double t) {
        double entries[kDegree + 1];
        const int first = basis.row(t, 0, entries);
        for (int k = 0; k <= kDegree; ++k) system.matrix(i, first + k) = entries[k];
    };
    for (int i = 0; i < samples; ++i) setRow(i, (i + 0.5) / samples);
    for (int i = 0; i < constraints; ++i)
        setRow(samples + i, static_cast<double>(i) / (constraints - 1));
    Numbers numbers;
    system.drawRhs(numbers);
    return system;
}

inline System denseSystem(int samples, int unknowns, int constraints)
{
    System system(samples, unknowns, constraints);
    Numbers numbers;
    for (int j = 0; j < unknowns; ++j)
        for (int i = 0; i < samples + constraints; ++i) system.matrix(i, j) = numbers.next();
    system.drawRhs(numbers);
    return system;
}

}  // namespace knotwork_bench
