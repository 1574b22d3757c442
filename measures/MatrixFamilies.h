// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cmath>
#include <functional>
#include <ostream>

#include "measures/MatrixChecks.h"

namespace knotwork_measures {

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

inline Shape squareShape(std::mt19937& generator)
{
    const unsigned n = randomSize(generator);
    return {n, n};
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

/// All columns nearly the same: after one step nothing of their norms is left.
inline DoubleGenMat nearlyParallel(unsigned n, unsigned p, std::mt19937& generator)
{
    const DoubleVec common = randomMatrix(n, 1, generator).col(0);
    DoubleGenMat a = 1e-9 * randomMatrix(n, p, generator);
    for (int j = 0; j < static_cast<int>(p); ++j) a.col(j) += common;
    return a;
}

inline DoubleGenMat bidiagonalWithZeros(unsigned n, unsigned p, std::mt19937& generator)
{
    DoubleGenMat a(n, p, 0.0);
    for (const int which : {0, 1}) {
        DoubleVec diagonal = a.diagonal(which);
        for (int k = 0; k < static_cast<int>(diagonal.length()); ++k)
            diagonal(k) = static_cast<double>(generator() % 3);
    }
    return a;
}

/// For routines that any scaling suits.
inline const Family kScaleFreeFamilies[] = {
    {"Dense", randomMatrix},
    {"RankDeficient", rankDeficient},
    {"Graded", graded},
    {"NearlyParallel", nearlyParallel},
    {"Small",
     [](unsigned n, unsigned p, std::mt19937& g) { return 1e-140 * randomMatrix(n, p, g); }},
    {"Large",
     [](unsigned n, unsigned p, std::mt19937& g) { return 1e140 * randomMatrix(n, p, g); }},
    {"SmallRankDeficient",
     [](unsigned n, unsigned p, std::mt19937& g) { return 1e-140 * rankDeficient(n, p, g); }},
    {"LargeGraded",
     [](unsigned n, unsigned p, std::mt19937& g) { return 1e140 * graded(n, p, g); }},
    {"NearUnderflow",
     [](unsigned n, unsigned p, std::mt19937& g) { return 1e-290 * randomMatrix(n, p, g); }},
    {"FewSmallIntegers", fewSmallIntegers},
    {"EqualValues", equalValues},
};

/// For those that have to work up to the ends of the range.
inline const Family kExtremeFamilies[] = {
    {"NearOverflow",
     [](unsigned n, unsigned p, std::mt19937& g) { return 1e300 * rankDeficient(n, p, g); }},
    {"DeepUnderflow",
     [](unsigned n, unsigned p, std::mt19937& g) { return 1e-304 * rankDeficient(n, p, g); }},
    {"Subnormal",
     [](unsigned n, unsigned p, std::mt19937& g) { return 1e-318 * randomMatrix(n, p, g); }},
    {"SubnormalBlock",
     [](unsigned n, unsigned p, std::mt19937& g) {
         DoubleGenMat a = 1e-318 * randomMatrix(n, p, g);
         if (n > 0 && p > 0) a(0, 0) = 1.0;
         return a;
     }},
    {"BidiagonalWithZeros", bidiagonalWithZeros},
    {"NegativeZero",
     [](unsigned n, unsigned p, std::mt19937&) { return DoubleGenMat(n, p, -0.0); }},
};

constexpr unsigned kMatrices = 2100;  // of each family

/// The matrix that a seed stands for, and the generator for what else is needed with it. Every
/// 500th is larger than the blocks that kernels work in.
struct Sample {
    Sample(const Family& family, unsigned seed, Shape (*shape)(std::mt19937&) = randomShape)
        : generator(seed)
    {
        const unsigned more = seed % 500 == 0 ? 65 : 0;
        const Shape s = shape(generator);
        a.reference(family.make(s.n + more, s.p + more, generator));
    }
    std::mt19937 generator;
    DoubleGenMat a;
};

}  // namespace knotwork_measures
