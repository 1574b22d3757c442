// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <numeric>
#include <string>
#include <vector>

#include "knotwork/factor/linpack.h"
#include "tests/factor/MatrixFamilies.h"
#include "tests/support/CaseName.h"

namespace {

using checks::frobeniusNorm;
using checks::kEps;
using checks::randomMatrix;
using testing::ElementsAre;
using testing::ElementsAreArray;

constexpr double kUntouched = 123.25;

enum Job { kQy = 10000, kQty = 1000, kSolution = 100, kResidual = 10, kFitted = 1 };

/// A factorisation in arrays that have rows below the published ones and a column behind them.
struct Factored {
    int n, p, leading, size;
    std::vector<double> x;
    std::vector<double> qraux;
    std::vector<int> jpvt;  // 0-based once factored with job 1

    Factored(const DoubleGenMat& a, int job, const std::vector<int>& specifiers = {})
        : n(static_cast<int>(a.rows())),
          p(static_cast<int>(a.cols())),
          leading(n + 2),
          size(std::min(n, p)),
          x(place(0, p + 1), kUntouched),
          qraux(place(p + 1), kUntouched),
          jpvt(specifiers)
    {
        jpvt.resize(place(p));
        for (int j = 0; j < p; ++j)
            for (int i = 0; i < n; ++i) x[place(i, j)] = a(i, j);
        std::vector<double> work(qraux);
        EXPECT_EQ(knotwork::linpack::dqrdc(x.data(), &leading, &n, &p, qraux.data(), jpvt.data(),
                                           work.data(), &job),
                  0);
        for (int j = 0; j <= p; ++j)
            for (int i = j < p ? n : 0; i < leading; ++i)
                EXPECT_EQ(x[place(i, j)], kUntouched) << i << ' ' << j;
        EXPECT_EQ(qraux.back(), kUntouched);
        EXPECT_EQ(work.back(), kUntouched);
        if (job != 0)
            for (int& position : jpvt) --position;
    }
    std::size_t place(int i, int j = 0) const { return static_cast<std::size_t>(leading * j + i); }

    DoubleGenMat r() const
    {
        DoubleGenMat upper(static_cast<unsigned>(n), static_cast<unsigned>(p), 0.0);
        for (int j = 0; j < p; ++j)
            for (int i = 0; i <= j && i < n; ++i) upper(i, j) = x[place(i, j)];
        return upper;
    }
    /// One output of dqrsl, given a shared scratch for Q^T y where one is needed.
    DoubleVec apply(Job job, int k, const DoubleVec& y) const
    {
        DoubleVec out(job == kSolution ? static_cast<unsigned>(k) : y.length(), 0.0);
        DoubleVec scratch(y.length());
        double* to = out.data();
        const int code = job;
        int info = -1;
        knotwork::linpack::dqrsl(x.data(), &leading, &n, &k, qraux.data(), y.data(), to,
                                 job == kSolution ? scratch.data() : to, to, to, to, &code, &info);
        EXPECT_EQ(info, 0);
        return out;
    }
    DoubleGenMat q() const
    {
        DoubleGenMat columns = checks::identity(static_cast<unsigned>(n));
        for (int j = 0; j < n; ++j) columns.col(j) = apply(kQy, size, columns.col(j));
        return columns;
    }
};

/// The largest of some ratios; NaN wins.
class Worst {
  public:
    void note(double ratio)
    {
        if (!(ratio <= value_)) value_ = ratio;
    }
    double value() const { return value_; }

  private:
    double value_ = 0.0;
};

struct Ratios {
    Worst reconstruction, orthogonality, order, return_, split;
};

DoubleGenMat permuted(const DoubleGenMat& a, const std::vector<int>& order)
{
    DoubleGenMat result(a.rows(), a.cols());
    for (std::size_t j = 0; j < order.size(); ++j)
        result.col(static_cast<int>(j)) = a.col(order[j]);
    return result;
}

/// By how much a free column that waited was longer than the pivot that was taken: in squares, for
/// those are what is subtracted from, relative to the column's own.
void noteOrder(const DoubleGenMat& r, int first, int end, Worst& worst)
{
    const double unit = std::max(r.rows(), r.cols()) * kEps;
    const int rows = static_cast<int>(r.rows());
    for (int k = first; k < std::min(end, rows); ++k)
        for (int j = k + 1; j < end; ++j) {
            const double length = r.col(j).vecLen();
            if (length == 0.0) continue;
            const double left =
                r.col(j).slice(k, static_cast<unsigned>(rows - k), 1).vecLen() / length;
            const double taken = r(k, k) / length;
            worst.note((left * left - taken * taken) / unit);
        }
}

/// Initial columns in front and final ones behind; returns the range of the free ones.
std::pair<int, int> expectPlaces(const std::vector<int>& specifiers, const std::vector<int>& order)
{
    std::vector<int> sorted(order);
    std::sort(sorted.begin(), sorted.end());
    for (std::size_t j = 0; j < sorted.size(); ++j) EXPECT_EQ(sorted[j], static_cast<int>(j));
    const auto kind = [&](int column) {
        const int specifier = specifiers[static_cast<std::size_t>(column)];
        return (specifier < 0) - (specifier > 0);
    };
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end(),
                               [&](int a, int b) { return kind(a) < kind(b); }));
    const auto count = [&](int wanted) {
        return static_cast<int>(std::count_if(order.begin(), order.end(),
                                              [&](int column) { return kind(column) == wanted; }));
    };
    return {count(-1), count(-1) + count(0)};
}

void check(const DoubleGenMat& a, const Factored& f, const DoubleGenMat& pivoted,
           std::mt19937& generator, Ratios& ratios)
{
    const double unit = std::max(a.rows(), a.cols()) * kEps;
    const double size = frobeniusNorm(a);
    const DoubleGenMat q = f.q();
    const double off = frobeniusNorm(pivoted - product(q, f.r()));
    if (off > 0.0) ratios.reconstruction.note(off / (size * unit));
    if (f.n == 0) return;
    ratios.orthogonality.note(checks::orthogonalityError(q) / unit);

    const DoubleVec y = randomMatrix(a.rows(), 1, generator).col(0);
    const int k = std::uniform_int_distribution<int>(0, f.size)(generator);
    const double length = y.vecLen() * unit;
    ratios.return_.note((f.apply(kQy, k, f.apply(kQty, k, y)) - y).vecLen() / length);
    const DoubleVec fitted = f.apply(kFitted, k, y);
    const DoubleVec rest = f.apply(kResidual, k, y);
    ratios.split.note((fitted + rest - y).vecLen() / length);
    ratios.split.note(std::fabs(dot(fitted, rest)) / (y.vecLen() * length));
}

struct Family {
    const char* name;
    std::function<DoubleGenMat(unsigned n, unsigned p, std::mt19937&)> make;
    friend void PrintTo(const Family& family, std::ostream* os) { *os << family.name; }
};

/// All columns nearly the same: after one step nothing of their norms is left.
DoubleGenMat nearlyParallel(unsigned n, unsigned p, std::mt19937& generator)
{
    const DoubleVec common = randomMatrix(n, 1, generator).col(0);
    DoubleGenMat a = 1e-9 * randomMatrix(n, p, generator);
    for (int j = 0; j < static_cast<int>(p); ++j) a.col(j) += common;
    return a;
}

const Family kFamilies[] = {
    {"Dense", randomMatrix},
    {"RankDeficient", checks::rankDeficient},
    {"Graded", checks::graded},
    {"NearlyParallel", nearlyParallel},
    {"Small",
     [](unsigned n, unsigned p, std::mt19937& g) { return 1e-140 * randomMatrix(n, p, g); }},
    {"Large",
     [](unsigned n, unsigned p, std::mt19937& g) { return 1e140 * randomMatrix(n, p, g); }},
    {"SmallRankDeficient", [](unsigned n, unsigned p,
                              std::mt19937& g) { return 1e-140 * checks::rankDeficient(n, p, g); }},
    {"LargeGraded",
     [](unsigned n, unsigned p, std::mt19937& g) { return 1e140 * checks::graded(n, p, g); }},
    {"NearUnderflow",
     [](unsigned n, unsigned p, std::mt19937& g) { return 1e-290 * randomMatrix(n, p, g); }},
    {"FewSmallIntegers", checks::fewSmallIntegers},
};

class QrFamilyTest : public testing::TestWithParam<Family> {};

DoubleGenMat columnsOf(std::initializer_list<std::initializer_list<double>> columns)
{
    std::vector<double> all;
    for (const auto& column : columns) all.insert(all.end(), column);
    const auto p = static_cast<unsigned>(columns.size());
    return DoubleGenMat(all.data(), static_cast<unsigned>(all.size()) / p, p);
}

}  // namespace

TEST_P(QrFamilyTest, FactorsWithinTenUnitsInTheOrderAskedFor)
{
    constexpr int kMatrices = 2100;  // a family; 21,000 in all
    constexpr double kBound = 10.0;
    std::mt19937 generator(31);
    Ratios ratios;
    for (int m = 0; m < kMatrices && !HasFailure(); ++m) {
        const unsigned n = static_cast<unsigned>(generator() % 61);
        const unsigned p = static_cast<unsigned>(generator() % 61);
        SCOPED_TRACE(testing::Message() << "matrix " << m << ", " << n << "x" << p);
        const DoubleGenMat a = GetParam().make(n, p, generator);
        std::vector<int> specifiers(p);
        if (m % 3 == 1)
            for (int& specifier : specifiers) specifier = static_cast<int>(generator() % 5) - 2;
        if (m % 3 == 2) {
            const Factored f(a, 0, specifiers);
            EXPECT_EQ(f.jpvt, specifiers);
            check(a, f, a, generator, ratios);
            continue;
        }
        const Factored f(a, 1, specifiers);
        const auto [first, end] = expectPlaces(specifiers, f.jpvt);
        noteOrder(f.r(), first, end, ratios.order);
        check(a, f, permuted(a, f.jpvt), generator, ratios);
    }
    const struct {
        const char* name;
        const Worst& worst;
    } all[] = {{"AP_minus_QR", ratios.reconstruction},
               {"QTQ_minus_I", ratios.orthogonality},
               {"pivot_order", ratios.order},
               {"QQTy_minus_y", ratios.return_},
               {"fitted_and_residual", ratios.split}};
    for (const auto& ratio : all) {
        RecordProperty(ratio.name, std::to_string(ratio.worst.value()));
        EXPECT_LT(ratio.worst.value(), kBound) << ratio.name;
    }
}

INSTANTIATE_TEST_SUITE_P(Dqrdc, QrFamilyTest, testing::ValuesIn(kFamilies),
                         knotwork_test::CaseName());

TEST(DqrdcTest, MoreColumnsThanAreDeferredChangeNothing)
{
    std::mt19937 generator(32);
    const DoubleGenMat a = randomMatrix(4, 5000, generator);
    const Factored f(a, 1);
    Ratios ratios;
    noteOrder(f.r(), 0, f.p, ratios.order);
    check(a, f, permuted(a, f.jpvt), generator, ratios);
    for (const Worst* worst : {&ratios.reconstruction, &ratios.orthogonality, &ratios.order})
        EXPECT_LT(worst->value(), 10.0);
}

TEST(DqrdcTest, SpecifiersPlaceColumnsAndFreeOnesGoByNorm)
{
    const struct {
        const char* name;
        std::vector<int> specifiers, order;
    } cases[] = {
        {"all free", {0, 0, 0, 0, 0}, {4, 3, 2, 1, 0}},
        {"one of each and free ones", {0, 1, -1, 0, 0}, {1, 4, 3, 0, 2}},
        {"initial ones keep their order", {-1, 2, 0, -7, 9}, {1, 4, 2, 3, 0}},
        {"all initial", {1, 5, 2, 4, 3}, {0, 1, 2, 3, 4}},
        {"all final", {-1, -1, -1, -1, -1}, {0, 1, 2, 3, 4}},
    };
    DoubleGenMat a(5, 5, 0.0);
    a.diagonal(0) = DoubleVec(5, 1.0, 1.0);
    for (const auto& c : cases) EXPECT_EQ(Factored(a, 1, c.specifiers).jpvt, c.order) << c.name;
    EXPECT_THAT(Factored(DoubleGenMat(5, 3, 1.0), 1).jpvt, ElementsAre(0, 1, 2)) << "ties";
    EXPECT_THAT(Factored(DoubleGenMat(0, 3), 1, {0, 0, 3}).jpvt, ElementsAre(2, 1, 0)) << "empty";
}

TEST(DqrdcTest, NormsWithoutDigitsAreComputedAnew)
{
    // All columns start as the first axis and differ by a billionth, which downdating cannot see.
    const double sizes[] = {0.1, 2.0, 5.0, 3.0, 4.0};
    DoubleGenMat a(8, 5, 0.0);
    a.row(0) = 1.0;
    for (int j = 0; j < 5; ++j) a(j + 1, j) = 1e-9 * sizes[j];
    EXPECT_THAT(Factored(a, 1).jpvt, ElementsAre(0, 2, 4, 3, 1));
}

TEST(DqrdcTest, DiagonalsTakeTheOppositeSignAndTheLastRowIsLeftAlone)
{
    const struct {
        const char* name;
        DoubleGenMat a;
        std::vector<double> diagonal;
        double lastAux;
    } cases[] = {
        {"positive", columnsOf({{3.0, 4.0, 0.0}}), {-5.0}, 1.6},
        {"negative", columnsOf({{-3.0, 4.0, 0.0}}), {5.0}, 1.6},
        {"zero", columnsOf({{0.0, 2.0, 0.0}}), {-2.0}, 1.0},
        {"negative zero", columnsOf({{-0.0, 2.0, 0.0}}), {-2.0}, 1.0},
        {"a column of zeros", columnsOf({{0.0, 0.0, 0.0}}), {0.0}, 0.0},
        {"one element", columnsOf({{-7.0}}), {-7.0}, 0.0},
        {"one row", columnsOf({{7.0}, {8.0}}), {7.0}, 0.0},
        {"square", columnsOf({{2.0, 0.0}, {1.0, 6.0}}), {-2.0, 6.0}, 0.0},
        {"subnormal", columnsOf({{3e-310, 4e-310}}), {-5e-310}, 1.6},
    };
    for (const auto& c : cases) {
        const Factored f(c.a, 0);
        for (int k = 0; k < f.size; ++k)
            EXPECT_NEAR(f.r()(k, k), c.diagonal[static_cast<std::size_t>(k)],
                        4 * kEps * std::fabs(f.r()(k, k)) + 1e-323)
                << c.name;
        EXPECT_NEAR(f.qraux[static_cast<std::size_t>(f.size - 1)], c.lastAux, 4 * kEps) << c.name;
    }
}

TEST(DqrdcTest, EndsWithWhatIsNotFinite)
{
    std::mt19937 generator(33);
    for (const double bad : {std::nan(""), HUGE_VAL})
        for (const int job : {0, 1}) {
            DoubleGenMat a = randomMatrix(20, 12, generator);
            a(7, 5) = bad;
            EXPECT_FALSE(std::isfinite(frobeniusNorm(Factored(a, job).r())));
        }
}

TEST(DqrslTest, WritesWhatIsAskedForAndMayShareArrays)
{
    std::mt19937 generator(34);
    const Factored f(randomMatrix(9, 6, generator), 1);
    const DoubleVec y = randomMatrix(9, 1, generator).col(0);
    for (const int k : {0, 1, 6})
        for (const int job : {10000, 1000, 100, 10, 1, 11000, 110, 11111}) {
            SCOPED_TRACE(testing::Message() << "k " << k << " job " << job);
            std::vector<double> out[5];  // qy, qty, b, rsd, xb
            for (auto& array : out) array.assign(10, kUntouched);
            int info = -1;
            knotwork::linpack::dqrsl(f.x.data(), &f.leading, &f.n, &k, f.qraux.data(), y.data(),
                                     out[0].data(), out[1].data(), out[2].data(), out[3].data(),
                                     out[4].data(), &job, &info);
            EXPECT_EQ(info, 0);
            const Job parts[] = {kQy, kQty, kSolution, kResidual, kFitted};
            for (std::size_t i = 0; i < 5; ++i) {
                const bool wanted = i == 1 ? job % 10000 != 0 : job / parts[i] % 10 != 0;
                const DoubleVec alone = f.apply(parts[i], k, y);  // in arrays that are shared
                std::vector<double> expected(10, kUntouched);
                if (wanted) std::copy_n(alone.data(), alone.length(), expected.begin());
                EXPECT_THAT(out[i], ElementsAreArray(expected)) << i;
            }
        }
    EXPECT_TRUE(f.apply(kQty, 0, y) == y && f.apply(kResidual, 0, y) == y);
    EXPECT_EQ(f.apply(kFitted, 0, y).isZero(0.0), 1);
}

TEST(DqrslTest, InfoNamesTheLastZeroOnTheDiagonal)
{
    const Factored f(columnsOf({{1, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 2, 0}, {0, 0, 0, 0}}), 0);
    const double y[4] = {1, 1, 1, 1};
    double qty[4];
    double b[4];
    for (const auto& [k, expected] : {std::pair{0, 0}, {1, 0}, {2, 2}, {3, 2}, {4, 4}}) {
        const int job = kSolution;
        int info = -1;
        knotwork::linpack::dqrsl(f.x.data(), &f.leading, &f.n, &k, f.qraux.data(), y, nullptr, qty,
                                 b, nullptr, nullptr, &job, &info);
        EXPECT_EQ(info, expected) << k;
    }
}
