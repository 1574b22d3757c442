// SPDX-License-Identifier: MIT
#include "knotwork/fit/BsplineBasis.h"
#include "tests/solvers/RoadProbe.h"
#include "tests/solvers/SolverProbe.h"
#include "tests/support/Arrays.h"
#include "tests/support/Testing.h"

using namespace knotwork_test;

namespace {

/// A system of B-spline rows as hosts make them, and some as they should not.
struct SparseSystem {
    DoubleGenMat matrix;
    DoubleVec rhs;
    IntVec fixedCols;
    int constraints;
    double tolerance;
    bool normalise, clean, cutoff;
};

class SystemMaker {
  public:
    explicit SystemMaker(unsigned seed) : dice_(seed) {}

    SparseSystem make()
    {
        constexpr int kDegrees[] = {1, 2, 3, 3, 5};
        degree_ = kDegrees[dice_.below(5)];
        const int unknowns = 8 * (degree_ + 1) + below(24);
        const int samples = unknowns + below(4 * unknowns);
        const int constraints = below(8);
        basis_ = knotwork::BsplineBasis::uniform(degree_, 0.0, 1.0, unknowns - degree_);
        SparseSystem s = {DoubleGenMat(static_cast<unsigned>(samples + constraints),
                                       static_cast<unsigned>(unknowns), 0.0),
                          DoubleVec(static_cast<unsigned>(samples + constraints)),
                          IntVec(),
                          constraints,
                          std::pow(10.0, -10 - 2 * below(4)),
                          below(2) == 0,
                          below(3) == 0,
                          below(16) == 0};
        placeSamples(s, samples);
        for (int i = 0; i < constraints; ++i) placeConstraint(s, samples + i, samples);
        const double rhsScale = power(2, 8);
        for (int i = 0; i < samples + constraints; ++i)
            s.rhs(i) = rhsScale * (std::sin(0.3 * i) + 0.1 * dice_.unit());
        s.matrix *= power(3, 8);
        if (s.clean && below(2) == 0) s.fixedCols.reference(IntVec(2u, below(unknowns - 9), 7));
        return s;
    }

  private:
    int below(int n) { return static_cast<int>(dice_.below(static_cast<unsigned>(n))); }
    /// Mostly 1, else a power of ten up to 10^most either way.
    double power(int oneIn, int most)
    {
        return below(oneIn) != 0 ? 1.0 : std::pow(10.0, below(2 * most + 1) - most);
    }

    void setRow(SparseSystem& s, int row, double t, int derivative)
    {
        double entries[8];
        const int first = basis_.row(t, derivative, entries);
        for (int k = 0; k <= degree_; ++k) s.matrix(row, first + k) = entries[k];
    }

    void placeSamples(SparseSystem& s, int samples)
    {
        std::vector<int> order(static_cast<std::size_t>(samples));
        std::iota(order.begin(), order.end(), 0);
        if (below(3) == 0)
            for (int i = samples - 1; i > 0; --i)
                std::swap(order[static_cast<std::size_t>(i)],
                          order[static_cast<std::size_t>(below(i + 1))]);
        const double gap = below(4) == 0 ? 0.3 * dice_.unit() : 0.0;
        const double uneven = below(2) == 0 ? 0.5 : 0.0;
        for (int i = 0; i < samples; ++i) {
            if (below(200) == 0) continue;  // a row of zeros
            const double t = (i + 0.5 + uneven * (dice_.unit() - 0.5)) / samples;
            setRow(s, order[static_cast<std::size_t>(i)],
                   gap > 0.0 && t > 0.4 ? std::min(1.0, t + gap * (1.0 - t)) : t, 0);
        }
    }

    void placeConstraint(SparseSystem& s, int row, int first)
    {
        const int unknowns = static_cast<int>(s.matrix.cols());
        switch (below(12)) {
            case 0:  // the sum of all unknowns
                s.matrix.row(row) = 1.0 / unknowns;
                break;
            case 1:  // both ends alike
                s.matrix(row, 0) = 1.0;
                s.matrix(row, unknowns - 1) = -1.0;
                break;
            case 2:  // an earlier constraint again, or nearly so
                if (row > first) s.matrix.row(row) = s.matrix.row(first + below(row - first));
                if (below(3) != 0) s.matrix(row, below(unknowns)) += std::pow(10.0, -2 * below(8));
                break;
            case 3:
                setRow(s, row, dice_.unit(), std::min(1, degree_));
                break;
            default:
                setRow(s, row, below(4) == 0 ? below(2) : dice_.unit(), 0);
        }
    }

    Dice dice_;
    int degree_ = 3;
    knotwork::BsplineBasis basis_ = knotwork::BsplineBasis::uniform(3, 0.0, 1.0, 1);
};

/// How far x is from meeting the working constraints, over a bound for rounding and for the inner
/// products that may be skipped. (Of 120,000 systems the worst one takes 142 eps.)
double constraintRatio(const RoadProbe& solver, const SparseSystem& s, const DoubleVec& x)
{
    const DoubleGenMat a = solver.working();
    const int rows = static_cast<int>(a.rows());
    double worst = 0.0;
    for (int i = rows - solver.constraints(); i < rows; ++i) {
        const double factor = solver.isNormalised() ? solver.rhsMult()(i) : 1.0;
        const double d = s.rhs(solver.usedRow(i)) * factor;
        double residual = -d;
        double size = std::fabs(d);
        for (int j = 0; j < static_cast<int>(a.cols()); ++j) {
            residual += a(i, j) * x(solver.usedColIndex()(j));
            size += std::fabs(a(i, j)) * largest(x);
        }
        if (residual == 0.0) continue;
        worst = std::max(worst, std::fabs(residual) / (200.0 * kEps * size + 10.0 * s.tolerance));
    }
    return worst;
}

}  // namespace

TEST(RoadsTest, TheShortRoadLeadsWhereTheLiteralOneDoes)
{
    const int systems = trials(5000);
    SystemMaker maker(5);
    int shortRoads = 0;
    int dependent = 0;
    double worst = 0.0;
    for (int trial = 0; trial < systems; ++trial) {
        SCOPED_TRACE(trial);
        const SparseSystem s = maker.make();
        RoadProbe quick(s.tolerance, 0, true);
        RoadProbe literal(s.tolerance, 0, true);
        literal.keepToLiteralRoad();
        const int code =
            literal.setMatrix(s.matrix, s.fixedCols, s.constraints, s.normalise, s.clean, s.cutoff);
        ASSERT_EQ(
            quick.setMatrix(s.matrix, s.fixedCols, s.constraints, s.normalise, s.clean, s.cutoff),
            code);
        ASSERT_FALSE(literal.onShortRoad());
        shortRoads += quick.onShortRoad() ? 1 : 0;
        dependent += code != 0 ? 1 : 0;
        ASSERT_EQ(elements(quick.usedColIndex()), elements(literal.usedColIndex()));
        ASSERT_NEAR(quick.tolerance(), literal.tolerance(),
                    1e-13 * largest(s.matrix.dataVec()) * s.matrix.rows());

        DoubleVec x(s.matrix.cols(), 0.5);
        DoubleVec expected(s.matrix.cols(), 0.5);
        ASSERT_EQ(quick.solve(s.rhs, &x, s.fixedCols.length() > 0),
                  literal.solve(s.rhs, &expected, s.fixedCols.length() > 0));
        const double difference = largest(x - expected);
        const double size = largest(expected);
        EXPECT_LE(difference, 1e-9 * size);
        if (size > 0.0) worst = std::max(worst, difference / size);
        if (!quick.onShortRoad() || s.fixedCols.length() > 0) continue;
        EXPECT_LE(constraintRatio(quick, s, x), 1.0);
        EXPECT_LE(constraintRatio(literal, s, expected), 1.0);
    }
    EXPECT_GT(shortRoads, systems / 3) << "or the comparison says nothing";
    EXPECT_GT(dependent, systems / 100);
    recordWorst(worst);
    RecordProperty("shortRoads", shortRoads);
}

namespace {

TtupleVector wavyPoints(int coordinates, int points)
{
    TtupleVector b(coordinates, points, 0.0);
    for (int k = 0; k < coordinates; ++k)
        for (int i = 0; i < points; ++i) b.component(k)(i) = std::sin(0.1 * i * (k + 1)) + k;
    return b;
}

struct Roads {
    explicit Roads(const DoubleGenMat& a) : quick(1e-12, 0, true), literal(1e-12, 0, true)
    {
        literal.keepToLiteralRoad();
        for (RoadProbe* solver : {&quick, &literal})
            EXPECT_EQ(solver->setMatrix(a, 3, true, false, false), 0);
        EXPECT_TRUE(quick.onShortRoad());
    }
    RoadProbe quick, literal;
};

}  // namespace

TEST(RoadsTest, DenseSystemsInBlocksLeadWhereTheLiteralRoadDoes)
{
    Dice dice(9);
    const auto below = [&](int n) {
        return static_cast<int>(dice.below(static_cast<unsigned>(n)));
    };
    const int systems = trials(400);
    int shortRoads = 0;
    double worst = 0.0;
    for (int trial = 0; trial < systems; ++trial) {
        SCOPED_TRACE(trial);
        const int unknowns = 32 + below(50);
        const int samples = unknowns + below(3 * unknowns);
        const int constraints = below(10);
        const int rows = samples + constraints;
        SparseSystem s = {randomMatrix(static_cast<unsigned>(rows), static_cast<unsigned>(unknowns),
                                       static_cast<unsigned>(trial)),
                          DoubleVec(static_cast<unsigned>(rows)),
                          IntVec(),
                          constraints,
                          std::pow(10.0, -10 - 2 * below(3)),
                          below(2) == 0,
                          below(2) == 0,
                          false};
        s.matrix *= std::pow(10.0, below(3) == 0 ? below(13) - 6 : 0);
        for (int i = 0; i < rows; ++i) s.rhs(i) = dice.unit() - 0.5;
        if (below(4) == 0 && constraints > 1) {  // two constraints alike, or nearly so
            s.matrix.row(rows - 1) = s.matrix.row(rows - 2);
            s.matrix(rows - 1, 3) *= 1.0 + std::pow(10.0, -4 * below(5));
        }
        if (below(8) == 0) s.matrix.col(5) = 0.0;
        if (below(8) == 0) s.matrix.col(7) = s.matrix.col(11);

        RoadProbe quick(s.tolerance, 0, true);
        RoadProbe literal(s.tolerance, 0, true);
        literal.keepToLiteralRoad();
        const int code = literal.setMatrix(s.matrix, constraints, s.normalise, s.clean, false);
        ASSERT_EQ(quick.setMatrix(s.matrix, constraints, s.normalise, s.clean, false), code);
        shortRoads += quick.onShortRoad() ? 1 : 0;
        DoubleVec x(s.matrix.cols());
        DoubleVec expected(s.matrix.cols());
        ASSERT_EQ(quick.solve(s.rhs, &x, false), literal.solve(s.rhs, &expected, false));
        const double difference = largest(x - expected);
        EXPECT_LE(difference, 1e-9 * largest(expected));
        if (difference > 0.0) worst = std::max(worst, difference / largest(expected));
        if (!quick.onShortRoad()) continue;
        EXPECT_LE(constraintRatio(quick, s, x), 1.0);
    }
    EXPECT_GT(shortRoads, systems / 4);
    recordWorst(worst);
    RecordProperty("shortRoads", shortRoads);
}

TEST(RoadsTest, ManyCoordinatesGiveWhatEachGivesAlone)
{
    const Roads kinds[] = {Roads(curveMatrix(200, 30)), Roads(randomMatrix(203, 40, 1))};
    for (const Roads& roads : kinds)
        for (const int coordinates : {1, 3, 4, 5, 16, 37}) {
            const TtupleVector b = wavyPoints(coordinates, 203);
            TtupleVector x = roads.quick.solve(b);
            TtupleVector expected = roads.literal.solve(b);
            EXPECT_LE(largest(x.data() - expected.data()), 1e-12 * largest(expected.data()))
                << coordinates;
        }
}

TEST(RoadsTest, NumbersWithinReachOfTheThresholdsTakeTheLiteralRoad)
{
    const Roads roads(curveMatrix(200, 30));
    TtupleVector b = wavyPoints(4, 203);
    b.component(1) *= 1e-13;  // what is negligible is 1e-13
    b.component(2) = 0.0;
    TtupleVector x = roads.quick.solve(b);
    TtupleVector expected = roads.literal.solve(b);
    EXPECT_EQ(elements(x.component(1)), elements(expected.component(1))) << "to the bit";
    EXPECT_NE(largest(x.component(1)), 0.0);
    EXPECT_EQ(largest(x.component(2)), 0.0);
}

TEST(RoadsTest, ANumberThatIsNotFiniteSpoilsItsCoordinateAndNoOther)
{
    DoubleGenMat withEmptyRow = curveMatrix(200, 30);
    withEmptyRow.row(7) = 0.0;
    const struct {
        const char* name;
        DoubleGenMat matrix;
        bool normalise;
        bool shortRoad;
    } cases[] = {
        {"sparse", curveMatrix(200, 30), false, true},
        {"a row of zeros, which nothing else looks at", withEmptyRow, false, true},
        {"the same, scaled", withEmptyRow, true, true},
        {"dense", randomMatrix(203, 40, 1), true, true},
        {"unknowns without a pivot", randomMatrix(9, 14, 1), false, false},
    };
    for (const auto& c : cases)
        for (const bool literal : {false, true})
            for (const int coordinates : {1, 3, 5, 21}) {
                SCOPED_TRACE(testing::Message() << c.name << ", " << literal << coordinates);
                RoadProbe solver(1e-12, 0, true);
                if (literal) solver.keepToLiteralRoad();
                ASSERT_EQ(solver.setMatrix(c.matrix, 3, c.normalise, false, false), 0);
                ASSERT_EQ(solver.onShortRoad(), c.shortRoad && !literal);
                const int rows = static_cast<int>(c.matrix.rows());
                TtupleVector b = wavyPoints(coordinates, rows);
                TtupleVector expected = solver.solve(b);
                const int spoilt = coordinates / 2;
                for (const double number : {std::numeric_limits<double>::infinity(),
                                            std::numeric_limits<double>::quiet_NaN()}) {
                    b.component(spoilt)(7) = number;
                    TtupleVector x(coordinates, static_cast<int>(c.matrix.cols()), 0.5);
                    ASSERT_EQ(solver.TbaseSolver::solve(b, &x, false), 0);
                    for (int k = 0; k < coordinates; ++k)
                        for (int j = 0; j < x.points(); ++j)
                            if (k == spoilt)
                                ASSERT_TRUE(std::isnan(x.component(k)(j))) << j;
                            else
                                ASSERT_EQ(x.component(k)(j), expected.component(k)(j));
                }
            }
    // A row that is not used may hold anything.
    RoadProbe solver(1e-12, 0, true);
    ASSERT_EQ(solver.setMatrix(withEmptyRow, 3, false, true, false), 0);
    DoubleVec b(203u, 1.0, 0.25);
    const std::vector<double> expected = elements(solver.TbaseSolver::solve(b));
    b(7) = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(elements(solver.TbaseSolver::solve(b)), expected);
}

TEST(RoadsTest, VanishingSingularValuesAreZerosOnBothRoads)
{
    DoubleGenMat twins = curveMatrix(200, 30);
    twins.col(9) = twins.col(8);
    DoubleGenMat twoPairs(twins.copy());
    twoPairs.col(21) = twoPairs.col(20);
    const struct {
        const char* name;
        DoubleGenMat matrix;
        double scale;
    } cases[] = {
        {"one value vanishes", twins, 1.0},
        {"two do", twoPairs, 1.0},
        {"two do, and no other is below 1", twoPairs, 100.0},
        {"all are small", twoPairs, 1e-3},
    };
    for (const auto& c : cases)
        for (const bool clean : {false, true}) {
            SCOPED_TRACE(testing::Message() << c.name << ", " << clean);
            RoadProbe quick(0.0, 0, true);
            RoadProbe literal(0.0, 0, true);
            literal.keepToLiteralRoad();
            const DoubleGenMat a = c.matrix * c.scale;
            EXPECT_EQ(quick.setMatrix(a, 3, false, clean, true),
                      literal.setMatrix(a, 3, false, clean, true));
            EXPECT_NEAR(quick.tolerance(), literal.tolerance(), 1e-12 * literal.tolerance());
        }
}

TEST(RoadsTest, ConstraintsMayFixEveryUnknown)
{
    DoubleGenMat band(90, 40, 0.0);
    for (int i = 0; i < 90; ++i) {
        band(i, i % 40) = 2.0;
        band(i, std::max(i % 40 - 1, 0)) += 1.0;
    }
    DoubleGenMat square(randomMatrix(40, 40, 3));
    for (int i = 0; i < 40; ++i) square(i, i) += 8.0;
    for (const DoubleGenMat& a : {band, square}) {
        RoadProbe quick(1e-13, 0, false);
        RoadProbe literal(1e-13, 0, false);
        literal.keepToLiteralRoad();
        ASSERT_EQ(quick.setMatrix(a, 40, true, false, false), 0);
        EXPECT_TRUE(quick.onShortRoad());
        ASSERT_EQ(literal.setMatrix(a, 40, true, false, false), 0);
        const DoubleVec b(a.rows(), 1.0, 0.25);
        const DoubleVec expected = literal.solve(b);
        EXPECT_LE(largest(quick.solve(b) - expected), 1e-9 * largest(expected));
    }
}

TEST(RoadsTest, CopiesSharersAndTheDampedMatrixDoNotShowTheRoad)
{
    const DoubleGenMat a = curveMatrix(200, 30);
    Roads roads(a);
    EXPECT_EQ(roads.quick.altMatrix(), roads.literal.altMatrix());
    EXPECT_EQ(elements(roads.quick.originalColumn(4)), elements(a.col(4)));

    const DoubleVec b(203u, 1.0, 0.25);
    const std::vector<double> answer = elements(roads.quick.solve(b));
    const RoadProbe copy(roads.quick);
    RoadProbe shared(1e-3, 5, false);
    shared.reference(roads.quick);
    shared.deepenShallowCopy();
    DoubleGenMat other = curveMatrix(90, 25);
    roads.quick.setMatrix(other, 3, false, false, false);
    other = 0.0;  // the caller's matrix is never looked at again
    EXPECT_EQ(elements(copy.solve(b)), answer);
    EXPECT_EQ(elements(shared.solve(b)), answer);
    EXPECT_EQ(elements(roads.quick.solve(DoubleVec(93u, 1e-12))).size(), 25u);
    EXPECT_EQ(roads.quick.altSolve(TtupleVector(1, 93, 1.0), 1).points(), 25);
}

TEST(RoadsTest, BothRoadsTellTheSame)
{
    const DoubleGenMat a = curveMatrix(900, 100);
    std::vector<std::vector<std::string>> told;
    for (const bool literal : {true, false}) {
        ListeningReporter reporter;
        RoadProbe solver(reporter, 1e-12, 0, false);
        if (literal) solver.keepToLiteralRoad();
        solver.setMatrix(a, 3, false, true, false);
        EXPECT_NE(solver.onShortRoad(), literal);
        told.push_back(reporter.lines);
    }
    EXPECT_EQ(told[0], told[1]);
    EXPECT_GT(told[0].size(), 2u);
}
