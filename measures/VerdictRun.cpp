// SPDX-License-Identifier: MIT
// Holds the library's fits against the oracle's and prints a line of tallies for each kind.
//   verdict_run [curves] [surfaces] [closed curves] [seed]    how many of each, and of which seed
//     --list K        the first K offenders of each kind too
//     --only INDEX    this one fit alone, with all its numbers, of the first kind that is wanted
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <map>
#include <string>
#include <vector>

#include "measures/RandomFits.h"
#include "measures/Verdicts.h"

namespace {

using knotwork_measures::CurveProblem;
using knotwork_measures::Judgement;
using knotwork_measures::SurfaceProblem;
using knotwork_measures::VerdictTally;

struct Request {
    std::uint64_t curves = 1000;
    std::uint64_t surfaces = 100;
    std::uint64_t closed = 1000;
    std::uint64_t seed = 1;
    int list = 0;
    bool single = false;
    std::uint64_t only = 0;
};

Request requestFrom(const std::vector<std::string>& words)
{
    Request request;
    std::uint64_t* const counts[] = {&request.curves, &request.surfaces, &request.closed,
                                     &request.seed};
    std::size_t given = 0;
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (words[i] == "--list") {
            request.list = std::stoi(words.at(++i));
        } else if (words[i] == "--only") {
            request.single = true;
            request.only = std::stoull(words.at(++i));
        } else if (given < 4) {
            *counts[given++] = std::stoull(words[i]);
        }
    }
    return request;
}

std::string outcome(const Judgement& j)
{
    const std::string verdict =
        j.answered ? "answered" : knotwork_measures::nameOf(j.verdict) + " (" + j.reason + ")";
    char text[400];
    std::snprintf(text, sizeof text,
                  "%s; oracle: %s, margin %.2g, condition %.3g; off by %.2g, per coordinate %.2g",
                  verdict.c_str(),
                  j.oracle.dependent    ? "dependent constraints"
                  : j.oracle.determined ? "determined"
                                        : "not determined",
                  j.oracle.margin, j.oracle.condition, j.deviation.overall,
                  j.deviation.perCoordinate);
    return text;
}

class Listing {
  public:
    explicit Listing(int most) : most_(most) {}
    template <class Problem>
    void add(const Request& request, std::uint64_t index, const Problem& problem,
             const Judgement& j)
    {
        const std::pair<const char*, bool> kinds[] = {
            {"answered though not determined", j.answeredUndetermined()},
            {"wrong", j.wrong()},
            {"wrong per coordinate", j.wrongPerCoordinate() && !j.wrong()},
            {"refused", j.refusedGood()}};
        for (const auto& [kind, applies] : kinds)
            if (applies && shown_[kind]++ < most_)
                std::printf("%s: %llu/%llu %s: %s\n", kind,
                            static_cast<unsigned long long>(request.seed),
                            static_cast<unsigned long long>(index), described(problem).c_str(),
                            outcome(j).c_str());
    }

  private:
    int most_;
    std::map<std::string, int> shown_;
};

template <class Problem>
void showSingle(const Problem& problem)
{
    const Judgement j = judged(problem);
    std::printf("%s\n%s%s\n", described(problem).c_str(), dumped(problem).c_str(),
                outcome(j).c_str());
    for (std::size_t i = 0; i < std::max(j.controlPoints.size(), j.oracle.controlPoints.size());
         ++i) {
        std::printf("  control point number %zu:", i);
        if (i < j.controlPoints.size()) std::printf(" found %.17g", j.controlPoints[i]);
        if (i < j.oracle.controlPoints.size())
            std::printf(" expected %.17g", j.oracle.controlPoints[i]);
        std::printf("\n");
    }
}

template <class Problem>
void run(const char* name, const Request& request, std::uint64_t count,
         Problem (*make)(std::uint64_t, std::uint64_t))
{
    if (count == 0) return;
    VerdictTally tally;
    Listing listing(request.list);
    for (std::uint64_t index = 0; index < count; ++index) {
        const Problem problem = make(request.seed, index);
        const Judgement j = judged(problem);
        tally.add(j);
        listing.add(request, index, problem, j);
    }
    std::printf("%s, seed %llu: %s\n", name, static_cast<unsigned long long>(request.seed),
                tally.line().c_str());
}

}  // namespace

int main(int argc, char** argv)
{
    try {
        const Request request = requestFrom({argv + 1, argv + argc});
        if (request.single && request.curves > 0)
            showSingle(knotwork_measures::randomCurve(request.seed, request.only));
        else if (request.single && request.surfaces > 0)
            showSingle(knotwork_measures::randomSurface(request.seed, request.only));
        else if (request.single)
            showSingle(knotwork_measures::randomClosedCurve(request.seed, request.only));
        if (request.single) return 0;
        run("curves", request, request.curves, knotwork_measures::randomCurve);
        run("surfaces", request, request.surfaces, knotwork_measures::randomSurface);
        run("closed curves", request, request.closed, knotwork_measures::randomClosedCurve);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "verdict_run: %s\n", e.what());
        return 1;
    }
    return 0;
}
