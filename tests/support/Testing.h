// SPDX-License-Identifier: MIT
// What nearly every test starts from.
#pragma once

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>
#include <limits>
#include <numeric>
#include <ostream>
#include <string>
#include <type_traits>
#include <vector>

#include "measures/Numbers.h"

namespace knotwork_test {

using knotwork_measures::Dice;
using knotwork_measures::kEps;
using knotwork_measures::kNaN;
using testing::Each;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using Numbers = std::vector<double>;

constexpr double kInf = std::numeric_limits<double>::infinity();

/// Names a parameterised test after its case: the last argument of INSTANTIATE_TEST_SUITE_P.
struct CaseName {
    template <class Info>
    std::string operator()(const Info& test) const
    {
        return test.param.name;
    }
};

/// Names a typed test after the element type: the last argument of TYPED_TEST_SUITE.
struct ElementName {
    template <class Array>
    static std::string GetName(int)
    {
        using T = typename Array::Element;
        if (std::is_same_v<T, double>) return "double";
        return std::is_same_v<T, int> ? "int" : "signed_char";
    }
};

}  // namespace knotwork_test
