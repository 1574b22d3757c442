// SPDX-License-Identifier: MIT
#pragma once

#include <cstdio>
#include <random>

#include "knotwork/approx/AP_SPLINE.h"
#include "knotwork/approx/AP_SURFACE.h"
#include "measures/FitOracle.h"
#include "measures/KernelRecords.h"
#include "tests/support/Testing.h"

/// Random curves and surfaces, and what they should be: basis functions by the textbook recursion,
/// on one span's polynomials. Nothing here calls the code under test.
namespace knotwork_test {

using Real = long double;

using knotwork_measures::SplineRecord;
using knotwork_measures::SurfaceRecord;

struct Direction {
    int degree = 0;
    Numbers knots;  // the 2p + n - 1 stored ones
    int spans() const { return static_cast<int>(knots.size()) + 1 - 2 * degree; }
    int count() const { return degree + spans(); }
    double knot(int i) const { return knots[static_cast<std::size_t>(i + degree - 1)]; }

    int spanOf(double t) const  // the last one that starts at or below t and has a width
    {
        int found = -1;
        for (int s = 0; s < spans(); ++s)
            if (knot(s) < knot(s + 1) && (found < 0 || knot(s) <= t)) found = s;
        return found;
    }

    /// The m-th derivative of the basis functions of points span ... span + p.
    std::vector<Real> basis(double t, int span, int m) const
    {
        Numbers full = knots;
        full.insert(full.begin(), full.front());
        full.push_back(full.back());
        knotwork_measures::Quad row[knotwork::BsplineBasis::kMostDegree + 1];
        const knotwork::BsplineBasis functions(degree, full);
        EXPECT_EQ(knotwork_measures::basisRow(functions, t, m, row), span);
        return {row, row + degree + 1};
    }
};

/// A value and the sum of the magnitudes of its terms: what its rounding errors are measured by.
struct Sum {
    Real value = 0;
    Real scale = 0;
    void add(Real factor, double x)
    {
        value += factor * x;
        scale += std::fabs(factor * x);
    }
    bool near(double x, double tolerance) const
    {
        return std::fabs(x - value) <= tolerance * scale;
    }
};

class Generator {
  public:
    explicit Generator(unsigned seed) : engine_(seed) {}
    int integer(int low, int high)
    {
        return std::uniform_int_distribution<int>(low, high)(engine_);
    }
    double real(double low, double high)
    {
        return std::uniform_real_distribution<double>(low, high)(engine_);
    }

    /// Interior knots of multiplicities 1 ... p, steps that differ by up to a factor of 1000;
    /// clamped or not, at either end.
    Direction direction(int degree)
    {
        Direction result{degree, {}};
        double t = real(-5.0, 5.0);
        const auto step = [&] { t += std::pow(10.0, real(-3.0, 0.0)); };
        const auto run = [&](int n, bool equal) {
            for (int i = 0; i < n; ++i, equal ? void() : step()) result.knots.push_back(t);
            if (equal) step();
        };
        run(degree, integer(0, 1) == 0);
        for (int i = integer(0, 4); i > 0; --i) run(integer(1, degree), true);
        run(degree, integer(0, 1) == 0);
        return result;
    }

    Numbers points(int count, int d, bool rational)
    {
        Numbers result;
        for (int i = 0; i < count; ++i) {
            const double weight = rational ? real(0.2, 4.0) : 1.0;
            for (int c = 0; c < d; ++c) result.push_back(weight * real(-10.0, 10.0));
            if (rational) result.push_back(weight);
        }
        return result;
    }

    /// Anywhere in the range, on a knot, at an end, or outside by up to a fifth of the end span.
    double parameter(const Direction& along)
    {
        const int n = along.spans();
        const double low = along.knot(0);
        const double high = along.knot(n);
        switch (integer(0, 9)) {
            case 0:
                return along.knot(integer(0, n));
            case 1:
                return integer(0, 1) == 0 ? low : high;
            case 2: {
                const int s = integer(0, 1) == 0 ? along.spanOf(low) : along.spanOf(high);
                const double width = along.knot(s + 1) - along.knot(s);
                return (s == along.spanOf(low) ? low - real(0.0, 0.2) * width
                                               : high + real(0.0, 0.2) * width);
            }
            default:
                return real(low, high);
        }
    }

  private:
    std::mt19937 engine_;
};

inline AP_SPLINE makeCurve(int d, const Direction& along, const Numbers& points, bool rational)
{
    SplineRecord record(nk_bld_bs(d, along.knots.data(), points.data(), 0, along.degree,
                                  along.spans(), rational ? 1 : 0, 0));
    return AP_SPLINE(record.get());
}

/// A record with the values of both knot vectors in its own cells, points in rows of constant v.
inline SurfaceRecord makeSurfaceRecord(int d, const Direction& u, const Direction& v,
                                       const Numbers& points, int rationalU, int rationalV)
{
    SurfaceRecord record(
        nk_bld_srf(d, 7, u.degree, v.degree, u.spans(), v.spans(), rationalU, rationalV, 1, 2));
    const int coords = rationalU != 0 || rationalV != 0 ? d + 1 : d;
    knotwork_measures::fillRecord(record.get(), u.knots.data(), v.knots.data(), points.data(),
                                  coords);
    return record;
}

inline AP_SURFACE makeSurface(int d, const Direction& u, const Direction& v, const Numbers& points,
                              bool rational)
{
    return AP_SURFACE(makeSurfaceRecord(d, u, v, points, 0, rational ? 1 : 0).get(), 0);
}

/// What print writes.
template <class Geometry>
std::string printed(const Geometry& geometry)
{
    std::FILE* file = std::tmpfile();
    geometry.print(file);
    std::string text(static_cast<std::size_t>(std::ftell(file)), '\0');
    std::rewind(file);
    EXPECT_EQ(std::fread(text.data(), 1, text.size(), file), text.size());
    std::fclose(file);
    return text;
}

}  // namespace knotwork_test
