// SPDX-License-Identifier: MIT
// Every raise of the array layer: what the handler is told, and that nothing out of range is
// touched when a host's handler returns all the same (the address sanitizer watches).

#include <climits>
#include <cstdint>
#include <sstream>

#include "knotwork/linalg/DoubleGenMatPick.h"
#include "knotwork/linalg/DoubleSymMat.h"
#include "knotwork/linalg/DoubleVecPick.h"
#include "knotwork/linalg/IntGenMatPick.h"
#include "knotwork/linalg/IntVecPick.h"
#include "knotwork/linalg/SCharVecPick.h"
#include "knotwork/linalg/detail/DoubleVecExtras.h"
#include "tests/support/Arrays.h"
#include "tests/support/Misuse.h"
#include "tests/support/Testing.h"

namespace {

using namespace knotwork_test;

class Faults {
  public:
    Faults(std::string className, std::uint16_t origin)
        : className_(std::move(className)), origin_(origin)
    {
    }
    /// The class name follows the bracketed keyword of the vectors' messages.
    void vector(const char* what, std::uint16_t code, const char* keyword, const std::string& rest,
                std::function<void()> commit)
    {
        add(what, code, "[" + std::string(keyword) + ": " + className_ + "]: " + rest,
            std::move(commit));
    }
    void add(const char* what, std::uint16_t code, const std::string& message,
             std::function<void()> commit)
    {
        list.push_back({code, message, std::move(commit), origin_, 1, className_ + ": " + what});
    }
    std::vector<Misuse> list;

  private:
    std::string className_;
    std::uint16_t origin_;
};

/// Opens what is protected.
template <class Pick>
struct OpenPick : Pick {
    explicit OpenPick(const Pick& p) : Pick(p) {}
    using Pick::assertElements;
};

std::string lengths(unsigned own, unsigned other)
{
    return "Vector lengths do not match (" + std::to_string(own) + " vs " + std::to_string(other) +
           ")";
}

template <class Vec>
std::vector<Misuse> vectorFaults(const char* name, std::uint16_t origin)
{
    Faults faults(name, origin);
    const Vec v = vecOf<Vec>({1, 2, 3, 4});
    const auto index = [&](const char* what, const char* range, std::function<void()> commit) {
        faults.vector(what, 0x3005, "INDEX", range, std::move(commit));
    };
    index("v[4] = x", "Index (4) out of range [0->3]", [v] { v.copy()[4] = 9; });
    index("v[-1] = x", "Index (-1) out of range [0->3]", [v] { v.copy()[-1] = 9; });
    index("v[7]", "Index (7) out of range [0->3]", [v] { static_cast<void>(v[7]); });
    index("slice[2]", "Index (2) out of range [0->1]", [v] { v.slice(0, 2, 2)[2] = 9; });
    index("empty[0]", "Index (0) out of range [0->4294967295]", [] { Vec()[0] = 9; });
    index("boundsCheck", "Index (-2147483648) out of range [0->3]",
          [v] { v.boundsCheck(INT_MIN); });

    for (const Vec& w : {vecOf<Vec>({5, 6}), vecOf<Vec>({1, 2, 3, 4, 5, 6})}) {
        const unsigned n = w.length();
        const auto mismatch = [&](const char* what, unsigned own, unsigned other,
                                  std::function<void()> commit) {
            faults.vector(what, 0x300F, "VNMATCH", lengths(own, other), std::move(commit));
        };
        mismatch("v = w", 4, n, [=] { v.copy() = w; });
        mismatch("reversed = w", 4, n, [=] { v.copy().slice(3, 4, -1) = w; });
        mismatch("views of one block", 1, n, [=] { w.copy().slice(0, 1, 1) = w; });
        mismatch("part = whole", 1, n, [=] { Vec(w.slice(0, 1, 1)) = w; });
        mismatch("v + w", 4, n, [=] { static_cast<void>(v + w); });
        mismatch("w - v", n, 4, [=] { static_cast<void>(w - v); });
        mismatch("v * w", 4, n, [=] { static_cast<void>(v * w); });
        mismatch("v += w", 4, n, [=] { v.copy() += w; });
        mismatch("v -= w", 4, n, [=] { v.copy() -= w; });
        mismatch("v *= w", 4, n, [=] { v.copy() *= w; });
        mismatch("v /= w", 4, n, [=] { v.copy() /= w; });
        mismatch("dot", 4, n, [=] { static_cast<void>(dot(v, w)); });
        mismatch("dot, reversed", n, 4, [=] { static_cast<void>(dot(w, reverse(v))); });
        mismatch("lengthCheck", 4, n, [=] { v.lengthCheck(n); });
        if constexpr (std::is_same_v<Vec, DoubleVec>) {
            mismatch("atan2", 4, n, [=] { static_cast<void>(atan2(v, w)); });
            mismatch("pow", n, 4, [=] { static_cast<void>(pow(w, v)); });
        }
    }
    const auto slice = [&](const std::string& numbers, int start, unsigned n, int stride) {
        faults.vector("sliceCheck", 0x300C, "SLICE",
                      "slice (" + numbers + ") cannot be made from vector (4)",
                      [=] { v.sliceCheck(start, n, stride); });
    };
    slice("4, 1, 1", 4, 1, 1);
    slice("-1, 1, 1", -1, 1, 1);
    slice("1, 4, 1", 1, 4, 1);
    slice("2, 2, -3", 2, 2, -3);
    slice("0, 65537, 65536", 0, 65537, 65536);  // in 32 bits the last index would be 0
    faults.vector("strideCheck", 0x300D, "STRIDE", "Stride must be 1",
                  [v] { v.slice(0, 2, 2).strideCheck(); });
    const auto empty = [&](const char* operation, std::function<void()> commit) {
        faults.vector(operation, 0x3011, "ZEROVEC", operation + std::string(": vector is empty"),
                      std::move(commit));
    };
    empty("maxIndex", [] { static_cast<void>(maxIndex(Vec())); });
    empty("minIndex", [] { static_cast<void>(minIndex(Vec())); });
    empty("maxIndex", [] { static_cast<void>(maxValue(Vec())); });
    empty("minIndex", [] { static_cast<void>(minValue(Vec())); });
    empty("anything", [] { Vec().emptyErr("anything"); });
    return faults.list;
}

template <class Vec, class Pick>
std::vector<Misuse> pickFaults(const char* name, std::uint16_t origin)
{
    Faults faults(name, origin);
    const Vec v = vecOf<Vec>({1, 2, 3, 4});
    const IntVec three = intVec({0, 1, 2});
    const auto mismatch = [&](const char* what, unsigned own, unsigned other,
                              std::function<void()> commit) {
        faults.vector(what, 0x300F, "VNMATCH", lengths(own, other), std::move(commit));
    };
    mismatch("pick = short", 3, 2, [=] { v.vecPick(three) = v.slice(0, 2, 1); });
    mismatch("pick = long", 3, 4, [=] { v.vecPick(three) = v; });
    mismatch("pick = pick", 3, 1, [=] { v.vecPick(three) = v.vecPick(intVec({0})); });
    mismatch("v = short pick", 3, 4, [=] { v.copy() = v.vecPick(three); });
    mismatch("v = long pick", 3, 2, [=] { Vec(2u, 0) = v.vecPick(three); });
    const auto index = [&](const char* what, const char* range, const IntVec& indices) {
        faults.vector(what, 0x3005, "INDEX", range,
                      [=] { OpenPick<Pick>(v.vecPick(indices)).assertElements(); });
    };
    index("index past the end", "Index (4) out of range [0->3]", intVec({3, 4}));
    index("negative index", "Index (-1) out of range [0->3]", intVec({-1}));
    return faults.list;
}

TEST(ErrorTest, OfVectors)
{
    expectRaises(vectorFaults<DoubleVec>("DoubleVec", 0x900E));
    expectRaises(vectorFaults<IntVec>("IntVec", 0x9018));
    expectRaises(vectorFaults<SCharVec>("SCharVec", 0x9024));
}

TEST(ErrorTest, OfVectorPicks)
{
    expectRaises(pickFaults<DoubleVec, DoubleVecPick>("DoubleVecPick", 0x900D));
    expectRaises(pickFaults<IntVec, IntVecPick>("IntVecPick", 0x9017));
    expectRaises(pickFaults<SCharVec, SCharVecPick>("SCharVecPick", 0x9023));
}

TEST(ErrorTest, OfTheVarianceOfLessThanTwoPoints)
{
    Faults faults("DoubleVec", 0xF000);
    faults.vector("variance", 0x3009, "NPOINTS", "Vector (1) Variance needs minimum of 2",
                  [] { knotwork::variance(vec({1.0})); });
    faults.vector("variance", 0x3009, "NPOINTS", "Vector (0) Variance needs minimum of 2",
                  [] { knotwork::variance(DoubleVec()); });
    expectRaises(faults.list);
}

template <class Mat>
std::vector<Misuse> matrixFaults(const std::string& name)
{
    Faults faults(name, 0xF000);
    const Mat m(2u, 3u, 1);
    const Mat square(2u, 2u, 1);
    const auto v = m.dataVec();

    faults.add("over a vector", 0x400A, "Wrong number of points (6) for 2x2 " + name,
               [=] { Mat(v, 2, 2).zero(); });
    faults.add("over a vector, 32 bits", 0x400A,
               "Wrong number of points (0) for 65536x65536 " + name,
               [=] { Mat(v.slice(0, 0, 1), 65536, 65536).row(65535) = 0; });

    const auto shapes = [&](const char* what, std::function<void()> commit) {
        faults.add(what, 0x4004, "Matrix sizes don't match (2x2) vs (2x3)", std::move(commit));
    };
    shapes("m = square", [=] { m.copy() = square; });
    shapes("m + square", [=] { static_cast<void>(m + square); });
    shapes("m - square", [=] { static_cast<void>(m - square); });
    shapes("m * square", [=] { static_cast<void>(m * square); });
    shapes("m / square", [=] { static_cast<void>(m / square); });
    shapes("m += square", [=] { m.copy() += square; });
    shapes("m -= square", [=] { m.copy() -= square; });
    shapes("m *= square", [=] { m.copy() *= square; });
    shapes("m /= square", [=] { m.copy() /= square; });
    const IntVec both = intVec({0, 1});
    const IntVec all = intVec({0, 1, 2});
    shapes("pick = square", [=] { m.copy().matPick(both, all) = square; });
    shapes("pick = pick", [=] { m.copy().matPick(both, all) = square.matPick(both, both); });
    shapes("m = pick", [=] { m.copy() = square.matPick(both, both); });
    faults.add("as many elements", 0x4004, "Matrix sizes don't match (3x2) vs (2x3)",
               [=] { static_cast<void>(m + Mat(v, 3, 2)); });
    if constexpr (std::is_same_v<Mat, DoubleGenMat>)
        shapes("atan2", [=] { static_cast<void>(atan2(m, square)); });

    const auto element = [&](const char* what, const char* which, std::function<void()> commit) {
        faults.add(what, 0x4005, std::string("Element (") + which + ") not in matrix of size (2x3)",
                   std::move(commit));
    };
    element("bcref", "2x0", [m] { m.copy().bcref(2, 0) = 9; });
    element("bcset", "0x3", [m] { m.copy().bcset(0, 3, 9); });
    element("bcset", "-1x0", [m] { m.copy().bcset(-1, 0, 9); });
    element("bcval", "0x-1", [m] { static_cast<void>(m.bcval(0, -1)); });
    faults.add("bcrow", 0x4006, "Row (2) not in matrix with 2 rows", [m] { m.bcrow(2) = 0; });
    faults.add("bcrow", 0x4006, "Row (-1) not in matrix with 2 rows", [m] { m.bcrow(-1) = 0; });
    faults.add("bccol", 0x4007, "Column (3) not in matrix with 3 columns", [m] { m.bccol(3) = 0; });
    faults.add("bccol", 0x4007, "Column (-1) not in matrix with 3 columns",
               [m] { m.bccol(-1) = 0; });
    for (const auto& [k, shown] :
         {std::pair{3, "-3"}, std::pair{-2, "2"}, std::pair{INT_MAX, "-2147483647"},
          std::pair{INT_MIN, "-2147483648"}})  // its own negative
        faults.add("bcdiagonal", 0x4008,
                   "Diagonal " + std::string(shown) + " not in " + name + " matrix of size (2x3)",
                   [m, k = k] { m.bcdiagonal(k) = 0; });

    const auto inner = [&](const char* what, std::uint16_t code, const std::string& rest,
                           std::function<void()> commit) {
        faults.add(what, code, "inner product not possible " + rest, std::move(commit));
    };
    const std::string matrices = name + " matrices ";
    inner("product", 0x4016, matrices + "(2,3) and (2x2)", [=] { product(m, square); });
    inner("transProduct", 0x4016, matrices + "(2,3) and (4x5)",
          [=] { transProduct(m, Mat(5u, 4u)); });
    inner("transposeProduct", 0x4016, matrices + "(3,2) and (5x4)",
          [=] { transposeProduct(m, Mat(5u, 4u)); });
    inner("A x", 0x4014, "between " + name + " (2x3) and vector (6)", [=] { product(m, v); });
    inner("x A", 0x4015, "vector(6) and " + name + " (2x3)", [=] { product(v, m); });
    faults.add("scan", 0x4017, "wrong number of elements (3) for " + name + " (2x2)", [] {
        Mat read;
        std::istringstream("2x2 [1 2 3]") >> read;
    });

    const auto picked = [&](const char* what, const char* which, const IntVec& rows,
                            const IntVec& cols) {
        faults.add(what, 0x4001, std::string("Matrix pick out of range: index ") + which,
                   [=] { m.copy().matPick(rows, cols) = 7; });
    };
    picked("rows, last one first", "-1 not in 0->1", intVec({2, -1, 0}), intVec({9}));
    picked("columns", "3 not in 0->2", both, intVec({4, 3, 0}));
    faults.add("pick of an empty matrix", 0x4001, "Matrix pick out of range: index 0 not in 0->-1",
               [=] { Mat()(intVec({0}), IntVec()) = 7; });
    return faults.list;
}

TEST(ErrorTest, OfMatrices)
{
    expectRaises(matrixFaults<DoubleGenMat>("DoubleGenMat"));
    expectRaises(matrixFaults<IntGenMat>("IntGenMat"));
}

TEST(ErrorTest, OfMatricesBeyondWhatAVectorCounts)
{
    using T = double;
    constexpr unsigned kSide = 65536;  // its square is 0 in 32 bits
    const DoubleGenMat column(kSide + 1, 1, 1.0);
    const DoubleGenMat row(1, kSide, 1.0);
    std::vector<Misuse> faults;
    const auto tooLarge = [&](const char* what, std::function<void()> commit) {
        faults.push_back(
            {0x3008, "[NOMEM: LXBlock]: Out of memory", std::move(commit), 0x901A, 2, what});
    };
    constexpr unsigned kUncountable = 1u << 31;  // by an int
    tooLarge("vector", [] { DoubleVec v(kUncountable); });
    tooLarge("filled vector", [] { SCharVec(kUncountable, 1) += 1; });
    tooLarge("longer vector", [] { IntVec(3, 1).resize(kUncountable); });
    tooLarge("other vector", [] { IntVec(3, 1).reshape(kUncountable); });
    tooLarge("no columns", [] { DoubleGenMat(kUncountable, 0).resize(1, 1); });
    tooLarge("no rows, of a vector", [] { DoubleGenMat(DoubleVec(), 0, kUncountable); });
    tooLarge("half of what was too much", [] { DoubleGenMat(kSide, kSide / 2); });
    tooLarge("packed", [] { DoubleSymMat(kSide, kSide); });
    tooLarge("size", [] { DoubleGenMat(kSide, kSide); });
    tooLarge("fill", [] { DoubleGenMat(kSide, kSide, 1.0).zero(); });
    tooLarge("pointer", [] {
        const T number = 1.0;
        DoubleGenMat(&number, kSide, kSide).zero();
    });
    tooLarge("more columns", [] { DoubleGenMat(kSide, 1, 1.0).resize(kSide, kSide); });
    tooLarge("more rows", [] { DoubleGenMat(1, kSide, 1.0).resize(kSide, kSide); });
    tooLarge("product", [=] { product(column, row); });
    tooLarge("transProduct", [=] { transProduct(column, transpose(row)); });
    tooLarge("transposeProduct", [=] { transposeProduct(transpose(column), row); });
    tooLarge("kronecker", [=] { kronecker(column, row); });
    tooLarge("kronecker, rows alone", [=] { kronecker(column, DoubleGenMat(kSide, 0)); });
    expectRaises(faults);
}

TEST(ErrorTest, AfterAReturningHandlerTheShorterOperandIsWorkedOn)
{
    const RecordingHandler handler(RecordingHandler::OnFatal::kReturn);
    DoubleVec v = vec({1, 2, 3});
    v += vec({10, 20});
    EXPECT_EQ(elements(v), (std::vector<double>{11, 22, 3}));
    v = vec({7, 8, 9, 10});
    EXPECT_EQ(elements(v), (std::vector<double>{7, 8, 9}));
    v[5] = 4.0;
    EXPECT_EQ(v[5], 0.0);
    EXPECT_EQ(handler.raised().size(), 4u);
}

}  // namespace
