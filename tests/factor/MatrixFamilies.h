// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cmath>
#include <functional>
#include <ostream>

#include "tests/factor/MatrixChecks.h"

namespace checks {

/// A member of one family of matrices: n x p, from a generator that is already seeded.
struct Family {
    const char* name;
    std::function<DoubleGenMat(unsigned n, unsigned p, std::mt19937&)> make;
    friend void PrintTo(const Family& family, std::ostream* os) { *os << family.name; }
};

struct Shape {
    unsigned n, p;
};

/// 0 to 60, small ones more often: their cost is less and their corners are more.
inline unsigned randomSize(std::mt19937& generator)
{
    return static_cast<unsigned>(generator() % (1 + generator() % 61));
}

/// Square, tall and wide by turns, now and then a single row or column.
inline Shape randomShape(std::mt19937& generator)
{
    const unsigned n = randomSize(generator);
    switch (generator() % 8) {
        case 0:
            return {1, n};
        case 1:
            return {n, 1};
        case 2:
        case 3:
            return {n, n};
        default:
            return {n, randomSize(generator)};
    }
}

inline DoubleGenMat rankDeficient(unsigned n, unsigned p, std::mt19937& generator)
{
    const unsigned rank = std::uniform_int_distribution<unsigned>(0, std::min(n, p))(generator);
    return product(randomMatrix(n, rank, generator), randomMatrix(rank, p, generator));
}

/// Rows and columns rise or fall by 20 orders of magnitude each.
inline DoubleGenMat graded(unsigned n, unsigned p, std::mt19937& generator)
{
    const double rowStep = (generator() % 2 == 0 ? 20.0 : -20.0) / std::max(n, 1u);
    const double colStep = (generator() % 2 == 0 ? 20.0 : -20.0) / std::max(p, 1u);
    DoubleGenMat a = randomMatrix(n, p, generator);
    for (int j = 0; j < static_cast<int>(p); ++j)
        for (int i = 0; i < static_cast<int>(n); ++i)
            a(i, j) *= std::pow(10.0, i * rowStep + j * colStep);
    return a;
}

inline DoubleGenMat fewSmallIntegers(unsigned n, unsigned p, std::mt19937& generator)
{
    std::discrete_distribution<int> value({1, 6, 1, 1});  // -1, 0, 1, 2: mostly zeros, many ties
    DoubleGenMat a(n, p);
    for (unsigned k = 0; k < n * p; ++k) a.data()[k] = value(generator) - 1.0;
    return a;
}

inline DoubleGenMat equalValues(unsigned n, unsigned p, std::mt19937& generator)
{
    DoubleGenMat q = randomOrthogonal(std::max(n, p), generator);
    q.resize(n, p);
    return q;
}

/// For routines that any scaling suits.
inline const Family kScaleFreeFamilies[] = {
    {"Dense", randomMatrix},
    {"RankDeficient", rankDeficient},
    {"Graded", graded},
    {"Small",
     [](unsigned n, unsigned p, std::mt19937& g) { return 1e-140 * randomMatrix(n, p, g); }},
    {"Large",
     [](unsigned n, unsigned p, std::mt19937& g) { return 1e140 * randomMatrix(n, p, g); }},
    {"FewSmallIntegers", fewSmallIntegers},
    {"EqualValues", equalValues},
};

}  // namespace checks
