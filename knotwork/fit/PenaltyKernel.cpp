// SPDX-License-Identifier: MIT
#include "knotwork/fit/PenaltyKernel.h"

#include <algorithm>
#include <cmath>

#include "knotwork/sparse/RowStream.h"

namespace knotwork {

namespace {

constexpr double kVanishing = 1e-20;       // of a row in doubled precision
constexpr double kSurelySingular = 1e-14;  // reciprocal condition

bool hasKinks(const BsplineBasis& basis, int order)
{
    const std::vector<double>& knots = basis.knots();
    const int smooth = basis.degree() - order + 1;  // as often a knot may be there
    for (std::size_t i = 0, j = 0; i < knots.size(); i = j) {
        while (j < knots.size() && knots[j] == knots[i]) ++j;
        const bool inside = knots[i] > basis.first() && knots[i] < basis.last();
        if ((inside || basis.closed()) && j - i > static_cast<std::size_t>(smooth)) return true;
    }
    return false;
}

std::vector<DoubleDouble> binomials(int n)
{
    std::vector<DoubleDouble> row = {1.0};
    for (int k = 1; k <= n; ++k)
        row.push_back(row.back() * DoubleDouble(n - k + 1.0) / DoubleDouble(k));
    return row;
}

/// Bernstein's polynomials of degree order - 1 over the range as control points: their blossoms,
/// raised to the basis's degree, at the knots inside a function's support. That of Bernstein's
/// polynomial j of degree p at u_1 to u_p is the coefficient of z^j in the product of the
/// (1 - u_i) + u_i z. Source: Ramshaw: Blossoms are polar forms, Computer Aided Geometric Design 6
/// (1989).
std::vector<DoubleDouble> polynomials(const BsplineBasis& basis, int order)
{
    const int p = basis.degree();
    const DoubleDouble start(basis.first());
    const DoubleDouble length = DoubleDouble(basis.last()) - start;
    const auto own = binomials(order - 1);
    const auto raise = binomials(p - order + 1);
    const auto raised = binomials(p);
    const auto at = [](int i) { return static_cast<std::size_t>(i); };
    std::vector<DoubleDouble> entries;
    for (int j = 0; j < basis.count(); ++j) {
        std::vector<DoubleDouble> product(at(p) + 1);
        product[0] = 1.0;
        for (int i = 1; i <= p; ++i) {
            const DoubleDouble u = (DoubleDouble(basis.knots()[at(j + i)]) - start) / length;
            for (int k = i; k > 0; --k)
                product[at(k)] = product[at(k)] * (DoubleDouble(1.0) - u) + product[at(k - 1)] * u;
            product[0] = product[0] * (DoubleDouble(1.0) - u);
        }
        for (int k = 0; k < order; ++k) {
            DoubleDouble sum;
            for (int l = 0; l <= p - order + 1; ++l)
                sum += own[at(k)] * raise[at(l)] / raised[at(k + l)] * product[at(k + l)];
            entries.push_back(sum);
        }
    }
    return entries;
}

double largestOf(const std::vector<DoubleDouble>& row)
{
    double most = 0.0;
    for (const DoubleDouble& x : row) most = std::max(most, std::fabs(x.high));
    return most;
}

}  // namespace

PenaltyKernel::PenaltyKernel(const BsplineBasis& basis, int order)
    : size_(basis.closed() ? 1 : order), known_(!hasKinks(basis, order))
{
    entries_ = polynomials(basis, size_);
}

/// Constraints as rows for these curves, of largest entry 1; those that see none of them left out.
std::vector<std::vector<DoubleDouble>> PenaltyKernel::reduced(
    const std::vector<ConstraintRow>& constraints) const
{
    std::vector<std::vector<DoubleDouble>> rows;
    for (const ConstraintRow& constraint : constraints) {
        std::vector<DoubleDouble> seen(static_cast<std::size_t>(size_));
        int function = constraint.first;
        for (const DoubleDouble& entry : constraint.entries) {
            const DoubleDouble* curve = row(function++);
            for (DoubleDouble& x : seen) x += entry * *curve++;
        }
        const double most = largestOf(seen);
        if (!(most > kVanishing * largestOf(constraint.entries))) continue;
        for (DoubleDouble& x : seen) x = x / DoubleDouble(most);
        rows.push_back(std::move(seen));
    }
    return rows;
}

/// Gauss's elimination, all entries that are left being looked at for the next pivot.
int PenaltyKernel::freedom(const std::vector<ConstraintRow>& constraints) const
{
    std::vector<std::vector<DoubleDouble>> rows = reduced(constraints);
    int left = size_;
    while (left > 0 && !rows.empty()) {
        const auto pivotRow = std::max_element(
            rows.begin(), rows.end(),
            [](const auto& a, const auto& b) { return largestOf(a) < largestOf(b); });
        if (!(largestOf(*pivotRow) > kVanishing)) break;
        const std::vector<DoubleDouble> pivot = *pivotRow;
        rows.erase(pivotRow);
        --left;
        const auto column = static_cast<std::size_t>(
            std::max_element(pivot.begin(), pivot.end(),
                             [](const DoubleDouble& a, const DoubleDouble& b) {
                                 return std::fabs(a.high) < std::fabs(b.high);
                             }) -
            pivot.begin());
        for (std::vector<DoubleDouble>& row : rows) {
            const DoubleDouble factor = row[column] / pivot[column];
            for (std::size_t k = 0; k < row.size(); ++k) row[k] += -(factor * pivot[k]);
            row[column] = 0.0;
        }
    }
    return left;
}

bool PenaltyKernel::fixedBy(const SpanTriangles& data,
                            const std::vector<ConstraintRow>& constraints) const
{
    RowStream stream(size_, 0);
    std::vector<double> seen(static_cast<std::size_t>(size_));
    for (int span = 0; span < data.spans(); ++span)
        for (int i = 0; i < data.width(); ++i) {
            std::fill(seen.begin(), seen.end(), 0.0);
            for (int j = i; j < data.width(); ++j)
                for (int k = 0; k < size_; ++k)
                    seen[static_cast<std::size_t>(k)] +=
                        data.row(span, i)[j - i] * row(span + j)[k].high;
            stream.add(0, seen.data(), size_, nullptr);
        }
    stream.finish();
    BandTriangle all = stream.triangle();
    const double size = all.normBound();
    if (size > 0.0) all.scale(1.0 / size);
    RowStream joined(size_, 0);
    for (int j = 0; j < size_; ++j) joined.add(j, all.row(j), all.count(j), nullptr);
    for (const std::vector<DoubleDouble>& constraint : reduced(constraints)) {
        for (std::size_t k = 0; k < seen.size(); ++k) seen[k] = constraint[k].high;
        joined.add(0, seen.data(), size_, nullptr);
    }
    joined.finish();
    const BandTriangle& triangle = joined.triangle();
    return 1.0 / (triangle.normBound() * triangle.inverseNorm()) >= kSurelySingular;
}

}  // namespace knotwork
