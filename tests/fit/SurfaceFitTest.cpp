// SPDX-License-Identifier: MIT
#include "knotwork/fit/SurfaceFit.h"

#include "knotwork/fit/CurveFit.h"
#include "tests/support/Testing.h"

using namespace knotwork;
using namespace knotwork_test;

namespace {

/// Samples of a bumpy sheet with noise; coordinates and parameters in any unit.
struct Sheet {
    explicit Sheet(int d = 1, double size = 1.0, double unit = 1.0)
        : points(d, kRows, kCols, 0.0), u(kRows, 0.0, unit), v(kCols, 0.0, unit)
    {
        knotwork_measures::Dice dice(5);
        for (int j = 0; j < kCols; ++j)
            for (int i = 0; i < kRows; ++i)
                for (int k = 0; k < d; ++k)
                    points.point(i, j)(k) =
                        size * (std::sin(0.4 * i + k) * std::cos(0.3 * j) + 0.1 * dice.unit());
        uBasis = BsplineBasis::uniform(3, 0.0, u(kRows - 1), 5);
        vBasis = BsplineBasis::uniform(2, 0.0, v(kCols - 1), 4);
    }
    FittedSurface fit(const SurfaceFitOptions& options = {}) const
    {
        return knotwork::fitSurface(points, u, v, uBasis, vBasis, options);
    }

    static constexpr int kRows = 17;
    static constexpr int kCols = 14;
    TtupleMatrix points;
    DoubleVec u, v;
    BsplineBasis uBasis, vBasis;
};

std::vector<double> numbersOf(const DoubleVec& v)
{
    std::vector<double> numbers;
    for (int i = 0; i < static_cast<int>(v.length()); ++i) numbers.push_back(v(i));
    return numbers;
}

double largest(const std::vector<double>& values)
{
    double most = 0.0;
    for (const double x : values) most = std::max(most, std::fabs(x));
    return most;
}

SurfaceFitOptions exactBorder(const Sheet& sheet)
{
    SurfaceFitOptions options;
    options.acrossU = knotwork::endLinesInU(sheet.points, sheet.u);
    options.acrossV = knotwork::endLinesInV(sheet.points, sheet.v);
    return options;
}

}  // namespace

TEST(SurfaceFitTest, PolynomialsOfTheDegreesComeBack)
{
    Sheet sheet(2);
    const auto height = [](double u, double v, int k) {
        return (1 + u / 9 - u * u * u / 2000) * (2 - v + v * v / 30) * (k + 1);
    };
    for (int j = 0; j < Sheet::kCols; ++j)
        for (int i = 0; i < Sheet::kRows; ++i)
            for (int k = 0; k < 2; ++k) sheet.points.point(i, j)(k) = height(i, j, k);
    const FittedSurface surface = sheet.fit();
    ASSERT_TRUE(surface.fits()) << surface.report.reason;
    const double size = largest(surface.controlPoints);
    EXPECT_LE(surface.report.maxResidual, 50 * kEps * size);
    for (const double u : {0.0, 3.3, 16.0})
        for (const double v : {0.0, 7.7, 13.0})
            EXPECT_NEAR(surface.at(u, v)[1], height(u, v, 1), 50 * kEps * size);
    EXPECT_NEAR(surface.at(2.0, 3.0, 1, 1)[0], (1.0 / 9 - 12.0 / 2000) * (-1 + 6.0 / 30),
                1e-13 * size);
}

TEST(SurfaceFitTest, AnExactBorderIsTheEndExactFitOfItsSamples)
{
    const Sheet sheet(3);
    const FittedSurface surface = sheet.fit(exactBorder(sheet));
    ASSERT_TRUE(surface.met()) << surface.report.reason;
    EXPECT_LE(surface.report.constraintResidual, 1e-13);
    EXPECT_EQ(surface.report.constraints, 2 * 6 + 2 * 8 - 4);
    for (const int i : {0, Sheet::kRows - 1})
        for (const int j : {0, Sheet::kCols - 1})
            for (int k = 0; k < 3; ++k)
                EXPECT_NEAR(surface.at(sheet.u(i), sheet.v(j))[static_cast<std::size_t>(k)],
                            sheet.points.point(i, j)(k), 1e-14);

    const TtupleVector border(sheet.points.columnVector(0));
    const auto curve = knotwork::fitCurve(
        border, sheet.u, sheet.uBasis,
        {{sheet.u(0), 0, numbersOf(border.point(0))},
         {sheet.u(Sheet::kRows - 1), 0, numbersOf(border.point(Sheet::kRows - 1))}});
    ASSERT_TRUE(curve.met());
    for (std::size_t n = 0; n < curve.controlPoints.size(); ++n)
        EXPECT_NEAR(surface.controlPoints[n], curve.controlPoints[n], 1e-13);
}

TEST(SurfaceFitTest, DerivativesAlongALineAreMet)
{
    const Sheet sheet;
    SurfaceFitOptions options;
    options.acrossU.push_back({0.0, 1, std::vector<double>(Sheet::kCols, 0.25)});
    options.acrossV.push_back(
        {sheet.v(Sheet::kCols - 1), 2, std::vector<double>(Sheet::kRows, 0.0)});
    const FittedSurface surface = sheet.fit(options);
    ASSERT_TRUE(surface.met()) << surface.report.reason;
    EXPECT_LE(surface.report.constraintResidual, 1e-13);
    EXPECT_NEAR(surface.at(16.0, 13.0, 0, 2)[0], 0.0, 1e-13);
    EXPECT_NEAR(surface.at(0.0, 4.0, 1, 0)[0], 0.25, 1e-13) << "a constant is its own fit";
}

TEST(SurfaceFitTest, ALineOfEitherDirectionThatIsNotMetCountsWithItsDistance)
{
    const Sheet sheet;
    const auto rowLength = static_cast<std::size_t>(sheet.uBasis.count());
    for (const bool inV : {false, true}) {
        SCOPED_TRACE(inV ? "a line of constant v" : "a line of constant u");
        SurfaceFitOptions options;
        options.method = knotwork::FitMethod::kQr;
        if (inV)
            options.acrossV.push_back({0.0, 0, std::vector<double>(Sheet::kRows, 2.0)});
        else
            options.acrossU.push_back({0.0, 0, std::vector<double>(Sheet::kCols, 2.0)});
        const FittedSurface surface = sheet.fit(options);
        ASSERT_EQ(surface.report.verdict, FitVerdict::kCompromise) << surface.report.reason;
        double distance = 0.0;  // from the constant to the border's control points
        const std::size_t step = inV ? 1 : rowLength;
        for (std::size_t n = 0; n < (inV ? rowLength : surface.controlPoints.size()); n += step)
            distance = std::max(distance, std::fabs(surface.controlPoints[n] - 2.0));
        EXPECT_GT(distance, 0.1) << "the data pull away from it";
        EXPECT_NEAR(surface.report.constraintResidual, distance, 1e-12);
    }
}

TEST(SurfaceFitTest, UnitsDoNotMatter)
{
    const FittedSurface plain = Sheet(2).fit(exactBorder(Sheet(2)));
    ASSERT_TRUE(plain.met());
    for (const double size : {1e-9, 1e9})
        for (const double unit : {1e-9, 1e9}) {
            const Sheet sheet(2, size, unit);
            const FittedSurface scaled = sheet.fit(exactBorder(sheet));
            ASSERT_TRUE(scaled.met()) << scaled.report.reason;
            for (std::size_t n = 0; n < plain.controlPoints.size(); ++n)
                EXPECT_NEAR(scaled.controlPoints[n] / size, plain.controlPoints[n], 1e-12);
            EXPECT_NEAR(scaled.report.rms / size, plain.report.rms, 1e-12);
        }
}

TEST(SurfaceFitTest, HeldControlPointsStayAndTheInsideIsFitted)
{
    const Sheet sheet(2);
    const int nu = sheet.uBasis.count();
    const int nv = sheet.vBasis.count();
    const FittedSurface before = sheet.fit(exactBorder(sheet));
    ASSERT_TRUE(before.met());
    TtupleMatrix held(
        2, nu, nv,
        DoubleVec(before.controlPoints.data(), static_cast<unsigned>(before.controlPoints.size())));
    IntGenMat mask(static_cast<unsigned>(nu), static_cast<unsigned>(nv), 1);
    for (int j = 1; j + 1 < nv; ++j)
        for (int i = 1; i + 1 < nu; ++i) {
            mask(i, j) = 0;
            held.point(i, j) = 77.0;
        }
    const FittedSurface after = knotwork::fitSurfaceAround(sheet.points, sheet.u, sheet.v,
                                                           sheet.uBasis, sheet.vBasis, mask, held);
    ASSERT_TRUE(after.met()) << after.report.reason;
    EXPECT_EQ(after.report.columnsUsed, (nu - 2) * (nv - 2));
    for (int j = 0; j < nv; ++j)
        for (int i = 0; i < nu; ++i)
            for (int k = 0; k < 2; ++k) {
                const auto n = static_cast<std::size_t>((nu * j + i) * 2 + k);
                if (mask(i, j) == 1) {
                    EXPECT_EQ(after.controlPoints[n], before.controlPoints[n]);
                } else {
                    EXPECT_LT(std::fabs(after.controlPoints[n]), 10.0)
                        << "what was there is cleared";
                }
            }
    EXPECT_LT(after.report.rms, 0.2);
}

TEST(SurfaceFitTest, WhatCannotStandIsRefusedWithAReason)
{
    const Sheet good(1);
    const auto refused = [](const FittedSurface& surface, FitVerdict verdict, const char* words) {
        EXPECT_EQ(surface.report.verdict, verdict) << words;
        EXPECT_THAT(surface.report.reason, HasSubstr(words));
        EXPECT_TRUE(surface.controlPoints.empty() && surface.surface == nullptr);
    };
    Sheet gap(1);
    for (int i = 4; i < Sheet::kRows - 2; ++i) gap.u(i) = 15.5;
    refused(gap.fit(), FitVerdict::kUndetermined, "in u, spans 1 to 3 hold no data");
    Sheet fine(1);
    fine.vBasis = BsplineBasis::uniform(2, 0.0, 13.0, 40);
    refused(fine.fit(), FitVerdict::kUndetermined, "in v, 42 unknowns");
    Sheet broken(1);
    broken.points.point(3, 3)(0) = std::nan("");
    refused(broken.fit(), FitVerdict::kBadInput, "no finite number");

    SurfaceFitOptions twice = exactBorder(good);
    twice.acrossU.push_back(twice.acrossU[0]);
    refused(good.fit(twice), FitVerdict::kDependentConstraints, "in u, the constraints depend");
    SurfaceFitOptions contrary = exactBorder(good);
    contrary.acrossU[0].values[0] += 1.0;
    refused(good.fit(contrary), FitVerdict::kBadInput, "contradict");
    SurfaceFitOptions shortLine;
    shortLine.acrossV.push_back({0.0, 0, {1.0}});
    refused(good.fit(shortLine), FitVerdict::kBadInput, "a point for each sample");
    SurfaceFitOptions between;
    between.acrossU.push_back({0.5, 0, std::vector<double>(Sheet::kCols, 0.0)});
    between.acrossV.push_back({0.5, 0, std::vector<double>(Sheet::kRows, 0.0)});
    refused(good.fit(between), FitVerdict::kBadInput, "neither has a sample");

    const auto around = [](const Sheet& sheet, const IntGenMat& mask) {
        return knotwork::fitSurfaceAround(sheet.points, sheet.u, sheet.v, sheet.uBasis,
                                          sheet.vBasis, mask, TtupleMatrix(1, 8, 6, 0.0));
    };
    refused(around(good, IntGenMat(6, 8, 1)), FitVerdict::kBadInput, "the mask");
    IntGenMat oneHeld(8, 6, 0);
    oneHeld(0, 0) = 1;
    refused(around(gap, oneHeld), FitVerdict::kUndetermined, "free control point");
    IntGenMat emptyHeld(8, 6, 0);
    for (const int i : {2, 3, 4, 5}) emptyHeld.row(i) = 1;  // the spans without data are given
    EXPECT_TRUE(around(gap, emptyHeld).met());
}
