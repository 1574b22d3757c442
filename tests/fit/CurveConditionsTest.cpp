// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <set>

#include "knotwork/fit/CurveAccumulator.h"
#include "knotwork/fit/CurveFit.h"
#include "measures/QuadLeastSquares.h"
#include "tests/fit/Problems.h"

namespace {

using knotwork::BsplineBasis;
using knotwork::CurveConstraint;
using knotwork::CurveFitOptions;
using knotwork::FittedCurve;
using knotwork::FitVerdict;
using knotwork_measures::ConstrainedLeastSquares;
using knotwork_measures::Quad;
using knotwork_measures::QuadMatrix;
using namespace knotwork_test;

/// A curve fit that may be asked for anything.
struct Asked : FitProblem {
    CurveFitOptions options;
};

double within(Dice& dice)
{
    return 2.0 * dice.unit() - 1.0;
}

std::vector<double> numbers(int count, Dice& dice)
{
    std::vector<double> all;
    for (int i = 0; i < count; ++i) all.push_back(within(dice));
    return all;
}

std::vector<char> someCoordinates(int dimension, Dice& dice)
{
    if (dice.below(3) == 0) return {};
    std::vector<char> mask;
    for (int k = 0; k < dimension; ++k) mask.push_back(dice.below(2) == 0 ? 1 : 0);
    mask[dice.below(static_cast<unsigned>(dimension))] = 1;
    return mask;
}

/// One to three things of each kind or of some, at places of their own.
void askForSome(Asked& p, Dice& dice)
{
    const double first = p.basis.first();
    const auto place = [&] { return first + p.basis.period() * dice.unit(); };
    const auto order = [&] { return static_cast<int>(dice.below(2)); };
    for (unsigned i = dice.below(3); i-- > 0;)
        p.constraints.push_back(
            {place(), order(), numbers(p.dimension, dice), someCoordinates(p.dimension, dice)});
    for (unsigned i = dice.below(2); i-- > 0;) {
        knotwork::LinearConstraint sum;
        for (unsigned t = 1 + dice.below(3); t-- > 0;)
            sum.terms.push_back({3.0 * within(dice), place(), order()});
        sum.value = numbers(p.dimension, dice);
        sum.mask = someCoordinates(p.dimension, dice);
        p.options.linear.push_back(sum);
    }
    for (unsigned i = dice.below(2); i-- > 0;)
        p.options.held.push_back(
            {static_cast<int>(dice.below(static_cast<unsigned>(p.basis.unknowns()))),
             numbers(p.dimension, dice), someCoordinates(p.dimension, dice)});
    for (unsigned i = p.dimension > 1 ? dice.below(3) : 0; i-- > 0;)
        p.options.directions.push_back({place(), numbers(p.dimension, dice)});
}

Asked randomProblem(Dice& dice)
{
    Asked p;
    p.dimension = 1 + static_cast<int>(dice.below(3));
    const int degree = 2 + static_cast<int>(dice.below(4));
    const int spans = degree + 1 + static_cast<int>(dice.below(6));
    const double length = std::pow(10.0, within(dice));
    const double first = within(dice);
    p.basis = dice.below(2) == 0
                  ? BsplineBasis::uniform(degree, first, first + length, spans)
                  : BsplineBasis::periodicUniform(degree, first, first + length, spans);
    // One in four has too few data, which conditions or smoothing make up for or not.
    const int count =
        dice.below(4) == 0 ? 1 + static_cast<int>(dice.below(8)) : 4 * p.basis.count();
    const double range = p.basis.period();
    for (int i = 0; i < count; ++i)
        p.parameters.push_back(
            std::min(p.basis.first() + range * (i + dice.unit()) / count, p.basis.last()));
    p.points = numbers(count * p.dimension, dice);
    askForSome(p, dice);
    if (dice.below(3) == 0) {
        p.options.smoothing = std::pow(10.0, 3.0 * within(dice) - 2.0);
        p.options.smoothingOrder = degree;  // so that the derivative is constant in a span
    }
    return p;
}

/// All numbers of all control points as unknowns, whatever couples them, in quadruple precision.
class Reference {
  public:
    explicit Reference(const Asked& p) : p_(p), n_(p.basis.unknowns()), d_(p.dimension)
    {
        for (std::size_t i = 0; i < p.parameters.size(); ++i)
            for (int k = 0; k < d_; ++k)
                add(data_, {{1.0, p.parameters[i], 0}}, k,
                    p.points[i * static_cast<std::size_t>(d_) + static_cast<std::size_t>(k)]);
        if (p.options.smoothing) addRoughness(*p.options.smoothing);
        for (const CurveConstraint& c : p.constraints)
            addMasked({{1.0, c.parameter, c.derivative}}, c.value, c.mask);
        for (const auto& c : p.options.linear) addMasked(c.terms, c.value, c.mask);
        for (const auto& c : p.options.held)
            for (int k = 0; k < d_; ++k) {
                if (!holds(c.mask, k)) continue;
                held_.push_back({std::vector<Quad>(static_cast<std::size_t>(n_ * d_), 0),
                                 c.value[static_cast<std::size_t>(k)]});
                held_.back().entries[static_cast<std::size_t>(c.number * d_ + k)] = 1;
            }
        for (const auto& c : p.options.directions) {
            const auto longest = static_cast<int>(
                std::max_element(c.direction.begin(), c.direction.end(),
                                 [](double a, double b) { return std::fabs(a) < std::fabs(b); }) -
                c.direction.begin());
            for (int k = 0; k < d_; ++k) {
                if (k == longest) continue;
                const auto at = [&c](int j) { return c.direction[static_cast<std::size_t>(j)]; };
                add(held_, {{at(longest), c.parameter, 1}}, k, 0.0);
                addTo(held_.back(), {{-at(k), c.parameter, 1}}, longest);
            }
        }
    }

    /// The control points and the condition; no points where constraints or data do not fix them.
    std::vector<double> solve(double& condition) const
    {
        const ConstrainedLeastSquares system(matrix(data_), matrix(held_));
        if (!system.determined()) return {};
        condition = system.condition();
        const QuadMatrix x = system.solve(rightSides(data_), rightSides(held_));
        std::vector<double> points;
        for (int j = 0; j < n_ * d_; ++j) points.push_back(static_cast<double>(x(j, 0)));
        return points;
    }

  private:
    struct Row {
        std::vector<Quad> entries;
        Quad right;
    };
    using Terms = std::vector<knotwork::LinearConstraint::Term>;

    static bool holds(const std::vector<char>& mask, int k)
    {
        return mask.empty() || mask[static_cast<std::size_t>(k)] != 0;
    }
    void addTo(Row& row, const Terms& terms, int k) const
    {
        for (const auto& term : terms) {
            Quad values[BsplineBasis::kMostDegree + 1];
            const int first =
                knotwork_measures::basisRow(p_.basis, term.parameter, term.derivative, values);
            for (int j = 0; j <= p_.basis.degree(); ++j)
                row.entries[static_cast<std::size_t>((first + j) % n_ * d_ + k)] +=
                    term.factor * values[j];
        }
    }
    void add(std::vector<Row>& rows, const Terms& terms, int k, double right) const
    {
        rows.push_back({std::vector<Quad>(static_cast<std::size_t>(n_ * d_), 0), right});
        addTo(rows.back(), terms, k);
    }
    void addRoughness(double lambda)
    {
        const Numbers ends = p_.basis.breakpoints();
        for (std::size_t s = 0; s + 1 < ends.size(); ++s) {
            Quad square = static_cast<Quad>(lambda) * static_cast<double>(p_.parameters.size()) *
                          (static_cast<Quad>(ends[s + 1]) - ends[s]);
            for (int i = 1; i < 2 * p_.options.smoothingOrder; ++i)
                square *= static_cast<Quad>(p_.basis.last()) - p_.basis.first();
            for (int k = 0; k < d_; ++k) {
                add(data_, {{1.0, 0.5 * (ends[s] + ends[s + 1]), p_.options.smoothingOrder}}, k,
                    0.0);
                for (Quad& x : data_.back().entries) x *= knotwork_measures::root(square);
            }
        }
    }
    void addMasked(const Terms& terms, const std::vector<double>& value,
                   const std::vector<char>& mask)
    {
        for (int k = 0; k < d_; ++k)
            if (holds(mask, k)) add(held_, terms, k, value[static_cast<std::size_t>(k)]);
    }
    QuadMatrix matrix(const std::vector<Row>& rows) const
    {
        QuadMatrix columns(n_ * d_, static_cast<int>(rows.size()));
        for (std::size_t i = 0; i < rows.size(); ++i)
            for (int j = 0; j < n_ * d_; ++j)
                columns(j, static_cast<int>(i)) = rows[i].entries[static_cast<std::size_t>(j)];
        return columns;
    }
    static QuadMatrix rightSides(const std::vector<Row>& rows)
    {
        QuadMatrix b(static_cast<int>(rows.size()), 1);
        for (std::size_t i = 0; i < rows.size(); ++i) b(static_cast<int>(i), 0) = rows[i].right;
        return b;
    }

    const Asked& p_;
    int n_;
    int d_;
    std::vector<Row> data_;
    std::vector<Row> held_;
};

int times()
{
    const char* asked = std::getenv("KNOTWORK_CONDITIONS_TIMES");
    return asked != nullptr ? std::atoi(asked) : 1;
}

// 250 random fits with mixed conditions, open and closed, and as many times more as
// KNOTWORK_CONDITIONS_TIMES says; from samples and from an accumulator.
TEST(CurveConditionsTest, MixedOnesHoldAndTheRestIsTheLeastSquaresFit)
{
    int answered = 0;
    int refused = 0;
    for (int run = 0; run < 250 * times(); ++run) {
        SCOPED_TRACE(run);
        Dice dice(static_cast<unsigned>(7000 + run));
        const Asked p = randomProblem(dice);
        double condition = 0.0;
        const std::vector<double> expected = Reference(p).solve(condition);
        const bool open = expected.empty();
        knotwork::CurveAccumulator gathered(p.basis, p.dimension);
        gathered.add(
            {static_cast<int>(p.parameters.size()), p.parameters.data(), p.points.data(), nullptr});
        // What an accumulator rounded stays, and tells sooner.
        double sure = 1e8;
        for (const FittedCurve& curve :
             {p.fit(p.options), fitCurve(gathered, p.constraints, p.options)}) {
            ASSERT_FALSE(open && curve.fits());
            ASSERT_TRUE(open || condition > sure || curve.fits()) << curve.report.reason;
            sure = 1e5;
            if (!curve.fits()) continue;
            double size = 1.0;
            for (const double x : expected) size = std::max(size, std::fabs(x));
            for (std::size_t i = 0; i < expected.size(); ++i)
                ASSERT_NEAR(curve.controlPoints[i], expected[i],
                            (condition < 1e5 ? 1e-10 : 1e-6) * size)
                    << condition;
        }
        ++(open ? refused : answered);
    }
    EXPECT_GE(answered, 150 * times());
    EXPECT_GE(refused, 10 * times());
}

// Sets of 2 to 6 of 20 values and slopes, one of them the sum of the others, in 200 random orders,
// and as many times more.
TEST(CurveConditionsTest, ThoseThatDependOnEachOtherAreNamed)
{
    for (int run = 0; run < 200 * times(); ++run) {
        SCOPED_TRACE(run);
        Dice dice(static_cast<unsigned>(9000 + run));
        Asked p;
        p.basis = run % 2 == 0 ? BsplineBasis::uniform(3, 0.0, 30.0, 30)
                               : BsplineBasis::periodicUniform(3, 0.0, 30.0, 30);
        for (int i = 0; i < 200; ++i) p.parameters.push_back(30.0 * (i + 0.5) / 200);
        p.points = numbers(200, dice);
        std::vector<knotwork::LinearConstraint> asked;
        for (int i = 0; i < 19; ++i)
            asked.push_back(
                {{{1.0, 1.5 * i + dice.unit(), static_cast<int>(dice.below(2))}}, {within(dice)}});
        std::set<std::size_t> chosen;
        while (chosen.size() < 1 + dice.below(5) || chosen.empty()) chosen.insert(dice.below(19));
        knotwork::LinearConstraint sum = {{}, {0.0}};
        for (const std::size_t i : chosen) {
            const double factor = 0.5 + dice.unit();
            const auto& term = asked[i].terms.front();
            sum.terms.push_back({factor, term.parameter, term.derivative});
            sum.value[0] += factor * asked[i].value[0];
        }
        const bool contradicts = dice.below(2) == 0;
        if (contradicts) sum.value[0] += 0.125;
        const auto place = static_cast<std::size_t>(dice.below(20));
        asked.insert(asked.begin() + static_cast<std::ptrdiff_t>(place), sum);
        std::set<int> named = {static_cast<int>(place)};
        for (const std::size_t i : chosen) named.insert(static_cast<int>(i + (i >= place ? 1 : 0)));
        p.options.linear = asked;
        const FittedCurve curve = p.fit(p.options);
        ASSERT_EQ(curve.report.verdict, FitVerdict::kDependentConstraints);
        const std::string& reason = curve.report.reason;
        std::set<int> found;
        int before = -1;
        for (const char* c = std::strpbrk(reason.c_str(), "0123456789");
             c != nullptr && c < reason.c_str() + reason.find(", which");
             c = std::strpbrk(c + std::strspn(c, "0123456789"), "0123456789")) {
            const int number = std::atoi(c);
            if (std::string(c - 3, 3) == "to ")
                while (++before < number) found.insert(before);
            found.insert(before = number);
        }
        EXPECT_EQ(found, named) << reason;
        EXPECT_THAT(reason,
                    HasSubstr(contradicts ? "contradict each other by" : "repeat each other"));
    }
}

TEST(CurveConditionsTest, OnlyTheCoordinatesOfTheMaskAreHeld)
{
    Dice dice(3);
    Asked p;
    p.dimension = 2;
    p.basis = BsplineBasis::uniform(3, 0.0, 1.0, 6);
    for (int i = 0; i < 60; ++i) p.parameters.push_back((i + 0.5) / 60);
    p.points = numbers(120, dice);
    const FittedCurve free = p.fit();
    p.constraints = {{0.5, 0, {9.0, kNaN}, {1, 0}}};
    const FittedCurve held = p.fit();
    ASSERT_TRUE(held.met());
    EXPECT_NEAR(held.at(0.5)[0], 9.0, 1e-14);
    for (std::size_t i = 1; i < free.controlPoints.size(); i += 2)
        EXPECT_NEAR(held.controlPoints[i], free.controlPoints[i], 1e-14);
}

TEST(CurveConditionsTest, ATangentThatPointsTheOtherWayIsReported)
{
    Asked p;
    p.dimension = 2;
    p.basis = BsplineBasis::uniform(3, 0.0, 1.0, 4);
    for (int i = 0; i < 50; ++i) {
        p.parameters.push_back(i / 49.0);
        p.points.insert(p.points.end(), {i / 49.0, 0.1 * std::sin(i / 9.0)});
    }
    p.options.directions = {{0.5, {-1.0, 1e-3}}};
    FittedCurve curve = p.fit(p.options);
    ASSERT_TRUE(curve.met()) << curve.report.reason;
    const std::vector<double> tangent = curve.at(0.5, 1);
    EXPECT_NEAR(tangent[1], -1e-3 * tangent[0], 1e-14 * std::fabs(tangent[0]));
    EXPECT_THAT(curve.report.remarks,
                ElementsAre("the tangent at 0.5 points against its direction"));
    p.options.directions = {{0.5, {1.0, 1e-3}}};
    EXPECT_THAT(p.fit(p.options).report.remarks, IsEmpty());
    p.options.directions.clear();
    p.options.held = {{3, {0.4, 0.1}}, {2, {0.4, 0.1}}, {4, {0.4, 0.1}}};
    p.options.directions = {{0.5, {1.0, 0.0}}};
    curve = p.fit(p.options);
    EXPECT_FALSE(curve.fits());  // the direction is asked of a point that stands still
}

struct BadCase {
    const char* name;
    void (*ask)(Asked&);
    const char* reason;
};

const BadCase kBadCases[] = {
    {"MaskSize",
     [](Asked& p) {
         p.constraints = {{0, 0, {1, 1}, {1}}};
     },
     "the mask of constraint 0 needs one flag a coordinate"},
    {"MaskOfNothing",
     [](Asked& p) {
         p.constraints = {{0, 0, {1, 1}, {0, 0}}};
     },
     "the mask of constraint 0 leaves all coordinates free"},
    {"NoTerms",
     [](Asked& p) {
         p.options.linear = {{{}, {1, 1}}};
     },
     "linear constraint 0 has no terms"},
    {"TermOutside",
     [](Asked& p) {
         p.options.linear = {{{{1, 2, 0}}, {1, 1}}};
     },
     "linear constraint 0, at 2, lies outside the knots"},
    {"FactorsZero",
     [](Asked& p) {
         p.options.linear = {{{{0, 0, 0}}, {1, 1}}};
     },
     "all factors of linear constraint 0 are 0"},
    {"DirectionLength",
     [](Asked& p) {
         p.options.directions = {{0, {0, 0}}};
     },
     "direction 0 has length 0"},
    {"DirectionDimension",
     [](Asked& p) {
         p.options.directions = {{0, {1, 0, 0}}};
     },
     "direction 0 needs one number a coordinate"},
    {"DirectionFitted",
     [](Asked& p) {
         p.options.directions = {{0, {1, 0}}};
         p.options.method = knotwork::FitMethod::kQr;
     },
     "a direction holds exactly: the method that fits constraints is not for it"},
    {"HeldOutside",
     [](Asked& p) {
         p.options.held = {{5, {0, 0}}};
     },
     "held control point 0 is no control point: number 5"}};

TEST(CurveConditionsTest, WhatCannotBeMeantIsRefusedWithItsReason)
{
    for (const BadCase& c : kBadCases) {
        SCOPED_TRACE(c.name);
        Asked p;
        p.dimension = 2;
        p.basis = BsplineBasis::uniform(3, 0.0, 1.0, 2);
        for (int i = 0; i < 20; ++i) p.parameters.push_back(i / 19.0);
        p.points.assign(40, 1.0);
        c.ask(p);
        const FittedCurve curve = p.fit(p.options);
        EXPECT_EQ(curve.report.verdict, FitVerdict::kBadInput);
        EXPECT_EQ(curve.report.reason, c.reason);
        EXPECT_TRUE(curve.controlPoints.empty());
    }
}

}  // namespace
