// SPDX-License-Identifier: MIT
// One fit of a size. Prints the processor seconds that the fastest of some fits took, the largest
// memory of the process in KiB, and with `stream` the seconds spent on making samples.
//   knotwork_growth curve DEGREE SAMPLES UNKNOWNS CONSTRAINTS
//   knotwork_growth file NAME SAMPLES UNKNOWNS CONSTRAINTS   doubles: parameters, then points
//   knotwork_growth closed-curve, closed-file                the same as closed curves
//   knotwork_growth stream SAMPLES UNKNOWNS CONSTRAINTS      samples made on the fly, never held
//   knotwork_growth surface SAMPLES UNKNOWNS                 in each direction
// bench/growth.py calls it.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "knotwork/fit/CurveFit.h"
#include "knotwork/fit/SurfaceFit.h"

namespace {

using knotwork::BsplineBasis;
using knotwork::CurveConstraint;
using knotwork::SampleStretch;

constexpr int kDimension = 2;
constexpr double kTurn = 6.283185307179586;
constexpr double kLeastSeconds = 0.3;  // to be spent on fits, of which there are three at least
constexpr int kLeastFits = 3;
constexpr int kStretch = 4096;  // samples that are handed out together

double processorSeconds()
{
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

/// Of this program alone, in KiB; what getrusage tells begins before it was loaded.
long peakMemory()
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.compare(0, 6, "VmHWM:") == 0) return std::atol(line.c_str() + 6);
    return 0;
}

double secondsOf(const std::function<void()>& work)
{
    const double start = processorSeconds();
    work();
    return processorSeconds() - start;
}

/// The fastest of some fits; a fit that does not stand ends the process.
double fastest(const std::function<bool()>& fit)
{
    double best = 0.0;
    double spent = 0.0;
    for (int fits = 0; fits < kLeastFits || spent < kLeastSeconds; ++fits) {
        bool stands = false;
        const double seconds = secondsOf([&] { stands = fit(); });
        if (!stands) std::exit(1);
        best = fits == 0 ? seconds : std::min(best, seconds);
        spent += seconds;
    }
    return best;
}

bool stands(const knotwork::FitReport& report)
{
    if (!report.fits()) std::fprintf(stderr, "%s\n", report.reason.c_str());
    return report.fits();
}

double parameterOf(long long i, long long samples)
{
    return static_cast<double>(i) / static_cast<double>(samples - 1);
}

double coordinate(int k, double t)
{
    return std::sin(kTurn * (6 + k) * t);
}

std::vector<CurveConstraint> someValues(int count)
{
    std::vector<CurveConstraint> constraints;
    for (int c = 0; c < count; ++c)
        constraints.push_back({(c + 0.5) / count, 0, std::vector<double>(kDimension, 0.1 * c)});
    return constraints;
}

/// What is asked for besides samples.
struct Request {
    bool closed;
    int degree;
    int unknowns;
    int constraints;
};

int fitCurves(const TtupleVector& points, const DoubleVec& parameters, const Request& request)
{
    const auto [closed, degree, unknowns, constraints] = request;
    const BsplineBasis basis = closed ? BsplineBasis::periodicUniform(degree, 0.0, 1.0, unknowns)
                                      : BsplineBasis::uniform(degree, 0.0, 1.0, unknowns - degree);
    const std::vector<CurveConstraint> held = someValues(constraints);
    const double best =
        fastest([&] { return stands(knotwork::fitCurve(points, parameters, basis, held).report); });
    std::printf("%.9g %ld\n", best, peakMemory());
    return 0;
}

int runCurve(int samples, const Request& request)
{
    TtupleVector points(kDimension, samples, 0.0);
    DoubleVec parameters(static_cast<unsigned>(samples));
    double* point = points.data().data();
    for (int i = 0; i < samples; ++i) {
        parameters(i) = parameterOf(i, samples);
        for (int k = 0; k < kDimension; ++k) *point++ = coordinate(k, parameters(i));
    }
    return fitCurves(points, parameters, request);
}

int runFile(const char* name, int samples, const Request& request)
{
    TtupleVector points(kDimension, samples, 0.0);
    DoubleVec parameters(static_cast<unsigned>(samples));
    const auto bytes = static_cast<std::streamsize>(sizeof(double)) * samples;
    std::ifstream file(name, std::ios::binary);
    file.read(reinterpret_cast<char*>(parameters.data()), bytes);
    file.read(reinterpret_cast<char*>(points.data().data()), bytes * kDimension);
    if (!file) return 2;
    return fitCurves(points, parameters, request);
}

int runStream(long long samples, int unknowns, int constraints)
{
    int readings = 0;
    const knotwork::SampleReader reader = [&](const auto& take) {
        ++readings;
        std::vector<double> parameters(kStretch);
        std::vector<double> points(std::size_t{kStretch} * kDimension);
        for (long long from = 0; from < samples; from += kStretch) {
            const auto count = static_cast<int>(std::min<long long>(kStretch, samples - from));
            double* point = points.data();
            for (int i = 0; i < count; ++i) {
                const double t = parameterOf(from + i, samples);
                parameters[static_cast<std::size_t>(i)] = t;
                for (int k = 0; k < kDimension; ++k) *point++ = coordinate(k, t);
            }
            take(SampleStretch{count, parameters.data(), points.data()});
        }
    };
    const BsplineBasis basis = BsplineBasis::uniform(3, 0.0, 1.0, unknowns - 3);
    const std::vector<CurveConstraint> held = someValues(constraints);
    double best = 0.0;
    for (int fits = 0; fits < kLeastFits; ++fits) {
        readings = 0;
        const double seconds = secondsOf([&] {
            if (!stands(knotwork::fitCurve(reader, kDimension, basis, held).report)) std::exit(1);
        });
        best = fits == 0 ? seconds : std::min(best, seconds);
    }
    const int needed = readings;
    const double making = secondsOf([&] { reader([](const SampleStretch&) {}); });
    std::printf("%.9g %ld %.9g %d\n", best, peakMemory(), making * needed, needed);
    return 0;
}

int runSurface(int samples, int unknowns)
{
    TtupleMatrix points(1, samples, samples, 0.0);
    DoubleVec parameters(static_cast<unsigned>(samples));
    for (int i = 0; i < samples; ++i) parameters(i) = parameterOf(i, samples);
    for (int j = 0; j < samples; ++j)
        for (int i = 0; i < samples; ++i) {
            DoubleVec point(points.point(i, j));
            point(0) = std::sin(20 * parameters(i)) * std::cos(17 * parameters(j));
        }
    const BsplineBasis basis = BsplineBasis::uniform(3, 0.0, 1.0, unknowns - 3);
    const double best = fastest([&] {
        return stands(knotwork::fitSurface(points, parameters, parameters, basis, basis).report);
    });
    std::printf("%.9g %ld\n", best, peakMemory());
    return 0;
}

}  // namespace

int main(int argc, char** argv)
{
    const std::vector<std::string> words(argv, argv + argc);
    const auto number = [&words](std::size_t i) { return std::atoi(words[i].c_str()); };
    const std::string what = words.size() > 1 ? words[1] : "";
    const bool closed = what == "closed-curve" || what == "closed-file";
    if ((what == "curve" || what == "closed-curve") && argc == 6)
        return runCurve(number(3), {closed, number(2), number(4), number(5)});
    if ((what == "file" || what == "closed-file") && argc == 6)
        return runFile(argv[2], number(3), {closed, 3, number(4), number(5)});
    if (what == "stream" && argc == 5) return runStream(number(2), number(3), number(4));
    if (what == "surface" && argc == 4) return runSurface(number(2), number(3));
    return 2;
}
