// SPDX-License-Identifier: MIT
#pragma once

#include <sisl.h>

#include "bench/Shapes.h"

namespace knotwork_bench {

constexpr int kPolynomial = 1;
constexpr int kRational = 2;
constexpr int kCopied = 1;

class SislCurve {
  public:
    explicit SislCurve(const CurveData& data)
    {
        std::vector<double> knots = fullKnots(data.knots);
        std::vector<double> points = data.points;
        curve_ = newCurve(data.count(), data.degree + 1, knots.data(), points.data(),
                          data.rational ? kRational : kPolynomial, kDim, kCopied);
    }
    SislCurve(const SislCurve&) = delete;
    SislCurve& operator=(const SislCurve&) = delete;
    ~SislCurve() { freeCurve(curve_); }

    void twoDerivatives(double t) { s1227(curve_, 2, t, &span_, rows_, &status_); }
    void copyTo(double* rows) const { std::copy_n(rows_, 3 * kDim, rows); }

  private:
    SISLCurve* curve_;
    int span_ = 0;  // where the last search ended; the next one begins there
    int status_ = 0;
    double rows_[3 * kDim] = {};
};

class SislSurface {
  public:
    explicit SislSurface(const SurfaceData& data)
    {
        std::vector<double> knotsU = fullKnots(data.knotsU);
        std::vector<double> knotsV = fullKnots(data.knotsV);
        std::vector<double> points = data.points;
        surface_ = newSurf(data.count(), data.count(), data.degree + 1, data.degree + 1,
                           knotsU.data(), knotsV.data(), points.data(), kPolynomial, kDim, kCopied);
    }
    SislSurface(const SislSurface&) = delete;
    SislSurface& operator=(const SislSurface&) = delete;
    ~SislSurface() { freeSurf(surface_); }

    /// All products of derivatives up to the second in either direction: nine, not six.
    void twoOrders(double u, double v)
    {
        double at[] = {u, v};
        s1424(surface_, 2, 2, at, &spanU_, &spanV_, rows_, &status_);
    }
    /// S, Su, Sv, Suu, Suv, Svv.
    void copyTo(double* rows) const
    {
        for (const int place : {0, 1, 3, 2, 4, 6}) {
            std::copy_n(rows_ + place * kDim, kDim, rows);
            rows += kDim;
        }
    }
    void point(double u, double v, double* to)
    {
        double at[] = {u, v};
        double normal[kDim];
        s1421(surface_, 0, at, &spanU_, &spanV_, to, normal, &status_);
    }
    void normal(double u, double v, double* to)
    {
        double at[] = {u, v};
        double partials[3 * kDim];
        s1421(surface_, 1, at, &spanU_, &spanV_, partials, to, &status_);
        normalise(to);
    }
    /// A whole grid in one call: points, and normals when `orders` is 1, u running fastest.
    void grid(int orders, std::vector<double>& u, std::vector<double>& v, double* numbers,
              double* normals)
    {
        s1506(surface_, orders, static_cast<int>(u.size()), u.data(), static_cast<int>(v.size()),
              v.data(), numbers, normals, &status_);
    }

    /// What the library delivers has the length of the cross product.
    static void normalise(double* n)
    {
        const double length = std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
        for (int c = 0; c < kDim; ++c) n[c] /= length;
    }

  private:
    SISLSurf* surface_;
    int spanU_ = 0;
    int spanV_ = 0;
    int status_ = 0;
    double rows_[9 * kDim] = {};
};

}  // namespace knotwork_bench
