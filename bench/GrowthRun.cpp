// SPDX-License-Identifier: MIT
// One curve fit: `knotwork_growth SAMPLES UNKNOWNS CONSTRAINTS` prints the seconds that the fastest
// of some fits took and the largest memory of the process in KiB. bench/growth.py calls it and
// draws.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "knotwork/fit/CurveFit.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kDimension = 2;
constexpr double kLeastSeconds = 0.3;  // to be spent on fits, of which there are three at least
constexpr int kLeastFits = 3;

struct Problem {
    TtupleVector points;
    DoubleVec parameters;
    knotwork::BsplineBasis basis;
    std::vector<knotwork::CurveConstraint> constraints;
};

Problem makeProblem(int samples, int unknowns, int constraints)
{
    Problem problem{TtupleVector(kDimension, samples, 0.0),
                    DoubleVec(static_cast<unsigned>(samples), 0.0, 1.0 / (samples - 1)),
                    knotwork::BsplineBasis::uniform(3, 0.0, 1.0, unknowns - 3),
                    {}};
    problem.parameters(samples - 1) = 1.0;
    double* point = problem.points.data().data();
    for (int i = 0; i < samples; ++i)
        for (int k = 0; k < kDimension; ++k) *point++ = std::sin((40 + k) * problem.parameters(i));
    for (int c = 0; c < constraints; ++c)
        problem.constraints.push_back(
            {(c + 0.5) / constraints, 0, std::vector<double>(kDimension, 0.1 * c)});
    return problem;
}

/// Seconds, or a negative number for a fit that does not stand.
double timeFit(const Problem& problem)
{
    const Clock::time_point start = Clock::now();
    const knotwork::FittedCurve curve =
        knotwork::fitCurve(problem.points, problem.parameters, problem.basis, problem.constraints);
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    return curve.fits() ? seconds : -1.0;
}

/// Of this program alone, in KiB; what getrusage tells begins before it was loaded.
long peakMemory()
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.compare(0, 6, "VmHWM:") == 0) return std::atol(line.c_str() + 6);
    return 0;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 4) return 2;
    const Problem problem = makeProblem(std::atoi(argv[1]), std::atoi(argv[2]), std::atoi(argv[3]));
    double best = 0.0;
    double spent = 0.0;
    for (int fits = 0; fits < kLeastFits || spent < kLeastSeconds; ++fits) {
        const double seconds = timeFit(problem);
        if (seconds < 0.0) return 1;
        best = fits == 0 ? seconds : std::min(best, seconds);
        spent += seconds;
    }
    std::printf("%.9g %ld\n", best, peakMemory());
    return 0;
}
