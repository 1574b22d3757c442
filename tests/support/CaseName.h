// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <type_traits>

namespace knotwork_test {

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
