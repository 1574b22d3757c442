// SPDX-License-Identifier: MIT
#pragma once

#include <Geom_BSplineCurve.hxx>
#include <Geom_BSplineSurface.hxx>
#include <TColStd_Array1OfInteger.hxx>
#include <TColStd_Array1OfReal.hxx>
#include <TColgp_Array1OfPnt.hxx>
#include <TColgp_Array2OfPnt.hxx>

#include "bench/Shapes.h"

namespace knotwork_bench {

/// Distinct knots and how often each one stands in the sequence.
struct DistinctKnots {
    explicit DistinctKnots(const std::vector<double>& full)
        : knots(1, countDistinct(full)), multiplicities(1, knots.Length())
    {
        int at = 0;
        for (std::size_t i = 0; i < full.size(); ++i) {
            if (i == 0 || full[i] != full[i - 1]) multiplicities(++at) = 0;
            knots(at) = full[i];
            ++multiplicities(at);
        }
    }
    static int countDistinct(std::vector<double> full)
    {
        return static_cast<int>(std::unique(full.begin(), full.end()) - full.begin());
    }

    TColStd_Array1OfReal knots;
    TColStd_Array1OfInteger multiplicities;
};

inline void putTriple(const gp_XYZ& from, double* to)
{
    for (int c = 0; c < kDim; ++c) to[c] = from.Coord(c + 1);
}

class OpenCascadeCurve {
  public:
    explicit OpenCascadeCurve(const CurveData& data)
    {
        const DistinctKnots along(fullKnots(data.knots));
        TColgp_Array1OfPnt poles(1, data.count());
        TColStd_Array1OfReal weights(1, data.count());
        for (int i = 0; i < data.count(); ++i) {
            const double* point = &data.points[static_cast<std::size_t>(i * data.coords())];
            const double weight = data.rational ? point[kDim] : 1.0;
            weights(i + 1) = weight;
            poles(i + 1) = gp_Pnt(point[0] / weight, point[1] / weight, point[2] / weight);
        }
        if (data.rational)
            curve_ = new Geom_BSplineCurve(poles, weights, along.knots, along.multiplicities,
                                           data.degree);
        else
            curve_ = new Geom_BSplineCurve(poles, along.knots, along.multiplicities, data.degree);
    }
    void twoDerivatives(double t) { curve_->D2(t, point_, first_, second_); }
    void copyTo(double* rows) const
    {
        putTriple(point_.XYZ(), rows);
        putTriple(first_.XYZ(), rows + kDim);
        putTriple(second_.XYZ(), rows + 2 * kDim);
    }

  private:
    Handle(Geom_BSplineCurve) curve_;
    gp_Pnt point_;
    gp_Vec first_;
    gp_Vec second_;
};

class OpenCascadeSurface {
  public:
    explicit OpenCascadeSurface(const SurfaceData& data)
    {
        const DistinctKnots alongU(fullKnots(data.knotsU));
        const DistinctKnots alongV(fullKnots(data.knotsV));
        TColgp_Array2OfPnt poles(1, data.count(), 1, data.count());
        const double* point = data.points.data();
        for (int j = 1; j <= data.count(); ++j)
            for (int i = 1; i <= data.count(); ++i, point += kDim)
                poles(i, j) = gp_Pnt(point[0], point[1], point[2]);
        surface_ = new Geom_BSplineSurface(poles, alongU.knots, alongV.knots, alongU.multiplicities,
                                           alongV.multiplicities, data.degree, data.degree);
    }
    void twoOrders(double u, double v) { surface_->D2(u, v, point_, du_, dv_, duu_, dvv_, duv_); }
    /// S, Su, Sv, Suu, Suv, Svv.
    void copyTo(double* rows) const
    {
        putTriple(point_.XYZ(), rows);
        const gp_Vec* partials[] = {&du_, &dv_, &duu_, &duv_, &dvv_};
        for (const gp_Vec* partial : partials) putTriple(partial->XYZ(), rows += kDim);
    }
    void point(double u, double v, double* to)
    {
        surface_->D0(u, v, point_);
        putTriple(point_.XYZ(), to);
    }
    void normal(double u, double v, double* to)
    {
        surface_->D1(u, v, point_, du_, dv_);
        putTriple(du_.Crossed(dv_).Normalized().XYZ(), to);
    }

  private:
    Handle(Geom_BSplineSurface) surface_;
    gp_Pnt point_;
    gp_Vec du_, dv_, duu_, dvv_, duv_;
};

}  // namespace knotwork_bench
