// SPDX-License-Identifier: MIT
// A point is dragged and the fitted curve follows: each step withdraws its equation and adds
// another, instead of fitting all points again. The last column says how far the control points are
// from those of a fit of all points from scratch.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <vector>

#include "knotwork/knotwork.h"

namespace {

struct Sample {
    double parameter;
    double x, y;
    double weight;
};

/// The equation that a sample asks of the control points: the basis functions at its parameter.
DoubleVec equationOf(const knotwork::BsplineBasis& basis, const Sample& sample)
{
    DoubleVec row(static_cast<unsigned>(basis.count()), 0.0);
    std::vector<double> values(static_cast<std::size_t>(basis.degree()) + 1);
    int column = basis.row(sample.parameter, 0, values.data());
    for (const double value : values) row(column++) = sample.weight * value;
    return row;
}

DoubleVec valuesOf(const Sample& sample)
{
    DoubleVec values(2);
    values(0) = sample.weight * sample.x;
    values(1) = sample.weight * sample.y;
    return values;
}

/// Least squares for x and y side by side: both have the same equations.
class FollowingCurve {
  public:
    explicit FollowingCurve(const knotwork::BsplineBasis& basis)
        : basis_(basis),
          equations_(static_cast<unsigned>(basis.count()), 2),
          points_(2 * static_cast<std::size_t>(basis.count()), 0.0),
          spline_(knotwork::makeSpline(basis, 2, points_))
    {
    }
    void add(const Sample& sample)
    {
        DoubleVec row = equationOf(basis_, sample);
        equations_.addEquation(row, valuesOf(sample));
    }
    bool withdraw(const Sample& sample)
    {
        DoubleVec row = equationOf(basis_, sample);
        return equations_.deleteEquation(row, valuesOf(sample)) == 0;
    }
    const AP_SPLINE& curve()
    {
        for (int coordinate = 0; coordinate < 2; ++coordinate) {
            const DoubleVec solution = equations_.solve(coordinate);
            for (int i = 0; i < basis_.count(); ++i)
                points_[static_cast<std::size_t>(2 * i + coordinate)] = solution(i);
        }
        spline_->set(points_.data(), static_cast<int>(points_.size()));
        return *spline_;
    }

  private:
    knotwork::BsplineBasis basis_;
    DoubleLeastSqInc equations_;
    std::vector<double> points_;
    std::shared_ptr<AP_SPLINE> spline_;
};

/// The largest distance of the curve's control points from those that all samples at once give.
double distanceFromBatch(const AP_SPLINE& curve, const knotwork::BsplineBasis& basis,
                         const std::vector<Sample>& samples)
{
    const auto count = static_cast<unsigned>(samples.size());
    DoubleGenMat system(count, static_cast<unsigned>(basis.count()));
    DoubleGenMat right(count, 2);
    for (int i = 0; i < static_cast<int>(count); ++i) {
        const Sample& sample = samples[static_cast<std::size_t>(i)];
        system.row(i) = equationOf(basis, sample);
        right.row(i) = valuesOf(sample);
    }
    const DoubleLeastSqCh batch(system);
    const DoubleVec x = batch.solve(right.col(0));
    const DoubleVec y = batch.solve(right.col(1));
    double largest = 0.0;
    for (int i = 0; i < curve.Count(); ++i)
        largest = std::max(largest, std::hypot(curve[i][0] - x(i), curve[i][1] - y(i)));
    return largest;
}

}  // namespace

int main()
{
    constexpr int kCount = 61;
    constexpr int kDragged = 24;
    constexpr int kSteps = 12;
    constexpr double kPull = 10.0;  // weight of the dragged point
    const auto basis = knotwork::BsplineBasis::uniform(3, 0.0, kCount - 1.0, 12);

    FollowingCurve following(basis);
    std::vector<Sample> samples;
    for (int i = 0; i < kCount; ++i) {
        samples.push_back({static_cast<double>(i), 0.1 * i, std::sin(0.1 * i), 1.0});
        following.add(samples.back());
    }

    Sample& dragged = samples[kDragged];
    double worst = 0.0;
    double gap = 0.0;
    std::printf("%d points, %d control points, point %d is dragged upwards\n\n", kCount,
                basis.count(), kDragged);
    std::printf("step   point              curve there          gap       off the batch fit\n");
    for (int step = 0; step <= kSteps; ++step) {
        if (step > 0) {
            if (!following.withdraw(dragged)) return 1;
            dragged.y += 1.5 / kSteps;
            dragged.weight = kPull;
            following.add(dragged);
        }
        const AP_SPLINE& curve = following.curve();
        double there[2];
        curve.eval(there, dragged.parameter, 0);
        gap = std::hypot(there[0] - dragged.x, there[1] - dragged.y);
        const double off = distanceFromBatch(curve, basis, samples);
        worst = std::max(worst, off);
        std::printf("%4d   (%.3f, %.3f)     (%.3f, %.3f)     %.4f    %.1e\n", step, dragged.x,
                    dragged.y, there[0], there[1], gap, off);
    }
    std::printf("\nlargest distance from the batch fit: %.1e\n", worst);
    return worst < 1e-12 && gap < 0.1 ? 0 : 1;
}
