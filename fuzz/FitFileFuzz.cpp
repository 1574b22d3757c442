// SPDX-License-Identifier: MIT
// Any JSON: a fit that evaluates at its knots and between them, or a Failure.
#include <algorithm>
#include <vector>

#include "fuzz/MemoryFile.h"
#include "tools/knotfit/Evaluation.h"
#include "tools/knotfit/Failure.h"

using knotwork_fuzz::require;

namespace {

/// A few knots inside the range, and the middles of the spans before them.
std::vector<double> parameters(const knotwork::BsplineBasis& basis)
{
    constexpr std::size_t kMost = 12;
    std::vector<double> result = {basis.first(), basis.last()};
    for (std::size_t k = 1; k < basis.knots().size() && result.size() < kMost; ++k) {
        const double knot = basis.knots()[k];
        const double middle = knot - (knot - basis.knots()[k - 1]) / 2;
        for (const double t : {knot, middle})
            if (t >= basis.first() && t <= basis.last()) result.push_back(t);
    }
    return result;
}

knotfit::CsvTable tableOf(const knotfit::FitFile& fit)
{
    knotfit::CsvTable table;
    const std::vector<double> u = parameters(fit.bases[0]);
    const std::vector<double> v = parameters(fit.bases.back());
    table.cols = fit.isSurface() ? 2 : 1;
    table.rows = static_cast<int>(std::max(u.size(), v.size()));
    for (std::size_t i = 0; i < static_cast<std::size_t>(table.rows); ++i) {
        table.numbers.push_back(u[i % u.size()]);
        if (fit.isSurface()) table.numbers.push_back(v[i % v.size()]);
    }
    return table;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static knotwork_fuzz::MemoryFile file;
    file.hold(data, size);
    try {
        const knotfit::FitFile fit = knotfit::readFit(file.path());
        const knotfit::CsvTable table = tableOf(fit);
        const int order = static_cast<int>(size % 4);
        const std::string text = knotfit::evaluated(fit, table, order);
        require(std::count(text.begin(), text.end(), '\n') == table.rows, "a line a parameter");
        const int derivatives = fit.isSurface() ? (order + 1) * (order + 2) / 2 : order + 1;
        require(std::count(text.begin(), text.end(), ',') ==
                    std::ptrdiff_t{table.rows} * (derivatives * fit.dimension - 1),
                "a line has every derivative's coordinates");
    } catch (const knotfit::Failure& failure) {
        require(failure.status() == knotfit::kBadUsage, "bad input is bad usage");
    }
    return 0;
}
