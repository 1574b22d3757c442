// SPDX-License-Identifier: MIT
// Symmetric and triangular matrices: what they share, tested on all three, then what sets them
// apart.

#include <iomanip>
#include <sstream>

#include "knotwork/linalg/DoubleLowerTriMat.h"
#include "knotwork/linalg/DoubleSymMat.h"
#include "knotwork/linalg/DoubleUpperTriMat.h"
#include "tests/support/Arrays.h"
#include "tests/support/Misuse.h"
#include "tests/support/Testing.h"

namespace {

using namespace knotwork_test;

/// The full matrix over [1 2 3 4 5 6].
template <class Mat>
DoubleGenMat expectedFull();
template <>
DoubleGenMat expectedFull<DoubleLowerTriMat>()
{
    return mat({{1, 0, 0}, {2, 3, 0}, {4, 5, 6}});
}
template <>
DoubleGenMat expectedFull<DoubleUpperTriMat>()
{
    return mat({{1, 2, 4}, {0, 3, 5}, {0, 0, 6}});
}
template <>
DoubleGenMat expectedFull<DoubleSymMat>()
{
    return mat({{1, 2, 4}, {2, 3, 5}, {4, 5, 6}});
}

template <class Mat>
Mat oneToSix()
{
    return Mat(DoubleVec(6u, 1.0, 1.0), 3, 3);
}

template <class Mat>
class PackedMatTest : public testing::Test {
};
struct MatName {
    template <class Mat>
    static std::string GetName(int)
    {
        return Mat::className;
    }
};
using MatTypes = testing::Types<DoubleLowerTriMat, DoubleSymMat, DoubleUpperTriMat>;
TYPED_TEST_SUITE(PackedMatTest, MatTypes, MatName);

TYPED_TEST(PackedMatTest, EveryAccessorSeesTheSameMatrix)
{
    const DoubleGenMat full = expectedFull<TypeParam>();
    // Contiguous, and a view of every second element backwards.
    for (const DoubleVec& v : {DoubleVec(6u, 1.0, 1.0), strided<double>({1, 2, 3, 4, 5, 6}, -2)}) {
        TypeParam m(v, 3, 3);
        const TypeParam& c = m;
        EXPECT_EQ(m.rows(), 3u);
        EXPECT_EQ(m.cols(), 3u);
        EXPECT_EQ(rowsOf(DoubleGenMat(c)), rowsOf(full));
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j) {
                EXPECT_EQ(c(i, j), full(i, j));
                EXPECT_EQ(c.val(i, j), full(i, j));
                EXPECT_EQ(c.bcval(i, j), full(i, j));
                EXPECT_EQ(m(i, j), full(i, j));
                EXPECT_EQ(m.ref(i, j), full(i, j));
                EXPECT_EQ(m.bcref(i, j), full(i, j));
            }
        m(1, 1) = 7.0;
        EXPECT_EQ(v(2), 7.0) << "the matrix is a view";
        EXPECT_EQ(m.bcset(2, 2, 8.0), 8.0);
        EXPECT_EQ(m.set(0, 0, 9.0), 9.0);
        m.ref(1, 1) += 3.0;
        EXPECT_THAT(elements(m.dataVec()), ElementsAre(9, 2, 10, 4, 5, 8));
    }
}

TYPED_TEST(PackedMatTest, SharesAndSeparatesLikeEveryMatrix)
{
    TypeParam m = oneToSix<TypeParam>();
    const TypeParam sharer(m);
    TypeParam apart = m.copy();
    m.data()[0] = 10.0;
    EXPECT_EQ(sharer(0, 0), 10.0);
    EXPECT_EQ(apart(0, 0), 1.0);
    EXPECT_TRUE(m != apart);
    apart = m;
    EXPECT_TRUE(m == apart);
    EXPECT_NE(m.data(), apart.data());
    apart = 4.0;
    EXPECT_THAT(elements(apart.dataVec()), ElementsAre(4, 4, 4, 4, 4, 4));
    apart.zero();
    EXPECT_EQ(apart(1, 1), 0.0);
    m.deepenShallowCopy();
    m(0, 0) = 11.0;
    EXPECT_EQ(sharer(0, 0), 10.0);
    EXPECT_EQ(&m.reference(TypeParam(1u, 1u)), &m);
    EXPECT_EQ(m.cols(), 1u);
}

TYPED_TEST(PackedMatTest, ResizeKeepsPlacesAndClearsTheRest)
{
    for (const unsigned order : {0u, 1u, 2u, 3u, 5u}) {
        TypeParam m = oneToSix<TypeParam>();
        m.resize(order, order);
        ASSERT_EQ(m.rows(), order);
        DoubleGenMat expected = expectedFull<TypeParam>();
        expected.resize(order, order);
        EXPECT_TRUE(DoubleGenMat(m) == expected) << order;
    }
}

TYPED_TEST(PackedMatTest, ArithmeticTouchesWhatIsStoredAndNothingElse)
{
    const TypeParam m = oneToSix<TypeParam>();
    EXPECT_THAT(elements((m + m * 2.0 - 1.0).dataVec()), ElementsAre(2, 5, 8, 11, 14, 17));
    EXPECT_THAT(elements((m * m / m).dataVec()), ElementsAre(1, 2, 3, 4, 5, 6));
    EXPECT_THAT(elements(abs(-m).dataVec()), ElementsAre(1, 2, 3, 4, 5, 6));
    EXPECT_THAT(elements((60.0 / m).dataVec()), ElementsAre(60, 30, 20, 15, 12, 10));
    EXPECT_THAT(elements(m.apply([](double x) { return x * x; }).dataVec()),
                ElementsAre(1, 4, 9, 16, 25, 36));
    EXPECT_EQ(atan2(m, m)(2, 2), std::atan2(6.0, 6.0));
    TypeParam w = m.copy();
    EXPECT_EQ(&(w += m), &w);
    EXPECT_THAT(elements((++(w *= 2.0)).dataVec()), ElementsAre(5, 9, 13, 17, 21, 25));
    const DoubleGenMat raised(m + 1.0);
    const bool symmetric = std::is_same_v<TypeParam, DoubleSymMat>;
    EXPECT_EQ(raised(0, 2) * raised(2, 0), symmetric ? 25.0 : 0.0);
}

TYPED_TEST(PackedMatTest, ProductsAreThoseOfTheFullMatrix)
{
    for (const unsigned n : {0u, 1u, 2u, 9u}) {
        const std::vector<double> numbers = randomNumbers<double>(n, 7);
        const TypeParam m(randomMatrix(n * (n + 1) / 2, 1, 6).col(0), n, n);
        const DoubleGenMat full(m);
        for (const DoubleVec& x : {vecFrom(numbers), strided(numbers, -3)}) {  // to the last bit
            EXPECT_TRUE(product(m, x) == product(full, x)) << n;
            EXPECT_TRUE(product(x, m) == product(x, full)) << n;
        }
    }
}

TYPED_TEST(PackedMatTest, PrintsTheWholeMatrixAndReadsItBack)
{
    const TypeParam m = oneToSix<TypeParam>();
    std::ostringstream body;
    body << std::setw(4) << expectedFull<TypeParam>();
    std::stringstream text;
    text << std::setw(4) << m << ' ' << TypeParam() << ' ' << -m;
    const std::string expected = std::string(TypeParam::className) + ", " + body.str();
    EXPECT_EQ(text.str().substr(0, expected.size()), expected);
    TypeParam first(2u, 2u);
    first = 9.0;
    TypeParam second = oneToSix<TypeParam>();
    TypeParam third;
    text >> first >> second >> third;
    EXPECT_TRUE(first == m);
    EXPECT_EQ(second.rows(), 0u);
    EXPECT_TRUE(third == -m) << "minus zero outside the triangle is zero";
    EXPECT_TRUE(text.good());
}

TYPED_TEST(PackedMatTest, ErrorsNameTheClassAndTheNumbers)
{
    const std::string name = TypeParam::className;
    const TypeParam m = oneToSix<TypeParam>();
    const TypeParam small(2u, 2u);
    const DoubleVec two(2u, 1.0);
    const auto read = [](const char* text) {
        TypeParam target = oneToSix<TypeParam>();
        std::istringstream(text) >> target;
        EXPECT_TRUE(target == oneToSix<TypeParam>()) << text;
    };
    const std::string notSquare = "2x3 matrix not square";
    std::vector<Misuse> faults = {
        {0x400D, notSquare, [] { TypeParam(2u, 3u).zero(); }},
        {0x400D, notSquare, [] { TypeParam(DoubleVec(5u), 2, 3).zero(); }},
        {0x400D, notSquare, [m] { m.copy().resize(2, 3); }},
        {0x400D, notSquare, [read] { read("2x3 [1 2 3 4 5 6]"); }},
        {0x400A, "Wrong number of points (5) for 3x3 " + name,
         [] { TypeParam(DoubleVec(5u), 3, 3).zero(); }},
        {0x400A, "Wrong number of points (0) for 4294967295x4294967295 " + name,
         [] { TypeParam(DoubleVec(), ~0u, ~0u).zero(); }},
        {0x3008, "[NOMEM: LXBlock]: Out of memory", [] { TypeParam(92682u, 92682u).zero(); },
         0x901A, 2},
        {0x4004, "Matrix sizes don't match (2x2) vs (3x3)", [=] { m.copy() = small; }},
        {0x4004, "Matrix sizes don't match (2x2) vs (3x3)", [=] { m + small; }},
        {0x4004, "Matrix sizes don't match (3x3) vs (2x2)", [=] { atan2(small, m); }},
        {0x4005, "Element (0x3) not in matrix of size (3x3)", [m] { m.copy().bcref(0, 3) = 0.0; }},
        {0x4005, "Element (3x0) not in matrix of size (3x3)", [m] { m.copy().bcset(3, 0, 9.0); }},
        {0x4005, "Element (-1x0) not in matrix of size (3x3)", [m] { m.bcval(-1, 0); }},
        {0x4014, "inner product not possible between " + name + " (3x3) and vector (2)",
         [=] { product(m, two); }},
        {0x4015, "inner product not possible vector(2) and " + name + " (3x3)",
         [=] { product(two, m); }},
        {0x4017, "wrong number of elements (3) for " + name + " (2x2)",
         [read] { read("2x2 [1 2 3]"); }},
    };
    if constexpr (!std::is_same_v<TypeParam, DoubleUpperTriMat>) {
        const std::string order = "cant build order ";
        faults.push_back({0x4018, order + "4 leading submatrix of order 3 matrix",
                          [m] { m.leadingSubmatrix(4).zero(); }});
        faults.push_back({0x4018, order + "4294967295 leading submatrix of order 3 matrix",
                          [m] { m.leadingSubmatrix(-1).zero(); }});
    }
    if constexpr (!std::is_same_v<TypeParam, DoubleSymMat>) {
        const bool lower = std::is_same_v<TypeParam, DoubleLowerTriMat>;
        const int i = lower ? 0 : 2;
        const std::string where = lower ? "(0,2)" : "(2,0)";
        faults.push_back({0x4009, "Can't change element " + where + " of " + name,
                          [=] { m.copy().bcset(i, 2 - i, 1.0); }});
        faults.push_back({0x4009, "Can't change element " + where + " of " + name, [=] {
                              read(lower ? "3x3 [1 0 9 2 3 0 4 5 6]" : "3x3 [1 2 4 0 3 5 9 0 6]");
                          }});
        faults.push_back({0x4002, "Constant reference was changed from 0 to 2.5",
                          [=] { m.copy()(i, 2 - i) = 2.5; }});
        faults.push_back(
            {0x4005, "Element (3x3) not in matrix of size (3x3)", [=] { m.copy()(3, 3) = 0.0; }});
        faults.push_back({0x4005, "Element (-1x3) not in matrix of size (3x3)",
                          [=] { m.copy().ref(-1, 3) = 0.0; }});
    }
    expectRaises(faults);
    EXPECT_TRUE(m == oneToSix<TypeParam>()) << "nothing was written";
}

TEST(TriMatTest, TransposeIsTheSameStorage)
{
    DoubleLowerTriMat l = oneToSix<DoubleLowerTriMat>();
    DoubleUpperTriMat u(transpose(l));
    EXPECT_EQ(u(1, 2), 5.0);
    u(0, 2) = 40.0;
    EXPECT_EQ(l.val(2, 0), 40.0);
    EXPECT_EQ(transpose(u).data(), l.data());
    const DoubleSymMat s = oneToSix<DoubleSymMat>();
    EXPECT_EQ(transpose(s).data(), s.data());
}

TEST(TriMatTest, UncheckedSetWritesWhereThePackingPutsIt)
{
    DoubleLowerTriMat l = oneToSix<DoubleLowerTriMat>();
    l.set(0, 2, 30.0);
    EXPECT_EQ(l.val(1, 1), 30.0);
    DoubleUpperTriMat u = oneToSix<DoubleUpperTriMat>();
    u.set(1, 0, 20.0);
    EXPECT_EQ(u.val(0, 1), 20.0);
}

TEST(TriMatTest, ReferencesWriteThroughAndTheZeroStaysZero)
{
    DoubleLowerTriMat l = oneToSix<DoubleLowerTriMat>();
    l(2, 1) = l(0, 0);  // a value, not a new target
    EXPECT_EQ(l.val(2, 1), 1.0);
    const RODoubleRef same(l(2, 2));
    (l(2, 2) /= 3.0) -= 0.5;
    EXPECT_EQ(same, 1.5);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_THAT(codesRaisedBy([&] {
                    l(0, 1) = 0.0;
                    l(0, 1) = -0.0;
                    l(0, 1) = l(1, 2);
                    l(0, 1) = nan;
                    l(0, 1) = l(2, 0);
                }),
                ElementsAre(0x4002u, 0x4002u));
    EXPECT_EQ(l(0, 2), 0.0);
}

TEST(DoubleSymMatTest, MirroredElementsAreOneCell)
{
    DoubleSymMat s(2u, 2u, 7.0);
    s(0, 1) = 3.0;
    EXPECT_EQ(s(1, 0), 3.0);
    s.set(1, 0, 4.0);
    EXPECT_THAT(elements(s.dataVec()), ElementsAre(7, 4, 7));
    EXPECT_THAT(codesRaisedBy([&] { s.set(0, 2, 1.0); }), ElementsAre(0x4005u));
    std::istringstream("DoubleSymMat, 2x2 [1 2 3 4]") >> s;
    EXPECT_EQ(s(0, 1), 3.0) << "the lower element is read later";
}

TEST(PackedMatLeadingTest, LeadingPartsAreViews)
{
    DoubleLowerTriMat l = oneToSix<DoubleLowerTriMat>();
    DoubleLowerTriMat two(l.leadingSubmatrix(2));
    EXPECT_THAT(rowsOf(two), ElementsAre(ElementsAre(1, 0), ElementsAre(2, 3)));
    two(1, 0) = 20.0;
    EXPECT_EQ(l.val(1, 0), 20.0);
    EXPECT_EQ(l.leadingSubmatrix(3).data(), l.data());
    EXPECT_EQ(l.leadingSubmatrix(0).rows(), 0u);
    const DoubleSymMat s(strided<double>({1, 2, 3, 4, 5, 6}, 2), 3, 3);
    EXPECT_THAT(rowsOf(s.leadingSubmatrix(2)), ElementsAre(ElementsAre(1, 2), ElementsAre(2, 3)));
    EXPECT_EQ(DoubleSymMat().leadingSubmatrix(0).rows(), 0u);
}

TEST(PackedMatDeathTest, WritingOutsideTheTriangleEndsTheProcess)
{
    DoubleLowerTriMat l = oneToSix<DoubleLowerTriMat>();
    EXPECT_EXIT(l.bcset(0, 2, 1.0), testing::KilledBySignal(SIGABRT),
                testing::HasSubstr("** Can't change element (0,2) of DoubleLowerTriMat.\n"
                                   "** Processing terminated.\n"));
}

}  // namespace
